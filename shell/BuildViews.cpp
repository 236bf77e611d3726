#include "shell/BuildViews.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildLog.h"
#include "buildengine/VarnelBuilder.h"
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "shell/BuildLogModel.h"
#include "shell/ConsoleViews.h"
#include "shell/DocumentHost.h"
#include "shell/GUIBuilder.h"
#include "shell/ProxyAction.h"
#include "shell/SettingsFile.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QScrollBar>
#include <QStatusBar>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>
#include <vector>

namespace {

using Node = BuildNode;
using What = BuildAction;

// The build commands that run a row of the operation table.
struct OperationRow {
    const char *action;
    BuildOperationQuery query;
};

const OperationRow operationRows[] = {
    {"BuildBuildSolution", {Node::Solution, What::Build}},
    {"BuildRebuildSolution", {Node::Solution, What::Rebuild}},
    {"BuildCleanSolution", {Node::Solution, What::Clean}},
    {"BuildBatchBuildSolution", {Node::Solution, What::Build, true}},
    {"BuildBatchRebuildSolution", {Node::Solution, What::Rebuild, true}},
    {"BuildBatchCleanSolution", {Node::Solution, What::Clean, true}},
    {"BuildBuildProject", {Node::ActiveProject, What::Build}},
    {"BuildRebuildProject", {Node::ActiveProject, What::Rebuild}},
    {"BuildCleanProject", {Node::ActiveProject, What::Clean}},
    {"BuildBatchBuildProject", {Node::ActiveProject, What::Build, true}},
    {"BuildBatchRebuildProject", {Node::ActiveProject, What::Rebuild, true}},
    {"BuildBatchCleanProject", {Node::ActiveProject, What::Clean, true}},
    {"BuildLink", {Node::Selection, What::Link, false, true}},
    {"BuildBuildSelection", {Node::Selection, What::Build}},
    {"BuildRebuildSelection", {Node::Selection, What::Rebuild}},
    {"BuildCleanSelection", {Node::Selection, What::Clean}},
    {"BatchBuildBuildSelection", {Node::Selection, What::Build, true}},
    {"BatchBuildRebuildSelection", {Node::Selection, What::Rebuild, true}},
    {"BatchBuildCleanSelection", {Node::Selection, What::Clean, true}},
    {"BuildBuildSelectionOnly", {Node::Selection, What::Build, false, false, false}},
    {"BuildRebuildSelectionOnly", {Node::Selection, What::Rebuild, false, false, false}},
    {"BuildCleanSelectionOnly", {Node::Selection, What::Clean, false, false, false}},
};

// The toggles of the Build menu and the settings they stand for.
struct ToggleRow {
    const char *action;
    const char *key;
};

const ToggleRow toggleRows[] = {
    {"BuildShowCommandLinesOn", BuildViews::showCommandLinesKey},
    {"BuildShowBuildInformation", BuildViews::showInformationKey},
    {"BuildShowRawErrorOutput", BuildViews::showRawKey},
};

// A dock or pane never grows without bound while a large build writes: groups with news are
// opened up to this many at the end of a build.
constexpr int maxExpandedGroups = 200;

QString canonical(const QString &path)
{
    const QFileInfo info(path);
    const QString real = info.canonicalFilePath();
    return real.isEmpty() ? info.absoluteFilePath() : real;
}

} // namespace

BuildViews::BuildViews(VarnelWindow *window)
    : QObject(window), m_window(window), m_log(new BuildLog(this)),
      m_model(new BuildLogModel(m_log, this)), m_refresh(new QTimer(this))
{
    setObjectName(QStringLiteral("BuildViews"));
    m_log->setShowUnparsedOutput(window->settings()->isYes(QLatin1String(showUnparsedKey), true));
    m_model->setRawOutput(window->settings()->isYes(QLatin1String(showRawKey), false));
    m_refresh->setInterval(refreshMilliseconds);
    connect(m_refresh, &QTimer::timeout, this, &BuildViews::refresh);
    // Between builds a script may write to the log: it is shown on the next tick too.
    connect(m_log, &BuildLog::itemAdded, this, [this] {
        if (!m_refresh->isActive())
            m_refresh->start();
    });
    connect(m_log, &BuildLog::locateBookmark, this, &BuildViews::openBookmark);
    createCommands();
    createDock();
    createPanes();
    for (const ToggleRow &row : toggleRows) {
        if (VarnelAction *action = window->action(QLatin1String(row.action)))
            action->setChecked(window->settings()->isYes(QLatin1String(row.key), false));
    }
    window->installEventFilter(this);
}

