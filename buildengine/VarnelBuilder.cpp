#include "buildengine/VarnelBuilder.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildLog.h"
#include "buildengine/CommandLine.h"
#include "buildengine/DiagnosticParser.h"
#include "foundation/Directories.h"
#include "projects/StandardProjectSystem.h"
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <poll.h>

namespace {

// Where the end of a tool can't be heard (no process descriptor, no pipe), it is looked for
// this often.
constexpr int fallbackMilliseconds = 5;
// Longest time one idle spends on events.
constexpr int idleMilliseconds = 100;
// A walk over thousands of up-to-date files calls idle once per file: the event loop runs at
// most this often, which keeps a cancel prompt without costing the walk its time.
constexpr int pumpMilliseconds = 10;

QList<QByteArray> toBytes(const QStringList &arguments)
{
    QList<QByteArray> bytes;
    for (const QString &argument : arguments)
        bytes.append(argument.toLocal8Bit());
    return bytes;
}

} // namespace

BuildReporter::~BuildReporter() = default;

VarnelBuilder::VarnelBuilder(BuildLog &log, VarnelIdler &idler, BuildState &state)
    : m_log(log), m_idler(idler), m_state(state),
      m_parser(std::make_unique<StandardDiagnosticParser>()), m_installation(installationDirectory())
{
}

VarnelBuilder::~VarnelBuilder() = default;

BuildLogItem *VarnelBuilder::group() const
{
    if (!m_groups.empty())
        return m_groups.back();
    return m_base ? m_base : m_log.root();
}

void VarnelBuilder::reset()
{
    m_groups.clear();
    m_base = nullptr;
    m_killed = false;
}

void VarnelBuilder::beginStep(ProjectElement *element, const QString &title,
                              const QString &configuration, int count)
{
    m_groups.push_back(m_log.openGroup(group(), title));
    if (BuildReporter *reporter = m_idler.reporter())
        reporter->stepBegun(m_base, title, m_idler.stepsDone(), m_idler.stepsTotal());
}

void VarnelBuilder::endStep(ProjectElement *element, const QString &configuration)
{
    if (!m_groups.empty())
        m_groups.pop_back();
}

void VarnelBuilder::add(const QString &text, int type)
{
    const BuildLogItem *item = m_log.addItem(group(), text, type);
    if (BuildReporter *reporter = m_idler.reporter())
        reporter->itemAdded(m_base, *item);
}

void VarnelBuilder::addError(const QString &text)
{
    add(text, int(Severity::Error));
}

void VarnelBuilder::addWarning(const QString &text)
{
    add(text, int(Severity::Warning));
}

void VarnelBuilder::addNote(const QString &text)
{
    add(text, int(Severity::Note));
}

void VarnelBuilder::addDetail(const QString &text)
{
    add(text, int(Severity::Plain) | LogItemFlag::Detail);
}

void VarnelBuilder::addInformation(const QString &text)
{
    add(text, int(Severity::Plain) | LogItemFlag::Detail | LogItemFlag::NoPropagation);
}

void VarnelBuilder::closeGroups()
{
    m_groups.clear();
}

void VarnelBuilder::adoptGroup(ProjectElement *element, const QString &configuration)
{
    m_groups.clear();
    m_base = m_idler.groupOf(element, configuration);
}

bool VarnelBuilder::runCommand(const QString &workingDirectory, const QStringList &arguments,
                               const QString &outputPath)
{
    if (!startCommand(workingDirectory, arguments, outputPath))
        return false;
    while (!finishCommand(nullptr, outputPath))
        m_idler.idleWith(1, {this});
    return !m_state.failed && !m_state.stopped;
}

bool VarnelBuilder::startCommand(const QString &workingDirectory, const QStringList &arguments,
                                 const QString &outputPath)
{
    if (arguments.isEmpty() || m_state.stopped)
        return true;
    if (!outputPath.isEmpty()) {
        const QString directory = QFileInfo(outputPath).absolutePath();
        if (!QDir().mkpath(directory)) {
            addError(QStringLiteral("Error creating directory %1").arg(directory));
            m_state.failed = true;
            return false;
        }
    }
    QStringList line = arguments;
    // A shipped tool is used where the installation has it; otherwise the host's own.
    if (isShippedTool(line.first())
        && QFileInfo::exists(m_installation + QStringLiteral("/bin/") + line.first()))
        line = resolveShippedTool(line, m_installation);
    if (m_showCommandLines) {
        add(QStringLiteral("Working directory: ") + workingDirectory,
            int(Severity::Plain) | LogItemFlag::CommandLine);
        add(QStringLiteral("Command line: ") + displayCommandLine(line),
            int(Severity::Plain) | LogItemFlag::CommandLine);
    }
    m_workingDirectory = workingDirectory;
    m_runningOutput = outputPath;
    m_killed = false;
    if (start(toBytes(line), false, workingDirectory) < 0) {
        addError(QStringLiteral("Error starting process %1").arg(line.first()));
        if (!errorString().isEmpty())
            addError(errorString());
        removeFailedOutput(outputPath);
        m_state.failed = true;
        return false;
    }
    return true;
}

bool VarnelBuilder::finishCommand(ProjectElement *element, const QString &outputPath)
{
    if (!running())
        return true;
    if (Process::check())
        return false;
    commandEnded(outputPath);
    return true;
}

