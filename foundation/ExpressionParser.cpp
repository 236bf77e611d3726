#include "foundation/ExpressionParser.h"
#include <limits>

namespace {

constexpr int lowestLevel = -4;  // `,`
constexpr int highestLevel = 9;  // `*` `/` `%`
constexpr int argumentLevel = -3; // above `,`, which separates the arguments of a call

// Bounds on what the recursive parser, evaluate, clone and delete are asked to climb: each
// nested parseUnary costs a frame per operator level, each tree level a few frames.
constexpr int maxNesting = 256;
constexpr int maxTreeDepth = 2000;
// `x++` and `x += 1` copy their target, so chaining them doubles the tree each time: the copies
// of one parse are bounded by count.
constexpr qint64 maxCopiedNodes = 100000;

[[noreturn]] void fail(const QString &message)
{
    throw ParserException(message);
}

[[noreturn]] void fail(const char *message)
{
    throw ParserException(QString::fromLatin1(message));
}

void failNested()
{
    fail("expression nested too deeply");
}

using BinaryFactory = std::unique_ptr<Expression> (*)(ExpressionParser *,
                                                      std::unique_ptr<Expression>,
                                                      std::unique_ptr<Expression>);

template <class Node>
std::unique_ptr<Expression> make(ExpressionParser *parser, std::unique_ptr<Expression> left,
                                 std::unique_ptr<Expression> right)
{
    return std::make_unique<Node>(parser, std::move(left), std::move(right));
}

struct BinaryNode {
    CToken token;
    BinaryFactory factory;
};
constexpr BinaryNode binaryNodes[] = {
    {CToken::Multiply, make<MultiplyExpression>},     {CToken::Divide, make<DivideExpression>},
    {CToken::Mod, make<ModExpression>},               {CToken::Plus, make<PlusExpression>},
    {CToken::Minus, make<MinusExpression>},           {CToken::Lshift, make<LshiftExpression>},
    {CToken::Rshift, make<RshiftExpression>},         {CToken::Lt, make<LtExpression>},
    {CToken::Le, make<LeExpression>},                 {CToken::Gt, make<GtExpression>},
    {CToken::Ge, make<GeExpression>},                 {CToken::Eq, make<EqExpression>},
    {CToken::Ne, make<NeExpression>},                 {CToken::BitAnd, make<BitAndExpression>},
    {CToken::BitXor, make<BitXorExpression>},         {CToken::BitOr, make<BitOrExpression>},
    {CToken::LogicalAnd, make<LogicalAndExpression>}, {CToken::LogicalOr, make<LogicalOrExpression>},
    {CToken::Assign, make<AssignExpression>},
};

// `a op= b` is `a = a op b`.
struct CompoundAssignment {
    CToken token;
    CToken op;
};
constexpr CompoundAssignment compoundAssignments[] = {
    {CToken::MultiplyAssign, CToken::Multiply}, {CToken::DivideAssign, CToken::Divide},
    {CToken::ModAssign, CToken::Mod},           {CToken::PlusAssign, CToken::Plus},
    {CToken::MinusAssign, CToken::Minus},       {CToken::LshiftAssign, CToken::Lshift},
    {CToken::RshiftAssign, CToken::Rshift},     {CToken::BitAndAssign, CToken::BitAnd},
    {CToken::BitXorAssign, CToken::BitXor},     {CToken::BitOrAssign, CToken::BitOr},
};

BinaryFactory factoryOf(int token)
{
    for (const BinaryNode &node : binaryNodes)
        if (int(node.token) == token)
            return node.factory;
    return nullptr;
}

bool hasNode(int token)
{
    if (factoryOf(token))
        return true;
    for (const CompoundAssignment &compound : compoundAssignments)
        if (int(compound.token) == token)
            return true;
    return false;
}

// A deep copy of `node`, counted into `copiedNodes`.
std::unique_ptr<Expression> copyOf(const Expression &node, qint64 &copiedNodes)
{
    copiedNodes += node.size();
    if (copiedNodes > maxCopiedNodes)
        fail("expression too large");
    return node.clone();
}

// Makes the node of the binary operator `token`, which hasNode() accepts.
std::unique_ptr<Expression> makeBinary(ExpressionParser *parser, int token,
                                       std::unique_ptr<Expression> left,
                                       std::unique_ptr<Expression> right, qint64 &copiedNodes)
{
    if (const BinaryFactory factory = factoryOf(token))
        return factory(parser, std::move(left), std::move(right));
    for (const CompoundAssignment &compound : compoundAssignments) {
        if (int(compound.token) == token) {
            auto target = copyOf(*left, copiedNodes);
            auto value = factoryOf(int(compound.op))(parser, std::move(left), std::move(right));
            return std::make_unique<AssignExpression>(parser, std::move(target), std::move(value));
        }
    }
    fail("operator not supported");
}

// `++x` and `--x`, and their postfix forms: `x = x + 1`, `x = x - 1`.
std::unique_ptr<Expression> makeIncrement(ExpressionParser *parser,
                                          std::unique_ptr<Expression> target, bool up,
                                          qint64 &copiedNodes)
{
    auto one = std::make_unique<IntegerConstantExpression>(parser, 1);
    auto copy = copyOf(*target, copiedNodes);
    std::unique_ptr<Expression> value;
    if (up)
        value = std::make_unique<PlusExpression>(parser, std::move(copy), std::move(one));
    else
        value = std::make_unique<MinusExpression>(parser, std::move(copy), std::move(one));
    return std::make_unique<AssignExpression>(parser, std::move(target), std::move(value));
}

// The digits of a literal as ASCII; a text lexed by the rule table may hold other decimal
// digits, which count by their value.
QString asciiDigits(QStringView digits)
{
    QString result;
    result.reserve(digits.size());
    for (const QChar c : digits) {
        const int value = c.digitValue();
        result.append(value >= 0 ? QChar(u'0' + value) : c);
    }
    return result;
}

// The value of an integer literal; anything beyond 64 bits is refused rather than cut.
qint64 integerValue(const LexerToken &token)
{
    QStringView digits(token.text);
    int base = 10;
    if (token.is(CToken::HexInteger) || token.is(CToken::BinaryInteger)) {
        base = token.is(CToken::HexInteger) ? 16 : 2;
        digits = digits.mid(2);
    }
    const auto isSuffix = [](QChar c) { return c == u'U' || c == u'L' || c == u'u' || c == u'l'; };
    while (!digits.isEmpty() && isSuffix(digits.back()))
        digits.chop(1);
    quint64 value = 0;
    for (const QChar c : digits) {
        const char16_t u = c.unicode();
        const int digit = u >= 'a' && u <= 'f' ? u - 'a' + 10
                          : u >= 'A' && u <= 'F' ? u - 'A' + 10
                          : u >= '0' && u <= '9' ? u - '0'
                                                 : c.digitValue();
        if (value > (std::numeric_limits<quint64>::max() - quint64(digit)) / quint64(base))
            fail(QStringLiteral("integer constant too large: ") + token.text);
        value = value * quint64(base) + quint64(digit);
    }
    return qint64(value);
}

bool isIntegerToken(const LexerToken &token)
{
    return token.is(CToken::Integer) || token.is(CToken::HexInteger)
           || token.is(CToken::BinaryInteger);
}

// Counts the open parseUnary calls of one parse.
class NestingGuard {
public:
    explicit NestingGuard(int &nesting) : m_nesting(nesting)
    {
        if (m_nesting >= maxNesting)
            failNested();
        ++m_nesting;
    }
    ~NestingGuard() { --m_nesting; }
    NestingGuard(const NestingGuard &) = delete;
    NestingGuard &operator=(const NestingGuard &) = delete;

private:
    int &m_nesting;
};

} // namespace

