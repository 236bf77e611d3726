#include "script/forth/ForthControlWords.h"
#include "script/forth/ForthArithmetic.h"
#include "script/forth/ScriptEngine.h"

namespace {

void resolve(PBranch *branch, pcode *label)
{
    branch->target = label;
}

void resolveHere(ScriptEngine &engine, const std::vector<PBranch *> &branches)
{
    pcode *const label = engine.compileLabel();
    for (PBranch *const branch : branches)
        resolve(branch, label);
}

PBranch *compileForward(ScriptEngine &engine, std::unique_ptr<PBranch> branch)
{
    engine.needDefinition();
    PBranch *const raw = engine.compileNew(std::move(branch));
    engine.pushControl(std::make_unique<CSOrig>(raw));
    return raw;
}

void closeLoop(ScriptEngine &engine, std::unique_ptr<pcode> loopRun)
{
    engine.needDefinition();
    const std::unique_ptr<CSDoSys> loop = engine.popControlAs<CSDoSys>();
    engine.compile(std::move(loopRun));
    resolveHere(engine, loop->exits);
}

// Skips text after a false [IF] or a taken [ELSE] up to the matching [ELSE] (only when
// `stopAtElse`) or [THEN], counting nested [IF]s, across lines.
void skipConditional(ScriptEngine &engine, bool stopAtElse)
{
    int depth = 0;
    for (;;) {
        const QString word = engine.parseName();
        if (word.isEmpty()) {
            if (!engine.refillSource())
                forthThrow(-39, QStringLiteral("unexpected EOF: missing [THEN]"));
            continue;
        }
        engine.tick();
        if (word == QLatin1String("[IF]")) {
            ++depth;
        } else if (word == QLatin1String("[THEN]")) {
            if (depth-- == 0)
                return;
        } else if (word == QLatin1String("[ELSE]") && depth == 0 && stopAtElse) {
            return;
        }
    }
}

} // namespace

void PIf::run(ScriptEngine &engine) { compileForward(engine, std::make_unique<PZBranch>()); }
void PAhead::run(ScriptEngine &engine) { compileForward(engine, std::make_unique<PBranch>()); }

void PElse::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSOrig> orig = engine.popControlAs<CSOrig>();
    compileForward(engine, std::make_unique<PBranch>());
    resolve(orig->branch, engine.compileLabel());
}

void PThen::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSOrig> orig = engine.popControlAs<CSOrig>();
    resolve(orig->branch, engine.compileLabel());
}

void PBegin::run(ScriptEngine &engine)
{
    engine.needDefinition();
    engine.pushControl(std::make_unique<CSDest>(engine.compileLabel()));
}

void PAgain::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSDest> dest = engine.popControlAs<CSDest>();
    engine.compile(std::make_unique<PBranch>(dest->label));
}

void PUntil::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSDest> dest = engine.popControlAs<CSDest>();
    engine.compile(std::make_unique<PZBranch>(dest->label));
}

void PWhile::run(ScriptEngine &engine)
{
    engine.needDefinition();
    std::unique_ptr<CSDest> dest = engine.popControlAs<CSDest>();
    compileForward(engine, std::make_unique<PZBranch>());
    engine.pushControl(std::move(dest));
}

void PRepeat::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSDest> dest = engine.popControlAs<CSDest>();
    const std::unique_ptr<CSOrig> orig = engine.popControlAs<CSOrig>();
    engine.compile(std::make_unique<PBranch>(dest->label));
    resolve(orig->branch, engine.compileLabel());
}

void PDo::run(ScriptEngine &engine)
{
    engine.needDefinition();
    engine.compile(std::make_unique<PDoRun>());
    engine.pushControl(std::make_unique<CSDoSys>());
}

void PQuestionDo::run(ScriptEngine &engine)
{
    engine.needDefinition();
    auto loop = std::make_unique<CSDoSys>();
    loop->exits.push_back(engine.compileNew(std::make_unique<PQuestionDoRun>()));
    engine.pushControl(std::move(loop));
}

void PLoop::run(ScriptEngine &engine) { closeLoop(engine, std::make_unique<PLoopRun>()); }
void PPlusLoop::run(ScriptEngine &engine) { closeLoop(engine, std::make_unique<PPlusLoopRun>()); }

void PLeave::run(ScriptEngine &engine)
{
    engine.needDefinition();
    CSDoSys *const loop = engine.innermostDo();
    if (!loop)
        forthThrow(-257);
    loop->exits.push_back(engine.compileNew(std::make_unique<PLeaveRun>()));
}

void PUnloop::run(ScriptEngine &engine)
{
    engine.loopFrame(0);
    engine.loops().pop_back();
}

void PI::run(ScriptEngine &engine)
{
    if (engine.compiling())
        engine.compile(std::make_unique<PIRun>());
    else
        engine.dataStack.pushInteger(engine.loopFrame(0).index);
}

void PJ::run(ScriptEngine &engine)
{
    if (engine.compiling())
        engine.compile(std::make_unique<PJRun>());
    else
        engine.dataStack.pushInteger(engine.loopFrame(1).index);
}

void PCase::run(ScriptEngine &engine)
{
    engine.needDefinition();
    engine.pushControl(std::make_unique<CSCaseSys>());
}

void POf::run(ScriptEngine &engine)
{
    engine.needDefinition();
    if (!dynamic_cast<CSCaseSys *>(engine.controlTop()))
        forthThrow(-22, QStringLiteral("OF outside CASE"));
    PBranch *const branch = engine.compileNew(std::make_unique<POfBranch>());
    engine.pushControl(std::make_unique<CSOfSys>(branch));
}

void POfBranch::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    if (cellsEqual(stack.at(1), stack.at(0))) {
        stack.drop(2);
    } else {
        stack.drop(1);
        engine.ip = target;
    }
}

void PEndOf::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSOfSys> clause = engine.popControlAs<CSOfSys>();
    auto *const caseSys = dynamic_cast<CSCaseSys *>(engine.controlTop());
    if (!caseSys)
        forthThrow(-22);
    caseSys->exits.push_back(engine.compileNew(std::make_unique<PBranch>()));
    resolve(clause->branch, engine.compileLabel());
}

void PEndCase::run(ScriptEngine &engine)
{
    engine.needDefinition();
    const std::unique_ptr<CSCaseSys> caseSys = engine.popControlAs<CSCaseSys>();
    engine.compileCall(engine.dropWord);
    resolveHere(engine, caseSys->exits);
}

void PBracketIf::run(ScriptEngine &engine)
{
    const bool flag = isTrue(engine.dataStack.top());
    engine.dataStack.drop(1);
    if (!flag)
        skipConditional(engine, true);
}

void PBracketElse::run(ScriptEngine &engine)
{
    skipConditional(engine, false);
}

void PBracketThen::run(ScriptEngine &) {}

void PBracketDefined::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.findWord(engine.requireName()) ? -1 : 0);
}

void PBracketUndefined::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.findWord(engine.requireName()) ? 0 : -1);
}
