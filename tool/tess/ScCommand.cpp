// `tess sc`: source control from the command line, through the providers of the provider list
// and the same refresh the environment runs for a solution.
#include "foundation/Directories.h"
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "sourcecontrol/PendingChangesWindow.h"
#include "sourcecontrol/PorcelainStatus.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControl.h"
#include "sourcecontrol/SourceControlLog.h"
#include "sourcecontrol/SourceControlMenu.h"
#include "sourcecontrol/SourceControlProviders.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ProjectCommandSupport.h"
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>
#include <cstdio>
#include <functional>
#include <ctime>
#include <memory>

namespace {

void writeBytes(FILE *to, const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

// "tess sc NAME: line" for each line of a failure; returns exitFailure.
int failLines(const CommandArguments &arguments, const QString &text)
{
    const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines)
        arguments.fail(line);
    return exitFailure;
}

// The providers, the directory the command works in, and the source control over both.
class ScSession {
public:
    explicit ScSession(const CommandArguments &arguments) : m_arguments(arguments) {}

    // Loads the providers; with `needDirectory`, also finds the one that controls the working
    // directory. Returns exitSuccess or the status to end with (the message printed).
    int open(bool needDirectory = true);

    SourceControlLog log;
    SourceControlProviders providers{&log};
    SourceControl control{log};
    QString directory;   // absolute; where git runs and operands are taken from
    QString root;   // of the working copy

private:
    const CommandArguments &m_arguments;
};

int ScSession::open(bool needDirectory)
{
    const bool logAll = m_arguments.has("--log");
    if (logAll) {
        log.setLogCommands(true);
        log.setSink([](SourceControlLog::Level, const QString &line) {
            writeBytes(stderr, line.toUtf8() + '\n');
        });
    }
    const QString list =
        m_arguments.value("--providers", SourceControlProviders::defaultListPath());
    QString error;
    if (!providers.load(list, &error))
        return m_arguments.fail(error);
    // A provider that would not load is reported once; the others still serve.
    for (const auto &provider : providers.providers()) {
        if (!provider->interface() && !logAll) {
            m_arguments.fail(QStringLiteral("cannot load source control provider '%1': %2")
                                 .arg(provider->entry().name, provider->loadError()));
        }
    }
    const QString given = m_arguments.value("--directory", QStringLiteral("."));
    directory = QDir::cleanPath(QDir::current().absoluteFilePath(given));
    if (!QFileInfo(directory).isDir())
        return m_arguments.fail(QStringLiteral("no such directory: %1").arg(given));
    if (!needDirectory)
        return exitSuccess;
    if (!providers.anyLoaded())
        return m_arguments.fail(
            QStringLiteral("no source control provider could be loaded from %1").arg(list));
    SourceControlProvider *provider = providers.providerFor(directory, &root, &error);
    if (!provider) {
        return failLines(m_arguments,
                         error.isEmpty()
                             ? QStringLiteral("not under source control: %1").arg(directory)
                             : error);
    }
    control.setProvider(provider->interface(), provider->entry().name);
    return exitSuccess;
}

// The options a status query takes from the command line; empty on success, else the problem.
QString readStatusOptions(const CommandArguments &arguments, SourceControlOptions &options)
{
    options.ignored = arguments.has("--ignored");
    options.paths = arguments.operands();
    if (!arguments.has("--untracked-files"))
        return {};
    const QString mode = arguments.value("--untracked-files");
    struct Mode {
        const char *name;
        SourceControlOptions::Untracked value;
    };
    static constexpr Mode modes[] = {{"no", SourceControlOptions::Untracked::No},
                                     {"normal", SourceControlOptions::Untracked::Normal},
                                     {"all", SourceControlOptions::Untracked::All}};
    for (const Mode &known : modes) {
        if (mode == QLatin1String(known.name)) {
            options.untracked = known.value;
            return {};
        }
    }
    return QStringLiteral("bad value '%1' for --untracked-files (no, normal or all)").arg(mode);
}

// Measures how long the main thread goes without turning its event loop while a refresh runs:
// the time on the clock, and how much of it the thread itself worked, since on a busy machine
// the clock also counts the time other processes had the processor.
class PauseWatch {
public:
    PauseWatch()
    {
        m_tick.setTimerType(Qt::PreciseTimer);
        m_tick.setInterval(1);
        QObject::connect(&m_tick, &QTimer::timeout, [this] { mark(); });
        m_clock.start();
        m_lastWork = threadWork();
        m_tick.start();
    }
    void mark()
    {
        const qint64 now = m_clock.nsecsElapsed();
        const qint64 work = threadWork();
        m_longest = qMax(m_longest, now - m_last);
        m_longestWork = qMax(m_longestWork, work - m_lastWork);
        m_last = now;
        m_lastWork = work;
    }
    void report() const
    {
        std::fprintf(stderr,
                     "longest pause of the main thread: %.1f ms, of its own work: %.1f ms\n",
                     double(m_longest) / 1e6, double(m_longestWork) / 1e6);
    }

private:
    static qint64 threadWork()
    {
        timespec now{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
    }

    QTimer m_tick;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    qint64 m_lastWork = 0;
    qint64 m_longest = 0;
    qint64 m_longestWork = 0;
};

// Runs a refresh and turns the event loop until its results are in, watching the main thread
// when asked to.
void refreshAndWait(const CommandArguments &arguments, SourceControl &control,
                    const std::function<void()> &refresh)
{
    std::unique_ptr<PauseWatch> watch;
    if (arguments.has("--report-pauses"))
        watch = std::make_unique<PauseWatch>();
    refresh();
    control.waitUntilUpToDate();
    if (watch) {
        watch->mark();
        watch->report();
    }
}

// PROJECT<TAB>XY<TAB>PATH for every file element of the solution's projects.
void printSolutionStatus(const ProjectElement *project, QByteArray &out, const QByteArray &prefix,
                         bool quoteNonAscii)
{
    std::vector<const ProjectElement *> stack{project};
    while (!stack.empty()) {
        const ProjectElement *element = stack.back();
        stack.pop_back();
        for (auto it = element->children().rbegin(); it != element->children().rend(); ++it)
            stack.push_back(*it);
        const SourceControlState *state = element->sourceControlState();
        if (element->kind() != ProjectElement::Kind::File || !state)
            continue;
        out += prefix + state->index + state->workTree + '\t'
               + quotedPath(state->path, quoteNonAscii, false) + '\n';
    }
}

// The provider of the first project that names a working copy.
int chooseProvider(const CommandArguments &arguments, ScSession &session,
                   const ProjectElement *solution)
{
    for (const ProjectElement *project : solution->children()) {
        const QString directory = project->kind() == ProjectElement::Kind::Project
                                      ? session.control.directoryOf(project)
                                      : QString();
        if (directory.isEmpty())
            continue;
        QString error;
        SourceControlProvider *provider =
            session.providers.providerFor(directory, &session.root, &error);
        if (!provider) {
            return failLines(arguments,
                             error.isEmpty()
                                 ? QStringLiteral("not under source control: %1").arg(directory)
                                 : error);
        }
        session.control.setProvider(provider->interface(), provider->entry().name);
        return exitSuccess;
    }
    return exitSuccess;
}

int solutionStatus(const CommandArguments &arguments, ScSession &session)
{
    SolutionSession projects;
    if (!loadForCommand(projects, arguments.value("--solution")))
        return exitFailure;
    StandardProjectSystem &system = projects.system();
    session.control.setProjectSystem(&system,
                                     arguments.value("--config", QStringLiteral("Common")));
    if (const int status = chooseProvider(arguments, session, system.solution());
        status != exitSuccess)
        return status;
    session.control.setForceBackground(arguments.has("--background"));
    refreshAndWait(arguments, session.control, [&] { session.control.refreshAll(); });
    int status = exitSuccess;
    QByteArray out;
    for (const ProjectElement *project : system.solution()->children()) {
        const QString directory = project->kind() == ProjectElement::Kind::Project
                                      ? session.control.directoryOf(project)
                                      : QString();
        if (directory.isEmpty())
            continue;
        if (const QString errors = session.control.errors(directory); !errors.isEmpty()) {
            status = failLines(arguments, errors);
            continue;
        }
        const SourceControlResults *results = session.control.results(directory);
        printSolutionStatus(project, out, project->elementName().toUtf8() + '\t',
                            !results || results->quoteNonAscii);
    }
    writeBytes(stdout, out);
    return status;
}

int statusCommand(const CommandArguments &arguments)
{
    SourceControlOptions options;
    if (const QString problem = readStatusOptions(arguments, options); !problem.isEmpty())
        return arguments.usageError(problem);
    const bool forSolution = arguments.has("--solution");
    if (forSolution
        && (!arguments.operands().isEmpty() || arguments.has("--ignored")
            || arguments.has("--untracked-files")))
        return arguments.usageError(
            QStringLiteral("--solution takes no paths, --ignored or --untracked-files"));
    if (!forSolution && arguments.has("--config"))
        return arguments.usageError(QStringLiteral("--config goes with --solution"));
    ScSession session(arguments);
    if (forSolution) {
        if (const int status = session.open(false); status != exitSuccess)
            return status;
        if (!session.providers.anyLoaded())
            return arguments.fail(QStringLiteral("no source control provider could be loaded"));
        return solutionStatus(arguments, session);
    }
    if (const int status = session.open(); status != exitSuccess)
        return status;
    if (const QString outside =
            outsideWorkingCopyError(session.control, session.directory, options.paths);
        !outside.isEmpty())
        return arguments.fail(outside);
    session.control.setOptions(options);
    session.control.setForceBackground(arguments.has("--background"));
    refreshAndWait(arguments, session.control,
                   [&] { session.control.refreshDirectory(session.directory, session.directory); });
    const QString key = SourceControl::directoryKey(session.directory);
    if (const QString errors = session.control.errors(key); !errors.isEmpty())
        return failLines(arguments, errors);
    const SourceControlResults *results = session.control.results(key);
    if (!results)
        return arguments.fail(
            QStringLiteral("no status was delivered for %1").arg(session.directory));
    QByteArray out;
    for (const SourceControlFileStatus &file : results->files)
        out += porcelainLine(file, results->quoteNonAscii) + '\n';
    writeBytes(stdout, out);
    return exitSuccess;
}

// add, remove and revert: a command of the pending changes window on the operands.
int onFiles(const CommandArguments &arguments, PendingChangesWindow::Command command)
{
    if (arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("give the files"));
    ScSession session(arguments);
    if (const int status = session.open(); status != exitSuccess)
        return status;
    PendingChangesWindow window(session.control, session.directory);
    window.setSelection(arguments.operands());
    if (!window.runVCS(command))
        return failLines(arguments, window.lastResults().errors);
    writeBytes(stdout, window.lastResults().output);
    return exitSuccess;
}

int addCommand(const CommandArguments &arguments)
{
    return onFiles(arguments, PendingChangesWindow::Add);
}

int removeCommand(const CommandArguments &arguments)
{
    return onFiles(arguments, arguments.has("--cached") ? PendingChangesWindow::Untrack
                                                        : PendingChangesWindow::Remove);
}

int revertCommand(const CommandArguments &arguments)
{
    return onFiles(arguments, PendingChangesWindow::Revert);
}

int commitCommand(const CommandArguments &arguments)
{
    if (!arguments.has("--message"))
        return arguments.usageError(QStringLiteral("give the message with -m MESSAGE"));
    if (!arguments.operands().isEmpty())
        return arguments.usageError(
            QStringLiteral("a commit records the index; it takes no files"));
    ScSession session(arguments);
    if (const int status = session.open(); status != exitSuccess)
        return status;
    PendingChangesWindow window(session.control, session.directory);
    window.setCommitMessage(arguments.value("--message"), arguments.value("--author"));
    if (!window.runVCS(PendingChangesWindow::Commit))
        return failLines(arguments, window.lastResults().errors);
    writeBytes(stdout, window.lastResults().output);
    return exitSuccess;
}

int diffCommand(const CommandArguments &arguments)
{
    ScSession session(arguments);
    if (const int status = session.open(); status != exitSuccess)
        return status;
    if (const QString outside =
            outsideWorkingCopyError(session.control, session.directory, arguments.operands());
        !outside.isEmpty())
        return arguments.fail(outside);
    const SourceControlResults results =
        vcsCompare(session.control, session.directory, arguments.operands());
    if (!results.errors.isEmpty())
        return failLines(arguments, results.errors);
    writeBytes(stdout, results.output);
    return exitSuccess;
}

int logCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() > 1)
        return arguments.usageError(QStringLiteral("give at most one path"));
    const std::optional<qint64> count = arguments.integer("--max-count", 1, 1 << 30, 0);
    if (!count)
        return exitUsage;
    ScSession session(arguments);
    if (const int status = session.open(); status != exitSuccess)
        return status;
    const QString path = arguments.operands().value(0);
    if (const QString outside =
            outsideWorkingCopyError(session.control, session.directory, arguments.operands());
        !outside.isEmpty())
        return arguments.fail(outside);
    const SourceControlResults results =
        showLog(session.control, session.directory, path, int(*count));
    if (!results.errors.isEmpty())
        return failLines(arguments, results.errors);
    QByteArray out;
    for (const SourceControlLogEntry &entry : results.log) {
        out += (entry.revision + u'\t' + entry.author + u'\t' + entry.date + u'\t' + entry.subject)
                   .toUtf8()
               + '\n';
    }
    writeBytes(stdout, out);
    return exitSuccess;
}

