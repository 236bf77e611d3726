// The host objects as a script sees them through `tess js`: results, error texts and statuses.
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <csignal>

namespace {

using TestSupport::runProgram;

TestSupport::ProgramRun js(const QStringList &arguments, const QString &directory = {})
{
    return runProgram(TestSupport::binPath(QStringLiteral("tess")),
                      QStringList{QStringLiteral("js")} + arguments, {}, directory);
}

struct ScriptCase {
    const char *name;
    const char *script;
    int exitCode;
    const char *out;
    const char *err;   // the first line of standard error
};

class HostScript : public ::testing::TestWithParam<ScriptCase> {};

// Each case runs in a fresh directory holding "data.bin" (the bytes 1 to 8) and "text.txt".
TEST_P(HostScript, PrintsAndExits)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    TestSupport::writeFile(directory.filePath(QStringLiteral("data.bin")),
                           QByteArray("\x01\x02\x03\x04\x05\x06\x07\x08", 8));
    TestSupport::writeFile(directory.filePath(QStringLiteral("text.txt")), "caf\xc3\xa9\n");
    const TestSupport::ProgramRun run =
        js({QStringLiteral("-e"), QString::fromUtf8(GetParam().script)}, directory.path());
    EXPECT_EQ(run.exitCode, GetParam().exitCode) << run.err.toStdString();
    EXPECT_EQ(run.out.toStdString(), GetParam().out);
    const QByteArray firstLine = run.err.split('\n').value(0);
    EXPECT_EQ(firstLine.toStdString(), GetParam().err);
}

