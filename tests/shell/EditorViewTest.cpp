#include "editor/CodeEdit.h"
#include "editor/CodeEditQuestions.h"
#include "foundation/Report.h"
#include "shell/CodeEditView.h"
#include "shell/EditorArea.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QSet>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

using TestSupport::readFile;
using TestSupport::writeFile;

namespace {

// Runs the event loop until `condition` holds or the time is up.
bool waitFor(const std::function<bool()> &condition, int milliseconds = 10000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QTest::qWait(10);
    }
    return true;
}

// Answers every question with a fixed answer and keeps what was said and asked.
class ScriptedQuestions final : public CodeEditQuestionsInterface {
public:
    void tell(const QString &, const QString &title, const QString &message) override { told << title + QStringLiteral(": ") + message; }
    int ask(const QString &title, const QString &, const QStringList &answers) override
    {
        asked << title;
        return int(answers.indexOf(answer));
    }
    QString answer = QStringLiteral("Cancel");
    QStringList told;
    QStringList asked;
};

// A main window in a private home with its document area answering through ScriptedQuestions,
// and a folder for the test's files.
class Documents : public ::testing::Test {
protected:
    Documents()
    {
        setReportMask(0);
        QString problem;
        settings.load(ShellPaths::settingsFile(), &problem);
        makeWindow();
    }
    ~Documents() override
    {
        if (window)
            area().closeAll(true);
        window.reset();
    }

    void makeWindow()
    {
        window = std::make_unique<VarnelWindow>(&settings, VarnelWindow::Options{});
        window->resize(900, 600);
        window->show();
        area().setQuestions(&questions);
    }

    EditorArea &area() const { return *window->editorArea(); }

    QString file(const QString &name, const QByteArray &bytes) const
    {
        const QString path = folder.path() + u'/' + name;
        writeFile(path, bytes);
        return path;
    }

    CodeEditView &open(const QString &path)
    {
        EXPECT_TRUE(area().openDocument(path));
        return *area().currentView();
    }

    ShellTest::TemporaryHome home;
    QTemporaryDir folder;
    SettingsFile settings;
    ScriptedQuestions questions;
    std::unique_ptr<VarnelWindow> window;
};

TEST_F(Documents, TypingEditsTheBufferAndSavingWritesItsBytes)
{
    const QString path = file(QStringLiteral("a.c"), "int x;\r\nint y;\r\n");
    CodeEditView &view = open(path);
    EXPECT_EQ(area().tabText(0), QStringLiteral("a.c"));
    view.setCaretPosition({1, 6});
    QTest::keyClicks(&view, QStringLiteral(" // y"));
    QTest::keyClick(&view, Qt::Key_Return);
    QTest::keyClicks(&view, QStringLiteral("z"));
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("int x;\nint y; // y\nz\n"));
    EXPECT_EQ(area().tabText(0), QStringLiteral("a.c*"));
    ASSERT_TRUE(area().save(&view));
    EXPECT_EQ(readFile(path), QByteArray("int x;\r\nint y; // y\r\nz\r\n"));   // the file's own line ending
    EXPECT_EQ(area().tabText(0), QStringLiteral("a.c"));
    EXPECT_TRUE(questions.told.isEmpty()) << questions.told.join(u'\n').toStdString();
}

struct UndoCase {
    const char *name;
    int undoMode;
    int steps;   // undo steps that typing "ab cd" makes
};

class UndoGroups : public Documents, public ::testing::WithParamInterface<UndoCase> {};