BuildViews::~BuildViews() = default;

void BuildViews::createCommands()
{
    for (const OperationRow &row : operationRows) {
        const int operation = findBuildOperation(row.query);
        m_commands.emplace_back(QLatin1String(row.action), [this, operation] { startOperation(operation); });
    }
    for (const ToggleRow &row : toggleRows) {
        const QString action = QLatin1String(row.action);
        m_commands.emplace_back(action, [this, action, key = row.key] { toggleSetting(action, key); });
    }
    m_commands.emplace_back(QStringLiteral("BuildCompile"), [this] { compileCurrentDocument(); });
    m_commands.emplace_back(QStringLiteral("BuildCancelBuild"), [this] { cancel(); });
    m_commands.emplace_back(QStringLiteral("BuildShowLog"), [this] { showLog(); });
    m_commands.emplace_back(QStringLiteral("EditLocateNext"), [this] { locate(1); });
    m_commands.emplace_back(QStringLiteral("EditLocatePrev"), [this] { locate(-1); });
}

QStringList BuildViews::commandNames() const
{
    QStringList names;
    for (const auto &command : m_commands)
        names << command.first;
    return names;
}

void BuildViews::runCommand(const QString &action)
{
    for (const auto &command : m_commands) {
        if (command.first == action) {
            command.second();
            return;
        }
    }
}

void BuildViews::createDock()
{
    m_dock = new QDockWidget(QStringLiteral("Build"), m_window);
    m_dock->setObjectName(QStringLiteral("BuildLog"));
    auto *body = new QWidget(m_dock);
    auto *layout = new QVBoxLayout(body);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto *header = new QHBoxLayout;
    header->setContentsMargins(4, 2, 4, 0);
    m_statusText = new QLabel(QStringLiteral("Ready"), body);
    m_statusText->setObjectName(QStringLiteral("BuildStatusText"));
    m_progress = new QProgressBar(body);
    m_progress->setObjectName(QStringLiteral("BuildProgress"));
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    m_progress->setFormat(QStringLiteral("%v of %m steps"));
    m_progress->setMaximumWidth(220);
    header->addWidget(m_statusText, 1);
    header->addWidget(m_progress);
    m_view = new QTreeView(body);
    m_view->setObjectName(QStringLiteral("BuildLogView"));
    m_view->setModel(m_model);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setExpandsOnDoubleClick(true);
    m_view->header()->setStretchLastSection(false);
    m_view->header()->setSectionResizeMode(BuildLogModel::MessageColumn, QHeaderView::Stretch);
    m_view->header()->setSectionResizeMode(BuildLogModel::LocationColumn, QHeaderView::Interactive);
    m_view->header()->resizeSection(BuildLogModel::LocationColumn, 160);
    connect(m_view, &QTreeView::activated, this, &BuildViews::activated);
    createLogActions();
    layout->addLayout(header);
    layout->addWidget(m_view, 1);
    m_dock->setWidget(body);
    m_window->addDockWidget(Qt::BottomDockWidgetArea, m_dock);
    if (auto *messages = m_window->findChild<QDockWidget *>(QStringLiteral("Messages")))
        m_window->tabifyDockWidget(messages, m_dock);
    m_window->builder()->registerObject(QStringLiteral("BuildLog"), m_dock);
}

