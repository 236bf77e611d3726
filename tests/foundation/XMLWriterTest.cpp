#include "foundation/QXMLDocument.h"
#include "tests/foundation/XMLTreeDump.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QString dataDir = QStringLiteral(TESS_TEST_DATA "/data/");
const QString goldenDir = QStringLiteral(TESS_TEST_DATA "/golden/");

struct LayoutCase {
    const char *golden;
    int keepData;
    int indent;
    int wrapWidth;
};

class XMLWriterLayout : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(XMLWriterLayout, MatchesGolden)
{
    const LayoutCase &c = GetParam();
    QXMLDocument document(c.keepData);
    ASSERT_EQ(document.load(dataDir + "writer-input.xml"), 1) << document.errorText();
    TestSupport::expectGolden(goldenDir + c.golden, document.saveBuffer(c.indent, c.wrapWidth));
}

INSTANTIATE_TEST_SUITE_P(Layouts, XMLWriterLayout,
                         ::testing::Values(LayoutCase{"writer-indent0.xml", 0, 0, 0},
                                           LayoutCase{"writer-indent2.xml", 0, 2, 0},
                                           LayoutCase{"writer-indent2-wrap60.xml", 0, 2, 60},
                                           LayoutCase{"writer-indent4-wrap30.xml", 0, 4, 30},
                                           LayoutCase{"writer-keepdata-indent2.xml", 1, 2, 0}),
                         [](const auto &info) {
                             std::string name = info.param.golden;
                             name = name.substr(0, name.find('.'));
                             for (char &c : name)
                                 c = c == '-' ? '_' : c;
                             return name;
                         });

struct TextCase {
    const char *name;
    const char *input;
    int keepData;
    int indent;
    int wrapWidth;
    const char *output;
};

class XMLWriterText : public ::testing::TestWithParam<TextCase> {};