TEST_P(UndoGroups, TypingMergesAsTheUndoModeSaysAndUndoAllRestoresTheText)
{
    settings.setValue(QStringLiteral("Text Editor/Undo Mode"), QString::number(GetParam().undoMode));
    const QString path = file(QStringLiteral("u.txt"), "start\n");
    CodeEditView &view = open(path);
    view.setCaretPosition({0, 5});
    QTest::keyClicks(&view, QStringLiteral("ab cd"));
    EXPECT_EQ(view.edit().undoCount(), GetParam().steps);
    for (int step = 0; step < GetParam().steps; ++step)
        window->action(QStringLiteral("EditUndo"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("start\n"));
    EXPECT_FALSE(view.edit().isModified());
    window->action(QStringLiteral("EditRedoAll"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("startab cd\n"));
    window->action(QStringLiteral("EditUndoAll"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("start\n"));
}

INSTANTIATE_TEST_SUITE_P(Modes, UndoGroups,
                         ::testing::Values(UndoCase{"none", 0, 5}, UndoCase{"byWord", 1, 2}, UndoCase{"allTyping", 2, 1}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(Documents, KeysMoveAndSelectAndTheStatusTextFollows)
{
    CodeEditView &view = open(file(QStringLiteral("k.c"), "alpha beta\n\tgamma\n"));
    QTest::keyClick(&view, Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{0, 6}));
    QTest::keyClick(&view, Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(view.edit().statusText(), QStringLiteral("Lns 1 Chs 4"));
    QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_FALSE(view.edit().hasSelection());
    EXPECT_EQ(view.caretPosition().line, 1);
    QTest::keyClick(&view, Qt::Key_Home);   // to the first non-blank, then the line's start
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{1, 1}));
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{1, 0}));
    QTest::keyClick(&view, Qt::Key_Delete);
    QTest::keyClick(&view, Qt::Key_Tab);
    QTest::keyClick(&view, Qt::Key_Backspace);
    EXPECT_EQ(view.edit().buffer().text(1), QStringLiteral("gamma"));
    auto *pane = window->findChild<QLabel *>(QStringLiteral("ToggleCaretPositionStatusPane"));
    ASSERT_NE(pane, nullptr);
    EXPECT_EQ(pane->text(), QStringLiteral("Ln 2 Col 1"));
}

// Keys in a line of names separated by spaces: "S-End" is Shift+End, "C-Right" Ctrl+Right, and
// a name that is not a key is typed as text.
void pressKeys(QWidget *widget, const QString &keys)
{
    struct Named {
        const char *name;
        Qt::Key key;
    };
    constexpr Named names[] = {
        {"BS", Qt::Key_Backspace}, {"Del", Qt::Key_Delete}, {"Ret", Qt::Key_Return}, {"Tab", Qt::Key_Tab},
        {"Backtab", Qt::Key_Backtab}, {"Left", Qt::Key_Left}, {"Right", Qt::Key_Right}, {"Up", Qt::Key_Up},
        {"Down", Qt::Key_Down}, {"Home", Qt::Key_Home}, {"End", Qt::Key_End},
    };
    for (QString token : keys.split(u' ', Qt::SkipEmptyParts)) {
        Qt::KeyboardModifiers modifiers;
        if (token.startsWith(QLatin1String("S-"))) {
            modifiers |= Qt::ShiftModifier;
            token.remove(0, 2);
        } else if (token.startsWith(QLatin1String("C-"))) {
            modifiers |= Qt::ControlModifier;
            token.remove(0, 2);
        }
        const auto named = std::find_if(std::begin(names), std::end(names), [&](const Named &n) { return token == QLatin1String(n.name); });
        if (named != std::end(names))
            QTest::keyClick(widget, named->key, modifiers);
        else
            QTest::keyClicks(widget, token.replace(u'_', u' '));
    }
}

struct KeyCase {
    const char *name;
    const char *text;
    CodeEditBufferPosition caret;
    const char *keys;
    const char *expected;
    CodeEditBufferPosition expectedCaret;
};

class EditingKeys : public Documents, public ::testing::WithParamInterface<KeyCase> {};

TEST_P(EditingKeys, ChangeTheTextAndPutTheCaret)
{
    CodeEditView &view = open(file(QStringLiteral("keys.c"), GetParam().text));
    view.setCaretPosition(GetParam().caret);
    pressKeys(&view, QLatin1String(GetParam().keys));
    EXPECT_EQ(view.edit().buffer().toText(), QLatin1String(GetParam().expected));
    EXPECT_EQ(view.caretPosition(), GetParam().expectedCaret);
    // Every change undoes back to the file as it was read.
    view.undoAll();
    EXPECT_EQ(view.edit().buffer().toText(), QLatin1String(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Keys, EditingKeys, ::testing::Values(
    KeyCase{"backspaceJoinsLines", "ab\ncd", {1, 0}, "BS", "abcd", {0, 2}},
    KeyCase{"deleteJoinsLines", "ab\ncd", {0, 2}, "Del", "abcd", {0, 2}},
    KeyCase{"returnKeepsTheIndent", "    x", {0, 5}, "Ret y", "    x\n    y", {1, 5}},
    KeyCase{"tabTypesATab", "x", {0, 0}, "Tab", "\tx", {0, 1}},
    KeyCase{"backtabOutdents", "    x", {0, 2}, "Backtab", "x", {0, 0}},
    KeyCase{"typingReplacesTheSelection", "one two", {0, 4}, "S-End 2", "one 2", {0, 5}},
    KeyCase{"controlArrowsGoByWords", "alpha beta(gamma)", {0, 0}, "C-Right C-Right C-Right X", "alpha beta(Xgamma)", {0, 12}},
    KeyCase{"controlLeftSkipsSpaceThenWord", "alpha   beta", {0, 12}, "C-Left C-Left BS", "alpha   beta", {0, 0}},
    KeyCase{"shiftHomeSelectsToTheIndent", "  code", {0, 6}, "S-Home Del", "  ", {0, 2}},
    KeyCase{"upKeepsTheColumn", "long line\nab\nlong line", {2, 7}, "Up Up z", "long lizne\nab\nlong line", {0, 8}},
    KeyCase{"controlEndGoesToTheLastLine", "a\nb\nc", {0, 0}, "C-End !", "a\nb\nc!", {2, 2}},
    KeyCase{"backspaceAtTheStartDoesNothing", "a", {0, 0}, "BS", "a", {0, 0}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Documents, MouseClicksPlaceTheCaretAndSelectWordsAndLines)
{
    CodeEditView &view = open(file(QStringLiteral("m.c"), "first_word second\nline two\n"));
    QApplication::processEvents();
    const QFontMetrics metrics(view.font());
    const int charWidth = metrics.horizontalAdvance(u'M');
    // The gutter stands left of the text: find column 0 by clicking at the left edge.
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(view.viewport()->width() - 2, metrics.height() / 2));
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{0, 17}));   // past the end: the line's end
    view.setCaretPosition({0, 0});
    view.selectWord();
    EXPECT_EQ(view.edit().textBetween(view.edit().selectionAnchor(), view.edit().selectionEnd()), QStringLiteral("first_word"));
    const QPoint inSecond(view.viewport()->width() / 2 > 0 ? 0 : 0, metrics.height() + metrics.height() / 2);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(charWidth * 200, inSecond.y()));
    EXPECT_EQ(view.caretPosition().line, 1);
    view.selectLine();
    EXPECT_EQ(view.edit().textBetween(view.edit().selectionAnchor(), view.edit().selectionEnd()), QStringLiteral("line two\n"));
}

TEST_F(Documents, CutCopyPasteAndTheLineCommandsGoThroughTheActions)
{
    CodeEditView &view = open(file(QStringLiteral("c.c"), "one\ntwo\n"));
    view.selectLine();
    window->action(QStringLiteral("EditCut"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("two\n"));
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("one\n"));
    view.setCaretPosition({1, 0});
    window->action(QStringLiteral("EditPaste"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("two\none\n"));
    view.setCaretPosition({0, 0});
    window->action(QStringLiteral("EditDuplicateLine"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("two\ntwo\none\n"));
    window->action(QStringLiteral("EditToggleComment"))->trigger();
    EXPECT_EQ(view.edit().buffer().text(1), QStringLiteral("//two"));
    window->action(QStringLiteral("EditToggleComment"))->trigger();
    EXPECT_EQ(view.edit().buffer().text(1), QStringLiteral("two"));
    window->action(QStringLiteral("EditIndent"))->trigger();
    EXPECT_EQ(view.edit().buffer().text(1), QStringLiteral("    two"));
    window->action(QStringLiteral("EditOutdent"))->trigger();
    EXPECT_EQ(view.edit().buffer().text(1), QStringLiteral("two"));
    window->action(QStringLiteral("EditDeleteLine"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("two\none\n"));
    // Each command is one undo step.
    window->action(QStringLiteral("EditUndoAll"))->trigger();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("one\ntwo\n"));
    // A command this editor does not carry out stays disabled.
    window->updateGUI();
    EXPECT_FALSE(window->action(QStringLiteral("EditTabify"))->isEnabled());
    EXPECT_TRUE(window->action(QStringLiteral("EditUndo"))->isEnabled() == view.canUndo());
}

struct CommentCase {
    const char *name;
    const char *file;
    const char *commented;
};

class CommentsBySyntax : public Documents, public ::testing::WithParamInterface<CommentCase> {};

TEST_P(CommentsBySyntax, UseTheLanguagesOwnCommentAndUndoAsOneStep)
{
    CodeEditView &view = open(file(QLatin1String(GetParam().file), "code\n"));
    view.toggleComment();
    EXPECT_EQ(view.edit().buffer().text(0), QLatin1String(GetParam().commented));
    view.toggleComment();
    EXPECT_EQ(view.edit().buffer().text(0), QStringLiteral("code"));
    view.undo();
    view.undo();
    EXPECT_EQ(view.edit().undoCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, CommentsBySyntax, ::testing::Values(
    CommentCase{"c", "a.c", "//code"}, CommentCase{"python", "a.py", "#code"},
    CommentCase{"assembler", "a.s", ";code"}, CommentCase{"xml", "a.xml", "<!--code-->"},
    CommentCase{"plainText", "a.txt", "//code"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Documents, FindWrapsAroundAndGoToLineMovesTheCaret)
{
    CodeEditView &view = open(file(QStringLiteral("f.c"), "x = Needle;\ny = 0;\nz = needle;\n"));
    view.setCaretPosition({1, 0});
    ASSERT_TRUE(view.find(QStringLiteral("needle"), true, true));
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{2, 10}));
    ASSERT_TRUE(view.find(QStringLiteral("needle"), true, false));   // wraps to the first line
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{0, 10}));
    EXPECT_FALSE(view.find(QStringLiteral("haystack"), true, false));
    ASSERT_TRUE(view.find(QStringLiteral("needle"), false, false));   // backwards, wrapping to the end
    EXPECT_EQ(view.caretPosition().line, 2);
    view.goToLine(2);
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{1, 0}));
    view.goToLine(1000);
    EXPECT_EQ(view.caretPosition().line, 3);
}

