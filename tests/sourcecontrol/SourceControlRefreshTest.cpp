// The refresh and its delivery with a stand-in provider that the test steers: the quick check's
// answer, a query held on a gate, what the query returns.
#include "sourcecontrol/SourceCodeControlSystem.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControl.h"
#include "sourcecontrol/SourceControlLog.h"
#include "tests/sourcecontrol/GitRepository.h"
#include "tests/sourcecontrol/StandInModule.h"
#include <QCoreApplication>
#include <QSemaphore>
#include <QTemporaryDir>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>

namespace {

// A provider whose status query can be held until the test lets it go, and which counts how
// many queries ran at the same time.
class SteeredProvider final : public StandIn::Provider {
public:
    bool probeAnswer = false;
    std::function<void()> onProbe;
    bool holdQueries = false;
    QSemaphore gate;
    QSemaphore entered;   // released as each query starts
    SourceControlResults answer;   // set before a refresh; read by the query
    std::atomic<int> queries{0};
    std::atomic<int> running{0};
    std::atomic<int> mostAtOnce{0};
    QStringList queriedDirectories;   // written by the query under the provider lock

    QString name() const override { return QStringLiteral("Steered"); }
    QString workingCopyRoot(const QString &directory, QString *) override { return directory; }
    bool probe(const QString &, const SourceControlOptions &) override
    {
        if (onProbe)
            onProbe();
        return probeAnswer;
    }
    bool queryStatus(const QString &directory, SourceControlResults &results) override
    {
        const int now = ++running;
        mostAtOnce = qMax(mostAtOnce.load(), now);
        ++queries;
        queriedDirectories.append(directory);
        entered.release();
        if (holdQueries)
            gate.acquire();
        results.root = answer.root;
        results.files = answer.files;
        results.errors = answer.errors;
        --running;
        return results.errors.isEmpty();
    }
};

struct LogLine {
    SourceControlLog::Level level;
    QString text;
    bool operator==(const LogLine &other) const
    {
        return level == other.level && text == other.text;
    }
};

void PrintTo(const LogLine &line, std::ostream *out)
{
    *out << int(line.level) << ':' << line.text.toStdString();
}

class SourceControlRefresh : public ::testing::Test {
protected:
    SourceControlRefresh()
    {
        log.setSink([this](SourceControlLog::Level level, const QString &text) {
            lines.push_back({level, text});
        });
        control.setProvider(&provider, QStringLiteral("Steered"));
        control.setRetryInterval(5);
        first = QDir(folders.path()).filePath(QStringLiteral("first"));
        second = QDir(folders.path()).filePath(QStringLiteral("second"));
        QDir().mkpath(first);
        QDir().mkpath(second);
        first = SourceControl::directoryKey(first);
        second = SourceControl::directoryKey(second);
    }

    QStringList texts() const
    {
        QStringList all;
        for (const LogLine &line : lines)
            all.append(line.text);
        return all;
    }

