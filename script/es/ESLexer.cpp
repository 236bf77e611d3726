#include "script/es/ESLexer.h"
#include "script/es/ESCompilerContext.h"
#include "script/es/ESNode.h"
#include <array>
#include <charconv>
#include <iterator>

namespace {

// Character classes of the 256 lowest codes.
namespace CharClass {
constexpr std::uint8_t Lower = 1, Upper = 2, OtherIdentifier = 4, Digit = 8, Sign = 16,
                       Exponent = 32, Hex = 64, Octal = 128;
}

constexpr std::array<std::uint8_t, 256> makeCharClasses()
{
    std::array<std::uint8_t, 256> table{};
    for (int c = 'a'; c <= 'z'; ++c)
        table[c] |= CharClass::Lower;
    for (int c = 'A'; c <= 'Z'; ++c)
        table[c] |= CharClass::Upper;
    table['_'] |= CharClass::OtherIdentifier;
    table['$'] |= CharClass::OtherIdentifier;
    for (int c = '0'; c <= '9'; ++c)
        table[c] |= CharClass::Digit | CharClass::Hex;
    for (int c = '0'; c <= '7'; ++c)
        table[c] |= CharClass::Octal;
    for (int c = 'a'; c <= 'f'; ++c)
        table[c] |= CharClass::Hex;
    for (int c = 'A'; c <= 'F'; ++c)
        table[c] |= CharClass::Hex;
    table['+'] |= CharClass::Sign;
    table['-'] |= CharClass::Sign;
    table['e'] |= CharClass::Exponent;
    table['E'] |= CharClass::Exponent;
    return table;
}
constexpr std::array<std::uint8_t, 256> charClasses = makeCharClasses();

bool hasClass(QChar c, std::uint8_t bits)
{
    return c.unicode() < 256 && (charClasses[c.unicode()] & bits);
}

constexpr const char *keywordNames[] = {
    "break", "case", "catch", "class", "const", "continue", "debugger", "default", "delete",
    "do", "else", "enum", "export", "extends", "finally", "for", "function", "if", "import",
    "in", "new", "return", "super", "switch", "this", "throw", "try", "typeof", "var", "void",
    "while", "with", "true", "false", "null"};
static_assert(std::size(keywordNames) == ESToken::lastKeyword - ESToken::firstKeyword + 1);

// Texts of the tokens from 128 up to the last node kind that has one.
constexpr const char *tokenTexts[] = {
    "end of input", "a number", "an identifier", "a string",
    "&=", "|=", "^=", "<<=", ">>=", ">>>=", "+=", "-=", "*=", "/=", "%=", "||", "&&", "===",
    "!==", "==", "!=", "<=", ">=", "<<", ">>", ">>>", "++", "--"};
static_assert(std::size(tokenTexts) == ESToken::Break - ESToken::End);

constexpr const char *kindTexts[] = {
    "call", "newcall", "forin", "forvar", "forvarin", "arrayinit", "objectinit", "try-catch",
    "try-finally", "try-catch-finally", "#line", "#col"};
static_assert(std::size(kindTexts) == ESToken::List - ESToken::Call);

// Operators by longest match: the spellings after a first character and their tokens.
struct OperatorSpelling {
    const char *text;
    int token;
};
constexpr OperatorSpelling operatorSpellings[] = {
    {">>>=", ESToken::UshrAssign}, {"!==", ESToken::StrictNe}, {"===", ESToken::StrictEq},
    {"<<=", ESToken::ShlAssign}, {">>=", ESToken::ShrAssign}, {">>>", ESToken::Ushr},
    {"!=", ESToken::Ne}, {"%=", ESToken::ModAssign}, {"&&", ESToken::AndAnd},
    {"&=", ESToken::AndAssign}, {"*=", ESToken::MulAssign}, {"++", ESToken::Inc},
    {"+=", ESToken::AddAssign}, {"--", ESToken::Dec}, {"-=", ESToken::SubAssign},
    {"/=", ESToken::DivAssign}, {"<<", ESToken::Shl}, {"<=", ESToken::Le},
    {"==", ESToken::Eq}, {">>", ESToken::Shr}, {">=", ESToken::Ge}, {"^=", ESToken::XorAssign},
    {"|=", ESToken::OrAssign}, {"||", ESToken::OrOr},
};
// The dot of a member access is a token of its own too.
constexpr std::string_view singleOperators = "!%&*+-/<=>^|(),.:;?[]{}~";

int hexValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}

} // namespace