// Every byte value, so the file holds NULs, lone CRs, CR LFs and LFs: mixed line endings.
QByteArray binaryBytes()
{
    QByteArray bytes;
    for (int i = 0; i < 4096; ++i)
        bytes.append(char((i * 37 + 11) & 0xff));
    return bytes + QByteArray("\r\n\0\0\xff\xfe\r", 7);
}

TEST_F(Documents, TheFindBarAndTheToolBarFieldSearchTheCurrentDocument)
{
    CodeEditView &view = open(file(QStringLiteral("t.c"), "alpha\nbeta\nalpha beta\n"));
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    area().showFind();
    auto *bar = window->findChild<QLineEdit *>(QStringLiteral("FindBarText"));
    ASSERT_NE(bar, nullptr);
    bar->setText(QStringLiteral("beta"));
    QTest::keyClick(bar, Qt::Key_Return);
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{1, 4}));
    QComboBox *combo = nullptr;
    for (QComboBox *each : window->findChildren<QComboBox *>(QStringLiteral("FindText"))) {
        if (each->isVisible())
            combo = each;
    }
    ASSERT_NE(combo, nullptr);
    combo->setFocus();
    ASSERT_TRUE(waitFor([&] { return combo->hasFocus(); }));
    combo->lineEdit()->setText(QStringLiteral("alpha"));
    QTest::keyClick(combo, Qt::Key_Return);
    EXPECT_EQ(view.caretPosition(), (CodeEditBufferPosition{2, 5}));
}

