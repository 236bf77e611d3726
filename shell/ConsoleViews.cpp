#include "shell/ConsoleViews.h"
#include "buildengine/BuildLog.h"
#include "buildengine/VarnelBuilder.h"
#include "foundation/Directories.h"
#include "projects/SolutionSession.h"
#include "script/host/HostServices.h"
#include "script/host/ScriptBuildSession.h"
#include "shell/BuildViews.h"
#include "script/host/VarnelScriptSystem.h"
#include "shell/DocumentHost.h"
#include "shell/FSConsole.h"
#include "shell/GUIBuilder.h"
#include "shell/JavaScriptConsole.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QStatusBar>
#include <QTimer>

namespace {

// A build started by a script writes its log into the JavaScript console, one line per item;
// the diagnostics keep their "file:line:" so the console's menu can open them.
class ConsoleBuildLog : public BuildReporter {
public:
    explicit ConsoleBuildLog(JavaScriptConsole *console) : m_console(console) {}
    void stepBegun(const BuildLogItem *, const QString &title, int done, int total) override
    {
        m_console->print(QStringLiteral("[%1/%2] %3\n").arg(done).arg(qMax(done, total)).arg(title.trimmed()));
    }
    void itemAdded(const BuildLogItem *, const BuildLogItem &item) override
    {
        if (!(item.type() & LogItemFlag::Detail))
            m_console->print(item.text() + u'\n');
    }

private:
    JavaScriptConsole *m_console;
};

enum class Language { None, JavaScript, Forth };

Language languageOf(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("js"))
        return Language::JavaScript;
    if (suffix == QLatin1String("fs") || suffix == QLatin1String("fth") || suffix == QLatin1String("4th"))
        return Language::Forth;
    return Language::None;
}

} // namespace

ConsoleViews::ConsoleViews(VarnelWindow *window)
    : QObject(window), m_window(window), m_system(new VarnelScriptSystem(this)),
      m_openUrl([](const QString &url) { return openWithDesktop(url); })
{
    setObjectName(QStringLiteral("ConsoleViews"));
    m_system->setProcessEvents(true);
    m_javaScript = new JavaScriptConsole(*m_system);
    m_buildReporter = std::make_unique<ConsoleBuildLog>(m_javaScript);
    m_system->setHostHook([this](MyESContext &context) {
        HostServices services;
        services.system = m_system;
        services.output = [this](const QString &text) { m_javaScript->print(text + u'\n'); };
        services.note = services.output;
        m_build.reset();
        if (SolutionSession *solution = m_window->solutionSession()) {
            m_build = std::make_unique<ScriptBuildSession>(solution->system(), m_window->activeConfiguration(),
                                                           m_window->activeProject());
            m_build->setReporter(m_buildReporter.get());
            m_build->setStopCheck([this] { return m_system->stopRequested(); });
            // The window's build walks the same tree: a script's Build waits for it to end.
            m_build->setRefusal([this] {
                const BuildViews *views = m_window->buildViews();
                return views && views->isBuilding()
                           ? QStringLiteral("A build is running in the window: try again when it ends")
                           : QString();
            });
        }
        services.build = m_build.get();
        installHostClasses(context, services);
    });
    m_forth = new FSConsole([this](ScriptEngine &engine) { ForthHostWords::install(engine, *this); });
    m_javaScriptDock = addDock(QStringLiteral("JavaScript Console"), QStringLiteral("JavaScriptConsole"), m_javaScript);
    m_forthDock = addDock(QStringLiteral("Forth Console"), QStringLiteral("ForthConsole"), m_forth);
    // A context made for one solution must not outlive it: Build would act on a closed tree.
    connect(m_window, &VarnelWindow::solutionClosing, this, [this] {
        stopScripts();
        m_javaScript->deleteContext();
    });
    connect(m_window, &VarnelWindow::solutionChanged, m_javaScript, &JavaScriptConsole::deleteContext);
    m_window->installEventFilter(this);
}

