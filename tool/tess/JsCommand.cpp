// `tess js`: runs scripts with every host object installed: Build on an opened solution, Debug
// on an ELF image and its RAM dumps, BinaryFile and TMSys on files. Or keeps a context open as
// a console on standard input.
#include "foundation/HException.h"
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "script/es/ESContext.h"
#include "script/es/ESParser.h"
#include "script/host/HostServices.h"
#include "script/host/JavaScriptConsoleSession.h"
#include "script/host/ScriptBuildSession.h"
#include "script/host/ScriptDebugSession.h"
#include "script/host/VarnelScriptSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ConsoleBuildReporter.h"
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <unistd.h>

namespace {

constexpr qint64 maxScriptSize = qint64(64) << 20;

// Exit statuses of a run, as the script system ends it.
constexpr int scriptError = exitFailure;
constexpr int fatalError = 2;

void writeText(FILE *to, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), to);
}

void writeLine(FILE *to, const QString &text)
{
    if (to == stderr)
        std::fflush(stdout);
    writeText(to, text + QLatin1Char('\n'));
    if (to == stdout)
        std::fflush(stdout);
}

// The script system a Ctrl-C stops; set while a run may be going on.
VarnelScriptSystem *interruptible = nullptr;

void onInterrupt(int)
{
    if (interruptible)
        interruptible->requestStop();
}

struct Options {
    qint64 maxInstructions = 0;
    bool list = false;
    bool interactive = false;
    QString text;   // -e
    bool hasText = false;
    QStringList files;
    QStringList searchDirectories;   // -I
    QString solution;
    QString configuration;
    QString project;
    QString elf;
    std::vector<ScriptDebugSession::Dump> dumps;
    VarnelScriptSystem::PopupAnswer popupAnswer = VarnelScriptSystem::No;
};

// Reads --memory FILE@ADDRESS values; an empty text on success, else the usage error.
QString readDumps(const CommandArguments &arguments, Options &options)
{
    for (const QString &memory : arguments.values("--memory")) {
        const qsizetype at = memory.lastIndexOf(u'@');
        bool ok = false;
        const quint64 address = at > 0 ? memory.mid(at + 1).toULongLong(&ok, 0) : 0;
        if (!ok)
            return QStringLiteral("bad --memory '%1' (FILE@ADDRESS expected)").arg(memory);
        options.dumps.emplace_back(memory.left(at), address);
    }
    if (!options.dumps.empty() && options.elf.isEmpty())
        return QStringLiteral("--memory needs --elf");
    return {};
}

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
    options.interactive = arguments.has("--interactive");
    options.searchDirectories = arguments.values("--include");
    options.hasText = arguments.has("--eval");
    options.text = arguments.value("--eval");
    options.files = arguments.operands();
    if (options.hasText && !options.files.isEmpty())
        return QStringLiteral("give either -e TEXT or files");
    if (options.interactive && (options.hasText || !options.files.isEmpty() || options.list))
        return QStringLiteral("-i takes no -e TEXT, files or --list");
    if (arguments.has("--yes") && arguments.has("--no"))
        return QStringLiteral("--yes and --no exclude each other");
    options.popupAnswer = arguments.has("--yes") ? VarnelScriptSystem::Yes : VarnelScriptSystem::No;
    options.solution = arguments.value("--solution");
    options.configuration = arguments.value("--config");
    options.project = arguments.value("--project");
    if (options.solution.isEmpty() && (arguments.has("--config") || arguments.has("--project")))
        return QStringLiteral("--config and --project need --solution");
    options.elf = arguments.value("--elf");
    return readDumps(arguments, options);
}

bool readScript(const QString &path, QString &text)
{
    QFile file(path);
    if (QFileInfo(path).isDir()) {
        writeLine(stderr, QStringLiteral("tess js: %1: is a directory").arg(path));
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        writeLine(stderr, QStringLiteral("tess js: %1: %2").arg(path, file.errorString()));
        return false;
    }
    if (file.size() > maxScriptSize) {
        writeLine(stderr, QStringLiteral("tess js: %1: script too large (%2 bytes, limit %3)")
                              .arg(path).arg(file.size()).arg(maxScriptSize));
        return false;
    }
    text = QString::fromUtf8(file.readAll());
    return true;
}

int list(const Options &options)
{
    ESContext context;
    VarnelScriptSystem reporter;
    reporter.setReporter([](const QString &, const QString &text) { writeLine(stderr, text); });
    int status = exitSuccess;
    for (const QString &path : options.files) {
        QString text;
        if (!readScript(path, text))
            return scriptError;
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
            reporter.reportThrown(context, exception.value, path);
            status = scriptError;
        }
    }
    return status;
}

// The solution, configuration and active project Build acts on.
struct BuildSetup {
    std::unique_ptr<SolutionSession> projects;
    std::unique_ptr<ScriptBuildSession> session;
    std::unique_ptr<ConsoleBuildReporter> reporter;
};

std::optional<BuildSetup> openSolution(const CommandArguments &arguments, const Options &options)
{
    BuildSetup setup;
    if (options.solution.isEmpty())
        return setup;
    setup.projects = std::make_unique<SolutionSession>();
    try {
        setup.projects->load(options.solution);
    } catch (const HException &error) {
        arguments.fail(error.message());
        return std::nullopt;
    }
    StandardProjectSystem &system = setup.projects->system();
    QString configuration = options.configuration;
    if (configuration.isEmpty()) {
        const QStringList configurations = system.publicConfigurations();
        configuration = configurations.isEmpty() ? QStringLiteral("Common") : configurations.first();
    }
    ProjectElement *project = nullptr;
    if (!options.project.isEmpty()) {
        project = system.findElement(options.project);
        if (!project || project->kind() != ProjectElement::Kind::Project) {
            arguments.fail(QStringLiteral("no project '%1' in %2").arg(options.project, options.solution));
            return std::nullopt;
        }
    } else if (ProjectElement *solution = system.solution()) {
        for (ProjectElement *child : solution->children()) {
            if (child->kind() == ProjectElement::Kind::Project) {
                project = child;
                break;
            }
        }
    }
    setup.session = std::make_unique<ScriptBuildSession>(system, configuration, project);
    if (!setup.session->setConfiguration(configuration)) {
        arguments.fail(QStringLiteral("no configuration '%1' in %2").arg(configuration, options.solution));
        return std::nullopt;
    }
    setup.reporter = std::make_unique<ConsoleBuildReporter>(false);
    setup.session->setReporter(setup.reporter.get());
    return setup;
}