int providersCommand(const CommandArguments &arguments)
{
    if (!arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("takes no operands"));
    ScSession session(arguments);
    if (const int status = session.open(false); status != exitSuccess)
        return status;
    QByteArray out;
    for (const auto &provider : session.providers.providers()) {
        QString state = QStringLiteral("loaded");
        QString reason;
        if (!provider->interface())
            state = QStringLiteral("not loaded: ") + provider->loadError();
        else if (!provider->interface()->available(&reason))
            state = QStringLiteral("unavailable: ") + reason;
        else
            state += QStringLiteral(" (%1)").arg(provider->interface()->version());
        out += (provider->entry().name + u'\t' + provider->entry().library + u'\t' + state).toUtf8()
               + '\n';
        for (const SourceControlProperty &property : provider->entry().properties) {
            out += (QStringLiteral("  ") + property.name + u'=' + property.value
                    + QStringLiteral("  ") + property.description)
                       .toUtf8()
                   + '\n';
        }
    }
    writeBytes(stdout, out);
    return exitSuccess;
}

constexpr TessOption directoryOption = {"--directory", "DIR", "work as if started in DIR", "-C"};
constexpr TessOption providersOption = {"--providers", "FILE",
                                        "read the provider list FILE (default $TESS_SC_PROVIDERS, "
                                        "else bin/scproviders.xml)"};
