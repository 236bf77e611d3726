// tess build: builds a solution or one of its projects from the command line and prints the
// build log as it goes.
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildLog.h"
#include "buildengine/BuildOperation.h"
#include "buildengine/ExportBuilder.h"
#include "buildengine/VarnelBuilder.h"
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <csignal>
#include <cstdio>
#include <memory>

namespace {

constexpr const char *usage =
    "usage: tess build SOLUTION [-config NAME] [-project NAME] [-j N] [-rebuild | -clean] "
    "[-batch] [-keep-going] [-show-commands] [-verbose] [-export FILE | -makefile FILE]\n";

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

int fail(const QString &text)
{
    std::fprintf(stderr, "tess build: %s\n", text.toLocal8Bit().constData());
    return 1;
}

// Parses the arguments; an empty text on success, else what is wrong.
QString parseOptions(const QStringList &arguments, BuildOptions &options)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        auto next = [&](QString &value) {
            if (i + 1 >= arguments.size())
                return false;
            value = arguments.at(++i);
            return true;
        };
        QString number;
        bool ok = true;
        if (argument == QLatin1String("-config")) ok = next(options.configuration);
        else if (argument == QLatin1String("-project")) ok = next(options.project);
        else if (argument == QLatin1String("-export")) ok = next(options.exportFile);
        else if (argument == QLatin1String("-makefile")) ok = next(options.exportFile), options.makefile = true;
        else if (argument == QLatin1String("-j")) {
            ok = next(number);
            options.settings.threads = number.toInt(&ok);
            ok = ok && options.settings.threads > 0;
        }
        else if (argument == QLatin1String("-rebuild")) options.rebuild = true;
        else if (argument == QLatin1String("-clean")) options.clean = true;
        else if (argument == QLatin1String("-batch")) options.batch = true;
        else if (argument == QLatin1String("-keep-going")) options.settings.keepGoing = true;
        else if (argument == QLatin1String("-show-commands")) options.settings.showCommandLines = true;
        else if (argument == QLatin1String("-verbose")) options.verbose = true;
        else if (argument.startsWith(u'-') || !options.solution.isEmpty())
            return QStringLiteral("unexpected argument '%1'").arg(argument);
        else options.solution = argument;
        if (!ok)
            return QStringLiteral("bad or missing value for %1").arg(argument);
    }
    if (options.solution.isEmpty())
        return QStringLiteral("no solution given");
    if (options.rebuild && options.clean)
        return QStringLiteral("-rebuild and -clean exclude each other");
    options.settings.showBuildInformation = options.verbose;
    return {};
}

// Prints the log as the build writes it.
class ConsoleReporter : public BuildReporter {
public:
    explicit ConsoleReporter(bool verbose) : m_verbose(verbose) {}
    void stepBegun(const BuildLogItem *project, const QString &title, int done,
                   int total) override
    {
        heading(project);
        print(QStringLiteral("[%1/%2] %3").arg(done).arg(qMax(done, total)).arg(title.trimmed()));
    }
    void itemAdded(const BuildLogItem *project, const BuildLogItem &item) override
    {
        if ((item.type() & LogItemFlag::Detail) && !m_verbose)
            return;
        heading(project);
        static const char *const words[] = {"", "", "note", "warning", "error", "error"};
        const int severity = int(item.severity());
        const Bookmark &bookmark = item.bookmark();
        if (severity < 2 || severity > 5) {
            print(item.text());
        } else if (bookmark.hasLocation()) {
            QString location = bookmark.path;
            if (bookmark.line >= 0)
                location += u':' + QString::number(bookmark.line);
            if (bookmark.column >= 0)
                location += u':' + QString::number(bookmark.column);
            print(QStringLiteral("%1: %2: %3").arg(location, QLatin1String(words[severity]),
                                                   bookmark.message));
        } else {
            print(QStringLiteral("%1: %2").arg(QLatin1String(words[severity]),
                                               bookmark.message.isEmpty() ? item.text()
                                                                          : bookmark.message));
        }
    }

private:
    // Output is grouped by project: a heading whenever the project changes.
    void heading(const BuildLogItem *project)
    {
        if (project == m_project)
            return;
        m_project = project;
        if (project)
            print(QStringLiteral("------ %1 ------").arg(project->text()));
    }
    static void print(const QString &text)
    {
        std::fprintf(stdout, "%s\n", text.toUtf8().constData());
        std::fflush(stdout);
    }
    bool m_verbose;
    const BuildLogItem *m_project = nullptr;
};

