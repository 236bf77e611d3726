#include "script/forth/ForthArithmeticWords.h"
#include "script/forth/ForthInline.h"
#include <cmath>

namespace {

// Pops b and a and pushes f(a, b) for integer arguments.
template <class F> void integers(ScriptEngine &engine, F f)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const qint64 b = stack.at(0).toInteger();
    const qint64 a = stack.at(1).toInteger();
    stack.drop(2);
    stack.pushInteger(f(a, b));
}

template <class F> void integer(ScriptEngine &engine, F f)
{
    Cell &top = engine.dataStack.top();
    top.setInteger(f(top.toInteger()));
}

template <class F> void predicate(ScriptEngine &engine, F f)
{
    Cell &top = engine.dataStack.top();
    top.setInteger(f(top) ? -1 : 0);
}

template <class F> void floating(ScriptEngine &engine, F f)
{
    Cell &top = engine.dataStack.top();
    top.setFloat(f(top.toFloat()));
}

qint64 sign(const Cell &cell)
{
    if (cell.type == CellType::Float)
        return cell.floating < 0 ? -1 : cell.floating > 0;
    const qint64 value = cell.toInteger();
    return value < 0 ? -1 : value > 0;
}

// a * b / c and its remainder over a 128-bit product. The quotient is cut to 64 bits.
void starSlash(ScriptEngine &engine, bool pushRemainder, bool pushQuotient)
{
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    const qint64 c = stack.at(0).toInteger();
    const qint64 b = stack.at(1).toInteger();
    const qint64 a = stack.at(2).toInteger();
    stack.drop(3);
    if (c == 0)
        forthThrow(-10);   // the machine division would trap
    const __int128 product = __int128(a) * b;
    const __int128 quotient = c == -1 ? -product : product / c;
    if (pushRemainder)
        stack.pushInteger(c == -1 ? 0 : qint64(product % c));
    if (pushQuotient)
        stack.pushInteger(qint64(quotient));
}

} // namespace

void PPlus::run(ScriptEngine &engine) { engine.opPlus(); }
void PMinus::run(ScriptEngine &engine) { engine.opMinus(); }
void PStar::run(ScriptEngine &engine) { engine.opStar(); }
void POnePlus::run(ScriptEngine &engine) { engine.opOnePlus(); }
void POneMinus::run(ScriptEngine &engine) { engine.opOneMinus(); }
void PLessThan::run(ScriptEngine &engine) { engine.opLess(); }
void PGreaterThan::run(ScriptEngine &engine) { engine.opGreater(); }
void PEquals::run(ScriptEngine &engine) { engine.opEquals(); }
void PNotEquals::run(ScriptEngine &engine) { engine.opNotEquals(); }
void PZeroEquals::run(ScriptEngine &engine) { engine.opZeroEquals(); }

void PSlash::run(ScriptEngine &engine)
{
    ForthInline::binary(engine.dataStack, ArithmeticOp::Divide);
}

void PMod::run(ScriptEngine &engine)
{
    ForthInline::binary(engine.dataStack, ArithmeticOp::Mod);
}

void PSlashMod::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const Cell b = stack.at(0);
    const Cell a = stack.at(1);
    stack.drop(2);
    Cell remainder = arithmetic(ArithmeticOp::Mod, a, b);
    Cell quotient = arithmetic(ArithmeticOp::Divide, a, b);
    stack.push(std::move(remainder));
    stack.push(std::move(quotient));
}

void PStarSlash::run(ScriptEngine &engine) { starSlash(engine, false, true); }
void PStarSlashMod::run(ScriptEngine &engine) { starSlash(engine, true, true); }

void PTwoStar::run(ScriptEngine &engine)
{
    integer(engine, [](qint64 a) { return qint64(quint64(a) << 1); });
}

void PTwoSlash::run(ScriptEngine &engine)
{
    integer(engine, [](qint64 a) { return a >> 1; });
}

void PAbs::run(ScriptEngine &engine)
{
    Cell &top = engine.dataStack.top();
    if (top.type == CellType::Float)
        top.setFloat(std::fabs(top.floating));
    else
        integer(engine, [](qint64 a) { return a < 0 ? qint64(0 - quint64(a)) : a; });
}

void PNegate::run(ScriptEngine &engine)
{
    Cell &top = engine.dataStack.top();
    if (top.type == CellType::Float)
        top.setFloat(-top.floating);
    else
        integer(engine, [](qint64 a) { return qint64(0 - quint64(a)); });
}

void PMax::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    if (compareCells(stack.at(1), stack.at(0)) < 0)
        engine.opSwap();
    stack.drop(1);
}

void PMin::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    if (compareCells(stack.at(1), stack.at(0)) > 0)
        engine.opSwap();
    stack.drop(1);
}

void PAnd::run(ScriptEngine &engine) { engine.opAnd(); }
void POr::run(ScriptEngine &engine) { engine.opOr(); }
void PXor::run(ScriptEngine &engine) { engine.opXor(); }
void PInvert::run(ScriptEngine &engine) { integer(engine, [](qint64 a) { return ~a; }); }

void PLShift::run(ScriptEngine &engine)
{
    integers(engine, [](qint64 a, qint64 b) {
        return b < 0 || b >= 64 ? qint64(0) : qint64(quint64(a) << b);
    });
}

void PRShift::run(ScriptEngine &engine)
{
    integers(engine, [](qint64 a, qint64 b) {
        return b < 0 || b >= 64 ? qint64(0) : qint64(quint64(a) >> b);
    });
}

void PGreaterEqual::run(ScriptEngine &engine)
{
    ForthInline::compare(engine.dataStack, [](qint64 a, qint64 b) { return a >= b; });
}

void PULessThan::run(ScriptEngine &engine)
{
    integers(engine, [](qint64 a, qint64 b) { return quint64(a) < quint64(b) ? -1 : 0; });
}

void PUGreaterThan::run(ScriptEngine &engine)
{
    integers(engine, [](qint64 a, qint64 b) { return quint64(a) > quint64(b) ? -1 : 0; });
}

void PZeroNotEquals::run(ScriptEngine &engine)
{
    predicate(engine, [](const Cell &cell) { return isTrue(cell); });
}

void PZeroLess::run(ScriptEngine &engine)
{
    predicate(engine, [](const Cell &cell) { return sign(cell) < 0; });
}

void PZeroGreater::run(ScriptEngine &engine)
{
    predicate(engine, [](const Cell &cell) { return sign(cell) > 0; });
}

void PZeroGreaterEqual::run(ScriptEngine &engine)
{
    predicate(engine, [](const Cell &cell) { return sign(cell) >= 0; });
}

void PWithin::run(ScriptEngine &engine)
{
    // ( n lo hi -- flag ): lo <= n < hi, in the standard's wrap-around form.
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    const quint64 hi = quint64(stack.at(0).toInteger());
    const quint64 lo = quint64(stack.at(1).toInteger());
    const quint64 n = quint64(stack.at(2).toInteger());
    stack.drop(3);
    stack.pushInteger(n - lo < hi - lo ? -1 : 0);
}

void PFloor::run(ScriptEngine &engine) { floating(engine, [](double x) { return std::floor(x); }); }
void PFSin::run(ScriptEngine &engine) { floating(engine, [](double x) { return std::sin(x); }); }
void PFCos::run(ScriptEngine &engine) { floating(engine, [](double x) { return std::cos(x); }); }
void PFTan::run(ScriptEngine &engine) { floating(engine, [](double x) { return std::tan(x); }); }
