#include "shell/VarnelWindow.h"
#include "foundation/XMLDocument.h"
#include "projects/ProjectElement.h"
#include "projects/ProjectSystem.h"
#include "projects/StandardProjectSystem.h"
#include "projects/SolutionSession.h"
#include "shell/ActionTable.h"
#include "shell/ConsoleViews.h"
#include "shell/DocumentHost.h"
#include "shell/Actions.h"
#include "shell/BuildViews.h"
#include "shell/EditCommands.h"
#include "shell/GUIBuilder.h"
#include "shell/MessageLog.h"
#include "shell/MessageScheme.h"
#include "shell/ProxyAction.h"
#include "shell/SchemeFile.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelAction.h"
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QStyle>
#include <QTime>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <ctime>

namespace {

// Pictures for the commands that sit on tool bars, from the style so they match the desktop.
struct ActionIcon {
    const char *action;
    QStyle::StandardPixmap pixmap;
};

constexpr ActionIcon actionIcons[] = {
    {"FileNewBlankFile", QStyle::SP_FileIcon},
    {"FileOpenFile", QStyle::SP_DialogOpenButton},
    {"FileOpenSolution", QStyle::SP_DirOpenIcon},
    {"FileSave", QStyle::SP_DialogSaveButton},
    {"FileSaveAll", QStyle::SP_DriveFDIcon},
    {"FileCloseSolution", QStyle::SP_DialogCloseButton},
    {"EditUndo", QStyle::SP_ArrowBack},
    {"EditRedo", QStyle::SP_ArrowForward},
    {"EditFind", QStyle::SP_FileDialogContentsView},
    {"EditFindNext", QStyle::SP_ArrowDown},
    {"EditFindPrev", QStyle::SP_ArrowUp},
    {"BuildBuildSolution", QStyle::SP_BrowserReload},
    {"BuildBuildProject", QStyle::SP_CommandLink},
    {"BuildCancelBuild", QStyle::SP_BrowserStop},
    {"DebugStart", QStyle::SP_MediaPlay},
    {"BuildAndDebug", QStyle::SP_MediaSeekForward},
    {"BreakpointToggle", QStyle::SP_DialogNoButton},
    {"HelpF1Help", QStyle::SP_DialogHelpButton},
    {"HelpAbout", QStyle::SP_MessageBoxInformation},
    {"ToolPreferences", QStyle::SP_FileDialogDetailedView},
};

// The status bar's panes, by the action that shows or hides each, with what they show first.
struct StatusPane {
    const char *action;
    const char *text;
};

constexpr StatusPane statusPanes[] = {
    {"ToggleTargetDeviceStatus", "No target"},
    {"ToggleBuildStatus", "Ready"},
    {"ToggleInsertOverwriteStatus", "INS"},
    {"ToggleReadOnlyStatus", ""},
    {"ToggleCaretPositionStatus", ""},
    {"ToggleTimeStatus", ""},
};

QString statusPaneKey(const QString &action)
{
    return QStringLiteral("Window/Status Bar/") + action;
}

double threadCpuMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// The solution file's root, from its first bytes; the project system reads it in full.
bool looksLikeSolution(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))   // a pipe would block
        return false;
    return file.read(4096).contains("<Tessbench_Project_File");
}

// The first project of the tree, depth first: the active project of a solution just opened.
ProjectElement *firstProject(ProjectElement *element)
{
    if (!element)
        return nullptr;
    for (ProjectElement *child : element->children()) {
        if (child->kind() == ProjectElement::Kind::Project)
            return child;
        if (ProjectElement *found = firstProject(child))
            return found;
    }
    return nullptr;
}

} // namespace

