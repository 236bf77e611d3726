#pragma once
#include "script/forth/Cell.h"

// Typed arithmetic: integers with integers, floats with floats, a data address moved by an
// integer, and the distance of two addresses in one region. Anything else throws -12.
enum class ArithmeticOp { Add, Subtract, Multiply, Divide, Mod };

[[nodiscard]] Cell arithmetic(ArithmeticOp op, const Cell &a, const Cell &b);
// Integer division truncating toward zero; -10 on a zero divisor. The quotient of the most
// negative number by -1 wraps instead of trapping.
qint64 divideIntegers(qint64 a, qint64 b);
qint64 modIntegers(qint64 a, qint64 b);
// -1, 0 or 1 for integers, floats or addresses of one region; -12 for anything else.
int compareCells(const Cell &a, const Cell &b);
// Same type and same value (strings by text).
bool cellsEqual(const Cell &a, const Cell &b);
// A flag's truth: zero integers, empty cells and 0.0 are false.
bool isTrue(const Cell &cell);