ExpressionParser::ExpressionParser() = default;
ExpressionParser::~ExpressionParser() = default;

// ---- Entry points

ExpressionValue ExpressionParser::evaluateOrThrow(const QString &text)
{
    if (text.isEmpty())
        return {};
    const std::unique_ptr<Expression> tree = parse(text);
    return tree->evaluate();
}

ExpressionValue ExpressionParser::evaluate(const QString &text, bool *ok)
{
    m_errorMessage.clear();
    ExpressionValue value;
    try {
        value = evaluateOrThrow(text);
    } catch (const ParserException &exception) {
        m_errorMessage = exception.message();
        value = {};
    }
    if (ok)
        *ok = !value.isEmpty();
    return value;
}

int ExpressionParser::toInteger(const QString &text, bool *ok)
{
    // The low 32 bits, as the target's int would hold them.
    return int(quint32(quint64(toLongLong(text, ok))));
}

qint64 ExpressionParser::toLongLong(const QString &text, bool *ok)
{
    return evaluate(text, ok).toLongLong();
}

bool ExpressionParser::toBoolean(const QString &text, bool *ok)
{
    bool resulted = false;
    const ExpressionValue value = evaluate(text, &resulted);
    const bool isBoolean = resulted && value.kind == ExpressionKind::Boolean;
    if (resulted && !isBoolean)
        m_errorMessage = QStringLiteral("boolean expected, not ") + value.typeName();
    if (ok)
        *ok = isBoolean;
    return isBoolean && value.integer != 0;
}

