#include "tests/debug/DebugTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TestSupport::ProgramRun tess(const QStringList &arguments, const QByteArray &input = {})
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments, input);
}

// The firmware of the example, built once for this test program.
class DebugCommand : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_directory = new QTemporaryDir; }
    static void TearDownTestSuite()
    {
        delete s_directory;
        s_directory = nullptr;
    }
    void SetUp() override
    {
        s_image = DebugTestSupport::builtOnce(QStringLiteral("firmware"), QStringLiteral("gcc"),
                                              QStringLiteral(TESS_SOURCE_DIR "/examples/debug/firmware.c"),
                                              {QStringLiteral("-g"), QStringLiteral("-O0")});
        if (s_image.isEmpty())
            GTEST_SKIP() << "gcc is not installed";
    }
    QString path(const char *name) const { return s_directory->filePath(QLatin1String(name)); }

    static QTemporaryDir *s_directory;
    static QString s_image;
};

QTemporaryDir *DebugCommand::s_directory = nullptr;
QString DebugCommand::s_image;

TEST_F(DebugCommand, EvalPrintsOneLinePerExpressionAndGoesOnAfterAFailure)
{
    const auto run = tess({"debug", "eval", s_image, "sensors[1].position", "nosuch", "control.trim * 2",
                           "'A' == 65"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.startsWith("{x=12,y=3}\n-6\n")) << run.out.constData();
    EXPECT_TRUE(run.err.startsWith("tess debug eval: nosuch: nosuch symbol not found\n")) << run.err.constData();
}

TEST_F(DebugCommand, FileListsComeAtTheirPlaceAndStandardInputServes)
{
    TestSupport::writeFile(path("list.txt"), "tick_count\n\n  fault_count + 1  \n");
    const auto run = tess({"debug", "eval", s_image, "armed", "--file", path("list.txt"), "gain",
                           "--file=-"},
                          "supply_volts\n");
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "true\n123456\n3\n1.5\n3.3\n");
}

TEST_F(DebugCommand, RadixFormatDepthAndElementsShapeTheText)
{
    struct Row {
        QStringList options;
        const char *expression;
        const char *expected;
    };
    const Row rows[] = {
        {{"--radix", "hex"}, "sensors[1].celsius", "0xfff9"},
        {{"--radix", "udec"}, "sensors[1].celsius", "65529"},
        {{"--radix", "oct"}, "sensors[0].channel", "0000"},
        {{"--radix", "bin"}, "sensors[2].channel", "0b00000111"},
        {{"--radix", "char"}, "sensors[0].name", "['i','n','l','e','t',\\u0000,\\u0000,\\u0000]"},
        {{"--depth", "0"}, "sensors", "[...]"},
        {{"--depth", "1"}, "sensors", "[{...},{...},{...}]"},
        {{"--elements", "2"}, "calibration", "[[1,-1],[2,-2],...]"},
        {{"--format", "s"}, "log_head->next->next->text", "\"report\""},
        {{"--format", "s"}, "banner", "\"Tess firmware v1.2\""},
        {{"--format", "x"}, "tick_count", "0x0001e240"},
        {{"--format", "i"}, "(u8)200", "-56"},
        {{"--format", "u"}, "sensors[1].celsius", "65529"},
        {{"--format", "c"}, "sensors[2].name[0]", "'b'"},
        {{"--format", "e"}, "supply_volts", "3.300000e+00"},
        {{"--format", "f"}, "gain", "1.500000"},
        {{"--format", "g"}, "tick_count", "123456"},
        {{"--format", "p"}, "tick_count", "0x000000000001e240"},
        {{"--format", "o"}, "fault_count", "000000000002"},
        {{"--format", "b"}, "armed", "true"},
        {{"--json"}, "sensors[0]", "{\"celsius\":21,\"channel\":0,\"mode\":\"MODE_MEASURE\",\"name\":[105,110,108,101,116,0,0,0],\"position\":{\"x\":10,\"y\":-4}}"},
        {{"--json"}, "log_head", "\"0x00000000000040c0\""},
        {{"--json", "--depth", "0"}, "control", "\"{...}\""},
        {{"--json"}, "armed", "true"},
    };
    for (const Row &row : rows) {
        const auto run = tess(QStringList{"debug", "eval", s_image} + row.options + QStringList{row.expression});
        EXPECT_EQ(run.exitCode, 0) << row.expression << ": " << run.err.constData();
        const QByteArray expected = QByteArray(row.expected) + '\n';
        if (QByteArray(row.expression) == "log_head")
            EXPECT_TRUE(run.out.startsWith("\"0x")) << run.out.constData();
        else
            EXPECT_EQ(run.out, expected) << row.options.join(u' ').toStdString() << " " << row.expression;
    }
}

