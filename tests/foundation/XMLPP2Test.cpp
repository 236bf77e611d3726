#include "foundation/MacroSession.h"
#include "foundation/PropertyClass.h"
#include "foundation/XMLPP2.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using Files = std::vector<std::pair<const char *, const char *>>;

struct Result {
    int loaded = 0;
    QByteArray output;   // the tree written on one line
    QString messages;    // error() messages joined by '|'
};

// The macro system the preprocessor reads VarnelDir from, made once for the test program.
void ensureMacroSystem()
{
    static const MacroSession macros(QStringLiteral("/opt/tess"));
}

// Writes `files` (the first is main.xml) into a fresh directory and preprocesses main.xml.
Result preprocess(const Files &files, const QString &definitions = {}, bool expand = true,
                  const XMLPP2::Limits &limits = {})
{
    ensureMacroSystem();
    QTemporaryDir dir;
    for (const auto &[name, text] : files) {
        QDir().mkpath(QFileInfo(dir.filePath(name)).path());
        TestSupport::writeFile(dir.filePath(name), text);
    }
    XMLPP2 document;
    document.setLimits(limits);
    Result result;
    result.loaded = document.load(dir.filePath(files.front().first), definitions, expand);
    result.output = document.saveBuffer(0, 0);
    result.messages = document.messages().join('|');
    result.messages.replace(dir.path() + '/', "");
    return result;
}

struct DirectiveCase {
    const char *name;
    Files files;
    const char *definitions;
    const char *output;
    const char *messages;
};

class Directive : public ::testing::TestWithParam<DirectiveCase> {};

TEST_P(Directive, RewritesTree)
{
    const DirectiveCase &c = GetParam();
    const Result result = preprocess(c.files, c.definitions);
    EXPECT_EQ(result.loaded, 1);
    EXPECT_EQ(result.output.toStdString(), c.output);
    EXPECT_EQ(result.messages.toStdString(), c.messages);
}

const char *const prefix = "XmlPP::processConditionals(): ";

