#pragma once
#include "script/forth/CSEntry.h"
#include "script/forth/Cell.h"
#include "script/forth/ForthException.h"
#include "script/forth/ForthStack.h"
#include "script/forth/Source.h"
#include "script/forth/Wordlist.h"
#include "script/forth/pcode.h"
#include <QStringList>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

class QFile;

// Where the engine's output goes: text the program types, and error texts for the host.
class ForthScriptMessageInterface {
public:
    virtual ~ForthScriptMessageInterface() = default;
    virtual void type(const QString &text) = 0;
    virtual void error(const QString &text) = 0;
};

// Lets a console ask for the words that start with what the user typed.
class AutocompleteInterface {
public:
    virtual ~AutocompleteInterface() = default;
    virtual QStringList completions(const QString &prefix) const = 0;
};

// One DO loop in progress.
struct LoopFrame {
    qint64 index;
    qint64 limit;
    pcode *start;   // first instruction of the loop body
};

// Bounds that keep hostile programs from exhausting the process. The defaults suit scripts;
// a fuzzer lowers them.
struct ForthLimits {
    qint64 steps = -1;                    // calls, branches and tokens; -1: unbounded
    qint64 memoryCells = qint64(1) << 22;  // all data regions together
    qint32 stringLength = 1 << 24;         // characters of one string cell
    qint32 nestDepth = 100000;
    qint64 nativeStackBytes = 3 << 20;     // of the thread that runs the engine
    qint32 sourceDepth = 32;               // nested INCLUDED and EVALUATE
    qint32 openFiles = 64;
    qint64 fileBytes = qint64(1) << 40;      // largest file that RESIZE-FILE makes
};

// The Forth system: dictionary, stacks, outer and inner interpreter.
class ScriptEngine : public AutocompleteInterface {
public:
    using Registrar = std::function<void(ScriptEngine &)>;

    // Registers the word set, then whatever `hostWords` adds.
    explicit ScriptEngine(ForthScriptMessageInterface *messages = nullptr,
                          const Registrar &hostWords = {});
    ~ScriptEngine() override;
    ScriptEngine(const ScriptEngine &) = delete;
    ScriptEngine &operator=(const ScriptEngine &) = delete;

    // Host entry points: they run to the end, and on a failure report its text through the
    // message interface, reset the engine and hand the exception back. `evaluateText` and
    // `includeFile` also fail on a definition left open at the end.
    [[nodiscard]] std::optional<ForthException> evaluateText(const QString &text,
                                                             const QString &name);
    [[nodiscard]] std::optional<ForthException> includeFile(const QString &path);
    [[nodiscard]] std::optional<ForthException> interpretLine(const QString &line);

    void setLimits(const ForthLimits &limits);
    const ForthLimits &limits() const { return m_limits; }
    // Asked every `interval` steps while a program runs (a host keeps its window alive there);
    // true ends the run with the host interrupt, throw -28. An empty check removes it.
    using InterruptCheck = std::function<bool()>;
    void setInterruptCheck(InterruptCheck check, qint64 interval = 4096);
    // File words resolve names inside `root` and refuse absolute names and "..".
    void setFileRoot(const QString &root) { m_fileRoot = root; }
    void setMessages(ForthScriptMessageInterface *messages) { m_messages = messages; }
    QStringList completions(const QString &prefix) const override;

    // Registering words.
    PCFA *addWord(const QString &name, std::unique_ptr<PCFA> word, quint32 flags);

    // Inner interpreter.
    void nest(pcode *first);
    void execute(pcode *word);
    void callColon(PCFA *word);
    // Counts one unit of work against the step limit (-28 when it runs out).
    void tick() { if (--m_steps < 0) stepLimit(); }