TEST_F(DebugCommand, VarsListsNameValueTypeAddressAndSize)
{
    const auto run = tess({"debug", "vars", s_image, "--elements", "2"});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    const QList<QByteArray> lines = run.out.split('\n');
    ASSERT_GE(lines.size(), 14);
    EXPECT_TRUE(lines[0].startsWith("armed\ttrue\tboolean\t0x")) << lines[0].constData();
    QByteArray control;
    for (const QByteArray &line : lines) {
        if (line.startsWith("control\t"))
            control = line;
    }
    const QList<QByteArray> fields = control.split('\t');
    ASSERT_EQ(fields.size(), 5) << control.constData();
    EXPECT_EQ(fields[1], "{enabled=1,prescaler=5,trim=-3,divider=200,reserved=48879}");
    EXPECT_EQ(fields[2], "struct control");
    EXPECT_TRUE(fields[3].startsWith("0x") && fields[3].size() >= 10);
    EXPECT_EQ(fields[4], "4");
    EXPECT_TRUE(run.out.contains("fault_count\t2\tint\t")) << "file statics are listed";
}

TEST_F(DebugCommand, TypeShowsLayoutsTypedefsAndEnumerators)
{
    const auto run = tess({"debug", "type", s_image, "struct control", "u8", "enum mode", "sensors[0]"});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "struct control\t4\n"
                       "0\tenabled\tunsigned int\t0:1\n"
                       "0\tprescaler\tunsigned int\t1:3\n"
                       "0\ttrim\tint\t4:4\n"
                       "0\tdivider\tunsigned int\t8:8\n"
                       "2\treserved\tu16\n"
                       "u8\t1\t= uint8_t\n"
                       "enum mode\t4\n"
                       "MODE_IDLE\t0\nMODE_MEASURE\t1\nMODE_REPORT\t5\nMODE_FAULT\t-1\n"
                       "struct sensor\t24\n"
                       "0\tname\tchar[8]\n8\tcelsius\tint16_t\n10\tchannel\tu8\n12\tmode\tenum mode\n"
                       "16\tposition\tstruct point\n");
    const auto bad = tess({"debug", "type", s_image, "struct nosuch"});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_TRUE(bad.err.startsWith("tess debug type: struct nosuch: ")) << bad.err.constData();
}

TEST_F(DebugCommand, MemDumpsBytesWithTextAndOverlaysDumps)
{
    const auto plain = tess({"debug", "mem", s_image, "banner", "18"});
    EXPECT_EQ(plain.exitCode, 0) << plain.err.constData();
    const QList<QByteArray> lines = plain.out.split('\n');
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[0].endsWith(": 54 65 73 73 20 66 69 72 6d 77 61 72 65 20 76 31  Tess firmware v1")) << lines[0].constData();
    EXPECT_TRUE(lines[1].endsWith(": 2e 32  .2")) << lines[1].constData();
    // Two dumps over the same bytes: the later one wins, the file stays as it was.
    TestSupport::writeFile(path("first.bin"), "ABCD");
    TestSupport::writeFile(path("second.bin"), "xy");
    const QByteArray before = TestSupport::readFile(s_image);
    const auto address = tess({"debug", "eval", s_image, "--format", "p", "&ram_buffer"});
    const QString at = QString::fromUtf8(address.out.trimmed());
    const auto overlaid = tess({"debug", "mem", s_image, "--memory", path("first.bin") + "@" + at,
                                "-m", path("second.bin") + "@" + at, "ram_buffer", "6"});
    EXPECT_EQ(overlaid.exitCode, 0) << overlaid.err.constData();
    EXPECT_TRUE(overlaid.out.endsWith(": 78 79 43 44 00 00  xyCD..\n")) << overlaid.out.constData();
    const auto stored = tess({"debug", "eval", s_image, "--memory", path("first.bin") + "@" + at,
                              "ram_buffer[0] = 122", "ram_buffer[0]", "*(u32 *)ram_buffer"});
    EXPECT_EQ(stored.out, "122\n122\n1145258618\n");
    EXPECT_EQ(TestSupport::readFile(s_image), before);
    EXPECT_EQ(TestSupport::readFile(path("first.bin")), "ABCD");
}

