#include "foundation/Expression.h"
#include "foundation/ExpressionParser.h"
#include <QLocale>
#include <array>
#include <cmath>
#include <limits>

namespace {

struct OperatorSymbol {
    ExpressionOperator op;
    const char *symbol;
};
constexpr std::array<OperatorSymbol, 19> operatorSymbols = {{
    {ExpressionOperator::Multiply, "*"}, {ExpressionOperator::Divide, "/"},
    {ExpressionOperator::Mod, "%"},      {ExpressionOperator::Plus, "+"},
    {ExpressionOperator::Minus, "-"},    {ExpressionOperator::Lshift, "<<"},
    {ExpressionOperator::Rshift, ">>"},  {ExpressionOperator::Lt, "<"},
    {ExpressionOperator::Le, "<="},      {ExpressionOperator::Gt, ">"},
    {ExpressionOperator::Ge, ">="},      {ExpressionOperator::Eq, "=="},
    {ExpressionOperator::Ne, "!="},      {ExpressionOperator::BitAnd, "&"},
    {ExpressionOperator::BitXor, "^"},   {ExpressionOperator::BitOr, "|"},
    {ExpressionOperator::LogicalNot, "!"}, {ExpressionOperator::BitNot, "~"},
    {ExpressionOperator::Negate, "-"},
}};

QString symbolOf(ExpressionOperator op)
{
    const OperatorSymbol &entry = operatorSymbols[size_t(op)];
    Q_ASSERT(entry.op == op);
    return QString::fromLatin1(entry.symbol);
}

QString binaryText(const Expression &left, const QString &symbol, const Expression &right)
{
    return QLatin1Char('(') + left.text() + QLatin1Char(' ') + symbol + QLatin1Char(' ')
           + right.text() + QLatin1Char(')');
}

} // namespace

// ---- Expression and its two families

Expression::~Expression() = default;

void Expression::addOperand(const Expression *operand)
{
    if (!operand)
        return;
    m_depth = qMax(m_depth, operand->m_depth + 1);
    m_size += operand->m_size;
}

ExpressionValue Expression::store(const ExpressionValue &) const
{
    throw ParserException(QStringLiteral("can't update a constant"));
}

std::unique_ptr<Expression> Expression::clone() const
{
    throw ParserException(QStringLiteral("cannot duplicate expression"));
}

UnaryExpression::UnaryExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand)
    : Expression(parser), m_operand(std::move(operand))
{
    addOperand(m_operand.get());
}

BinaryExpression::BinaryExpression(ExpressionParser *parser, std::unique_ptr<Expression> left,
                                   std::unique_ptr<Expression> right)
    : Expression(parser), m_left(std::move(left)), m_right(std::move(right))
{
    addOperand(m_left.get());
    addOperand(m_right.get());
}

// ---- Constants

ConstantExpression::ConstantExpression(ExpressionParser *parser, ExpressionValue value)
    : Expression(parser), m_value(std::move(value))
{
}

QString ConstantExpression::text() const
{
    switch (m_value.kind) {
    case ExpressionKind::Boolean:
        return m_value.integer ? QStringLiteral("true") : QStringLiteral("false");
    case ExpressionKind::Unsigned: return QString::number(quint64(m_value.integer));
    case ExpressionKind::Float:
        return QString::number(m_value.floating, 'g', QLocale::FloatingPointShortest);
    case ExpressionKind::String: return QLatin1Char('"') + m_value.text + QLatin1Char('"');
    default: return QString::number(m_value.integer);
    }
}

std::unique_ptr<Expression> ConstantExpression::clone() const
{
    return std::make_unique<ConstantExpression>(m_parser, m_value);
}

IntegerConstantExpression::IntegerConstantExpression(ExpressionParser *parser, qint64 value)
    : ConstantExpression(parser, ExpressionValue::fromSigned(value))
{
}

std::unique_ptr<Expression> IntegerConstantExpression::clone() const
{
    return std::make_unique<IntegerConstantExpression>(m_parser, m_value.integer);
}

FloatConstantExpression::FloatConstantExpression(ExpressionParser *parser, double value)
    : ConstantExpression(parser, ExpressionValue::fromDouble(value))
{
}

