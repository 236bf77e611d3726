// `tess js` as a user runs it: output bytes, error texts and exit statuses.
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::runProgram;

TestSupport::ProgramRun js(const QStringList &arguments, const QByteArray &input = {})
{
    return runProgram(TestSupport::binPath(QStringLiteral("tess")),
                      QStringList{QStringLiteral("js")} + arguments, input);
}

struct CommandCase {
    const char *name;
    QStringList arguments;
    int exitCode;
    const char *out;
    const char *err;
};

class JsCommand : public ::testing::TestWithParam<CommandCase> {};

TEST_P(JsCommand, PrintsAndExits)
{
    const TestSupport::ProgramRun run = js(GetParam().arguments);
    EXPECT_EQ(run.exitCode, GetParam().exitCode);
    EXPECT_EQ(run.out.toStdString(), GetParam().out);
    EXPECT_EQ(run.err.toStdString(), GetParam().err);
}

INSTANTIATE_TEST_SUITE_P(Cases, JsCommand, ::testing::Values(
    CommandCase{"completionValue", {"-e", "1 + 2"}, 0, "3\n", ""},
    CommandCase{"undefinedPrintsNothing", {"-e", "var x = 1;"}, 0, "", ""},
    CommandCase{"echo", {"-e", "WScript.Echo('a' + 1); WScript.Echo(1/3);"}, 0, "a1\n0.333333\n", ""},
    CommandCase{"runtimeError", {"-e", "x = 1;\nnull.y;\ny = null.z;"}, 1, "",
                "can't convert null to an object\nAt line 3\n\nSource line in error: y = null.z;\n"},
    CommandCase{"syntaxError", {"-e", "a === b"}, 1, "",
                "expected ; found ===\nAt line 1\n\nSource line in error: a === b\n"},
    CommandCase{"runawayRecursion", {"-e", "function f() { return f(); } f();"}, 2, "",
                "virtual machine stack too small\n"},
    CommandCase{"endlessLoopStopped", {"--max-instructions", "1000", "-e", "while (1) { }"}, 3, "",
                "tess js: stopped after 1000 instructions\n"},
    CommandCase{"missingFile", {"/nonexistent/x.js"}, 1, "",
                "tess js: /nonexistent/x.js: No such file or directory\n"},
    CommandCase{"badOption", {"--frobnicate"}, 2, "",
                "tess js: unknown option '--frobnicate'\n"
                "usage: tess js [--solution FILE [--config NAME] [--project NAME]] [--elf FILE [--memory FILE@ADDR]...] "
                "[--yes|--no] [--max-instructions N] [--list] [-I DIR]... (FILE... | -e TEXT | -i)\n"},
    CommandCase{"textAndFiles", {"-e", "1", "a.js"}, 2, "",
                "tess js: give either -e TEXT or files\n"
                "usage: tess js [--solution FILE [--config NAME] [--project NAME]] [--elf FILE [--memory FILE@ADDR]...] "
                "[--yes|--no] [--max-instructions N] [--list] [-I DIR]... (FILE... | -e TEXT | -i)\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(JsFiles, RunInOneContextAndReportTheFile)
{
    QTemporaryDir dir;
    const QString first = dir.filePath(QStringLiteral("first.js"));
    const QString second = dir.filePath(QStringLiteral("second.js"));
    TestSupport::writeFile(first, "var shared = 20;\n'ignored'");
    TestSupport::writeFile(second, "shared * 2 + 2");
    TestSupport::ProgramRun run = js({first, second});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "42\n");

    const QString broken = dir.filePath(QStringLiteral("broken.js"));
    TestSupport::writeFile(broken, "WScript.Echo('ran');\nundefinedFunction();\n");
    run = js({broken});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "ran\n");
    EXPECT_EQ(run.err.toStdString(), ("not a function object\nAt line 2 of " + broken
                                      + "\n\nSource line in error: undefinedFunction();\n\n"
                                        "Note that no Tessmark Script File has been specified. If "
                                        "the script being executed calls\nTessmark Script File "
                                        "functions then this is the cause of the error.\n")
                                         .toStdString());
}

TEST(JsFiles, ListingShowsTheBytecode)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("list.js"));
    TestSupport::writeFile(path, "x = 1 \n y = 2");
    const TestSupport::ProgramRun run = js({QStringLiteral("--list"), path});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains("0000:  NUM_1\n")) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(":  PUTG\ty [idx=")) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(":  RET\n")) << run.out.toStdString();
}

TEST(JsFiles, OversizedScriptIsRefused)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("huge.js"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(file.resize(qint64(100) << 20));
    file.close();
    const TestSupport::ProgramRun run = js({path});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("script too large")) << run.err.toStdString();
}

TEST(JsConsole, KeepsTheContextBetweenLines)
{
    const TestSupport::ProgramRun run =
        js({}, "var a = 20;\na + 1\nnull.x = 1;\na * 2\nfunction f() { return f(); } f();\na\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "21\n40\n");
    EXPECT_EQ(run.err.toStdString(),
              "can't convert null to an object\nAt line 1\n\nSource line in error: null.x = 1;\n"
              "virtual machine stack too small\n")
        << "after the fatal error the console starts a fresh context, where a is undefined";
}

} // namespace