bool VarnelBuilder::pollIdle()
{
    if (!running())
        return false;
    if (!Process::check())
        commandEnded(m_runningOutput);
    return true;
}

void VarnelBuilder::commandEnded(const QString &outputPath)
{
    for (const QString &line : m_stdoutLines.finish())
        outputLine(line);
    for (const QString &line : m_stderrLines.finish())
        outputLine(line);
    if (m_killed || terminated()) {
        removeFailedOutput(outputPath);
        m_state.stopped = true;
        return;
    }
    if (!succeeded()) {
        removeFailedOutput(outputPath);
        m_state.failed = true;
    }
}

void VarnelBuilder::removeFailedOutput(const QString &outputPath)
{
    if (!outputPath.isEmpty())
        QFile::remove(outputPath);
}

void VarnelBuilder::terminate()
{
    m_killed = true;
    Process::kill();
}

void VarnelBuilder::processOutput(bool isError, const QByteArray &bytes)
{
    for (const QString &line : (isError ? m_stderrLines : m_stdoutLines).add(bytes))
        outputLine(line);
}

void VarnelBuilder::outputLine(const QString &line)
{
    if (ToolContext *context = toolContext())
        context->outputLine(line);
    Bookmark bookmark;
    if (!m_parser->parseLine(line, bookmark, m_workingDirectory)) {
        add(line, int(Severity::Plain));
        return;
    }
    bookmark.text = line;
    const BuildLogItem *item = m_log.addItem(group(), line, int(bookmark.severity), bookmark);
    if (BuildReporter *reporter = m_idler.reporter())
        reporter->itemAdded(m_base, *item);
}

// ---- VarnelIdler

VarnelIdler::VarnelIdler(BuildLog &log) : m_log(log) {}

BuildLogItem *VarnelIdler::groupOf(const ProjectElement *element,
                                   const QString &configuration) const
{
    for (const ProjectElement *at = element; at; at = at->parentElement()) {
        for (auto it = m_groups.rbegin(); it != m_groups.rend(); ++it) {
            if (it->element == at && it->configuration == configuration)
                return it->item;
        }
    }
    return nullptr;
}

void VarnelIdler::idle(int busyCount)
{
    if (m_hook)
        m_hook();
    if (m_sincePumped.isValid() && m_sincePumped.elapsed() < pumpMilliseconds)
        return;
    QCoreApplication::processEvents(QEventLoop::AllEvents, idleMilliseconds);
    m_sincePumped.start();
}

void VarnelIdler::idleWith(int busyCount, const std::vector<Builder *> &busyBuilders)
{
    // Sleeps until one of the running tools writes or ends, at most one timer period; never
    // while a slot's tool is planned but not started, or the slots would take turns.
    std::vector<pollfd> descriptors;
    bool allStarted = !busyBuilders.empty();
    bool allHeard = true;
    for (Builder *builder : busyBuilders) {
        const auto *varnel = dynamic_cast<VarnelBuilder *>(builder);
        if (!varnel || !varnel->busy())
            allStarted = false;
        else if (!varnel->waitDescriptors(descriptors))
            allHeard = false;
    }
    if (allStarted)
        ::poll(descriptors.data(), nfds_t(descriptors.size()),
               allHeard ? VarnelIdler::timerMilliseconds : fallbackMilliseconds);
    idle(busyCount);
}

void VarnelIdler::beginGroup(ProjectElement *element, const QString &label,
                             const QString &configuration, int stepCount)
{
    BuildLogItem *item = m_log.openGroup(groupOf(element->parentElement(), configuration), label);
    m_groups.push_back({element, configuration, item});
    m_stepsTotal += stepCount;
}

void VarnelIdler::step(ProjectElement *element, const QString &configuration)
{
    ++m_stepsDone;
    m_stepsTotal = qMax(m_stepsTotal, m_stepsDone);
}

void VarnelIdler::endGroup(ProjectElement *element, const QString &configuration)
{
    for (auto it = m_groups.begin(); it != m_groups.end(); ++it) {
        if (it->element == element && it->configuration == configuration) {
            m_groups.erase(it);
            return;
        }
    }
}

void VarnelIdler::finished()
{
    QCoreApplication::processEvents();
}

// ---- VarnelBuilderSet

VarnelBuilderSet::VarnelBuilderSet(BuildEngine &engine, BuildLog &log, VarnelIdler &idler,
                                   int count, bool showCommandLines)
    : m_engine(engine), m_idler(idler)
{
    for (int i = 0; i < count; ++i) {
        m_owned.push_back(std::make_unique<VarnelBuilder>(log, idler, engine.state()));
        m_owned.back()->setShowCommandLines(showCommandLines);
        m_builders.push_back(m_owned.back().get());
    }
}

VarnelBuilderSet::~VarnelBuilderSet()
{
    m_idler.setIdleHook({});
}

void VarnelBuilderSet::cancel()
{
    m_engine.cancelBuild(m_builders);
    for (const auto &builder : m_owned)
        builder->terminate();
}

void VarnelBuilderSet::cancelWhen(std::function<bool()> wanted)
{
    m_idler.setIdleHook([this, wanted = std::move(wanted)] {
        if (!m_engine.state().stopped && wanted())
            cancel();
    });
}
