#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <csignal>

using TestSupport::binPath;
using TestSupport::runProgram;

namespace {

// One executable project compiled by the real front end, so the host's compiler runs.
QByteArray solution(const QByteArray &extraProject = {})
{
    return "<Tessbench_Project_File><solution Name=\"cli\" version=\"2\">"
           "<configuration Name=\"Debug\"/>"
           "<project Name=\"app\" linker_map_file=\"No\"><file file_name=\"main.c\"/></project>"
           + extraProject + "</solution></Tessbench_Project_File>\n";
}

class TessBuild : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        TestSupport::writeFile(m_dir.filePath("s.qvProject"), solution());
        TestSupport::writeFile(m_dir.filePath("main.c"), "int main(void) { return 0; }\n");
    }
    TestSupport::ProgramRun tess(QStringList arguments) const
    {
        arguments.prepend(QStringLiteral("build"));
        return runProgram(binPath("tess"), arguments, {}, m_dir.path());
    }
    QTemporaryDir m_dir;
};

} // namespace

TEST_F(TessBuild, BuildsThenReportsUpToDate)
{
    const auto first = tess({"s.qvProject", "-j", "2"});
    EXPECT_EQ(first.exitCode, 0) << first.out.toStdString() << first.err.toStdString();
    EXPECT_TRUE(first.out.contains("[1/2] Compiling main.c")) << first.out.toStdString();
    EXPECT_TRUE(first.out.endsWith("Build complete\n")) << first.out.toStdString();
    EXPECT_TRUE(QFileInfo::exists(m_dir.filePath("Output/Debug/Exe/app.elf")));
    const auto second = tess({"s.qvProject"});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_TRUE(second.out.endsWith("Build up to date\n")) << second.out.toStdString();
    const auto clean = tess({"s.qvProject", "-clean"});
    EXPECT_EQ(clean.exitCode, 0);
    EXPECT_TRUE(clean.out.endsWith("Cleaned\n")) << clean.out.toStdString();
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath("Output/Debug/Exe/app.elf")));
}

TEST_F(TessBuild, CompileErrorFailsWithTheDiagnostic)
{
    TestSupport::writeFile(m_dir.filePath("main.c"), "int main(void) { return x; }\n");
    const auto run = tess({"s.qvProject"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.contains(m_dir.filePath("main.c").toUtf8() + ":1:")) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(": error: ")) << run.out.toStdString();
    EXPECT_TRUE(run.out.endsWith("Build failed\n")) << run.out.toStdString();
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath("Output/Debug/Obj/app/main.o")));
}

TEST_F(TessBuild, BadArgumentsAndMissingSolution)
{
    EXPECT_EQ(tess({}).exitCode, 2);
    EXPECT_EQ(tess({"s.qvProject", "-j", "zero"}).exitCode, 2);
    EXPECT_EQ(tess({"s.qvProject", "-rebuild", "-clean"}).exitCode, 2);
    EXPECT_EQ(tess({"s.qvProject", "--rebuild", "--clean"}).exitCode, 2);
    const auto missing = tess({"none.qvProject"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("does not exist")) << missing.err.toStdString();
    EXPECT_EQ(tess({"s.qvProject", "-project", "nope"}).exitCode, 1);
}

TEST_F(TessBuild, InterruptStopsARunningToolWithStatusThree)
{
    TestSupport::writeFile(
        m_dir.filePath("s.qvProject"),
        solution("<project Name=\"slow\" project_type=\"Externally Built Executable\""
                 " external_build_command=\"sleep 30\"/>"));
    QProcess process;
    process.setWorkingDirectory(m_dir.path());
    process.start(binPath("tess"), {"build", "s.qvProject", "-project", "slow"});
    ASSERT_TRUE(process.waitForStarted());
    QByteArray out;
    while (!out.contains("Running Build command slow") && process.waitForReadyRead(10000))
        out += process.readAllStandardOutput();
    ASSERT_TRUE(out.contains("Running Build command slow")) << out.toStdString();
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(10000));
    out += process.readAllStandardOutput();
    EXPECT_EQ(process.exitCode(), 3);
    EXPECT_TRUE(out.endsWith("Build terminated\n")) << out.toStdString();
}

TEST_F(TessBuild, SystemLibrariesNamedAsLinkerOptionsLinkAfterTheObjects)
{
    // The program needs a static library of the solution found through -L/-l, the math
    // library after it (the static library calls cos) and the threads library. A linker meets
    // a library before the objects that need it with nothing to take from it: the link fails
    // unless the libraries come last.
    TestSupport::writeFile(
        m_dir.filePath("s.qvProject"),
        "<Tessbench_Project_File><solution Name=\"libs\" version=\"2\">"
        "<configuration Name=\"Debug\"/>"
        "<project Name=\"helper\" project_type=\"Library\""
        " build_output_file_name=\"lib/libhelper.a\"><file file_name=\"helper.c\"/></project>"
        "<project Name=\"app\" project_type=\"Executable\" linker_map_file=\"No\""
        " project_dependencies=\"helper\" link_dependent_projects=\"No\""
        " linker_additional_options=\"-L$(ProjectDir)/lib;-lhelper;-lm;-lpthread\">"
        "<file file_name=\"main.c\"/></project>"
        "</solution></Tessbench_Project_File>\n");
    TestSupport::writeFile(m_dir.filePath("helper.c"),
                           "#include <math.h>\n"
                           "double helper(double x) { return cos(x) * cos(x); }\n");
    TestSupport::writeFile(m_dir.filePath("main.c"),
                           "#include <math.h>\n#include <pthread.h>\n#include <stdio.h>\n"
                           "double helper(double x);\n"
                           "static double result;\n"
                           "static void *work(void *x) {\n"
                           "  double v = *(double *)x;\n"
                           "  result = helper(v) + sin(v) * sin(v);\n"
                           "  return NULL;\n}\n"
                           "int main(int argc, char **argv) {\n"
                           "  double x = argc + 0.25;\n"
                           "  pthread_t thread;\n"
                           "  if (pthread_create(&thread, NULL, work, &x) != 0) return 2;\n"
                           "  pthread_join(thread, NULL);\n"
                           "  printf(\"%.3f\\n\", result);\n"
                           "  return 0;\n}\n");
    const auto run = tess({"s.qvProject", "-j", "2"});
    ASSERT_EQ(run.exitCode, 0) << run.out.toStdString() << run.err.toStdString();
    const auto program = runProgram(m_dir.filePath("Output/Debug/Exe/app.elf"), {});
    EXPECT_EQ(program.exitCode, 0);
    EXPECT_EQ(program.out, "1.000\n");
}

TEST_F(TessBuild, ExportsAMakefile)
{
    const auto run = tess({"s.qvProject", "-makefile", "out.mak"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QByteArray makefile = TestSupport::readFile(m_dir.filePath("out.mak"));
    EXPECT_TRUE(makefile.startsWith("all: \\\n")) << makefile.toStdString();
    EXPECT_TRUE(makefile.contains("/bin/cc")) << makefile.toStdString();
}