constexpr TessOption logOption = {
    "--log", nullptr, "write the source-control log, with the commands run, to standard error"};

constexpr TessOption statusOptions[] = {
    directoryOption,
    providersOption,
    logOption,
    {"--ignored", nullptr, "list ignored files and folders too"},
    {"--untracked-files", "MODE", "no, normal (a new folder once, as dir/) or all"},
    {"--background", nullptr, "always query on the background thread"},
    {"--solution", "FILE", "the status of every file element of the solution's projects"},
    {"--config", "NAME",
     "the configuration source_code_control_directory is read in (default Common)"},
    {"--report-pauses", nullptr, "print the longest pause of the main thread during the refresh"},
};
constexpr TessOption fileOptions[] = {directoryOption, providersOption, logOption};
constexpr TessOption removeOptions[] = {
    directoryOption,
    providersOption,
    logOption,
    {"--cached", nullptr, "only take the files out of control; they stay on the disk"},
};
constexpr TessOption commitOptions[] = {
    directoryOption,
    providersOption,
    logOption,
    {"--message", "MESSAGE", "the message of the commit", "-m"},
    {"--author", "AUTHOR", "\"NAME <MAIL>\" instead of the configured author"},
};
constexpr TessOption logOptions[] = {
    directoryOption,
    providersOption,
    logOption,
    {"--max-count", "N", "only the last N changes", "-n"},
};
constexpr TessOption providerListOptions[] = {providersOption, logOption};

