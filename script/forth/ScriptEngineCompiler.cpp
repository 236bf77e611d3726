// Dictionary look-up and compilation of the script engine.
#include "script/forth/ScriptEngine.h"
#include <algorithm>

PCFA *ScriptEngine::findWord(const QString &name) const
{
    for (auto it = m_order.rbegin(); it != m_order.rend(); ++it) {
        if (PCFA *const word = m_wordlists.at(size_t(*it))->find(name))
            return word;
    }
    return nullptr;
}

PLocalChild *ScriptEngine::findLocal(const QString &name) const
{
    for (auto it = m_localScope.rbegin(); it != m_localScope.rend(); ++it) {
        if ((*it)->name == name)
            return *it;
    }
    return nullptr;
}

PCFA *ScriptEngine::requireWord(const QString &name) const
{
    PCFA *const word = findWord(name);
    if (!word)
        forthThrow(-13, QStringLiteral("undefined word: %1").arg(name));
    return word;
}

void ScriptEngine::linkWord(PCFA *word)
{
    Wordlist *const list = m_currentWordlist;
    if (PCFA *const old = list->find(word->name)) {
        if (old->builtIn && !m_registering) {
            message(QStringLiteral("redefining built-in %1").arg(word->name));
        } else if (!m_registering) {
            QString where;
            if (!old->sourceFile.isEmpty())
                where = QStringLiteral(" (%1:%2)").arg(old->sourceFile).arg(old->sourceLine);
            message(QStringLiteral("redefining %1 in vocabulary %2 previously defined here%3")
                        .arg(word->name, list->name, where));
        }
        word->previous = old;
    }
    if (!m_registering) {
        if (const Source *const current = source()) {
            word->sourceFile = current->name;
            word->sourceLine = current->lineNumber;
        }
    }
    word->wordlist = list;
    list->words.insert(word->name, word);
    m_lastWord = word;
}

bool ScriptEngine::compiling() const
{
    const Cell &state = m_stateRegion->cells.front();
    return state.type == CellType::Integer && state.integer != 0;
}

void ScriptEngine::setState(qint64 state)
{
    m_stateRegion->cells.front().setInteger(state);
}

PCFA *ScriptEngine::needDefinition() const
{
    if (!m_current)
        forthThrow(-14);
    return m_current;
}

void ScriptEngine::beginDefinition(std::unique_ptr<PCFA> definition, bool named)
{
    if (m_current)
        forthThrow(-22, QStringLiteral("definition inside a definition"));
    if (named)
        definition->name = requireName();
    definition->smudge = true;
    if (const Source *const current = source()) {
        definition->sourceFile = current->name;
        definition->sourceLine = current->lineNumber;
    }
    m_current = own(std::move(definition));
    m_localScope.clear();
    pushControl(std::make_unique<CSColonSys>(m_current));
    setState(1);
}

void ScriptEngine::endDefinition()
{
    const CSEntry *const top = controlTop();
    if (!dynamic_cast<const CSColonSys *>(top))
        forthThrow(-22, QStringLiteral(
                            "no <colon-sys> on control stack; unterminated control structure"));
    if (!m_current)
        forthThrow(-256);
    const std::unique_ptr<CSColonSys> colon = popControlAs<CSColonSys>();
    PCFA *const definition = colon->definition;
    m_current->seal();
    definition->seal();
    definition->smudge = false;
    m_current = nullptr;
    m_localScope.clear();
    setState(0);
    if (dynamic_cast<PColonNonameChild *>(definition))
        dataStack.push(definition->cfa());
    else
        linkWord(definition);
}

namespace {

// The end of a defining word's own chain: it hands the rest of the definition to the word
// that CREATE made last.
class PDoesRun : public pcode {
public:
    explicit PDoesRun(PCFA *action) : m_action(action) {}
    void run(ScriptEngine &engine) override
    {
        PCreateChild *const created = engine.lastCreated();
        if (!created)
            forthThrow(-269, QStringLiteral("DOES> without CREATE"));
        created->does = m_action;
        engine.ip = nullptr;
    }

private:
    PCFA *m_action;
};

} // namespace

void ScriptEngine::beginDoesPart()
{
    PCFA *const definition = needDefinition();
    auto action = std::make_unique<PDoesChild>();
    action->name = definition->name + QStringLiteral("-DOES>");
    action->sourceFile = definition->sourceFile;
    action->sourceLine = definition->sourceLine;
    PDoesChild *const does = own(std::move(action));
    compile(std::make_unique<PDoesRun>(does));
    definition->seal();
    m_current = does;
    m_localScope.clear();
}

pcode *ScriptEngine::compile(std::unique_ptr<pcode> instruction)
{
    if (!m_current)
        forthThrow(-256);
    if (const Source *const current = source()) {
        instruction->sourceFile = current->name;
        instruction->sourceLine = current->lineNumber;
    }
    return m_current->append(std::move(instruction));
}

void ScriptEngine::compileCall(pcode *word)
{
    auto call = std::make_unique<PCall>(word);
    call->name = word->name;
    compile(std::move(call));
}

void ScriptEngine::compileLiteral(const Cell &value)
{
    compile(std::make_unique<PLiteralChild>(value));
}

pcode *ScriptEngine::compileLabel()
{
    return compile(std::make_unique<PLabel>());
}

void ScriptEngine::declareLocal(const QString &name, bool takeFromStack)
{
    PCFA *const definition = needDefinition();
    const qint32 index = definition->localCount++;
    pcode *const store = definition->keep(std::make_unique<PLocalStore>(index));
    store->name = name;
    auto entry = std::make_unique<PLocalChild>(index, store);
    entry->name = name;
    m_localScope.push_back(static_cast<PLocalChild *>(definition->keep(std::move(entry))));
    if (takeFromStack)
        compileCall(store);
}

void ScriptEngine::pushControl(std::unique_ptr<CSEntry> entry)
{
    if (m_control.size() >= 4096)
        forthThrow(-22, QStringLiteral("control structures nested too deep"));
    m_control.push_back(std::move(entry));
}

std::unique_ptr<CSEntry> ScriptEngine::popControl()
{
    if (m_control.empty())
        forthThrow(-22, QStringLiteral("control stack underflow"));
    std::unique_ptr<CSEntry> entry = std::move(m_control.back());
    m_control.pop_back();
    return entry;
}

CSDoSys *ScriptEngine::innermostDo() const
{
    for (auto it = m_control.rbegin(); it != m_control.rend(); ++it) {
        if (auto *const loop = dynamic_cast<CSDoSys *>(it->get()))
            return loop;
        if (dynamic_cast<CSColonSys *>(it->get()))
            break;
    }
    return nullptr;
}

QStringList ScriptEngine::completions(const QString &prefix) const
{
    QStringList names;
    for (const qint64 id : m_order) {
        const Wordlist *const list = m_wordlists.at(size_t(id)).get();
        for (auto it = list->words.lowerBound(prefix);
             it != list->words.cend() && it.key().startsWith(prefix); ++it)
            names.append(it.key());
    }
    names.removeDuplicates();
    std::sort(names.begin(), names.end());
    return names;
}
