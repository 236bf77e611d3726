// `tess js`: runs scripts in the engine from the command line, or keeps a context open as a
// console on standard input.
#include "foundation/Directories.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESParser.h"
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

constexpr qint64 maxScriptSize = qint64(64) << 20;

enum Status { Success = 0, ScriptError = 1, FatalError = 2, Stopped = 3, UsageError = 64 };

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
    if (installationDirectory().isEmpty()) {
        setInstallationDirectory(
            QFileInfo(QCoreApplication::applicationDirPath() + QStringLiteral("/..")).canonicalFilePath());
    }
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

bool parseOptions(const QStringList &arguments, Options &options)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--max-instructions") && i + 1 < arguments.size()) {
            bool ok = false;
            options.maxInstructions = arguments.at(++i).toLongLong(&ok);
            if (!ok || options.maxInstructions <= 0) {
                std::fprintf(stderr, "tess js: bad instruction count '%s'\n", qPrintable(arguments.at(i)));
                return false;
            }
        } else if (argument == QLatin1String("-I") && i + 1 < arguments.size()) {
            options.searchDirectories.append(arguments.at(++i));
        } else if (argument == QLatin1String("--list")) {
            options.list = true;
        } else if (argument == QLatin1String("-e") && i + 1 < arguments.size()) {
            options.text = arguments.at(++i);
            options.hasText = true;
        } else if (argument.startsWith(QLatin1Char('-')) && argument.size() > 1) {
            std::fprintf(stderr, "tess js: unknown option '%s'\n", qPrintable(argument));
            return false;
        } else {
            options.files.append(argument);
        }
    }
    if (options.hasText && !options.files.isEmpty()) {
        std::fprintf(stderr, "tess js: give either -e TEXT or files\n");
        return false;
    }
    return true;
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
        text += QStringLiteral("\n\nSource line in error: ") + context.toESString(property("sourceLine"))
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

} // namespace

int jsCommand(const QStringList &arguments)
{
    Options options;
    if (!parseOptions(arguments, options)) {
        std::fprintf(stderr, "usage: tess js [--max-instructions N] [--list] [-I DIR]... (-e TEXT | FILE...)\n");
        return UsageError;
    }
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
