// A text built by appending stays within a few times its own size: each run is a real `tess js`
// child whose peak memory the kernel reports.
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Appends `pieces` copies of a ten-character piece and prints the length.
QByteArray appendingScript(long pieces)
{
    return "var piece = \"0123456789\";\n"
           "var s = \"\";\n"
           "for (var i = 0; i < " + QByteArray::number(qlonglong(pieces)) + "; i++)\n"
           "    s = s + piece;\n"
           "WScript.Echo(s.length);\n";
}

TestSupport::MeasuredRun runScript(const QTemporaryDir &directory, const QByteArray &script)
{
    const QString path = directory.filePath(QStringLiteral("append.js"));
    TestSupport::writeFile(path, script);
    return TestSupport::runProgramMeasured(TestSupport::binPath(QStringLiteral("tess")),
                                           {QStringLiteral("js"), path});
}

TEST(StringBuilding, FiftyMegabytesByAppendingStayWithinFourTimesTheirSize)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const TestSupport::MeasuredRun empty = runScript(directory, appendingScript(0));
    ASSERT_EQ(empty.exitCode, 0) << empty.output.toStdString();
    ASSERT_EQ(empty.output.toStdString(), "0\n");

    constexpr long pieces = 5000000;   // 50,000,000 characters
    const TestSupport::MeasuredRun built = runScript(directory, appendingScript(pieces));
    ASSERT_EQ(built.exitCode, 0) << built.output.toStdString();
    EXPECT_EQ(built.output.toStdString(), "50000000\n");
    constexpr long sizeKilobytes = pieces * 10 / 1024;
    constexpr long slackKilobytes = 16 * 1024;
    EXPECT_LE(built.peakKilobytes, empty.peakKilobytes + 4 * sizeKilobytes + slackKilobytes)
        << "peak " << built.peakKilobytes << " KB, empty script " << empty.peakKilobytes << " KB";
}

TEST(StringBuilding, IntermediateTextsAreReleased)
{
    // Each round builds a fresh text of 100,000 characters and drops it; kept, the rounds would
    // need two gigabytes.
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QByteArray script = "var total = 0;\n"
                              "for (var round = 0; round < 10000; round++) {\n"
                              "    var s = \"\" + round;\n"
                              "    for (var i = 0; i < 10; i++)\n"
                              "        s = s + \"0123456789\";\n"
                              "    s = s + s + s + s + s + s + s + s + s + s;\n"
                              "    s = s + s + s + s + s + s + s + s + s + s;\n"
                              "    total += s.length;\n"
                              "}\n"
                              "WScript.Echo(total);\n";
    const TestSupport::MeasuredRun run = runScript(directory, script);
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(run.output.toStdString(), "103889000\n");
    EXPECT_LE(run.peakKilobytes, 128 * 1024);
}

} // namespace
