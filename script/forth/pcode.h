#pragma once
#include "script/forth/Cell.h"
#include <QString>
#include <memory>
#include <vector>

class ScriptEngine;
class Wordlist;

// What the inner interpreter does with an instruction. `Run` calls the virtual `run`; the other
// values are handled in place by `ScriptEngine::nest`, which saves a virtual call per step on
// the instructions that loops and arithmetic are made of. A `PCall` takes the value of its
// target when that target is a primitive with an in-place form, so calling `+` costs no call.
enum class Op : quint8 {
    Run,
    Nest,          // a PCFA whose run is nest(bodyStart)
    Label,
    Literal,
    LiteralInteger,   // a PLiteralChild whose cell is an integer
    CallConstant,     // PCall of a constant or value: pushes its cell
    CallCreate,       // PCall of a CREATE word: pushes its address, then runs its DOES> part
    // Pairs joined when a definition is sealed; each does what its two instructions did.
    CreateFetch,      // a CREATE word and @
    CreateStore,      // a CREATE word and !
    LiteralPlus,      // an integer literal and +, and so on
    LiteralMinus,
    LiteralStar,
    LiteralAnd,
    LiteralOr,
    LiteralXor,
    LiteralLess,
    LiteralGreater,
    LiteralEquals,
    Branch,
    ZBranch,
    CallNest,      // PCall of a Nest word
    CallRun,       // PCall of any other word
    Exit,
    DoRun,
    QuestionDoRun,
    LoopRun,
    PlusLoopRun,
    IRun,
    JRun,
    LocalFetch,
    // primitives
    Plus,
    Minus,
    Star,
    OnePlus,
    OneMinus,
    Dup,
    Drop,
    Swap,
    Over,
    Rot,
    Less,
    Greater,
    Equals,
    NotEquals,
    ZeroEquals,
    And,
    Or,
    Xor,
    Fetch,
    Store,
    ToR,
    RFrom,
    RFetch,
};

constexpr bool isInlinePrimitive(Op op) { return op >= Op::Plus; }

// Base of every word and instruction. Instructions form a chain through `next`.
class pcode {
public:
    explicit pcode(Op op = Op::Run) : op(op) {}
    pcode(const pcode &) = delete;
    pcode &operator=(const pcode &) = delete;
    virtual ~pcode();

    virtual void run(ScriptEngine &engine);
    virtual Cell body() const;          // the PFA: the data address behind a word
    virtual Cell cfa();                 // the code address of a word
    virtual pcode *storeMethod();       // the word that `TO` runs or compiles

    pcode *next = nullptr;
    QString name;
    qint32 sourceLine = 0;
    QString sourceFile;
    Op op;
};

// A target of branches; does nothing when run.
class PLabel : public pcode {
public:
    explicit PLabel(Op op = Op::Label) : pcode(op) {}
};

namespace WordFlags {
constexpr quint32 plain = 0;
constexpr quint32 primitive = 1;   // recorded only
constexpr quint32 immediate = 2;
}

// A named word. Its chain of instructions is owned here; `bodyStart` is the chain's head.
class PCFA : public PLabel {
public:
    explicit PCFA(Op op = Op::Nest) : PLabel(op) {}
    void run(ScriptEngine &engine) override;
    Cell cfa() override;

    // Appends to the chain; a sealed chain throws -270 with the word's name.
    pcode *append(std::unique_ptr<pcode> instruction);
    // Closes the chain. Branches and links then bypass labels, which only mark places, and
    // pairs of instructions that loops are made of become one.
    void seal();
    // Keeps an object the chain refers to without linking it (locals, hidden store words).
    pcode *keep(std::unique_ptr<pcode> object);
    pcode *tail() const { return m_tail; }

    quint32 flags = WordFlags::plain;
    pcode *bodyStart = nullptr;
    Wordlist *wordlist = nullptr;
    PCFA *previous = nullptr;   // the word of the same name this one hides
    bool smudge = false;
    bool sealed = false;
    bool builtIn = false;
    qint32 localCount = 0;      // cells of locals per activation

private:
    void joinPairs();

    std::vector<std::unique_ptr<pcode>> m_code;
    pcode *m_tail = nullptr;
};

class PColonChild : public PCFA {};
class PColonNonameChild : public PCFA {};
class PDoesChild : public PCFA {};
class PPrivateCFA : public PCFA {};

class PConstantChild : public PCFA {
public:
    explicit PConstantChild(Cell value) : PCFA(Op::Run), value(std::move(value)) {}
    void run(ScriptEngine &engine) override;
    Cell value;
};

