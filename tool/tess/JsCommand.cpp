// `tess js`: runs scripts in the engine from the command line, or keeps a context open as a
// console on standard input.
#include "foundation/Directories.h"
#include "foundation/Report.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESParser.h"
#include "tool/tess/Commands.h"
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

constexpr qint64 maxScriptSize = qint64(64) << 20;

// A fatal engine error (out of memory, nesting too deep) fails like a thrown one.
enum Status { Success = exitSuccess, ScriptError = exitFailure, FatalError = exitFailure, Stopped = exitStopped };

void writeText(FILE *to, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), to);
}

// The host object of the command line: WScript.Echo(x) writes x and a newline to stdout.
class WScriptESClass : public ESNativeClass {
public:
    WScriptESClass();
    void initialise(ESContext &context) override
    {
        ESObject *object = installGlobal(context);
        installFunctions(context, nullptr, object);
    }
};

void echo(ESNativeCall &call)
{
    writeText(stdout, call.context.toESString(call.argument(0)) + QLatin1Char('\n'));
    call.setResult(ESValue::undefined());
}

constexpr ESNativeFunctionRow wscriptRows[] = {
    {"Echo", 1, 0, ESNativeRowFlag::Static, nullptr, echo, nullptr},
};

WScriptESClass::WScriptESClass()
    : ESNativeClass(QStringLiteral("WScript"), QStringLiteral("WScript"), wscriptRows)
{
}

// $(VarnelDir)/bin: the installation directory is the one above the program's own.
QString binDirectory()
{
    return installationDirectory() + QStringLiteral("/bin");
}

// A context that counts instructions and stops the run when the budget is used up. load()
// searches the programs' bin directory, as in the script system, then the -I directories.
class CommandContext : public ESContext {
public:
    CommandContext(qint64 budget, const QStringList &searchDirectories)
        : ESContext(budget > 0 ? ContinuePolling::On : ContinuePolling::Off), m_budget(budget)
    {
        m_wscript.initialise(*this);
        globalClass->searchDirectories.append(binDirectory());
        globalClass->searchDirectories.append(searchDirectories);
    }
    bool shouldContinue() override { return ++m_executed <= m_budget; }
    bool stopped() const { return m_budget > 0 && m_executed > m_budget; }

private:
    WScriptESClass m_wscript;
    qint64 m_budget;
    qint64 m_executed = 0;
};

struct Options {
    qint64 maxInstructions = 0;
    bool list = false;
    QString text;   // -e
    bool hasText = false;
    QStringList files;
    QStringList searchDirectories;   // -I
};

// Reads the parsed arguments; an empty text on success, else the usage error.
QString readOptions(const CommandArguments &arguments, Options &options)
{
    if (arguments.has("--max-instructions")) {
        bool ok = false;
        options.maxInstructions = arguments.value("--max-instructions").toLongLong(&ok);
        if (!ok || options.maxInstructions <= 0)
            return QStringLiteral("bad instruction count '%1'").arg(arguments.value("--max-instructions"));
    }
    options.list = arguments.has("--list");
    options.searchDirectories = arguments.values("--include");
    options.hasText = arguments.has("--eval");
    options.text = arguments.value("--eval");
    options.files = arguments.operands();
    if (options.hasText && !options.files.isEmpty())
        return QStringLiteral("give either -e TEXT or files");
    return {};
}

bool readScript(const QString &path, QString &text)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "tess js: %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return false;
    }
    if (file.size() > maxScriptSize) {
        std::fprintf(stderr, "tess js: %s: script too large (%lld bytes, limit %lld)\n",
                     qPrintable(path), qlonglong(file.size()), qlonglong(maxScriptSize));
        return false;
    }
    text = QString::fromUtf8(file.readAll());
    return true;
}

// The texts the script system shows for an error that reached the top.
void reportThrown(ESContext &context, ESValue value)
{
    if (!value.isObject() || !value.object) {
        writeText(stderr, QStringLiteral("Uncaught exception: ") + context.toESString(value)
                              + QLatin1Char('\n'));
        return;
    }
    ESObject *error = value.object;
    const auto property = [&](const char *name) {
        return context.get(error, context.intern(QString::fromLatin1(name)));
    };
    QString text = context.toESString(property("message")) + QLatin1Char('\n');
    const ESValue line = property("lineNumber");
    if (!line.isUndefined()) {
        text += QStringLiteral("At line ") + context.toESString(line);
        const ESValue file = property("fileName");
        if (!file.isUndefined())
            text += QStringLiteral(" of ") + context.toESString(file);
        text += QStringLiteral("\n\nSource line in error: ") + elidedSourceLine(context.toESString(property("sourceLine")))
                + QLatin1Char('\n');
    }
    writeText(stderr, text);
}

