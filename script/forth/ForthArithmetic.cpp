#include "script/forth/ForthArithmetic.h"
#include "script/forth/ForthException.h"
#include <limits>

namespace {

[[noreturn]] void invalidCombination()
{
    forthThrow(-12, QStringLiteral("invalid operand combination"));
}

bool isInteger(const Cell &cell)
{
    return cell.type == CellType::Integer || cell.type == CellType::Empty;
}

qint64 wrap(quint64 value)
{
    return qint64(value);
}

Cell integerArithmetic(ArithmeticOp op, qint64 a, qint64 b)
{
    switch (op) {
    case ArithmeticOp::Add:
        return Cell::fromInteger(wrap(quint64(a) + quint64(b)));
    case ArithmeticOp::Subtract:
        return Cell::fromInteger(wrap(quint64(a) - quint64(b)));
    case ArithmeticOp::Multiply:
        return Cell::fromInteger(wrap(quint64(a) * quint64(b)));
    case ArithmeticOp::Divide:
        return Cell::fromInteger(divideIntegers(a, b));
    case ArithmeticOp::Mod:
        return Cell::fromInteger(modIntegers(a, b));
    }
    invalidCombination();
}

Cell floatArithmetic(ArithmeticOp op, double a, double b)
{
    switch (op) {
    case ArithmeticOp::Add:
        return Cell::fromFloat(a + b);
    case ArithmeticOp::Subtract:
        return Cell::fromFloat(a - b);
    case ArithmeticOp::Multiply:
        return Cell::fromFloat(a * b);
    case ArithmeticOp::Divide:
        if (b == 0)
            forthThrow(-10);
        return Cell::fromFloat(a / b);
    case ArithmeticOp::Mod:
        break;
    }
    invalidCombination();
}

} // namespace

qint64 divideIntegers(qint64 a, qint64 b)
{
    if (b == 0)
        forthThrow(-10);
    if (b == -1)
        return wrap(0 - quint64(a));
    return a / b;
}

qint64 modIntegers(qint64 a, qint64 b)
{
    if (b == 0)
        forthThrow(-10);
    if (b == -1)
        return 0;
    return a % b;
}

Cell arithmetic(ArithmeticOp op, const Cell &a, const Cell &b)
{
    if (isInteger(a) && isInteger(b))
        return integerArithmetic(op, a.integer * (a.type == CellType::Integer),
                                 b.integer * (b.type == CellType::Integer));
    if (a.type == CellType::Float && b.type == CellType::Float)
        return floatArithmetic(op, a.floating, b.floating);
    const bool aAddress = a.type == CellType::DataAddress;
    const bool bAddress = b.type == CellType::DataAddress;
    if (op == ArithmeticOp::Add && aAddress && isInteger(b))
        return Cell::fromAddress(a.memory, wrap(quint64(a.integer) + quint64(b.toInteger())));
    if (op == ArithmeticOp::Add && isInteger(a) && bAddress)
        return Cell::fromAddress(b.memory, wrap(quint64(b.integer) + quint64(a.toInteger())));
    if (op == ArithmeticOp::Subtract && aAddress && isInteger(b))
        return Cell::fromAddress(a.memory, wrap(quint64(a.integer) - quint64(b.toInteger())));
    if (op == ArithmeticOp::Subtract && aAddress && bAddress && a.memory == b.memory)
        return Cell::fromInteger(wrap(quint64(a.integer) - quint64(b.integer)));
    invalidCombination();
}

int compareCells(const Cell &a, const Cell &b)
{
    if (isInteger(a) && isInteger(b)) {
        const qint64 x = a.toInteger();
        const qint64 y = b.toInteger();
        return x < y ? -1 : x > y;
    }
    if (a.type == CellType::Float && b.type == CellType::Float)
        return a.floating < b.floating ? -1 : a.floating > b.floating;
    if (a.type == CellType::DataAddress && b.type == CellType::DataAddress && a.memory == b.memory)
        return a.integer < b.integer ? -1 : a.integer > b.integer;
    invalidCombination();
}

bool cellsEqual(const Cell &a, const Cell &b)
{
    if (isInteger(a) && isInteger(b))
        return a.toInteger() == b.toInteger();
    if (a.type != b.type)
        return false;
    switch (a.type) {
    case CellType::Float:
        return a.floating == b.floating;
    case CellType::String:
        return a.text.value() == b.text.value();
    case CellType::DataAddress:
        return a.memory == b.memory && a.integer == b.integer;
    case CellType::CodeAddress:
        return a.code == b.code;
    default:
        return true;
    }
}

bool isTrue(const Cell &cell)
{
    switch (cell.type) {
    case CellType::Integer:
        return cell.integer != 0;
    case CellType::Empty:
        return false;
    case CellType::Float:
        return cell.floating != 0;
    default:
        return true;
    }
}
