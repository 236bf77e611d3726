#include "foundation/QXMLDocument.h"
#include "tests/foundation/XMLTreeDump.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct ParseCase {
    const char *name;
    const char *input;
    int keepData;
    int result;         // what parseBuffer returns
    const char *error;  // errorText after a failure
    int errorLine;
    const char *tree;   // dumpTree of root
};

class XMLParsing : public ::testing::TestWithParam<ParseCase> {};

TEST_P(XMLParsing, GivesTreeAndError)
{
    const ParseCase &c = GetParam();
    XMLDocument document(c.keepData);
    EXPECT_EQ(document.parseBuffer(c.input), c.result);
    EXPECT_EQ(dumpTree(document.root()), c.tree);
    if (c.result == 0) {
        EXPECT_STREQ(document.errorText(), c.error);
        EXPECT_EQ(document.errorLine(), c.errorLine);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Structure, XMLParsing,
    ::testing::Values(
        ParseCase{"emptyText", "", 0, 1, "", 0, "null"},
        ParseCase{"whiteSpaceOnly", " \n\t\r\n ", 1, 1, "", 0, "null"},
        ParseCase{"garbageBeforeFirstTag", "hello <a/>", 0, 1, "", 0, "null"},
        ParseCase{"nestedElements", "<a><b/><c><d/></c></a>", 0, 1, "", 0, "a(b,c(d))"},
        ParseCase{"mismatchReportsLineOfClosingTag", "<a>\n<b>\n</a>", 0, 0,
                  "tagName mismatch", 2, "null"},
        ParseCase{"mismatchKeepsEarlierTopLevel", "<z/>\n<a><b></a>", 0, 0, "tagName mismatch",
                  1, "z"},
        ParseCase{"unclosedRootIsEmptySuccess", "<a><b></b>", 0, 1, "", 0, "null"},
        ParseCase{"unquotedValueLosesAttributeThenFailsOnDigit", "<a x=1>", 0, 0,
                  "bad tagName", 0, "null"},
        ParseCase{"attributeWithoutValueIsDropped", "<a x></a>", 0, 1, "", 0, "a"},
        ParseCase{"emptyClosingTagClosesInnermost", "<a><b></></a>", 0, 1, "", 0, "a(b)"},
        ParseCase{"closingPrefixCloses", "<foo></fo>", 0, 1, "", 0, "foo"},
        ParseCase{"closingLongerNameMismatches", "<fo></foo>", 0, 0, "tagName mismatch", 0,
                  "null"},
        ParseCase{"closingTagWithoutOpenElementIsSkipped", "</x><a/>", 0, 1, "", 0, "a"},
        ParseCase{"closingTagWithJunkIsIgnored", "<a><b></b junk></a>", 0, 0,
                  "tagName mismatch", 0, "null"},
        ParseCase{"dotInNameFails", "<a.b/>", 0, 0, "bad tagName", 0, "null"},
        ParseCase{"attributeNameStartingWithDigitFails", "<a\n 1x=\"2\"/>", 0, 0,
                  "bad tagName", 1, "null"},
        ParseCase{"severalTopLevelLastWins", "<a/><b x='1'/>", 0, 1, "", 0, "b[x=1]"},
        ParseCase{"lessThanAtEndLeavesOpenElement", "<a/><", 0, 1, "", 0, "a"},
        ParseCase{"unterminatedValueRunsToEnd", "<a x=\"abc", 0, 1, "", 0, "null"},
        ParseCase{"whiteSpaceInsideTags", "<a \n x = 'y' \t></a \n>", 0, 1, "", 0, "a[x=y]"},
        ParseCase{"emptyElementName", "< x='1'/>", 0, 1, "", 0, "[x=1]"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Attributes, XMLParsing,
    ::testing::Values(
        ParseCase{"repeatedNameReplacesInPlace", "<a x=\"1\" y=\"2\" x=\"3\"/>", 0, 1, "", 0,
                  "a[x=3,y=2]"},
        ParseCase{"unquotedValueLosesNameOnly", "<a x=y z=\"1\"/>", 0, 1, "", 0, "a[z=1]"},
        ParseCase{"valuesFollowEachOtherWithoutBlank", "<a x=\"1\"y='2'/>", 0, 1, "", 0,
                  "a[x=1,y=2]"},
        ParseCase{"namedEntities", "<a v=\"&lt;&gt;&amp;&apos;&quot;\"/>", 0, 1, "", 0,
                  "a[v=<>&'\"]"},
        ParseCase{"numericEntities", "<a v=\"&#65;&#x41;&#10;b\"/>", 0, 1, "", 0,
                  "a[v=AA\\nb]"},
        ParseCase{"numericEntityTruncatedToByte", "<a v=\"&#321;\"/>", 0, 1, "", 0, "a[v=A]"},
        ParseCase{"upperCaseHexIsNotHex", "<a v=\"&#x4A;\"/>", 0, 1, "", 0, "a[v=*]"},
        ParseCase{"unknownEntityKeepsAmpersand", "<a v=\"&bogus;&lt\"/>", 0, 1, "", 0,
                  "a[v=&bogus;&lt]"},
        ParseCase{"digitRunToEndIsLiteral", "<a v=\"x&#12\"/>", 0, 1, "", 0, "a[v=x&#12]"},
        ParseCase{"emptyReferenceEndsString", "<a v=\"a&#;b\" w=\"c&#x;d\"/>", 0, 1, "", 0,
                  "a[v=a,w=c]"},
        ParseCase{"carriageReturnStaysInValue", "<a v=\"1\r\n2\"/>", 0, 1, "", 0,
                  "a[v=1\\r\\n2]"},
        ParseCase{"otherQuoteInsideValue", "<a v='say \"hi\"'/>", 0, 1, "", 0,
                  "a[v=say \"hi\"]"},
        ParseCase{"utf8BytesPassThrough", "<a v=\"\xc3\xa9\"/>", 0, 1, "", 0, "a[v=\\xc3\\xa9]"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    CharacterData, XMLParsing,
    ::testing::Values(
        ParseCase{"droppedWithoutKeepData", "<a>text<!--c--><b/>more</a>", 0, 1, "", 0, "a(b)"},
        ParseCase{"emptyRunsBecomeDataNodes", "<a><b/></a>", 1, 1, "", 0, "a(\"\",b,\"\")"},
        ParseCase{"entitiesDecodedReturnsDropped", "<a>x\r\ny&amp;&#x3c;</a>", 1, 1, "", 0,
                  "a(\"x\\ny&<\")"},
        ParseCase{"commentKeptInsideElement", "<!--out--><a><!--in--></a>", 1, 1, "", 0,
                  "a(\"\",!in!,\"\")"},
        ParseCase{"unterminatedCommentYieldsNothing", "<a><!-- x", 1, 1, "", 0, "null"},
        ParseCase{"dashWithoutCommentIsData", "<a><!-x</a>", 1, 1, "", 0, "a(\"\",\"-x\")"},
        ParseCase{"cdataKeptWithoutKeepData", "<a><![CDATA[x<y]]></a>", 0, 1, "", 0,
                  "a([x<y])"},
        ParseCase{"cdataWritersSpellingReadsBack", "<a><!CDATA[z&amp;]]></a>", 0, 1, "", 0,
                  "a([z&amp;])"},
        ParseCase{"cdataOutsideElementDropped", "<![CDATA[x]]><a/>", 0, 1, "", 0, "a"},
        ParseCase{"otherInstructionBecomesData", "<a><?pi stuff?></a>", 1, 1, "", 0,
                  "a(\"\",\"stuff?>\")"},
        ParseCase{"unknownDeclarationBecomesData", "<a><!ELEMENT x></a>", 1, 1, "", 0,
                  "a(\"\",\"x>\")"}),
    [](const auto &info) { return std::string(info.param.name); });

struct PrologCase {
    const char *name;
    const char *input;
    const char *version;   // null: not set
    const char *encoding;
    const char *docType;
    const char *tree;
};

class XMLProlog : public ::testing::TestWithParam<PrologCase> {};

TEST_P(XMLProlog, IsReadIntoDocument)
{
    const PrologCase &c = GetParam();
    XMLDocument document(0);
    EXPECT_EQ(document.parseBuffer(c.input), 1);
    const auto same = [](const char *actual, const char *expected) {
        return expected ? actual && std::string(actual) == expected : actual == nullptr;
    };
    EXPECT_TRUE(same(document.xmlVersion(), c.version)) << document.xmlVersion();
    EXPECT_TRUE(same(document.xmlEncoding(), c.encoding)) << document.xmlEncoding();
    EXPECT_TRUE(same(document.docType(), c.docType)) << document.docType();
    EXPECT_EQ(dumpTree(document.root()), c.tree);
}

INSTANTIATE_TEST_SUITE_P(
    Declarations, XMLProlog,
    ::testing::Values(
        PrologCase{"declarationBothQuotes", "<?xml version=\"1.0\" encoding='UTF-8'?>\n<a/>",
                   "1.0", "UTF-8", nullptr, "a"},
        PrologCase{"declarationValuesRaw", "<?xml version=\"&amp;\"?><a/>", "&amp;", nullptr,
                   nullptr, "a"},
        PrologCase{"prefixOfXmlPasses", "<?xm version=\"2\"?><a/>", "2", nullptr, nullptr, "a"},
        PrologCase{"longerTargetIsNoDeclaration", "<?xmlx version=\"2\"?><a/>", nullptr,
                   nullptr, nullptr, "a"},
        PrologCase{"pseudoAttributeWithoutEqualsSkipped",
                   "<?xml standalone version='3'?><a/>", "3", nullptr, nullptr, "a"},
        PrologCase{"unquotedValueEndsWithNoRoot", "<?xml version=1.0?><a/>", nullptr, nullptr,
                   nullptr, "null"},
        PrologCase{"doctypeName", "<!DOCTYPE foo>\n<a/>", nullptr, nullptr, "foo", "a"},
        PrologCase{"doctypeWithSystemIdStoresNothing", "<!DOCTYPE foo SYSTEM \"x.dtd\"><a/>",
                   nullptr, nullptr, nullptr, "a"},
        PrologCase{"doctypePrefixWord", "<!DOC bar><a/>", nullptr, nullptr, "bar", "a"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(XMLParserLines, NodesRememberTheirStartLine)
{
    XMLDocument document(1);
    ASSERT_EQ(document.parseBuffer("<a x=\"1\n2\">\n\n<b/><!--\n-->\n<c\n/>text</a>"), 1);
    const XMLNode *a = document.root();
    ASSERT_NE(a, nullptr);
    std::vector<quint32> lines;
    for (const XMLNode *child = a->firstChild(); child; child = child->nextSibling())
        lines.push_back(child->line());
    // data, b, data, comment, data, c, data
    EXPECT_EQ(lines, (std::vector<quint32>{1, 3, 3, 3, 4, 5, 6}));
}

TEST(XMLParserReplacesRoot, WithoutDeletingTheOldOne)
{
    XMLDocument document(0);
    ASSERT_EQ(document.parseBuffer("<old/>"), 1);
    XMLElement *const old = document.root();
    ASSERT_EQ(document.parseBuffer("<new/>"), 1);
    EXPECT_STREQ(document.root()->name(), "new");
    EXPECT_STREQ(old->name(), "old");
    delete old;
}

TEST(XMLLoading, SkipsByteOrderMarkAndReportsUnreadableFile)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("bom.xml"));
    TestSupport::writeFile(path, QByteArray("\xef\xbb\xbf<a x=\"1\"/>"));
    QXMLDocument document(0);
    ASSERT_EQ(document.load(path), 1);
    EXPECT_EQ(dumpTree(document.root()), "a[x=1]");

    const QString missing = directory.filePath(QStringLiteral("missing.xml"));
    EXPECT_EQ(document.load(missing), 0);
    EXPECT_EQ(QString::fromLocal8Bit(document.errorText()), "couldn't read " + missing);
    EXPECT_EQ(document.errorLine(), 0);
}

TEST(XMLLoading, EmbeddedNulEndsTheText)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("nul.xml"));
    TestSupport::writeFile(path, QByteArray("<a/>\0<b/>", 9));
    QXMLDocument document(0);
    ASSERT_EQ(document.load(path), 1);
    EXPECT_EQ(dumpTree(document.root()), "a");
}

// Cutting a file anywhere never fails the load: the root simply never closes.
TEST(XMLTruncation, EveryPrefixLoadsWithoutRoot)
{
    const QByteArray whole = TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/data/writer-input.xml"));
    ASSERT_FALSE(whole.isEmpty());
    const qsizetype rootEnd = whole.lastIndexOf('>') + 1;
    for (qsizetype length = 0; length < whole.size(); ++length) {
        for (const int keepData : {0, 1}) {
            XMLDocument document(keepData);
            EXPECT_EQ(document.parseBuffer(whole.constData(), length), 1) << length;
            EXPECT_EQ(document.root() != nullptr, length >= rootEnd) << length;
            (void)document.saveBuffer(2, 20);
        }
    }
}

struct DocTypeCase {
    const char *name;
    QByteArray content;
    const char *expected;   // null: no document type
};

class DocTypeOfFile : public ::testing::TestWithParam<DocTypeCase> {};

TEST_P(DocTypeOfFile, FindsNameWithoutParsing)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("f.xml"));
    TestSupport::writeFile(path, GetParam().content);
    const char *const found = XMLDocument::docTypeOfFile(QFile::encodeName(path).constData());
    if (GetParam().expected)
        EXPECT_STREQ(found, GetParam().expected);
    else
        EXPECT_EQ(found, nullptr) << found;
}

INSTANTIATE_TEST_SUITE_P(
    Files, DocTypeOfFile,
    ::testing::Values(
        DocTypeCase{"plain", "<!DOCTYPE Board_Memory_Definition_File>\n<x/>",
                    "Board_Memory_Definition_File"},
        DocTypeCase{"afterDeclaration", "<?xml version=\"1.0\"?>\n<!DOCTYPE  proj2 SYSTEM>",
                    "proj2"},
        DocTypeCase{"elementFirst", "<a/><!DOCTYPE x>", nullptr},
        DocTypeCase{"noBlankAfterKeyword", "<!DOCTYPEx>", nullptr},
        DocTypeCase{"nameRunsToEndOfRead", "<!DOCTYPE abc", nullptr},
        DocTypeCase{"nameBeyondFirstKilobyte", QByteArray(1100, ' ') + "<!DOCTYPE x>", nullptr},
        DocTypeCase{"emptyFile", "", nullptr}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(DocTypeOfFile, MissingFileHasNone)
{
    EXPECT_EQ(XMLDocument::docTypeOfFile("/nonexistent/dir/file.xml"), nullptr);
}

} // namespace