// The log's own menu, and its Copy for the window's Copy while the log has the focus.
void BuildViews::createLogActions()
{
    auto *copy = new QAction(QStringLiteral("&Copy"), m_view);
    connect(copy, &QAction::triggered, this, [this] {
        const QModelIndex current = m_view->currentIndex();
        if (current.isValid())
            QApplication::clipboard()->setText(m_log->text(m_model->item(current)));
    });
    auto *copyAll = new QAction(QStringLiteral("Copy &All"), m_view);
    connect(copyAll, &QAction::triggered, this, [this] {
        m_model->flush();
        QApplication::clipboard()->setText(m_log->copyAll());
    });
    auto *clear = new QAction(QStringLiteral("Clea&r"), m_view);
    clear->setObjectName(QStringLiteral("BuildLogClear"));
    connect(clear, &QAction::triggered, this, [this] {
        if (!m_building)
            m_model->clear();
    });
    m_view->addActions({copy, copyAll, clear});
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_view, &QWidget::customContextMenuRequested, this, [this, copy, clear](const QPoint &at) {
        copy->setEnabled(m_view->currentIndex().isValid());
        clear->setEnabled(!m_building);
        QMenu::exec(m_view->actions(), m_view->viewport()->mapToGlobal(at), nullptr, m_view);
    });
    if (ProxyAction *proxy = m_window->proxy(QStringLiteral("EditCopy")))
        proxy->setLocalAction(m_view, copy);
}

void BuildViews::createPanes()
{
    m_errorsPane = new QLabel(QStringLiteral("%1 Errors").arg(0), m_window);
    m_errorsPane->setObjectName(QStringLiteral("BuildErrorsPane"));
    m_warningsPane = new QLabel(QStringLiteral("%1 Warnings").arg(0), m_window);
    m_warningsPane->setObjectName(QStringLiteral("BuildWarningsPane"));
    for (QLabel *pane : {m_errorsPane, m_warningsPane}) {
        pane->setContentsMargins(6, 0, 6, 0);
        m_window->statusBar()->addPermanentWidget(pane);
    }
}

BuildSettings BuildViews::settings() const
{
    const SettingsFile *file = m_window->settings();
    BuildSettings settings;
    settings.threads = qBound(0, file->value(QLatin1String(threadsKey), QStringLiteral("0")).toInt(),
                              BuildEngine::maxThreads);
    settings.keepGoing = file->isYes(QLatin1String(keepGoingKey), false);
    settings.disableUnity = file->isYes(QLatin1String(disableUnityKey), false);
    settings.projectLevelParallel = file->isYes(QLatin1String(parallelProjectsKey), false);
    settings.showCommandLines = file->isYes(QLatin1String(showCommandLinesKey), false);
    settings.showBuildInformation = file->isYes(QLatin1String(showInformationKey), false);
    return settings;
}

void BuildViews::toggleSetting(const QString &action, const char *key)
{
    const bool on = m_window->action(action)->isChecked();
    m_window->settings()->setYes(QLatin1String(key), on);
    if (qstrcmp(key, showRawKey) == 0)
        m_model->setRawOutput(on);
}

bool BuildViews::startOperation(int operation, ProjectElement *selection)
{
    if (m_building) {
        say(QStringLiteral("A build is already running: cancel it first"));
        return false;
    }
    // A script may be building the same tree through its Build object, its loop letting this
    // command in: one build of a tree at a time.
    if (const ConsoleViews *consoles = m_window->consoleViews(); consoles && consoles->isRunning()) {
        say(QStringLiteral("A script is running: stop it before building"));
        return false;
    }
    const std::optional<BuildTargets> targets = targetsFor(operation, selection);
    if (!targets)
        return false;
    if (DocumentHost *host = documents(); host && !host->saveAll()) {
        say(QStringLiteral("Build not started: a document could not be saved"));
        return false;
    }
    m_building = true;
    m_cancelRequested = false;
    m_operation = operation;
    m_targets = *targets;
    m_model->clear();
    m_log->setShowUnparsedOutput(m_window->settings()->isYes(QLatin1String(showUnparsedKey), true));
    m_progress->setRange(0, 1);
    m_progress->setValue(0);
    m_statusText->setText(QStringLiteral("Building..."));
    setBuildPane(QStringLiteral("Building"));
    showCounts();
    m_window->updateGUI();
    emit buildStarted();
    // The command returns first: the menu that chose it closes before the build takes the
    // event loop over.
    QTimer::singleShot(0, this, &BuildViews::run);
    return true;
}

