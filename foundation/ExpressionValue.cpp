#include "foundation/ExpressionValue.h"
#include <cmath>
#include <limits>

namespace {

constexpr int fullWidth = 8;

// The integer `bits` seen through its low `width` bytes, sign- or zero-extended.
qint64 extend(qint64 bits, int width, bool isSigned)
{
    if (width <= 0 || width >= fullWidth)
        return bits;
    const int shift = 64 - width * 8;
    const quint64 raised = quint64(bits) << shift;
    return isSigned ? qint64(raised) >> shift : qint64(raised >> shift);
}

// A double as a float of the target, without the undefined conversion of a value out of range.
double roundToFloat(double value)
{
    constexpr double largest = std::numeric_limits<float>::max();
    if (std::isfinite(value) && std::fabs(value) > largest)
        return std::copysign(std::numeric_limits<double>::infinity(), value);
    return double(float(value));
}

} // namespace

// ---- ExpressionValue

ExpressionLocation::~ExpressionLocation() = default;

ExpressionValue ExpressionValue::fromBoolean(bool value)
{
    ExpressionValue result;
    result.kind = ExpressionKind::Boolean;
    result.width = 1;
    result.integer = value ? 1 : 0;
    result.empty = false;
    return result;
}

ExpressionValue ExpressionValue::fromSigned(qint64 value, int width)
{
    ExpressionValue result;
    result.kind = ExpressionKind::Signed;
    result.width = width;
    result.integer = extend(value, width, true);
    result.empty = false;
    return result;
}

ExpressionValue ExpressionValue::fromUnsigned(quint64 value, int width)
{
    ExpressionValue result;
    result.kind = ExpressionKind::Unsigned;
    result.width = width;
    result.integer = extend(qint64(value), width, false);
    result.empty = false;
    return result;
}

ExpressionValue ExpressionValue::fromDouble(double value, int width)
{
    ExpressionValue result;
    result.kind = ExpressionKind::Float;
    result.width = width;
    result.floating = width == 4 ? roundToFloat(value) : value;
    result.empty = false;
    return result;
}

ExpressionValue ExpressionValue::fromString(const QString &value)
{
    ExpressionValue result;
    result.kind = ExpressionKind::String;
    result.width = int(qMin<qsizetype>(value.size(), std::numeric_limits<int>::max()));
    result.text = value;
    result.empty = false;
    return result;
}

bool ExpressionValue::isNumeric() const
{
    return kind == ExpressionKind::Boolean || isInteger() || kind == ExpressionKind::Float;
}

QString ExpressionValue::typeName() const
{
    const auto byWidth = [this](const char *one, const char *two, const char *four,
                                const char *eight) {
        switch (width) {
        case 1: return QString::fromLatin1(one);
        case 2: return QString::fromLatin1(two);
        case 4: return QString::fromLatin1(four);
        case 8: return QString::fromLatin1(eight);
        default: return QStringLiteral("unknown");
        }
    };
    switch (kind) {
    case ExpressionKind::Boolean: return QStringLiteral("boolean");
    case ExpressionKind::Signed: return byWidth("char", "short", "int", "long long");
    case ExpressionKind::Unsigned:
        return byWidth("unsigned char", "unsigned short", "unsigned int", "unsigned long long");
    case ExpressionKind::String: return QStringLiteral("string");
    case ExpressionKind::Marker: return QStringLiteral("marker");
    case ExpressionKind::Float: return width == 4 ? QStringLiteral("float") : QStringLiteral("double");
    }
    return QStringLiteral("unknown");
}

ExpressionValue ExpressionValue::normalised() const
{
    ExpressionValue result = *this;
    switch (kind) {
    case ExpressionKind::Boolean: result.integer = integer != 0 ? 1 : 0; break;
    case ExpressionKind::Signed: result.integer = extend(integer, width, true); break;
    case ExpressionKind::Unsigned: result.integer = extend(integer, width, false); break;
    case ExpressionKind::Float:
        if (width == 4)
            result.floating = roundToFloat(floating);
        break;
    default: break;
    }
    return result;
}