TEST_P(XMLWriterText, WritesExactBytes)
{
    const TextCase &c = GetParam();
    XMLDocument document(c.keepData);
    ASSERT_EQ(document.parseBuffer(c.input), 1) << document.errorText();
    EXPECT_EQ(document.saveBuffer(c.indent, c.wrapWidth).toStdString(), c.output);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, XMLWriterText,
    ::testing::Values(
        TextCase{"indentZeroHasNoLineBreakAtAll", "<a>\n<b x='1'/>\n<c/></a>", 0, 0, 0,
                 "<a><b x=\"1\" /><c/></a>"},
        TextCase{"newlineValueWrittenAsHexReference", "<a v=\"a&#10;b\"/>", 0, 2, 0,
                 "<a v=\"a&#xa;b\" />\n"},
        TextCase{"escapesMarkupButNotApostrophe", "<a v='&lt;&gt;&amp;\"&apos;'/>", 0, 0, 0,
                 "<a v=\"&lt;&gt;&amp;&quot;'\" />"},
        TextCase{"utf8ByteByByte", "<a v=\"\xe2\x82\xac\x7f\"/>", 0, 0, 0,
                 "<a v=\"&#xe2;&#x82;&#xac;&#x7f;\" />"},
        TextCase{"declarationHasTwoBlanks", "<?xml version=\"1.0\"?><a/>", 0, 2, 0,
                 "<?xml  version=\"1.0\" ?>\n<a/>\n"},
        TextCase{"encodingOnlyDeclaration", "<?xml encoding=\"x\"?><a/>", 0, 2, 0,
                 "<?xml  encoding=\"x\" ?>\n<a/>\n"},
        TextCase{"doctypeLine", "<!DOCTYPE d><a/>", 0, 0, 0, "<!DOCTYPE d>\n<a/>"},
        TextCase{"noRootWritesOnlyProlog", "<!DOCTYPE d>", 0, 2, 0, "<!DOCTYPE d>\n"},
        TextCase{"firstChildDataHidesElements", "<a>text<b/>tail</a>", 1, 2, 0,
                 "<a>text</a>\n"},
        TextCase{"emptyFirstDataHidesEverything", "<a><b/></a>", 1, 2, 0, "<a></a>\n"},
        TextCase{"cdataInOwnSpellingWithoutNewline", "<a><![CDATA[<x>]]><b/></a>", 0, 2, 0,
                 "<a>\n  <!CDATA[<x>]]>  <b/>\n</a>\n"},
        TextCase{"commentWithoutEscapingOrNewline", "<a><b/><!--x<y--></a>", 1, 0, 0,
                 "<a></a>"},
        TextCase{"wrapCountsIndentNameAndAttributes", "<r><e ab=\"12\" cd=\"34\"/></r>", 0, 2,
                 19, "<r>\n  <e\n    ab=\"12\"\n    cd=\"34\" />\n</r>\n"},
        TextCase{"noWrapAtExactWidth", "<r><e ab=\"12\" cd=\"34\"/></r>", 0, 2, 20,
                 "<r>\n  <e ab=\"12\" cd=\"34\" />\n</r>\n"},
        TextCase{"singleAttributeNeverWraps", "<e abcdefgh=\"12345678\"/>", 0, 2, 1,
                 "<e abcdefgh=\"12345678\" />\n"},
        TextCase{"elementWithChildrenHasNoBlankBeforeBracket", "<a x=\"1\"><b/></a>", 0, 1, 0,
                 "<a x=\"1\">\n <b/>\n</a>\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(XMLWriterText, CommentsAndLaterDataAreWrittenInPlace)
{
    XMLDocument document(0);
    XMLElement *const root = document.createElement(xmlDuplicate("r"));
    root->appendChild(new XMLComment(xmlDuplicate("a<b")));
    root->appendChild(new XMLElement(xmlDuplicate("e")));
    root->appendChild(new XMLData(xmlDuplicate("t&\n")));
    document.setRoot(root);
    EXPECT_EQ(document.saveBuffer(2, 0).toStdString(),
              "<r>\n  <!--a<b-->  <e/>\n  t&amp;&#xa;</r>\n");
}

TEST(XMLWriterText, NullAttributeValueStaysInPlaceWhenWrapping)
{
    XMLDocument document(0);
    XMLElement *const root = document.createElement(xmlDuplicate("e"));
    root->setAttribute(xmlDuplicate("first"), xmlDuplicate("a long value here"));
    root->setAttribute(xmlDuplicate("none"), nullptr);
    root->setAttribute(xmlDuplicate("last"), xmlDuplicate("x"));
    document.setRoot(root);
    EXPECT_EQ(document.saveBuffer(2, 10).toStdString(),
              "<e\n  first=\"a long value here\" none=\"\"\n  last=\"x\" />\n");
}

// Saving and loading again changes nothing further once the layout is the writer's own.
TEST(XMLWriterInvariant, LoadSaveLoadIsStable)
{
    const QStringList inputs = QDir(dataDir).entryList({QStringLiteral("*.xml")}, QDir::Files);
    ASSERT_FALSE(inputs.isEmpty());
    for (const QString &input : inputs) {
        for (const int indent : {0, 2, 3}) {
            QXMLDocument first(0);
            (void)first.load(dataDir + input);
            const QByteArray once = first.saveBuffer(indent, 40);
            XMLDocument second(0);
            (void)second.parseBuffer(once.constData(), once.size());
            EXPECT_EQ(dumpTree(second.root()), dumpTree(first.root())) << input.toStdString();
            EXPECT_EQ(second.saveBuffer(indent, 40), once) << input.toStdString();
        }
    }
}

TEST(XMLSaving, WritesFileAndReportsUnwritablePath)
{
    QTemporaryDir directory;
    XMLDocument document(0);
    ASSERT_EQ(document.parseBuffer("<a x=\"1\"/>"), 1);
    const QString path = directory.filePath(QStringLiteral("out.xml"));
    TestSupport::writeFile(path, "old contents that are longer than the new ones");
    EXPECT_EQ(document.saveFile(QFile::encodeName(path).constData(), 2, 0), 1);
    EXPECT_EQ(TestSupport::readFile(path), "<a x=\"1\" />\n");
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files), QStringList{"out.xml"});

    const QString unwritable = directory.filePath(QStringLiteral("missing/out.xml"));
    QXMLDocument qdocument(0);
    EXPECT_EQ(qdocument.save(unwritable, 2, 0), 0);
    EXPECT_EQ(QString::fromLocal8Bit(qdocument.errorText()), "couldn't write " + unwritable);
    EXPECT_FALSE(QFile::exists(unwritable));
}

TEST(XMLSaving, SymbolicLinkKeepsPointingAtItsFile)
{
    QTemporaryDir directory;
    const QString real = directory.filePath(QStringLiteral("real.xml"));
    const QString link = directory.filePath(QStringLiteral("link.xml"));
    TestSupport::writeFile(real, "<old/>");
    ASSERT_TRUE(QFile::link(real, link));
    QXMLDocument document(0);
    ASSERT_EQ(document.parseBuffer("<new/>"), 1);
    EXPECT_EQ(document.save(link, 0, 0), 1);
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(TestSupport::readFile(real), "<new/>");
}

// One bounded run of the shapes that used to cost recursion depth or quadratic time.
TEST(XMLLargeTrees, DeepNestingLoadsSavesClonesAndFrees)
{
    constexpr int depth = 100000;
    QByteArray text;
    for (int i = 0; i < depth; ++i)
        text += "<e>";
    for (int i = 0; i < depth; ++i)
        text += "</e>";
    XMLDocument document(0);
    ASSERT_EQ(document.parseBuffer(text.constData(), text.size()), 1);
    ASSERT_NE(document.root(), nullptr);
    const QByteArray saved = document.saveBuffer(0, 0);
    EXPECT_EQ(saved.size(), qsizetype(depth - 1) * 7 + 4);
    XMLNode *const copy = document.cloneNode(document.root(), nullptr);
    int levels = 0;
    for (const XMLNode *node = copy; node; node = node->firstChild())
        ++levels;
    EXPECT_EQ(levels, depth);
    delete copy;
    XMLDocument reread(0);
    EXPECT_EQ(reread.parseBuffer(saved.constData(), saved.size()), 1);
    EXPECT_EQ(reread.saveBuffer(0, 0), saved);
}

TEST(XMLLargeTrees, WideElementLoadsAndSaves)
{
    constexpr int width = 200000;
    QByteArray text = "<w>";
    for (int i = 0; i < width; ++i)
        text += "<c n=\"" + QByteArray::number(i) + "\"/>";
    text += "</w>";
    XMLDocument document(0);
    ASSERT_EQ(document.parseBuffer(text.constData(), text.size()), 1);
    const XMLNode *const last = document.root()->lastChild();
    ASSERT_NE(last, nullptr);
    EXPECT_STREQ(static_cast<const XMLElement *>(last)->attribute("n"), "199999");
    EXPECT_EQ(document.saveBuffer(0, 0), text.replace("\"/>", "\" />"));
}

} // namespace
