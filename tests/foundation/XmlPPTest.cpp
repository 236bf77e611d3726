#include "foundation/DocumentationPage.h"
#include "foundation/HException.h"
#include "foundation/PropertyClass.h"
#include "foundation/Report.h"
#include "foundation/XmlPP.h"
#include "tests/support/TestSupport.h"
#include <QBuffer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QStringList reports;

void recordReport(ReportChannel channel, const QString &message)
{
    reports << (channel == ReportChannel::Error ? "error: " : "warning: ") + message;
}

struct PageResult {
    QString text;      // the document without indentation
    QString reports;   // joined by '|'
};

// Preprocesses `page` as dir/page.xml, with `files` beside it, all channels open.
PageResult preprocessPage(const char *page, const std::vector<std::pair<const char *, QByteArray>> &files = {},
                          bool expand = false, MacroTable extra = {})
{
    QTemporaryDir dir;
    for (const auto &[name, bytes] : files)
        TestSupport::writeFile(dir.filePath(name), bytes);
    reports.clear();
    setReportMask(reportErrors | reportWarnings);
    setReportSink(recordReport);
    XmlPP preprocessor;
    QByteArray bytes(page);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QString message;
    EXPECT_TRUE(preprocessor.read(&buffer, &message, nullptr, nullptr)) << message.toStdString();
    for (auto it = extra.constBegin(); it != extra.constEnd(); ++it)
        preprocessor.macros.insert(it.key(), it.value());
    preprocessor.processConditionals(preprocessor.document, dir.filePath("page.xml"),
                                     preprocessor.macros, expand);
    setReportSink(nullptr);
    setReportMask(0);
    PageResult result{preprocessor.document.toString(-1), reports.join('|')};
    result.reports.replace(dir.path() + '/', "");
    return result;
}

struct PageCase {
    const char *name;
    const char *page;
    const char *text;
    const char *reports;
};

class PageDirective : public ::testing::TestWithParam<PageCase> {};