    const bool application = (ensureApplication(), true);   // before the objects that need it
    QTemporaryDir folders;
    QString first;
    QString second;
    SteeredProvider provider;
    SourceControlLog log;
    SourceControl control{log};
    std::vector<LogLine> lines;
};

TEST_F(SourceControlRefresh, AQuickWorkingCopyIsQueriedAtOnce)
{
    provider.probeAnswer = true;
    control.refreshDirectory(first, QStringLiteral("First"));
    EXPECT_FALSE(control.busy());
    EXPECT_EQ(texts(), QStringList({"Probing VCS successful for " + first,
                                    "Received VCS results for " + first,
                                    "Source control information is now up to date"}));
    EXPECT_EQ(control.counters().immediateQueries, 1);
    EXPECT_EQ(control.counters().backgroundQueries, 0);
    ASSERT_NE(control.results(first), nullptr);
}

TEST_F(SourceControlRefresh, ALargeWorkingCopyIsQueriedOnTheBackgroundThread)
{
    control.refreshDirectory(first, QStringLiteral("First"));
    EXPECT_EQ(texts(), QStringList({"Launching background VCS status query in " + first}));
    control.waitUntilUpToDate();
    EXPECT_EQ(texts(), QStringList({"Launching background VCS status query in " + first,
                                    "Received VCS results for " + first,
                                    "Source control information is now up to date"}));
    EXPECT_EQ(control.counters().backgroundQueries, 1);
}

TEST_F(SourceControlRefresh, ForcedBackgroundSkipsTheQuickCheck)
{
    provider.probeAnswer = true;
    control.setForceBackground(true);
    control.refreshDirectory(first, QStringLiteral("First"));
    control.waitUntilUpToDate();
    EXPECT_EQ(control.counters().probes, 0);
    EXPECT_EQ(control.counters().backgroundQueries, 1);
}

TEST_F(SourceControlRefresh, ARefreshWhileTheThreadQueriesIsMarkedAndRetriedNeverRunTwice)
{
    provider.holdQueries = true;
    control.refreshDirectory(first, QStringLiteral("First"));
    provider.entered.acquire();   // the thread is inside the provider now
    control.refreshDirectory(second, QStringLiteral("Second"));
    EXPECT_TRUE(texts().contains(QStringLiteral("VCS thread is busy when refreshing Second")));
    EXPECT_EQ(control.counters().retriesMarked, 1);
    EXPECT_TRUE(control.busy());
    provider.gate.release(2);
    control.waitUntilUpToDate();
    EXPECT_EQ(provider.queries.load(), 2);
    EXPECT_EQ(provider.mostAtOnce.load(), 1);
    EXPECT_EQ(provider.queriedDirectories, QStringList({first, second}));
    EXPECT_EQ(texts().count(QStringLiteral("Source control information is now up to date")), 1);
    EXPECT_NE(control.results(second), nullptr);
}

TEST_F(SourceControlRefresh, TheSameWorkingCopyAskedAgainWaitsForTheQueryInFlight)
{
    provider.holdQueries = true;
    control.refreshDirectory(first, QStringLiteral("First"));
    provider.entered.acquire();
    control.refreshDirectory(first, QStringLiteral("First again"));
    EXPECT_EQ(control.counters().retriesMarked, 0);
    provider.gate.release();
    control.waitUntilUpToDate();
    EXPECT_EQ(provider.queries.load(), 1);
}

TEST_F(SourceControlRefresh, ARefreshFromInsideARefreshFindsTheLockHeld)
{
    provider.probeAnswer = true;
    bool once = true;
    provider.onProbe = [&] {
        if (std::exchange(once, false))
            control.refreshDirectory(second, QStringLiteral("Second"));
    };
    control.refreshDirectory(first, QStringLiteral("First"));
    EXPECT_EQ(texts().value(0), QStringLiteral("VCS lock held when refreshing Second"));
    control.waitUntilUpToDate();
    EXPECT_EQ(provider.queriedDirectories, QStringList({first, second}));
    EXPECT_EQ(provider.mostAtOnce.load(), 1);
}

struct ErrorCase {
    const char *name;
    QString errors;
    std::vector<LogLine> expected;
};

using Level = SourceControlLog::Level;

class SourceControlDeliveryErrors : public SourceControlRefresh,
                                    public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(SourceControlDeliveryErrors, GoToTheLogByTheirPrefix)
{
    provider.answer.errors = GetParam().errors;
    control.refreshDirectory(first, QStringLiteral("First"));
    control.waitUntilUpToDate();
    std::vector<LogLine> reported;
    for (const LogLine &line : lines) {
        if (line.level != Level::Message)
            reported.push_back(line);
    }
    EXPECT_EQ(reported, GetParam().expected);
    EXPECT_EQ(control.errors(first), GetParam().errors);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, SourceControlDeliveryErrors,
    ::testing::Values(ErrorCase{"prefixedWarning",
                                "svn: warning: W155007: not a working copy",
                                {{Level::Warning, "W155007: not a working copy"}}},
                      ErrorCase{
                          "notFoundIsAWarningAsItStands",
                          "svn: E200009: Could not display info for all targets",
                          {{Level::Warning, "E200009: Could not display info for all targets"}}},
                      ErrorCase{"otherPrefixedIsAnError",
                                "svn: E155036: upgrade required",
                                {{Level::Error, "E155036: upgrade required"}}},
                      ErrorCase{"unprefixedIsAnError",
                                "fatal: not a git repository",
                                {{Level::Error, "fatal: not a git repository"}}},
                      ErrorCase{"unprefixedWarningIsStillAnError",
                                "warning: plain",
                                {{Level::Error, "warning: plain"}}},
                      ErrorCase{"severalLines",
                                "svn: warning: one\nfatal: two\n",
                                {{Level::Warning, "one"}, {Level::Error, "fatal: two"}}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(SourceControlRefresh, ASlowQueryLogsTheTimeItTook)
{
    provider.holdQueries = true;
    control.refreshDirectory(first, QStringLiteral("First"));
    provider.entered.acquire();
    QThread::msleep(1100);
    provider.gate.release();
    control.waitUntilUpToDate();
    const QStringList all = texts();
    ASSERT_GE(all.size(), 2);
    EXPECT_TRUE(all.at(1).startsWith(QLatin1String("Threaded VCS query took ")))
        << all.at(1).toStdString();
    EXPECT_TRUE(all.at(1).endsWith(QLatin1String(" ms to deliver results")));
}

TEST_F(SourceControlRefresh, PurgeEmptiesTheCache)
{
    provider.probeAnswer = true;
    control.refreshDirectory(first, QStringLiteral("First"));
    ASSERT_NE(control.results(first), nullptr);
    control.purge();
    EXPECT_EQ(control.results(first), nullptr);
    EXPECT_EQ(texts().last(), QStringLiteral("Purging current source control status"));
}

TEST_F(SourceControlRefresh, WithoutAProviderNothingHappens)
{
    control.setProvider(nullptr, QString());
    control.refreshDirectory(first, QStringLiteral("First"));
    EXPECT_FALSE(control.busy());
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(provider.queries.load(), 0);
}

TEST_F(SourceControlRefresh, TheLoginReachesTheProviderButNeverTheLog)
{
    control.setLogin(QStringLiteral("ann"), QStringLiteral("s3cret"));
    log.message(QStringLiteral("svn --username ann --password s3cret status"));
    EXPECT_EQ(texts().last(), QStringLiteral("svn --username ******** --password ******** status"));
}

TEST(SourceControlServices, LogTheCommandButNeverTheLogin)
{
    QTemporaryDir directory;
    SourceControlLog log;
    log.setKeptLines(10);
    log.setLogCommands(true);
    log.setSecrets({QStringLiteral("ann"), QStringLiteral("s3cret")});
    SourceCodeControlSystem services(&log);
    QByteArray raw;
    const int status =
        services.runCommand({"echo", "--user=ann", "--password", "s3cret"}, directory.path(), &raw);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(raw, "--user=ann --password s3cret\n");
    EXPECT_EQ(services.lastOutput(), QStringLiteral("--user=ann --password s3cret\n"));
    EXPECT_EQ(services.standardOutputLines(), QStringList({"--user=ann --password s3cret"}));
    EXPECT_EQ(log.keptLines(),
              QStringList({"cd " + directory.path(), "echo --user=******** --password ********"}));
}

TEST(SourceControlServices, AProgramThatCannotStartSaysWhy)
{
    SourceCodeControlSystem services;
    EXPECT_LT(services.runCommand({"/nonexistent/tool", "x"}, QDir::tempPath()), 0);
    EXPECT_EQ(services.standardErrorLines(),
              QStringList({"Cannot start /nonexistent/tool: No such file or directory"}));
    EXPECT_TRUE(services.standardOutputLines().isEmpty());
}

}   // namespace