INSTANTIATE_TEST_SUITE_P(TMSys, HostScript, ::testing::Values(
    ScriptCase{"crcCheckValue", "TMSys.crc32([49,50,51,52,53,54,55,56,57]).toString(16)", 0, "fc891918\n", ""},
    ScriptCase{"crcOfNothing", "TMSys.crc32([])", 0, "0\n", ""},
    ScriptCase{"crcNeedsArray", "TMSys.crc32('123')", 1, "", "TMSys.crc32: argument 1 must be an array of bytes"},
    ScriptCase{"readString", "TMSys.readStringFromFile('text.txt').length", 0, "5\n", ""},
    ScriptCase{"readMissing", "TMSys.readStringFromFile('none.txt')", 1, "",
               "TMSys.readStringFromFile: none.txt: cannot open: No such file or directory"},
    ScriptCase{"readDirectory", "TMSys.readByteArrayFromFile('.')", 1, "", "TMSys.readByteArrayFromFile: .: is a directory"},
    ScriptCase{"readBytes", "TMSys.readByteArrayFromFile('data.bin')", 0, "1\n2\n3\n4\n5\n6\n7\n8\n", ""},
    ScriptCase{"writeReadAppend",
               "TMSys.writeStringToFile('o.txt', 'a'); TMSys.appendStringToFile('o.txt', 'b'); "
               "TMSys.readStringFromFile('o.txt') + TMSys.fileSize('o.txt')", 0, "ab2\n", ""},
    ScriptCase{"writeIntoDirectoryFails", "TMSys.writeStringToFile('.', 'x')", 0, "false\n", ""},
    ScriptCase{"fileSizeOfMissing", "TMSys.fileSize('none')", 0, "-1\n", ""},
    ScriptCase{"copyRenameRemove",
               "[TMSys.copyFile('data.bin', 'c.bin'), TMSys.renameFile('c.bin', 'd.bin'), "
               "TMSys.fileExists('c.bin'), TMSys.fileSize('d.bin'), TMSys.removeFile('d.bin'), "
               "TMSys.fileExists('d.bin')]", 0, "true\ntrue\nfalse\n8\ntrue\nfalse\n", ""},
    ScriptCase{"copyMissing", "TMSys.copyFile('none', 'x')", 0, "false\n", ""},
    ScriptCase{"directories", "[TMSys.makeDirectory('a/b'), TMSys.removeDirectory('a/b'), TMSys.fileExists('a')]",
               0, "true\ntrue\ntrue\n", ""},
    ScriptCase{"packLittleAndBig",
               "var a = [0,0,0,0,0,0,0,0]; TMSys.packU32(a, 0, 0x01020304); TMSys.packU32(a, 4, 0x01020304, false); "
               "a.join(' ') + ' ' + TMSys.unpackU32(a, 0).toString(16) + ' ' + TMSys.unpackU32(a, 4, false).toString(16)",
               0, "4 3 2 1 1 2 3 4 1020304 1020304\n", ""},
    ScriptCase{"unpackPastEnd", "TMSys.unpackU32([1,2,3], 0)", 1, "",
               "TMSys.unpackU32: offset 0 leaves fewer than 4 bytes in an array of 3"},
    ScriptCase{"runWaits", "[TMSys.run('echo out; echo err >&2; exit 3', true), TMSys.getRunStdout(), TMSys.getRunStderr()]",
               0, "3\nout\n\nerr\n\n", ""},
    ScriptCase{"runMissingProgram", "TMSys.run('/nonexistent/program', true) + ':' + (TMSys.getRunStderr().length > 0)",
               0, "127:true\n", ""},
    ScriptCase{"runNeedsText", "TMSys.run()", 1, "", "TMSys.run: argument 1 must be a string, not undefined"},
    ScriptCase{"popupDefaultsToNo", "TMSys.popup('Flash the board?')", 0, "false\n",
               "TMSys.popup: Flash the board?: answered no"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(BinaryFile, HostScript, ::testing::Values(
    ScriptCase{"loadAndPeekBothOrders",
               "BinaryFile.load('data.bin'); [BinaryFile.length(), BinaryFile.peekUint32(0).toString(16), "
               "BinaryFile.peekUint32(4, false).toString(16)]", 0, "8\n4030201\n5060708\n", ""},
    ScriptCase{"pokeAndSaveRange",
               "BinaryFile.load('data.bin'); BinaryFile.pokeUint32(0, 0xA0B0C0D0, false); "
               "BinaryFile.pokeBytes(4, [9, 256 + 10]); BinaryFile.saveRange('r.bin', 2, 100); "
               "BinaryFile.load('r.bin'); BinaryFile.peekBytes(0, BinaryFile.length())",
               0, "192\n208\n9\n10\n7\n8\n", ""},
    ScriptCase{"appendAndCrc",
               "BinaryFile.load('data.bin'); BinaryFile.loadAppend('data.bin'); "
               "[BinaryFile.length(), BinaryFile.crc32(0, 8) == BinaryFile.crc32(8, 8)]", 0, "16\ntrue\n", ""},
    ScriptCase{"resizeFills", "BinaryFile.resize(3, 0x1FF); BinaryFile.resize(2); BinaryFile.resize(4, 7); BinaryFile.peekBytes(0, 4)",
               0, "255\n255\n7\n7\n", ""},
    ScriptCase{"resizeTooLarge", "BinaryFile.resize(Math.pow(2, 32))", 1, "",
               "BinaryFile.resize: argument 1 is 4294967296, not a whole number from 0 to 268435456"},
    ScriptCase{"resizeNegative", "BinaryFile.resize(-1)", 1, "",
               "BinaryFile.resize: argument 1 is -1, not a whole number from 0 to 268435456"},
    ScriptCase{"peekPastEnd", "BinaryFile.load('data.bin'); BinaryFile.peekUint32(5)", 1, "",
               "BinaryFile.peekUint32: offset 5 with 4 bytes is outside the image of 8 bytes"},
    ScriptCase{"peekNotANumber", "BinaryFile.load('data.bin'); BinaryFile.peekUint32('x')", 1, "",
               "BinaryFile.peekUint32: offset x with 4 bytes is outside the image of 8 bytes"},
    ScriptCase{"pokeBytesPastEnd", "BinaryFile.load('data.bin'); BinaryFile.pokeBytes(7, [1, 2])", 1, "",
               "BinaryFile.pokeBytes: offset 7 with 2 bytes is outside the image of 8 bytes"},
    ScriptCase{"crcPastEnd", "BinaryFile.load('data.bin'); BinaryFile.crc32(4, 5)", 1, "",
               "BinaryFile.crc32: offset 4 with 5 bytes is outside the image of 8 bytes"},
    ScriptCase{"peekBytesHugeLength", "BinaryFile.peekBytes(0, 1e12)", 1, "",
               "BinaryFile.peekBytes: argument 2 is 1000000000000, not a whole number from 0 to 67108864"},
    ScriptCase{"loadMissing", "BinaryFile.load('none.bin')", 1, "",
               "BinaryFile.load: none.bin: cannot open: No such file or directory"},
    ScriptCase{"loadDirectory", "BinaryFile.load('.')", 1, "", "BinaryFile.load: .: is a directory"},
    ScriptCase{"saveIntoMissingDirectory", "BinaryFile.save('no/such/dir/x.bin')", 1, "",
               "BinaryFile.save: no/such/dir/x.bin: No such file or directory"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(Others, HostScript, ::testing::Values(
    ScriptCase{"wscriptEcho", "WScript.Echo('a'); WScript.Echo(1 / 4)", 0, "a\n0.25\n", ""},
    ScriptCase{"scriptEcho", "Script.Echo('b')", 0, "b\n", ""},
    ScriptCase{"varnelSetErrorFailsTheRun", "Varnel.SetError('checksum mismatch'); 1", 1, "", "checksum mismatch"},
    ScriptCase{"varnelDelay", "Varnel.Delay(1); 'waited'", 0, "waited\n", ""},
    ScriptCase{"varnelDelayTooLong", "Varnel.Delay(1e15)", 1, "",
               "Varnel.Delay: argument 1 is 1000000000000000, not a whole number from 0 to 86400000"},
    ScriptCase{"qobjectEnumByKey", "ESQObject.SetProperty('popupAnswer', 'Yes'); [ESQObject.GetProperty('popupAnswer'), TMSys.popup('q')]",
               0, "Yes\ntrue\n", "TMSys.popup: q: answered yes"},
    ScriptCase{"qobjectBadEnum", "ESQObject.SetProperty('popupAnswer', 'Maybe')", 1, "", "invalid enum value: Maybe"},
    ScriptCase{"qobjectUnknown", "ESQObject.GetProperty('colour')", 1, "", "unknown property: colour"},
    ScriptCase{"qobjectBoolean", "ESQObject.SetProperty('processEvents', 'true'); ESQObject.GetProperty('processEvents')",
               0, "true\n", ""},
    ScriptCase{"buildWithoutSolution", "Build.buildSolution()", 1, "", "Build.buildSolution: no solution is open"},
    ScriptCase{"debugNeedsTarget", "Debug.go()", 1, "", "Debug.go: no target connected"},
    ScriptCase{"debugBreakNeedsTarget", "Debug.breakline('main.c', 3)", 1, "", "Debug.breakline: no target connected"},
    ScriptCase{"debugNotStopped", "Debug.stopped()", 0, "false\n", ""},
    ScriptCase{"debugWithoutProgram", "Debug.evaluate('x')", 1, "",
               "Debug.evaluate: no program loaded (give tess js --elf FILE)"},
    ScriptCase{"debugBadRadix", "Debug.setprintradix(3)", 1, "", "Debug.setprintradix: radix 3 is not 2, 8, 10 or 16"},
    ScriptCase{"threadsLimit",
               "for (var i = 0; i < 70; ++i) Threads.add(['thread ' + i]); Threads.add(['x'])", 0, "false\n",
               "Maximum thread number 64 to display has been reached. The project property Thread Maximum sets this value."},
    ScriptCase{"threadsFullName", "String(Threads.setColumns2) == String(Threads.setColumns)", 0, "true\n", ""},
    ScriptCase{"notAFunctionNote", "TMSys.nothing()", 1, "", "not a function object"},
    ScriptCase{"arrayResultIsAList", "[1, 'two', 3.5]", 0, "1\ntwo\n3.5\n", ""}),
    [](const auto &info) { return std::string(info.param.name); });

// Every host function with its length and help text, as a script lists them.
TEST(HostTables, NamesLengthsAndHelpTexts)
{
    const char *script =
        "var objects = ['TMSys', 'WScript', 'Script', 'BinaryFile', 'Build', 'Debug', 'Threads', "
        "'Varnel', 'ESQObject'];"
        "for (var i = 0; i < objects.length; ++i) {"
        "  var o = this[objects[i]];"
        "  for (var name in o) WScript.Echo(objects[i] + '.' + name + '\\t' + o[name].length + '\\t'"
        "      + (o[name].help == undefined ? '-' : o[name].help));"
        "}";
    const TestSupport::ProgramRun run = js({QStringLiteral("-e"), QString::fromLatin1(script)});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/host-functions.txt"), run.out);
}

TEST(HostTables, DocumentedSpellingsAndLengths)
{
    const TestSupport::ProgramRun run = js({QStringLiteral("-e"),
        QStringLiteral("[Debug.getlinenumber.help, TMSys.packU32.length, Script.Echo.length, "
                       "Build.targetProcessor.length, Debug.locatepc.length]")});
    EXPECT_EQ(run.out.toStdString(),
              "<b>Debug.getlineumber()</b> return located linenumber.\n4\n0\n1\n1\n");
}

TEST(ScriptStop, InstructionBudgetEndsAnEndlessScript)
{
    const TestSupport::ProgramRun run = js({QStringLiteral("--max-instructions"), QStringLiteral("5000"),
                                            QStringLiteral("-e"), QStringLiteral("for (;;) {}")});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.err.toStdString(), "tess js: stopped after 5000 instructions\n");
}

TEST(ScriptStop, NestedLoadIsRefusedNotFatal)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("self.js"));
    TestSupport::writeFile(path, "load('" + path.toUtf8() + "');\n");
    const TestSupport::ProgramRun run = js({path});
    EXPECT_EQ(run.exitCode, 1);
    // Which limit comes first depends on the frame sizes of the build (a sanitizer build's are
    // larger): either way the script ends with a clear error.
    EXPECT_TRUE(run.err.startsWith("expression or statement nested too deeply")
                || run.err.startsWith("virtual machine stack too small"))
        << run.err.toStdString();
}

TEST(ScriptConsole, KeepsOneContextUntilAFatalError)
{
    const TestSupport::ProgramRun run = runProgram(
        TestSupport::binPath(QStringLiteral("tess")), {QStringLiteral("js"), QStringLiteral("-i")},
        "BinaryFile.resize(4, 1);\nBinaryFile.length()\nfunction f() { return f(); } f();\n"
        "BinaryFile.length()\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "4\n0\n");
    EXPECT_EQ(run.err, "virtual machine stack too small\n");
}

// The release example: build, check through Debug, stamp and save through BinaryFile.
TEST(ReleaseExample, BuildsStampsAndChecks)
{
    QTemporaryDir directory;
    const QString examples = QStringLiteral(TESS_SOURCE_DIR "/examples/scripts/");
    for (const char *name : {"release.qvProject", "release.js"})
        TestSupport::writeFile(directory.filePath(QLatin1String(name)),
                               TestSupport::readFile(examples + QLatin1String(name)));
    QDir(directory.path()).mkpath(QStringLiteral("src"));
    TestSupport::writeFile(directory.filePath(QStringLiteral("src/firmware.c")),
                           TestSupport::readFile(examples + QStringLiteral("src/firmware.c")));
    const TestSupport::ProgramRun run =
        js({QStringLiteral("--solution"), QStringLiteral("release.qvProject"), QStringLiteral("--elf"),
            QStringLiteral("Output/Debug/Exe/firmware.elf"), QStringLiteral("release.js")},
           directory.path());
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString() << run.out.toStdString();
    EXPECT_TRUE(run.out.contains("firmware_version = 0x00010203\n")) << run.out.toStdString();
    const QByteArray image = TestSupport::readFile(directory.filePath(QStringLiteral("Output/firmware-release.bin")));
    const QByteArray elf = TestSupport::readFile(directory.filePath(QStringLiteral("Output/Debug/Exe/firmware.elf")));
    ASSERT_EQ(image.size(), elf.size() + 16);
    EXPECT_EQ(image.left(8), QByteArray("TREL\x03\x02\x01\x00", 8));
    EXPECT_EQ(image.mid(16), elf);
}

} // namespace

namespace {

// Build on a copy of the example solution.
class BuildObject : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        const QString example = QStringLiteral(TESS_SOURCE_DIR "/examples/build");
        QProcess copy;
        copy.start(QStringLiteral("cp"), {QStringLiteral("-R"), example + QStringLiteral("/demo.qvProject"),
                                          example + QStringLiteral("/src"), example + QStringLiteral("/data"),
                                          m_directory.path()});
        ASSERT_TRUE(copy.waitForFinished(60000));
        ASSERT_EQ(copy.exitCode(), 0);
    }
    TestSupport::ProgramRun run(const QString &script, const QStringList &extra = {})
    {
        return js(QStringList{QStringLiteral("--solution"), QStringLiteral("demo.qvProject")} + extra
                      + QStringList{QStringLiteral("-e"), script},
                  m_directory.path());
    }
    QTemporaryDir m_directory;
};

TEST_F(BuildObject, ConfigurationAndActiveProject)
{
    const TestSupport::ProgramRun result = run(QStringLiteral(
        "[Build.buildConfiguration(), Build.setBuildConfiguration('Nope'), Build.setBuildConfiguration('Release'), "
        "Build.buildConfiguration(), Build.activeProject(), Build.setActiveProject('nope'), "
        "Build.setActiveProject('app'), Build.activeProject(), Build.listTargetProcessors().length]"));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out.toStdString(), "Debug\nfalse\ntrue\nRelease\nmathlib\nfalse\ntrue\napp\n0\n");
}

TEST_F(BuildObject, BuildsCleansAndRebuildsWithTheLogOnStandardOutput)
{
    TestSupport::ProgramRun result = run(QStringLiteral(
        "var built = Build.buildActiveProject(); WScript.Echo('built ' + built + ' ' + TMSys.fileExists('Output/Debug/Exe/app.elf'));"
        "WScript.Echo('again ' + Build.buildSolution());"
        "WScript.Echo('clean ' + Build.cleanActiveProject() + ' ' + TMSys.fileExists('Output/Debug/Exe/app.elf'));"),
        {QStringLiteral("--project"), QStringLiteral("app")});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("[1/")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("built true true\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("again true\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("clean true false\n")) << result.out.toStdString();
}

TEST_F(BuildObject, FailedBuildIsFalse)
{
    TestSupport::writeFile(m_directory.filePath(QStringLiteral("src/app/main.c")), "int main(void) { return }\n");
    const TestSupport::ProgramRun result =
        run(QStringLiteral("Build.buildActiveProject()"), {QStringLiteral("--project"), QStringLiteral("app")});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.endsWith("false\n")) << result.out.toStdString();
}