std::unique_ptr<Expression> FloatConstantExpression::clone() const
{
    return std::make_unique<FloatConstantExpression>(m_parser, m_value.floating);
}

StringConstantExpression::StringConstantExpression(ExpressionParser *parser, const QString &value)
    : ConstantExpression(parser, ExpressionValue::fromString(value))
{
}

QString StringConstantExpression::text() const
{
    return QLatin1Char('"') + m_value.text + QLatin1Char('"');
}

std::unique_ptr<Expression> StringConstantExpression::clone() const
{
    return std::make_unique<StringConstantExpression>(m_parser, m_value.text);
}

// ---- Names

IdentifierExpression::IdentifierExpression(ExpressionParser *parser, QString name)
    : Expression(parser), m_name(std::move(name))
{
}

ExpressionValue IdentifierExpression::evaluate() const
{
    if (m_name == QLatin1String("this"))
        return m_parser->lookupThis();
    return m_parser->lookupIdentifier(m_name);
}

ExpressionValue IdentifierExpression::store(const ExpressionValue &value) const
{
    return m_parser->update(value, evaluate());
}

std::unique_ptr<Expression> IdentifierExpression::clone() const
{
    return std::make_unique<IdentifierExpression>(m_parser, m_name);
}

ScopedIdentifierExpression::ScopedIdentifierExpression(ExpressionParser *parser, QStringList parts)
    : Expression(parser), m_parts(std::move(parts))
{
}

ExpressionValue ScopedIdentifierExpression::evaluate() const
{
    return m_parser->lookupScopedIdentifier(m_parts);
}

QString ScopedIdentifierExpression::text() const
{
    return m_parts.join(QStringLiteral("::"));
}

ExpressionValue ScopedIdentifierExpression::store(const ExpressionValue &value) const
{
    return m_parser->update(value, evaluate());
}

std::unique_ptr<Expression> ScopedIdentifierExpression::clone() const
{
    return std::make_unique<ScopedIdentifierExpression>(m_parser, m_parts);
}

RegisterExpression::RegisterExpression(ExpressionParser *parser, QString name)
    : Expression(parser), m_name(std::move(name))
{
}

ExpressionValue RegisterExpression::evaluate() const
{
    return m_parser->lookupRegister(m_name);
}

QString RegisterExpression::text() const
{
    return QStringLiteral("Identifier(") + m_name + QLatin1Char(')');
}

ExpressionValue RegisterExpression::store(const ExpressionValue &value) const
{
    return m_parser->update(value, evaluate());
}

std::unique_ptr<Expression> RegisterExpression::clone() const
{
    return std::make_unique<RegisterExpression>(m_parser, m_name);
}

// ---- Requests with operands

AddressofExpression::AddressofExpression(ExpressionParser *parser,
                                         std::unique_ptr<Expression> operand)
    : Expression(parser), m_operand(std::move(operand))
{
    addOperand(m_operand.get());
}

ExpressionValue AddressofExpression::evaluate() const
{
    return m_parser->addressOf(*m_operand);
}

QString AddressofExpression::text() const
{
    return QLatin1Char('&') + m_operand->text();
}

std::unique_ptr<Expression> AddressofExpression::clone() const
{
    return std::make_unique<AddressofExpression>(m_parser, m_operand->clone());
}

CastExpression::CastExpression(ExpressionParser *parser, QString typeName,
                               std::unique_ptr<Expression> operand)
    : Expression(parser), m_typeName(std::move(typeName)), m_operand(std::move(operand))
{
    addOperand(m_operand.get());
}

ExpressionValue CastExpression::evaluate() const
{
    return m_parser->cast(m_typeName, m_operand->evaluate());
}

QString CastExpression::text() const
{
    return QStringLiteral("((") + m_typeName + QLatin1Char(')') + m_operand->text()
           + QLatin1Char(')');
}

std::unique_ptr<Expression> CastExpression::clone() const
{
    return std::make_unique<CastExpression>(m_parser, m_typeName, m_operand->clone());
}

CallExpression::CallExpression(ExpressionParser *parser, std::unique_ptr<Expression> function,
                               std::vector<std::unique_ptr<Expression>> arguments)
    : Expression(parser), m_function(std::move(function)), m_arguments(std::move(arguments))
{
    addOperand(m_function.get());
    for (const auto &argument : m_arguments)
        addOperand(argument.get());
}

