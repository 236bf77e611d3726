#include "foundation/Lexer.h"
#include <gtest/gtest.h>
#include <QRandomGenerator>
#include <QStringList>
#include <vector>

namespace {

// "number:text:priority" for every token up to the end.
std::vector<std::string> lex(const QString &text, bool fromRules = false)
{
    CStyleLexer lexer;
    lexer.setText(text);
    std::vector<std::string> tokens;
    for (int guard = 0; guard < 10000; ++guard) {
        const LexerToken token = fromRules ? lexer.nextFromRules() : lexer.next();
        if (token.is(CToken::Eof))
            break;
        tokens.push_back(QStringLiteral("%1:%2:%3")
                             .arg(token.number)
                             .arg(token.text)
                             .arg(token.priority)
                             .toStdString());
    }
    return tokens;
}

struct LexCase {
    const char *name;
    const char16_t *text;
    std::vector<const char16_t *> tokens;
};

void PrintTo(const LexCase &lexCase, std::ostream *out)
{
    *out << lexCase.name;
}

class CStyleLexing : public ::testing::TestWithParam<LexCase> {};

TEST_P(CStyleLexing, GivesTheTableTokens)
{
    std::vector<std::string> expected;
    for (const char16_t *token : GetParam().tokens)
        expected.push_back(QString::fromUtf16(token).toStdString());
    const QString text = QString::fromUtf16(GetParam().text);
    EXPECT_EQ(lex(text), expected);
    EXPECT_EQ(lex(text, true), expected) << "rule table";
}

INSTANTIATE_TEST_SUITE_P(
    Tokens, CStyleLexing,
    ::testing::Values(
        LexCase{"empty", u"", {}},
        LexCase{"whitespaceOnly", u" \t\r\n ", {}},
        LexCase{"decimalWithSuffixes", u"10ULL 7ul 3U", {u"3:10ULL:10", u"3:7ul:10", u"3:3U:10"}},
        LexCase{"suffixOrderIsFixed", u"1lU", {u"3:1l:10", u"8:U:10"}},
        LexCase{"hexAloneIsAToken", u"0x", {u"4:0x:10"}},
        LexCase{"hexWithSuffix", u"0x1fUL+0XA", {u"4:0x1fUL:10", u"28:+:8", u"3:0:10", u"8:XA:10"}},
        LexCase{"binary", u"0b1012", {u"5:0b101:10", u"3:2:10"}},
        LexCase{"floatNeedsDigitsAfterDot", u"1.5 2. .5", {u"6:1.5:10", u"3:2:10", u"19:.:10", u"19:.:10", u"3:5:10"}},
        LexCase{"exponentIsAnIdentifier", u"1e5", {u"3:1:10", u"8:e5:10"}},
        LexCase{"identifiersWithDollar", u"$a_1 _", {u"8:$a_1:10", u"8:_:10"}},
        LexCase{"register", u"@r0 @ @$", {u"9:@r0:10", u"9:@:10", u"9:@:10", u"8:$:10"}},
        LexCase{"stringKeepsEverything", u"\"a\\\" b\"", {u"7:\"a\\\":10", u"8:b:10", u"1:\":10"}},
        LexCase{"stringSpansLines", u"\"a\nb\"", {u"7:\"a\nb\":10"}},
        LexCase{"scopeBeforeColon", u":::", {u"12::::10", u"11:::10"}},
        LexCase{"arrowAndDecrement", u"a->b-->c", {u"8:a:10", u"20:->:10", u"8:b:10", u"22:--:10", u"35:>:6", u"8:c:10"}},
        LexCase{"notEqualBeforeNot", u"!=!~", {u"38:!=:5", u"24:!:10", u"23:~:10"}},
        LexCase{"compoundAssignments", u"*= /= %= += -= <<= >>= >>>= &= ^= |=",
                {u"48:*=:-3", u"49:/=:-3", u"50:%=:-3", u"46:+=:-3", u"47:-=:-3", u"52:<<=:-3",
                 u"51:>>=:-3", u"53:>>>=:-3", u"54:&=:-3", u"55:^=:-3", u"56:|=:-3"}},
        LexCase{"shiftsAndRelations", u"<< >> >>> <= < >= >",
                {u"30:<<:7", u"31:>>:7", u"32:>>>:7", u"34:<=:6", u"33:<:6", u"36:>=:6", u"35:>:6"}},
        LexCase{"logicalBeforeBitwise", u"&&& ||| &&=",
                {u"42:&&:1", u"39:&:4", u"43:||:0", u"41:|:2", u"42:&&:1", u"45:=:-2"}},
        LexCase{"incrementBeforePlusAssign", u"++=", {u"21:++:10", u"45:=:-2"}},
        LexCase{"lowPriorities", u"== ? = , ^", {u"37:==:5", u"44:?:-1", u"45:=:-2", u"57:,:-4", u"40:^:3"}},
        LexCase{"brackets", u";()[]{}", {u"10:;:10", u"13:(:10", u"14:):10", u"15:[:10", u"16:]:10", u"17:{:10", u"18:}:10"}},
        LexCase{"unknownCharacters", u"#`\\", {u"1:#:10", u"1:`:10", u"1:\\:10"}},
        LexCase{"unicodeSpaceAndDigits", u"\u00a0\u0663+1", {u"3:\u0663:10", u"28:+:8", u"3:1:10"}},
        LexCase{"unicodeLetterIsUnknown", u"\u00e9a", {u"1:\u00e9:10", u"8:a:10"}},
        LexCase{"straySurrogateReplaced", u"\xdfd8\"\xd835\"", {u"1:\ufffd:10", u"7:\"\ufffd\":10"}}),
    [](const auto &info) { return std::string(info.param.name); });

// The hand-written scanner must give exactly what the rule table gives, for any text.
TEST(CStyleLexerFastPath, AgreesWithTheRuleTableOnRandomText)
{
    const QString alphabet = QStringLiteral("0123456789abfxXbULul_$@\"'.:;()[]{}<>=!~*/%+-&|^?, \t\n#\x7f\x01")
                             + QStringLiteral("\u00a0\u0663\u00e9\u2028\U0001D7D8");
    QRandomGenerator random(20261122);
    for (int round = 0; round < 500; ++round) {
        QString text;
        const int length = int(random.bounded(1, 24));
        for (int i = 0; i < length; ++i)
            text += alphabet.at(int(random.bounded(alphabet.size())));
        ASSERT_EQ(lex(text), lex(text, true)) << text.toStdString();
    }
}

TEST(LexerPushBack, ReturnsTokensLastPushedFirst)
{
    CStyleLexer lexer;
    lexer.setText(QStringLiteral("a + b"));
    const LexerToken a = lexer.next();
    const LexerToken plus = lexer.next();
    lexer.pushBack(plus);
    lexer.pushBack(a);
    EXPECT_EQ(lexer.peek().text, QStringLiteral("a"));
    EXPECT_EQ(lexer.next().text, QStringLiteral("a"));
    EXPECT_EQ(lexer.next().text, QStringLiteral("+"));
    EXPECT_EQ(lexer.next().text, QStringLiteral("b"));
    EXPECT_TRUE(lexer.next().is(CToken::Eof));
    EXPECT_TRUE(lexer.next().is(CToken::Eof));
}

TEST(LexerPushBack, SetTextDropsPushedBackTokens)
{
    CStyleLexer lexer;
    lexer.setText(QStringLiteral("x"));
    lexer.pushBack(lexer.next());
    lexer.setText(QStringLiteral("y"));
    EXPECT_EQ(lexer.next().text, QStringLiteral("y"));
}

TEST(LexerTokenNames, NameEveryNumber)
{
    EXPECT_EQ(Lexer::tokenName(int(CToken::Comma)), QStringLiteral("TOKEN_COMMA"));
    EXPECT_EQ(Lexer::tokenName(int(CToken::Eof)), QStringLiteral("TOKEN_EOF"));
    EXPECT_EQ(Lexer::tokenName(int(CToken::UrshiftAssign)), QStringLiteral("TOKEN_URSHIFT_ASSIGN"));
    EXPECT_EQ(Lexer::tokenName(99), QStringLiteral("TOKEN_99"));
    QStringList names;
    for (int number = 0; number < cTokenCount; ++number)
        names << Lexer::tokenName(number);
    names.removeDuplicates();
    EXPECT_EQ(names.size(), cTokenCount);
}

} // namespace