int list(const Options &options)
{
    CommandContext context(0, options.searchDirectories);
    int status = Success;
    for (const QString &path : options.files) {
        QString text;
        if (!readScript(path, text))
            return ScriptError;
        QString listing;
        context.fileName = path;
        context.sourceText = text;
        try {
            ESParser parser(context);
            parser.setSource(text);
            parser.setListing(&listing);
            const std::unique_ptr<ESCode> code = parser.compileProgram();
            writeText(stdout, listing);
        } catch (const ESException &exception) {
            reportThrown(context, exception.value);
            status = ScriptError;
        }
    }
    return status;
}

int runSources(const Options &options)
{
    CommandContext context(options.maxInstructions, options.searchDirectories);
    ESCompletion completion;
    const QStringList sources = options.hasText ? QStringList{QString()} : options.files;
    for (const QString &path : sources) {
        QString text = options.text;
        if (!options.hasText && !readScript(path, text))
            return ScriptError;
        completion = context.evaluate(path, text);
        if (context.stopped()) {
            std::fprintf(stderr, "tess js: stopped after %lld instructions\n",
                         qlonglong(options.maxInstructions));
            return Stopped;
        }
        if (completion.kind == ESCompletion::Thrown) {
            reportThrown(context, completion.value);
            return ScriptError;
        }
    }
    if (!completion.value.isUndefined())
        writeText(stdout, context.toESString(completion.value) + QLatin1Char('\n'));
    return Success;
}

// One context across the lines of standard input; a fatal error starts a fresh one.
int console(const Options &options)
{
    auto context = std::make_unique<CommandContext>(options.maxInstructions,
                                                       options.searchDirectories);
    const bool interactive = isatty(0);
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return FatalError;
    for (;;) {
        if (interactive) {
            std::fputs("js> ", stdout);
            std::fflush(stdout);
        }
        const QByteArray line = input.readLine(maxScriptSize);
        if (line.isEmpty())
            break;
        try {
            const ESCompletion completion = context->evaluate(QString(), QString::fromUtf8(line));
            if (completion.kind == ESCompletion::Thrown)
                reportThrown(*context, completion.value);
            else if (!completion.value.isUndefined())
                writeText(stdout, context->toESString(completion.value) + QLatin1Char('\n'));
        } catch (const ESFatalError &error) {
            writeText(stderr, error.message + QLatin1Char('\n'));
            context = std::make_unique<CommandContext>(options.maxInstructions,
                                                       options.searchDirectories);
        }
        std::fflush(stdout);
    }
    return Success;
}

int jsCommand(const CommandArguments &arguments)
{
    Options options;
    if (const QString problem = readOptions(arguments, options); !problem.isEmpty())
        return arguments.usageError(problem);
    try {
        if (options.list)
            return list(options);
        if (options.hasText || !options.files.isEmpty())
            return runSources(options);
        return console(options);
    } catch (const ESFatalError &error) {
        std::fflush(stdout);
        writeText(stderr, error.message + QLatin1Char('\n'));
        return FatalError;
    }
}

constexpr TessOption jsOptions[] = {
    {"--eval", "TEXT", "run TEXT instead of files", "-e"},
    {"--include", "DIR", "search DIR too when a script calls load() (repeatable)", "-I"},
    {"--max-instructions", "N", "stop after N instructions (status 3)"},
    {"--list", nullptr, "print the byte code of each file instead of running it"},
};

constexpr TessCommand jsRows[] = {
    {"js", "[--max-instructions N] [--list] [-I DIR]... [-e TEXT | FILE...]",
     "run JavaScript files or text; with neither, a console on standard input", jsOptions,
     "tess js -I lib -e 'WScript.Echo(1 + 2)'", jsCommand},
};

} // namespace

std::span<const TessCommand> jsCommands()
{
    return jsRows;
}