    // Outer interpreter and its input.
    void evaluate(const QString &text);
    void include(const QString &path);
    void interpret(std::unique_ptr<Source> source);
    Source *source() const { return m_sources.empty() ? nullptr : m_sources.back().get(); }
    QString parseName();                                    // empty at the end of the line
    QString requireName();                                  // throws when the line has none
    QString parse(QChar delimiter, bool *found = nullptr);  // up to `delimiter` in this line
    QString parseAcrossLines(QChar delimiter);               // refills; throws at the end
    bool refillSource();
    [[nodiscard]] bool parseNumber(const QString &token, Cell &number) const;

    // Dictionary.
    PCFA *findWord(const QString &name) const;
    PLocalChild *findLocal(const QString &name) const;
    PCFA *requireWord(const QString &name) const;
    void linkWord(PCFA *word);
    PCFA *lastWord() const { return m_lastWord; }
    PCreateChild *lastCreated() const { return m_lastCreated; }
    void setLastCreated(PCreateChild *word) { m_lastCreated = word; }
    template <class T> T *own(std::unique_ptr<T> object)
    {
        T *raw = object.get();
        m_dictionary.push_back(std::move(object));
        return raw;
    }

    // Compilation.
    bool compiling() const;
    void setState(qint64 state);
    PCFA *currentDefinition() const { return m_current; }
    PCFA *needDefinition() const;   // throws -14 outside a definition
    void beginDefinition(std::unique_ptr<PCFA> definition, bool named);
    void endDefinition();
    void beginDoesPart();
    pcode *compile(std::unique_ptr<pcode> instruction);
    template <class T> T *compileNew(std::unique_ptr<T> instruction)
    {
        return static_cast<T *>(compile(std::move(instruction)));
    }
    void compileCall(pcode *word);
    void compileLiteral(const Cell &value);
    pcode *compileLabel();
    void declareLocal(const QString &name, bool takeFromStack);
    void pushControl(std::unique_ptr<CSEntry> entry);
    std::unique_ptr<CSEntry> popControl();
    template <class T> std::unique_ptr<T> popControlAs()
    {
        std::unique_ptr<CSEntry> entry = popControl();
        if (!dynamic_cast<T *>(entry.get()))
            forthThrow(-22);
        return std::unique_ptr<T>(static_cast<T *>(entry.release()));
    }
    CSEntry *controlTop() const { return m_control.empty() ? nullptr : m_control.back().get(); }
    CSDoSys *innermostDo() const;

    // Data memory.
    PMemory *newRegion(const QString &name);
    PMemory *currentRegion();
    void allot(qint64 cells);
    void comma(const Cell &cell);
    Cell here();
    qint64 unused() const { return m_limits.memoryCells - m_usedCells; }
    Cell fetch(const Cell &address) const;
    void store(const Cell &address, const Cell &value);

    // Loops and locals at run time.
    std::vector<LoopFrame> &loops() { return m_loops; }
    void pushLoop(qint64 limit, qint64 index, pcode *start);
    LoopFrame &loopFrame(int fromTop)
    {
        if (qsizetype(m_loops.size()) <= fromTop)
            noLoop();
        return m_loops[m_loops.size() - 1 - size_t(fromTop)];
    }
    Cell &local(qint32 index);

    // Search order.
    Wordlist *wordlist(qint64 id) const;   // throws -266
    Wordlist *newWordlist(const QString &name);
    std::vector<qint64> &order() { return m_order; }
    Wordlist *currentWordlist() const { return m_currentWordlist; }
    void setCurrentWordlist(Wordlist *list) { m_currentWordlist = list; }
    void setOrder(const std::vector<qint64> &order);
    void onlyOrder();

    // Files: a handle is a positive integer, the slot in this table plus one.
    qint64 openFile(const QString &name, int method, bool create, qint64 *ior);
    QFile *file(qint64 handle) const;   // null for a bad handle
    qint64 closeFile(qint64 handle);
    QString resolveFileName(const QString &name) const;   // empty: refused

