#include "editor/CodeEdit.h"
#include "foundation/Report.h"
#include "script/forth/ScriptEngine.h"
#include "script/host/HostServices.h"
#include "script/host/VarnelScriptSystem.h"
#include "shell/ConsoleViews.h"
#include "shell/ConsoleWidget.h"
#include "shell/CodeEditView.h"
#include "shell/DocumentHost.h"
#include "shell/EditorArea.h"
#include "shell/FSConsole.h"
#include "shell/ForthHostWords.h"
#include "shell/JavaScriptConsole.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QApplication>
#include <QClipboard>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>
#include <functional>

namespace {

// A stuck script is stopped after this long at the latest, so a broken Stop fails the test
// instead of hanging it.
constexpr int watchdogMilliseconds = 20000;

void typeLine(ConsoleWidget &console, const QString &line)
{
    console.input()->setText(line);
    QTest::keyClick(console.input(), Qt::Key_Return);
}

QStringList menuTexts(QMenu *menu)
{
    QStringList texts;
    for (QAction *action : menu->actions()) {
        if (!action->isSeparator())
            texts << action->text();
    }
    return texts;
}

QAction *menuAction(QMenu *menu, const QString &text)
{
    for (QAction *action : menu->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

// The position of the output's line `index` (from 0), for its context menu.
QPoint linePosition(ConsoleWidget &console, int index)
{
    console.flush();
    QCoreApplication::processEvents();
    QTextCursor cursor(console.output()->document()->findBlockByNumber(index));
    return console.output()->cursorRect(cursor).center();
}

int lineIndex(ConsoleWidget &console, const QString &start)
{
    const QStringList lines = console.outputText().split(u'\n');
    for (int i = 0; i < lines.size(); ++i) {
        if (lines.at(i).startsWith(start))
            return i;
    }
    return -1;
}

// Runs `start` (which loops for ever) while a timer calls `stop` after a moment; counts the
// timer ticks the event loop delivered meanwhile.
struct StoppedRun {
    int ticks = 0;
    bool watchdogFired = false;
};

StoppedRun runAndStop(const std::function<void()> &start, const std::function<void()> &stop,
                      const std::function<void()> &forceStop)
{
    StoppedRun run;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&run] { ++run.ticks; });
    ticker.start(10);
    // Timers of this frame only: a run that ends early must not leave a stop behind for later.
    QTimer stopper;
    stopper.setSingleShot(true);
    QObject::connect(&stopper, &QTimer::timeout, stop);
    stopper.start(150);
    QTimer watchdog;
    watchdog.setSingleShot(true);
    QObject::connect(&watchdog, &QTimer::timeout, [&] {
        run.watchdogFired = true;
        forceStop();
    });
    watchdog.start(watchdogMilliseconds);
    start();
    return run;
}

// Documents as the editor area would give them: one current document, the files it opened.
class StandDocuments : public DocumentHost {
public:
    bool openDocument(const QString &path, int line, int column) override
    {
        opened << QStringLiteral("%1:%2:%3").arg(path).arg(line).arg(column);
        return true;
    }
    EditCommandInterface *currentEditor() const override { return path.isNull() ? nullptr : editor; }
    QString currentPath() const override { return path; }
    QString currentText() const override { return text; }
    QStringList openPaths() const override { return {path}; }
    bool saveAll() override { return true; }

    EditCommandInterface *editor = nullptr;
    QString path;
    QString text;
    QStringList opened;
};

// The environment the host words reach, answered by stand-ins.
class StandHost : public ForthHostInterface, public DebuggerStateInterface {
public:
    EditCommandInterface *focusedEditor() const override { return editor; }
    void triggerAction(const QString &name) override { actions << name; }
    DebuggerStateInterface &debugger() const override { return const_cast<StandHost &>(*this); }
    void print(const QString &text) override { printed += text; }
    bool openUrl(const QString &url) override
    {
        urls << url;
        return browserWorks;
    }
    bool isDebugging() const override { return debugging; }
    QStringList localsText() const override { return {QStringLiteral("i = 3")}; }

