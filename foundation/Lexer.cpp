#include "foundation/Lexer.h"
#include <array>
#include <string_view>

namespace {

struct TokenInfo {
    std::string_view name;
    std::string_view literal; // the operator's text; empty for tokens made by a pattern
};

// Indexed by token number.
constexpr std::array<TokenInfo, cTokenCount> tokenInfo = {{
    {"TOKEN_EOF", ""},
    {"TOKEN_UNKNOWN", ""},
    {"TOKEN_WHITESPACE", ""},
    {"TOKEN_INTEGER", ""},
    {"TOKEN_HEX_INTEGER", ""},
    {"TOKEN_BINARY_INTEGER", ""},
    {"TOKEN_FLOAT", ""},
    {"TOKEN_STRING", ""},
    {"TOKEN_IDENTIFIER", ""},
    {"TOKEN_REGISTER", ""},
    {"TOKEN_SEMICOLON", ";"},
    {"TOKEN_COLON", ":"},
    {"TOKEN_SCOPE", "::"},
    {"TOKEN_LEFT_PARENTHESIS", "("},
    {"TOKEN_RIGHT_PARENTHESIS", ")"},
    {"TOKEN_LEFT_SQUARE_BRACKET", "["},
    {"TOKEN_RIGHT_SQUARE_BRACKET", "]"},
    {"TOKEN_LEFT_CURLY_BRACKET", "{"},
    {"TOKEN_RIGHT_CURLY_BRACKET", "}"},
    {"TOKEN_DOT", "."},
    {"TOKEN_ARROW", "->"},
    {"TOKEN_PLUSPLUS", "++"},
    {"TOKEN_MINUSMINUS", "--"},
    {"TOKEN_BITNOT", "~"},
    {"TOKEN_LOGICALNOT", "!"},
    {"TOKEN_MULTIPLY", "*"},
    {"TOKEN_DIVIDE", "/"},
    {"TOKEN_MOD", "%"},
    {"TOKEN_PLUS", "+"},
    {"TOKEN_MINUS", "-"},
    {"TOKEN_LSHIFT", "<<"},
    {"TOKEN_RSHIFT", ">>"},
    {"TOKEN_URSHIFT", ">>>"},
    {"TOKEN_LT", "<"},
    {"TOKEN_LE", "<="},
    {"TOKEN_GT", ">"},
    {"TOKEN_GE", ">="},
    {"TOKEN_EQ", "=="},
    {"TOKEN_NE", "!="},
    {"TOKEN_BITAND", "&"},
    {"TOKEN_BITXOR", "^"},
    {"TOKEN_BITOR", "|"},
    {"TOKEN_LOGICALAND", "&&"},
    {"TOKEN_LOGICALOR", "||"},
    {"TOKEN_QUESTION", "?"},
    {"TOKEN_ASSIGN", "="},
    {"TOKEN_PLUS_ASSIGN", "+="},
    {"TOKEN_MINUS_ASSIGN", "-="},
    {"TOKEN_MULTIPLY_ASSIGN", "*="},
    {"TOKEN_DIVIDE_ASSIGN", "/="},
    {"TOKEN_MOD_ASSIGN", "%="},
    {"TOKEN_RSHIFT_ASSIGN", ">>="},
    {"TOKEN_LSHIFT_ASSIGN", "<<="},
    {"TOKEN_URSHIFT_ASSIGN", ">>>="},
    {"TOKEN_BITAND_ASSIGN", "&="},
    {"TOKEN_BITXOR_ASSIGN", "^="},
    {"TOKEN_BITOR_ASSIGN", "|="},
    {"TOKEN_COMMA", ","},
}};

// The operator rules in table order, which settles every shared prefix: the longer operator is
// always tried first. Compound assignments bind loosest but one, below `=`.
struct OperatorRule {
    CToken token;
    int priority;
};
constexpr int compoundPriority = -3;
constexpr OperatorRule operatorRules[] = {
    {CToken::Semicolon, 10},      {CToken::Scope, 10},
    {CToken::Colon, 10},          {CToken::LeftParenthesis, 10},
    {CToken::RightParenthesis, 10}, {CToken::LeftSquareBracket, 10},
    {CToken::RightSquareBracket, 10}, {CToken::LeftCurlyBracket, 10},
    {CToken::RightCurlyBracket, 10}, {CToken::Dot, 10},
    {CToken::Arrow, 10},          {CToken::PlusPlus, 10},
    {CToken::MinusMinus, 10},     {CToken::Ne, 5},
    {CToken::LogicalNot, 10},     {CToken::BitNot, 10},
    {CToken::MultiplyAssign, compoundPriority}, {CToken::Multiply, 9},
    {CToken::DivideAssign, compoundPriority},   {CToken::Divide, 9},
    {CToken::ModAssign, compoundPriority},      {CToken::Mod, 9},
    {CToken::PlusAssign, compoundPriority},     {CToken::Plus, 8},
    {CToken::MinusAssign, compoundPriority},    {CToken::Minus, 8},
    {CToken::LshiftAssign, compoundPriority},   {CToken::Lshift, 7},
    {CToken::UrshiftAssign, compoundPriority},  {CToken::Urshift, 7},
    {CToken::RshiftAssign, compoundPriority},   {CToken::Rshift, 7},
    {CToken::Le, 6},              {CToken::Lt, 6},
    {CToken::Ge, 6},              {CToken::Gt, 6},
    {CToken::Eq, 5},              {CToken::BitXorAssign, compoundPriority},
    {CToken::BitXor, 3},          {CToken::BitAndAssign, compoundPriority},
    {CToken::LogicalAnd, 1},      {CToken::BitAnd, 4},
    {CToken::BitOrAssign, compoundPriority},    {CToken::LogicalOr, 0},
    {CToken::BitOr, 2},           {CToken::Question, -1},
    {CToken::Assign, -2},         {CToken::Comma, -4},
};

QString literalOf(CToken token)
{
    const std::string_view literal = tokenInfo[size_t(token)].literal;
    return QString::fromLatin1(literal.data(), qsizetype(literal.size()));
}

// Built once and shared by every CStyleLexer: compiling the patterns is far dearer than lexing.
const QList<LexerRule> &cStyleRules()
{
    static const QList<LexerRule> rules = [] {
        QList<LexerRule> table;
        const auto add = [&table](const QString &pattern, CToken token, int priority) {
            // Unicode properties give \s and \d their full meaning, as for any QString text.
            QRegularExpression expression(pattern,
                                          QRegularExpression::UseUnicodePropertiesOption);
            expression.optimize();
            table.append({expression, int(token), priority});
        };
        add(QStringLiteral("[\\s]+"), CToken::Whitespace, 10);
        add(QStringLiteral("\"[^\"]*\""), CToken::String, 10);
        add(QStringLiteral("0x[0-9A-Fa-f]*U?L?L?u?l?l?"), CToken::HexInteger, 10);
        add(QStringLiteral("0b[0-1]*"), CToken::BinaryInteger, 10);
        add(QStringLiteral("\\d+\\.\\d+"), CToken::Float, 10);
        add(QStringLiteral("\\d+U?L?L?u?l?l?"), CToken::Integer, 10);
        add(QStringLiteral("[A-Za-z_$][A-Za-z_0-9$]*"), CToken::Identifier, 10);
        add(QStringLiteral("@[A-Za-z_0-9]*"), CToken::Register, 10);
        for (const OperatorRule &rule : operatorRules)
            add(QRegularExpression::escape(literalOf(rule.token)), rule.token, rule.priority);
        return table;
    }();
    return rules;
}

bool isAsciiDigit(char16_t c)
{
    return c >= '0' && c <= '9';
}
bool isHexDigit(char16_t c)
{
    return isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
bool isIdentifierStart(char16_t c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}
bool isIdentifierPart(char16_t c)
{
    return isIdentifierStart(c) || isAsciiDigit(c);
}
bool isAsciiSpace(char16_t c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The priority of each operator token, by number; tokens that are no operator get 10.
constexpr std::array<int, cTokenCount> operatorPriorities = [] {
    std::array<int, cTokenCount> priorities{};
    priorities.fill(nonOperatorPriority);
    for (const OperatorRule &rule : operatorRules)
        priorities[size_t(rule.token)] = rule.priority;
    return priorities;
}();

// For each ASCII character, the operator rules that begin with it, in table order; -1 ends a
// list.
constexpr int maxOperatorsPerCharacter = 8;
using OperatorList = std::array<int, maxOperatorsPerCharacter>;
constexpr std::array<OperatorList, 128> operatorsByFirstCharacter = [] {
    std::array<OperatorList, 128> lists{};
    for (OperatorList &list : lists)
        list.fill(-1);
    for (size_t index = 0; index < std::size(operatorRules); ++index) {
        OperatorList &list = lists[size_t(tokenInfo[size_t(operatorRules[index].token)].literal[0])];
        size_t slot = 0;
        while (list[slot] >= 0)
            ++slot;
        list[slot] = int(index);
    }
    return lists;
}();

// The texts of the operator tokens, made once, so that lexing an operator allocates nothing.
const std::array<QString, cTokenCount> &operatorTexts()
{
    static const std::array<QString, cTokenCount> texts = [] {
        std::array<QString, cTokenCount> result;
        for (const OperatorRule &rule : operatorRules)
            result[size_t(rule.token)] = literalOf(rule.token);
        return result;
    }();
    return texts;
}

} // namespace

Lexer::~Lexer() = default;

void Lexer::setText(const QString &text)
{
    m_text = text;
    // The patterns only match valid UTF-16: a stray surrogate half becomes U+FFFD.
    for (qsizetype i = 0; i < m_text.size(); ++i) {
        const QChar c = m_text.at(i);
        if (!c.isSurrogate())
            continue;
        if (c.isHighSurrogate() && i + 1 < m_text.size() && m_text.at(i + 1).isLowSurrogate())
            ++i;
        else
            m_text[i] = QChar::ReplacementCharacter;
    }
    m_position = 0;
    m_pushedBack.clear();
}

LexerToken Lexer::next()
{
    if (m_pushedBack.empty())
        return scan(true);
    LexerToken token = std::move(m_pushedBack.back());
    m_pushedBack.pop_back();
    return token;
}

const LexerToken &Lexer::peek()
{
    if (m_pushedBack.empty())
        m_pushedBack.push_back(scan(true));
    return m_pushedBack.back();
}

void Lexer::pushBack(LexerToken token)
{
    m_pushedBack.push_back(std::move(token));
}

QString Lexer::tokenName(int number)
{
    if (number < 0 || number >= cTokenCount)
        return QStringLiteral("TOKEN_%1").arg(number);
    const std::string_view name = tokenInfo[size_t(number)].name;
    return QString::fromLatin1(name.data(), qsizetype(name.size()));
}

LexerToken Lexer::nextFromRules()
{
    return scan(false);
}

bool Lexer::scanFast(LexerToken &)
{
    return false;
}

LexerToken Lexer::scan(bool allowFast)
{
    for (;;) {
        if (m_position >= m_text.size())
            return {int(CToken::Eof), QString(), nonOperatorPriority};
        LexerToken token;
        if (!(allowFast && scanFast(token))) {
            const LexerRule *matched = nullptr;
            qsizetype length = 0;
            for (const LexerRule &rule : std::as_const(m_rules)) {
                const QRegularExpressionMatch match = rule.pattern.match(
                    m_text, m_position, QRegularExpression::NormalMatch,
                    QRegularExpression::AnchorAtOffsetMatchOption);
                // An empty match would not move the cursor: it counts as no match.
                if (match.hasMatch() && match.capturedLength() > 0) {
                    matched = &rule;
                    length = match.capturedLength();
                    break;
                }
            }
            if (matched)
                token = {matched->number, m_text.mid(m_position, length), matched->priority};
            else
                token = {int(CToken::Unknown), m_text.mid(m_position, 1), nonOperatorPriority};
            m_position += token.text.size();
        }
        if (!token.is(CToken::Whitespace))
            return token;
    }
}

CStyleLexer::CStyleLexer()
{
    setRules(cStyleRules());
}

namespace {

// One token's scan over ASCII text: each part returns where its token ends, or -1 where a
// character beyond ASCII could change what the rule table matches, so the table decides.
struct FastScan {
    const char16_t *data;
    qsizetype size;
    qsizetype start;

    char16_t at(qsizetype i) const { return i < size ? data[i] : u'\0'; }

    qsizetype integerSuffixes(qsizetype end) const
    {
        for (const char16_t suffix : {u'U', u'L', u'L', u'u', u'l', u'l'})
            if (at(end) == suffix)
                ++end;
        return end;
    }
    qsizetype spaces() const
    {
        qsizetype end = start;
        while (end < size && isAsciiSpace(data[end]))
            ++end;
        return at(end) >= 0x80 ? -1 : end;
    }
    // An unterminated string is a one-character Unknown token, as the table has it.
    qsizetype string(CToken &kind) const
    {
        qsizetype end = start + 1;
        while (end < size && data[end] != '"') {
            if (data[end] >= 0x80)
                return -1;
            ++end;
        }
        kind = end == size ? CToken::Unknown : CToken::String;
        return end == size ? start + 1 : end + 1;
    }
    qsizetype hexInteger() const
    {
        qsizetype end = start + 2;
        while (end < size && isHexDigit(data[end]))
            ++end;
        return integerSuffixes(end);
    }
    qsizetype binaryInteger() const
    {
        qsizetype end = start + 2;
        while (at(end) == '0' || at(end) == '1')
            ++end;
        return end;
    }
    qsizetype decimal(CToken &kind) const
    {
        qsizetype end = start;
        while (end < size && isAsciiDigit(data[end]))
            ++end;
        if (at(end) >= 0x80 || (at(end) == '.' && at(end + 1) >= 0x80))
            return -1;
        if (at(end) == '.' && isAsciiDigit(at(end + 1))) {
            end += 2;
            while (end < size && isAsciiDigit(data[end]))
                ++end;
            kind = CToken::Float;
            return at(end) >= 0x80 ? -1 : end;
        }
        kind = CToken::Integer;
        return integerSuffixes(end);
    }
    qsizetype identifier(bool registerName) const
    {
        qsizetype end = start + 1;
        while (end < size && isIdentifierPart(data[end]) && !(registerName && data[end] == '$'))
            ++end;
        return end;
    }
    // The first operator listed for the character whose whole literal follows, or -1.
    int operatorRule() const
    {
        for (const int index : operatorsByFirstCharacter[data[start]]) {
            if (index < 0)
                break;
            const std::string_view literal =
                tokenInfo[size_t(operatorRules[size_t(index)].token)].literal;
            qsizetype i = 1;
            while (i < qsizetype(literal.size()) && at(start + i) == char16_t(literal[size_t(i)]))
                ++i;
            if (i == qsizetype(literal.size()))
                return index;
        }
        return -1;
    }
};

} // namespace

// Mirrors the rule table on ASCII text. Where a character beyond ASCII could change what the
// table matches (Unicode white space and digits, or anything inside a string) it returns false
// and the table decides; only identifiers, numbers' prefixes and operators end at such a
// character exactly as here.
bool CStyleLexer::scanFast(LexerToken &token)
{
    const FastScan scan{reinterpret_cast<const char16_t *>(m_text.constData()), m_text.size(),
                        m_position};
    const char16_t c = scan.data[scan.start];
    if (c >= 0x80)
        return false;
    CToken kind = CToken::Unknown;
    qsizetype end = scan.start + 1;
    if (isAsciiSpace(c)) {
        if ((end = scan.spaces()) < 0)
            return false;
        token = {int(CToken::Whitespace), QString(), nonOperatorPriority}; // skipped: no text
        m_position = end;
        return true;
    }
    if (c == '"') {
        end = scan.string(kind);
    } else if (c == '0' && scan.at(scan.start + 1) == 'x') {
        kind = CToken::HexInteger;
        end = scan.hexInteger();
    } else if (c == '0' && scan.at(scan.start + 1) == 'b') {
        kind = CToken::BinaryInteger;
        end = scan.binaryInteger();
    } else if (isAsciiDigit(c)) {
        end = scan.decimal(kind);
    } else if (isIdentifierStart(c) || c == '@') {
        kind = c == '@' ? CToken::Register : CToken::Identifier;
        end = scan.identifier(c == '@');
    } else if (const int index = scan.operatorRule(); index >= 0) {
        const OperatorRule &rule = operatorRules[size_t(index)];
        const qsizetype length = qsizetype(tokenInfo[size_t(rule.token)].literal.size());
        token = {int(rule.token), operatorTexts()[size_t(rule.token)], rule.priority};
        m_position = scan.start + length;
        return true;
    }
    if (end < 0)
        return false;
    token = {int(kind), m_text.mid(scan.start, end - scan.start), operatorPriorities[size_t(kind)]};
    m_position = end;
    return true;
}
