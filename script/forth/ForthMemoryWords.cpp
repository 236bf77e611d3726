#include "script/forth/ForthMemoryWords.h"
#include "script/forth/ForthInline.h"

namespace {

Cell offset(const Cell &address, qint64 by)
{
    return arithmetic(ArithmeticOp::Add, address, Cell::fromInteger(by));
}

} // namespace

void PFetch::run(ScriptEngine &engine) { engine.opFetch(); }
void PStore::run(ScriptEngine &engine) { engine.opStore(); }

void PPlusStore::run(ScriptEngine &engine)
{
    // ( n addr -- )
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const Cell address = stack.at(0);
    const Cell sum = arithmetic(ArithmeticOp::Add, engine.fetch(address), stack.at(1));
    engine.store(address, sum);
    stack.drop(2);
}

void PTwoFetch::run(ScriptEngine &engine)
{
    // ( addr -- x1 x2 ): x2 at addr, x1 in the next cell.
    const Cell address = engine.dataStack.top();
    Cell second = engine.fetch(address);
    Cell first = engine.fetch(offset(address, 1));
    engine.dataStack.drop(1);
    engine.dataStack.push(std::move(first));
    engine.dataStack.push(std::move(second));
}

void PTwoStore::run(ScriptEngine &engine)
{
    // ( x1 x2 addr -- )
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    const Cell address = stack.at(0);
    const Cell next = offset(address, 1);
    engine.fetch(next);   // both cells must exist before either changes
    engine.store(address, stack.at(1));
    engine.store(next, stack.at(2));
    stack.drop(3);
}

void PComma::run(ScriptEngine &engine)
{
    const Cell value = engine.dataStack.top();
    engine.comma(value);
    engine.dataStack.drop(1);
}

void PAllot::run(ScriptEngine &engine)
{
    const qint64 cells = engine.dataStack.top().toInteger();
    engine.allot(cells);
    engine.dataStack.drop(1);
}

void PHere::run(ScriptEngine &engine)
{
    engine.dataStack.push(engine.here());
}

void PUnused::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.unused());
}

void PMove::run(ScriptEngine &engine)
{
    // ( from to u -- ), correct for overlapping ranges of one region.
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    const qint64 count = stack.at(0).toInteger();
    const Cell to = stack.at(1);
    const Cell from = stack.at(2);
    stack.drop(3);
    if (count <= 0)
        return;
    PMemory *const source = from.toRegion();
    PMemory *const target = to.toRegion();
    if (count > source->size() || count > target->size())
        forthThrow(-9, QStringLiteral("cell fetch outside allotted region"));
    source->fetch(from.integer);
    source->fetch(from.integer + count - 1);
    target->fetch(to.integer);
    target->fetch(to.integer + count - 1);
    std::vector<Cell> copy(source->cells.begin() + from.integer,
                           source->cells.begin() + from.integer + count);
    std::copy(copy.begin(), copy.end(), target->cells.begin() + to.integer);
}

void PCharPlus::run(ScriptEngine &engine)
{
    engine.opOnePlus();
}

void PChars::run(ScriptEngine &engine)
{
    engine.dataStack.top().toInteger();
}

void PCount::run(ScriptEngine &engine)
{
    // A string cell gives itself and its length; an address its first cell as the count.
    ForthStack &stack = engine.dataStack;
    const Cell top = stack.top();
    if (top.type == CellType::String) {
        stack.pushInteger(top.text.value().size());
        return;
    }
    const qint64 count = engine.fetch(top).toInteger();
    stack.top() = offset(top, 1);
    stack.pushInteger(count);
}
