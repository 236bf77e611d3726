#include "editor/CodeEdit.h"
#include "editor/CodeEditBuffer.h"
#include "editor/CodeEditParser.h"
#include "editor/CodeEditStandardLanguages.h"
#include "editor/CodeEditSyntax.h"
#include "editor/CodeSyntaxChecker.h"
#include "editor/FileType.h"
#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

// A marked line up to its terminator; a switch's code may be 0 and is no terminator.
std::u16string marked(const char16_t *line)
{
    std::u16string text;
    if (!line)
        return text;
    for (const char16_t *p = line; *p; ++p) {
        text += *p;
        if (*p == markSwitch)
            text += *++p;
    }
    return text;
}

struct Colouring {
    std::vector<std::u16string> lines;
    std::vector<std::pair<int, QString>> states;
};

Colouring colourAll(CodeEditBuffer &buffer)
{
    Colouring colouring;
    for (int i = 0; i < buffer.lineCount(); ++i) {
        colouring.lines.push_back(marked(buffer.markedLine(i, 4, false)));
        colouring.states.emplace_back(buffer.line(i)->startState, buffer.line(i)->startStateText);
    }
    return colouring;
}

const CodeEditSyntaxRegistry &registry()
{
    static CodeEditSyntaxRegistry syntaxes;
    if (syntaxes.syntaxes().empty())
        registerStandardSyntaxes(syntaxes);
    return syntaxes;
}

// Pieces that open and close every kind of state the parsers keep.
constexpr const char *pieces[] = {
    "/*", "*/", "/*!", "\\code", "\\endcode", "\"", "'", "\\", "R\"x(", ")x\"", "#define A \\",
    "\"\"\"", "'''", "(", ")", "{", "}", "<", ">", "<!--", "-->", "=", "//", "#", ";", "--", "!",
    "x", "if", "REM ", " ", "\n", "\n", "${", "*", "**", ": ", "- ", "0x1F", "1e-5", "\t",
};

// Random edits, each followed by a rescan, leave every line coloured as a fresh colouring of the
// final text colours it: the rescan stops only where nothing after it can change.
class RescanProperty : public ::testing::TestWithParam<const char *> {};

TEST_P(RescanProperty, EditsThenRescanEqualAFreshColouring)
{
    const CodeEditSyntax *syntax = registry().byName(QLatin1String(GetParam()));
    ASSERT_NE(syntax, nullptr);
    QRandomGenerator random(20261125);
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("int a;\n/* b */\nc = \"d\";\n{\n}\n"));
    buffer.setParser(syntax->parser);
    buffer.rescan();
    for (int round = 0; round < 600; ++round) {
        const int line = int(random.bounded(buffer.lineCount()));
        const int column = int(random.bounded(buffer.lineLength(line) + 1));
        if (random.bounded(3) == 0) {
            const int length = int(random.bounded(6));
            CodeEditBufferPosition end{line, column + length};
            if (end.column > buffer.lineLength(line))
                end = {std::min(line + 1, buffer.lineCount() - 1), 0};
            buffer.remove({line, column}, std::max(end, CodeEditBufferPosition{line, column}));
        } else {
            buffer.insert({line, column}, QString::fromLatin1(pieces[random.bounded(int(std::size(pieces)))]));
        }
        if (round % 3 != 1)   // now and then several edits before one rescan
            buffer.rescan();
        if (round % 10 != 9)
            continue;
        const Colouring incremental = colourAll(buffer);
        CodeEditBuffer fresh;
        fresh.setText(buffer.toText());
        fresh.setParser(syntax->parser);
        const Colouring expected = colourAll(fresh);
        ASSERT_EQ(incremental.lines, expected.lines) << "round " << round << ":\n" << buffer.toText().toStdString();
        ASSERT_EQ(incremental.states, expected.states) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, RescanProperty,
    ::testing::Values("c", "java", "linkscript", "batch", "asm", "python", "forth", "cmake", "dts",
                      "xml", "vhdl", "yaml", "svf", "tessbasic", "markdown", "docgen", "qvdoc",
                      "disassembly"),
    [](const auto &info) { return std::string(info.param); });