// The consoles sit in docks of the window and outlive this object by a little: the context is
// closed while the script system that owns it is still here.
ConsoleViews::~ConsoleViews()
{
    m_javaScript->deleteContext();
    m_system->setReporter({});
    m_system->setHostHook({});
}

QDockWidget *ConsoleViews::addDock(const QString &title, const QString &name, QWidget *console)
{
    auto *dock = new QDockWidget(title, m_window);
    dock->setObjectName(name);
    dock->setWidget(console);
    m_window->addDockWidget(Qt::BottomDockWidgetArea, dock);
    if (auto *messages = m_window->findChild<QDockWidget *>(QStringLiteral("Messages"), Qt::FindDirectChildrenOnly))
        m_window->tabifyDockWidget(messages, dock);
    m_window->builder()->registerObject(name, dock);
    auto *widget = static_cast<ConsoleWidget *>(console);
    connect(widget, &ConsoleWidget::locateRequested, this, &ConsoleViews::locate);
    connect(widget, &ConsoleWidget::busyChanged, this, &ConsoleViews::busyChanged);
    return dock;
}

bool ConsoleViews::isRunning() const
{
    return m_javaScript->isBusy() || m_forth->isBusy();
}

bool ConsoleViews::runCurrentDocument()
{
    DocumentHost *documents = this->documents();
    if (!documents || !documents->currentEditor()) {
        status(QStringLiteral("Run Script: no document is open."));
        return false;
    }
    if (isRunning()) {
        status(QStringLiteral("Run Script: a script is running; stop it first."));
        return false;
    }
    const QString path = documents->currentPath();
    const QString text = documents->currentText();
    const QString name = path.isEmpty() ? QStringLiteral("untitled") : path;
    switch (languageOf(path)) {
    case Language::JavaScript:
        m_javaScriptDock->show();
        m_javaScriptDock->raise();
        return m_javaScript->runScript(text, name);
    case Language::Forth:
        m_forthDock->show();
        m_forthDock->raise();
        return m_forth->runText(text, name);
    case Language::None:
        break;
    }
    status(QStringLiteral("Run Script: \"%1\" is neither JavaScript (.js) nor Forth (.fs, .fth, .4th).")
               .arg(QFileInfo(name).fileName()));
    return false;
}

void ConsoleViews::typeForth(const QString &text)
{
    m_forthDock->show();
    m_forthDock->raise();
    for (const QString &line : text.split(u'\n'))
        emit m_forth->inputReady(line);
}

void ConsoleViews::stopScripts()
{
    m_javaScript->stop();
    m_forth->stop();
}

EditCommandInterface *ConsoleViews::focusedEditor() const
{
    if (EditCommandInterface *editor = m_window->editor())
        return editor;
    const DocumentHost *documents = this->documents();
    return documents ? documents->currentEditor() : nullptr;
}

void ConsoleViews::triggerAction(const QString &name)
{
    if (VarnelAction *action = m_window->action(name))
        action->trigger();
}

void ConsoleViews::print(const QString &text)
{
    m_forth->print(text);
}

bool ConsoleViews::openUrl(const QString &url)
{
    return m_openUrl && m_openUrl(url);
}

void ConsoleViews::locate(const QString &file, int line)
{
    if (DocumentHost *documents = this->documents())
        documents->openDocument(file, line);
    else
        status(QStringLiteral("No editor to open \"%1\" in.").arg(file));
}

void ConsoleViews::busyChanged(bool busy)
{
    m_window->updateGUI();
    if (!busy && m_closeWhenIdle && !isRunning()) {
        m_closeWhenIdle = false;
        QTimer::singleShot(0, m_window, &QWidget::close);
    }
}

// A window that closes while a script runs would pull the console from under the script: the
// script is stopped first, and the window closes once it has returned.
bool ConsoleViews::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window && event->type() == QEvent::Close && isRunning()) {
        event->ignore();
        m_closeWhenIdle = true;
        stopScripts();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void ConsoleViews::status(const QString &text)
{
    m_window->statusBar()->showMessage(text, 8000);
}

DocumentHost *ConsoleViews::documents() const
{
    return m_documentsOverride ? m_documentsOverride : m_window->documents();
}