QString ESLexer::tokenName(int token)
{
    if (token >= 0 && token < ESToken::End)
        return QString(QChar(char16_t(token)));
    if (token < ESToken::Break)
        return QString::fromLatin1(tokenTexts[token - ESToken::End]);
    if (token <= ESToken::lastKeyword)
        return QString::fromLatin1(keywordNames[token - ESToken::firstKeyword]);
    if (token < ESToken::List)
        return QString::fromLatin1(kindTexts[token - ESToken::Call]);
    return QStringLiteral("token<%1>").arg(token);
}

ESLexer::ESLexer(ESCompilerContext &compiler) : m_compiler(compiler)
{
    for (int i = ESToken::firstKeyword; i <= ESToken::lastKeyword; ++i)
        m_keywords.insert(QString::fromLatin1(keywordNames[i - ESToken::firstKeyword]), i);
}

void ESLexer::setSource(const QString &text)
{
    m_text = text;
    m_pos = 0;
    m_line = 1;
    m_hasPeek = false;
}

int ESLexer::next()
{
    if (m_hasPeek) {
        m_hasPeek = false;
        m_current = m_peek;
    } else {
        lex(m_current);
    }
    return m_current.type;
}

int ESLexer::peek()
{
    if (!m_hasPeek) {
        lex(m_peek);
        m_hasPeek = true;
    }
    return m_peek.type;
}

// Skips white space and comments; false when the text ends first.
bool ESLexer::skipBlanksAndComments(Token &token)
{
    const qsizetype size = m_text.size();
    while (m_pos < size) {
        const char16_t c = m_text.at(m_pos).unicode();
        if (c == 9 || c == 11 || c == 12 || c == 26 || c == 32) {
            ++m_pos;
        } else if (c == 10) {
            ++m_line;
            token.newlineBefore = true;
            ++m_pos;
        } else if (c == 13) {
            token.newlineBefore = true;
            ++m_pos;
        } else if (c == '/' && m_pos + 1 < size && m_text.at(m_pos + 1) == QLatin1Char('/')) {
            while (m_pos < size && m_text.at(m_pos) != QLatin1Char('\n')
                   && m_text.at(m_pos) != QLatin1Char('\r'))
                ++m_pos;
        } else if (c == '/' && m_pos + 1 < size && m_text.at(m_pos + 1) == QLatin1Char('*')) {
            m_pos += 2;
            for (;;) {
                if (m_pos + 1 >= size) {
                    m_pos = size;   // an open comment ends the text without a message
                    return false;
                }
                if (m_text.at(m_pos) == QLatin1Char('*') && m_text.at(m_pos + 1) == QLatin1Char('/'))
                    break;
                if (m_text.at(m_pos) == QLatin1Char('\n'))
                    ++m_line;
                ++m_pos;
            }
            m_pos += 2;
        } else {
            return true;
        }
    }
    return false;
}

void ESLexer::lex(Token &token)
{
    token = Token{};
    if (!skipBlanksAndComments(token)) {
        token.type = ESToken::End;
        token.line = m_line;
        return;
    }
    token.line = m_line;
    const QChar c = m_text.at(m_pos);
    if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
        lexString(token, c);
    } else if (hasClass(c, CharClass::Digit)
               || (c == QLatin1Char('.') && m_pos + 1 < m_text.size()
                   && hasClass(m_text.at(m_pos + 1), CharClass::Digit))) {
        lexNumber(token);
    } else if (lexOperator(token, c)) {
        return;
    } else if (hasClass(c, CharClass::Lower | CharClass::Upper | CharClass::OtherIdentifier)) {
        lexIdentifier(token);
    } else {
        syntaxError(QStringLiteral("unknown character '%1'").arg(c));
    }
}

bool ESLexer::lexOperator(Token &token, QChar c)
{
    if (c.unicode() >= 128 || singleOperators.find(char(c.unicode())) == std::string_view::npos)
        return false;
    const QStringView rest = QStringView(m_text).mid(m_pos);
    for (const OperatorSpelling &spelling : operatorSpellings) {
        if (rest.startsWith(QLatin1String(spelling.text))) {
            token.type = spelling.token;
            m_pos += qsizetype(std::char_traits<char>::length(spelling.text));
            return true;
        }
    }
    token.type = c.unicode();
    ++m_pos;
    return true;
}

void ESLexer::lexIdentifier(Token &token)
{
    const qsizetype start = m_pos;
    while (m_pos < m_text.size()
           && hasClass(m_text.at(m_pos), CharClass::Lower | CharClass::Upper
                                             | CharClass::OtherIdentifier | CharClass::Digit))
        ++m_pos;
    const QString text = m_text.mid(start, m_pos - start);
    const auto keyword = m_keywords.constFind(text);
    if (keyword != m_keywords.constEnd()) {
        token.type = keyword.value();
        return;
    }
    token.type = ESToken::Identifier;
    token.atom = m_compiler.intern(text);
}