VarnelWindow::VarnelWindow(SettingsFile *settings, const Options &options, QWidget *parent)
    : QMainWindow(parent),
      m_settings(settings),
      m_options(options),
      m_actions(new Actions(this)),
      m_builder(new GUIBuilder(this))
{
    setObjectName(QStringLiteral("VarnelWindow"));
    setWindowTitle(QStringLiteral("Tessmark"));
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    m_builder->setMenuOwner(this);
    m_builder->setSettings(settings);
    connect(m_builder, &GUIBuilder::statusText, this, &VarnelWindow::showStatus);
    connect(m_builder, &GUIBuilder::keyAssigned, this,
            [this](const QString &action, const QList<QKeySequence> &keys) { m_keyMap.setSchemeKeys(action, keys); });
    connect(m_builder, &GUIBuilder::templateInserted, this,
            [this] { showStatus(QStringLiteral("No editor has the focus to take the template.")); });
    createActions();
    connectCommands();
    createWindows();
    createEditorArea();
    createProjectViews();
    createBuildViews();
    createConsoles();
    arrangeDocks();
    createStatusPanes();
    applySchemes();
    m_defaultState = saveState();
    restoreWindowState();
    syncToggles();
    m_updateTimer = new QTimer(this);
    m_updateTimer->setInterval(250);
    connect(m_updateTimer, &QTimer::timeout, this, &VarnelWindow::updateGUI);
    m_updateTimer->start();
    connect(qApp, &QApplication::focusChanged, this, &VarnelWindow::updateGUI);
    updateGUI();
}

VarnelWindow::~VarnelWindow()
{
    // The children go after this object's members: nothing may call back into the window
    // while they do (a focused child that dies moves the focus and would run updateGUI).
    disconnect(qApp, nullptr, this, nullptr);
    m_messages->disconnect(this);
    m_updateTimer->stop();
}

VarnelAction *VarnelWindow::action(const QString &name) const
{
    return m_byName.value(name);
}

QString VarnelWindow::userKeysPath() const
{
    return m_options.userKeysPath.isEmpty() ? ShellPaths::userFile(QStringLiteral("keyboard.xml")) : m_options.userKeysPath;
}

// --- actions

VarnelAction *VarnelWindow::createAction(const ActionRow &row)
{
    const QString name = QLatin1String(row.name);
    VarnelAction *action = nullptr;
    switch (row.kind) {
    case ActionKind::Deferred:
        action = new DeferredVarnelAction(this, this, name);
        break;
    case ActionKind::Multi:
        action = new MultiAction(this, this, name);
        break;
    case ActionKind::Toggle:
        action = new VarnelAction(this, this, name, true);
        break;
    case ActionKind::Plain:
        action = new VarnelAction(this, this, name);
        break;
    }
    action->setText(QLatin1String(row.text));
    KeyMap::Keys keys;
    QString bad;
    if (!KeyMap::parseKeys(QLatin1String(row.key), &keys, &bad))
        report(ReportChannel::Error, QStringLiteral("built-in key '%1' of %2 does not parse").arg(bad, name));
    m_keyMap.setDefaultKeys(name, keys);
    return action;
}

void VarnelWindow::createActions()
{
    for (const ActionRow &row : actionRows())
        m_byName.insert(QLatin1String(row.name), createAction(row));
    for (const MultiMember &member : multiMembers())
        static_cast<MultiAction *>(m_byName.value(QLatin1String(member.multi)))->addMember(m_byName.value(QLatin1String(member.member)));
    for (const ActionIcon &icon : actionIcons)
        m_byName.value(QLatin1String(icon.action))->setIcon(style()->standardIcon(icon.pixmap));
    for (const ActionRow &row : actionRows()) {
        if (row.rule == EnableRule::Editor)
            m_proxies.insert(QLatin1String(row.name), new ProxyAction(this, m_byName.value(QLatin1String(row.name))));
    }
    // Shortcuts work only for actions of a visible widget; the window holds them all.
    QList<QAction *> all;
    for (VarnelAction *action : std::as_const(m_byName))
        all.append(action);
    addActions(all);
}

