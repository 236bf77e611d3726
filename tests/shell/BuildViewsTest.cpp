// The window's build commands and build log, run for real: a solution in a temporary folder
// built through the window's actions with the shipped front end bin/cc and the host compiler.
#include "buildengine/BuildLog.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "shell/BuildLogModel.h"
#include "shell/BuildViews.h"
#include "shell/CodeEditView.h"
#include "shell/ConsoleViews.h"
#include "shell/DocumentHost.h"
#include "shell/EditorArea.h"
#include "shell/JavaScriptConsole.h"
#include "shell/ProjectViews.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QDockWidget>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <gtest/gtest.h>
#include <functional>
#include <memory>

namespace {

// A build of a few files takes well under this; past it the test fails instead of hanging.
constexpr int buildTimeoutMilliseconds = 120000;

// The document area as the build sees it: remembers what it was asked to open and save.
class StandInDocuments : public DocumentHost {
public:
    bool openDocument(const QString &path, int line, int column) override
    {
        opened << QStringLiteral("%1:%2:%3").arg(path).arg(line).arg(column);
        return true;
    }
    EditCommandInterface *currentEditor() const override { return nullptr; }
    QString currentPath() const override { return current; }
    QString currentText() const override { return {}; }
    QStringList openPaths() const override { return current.isEmpty() ? QStringList() : QStringList{current}; }
    bool saveAll() override
    {
        ++saves;
        return saveSucceeds;
    }

    QStringList opened;
    QString current;
    int saves = 0;
    bool saveSucceeds = true;
};

const char solutionText[] =
    "<!DOCTYPE Tessbench_Project_File>\n"
    "<Tessbench_Project_File>\n"
    "  <solution Name=\"s\" version=\"2\">\n"
    "    <configuration Name=\"Debug\" />\n"
    "    <project Name=\"app\">\n"
    "      <configuration Name=\"Common\" project_type=\"Executable\" linker_map_file=\"No\" />\n"
    "      <file file_name=\"src/good.c\" />\n"
    "      <file file_name=\"src/warn.c\" />\n"
    "    </project>\n"
    "    <project Name=\"lib\">\n"
    "      <configuration Name=\"Common\" project_type=\"Library\" />\n"
    "      <file file_name=\"src/broken.c\" />\n"
    "    </project>\n"
    "    <project Name=\"slow\" project_type=\"Externally Built Executable\"\n"
    "      external_build_command=\"sleep 30\" />\n"
    "  </solution>\n"
    "</Tessbench_Project_File>\n";

class BuildWindow : public ::testing::Test {
protected:
    BuildWindow()
    {
        QDir().mkpath(path("src"));
        TestSupport::writeFile(path("s.qvProject"), solutionText);
        TestSupport::writeFile(path("src/good.c"), "int main(void)\n{\n    return 0;\n}\n");
        TestSupport::writeFile(path("src/warn.c"), "int warned(void)\n{\n#warning check the ranges\n    return 1;\n}\n");
        TestSupport::writeFile(path("src/broken.c"), "int broken(void)\n{\n    return   missing;\n}\n");
        QString problem;
        settings.load(ShellPaths::settingsFile(), &problem);
        window = std::make_unique<VarnelWindow>(&settings, VarnelWindow::Options());
        views = window->buildViews();
        views->setDocuments(&documents);
        EXPECT_TRUE(window->openSolution(path("s.qvProject")));
    }

    [[nodiscard]] QString path(const QString &name) const { return m_dir.filePath(name); }
    void trigger(const char *name) const { window->action(QLatin1String(name))->trigger(); }
    void activate(const char *project) const
    {
        window->setActiveProject(window->solutionSession()->system().findElement(QLatin1String(project)));
    }