void ESLexer::lexString(Token &token, QChar quote)
{
    const qsizetype size = m_text.size();
    QString text;
    ++m_pos;
    for (;;) {
        if (m_pos >= size)
            syntaxError(QStringLiteral("end of file in string constant"));
        QChar c = m_text.at(m_pos++);
        if (c == quote)
            break;
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            syntaxError(QStringLiteral("newline in string constant"));
        if (c != QLatin1Char('\\')) {
            text += c;
            continue;
        }
        if (m_pos >= size)
            syntaxError(QStringLiteral("end of file in string constant"));
        c = m_text.at(m_pos++);
        switch (c.unicode()) {
        case 'b': text += QChar(8); break;
        case 'f': text += QChar(12); break;
        case 'n': text += QChar(10); break;
        case 'r': text += QChar(13); break;
        case 't': text += QChar(9); break;
        case 'x':
        case 'u': {
            const int digits = c == QLatin1Char('x') ? 2 : 4;
            int value = 0;
            for (int i = 0; i < digits; ++i) {
                const int digit = m_pos < size ? hexValue(m_text.at(m_pos)) : -1;
                if (digit < 0)
                    syntaxError(QStringLiteral("malformed hex escape sequence"));
                value = value * 16 + digit;
                ++m_pos;
            }
            text += QChar(char16_t(value));
            break;
        }
        default:
            if (hasClass(c, CharClass::Octal)) {
                // Up to three digits; the third only while the value still fits a byte.
                int value = c.unicode() - '0';
                for (int i = 1; i < 3 && m_pos < size && hasClass(m_text.at(m_pos), CharClass::Octal);
                     ++i) {
                    if (i == 2 && value > 31)
                        break;
                    value = value * 8 + (m_text.at(m_pos++).unicode() - '0');
                }
                text += QChar(char16_t(value));
            } else {
                if (c == QLatin1Char('\n'))
                    ++m_line;
                text += c;
            }
            break;
        }
    }
    token.type = ESToken::String;
    token.atom = m_compiler.intern(text);
}

void ESLexer::lexNumber(Token &token)
{
    const qsizetype size = m_text.size();
    const auto at = [&](qsizetype i) { return i < size ? m_text.at(i) : QChar(); };
    token.type = ESToken::Number;
    const qsizetype start = m_pos;
    if (at(m_pos) == QLatin1Char('0') && (at(m_pos + 1) == QLatin1Char('x') || at(m_pos + 1) == QLatin1Char('X'))) {
        m_pos += 2;
        double value = 0;
        while (hasClass(at(m_pos), CharClass::Hex))
            value = value * 16 + hexValue(m_text.at(m_pos++));
        token.number = value;
        return;
    }
    if (at(m_pos) == QLatin1Char('0') && hasClass(at(m_pos + 1), CharClass::Digit)) {
        ++m_pos;
        double value = 0;
        while (hasClass(at(m_pos), CharClass::Digit)) {
            const QChar digit = m_text.at(m_pos++);
            if (!hasClass(digit, CharClass::Octal))
                syntaxError(QStringLiteral("digit '%1' is not radix %2").arg(digit).arg(8));
            value = value * 8 + (digit.unicode() - '0');
        }
        token.number = value;
        return;
    }
    while (hasClass(at(m_pos), CharClass::Digit))
        ++m_pos;
    if (at(m_pos) == QLatin1Char('.')) {
        ++m_pos;
        while (hasClass(at(m_pos), CharClass::Digit))
            ++m_pos;
    }
    if (hasClass(at(m_pos), CharClass::Exponent)) {
        qsizetype end = m_pos + 1;
        if (hasClass(at(end), CharClass::Sign))
            ++end;
        if (hasClass(at(end), CharClass::Digit)) {
            m_pos = end;
            while (hasClass(at(m_pos), CharClass::Digit))
                ++m_pos;
        }
    }
    const QByteArray digits = m_text.mid(start, m_pos - start).toLatin1();
    double value = 0;
    const auto result = std::from_chars(digits.constData(), digits.constData() + digits.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        value = digits.contains("e-") || digits.contains("E-") ? 0.0 : qInf();
    token.number = value;
}

void ESLexer::syntaxError(const QString &message)
{
    m_compiler.syntaxError(m_line, message);
}

bool ESLexer::colonFollows() const
{
    qsizetype pos = m_pos;
    while (pos < m_text.size()) {
        const char16_t c = m_text.at(pos).unicode();
        if (c == ':')
            return true;
        if (c != 9 && c != 11 && c != 12 && c != 26 && c != 32)
            return false;
        ++pos;
    }
    return false;
}
