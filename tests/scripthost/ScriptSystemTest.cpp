// The rules of entering the shared context and the texts a run reports, through the classes.
#include "foundation/HException.h"
#include "script/es/ESObject.h"
#include "script/host/DebugScriptObjectClass.h"
#include "script/host/HostClass.h"
#include "script/host/ScriptSystem.h"
#include "script/host/ThreadsWindowScript.h"
#include "script/host/VarnelScriptSystem.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// A host object whose functions act on the script system from inside a run: enter a nested
// run, ask for a stop, throw a plain number.
class ProbeClass : public HostClass {
public:
    static constexpr HostFunctionRow rows[] = {
        {0, "nest", 0, nullptr, nullptr},
        {1, "stop", 0, nullptr, nullptr},
        {2, "throwNumber", 0, nullptr, nullptr},
    };
    explicit ProbeClass(VarnelScriptSystem &system) : HostClass(QStringLiteral("Probe"), rows), m_system(system) {}

protected:
    bool callHost(int id, ESNativeCall &call) override
    {
        switch (id) {
        case 0: {
            QStringList results;
            try {
                m_system.evaluate(QStringLiteral("Probe.nest()"), QString(), false, results);
            } catch (const HException &error) {
                // The limit's message becomes the script's error at the innermost level only.
                call.context.throwError(error.message());
            }
            break;
        }
        case 1: m_system.requestStop(); break;
        case 2: throw ESException(ESValue::fromNumber(42));
        default: return false;
        }
        call.setResult(ESValue::undefined());
        return true;
    }

private:
    VarnelScriptSystem &m_system;
};

struct Reports {
    QStringList titles;
    QStringList texts;
};

class ScriptSystemRuns : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_system.setReporter([this](const QString &title, const QString &text) {
            m_reports.titles.append(title);
            m_reports.texts.append(text);
        });
        m_system.setHostHook([this](MyESContext &context) {
            context.adopt(std::make_unique<ProbeClass>(m_system))->installGlobal(context);
        });
    }
    VarnelScriptSystem m_system;
    Reports m_reports;
};

TEST_F(ScriptSystemRuns, FifthNestedEntryIsRefused)
{
    QStringList results;
    // The innermost run fails and reports; the runs around it go on.
    EXPECT_TRUE(m_system.evaluate(QStringLiteral("Probe.nest()"), QStringLiteral("outer.js"), false, results));
    ASSERT_EQ(m_reports.texts.size(), 1);
    EXPECT_TRUE(m_reports.texts.first().startsWith(QStringLiteral("script recursion limit reached")))
        << m_reports.texts.first().toStdString();
    EXPECT_EQ(m_system.depth(), 0);
    EXPECT_EQ(m_system.context(), nullptr);
}

TEST_F(ScriptSystemRuns, EnterRefusesAtTheLimitAndKeepsTheDepth)
{
    for (int i = 0; i < 4; ++i)
        m_system.enter(false);
    EXPECT_THROW(m_system.enter(false), HException);
    EXPECT_EQ(m_system.depth(), 4);
    for (int i = 0; i < 4; ++i)
        m_system.leave();
    EXPECT_FALSE(m_system.isRunning());
}

TEST_F(ScriptSystemRuns, TwoRunsSeeNoVariablesOfEachOther)
{
    QVariant result;
    EXPECT_TRUE(m_system.evaluate(QStringLiteral("var kept = 5; kept"), QString(), false, result));
    EXPECT_EQ(result.toDouble(), 5.0);
    EXPECT_TRUE(m_system.evaluate(QStringLiteral("typeof kept"), QString(), false, result));
    EXPECT_EQ(result.toString(), QStringLiteral("undefined"));
}

TEST_F(ScriptSystemRuns, ArrayResultGivesTheElementsTexts)
{
    QStringList results{QStringLiteral("stale")};
    EXPECT_TRUE(m_system.evaluate(QStringLiteral("[1, 'a', 0.5, [2, 3]]"), QString(), false, results));
    EXPECT_EQ(results, (QStringList{"1", "a", "0.5", "2,3"}));
    EXPECT_TRUE(m_system.evaluate(QStringLiteral("var x;"), QString(), false, results));
    EXPECT_TRUE(results.isEmpty());
}

TEST_F(ScriptSystemRuns, StopRequestEndsALoopWithoutError)
{
    QStringList results;
    EXPECT_TRUE(m_system.evaluate(QStringLiteral("var n = 0; Probe.stop(); for (;;) ++n;"), QString(), false, results));
    EXPECT_TRUE(m_system.stopRequested());
    EXPECT_TRUE(m_reports.texts.isEmpty());
}