    EditCommandInterface *editor = nullptr;
    QStringList actions;
    QStringList urls;
    QString printed;
    bool browserWorks = true;
    bool debugging = false;
};

// A Forth console whose host words act on a StandHost.
class ForthConsoleOnStand : public ::testing::Test {
protected:
    ForthConsoleOnStand() : console([this](ScriptEngine &engine) { ForthHostWords::install(engine, host); }) {}
    // What one line typed into the console added to its output.
    QString line(const QString &text)
    {
        const qsizetype before = console.outputText().size();
        typeLine(console, text);
        return console.outputText().mid(before);
    }
    ShellTest::StubEdit editor;
    StandHost host;
    FSConsole console;
};

// ---- the console widget

TEST(ConsoleWidget, EntersTheLineAndWalksTheHistoryWithUpAndDown)
{
    ConsoleWidget console;
    QStringList entered;
    QObject::connect(&console, &ConsoleWidget::inputReady, [&](const QString &line) { entered << line; });
    typeLine(console, QStringLiteral("first"));
    typeLine(console, QStringLiteral("second"));
    EXPECT_EQ(entered, (QStringList{"first", "second"}));
    EXPECT_TRUE(console.input()->text().isEmpty());
    console.input()->setText(QStringLiteral("draft"));
    QTest::keyClick(console.input(), Qt::Key_Up);
    EXPECT_EQ(console.input()->text(), "second");
    QTest::keyClick(console.input(), Qt::Key_Up);
    EXPECT_EQ(console.input()->text(), "first");
    QTest::keyClick(console.input(), Qt::Key_Up);
    EXPECT_EQ(console.input()->text(), "first");
    QTest::keyClick(console.input(), Qt::Key_Down);
    EXPECT_EQ(console.input()->text(), "second");
    QTest::keyClick(console.input(), Qt::Key_Down);
    EXPECT_EQ(console.input()->text(), "draft");
    QTest::keyClick(console.input(), Qt::Key_Return);
    EXPECT_EQ(entered.last(), "draft");
}

TEST(ConsoleWidget, TheMenuCopiesALineOrAllAndClears)
{
    ConsoleWidget console;
    console.resize(500, 300);
    console.show();
    console.print(QStringLiteral("alpha\nbeta\n"));
    std::unique_ptr<QMenu> menu(console.createContextMenu(linePosition(console, 1)));
    EXPECT_EQ(menuTexts(menu.get()), (QStringList{"&Copy Line", "Copy &All", "Clea&r"}));
    menuAction(menu.get(), QStringLiteral("&Copy Line"))->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "beta");
    menuAction(menu.get(), QStringLiteral("Copy &All"))->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "alpha\nbeta\n");
    menuAction(menu.get(), QStringLiteral("Clea&r"))->trigger();
    EXPECT_TRUE(console.outputText().isEmpty());
}

TEST(ConsoleWidget, ALineNamingAFileOffersToLocateIt)
{
    QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("main.fs"));
    TestSupport::writeFile(file, ": x 1 ;\n");
    ConsoleWidget console;
    console.resize(800, 300);
    console.show();
    console.print(QStringLiteral("plain line\n%1:7: FOO: undefined word (throw -13)\n").arg(file));
    QStringList located;
    QObject::connect(&console, &ConsoleWidget::locateRequested,
                     [&](const QString &path, int line) { located << QStringLiteral("%1@%2").arg(path).arg(line); });
    std::unique_ptr<QMenu> plain(console.createContextMenu(linePosition(console, 0)));
    EXPECT_EQ(menuTexts(plain.get()).size(), 3);
    std::unique_ptr<QMenu> menu(console.createContextMenu(linePosition(console, 1)));
    const QString locate = QStringLiteral("&Locate \"%1\", line 7").arg(file);
    ASSERT_EQ(menuTexts(menu.get()), (QStringList{"&Copy Line", "Copy &All", "Clea&r", locate}));
    menuAction(menu.get(), locate)->trigger();
    EXPECT_EQ(located, QStringList{file + QStringLiteral("@7")});
}

struct LocationCase {
    const char *name;
    const char *line;   // %1: an existing file
    bool found;
    int lineNumber;
};

class ConsoleLocation : public ::testing::TestWithParam<LocationCase> {};

TEST_P(ConsoleLocation, FindsTheFileAndLineAMessageNames)
{
    QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("a.js"));
    TestSupport::writeFile(file, "x\n");
    QString foundFile;
    int foundLine = 0;
    QString line = QString::fromUtf8(GetParam().line);
    line.replace(QStringLiteral("%1"), file);
    EXPECT_EQ(ConsoleWidget::findLocation(line, &foundFile, &foundLine), GetParam().found);
    if (GetParam().found) {
        EXPECT_EQ(foundFile, file);
        EXPECT_EQ(foundLine, GetParam().lineNumber);
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, ConsoleLocation, ::testing::Values(
    LocationCase{"forthError", "%1:12: FOO: undefined word (throw -13)", true, 12},
    LocationCase{"compilerDiagnostic", "%1:3:9: error: expected ';'", true, 3},
    LocationCase{"scriptError", "At line 4 of %1", true, 4},
    LocationCase{"missingFile", "/no/such/file.c:3: error", false, 0},
    LocationCase{"consoleInput", "console:1: FOO: undefined word (throw -13)", false, 0},
    LocationCase{"lineZero", "%1:0: nothing", false, 0},
    LocationCase{"noLocation", "OK", false, 0}),
    [](const auto &info) { return std::string(info.param.name); });