TEST_F(Documents, ABinaryFileShowsAndIsNotRewrittenBySavingItUnedited)
{
    const QByteArray bytes = binaryBytes();
    const QString path = file(QStringLiteral("blob.bin"), bytes);
    CodeEditView &view = open(path);
    view.grab();   // paints, NULs and all
    EXPECT_GT(view.linesPaintedLastTime(), 0);
    EXPECT_TRUE(view.edit().isModified());   // the mixed line endings
    ASSERT_TRUE(area().save(&view));
    EXPECT_EQ(readFile(path), bytes);
    EXPECT_FALSE(view.edit().isModified());
}

TEST_F(Documents, AnEditedBinaryFileSavesItsBytesWithTheEdit)
{
    QByteArray bytes = binaryBytes();
    bytes.replace('\r', '\x01');   // one kind of line ending, so only the edit changes bytes
    const QString path = file(QStringLiteral("blob.bin"), bytes);
    CodeEditView &view = open(path);
    view.setCaretPosition({0, 0});
    QTest::keyClicks(&view, QStringLiteral("A"));
    ASSERT_TRUE(area().save(&view));
    EXPECT_EQ(readFile(path), QByteArray("A") + bytes);
}

TEST_F(Documents, AFileDeletedWhileOpenKeepsItsTextAndSavesAgain)
{
    const QString path = file(QStringLiteral("gone.c"), "keep me\n");
    CodeEditView &view = open(path);
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(waitFor([&] { return view.edit().isModified(); }));
    EXPECT_EQ(area().tabText(0), QStringLiteral("gone.c*"));
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("keep me\n"));
    ASSERT_TRUE(area().save(&view));
    EXPECT_EQ(readFile(path), QByteArray("keep me\n"));
}