    // Output and text.
    void type(const QString &text);
    void message(const QString &text);
    int base() const;
    QString text(const Cell &cell) const { return cell.toText(base()); }
    Cell makeString(const QString &text) const;   // throws -17 beyond the limit

    void resetAfterError();
    PMemory *baseRegion() const { return m_baseRegion; }
    PMemory *stateRegion() const { return m_stateRegion; }
    qint64 nextFileSourceId() { return --m_fileSourceIds; }

    ForthStack dataStack{-4, -3};
    ForthStack returnStack{-5, -6};
    pcode *ip = nullptr;
    PCFA *dropWord = nullptr;   // what ENDCASE compiles

    // Primitives with an in-place form in `nest`; words call them too.
    void opPlus();
    void opMinus();
    void opStar();
    void opOnePlus();
    void opOneMinus();
    void opDup();
    void opDrop();
    void opSwap();
    void opOver();
    void opRot();
    void opLess();
    void opGreater();
    void opEquals();
    void opNotEquals();
    void opZeroEquals();
    void opAnd();
    void opOr();
    void opXor();
    void opFetch();
    void opStore();
    void opToR();
    void opRFrom();
    void opRFetch();
    void opLoop(pcode *&next);
    // The joined pairs (see PCFA::seal): in place on integers, else both halves in turn.
    void literalArithmetic(Op op, qint64 literal);
    void createFetch(PCreateChild *word);
    void createStore(PCreateChild *word);
    void opPlusLoop(pcode *&next);

private:
    friend class NestScope;
    // The current slice of steps ran out: polls the host, or throws -28 when the limit is spent.
    void stepLimit();
    void startSlice();
    [[noreturn]] static void noLoop();
    void interpretToken(const QString &token);
    std::optional<ForthException> guarded(const std::function<void()> &work, bool wholeText);
    void registerWords();

    ForthScriptMessageInterface *m_messages;
    ForthLimits m_limits;
    // Steps are counted down in slices so the hot path tests one counter: `m_steps` is what
    // is left of the current slice, `m_stepsBeyondSlice` what the limit allows after it.
    qint64 m_steps = std::numeric_limits<qint64>::max();
    qint64 m_stepsBeyondSlice = 0;
    InterruptCheck m_interruptCheck;
    qint64 m_pollInterval = 0;
    qint32 m_nestDepth = 0;
    // Where each colon definition that `nest` entered in place returns to; every running `nest`
    // owns the entries above the size it found.
    std::vector<pcode *> m_returns;
    quintptr m_stackBase = 0;

    std::vector<std::unique_ptr<pcode>> m_dictionary;   // owns every word, linked or not
    std::vector<std::unique_ptr<Wordlist>> m_wordlists;
    std::vector<qint64> m_order;                        // back() is searched first
    Wordlist *m_currentWordlist = nullptr;
    PCFA *m_lastWord = nullptr;
    PCreateChild *m_lastCreated = nullptr;
    bool m_registering = true;

    std::vector<std::unique_ptr<Source>> m_sources;
    std::vector<std::unique_ptr<CSEntry>> m_control;
    PCFA *m_current = nullptr;
    std::vector<PLocalChild *> m_localScope;

    std::vector<LoopFrame> m_loops;
    std::vector<Cell> m_locals;
    qsizetype m_localsBase = 0;

    std::vector<std::unique_ptr<PMemory>> m_iAllot;
    std::vector<std::unique_ptr<PMemory>> m_uAllot;
    std::vector<std::unique_ptr<PMemory>> m_hAllot;
    PMemory *m_currentRegion = nullptr;
    PMemory *m_baseRegion = nullptr;
    PMemory *m_stateRegion = nullptr;
    qint64 m_usedCells = 0;

    std::vector<std::unique_ptr<QFile>> m_files;
    QString m_fileRoot;
    qint64 m_fileSourceIds = 1 << 20;   // SOURCE-ID of an included file that has no handle
};