// ---- the JavaScript console

class JavaScriptConsoleTest : public ::testing::Test {
protected:
    JavaScriptConsoleTest() : console(system)
    {
        system.setProcessEvents(true);
        system.setHostHook([this](MyESContext &context) {
            HostServices services;
            services.system = &system;
            services.output = [this](const QString &text) { console.print(text + u'\n'); };
            installHostClasses(context, services);
        });
    }
    QString line(const QString &text)
    {
        const qsizetype before = console.outputText().size();
        typeLine(console, text);
        return console.outputText().mid(before);
    }
    VarnelScriptSystem system;
    JavaScriptConsole console;
};

TEST_F(JavaScriptConsoleTest, PrintsTheResultOfALine)
{
    EXPECT_EQ(line(QStringLiteral("6 * 7")), "> 6 * 7\n42\n");
    EXPECT_EQ(line(QStringLiteral("WScript.Echo('hi')")), "> WScript.Echo('hi')\nhi\n");
}

TEST_F(JavaScriptConsoleTest, ShowsAHostFunctionByItsHelp)
{
    EXPECT_EQ(line(QStringLiteral("TMSys.copyFile")),
              "> TMSys.copyFile\nTMSys.copyFile(srcPath, destPath) copies file srcPath to destPath.\n");
    EXPECT_EQ(line(QStringLiteral("(function () {})")), "> (function () {})\n<<function>>\n");
}

TEST_F(JavaScriptConsoleTest, ReportsErrorsAsUncaughtExceptions)
{
    const QString output = line(QStringLiteral("nothing()"));
    EXPECT_TRUE(output.startsWith("> nothing()\nUncaught exception: not a function object\n")) << output.toStdString();
    const QString syntax = line(QStringLiteral("var = ;"));
    EXPECT_TRUE(syntax.contains("\nUncaught exception: ")) << syntax.toStdString();
    EXPECT_EQ(line(QStringLiteral("1 + 1")), "> 1 + 1\n2\n");
}

TEST_F(JavaScriptConsoleTest, KeepsTheContextAcrossInputsUntilDeleted)
{
    line(QStringLiteral("var kept = 5"));
    EXPECT_EQ(line(QStringLiteral("kept * 2")), "> kept * 2\n10\n");
    EXPECT_TRUE(console.hasContext());
    console.deleteContext();
    EXPECT_FALSE(console.hasContext());
    EXPECT_EQ(line(QStringLiteral("typeof kept")), "> typeof kept\nundefined\n");
}

TEST_F(JavaScriptConsoleTest, TheStopButtonEndsAnEndlessLoopWhileTheWindowLives)
{
    EXPECT_EQ(console.stopButton()->toolTip(), "Stop");
    EXPECT_FALSE(console.stopButton()->isEnabled());
    bool stopWasLive = false;
    const StoppedRun run = runAndStop([&] { typeLine(console, QStringLiteral("while (true) {}")); },
                                      [&] {
                                          stopWasLive = console.stopButton()->isEnabled();
                                          QTest::mouseClick(console.stopButton(), Qt::LeftButton);
                                      },
                                      [&] { system.requestStop(); });
    EXPECT_FALSE(run.watchdogFired);
    EXPECT_TRUE(stopWasLive);
    EXPECT_GT(run.ticks, 3);
    EXPECT_TRUE(console.outputText().endsWith("Stopped.\n"));
    EXPECT_FALSE(console.isBusy());
    EXPECT_EQ(line(QStringLiteral("3 + 4")), "> 3 + 4\n7\n");
}

// ---- the Forth console

TEST_F(ForthConsoleOnStand, GreetsAndSaysOkAfterALineThatRan)
{
    EXPECT_TRUE(console.outputText().startsWith("Dorrin ForthScript Interpreter v1.0.0\n"));
    EXPECT_EQ(line(QStringLiteral("2 3 + .")), "2 3 + . 5 OK\n");
}

TEST_F(ForthConsoleOnStand, PrintsAnErrorOnItsOwnLineAndResets)
{
    line(QStringLiteral("1 2 3"));
    EXPECT_EQ(line(QStringLiteral("NO-SUCH-WORD")), "NO-SUCH-WORD \nconsole:1: NO-SUCH-WORD: undefined word (throw -13)\n");
    EXPECT_EQ(line(QStringLiteral("DEPTH .")), "DEPTH . 0 OK\n");
    EXPECT_EQ(line(QStringLiteral("1 0 /")), "1 0 / \nconsole:1: /: divide by zero (throw -10)\n");
}

