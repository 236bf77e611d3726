#include "script/forth/ScriptEngine.h"
#include "script/forth/ForthInline.h"
#include "script/forth/ForthWords.h"
#include <QFile>
#include <QFileInfo>
#include <cstdlib>

// Counts one level of native recursion (a call or a nested source) and puts the instruction
// pointer back on the way out, also when an exception passes.
class NestScope {
public:
    explicit NestScope(ScriptEngine &engine) : m_engine(engine), m_savedIp(engine.ip)
    {
        const quintptr here = quintptr(__builtin_frame_address(0));
        if (engine.m_nestDepth >= engine.m_limits.nestDepth
            || (engine.m_stackBase > here
                && engine.m_stackBase - here > quintptr(engine.m_limits.nativeStackBytes)))
            forthThrow(-5);
        ++engine.m_nestDepth;
    }
    ~NestScope()
    {
        --m_engine.m_nestDepth;
        m_engine.ip = m_savedIp;
    }
    NestScope(const NestScope &) = delete;
    NestScope &operator=(const NestScope &) = delete;

private:
    ScriptEngine &m_engine;
    pcode *const m_savedIp;
};

ScriptEngine::ScriptEngine(ForthScriptMessageInterface *messages, const Registrar &hostWords)
    : m_messages(messages)
{
    m_loops.reserve(ForthStack::capacity);
    Wordlist *const forth = newWordlist(QStringLiteral("FORTH"));
    m_order = {forth->id};
    m_currentWordlist = forth;
    m_baseRegion = m_hAllot.emplace_back(std::make_unique<PHMemory>()).get();
    m_baseRegion->name = QStringLiteral("BASE");
    m_baseRegion->cells.push_back(Cell::fromInteger(10));
    m_stateRegion = m_hAllot.emplace_back(std::make_unique<PHMemory>()).get();
    m_stateRegion->name = QStringLiteral("STATE");
    m_stateRegion->cells.push_back(Cell::fromInteger(0));
    registerForthWords(*this);
    if (hostWords)
        hostWords(*this);
    m_registering = false;
}

ScriptEngine::~ScriptEngine() = default;

void ScriptEngine::setLimits(const ForthLimits &limits)
{
    m_limits = limits;
    m_steps = 0;
    m_stepsBeyondSlice = limits.steps < 0 ? std::numeric_limits<qint64>::max() : limits.steps;
    startSlice();
}

void ScriptEngine::setInterruptCheck(InterruptCheck check, qint64 interval)
{
    m_stepsBeyondSlice += qMax<qint64>(m_steps, 0);
    m_steps = 0;
    m_interruptCheck = std::move(check);
    m_pollInterval = qMax<qint64>(interval, 1);
    startSlice();
}

void ScriptEngine::startSlice()
{
    const qint64 slice = m_interruptCheck ? qMin(m_pollInterval, m_stepsBeyondSlice) : m_stepsBeyondSlice;
    m_steps = slice;
    m_stepsBeyondSlice -= slice;
}

PCFA *ScriptEngine::addWord(const QString &name, std::unique_ptr<PCFA> word, quint32 flags)
{
    word->name = name;
    word->flags = flags;
    word->builtIn = m_registering;
    PCFA *const raw = own(std::move(word));
    linkWord(raw);
    return raw;
}

// ---- host entry points -------------------------------------------------------------------

std::optional<ForthException> ScriptEngine::guarded(const std::function<void()> &work,
                                                    bool wholeText)
{
    const bool outermost = m_stackBase == 0;
    if (outermost)
        m_stackBase = quintptr(__builtin_frame_address(0));
    std::optional<ForthException> failure;
    try {
        work();
        if (wholeText && (compiling() || !m_control.empty()))
            forthThrow(-39, QStringLiteral("unexpected EOF: definition not terminated"));
    } catch (ForthException &e) {
        failure = e;
    } catch (const std::bad_alloc &) {
        failure = ForthException(-17, QStringLiteral("out of memory"));
    }
    if (outermost)
        m_stackBase = 0;
    if (failure) {
        message(failure->report());
        resetAfterError();
    }
    return failure;
}

std::optional<ForthException> ScriptEngine::evaluateText(const QString &text, const QString &name)
{
    return guarded([&] { interpret(std::make_unique<StringSource>(name, text)); }, true);
}