TEST_F(BuildObject, BadSolutionAndProjectAreRefused)
{
    TestSupport::ProgramRun result = js({QStringLiteral("--solution"), QStringLiteral("none.qvProject"),
                                         QStringLiteral("-e"), QStringLiteral("1")}, m_directory.path());
    EXPECT_EQ(result.exitCode, 1);
    result = run(QStringLiteral("1"), {QStringLiteral("--project"), QStringLiteral("nope")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.toStdString(), "tess js: no project 'nope' in demo.qvProject\n");
}

TEST(ScriptStop, InterruptStopsAnEndlessScript)
{
    QProcess process;
    process.start(TestSupport::binPath(QStringLiteral("tess")),
                  {QStringLiteral("js"), QStringLiteral("-e"), QStringLiteral("WScript.Echo('looping'); for (;;) {}")});
    ASSERT_TRUE(process.waitForStarted(30000));
    // The script says when it has begun; the interrupt comes after that.
    ASSERT_TRUE(process.waitForReadyRead(30000));
    ::kill(pid_t(process.processId()), SIGINT);
    if (!process.waitForFinished(30000))
        process.kill();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 3);
    EXPECT_EQ(process.readAllStandardError().toStdString(), "tess js: stopped\n");
}

} // namespace

namespace {

// Every host function with arguments of every wrong kind: each call gives a result or the
// function's error, the console goes on, nothing crashes or hangs.
TEST(HostArgumentsSweep, WrongArgumentsNeverCrash)
{
    const QByteArray listing = TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/golden/host-functions.txt"));
    const char *const argumentSets[] = {"", "undefined", "{}", "null, -1", "'x', 1e20, true", "[1, 2], NaN",
                                        "-1, -1, -1, -1", "4294967296, 'y', {}, []", "'data.bin', 0, 4"};
    QByteArray lines;
    int calls = 0;
    for (const QByteArray &row : listing.split('\n')) {
        const QByteArray function = row.split('\t').value(0);
        if (function.isEmpty() || function.startsWith("Varnel.Delay"))
            continue;
        for (const char *arguments : argumentSets) {
            lines += function + '(' + arguments + ")\n";
            ++calls;
        }
    }
    lines += "'done'\n";
    QTemporaryDir directory;
    TestSupport::writeFile(directory.filePath(QStringLiteral("data.bin")), QByteArray(16, '\x5a'));
    const TestSupport::ProgramRun run = runProgram(TestSupport::binPath(QStringLiteral("tess")),
                                                   {QStringLiteral("js"), QStringLiteral("-i")}, lines,
                                                   directory.path());
    EXPECT_GT(calls, 1000);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.endsWith("done\n")) << run.out.right(200).toStdString();
    EXPECT_FALSE(run.err.contains("Fatal")) << run.err.toStdString();
}

} // namespace