TEST_F(ForthConsoleOnStand, StopEndsAnEndlessLoopWithTheHostInterrupt)
{
    const StoppedRun run = runAndStop([&] { typeLine(console, QStringLiteral(": spin BEGIN AGAIN ; spin")); },
                                      [&] { QTest::mouseClick(console.stopButton(), Qt::LeftButton); },
                                      [&] { console.stop(); });
    EXPECT_FALSE(run.watchdogFired);
    EXPECT_GT(run.ticks, 3);
    EXPECT_TRUE(console.outputText().endsWith("user interrupt (throw -28)\n")) << console.outputText().toStdString();
    EXPECT_EQ(line(QStringLiteral("7 .")), "7 . 7 OK\n");
}

TEST_F(ForthConsoleOnStand, OutputWithoutEndOfLineIsBrokenIntoBoundedLines)
{
    const StoppedRun run = runAndStop([&] { typeLine(console, QStringLiteral(": spin BEGIN 65 EMIT AGAIN ; spin")); },
                                      [&] { console.stop(); }, [&] { console.stop(); });
    EXPECT_FALSE(run.watchdogFired);
    const QStringList lines = console.outputText().split(u'\n');
    qsizetype longest = 0;
    for (const QString &line : lines)
        longest = qMax(longest, line.size());
    EXPECT_EQ(longest, ConsoleWidget::maxLineLength);
    EXPECT_TRUE(console.outputText().endsWith("user interrupt (throw -28)\n"));
}

TEST(ConsoleWidget, BreaksALongLineAndKeepsShortOnesWhole)
{
    ConsoleWidget console;
    console.print(QString(ConsoleWidget::maxLineLength - 2, u'a'));
    console.print(QStringLiteral("bcd\nshort\n"));
    console.print(QString(2 * ConsoleWidget::maxLineLength + 1, u'x') + QStringLiteral("\nend"));
    const QStringList lines = console.outputText().split(u'\n');
    ASSERT_EQ(lines.size(), 7);
    EXPECT_EQ(lines.at(0), QString(ConsoleWidget::maxLineLength - 2, u'a') + QStringLiteral("bc"));
    EXPECT_EQ(lines.at(1), "d");
    EXPECT_EQ(lines.at(2), "short");
    EXPECT_EQ(lines.at(3).size(), ConsoleWidget::maxLineLength);
    EXPECT_EQ(lines.at(4).size(), ConsoleWidget::maxLineLength);
    EXPECT_EQ(lines.at(5), "x");
    EXPECT_EQ(lines.at(6), "end");
}

TEST_F(ForthConsoleOnStand, TabCompletesWordsAndListsTheCandidates)
{
    QLineEdit &input = *console.input();
    input.setText(QStringLiteral("2 DUP EDIT-CHAR-R"));
    QTest::keyClick(&input, Qt::Key_Tab);
    EXPECT_EQ(input.text(), "2 DUP EDIT-CHAR-RIGHT");
    QTest::keyClick(&input, Qt::Key_Tab);
    EXPECT_EQ(input.text(), "2 DUP EDIT-CHAR-RIGHT");
    EXPECT_TRUE(console.outputText().endsWith("EDIT-CHAR-RIGHT EDIT-CHAR-RIGHT-EXTEND\n")) << console.outputText().toStdString();
    input.setText(QStringLiteral("LAUNCH-BR"));
    QTest::keyClick(&input, Qt::Key_Tab);
    EXPECT_EQ(input.text(), "LAUNCH-BROWSER ");
    input.setText(QStringLiteral("NO-SUCH-PREFIX"));
    QTest::keyClick(&input, Qt::Key_Tab);
    EXPECT_EQ(input.text(), "NO-SUCH-PREFIX");
}

struct EditorWordCase {
    const char *word;
    const char *call;
};

class ForthEditorWord : public ForthConsoleOnStand, public ::testing::WithParamInterface<EditorWordCase> {};

TEST_P(ForthEditorWord, CallsItsMemberOnTheFocusedEditor)
{
    host.editor = &editor;
    EXPECT_EQ(line(QLatin1String(GetParam().word)), QLatin1String(GetParam().word) + QStringLiteral(" OK\n"));
    EXPECT_EQ(editor.calls, QStringList{QLatin1String(GetParam().call)});
}

