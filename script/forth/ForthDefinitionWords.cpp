#include "script/forth/ForthDefinitionWords.h"
#include "script/forth/ScriptEngine.h"

namespace {

// Makes a word that pushes `value` and links it under the next name of the input.
template <class Child> Child *defineConstant(ScriptEngine &engine, Cell value)
{
    const QString name = engine.requireName();
    auto word = std::make_unique<Child>(std::move(value));
    word->name = name;
    Child *const raw = engine.own(std::move(word));
    engine.linkWord(raw);
    return raw;
}

PCreateChild *create(ScriptEngine &engine)
{
    const QString name = engine.requireName();
    PMemory *const region = engine.newRegion(name);
    auto word = std::make_unique<PCreateChild>(Cell::fromAddress(region, 0));
    word->name = name;
    PCreateChild *const raw = engine.own(std::move(word));
    engine.linkWord(raw);
    engine.setLastCreated(raw);
    return raw;
}

void declareLocals(ScriptEngine &engine, bool takeFromStack)
{
    engine.needDefinition();
    for (;;) {
        const QString name = engine.parseName();
        if (name.isEmpty() || name == QLatin1String("|"))
            return;
        engine.declareLocal(name, takeFromStack);
    }
}

} // namespace

void PColon::run(ScriptEngine &engine)
{
    engine.beginDefinition(std::make_unique<PColonChild>(), true);
}

void PSemicolon::run(ScriptEngine &engine)
{
    engine.endDefinition();
}

void PColonNoName::run(ScriptEngine &engine)
{
    auto definition = std::make_unique<PColonNonameChild>();
    definition->name = QStringLiteral(":NONAME");
    engine.beginDefinition(std::move(definition), false);
}

void PCreate::run(ScriptEngine &engine)
{
    create(engine);
}

void PDoes::run(ScriptEngine &engine)
{
    engine.beginDoesPart();
}

void PVariable::run(ScriptEngine &engine)
{
    create(engine);
    engine.allot(1);
}

void PConstant::run(ScriptEngine &engine)
{
    const Cell value = engine.dataStack.top();
    engine.dataStack.drop(1);
    defineConstant<PConstantChild>(engine, value);
}

void PValue::run(ScriptEngine &engine)
{
    const Cell value = engine.dataStack.top();
    engine.dataStack.drop(1);
    defineConstant<PValueChild>(engine, value);
}

void PTo::run(ScriptEngine &engine)
{
    const QString name = engine.requireName();
    pcode *word = engine.compiling() ? engine.findLocal(name) : nullptr;
    if (!word)
        word = engine.requireWord(name);
    pcode *const store = word->storeMethod();
    if (engine.compiling())
        engine.compileCall(store);
    else
        engine.execute(store);
}

void PImmediate::run(ScriptEngine &engine)
{
    PCFA *const word = engine.lastWord();
    if (!word)
        forthThrow(-256);
    word->flags |= WordFlags::immediate;
}

void PRecurse::run(ScriptEngine &engine)
{
    engine.compileCall(engine.needDefinition());
}

void PPostpone::run(ScriptEngine &engine)
{
    PCFA *const word = engine.requireWord(engine.requireName());
    if (word->flags & WordFlags::immediate)
        engine.compileCall(word);
    else
        engine.compile(std::make_unique<PPostponeRun>(word));
}

void PPostponeRun::run(ScriptEngine &engine)
{
    engine.compileCall(word);
}

void PBracketCompile::run(ScriptEngine &engine)
{
    engine.compileCall(engine.requireWord(engine.requireName()));
}

void PCompileComma::run(ScriptEngine &engine)
{
    pcode *const word = engine.dataStack.top().toCode();
    engine.compileCall(word);
    engine.dataStack.drop(1);
}

void PLiteral::run(ScriptEngine &engine)
{
    const Cell value = engine.dataStack.top();
    engine.compileLiteral(value);
    engine.dataStack.drop(1);
}

void PLeftBracket::run(ScriptEngine &engine)
{
    engine.setState(0);
}

void PRightBracket::run(ScriptEngine &engine)
{
    engine.setState(1);
}

void PTick::run(ScriptEngine &engine)
{
    engine.dataStack.push(engine.requireWord(engine.requireName())->cfa());
}

void PBracketTick::run(ScriptEngine &engine)
{
    engine.compileLiteral(engine.requireWord(engine.requireName())->cfa());
}

void PChar::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.requireName().at(0).unicode());
}

void PBracketChar::run(ScriptEngine &engine)
{
    engine.compileLiteral(Cell::fromInteger(engine.requireName().at(0).unicode()));
}

void PToBody::run(ScriptEngine &engine)
{
    Cell &top = engine.dataStack.top();
    top = top.toCode()->body();
}

void PExecute::run(ScriptEngine &engine)
{
    pcode *const word = engine.dataStack.top().toCode();
    engine.dataStack.drop(1);
    engine.execute(word);
}

void PExit::run(ScriptEngine &engine)
{
    engine.needDefinition();
    engine.compile(std::make_unique<PExitRun>());
}

void PState::run(ScriptEngine &engine)
{
    engine.dataStack.push(Cell::fromAddress(engine.stateRegion(), 0));
}

void PParenLocalParen::run(ScriptEngine &engine)
{
    const QString name = engine.dataStack.top().toStringValue();
    engine.dataStack.drop(1);
    if (!name.isEmpty())
        engine.declareLocal(name, m_takeFromStack);
}

void PLocalsBar::run(ScriptEngine &engine)
{
    declareLocals(engine, true);
}

void PTempsBar::run(ScriptEngine &engine)
{
    declareLocals(engine, false);
}

void PThrow::run(ScriptEngine &engine)
{
    const qint64 code = engine.dataStack.top().toInteger();
    engine.dataStack.drop(1);
    if (code != 0)
        forthThrow(qint32(qBound(qint64(INT32_MIN), code, qint64(INT32_MAX))));
}

void PCatch::run(ScriptEngine &engine)
{
    pcode *const word = engine.dataStack.top().toCode();
    engine.dataStack.drop(1);
    const int dataDepth = engine.dataStack.depth();
    const int returnDepth = engine.returnStack.depth();
    const size_t loopDepth = engine.loops().size();
    try {
        engine.execute(word);
    } catch (const ForthException &e) {
        engine.dataStack.setDepth(dataDepth);
        engine.returnStack.setDepth(returnDepth);
        engine.loops().resize(qMin(loopDepth, engine.loops().size()));
        engine.dataStack.pushInteger(e.code);
        return;
    }
    engine.dataStack.pushInteger(0);
}

void PAbort::run(ScriptEngine &engine)
{
    forthThrow(-1);
}
