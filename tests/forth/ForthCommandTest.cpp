#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

using TestSupport::runProgram;

namespace {

TestSupport::ProgramRun forth(const QStringList &arguments, const QByteArray &input = {},
                              const QString &directory = {})
{
    return runProgram(TestSupport::binPath("tess"), QStringList{"forth"} + arguments, input,
                      directory);
}

TEST(TessForthCommand, EvaluatesTextToStandardOutput)
{
    const auto run = forth({"-e", "1 2 + . .\" done\" CR"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "3 done\n");
    EXPECT_EQ(run.err, "");
}

TEST(TessForthCommand, ExceptionGoesToStandardErrorWithStatusOne)
{
    const auto run = forth({"-e", "1 .", "-e", "frob"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "1 ");
    EXPECT_EQ(run.err, "-e:1: frob: undefined word (throw -13)\n");
}

TEST(TessForthCommand, IncludesFilesInOrder)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath("a.fs"), ": twice 2 * ;\n");
    TestSupport::writeFile(dir.filePath("b.fs"), "21 twice .\n");
    const auto run = forth({"a.fs", "b.fs"}, {}, dir.path());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "42 ");
}

TEST(TessForthCommand, ReportsFileAndLineOfAnError)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath("bad.fs"), "1 .\n\n  1 0 /\n2 .\n");
    const auto run = forth({"bad.fs"}, {}, dir.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "1 ");
    EXPECT_EQ(run.err, "bad.fs:3: /: divide by zero (throw -10)\n");
}

TEST(TessForthCommand, ReadsTheProgramFromStandardInput)
{
    const auto run = forth({}, ": sq DUP * ;\n9 sq .\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "81 ");
}

TEST(TessForthCommand, ConsoleSaysOkAndResetsAfterAnError)
{
    const auto run = forth({"-i"}, "1 2 + .\n: x 5\n;\n7 nope\n.S\nx .\n");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "Dorrin ForthScript Interpreter v1.0.0\n3 OK\nOK\nOK\n<0> OK\n5 OK\n");
    EXPECT_EQ(run.err, "console:1: nope: undefined word (throw -13)\n");
}

TEST(TessForthCommand, WarnsOfRedefinitionOnStandardError)
{
    const auto run = forth({"-e", ": x ; : x ; : DUP ;"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "redefining x in vocabulary FORTH previously defined here (-e:1)\n"
                       "redefining built-in DUP\n");
}

// Every way in ends with status 1 after an uncaught throw, and 0 without one.
struct StatusCase {
    const char *name;
    QStringList arguments;
    QByteArray input;
    int exitCode;
};

class TessForthStatus : public ::testing::TestWithParam<StatusCase> {};

TEST_P(TessForthStatus, IsOneAfterAnUncaughtThrow)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath("throws.fs"), "1 .\n: t 7 THROW ;\nt\n");
    TestSupport::writeFile(dir.filePath("fine.fs"), "1 .\n");
    const auto run = forth(GetParam().arguments, GetParam().input, dir.path());
    EXPECT_EQ(run.exitCode, GetParam().exitCode) << run.err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Paths, TessForthStatus, ::testing::Values(
    StatusCase{"textThrows", {"-e", "1 THROW"}, {}, 1},
    StatusCase{"textAborts", {"-e", "ABORT"}, {}, 1},
    StatusCase{"textFine", {"-e", "1 ."}, {}, 0},
    StatusCase{"fileThrows", {"throws.fs"}, {}, 1},
    StatusCase{"fileThenFine", {"throws.fs", "fine.fs"}, {}, 1},
    StatusCase{"fileFine", {"fine.fs"}, {}, 0},
    StatusCase{"standardInputThrows", {}, "1 .\n-3 THROW\n", 1},
    StatusCase{"standardInputFine", {}, "1 .\n", 0},
    StatusCase{"consoleLineThrows", {"-i"}, "1 THROW\n", 1},
    StatusCase{"consoleThrowThenFine", {"-i"}, "1 THROW\n2 .\n", 1},
    StatusCase{"consoleFine", {"-i"}, "2 .\n", 0},
    StatusCase{"fileThenConsole", {"fine.fs", "-i"}, "nope\n", 1},
    StatusCase{"caughtThrowIsFine", {"-e", ": t 5 THROW ; ' t CATCH ."}, {}, 0}),
    [](const auto &info) { return std::string(info.param.name); });

struct BadInputCase {
    const char *name;
    QByteArray source;
    const char *throwCode;
};

class TessForthBadInput : public ::testing::TestWithParam<BadInputCase> {};

TEST_P(TessForthBadInput, EndsWithAThrowNotACrash)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath("in.fs"), GetParam().source);
    const auto run = forth({"in.fs"}, {}, dir.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(GetParam().throwCode)) << run.err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Inputs, TessForthBadInput, ::testing::Values(
    BadInputCase{"unterminatedDefinition", ": x 1 2 +\n", "(throw -39)"},
    BadInputCase{"unterminatedString", ": x S\" abc\n;\n", "(throw -39)"},
    BadInputCase{"unterminatedComment", "( never closed\n1 .\n", "(throw -39)"},
    BadInputCase{"mismatchedControl", ": x BEGIN IF AGAIN ;\n", "(throw -22)"},
    BadInputCase{"runawayRecursion", ": r RECURSE ; r\n", "(throw -5)"},
    BadInputCase{"includesItself", "S\" in.fs\" INCLUDED\n", "(throw -5)"},
    BadInputCase{"hugeAllot", "9223372036854775807 ALLOT\n", "(throw -24)"},
    BadInputCase{"negativeAllot", "-5 ALLOT\n", "(throw -24)"},
    BadInputCase{"binaryGarbage", QByteArray::fromHex("00fffe01207f80203a3a3a20c3280a"), "(throw -"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TessForthCommand, RejectsUnknownOption)
{
    const auto run = forth({"--frob"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "tess forth: unknown option '--frob'\nusage: tess forth [-i] [-e TEXT | FILE]...\n");
}

} // namespace