INSTANTIATE_TEST_SUITE_P(Words, ForthEditorWord, ::testing::Values(
    EditorWordCase{"EDIT-SCROLL-UP", "scrollUp"}, EditorWordCase{"EDIT-SCROLL-DOWN", "scrollDown"},
    EditorWordCase{"EDIT-CHAR-LEFT", "charLeft"}, EditorWordCase{"EDIT-CHAR-LEFT-EXTEND", "charLeftExtend"},
    EditorWordCase{"EDIT-CHAR-RIGHT", "charRight"}, EditorWordCase{"EDIT-CHAR-RIGHT-EXTEND", "charRightExtend"},
    EditorWordCase{"EDIT-WORD-LEFT", "wordLeft"}, EditorWordCase{"EDIT-WORD-LEFT-EXTEND", "wordLeftExtend"},
    EditorWordCase{"EDIT-WORD-RIGHT", "wordRight"}, EditorWordCase{"EDIT-WORD-RIGHT-EXTEND", "wordRightExtend"},
    EditorWordCase{"EDIT-LINE-START-TOGGLE", "lineStartToggle"},
    EditorWordCase{"EDIT-LINE-START-TOGGLE-EXTEND", "lineStartToggleExtend"},
    EditorWordCase{"EDIT-LINE-END", "lineEnd"}, EditorWordCase{"EDIT-LINE-END-EXTEND", "lineEndExtend"},
    EditorWordCase{"EDIT-PAGE-UP", "pageUp"}, EditorWordCase{"EDIT-PAGE-UP-EXTEND", "pageUpExtend"},
    EditorWordCase{"EDIT-PAGE-DOWN", "pageDown"}, EditorWordCase{"EDIT-PAGE-DOWN-EXTEND", "pageDownExtend"},
    EditorWordCase{"EDIT-UNDO", "undo"}, EditorWordCase{"EDIT-REDO", "redo"},
    EditorWordCase{"EDIT-UNDO-ALL", "undoAll"}, EditorWordCase{"EDIT-REDO-ALL", "redoAll"},
    EditorWordCase{"EDIT-CUT", "cut"}, EditorWordCase{"EDIT-COPY", "copy"}, EditorWordCase{"EDIT-PASTE", "paste"}),
    [](const auto &info) {
        std::string name = info.param.word;
        std::erase(name, '-');
        return name;
    });

TEST(ForthEditorWords, TheTableHasEveryEditorWord)
{
    EXPECT_EQ(ForthHostWords::editorWords().size(), 25u);
    EXPECT_EQ(ForthHostWords::actionWords().size(), 14u);
}

TEST_F(ForthConsoleOnStand, InsertTakesAStringForTheFocusedEditor)
{
    host.editor = &editor;
    EXPECT_EQ(line(QStringLiteral("S\" hello world\" EDIT-INSERT DEPTH .")), "S\" hello world\" EDIT-INSERT DEPTH . 0 OK\n");
    EXPECT_EQ(editor.calls, QStringList{"insertText:hello world"});
    const QString wrong = line(QStringLiteral("42 EDIT-INSERT"));
    EXPECT_TRUE(wrong.contains("EDIT-INSERT: string required (throw -24)")) << wrong.toStdString();
}

TEST_F(ForthConsoleOnStand, EditorWordsWithNoEditorDoNothingAndRaiseNothing)
{
    EXPECT_EQ(line(QStringLiteral("EDIT-CHAR-LEFT EDIT-UNDO 5 .")), "EDIT-CHAR-LEFT EDIT-UNDO 5 . 5 OK\n");
    EXPECT_EQ(line(QStringLiteral("S\" lost\" EDIT-INSERT DEPTH .")), "S\" lost\" EDIT-INSERT DEPTH . 0 OK\n");
    EXPECT_TRUE(editor.calls.isEmpty());
}

TEST_F(ForthConsoleOnStand, DebuggingGivesTheSessionState)
{
    EXPECT_EQ(line(QStringLiteral("DEBUGGING? .")), "DEBUGGING? . 0 OK\n");
    EXPECT_EQ(line(QStringLiteral(".LOCALS")), ".LOCALS OK\n");
    EXPECT_EQ(host.printed, "no debug session: no locals\n");
    host.debugging = true;
    host.printed.clear();
    EXPECT_EQ(line(QStringLiteral("DEBUGGING? .")), "DEBUGGING? . -1 OK\n");
    line(QStringLiteral(".LOCALS"));
    EXPECT_EQ(host.printed, "i = 3\n");
}

TEST_F(ForthConsoleOnStand, ActionWordsTriggerTheirActions)
{
    line(QStringLiteral("HELP-ABOUT EDIT-FIND-DIALOG DEBUG-STEP-OVER"));
    EXPECT_EQ(host.actions, (QStringList{"HelpAbout", "EditFind", "DebugStepOver"}));
}

