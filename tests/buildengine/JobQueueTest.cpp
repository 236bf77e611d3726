#include "buildengine/BuildLog.h"
#include "buildengine/JobQueue.h"
#include "tests/support/TestSupport.h"
#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

void ensureApplication()
{
    static int argc = 1;
    static char name[] = "JobQueueTest";
    static char *argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}

// Runs the queue to its end (or 20 s) and records what it signalled.
struct QueueRun {
    std::vector<int> statuses;
    int allDone = 0;
    QStringList lines;

    void run(JobQueue &queue, const std::function<void()> &afterStart = {})
    {
        QEventLoop loop;
        QObject::connect(&queue, &JobQueue::jobDone, &loop, [this](int status) { statuses.push_back(status); });
        QObject::connect(&queue, &JobQueue::allJobsDone, &loop, [this, &loop] {
            ++allDone;
            loop.quit();
        });
        QObject::connect(&queue, &JobQueue::outputLine, &loop,
                         [this](const QString &line, bool isError) {
                             lines.append((isError ? QStringLiteral("E:") : QStringLiteral("O:")) + line);
                         });
        QTimer::singleShot(20000, &loop, [&loop] {
            ADD_FAILURE() << "queue did not finish";
            loop.quit();
        });
        queue.start();
        if (afterStart)
            afterStart();
        if (allDone == 0)
            loop.exec();
    }
};

TEST(JobQueueRun, RunsJobsInOrderAndReportsEach)
{
    ensureApplication();
    BuildLog log;
    JobQueue queue(&log);
    QTemporaryDir dir;
    queue.addJob(dir.path(), {"/bin/sh", "-c", "echo one; echo two >&2"});
    queue.addJob(dir.path(), {"/bin/sh", "-c", "printf 'x.c:3: error: bad'; exit 2"});
    QueueRun run;
    run.run(queue);
    EXPECT_EQ(run.statuses, (std::vector<int>{0, 2}));
    EXPECT_EQ(run.allDone, 1);
    EXPECT_EQ(run.lines, (QStringList{"O:one", "E:two", "O:x.c:3: error: bad"}));
    EXPECT_EQ(log.counts().errors, 1);
}

TEST(JobQueueRun, CopiesItselfAndShowsCommandLines)
{
    ensureApplication();
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("a b.txt")), "payload");
    QDir(dir.path()).mkdir(QStringLiteral("sub"));
    JobQueue queue;
    queue.setShowCommandLines(true);
    queue.addJob(dir.path(), {"cp", "a b.txt", "sub"});
    queue.addJob(dir.path(), {"cp", "missing.txt", "sub"});
    QueueRun run;
    run.run(queue);
    EXPECT_EQ(TestSupport::readFile(dir.filePath(QStringLiteral("sub/a b.txt"))), "payload");
    EXPECT_EQ(run.statuses, (std::vector<int>{0, 1}));
    EXPECT_EQ(run.lines, (QStringList{"O:cd " + dir.path(), "O:cp \"a b.txt\" sub",
                                      "O:cd " + dir.path(), "O:cp missing.txt sub",
                                      "E:Copy failed"}));
}

TEST(JobQueueRun, MissingProgramIsReportedAndQueueGoesOn)
{
    ensureApplication();
    JobQueue queue;
    queue.addJob(QString(), {"/nonexistent/program"});
    queue.addJob(QString(), {"true"});
    QueueRun run;
    run.run(queue);
    EXPECT_EQ(run.statuses, (std::vector<int>{-1, 0}));
    EXPECT_EQ(run.lines, QStringList{"E:Can't start process /nonexistent/program"});
}

TEST(JobQueueRun, KillStopsCurrentAndDropsRest)
{
    ensureApplication();
    JobQueue queue;
    queue.addJob(QString(), {"sleep", "30"});
    queue.addJob(QString(), {"true"});
    QueueRun run;
    run.run(queue, [&queue] { queue.kill(); });
    EXPECT_EQ(run.statuses, std::vector<int>{-1});
    EXPECT_EQ(run.allDone, 1);
    EXPECT_EQ(queue.pendingJobs(), 0);
}

} // namespace