TEST_F(Documents, AFileMadeReadOnlyRefusesEditsAndIsNotOverwritten)
{
    const QString path = file(QStringLiteral("ro.c"), "original\n");
    CodeEditView &view = open(path);
    view.setCaretPosition({0, 0});
    QTest::keyClicks(&view, QStringLiteral("new "));
    ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser | QFile::ReadGroup | QFile::ReadOther));
    ASSERT_TRUE(waitFor([&] { return view.edit().isReadOnly(); }));
    QTest::keyClicks(&view, QStringLiteral("more "));
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("new original\n"));
    EXPECT_FALSE(area().save(&view));
    ASSERT_EQ(questions.told.size(), 1);
    EXPECT_TRUE(questions.told[0].contains(QStringLiteral("ro.c is read-only"))) << questions.told[0].toStdString();
    EXPECT_EQ(readFile(path), QByteArray("original\n"));
    EXPECT_TRUE(view.edit().isModified());
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
}

TEST_F(Documents, ASaveIntoAVanishedFolderSaysWhyAndKeepsTheBuffer)
{
    QDir(folder.path()).mkdir(QStringLiteral("sub"));
    const QString path = file(QStringLiteral("sub/v.c"), "old\n");
    CodeEditView &view = open(path);
    view.setCaretPosition({0, 3});
    QTest::keyClicks(&view, QStringLiteral(" text"));
    ASSERT_TRUE(QDir(folder.path() + QStringLiteral("/sub")).removeRecursively());
    QApplication::processEvents();
    EXPECT_FALSE(area().save(&view));
    ASSERT_FALSE(questions.told.isEmpty());
    EXPECT_TRUE(questions.told.last().contains(QStringLiteral("Can't open %1 for writing").arg(path))) << questions.told.last().toStdString();
    EXPECT_EQ(view.edit().buffer().toText(), QStringLiteral("old text\n"));
    EXPECT_TRUE(view.edit().isModified());
}

TEST_F(Documents, AnUnmodifiedDocumentReloadsSilentlyAndAModifiedOneAsks)
{
    const QString path = file(QStringLiteral("r.c"), "1\n2\n3\n4\n");
    CodeEditView &view = open(path);
    view.setCaretPosition({2, 1});
    QTest::qWait(20);   // a different modification time
    writeFile(path, "one\ntwo\nthree\nfour\nfive\n");
    ASSERT_TRUE(waitFor([&] { return view.edit().buffer().text(0) == QLatin1String("one"); }));
    EXPECT_EQ(view.caretPosition().line, 2);
    EXPECT_TRUE(questions.asked.isEmpty());
    QTest::keyClicks(&view, QStringLiteral("X"));
    questions.answer = QStringLiteral("Keep My Changes");
    QTest::qWait(20);
    writeFile(path, "other\n");
    ASSERT_TRUE(waitFor([&] { return !questions.asked.isEmpty(); }));
    EXPECT_EQ(view.edit().buffer().text(2), QStringLiteral("Xthree"));
}