TEST_F(ForthConsoleOnStand, LaunchBrowserOpensTheAddress)
{
    EXPECT_EQ(line(QStringLiteral("S\" https://example.invalid/\" LAUNCH-BROWSER")),
              "S\" https://example.invalid/\" LAUNCH-BROWSER OK\n");
    EXPECT_EQ(host.urls, QStringList{"https://example.invalid/"});
    host.browserWorks = false;
    const QString failed = line(QStringLiteral("S\" x\" LAUNCH-BROWSER"));
    EXPECT_TRUE(failed.contains("LAUNCH-BROWSER: no web browser could open \"x\"")) << failed.toStdString();
}

TEST(ForthHostWordsHeadless, TessForthHasNoHostWords)
{
    const TestSupport::ProgramRun run =
        TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), {"forth", "-e", "EDIT-UNDO"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("EDIT-UNDO: undefined word (throw -13)")) << run.err.toStdString();
}

// ---- in the window

class ConsolesInWindow : public ::testing::Test {
protected:
    ConsolesInWindow()
    {
        QString problem;
        settings.load(ShellPaths::settingsFile(), &problem);
        window = std::make_unique<VarnelWindow>(&settings, VarnelWindow::Options{});
        views = window->consoleViews();
    }
    ~ConsolesInWindow() override
    {
        window->setEditor(nullptr);
        window.reset();
    }
    QString forthLine(const QString &text)
    {
        const qsizetype before = views->forthConsole()->outputText().size();
        typeLine(*views->forthConsole(), text);
        return views->forthConsole()->outputText().mid(before);
    }

    ShellTest::TemporaryHome home;
    SettingsFile settings;
    std::unique_ptr<VarnelWindow> window;
    ConsoleViews *views = nullptr;
    ShellTest::StubEdit editor;
    StandDocuments documents;
};

TEST_F(ConsolesInWindow, DocksBothConsoles)
{
    ASSERT_NE(views, nullptr);
    EXPECT_EQ(views->javaScriptDock()->windowTitle(), "JavaScript Console");
    EXPECT_EQ(views->forthDock()->windowTitle(), "Forth Console");
    EXPECT_EQ(views->javaScriptDock()->objectName(), "JavaScriptConsole");
    EXPECT_EQ(views->forthDock()->objectName(), "ForthConsole");
    EXPECT_TRUE(window->hasHandler(QStringLiteral("ScriptRun")));
    EXPECT_TRUE(window->hasHandler(QStringLiteral("JavaScriptStopScript")));
    EXPECT_FALSE(window->action(QStringLiteral("JavaScriptStopScript"))->isEnabled());
}

TEST_F(ConsolesInWindow, HostWordsDriveTheFocusedEditor)
{
    window->setEditor(&editor);
    EXPECT_EQ(forthLine(QStringLiteral("S\" x\" EDIT-INSERT EDIT-CHAR-LEFT EDIT-UNDO")),
              "S\" x\" EDIT-INSERT EDIT-CHAR-LEFT EDIT-UNDO OK\n");
    EXPECT_EQ(editor.calls, (QStringList{"insertText:x", "charLeft", "undo"}));
    window->setEditor(nullptr);
    EXPECT_EQ(forthLine(QStringLiteral("EDIT-CHAR-LEFT")), "EDIT-CHAR-LEFT OK\n");
    EXPECT_EQ(editor.calls.size(), 3);
}

// The same words through the window's own document area, on a real file: the insert and the
// caret move land in the document, the undo takes the insert back, and the file saves the result.
TEST_F(ConsolesInWindow, HostWordsEditARealDocument)
{
    const QString path = home.path() + QStringLiteral("/words.c");
    TestSupport::writeFile(path, "int x;\n");
    DocumentHost *documents = window->documents();
    ASSERT_NE(documents, nullptr);
    ASSERT_TRUE(documents->openDocument(path, 1, 1));
    auto *area = window->editorArea();
    ASSERT_NE(area, nullptr);
    CodeEditView *view = area->currentView();
    ASSERT_NE(view, nullptr);
    window->setEditor(view);
    EXPECT_EQ(forthLine(QStringLiteral("S\" /* a */ \" EDIT-INSERT EDIT-CHAR-LEFT")),
              "S\" /* a */ \" EDIT-INSERT EDIT-CHAR-LEFT OK\n");
    EXPECT_EQ(view->edit().buffer().text(0), QStringLiteral("/* a */ int x;"));
    EXPECT_EQ(view->caretPosition(), (CodeEditBufferPosition{0, 7}));
    forthLine(QStringLiteral("EDIT-UNDO"));
    EXPECT_EQ(view->edit().buffer().text(0), QStringLiteral("int x;"));
    forthLine(QStringLiteral("EDIT-REDO EDIT-LINE-END S\"  // b\" EDIT-INSERT"));
    EXPECT_EQ(view->edit().buffer().text(0), QStringLiteral("/* a */ int x; // b"));
    ASSERT_TRUE(area->save(view));
    EXPECT_EQ(TestSupport::readFile(path), QByteArray("/* a */ int x; // b\n"));
    window->setEditor(nullptr);
}