// What the operation acts on in the open solution; none, said on the status bar, when the
// solution, the active project or the selection it needs is missing.
std::optional<BuildTargets> BuildViews::targetsFor(int operation, ProjectElement *selection)
{
    SolutionSession *session = m_window->solutionSession();
    const BuildOperationInfo *info = buildOperation(operation);
    if (!session || !info) {
        say(QStringLiteral("No solution is open to build"));
        return std::nullopt;
    }
    QString configuration = m_window->activeConfiguration();
    if (configuration.isEmpty())
        configuration = QStringLiteral("Common");
    const BuildTargets targets{session->solution(), m_window->activeProject(),
                               selection ? selection : m_window->selectedElement(), configuration};
    if (info->node == BuildNode::ActiveProject && !targets.activeProject) {
        say(QStringLiteral("No active project to build"));
        return std::nullopt;
    }
    if (info->node == BuildNode::Selection && !targets.selection) {
        say(QStringLiteral("Nothing is selected to build"));
        return std::nullopt;
    }
    return targets;
}

void BuildViews::run()
{
    SolutionSession *session = m_window->solutionSession();
    if (!session) {
        finish(-1, QStringLiteral("Build cancelled"));
        return;
    }
    const BuildSettings buildSettings = settings();
    BuildEngine engine(session->system());
    VarnelIdler idler(*m_log);
    const bool clean = buildOperation(m_operation)->action == BuildAction::Clean;
    const int threads = clean ? 1 : buildThreads(buildSettings);
    VarnelBuilderSet builders(engine, *m_log, idler, threads, buildSettings.showCommandLines);
    builders.cancelWhen([this] { return m_cancelRequested; });
    m_idler = &idler;
    m_clock.start();
    m_refresh->start();
    QString status;
    const int result = runBuildOperation(engine, m_operation, m_targets, buildSettings,
                                         builders.builders(), idler, &status);
    m_refresh->stop();
    refresh();
    m_idler = nullptr;
    if (result == BuildEngine::Stopped)
        m_log->terminated();
    else if (result >= 0)
        m_log->addResult(status, result == BuildEngine::Failed);
    finish(result, result < 0 ? QStringLiteral("Build failed") : status);
}

void BuildViews::finish(int result, const QString &status)
{
    m_lastMilliseconds = m_clock.isValid() ? double(m_clock.nsecsElapsed()) / 1e6 : 0;
    m_model->flush();
    m_building = false;
    m_lastStatus = status;
    const int steps = m_progress->value();
    m_statusText->setText(QStringLiteral("%1 (%2 steps, %3 s)")
                              .arg(status)
                              .arg(steps)
                              .arg(m_lastMilliseconds / 1000, 0, 'f', 1));
    setBuildPane(status);
    showCounts();
    expandDiagnostics();
    if (result == BuildEngine::Failed) {
        showLog();
        showFirstError();
    }
    say(status);
    m_window->updateGUI();
    emit buildFinished(result, status);
}

void BuildViews::refresh()
{
    // A log scrolled to its end follows the build; one the user scrolled up stays put.
    const QScrollBar *bar = m_view->verticalScrollBar();
    const bool following = bar->value() == bar->maximum();
    m_model->flush();
    if (following && m_building)
        m_view->scrollToBottom();
    if (m_idler) {
        const int total = qMax(1, m_idler->stepsTotal());
        m_progress->setRange(0, total);
        m_progress->setValue(qMin(m_idler->stepsDone(), total));
        setBuildPane(QStringLiteral("Building %1/%2").arg(m_idler->stepsDone()).arg(total));
    }
    showCounts();
    if (!m_building)
        m_refresh->stop();
}

void BuildViews::showCounts()
{
    const LogCounts counts = m_log->counts();
    m_errorsPane->setText(QStringLiteral("%1 Errors").arg(counts.errors));
    m_warningsPane->setText(QStringLiteral("%1 Warnings").arg(counts.warnings));
}

// Opens the groups that hold errors or warnings, outermost first, so the diagnostics are in view
// without the user unfolding the tree.
void BuildViews::expandDiagnostics()
{
    std::vector<const BuildLogItem *> pending{m_log->root()};
    int expanded = 0;
    while (!pending.empty() && expanded < maxExpandedGroups) {
        const BuildLogItem *item = pending.back();
        pending.pop_back();
        for (const auto &child : item->children()) {
            const LogCounts &counts = child->counts();
            if (child->children().empty() || counts.errors + counts.warnings == 0)
                continue;
            m_view->expand(m_model->indexOf(child.get()));
            ++expanded;
            pending.push_back(child.get());
        }
    }
}