    // Runs the event loop until the build that runs ends; `during` runs once inside the build.
    int waitForBuild(const std::function<void()> &during = {})
    {
        int result = -99;
        QEventLoop loop;
        QObject::connect(views, &BuildViews::buildFinished, &loop, [&](int code) {
            result = code;
            loop.quit();
        });
        QTimer::singleShot(buildTimeoutMilliseconds, &loop, [&] {
            ADD_FAILURE() << "the build did not end";
            views->cancel();
            loop.quit();
        });
        if (during)
            QTimer::singleShot(0, &loop, during);
        if (views->isBuilding())
            loop.exec();
        return result;
    }

    // The first shown row whose item has `severity` and points into `file`.
    [[nodiscard]] QModelIndex findDiagnostic(Severity severity, const QString &file) const
    {
        BuildLogModel *model = views->model();
        std::vector<QModelIndex> pending{QModelIndex()};
        while (!pending.empty()) {
            const QModelIndex at = pending.back();
            pending.pop_back();
            for (int row = model->rowCount(at) - 1; row >= 0; --row)
                pending.push_back(model->index(row, 0, at));
            const BuildLogItem *item = model->item(at);
            if (at.isValid() && item->severity() == severity && item->bookmark().path.endsWith(file))
                return at;
        }
        return {};
    }

    [[nodiscard]] QString pane(const char *name) const
    {
        const auto *label = window->findChild<QLabel *>(QLatin1String(name));
        return label ? label->text() : QStringLiteral("(no pane %1)").arg(QLatin1String(name));
    }

