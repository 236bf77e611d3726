// tess build: builds a solution or one of its projects from the command line and prints the
// build log as it goes.
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildLog.h"
#include "buildengine/BuildOperation.h"
#include "buildengine/BuildRequest.h"
#include "buildengine/ExportBuilder.h"
#include "buildengine/VarnelBuilder.h"
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ConsoleBuildReporter.h"
#include <QDir>
#include <QSaveFile>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr TessOption buildOptions[] = {
    {"--config", "NAME", "configuration to build (default: the solution's first)", "-config"},
    {"--project", "NAME", "build only this project (and what it depends on)", "-project"},
    {"--jobs", "N", "tools run at once (default: \"Environment/Build/Building Threads\")", "-j"},
    {"--rebuild", nullptr, "clean, then build", "-rebuild"},
    {"--clean", nullptr, "remove what a build makes", "-clean"},
    {"--batch", nullptr, "every configuration of the batch build", "-batch"},
    {"--keep-going", nullptr, "go on after a failed step", "-keep-going"},
    {"--show-commands", nullptr, "print each command line", "-show-commands"},
    {"--verbose", nullptr, "print the build's details too", "-verbose"},
    {"--export", "FILE", "write the commands as a script instead of running them", "-export"},
    {"--makefile", "FILE", "write the commands as a makefile instead of running them", "-makefile"},
};

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int)
{
    interrupted = 1;
}

struct BuildOptions {
    QString solution;
    QString configuration;
    QString project;
    QString exportFile;
    bool makefile = false;
    bool rebuild = false;
    bool clean = false;
    bool batch = false;
    bool verbose = false;
    BuildSettings settings;
};

// Reads the parsed arguments; an empty text on success, else what is wrong.
QString readOptions(const CommandArguments &arguments, BuildOptions &options)
{
    if (arguments.operands().size() != 1)
        return arguments.operands().isEmpty() ? QStringLiteral("no solution given")
                                              : QStringLiteral("unexpected argument '%1'")
                                                    .arg(arguments.operands().at(1));
    options.solution = arguments.operands().first();
    options.configuration = arguments.value("--config");
    options.project = arguments.value("--project");
    options.rebuild = arguments.has("--rebuild");
    options.clean = arguments.has("--clean");
    options.batch = arguments.has("--batch");
    options.verbose = arguments.has("--verbose");
    options.settings.keepGoing = arguments.has("--keep-going");
    options.settings.showCommandLines = arguments.has("--show-commands");
    options.settings.showBuildInformation = options.verbose;
    if (arguments.has("--export") && arguments.has("--makefile"))
        return QStringLiteral("--export and --makefile exclude each other");
    options.makefile = arguments.has("--makefile");
    options.exportFile = arguments.value(options.makefile ? "--makefile" : "--export");
    if (arguments.has("--jobs")) {
        bool ok = false;
        options.settings.threads = arguments.value("--jobs").toInt(&ok);
        if (!ok || options.settings.threads < 1 || options.settings.threads > 128)
            return QStringLiteral("bad value '%1' for --jobs (1 to 128)").arg(arguments.value("--jobs"));
    }
    if (options.rebuild && options.clean)
        return QStringLiteral("--rebuild and --clean exclude each other");
    return {};
}

int fail(const QString &text)
{
    std::fprintf(stderr, "tess build: %s\n", text.toLocal8Bit().constData());
    return exitFailure;
}

int operationOf(const BuildOptions &options, bool project)
{
    const BuildAction action = options.rebuild ? BuildAction::Rebuild
                               : options.clean ? BuildAction::Clean
                                               : BuildAction::Build;
    return findBuildOperation(
        {project ? BuildNode::ActiveProject : BuildNode::Solution, action, options.batch});
}

int writeExport(BuildEngine &engine, const BuildTargets &targets, const BuildOptions &options,
                BuildLog &log)
{
    ExportBuilder exporter(engine, options.makefile, installationDirectory());
    VarnelIdler idler(log);
    const int operation =
        findBuildOperation({BuildNode::Selection, BuildAction::Export, options.batch});
    const int result =
        engine.build(buildRequest(operation, targets, options.settings, {&exporter}, &idler));
    QSaveFile file(options.exportFile);
    const QByteArray bytes = exporter.text().toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return fail(QStringLiteral("cannot write %1").arg(options.exportFile));
    std::printf("Exported to %s\n", qPrintable(options.exportFile));
    return result >= BuildEngine::Failed ? 1 : 0;
}

int buildCommand(const CommandArguments &arguments)
{
    BuildOptions options;
    if (const QString problem = readOptions(arguments, options); !problem.isEmpty())
        return arguments.usageError(problem);
    SolutionSession session;
    StandardProjectSystem &system = session.system();
    ProjectElement *solution = nullptr;
    try {
        solution = session.load(options.solution);
    } catch (const HException &error) {
        return fail(error.message());
    }
    if (options.configuration.isEmpty()) {
        const QStringList configurations = system.publicConfigurations();
        options.configuration =
            configurations.isEmpty() ? QStringLiteral("Common") : configurations.first();
    }
    ProjectElement *project = nullptr;
    if (!options.project.isEmpty()) {
        project = system.findElement(options.project);
        if (!project || project->kind() != ProjectElement::Kind::Project)
            return fail(QStringLiteral("no project '%1' in %2").arg(options.project,
                                                                     options.solution));
    }
    BuildEngine engine(system);
    BuildLog log;
    const BuildTargets targets{solution, project, project ? project : solution,
                               options.configuration};
    if (!options.exportFile.isEmpty())
        return writeExport(engine, targets, options, log);

    ConsoleBuildReporter reporter(options.verbose);
    VarnelIdler idler(log);
    idler.setReporter(&reporter);
    const int threads = options.clean ? 1 : buildThreads(options.settings);
    VarnelBuilderSet builders(engine, log, idler, threads, options.settings.showCommandLines);
    interrupted = 0;
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    builders.cancelWhen([] { return interrupted != 0; });
    QString status;
    const int result = runBuildOperation(engine, operationOf(options, project != nullptr),
                                         targets, options.settings, builders.builders(), idler,
                                         &status);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::printf("%s\n", status.toUtf8().constData());
    int code = result < 0 ? exitFailure : exitSuccess;
    if (result == BuildEngine::Failed)
        code = exitFailure;
    else if (result == BuildEngine::Stopped)
        code = exitStopped;
    // The process ends here: taking apart the tree of a large solution costs more than a null
    // build spends checking it, and nothing is left to write.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(code);
}

constexpr TessCommand buildRows[] = {
    {"build",
     "SOLUTION [--config NAME] [--project NAME] [-j N] [--rebuild | --clean] [--batch] "
     "[--keep-going] [--show-commands] [--verbose] [--export FILE | --makefile FILE]",
     "build, rebuild or clean a solution or one of its projects", buildOptions,
     "tess build demo.qvProject --config Release -j 2", buildCommand},
};

} // namespace

std::span<const TessCommand> buildCommands()
{
    return buildRows;
}
