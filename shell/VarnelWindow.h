#pragma once
#include "shell/KeyMap.h"
#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class Actions;
class BuildViews;
class ConsoleViews;
class DocumentHost;
class EditCommandInterface;
class EditorArea;
class GUIBuilder;
class MessageScheme;
class ProjectElement;
class ProjectViews;
class ProxyAction;
class QLabel;
class QMenu;
class QListWidget;
class QPlainTextEdit;
class QTimer;
class SettingsFile;
class SolutionSession;
class VarnelAction;
struct ActionRow;

// The main window of the shell. It makes every action of the table, reads the message and key
// schemes, builds its menus and tool bars from the window description, and keeps the actions'
// enable state up to date on a timer. Commands it can carry out itself are connected here;
// the others stay disabled until the subsystem that carries them out is attached.
class VarnelWindow : public QMainWindow {
    Q_OBJECT
public:
    struct Options {
        QString messageScheme;     // empty: the setting "Environment/Message Scheme"
        QString messageSchemePath; // empty: the installed messages.xml
        QString keyScheme;         // empty: the setting "Environment/Key Scheme"
        QString userKeysPath;      // empty: keyboard.xml in the user folder
        QString descriptionPath;   // empty: the installed gui.xml
    };

    // Settings keys of the window.
    static constexpr const char *messageSchemeKey = "Environment/Message Scheme";
    static constexpr const char *keySchemeKey = "Environment/Key Scheme";
    static constexpr const char *recentSolutionsKey = "Environment/Recent Solutions";
    static constexpr int maxRecentSolutions = 10;

    VarnelWindow(SettingsFile *settings, const Options &options, QWidget *parent = nullptr);
    ~VarnelWindow() override;

    [[nodiscard]] Actions *actions() const { return m_actions; }
    [[nodiscard]] GUIBuilder *builder() const { return m_builder; }
    [[nodiscard]] KeyMap &keyMap() { return m_keyMap; }
    [[nodiscard]] const KeyMap &keyMap() const { return m_keyMap; }
    [[nodiscard]] const MessageScheme *messageScheme() const { return m_messageScheme.get(); }
    [[nodiscard]] SettingsFile *settings() const { return m_settings; }
    [[nodiscard]] VarnelAction *action(const QString &name) const;
    [[nodiscard]] ProxyAction *proxy(const QString &name) const { return m_proxies.value(name); }
    [[nodiscard]] QString userKeysPath() const;

    // Reads the schemes chosen in the settings (or the options) and rebuilds the menus and tool
    // bars. Called once by the constructor and again when the user picks other schemes.
    void applySchemes();
    // The user picked schemes: they go into the settings and replace any given at start-up.
    void chooseSchemes(const QString &messageScheme, const QString &keyScheme);
    // Files from the command line or from a later instance: solutions open, other files wait
    // for the editor.
    void openPaths(const QStringList &paths);
    bool openSolution(const QString &path);
    void closeSolution();
    [[nodiscard]] QString solutionPath() const { return m_solutionPath; }
    // The open solution (its macro session, project system and tree); null when none is open.
    [[nodiscard]] SolutionSession *solutionSession() const { return m_session.get(); }
    // What the build actions and scripts act on: the active project (the first project when a
    // solution opens), the active configuration (the first public one) and the element selected
    // in the project tree (null: none). Each change emits activeChanged().
    [[nodiscard]] ProjectElement *activeProject() const { return m_activeProject; }
    [[nodiscard]] QString activeConfiguration() const { return m_activeConfiguration; }
    [[nodiscard]] ProjectElement *selectedElement() const { return m_selectedElement; }
    void setActiveProject(ProjectElement *project);
    void setActiveConfiguration(const QString &configuration);
    void setSelectedElement(ProjectElement *element);
    // The editor that answers the editor commands' enable state; null when none has the focus.
    void setEditor(EditCommandInterface *editor);
    [[nodiscard]] EditCommandInterface *editor() const { return m_editor; }
    // The document area; null until the editors are made.
    [[nodiscard]] DocumentHost *documents() const { return m_documents; }
    [[nodiscard]] EditorArea *editorArea() const { return m_editorArea; }
    [[nodiscard]] ProjectViews *projectViews() const { return m_projectViews; }
    [[nodiscard]] BuildViews *buildViews() const { return m_buildViews; }
    [[nodiscard]] ConsoleViews *consoleViews() const { return m_consoleViews; }
    [[nodiscard]] bool hasHandler(const QString &action) const;
    // Writes the settings; a failure is said once per run, and the window goes on.
    void saveSettings();
    // How long the last applySchemes() took to build, in milliseconds, and what it made.
    [[nodiscard]] double buildMilliseconds() const { return m_buildMilliseconds; }
    // The part of it that built the window description into menus and tool bars: wall clock
    // time, and the processor time of the thread (which other processes on the machine do not
    // inflate).
    [[nodiscard]] double descriptionMilliseconds() const { return m_descriptionMilliseconds; }
    [[nodiscard]] double descriptionCpuMilliseconds() const { return m_descriptionCpuMilliseconds; }

public slots:
    void updateGUI();

signals:
    // A solution was opened (its path) or closed (empty). The session is in place when it comes.
    void solutionChanged(const QString &path);
    // The open solution is about to close: its session is still there, for the views that save
    // what they keep of it.
    void solutionClosing();
    void activeChanged();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    using Command = void (VarnelWindow::*)();
    struct CommandRow {
        const char *action;
        Command run;
    };
    static const CommandRow commandRows[];