    QTemporaryDir m_dir;
    ShellTest::TemporaryHome home;
    SettingsFile settings;
    StandInDocuments documents;
    std::unique_ptr<VarnelWindow> window;
    BuildViews *views = nullptr;
};

TEST_F(BuildWindow, FailedBuildShowsGroupsDiagnosticsAndCounts)
{
    // The slow project takes no part: the active project's build is what runs.
    trigger("BuildBuildProject");   // app: the first project
    ASSERT_EQ(waitForBuild(), 1) << views->log()->text().toStdString();
    const auto *progress = window->findChild<QProgressBar *>(QStringLiteral("BuildProgress"));
    ASSERT_NE(progress, nullptr);
    EXPECT_EQ(progress->value(), 3);   // two compiles and the link
    EXPECT_EQ(progress->maximum(), 3);
    EXPECT_EQ(views->lastStatus(), QStringLiteral("Build complete"));
    activate("lib");
    trigger("BuildBuildProject");
    EXPECT_EQ(waitForBuild(), 2);
    EXPECT_EQ(views->lastStatus(), QStringLiteral("Build failed"));
    EXPECT_EQ(documents.saves, 2);
    const QString text = views->log()->text();
    EXPECT_TRUE(text.contains(QStringLiteral("Building lib"))) << text.toStdString();
    EXPECT_TRUE(text.endsWith(QStringLiteral("Build failed\n"))) << text.toStdString();
    const QModelIndex error = findDiagnostic(Severity::Error, QStringLiteral("src/broken.c"));
    ASSERT_TRUE(error.isValid()) << text.toStdString();
    EXPECT_EQ(views->model()->item(error)->bookmark().line, 3);
    EXPECT_EQ(views->model()->item(error)->bookmark().column, 14);
    EXPECT_EQ(views->model()->data(error.siblingAtColumn(BuildLogModel::LocationColumn), Qt::DisplayRole).toString(),
              QStringLiteral("broken.c:3:14"));
    EXPECT_FALSE(views->model()->data(error, Qt::DecorationRole).value<QIcon>().isNull());
    // The project's group shows the worst of what it holds.
    QModelIndex project = error;
    while (project.parent().isValid())
        project = project.parent();
    EXPECT_EQ(views->model()->item(project)->shownSeverity(), Severity::Error);
    EXPECT_EQ(pane("BuildErrorsPane"), QStringLiteral("1 Errors"));
    EXPECT_EQ(pane("BuildWarningsPane"), QStringLiteral("0 Warnings"));
    EXPECT_EQ(pane("ToggleBuildStatusPane"), QStringLiteral("Build failed"));
}

TEST_F(BuildWindow, SolutionBuildCountsBothAndLocatesEachDiagnostic)
{
    // Keep going: the error in lib does not stop app's warning from being compiled.
    settings.setYes(QLatin1String(BuildViews::keepGoingKey), true);
    settings.setValue(QLatin1String(BuildViews::threadsKey), QStringLiteral("1"));
    // Opened over the one open: the build still finds the shipped tools.
    TestSupport::writeFile(path("s.qvProject"), QByteArray(solutionText).replace("sleep 30", "true"));
    ASSERT_TRUE(window->openSolution(path("s.qvProject")));
    trigger("BuildBuildSolution");
    EXPECT_EQ(waitForBuild(), 2);
    EXPECT_EQ(pane("BuildErrorsPane"), QStringLiteral("1 Errors"));
    EXPECT_EQ(pane("BuildWarningsPane"), QStringLiteral("1 Warnings"));
    const QModelIndex warning = findDiagnostic(Severity::Warning, QStringLiteral("src/warn.c"));
    ASSERT_TRUE(warning.isValid()) << views->log()->text().toStdString();
    EXPECT_EQ(views->model()->item(warning)->bookmark().line, 3);
    EXPECT_EQ(views->model()->item(warning)->bookmark().column, 2);

    // F8 walks the diagnostics in the log's order and opens each one; Shift+F8 goes back.
    trigger("EditLocateNext");
    trigger("EditLocateNext");
    trigger("EditLocatePrev");
    const QString warned = QFileInfo(path("src/warn.c")).canonicalFilePath();
    const QString broken = QFileInfo(path("src/broken.c")).canonicalFilePath();
    ASSERT_EQ(documents.opened.size(), 3);
    EXPECT_EQ(documents.opened.at(0), warned + QStringLiteral(":3:2"));
    EXPECT_EQ(documents.opened.at(1), broken + QStringLiteral(":3:14"));
    EXPECT_EQ(documents.opened.at(2), warned + QStringLiteral(":3:2"));
    EXPECT_EQ(views->view()->currentIndex(), warning);
}

TEST_F(BuildWindow, DoubleClickOnTheErrorOpensItsFileAtLineAndColumn)
{
    window->resize(1000, 700);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    activate("lib");
    trigger("BuildBuildProject");
    ASSERT_EQ(waitForBuild(), 2);
    ASSERT_TRUE(views->dock()->isVisible());
    const QModelIndex error = findDiagnostic(Severity::Error, QStringLiteral("src/broken.c"));
    ASSERT_TRUE(error.isValid());
    QTreeView *view = views->view();
    view->scrollTo(error);
    const QRect rect = view->visualRect(error);
    ASSERT_FALSE(rect.isEmpty());
    // A double click as a hand makes it: the first click, then the second one.
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, rect.center());
    const QString broken = QFileInfo(path("src/broken.c")).canonicalFilePath();
    EXPECT_EQ(documents.opened, QStringList{broken + QStringLiteral(":3:14")});
    // The next location goes on from the one chosen: the note that follows the error.
    trigger("EditLocateNext");
    ASSERT_EQ(documents.opened.size(), 2);
    EXPECT_EQ(views->model()->item(views->view()->currentIndex())->severity(), Severity::Note);
    // The window's Copy copies the chosen line while the log has the focus.
    view->setCurrentIndex(error);
    view->setFocus();
    QApplication::clipboard()->clear();
    window->updateGUI();
    trigger("EditCopy");
    EXPECT_TRUE(QApplication::clipboard()->text().startsWith(QStringLiteral("error: ") + broken + QStringLiteral(":3:14: error: ")))
        << QApplication::clipboard()->text().toStdString();
}

TEST_F(BuildWindow, NextLocationPutsTheEditorsCaretOnTheError)
{
    views->setDocuments(nullptr);   // the window's own document area
    activate("lib");
    trigger("BuildBuildProject");
    ASSERT_EQ(waitForBuild(), 2);
    trigger("EditLocateNext");
    EditorArea *editors = window->editorArea();
    ASSERT_NE(editors, nullptr);
    EXPECT_EQ(QFileInfo(editors->currentPath()).canonicalFilePath(),
              QFileInfo(path("src/broken.c")).canonicalFilePath());
    ASSERT_NE(editors->currentView(), nullptr);
    EXPECT_EQ(editors->currentView()->caretPosition(), (CodeEditBufferPosition{2, 13}));   // from 0
}