ExpressionValue CallExpression::evaluate() const
{
    QList<ExpressionValue> values;
    values.reserve(qsizetype(m_arguments.size()));
    for (const auto &argument : m_arguments)
        values.append(argument->evaluate());
    return m_parser->call(*m_function, values);
}

QString CallExpression::text() const
{
    QStringList arguments;
    for (const auto &argument : m_arguments)
        arguments.append(argument->text());
    return m_function->text() + QLatin1Char('(') + arguments.join(QStringLiteral(", "))
           + QLatin1Char(')');
}

std::unique_ptr<Expression> CallExpression::clone() const
{
    std::vector<std::unique_ptr<Expression>> arguments;
    arguments.reserve(m_arguments.size());
    for (const auto &argument : m_arguments)
        arguments.push_back(argument->clone());
    return std::make_unique<CallExpression>(m_parser, m_function->clone(), std::move(arguments));
}

SizeofExpression::SizeofExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand)
    : Expression(parser), m_operand(std::move(operand))
{
    addOperand(m_operand.get());
}

SizeofExpression::SizeofExpression(ExpressionParser *parser, QString typeName)
    : Expression(parser), m_typeName(std::move(typeName))
{
}

ExpressionValue SizeofExpression::evaluate() const
{
    if (m_operand)
        return m_parser->sizeofExpression(*m_operand);
    return m_parser->sizeofType(m_typeName);
}

QString SizeofExpression::text() const
{
    if (m_operand)
        return QStringLiteral("sizeof ") + m_operand->text();
    return QStringLiteral("sizeof(") + m_typeName + QLatin1Char(')');
}

std::unique_ptr<Expression> SizeofExpression::clone() const
{
    if (m_operand)
        return std::make_unique<SizeofExpression>(m_parser, m_operand->clone());
    return std::make_unique<SizeofExpression>(m_parser, m_typeName);
}

AddressofLineExpression::AddressofLineExpression(ExpressionParser *parser, QString file, int line)
    : Expression(parser), m_file(std::move(file)), m_line(line)
{
}

ExpressionValue AddressofLineExpression::evaluate() const
{
    return m_parser->addressOfLine(m_file, m_line);
}

QString AddressofLineExpression::text() const
{
    return QStringLiteral("addressof(\"") + m_file + QStringLiteral("\", ")
           + QString::number(m_line) + QLatin1Char(')');
}

std::unique_ptr<Expression> AddressofLineExpression::clone() const
{
    return std::make_unique<AddressofLineExpression>(m_parser, m_file, m_line);
}

// ---- Operators

OperatorUnaryExpression::OperatorUnaryExpression(ExpressionParser *parser, ExpressionOperator op,
                                                 std::unique_ptr<Expression> operand)
    : UnaryExpression(parser, std::move(operand)), m_operator(op)
{
}

ExpressionValue OperatorUnaryExpression::evaluate() const
{
    return m_parser->unaryOperation(m_operator, m_operand->evaluate());
}

QString OperatorUnaryExpression::text() const
{
    return symbolOf(m_operator) + m_operand->text();
}

LogicalNotExpression::LogicalNotExpression(ExpressionParser *parser,
                                           std::unique_ptr<Expression> operand)
    : OperatorUnaryExpression(parser, ExpressionOperator::LogicalNot, std::move(operand))
{
}

std::unique_ptr<Expression> LogicalNotExpression::clone() const
{
    return std::make_unique<LogicalNotExpression>(m_parser, m_operand->clone());
}

BitNotExpression::BitNotExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand)
    : OperatorUnaryExpression(parser, ExpressionOperator::BitNot, std::move(operand))
{
}

std::unique_ptr<Expression> BitNotExpression::clone() const
{
    return std::make_unique<BitNotExpression>(m_parser, m_operand->clone());
}

NegateExpression::NegateExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand)
    : OperatorUnaryExpression(parser, ExpressionOperator::Negate, std::move(operand))
{
}

std::unique_ptr<Expression> NegateExpression::clone() const
{
    return std::make_unique<NegateExpression>(m_parser, m_operand->clone());
}