TEST_P(PageDirective, RewritesDom)
{
    const PageResult result = preprocessPage(GetParam().page);
    EXPECT_EQ(result.text.toStdString(), GetParam().text);
    EXPECT_EQ(result.reports.toStdString(), GetParam().reports);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PageDirective,
    ::testing::Values(
        PageCase{"ifOnDefaultMacro", "<p><if host_os=\"linux\"> a <b/></if><if host=\"WIN\">x</if></p>",
                 "<p> a <b/></p>", ""},
        PageCase{"ifnot", "<p><ifnot build=\"RELEASE\">x</ifnot><ifnot build=\"DEBUG\">y</ifnot></p>",
                 "<p>y</p>", ""},
        PageCase{"ifBadCountWarns", "<p><if><if build=\"RELEASE\">x</if></if></p>", "<p><if>x</if></p>",
                 "warning: XmlPP::processConditionals(): one condition required for <if[not]>"},
        PageCase{"defineLeaksToLaterSiblings",
                 "<p><if build=\"RELEASE\"><define name=\"v\" value=\"1\"/></if><ifdef name=\"v\">seen</ifdef></p>",
                 "<p>seen</p>", ""},
        PageCase{"defineMacroMissingValue", "<p><define_macro name=\"v\"/>t</p>", "<p>t</p>",
                 "warning: XmlPP::processConditionals(): missing name and/or value in <define_macro>"},
        PageCase{"switchDefault",
                 "<p><switch name=\"host\"><case value=\"WIN\">w</case><default>d</default></switch></p>",
                 "<p>d</p>", ""},
        PageCase{"expandDefinition",
                 "<p><define name=\"v\" value=\"Big Board\"/>[<expand_definition name=\"v\" lowercase=\"\" "
                 "underscore_spaces=\"\"/>]</p>",
                 "<p>[big_board]</p>", ""},
        PageCase{"expandDefinitionDefault", "<p><expand_definition name=\"nope\" default=\"dflt\"/></p>",
                 "<p>dflt</p>", ""},
        PageCase{"expandDefinitionEmptyEndsLevel",
                 "<d><p><expand_definition name=\"nope\"/><if host=\"UNIX\">kept as is</if></p>"
                 "<if host=\"UNIX\">x</if></d>",
                 "<d><p><if host=\"UNIX\">kept as is</if></p>x</d>", ""},
        PageCase{"expandAttributes", "<p a=\"$(ide)\" expand_attributes=\"a\"><q b=\"$(ide)\"/></p>",
                 "<p a=\"Tessmark\"><q b=\"$(ide)\"/></p>", ""},
        PageCase{"includeMissingFilename", "<p><include/></p>", "<p><include/></p>",
                 "error: XmlPP::processConditionals(): missing filename in <include>"},
        PageCase{"includeMissingFile", "<p><include filename=\"nope.xml\"/></p>",
                 "<p><include filename=\"nope.xml\"/></p>",
                 "error: XmlPP::processConditionals could not open include file nope.xml"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(PageInclude, TextWithTagAndCodec)
{
    const PageResult result = preprocessPage(
        "<p><include filename=\"t.txt\" type=\"text\" tag=\"code\" class=\"c\" id=\"\" "
        "encoding=\"ISO-8859-1\"/></p>",
        {{"t.txt", QByteArray("caf\xe9 <x>")}});
    EXPECT_EQ(result.text.toStdString(), "<p><code class=\"c\">caf\u00e9 &lt;x></code></p>");
}

TEST(PageInclude, XmlWithNoRootAndMacros)
{
    const PageResult result = preprocessPage(
        "<p><include filename=\"i.xml\" no_root=\"\" expand_macros=\"\" macros=\"w=2\"/></p>",
        {{"i.xml", "<r><q v=\"$(w)\"/><if w=\"2\">two</if></r>"}});
    EXPECT_EQ(result.text.toStdString(), "<p><q v=\"2\"/>two</p>");
}

TEST(PageInclude, BrokenXmlReported)
{
    const PageResult result = preprocessPage("<p><include filename=\"b.xml\"/></p>", {{"b.xml", "<a><b></a>"}});
    EXPECT_TRUE(result.reports.startsWith("error: XmlPP: error reading XML - ")) << result.reports.toStdString();
    EXPECT_EQ(result.text.toStdString(), "<p><include filename=\"b.xml\"/></p>");
}

TEST(PageInclude, SelfIncludeEnds)
{
    const PageResult result =
        preprocessPage("<p><include filename=\"s.xml\"/></p>", {{"s.xml", "<s><include filename=\"s.xml\"/></s>"}});
    EXPECT_TRUE(result.reports.contains("nested deeper than")) << result.reports.left(200).toStdString();
}

TEST(ReportChannels, ClosedByDefault)
{
    reports.clear();
    setReportSink(recordReport);
    report(ReportChannel::Error, "e");
    setReportMask(reportWarnings);
    report(ReportChannel::Error, "e2");
    report(ReportChannel::Warning, "w");
    setReportMask(0);
    setReportSink(nullptr);
    EXPECT_EQ(reports.join('|'), "warning: w");
}

TEST(DocumentationPageFile, WritesAsciiWithDoctype)
{
    QTemporaryDir dir;
    TestSupport::writeFile(dir.filePath("in.xml"), "<html><body>caf\xc3\xa9\xc2\xa0<b>\xe2\x82\xac</b></body></html>");
    DocumentationPage page;
    page.load(dir.filePath("in.xml"));
    page.save(dir.filePath("out.html"));
    EXPECT_EQ(TestSupport::readFile(dir.filePath("out.html")),
              "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\" \"http://www.w3.org/TR/html4/strict.dtd\">\n"
              "<html>\n  <body>caf&#233;&nbsp;<b>&#8364;</b>\n  </body>\n</html>\n");
}

TEST(DocumentationPageFile, Failures)
{
    QTemporaryDir dir;
    DocumentationPage page;
    try {
        page.load(dir.filePath("missing.xml"));
        FAIL() << "no exception";
    } catch (const HException &exception) {
        EXPECT_EQ(exception.message(), "cannot open xml file " + dir.filePath("missing.xml"));
    }
    TestSupport::writeFile(dir.filePath("bad.xml"), "<a>\n<b></a>");
    try {
        page.load(dir.filePath("bad.xml"));
        FAIL() << "no exception";
    } catch (const HException &exception) {
        EXPECT_EQ(exception.message(), "Cannot load xml file: " + dir.filePath("bad.xml")
                                           + " - tag mismatch line: 2 column: 7");
    }
}

TEST(DocumentationPageMacros, DateAndDefinitions)
{
    DocumentationPage page;
    page.addDefinitions("a=1;;b;c=x=y");
    EXPECT_EQ(page.macros().value("a"), "1");
    EXPECT_FALSE(page.macros().contains("b"));
    EXPECT_EQ(page.macros().value("c"), "x=y");
    EXPECT_EQ(page.macros().value("Year").toInt(), QDate::currentDate().year());
}

} // namespace