QString lines(int count, const QString &line)
{
    QStringList all;
    for (int i = 0; i < count; ++i)
        all.append(line);
    return all.join(u'\n');
}

TEST(Rescan, CleanLinesCostNothing)
{
    CodeEditBuffer buffer;
    buffer.setText(lines(200, QStringLiteral("int x; // y")));
    CodeEditCParser parser;
    buffer.setParser(&parser);
    EXPECT_EQ(buffer.rescan(), 200);
    EXPECT_EQ(buffer.rescan(), 0);
    buffer.markedLine(100, 4, false);
    EXPECT_EQ(buffer.rescan(), 0);
}

TEST(Rescan, EditInsideACommentThatKeepsTheStateParsesOneLine)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("/*\n") + lines(100, QStringLiteral("text")) + QStringLiteral("\n*/\nint x;"));
    CodeEditCParser parser;
    buffer.setParser(&parser);
    buffer.rescan();
    buffer.insert({50, 2}, QStringLiteral("more"));
    EXPECT_EQ(buffer.rescan(), 1);
}

TEST(Rescan, OpeningACommentReachesItsEndAndClosingItComesBack)
{
    CodeEditBuffer buffer;
    buffer.setText(lines(100, QStringLiteral("int x;")) + QStringLiteral("\n/* old */\n") + lines(100, QStringLiteral("int y;")));
    CodeEditCParser parser;
    buffer.setParser(&parser);
    buffer.rescan();
    buffer.insert({0, 0}, QStringLiteral("/*"));
    EXPECT_EQ(buffer.rescan(), 101);
    buffer.insert({0, 2}, QStringLiteral("*/"));
    EXPECT_EQ(buffer.rescan(), 101);
    const std::u16string keyword{markSwitch, ClassKeyword};
    const std::u16string text{markSwitch, ClassText};
    const std::u16string operation{markSwitch, ClassOperator};
    EXPECT_EQ(marked(buffer.markedLine(150, 4, false)), keyword + u"int" + text + u" y" + operation + u";");
}

TEST(Rescan, DepthNeverBelowZeroAndBlockClasses)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("}\n{\nx\n}\ny"));
    CodeEditCParser parser;
    buffer.setParser(&parser);
    buffer.rescan();
    const std::vector<std::pair<int, quint32>> expected = {
        {0, lineClosesBlock}, {0, lineOpensBlock}, {1, lineInsideBlock}, {1, lineClosesBlock}, {0, 0}};
    for (int i = 0; i < buffer.lineCount(); ++i) {
        EXPECT_EQ(buffer.line(i)->blockDepth, expected[size_t(i)].first) << "line " << i;
        EXPECT_EQ(buffer.line(i)->flags & lineBlockMask, expected[size_t(i)].second) << "line " << i;
    }
}

TEST(Syntax, NoSyntaxShowsNoColoursAndNoBlockClasses)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("{ int x; }\n{"));
    registry().setSyntaxHighlight(buffer, CodeEditSyntaxRegistry::noSyntax);
    EXPECT_EQ(buffer.parser(), nullptr);
    EXPECT_EQ(marked(buffer.markedLine(0, 4, false)), u"{ int x; }");
    EXPECT_EQ(buffer.line(1)->flags & lineBlockMask, 0u);
    EXPECT_EQ(buffer.markedLine(2, 4, false), nullptr);
    registry().setSyntaxHighlight(buffer, 0);
    EXPECT_EQ(buffer.parser(), registry().byName(QStringLiteral("c"))->parser);
}

TEST(Syntax, LaterRegistrationOfAnExtensionWins)
{
    CodeEditSyntaxRegistry syntaxes;
    syntaxes.registerSyntax({QStringLiteral("x"), QStringLiteral("Y")}, QStringLiteral("first"), QStringLiteral("First"),
                            std::make_unique<CodeEditCParser>());
    syntaxes.registerSyntax({QStringLiteral("X")}, QStringLiteral("second"), QStringLiteral("Second"),
                            std::make_unique<CodeEditJavaParser>());
    EXPECT_EQ(syntaxes.forFileName(QStringLiteral("/a/b.x"))->name, QStringLiteral("second"));
    EXPECT_EQ(syntaxes.forFileName(QStringLiteral("b.y"))->name, QStringLiteral("first"));
    EXPECT_EQ(syntaxes.forFileName(QStringLiteral("b.z")), nullptr);
    EXPECT_EQ(syntaxes.forFileName(QStringLiteral("noextension")), nullptr);
    EXPECT_EQ(syntaxes.syntaxes().size(), 2u);
}

