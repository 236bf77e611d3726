#include "foundation/Report.h"
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include "shell/ActionTable.h"
#include "shell/Actions.h"
#include "shell/EditCommands.h"
#include "shell/GUIBuilder.h"
#include "shell/MessageLog.h"
#include "shell/MessageScheme.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/ShellViews.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QStringList reported;

void keepReport(ReportChannel channel, const QString &text)
{
    reported.append((channel == ReportChannel::Error ? QStringLiteral("error: ") : QStringLiteral("warning: ")) + text);
}

// A main window in a private home, with what the channels report kept in `reported`.
class Window : public ::testing::Test {
protected:
    Window()
    {
        reported.clear();
        setReportSink(keepReport);
        setReportMask(reportErrors | reportWarnings);
    }
    ~Window() override
    {
        window.reset();
        setReportMask(0);
        setReportSink(nullptr);
    }

    VarnelWindow &make(const VarnelWindow::Options &options = {})
    {
        QString problem;
        settings.load(ShellPaths::settingsFile(), &problem);
        window = std::make_unique<VarnelWindow>(&settings, options);
        return *window;
    }

    VarnelAction *action(const char *name) const { return window->action(QLatin1String(name)); }

    ShellTest::TemporaryHome home;
    SettingsFile settings;
    std::unique_ptr<VarnelWindow> window;
};

TEST_F(Window, MakesEveryActionOfTheTableAndPutsEachInAMenu)
{
    make();
    const QHash<QString, QString> paths = ShellViews::actionMenuPaths(*window);
    int count = 0;
    for (const ActionRow &row : actionRows()) {
        const QString name = QLatin1String(row.name);
        ASSERT_NE(window->actions()->find(name), nullptr) << row.name;
        EXPECT_TRUE(paths.contains(name)) << row.name << " is in no menu";
        ++count;
    }
    EXPECT_EQ(count, 400);
    EXPECT_EQ(window->actions()->size(), 400);
}

TEST_F(Window, TheShippedSchemesAndDescriptionBuildWithoutAWord)
{
    for (const char *scheme : {"Standard", "Classic"}) {
        reported.clear();
        VarnelWindow::Options options;
        options.messageScheme = QLatin1String(scheme);
        make(options);
        EXPECT_TRUE(reported.isEmpty()) << scheme << ": " << reported.join(u'\n').toStdString();
        EXPECT_TRUE(window->builder()->messages().empty()) << scheme;
        EXPECT_TRUE(window->keyMap().clashes().empty()) << scheme << ": " << ShellViews::keyMapText(*window).toStdString();
        EXPECT_EQ(window->messageScheme()->name(), QLatin1String(scheme));
        window.reset();
    }
}