void VarnelWindow::addCommand(const QString &name, std::function<void()> command)
{
    VarnelAction *action = m_byName.value(name);
    if (!action) {
        report(ReportChannel::Error, QStringLiteral("VarnelWindow: no action %1 for its command").arg(name));
        return;
    }
    m_handled.insert(name);
    if (auto *deferred = qobject_cast<DeferredVarnelAction *>(action))
        connect(deferred, &DeferredVarnelAction::deferredActivated, this, std::move(command));
    else
        connect(action, &QAction::triggered, this, std::move(command));
}

bool VarnelWindow::hasHandler(const QString &name) const
{
    return m_handled.contains(name);
}

bool VarnelWindow::isEnabledByRule(const ActionRow &row) const
{
    switch (row.rule) {
    case EnableRule::Always:
        return true;
    case EnableRule::Solution:
        return !m_solutionPath.isEmpty();
    case EnableRule::SolutionIdle:
        return !m_solutionPath.isEmpty() && !(m_buildViews && m_buildViews->isBuilding());
    case EnableRule::Editor: {
        if (const ProxyAction *proxy = m_proxies.value(QLatin1String(row.name))) {
            if (const QAction *local = proxy->localAction())
                return local->isEnabled();
        }
        return m_editor && m_editor->isCommandEnabled(row.command);
    }
    case EnableRule::Building:
        return m_buildViews && m_buildViews->isBuilding();
    case EnableRule::Document:
        return m_documents && m_documents->currentEditor();
    case EnableRule::Script:
        return m_consoleViews && m_consoleViews->isRunning();
    case EnableRule::Debugging:
    case EnableRule::Browser:
        return false;
    }
    return false;
}

void VarnelWindow::updateGUI()
{
    for (const ActionRow &row : actionRows()) {
        if (row.kind == ActionKind::Multi)
            continue;
        const QString name = QLatin1String(row.name);
        const bool carried = row.rule == EnableRule::Editor || m_handled.contains(name);
        m_byName.value(name)->setEnabled(carried && isEnabledByRule(row));
    }
}

void VarnelWindow::setEditor(EditCommandInterface *editor)
{
    m_editor = editor;
    updateGUI();
}

// --- windows

// The first layout: the build log and the consoles share the bottom with the messages, which show
// first, and leave the documents most of the height. A layout the user saved replaces this later.
void VarnelWindow::arrangeDocks()
{
    const auto dock = [this](const char *name) {
        return findChild<QDockWidget *>(QLatin1String(name), Qt::FindDirectChildrenOnly);
    };
    if (QDockWidget *messages = dock("Messages")) {
        messages->raise();
        resizeDocks({messages}, {170}, Qt::Vertical);
    }
}