// Brings the first error that points into a file into view, without opening it: the user sees
// why the build failed; F8 still walks the diagnostics from the top.
void BuildViews::showFirstError()
{
    std::vector<const BuildLogItem *> pending{m_log->root()};
    while (!pending.empty()) {
        const BuildLogItem *item = pending.back();
        pending.pop_back();
        const Severity severity = item->severity();
        if ((severity == Severity::Error || severity == Severity::Fatal) && item->bookmark().hasLocation()) {
            const QModelIndex at = m_model->indexOf(item);
            m_view->scrollTo(at, QAbstractItemView::PositionAtCenter);
            m_view->setCurrentIndex(at);
            return;
        }
        const auto &children = item->children();
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            pending.push_back(it->get());
    }
}

void BuildViews::cancel()
{
    if (!m_building) {
        say(QStringLiteral("No build is running"));
        return;
    }
    m_cancelRequested = true;
    m_statusText->setText(QStringLiteral("Cancelling..."));
}

void BuildViews::showLog()
{
    m_dock->show();
    m_dock->raise();
}

void BuildViews::locate(int step)
{
    m_model->flush();
    if (step > 0)
        m_log->locateNext();
    else
        m_log->locatePrevious();
}

void BuildViews::activated(const QModelIndex &index)
{
    m_log->locateItem(m_model->item(index));
}

void BuildViews::openBookmark(const Bookmark &bookmark)
{
    if (const QModelIndex at = m_model->indexOf(m_log->located()); at.isValid()) {
        m_view->setCurrentIndex(at);
        m_view->scrollTo(at);
    }
    DocumentHost *host = documents();
    if (!host) {
        say(QStringLiteral("No editor to open %1").arg(bookmark.path));
        return;
    }
    host->openDocument(bookmark.path, qMax(0, bookmark.line), qMax(0, bookmark.column));
}

bool BuildViews::compileCurrentDocument()
{
    DocumentHost *host = documents();
    const QString path = host ? host->currentPath() : QString();
    if (path.isEmpty()) {
        say(QStringLiteral("No document with a file to compile"));
        return false;
    }
    if (!m_window->solutionSession()) {
        say(QStringLiteral("No solution is open to build"));
        return false;
    }
    ProjectElement *file = fileElement(path);
    if (!file) {
        say(QStringLiteral("'%1' is not in the solution: nothing to compile").arg(QFileInfo(path).fileName()));
        return false;
    }
    return startOperation(findBuildOperation({BuildNode::Selection, BuildAction::Compile}), file);
}

// The file element of the open solution that stands for `path`. File names are compared first,
// so only the few elements of the same name have their path worked out.
ProjectElement *BuildViews::fileElement(const QString &path) const
{
    SolutionSession *session = m_window->solutionSession();
    const QString wanted = canonical(path);
    const QString name = QFileInfo(wanted).fileName();
    QString configuration = m_window->activeConfiguration();
    if (configuration.isEmpty())
        configuration = QStringLiteral("Common");
    std::vector<ProjectElement *> pending{session->solution()};
    while (!pending.empty()) {
        ProjectElement *element = pending.back();
        pending.pop_back();
        if (element->kind() == ProjectElement::Kind::File) {
            if (element->filePath().fileName() != name && element->elementName() != name)
                continue;
            const QString input =
                session->system().expand(element, configuration, QStringLiteral("$(InputPath)"));
            if (canonical(input) == wanted)
                return element;
            continue;
        }
        for (ProjectElement *child : element->children())
            pending.push_back(child);
    }
    return nullptr;
}

DocumentHost *BuildViews::documents() const
{
    return m_documents ? m_documents : m_window->documents();
}

void BuildViews::say(const QString &text)
{
    m_lastMessage = text;
    m_window->statusBar()->showMessage(text, 8000);
}

// The window's build status pane is made after this object: it is looked up when first needed.
void BuildViews::setBuildPane(const QString &text)
{
    if (!m_buildPane)
        m_buildPane = m_window->findChild<QLabel *>(QStringLiteral("ToggleBuildStatusPane"));
    if (m_buildPane)
        m_buildPane->setText(text);
}

// A window closed while a build runs stops the build; the build's loop then unwinds before the
// window goes.
bool BuildViews::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window && event->type() == QEvent::Close && m_building)
        cancel();
    return QObject::eventFilter(watched, event);
}
