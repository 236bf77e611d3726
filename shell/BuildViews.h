#pragma once
#include "buildengine/BuildOperation.h"
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

class BuildLog;
class BuildLogItem;
class BuildLogModel;
class DocumentHost;
class ProjectElement;
class QDockWidget;
class QLabel;
class QModelIndex;
class QProgressBar;
class QTimer;
class QTreeView;
class VarnelIdler;
class VarnelWindow;
struct Bookmark;

// The build commands of the window and the build log dock. A build runs on the window's own
// thread: the engine's idler lets the events in while tools run, so the window answers, and a
// cancel reaches the build between two polls. One build at a time; the log shows the groups of
// the projects and steps, the diagnostics with their icons, the tools' other output, a step
// counter and the closing status, and opens the file a diagnostic points at.
class BuildViews : public QObject {
    Q_OBJECT
public:
    // Settings a build reads.
    static constexpr const char *threadsKey = "Environment/Build/Building Threads";
    static constexpr const char *keepGoingKey = "Environment/Build/Keep Going On Error";
    static constexpr const char *disableUnityKey = "Environment/Build/Disable Unity Build";
    static constexpr const char *parallelProjectsKey = "Environment/Build/Parallel Project Building";
    static constexpr const char *showCommandLinesKey = "Environment/Build/Show Command Lines";
    static constexpr const char *showInformationKey = "Environment/Build/Show Build Information";
    static constexpr const char *showUnparsedKey = "Environment/Build/Show Unparsed Error Output";
    static constexpr const char *showRawKey = "Environment/Build/Show Raw Error Output";
    // The log is shown this often while a build adds to it.
    static constexpr int refreshMilliseconds = 100;

    explicit BuildViews(VarnelWindow *window);
    ~BuildViews() override;

    // The window's actions this object carries out; runCommand runs one of them.
    [[nodiscard]] QStringList commandNames() const;
    void runCommand(const QString &action);

    // Starts operation `operation` of the build table (see BuildOperation.h) on the open
    // solution, the active project or `selection` (null: the selected element). False, with a
    // status message, when a build runs already or the operation has nothing to act on. The
    // build itself starts once the event loop is back; buildFinished tells its end.
    bool startOperation(int operation, ProjectElement *selection = nullptr);
    // Compiles the current document's file, found in the open solution.
    bool compileCurrentDocument();
    // Stops the running build: its tools are sent SIGHUP and it ends "Build terminated".
    void cancel();
    void showLog();
    // Walks the diagnostics that point into a file (step 1 onwards, -1 back) and opens each.
    void locate(int step);

    // Where diagnostics open and what a build saves first; null: the window's document area.
    void setDocuments(DocumentHost *documents) { m_documents = documents; }

    [[nodiscard]] bool isBuilding() const { return m_building; }
    [[nodiscard]] BuildLog *log() const { return m_log; }
    [[nodiscard]] BuildLogModel *model() const { return m_model; }
    [[nodiscard]] QTreeView *view() const { return m_view; }
    [[nodiscard]] QDockWidget *dock() const { return m_dock; }
    // The closing text of the last build ("Build complete", "Build failed", ...), and the last
    // message the build commands gave the status bar.
    [[nodiscard]] const QString &lastStatus() const { return m_lastStatus; }
    [[nodiscard]] const QString &lastMessage() const { return m_lastMessage; }
    [[nodiscard]] double lastBuildMilliseconds() const { return m_lastMilliseconds; }

signals:
    void buildStarted();
    void buildFinished(int result, const QString &status);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createCommands();
    void createDock();
    void createLogActions();
    void createPanes();
    [[nodiscard]] std::optional<BuildTargets> targetsFor(int operation, ProjectElement *selection);
    void run();
    void finish(int result, const QString &status);
    void refresh();
    void showCounts();
    void expandDiagnostics();
    void showFirstError();
    void activated(const QModelIndex &index);
    void openBookmark(const Bookmark &bookmark);
    void say(const QString &text);
    void setBuildPane(const QString &text);
    void toggleSetting(const QString &action, const char *key);
    [[nodiscard]] BuildSettings settings() const;
    [[nodiscard]] ProjectElement *fileElement(const QString &path) const;
    [[nodiscard]] DocumentHost *documents() const;

    VarnelWindow *m_window;
    std::vector<std::pair<QString, std::function<void()>>> m_commands;
    DocumentHost *m_documents = nullptr;
    BuildLog *m_log;
    BuildLogModel *m_model;
    QDockWidget *m_dock = nullptr;
    QTreeView *m_view = nullptr;
    QLabel *m_statusText = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_errorsPane = nullptr;
    QLabel *m_warningsPane = nullptr;
    QPointer<QLabel> m_buildPane;
    QTimer *m_refresh;
    // The build that runs: what startOperation chose for run(), and its idler while it runs.
    int m_operation = -1;
    BuildTargets m_targets;
    VarnelIdler *m_idler = nullptr;
    QElapsedTimer m_clock;
    bool m_building = false;
    bool m_cancelRequested = false;
    QString m_lastStatus;
    QString m_lastMessage;
    double m_lastMilliseconds = 0;
};