TEST_F(Window, EveryCommandCanBeChosenWithoutHarm)
{
    make();
    window->show();
    ShellTest::ModalCloser closer;
    // These start the desktop's file manager, which a test must not.
    const QStringList outside = {QStringLiteral("OpenVarnelDirectory"), QStringLiteral("OpenVarnelUserDirectory"),
                                 QStringLiteral("OpenPackagesDirectory"), QStringLiteral("OpenProjectDirectory")};
    for (const ActionRow &row : actionRows()) {
        if (outside.contains(QLatin1String(row.name)) || qstrcmp(row.name, "FileExit") == 0)
            continue;
        action(row.name)->activate();
        QApplication::processEvents();
    }
    EXPECT_GE(closer.closed(), 5);   // preferences twice, keyboard map, about, the open and restore questions
    window->showNormal();
    action("FileExit")->activate();
    EXPECT_TRUE(window->isVisible());   // the exit runs after the event that chose it
    QApplication::processEvents();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(Window, CommandsWithoutTheirSubsystemAreDisabled)
{
    make();
    for (const char *name : {"BuildBuildSolution", "DebugStart", "FileSave", "EditUndo", "InstallPackages", "CrashTest",
                             "HelpF1Help", "SourceControlRefresh"})
        EXPECT_FALSE(action(name)->isEnabled()) << name;
    for (const char *name : {"FileOpenSolution", "FileExit", "ToolPreferences", "HelpKeyboardMap", "ViewFullScreen",
                             "BuildShowCommandLinesOn"})
        EXPECT_TRUE(action(name)->isEnabled()) << name;
}

TEST_F(Window, EditorCommandsAskTheFocusedEditor)
{
    make();
    ShellTest::StubEdit edit;
    window->setEditor(&edit);
    EXPECT_FALSE(action("EditUndo")->isEnabled());
    EXPECT_TRUE(action("EditCut")->isEnabled());
    edit.undoable = true;
    window->updateGUI();
    EXPECT_TRUE(action("EditUndo")->isEnabled());
    EXPECT_FALSE(action("EditRedo")->isEnabled());
    edit.editable = false;
    window->updateGUI();
    EXPECT_FALSE(action("EditUndo")->isEnabled());
    EXPECT_FALSE(action("EditCut")->isEnabled());
    EXPECT_TRUE(action("EditCopy")->isEnabled());
    EXPECT_TRUE(action("EditIncreaseTextSize")->isEnabled());
    window->setEditor(nullptr);
    EXPECT_FALSE(action("EditCopy")->isEnabled());
    EXPECT_FALSE(action("EditIncreaseTextSize")->isEnabled());
}

TEST_F(Window, TheMessagesLogAnswersCopyWhileItHasTheFocus)
{
    MessageLog log;
    make();
    log.note(QStringLiteral("first line"));
    window->show();
    QApplication::setActiveWindow(window.get());
    auto *text = window->findChild<QPlainTextEdit *>(QStringLiteral("MessagesText"));
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(text->toPlainText().contains(QStringLiteral("first line")));
    text->setFocus();
    QApplication::processEvents();
    window->updateGUI();
    EXPECT_FALSE(action("EditCopy")->isEnabled());   // nothing selected yet
    EXPECT_TRUE(action("EditSelectAll")->isEnabled());
    action("EditSelectAll")->trigger();
    window->updateGUI();
    ASSERT_TRUE(action("EditCopy")->isEnabled());
    action("EditCopy")->trigger();
    EXPECT_TRUE(QApplication::clipboard()->text().contains(QStringLiteral("first line")));
}

TEST_F(Window, ASolutionEnablesItsCommandsAndJoinsTheRecentList)
{
    make();
    const QString solution = QStringLiteral(TESS_SOURCE_DIR "/examples/solution/Blinky.qvProject");
    ASSERT_TRUE(window->openSolution(solution));
    EXPECT_TRUE(action("FileCloseSolution")->isEnabled());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Blinky - Tessmark"));
    SettingsFile saved;
    QString problem;
    ASSERT_TRUE(saved.load(ShellPaths::settingsFile(), &problem));
    EXPECT_EQ(saved.list(QLatin1String(VarnelWindow::recentSolutionsKey)), QStringList{solution});
    action("FileCloseSolution")->trigger();
    QApplication::processEvents();
    EXPECT_TRUE(window->solutionPath().isEmpty());
    EXPECT_FALSE(action("FileCloseSolution")->isEnabled());
    EXPECT_FALSE(window->openSolution(QStringLiteral(TESS_SOURCE_DIR "/README.md")));
    EXPECT_EQ(settings.list(QLatin1String(VarnelWindow::recentSolutionsKey)), QStringList{solution});
    EXPECT_TRUE(reported.last().endsWith(QStringLiteral("README.md: not a solution file"))) << reported.join(u'\n').toStdString();
}

// A solution file that does not load says why and leaves the solution open before, and the
// window, as they were.
TEST_F(Window, ASolutionThatFailsToLoadLeavesTheOpenOneInPlace)
{
    make();
    const QString solution = QStringLiteral(TESS_SOURCE_DIR "/examples/solution/Blinky.qvProject");
    ASSERT_TRUE(window->openSolution(solution));
    ProjectElement *active = window->activeProject();
    ASSERT_NE(active, nullptr);
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString damaged = directory.filePath(QStringLiteral("Damaged.qvProject"));
    TestSupport::writeFile(damaged, "<Tessbench_Project_File>\n<solution Name=\"x\">\n<project Name=\"p\">\n");
    reported.clear();
    EXPECT_FALSE(window->openSolution(damaged));
    ASSERT_FALSE(reported.isEmpty());
    EXPECT_TRUE(reported.last().contains(damaged + QStringLiteral(": "))) << reported.last().toStdString();
    EXPECT_EQ(window->solutionPath(), solution);
    ASSERT_NE(window->solutionSession(), nullptr);
    EXPECT_EQ(window->activeProject(), active);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Blinky - Tessmark"));
    EXPECT_TRUE(action("FileCloseSolution")->isEnabled());
}

TEST_F(Window, AnotherSchemeRelabelsMovesAndRebindsCommands)
{
    make();
    EXPECT_EQ(action("FileExit")->text(), QStringLiteral("E&xit"));
    window->chooseSchemes(QStringLiteral("Classic"), QStringLiteral("Classic"));
    EXPECT_EQ(action("FileExit")->text(), QStringLiteral("&Quit"));
    EXPECT_EQ(KeyMap::keysText(action("FileExit")->shortcuts()), QStringLiteral("Alt+X; Ctrl+Q"));
    ASSERT_NE(window->builder()->menu(QStringLiteral("FavoritesMenu")), nullptr);
    EXPECT_EQ(ShellViews::actionMenuPaths(*window).value(QStringLiteral("FileSaveAllAndExit")), QStringLiteral("File"));
    EXPECT_EQ(settings.value(QLatin1String(VarnelWindow::messageSchemeKey)), QStringLiteral("Classic"));
    EXPECT_TRUE(reported.isEmpty()) << reported.join(u'\n').toStdString();
}

TEST_F(Window, TheUsersKeysLieOverTheSchemeAndBadOnesAreSaid)
{
    home.writeUserFile(QStringLiteral("keyboard.xml"),
                       "<keyscheme><item name=\"FileSave\" key=\"F2\"/><item name=\"FileExit\" key=\"Ctrl+Nothing\"/></keyscheme>");
    make();
    EXPECT_EQ(KeyMap::keysText(action("FileSave")->shortcuts()), QStringLiteral("F2"));
    EXPECT_EQ(KeyMap::keysText(action("FileExit")->shortcuts()), QStringLiteral("Ctrl+Q"));
    ASSERT_EQ(reported.size(), 1);
    EXPECT_TRUE(reported.first().endsWith(QStringLiteral("unparsable key sequence 'Ctrl+Nothing' for FileExit is ignored")))
        << reported.first().toStdString();
}

TEST_F(Window, AMessageSchemeThatDoesNotLoadLeavesTheBuiltInOne)
{
    home.writeUserFile(QStringLiteral("broken.xml"), "<messagescheme name=\"S\"><definemenu");
    VarnelWindow::Options options;
    options.messageSchemePath = home.userFolder() + QStringLiteral("/broken.xml");
    make(options);
    EXPECT_NE(window->builder()->menu(QStringLiteral("FileMenu")), nullptr);
    EXPECT_EQ(action("FileOpenSolution")->statusTip(), QStringLiteral("Opens a solution file (.qvProject)."));
    EXPECT_TRUE(reported.contains(QStringLiteral("warning: the installed message scheme did not load; the built-in one is used")))
        << reported.join(u'\n').toStdString();
}

TEST_F(Window, ASettingsFolderThatCannotBeWrittenIsSaidOnce)
{
    TestSupport::writeFile(home.path() + QStringLiteral("/.local"), "a file where the folder should be");
    make();
    window->saveSettings();
    window->saveSettings();
    ASSERT_EQ(reported.size(), 1) << reported.join(u'\n').toStdString();
    EXPECT_TRUE(reported.first().startsWith(QStringLiteral("warning: The settings cannot be saved (cannot make the folder ")));
    EXPECT_TRUE(action("FileOpenSolution")->isEnabled());
}

TEST_F(Window, ToggleCommandsFollowAndSetTheirSettings)
{
    make();
    action("BuildShowCommandLinesOn")->trigger();
    EXPECT_EQ(settings.value(QStringLiteral("Environment/Build/Show Command Lines")), QStringLiteral("Yes"));
    settings.setYes(QStringLiteral("Environment/Build/Show Command Lines"), false);
    EXPECT_FALSE(action("BuildShowCommandLinesOn")->isChecked());
    auto *time = window->findChild<QLabel *>(QStringLiteral("ToggleTimeStatusPane"));
    ASSERT_NE(time, nullptr);
    window->show();
    EXPECT_TRUE(time->isVisible());
    action("ToggleTimeStatus")->trigger();
    EXPECT_FALSE(time->isVisible());
    EXPECT_EQ(settings.value(QStringLiteral("Window/Status Bar/ToggleTimeStatus")), QStringLiteral("No"));
}

} // namespace