std::unique_ptr<Expression> ExpressionParser::parse(const QString &text)
{
    m_lexer.setText(text);
    m_nesting = 0;
    m_copiedNodes = 0;
    return parseLevel(lowestLevel);
}

// ---- The precedence climb

// Every level is left-associative, assignment included (`a = b = 1` is `(a = b) = 1`), so a
// right operand takes only the operators that bind tighter than its own. That gives the trees
// of climbing one level at a time from -4 to 9, in one frame per operator instead of per level.
std::unique_ptr<Expression> ExpressionParser::parseLevel(int priority)
{
    std::unique_ptr<Expression> left = parseUnary();
    for (;;) {
        const int next = m_lexer.peek().priority;
        if (next < priority || next > highestLevel)
            return left;
        const LexerToken token = m_lexer.next();
        // `,`, `?` and `>>>` are lexed but have no node.
        if (!hasNode(token.number))
            fail("operator not supported");
        left = checked(makeBinary(this, token.number, std::move(left), parseLevel(next + 1),
                                  m_copiedNodes));
    }
}

std::unique_ptr<Expression> ExpressionParser::checked(std::unique_ptr<Expression> node) const
{
    if (node->depth() > maxTreeDepth)
        failNested();
    return node;
}

void ExpressionParser::expect(CToken token, const char *message)
{
    if (!m_lexer.next().is(token))
        fail(message);
}

std::unique_ptr<Expression> ExpressionParser::parseUnary()
{
    const NestingGuard guard(m_nesting);
    const LexerToken token = m_lexer.next();
    switch (CToken(token.number)) {
    case CToken::PlusPlus:
    case CToken::MinusMinus:
        return checked(
            makeIncrement(this, parseUnary(), token.is(CToken::PlusPlus), m_copiedNodes));
    case CToken::BitNot: return checked(std::make_unique<BitNotExpression>(this, parseUnary()));
    case CToken::LogicalNot:
        return checked(std::make_unique<LogicalNotExpression>(this, parseUnary()));
    case CToken::Minus: return checked(std::make_unique<NegateExpression>(this, parseUnary()));
    case CToken::Plus: return parseUnary();
    case CToken::Multiply:
        return checked(std::make_unique<LeftSquareBracketExpression>(
            this, parseUnary(), std::make_unique<IntegerConstantExpression>(this, 0)));
    case CToken::BitAnd:
        return checked(std::make_unique<AddressofExpression>(this, parseUnary()));
    default: return parsePrimary(token);
    }
}

std::unique_ptr<Expression> ExpressionParser::parsePrimary(const LexerToken &token)
{
    switch (CToken(token.number)) {
    case CToken::Integer:
    case CToken::HexInteger:
    case CToken::BinaryInteger:
        return parsePostfix(std::make_unique<IntegerConstantExpression>(this, integerValue(token)));
    case CToken::Float:
        return parsePostfix(
            std::make_unique<FloatConstantExpression>(this, asciiDigits(token.text).toDouble()));
    case CToken::String:
        // The text between the quotes, as it stands: there are no escapes.
        return parsePostfix(std::make_unique<StringConstantExpression>(
            this, token.text.mid(1, token.text.size() - 2)));
    case CToken::Identifier:
        if (token.text == QLatin1String("sizeof"))
            return parseSizeof();
        if (token.text == QLatin1String("addressof"))
            return parsePostfix(parseAddressofLine());
        return parseScopedName({token.text});
    case CToken::Register:
        return parsePostfix(std::make_unique<RegisterExpression>(this, token.text.mid(1)));
    case CToken::Scope: {
        const LexerToken name = m_lexer.next();
        if (!name.is(CToken::Identifier))
            fail("identifier expected");
        return parseScopedName({QString(), name.text}); // from the root: an empty first part
    }
    case CToken::LeftParenthesis: {
        QString typeName;
        if (parseTypeName(typeName)) {
            expect(CToken::RightParenthesis, "')' expected");
            return checked(std::make_unique<CastExpression>(this, typeName, parseUnary()));
        }
        std::unique_ptr<Expression> inner = parseLevel(lowestLevel);
        expect(CToken::RightParenthesis, "')' expected");
        return parsePostfix(std::move(inner));
    }
    default: fail(QStringLiteral("unexpected token ") + Lexer::tokenName(token.number));
    }
}

