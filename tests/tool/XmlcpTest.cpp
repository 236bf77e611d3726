#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::ProgramRun;

const QString xmlcp = TestSupport::binPath("xmlcp");

struct ToolCase {
    const char *name;
    QByteArray input;        // written to in.xml
    QStringList arguments;   // "IN" and "OUT" stand for the two paths
    int exitCode;
    QByteArray err;          // "IN"/"OUT" replaced; "ARGV0" is the program path
    QByteArray output;       // the file at OUT; "-" for no file
};

class Xmlcp : public ::testing::TestWithParam<ToolCase> {};

QByteArray substitute(QByteArray text, const QString &in, const QString &out)
{
    const QString varnelDir = QDir(QFileInfo(xmlcp).path() + "/..").canonicalPath();
    return text.replace("ARGV0", xmlcp.toLocal8Bit())
        .replace("VARNELDIR", varnelDir.toLocal8Bit())
        .replace("IN", in.toLocal8Bit())
        .replace("OUT", out.toLocal8Bit());
}

TEST_P(Xmlcp, CommandLine)
{
    const ToolCase &c = GetParam();
    QTemporaryDir dir;
    const QString in = dir.filePath("in.xml");
    const QString out = dir.filePath("out.xml");
    TestSupport::writeFile(in, c.input);
    QStringList arguments;
    for (QString argument : c.arguments)
        arguments << argument.replace("IN", in).replace("OUT", out);
    const ProgramRun run = TestSupport::runProgram(xmlcp, arguments);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_EQ(run.err.toStdString(), substitute(c.err, in, out).toStdString());
    if (c.output == "-")
        EXPECT_FALSE(QFile::exists(out));
    else
        EXPECT_EQ(TestSupport::readFile(out).toStdString(), c.output.toStdString());
}

const QByteArray usage = "ARGV0: <infile> <outfile> [macro1=value;macro2=value;..]\n";

INSTANTIATE_TEST_SUITE_P(
    Plain, Xmlcp,
    ::testing::Values(
        ToolCase{"oneArgument", "<a/>", {"IN"}, 1, usage, "-"},
        ToolCase{"noArgument", "<a/>", {}, 1, usage, "-"},
        ToolCase{"textDropped", "<a>text<b/></a>", {"IN", "OUT"}, 0, "", "<a>\n  <b/>\n</a>\n"},
        ToolCase{"declarationKept", "<?xml version=\"1.0\"?><a/>", {"IN", "OUT"}, 0, "",
                 "<?xml  version=\"1.0\" ?>\n<a/>\n"},
        ToolCase{"doctypeArgument", "<a/>", {"IN", "OUT", "x=1;y=2", "mydoc"}, 0, "",
                 "<!DOCTYPE mydoc>\n<a/>\n"},
        ToolCase{"escapedSemicolon", "<a v=\"$(x)\"/>", {"IN", "OUT", "x=a\\;b"}, 0, "",
                 "<a v=\"a;b\" />\n"},
        ToolCase{"unknownDirective", "<a><iff x=\"1\"><b/></iff></a>", {"IN", "OUT"}, 0, "",
                 "<a>\n  <iff x=\"1\">\n    <b/>\n  </iff>\n</a>\n"},
        ToolCase{"varnelDir", "<a><include filename=\"$(VarnelDir)/nothing-here.xml\"/></a>",
                 {"IN", "OUT"}, 1,
                 "XmlPP::processConditionals(): error \"couldn't read VARNELDIR/nothing-here.xml\" "
                 "in include file VARNELDIR/nothing-here.xml line:0\n",
                 "-"},
        ToolCase{"missingOutputDirectory", "<a/>", {"IN", "OUT/../missing/out.xml"}, 0, "", "-"},
        ToolCase{"preprocessorError", "<a><define value=\"1\"/></a>", {"IN", "OUT"}, 1,
                 "XmlPP::processConditionals(): missing name in <define>\n", "-"},
        ToolCase{"includeCycle", "<a><include filename=\"in.xml\"/></a>", {"IN", "OUT"}, 1,
                 "XmlPP::processConditionals(): include cycle: IN -> IN\n", "-"},
        ToolCase{"mismatch", "<a>\n<b></a>", {"IN", "OUT"}, 1, "load error tagName mismatch at 1\n", "-"},
        ToolCase{"badTagName", "<a x=1>", {"IN", "OUT"}, 1, "load error bad tagName at 0\n", "-"},
        ToolCase{"noInputFile", "", {"IN.missing", "OUT"}, 1, "load error couldn't read IN.missing at 0\n", "-"},
        ToolCase{"truncated", "<a><b>", {"IN", "OUT"}, 0, "", ""},
        ToolCase{"notXml", "just words", {"IN", "OUT"}, 0, "", ""},
        ToolCase{"binaryGarbage", "\xff\xfe<\x01\x02>\xfe<a \x03", {"IN", "OUT"}, 0, "", ""},
        ToolCase{"leadingNul", QByteArray("\x00<a/>", 5), {"IN", "OUT"}, 0, "", ""},
        ToolCase{"xhtmlxIsPlainInput", "<a/>", {"-xhtmlx", "OUT"}, 1,
                 "load error couldn't read -xhtmlx at 0\n", "-"}),
    [](const auto &info) { return std::string(info.param.name); });