INSTANTIATE_TEST_SUITE_P(
    Conditionals, Directive,
    ::testing::Values(
        DirectiveCase{"ifTrueHoists", {{"main.xml", "<r><if a=\"2,1\"><x/><y/></if><z/></r>"}},
                      "a=1", "<r><x/><y/><z/></r>", ""},
        DirectiveCase{"ifFalseRemoves", {{"main.xml", "<r><if a=\"2\"><x/></if><z/></r>"}},
                      "a=1", "<r><z/></r>", ""},
        DirectiveCase{"ifInsertsEmptyValue",
                      {{"main.xml", "<r><if a=\"1\"><x/></if><ifdef name=\"a\"><y/></ifdef></r>"}},
                      "", "<r><y/></r>", ""},
        DirectiveCase{"ifEmptyListIsFalse", {{"main.xml", "<r><if a=\"\"><x/></if></r>"}}, "a=",
                      "<r/>", ""},
        DirectiveCase{"ifTwoAttributesKeeps",
                      {{"main.xml", "<r><if a=\"1\" b=\"1\"><if c=\"\"><x/></if></if></r>"}}, "",
                      "<r><if a=\"1\" b=\"1\" /></r>",
                      "XmlPP::processConditionals(): one condition required for <if[not]>"},
        DirectiveCase{"ifnot", {{"main.xml", "<r><ifnot a=\"1\"><x/></ifnot><ifnot a=\"2\"><y/></ifnot></r>"}},
                      "a=1", "<r><y/></r>", ""},
        DirectiveCase{"ifexTrue", {{"main.xml", "<r><ifex expression=\"$(n) * 2 == 8\"><x/></ifex></r>"}},
                      "n=4", "<r><x/></r>", ""},
        DirectiveCase{"ifexFalse", {{"main.xml", "<r><ifex expression=\"$(n) > 5\"><x/></ifex></r>"}},
                      "n=4", "<r/>", ""},
        DirectiveCase{"ifexNotBoolean", {{"main.xml", "<r><ifex expression=\"1\"><x/></ifex></r>"}},
                      "", "<r/>", ""},
        DirectiveCase{"ifexBroken", {{"main.xml", "<r><ifex expression=\"(1 ==\"><x/></ifex></r>"}},
                      "", "<r/>", ""},
        DirectiveCase{"ifexEmptyKeeps", {{"main.xml", "<r><ifex expression=\"\"><x/></ifex></r>"}},
                      "", "<r><ifex expression=\"\"><x/></ifex></r>", ""},
        DirectiveCase{"ifdefIfndef",
                      {{"main.xml", "<r><ifdef name=\"a\"><x/></ifdef><ifndef name=\"a\"><y/></ifndef>"
                                    "<ifndef name=\"b\"><z/></ifndef></r>"}},
                      "a", "<r><x/><z/></r>", ""},
        DirectiveCase{"switchCase",
                      {{"main.xml", "<r><switch name=\"v\"><case value=\"a,b\"><x/></case>"
                                    "<default><d/></default></switch></r>"}},
                      "v=b", "<r><x/></r>", ""},
        DirectiveCase{"switchDefault",
                      {{"main.xml", "<r><switch name=\"v\"><default><d1/></default><case value=\"a\"><x/>"
                                    "</case><default><d2/></default></switch></r>"}},
                      "v=c", "<r><d2/></r>", ""},
        DirectiveCase{"switchNoMatchRemoves",
                      {{"main.xml", "<r><switch name=\"v\"><case value=\"a\"><x/></case></switch><z/></r>"}},
                      "", "<r><z/></r>", ""},
        DirectiveCase{"unknownDirectivePasses",
                      {{"main.xml", "<r><iff a=\"1\"><x v=\"$(a)\"/></iff></r>"}}, "a=5",
                      "<r><iff a=\"1\"><x v=\"5\" /></iff></r>", ""},
        DirectiveCase{"rootDirectiveHoisted",
                      {{"main.xml", "<if a=\"1\"><board/><extra/></if>"}}, "a=1", "<board/>", ""},
        DirectiveCase{"rootDirectiveRemoved", {{"main.xml", "<if a=\"1\"><board/></if>"}}, "", "",
                      ""}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Definitions, Directive,
    ::testing::Values(
        DirectiveCase{"value", {{"main.xml", "<r><define name=\"x\" value=\"$(y)1\"/><e v=\"$(x)\"/></r>"}},
                      "y=a", "<r><e v=\"a1\" /></r>", ""},
        DirectiveCase{"expression", {{"main.xml", "<r><define name=\"x\" expression=\"$(y) * 3 - 1\"/><e v=\"$(x)\"/></r>"}},
                      "y=5", "<r><e v=\"14\" /></r>", ""},
        DirectiveCase{"negativeExpression", {{"main.xml", "<r><define name=\"x\" expression=\"2 - 5\"/><e v=\"$(x)\"/></r>"}},
                      "", "<r><e v=\"-3\" /></r>", ""},
        DirectiveCase{"hexExpression", {{"main.xml", "<r><define name=\"x\" hex_expression=\"0x10 * 10 + 11\"/><e v=\"$(x)\"/></r>"}},
                      "", "<r><e v=\"0xAB\" /></r>", ""},
        DirectiveCase{"failedExpressionDefinesNothing",
                      {{"main.xml", "<r><define name=\"x\" expression=\"1 +\"/><ifdef name=\"x\"><y/></ifdef></r>"}},
                      "", "<r/>", ""},
        DirectiveCase{"missingName", {{"main.xml", "<r><define value=\"1\"/></r>"}}, "", "<r/>",
                      "XmlPP::processConditionals(): missing name in <define>"},
        DirectiveCase{"missingValue", {{"main.xml", "<r><define name=\"x\"/></r>"}}, "", "<r/>",
                      "XmlPP::processConditionals(): missing value or expression in <define>"},
        DirectiveCase{"expandMacrosNo",
                      {{"main.xml", "<r><define name=\"x\" value=\"1\" expand_macros=\"No\"/><e v=\"$(x)\"/>"
                                    "<define name=\"y\" value=\"2\" expand_macros=\"Yes\"/><e v=\"$(y)\"/></r>"}},
                      "", "<r><e v=\"$(x)\" /><e v=\"2\" /></r>", ""},
        DirectiveCase{"defineInsideIfStaysInside",
                      {{"main.xml", "<r><if a=\"1\"><define name=\"x\" value=\"1\"/><in v=\"$(x)\"/></if>"
                                    "<out v=\"$(x)\"/></r>"}},
                      "a=1", "<r><in v=\"1\" /><out v=\"$(x)\" /></r>", ""},
        DirectiveCase{"defineReachesDescendants",
                      {{"main.xml", "<r><define name=\"x\" value=\"1\"/><a><b v=\"$(x)\"/></a></r>"}},
                      "", "<r><a><b v=\"1\" /></a></r>", ""},
        DirectiveCase{"xmlput",
                      {{"main.xml", "<r><xmldef name=\"d\"><p v=\"$(x)\"/></xmldef><xmlput name=\"d\"/>"
                                    "<xmlput name=\"d\" macros=\"x=2\"/></r>"}},
                      "x=1", "<r><p v=\"1\" /><p v=\"2\" /></r>", ""},
        DirectiveCase{"xmlputUnknown", {{"main.xml", "<r><xmlput name=\"nope\"><c/></xmlput></r>"}},
                      "", "<r><xmlput name=\"nope\"><c/></xmlput></r>",
                      "XmlPP::processConditionals(): xmlput cannot fine xmldef named nope"},
        DirectiveCase{"xmldefWithoutNameKeeps", {{"main.xml", "<r><xmldef><c/></xmldef></r>"}}, "",
                      "<r><xmldef><c/></xmldef></r>", ""}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Loops, Directive,
    ::testing::Values(
        DirectiveCase{"forMacros",
                      {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"3\" incr=\"1\" mul=\"4\" add=\"8\">"
                                    "<x n=\"$(i)\" h=\"$(i_hex)\" c=\"$(i_alpha)\" a=\"$(i_ap)\" b=\"$(i_ap_hex)\"/></for></r>"}},
                      "",
                      "<r><x n=\"0\" h=\"0x0\" c=\"A\" a=\"8\" b=\"0x8\" /><x n=\"1\" h=\"0x1\" c=\"B\" a=\"12\" "
                      "b=\"0xC\" /><x n=\"2\" h=\"0x2\" c=\"C\" a=\"16\" b=\"0x10\" /></r>",
                      ""},
        DirectiveCase{"forSubAndStep",
                      {{"main.xml", "<r><for index=\"k\" start=\"2\" end=\"7\" incr=\"2\" sub=\"1\"><x a=\"$(k_ap)\"/></for></r>"}},
                      "", "<r><x a=\"1\" /><x a=\"3\" /><x a=\"5\" /></r>", ""},
        DirectiveCase{"forOtherMacroLater",
                      {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"2\" incr=\"1\"><x v=\"$(i)$(s)\"/></for></r>"}},
                      "s=!", "<r><x v=\"0!\" /><x v=\"1!\" /></r>", ""},
        DirectiveCase{"forClonesAreWalked",
                      {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"3\" incr=\"1\"><if p=\"$(i)\"><x v=\"$(i)\"/></if></for></r>"}},
                      "p=1", "<r><x v=\"1\" /></r>", ""},
        DirectiveCase{"forEmptyRange", {{"main.xml", "<r><for index=\"i\" start=\"3\" end=\"3\" incr=\"1\"><x/></for></r>"}},
                      "", "<r/>", ""},
        DirectiveCase{"forMissingAttribute", {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"3\"><x/></for></r>"}},
                      "", "<r/>",
                      "XmlPP::processConditionals(): <for index=\"i\" start=\"0\" end=\"32\" incr=\"1\">"},
        DirectiveCase{"forZeroIncrement", {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"3\" incr=\"0\"><x/></for></r>"}},
                      "", "<r/>", "XmlPP::processConditionals(): <for index=\"i\"> never ends: incr is 0"},
        DirectiveCase{"foreachProduct",
                      {{"main.xml", "<r><foreach a=\"1,2\" b=\"x,y,z\"><e v=\"$(a)$(b)\"/></foreach></r>"}},
                      "",
                      "<r><e v=\"1x\" /><e v=\"1y\" /><e v=\"1z\" /><e v=\"2x\" /><e v=\"2y\" /><e v=\"2z\" /></r>",
                      ""},
        DirectiveCase{"foreachSplitAndExclude",
                      {{"main.xml", "<r><foreach split_by=\";\" exclude_entries=\"b\" exclude_wildcard=\"d*\" "
                                    "n=\"a;b;c;dx\"><e v=\"$(n)\"/></foreach></r>"}},
                      "", "<r><e v=\"a\" /><e v=\"c\" /></r>", ""},
        DirectiveCase{"foreachExcludeMissing",
                      {{"main.xml", "<r><foreach exclude_entries=\"q\" n=\"a,b\"><e v=\"$(n)\"/></foreach></r>"}},
                      "", "<r><e v=\"a\" /><e v=\"b\" /></r>",
                      "XmlPP::processConditionals(): exclude_entries cannot find entry named q"},
        DirectiveCase{"foreachExpandMacros",
                      {{"main.xml", "<r><foreach expand_macros=\"\" n=\"$$(list)\"><e v=\"$(n)\"/></foreach></r>"}},
                      "list=p,q", "<r><e v=\"p\" /><e v=\"q\" /></r>", ""}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Includes, Directive,
    ::testing::Values(
        DirectiveCase{"relative",
                      {{"main.xml", "<r><include filename=\"sub/part.xml\"/><z/></r>"},
                       {"sub/part.xml", "<part><include filename=\"leaf.xml\"/></part>"},
                       {"sub/leaf.xml", "<leaf v=\"$(a)\"/>"}},
                      "a=1", "<r><part><leaf v=\"1\" /></part><z/></r>", ""},
        DirectiveCase{"envelope",
                      {{"main.xml", "<r><include filename=\"e.xml\"/></r>"},
                       {"e.xml", "<envelope><a/><b/></envelope>"}},
                      "", "<r><a/><b/></r>", ""},
        DirectiveCase{"noRootAndInherit",
                      {{"main.xml", "<r><include filename=\"p.xml\" no_root=\"\"/>"
                                    "<include filename=\"p.xml\" id=\"7\" inherit_attributes=\"id;none\"/></r>"},
                       {"p.xml", "<p><c/></p>"}},
                      "", "<r><c/><p id=\"7\"><c/></p></r>", ""},
        DirectiveCase{"macrosAttribute",
                      {{"main.xml", "<r><include filename=\"p.xml\" macros=\"v=2\"/></r>"},
                       {"p.xml", "<p w=\"$(v)\"><c v=\"$(v)\"/></p>"}},
                      "v=1", "<r><p w=\"2\"><c v=\"2\" /></p></r>", ""},
        DirectiveCase{"missingFile",
                      {{"main.xml", "<r><include filename=\"nope.xml\"/><z/></r>"}}, "",
                      "<r><include filename=\"nope.xml\" /><z/></r>",
                      "XmlPP::processConditionals(): error \"couldn't read nope.xml\" in include file nope.xml line:0"},
        DirectiveCase{"emptyFile",
                      {{"main.xml", "<r><include filename=\"e.xml\"/></r>"}, {"e.xml", "  "}}, "",
                      "<r><include filename=\"e.xml\" /></r>",
                      "XmlPP::processConditionals(): error: include file 'e.xml' is empty"},
        DirectiveCase{"brokenFile",
                      {{"main.xml", "<r><include filename=\"b.xml\"/></r>"}, {"b.xml", "<a/>\n<b><c></b>"}},
                      "", "<r><include filename=\"b.xml\" /></r>",
                      "XmlPP::processConditionals(): error \"tagName mismatch\" in include file b.xml line:1"},
        DirectiveCase{"missingFilename", {{"main.xml", "<r><include><c/></include></r>"}}, "",
                      "<r><include><c/></include></r>",
                      "XmlPP::processConditionals(): missing filename in <include>"},
        DirectiveCase{"guardedSelfIncludeEnds",
                      {{"main.xml", "<r><include filename=\"self.xml\"/></r>"},
                       {"self.xml", "<s><ifndef name=\"once\"><define name=\"once\" value=\"1\"/>"
                                    "<include filename=\"self.xml\"/></ifndef></s>"}},
                      "", "<r><s><s/></s></r>", ""},
        DirectiveCase{"rootInclude", {{"main.xml", "<include filename=\"p.xml\"/>"}, {"p.xml", "<p/>"}},
                      "", "<p/>", ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(IncludeCycle, EndsWithMessage)
{
    const Result result = preprocess({{"main.xml", "<r><include filename=\"a.xml\"/></r>"},
                                      {"a.xml", "<a><include filename=\"b.xml\"/></a>"},
                                      {"b.xml", "<b><include filename=\"a.xml\"/></b>"}});
    EXPECT_EQ(result.loaded, 1);
    EXPECT_TRUE(result.messages.startsWith(QString(prefix) + "include cycle: a.xml -> b.xml -> a.xml"))
        << result.messages.left(300).toStdString();
}

TEST(IncludeFanOut, StopsAtFileLimit)
{
    XMLPP2::Limits limits;
    limits.includeFiles = 50;
    const Result result = preprocess(
        {{"main.xml", "<r><include filename=\"t.xml\"/></r>"},
         {"t.xml", "<t><include filename=\"t.xml\"/><include filename=\"t.xml\"/></t>"}},
        {}, true, limits);
    EXPECT_TRUE(result.messages.contains("more than 50 include files read")) << result.messages.left(300).toStdString();
}

TEST(WalkLimits, DeepNestingReported)
{
    XMLPP2::Limits limits;
    limits.nesting = 20;
    const QByteArray deep = QByteArray("<a>").repeated(30) + QByteArray("</a>").repeated(30);
    const Result result = preprocess({{"main.xml", deep.constData()}}, {}, true, limits);
    EXPECT_EQ(result.messages.toStdString(),
              std::string(prefix) + "<a> in " + "main.xml" + " is nested deeper than 20 levels");
    // The part below the limit stays as it was.
    EXPECT_EQ(result.output, QByteArray("<a>").repeated(29) + "<a/>" + QByteArray("</a>").repeated(29));
}

TEST(WalkLimits, SelfPuttingFragmentStops)
{
    XMLPP2::Limits limits;
    limits.nesting = 30;
    const Result result = preprocess(
        {{"main.xml", "<r><xmldef name=\"d\"><x><xmlput name=\"d\"/><xmlput name=\"d\"/></x></xmldef>"
                      "<xmlput name=\"d\"/></r>"}},
        {}, true, limits);
    EXPECT_EQ(result.loaded, 1);
    EXPECT_TRUE(result.messages.contains("nested deeper than 30 levels")
                || result.messages.contains("elements"));
}

TEST(WalkLimits, ElementBudgetStopsLoops)
{
    XMLPP2::Limits limits;
    limits.createdElements = 100;
    const Result result = preprocess(
        {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"1000000\" incr=\"1\"><x/></for></r>"}}, {},
        true, limits);
    EXPECT_EQ(result.messages.toStdString(),
              std::string(prefix) + "directives would make more than 100 elements");
    EXPECT_EQ(result.output.count("<x/>"), 100);
}

TEST(WalkLimits, NegativeStepStopsAtRoundLimit)
{
    XMLPP2::Limits limits;
    limits.loopRounds = 1000;
    const Result result = preprocess(
        {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"10\" incr=\"-1\"><x/></for></r>"}}, {},
        true, limits);
    EXPECT_EQ(result.messages.toStdString(),
              std::string(prefix) + "<for index=\"i\"> stopped after 1000 rounds");
}

