#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::binPath;
using TestSupport::readFile;
using TestSupport::runProgram;

const QString example = QStringLiteral(TESS_SOURCE_DIR "/examples/solution/Blinky.qvProject");

struct CommandCase {
    const char *name;
    QStringList arguments;   // "<example>" stands for the example solution
    int exitCode;
    const char *out;         // exact standard output
    const char *err;         // exact standard error ("<example>" as above)
};

class TessProjectCommand : public ::testing::TestWithParam<CommandCase> {};

TEST_P(TessProjectCommand, PrintsAndExits)
{
    const CommandCase &c = GetParam();
    QStringList arguments;
    for (const QString &argument : c.arguments)
        arguments.append(QString(argument).replace(QStringLiteral("<example>"), example));
    const TestSupport::ProgramRun run = runProgram(binPath(QStringLiteral("tess")), arguments);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_EQ(run.out.toStdString(), c.out);
    EXPECT_EQ(run.err.toStdString(),
              QString::fromUtf8(c.err).replace(QStringLiteral("<example>"), example).toStdString());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TessProjectCommand,
    ::testing::Values(
        CommandCase{"expandedObjectName",
                    {"property", "get", "<example>", "Blinky/Source Files/main.c", "Debug",
                     "build_object_file_name", "--expand"},
                    0, "Output/Debug/Obj/Blinky/main.o\n", ""},
        CommandCase{"traceOfAList",
                    {"property", "get", "<example>", "Blinky/Source Files/main.c", "Release",
                     "c_preprocessor_definitions", "--trace"},
                    0,
                    "(solution) [Release]: NDEBUG\n"
                    "(solution) [ARM]: __ARM_ARCH_7EM__;BOARD_$(Board:Generic)\n"
                    "(default): \n"
                    "value: __ARM_ARCH_7EM__;BOARD_$(Board:Generic);NDEBUG\n",
                    ""},
        CommandCase{"solutionIsTheEmptyPath",
                    {"property", "get", "<example>", "", "Common", "Name"}, 0, "Blinky Demo\n", ""},
        CommandCase{"unknownElement",
                    {"property", "get", "<example>", "Blinky/nothing.c", "Debug", "file_name"}, 1,
                    "", "unknown element 'Blinky/nothing.c'\n"},
        CommandCase{"unknownProperty",
                    {"property", "get", "<example>", "Blinky", "Debug", "no_such_property"}, 1, "",
                    "unknown property 'no_such_property'\n"},
        CommandCase{"missingSolution",
                    {"solution", "show", "/nonexistent/x.qvProject"}, 1, "",
                    "/nonexistent/x.qvProject does not exist\n"},
        CommandCase{"badUsage", {"property", "get", "<example>"}, 2, "",
                    "tess property get: give FILE ELEMENT CONFIG NAME\n"
                    "usage: tess property get FILE ELEMENT CONFIG NAME [--expand] [--trace]\n"},
        CommandCase{"noSubcommand", {"property"}, 2, "",
                    "tess property: which subcommand?\n"
                    "usage: tess property get FILE ELEMENT CONFIG NAME [--expand] [--trace]\n"
                    "usage: tess property dump FILE CONFIG[;CONFIG...] NAME [--expand]\n"
                    "usage: tess property list\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TessSolution, ShowPrintsKindsNamesAndHeldConfigurations)
{
    const TestSupport::ProgramRun run =
        runProgram(binPath(QStringLiteral("tess")), {QStringLiteral("solution"), QStringLiteral("show"), example});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.startsWith("solution Blinky Demo [Common ARM Debug Release]\n"));
    EXPECT_TRUE(run.out.contains("      file blink.c [Common Release]\n"));
    EXPECT_TRUE(run.out.contains(
        "  project BoardSupport [Common Release] (imported from bsp/BoardSupport.qvProject)\n"));
}

TEST(TessSolution, SaveWritesTheSameBytesAndRefusesABadTarget)
{
    QTemporaryDir directory;
    const QString out = directory.filePath(QStringLiteral("out.qvProject"));
    const QString tess = binPath(QStringLiteral("tess"));
    EXPECT_EQ(runProgram(tess, {QStringLiteral("solution"), QStringLiteral("save"), example, out}).exitCode, 0);
    EXPECT_EQ(readFile(out), readFile(example));
    const TestSupport::ProgramRun bad = runProgram(
        tess, {QStringLiteral("solution"), QStringLiteral("save"), example, out + QStringLiteral("/x")});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_TRUE(bad.err.startsWith("couldn't write " + (out + "/x").toUtf8()));
    EXPECT_EQ(readFile(out), readFile(example)) << "a failed save leaves the old file";
}

TEST(TessProperty, DumpListsEveryFileInTreeOrder)
{
    const TestSupport::ProgramRun run = runProgram(
        binPath(QStringLiteral("tess")),
        {QStringLiteral("property"), QStringLiteral("dump"), example, QStringLiteral("Debug;Release"),
         QStringLiteral("build_object_file_name"), QStringLiteral("--expand")});
    ASSERT_EQ(run.exitCode, 0);
    const QList<QByteArray> lines = run.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 14);
    EXPECT_EQ(lines[0], "Debug\tBlinky/Source Files/main.c\tOutput/Debug/Obj/Blinky/main.o");
    EXPECT_EQ(lines[10], "Release\tBlinky/System Files/vectors.s\tOutput/Release/Obj/Blinky/System/vectors.o");
}

} // namespace
