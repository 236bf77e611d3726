#pragma once
#include "script/forth/Cell.h"
#include "script/forth/ForthException.h"

// A stack of cells: a fixed array and a depth. The 513th push raises `overflowCode`, a pop on
// empty `underflowCode`. Popped cells stay in their slots until overwritten, so `pop` hands out
// a reference that lives until the next push.
class ForthStack {
public:
    static constexpr int capacity = 512;

    ForthStack(qint32 overflowCode, qint32 underflowCode)
        : m_overflowCode(overflowCode), m_underflowCode(underflowCode) {}

    int depth() const { return m_depth; }
    void push(const Cell &cell) { slotForPush() = cell; ++m_depth; }
    void push(Cell &&cell) { slotForPush() = std::move(cell); ++m_depth; }
    void pushInteger(qint64 value) { slotForPush().setInteger(value); ++m_depth; }
    Cell &pop() { need(1); return m_cells[--m_depth]; }
    Cell &top() { need(1); return m_cells[m_depth - 1]; }
    // The cell `n` below the top: at(0) is the top.
    Cell &at(int n) { need(n + 1); return m_cells[m_depth - 1 - n]; }
    void need(int count) const { if (m_depth < count) underflow(); }
    void room(int count) const { if (m_depth + count > capacity) overflow(); }
    void drop(int count) { need(count); m_depth -= count; }
    // Back to an earlier depth (CATCH); slots keep their cells until overwritten, so growing
    // again shows whatever they held.
    void setDepth(int depth) { if (depth >= 0 && depth <= capacity) m_depth = depth; }
    void clear() { m_depth = 0; }

    [[noreturn]] void overflow() const { forthThrow(m_overflowCode); }
    [[noreturn]] void underflow() const { forthThrow(m_underflowCode); }

    // The inner interpreter works on these directly.
    Cell *cells() { return m_cells; }
    int &depthRef() { return m_depth; }

private:
    Cell &slotForPush() { if (m_depth >= capacity) overflow(); return m_cells[m_depth]; }

    Cell m_cells[capacity];
    int m_depth = 0;
    const qint32 m_overflowCode;
    const qint32 m_underflowCode;
};
