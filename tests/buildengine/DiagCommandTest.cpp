#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::runProgram;

TestSupport::ProgramRun tess(const QStringList &arguments, const QByteArray &input = {},
                             const QString &directory = {})
{
    return runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments, input, directory);
}

class DiagCapture : public ::testing::TestWithParam<const char *> {};

// The command reads real compiler output as the parser's golden reading says.
TEST_P(DiagCapture, PrintsGoldenItems)
{
    const QString name = QString::fromUtf8(GetParam());
    const auto run = tess({"diag", "--all"},
                          TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/data/") + name + ".txt"));
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/golden/diag-") + name + ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Compilers, DiagCapture,
                         ::testing::Values("gcc-c", "gcc-cpp", "clang-c", "clang-cpp", "gcc-fatal",
                                           "clang-fatal", "gcc-link"),
                         [](const auto &info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

const QByteArray diagUsage = "usage: tess diag [--regexp PATTERN]... [--base DIR] [--all] < TOOL-OUTPUT\n";

struct DiagCase {
    const char *name;
    QStringList arguments;
    QByteArray input;
    int exitCode;
    QByteArray out;
    QByteArray err;
};

class DiagCommand : public ::testing::TestWithParam<DiagCase> {};

TEST_P(DiagCommand, PrintsItems)
{
    const DiagCase &c = GetParam();
    const auto run = tess(QStringList{"diag"} + c.arguments, c.input);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(run.err, c.err);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, DiagCommand,
    ::testing::Values(
        DiagCase{"onlyDiagnosticsByDefault", {}, "plain\na.c:3:4: error: bad\n", 0,
                 "error\ta.c\t3\t4\tbad\n", ""},
        DiagCase{"baseJoinsRelativePaths", {"--base", "/src"}, "a.c:3: warning: w\n/abs.h:1: note: n\n", 0,
                 "warning\t/src/a.c\t3\t-1\tw\nnote\t/abs.h\t1\t-1\tn\n", ""},
        DiagCase{"noFinalNewline", {}, "x.c:9: error: last", 0, "error\tx.c\t9\t-1\tlast\n", ""},
        DiagCase{"crlfLines", {}, "x.c:9: error: e\r\n", 0, "error\tx.c\t9\t-1\te\n", ""},
        DiagCase{"invalidUtf8Replaced", {}, "x.c:1: error: \xff\xfe!\n", 0,
                 "error\tx.c\t1\t-1\t\xef\xbf\xbd\xef\xbf\xbd!\n", ""},
        DiagCase{"regexpPatterns", {"--regexp", "^E (\\S+) (\\d+) (.*)$", "--base", "/b"},
                 "E f.s 12 bad op\nf.c:1: error: not matched\n", 0, "note\t/b/f.s\t12\t-1\tbad op\n", ""},
        DiagCase{"regexpAllShowsPlain", {"--all", "--regexp", "^X(.)(\\d)(.*)$"}, "Xa1b\nzz\n", 0,
                 "note\ta\t1\t-1\tb\nplain\t\t-1\t-1\tzz\n", ""},
        DiagCase{"emptyInput", {}, "", 0, "", ""},
        DiagCase{"tooManyPatterns",
                 {"--regexp", "a", "--regexp", "a", "--regexp", "a", "--regexp", "a", "--regexp", "a",
                  "--regexp", "a", "--regexp", "a"},
                 "", 2, "", "tess diag: at most 6 patterns\n" + diagUsage},
        DiagCase{"unknownArgument", {"--nope"}, "", 2, "",
                 "tess diag: unknown option '--nope'\n" + diagUsage},
        DiagCase{"missingValue", {"--base"}, "", 2, "",
                 "tess diag: option '--base' needs a value (DIR)\n" + diagUsage},
        DiagCase{"operand", {"gcc.txt"}, "", 2, "",
                 "tess diag: unexpected argument 'gcc.txt' (the output comes on standard input)\n" + diagUsage}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(DiagCommandInput, LongLineWithoutNewlineEnds)
{
    QByteArray input = "a.c:1: error: ";
    input += QByteArray(20 * 1024 * 1024, 'x');
    const auto run = tess({"diag"}, input);
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out.size(), qsizetype(strlen("error\ta.c\t1\t-1\t\n")) + 20 * 1024 * 1024);
}

TEST(DepsCommand, CountsAndListsNames)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("a.d")), "a.o: a.c b.h \\\n c\\ d.h\n");
    TestSupport::writeFile(dir.filePath(QStringLiteral("list")), "a.d\nmissing.d\n");
    const auto counts = tess({"deps", "a.d", "@list"}, {}, dir.path());
    EXPECT_EQ(counts.exitCode, 0);
    EXPECT_EQ(counts.out, "2 a.d\n2 a.d\n0 missing.d\n4 total\n");
    const auto names = tess({"deps", "--names", "a.d"}, {}, dir.path());
    EXPECT_EQ(names.out, "b.h\nc d.h\n");
    const auto bad = tess({"deps", "@nolist"}, {}, dir.path());
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "tess deps: cannot open nolist\n");
}