std::unique_ptr<Expression> ExpressionParser::parseScopedName(QStringList parts)
{
    while (m_lexer.peek().is(CToken::Scope)) {
        (void)m_lexer.next();
        const LexerToken name = m_lexer.next();
        if (!name.is(CToken::Identifier))
            fail("identifier expected");
        parts.append(name.text);
    }
    if (parts.size() == 1)
        return parsePostfix(std::make_unique<IdentifierExpression>(this, parts.constFirst()));
    return parsePostfix(std::make_unique<ScopedIdentifierExpression>(this, std::move(parts)));
}

std::unique_ptr<Expression> ExpressionParser::parsePostfix(std::unique_ptr<Expression> node)
{
    for (;;) {
        const CToken token = CToken(m_lexer.peek().number);
        switch (token) {
        case CToken::Arrow:
        case CToken::Dot:
        case CToken::LeftSquareBracket:
        case CToken::LeftParenthesis:
        case CToken::PlusPlus:
        case CToken::MinusMinus: (void)m_lexer.next(); break;
        default: return node;
        }
        switch (token) {
        case CToken::Arrow:
            node = checked(std::make_unique<LeftSquareBracketExpression>(
                this, std::move(node), std::make_unique<IntegerConstantExpression>(this, 0)));
            [[fallthrough]];
        case CToken::Dot: {
            const LexerToken name = m_lexer.next();
            if (!name.is(CToken::Identifier))
                fail("identifier expected");
            node = std::make_unique<DotExpression>(
                this, std::move(node), std::make_unique<IdentifierExpression>(this, name.text));
            break;
        }
        case CToken::LeftSquareBracket: {
            std::unique_ptr<Expression> index = parseLevel(lowestLevel);
            expect(CToken::RightSquareBracket, "']' expected");
            node = std::make_unique<LeftSquareBracketExpression>(this, std::move(node),
                                                                 std::move(index));
            break;
        }
        case CToken::LeftParenthesis: node = parseCall(std::move(node)); break;
        default:
            node = makeIncrement(this, std::move(node), token == CToken::PlusPlus, m_copiedNodes);
            break;
        }
        node = checked(std::move(node));
    }
}

std::unique_ptr<Expression> ExpressionParser::parseCall(std::unique_ptr<Expression> function)
{
    std::vector<std::unique_ptr<Expression>> arguments;
    if (m_lexer.peek().is(CToken::RightParenthesis)) {
        (void)m_lexer.next();
    } else {
        for (;;) {
            arguments.push_back(parseLevel(argumentLevel));
            const LexerToken token = m_lexer.next();
            if (token.is(CToken::RightParenthesis))
                break;
            if (!token.is(CToken::Comma))
                fail("')' expected");
        }
    }
    return std::make_unique<CallExpression>(this, std::move(function), std::move(arguments));
}

std::unique_ptr<Expression> ExpressionParser::parseSizeof()
{
    if (!m_lexer.peek().is(CToken::LeftParenthesis))
        return checked(std::make_unique<SizeofExpression>(this, parseUnary()));
    (void)m_lexer.next();
    QString typeName;
    if (parseTypeName(typeName)) {
        expect(CToken::RightParenthesis, "')' expected");
        return std::make_unique<SizeofExpression>(this, typeName);
    }
    std::unique_ptr<Expression> operand = parseLevel(lowestLevel);
    expect(CToken::RightParenthesis, "')' expected");
    return checked(std::make_unique<SizeofExpression>(this, std::move(operand)));
}

std::unique_ptr<Expression> ExpressionParser::parseAddressofLine()
{
    expect(CToken::LeftParenthesis, "'(' expected");
    const LexerToken file = m_lexer.next();
    if (!file.is(CToken::String))
        fail("string expected");
    expect(CToken::Comma, "',' expected");
    const LexerToken line = m_lexer.next();
    if (!isIntegerToken(line))
        fail("int expected");
    expect(CToken::RightParenthesis, "')' expected");
    return std::make_unique<AddressofLineExpression>(
        this, file.text.mid(1, file.text.size() - 2), int(integerValue(line)));
}

// ---- Type names

bool ExpressionParser::isTypeName(const QString &word) const
{
    static const QStringList basicTypes = {
        QStringLiteral("void"),   QStringLiteral("char"),     QStringLiteral("short"),
        QStringLiteral("int"),    QStringLiteral("long"),     QStringLiteral("float"),
        QStringLiteral("double"), QStringLiteral("signed"),   QStringLiteral("unsigned"),
        QStringLiteral("bool"),   QStringLiteral("_Bool"),
    };
    return basicTypes.contains(word);
}

