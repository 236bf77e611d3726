#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::readFile;
using TestSupport::writeFile;

// Readable in a failure message.
std::string text(const QByteArray &bytes)
{
    return bytes.toStdString();
}

TestSupport::ProgramRun colour(const QStringList &arguments, const QByteArray &input = {})
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")),
                                   QStringList{QStringLiteral("colour")} + arguments, input);
}

QString dataFile(const QString &name)
{
    return QStringLiteral(TESS_TEST_DATA "/data/syntax/") + name;
}

// ---- Every language on a file that exercises each of its rules

struct LanguageCase {
    const char *name;   // syntax name
    const char *file;   // under data/syntax/
};

class LanguageGolden : public ::testing::TestWithParam<LanguageCase> {};

TEST_P(LanguageGolden, MarksEveryRule)
{
    const auto run = colour({dataFile(QLatin1String(GetParam().file)), QStringLiteral("--lang"),
                             QLatin1String(GetParam().name), QStringLiteral("--states")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/syntax/%1.marks").arg(QLatin1String(GetParam().name)),
                              run.out);
}

INSTANTIATE_TEST_SUITE_P(Languages, LanguageGolden, ::testing::Values(
    LanguageCase{"c", "c-rules.c"}, LanguageCase{"java", "java-rules.java"},
    LanguageCase{"javascript", "javascript-rules.js"}, LanguageCase{"linkscript", "linkscript-rules.icf"},
    LanguageCase{"xc", "xc-rules.xc"}, LanguageCase{"md", "md-rules.md"},
    LanguageCase{"stapl", "stapl-rules.stapl"}, LanguageCase{"batch", "batch-rules.bat"},
    LanguageCase{"asm", "asm-rules.s"}, LanguageCase{"python", "python-rules.py"},
    LanguageCase{"forth", "forth-rules.fs"}, LanguageCase{"cmake", "cmake-rules.cmake"},
    LanguageCase{"dts", "dts-rules.dts"}, LanguageCase{"xml", "xml-rules.xml"},
    LanguageCase{"vhdl", "vhdl-rules.vhd"}, LanguageCase{"yaml", "yaml-rules.yaml"},
    LanguageCase{"svf", "svf-rules.svf"}, LanguageCase{"tessbasic", "tessbasic-rules.bas"},
    LanguageCase{"markdown", "markdown-rules.md"}, LanguageCase{"docgen", "docgen-rules.dg"},
    LanguageCase{"qvdoc", "qvdoc-rules.qvDoc"}, LanguageCase{"disassembly", "disassembly-rules.lst"}),
    [](const auto &info) { return std::string(info.param.name); });

// ---- Edge cases, one line or a few each, on standard input

struct MarksCase {
    const char *name;
    const char *lang;
    QByteArray text;
    QByteArray marks;
};

class EdgeMarks : public ::testing::TestWithParam<MarksCase> {};

TEST_P(EdgeMarks, ColourAsJudged)
{
    const auto run = colour({QStringLiteral("-"), QStringLiteral("--lang"), QLatin1String(GetParam().lang)},
                            GetParam().text);
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(text(run.out), text(GetParam().marks));
}

INSTANTIATE_TEST_SUITE_P(Cases, EdgeMarks, ::testing::Values(
    MarksCase{"spaceBeforeParenthesisIsNoCall", "c", "foo (x)", "foo {7}({0}x{7})\n"},
    MarksCase{"parenthesisRightAfterIsACall", "c", "foo(x)", "{9}foo{7}({0}x{7})\n"},
    MarksCase{"keywordBeforeParenthesisStaysKeyword", "c", "if(x)", "{3}if{7}({0}x{7})\n"},
    MarksCase{"hexFloatWithSignedExponent", "c", "0x1p+3", "{1}0x1p+3\n"},
    MarksCase{"decimalExponent", "c", "1e-5", "{1}1e-5\n"},
    MarksCase{"plusBetweenNumbers", "c", "1+2", "{1}1{7}+{1}2\n"},
    MarksCase{"dotBeforeDigit", "c", "x=.5;", "x{7}={1}.5{7};\n"},
    MarksCase{"literalBraceDoubled", "c", "{}", "{7}{{}\n"},
    MarksCase{"rawDelimiterMustMatch", "c", "R\"x(a)y\" b)x\";", "{30}R\"x({29}a)y\" b{30})x\"{7};\n"},
    MarksCase{"rawStringOverLines", "c", "R\"(a\nb)\" c", "{30}R\"({29}a\n{29}b{30})\"{0} c\n"},
    MarksCase{"rawWithoutParenthesisIsAWord", "c", "R\"abc\"", "R{30}\"{29}abc{30}\"\n"},
    MarksCase{"backslashCarriesAString", "c", "\"a\\\nb\"", "{30}\"{29}a{31}\\\n{29}b{30}\"\n"},
    MarksCase{"noBackslashNoSpill", "c", "'a\nb'", "{30}'{29}a\nb{30}'\n"},
    MarksCase{"escapeInString", "c", "\"\\\"\"", "{30}\"{31}\\\"{30}\"\n"},
    MarksCase{"directiveContinuedByBackslash", "c", "  #define A \\\n  B\nC",
              "  {6}#define{0} A \\\n{6}  B\nC\n"},
    MarksCase{"backslashOnPlainLineDoesNotContinue", "c", "a \\\nb", "a \\\nb\n"},
    MarksCase{"backslashWordIsText", "c", "\\x41 +", "\\x41 {7}+\n"},
    MarksCase{"slashBeforeLetterIsOperator", "c", "a/b", "a{7}/{0}b\n"},
    MarksCase{"blockCommentOverLines", "c", "a /* b\nc */ d", "a {2}/* b\n{2}c */{0} d\n"},
    MarksCase{"tagAfterBlanks", "c", "//   TODO x", "{2}//   {10}TODO{2} x\n"},
    MarksCase{"tagIsCaseSensitive", "c", "// todo x", "{2}// todo x\n"},
    MarksCase{"tagOnlyAsFirstWord", "c", "// a TODO", "{2}// a TODO\n"},
    MarksCase{"lintTag", "c", "/* NOLINT */", "{2}/* {12}NOLINT{2} */\n"},
    MarksCase{"documentationCodeBlock", "c", "/*! \\code\nx\n\\endcode */ y",
              "{2}/*! {13}\\code\n{15}x\n{13}\\endcode{2} */{0} y\n"},
    MarksCase{"latinPunctuationIsOperator", "c", "a \xc2\xa7 \xc3\xa9", "a {7}\xc2\xa7{0} \xc3\xa9\n"},
    MarksCase{"unmatchedClosersLeaveLaterLinesAlone", "c", "}}}\n{", "{7}}}}\n{7}{{\n"},
    MarksCase{"finalTerminatorAddsNoLine", "c", "a\n", "a\n"},
    MarksCase{"emptyLinesKept", "c", "\n\n", "\n\n"},
    MarksCase{"nulAndSwitchShowHarmlessly", "c", QByteArray("a\0b \xef\xb7\x90 c", 9),
              "a\xe2\x90\x80" "b \xef\xbf\xbd c\n"},
    MarksCase{"noneIsPlain", "none", "int x; /* c */", "int x; /* c */\n"},
    MarksCase{"languageByExtension", "py", "def f(): pass", "{3}def{0} {9}f{7}():{0} {3}pass\n"},
    MarksCase{"stAPLOnlyUpperCase", "stapl", "IF if", "{3}IF{0} if\n"},
    MarksCase{"batchAnyCase", "batch", "Echo ECHO", "{3}Echo{0} {3}ECHO\n"},
    MarksCase{"forthAnyCase", "forth", "if IF", "{3}if{0} {3}IF\n"},
    MarksCase{"cmakeAnyCase", "cmake", "SET(x)", "{3}SET{7}({0}x{7})\n"},
    MarksCase{"asmHashInsideWordIsNoComment", "asm", "mov r0,#1", "mov {8}r0{7},#{1}1\n"},
    MarksCase{"asmHashAfterBlankIsComment", "asm", "mov r0, #1", "mov {8}r0{7},{0} {2}#1\n"},
    MarksCase{"markdownNoHeadingPastColumnZero", "markdown", " # x", "{2} # x\n"},
    MarksCase{"xmlEntityInValue", "xml", "<a b=\"&lt;\">", "{32}<{5}a{16} b{32}={30}\"{31}&lt;{30}\"{32}>\n"}),
    [](const auto &info) { return std::string(info.param.name); });

// ---- Formats

TEST(ColourFormats, HtmlIsAStandalonePageWithEscapedText)
{
    const auto run = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("c"),
                             QStringLiteral("--format"), QStringLiteral("html")},
                            "int a<b; // x&y\nplain\n");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith("<!DOCTYPE html>\n"));
    EXPECT_TRUE(run.out.contains("<pre><span class=\"ts3\">int</span> a<span class=\"ts7\">&lt;</span>b"
                                 "<span class=\"ts7\">;</span> <span class=\"ts2\">// x&amp;y</span>\nplain\n</pre>"))
        << run.out.constData();
    EXPECT_TRUE(run.out.endsWith("</html>\n"));
}

