// Debug against a program built with debug information and no running target.
#include "tests/support/TestSupport.h"
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class DebugObject : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_directory = new QTemporaryDir;
        s_elf = s_directory->filePath(QStringLiteral("firmware.elf"));
        QProcess gcc;
        gcc.start(QStringLiteral("gcc"), {QStringLiteral("-g"), QStringLiteral("-O0"), QStringLiteral("-o"), s_elf,
                                          QStringLiteral(TESS_SOURCE_DIR "/examples/debug/firmware.c")});
        gcc.waitForFinished(120000);
    }
    static void TearDownTestSuite()
    {
        delete s_directory;
        s_directory = nullptr;
    }
    static TestSupport::ProgramRun run(const QString &script, const QStringList &extra = {})
    {
        return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")),
                                       QStringList{QStringLiteral("js"), QStringLiteral("--elf"), s_elf}
                                           + extra + QStringList{QStringLiteral("-e"), script});
    }
    static inline QTemporaryDir *s_directory = nullptr;
    static inline QString s_elf;
};

struct DebugCase {
    const char *name;
    const char *script;
    int exitCode;
    const char *out;
};

class DebugScripts : public DebugObject, public ::testing::WithParamInterface<DebugCase> {};

TEST_P(DebugScripts, PrintsAndExits)
{
    const TestSupport::ProgramRun result = run(QString::fromUtf8(GetParam().script));
    EXPECT_EQ(result.exitCode, GetParam().exitCode) << result.err.toStdString();
    EXPECT_EQ(result.out.toStdString(), GetParam().out) << result.err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Functions, DebugScripts, ::testing::Values(
    DebugCase{"evaluateNumber", "Debug.evaluate('tick_count + 1')", 0, "123457\n"},
    DebugCase{"evaluateStruct", "var c = Debug.evaluate('control'); typeof c", 0, "object\n"},
    DebugCase{"evaluateArray", "Debug.evaluate('calibration[2]')", 0, "3\n-3\n"},
    DebugCase{"printHex", "Debug.print('tick_count', 'x')", 0, "tick_count = 0x0001e240\n"},
    DebugCase{"printDecimalDefault", "Debug.print('tick_count')", 0, "tick_count = 123456\n"},
    DebugCase{"printOctal", "Debug.print('fault_count', 'o')", 0, "fault_count = 000000000002\n"},
    DebugCase{"printBinary", "Debug.print('fault_count', 'b')", 0, "fault_count = 0b00000000000000000000000000000010\n"},
    DebugCase{"printSigned", "Debug.print('control.trim', 'i')", 0, "control.trim = -3\n"},
    DebugCase{"printFloat", "Debug.print('gain', 'f')", 0, "gain = 1.500000\n"},
    DebugCase{"printScientific", "Debug.print('supply_volts', 'e')", 0, "supply_volts = 3.300000e+00\n"},
    DebugCase{"printGeneral", "Debug.print('supply_volts', 'g')", 0, "supply_volts = 3.3\n"},
    DebugCase{"printString", "Debug.print('version_text', 's')", 0, "version_text = \"Tess firmware v1.2\"\n"},
    DebugCase{"printStringByDefault", "Debug.setprintstring(true); Debug.print('version_text')", 0,
              "version_text = \"Tess firmware v1.2\"\n"},
    DebugCase{"radixSixteen", "Debug.setprintradix(16); Debug.print('fault_count')", 0, "fault_count = 0x00000002\n"},
    DebugCase{"arrayLimit", "Debug.setprintarray(2); Debug.print('calibration')", 0, "calibration = [[1,-1],[2,-2],...]\n"},
    DebugCase{"badFormat", "Debug.print('gain', 'z')", 1, ""},
    DebugCase{"badExpression", "Debug.evaluate('no_such_symbol')", 1, ""},
    DebugCase{"echo", "Debug.echo('hello')", 0, "hello\n"},
    DebugCase{"functionOfMain", "Debug.getfunction(Debug.evaluate('(unsigned long)&main'))", 0, "main\n"},
    DebugCase{"functionOfNothing", "Debug.getfunction(1)", 0, "\n"},
    DebugCase{"locatePc",
              "Debug.locatepc(Debug.evaluate('(unsigned long)&read_sensor')); "
              "[Debug.getfilename().indexOf('examples/debug/firmware.c') > 0, Debug.getlinenumber()]", 0, "true\n64\n"},
    DebugCase{"notStopped", "Debug.stopped()", 0, "false\n"},
    DebugCase{"registersNeedTarget", "Debug.printregisters()", 1, ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(DebugObject, GlobalsAreListedByName)
{
    const TestSupport::ProgramRun result = run(QStringLiteral("Debug.printglobals()"));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("\ntick_count = 123456\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("\ncontrol = {enabled=1,prescaler=5,trim=-3,divider=200,reserved=48879}\n"))
        << result.out.toStdString();
}

TEST_F(DebugObject, MemoryDumpIsLaidOverTheImage)
{
    QTemporaryDir directory;
    const QString dump = directory.filePath(QStringLiteral("ram.bin"));
    TestSupport::writeFile(dump, QByteArray("\x2a\x00\x00\x00", 4));
    const TestSupport::ProgramRun address = run(QStringLiteral("Debug.print('&fault_count', 'p')"));
    const QByteArray hex = address.out.trimmed().split(' ').last();
    const TestSupport::ProgramRun result =
        run(QStringLiteral("Debug.evaluate('fault_count')"),
            {QStringLiteral("--memory"), dump + u'@' + QString::fromLatin1(hex)});
    EXPECT_EQ(result.out.toStdString(), "42\n") << result.err.toStdString();
}

TEST_F(DebugObject, MissingProgramIsAScriptError)
{
    const TestSupport::ProgramRun result = TestSupport::runProgram(
        TestSupport::binPath(QStringLiteral("tess")),
        {QStringLiteral("js"), QStringLiteral("--elf"), QStringLiteral("/nonexistent.elf"), QStringLiteral("-e"),
         QStringLiteral("Debug.evaluate('x')")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.startsWith("Debug.evaluate: /nonexistent.elf")) << result.err.toStdString();
}

} // namespace