TEST_F(BuildWindow, SecondStartIsRefusedWhileTheWindowKeepsAnswering)
{
    activate("slow");
    trigger("BuildBuildProject");
    ASSERT_TRUE(views->isBuilding());
    bool answeredDuringBuild = false;
    bool refused = false;
    bool buildActionsOff = false;
    bool cancelOn = false;
    QObject::connect(views->log(), &BuildLog::itemAdded, views, [&](BuildLogItem *item) {
        if (!item->text().contains(QStringLiteral("Running Build command")))
            return;
        // Runs from the event loop the build lets in while its tool runs.
        QTimer::singleShot(0, views, [&] {
            answeredDuringBuild = views->isBuilding();
            EXPECT_FALSE(views->startOperation(findBuildOperation({BuildNode::Solution, BuildAction::Build})));
            refused = views->lastMessage().contains(QStringLiteral("already running"));
            buildActionsOff = !window->action(QStringLiteral("BuildBuildSolution"))->isEnabled();
            cancelOn = window->action(QStringLiteral("BuildCancelBuild"))->isEnabled();
            trigger("BuildCancelBuild");
        });
    });
    EXPECT_EQ(waitForBuild(), 3);
    EXPECT_TRUE(answeredDuringBuild);
    EXPECT_TRUE(refused) << views->lastMessage().toStdString();
    EXPECT_TRUE(buildActionsOff);
    EXPECT_TRUE(cancelOn);
    EXPECT_EQ(views->lastStatus(), QStringLiteral("Build terminated"));
    EXPECT_TRUE(views->log()->text().endsWith(QStringLiteral("Build terminated\n")));
    EXPECT_TRUE(window->action(QStringLiteral("BuildBuildSolution"))->isEnabled());
    EXPECT_FALSE(window->action(QStringLiteral("BuildCancelBuild"))->isEnabled());
}

TEST_F(BuildWindow, TreeEditsAndScriptBuildsWaitForTheWindowsBuild)
{
    activate("slow");
    trigger("BuildBuildProject");
    ASSERT_TRUE(views->isBuilding());
    ProjectViews *projects = window->projectViews();
    ConsoleViews *consoles = window->consoleViews();
    ASSERT_NE(projects, nullptr);
    ASSERT_NE(consoles, nullptr);
    ProjectElement *project = window->activeProject();
    ASSERT_NE(project, nullptr);
    bool removed = true;
    QString treeMessage;
    QString consoleText;
    QObject::connect(views->log(), &BuildLog::itemAdded, views, [&](BuildLogItem *item) {
        if (!item->text().contains(QStringLiteral("Running Build command")))
            return;
        QTimer::singleShot(0, views, [&] {
            removed = projects->removeElement(project);
            treeMessage = projects->lastMessage();
            QLineEdit *input = consoles->javaScriptConsole()->input();
            input->setText(QStringLiteral("Build.buildSolution()"));
            QTest::keyClick(input, Qt::Key_Return);
            consoleText = consoles->javaScriptConsole()->outputText();
            views->cancel();
        });
    });
    EXPECT_EQ(waitForBuild(), 3);
    EXPECT_FALSE(removed);
    EXPECT_TRUE(treeMessage.contains(QStringLiteral("a build is running"))) << treeMessage.toStdString();
    EXPECT_EQ(window->activeProject(), project);
    EXPECT_TRUE(consoleText.contains(QStringLiteral("A build is running in the window")))
        << consoleText.toStdString();
}

TEST_F(BuildWindow, SolutionStaysOpenWhileABuildRuns)
{
    activate("slow");
    trigger("BuildBuildProject");
    bool stillOpen = false;
    QObject::connect(views->log(), &BuildLog::itemAdded, views, [&](BuildLogItem *item) {
        if (!item->text().contains(QStringLiteral("Running Build command")))
            return;
        QTimer::singleShot(0, views, [&] {
            window->closeSolution();
            stillOpen = window->solutionSession() != nullptr;
            views->cancel();
        });
    });
    EXPECT_EQ(waitForBuild(), 3);
    EXPECT_TRUE(stillOpen);
}

