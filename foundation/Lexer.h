#pragma once
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <vector>

// Token numbers of the C-style expression language. The numbers are part of the language: a
// rule's number decides how the parser treats the text it matched.
enum class CToken : int {
    Eof = 0,     // the end of the text
    Unknown = 1, // one character that no rule matches
    Whitespace = 2,
    Integer = 3,
    HexInteger = 4,
    BinaryInteger = 5,
    Float = 6,
    String = 7,
    Identifier = 8,
    Register = 9,
    Semicolon = 10,
    Colon = 11,
    Scope = 12,
    LeftParenthesis = 13,
    RightParenthesis = 14,
    LeftSquareBracket = 15,
    RightSquareBracket = 16,
    LeftCurlyBracket = 17,
    RightCurlyBracket = 18,
    Dot = 19,
    Arrow = 20,
    PlusPlus = 21,
    MinusMinus = 22,
    BitNot = 23,
    LogicalNot = 24,
    Multiply = 25,
    Divide = 26,
    Mod = 27,
    Plus = 28,
    Minus = 29,
    Lshift = 30,
    Rshift = 31,
    Urshift = 32,
    Lt = 33,
    Le = 34,
    Gt = 35,
    Ge = 36,
    Eq = 37,
    Ne = 38,
    BitAnd = 39,
    BitXor = 40,
    BitOr = 41,
    LogicalAnd = 42,
    LogicalOr = 43,
    Question = 44,
    Assign = 45,
    PlusAssign = 46,
    MinusAssign = 47,
    MultiplyAssign = 48,
    DivideAssign = 49,
    ModAssign = 50,
    RshiftAssign = 51,
    LshiftAssign = 52,
    UrshiftAssign = 53,
    BitAndAssign = 54,
    BitXorAssign = 55,
    BitOrAssign = 56,
    Comma = 57,
};
constexpr int cTokenCount = 58;

// Priority of tokens that are no binary operator; the parser's operator levels run from -4 to 9.
constexpr int nonOperatorPriority = 10;

// One lexed token: its number, the text it matched and the priority of the rule that matched.
struct LexerToken {
    int number = int(CToken::Eof);
    QString text;
    int priority = nonOperatorPriority;

    bool is(CToken token) const { return number == int(token); }
};

// One row of a lexer's table: the text at the cursor is tried against `pattern`, anchored there.
struct LexerRule {
    QRegularExpression pattern;
    int number = 0;
    int priority = nonOperatorPriority;
};

// A table-driven lexer: at the cursor the rules are tried in table order and the first one that
// matches wins. White space (token 2) is skipped. Tokens handed back with pushBack() come out
// again, last pushed first, before the text is read on.
class Lexer {
public:
    Lexer() = default;
    virtual ~Lexer();

    // Starts over on `text`, dropping the pushed-back tokens.
    void setText(const QString &text);
    const QString &text() const { return m_text; }
    int position() const { return m_position; }

    [[nodiscard]] LexerToken next();
    // The token next() would give, left in place; the reference holds until the lexer is next
    // used.
    [[nodiscard]] const LexerToken &peek();
    void pushBack(LexerToken token);

    // The printable name of a token number, such as "TOKEN_COMMA"; "TOKEN_<n>" for others.
    [[nodiscard]] static QString tokenName(int number);

    // Lexes from the rule table only, skipping any faster scanner a subclass has; used to check
    // such a scanner against its table.
    [[nodiscard]] LexerToken nextFromRules();

protected:
    void setRules(QList<LexerRule> rules) { m_rules = std::move(rules); }
    const QList<LexerRule> &rules() const { return m_rules; }

    // A subclass may lex the token at the cursor itself, faster than the table does; it must
    // give exactly what the table would. False leaves the cursor alone and the table decides.
    virtual bool scanFast(LexerToken &token);

    QString m_text;
    qsizetype m_position = 0;

private:
    [[nodiscard]] LexerToken scan(bool allowFast);

    QList<LexerRule> m_rules; // implicitly shared: lexers of one kind share one compiled table
    std::vector<LexerToken> m_pushedBack; // the next token last
};

// The lexer of the C-style expression language.
class CStyleLexer : public Lexer {
public:
    CStyleLexer();

protected:
    bool scanFast(LexerToken &token) override;
};