TEST_F(ScriptSystemRuns, ThrownNumberIsAnUncaughtException)
{
    QStringList results;
    EXPECT_FALSE(m_system.evaluate(QStringLiteral("Probe.throwNumber()"), QStringLiteral("t.js"), false, results));
    EXPECT_EQ(m_reports.titles, QStringList{QStringLiteral("Script runtime error")});
    EXPECT_EQ(m_reports.texts, QStringList{QStringLiteral("Uncaught exception: 42")});
}

TEST_F(ScriptSystemRuns, ErrorObjectTextAndTitle)
{
    QStringList results;
    EXPECT_FALSE(m_system.evaluate(QStringLiteral("var a = 1;\nnull.x;"), QStringLiteral("boot.js"), false, results));
    EXPECT_EQ(m_reports.titles, QStringList{QStringLiteral("Tessmark Script runtime error boot.js")});
    EXPECT_EQ(m_reports.texts, QStringList{QStringLiteral(
        "can't convert null to an object\nAt line 2 of boot.js\n\nSource line in error: null.x;")});
}

TEST_F(ScriptSystemRuns, NotAFunctionGetsTheNoteOnlyWithoutAProjectScript)
{
    QStringList results;
    m_system.evaluate(QStringLiteral("nothing()"), QStringLiteral("n.js"), false, results);
    m_system.setProjectScriptFile(QStringLiteral("project.js"));
    m_system.evaluate(QStringLiteral("nothing()"), QStringLiteral("n.js"), false, results);
    ASSERT_EQ(m_reports.texts.size(), 2);
    EXPECT_TRUE(m_reports.texts[0].endsWith(QStringLiteral(
        "\n\nNote that no Tessmark Script File has been specified. If the script being executed calls\n"
        "Tessmark Script File functions then this is the cause of the error.")));
    EXPECT_FALSE(m_reports.texts[1].contains(QStringLiteral("Note that")));
}

TEST_F(ScriptSystemRuns, FatalErrorIsReportedAndTheContextClosed)
{
    QStringList results;
    EXPECT_FALSE(m_system.evaluate(QStringLiteral("function f() { return f(); } f();"), QString(), false, results));
    EXPECT_EQ(m_system.lastOutcome(), VarnelScriptSystem::Outcome::Fatal);
    EXPECT_EQ(m_reports.titles, QStringList{QStringLiteral("Script Fatal Error")});
    EXPECT_EQ(m_system.depth(), 0);
}

TEST(ScriptContexts, ThreadsContextCutsOffWithoutError)
{
    ThreadsWindowESContext context;
    const ESCompletion completion = context.evaluate(QString(), QStringLiteral("var n = 0; for (;;) ++n; n"));
    EXPECT_EQ(completion.kind, ESCompletion::Normal);
}

TEST(ScriptContexts, SecondContextRunsWhileKeepRunningHolds)
{
    MyESContext2 context;
    context.keepRunning = false;
    const ESCompletion completion = context.evaluate(QString(), QStringLiteral("var n = 0; for (;;) ++n;"));
    EXPECT_EQ(completion.kind, ESCompletion::Normal);
}

} // namespace

namespace {

TEST(ThreadsWindow, UpdateFillsRowsAndGetregsAnswers)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("threads.js"));
    TestSupport::writeFile(path, "function update() { Threads.clear(); Threads.setColumns(['Name', 'State']);"
                                 " Threads.newqueue('Ready'); Threads.add(['idle', 'ready']); Threads.add(['main', 'run']); }\n"
                                 "function getregs(n) { return 'regs of ' + n; }\n");
    QStringList reports;
    ThreadsWindowScript script({}, 64, [&](const QString &title, const QString &text) { reports.append(title + u':' + text); });
    ASSERT_TRUE(script.load(path));
    ASSERT_TRUE(script.update());
    EXPECT_EQ(script.rows(), (QStringList{"Name\tState", "Ready", "idle\tready", "main\trun"}));
    QString registers;
    ASSERT_TRUE(script.getRegisters(QStringLiteral("2"), registers));
    EXPECT_EQ(registers, QStringLiteral("regs of 2"));
    EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n').toStdString();
}

TEST(ThreadsWindow, MissingScriptAndEndlessUpdate)
{
    QStringList reports;
    ThreadsWindowScript script({}, 2, [&](const QString &title, const QString &text) { reports.append(title + u':' + text); });
    EXPECT_FALSE(script.load(QStringLiteral("/nonexistent/threads.js")));
    EXPECT_EQ(reports, QStringList{QStringLiteral("Threads Window:Cannot open: /nonexistent/threads.js")});

    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("loop.js"));
    TestSupport::writeFile(path, "function update() { for (var i = 0; ; ++i) Threads.add(['t' + i]); }\n");
    ASSERT_TRUE(script.load(path));
    EXPECT_TRUE(script.update()) << "the cut-off is no error";
    EXPECT_EQ(script.rows(), (QStringList{"t0", "t1", ThreadsWindowScriptObjectClass::limitText(2)}));
}

} // namespace