void VarnelWindow::createWindows()
{
    auto *start = new QWidget(this);
    start->setObjectName(QStringLiteral("StartPage"));
    auto *layout = new QVBoxLayout(start);
    layout->setContentsMargins(32, 24, 32, 24);
    auto *title = new QLabel(QStringLiteral("<h1>Tessmark</h1>"), start);
    m_solutionLabel = new QLabel(QStringLiteral("No solution is open."), start);
    auto *buttons = new QHBoxLayout;
    for (const char *name : {"FileOpenSolution", "FileNewProject", "FileOpenFile"}) {
        auto *button = new QToolButton(start);
        button->setDefaultAction(m_byName.value(QLatin1String(name)));
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    m_recentList = new QListWidget(start);
    m_recentList->setObjectName(QStringLiteral("RecentSolutions"));
    connect(m_recentList, &QListWidget::itemActivated, this,
            [this](QListWidgetItem *item) { openSolution(item->data(Qt::UserRole).toString()); });
    layout->addWidget(title);
    layout->addWidget(m_solutionLabel);
    layout->addLayout(buttons);
    layout->addSpacing(12);
    layout->addWidget(new QLabel(QStringLiteral("<b>Recent solutions</b>"), start));
    layout->addWidget(m_recentList, 1);
    setCentralWidget(start);

    auto *dock = new QDockWidget(QStringLiteral("Messages"), this);
    dock->setObjectName(QStringLiteral("Messages"));
    m_messages = new QPlainTextEdit(dock);
    m_messages->setObjectName(QStringLiteral("MessagesText"));
    m_messages->setReadOnly(true);
    m_messages->setMaximumBlockCount(int(MessageLog::maxLines));
    m_messages->setLineWrapMode(QPlainTextEdit::NoWrap);
    dock->setWidget(m_messages);
    addDockWidget(Qt::BottomDockWidgetArea, dock);
    m_builder->registerObject(QStringLiteral("Messages"), dock);
    if (MessageLog *log = MessageLog::instance()) {
        for (const QString &line : log->lines())
            m_messages->appendPlainText(line);
        connect(log, &MessageLog::lineAdded, m_messages, &QPlainTextEdit::appendPlainText);
    }
    // The log answers Copy and Select All itself while it has the focus.
    auto *copy = new QAction(m_messages);
    copy->setEnabled(false);
    connect(copy, &QAction::triggered, m_messages, &QPlainTextEdit::copy);
    connect(m_messages, &QPlainTextEdit::copyAvailable, copy, &QAction::setEnabled);
    connect(m_messages, &QPlainTextEdit::copyAvailable, this, &VarnelWindow::updateGUI);
    m_proxies.value(QStringLiteral("EditCopy"))->setLocalAction(m_messages, copy);
    auto *selectAll = new QAction(m_messages);
    connect(selectAll, &QAction::triggered, m_messages, &QPlainTextEdit::selectAll);
    m_proxies.value(QStringLiteral("EditSelectAll"))->setLocalAction(m_messages, selectAll);
}

void VarnelWindow::createStatusPanes()
{
    for (const StatusPane &pane : statusPanes) {
        auto *label = new QLabel(QLatin1String(pane.text), this);
        label->setObjectName(QLatin1String(pane.action) + QStringLiteral("Pane"));
        label->setContentsMargins(6, 0, 6, 0);
        statusBar()->addPermanentWidget(label);
        const QString action = QLatin1String(pane.action);
        m_statusPanes.insert(action, label);
        label->setVisible(m_settings->isYes(statusPaneKey(action), true));
        addCommand(action, [this, action, label] {
            label->setVisible(m_byName.value(action)->isChecked());
            m_settings->setYes(statusPaneKey(action), label->isVisible());
        });
    }
    m_clock = new QTimer(this);
    const auto tick = [this] {
        m_statusPanes.value(QStringLiteral("ToggleTimeStatus"))->setText(QTime::currentTime().toString(QStringLiteral("HH:mm")));
    };
    connect(m_clock, &QTimer::timeout, this, tick);
    m_clock->start(15000);
    tick();
}

void VarnelWindow::showStatus(const QString &text)
{
    m_lastStatus = text;
    statusBar()->showMessage(text, text.isEmpty() ? 0 : 8000);
}

// --- schemes and the description

void VarnelWindow::applySchemes()
{
    QElapsedTimer timer;
    timer.start();
    m_builder->clear();
    m_builder->clearMessages();
    menuBar()->clear();
    for (const ActionRow &row : actionRows()) {
        VarnelAction *action = m_byName.value(QLatin1String(row.name));
        action->setText(QLatin1String(row.text));
        action->setIconText(QString());
        action->setToolTip(QString());
        action->setStatusTip(QString());
        action->setWhatsThis(QString());
    }
    loadTexts();
    loadKeys();
    buildDescription();
    fillPlaceholders();
    m_keyMap.apply(*m_actions);
    m_buildMilliseconds = double(timer.nsecsElapsed()) / 1e6;
    updateGUI();
}

void VarnelWindow::loadTexts()
{
    const QString name = m_options.messageScheme.isEmpty()
                             ? m_settings->value(QLatin1String(messageSchemeKey), QStringLiteral("Standard"))
                             : m_options.messageScheme;
    const QString user = ShellPaths::userFile(QStringLiteral("messages.xml"));
    const QString installed = m_options.messageSchemePath.isEmpty() ? ShellPaths::installedFile(QStringLiteral("messages.xml"))
                                                                    : m_options.messageSchemePath;
    m_messageScheme = std::make_unique<MessageScheme>();
    if (!m_messageScheme->load(installed, user, name)) {
        m_messageScheme->load(ShellPaths::builtInFile(QStringLiteral("messages.xml")), user, name);
        report(ReportChannel::Warning, QStringLiteral("the installed message scheme did not load; the built-in one is used"));
    }
    for (const QString &message : m_messageScheme->messages())
        report(ReportChannel::Warning, message);
    m_builder->setMessageScheme(m_messageScheme.get());
    m_messageScheme->applyTexts([this](const QString &name) -> QAction * {
        if (VarnelAction *action = m_byName.value(name))
            return action;
        const qsizetype dot = name.indexOf(u'.');
        QObject *object = dot > 0 ? m_builder->namedObject(name.left(dot)) : nullptr;
        return object ? object->findChild<QAction *>(name.mid(dot + 1)) : nullptr;
    });
}

void VarnelWindow::loadKeys()
{
    QString name = m_options.keyScheme;
    if (name.isEmpty())
        name = m_options.messageScheme;
    if (name.isEmpty())
        name = m_settings->value(QLatin1String(keySchemeKey), QStringLiteral("Standard"));
    if (!m_keyMap.loadScheme(ShellPaths::installedFile(QStringLiteral("keyboard.xml")), name)) {
        m_keyMap.loadScheme(ShellPaths::builtInFile(QStringLiteral("keyboard.xml")), name);
        report(ReportChannel::Warning, QStringLiteral("the installed key scheme did not load; the built-in one is used"));
    }
    m_keyMap.loadUser(userKeysPath());
    for (const QString &message : m_keyMap.takeMessages())
        report(ReportChannel::Warning, message);
}

void VarnelWindow::buildDescription()
{
    QStringList problems;
    const QString path = m_options.descriptionPath.isEmpty() ? ShellPaths::installedFile(QStringLiteral("gui.xml"))
                                                             : m_options.descriptionPath;
    std::unique_ptr<SchemeFile> description = SchemeFile::read(path, nullptr, &problems);
    if (!description && m_options.descriptionPath.isEmpty()) {
        problems.append(QStringLiteral("the built-in window description is used"));
        description = SchemeFile::read(ShellPaths::builtInFile(QStringLiteral("gui.xml")), nullptr, &problems);
    }
    for (const QString &problem : std::as_const(problems))
        report(ReportChannel::Warning, problem);
    QElapsedTimer timer;
    timer.start();
    const double cpuBefore = threadCpuMilliseconds();
    if (description)
        m_builder->buildWindow(this, description->root());
    m_descriptionCpuMilliseconds = threadCpuMilliseconds() - cpuBefore;
    m_descriptionMilliseconds = double(timer.nsecsElapsed()) / 1e6;
}

void VarnelWindow::fillPlaceholders()
{
    const auto menuOf = [](QAction *marker) -> QMenu * {
        for (QObject *object : marker->associatedObjects()) {
            if (auto *menu = qobject_cast<QMenu *>(object))
                return menu;
        }
        return nullptr;
    };
    if (QAction *marker = m_builder->placeholderAction(QStringLiteral("RecentSolutionsPlaceholder"))) {
        if (QMenu *menu = menuOf(marker)) {
            m_recentMenu = new QMenu(QStringLiteral("Recent &Solutions"), menu);
            m_recentMenu->setObjectName(QStringLiteral("RecentSolutionsMenu"));
            menu->insertMenu(marker, m_recentMenu);
        }
    }
    if (QAction *marker = m_builder->placeholderAction(QStringLiteral("ToolBarsPlaceholder"))) {
        if (QMenu *menu = menuOf(marker)) {
            auto *bars = new QMenu(QStringLiteral("&Tool Bars"), menu);
            bars->setObjectName(QStringLiteral("ToolBarsMenu"));
            for (QToolBar *bar : findChildren<QToolBar *>(QString(), Qt::FindDirectChildrenOnly))
                bars->addAction(bar->toggleViewAction());
            menu->insertMenu(marker, bars);
        }
    }
    if (QWidget *place = m_builder->placeholderWidget(QStringLiteral("FindTextPlaceholder"))) {
        auto *field = new QComboBox(place);
        field->setObjectName(QStringLiteral("FindText"));
        field->setEditable(true);
        field->setMinimumContentsLength(18);
        field->lineEdit()->setPlaceholderText(QStringLiteral("Find"));
        place->layout()->addWidget(field);
    }
    rememberSolution(QString());
}

void VarnelWindow::syncToggles()
{
    const auto check = [this](const char *name, bool on) { m_byName.value(QLatin1String(name))->setChecked(on); };
    check("ViewFullScreen", isFullScreen());
    check("ToggleStatusBar", statusBar()->isVisible());
    check("ToggleStatusBarSizeGrip", statusBar()->isSizeGripEnabled());
    check("ViewToggleDockTitles", true);
    for (auto it = m_statusPanes.cbegin(); it != m_statusPanes.cend(); ++it)
        m_byName.value(it.key())->setChecked(m_settings->isYes(statusPaneKey(it.key()), true));
}

// --- solutions and files

void VarnelWindow::openPaths(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (path.endsWith(QLatin1String(".qvProject"), Qt::CaseInsensitive)) {
            openSolution(path);
        } else if (m_documents) {
            m_documents->openDocument(path);
        } else if (MessageLog *log = MessageLog::instance()) {
            log->note(QStringLiteral("%1 is not opened: this build has no editor yet").arg(path));
        }
    }
    if (isMinimized())
        showNormal();
    raise();
    activateWindow();
}