    void createActions();
    VarnelAction *createAction(const ActionRow &row);
    void connectCommands();
    // Makes `action` run `command` (after the choosing event for deferred actions), and counts
    // the action as one the window carries out.
    void addCommand(const QString &action, std::function<void()> command);
    void createWindows();
    // The working views, each in its own file: the documents (VarnelWindowEditors.cpp), the
    // project and properties views (VarnelWindowProjects.cpp), the build actions and log
    // (VarnelWindowBuild.cpp), the consoles and the script commands (VarnelWindowConsoles.cpp).
    void createEditorArea();
    void createProjectViews();
    void createBuildViews();
    void createConsoles();
    void arrangeDocks();
    void createStatusPanes();
    void loadTexts();
    void loadKeys();
    void buildDescription();
    void fillPlaceholders();
    void syncToggles();
    void restoreWindowState();
    void rememberSolution(const QString &path);
    void showStatus(const QString &text);
    [[nodiscard]] bool isEnabledByRule(const ActionRow &row) const;

    // Commands the window carries out itself.
    void fileExit();
    void fileOpenSolution();
    void fileCloseSolution();
    void openInstallationFolder();
    void openUserFolder();
    void openPackagesFolder();
    void openProjectFolder();
    void clearClipboard();
    void toggleFullScreen();
    void toggleDocks();
    void toggleDockTitles();
    void hideAllToolBars();
    void showAllToolBars();
    void toggleStatusBar();
    void hideStatusBar();
    void showStatusBar();
    void toggleSizeGrip();
    void copyStatusMessage();
    void reverseLayout();
    void resetLayout();
    void restoreDefaultWindowSettings();
    void restoreDefaultEnvironmentSettings();
    void showPreferences();
    void showKeyboardMap();
    void showAbout();
    void minimize();

    SettingsFile *m_settings;
    Options m_options;
    Actions *m_actions;
    GUIBuilder *m_builder;
    KeyMap m_keyMap;
    std::unique_ptr<MessageScheme> m_messageScheme;
    QHash<QString, VarnelAction *> m_byName;
    QHash<QString, ProxyAction *> m_proxies;
    QSet<QString> m_handled;   // actions with a command connected here
    QHash<QString, QLabel *> m_statusPanes;   // by the action that shows or hides them
    QPlainTextEdit *m_messages = nullptr;
    QListWidget *m_recentList = nullptr;
    QPointer<QMenu> m_recentMenu;
    QLabel *m_solutionLabel = nullptr;
    QTimer *m_updateTimer = nullptr;
    QTimer *m_clock = nullptr;
    EditCommandInterface *m_editor = nullptr;
    std::unique_ptr<SolutionSession> m_session;
    ProjectElement *m_activeProject = nullptr;
    ProjectElement *m_selectedElement = nullptr;
    QString m_activeConfiguration;
    DocumentHost *m_documents = nullptr;
    EditorArea *m_editorArea = nullptr;
    ProjectViews *m_projectViews = nullptr;
    BuildViews *m_buildViews = nullptr;
    ConsoleViews *m_consoleViews = nullptr;
    QString m_solutionPath;
    QByteArray m_defaultState;   // the layout right after the first build, for WindowResetLayout
    QString m_lastStatus;
    double m_buildMilliseconds = 0;
    double m_descriptionMilliseconds = 0;
    double m_descriptionCpuMilliseconds = 0;
    bool m_saveFailureSaid = false;
};
