#include "buildengine/Process.h"
#include "tests/support/TestSupport.h"
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>

namespace {

// Keeps what the child wrote, or only counts it.
class RecordingProcess : public Process {
public:
    QByteArray out;
    QByteArray err;
    qint64 outBytes = 0;
    bool keep = true;

protected:
    void processOutput(bool isError, const QByteArray &bytes) override
    {
        if (!isError)
            outBytes += bytes.size();
        if (keep)
            (isError ? err : out) += bytes;
    }
};

QList<QByteArray> shell(const QByteArray &script)
{
    return {"/bin/sh", "-c", script};
}

// Polls until the child has ended; fails rather than hangs.
int pollToEnd(Process &process)
{
    QElapsedTimer timer;
    timer.start();
    int status = -1;
    while (process.poll(&status)) {
        if (timer.elapsed() > 20000) {
            ADD_FAILURE() << "child did not end";
            return -1;
        }
    }
    return status;
}

TEST(ProcessRun, WaitingReturnsExitStatusAndOutput)
{
    RecordingProcess process;
    EXPECT_EQ(process.start(shell("echo out; echo err >&2; exit 3"), true, QString()), 3);
    EXPECT_EQ(process.out, "out\n");
    EXPECT_EQ(process.err, "err\n");
    EXPECT_FALSE(process.succeeded());
    EXPECT_FALSE(process.running());
}

TEST(ProcessRun, RunsInWorkingDirectory)
{
    QTemporaryDir dir;
    RecordingProcess process;
    EXPECT_EQ(process.start({"pwd"}, true, dir.path()), 0);
    EXPECT_EQ(process.out.trimmed(), QFile::encodeName(QDir(dir.path()).canonicalPath()));
    EXPECT_TRUE(process.succeeded());
}

TEST(ProcessRun, PollingReportsOutputAndEnd)
{
    RecordingProcess process;
    ASSERT_EQ(process.start(shell("echo a; exit 0"), false, QString()), 0);
    EXPECT_GT(process.pid(), 0);
    EXPECT_EQ(pollToEnd(process), 0);
    EXPECT_EQ(process.out, "a\n");
}

TEST(ProcessRun, CrashGivesSignalStatus)
{
    RecordingProcess process;
    EXPECT_EQ(process.start(shell("kill -SEGV $$"), true, QString()), 128 + SIGSEGV);
    EXPECT_FALSE(process.succeeded());
}

TEST(ProcessRun, UncapturedOutputStillWaits)
{
    RecordingProcess process;
    EXPECT_EQ(process.start(shell("exit 4"), true, QString(), false, false), 4);
    EXPECT_TRUE(process.out.isEmpty());
}

TEST(ProcessRun, KillSendsHangup)
{
    RecordingProcess process;
    ASSERT_EQ(process.start({"sleep", "30"}, false, QString()), 0);
    process.kill();
    EXPECT_TRUE(process.terminated());
    EXPECT_EQ(pollToEnd(process), 128 + SIGHUP);
}

TEST(ProcessRun, KillAfterEndOnlyMarksTerminated)
{
    RecordingProcess process;
    ASSERT_EQ(process.start(shell("exit 0"), true, QString()), 0);
    process.kill();
    EXPECT_TRUE(process.terminated());
    EXPECT_EQ(process.exitStatus(), 0);
    EXPECT_FALSE(process.poll());
}

TEST(ProcessRun, GrandchildHoldingPipeDoesNotBlock)
{
    RecordingProcess process;
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(process.start(shell("sleep 3 & echo hi"), true, QString()), 0);
    EXPECT_LT(timer.elapsed(), 2500);
    EXPECT_EQ(process.out, "hi\n");
}

TEST(ProcessRun, DestroyingRunningProcessReapsIt)
{
    pid_t pid = -1;
    {
        RecordingProcess process;
        ASSERT_EQ(process.start({"sleep", "30"}, false, QString()), 0);
        pid = process.pid();
    }
    EXPECT_EQ(::kill(pid, 0), -1);   // neither running nor a zombie
}

TEST(ProcessRun, HundredMegabytesOfOutput)
{
    RecordingProcess process;
    process.keep = false;
    EXPECT_EQ(process.start({"head", "-c", "100000000", "/dev/zero"}, true, QString()), 0);
    EXPECT_EQ(process.outBytes, 100000000);
}

struct StartFailure {
    const char *name;
    QList<QByteArray> arguments;
    const char *directory;
    int result;
    const char *message;
};

class ProcessStartFailure : public ::testing::TestWithParam<StartFailure> {};

TEST_P(ProcessStartFailure, ReportsWhy)
{
    RecordingProcess process;
    EXPECT_EQ(process.start(GetParam().arguments, true, QString::fromUtf8(GetParam().directory)),
              GetParam().result);
    EXPECT_EQ(process.errorString().toStdString(), GetParam().message);
    EXPECT_FALSE(process.running());
}

INSTANTIATE_TEST_SUITE_P(
    Starts, ProcessStartFailure,
    ::testing::Values(
        StartFailure{"missingProgram", {"/nonexistent/tool", "x"}, "", Process::startFailed,
                     "Cannot start /nonexistent/tool: No such file or directory"},
        StartFailure{"programNotInPath", {"no-such-tool-here"}, "", Process::startFailed,
                     "Cannot start no-such-tool-here: No such file or directory"},
        StartFailure{"missingDirectory", {"true"}, "/nonexistent/dir", Process::startFailed,
                     "Cannot change to directory /nonexistent/dir: No such file or directory"},
        StartFailure{"unwritableRedirection", {"true", ">", "/nonexistent/dir/out"}, "",
                     Process::redirectFailed,
                     "Cannot open /nonexistent/dir/out for writing: No such file or directory"},
        StartFailure{"redirectionWithoutFile", {"true", "2>"}, "", Process::badArguments,
                     "Redirection '2>' without a file name"},
        StartFailure{"onlyRedirection", {">", "x"}, "/tmp", Process::badArguments,
                     "No program to run"},
        StartFailure{"empty", {}, "", Process::badArguments, "No program to run"}),
    [](const auto &info) { return std::string(info.param.name); });

struct RedirectionCase {
    const char *name;
    const char *token;
    const char *expectedFile;     // after "old\n" was in the file
    const char *expectedCapture;  // what still reached the pipes
};

class ProcessRedirection : public ::testing::TestWithParam<RedirectionCase> {};

TEST_P(ProcessRedirection, WritesRelativeFileInWorkingDirectory)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("log.txt")), "old\n");
    RecordingProcess process;
    const QList<QByteArray> arguments{"/bin/sh", "-c", "echo o; echo e >&2", GetParam().token, "log.txt"};
    ASSERT_EQ(process.start(arguments, true, dir.path()), 0);
    EXPECT_EQ(TestSupport::readFile(dir.filePath(QStringLiteral("log.txt"))), GetParam().expectedFile);
    EXPECT_EQ(process.out + process.err, GetParam().expectedCapture);
}

INSTANTIATE_TEST_SUITE_P(
    Tokens, ProcessRedirection,
    ::testing::Values(RedirectionCase{"stdout", ">", "o\n", "e\n"},
                      RedirectionCase{"stdoutOne", "1>", "o\n", "e\n"},
                      RedirectionCase{"stdoutAppend", ">>", "old\no\n", "e\n"},
                      RedirectionCase{"stdoutOneAppend", "1>>", "old\no\n", "e\n"},
                      RedirectionCase{"stderr", "2>", "e\n", "o\n"},
                      RedirectionCase{"stderrAppend", "2>>", "old\ne\n", "o\n"},
                      RedirectionCase{"both", "&>", "o\ne\n", ""},
                      RedirectionCase{"bothAppend", "&>>", "old\no\ne\n", ""}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