qint64 ExpressionValue::toLongLong() const
{
    switch (kind) {
    case ExpressionKind::Boolean:
    case ExpressionKind::Signed:
    case ExpressionKind::Unsigned:
    case ExpressionKind::Marker: return normalised().integer;
    case ExpressionKind::Float: {
        // 2^63: the first double beyond qint64; NaN fails both tests and gives 0.
        constexpr double limit = 9223372036854775808.0;
        if (floating >= limit)
            return std::numeric_limits<qint64>::max();
        if (floating < -limit)
            return std::numeric_limits<qint64>::min();
        return floating == floating ? qint64(floating) : 0;
    }
    default: return 0;
    }
}

double ExpressionValue::toDouble() const
{
    switch (kind) {
    case ExpressionKind::Float: return floating;
    case ExpressionKind::Unsigned: return double(quint64(normalised().integer));
    case ExpressionKind::Boolean:
    case ExpressionKind::Signed:
    case ExpressionKind::Marker: return double(normalised().integer);
    default: return 0;
    }
}

bool ExpressionValue::isTrue() const
{
    if (kind == ExpressionKind::Float)
        return floating != 0;
    if (kind == ExpressionKind::String)
        return !text.isEmpty();
    return normalised().integer != 0;
}


// ---- Operators

namespace {

enum class OperatorFamily { Arithmetic, Bitwise, Shift, Comparison };

OperatorFamily familyOf(ExpressionOperator op)
{
    switch (op) {
    case ExpressionOperator::Lshift:
    case ExpressionOperator::Rshift: return OperatorFamily::Shift;
    case ExpressionOperator::Lt:
    case ExpressionOperator::Le:
    case ExpressionOperator::Gt:
    case ExpressionOperator::Ge:
    case ExpressionOperator::Eq:
    case ExpressionOperator::Ne: return OperatorFamily::Comparison;
    case ExpressionOperator::Mod:
    case ExpressionOperator::BitAnd:
    case ExpressionOperator::BitXor:
    case ExpressionOperator::BitOr: return OperatorFamily::Bitwise;
    default: return OperatorFamily::Arithmetic;
    }
}

[[noreturn]] void fail(const char *message)
{
    throw ParserException(QString::fromLatin1(message));
}

template <typename T>
bool compare(ExpressionOperator op, const T &a, const T &b)
{
    switch (op) {
    case ExpressionOperator::Lt: return a < b;
    case ExpressionOperator::Le: return a <= b;
    case ExpressionOperator::Gt: return a > b;
    case ExpressionOperator::Ge: return a >= b;
    case ExpressionOperator::Eq: return a == b;
    default: return a != b;
    }
}

ExpressionValue compareValues(ExpressionOperator op, const ExpressionValue &left,
                              const ExpressionValue &right)
{
    const bool equality = op == ExpressionOperator::Eq || op == ExpressionOperator::Ne;
    if (left.kind == ExpressionKind::String && right.kind == ExpressionKind::String && equality)
        return ExpressionValue::fromBoolean(compare(op, left.text, right.text));
    if (!left.isNumeric() || !right.isNumeric())
        fail("unsupported comparison operation");
    if (left.kind == ExpressionKind::Float || right.kind == ExpressionKind::Float)
        return ExpressionValue::fromBoolean(compare(op, left.toDouble(), right.toDouble()));
    switch (left.kind) {
    case ExpressionKind::Boolean:
        return ExpressionValue::fromBoolean(compare(op, left.integer != 0, right.isTrue()));
    case ExpressionKind::Unsigned:
        return ExpressionValue::fromBoolean(
            compare(op, quint64(left.integer), quint64(right.integer)));
    default: return ExpressionValue::fromBoolean(compare(op, left.integer, right.integer));
    }
}

double floatArithmetic(ExpressionOperator op, double a, double b)
{
    switch (op) {
    case ExpressionOperator::Multiply: return a * b;
    case ExpressionOperator::Divide:
        if (b == 0)
            fail("divide by zero");
        return a / b;
    case ExpressionOperator::Plus: return a + b;
    case ExpressionOperator::Minus: return a - b;
    default: fail("unsupported binary numeric operation");
    }
}

// Integer arithmetic on 64-bit patterns; wraps around like the target's registers do.
quint64 integerArithmetic(ExpressionOperator op, quint64 a, quint64 b, bool isSigned)
{
    if ((op == ExpressionOperator::Divide || op == ExpressionOperator::Mod) && b == 0)
        fail("divide by zero");
    const qint64 sa = qint64(a);
    const qint64 sb = qint64(b);
    // The one signed quotient out of range: the minimum divided by -1 wraps to itself.
    const bool overflows = isSigned && sa == std::numeric_limits<qint64>::min() && sb == -1;
    switch (op) {
    case ExpressionOperator::Multiply: return a * b;
    case ExpressionOperator::Divide: return overflows ? a : isSigned ? quint64(sa / sb) : a / b;
    case ExpressionOperator::Mod: return overflows ? 0 : isSigned ? quint64(sa % sb) : a % b;
    case ExpressionOperator::Plus: return a + b;
    case ExpressionOperator::Minus: return a - b;
    case ExpressionOperator::BitAnd: return a & b;
    case ExpressionOperator::BitXor: return a ^ b;
    default: return a | b;
    }
}

// An integer result in the form of the left operand.
ExpressionValue inFormOf(const ExpressionValue &left, quint64 result)
{
    switch (left.kind) {
    case ExpressionKind::Boolean: return ExpressionValue::fromBoolean(result != 0);
    case ExpressionKind::Unsigned: return ExpressionValue::fromUnsigned(result, left.width);
    default: return ExpressionValue::fromSigned(qint64(result), left.width);
    }
}

ExpressionValue shift(ExpressionOperator op, const ExpressionValue &left,
                      const ExpressionValue &right)
{
    if (!right.isInteger())
        fail("integer shift value expected");
    if (!left.isNumeric())
        fail("can only shift numeric values");
    const int count = int(right.integer & 63);
    const bool isLeft = op == ExpressionOperator::Lshift;
    if (left.kind == ExpressionKind::Float) {
        const qint64 value = left.toLongLong();
        const qint64 shifted = isLeft ? qint64(quint64(value) << count) : value >> count;
        return ExpressionValue::fromDouble(double(shifted), left.width);
    }
    const quint64 bits = quint64(left.integer);
    if (isLeft)
        return inFormOf(left, bits << count);
    if (left.kind == ExpressionKind::Signed)
        return inFormOf(left, quint64(left.integer >> count));
    return inFormOf(left, bits >> count);
}

} // namespace