TEST_F(BuildWindow, CompileTakesTheCurrentDocumentOrSaysWhyNot)
{
    documents.current = path("src/good.c");
    trigger("BuildCompile");
    EXPECT_EQ(waitForBuild(), 1);
    const QString text = views->log()->text();
    EXPECT_TRUE(text.contains(QStringLiteral("Compiling good.c"))) << text.toStdString();
    EXPECT_FALSE(text.contains(QStringLiteral("warn.c"))) << text.toStdString();
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Obj/app/good.o")));

    TestSupport::writeFile(path("other.c"), "int x;\n");
    documents.current = path("other.c");
    trigger("BuildCompile");
    EXPECT_FALSE(views->isBuilding());
    EXPECT_EQ(views->lastMessage(), QStringLiteral("'other.c' is not in the solution: nothing to compile"));
}

TEST_F(BuildWindow, UnsavedDocumentKeepsTheBuildFromStarting)
{
    documents.saveSucceeds = false;
    trigger("BuildBuildSolution");
    EXPECT_FALSE(views->isBuilding());
    EXPECT_EQ(documents.saves, 1);
    EXPECT_TRUE(views->lastMessage().contains(QStringLiteral("could not be saved")));
}

TEST_F(BuildWindow, CleanRemovesWhatTheBuildMade)
{
    trigger("BuildBuildProject");
    ASSERT_EQ(waitForBuild(), 1);
    ASSERT_TRUE(QFileInfo::exists(path("Output/Debug/Obj/app/good.o")));
    trigger("BuildCleanProject");
    waitForBuild();
    EXPECT_EQ(views->lastStatus(), QStringLiteral("Cleaned"));
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Obj/app/good.o")));
}

TEST_F(BuildWindow, RawOutputToggleShowsTheToolsOwnLineAndIsKept)
{
    activate("lib");
    trigger("BuildBuildProject");
    ASSERT_EQ(waitForBuild(), 2);
    const QModelIndex error = findDiagnostic(Severity::Error, QStringLiteral("src/broken.c"));
    ASSERT_TRUE(error.isValid());
    const QString shown = views->model()->data(error, Qt::DisplayRole).toString();
    EXPECT_TRUE(shown.startsWith(QStringLiteral("‘missing’ undeclared"))
                || shown.startsWith(QStringLiteral("'missing' undeclared"))) << shown.toStdString();
    trigger("BuildShowRawErrorOutput");
    const QString raw = views->model()->data(error, Qt::DisplayRole).toString();
    EXPECT_TRUE(raw.startsWith(QFileInfo(path("src/broken.c")).canonicalFilePath() + QStringLiteral(":3:14: error: ")))
        << raw.toStdString();
    EXPECT_TRUE(settings.isYes(QLatin1String(BuildViews::showRawKey)));
}

TEST_F(BuildWindow, LinesWrittenBetweenBuildsAreShownToo)
{
    views->log()->beginGroup(QStringLiteral("script"));
    views->log()->addWarning(QStringLiteral("from a script"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return views->model()->rowCount() == 1; }, 10000));
    EXPECT_EQ(pane("BuildWarningsPane"), QStringLiteral("1 Warnings"));
}

// What a refusal case takes away before it runs its command.
enum class Without { Nothing, Solution, ActiveProject };