TEST_F(Documents, ClosingAModifiedDocumentAsksAndCancelKeepsIt)
{
    const QString path = file(QStringLiteral("q.c"), "q\n");
    CodeEditView &view = open(path);
    QTest::keyClicks(&view, QStringLiteral("x"));
    questions.answer = QStringLiteral("Cancel");
    EXPECT_FALSE(area().closeDocument(&view));
    EXPECT_EQ(area().count(), 1);
    ASSERT_EQ(questions.asked.size(), 1);
    EXPECT_EQ(questions.asked[0], QStringLiteral("File %1 is modified").arg(path));
    questions.answer = QStringLiteral("Discard");
    EXPECT_TRUE(area().closeDocument(&view));
    EXPECT_EQ(area().count(), 0);
    EXPECT_EQ(readFile(path), QByteArray("q\n"));
    EXPECT_EQ(window->documents()->currentEditor(), nullptr);
}

TEST_F(Documents, AnEditedDocumentGoesToItsRecoveryFileAndASaveRemovesIt)
{
    const QString path = file(QStringLiteral("rec.c"), "saved\n");
    CodeEditView &view = open(path);
    view.setCaretPosition({0, 5});
    QTest::keyClicks(&view, QStringLiteral(" edited"));
    area().writeRecoveries();
    const QString recovery = view.edit().recoveryPath();
    ASSERT_TRUE(QFileInfo::exists(recovery)) << recovery.toStdString();
    EXPECT_EQ(readFile(recovery), QByteArray("saved edited\n"));
    ASSERT_TRUE(area().save(&view));
    EXPECT_FALSE(QFileInfo::exists(recovery));
}

TEST_F(Documents, ClosingAModifiedNewDocumentAsksByItsTitle)
{
    CodeEditView *view = area().newDocument();
    QTest::keyClicks(view, QStringLiteral("draft"));
    questions.answer = QStringLiteral("Cancel");
    EXPECT_FALSE(area().closeDocument(view));
    ASSERT_EQ(questions.asked.size(), 1);
    EXPECT_EQ(questions.asked[0], QStringLiteral("File Untitled 1 is modified"));
    questions.answer = QStringLiteral("Discard");
    EXPECT_TRUE(area().closeDocument(view));
    EXPECT_EQ(area().count(), 0);
}

TEST_F(Documents, OpeningTheSameFileTwiceBringsItsTabForwardAtTheLine)
{
    const QString a = file(QStringLiteral("a.c"), "a\n");
    const QString b = file(QStringLiteral("b.c"), "b1\nb2\nb3\n");
    open(a);
    open(b);
    ASSERT_TRUE(area().openDocument(a));
    EXPECT_EQ(area().currentIndex(), 0);
    ASSERT_TRUE(window->documents()->openDocument(b, 3, 2));
    EXPECT_EQ(area().count(), 2);
    EXPECT_EQ(area().currentView()->caretPosition(), (CodeEditBufferPosition{2, 1}));
    EXPECT_EQ(window->documents()->openPaths(), (QStringList{a, b}));
    EXPECT_EQ(window->documents()->currentText(), QStringLiteral("b1\nb2\nb3\n"));
    EXPECT_FALSE(area().openDocument(folder.path() + QStringLiteral("/missing.c")));
    EXPECT_EQ(area().count(), 2);
    window->action(QStringLiteral("EditorNextTab"))->trigger();
    EXPECT_EQ(area().currentIndex(), 0);
}

TEST_F(Documents, TheSessionBringsBackDocumentsCaretsAndTheCurrentTab)
{
    const QString solution = folder.path() + QStringLiteral("/S.qvProject");
    const QString a = file(QStringLiteral("a.c"), "a1\na2\na3\n");
    const QString b = file(QStringLiteral("b.c"), "b1\nb2\n");
    open(a).setCaretPosition({2, 1});
    open(b).setCaretPosition({1, 0});
    area().setCurrentIndex(0);
    ASSERT_TRUE(area().writeSession(solution));
    EXPECT_TRUE(QFileInfo::exists(folder.path() + QStringLiteral("/S.qvSession")));
    area().closeAll(true);
    window.reset();
    makeWindow();
    ASSERT_TRUE(area().restoreSession(solution));
    ASSERT_EQ(area().count(), 2);
    EXPECT_EQ(area().pathOf(area().view(0)), a);
    EXPECT_EQ(area().pathOf(area().view(1)), b);
    EXPECT_EQ(area().currentIndex(), 0);
    EXPECT_EQ(area().view(0)->caretPosition(), (CodeEditBufferPosition{2, 1}));
    EXPECT_EQ(area().view(1)->caretPosition(), (CodeEditBufferPosition{1, 0}));
}