constexpr TessCommand scRows[] = {
    {"sc status",
     "[-C DIR] [--ignored] [--untracked-files=no|normal|all] [--background] [--log] [PATH...] | "
     "--solution FILE [--config NAME]",
     "the short status of a working copy (XY PATH), or of a solution's file elements",
     statusOptions, "tess sc status -C src --untracked-files=all", statusCommand},
    {"sc add", "[-C DIR] PATH...", "put files under source control", fileOptions,
     "tess sc add src/main.c", addCommand},
    {"sc remove", "[-C DIR] [--cached] PATH...",
     "take files out of source control and off the disk", removeOptions,
     "tess sc remove --cached build.log", removeCommand},
    {"sc commit", "[-C DIR] -m MESSAGE [--author \"NAME <MAIL>\"]",
     "record the index as one change", commitOptions, "tess sc commit -m 'Blink faster'",
     commitCommand},
    {"sc revert", "[-C DIR] PATH...",
     "bring files back to the last commit; added files stay, untracked", fileOptions,
     "tess sc revert src/main.c", revertCommand},
    {"sc diff", "[-C DIR] [PATH...]", "the working tree against the last commit, in unified format",
     fileOptions, "tess sc diff src", diffCommand},
    {"sc log", "[-C DIR] [-n N] [PATH]", "the changes, newest first: HASH AUTHOR DATE SUBJECT",
     logOptions, "tess sc log -n 5 src/main.c", logCommand},
    {"sc providers", "[--providers FILE]", "the providers of the list: library, loaded or why not",
     providerListOptions, "tess sc providers", providersCommand},
};

}   // namespace

std::span<const TessCommand> scCommands()
{
    return scRows;
}