TEST_F(BuildWindow, NoBuildStartsWhileAScriptRuns)
{
    ConsoleViews *consoles = window->consoleViews();
    ASSERT_NE(consoles, nullptr);
    bool refused = false;
    // Runs from the event loop the endless script lets in, then stops the script.
    QTimer::singleShot(100, views, [&] {
        refused = !views->startOperation(findBuildOperation({BuildNode::Solution, BuildAction::Build}));
        consoles->stopScripts();
    });
    QTimer watchdog;
    watchdog.setSingleShot(true);
    QObject::connect(&watchdog, &QTimer::timeout, consoles, [&] { consoles->stopScripts(); });
    watchdog.start(buildTimeoutMilliseconds);
    QLineEdit *input = consoles->javaScriptConsole()->input();
    input->setText(QStringLiteral("for (;;) { var i = 1; }"));
    QTest::keyClick(input, Qt::Key_Return);
    EXPECT_TRUE(refused);
    EXPECT_EQ(views->lastMessage(), QStringLiteral("A script is running: stop it before building"));
    EXPECT_FALSE(views->isBuilding());
}

struct RefusalCase {
    const char *name;
    const char *action;
    Without without;
    const char *message;
};

void PrintTo(const RefusalCase &row, std::ostream *stream)
{
    *stream << row.name;
}

class BuildRefusal : public BuildWindow, public ::testing::WithParamInterface<RefusalCase> {};

// A command with nothing to act on starts nothing and says why.
TEST_P(BuildRefusal, SaysWhyAndStartsNothing)
{
    if (GetParam().without == Without::Solution)
        window->closeSolution();
    if (GetParam().without == Without::ActiveProject)
        window->setActiveProject(nullptr);
    views->runCommand(QLatin1String(GetParam().action));
    EXPECT_FALSE(views->isBuilding());
    EXPECT_EQ(views->lastMessage(), QLatin1String(GetParam().message));
    EXPECT_EQ(documents.saves, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, BuildRefusal,
    ::testing::Values(
        RefusalCase{"selectionWithoutSelection", "BuildBuildSelection", Without::Nothing,
                    "Nothing is selected to build"},
        RefusalCase{"compileWithoutDocument", "BuildCompile", Without::Nothing,
                    "No document with a file to compile"},
        RefusalCase{"cancelWhileIdle", "BuildCancelBuild", Without::Nothing, "No build is running"},
        RefusalCase{"buildWithoutSolution", "BuildBuildSolution", Without::Solution,
                    "No solution is open to build"},
        RefusalCase{"projectWithoutSolution", "BuildRebuildProject", Without::Solution,
                    "No solution is open to build"},
        RefusalCase{"projectWithoutActiveProject", "BuildCleanProject", Without::ActiveProject,
                    "No active project to build"}),
    [](const auto &info) { return std::string(info.param.name); });

// The model shows what the log holds after a flush, whatever the order items came in.
TEST(BuildLogRows, FlushShowsEveryItemInItsGroup)
{
    BuildLog log;
    BuildLogModel model(&log);
    BuildLogItem *project = log.openGroup(nullptr, QStringLiteral("project"));
    BuildLogItem *step = log.openGroup(project, QStringLiteral("step"));
    log.addItem(step, QStringLiteral("a.c:1:2: error: one"), int(Severity::Error));
    EXPECT_EQ(model.rowCount(), 0);   // held back until the flush
    model.flush();
    ASSERT_EQ(model.rowCount(), 1);
    const QModelIndex projectRow = model.index(0, 0);
    ASSERT_EQ(model.rowCount(projectRow), 1);
    const QModelIndex stepRow = model.index(0, 0, projectRow);
    EXPECT_EQ(model.rowCount(stepRow), 1);
    EXPECT_EQ(model.parent(stepRow), projectRow);
    // More into a shown group, and a new group beside it.
    log.addItem(step, QStringLiteral("plain"), 0);
    BuildLogItem *second = log.openGroup(project, QStringLiteral("second"));
    log.addItem(second, QStringLiteral("x"), 0);
    model.flush();
    EXPECT_EQ(model.rowCount(stepRow), 2);
    ASSERT_EQ(model.rowCount(projectRow), 2);
    EXPECT_EQ(model.rowCount(model.index(1, 0, projectRow)), 1);
    EXPECT_EQ(model.indexOf(second), model.index(1, 0, projectRow));
    model.clear();
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_TRUE(log.root()->children().empty());
}

} // namespace
