#pragma once
// The in-place forms of the hot primitives, shared by `nest` and by the words' own `run`.
// Integer cells take the short path; everything else goes to the typed arithmetic.
#include "script/forth/ForthArithmetic.h"
#include "script/forth/ScriptEngine.h"

namespace ForthInline {

inline bool bothIntegers(const Cell &a, const Cell &b)
{
    return a.type == CellType::Integer && b.type == CellType::Integer;
}

// Replaces the two top cells by one: `integers` of their values when both are integers (the
// short path), `other` of the cells themselves otherwise.
template <class Integers, class Other>
inline void combine(ForthStack &stack, Integers integers, Other other)
{
    stack.need(2);
    Cell *const cells = stack.cells();
    int &depth = stack.depthRef();
    Cell &a = cells[depth - 2];
    const Cell &b = cells[depth - 1];
    if (bothIntegers(a, b))
        a.integer = integers(a.integer, b.integer);
    else
        other(a, b);
    --depth;
}

// + - * on integers wrap around; anything else goes to the typed arithmetic.
template <class F> inline void integerArithmetic(ForthStack &stack, ArithmeticOp op, F f)
{
    combine(stack, [f](qint64 x, qint64 y) { return qint64(f(quint64(x), quint64(y))); },
            [op](Cell &a, const Cell &b) { a = arithmetic(op, a, b); });
}

inline void binary(ForthStack &stack, ArithmeticOp op)
{
    stack.need(2);
    Cell *const cells = stack.cells();
    int &depth = stack.depthRef();
    Cell &a = cells[depth - 2];
    a = arithmetic(op, a, cells[depth - 1]);
    --depth;
}

// The comparisons leave -1 for true and 0 for false; cells of other types compare by value.
template <class Compare> inline void compare(ForthStack &stack, Compare test)
{
    combine(stack, [test](qint64 x, qint64 y) { return test(x, y) ? qint64(-1) : qint64(0); },
            [test](Cell &a, const Cell &b) {
                a.setInteger(test(compareCells(a, b), 0) ? -1 : 0);
            });
}

// AND, OR, XOR: anything but integers is read as an integer or refused.
template <class F> inline void bitwise(ForthStack &stack, F f)
{
    combine(stack, f, [f](Cell &a, const Cell &b) {
        const qint64 right = b.toInteger();
        a.setInteger(f(a.toInteger(), right));
    });
}

} // namespace ForthInline

inline void ScriptEngine::opPlus()
{
    ForthInline::integerArithmetic(dataStack, ArithmeticOp::Add,
                                   [](quint64 x, quint64 y) { return x + y; });
}

inline void ScriptEngine::opMinus()
{
    ForthInline::integerArithmetic(dataStack, ArithmeticOp::Subtract,
                                   [](quint64 x, quint64 y) { return x - y; });
}

inline void ScriptEngine::opStar()
{
    ForthInline::integerArithmetic(dataStack, ArithmeticOp::Multiply,
                                   [](quint64 x, quint64 y) { return x * y; });
}

inline void ScriptEngine::opOnePlus()
{
    Cell &a = dataStack.top();
    if (a.type == CellType::Integer)
        a.integer = qint64(quint64(a.integer) + 1);
    else
        a = arithmetic(ArithmeticOp::Add, a, Cell::fromInteger(1));
}

inline void ScriptEngine::opOneMinus()
{
    Cell &a = dataStack.top();
    if (a.type == CellType::Integer)
        a.integer = qint64(quint64(a.integer) - 1);
    else
        a = arithmetic(ArithmeticOp::Subtract, a, Cell::fromInteger(1));
}

inline void ScriptEngine::opDup()
{
    const int depth = dataStack.depth();
    dataStack.need(1);
    dataStack.room(1);
    Cell *const cells = dataStack.cells();
    cells[depth] = cells[depth - 1];
    ++dataStack.depthRef();
}

inline void ScriptEngine::opDrop()
{
    dataStack.drop(1);
}

inline void ScriptEngine::opSwap()
{
    dataStack.need(2);
    Cell *const cells = dataStack.cells();
    const int depth = dataStack.depth();
    std::swap(cells[depth - 1], cells[depth - 2]);
}

inline void ScriptEngine::opOver()
{
    const int depth = dataStack.depth();
    dataStack.need(2);
    dataStack.room(1);
    Cell *const cells = dataStack.cells();
    cells[depth] = cells[depth - 2];
    ++dataStack.depthRef();
}

inline void ScriptEngine::opRot()
{
    dataStack.need(3);
    Cell *const cells = dataStack.cells();
    const int depth = dataStack.depth();
    // a b c -- b c a
    std::swap(cells[depth - 3], cells[depth - 2]);
    std::swap(cells[depth - 2], cells[depth - 1]);
}

inline void ScriptEngine::opLess()
{
    ForthInline::compare(dataStack, [](qint64 a, qint64 b) { return a < b; });
}

inline void ScriptEngine::opGreater()
{
    ForthInline::compare(dataStack, [](qint64 a, qint64 b) { return a > b; });
}

inline void ScriptEngine::opEquals()
{
    dataStack.need(2);
    Cell *const cells = dataStack.cells();
    int &depth = dataStack.depthRef();
    Cell &a = cells[depth - 2];
    a.setInteger(cellsEqual(a, cells[depth - 1]) ? -1 : 0);
    --depth;
}