OperatorBinaryExpression::OperatorBinaryExpression(ExpressionParser *parser, ExpressionOperator op,
                                                   std::unique_ptr<Expression> left,
                                                   std::unique_ptr<Expression> right)
    : BinaryExpression(parser, std::move(left), std::move(right)), m_operator(op)
{
}

ExpressionValue OperatorBinaryExpression::evaluate() const
{
    const ExpressionValue left = m_left->evaluate();
    return m_parser->binaryOperation(m_operator, left, m_right->evaluate());
}

QString OperatorBinaryExpression::text() const
{
    return binaryText(*m_left, symbolOf(m_operator), *m_right);
}

namespace {

// The truth of an operand of `&&` or `||`, after the parser has had a look at markers.
bool truthOf(ExpressionParser *parser, const Expression &operand)
{
    ExpressionValue value = operand.evaluate();
    if (value.kind == ExpressionKind::Marker)
        value = parser->markerValue(value);
    if (!value.isNumeric())
        throw ParserException(QStringLiteral("unsupported binary numeric operation"));
    return value.isTrue();
}

} // namespace

ExpressionValue LogicalAndExpression::evaluate() const
{
    return ExpressionValue::fromBoolean(truthOf(m_parser, *m_left)
                                        && truthOf(m_parser, *m_right));
}

QString LogicalAndExpression::text() const
{
    return binaryText(*m_left, QStringLiteral("&&"), *m_right);
}

std::unique_ptr<Expression> LogicalAndExpression::clone() const
{
    return std::make_unique<LogicalAndExpression>(m_parser, m_left->clone(), m_right->clone());
}

ExpressionValue LogicalOrExpression::evaluate() const
{
    return ExpressionValue::fromBoolean(truthOf(m_parser, *m_left)
                                        || truthOf(m_parser, *m_right));
}

QString LogicalOrExpression::text() const
{
    return binaryText(*m_left, QStringLiteral("||"), *m_right);
}

std::unique_ptr<Expression> LogicalOrExpression::clone() const
{
    return std::make_unique<LogicalOrExpression>(m_parser, m_left->clone(), m_right->clone());
}

ExpressionValue AssignExpression::evaluate() const
{
    return m_left->store(m_right->evaluate());
}

QString AssignExpression::text() const
{
    return binaryText(*m_left, QStringLiteral("="), *m_right);
}

std::unique_ptr<Expression> AssignExpression::clone() const
{
    return std::make_unique<AssignExpression>(m_parser, m_left->clone(), m_right->clone());
}

ExpressionValue LeftSquareBracketExpression::evaluate() const
{
    const ExpressionValue base = m_left->evaluate();
    return m_parser->dereference(base, m_right->evaluate());
}

QString LeftSquareBracketExpression::text() const
{
    return m_left->text() + QLatin1Char('[') + m_right->text() + QLatin1Char(']');
}

ExpressionValue LeftSquareBracketExpression::store(const ExpressionValue &value) const
{
    return m_parser->update(value, evaluate());
}

std::unique_ptr<Expression> LeftSquareBracketExpression::clone() const
{
    return std::make_unique<LeftSquareBracketExpression>(m_parser, m_left->clone(),
                                                         m_right->clone());
}

DotExpression::DotExpression(ExpressionParser *parser, std::unique_ptr<Expression> left,
                             std::unique_ptr<IdentifierExpression> member)
    : BinaryExpression(parser, std::move(left), std::move(member))
{
}

const QString &DotExpression::member() const
{
    // The constructor only takes an identifier on the right.
    return static_cast<const IdentifierExpression &>(*m_right).name();
}

ExpressionValue DotExpression::evaluate() const
{
    return m_parser->member(m_left->evaluate(), member());
}

QString DotExpression::text() const
{
    return m_left->text() + QLatin1Char('.') + member();
}

ExpressionValue DotExpression::store(const ExpressionValue &value) const
{
    return m_parser->update(value, evaluate());
}

std::unique_ptr<Expression> DotExpression::clone() const
{
    return std::make_unique<DotExpression>(
        m_parser, m_left->clone(), std::make_unique<IdentifierExpression>(m_parser, member()));
}
