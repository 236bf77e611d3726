#include "tests/support/TestSupport.h"
#include <gtest/gtest.h>

namespace {

TestSupport::ProgramRun tessExpr(const QStringList &arguments)
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")),
                                   QStringList{QStringLiteral("expr")} + arguments);
}

TEST(TessExpr, PrintsTypeAndValuePerExpression)
{
    const auto run = tessExpr({"1+2*3", "3 > 2", "\"Debug\" == \"Release\"", "0.5*3", "\"s\""});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "long long 7\nboolean true\nboolean false\ndouble 1.5\nstring \"s\"\n");
    EXPECT_TRUE(run.err.isEmpty());
}

TEST(TessExpr, ReportsFailuresWithTheLanguagesMessages)
{
    const auto run = tessExpr({"foo", "1", "1, 2", ""});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "long long 1\n");
    EXPECT_EQ(run.err, "tess expr: foo: foo symbol not found\n"
                       "tess expr: 1, 2: operator not supported\n"
                       "tess expr: : no value\n");
}

TEST(TessExpr, RepeatReportsTimeAndStillPrintsTheValue)
{
    const auto run = tessExpr({"--repeat", "10", "2 << 3"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "long long 16\n");
    EXPECT_TRUE(run.err.startsWith("tess expr: 2 << 3: 10 evaluations, ")) << run.err.constData();
}

TEST(TessExpr, RefusesBadArguments)
{
    EXPECT_EQ(tessExpr({}).exitCode, 2);
    const auto run = tessExpr({"--repeat", "0", "1"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "tess expr: bad value '0' for --repeat (a number from 1 to 1000000000)\n"
                       "usage: tess expr [--repeat N] [--] EXPRESSION...\n");
}

} // namespace