TEST(ColourFormats, AnsiResetsAtEachLineEnd)
{
    const auto run = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("c"),
                             QStringLiteral("--format"), QStringLiteral("ansi")},
                            "/* a\nb */ x\n");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "\x1b[0m\x1b[32m/* a\x1b[0m\n\x1b[0m\x1b[32mb */\x1b[0m x\n");
}

TEST(ColourFormats, StatesShowStateDepthAndBlockClass)
{
    const auto run = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("c"), QStringLiteral("--states")},
                            "f() {\n  R\"ab(x\n)ab\";\n}\n");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "0\t0\topen\t{9}f{7}(){0} {7}{{\n"
                       "0\t1\tinside\t  {30}R\"ab({29}x\n"
                       "5:ab\t1\tinside\t{30})ab\"{7};\n"
                       "0\t1\tclose\t{7}}\n");
}

TEST(ColourFormats, TabsExpandAndWhitespaceShows)
{
    const auto run = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("none"),
                             QStringLiteral("--tab-size"), QStringLiteral("4"), QStringLiteral("--show-whitespace")},
                            "a\tb c\n");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "a\xc2\xbb  b\xc2\xb7" "c\n");
}

TEST(ColourFormats, LinesAndTagListsAreChosen)
{
    const auto run = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("c"),
                             QStringLiteral("--lines"), QStringLiteral("2-3"), QStringLiteral("--fixme-tags"),
                             QStringLiteral("HACK"), QStringLiteral("--attention-tags"), QStringLiteral("SEE;TODO")},
                            "// HACK\n// HACK\n// TODO\n// FIXME\n");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "{2}// {10}HACK\n{2}// {11}TODO\n");
}