struct DamagedSession {
    const char *name;
    QByteArray bytes;
};

class DamagedSessions : public Documents, public ::testing::WithParamInterface<DamagedSession> {};

TEST_P(DamagedSessions, AreIgnoredAndTheWindowGoesOn)
{
    const QString solution = folder.path() + QStringLiteral("/D.qvProject");
    writeFile(folder.path() + QStringLiteral("/D.qvSession"), GetParam().bytes);
    EXPECT_FALSE(area().restoreSession(solution));
    EXPECT_EQ(area().count(), 0);
    CodeEditView &view = open(file(QStringLiteral("ok.c"), "ok\n"));
    EXPECT_EQ(view.edit().buffer().text(0), QStringLiteral("ok"));
}

INSTANTIATE_TEST_SUITE_P(Files, DamagedSessions,
                         ::testing::Values(DamagedSession{"empty", ""}, DamagedSession{"notXml", "\x01\x02garbage"},
                                           DamagedSession{"otherRoot", "<solution/>"},
                                           DamagedSession{"truncated", "<session><document path=\"a.c\" line=\"1\""}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(Documents, TheExampleSolutionKeepsItsSessionAcrossCloseAndOpen)
{
    // A copy of the example solution, so the session file lands in the test's folder.
    const QString source = QStringLiteral(TESS_SOURCE_DIR "/examples/solution");
    const QString copy = folder.path() + QStringLiteral("/solution");
    ASSERT_TRUE(TestSupport::runProgram(QStringLiteral("cp"), {QStringLiteral("-R"), source, copy}).exitCode == 0);
    const QString solution = copy + QStringLiteral("/Blinky.qvProject");
    const QString main = QDir(copy + QStringLiteral("/src")).entryInfoList({QStringLiteral("*.c")}).value(0).absoluteFilePath();
    ASSERT_FALSE(main.isEmpty());
    ASSERT_TRUE(window->openSolution(solution));
    CodeEditView &view = open(main);
    view.setCaretPosition({3, 2});
    const CodeEditBufferPosition caret = view.caretPosition();
    window->closeSolution();
    EXPECT_EQ(area().count(), 0);   // the solution's documents close with it
    ASSERT_TRUE(QFileInfo::exists(copy + QStringLiteral("/Blinky.qvSession")));
    ASSERT_TRUE(window->openSolution(solution));
    ASSERT_EQ(area().count(), 1);
    EXPECT_EQ(area().currentPath(), main);
    EXPECT_EQ(area().currentView()->caretPosition(), caret);
}

// The painted window holds the colours of the classes in the example file; the picture is kept
// in the build tree's screenshots folder for a look.
TEST_F(Documents, PaintsTheSyntaxColoursOfACFile)
{
    CodeEditView &view = open(QStringLiteral(TESS_SOURCE_DIR "/examples/shell/hello.c"));
    view.goToLine(9);
    view.selectWord();
    area().showFind();
    QApplication::processEvents();
    const QImage picture = window->grab().toImage();
    QDir().mkpath(QStringLiteral(TESS_BUILD_DIR "/screenshots"));
    picture.save(QStringLiteral(TESS_BUILD_DIR "/screenshots/editor-view.png"));
    const QImage text = view.viewport()->grab().toImage();
    QSet<QRgb> colours;
    for (int y = 0; y < text.height(); ++y) {
        for (int x = 0; x < text.width(); ++x)
            colours.insert(text.pixel(x, y) | 0xff000000);
    }
    for (const QRgb wanted : {QRgb(0xff1a3fb0), QRgb(0xff2e7d32), QRgb(0xff9c6500), QRgb(0xffb3d4fc), QRgb(0xffffcdd2)})
        EXPECT_TRUE(colours.contains(wanted)) << std::hex << wanted;
}

TEST_F(Documents, ClosingTheWindowAsksAboutEditsAndWritesTheSession)
{
    const QString copy = folder.path() + QStringLiteral("/solution");
    ASSERT_EQ(TestSupport::runProgram(QStringLiteral("cp"), {QStringLiteral("-R"), QStringLiteral(TESS_SOURCE_DIR "/examples/solution"), copy}).exitCode, 0);
    ASSERT_TRUE(window->openSolution(copy + QStringLiteral("/Blinky.qvProject")));
    const QString path = file(QStringLiteral("w.c"), "w\n");
    CodeEditView &view = open(path);
    QTest::keyClicks(&view, QStringLiteral("edit "));
    questions.answer = QStringLiteral("Cancel");
    EXPECT_FALSE(window->close());
    EXPECT_EQ(area().count(), 1);
    questions.answer = QStringLiteral("Discard");
    EXPECT_TRUE(window->close());
    EXPECT_EQ(readFile(path), QByteArray("w\n"));
    const QByteArray session = readFile(copy + QStringLiteral("/Blinky.qvSession"));
    EXPECT_TRUE(session.contains("w.c")) << session.constData();
}

TEST_F(Documents, OnlyTheLinesInSightArePaintedOnABigFile)
{
    QByteArray text;
    for (int line = 0; line < 200000; ++line)
        text += "int value" + QByteArray::number(line) + " = " + QByteArray::number(line) + "; /* comment */\n";
    CodeEditView &view = open(file(QStringLiteral("big.c"), text));
    view.resize(600, 300);
    view.grab();
    const int visible = view.visibleLines();
    EXPECT_LT(visible, 40);
    EXPECT_EQ(view.firstLinePaintedLastTime(), 0);
    EXPECT_LE(view.linesPaintedLastTime(), visible + 1);
    view.setTopLine(150000);
    view.grab();
    EXPECT_EQ(view.firstLinePaintedLastTime(), 150000);
    EXPECT_LE(view.linesPaintedLastTime(), visible + 1);
    view.setCaretPosition({199999, 0});
    QTest::keyClick(&view, Qt::Key_PageUp);
    EXPECT_EQ(view.caretPosition().line, 199999 - (visible - 1));
}

TEST_F(Documents, TheFileCommandsWorkThroughTheWindowActions)
{
    window->updateGUI();
    EXPECT_FALSE(window->action(QStringLiteral("FileSave"))->isEnabled());   // no document
    window->action(QStringLiteral("FileNewBlankFile"))->trigger();
    ASSERT_EQ(area().count(), 1);
    EXPECT_EQ(area().tabText(0), QStringLiteral("Untitled 1"));
    window->updateGUI();
    EXPECT_TRUE(window->action(QStringLiteral("FileSave"))->isEnabled());
    const QString path = folder.path() + QStringLiteral("/new.c");
    QTest::keyClicks(area().currentView(), QStringLiteral("int n;"));
    ASSERT_TRUE(area().saveAs(area().currentView(), path));
    EXPECT_EQ(readFile(path), QByteArray("int n;"));
    EXPECT_EQ(area().tabText(0), QStringLiteral("new.c"));
    EXPECT_EQ(area().currentView()->syntaxName(), QStringLiteral("c"));
    window->openPaths({file(QStringLiteral("other.txt"), "x\n")});
    EXPECT_EQ(area().count(), 2);
    window->action(QStringLiteral("WindowCloseAll"))->trigger();
    QApplication::processEvents();   // the close commands run after the event that chose them
    EXPECT_TRUE(waitFor([&] { return area().count() == 0; }));
}

} // namespace

// The program itself, started with a source file: it opens it in a tab and paints it.
TEST(EditorProgram, TessmarkOpensAFileGivenOnItsCommandLine)
{
    ShellTest::TemporaryHome home;
    const QString picture = home.path() + QStringLiteral("/shot.png");
    const TestSupport::ProgramRun run = TestSupport::runProgram(
        TestSupport::binPath(QStringLiteral("tessmark")),
        {QStringLiteral("--new-instance"), QStringLiteral("--screenshot=") + picture, QStringLiteral(TESS_SOURCE_DIR "/examples/shell/hello.c")},
        {}, {}, {QStringLiteral("QT_QPA_PLATFORM=offscreen")});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_FALSE(run.err.contains("is not opened")) << run.err.constData();
    const QImage image(picture);
    ASSERT_FALSE(image.isNull());
    // The keyword colour of the editor shows somewhere in the window.
    bool keyword = false;
    for (int y = 0; y < image.height() && !keyword; ++y) {
        for (int x = 0; x < image.width() && !keyword; ++x)
            keyword = (image.pixel(x, y) | 0xff000000) == 0xff1a3fb0;
    }
    EXPECT_TRUE(keyword);
}