bool VarnelWindow::openSolution(const QString &path)
{
    if (m_buildViews && m_buildViews->isBuilding()) {   // the build walks the open tree
        showStatus(QStringLiteral("Cancel the build before opening another solution"));
        return false;
    }
    const QFileInfo info(path);
    if (!info.isFile() || !looksLikeSolution(path)) {
        const QString why = info.exists() ? QStringLiteral("not a solution file") : QStringLiteral("no such file");
        report(ReportChannel::Error, QStringLiteral("%1: %2").arg(path, why));
        showStatus(QStringLiteral("Cannot open %1: %2").arg(info.fileName(), why));
        return false;
    }
    // A solution that does not load leaves the one open before, and the window, as they were.
    auto session = std::make_unique<SolutionSession>();
    try {
        // Values stay as written: the project views save the tree back, and a macro such as
        // $(Board) is the project's to expand when a value is read.
        SolutionSession::LoadOptions options;
        options.expandMacros = false;
        session->load(info.absoluteFilePath(), options);
    } catch (const SolutionLoadError &error) {
        report(ReportChannel::Error, QStringLiteral("%1: %2").arg(path, error.message()));
        showStatus(QStringLiteral("Cannot open %1: %2").arg(info.fileName(), error.message()));
        return false;
    }
    closeSolution();
    m_session = std::move(session);
    m_activeProject = firstProject(m_session->solution());
    const QStringList configurations = m_session->system().publicConfigurations();
    m_activeConfiguration = configurations.isEmpty() ? QString() : configurations.first();
    m_solutionPath = info.absoluteFilePath();
    setWindowTitle(QStringLiteral("%1 - Tessmark").arg(info.completeBaseName()));
    m_solutionLabel->setText(QStringLiteral("Solution: %1").arg(QDir::toNativeSeparators(m_solutionPath)));
    rememberSolution(m_solutionPath);
    saveSettings();
    showStatus(QStringLiteral("Opened %1").arg(info.fileName()));
    emit solutionChanged(m_solutionPath);
    emit activeChanged();
    updateGUI();
    return true;
}

