#include "script/forth/ForthStackWords.h"
#include "script/forth/ForthInline.h"

void PDrop::run(ScriptEngine &engine) { engine.opDrop(); }
void PDup::run(ScriptEngine &engine) { engine.opDup(); }
void POver::run(ScriptEngine &engine) { engine.opOver(); }
void PRot::run(ScriptEngine &engine) { engine.opRot(); }
void PSwap::run(ScriptEngine &engine) { engine.opSwap(); }
void PToR::run(ScriptEngine &engine) { engine.opToR(); }
void PRFrom::run(ScriptEngine &engine) { engine.opRFrom(); }
void PRFetch::run(ScriptEngine &engine) { engine.opRFetch(); }

void PMinusRot::run(ScriptEngine &engine)
{
    engine.opRot();
    engine.opRot();
}

void PNip::run(ScriptEngine &engine)
{
    engine.opSwap();
    engine.opDrop();
}

void PTuck::run(ScriptEngine &engine)
{
    engine.opSwap();
    engine.opOver();
}

void PPick::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    const qint64 n = stack.pop().toInteger();
    if (n < 0 || n >= stack.depth())
        forthThrow(-24, QStringLiteral("PICK index out of range"));
    stack.push(Cell(stack.at(int(n))));
}

void PRoll::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    const qint64 n = stack.pop().toInteger();
    if (n < 0 || n >= stack.depth())
        forthThrow(-24, QStringLiteral("ROLL index out of range"));
    Cell *const cells = stack.cells();
    const int top = stack.depth() - 1;
    for (int i = top - int(n); i < top; ++i)
        std::swap(cells[i], cells[i + 1]);
}

void PQuestionDup::run(ScriptEngine &engine)
{
    if (isTrue(engine.dataStack.top()))
        engine.opDup();
}

void PTwoDrop::run(ScriptEngine &engine)
{
    engine.dataStack.drop(2);
}

void PTwoDup::run(ScriptEngine &engine)
{
    engine.opOver();
    engine.opOver();
}

void PTwoOver::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(4);
    stack.room(2);
    stack.push(Cell(stack.at(3)));
    stack.push(Cell(stack.at(3)));
}

void PTwoSwap::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(4);
    std::swap(stack.at(0), stack.at(2));
    std::swap(stack.at(1), stack.at(3));
}

void PDepth::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.dataStack.depth());
}

void PTwoToR::run(ScriptEngine &engine)
{
    engine.dataStack.need(2);
    engine.returnStack.room(2);
    engine.opSwap();
    engine.opToR();
    engine.opToR();
}

void PTwoRFrom::run(ScriptEngine &engine)
{
    engine.returnStack.need(2);
    engine.dataStack.room(2);
    engine.opRFrom();
    engine.opRFrom();
    engine.opSwap();
}

void PTwoRFetch::run(ScriptEngine &engine)
{
    ForthStack &returns = engine.returnStack;
    returns.need(2);
    engine.dataStack.room(2);
    engine.dataStack.push(Cell(returns.at(1)));
    engine.dataStack.push(Cell(returns.at(0)));
}