std::optional<ForthException> ScriptEngine::includeFile(const QString &path)
{
    return guarded([&] { include(path); }, true);
}

std::optional<ForthException> ScriptEngine::interpretLine(const QString &line)
{
    return guarded([&] { interpret(std::make_unique<UserSource>(QStringLiteral("console"), line)); },
                   false);
}

void ScriptEngine::resetAfterError()
{
    dataStack.clear();
    returnStack.clear();
    m_loops.clear();
    m_locals.clear();
    m_localsBase = 0;
    m_returns.clear();
    m_control.clear();
    m_sources.clear();
    m_localScope.clear();
    m_current = nullptr;
    ip = nullptr;
    setState(0);
    if (m_order.empty())
        onlyOrder();
}

void ScriptEngine::stepLimit()
{
    if (m_stepsBeyondSlice <= 0) {
        m_steps = 0;
        forthThrow(-28);
    }
    startSlice();
    if (m_interruptCheck && m_interruptCheck())
        forthThrow(-28);
}

// ---- inner interpreter -------------------------------------------------------------------

// A call of a colon definition without locals is entered in place: its return is kept in
// `m_returns` rather than on the native stack, and the end of its chain (or EXIT) resumes the
// caller. Words with locals, and every word that runs through `run`, still recurse.
void ScriptEngine::nest(pcode *first)
{
    NestScope scope(*this);
    const std::size_t base = m_returns.size();
    struct Returns {
        std::vector<pcode *> &returns;
        const std::size_t base;
        ~Returns() { returns.resize(base); }
    } returns{m_returns, base};
    pcode *next = first;
    for (;;) {
        if (!next) {
            if (m_returns.size() == base)
                break;
            next = m_returns.back();
            m_returns.pop_back();
            continue;
        }
        pcode *const instruction = next;
        next = instruction->next;
        switch (instruction->op) {
        case Op::Label:
            break;
        case Op::Literal:
            dataStack.push(static_cast<PLiteralChild *>(instruction)->value);
            break;
        case Op::LiteralInteger:
            dataStack.pushInteger(static_cast<PLiteralChild *>(instruction)->value.integer);
            break;
        case Op::CallConstant:
            dataStack.push(static_cast<PConstantChild *>(static_cast<PCall *>(instruction)->target)->value);
            break;
        case Op::CallCreate: {
            auto *const word = static_cast<PCreateChild *>(static_cast<PCall *>(instruction)->target);
            dataStack.push(word->value);
            if (word->does)
                callColon(word->does);
            break;
        }
        case Op::CreateFetch:
            createFetch(static_cast<PCreateChild *>(static_cast<PCall *>(instruction)->target));
            break;
        case Op::CreateStore:
            createStore(static_cast<PCreateChild *>(static_cast<PCall *>(instruction)->target));
            break;
        case Op::LiteralPlus: case Op::LiteralMinus: case Op::LiteralStar: case Op::LiteralAnd:
        case Op::LiteralOr: case Op::LiteralXor: case Op::LiteralLess: case Op::LiteralGreater:
        case Op::LiteralEquals:
            literalArithmetic(instruction->op, static_cast<PLiteralChild *>(instruction)->value.integer);
            break;
        case Op::Branch:
            tick();
            next = static_cast<PBranch *>(instruction)->target;
            break;
        case Op::ZBranch: {
            const Cell &flag = dataStack.pop();
            if (flag.type == CellType::Integer ? flag.integer == 0 : !isTrue(flag)) {
                tick();
                next = static_cast<PBranch *>(instruction)->target;
            }
            break;
        }
        case Op::CallNest: {
            auto *const word = static_cast<PCFA *>(static_cast<PCall *>(instruction)->target);
            if (word->localCount != 0) {
                callColon(word);
                break;
            }
            tick();
            if (m_nestDepth + qint32(m_returns.size() - base) >= m_limits.nestDepth)
                forthThrow(-5);
            m_returns.push_back(next);
            next = word->bodyStart;
            break;
        }
        case Op::Nest:
            callColon(static_cast<PCFA *>(instruction));
            break;
        case Op::CallRun:
            execute(static_cast<PCall *>(instruction)->target);
            break;
        case Op::Exit:
            next = nullptr;
            break;
        case Op::DoRun: {
            dataStack.need(2);
            const qint64 index = dataStack.pop().toInteger();
            pushLoop(dataStack.pop().toInteger(), index, next);
            break;
        }
        case Op::QuestionDoRun: {
            dataStack.need(2);
            const qint64 index = dataStack.pop().toInteger();
            const qint64 limit = dataStack.pop().toInteger();
            if (index == limit)
                next = static_cast<PBranch *>(instruction)->target;
            else
                pushLoop(limit, index, next);
            break;
        }
        case Op::LoopRun:
            opLoop(next);
            break;
        case Op::PlusLoopRun:
            opPlusLoop(next);
            break;
        case Op::IRun:
            dataStack.pushInteger(loopFrame(0).index);
            break;
        case Op::JRun:
            dataStack.pushInteger(loopFrame(1).index);
            break;
        case Op::LocalFetch:
            dataStack.push(local(static_cast<PLocalFetch *>(instruction)->index));
            break;
        case Op::Plus: opPlus(); break;
        case Op::Minus: opMinus(); break;
        case Op::Star: opStar(); break;
        case Op::OnePlus: opOnePlus(); break;
        case Op::OneMinus: opOneMinus(); break;
        case Op::Dup: opDup(); break;
        case Op::Drop: opDrop(); break;
        case Op::Swap: opSwap(); break;
        case Op::Over: opOver(); break;
        case Op::Rot: opRot(); break;
        case Op::Less: opLess(); break;
        case Op::Greater: opGreater(); break;
        case Op::Equals: opEquals(); break;
        case Op::NotEquals: opNotEquals(); break;
        case Op::ZeroEquals: opZeroEquals(); break;
        case Op::And: opAnd(); break;
        case Op::Or: opOr(); break;
        case Op::Xor: opXor(); break;
        case Op::Fetch: opFetch(); break;
        case Op::Store: opStore(); break;
        case Op::ToR: opToR(); break;
        case Op::RFrom: opRFrom(); break;
        case Op::RFetch: opRFetch(); break;
        case Op::Run:
            ip = next;
            instruction->run(*this);
            next = ip;
            break;
        }
    }
}