void VarnelWindow::closeSolution()
{
    if (m_solutionPath.isEmpty())
        return;
    if (m_buildViews && m_buildViews->isBuilding()) {
        showStatus(QStringLiteral("Cancel the build before closing the solution"));
        return;
    }
    m_solutionPath.clear();
    emit solutionClosing();
    m_activeProject = nullptr;
    m_selectedElement = nullptr;
    m_activeConfiguration.clear();
    emit activeChanged();
    m_session.reset();
    setWindowTitle(QStringLiteral("Tessmark"));
    m_solutionLabel->setText(QStringLiteral("No solution is open."));
    emit solutionChanged(QString());
    updateGUI();
}

void VarnelWindow::setActiveProject(ProjectElement *project)
{
    m_activeProject = project;
    emit activeChanged();
    updateGUI();
}

void VarnelWindow::setActiveConfiguration(const QString &configuration)
{
    m_activeConfiguration = configuration;
    emit activeChanged();
    updateGUI();
}

void VarnelWindow::setSelectedElement(ProjectElement *element)
{
    m_selectedElement = element;
    emit activeChanged();
    updateGUI();
}

// Puts `path` first in the recent solutions (none: just shows the list) and refreshes the
// start page and the File menu's list.
void VarnelWindow::rememberSolution(const QString &path)
{
    QStringList recent = m_settings->list(QLatin1String(recentSolutionsKey));
    if (!path.isEmpty()) {
        recent.removeAll(path);
        recent.prepend(path);
        while (recent.size() > maxRecentSolutions)
            recent.removeLast();
        m_settings->setList(QLatin1String(recentSolutionsKey), recent);
    }
    m_recentList->clear();
    if (m_recentMenu)
        m_recentMenu->clear();
    for (const QString &entry : std::as_const(recent)) {
        auto *item = new QListWidgetItem(QFileInfo(entry).completeBaseName() + QStringLiteral("  —  ") + QDir::toNativeSeparators(entry), m_recentList);
        item->setData(Qt::UserRole, entry);
        if (m_recentMenu) {
            QAction *open = m_recentMenu->addAction(QDir::toNativeSeparators(entry));
            connect(open, &QAction::triggered, this, [this, entry] { openSolution(entry); });
        }
    }
    if (m_recentMenu)
        m_recentMenu->setEnabled(!recent.isEmpty());
}

// --- settings

void VarnelWindow::restoreWindowState()
{
    const QByteArray geometry = QByteArray::fromBase64(m_settings->value(QStringLiteral("Window/Geometry")).toLatin1());
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(1100, 720);
    const QByteArray state = QByteArray::fromBase64(m_settings->value(QStringLiteral("Window/State")).toLatin1());
    if (!state.isEmpty())
        restoreState(state);
}

void VarnelWindow::saveSettings()
{
    QString problem;
    if (m_settings->save(&problem) || m_saveFailureSaid)
        return;
    m_saveFailureSaid = true;
    const QString text = QStringLiteral("The settings cannot be saved (%1); Tessmark goes on with what it has.").arg(problem);
    report(ReportChannel::Warning, text);
    showStatus(text);
}

void VarnelWindow::closeEvent(QCloseEvent *event)
{
    m_settings->setValue(QStringLiteral("Window/Geometry"), QString::fromLatin1(saveGeometry().toBase64()));
    m_settings->setValue(QStringLiteral("Window/State"), QString::fromLatin1(saveState().toBase64()));
    saveSettings();
    event->accept();
}
