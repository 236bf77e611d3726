#include "tests/forth/ForthTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct KindCase {
    const char *word;
    int findResult;   // 1 immediate, -1 other
};

class ForthWordKinds : public ::testing::TestWithParam<KindCase> {};

TEST_P(ForthWordKinds, FindReportsImmediacy)
{
    ForthRun forth;
    ASSERT_EQ(forth.run(QStringLiteral("S\" %1\" FIND . DROP").arg(GetParam().word)), 0);
    EXPECT_EQ(forth.output, std::to_string(GetParam().findResult) + " ");
}

INSTANTIATE_TEST_SUITE_P(Table, ForthWordKinds, ::testing::Values(
    KindCase{"FORTH", -1}, KindCase{"[DEFINED]", 1}, KindCase{"!", -1}, KindCase{"(", 1},
    KindCase{"+LOOP", 1}, KindCase{".(", 1}, KindCase{";", 1}, KindCase{"AHEAD", -1},
    KindCase{"EXIT", 1}, KindCase{"J", 1}, KindCase{"TO", 1}, KindCase{"\\", 1},
    KindCase{"LOCALS|", 1}, KindCase{"(TEMP)", -1}, KindCase{"CATCH", -1},
    KindCase{"STRING-ARG", -1}, KindCase{"[COMPILE]", 1}, KindCase{"COMPILE,", -1}),
    [](const auto &info) {
        std::string name;
        for (const char c : std::string(info.param.word))
            name += std::isalnum(uchar(c)) ? c : '_';
        return name + std::to_string(info.index);
    });

struct CodeCase {
    int code;
    const char *text;
};

class ForthThrowCodes : public ::testing::TestWithParam<CodeCase> {};

