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
    EXPECT_EQ(run.exitCode, 0);
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