bool ExpressionParser::parseTypeName(QString &typeName)
{
    if (!m_lexer.peek().is(CToken::Identifier)) // the common case of a parenthesised expression
        return false;
    QList<LexerToken> taken;
    const auto take = [&] {
        taken.append(m_lexer.next());
        return taken.constLast();
    };
    QStringList words;
    bool named = false;
    LexerToken token = take();
    while (token.is(CToken::Identifier)) {
        const bool tagged = token.text == QLatin1String("struct")
                            || token.text == QLatin1String("union")
                            || token.text == QLatin1String("enum");
        if (tagged) {
            const LexerToken tag = take();
            if (!tag.is(CToken::Identifier))
                break;
            words << token.text << tag.text;
            named = true;
        } else if (isTypeName(token.text)) {
            words << token.text;
            named = true;
        } else if (token.text == QLatin1String("const")
                   || token.text == QLatin1String("volatile")) {
            words << token.text;
        } else {
            break;
        }
        token = take();
    }
    QString suffix;
    while (named && token.is(CToken::Multiply)) {
        suffix += QLatin1Char('*');
        token = take();
    }
    while (named && token.is(CToken::LeftSquareBracket)) {
        token = take();
        QString size;
        if (isIntegerToken(token)) {
            size = token.text;
            token = take();
        }
        if (!token.is(CToken::RightSquareBracket))
            fail("expected ']'");
        suffix += QLatin1Char('[') + size + QLatin1Char(']');
        token = take();
    }
    if (!named || !token.is(CToken::RightParenthesis)) {
        for (qsizetype i = taken.size() - 1; i >= 0; --i)
            m_lexer.pushBack(taken.at(i));
        return false;
    }
    m_lexer.pushBack(token);
    typeName = words.join(QLatin1Char(' '));
    if (!suffix.isEmpty())
        typeName += QLatin1Char(' ') + suffix;
    return true;
}

// ---- Defaults of the requests

ExpressionValue ExpressionParser::addressOfLine(const QString &, int)
{
    fail("addressof not implemented");
}

ExpressionValue ExpressionParser::update(const ExpressionValue &, const ExpressionValue &)
{
    fail("can't update a constant");
}

ExpressionValue ExpressionParser::markerValue(const ExpressionValue &marker)
{
    return marker;
}

ExpressionValue ExpressionParser::binaryOperation(ExpressionOperator op,
                                                  const ExpressionValue &left,
                                                  const ExpressionValue &right)
{
    const auto plain = [this](const ExpressionValue &value) {
        return value.kind == ExpressionKind::Marker ? markerValue(value) : value;
    };
    return applyOperator(op, plain(left), plain(right));
}

ExpressionValue ExpressionParser::unaryOperation(ExpressionOperator op,
                                                 const ExpressionValue &operand)
{
    return applyOperator(op, operand.kind == ExpressionKind::Marker ? markerValue(operand)
                                                                    : operand);
}

// ---- SimpleExpressionParser: no symbols, so every request fails with its own message.

ExpressionValue SimpleExpressionParser::lookupIdentifier(const QString &name)
{
    fail(name + QStringLiteral(" symbol not found"));
}

ExpressionValue SimpleExpressionParser::lookupScopedIdentifier(const QStringList &parts)
{
    fail(parts.join(QStringLiteral("::")) + QStringLiteral(" symbol not found"));
}

ExpressionValue SimpleExpressionParser::lookupRegister(const QString &)
{
    fail("unknown register");
}

ExpressionValue SimpleExpressionParser::lookupThis()
{
    fail("this symbol not found");
}

ExpressionValue SimpleExpressionParser::lookupThisMember(const QString &)
{
    fail("this symbol not found");
}

ExpressionValue SimpleExpressionParser::cast(const QString &, const ExpressionValue &)
{
    fail("cannot cast");
}

ExpressionValue SimpleExpressionParser::dereference(const ExpressionValue &,
                                                    const ExpressionValue &)
{
    fail("cannot dereference");
}

ExpressionValue SimpleExpressionParser::member(const ExpressionValue &, const QString &)
{
    fail("cannot dereference");
}

ExpressionValue SimpleExpressionParser::addressOf(const Expression &)
{
    fail("addressof not implemented");
}

ExpressionValue SimpleExpressionParser::sizeofExpression(const Expression &)
{
    fail("sizeof expression not implemented");
}

ExpressionValue SimpleExpressionParser::sizeofType(const QString &)
{
    fail("sizeof(typename) not implemented");
}

ExpressionValue SimpleExpressionParser::call(const Expression &, const QList<ExpressionValue> &)
{
    fail("function calling not implemented");
}