const QByteArray html401 = "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\" "
                           "\"http://www.w3.org/TR/html4/strict.dtd\">\n";

INSTANTIATE_TEST_SUITE_P(
    Xhtml, Xmlcp,
    ::testing::Values(
        ToolCase{"page", "<html><body><if host_os=\"linux\"><p>caf\xc3\xa9\xc2\xa0</p></if></body></html>",
                 {"-xhtml", "IN", "OUT", "a=1"}, 0, "",
                 html401 + "<html>\n  <body>\n    <p>caf&#233;&nbsp;</p>\n  </body>\n</html>\n"},
        ToolCase{"ownDoctypeKept", "<!DOCTYPE html><html/>", {"-xhtml", "IN", "OUT"}, 0, "",
                 "<!DOCTYPE html>\n<html/>\n"},
        ToolCase{"definitionsNotSeen", "<p><ifdef name=\"a\">x</ifdef></p>", {"-xhtml", "IN", "OUT", "a=1"},
                 0, "", html401 + "<p/>\n"},
        ToolCase{"missingInput", "", {"-xhtml", "IN.missing", "OUT"}, 1,
                 "error: cannot open xml file IN.missing\n", "-"},
        ToolCase{"badXml", "<a>\n<b></a>", {"-xhtml", "IN", "OUT"}, 1,
                 "error: Cannot load xml file: IN - tag mismatch line: 2 column: 7\n", "-"},
        ToolCase{"emptyInput", "", {"-xhtml", "IN", "OUT"}, 1,
                 "error: Cannot load xml file: IN - unexpected end of file line: 1 column: 1\n", "-"},
        ToolCase{"unwritableOutput", "<a/>", {"-xhtml", "IN", "OUT/../missing/out.html"}, 1,
                 "error: cannot open OUT/../missing/out.html\n", "-"},
        ToolCase{"noOutputArgument", "<a/>", {"-xhtml", "IN"}, 1, usage, "-"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(XmlcpInput, DeepNestingEndsWithMessage)
{
    QTemporaryDir dir;
    const QByteArray deep = QByteArray("<a>").repeated(50000) + QByteArray("</a>").repeated(50000);
    TestSupport::writeFile(dir.filePath("in.xml"), deep);
    const ProgramRun run =
        TestSupport::runProgram(xmlcp, {dir.filePath("in.xml"), dir.filePath("out.xml")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("XmlPP::processConditionals(): <a> in ")) << run.err.toStdString();
    EXPECT_TRUE(run.err.endsWith(" is nested deeper than 400 levels\n"));
}

TEST(XmlcpInput, DeepPageRefused)
{
    QTemporaryDir dir;
    const QByteArray deep = QByteArray("<a>").repeated(50000) + QByteArray("</a>").repeated(50000);
    TestSupport::writeFile(dir.filePath("in.xml"), deep);
    const ProgramRun run = TestSupport::runProgram(
        xmlcp, {"-xhtml", dir.filePath("in.xml"), dir.filePath("out.html")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.toStdString(), "error: Cannot load xml file: " + dir.filePath("in.xml").toStdString()
                                         + " - elements nested deeper than 400 levels line: 1 column: 1203\n");
}

TEST(XmlcpInput, UnreadableFile)
{
    QTemporaryDir dir;
    const ProgramRun run = TestSupport::runProgram(xmlcp, {dir.path(), dir.filePath("out.xml")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("load error ")) << run.err.toStdString();
}

TEST(XmlcpInput, IncludeRelativeToInput)
{
    QTemporaryDir dir;
    QDir().mkpath(dir.filePath("parts"));
    TestSupport::writeFile(dir.filePath("parts/main.xml"),
                           "<board><include filename=\"mem.xml\" no_root=\"1\"/></board>");
    TestSupport::writeFile(dir.filePath("parts/mem.xml"),
                           "<m><for index=\"i\" start=\"0\" end=\"2\" incr=\"1\" mul=\"4096\" add=\"$(Base)\">"
                           "<bank n=\"$(i)\" at=\"$(i_ap_hex)\"/></for></m>");
    const ProgramRun run = TestSupport::runProgram(
        xmlcp, {"parts/main.xml", "out.xml", "Base=0x20000000"}, {}, dir.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(TestSupport::readFile(dir.filePath("out.xml")),
              "<board>\n  <bank n=\"0\" at=\"0x20000000\" />\n  <bank n=\"1\" at=\"0x20001000\" />\n"
              "</board>\n");
}

} // namespace
