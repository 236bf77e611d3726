#include "buildengine/BuildLog.h"
#include <gtest/gtest.h>

namespace {

TEST(BuildLogTree, CountsRollUpToEveryGroup)
{
    BuildLog log;
    log.beginGroup(QStringLiteral("Building p"));
    log.beginGroup(QStringLiteral("Compiling a.c"));
    log.processOutput(QStringLiteral("a.c:1:2: error: e\na.c:3: warning: w\na.c:4: note: n\nplain\n"));
    log.endGroup();
    log.addWarning(QStringLiteral("w2"));
    log.endGroup();
    const BuildLogItem *project = log.root()->children().at(0).get();
    const BuildLogItem *step = project->children().at(0).get();
    EXPECT_EQ(step->counts().errors, 1);
    EXPECT_EQ(step->counts().warnings, 1);
    EXPECT_EQ(step->counts().notes, 1);
    EXPECT_EQ(project->counts().warnings, 2);
    EXPECT_EQ(project->shownSeverity(), Severity::Error);
    const LogCounts total = log.counts();
    EXPECT_EQ(total.errors, 1);
    EXPECT_EQ(total.warnings, 2);
    EXPECT_EQ(total.notes, 1);
    EXPECT_EQ(log.text(),
              QStringLiteral("error: Building p\n"
                             "  error: Compiling a.c\n"
                             "    error: a.c:1:2: error: e [a.c:1:2]\n"
                             "    warning: a.c:3: warning: w [a.c:3:-1]\n"
                             "    note: a.c:4: note: n [a.c:4:-1]\n"
                             "    plain\n"
                             "  warning: w2\n"));
}

TEST(BuildLogTree, NoPropagationBitKeepsParentClean)
{
    BuildLog log;
    log.beginGroup(QStringLiteral("g"));
    log.addItem(nullptr, QStringLiteral("quiet failure"),
                int(Severity::Error) | LogItemFlag::NoPropagation);
    const BuildLogItem *group = log.root()->children().at(0).get();
    EXPECT_EQ(group->shownSeverity(), Severity::Plain);
    EXPECT_EQ(log.counts().errors, 0);
}

TEST(BuildLogTree, IdleMessageIsIgnored)
{
    BuildLog log;
    QStringList messages;
    QObject::connect(&log, &BuildLog::message, [&](const QString &text) { messages.append(text); });
    log.addMessage(QStringLiteral("Idle"));
    log.addMessage(QStringLiteral("Busy"));
    EXPECT_EQ(log.root()->children().size(), 1u);
    EXPECT_EQ(messages, QStringList{QStringLiteral("Busy")});
}

TEST(BuildLogTree, UnparsedOutputHiddenWhenSwitchedOff)
{
    BuildLog log;
    log.setShowUnparsedOutput(false);
    log.processOutput(QStringLiteral("just text\nx.c:1: error: y\n"));
    EXPECT_EQ(log.text(), QStringLiteral("error: x.c:1: error: y [x.c:1:-1]\n"));
}

TEST(BuildLogTree, ResultAndTerminationDoNotCount)
{
    BuildLog log;
    log.beginGroup(QStringLiteral("open"));
    log.addResult(QStringLiteral("Build failed"), true);
    log.terminated();
    EXPECT_EQ(log.counts().errors, 0);
    EXPECT_EQ(log.currentGroup(), log.root());
    EXPECT_EQ(log.root()->children().back()->type() & LogItemFlag::ClosingFailed,
              LogItemFlag::ClosingFailed);
}

TEST(BuildLogLocate, CyclesThroughDiagnosticsAndFollowsEdits)
{
    BuildLog log;
    std::vector<Bookmark> located;
    QObject::connect(&log, &BuildLog::locateBookmark, [&](const Bookmark &b) { located.push_back(b); });
    log.processOutput(QStringLiteral("a.c:10: error: one\nIn file included from /x.h:3,\nb.c:5: warning: two\n"));
    log.fileLinesChanged(QStringLiteral("a.c"), 4, 3);
    log.locateNext();
    log.locateNext();
    log.locateNext();
    log.locatePrevious();
    ASSERT_EQ(located.size(), 4u);
    const auto bookmarkAt = [&](size_t i) { return located.at(i); };
    EXPECT_EQ(bookmarkAt(0).path, QStringLiteral("a.c"));
    EXPECT_EQ(bookmarkAt(0).line, 13);
    EXPECT_EQ(bookmarkAt(1).path, QStringLiteral("b.c"));
    EXPECT_EQ(bookmarkAt(2).path, QStringLiteral("a.c"));
    EXPECT_EQ(bookmarkAt(3).path, QStringLiteral("b.c"));
    EXPECT_EQ(log.copy(), QStringLiteral("warning: b.c:5: warning: two [b.c:5:-1]\n"));
}

TEST(BuildLogLocate, DeletedLinesPullBookmarkToEditPoint)
{
    BuildLog log;
    std::vector<Bookmark> located;
    QObject::connect(&log, &BuildLog::locateBookmark, [&](const Bookmark &b) { located.push_back(b); });
    log.processOutput(QStringLiteral("a.c:10: error: one\n"));
    log.fileLinesChanged(QStringLiteral("a.c"), 8, -5);
    log.locateNext();
    ASSERT_EQ(located.size(), 1u);
    EXPECT_EQ(located.at(0).line, 8);
}

TEST(BuildLogLocate, ChosenItemIsWhereNextGoesOn)
{
    BuildLog log;
    std::vector<Bookmark> located;
    QObject::connect(&log, &BuildLog::locateBookmark, [&](const Bookmark &b) { located.push_back(b); });
    log.processOutput(QStringLiteral("a.c:1: error: one\nplain\nb.c:2: error: two\nc.c:3: error: three\n"));
    const auto &items = log.root()->children();
    log.locateItem(items.at(1).get());   // plain output: located, but nowhere to go
    EXPECT_TRUE(located.empty());
    EXPECT_EQ(log.located(), items.at(1).get());
    log.locateItem(items.at(2).get());
    log.locateNext();
    ASSERT_EQ(located.size(), 2u);
    EXPECT_EQ(located.at(0).path, QStringLiteral("b.c"));
    EXPECT_EQ(located.at(1).path, QStringLiteral("c.c"));
    EXPECT_EQ(log.located(), items.at(3).get());
}

TEST(BuildLogTree, ClearEmptiesTree)
{
    BuildLog log;
    int cleared = 0;
    QObject::connect(&log, &BuildLog::cleared, [&] { ++cleared; });
    log.addError(QStringLiteral("x"));
    log.clear();
    EXPECT_TRUE(log.root()->children().empty());
    EXPECT_EQ(log.counts().errors, 0);
    EXPECT_EQ(cleared, 1);
    EXPECT_EQ(log.located(), nullptr);
}

} // namespace
