#pragma once
#include <QString>
#include <memory>

// The one exception of the expression language, for every failure of parsing and evaluation.
// The entry points of ExpressionParser catch it; the debugger's views show its text.
class ParserException {
public:
    explicit ParserException(QString message) : m_message(std::move(message)) {}
    const QString &message() const { return m_message; }

private:
    QString m_message;
};

// The kinds of value. The numbers are kept because a kind outside the list is possible (a value
// made by the debugger) and is reported as "unknown".
enum class ExpressionKind : int {
    Boolean = 0,
    Signed = 1,
    Unsigned = 2,
    String = 3,
    Marker = 4, // an address in the debugger's sense
    Float = 5,
};

// Where a value lives on the target. The language itself never looks inside; the debugger derives
// from it to carry an lvalue's address, memory and bit-field offset through the tree.
class ExpressionLocation {
public:
    virtual ~ExpressionLocation();
};

// A value of the language. Integers of either signedness live in `integer` (an unsigned one as
// its bit pattern), floating-point numbers in `floating`, strings in `text`. Only the low
// `width` bytes of an integer count; normalised() extends them to the full 64 bits.
struct ExpressionValue {
    ExpressionKind kind = ExpressionKind::Signed;
    int width = 0; // in bytes
    qint64 integer = 0;
    double floating = 0;
    QString text;
    std::shared_ptr<const ExpressionLocation> location;
    bool empty = true; // a default-made value: no result

    [[nodiscard]] static ExpressionValue fromBoolean(bool value);
    [[nodiscard]] static ExpressionValue fromSigned(qint64 value, int width = 8);
    [[nodiscard]] static ExpressionValue fromUnsigned(quint64 value, int width = 8);
    [[nodiscard]] static ExpressionValue fromDouble(double value, int width = 8);
    [[nodiscard]] static ExpressionValue fromString(const QString &value);

    bool isEmpty() const { return empty; }
    bool isInteger() const { return kind == ExpressionKind::Signed || kind == ExpressionKind::Unsigned; }
    // Boolean, integer or floating point: what arithmetic accepts.
    bool isNumeric() const;

    // "boolean", "int", "unsigned char", "double", "string", "marker", ... or "unknown".
    [[nodiscard]] QString typeName() const;

    // The same value with its integer sign- or zero-extended from `width`, a boolean as 0 or 1
    // and a float of width 4 rounded to single precision.
    [[nodiscard]] ExpressionValue normalised() const;

    // The numeric value as a 64-bit integer (floats truncated and clamped, NaN and strings 0).
    [[nodiscard]] qint64 toLongLong() const;
    [[nodiscard]] double toDouble() const; // unsigned integers with their full range
    // Whether a numeric value differs from 0.
    [[nodiscard]] bool isTrue() const;
};

// Operators that the tree hands to ExpressionParser::binaryOperation and unaryOperation.
enum class ExpressionOperator {
    Multiply,
    Divide,
    Mod,
    Plus,
    Minus,
    Lshift,
    Rshift,
    Lt,
    Le,
    Gt,
    Ge,
    Eq,
    Ne,
    BitAnd,
    BitXor,
    BitOr,
    LogicalNot,
    BitNot,
    Negate,
};

// The language's own arithmetic, which ExpressionParser's defaults apply. Operands are first
// normalised. A float on either side makes both doubles; otherwise the right operand takes the
// left one's kind and the result the left one's kind and width, a boolean left side making a
// boolean (whether the integer result is not 0). Comparisons give booleans; strings only take
// part in == and !=. Wrong kinds fail with "unsupported binary numeric operation",
// "unsupported comparison operation" or "unsupported unary num operation".
[[nodiscard]] ExpressionValue applyOperator(ExpressionOperator op, const ExpressionValue &left,
                                            const ExpressionValue &right);
[[nodiscard]] ExpressionValue applyOperator(ExpressionOperator op, const ExpressionValue &operand);
