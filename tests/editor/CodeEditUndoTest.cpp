#include "EditorTestSupport.h"
#include <gtest/gtest.h>

namespace {

using Steps = std::vector<std::string>;

struct TypingCase {
    const char *name;
    int mode;
    Steps steps;   // most recent first
};

class TypingMerge : public ::testing::TestWithParam<TypingCase> {};

TEST_P(TypingMerge, GroupsKeystrokesAsTheUndoModeSays)
{
    Document document(QString(), GetParam().mode);
    document.type(QStringLiteral("ab cd"));
    EXPECT_EQ(document.text(), "ab cd");
    EXPECT_EQ(document.undoSteps(), GetParam().steps);
    document.edit.undoAll();
    EXPECT_EQ(document.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Modes, TypingMerge, ::testing::Values(
    TypingCase{"none", 0, {"Typing: Insert \"d\"", "Typing: Insert \"c\"", "Typing: Insert \" \"",
                           "Typing: Insert \"b\"", "Typing: Insert \"a\""}},
    TypingCase{"byWord", 1, {"Typing: Insert \" \" | Insert \"c\" | Insert \"d\"",
                             "Typing: Insert \"a\" | Insert \"b\""}},
    TypingCase{"allTyping", 2, {"Typing: Insert \"a\" | Insert \"b\" | Insert \" \" | Insert \"c\" | Insert \"d\""}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TypingMergeBreaks, CaretMovedBetweenKeystrokesStartsANewStep)
{
    Document document(QStringLiteral("xy"), 2);
    document.edit.setCaret({0, 0});
    document.type(QStringLiteral("a"));
    document.edit.setCaret({0, 3});
    document.type(QStringLiteral("b"));
    EXPECT_EQ(document.text(), "axyb");
    EXPECT_EQ(document.undoSteps(), (Steps{"Typing: Insert \"b\"", "Typing: Insert \"a\""}));
}

TEST(TypingMergeBreaks, LineBreakAndSelectionStartNewSteps)
{
    Document document(QString(), 2);
    document.type(QStringLiteral("ab\ncd"));
    EXPECT_EQ(document.undoSteps(), (Steps{"Typing: Insert \"c\" | Insert \"d\"", "Typing: Insert \"\n\"",
                                          "Typing: Insert \"a\" | Insert \"b\""}));
    document.edit.setSelection({1, 0}, {1, 2}, SelectionStream);
    document.type(QStringLiteral("Z"));
    EXPECT_EQ(document.text(), "ab\nZ");
    EXPECT_EQ(document.undoSteps().front(), "Typing: Delete \"cd\" | Insert \"Z\"");
}

TEST(TypingMergeBreaks, NothingMergesWhileRedoIsPossible)
{
    Document document(QString(), 2);
    document.type(QStringLiteral("ab"));
    document.type(QStringLiteral("c"));
    document.edit.undo();
    document.edit.setCaret({0, 2});
    document.type(QStringLiteral("d"));
    EXPECT_EQ(document.undoSteps(), (Steps{"Typing: Insert \"d\""}));
}

TEST(VirtualSpace, FillerIsRecordedSeparatelyAndUndoneWithTheText)
{
    Document document(QStringLiteral("ab"));
    document.edit.beginOperation(0, KindPaste);
    document.edit.insertText({2, 4}, QStringLiteral("x"), true);
    document.edit.endOperation(0);
    EXPECT_EQ(document.text(), "ab\n\n    x");
    EXPECT_EQ(document.undoSteps(), (Steps{"Paste: Insert \"\n\n\" | Insert \"    \" | Insert \"x\""}));
    document.edit.undo();
    EXPECT_EQ(document.text(), "ab");
    document.edit.redo();
    EXPECT_EQ(document.text(), "ab\n\n    x");
}

TEST(VirtualSpace, TabFillerReachesTheSameScreenColumn)
{
    Document document(QStringLiteral("ab"));
    CodeEditSettings settings;
    settings.insertTabs = true;
    settings.tabSize = 4;
    document.edit.setSettings(settings);
    document.edit.insertText({0, 9}, QStringLiteral("x"), true);
    EXPECT_EQ(document.text(), "ab\t\t x");   // seven columns on from 2: tabs to 4 and 8, a space to 9
}

TEST(Operations, AnEmptyOperationLeavesBothListsAlone)
{
    Document document(QStringLiteral("abc"));
    document.edit.deleteText({0, 0}, {0, 1}, true);
    document.edit.undo();
    ASSERT_EQ(document.edit.redoCount(), 1);
    document.edit.beginOperation(0, KindDelete);
    document.edit.deleteText({0, 1}, {0, 1}, true);
    document.edit.endOperation(0);
    EXPECT_EQ(document.edit.undoCount(), 0);
    EXPECT_EQ(document.edit.redoCount(), 1);
}

TEST(Operations, RestorePointsAloneStillMakeAStep)
{
    Document document(QStringLiteral("abc"));
    document.edit.setCaret({0, 2});
    document.edit.setSelection({0, 0}, {0, 2}, SelectionBlock);
    document.edit.beginOperation(0, KindMove);
    document.edit.record(std::make_unique<CodeEditCaretRestorePointAction>(document.edit.caret()));
    document.edit.record(std::make_unique<CodeEditSelectionRestorePointAction>(
        document.edit.selectionAnchor(), document.edit.selectionEnd(), document.edit.selectionMode()));
    document.edit.endOperation(0);
    EXPECT_EQ(document.undoSteps(), (Steps{"Move: Caret positioned at 0, 2 | Text Selected"}));
    document.edit.clearSelection();
    document.edit.setCaret({0, 0});
    document.edit.undo();
    EXPECT_EQ(document.edit.caret(), (CodeEditBufferPosition{0, 2}));
    EXPECT_EQ(document.edit.selectionMode(), SelectionBlock);
    EXPECT_EQ(document.edit.selectionEnd(), (CodeEditBufferPosition{0, 2}));
}

TEST(Operations, NestedOperationsMakeOneStepNamedByTheOutermost)
{
    Document document(QStringLiteral("abc"));
    document.edit.beginOperation(0, KindIndent);
    document.edit.beginOperation(0, KindDelete);
    document.edit.deleteText({0, 0}, {0, 1}, true);
    document.edit.endOperation(0);
    document.edit.insertText({0, 0}, QStringLiteral("  "), true);
    document.edit.endOperation(0);
    EXPECT_EQ(document.undoSteps(), (Steps{"Indent: Delete \"a\" | Insert \"  \""}));
}

TEST(Operations, AChangeClearsTheRedoList)
{
    Document document(QStringLiteral("abc"));
    document.edit.deleteText({0, 0}, {0, 1}, true);
    document.edit.undo();
    document.edit.insertText({0, 0}, QStringLiteral("z"), true);
    EXPECT_EQ(document.edit.redoCount(), 0);
}

struct DescriptionCase {
    const char *name;
    std::shared_ptr<CodeEditAction> action;
    const char *description;
};

class ActionDescription : public ::testing::TestWithParam<DescriptionCase> {};

TEST_P(ActionDescription, ShowsAtMostTenCharacters)
{
    EXPECT_EQ(GetParam().action->description().toStdString(), GetParam().description);
}

INSTANTIATE_TEST_SUITE_P(Actions, ActionDescription, ::testing::Values(
    DescriptionCase{"insertShort", std::make_shared<CodeEditInsertAction>(QStringLiteral("0123456789"), CodeEditBufferPosition{}, CodeEditBufferPosition{}), "Insert \"0123456789\""},
    DescriptionCase{"insertLong", std::make_shared<CodeEditInsertAction>(QStringLiteral("0123456789A"), CodeEditBufferPosition{}, CodeEditBufferPosition{}), "Insert \"0123456789...\""},
    DescriptionCase{"delete", std::make_shared<CodeEditDeleteAction>(QStringLiteral("a\nb"), CodeEditBufferPosition{}, CodeEditBufferPosition{}), "Delete \"a\nb\""},
    DescriptionCase{"replace", std::make_shared<CodeEditReplaceAction>(QStringLiteral("old text here"), QStringLiteral("new"), CodeEditBufferPosition{}), "Replace \"old text h...\""},
    DescriptionCase{"caret", std::make_shared<CodeEditCaretRestorePointAction>(CodeEditBufferPosition{12, 3}), "Caret positioned at 12, 3"},
    DescriptionCase{"selection", std::make_shared<CodeEditSelectionRestorePointAction>(CodeEditBufferPosition{}, CodeEditBufferPosition{}, 0), "Text Selected"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TransactionLabels, FollowTheKind)
{
    const std::vector<std::pair<int, const char *>> labels = {
        {0, "Macro"}, {1, "Cut"}, {2, "Paste"}, {3, "Delete"}, {4, "Move"}, {5, "Copy"},
        {6, "Indent"}, {7, "Outdent"}, {8, "Typing"}, {9, "Typing"}, {10, "Make Uppercase"},
        {11, "Make Lowercase"}, {12, "Switch Case"}, {13, "Comment"}, {14, "Uncomment"},
        {15, "Sort Ascending"}, {16, "Sort Descending"}, {17, "Transpose Lines"},
        {18, "Transpose Words"}, {19, "Template Expansion"}, {20, "Tabify"}, {21, "Untabify"},
        {22, "Align"}, {23, "Macro"}, {24, "Macro"}, {-1, "Macro"}};
    for (const auto &[kind, label] : labels)
        EXPECT_EQ(CodeEditTransaction::labelOf(kind).toStdString(), label) << kind;
}

TEST(ReplaceAction, UndoAndRedoSwapTheTextsWithinTheLine)
{
    Document document(QStringLiteral("one two three"));
    document.edit.replaceText({0, 4}, 3, QStringLiteral("2"), true);
    EXPECT_EQ(document.text(), "one 2 three");
    document.edit.undo();
    EXPECT_EQ(document.text(), "one two three");
    EXPECT_EQ(document.edit.caret(), (CodeEditBufferPosition{0, 4}));
    document.edit.redo();
    EXPECT_EQ(document.text(), "one 2 three");
    EXPECT_EQ(document.edit.caret(), (CodeEditBufferPosition{0, 5}));
}

TEST(UndoCommands, StopQuietlyAtEitherEndAndNeverRecord)
{
    Document document(QStringLiteral("abc"));
    document.edit.undo();
    document.edit.redo();
    EXPECT_EQ(document.text(), "abc");
    document.edit.insertText({0, 3}, QStringLiteral("d"), true);
    document.edit.insertText({0, 0}, QStringLiteral("\n"), true);
    document.edit.undo();
    EXPECT_EQ(document.edit.undoCount(), 1);
    EXPECT_EQ(document.edit.redoCount(), 1);
    document.edit.redo();
    document.edit.redo();
    EXPECT_EQ(document.edit.undoCount(), 2);
    EXPECT_EQ(document.edit.redoCount(), 0);
    EXPECT_EQ(document.text(), "\nabcd");
}

TEST(UndoCommands, UndoAllAndRedoAllReportTheirCounts)
{
    Document document(QStringLiteral("abc"), 0);
    QStringList messages;
    QObject::connect(&document.edit, &CodeEdit::statusMessage, [&](const QString &m) { messages.append(m); });
    document.type(QStringLiteral("xyz"));
    EXPECT_EQ(document.edit.undoAll(), 3);
    EXPECT_EQ(document.text(), "abc");
    EXPECT_EQ(document.edit.redoAll(), 3);
    EXPECT_EQ(document.text(), "xyzabc");
    EXPECT_EQ(document.edit.undoCount(), 3);
    EXPECT_EQ(messages, (QStringList{QStringLiteral("Undone 3 actions"), QStringLiteral("Redone 3 actions")}));
}

TEST(ModifiedState, IsTheSavedTopAndNothingElse)
{
    Document document(QStringLiteral("abc"), 0);
    document.type(QStringLiteral("12"));
    document.edit.setUnmodified();
    document.type(QStringLiteral("34"));
    std::vector<bool> seen;
    for (int i = 0; i < 4; ++i) {
        seen.push_back(document.edit.isModified());
        document.edit.undo();
    }
    seen.push_back(document.edit.isModified());
    for (int i = 0; i < 4; ++i) {
        document.edit.redo();
        seen.push_back(document.edit.isModified());
    }
    // Tops from "1234abc" down to "abc" and back up; saved at "12abc".
    EXPECT_EQ(seen, (std::vector<bool>{true, true, false, true, true, true, false, true, true}));
}

TEST(ModifiedState, TypingMergedAfterASaveIsAChange)
{
    Document document(QString(), 2);
    document.type(QStringLiteral("ab"));
    document.edit.setUnmodified();
    document.type(QStringLiteral("c"));
    EXPECT_EQ(document.edit.undoCount(), 1);
    EXPECT_TRUE(document.edit.isModified());
}

TEST(ModifiedState, ASavePointLostWithTheRedoListNeverComesBack)
{
    Document document(QStringLiteral("abc"), 0);
    document.type(QStringLiteral("x"));
    document.edit.setUnmodified();
    document.edit.undo();
    document.type(QStringLiteral("y"));   // the saved step is deleted with the redo list
    EXPECT_TRUE(document.edit.isModified());
    document.edit.undo();
    EXPECT_TRUE(document.edit.isModified());
}

TEST(ModifiedState, ForceModifiedHoldsUntilSaved)
{
    Document document(QStringLiteral("abc"));
    document.edit.setForceModified(true);
    EXPECT_TRUE(document.edit.isModified());
    document.edit.setUnmodified();
    EXPECT_FALSE(document.edit.isModified());
}

TEST(LinesChangedSignal, InsertionAndDeletionUseTheirOwnBases)
{
    Document document(QStringLiteral("l0\nl1\nl2\nl3\nl4"));
    std::vector<std::pair<int, int>> changes;
    QObject::connect(&document.edit, &CodeEdit::numberOfLinesChanged,
                     [&](int line, int delta) { changes.emplace_back(line, delta); });
    document.edit.insertText({2, 1}, QStringLiteral("a\nb\nc"), true);
    document.edit.insertText({0, 0}, QStringLiteral("no break"), true);
    document.edit.deleteText({1, 0}, {4, 1}, true);
    document.edit.undo();   // replayed changes move the lines back
    EXPECT_EQ(changes, (std::vector<std::pair<int, int>>{{3, 2}, {3, -3}, {2, 3}}));
}

struct CaretCase {
    const char *name;
    CodeEditBufferPosition wanted;
    bool keepVirtual;
    int visibleLines;
    CodeEditBufferPosition caret;
};

class CaretSetting : public ::testing::TestWithParam<CaretCase> {};

TEST_P(CaretSetting, ClampsToTheText)
{
    Document document(QStringLiteral("abc\nde\nf"));
    document.edit.setVisibleLines(GetParam().visibleLines);
    document.edit.setCaret(GetParam().wanted, GetParam().keepVirtual);
    EXPECT_EQ(document.edit.caret(), GetParam().caret);
}

INSTANTIATE_TEST_SUITE_P(Positions, CaretSetting, ::testing::Values(
    CaretCase{"inside", {1, 1}, false, 20, {1, 1}},
    CaretCase{"negative", {-3, -2}, false, 20, {0, 0}},
    CaretCase{"pastLine", {1, 9}, false, 20, {1, 2}},
    CaretCase{"pastText", {9, 9}, false, 20, {2, 1}},
    CaretCase{"virtualKeepsColumn", {1, 9}, true, 20, {1, 9}},
    CaretCase{"virtualBelowText", {9, 0}, true, 20, {9, 0}},
    CaretCase{"virtualLimitedByView", {40, 0}, true, 10, {11, 0}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(StatusText, ShowsCaretOrSelection)
{
    Document document(QStringLiteral("abc\ndef\nghi"));
    document.edit.setCaret({1, 2});
    EXPECT_EQ(document.edit.statusText(), QStringLiteral("Ln 2 Col 3"));
    document.edit.setSelection({0, 1}, {2, 1}, SelectionStream);
    EXPECT_EQ(document.edit.statusText(), QStringLiteral("Lns 3 Chs 8"));
    document.edit.setSelection({0, 1}, {2, 3}, SelectionBlock);
    EXPECT_EQ(document.edit.statusText(), QStringLiteral("Lns 3 Cols 2"));
}

TEST(ReadOnly, LockedDocumentsRefuseSilently)
{
    Document document(QStringLiteral("abc"));
    int requests = 0;
    QObject::connect(&document.edit, &CodeEdit::readOnlyFileEdit, [&] { ++requests; });
    document.edit.setReadOnly(2, true);
    document.edit.setReadOnly(0, false);   // mode 2 stays without force
    document.type(QStringLiteral("x"));
    document.edit.insertText({0, 0}, QStringLiteral("y"), true);
    EXPECT_EQ(document.text(), "abc");
    EXPECT_EQ(requests, 0);
    EXPECT_FALSE(document.edit.isEditable());
}

TEST(ReadOnly, AReadOnlyDocumentAsksAndGoesOnWhenMadeWritable)
{
    Document document(QStringLiteral("abc"));
    document.edit.setReadOnly(1, false);
    int requests = 0;
    QObject::connect(&document.edit, &CodeEdit::readOnlyFileEdit, [&] { ++requests; });
    document.edit.insertText({0, 0}, QStringLiteral("x"), true);
    EXPECT_EQ(document.text(), "abc");
    EXPECT_EQ(requests, 1);
    QObject::connect(&document.edit, &CodeEdit::readOnlyFileEdit, [&] { document.edit.setReadOnly(0, false); });
    document.edit.insertText({0, 0}, QStringLiteral("x"), true);
    EXPECT_EQ(document.text(), "xabc");
}

TEST(ReadOnly, EditReadOnlySettingLetsEditsThrough)
{
    Document document(QStringLiteral("abc"));
    CodeEditSettings settings;
    settings.editReadOnly = true;
    document.edit.setSettings(settings);
    document.edit.setReadOnly(1, false);
    EXPECT_TRUE(document.edit.isEditable());
    document.edit.insertText({0, 0}, QStringLiteral("x"), true);
    EXPECT_EQ(document.text(), "xabc");
}

TEST(CommandsEnabled, UndoNeedsAStepAndEditsNeedAnEditableDocument)
{
    Document document(QStringLiteral("abc"));
    EXPECT_FALSE(document.edit.isCommandEnabled(CommandUndo));
    document.edit.insertText({0, 0}, QStringLiteral("x"), true);
    EXPECT_TRUE(document.edit.isCommandEnabled(CommandUndo));
    EXPECT_FALSE(document.edit.isCommandEnabled(CommandRedo));
    document.edit.setReadOnly(2, true);
    EXPECT_FALSE(document.edit.isCommandEnabled(CommandUndo));
    EXPECT_FALSE(document.edit.isCommandEnabled(CommandFirstModifying));
    EXPECT_TRUE(document.edit.isCommandEnabled(CommandLastModifying + 1));
}

struct CleanupCase {
    const char *name;
    void (CodeEdit::*command)();
    const char *before;
    const char *after;
    const char *label;
};

class WhitespaceCleanup : public ::testing::TestWithParam<CleanupCase> {};

TEST_P(WhitespaceCleanup, RewritesAndUndoesAsOneStepKeepingTheCaret)
{
    Document document(QString::fromUtf8(GetParam().before));
    document.edit.setCaret({1, 1});
    (document.edit.*GetParam().command)();
    EXPECT_EQ(document.text(), GetParam().after);
    EXPECT_EQ(document.edit.caret(), (CodeEditBufferPosition{1, 1}));
    ASSERT_EQ(document.edit.undoCount(), 1);
    EXPECT_EQ(document.edit.undoTransaction(0)->label().toStdString(), GetParam().label);
    document.edit.setCaret({0, 0});
    document.edit.undo();
    EXPECT_EQ(document.text(), GetParam().before);
    EXPECT_EQ(document.edit.caret(), (CodeEditBufferPosition{1, 1}));
}

INSTANTIATE_TEST_SUITE_P(Commands, WhitespaceCleanup, ::testing::Values(
    CleanupCase{"trailing", &CodeEdit::deleteTrailingWhitespace, "a  \n\tb\t \nc", "a\n\tb\nc", "Macro"},
    CleanupCase{"untabify", &CodeEdit::untabify, "\tx\n  \ty\t\nz", "    x\n    y\t\nz", "Untabify"},
    CleanupCase{"tabify", &CodeEdit::tabify, "      x\n    y\n z", "\t  x\n\ty\n z", "Tabify"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(WhitespaceCleanupNothing, LeavesNoStepWhenNothingChanges)
{
    Document document(QStringLiteral("a\nb"));
    document.edit.deleteTrailingWhitespace();
    document.edit.untabify();
    EXPECT_EQ(document.edit.undoCount(), 0);
}

} // namespace