inline void ScriptEngine::opNotEquals()
{
    dataStack.need(2);
    Cell *const cells = dataStack.cells();
    int &depth = dataStack.depthRef();
    Cell &a = cells[depth - 2];
    a.setInteger(cellsEqual(a, cells[depth - 1]) ? 0 : -1);
    --depth;
}

inline void ScriptEngine::opZeroEquals()
{
    Cell &a = dataStack.top();
    a.setInteger(isTrue(a) ? 0 : -1);
}

inline void ScriptEngine::opAnd()
{
    ForthInline::bitwise(dataStack, [](qint64 a, qint64 b) { return a & b; });
}

inline void ScriptEngine::opOr()
{
    ForthInline::bitwise(dataStack, [](qint64 a, qint64 b) { return a | b; });
}

inline void ScriptEngine::opXor()
{
    ForthInline::bitwise(dataStack, [](qint64 a, qint64 b) { return a ^ b; });
}

inline void ScriptEngine::opFetch()
{
    Cell &a = dataStack.top();
    if (a.type == CellType::DataAddress && a.integer >= 0 && a.integer < a.memory->size()) {
        a = a.memory->cells[size_t(a.integer)];
        return;
    }
    a = fetch(a);
}

inline void ScriptEngine::opStore()
{
    dataStack.need(2);
    int &depth = dataStack.depthRef();
    Cell *const cells = dataStack.cells();
    store(cells[depth - 1], cells[depth - 2]);
    depth -= 2;
}

inline void ScriptEngine::opToR()
{
    returnStack.push(dataStack.pop());
}

inline void ScriptEngine::opRFrom()
{
    returnStack.need(1);
    dataStack.push(returnStack.pop());
}

inline void ScriptEngine::opRFetch()
{
    dataStack.push(returnStack.top());
}

inline void ScriptEngine::literalArithmetic(Op op, qint64 literal)
{
    const int depth = dataStack.depth();
    Cell *const cells = dataStack.cells();
    // Only where pushing the literal could not have overflowed the stack.
    if (depth >= 1 && depth < ForthStack::capacity && cells[depth - 1].type == CellType::Integer) {
        qint64 &top = cells[depth - 1].integer;
        const auto flag = [](bool value) { return value ? qint64(-1) : qint64(0); };
        switch (op) {
        case Op::LiteralPlus: top = qint64(quint64(top) + quint64(literal)); return;
        case Op::LiteralMinus: top = qint64(quint64(top) - quint64(literal)); return;
        case Op::LiteralStar: top = qint64(quint64(top) * quint64(literal)); return;
        case Op::LiteralAnd: top &= literal; return;
        case Op::LiteralOr: top |= literal; return;
        case Op::LiteralXor: top ^= literal; return;
        case Op::LiteralLess: top = flag(top < literal); return;
        case Op::LiteralGreater: top = flag(top > literal); return;
        default: top = flag(top == literal); return;
        }
    }
    dataStack.pushInteger(literal);
    switch (op) {
    case Op::LiteralPlus: opPlus(); return;
    case Op::LiteralMinus: opMinus(); return;
    case Op::LiteralStar: opStar(); return;
    case Op::LiteralAnd: opAnd(); return;
    case Op::LiteralOr: opOr(); return;
    case Op::LiteralXor: opXor(); return;
    case Op::LiteralLess: opLess(); return;
    case Op::LiteralGreater: opGreater(); return;
    default: opEquals(); return;
    }
}

inline void ScriptEngine::createFetch(PCreateChild *word)
{
    const Cell &address = word->value;
    const int depth = dataStack.depth();
    if (!word->does && depth < ForthStack::capacity && address.type == CellType::DataAddress
        && address.integer >= 0 && address.integer < address.memory->size()) {
        dataStack.push(address.memory->cells[size_t(address.integer)]);
        return;
    }
    dataStack.push(address);
    if (word->does)
        callColon(word->does);
    opFetch();
}

inline void ScriptEngine::createStore(PCreateChild *word)
{
    const int depth = dataStack.depth();
    if (!word->does && depth >= 1 && depth < ForthStack::capacity) {
        store(word->value, dataStack.cells()[depth - 1]);
        --dataStack.depthRef();
        return;
    }
    dataStack.push(word->value);
    if (word->does)
        callColon(word->does);
    opStore();
}

inline void ScriptEngine::opLoop(pcode *&next)
{
    if (m_loops.empty())
        forthThrow(-1, QStringLiteral("loop stack underflow"));
    LoopFrame &frame = m_loops.back();
    if (frame.index + 1 < frame.limit) {
        ++frame.index;
        tick();
        next = frame.start;
    } else {
        m_loops.pop_back();
    }
}

inline void ScriptEngine::opPlusLoop(pcode *&next)
{
    if (m_loops.empty())
        forthThrow(-1, QStringLiteral("loop stack underflow"));
    const qint64 step = dataStack.pop().toInteger();
    LoopFrame &frame = m_loops.back();
    const qint64 index = qint64(quint64(frame.index) + quint64(step));
    // A positive step runs while the index stays below the limit, a negative one while it
    // stays at or above it.
    const bool again = step >= 0 ? (index < frame.limit && index > frame.index)
                                 : (index >= frame.limit && index < frame.index);
    if (again) {
        frame.index = index;
        tick();
        next = frame.start;
    } else {
        m_loops.pop_back();
    }
}