TEST_F(ConsolesInWindow, HostWordsReachTheDocumentsEditorWithoutAFocusedOne)
{
    documents.editor = &editor;
    documents.path = QStringLiteral("/tmp/open.c");
    views->setDocuments(&documents);
    forthLine(QStringLiteral("EDIT-REDO"));
    EXPECT_EQ(editor.calls, QStringList{"redo"});
}

TEST_F(ConsolesInWindow, AnActionWordTriggersTheWindowAction)
{
    int triggered = 0;
    QObject::connect(window->action(QStringLiteral("HelpAbout")), &QAction::triggered, [&] { ++triggered; });
    ShellTest::ModalCloser closer;
    EXPECT_EQ(forthLine(QStringLiteral("HELP-ABOUT")), "HELP-ABOUT OK\n");
    EXPECT_EQ(triggered, 1);
    EXPECT_GE(closer.closed(), 1);
    // An action the window does not carry out yet is disabled: its word does nothing.
    EXPECT_EQ(forthLine(QStringLiteral("HELP-FAQ")), "HELP-FAQ OK\n");
    EXPECT_EQ(forthLine(QStringLiteral("DEBUG-GO DEBUGGING? .")), "DEBUG-GO DEBUGGING? . 0 OK\n");
}

TEST_F(ConsolesInWindow, TheStopActionEndsAScriptAndIsLiveOnlyMeanwhile)
{
    VarnelAction *stop = window->action(QStringLiteral("JavaScriptStopScript"));
    bool liveWhileRunning = false;
    const StoppedRun run = runAndStop(
        [&] { typeLine(*views->javaScriptConsole(), QStringLiteral("for (;;) { var i = 1; }")); },
        [&] {
            window->updateGUI();
            liveWhileRunning = stop->isEnabled();
            stop->trigger();
        },
        [&] { views->stopScripts(); });
    EXPECT_FALSE(run.watchdogFired);
    EXPECT_TRUE(liveWhileRunning);
    EXPECT_FALSE(stop->isEnabled());
    EXPECT_TRUE(views->javaScriptConsole()->outputText().endsWith("Stopped.\n"));
}

