#include "buildengine/CommandLine.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QString installation = QDir::cleanPath(QStringLiteral(TESS_BIN_DIR "/.."));

TestSupport::ProgramRun runShipped(const QStringList &command, const QString &directory)
{
    const QStringList resolved = resolveShippedTool(command, installation);
    return TestSupport::runProgram(resolved.first(), resolved.mid(1), {}, directory);
}

TEST(ShippedTools, CopyChmodAndRemoveWork)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("a.txt")), "x");
    EXPECT_EQ(runShipped({"cp", "a.txt", "b.txt"}, dir.path()).exitCode, 0);
    EXPECT_EQ(runShipped({"chmod", "-w", "b.txt"}, dir.path()).exitCode, 0);
    EXPECT_FALSE(QFileInfo(dir.filePath(QStringLiteral("b.txt"))).permissions() & QFile::WriteOwner);
    EXPECT_EQ(runShipped({"rm", "-f", "a.txt"}, dir.path()).exitCode, 0);
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("a.txt"))));
}

TEST(ShippedTools, MkhdrWritesRegisterHeader)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("map.xml")),
                           "<!DOCTYPE Board_Memory_Definition_File>\n"
                           "<Board_Memory_Definition_File name=\"Demo\">\n"
                           "  <MemorySegment name=\"Flash\" start=\"0x08000000\" size=\"0x20000\"/>\n"
                           "  <RegisterGroup name=\"GPIO A\" start=\"0x40020000\">\n"
                           "    <Register name=\"MODER\" start=\"+0x0\">\n"
                           "      <BitField name=\"MODE1\" start=\"2\" size=\"2\"/>\n"
                           "    </Register>\n"
                           "    <Register name=\"ODR\" start=\"+0x14\" size=\"2\"/>\n"
                           "    <Register name=\"9lives\" start=\"1024\"/>\n"
                           "  </RegisterGroup>\n"
                           "</Board_Memory_Definition_File>\n");
    const auto run = runShipped({"mkhdr", "map.xml", "regs.h"}, dir.path());
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/mkhdr-regs.h"),
                              TestSupport::readFile(dir.filePath(QStringLiteral("regs.h"))));
}

struct MkhdrFailure {
    const char *name;
    QByteArray map;
    QStringList arguments;
    QByteArray error;
};

class MkhdrInput : public ::testing::TestWithParam<MkhdrFailure> {};

TEST_P(MkhdrInput, FailsClearlyAndKeepsOldHeader)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath(QStringLiteral("map.xml")), GetParam().map);
    TestSupport::writeFile(dir.filePath(QStringLiteral("out.h")), "old");
    const auto run = runShipped(QStringList{"mkhdr"} + GetParam().arguments, dir.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, GetParam().error);
    EXPECT_EQ(TestSupport::readFile(dir.filePath(QStringLiteral("out.h"))), "old");
}

INSTANTIATE_TEST_SUITE_P(
    Maps, MkhdrInput,
    ::testing::Values(
        MkhdrFailure{"badStart", "<m>\n<Register name=\"r\" start=\"zz\"/></m>", {"map.xml", "out.h"},
                     "mkhdr: map.xml:2: Register 'r' start 'zz' does not evaluate (zz symbol not "
                     "found)\n"},
        MkhdrFailure{"truncated", "<m><Register", {"map.xml", "out.h"},
                     "mkhdr: map.xml: no root element (empty or truncated file)\n"},
        MkhdrFailure{"missingMap", "", {"nomap.xml", "out.h"}, "mkhdr: nomap.xml: cannot open: No such file or directory\n"},
        MkhdrFailure{"tooDeep", QByteArray("<a>").repeated(70), {"map.xml", "out.h"},
                     "mkhdr: map.xml: no root element (empty or truncated file)\n"},
        MkhdrFailure{"usage", "", {"map.xml"}, "usage: mkhdr MEMORYMAP HEADER [GUARD]\n"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