void ScriptEngine::execute(pcode *word)
{
    pcode *const saved = ip;
    ip = nullptr;
    word->run(*this);
    ip = saved;
}

void ScriptEngine::callColon(PCFA *word)
{
    tick();
    if (word->localCount == 0) {
        nest(word->bodyStart);
        return;
    }
    // A frame of locals per activation, dropped again however the word ends.
    struct Frame {
        ScriptEngine &engine;
        const qsizetype savedBase;
        ~Frame()
        {
            engine.m_locals.resize(size_t(engine.m_localsBase));
            engine.m_localsBase = savedBase;
        }
    } frame{*this, m_localsBase};
    m_localsBase = qsizetype(m_locals.size());
    m_locals.resize(m_locals.size() + size_t(word->localCount));
    nest(word->bodyStart);
}

// ---- outer interpreter -------------------------------------------------------------------

void ScriptEngine::evaluate(const QString &text)
{
    interpret(std::make_unique<StringSource>(QStringLiteral("<evaluate>"), text));
}

void ScriptEngine::include(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        forthThrow(-38, QStringLiteral("non-existent file: %1").arg(path));
    if (file.size() > (qint64(1) << 26))
        forthThrow(-37, QStringLiteral("file too large: %1").arg(path));
    const QString text = QString::fromUtf8(file.readAll());
    interpret(std::make_unique<FileSource>(path, text, 0));
}

void ScriptEngine::interpret(std::unique_ptr<Source> source)
{
    if (qint32(m_sources.size()) >= m_limits.sourceDepth)
        forthThrow(-5, QStringLiteral("input nesting too deep: %1").arg(source->name));
    NestScope scope(*this);
    m_sources.push_back(std::move(source));
    struct Pop {
        std::vector<std::unique_ptr<Source>> &sources;
        const size_t size;
        ~Pop() { if (sources.size() >= size) sources.resize(size - 1); }
    } pop{m_sources, m_sources.size()};
    Source &current = *m_sources.back();
    QString token;
    try {
        for (;;) {
            token = parseName();
            if (token.isEmpty()) {
                if (!current.refill(*this))
                    break;
                continue;
            }
            tick();
            interpretToken(token);
        }
    } catch (ForthException &e) {
        if (!e.located) {
            e.located = true;
            e.sourceFile = current.name;
            e.sourceLine = current.lineNumber;
            e.word = token;
        }
        throw;
    }
}