TEST_F(DebugCommand, UnreadableBytesShowAsQuestionMarksAndFail)
{
    const auto run = tess({"debug", "mem", s_image, "0", "4"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "0x00000000: ?? ?? ?? ??  ....\n");
    const auto words = tess({"debug", "mem", s_image, "--width", "4", "&control", "8"});
    EXPECT_EQ(words.exitCode, 0) << words.err.constData();
    EXPECT_TRUE(words.out.endsWith(": beefc8db 0001e240\n")) << words.out.constData();
}

struct UsageCase {
    const char *name;
    QStringList arguments; // "IMAGE" stands for the firmware
    const char *errContains;
};

class DebugCommandUsage : public DebugCommand, public ::testing::WithParamInterface<UsageCase> {};

TEST_P(DebugCommandUsage, ExitsTwoWithAMessage)
{
    QStringList arguments;
    for (const QString &argument : GetParam().arguments)
        arguments.append(argument == QLatin1String("IMAGE") ? s_image
                         : argument.startsWith(QLatin1String("DIR/")) ? path(qPrintable(argument.mid(4)))
                                                                      : argument);
    TestSupport::writeFile(path("empty"), {});
    TestSupport::writeFile(path("text.txt"), "not an image\n");
    const auto run = tess(arguments);
    EXPECT_EQ(run.exitCode, 2) << run.err.constData();
    EXPECT_TRUE(run.err.contains(GetParam().errContains)) << run.err.constData();
    EXPECT_TRUE(run.out.isEmpty());
    if (QByteArray(GetParam().errContains).contains("not an ELF file")) {
        EXPECT_TRUE(run.err.startsWith("tess debug: " + QFile::encodeName(path(""))))
            << run.err.constData();
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, DebugCommandUsage, ::testing::Values(
    UsageCase{"noImage", {"debug", "eval"}, "tess debug eval: no ELF file given"},
    UsageCase{"noExpression", {"debug", "eval", "IMAGE"}, "no expression given"},
    UsageCase{"emptyFile", {"debug", "eval", "DIR/empty", "x"}, "empty: not an ELF file"},
    UsageCase{"textFile", {"debug", "vars", "DIR/text.txt"}, "text.txt: not an ELF file"},
    UsageCase{"missingFile", {"debug", "type", "DIR/missing", "int"}, "missing: cannot open: "},
    UsageCase{"badRadix", {"debug", "eval", "IMAGE", "--radix", "roman", "x"}, "bad radix 'roman'"},
    UsageCase{"badFormat", {"debug", "eval", "IMAGE", "--format", "q", "x"}, "bad format 'q'"},
    UsageCase{"badMemory", {"debug", "eval", "IMAGE", "--memory", "dump.bin", "x"}, "bad --memory 'dump.bin'"},
    UsageCase{"missingDump", {"debug", "eval", "IMAGE", "--memory", "DIR/nodump@0x1000", "x"}, "nodump: cannot open: "},
    UsageCase{"missingList", {"debug", "eval", "IMAGE", "--file", "DIR/nolist"}, "nolist: cannot read: "},
    UsageCase{"hugeLength", {"debug", "mem", "IMAGE", "0", "16777217"}, "bad length '16777217'"},
    UsageCase{"negativeLength", {"debug", "mem", "IMAGE", "0", "-1"}, "bad length '-1'"},
    UsageCase{"badWidth", {"debug", "mem", "IMAGE", "--width", "3", "0", "4"}, "bad width '3'"},
    UsageCase{"badDepth", {"debug", "vars", "IMAGE", "--depth", "-1"}, "bad value '-1' for --depth"}),
    [](const auto &info) { return std::string(info.param.name); });

// What a crafted or hostile expression asks for ends in a message, never in a crash.
TEST_F(DebugCommand, HostileExpressionsEndInMessages)
{
    const QString deep = QString(10000, u'(') + QStringLiteral("1") + QString(10000, u')');
    const auto run = tess({"debug", "eval", s_image, deep, "calibration[-5000000000][0]",
                           "calibration[0x7fffffffffffffff]", "*(int *)0xfffffffffffffffe",
                           "fault_count % 0", "log_ring + 1", "sizeof(struct nosuch)",
                           "*log_head = sensors[0]", "banner = \"overwritten text that is too long\"",
                           "banner"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("expression nested too deeply")) << run.err.constData();
    EXPECT_TRUE(run.err.contains("calibration[0x7fffffffffffffff]: index out of range")) << run.err.constData();
    EXPECT_TRUE(run.err.contains("*(int *)0xfffffffffffffffe: cannot access memory at 0xfffffffffffffffe")) << run.err.constData();
    EXPECT_TRUE(run.err.contains("fault_count % 0: divide by zero"));
    EXPECT_TRUE(run.err.contains("log_ring + 1: unsupported binary numeric operation"));
    EXPECT_TRUE(run.err.contains("sizeof(struct nosuch): no type named struct nosuch"));
    EXPECT_TRUE(run.err.contains("*log_head = sensors[0]: cannot store a struct sensor into struct log_record"));
    EXPECT_TRUE(run.out.endsWith("[111,118,101,114,119,114,105,116,116,101,110,32,116,101,120,116,32,116,104]\n"))
        << "a text stored into an array is cut to the array: " << run.out.constData();
}

} // namespace