TEST_P(ForthThrowCodes, CarryTheirText)
{
    EXPECT_EQ(ForthException::codeText(GetParam().code).toStdString(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, ForthThrowCodes, ::testing::Values(
    CodeCase{-1, "abort thrown"}, CodeCase{-3, "stack underflow"}, CodeCase{-4, "stack overflow"},
    CodeCase{-30, "olsolescent feature"}, CodeCase{-270, "sealed definition"},
    CodeCase{-8, ""}, CodeCase{-271, "-271 THROW undefined"}, CodeCase{1, "1 THROW undefined"}),
    [](const auto &info) {
        const int code = info.param.code;
        return (code < 0 ? "minus" : "plus") + std::to_string(code < 0 ? -code : code);
    });

TEST(ForthEngine, ResetsStacksAndStateAfterAnError)
{
    ForthRun forth;
    EXPECT_EQ(forth.run(": x 1 2 [ 3 nope"), -13);
    EXPECT_EQ(forth.run("DEPTH . STATE @ . 5 .\n"), 0);
    EXPECT_EQ(forth.output, "0 0 5 ");
}

TEST(ForthEngine, StepLimitInterruptsEndlessLoops)
{
    ForthRun forth;
    ForthLimits limits;
    limits.steps = 10000;
    forth.engine.setLimits(limits);
    EXPECT_EQ(forth.run(": x BEGIN AGAIN ; x"), -28);
}

TEST(ForthEngine, TheHostIsAskedBetweenStepsAndCanInterrupt)
{
    ForthRun forth;
    int polls = 0;
    forth.engine.setInterruptCheck([&polls] { return ++polls == 5; }, 100);
    EXPECT_EQ(forth.run(": x BEGIN AGAIN ; x"), -28);
    EXPECT_EQ(forth.lastMessage, "user interrupt");
    EXPECT_EQ(polls, 5);
    // The next run starts afresh: the check is asked again and the program ends normally.
    EXPECT_EQ(forth.run(": y 1000 0 DO LOOP ; y 7 ."), 0);
    EXPECT_EQ(forth.output, "7 ");
    EXPECT_GT(polls, 5);
}

TEST(ForthEngine, TheStepLimitHoldsWithAHostCheck)
{
    ForthRun forth;
    ForthLimits limits;
    limits.steps = 10000;
    forth.engine.setLimits(limits);
    int polls = 0;
    forth.engine.setInterruptCheck([&polls] { ++polls; return false; }, 64);
    EXPECT_EQ(forth.run(": x BEGIN AGAIN ; x"), -28);
    EXPECT_GT(polls, 100);
    EXPECT_LT(polls, 200);
    forth.engine.setInterruptCheck({});
    EXPECT_EQ(forth.run("1 ."), -28);   // the limit is spent for good
}

TEST(ForthEngine, SealedDefinitionRefusesAppends)
{
    ForthRun forth;
    ASSERT_EQ(forth.run(": x 1 ;"), 0);
    PCFA *const word = forth.engine.findWord("x");
    ASSERT_NE(word, nullptr);
    try {
        word->append(std::make_unique<PLabel>());
        FAIL() << "append to a sealed definition";
    } catch (const ForthException &e) {
        EXPECT_EQ(e.code, -270);
        EXPECT_TRUE(e.message.contains("x"));
    }
}

TEST(ForthEngine, HostWordsRegisterAfterTheWordSet)
{
    class Hello : public PNative {
    public:
        void run(ScriptEngine &engine) override { engine.type("hello"); }
    };
    std::string out;
    struct Sink : ForthScriptMessageInterface {
        std::string *out;
        void type(const QString &text) override { *out += text.toStdString(); }
        void error(const QString &) override {}
    } sink;
    sink.out = &out;
    ScriptEngine engine(&sink, [](ScriptEngine &e) {
        e.addWord("HELLO", std::make_unique<Hello>(), WordFlags::plain);
    });
    EXPECT_FALSE(engine.evaluateText(": x HELLO ; x", "t"));
    EXPECT_EQ(out, "hello");
}

TEST(ForthEngine, CompletesWordNames)
{
    ForthRun forth;
    EXPECT_EQ(forth.engine.completions("2R").join(' ').toStdString(), "2R> 2R@");
}

TEST(ForthFiles, WriteRepositionReadAndInclude)
{
    QTemporaryDir dir;
    ForthRun forth;
    forth.engine.setFileRoot(dir.path());
    const char *program =
        "S\" t.fs\" W/O CREATE-FILE . VALUE f\n"
        "S\" 40 2 + .\" f WRITE-LINE .\n"
        "f FILE-POSITION . . . f CLOSE-FILE .\n"
        "S\" t.fs\" INCLUDED\n"
        "CREATE buf 20 ALLOT\n"
        "S\" t.fs\" R/O OPEN-FILE . TO f\n"
        "3 0 f REPOSITION-FILE . buf 20 f READ-LINE . . . buf @ EMIT\n"
        "buf 20 f READ-LINE . . . f CLOSE-FILE .\n"
        "S\" t.fs\" DELETE-FILE . S\" t.fs\" R/O OPEN-FILE . .\n";
    EXPECT_EQ(forth.run(program), 0) << forth.errors;
    EXPECT_EQ(forth.output, "0 0 0 0 9 0 42 0 0 0 -1 5 20 0 0 0 0 -38 0 ");
}

TEST(ForthFiles, RootRefusesNamesOutsideIt)
{
    QTemporaryDir dir;
    ForthRun forth;
    forth.engine.setFileRoot(dir.path() + "/inner");
    EXPECT_EQ(forth.run("S\" ../x\" R/W CREATE-FILE . . S\" /tmp/x\" DELETE-FILE ."), 0);
    EXPECT_EQ(forth.output, "-38 0 -38 ");
    EXPECT_FALSE(QFile::exists(dir.filePath("x")));
}

TEST(ForthFiles, BadHandlesGiveResultCodes)
{
    ForthRun forth;
    EXPECT_EQ(forth.run("7 CLOSE-FILE . S\" x\" 9 WRITE-FILE . S\" y\" 9 OPEN-FILE . ."), 0);
    EXPECT_EQ(forth.output, "-37 -37 -38 0 ");
}

} // namespace
