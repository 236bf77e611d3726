// `tess forth [-i] [-e TEXT | FILE]...`: runs Forth texts and files in order, then the console
// when asked (or when standard input is a terminal and nothing else was given). The status is 1
// when any of them ended in an uncaught throw: a text or file stops the run there, a console
// line does not.
#include "script/forth/FSConsoleSession.h"
#include "script/forth/ScriptEngine.h"
#include "tool/tess/Commands.h"
#include <QFile>
#include <QStringList>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

class StdioMessages : public ForthScriptMessageInterface {
public:
    void type(const QString &text) override
    {
        const QByteArray bytes = text.toUtf8();
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    }
    void error(const QString &text) override
    {
        std::fflush(stdout);
        std::fprintf(stderr, "%s\n", text.toUtf8().constData());
    }
};

struct Step {
    bool isText;
    QString value;
};

bool readLine(std::string &line)
{
    line.clear();
    int c;
    while ((c = std::fgetc(stdin)) != EOF && c != '\n')
        line += char(c);
    return c != EOF || !line.empty();
}

// The console on standard input; false when a line ended in an uncaught throw.
bool runConsole(ScriptEngine &engine, StdioMessages &messages)
{
    FSConsoleSession console(engine, messages);
    console.showBanner();
    std::fflush(stdout);
    std::string line;
    while (readLine(line)) {
        emit console.inputReady(QString::fromUtf8(line.data(), qsizetype(line.size())));
        std::fflush(stdout);
    }
    return console.failedLines() == 0;
}

int forthCommand(const CommandArguments &arguments)
{
    std::vector<Step> steps;
    const bool interactive = arguments.has("--interactive");
    for (const CommandArguments::Item &item : arguments.items()) {
        if (!item.option || qstrcmp(item.option->name, "--eval") == 0)
            steps.push_back({item.option != nullptr, item.value});
    }
    StdioMessages messages;
    ScriptEngine engine(&messages);
    for (const Step &step : steps) {
        const std::optional<ForthException> failure =
            step.isText ? engine.evaluateText(step.value, QStringLiteral("-e"))
                        : engine.includeFile(step.value);
        if (failure) {
            std::fflush(stdout);
            return 1;
        }
    }
    if (interactive || (steps.empty() && isatty(STDIN_FILENO))) {
        if (!runConsole(engine, messages))
            return 1;
    } else if (steps.empty()) {
        QFile input;
        if (!input.open(stdin, QIODevice::ReadOnly))
            return 1;
        const std::optional<ForthException> failure =
            engine.evaluateText(QString::fromUtf8(input.readAll()), QStringLiteral("<stdin>"));
        std::fflush(stdout);
        return failure ? 1 : 0;
    }
    std::fflush(stdout);
    return 0;
}

constexpr TessOption forthOptions[] = {
    {"--eval", "TEXT", "interpret TEXT (in order with the files)", "-e"},
    {"--interactive", nullptr, "the console on standard input after the texts and files", "-i"},
};

constexpr TessCommand forthRows[] = {
    {"forth", "[-i] [-e TEXT | FILE]...",
     "interpret Forth texts and files in order; with neither, standard input or the console",
     forthOptions, "tess forth -e '2 3 + .'", forthCommand},
};

} // namespace

std::span<const TessCommand> forthCommands()
{
    return forthRows;
}