TEST(Syntax, StyleNamesOfTheClasses)
{
    EXPECT_EQ(styleName(ClassPreprocessor), QStringLiteral("Preprocessor Control"));
    EXPECT_EQ(styleName(ClassDocCode), QStringLiteral("DocGen Code/Verbatim"));
    EXPECT_EQ(styleName(ClassXmlDelimiter), QStringLiteral("XML Delimiter"));
    EXPECT_EQ(styleName(20), QString());
    EXPECT_EQ(styleName(markMisspeltBegin), QString());
}

struct IsCodeCase {
    const char *name;
    const char *text;
    int column;
    int state;
    bool code;
};

class IsCode : public ::testing::TestWithParam<IsCodeCase> {};

TEST_P(IsCode, ScansTheLineUpToTheColumn)
{
    CodeEditCParser parser;
    parser.state = GetParam().state;
    EXPECT_EQ(parser.isCode(QString::fromLatin1(GetParam().text), GetParam().column), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Cases, IsCode, ::testing::Values(
    IsCodeCase{"plain", "a = b;", 4, 0, true},
    IsCodeCase{"insideString", "a = \"b c\";", 7, 0, false},
    IsCodeCase{"afterString", "a = \"b\" + c;", 10, 0, true},
    IsCodeCase{"escapedQuote", "\"a\\\"b\" c", 5, 0, false},
    IsCodeCase{"lineComment", "a; // b", 6, 0, false},
    IsCodeCase{"blockCommentToggles", "/* a */ b /* c", 9, 0, true},
    IsCodeCase{"insideBlockComment", "/* a */ b /* c", 14, 0, false},
    IsCodeCase{"startsInComment", "a */ b", 1, 1, false},
    IsCodeCase{"leavesStartComment", "a */ b", 5, 1, true}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(SyntaxChecker, XmlReportsTheFirstErrorAndMovesTheCaret)
{
    CodeEdit edit;
    edit.loadBytes("<a>\n<b>\n</a>\n");
    CodeSyntaxXMLChecker checker;
    EXPECT_FALSE(checker.check(edit));
    EXPECT_FALSE(checker.lastError().isEmpty());
    EXPECT_GT(edit.caret().line, 0);
    CodeEdit good;
    good.loadBytes("<a>\n<b/>\n</a>\n");
    EXPECT_TRUE(checker.check(good));
    EXPECT_TRUE(checker.lastError().isEmpty());
    CodeSyntaxChecker plain;
    EXPECT_TRUE(plain.check(edit));
}

class CountingHandler : public FileTypeHandler {
public:
    bool open(const Path &) override { return ++opened, true; }
    bool build(const Path &) override { return false; }
    bool checkSyntax(CodeEdit &) override { return true; }
    int opened = 0;
};

TEST(FileTypes, OperationsGoToTheHandlerOrAnswerFalse)
{
    const auto types = standardFileTypes();
    ASSERT_EQ(types.size(), 11u);
    FileType *c = fileTypeOf(types, Path(QStringLiteral("/src/MAIN.C")));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->title(), QStringLiteral("C Source File"));
    EXPECT_FALSE(c->open(Path(QStringLiteral("main.c"))));
    CountingHandler handler;
    c->setHandler(&handler);
    EXPECT_TRUE(c->open(Path(QStringLiteral("main.c"))));
    EXPECT_FALSE(c->build(Path(QStringLiteral("main.c"))));
    EXPECT_EQ(handler.opened, 1);
    EXPECT_EQ(fileTypeOf(types, Path(QStringLiteral("a.qvproject")))->title(), QStringLiteral("Project File"));
    EXPECT_EQ(fileTypeOf(types, Path(QStringLiteral("README"))), nullptr);
}

} // namespace