TEST(WalkLimits, ExponentialDefinitionsStop)
{
    QByteArray text = "<r><define name=\"a0\" value=\"xxxxxxxx\"/>";
    for (int i = 1; i < 40; ++i)
        text += QString("<define name=\"a%1\" value=\"$(a%2)$(a%2)\"/>").arg(i).arg(i - 1).toUtf8();
    text += "</r>";
    const Result result = preprocess({{"main.xml", text.constData()}});
    EXPECT_TRUE(result.messages.contains("expands beyond")) << result.messages.left(200).toStdString();
}

// Many definitions at one level stay linear: each is one map insertion, no table copy, and
// each removal unlinks in place. (The benchmark runs the same shape with 100,000.)
TEST(Performance, ManyDefinitions)
{
    const Result result = preprocess(
        {{"main.xml", "<r><for index=\"i\" start=\"0\" end=\"30000\" incr=\"1\">"
                      "<define name=\"D$(i)\" expression=\"$(i) * 4 + 1\"/><reg n=\"$(i)\"/></for>"
                      "<last v=\"$(D29999)\"/></r>"}});
    EXPECT_EQ(result.messages, "");
    EXPECT_TRUE(result.output.endsWith("<reg n=\"29999\" /><last v=\"119997\" /></r>"));
}

TEST(CloneExpanded, LeavesOutNonElements)
{
    ensureMacroSystem();
    XMLPP2 document(1);
    ASSERT_EQ(document.parseBuffer("<a v=\"$(x)\">t<b w=\"$(x)$(y)\"/><!--c--><c/></a>"), 1);
    const std::unique_ptr<XMLElement> copy(document.cloneExpanded(document.root(), {{"x", "1"}}));
    XMLDocument holder;
    holder.setRoot(copy.get());
    EXPECT_EQ(holder.saveBuffer(0, 0), "<a v=\"1\"><b w=\"1$(y)\" /><c/></a>");
    (void)holder.takeRoot();
}

} // namespace