// The console: one context across the lines of standard input.
int console(VarnelScriptSystem &system)
{
    JavaScriptConsoleSession console(system, [](const QString &text) { writeLine(stdout, text); });
    const bool interactive = isatty(0);
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return fatalError;
    for (;;) {
        if (interactive) {
            std::fputs("js> ", stdout);
            std::fflush(stdout);
        }
        const QByteArray line = input.readLine(maxScriptSize);
        if (line.isEmpty())
            break;
        console.process(QString::fromUtf8(line));
    }
    return exitSuccess;
}

int runScripts(VarnelScriptSystem &system, const Options &options)
{
    std::vector<VarnelScriptSystem::Source> sources;
    if (options.hasText)
        sources.push_back({QString(), options.text});
    for (const QString &path : options.files) {
        QString text;
        if (!readScript(path, text))
            return scriptError;
        sources.push_back({path, text});
    }
    QStringList results;
    system.evaluate(sources, false, results);
    if (system.budgetSpent()) {
        writeLine(stderr, QStringLiteral("tess js: stopped after %1 instructions").arg(options.maxInstructions));
        return exitStopped;
    }
    if (system.stopRequested()) {
        writeLine(stderr, QStringLiteral("tess js: stopped"));
        return exitStopped;
    }
    switch (system.lastOutcome()) {
    case VarnelScriptSystem::Outcome::Error: return scriptError;
    case VarnelScriptSystem::Outcome::Fatal: return fatalError;
    case VarnelScriptSystem::Outcome::Success: break;
    }
    for (const QString &line : std::as_const(results))
        writeLine(stdout, line);
    return exitSuccess;
}

int jsCommand(const CommandArguments &arguments)
{
    Options options;
    if (const QString problem = readOptions(arguments, options); !problem.isEmpty())
        return arguments.usageError(problem);
    if (options.list)
        return list(options);
    std::optional<BuildSetup> build = openSolution(arguments, options);
    if (!build)
        return exitFailure;
    std::unique_ptr<ScriptDebugSession> debug;
    if (!options.elf.isEmpty())
        debug = std::make_unique<ScriptDebugSession>(options.elf, options.dumps);

    VarnelScriptSystem system;
    system.setPopupAnswer(options.popupAnswer);
    system.setSearchDirectories(options.searchDirectories);
    system.setInstructionBudget(options.maxInstructions);
    system.setReporter([](const QString &, const QString &text) { writeLine(stderr, text); });
    HostServices services;
    services.system = &system;
    services.output = [](const QString &text) { writeLine(stdout, text); };
    services.note = [](const QString &text) { writeLine(stderr, text); };
    services.build = build->session.get();
    services.debug = debug.get();
    if (build->session)
        build->session->setStopCheck([&system] { return system.stopRequested(); });
    system.setHostHook([&services](MyESContext &context) { installHostClasses(context, services); });

    interruptible = &system;
    std::signal(SIGINT, onInterrupt);
    int status = exitSuccess;
    try {
        const bool interactive = options.interactive || (!options.hasText && options.files.isEmpty());
        status = interactive ? console(system) : runScripts(system, options);
    } catch (const HException &error) {
        writeLine(stderr, QStringLiteral("tess js: ") + error.message());
        status = fatalError;
    }
    std::signal(SIGINT, SIG_DFL);
    interruptible = nullptr;
    return status;
}

constexpr TessOption jsOptions[] = {
    {"--eval", "TEXT", "run TEXT instead of files", "-e"},
    {"--interactive", nullptr, "a console on standard input: one context across the lines", "-i"},
    {"--include", "DIR", "search DIR too when a script calls load() (repeatable)", "-I"},
    {"--solution", "FILE", "open the solution that Build acts on"},
    {"--config", "NAME", "the build configuration (default: the solution's first)"},
    {"--project", "NAME", "the active project (default: the solution's first)"},
    {"--elf", "FILE", "the program Debug evaluates in (opened on first use)"},
    {"--memory", "FILE@ADDRESS", "lay the bytes of FILE over the ELF image at ADDRESS (repeatable)", "-m"},
    {"--yes", nullptr, "TMSys.popup answers yes"},
    {"--no", nullptr, "TMSys.popup answers no (the default)"},
    {"--max-instructions", "N", "stop after N instructions (status 3)"},
    {"--list", nullptr, "print the byte code of each file instead of running it"},
};

constexpr TessCommand jsRows[] = {
    {"js",
     "[--solution FILE [--config NAME] [--project NAME]] [--elf FILE [--memory FILE@ADDR]...] "
     "[--yes|--no] [--max-instructions N] [--list] [-I DIR]... (FILE... | -e TEXT | -i)",
     "run JavaScript with the host objects (Build, Debug, BinaryFile, TMSys...); -i: a console",
     jsOptions, "tess js --solution demo.qvProject --elf app.elf -e 'Build.buildSolution()'",
     jsCommand},
};

} // namespace

std::span<const TessCommand> jsCommands()
{
    return jsRows;
}
