#include "script/forth/pcode.h"
#include "script/forth/ForthInline.h"
#include "script/forth/ScriptEngine.h"

pcode::~pcode() = default;

void pcode::run(ScriptEngine &)
{
    forthThrow(-265);
}

Cell pcode::body() const
{
    forthThrow(-1, name + QStringLiteral(" does not have a PFA"));
}

Cell pcode::cfa()
{
    forthThrow(-1, QStringLiteral("no CFA"));
}

pcode *pcode::storeMethod()
{
    forthThrow(-268, QStringLiteral("no store method defined: %1").arg(name));
}

void PCFA::run(ScriptEngine &engine)
{
    engine.callColon(this);
}

Cell PCFA::cfa()
{
    return Cell::fromCode(this);
}

pcode *PCFA::append(std::unique_ptr<pcode> instruction)
{
    if (sealed)
        forthThrow(-270, QStringLiteral("sealed definition: %1").arg(name));
    pcode *const raw = instruction.get();
    m_code.push_back(std::move(instruction));
    if (m_tail)
        m_tail->next = raw;
    else
        bodyStart = raw;
    m_tail = raw;
    return raw;
}

void PCFA::seal()
{
    if (sealed)
        return;
    sealed = true;
    const auto skipLabels = [](pcode *instruction) {
        while (instruction && instruction->op == Op::Label)
            instruction = instruction->next;
        return instruction;
    };
    bodyStart = skipLabels(bodyStart);
    for (const std::unique_ptr<pcode> &instruction : m_code) {
        instruction->next = skipLabels(instruction->next);
        if (auto *const branch = dynamic_cast<PBranch *>(instruction.get()))
            branch->target = skipLabels(branch->target);
    }
    joinPairs();
}

// An integer literal followed by an arithmetic word, and a CREATE word followed by @ or !,
// become one instruction that skips the second. The second stays in the chain, so a branch
// that lands on it still finds it.
void PCFA::joinPairs()
{
    struct Pair {
        Op first;
        Op second;
        Op joined;
    };
    static constexpr Pair pairs[] = {
        {Op::CallCreate, Op::Fetch, Op::CreateFetch},
        {Op::CallCreate, Op::Store, Op::CreateStore},
        {Op::LiteralInteger, Op::Plus, Op::LiteralPlus},
        {Op::LiteralInteger, Op::Minus, Op::LiteralMinus},
        {Op::LiteralInteger, Op::Star, Op::LiteralStar},
        {Op::LiteralInteger, Op::And, Op::LiteralAnd},
        {Op::LiteralInteger, Op::Or, Op::LiteralOr},
        {Op::LiteralInteger, Op::Xor, Op::LiteralXor},
        {Op::LiteralInteger, Op::Less, Op::LiteralLess},
        {Op::LiteralInteger, Op::Greater, Op::LiteralGreater},
        {Op::LiteralInteger, Op::Equals, Op::LiteralEquals},
    };
    for (const std::unique_ptr<pcode> &instruction : m_code) {
        pcode *const second = instruction->next;
        if (!second)
            continue;
        for (const Pair &pair : pairs) {
            if (instruction->op == pair.first && second->op == pair.second) {
                instruction->op = pair.joined;
                instruction->next = second->next;
                break;
            }
        }
    }
}

pcode *PCFA::keep(std::unique_ptr<pcode> object)
{
    m_code.push_back(std::move(object));
    return m_code.back().get();
}

void PConstantChild::run(ScriptEngine &engine)
{
    engine.dataStack.push(value);
}

namespace {

class PValueStore : public PPrivateCFA {
public:
    explicit PValueStore(PValueChild *owner) : m_owner(owner) { op = Op::Run; }
    void run(ScriptEngine &engine) override { m_owner->value = engine.dataStack.pop(); }

private:
    PValueChild *m_owner;
};

} // namespace

PValueChild::PValueChild(Cell value)
    : PConstantChild(std::move(value)), m_store(std::make_unique<PValueStore>(this))
{
}

PValueChild::~PValueChild() = default;

void PCreateChild::run(ScriptEngine &engine)
{
    engine.dataStack.push(value);
    if (does)
        engine.callColon(does);
}

void PLocalChild::run(ScriptEngine &)
{
    forthThrow(-1, QStringLiteral("local variable execution not supported"));
}

void PLocalStore::run(ScriptEngine &engine)
{
    engine.local(index) = engine.dataStack.pop();
}

void PLocalFetch::run(ScriptEngine &engine)
{
    engine.dataStack.push(engine.local(index));
}

Cell PMemory::fetch(qint64 index) const
{
    if (index < 0 || index >= size())
        forthThrow(-9, QStringLiteral("cell fetch outside allotted region"));
    return cells[size_t(index)];
}

void PMemory::store(qint64 index, const Cell &cell)
{
    if (index < 0 || index >= size())
        forthThrow(-9, QStringLiteral("cell store outside allotted region"));
    cells[size_t(index)] = cell;
}

void PBranch::run(ScriptEngine &engine)
{
    engine.tick();
    engine.ip = target;
}

void PZBranch::run(ScriptEngine &engine)
{
    if (!isTrue(engine.dataStack.pop())) {
        engine.tick();
        engine.ip = target;
    }
}

void PLiteralChild::run(ScriptEngine &engine)
{
    engine.dataStack.push(value);
}

PCall::PCall(pcode *target) : pcode(Op::CallRun), target(target)
{
    if (target->op == Op::Nest)
        op = Op::CallNest;
    else if (isInlinePrimitive(target->op))
        op = target->op;
    else if (dynamic_cast<PCreateChild *>(target))
        op = Op::CallCreate;
    else if (dynamic_cast<PConstantChild *>(target))
        op = Op::CallConstant;
}

void PCall::run(ScriptEngine &engine)
{
    engine.execute(target);
}

void PExitRun::run(ScriptEngine &engine)
{
    engine.ip = nullptr;
}

void PDoRun::run(ScriptEngine &engine)
{
    engine.dataStack.need(2);
    const qint64 index = engine.dataStack.pop().toInteger();
    engine.pushLoop(engine.dataStack.pop().toInteger(), index, engine.ip);
}

void PQuestionDoRun::run(ScriptEngine &engine)
{
    engine.dataStack.need(2);
    const qint64 index = engine.dataStack.pop().toInteger();
    const qint64 limit = engine.dataStack.pop().toInteger();
    if (index == limit)
        engine.ip = target;
    else
        engine.pushLoop(limit, index, engine.ip);
}

void PLoopRun::run(ScriptEngine &engine)
{
    engine.opLoop(engine.ip);
}

void PPlusLoopRun::run(ScriptEngine &engine)
{
    engine.opPlusLoop(engine.ip);
}

void PLeaveRun::run(ScriptEngine &engine)
{
    engine.loopFrame(0);
    engine.loops().pop_back();
    engine.ip = target;
}

void PIRun::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.loopFrame(0).index);
}

void PJRun::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.loopFrame(1).index);
}