TEST(ColourList, NamesTitlesWithoutAmpersandAndExtensions)
{
    const auto run = colour({QStringLiteral("--list")});
    ASSERT_EQ(run.exitCode, 0);
    const QList<QByteArray> lines = run.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 22);
    EXPECT_EQ(lines[0], "c\tC/C++\tc cpp cxx cc h hxx hpp hh pph ppc pc");
    EXPECT_TRUE(lines.contains("cmake\tCMake File\tcmake CMakeLists.txt"));
    EXPECT_TRUE(lines.contains("svf\tSVF\t"));
    EXPECT_FALSE(run.out.contains('&'));
}

TEST(ColourFileNames, WholeNameFirstThenExtensionInAnyCase)
{
    QTemporaryDir folder;
    writeFile(folder.filePath(QStringLiteral("CMakeLists.txt")), "set(x)\n");
    writeFile(folder.filePath(QStringLiteral("notes.txt")), "set(x)\n");
    writeFile(folder.filePath(QStringLiteral("MAIN.C")), "int x;\n");
    writeFile(folder.filePath(QStringLiteral("readme.md")), "# title\n");
    EXPECT_EQ(colour({folder.filePath(QStringLiteral("CMakeLists.txt"))}).out, "{3}set{7}({0}x{7})\n");
    EXPECT_EQ(colour({folder.filePath(QStringLiteral("notes.txt"))}).out, "set(x)\n");
    EXPECT_EQ(colour({folder.filePath(QStringLiteral("MAIN.C"))}).out, "{3}int{0} x{7};\n");
    // Markdown registers md after the module descriptions, so it wins the extension.
    EXPECT_EQ(colour({folder.filePath(QStringLiteral("readme.md"))}).out, "{3}# title\n");
}

// ---- Edits and the rescan

QByteArray cFile(int lines)
{
    QByteArray text;
    for (int i = 0; i < lines; ++i)
        text += "int f" + QByteArray::number(i) + "(void) { return " + QByteArray::number(i) + "; }\n";
    return text;
}

// The statistics lines without their times.
std::string statsLines(const QByteArray &out)
{
    std::string stats;
    for (const QByteArray &line : out.split('\n')) {
        if (line.startsWith("edit "))
            stats += line.left(line.lastIndexOf(" in ")).toStdString() + "\n";
    }
    return stats;
}

TEST(ColourRescan, ParsesOnlyLinesWhoseStartStateMoved)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("big.c"));
    QByteArray text = cFile(1000);
    text.insert(text.indexOf("int f600"), "/* far comment */\n*/\n");
    writeFile(file, text);
    const auto run = colour({file, QStringLiteral("--rescan-stats"), QStringLiteral("--lines"), QStringLiteral("1"),
                             QStringLiteral("--edit"), QStringLiteral("500:3:x"),
                             QStringLiteral("--edit"), QStringLiteral("1:1:/*"),
                             QStringLiteral("--erase"), QStringLiteral("1:1:2"),
                             QStringLiteral("--edit"), QStringLiteral("10:27:\"\\\\"),
                             QStringLiteral("--erase"), QStringLiteral("10:27:2")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(statsLines(run.out),
              "edit 1: rescanned 1 of 1003 lines\n"
              "edit 2: rescanned 601 of 1003 lines\n"   // to the first "*/", which ends the new comment
              "edit 3: rescanned 601 of 1003 lines\n"   // and back
              "edit 4: rescanned 2 of 1003 lines\n"     // a string carried to the next line
              "edit 5: rescanned 2 of 1003 lines\n");
}

TEST(ColourRescan, EditedTextIsColouredAsIfLoaded)
{
    const auto edited = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("c"), QStringLiteral("--states"),
                                QStringLiteral("--edit"), QStringLiteral("2:1:/* \\:\\n"),
                                QStringLiteral("--erase"), QStringLiteral("1:2:1"),
                                QStringLiteral("--edit"), QStringLiteral("4:2: */{")},
                               "ab\ncd\nef\ngh\n");
    const auto fresh = colour({QStringLiteral("-"), QStringLiteral("--lang"), QStringLiteral("c"), QStringLiteral("--states")},
                              "a\n/* :\ncd\ne */{f\ngh\n");
    ASSERT_EQ(edited.exitCode, 0) << edited.err.constData();
    EXPECT_EQ(text(edited.out), text(fresh.out));
}