ExpressionValue applyOperator(ExpressionOperator op, const ExpressionValue &leftOperand,
                              const ExpressionValue &rightOperand)
{
    const ExpressionValue left = leftOperand.normalised();
    const ExpressionValue right = rightOperand.normalised();
    const OperatorFamily family = familyOf(op);
    if (family == OperatorFamily::Comparison)
        return compareValues(op, left, right);
    if (family == OperatorFamily::Shift)
        return shift(op, left, right);
    if (!left.isNumeric() || !right.isNumeric())
        fail("unsupported binary numeric operation");
    if (left.kind == ExpressionKind::Float || right.kind == ExpressionKind::Float) {
        if (family == OperatorFamily::Bitwise)
            fail("unsupported binary numeric operation");
        const double result = floatArithmetic(op, left.toDouble(), right.toDouble());
        return ExpressionValue::fromDouble(result,
                                           left.kind == ExpressionKind::Float ? left.width : 8);
    }
    // The right operand takes the left one's kind: a boolean left side sees only 0 or 1.
    const quint64 b = left.kind == ExpressionKind::Boolean ? (right.isTrue() ? 1 : 0)
                                                          : quint64(right.integer);
    const bool isSigned = left.kind != ExpressionKind::Unsigned;
    return inFormOf(left, integerArithmetic(op, quint64(left.integer), b, isSigned));
}

ExpressionValue applyOperator(ExpressionOperator op, const ExpressionValue &operandValue)
{
    const ExpressionValue operand = operandValue.normalised();
    if (!operand.isNumeric())
        fail("unsupported unary num operation");
    if (op == ExpressionOperator::LogicalNot)
        return ExpressionValue::fromBoolean(!operand.isTrue());
    if (operand.kind == ExpressionKind::Float) {
        if (op != ExpressionOperator::Negate)
            fail("unsupported unary num operation");
        return ExpressionValue::fromDouble(-operand.floating, operand.width);
    }
    const quint64 bits = quint64(operand.integer);
    return inFormOf(operand, op == ExpressionOperator::Negate ? 0 - bits : ~bits);
}