TEST_F(ConsolesInWindow, ClosingTheWindowWhileAScriptRunsStopsItFirst)
{
    window->show();
    bool closedWhileRunning = true;
    const StoppedRun run = runAndStop([&] { typeLine(*views->forthConsole(), QStringLiteral(": spin BEGIN AGAIN ; spin")); },
                                      [&] { closedWhileRunning = window->close(); },
                                      [&] { views->stopScripts(); });
    EXPECT_FALSE(run.watchdogFired);
    EXPECT_FALSE(closedWhileRunning);
    QElapsedTimer waited;
    waited.start();
    while (window->isVisible() && waited.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(ConsolesInWindow, ScriptsSeeTheOpenSolutionThroughBuild)
{
    ASSERT_TRUE(window->openSolution(QStringLiteral(TESS_SOURCE_DIR "/examples/solution/Blinky.qvProject")));
    JavaScriptConsole &console = *views->javaScriptConsole();
    const qsizetype before = console.outputText().size();
    typeLine(console, QStringLiteral("Build.activeProject() + ' ' + Build.buildConfiguration()"));
    EXPECT_TRUE(console.outputText().mid(before).endsWith("\nBlinky Debug\n")) << console.outputText().toStdString();
    EXPECT_TRUE(console.hasContext());
    // The context was made for that solution: it goes with it.
    window->closeSolution();
    EXPECT_FALSE(console.hasContext());
}

struct ScriptRunCase {
    const char *name;
    const char *file;
    const char *text;
    bool javaScript;       // which console shows the output
    const char *expected;  // in that console's output
};

class ScriptRunByLanguage : public ConsolesInWindow, public ::testing::WithParamInterface<ScriptRunCase> {};

TEST_P(ScriptRunByLanguage, RunsTheCurrentDocumentInItsConsole)
{
    QTemporaryDir directory;
    documents.editor = &editor;
    documents.path = directory.filePath(QLatin1String(GetParam().file));
    documents.text = QLatin1String(GetParam().text);
    TestSupport::writeFile(documents.path, GetParam().text);
    views->setDocuments(&documents);
    EXPECT_TRUE(views->runCurrentDocument());
    ConsoleWidget *console = GetParam().javaScript ? static_cast<ConsoleWidget *>(views->javaScriptConsole())
                                                   : static_cast<ConsoleWidget *>(views->forthConsole());
    EXPECT_TRUE(console->outputText().contains(QLatin1String(GetParam().expected))) << console->outputText().toStdString();
    QDockWidget *dock = GetParam().javaScript ? views->javaScriptDock() : views->forthDock();
    EXPECT_FALSE(dock->isHidden());
}

INSTANTIATE_TEST_SUITE_P(Files, ScriptRunByLanguage, ::testing::Values(
    ScriptRunCase{"javaScript", "run.js", "WScript.Echo('from ' + 'js'); [1, 2]", true, "from js\n1\n2\n"},
    ScriptRunCase{"forthFs", "run.fs", ": twice 2 * ;\n21 twice .\n", false, "42 "},
    ScriptRunCase{"forthFth", "run.fth", "S\" fth\" TYPE", false, "fth"},
    ScriptRunCase{"forth4th", "RUN.4TH", "1 2 + .", false, "3 "}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(ConsolesInWindow, ScriptRunRefusesAFileOfNoScriptLanguage)
{
    documents.editor = &editor;
    documents.path = QStringLiteral("/tmp/notes.txt");
    documents.text = QStringLiteral("WScript.Echo('no')");
    views->setDocuments(&documents);
    const QString before = views->javaScriptConsole()->outputText();
    EXPECT_FALSE(views->runCurrentDocument());
    EXPECT_EQ(views->javaScriptConsole()->outputText(), before);
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("notes.txt")) << window->statusBar()->currentMessage().toStdString();
    documents.path = QString();
    EXPECT_FALSE(views->runCurrentDocument());
    EXPECT_EQ(window->statusBar()->currentMessage(), "Run Script: no document is open.");
}

// A script that fails on its second line, run as the current document: the console's menu on
// the line that says where offers to open the file there, and does.
struct FailedScript {
    const char *name;
    const char *fileName;
    const char *text;
    const char *whereMarker;   // the start of the line that says where; %1 is the file
    const char *alsoSaid;      // another line the console shows, or null
};

class FailedScriptLocates : public ConsolesInWindow, public ::testing::WithParamInterface<FailedScript> {};

TEST_P(FailedScriptLocates, FromTheConsoleMenu)
{
    const FailedScript &script = GetParam();
    QTemporaryDir directory;
    documents.editor = &editor;
    documents.path = directory.filePath(QLatin1String(script.fileName));
    documents.text = QString::fromUtf8(script.text);
    TestSupport::writeFile(documents.path, documents.text.toUtf8());
    views->setDocuments(&documents);
    EXPECT_FALSE(views->runCurrentDocument());
    const bool forth = documents.path.endsWith(QLatin1String(".fs"));
    ConsoleWidget &console = forth ? static_cast<ConsoleWidget &>(*views->forthConsole())
                                   : static_cast<ConsoleWidget &>(*views->javaScriptConsole());
    QDockWidget *dock = forth ? views->forthDock() : views->javaScriptDock();
    dock->setFloating(true);
    dock->resize(900, 400);
    dock->show();
    if (script.alsoSaid)
        EXPECT_GE(lineIndex(console, QLatin1String(script.alsoSaid)), 0) << console.outputText().toStdString();
    const int index = lineIndex(console, QString::fromLatin1(script.whereMarker).arg(documents.path));
    ASSERT_GE(index, 0) << console.outputText().toStdString();
    std::unique_ptr<QMenu> menu(console.createContextMenu(linePosition(console, index)));
    QAction *locate = menuAction(menu.get(), QStringLiteral("&Locate \"%1\", line 2").arg(documents.path));
    ASSERT_NE(locate, nullptr) << menuTexts(menu.get()).join(u'|').toStdString();
    locate->trigger();
    EXPECT_EQ(documents.opened, QStringList{documents.path + QStringLiteral(":2:0")});
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, FailedScriptLocates,
    ::testing::Values(FailedScript{"forth", "broken.fs", "1 2 +\n3 NOT-A-WORD\n", "%1:2:", nullptr},
                      FailedScript{"javaScript", "broken.js", "var x = 1;\nnothing();\n", "At line 2 of ",
                                   "Uncaught exception: not a function object"}),
    [](const ::testing::TestParamInfo<FailedScript> &info) { return std::string(info.param.name); });

} // namespace