class PValueChild : public PConstantChild {
public:
    explicit PValueChild(Cell value);
    ~PValueChild() override;
    pcode *storeMethod() override { return m_store.get(); }

private:
    std::unique_ptr<pcode> m_store;
};

// A word made by CREATE or VARIABLE: pushes its region's address, then runs the DOES> part.
class PCreateChild : public PConstantChild {
public:
    explicit PCreateChild(Cell address) : PConstantChild(std::move(address)) {}
    void run(ScriptEngine &engine) override;
    Cell body() const override { return value; }
    PCFA *does = nullptr;
};

// A local's name while its definition compiles; running it is refused.
class PLocalChild : public PCFA {
public:
    PLocalChild(qint32 index, pcode *store) : PCFA(Op::Run), index(index), m_store(store) {}
    void run(ScriptEngine &engine) override;
    pcode *storeMethod() override { return m_store; }
    const qint32 index;

private:
    pcode *m_store;
};

// The hidden word that pops into a local of the running activation.
class PLocalStore : public PPrivateCFA {
public:
    explicit PLocalStore(qint32 index) : index(index) { op = Op::Run; }
    void run(ScriptEngine &engine) override;
    const qint32 index;
};

class PLocalFetch : public pcode {
public:
    explicit PLocalFetch(qint32 index) : pcode(Op::LocalFetch), index(index) {}
    void run(ScriptEngine &engine) override;
    const qint32 index;
};

// A region of data cells. A data address is a region and an index, so no address leaves it.
class PMemory : public PLabel {
public:
    PMemory() = default;
    virtual Cell fetch(qint64 index) const;
    virtual void store(qint64 index, const Cell &cell);
    qint64 size() const { return qint64(cells.size()); }

    std::vector<Cell> cells;
};

class PIMemory : public PMemory {};   // initialised data: CREATE, VARIABLE, `,`
class PUMemory : public PMemory {};   // uninitialised data
class PHMemory : public PMemory {};   // host data: the engine's own variables

class PBranch : public pcode {
public:
    explicit PBranch(pcode *target = nullptr, Op op = Op::Branch) : pcode(op), target(target) {}
    void run(ScriptEngine &engine) override;
    pcode *target;
};

class PZBranch : public PBranch {
public:
    explicit PZBranch(pcode *target = nullptr) : PBranch(target, Op::ZBranch) {}
    void run(ScriptEngine &engine) override;
};

class PLiteralChild : public pcode {
public:
    explicit PLiteralChild(Cell value)
        : pcode(value.type == CellType::Integer ? Op::LiteralInteger : Op::Literal),
          value(std::move(value))
    {
    }
    void run(ScriptEngine &engine) override;
    const Cell value;
};

// Runs `target` as a chain of its own: target->next is empty, so the word's run is all.
class PCall : public pcode {
public:
    explicit PCall(pcode *target);
    void run(ScriptEngine &engine) override;
    pcode *target;
};

class PExitRun : public pcode {
public:
    PExitRun() : pcode(Op::Exit) {}
    void run(ScriptEngine &engine) override;
};

// Loop run-time parts. `target` of ?DO and LEAVE is the label behind the loop.
class PDoRun : public pcode {
public:
    PDoRun() : pcode(Op::DoRun) {}
    void run(ScriptEngine &engine) override;
};

class PQuestionDoRun : public PBranch {
public:
    PQuestionDoRun() : PBranch(nullptr, Op::QuestionDoRun) {}
    void run(ScriptEngine &engine) override;
};

class PLoopRun : public pcode {
public:
    PLoopRun() : pcode(Op::LoopRun) {}
    void run(ScriptEngine &engine) override;
};

class PPlusLoopRun : public pcode {
public:
    PPlusLoopRun() : pcode(Op::PlusLoopRun) {}
    void run(ScriptEngine &engine) override;
};

class PLeaveRun : public PBranch {
public:
    PLeaveRun() : PBranch(nullptr, Op::Run) {}
    void run(ScriptEngine &engine) override;
};

class PIRun : public pcode {
public:
    PIRun() : pcode(Op::IRun) {}
    void run(ScriptEngine &engine) override;
};

class PJRun : public pcode {
public:
    PJRun() : pcode(Op::JRun) {}
    void run(ScriptEngine &engine) override;
};

// Base of the word classes that do their work in `run` rather than through a chain.
class PNative : public PCFA {
public:
    explicit PNative(Op op = Op::Run) : PCFA(op) {}
};