struct BadUsage {
    const char *name;
    QStringList arguments;
};

class ColourUsage : public ::testing::TestWithParam<BadUsage> {};

TEST_P(ColourUsage, ExitsTwo)
{
    const auto run = colour(GetParam().arguments, "one line\n");
    EXPECT_EQ(run.exitCode, 2) << run.err.constData();
    EXPECT_TRUE(run.out.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, ColourUsage, ::testing::Values(
    BadUsage{"unknownLanguage", {"-", "--lang", "cobol"}},
    BadUsage{"unknownFormat", {"-", "--format", "pdf"}},
    BadUsage{"lineOutsideText", {"-", "--edit", "3:1:x"}},
    BadUsage{"columnOutsideLine", {"-", "--edit", "1:10:x"}},
    BadUsage{"eraseRunsPastTheEnd", {"-", "--erase", "1:1:100"}},
    BadUsage{"badEditForm", {"-", "--edit", "1:x"}},
    BadUsage{"badEscape", {"-", "--edit", "1:1:\\q"}},
    BadUsage{"badLines", {"-", "--lines", "5-2"}},
    BadUsage{"noFile", {}},
    BadUsage{"listWithFile", {"--list", "x.c"}}),
    [](const auto &info) { return std::string(info.param.name); });

// ---- Bad input: nothing crashes, nothing is lost

TEST(ColourBadInput, UnreadableFileFails)
{
    const auto run = colour({QStringLiteral("/nonexistent/x.c")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("Can't open /nonexistent/x.c for reading")) << run.err.constData();
}

TEST(ColourBadInput, HugeFileIsRefusedBeforeReading)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("huge.c"));
    QFile huge(file);
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly));
    ASSERT_TRUE(huge.resize(qint64(2) << 30));   // sparse: costs no disk
    huge.close();
    const auto run = colour({file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("too large")) << run.err.constData();
}

TEST(ColourBadInput, DeepNestingLongLinesAndBinaryColourToTheEnd)
{
    QTemporaryDir folder;
    const QString nested = folder.filePath(QStringLiteral("nested.c"));
    writeFile(nested, QByteArray(100000, '{') + "\n}\n");
    auto run = colour({nested, QStringLiteral("--states"), QStringLiteral("--lines"), QStringLiteral("2")});
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "0\t100000\tclose\t{7}}\n");

    const QString raw = folder.filePath(QStringLiteral("raw.c"));
    QByteArray rawText = "R\"x(\n";
    for (int i = 0; i < 100000; ++i)
        rawText += "text )x \" still inside\n";
    writeFile(raw, rawText);
    run = colour({raw, QStringLiteral("--states"), QStringLiteral("--lines"), QStringLiteral("100001")});
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "5:x\t0\tnone\t{29}text )x \" still inside\n");

    const QString binary = folder.filePath(QStringLiteral("blob.c"));
    QByteArray bytes;
    for (int i = 0; i < 65536; ++i)
        bytes += char(i * 7919 % 251);
    writeFile(binary, bytes);
    run = colour({binary});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_FALSE(run.out.isEmpty());

    const QString invalid = folder.filePath(QStringLiteral("latin.c"));
    writeFile(invalid, "char *s = \"caf\xe9\";");   // not UTF-8: read as ISO-8859-1, no final newline
    run = colour({invalid});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "{3}char{0} {7}*{0}s {7}={0} {30}\"{29}caf\xc3\xa9{30}\"{7};\n");
}

TEST(ColourBadInput, TenMegabyteLine)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("long.c"));
    QByteArray line;
    line.reserve(10 << 20);
    while (line.size() < (10 << 20))
        line += "x = \"a\\\"b\" /* c */ + 0x1F; ";
    writeFile(file, line + "\n");
    const auto run = colour({file});
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_GT(run.out.size(), line.size());
    EXPECT_TRUE(run.out.endsWith("{7};{0} \n"));
}

} // namespace
