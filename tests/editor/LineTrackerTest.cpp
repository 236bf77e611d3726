#include "EditorTestSupport.h"
#include "editor/LineTracker.h"
#include <gtest/gtest.h>

namespace {

struct TrackCase {
    const char *name;
    std::vector<std::pair<int, int>> changes;   // (line, delta) in order
    std::vector<int> present;                   // of tracked lines 1..8
};

class LineTracking : public ::testing::TestWithParam<TrackCase> {};

TEST_P(LineTracking, MovesTrackedLinesAndLosesDeletedOnes)
{
    LineTracker tracker(Path(QStringLiteral("a.c")));
    for (int line = 1; line <= 8; ++line)
        tracker.track(line);
    for (const auto &[line, delta] : GetParam().changes)
        tracker.changed(line, delta);
    std::vector<int> present;
    for (int line = 1; line <= 8; ++line)
        present.push_back(tracker.present(line));
    EXPECT_EQ(present, GetParam().present);
}

INSTANTIATE_TEST_SUITE_P(Changes, LineTracking, ::testing::Values(
    TrackCase{"nothing", {}, {1, 2, 3, 4, 5, 6, 7, 8}},
    TrackCase{"insertionMovesFromItsLine", {{4, 2}}, {1, 2, 3, 6, 7, 8, 9, 10}},
    TrackCase{"zeroDeltaChangesNothing", {{1, 0}}, {1, 2, 3, 4, 5, 6, 7, 8}},
    TrackCase{"deletionLosesItsRange", {{3, -2}}, {1, 2, -1, -1, 3, 4, 5, 6}},
    TrackCase{"lostLinesStayLost", {{3, -2}, {1, 5}}, {6, 7, -1, -1, 8, 9, 10, 11}},
    TrackCase{"deletionAtTheEnd", {{8, -1}}, {1, 2, 3, 4, 5, 6, 7, -1}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(LineTrackerRecording, KeepsTheChangesOnlyWhileRecording)
{
    LineTracker tracker(Path(QStringLiteral("a.c")));
    tracker.changed(1, 1);
    tracker.setRecording(true);
    tracker.changed(2, -1);
    EXPECT_EQ(tracker.recorded(), (std::vector<std::pair<int, int>>{{2, -1}}));
    tracker.clear();
    EXPECT_TRUE(tracker.recorded().empty());
    EXPECT_EQ(tracker.present(2), -1);
}

TEST(LineTrackerWithEditor, FollowsTheDocumentThroughEditsAndUndo)
{
    Document document(QStringLiteral("l1\nl2\nl3\nl4\nl5\nl6"));
    LineTracker tracker(Path(QStringLiteral("doc")));
    QObject::connect(&document.edit, &CodeEdit::numberOfLinesChanged, &tracker, &LineTracker::changed);
    for (int line = 1; line <= 6; ++line)
        tracker.track(line);   // 1-based, as breakpoints are numbered
    document.edit.insertText({0, 2}, QStringLiteral("\nnew"), true);   // after line 1
    document.edit.deleteText({3, 2}, {5, 2}, true);                    // joins old lines 3 to 5
    std::vector<int> present;
    for (int line = 1; line <= 6; ++line)
        present.push_back(tracker.present(line));
    // The line that held the insertion point counts as moved: insertion reports its own line.
    EXPECT_EQ(present, (std::vector<int>{2, 3, 4, -1, -1, 5}));
    EXPECT_EQ(document.text(), "l1\nnew\nl2\nl3\nl6");
}

TEST(FileLineTracking, KeepsOneChildPerFileSortedByPath)
{
    FileLineTracker files;
    files.track(Path(QStringLiteral("b.c")), 10);
    files.track(Path(QStringLiteral("a.c")), 5);
    files.track(Path(QStringLiteral("c.c")), 1);
    files.track(Path(QStringLiteral("a.c")), 7);
    files.changed(Path(QStringLiteral("a.c")), 6, 3);
    files.changed(Path(QStringLiteral("missing.c")), 1, 100);
    ASSERT_NE(files.tracker(Path(QStringLiteral("a.c"))), nullptr);
    EXPECT_EQ(files.tracker(Path(QStringLiteral("a.c")))->present(5), 5);
    EXPECT_EQ(files.tracker(Path(QStringLiteral("a.c")))->present(7), 10);
    EXPECT_EQ(files.tracker(Path(QStringLiteral("b.c")))->present(10), 10);
    EXPECT_EQ(files.tracker(Path(QStringLiteral("missing.c"))), nullptr);
    QStringList order;
    for (const QObject *child : files.children()) {
        EXPECT_EQ(child->objectName(), QStringLiteral("line-tracker"));
        order.append(static_cast<const LineTracker *>(child)->path().text());
    }
    order.sort();
    EXPECT_EQ(order, (QStringList{QStringLiteral("a.c"), QStringLiteral("b.c"), QStringLiteral("c.c")}));
    files.clear();
    EXPECT_TRUE(files.children().isEmpty());
    EXPECT_EQ(files.tracker(Path(QStringLiteral("a.c"))), nullptr);
}

} // namespace