QByteArray solutionFile()
{
    return "<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n"
           "<solution Name=\"S\" version=\"2\">\n"
           " <project Name=\"lib\">\n"
           "  <configuration Name=\"Common\" project_type=\"Library\" build_quietly=\"Yes\"/>\n"
           "  <file file_name=\"a.c\"/>\n"
           "  <file file_name=\"skip.c\" build_exclude_from_build=\"Yes\"/>\n"
           "  <file file_name=\"readme.txt\"/>\n"
           "  <folder Name=\"u\" unity_build_file_name=\"gen/u.c\">"
           "<file file_name=\"u1.c\"/><file file_name=\"u2.c\"/></folder>\n"
           " </project>\n"
           " <project Name=\"app\">\n"
           "  <configuration Name=\"Common\" project_type=\"Executable\" build_quietly=\"Yes\""
           " c_additional_options_from_file=\"$(ProjectDir)/opts\""
           " pre_build_command=\"mkhdr map.xml &quot;my regs.h&quot;\" pre_build_command_control=\"Always Run\""
           " post_build_command=\"echo done &amp;&amp; rm -f stamp\"/>\n"
           "  <folder Name=\"src\"><file file_name=\"main.cpp\"/><file file_name=\"boot.s\"/></folder>\n"
           " </project>\n"
           " <project Name=\"ext\">\n"
           "  <configuration Name=\"Common\" project_type=\"Externally Built Executable\""
           " external_c_compile_command=\"gcc -c $(RelInputPath) -o $(RelTargetPath)\""
           " external_link_command=\"gcc $(Objects) -o &quot;$(TargetPath)&quot;\"/>\n"
           "  <file file_name=\"x.c\"/>\n"
           " </project>\n"
           " <project Name=\"pack\">\n"
           "  <configuration Name=\"Common\" project_type=\"Staging\""
           " stage_output_filepath=\"out/$(InputFileName)\" stage_set_readonly=\"Yes\"/>\n"
           "  <file file_name=\"notes.txt\"/>\n"
           " </project>\n"
           " <project Name=\"all\">\n"
           "  <configuration Name=\"Common\" project_type=\"Combining\""
           " combine_output_filepath=\"out/all.txt\""
           " combine_command=\"xmlcp -cat $(CombiningRelInputPaths) $(CombiningOutputFilePath)\"/>\n"
           "  <file file_name=\"notes.txt\"/>\n"
           " </project>\n"
           " <configuration Name=\"Debug\"/>\n"
           "</solution>\n</Tessbench_Project_File>\n";
}

TEST(CommandsCommand, ListsEveryStepOfSolution)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("s.qvProject")), solutionFile());
    TestSupport::writeFile(dir.filePath(QStringLiteral("opts")), "-O1\n");
    const auto run = tess({"commands", "s.qvProject", "Debug"}, {}, dir.path());
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    QByteArray text = run.out;
    text.replace(QFile::encodeName(dir.path()), "<dir>");
    text.replace(QFile::encodeName(QDir::cleanPath(TESS_BIN_DIR "/..")), "<install>");
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/commands.txt"), text);
    // Nothing written: no list file, no unity file, no output directory.
    for (const char *made : {"Output", "gen", "out"})
        EXPECT_FALSE(QFile::exists(dir.filePath(QLatin1String(made)))) << made;
}

TEST(CommandsCommand, ReportsProblems)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("s.qvProject")), solutionFile());
    const auto missingOptions = tess({"commands", "s.qvProject", "Debug", "app"}, {}, dir.path());
    EXPECT_EQ(missingOptions.exitCode, 1);
    EXPECT_EQ(missingOptions.err,
              "tess commands: Cannot load options file: " + QFile::encodeName(dir.path()) + "/opts\n");
    const auto element = tess({"commands", "s.qvProject", "Debug", "nope"}, {}, dir.path());
    EXPECT_EQ(element.exitCode, 1);
    EXPECT_EQ(element.err, "tess commands: no element 'nope' in s.qvProject\n");
    const auto usage = tess({"commands", "s.qvProject"}, {}, dir.path());
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_EQ(usage.err, "tess commands: give FILE CONFIGURATION and at most one ELEMENT\n"
                         "usage: tess commands FILE CONFIGURATION [ELEMENT]\n");
    const auto missing = tess({"commands", "none.qvProject", "Debug"}, {}, dir.path());
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.startsWith("tess commands: ")) << missing.err.constData();
}

} // namespace