int operationOf(const BuildOptions &options, bool project)
{
    const int base = project ? 7 : 0;
    const int batch = options.batch ? 3 : 0;
    return base + batch + (options.rebuild ? 1 : options.clean ? 2 : 0);
}

int writeExport(BuildEngine &engine, ProjectElement *node, const BuildOptions &options,
                BuildLog &log)
{
    ExportBuilder exporter(engine, options.makefile, installationDirectory());
    VarnelIdler idler(log);
    const uint flags = BuildFlag::Force | BuildFlag::Quiet;
    const int result = engine.buildTop(node, options.configuration, 1, {&exporter}, idler, flags,
                                       true, options.batch);
    QSaveFile file(options.exportFile);
    const QByteArray bytes = exporter.text().toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return fail(QStringLiteral("cannot write %1").arg(options.exportFile));
    std::printf("Exported to %s\n", qPrintable(options.exportFile));
    return result >= BuildEngine::Failed ? 1 : 0;
}

} // namespace

int buildCommand(const QStringList &arguments)
{
    BuildOptions options;
    if (const QString problem = parseOptions(arguments, options); !problem.isEmpty()) {
        std::fputs(usage, stderr);
        return fail(problem);
    }
    std::unique_ptr<PropertyClassList> macroSystem;
    if (!PropertyClassList::global()) {
        macroSystem = PropertyClassList::createMacroSystem();
        PropertyClassList::setGlobal(macroSystem.get());
        if (installationDirectory().isEmpty())
            setInstallationDirectory(QFileInfo(QCoreApplication::applicationDirPath()
                                               + QStringLiteral("/.."))
                                         .canonicalFilePath());
        macroSystem->defineSystemMacro(QStringLiteral("VarnelDir"), installationDirectory(),
                                       QStringLiteral("Installation directory of Tessmark."));
    }
    StandardProjectSystem system;
    ProjectElement *solution = nullptr;
    try {
        solution = system.loadSolution(QDir::currentPath(), options.solution, true);
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
    if (!options.exportFile.isEmpty())
        return writeExport(engine, project ? project : solution, options, log);

    ConsoleReporter reporter(options.verbose);
    VarnelIdler idler(log);
    idler.setReporter(&reporter);
    const int threads = options.clean ? 1 : buildThreads(options.settings);
    std::vector<std::unique_ptr<VarnelBuilder>> owned;
    std::vector<Builder *> builders;
    for (int i = 0; i < threads; ++i) {
        owned.push_back(std::make_unique<VarnelBuilder>(log, idler, engine.state()));
        owned.back()->setShowCommandLines(options.settings.showCommandLines);
        builders.push_back(owned.back().get());
    }
    interrupted = 0;
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    idler.setIdleHook([&] {
        if (!interrupted || engine.state().stopped)
            return;
        engine.cancelBuild(builders);
        for (const auto &builder : owned)
            builder->terminate();
    });
    BuildTargets targets{solution, project, project, options.configuration};
    QString status;
    const int result = runBuildOperation(engine, operationOf(options, project != nullptr),
                                         targets, options.settings, builders, idler, &status);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::printf("%s\n", status.toUtf8().constData());
    switch (result) {
    case BuildEngine::Failed: return 1;
    case BuildEngine::Stopped: return 2;
    default: return result < 0 ? 1 : 0;
    }
}