void ScriptEngine::interpretToken(const QString &token)
{
    const bool compilingNow = compiling();
    if (compilingNow) {
        if (const PLocalChild *localWord = findLocal(token)) {
            compile(std::make_unique<PLocalFetch>(localWord->index));
            return;
        }
    }
    if (PCFA *const word = findWord(token)) {
        if (compilingNow && !(word->flags & WordFlags::immediate))
            compileCall(word);
        else
            execute(word);
        return;
    }
    Cell number;
    if (!parseNumber(token, number))
        forthThrow(-13);
    if (compilingNow)
        compileLiteral(number);
    else
        dataStack.push(std::move(number));
}

bool ScriptEngine::refillSource()
{
    Source *const current = source();
    return current && current->refill(*this);
}

QString ScriptEngine::parseName()
{
    Source *const current = source();
    if (!current)
        return {};
    const QString &line = current->buffer;
    qint32 pos = current->pos;
    const qint32 size = qint32(line.size());
    while (pos < size && line.at(pos).unicode() <= ' ')
        ++pos;
    const qint32 start = pos;
    while (pos < size && line.at(pos).unicode() > ' ')
        ++pos;
    current->pos = pos < size ? pos + 1 : pos;
    return line.mid(start, pos - start);
}

QString ScriptEngine::requireName()
{
    const QString name = parseName();
    if (name.isEmpty())
        forthThrow(-16, QStringLiteral("attempt to use zero-length string as a name"));
    return name;
}

QString ScriptEngine::parse(QChar delimiter, bool *found)
{
    Source *const current = source();
    if (!current) {
        if (found)
            *found = false;
        return {};
    }
    const QString &line = current->buffer;
    const qint32 start = qMin(current->pos, qint32(line.size()));
    const qsizetype end = line.indexOf(delimiter, start);
    if (found)
        *found = end >= 0;
    if (end < 0) {
        current->pos = qint32(line.size());
        return line.mid(start);
    }
    current->pos = qint32(end) + 1;
    return line.mid(start, end - start);
}

QString ScriptEngine::parseAcrossLines(QChar delimiter)
{
    QString text;
    for (;;) {
        bool found = false;
        text += parse(delimiter, &found);
        if (found)
            return text;
        if (!refillSource())
            forthThrow(-39, QStringLiteral("unexpected EOF: missing '%1'").arg(delimiter));
        text += QLatin1Char('\n');
    }
}

bool ScriptEngine::parseNumber(const QString &token, Cell &number) const
{
    bool floatChars = true;
    bool hasExponent = false;
    bool hasDigit = false;
    for (const QChar c : token) {
        if (c.isDigit() && c.unicode() < 128)
            hasDigit = true;
        else if (c == QLatin1Char('E') || c == QLatin1Char('e'))
            hasExponent = true;
        else if (c != QLatin1Char('+') && c != QLatin1Char('-') && c != QLatin1Char('.'))
            floatChars = false;
    }
    if (floatChars && hasExponent && hasDigit) {
        QByteArray text = token.toLatin1();
        if (text.endsWith('E') || text.endsWith('e'))
            text += '0';
        char *end = nullptr;
        const double value = std::strtod(text.constData(), &end);
        if (end == text.constData() + text.size()) {
            number = Cell::fromFloat(value);
            return true;
        }
    }
    const unsigned radix = unsigned(base());
    qsizetype pos = 0;
    const bool negative = token.startsWith(QLatin1Char('-'));
    if (negative || token.startsWith(QLatin1Char('+')))
        pos = 1;
    if (pos >= token.size())
        return false;
    quint64 value = 0;
    for (; pos < token.size(); ++pos) {
        const unsigned digit = Cell::digitValue(token.at(pos));
        if (digit >= radix)
            return false;
        value = value * quint64(radix) + quint64(digit);
    }
    number = Cell::fromInteger(qint64(negative ? 0 - value : value));
    return true;
}
