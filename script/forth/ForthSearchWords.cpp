#include "script/forth/ForthSearchWords.h"
#include "script/forth/ScriptEngine.h"

namespace {

void replaceFirst(ScriptEngine &engine, qint64 list)
{
    std::vector<qint64> &order = engine.order();
    if (order.empty())
        order.push_back(list);
    else
        order.back() = list;
}

// Pushes xt 1 for an immediate word, xt -1 for another; nothing when `word` is null.
bool pushFound(ScriptEngine &engine, PCFA *word)
{
    if (!word)
        return false;
    engine.dataStack.push(word->cfa());
    engine.dataStack.pushInteger(word->flags & WordFlags::immediate ? 1 : -1);
    return true;
}

} // namespace

void FForth::run(ScriptEngine &engine)
{
    replaceFirst(engine, 0);
}

void FDefinitions::run(ScriptEngine &engine)
{
    if (engine.order().empty())
        forthThrow(-50);
    engine.setCurrentWordlist(engine.wordlist(engine.order().back()));
}

void FFind::run(ScriptEngine &engine)
{
    // ( string -- string 0 | xt 1 | xt -1 )
    const QString name = engine.dataStack.top().toStringValue();
    PCFA *const word = engine.findWord(name);
    if (!word) {
        engine.dataStack.pushInteger(0);
        return;
    }
    engine.dataStack.drop(1);
    pushFound(engine, word);
}

void FForthWordList::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(0);
}

void FGetCurrent::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.currentWordlist()->id);
}

void FGetOrder::run(ScriptEngine &engine)
{
    const std::vector<qint64> order = engine.order();
    engine.dataStack.room(int(order.size()) + 1);
    for (const qint64 id : order)
        engine.dataStack.pushInteger(id);
    engine.dataStack.pushInteger(qint64(order.size()));
}

void FSearchWordList::run(ScriptEngine &engine)
{
    // ( string wid -- 0 | xt 1 | xt -1 )
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    Wordlist *const list = engine.wordlist(stack.at(0).toInteger());
    const QString name = stack.at(1).toStringValue();
    stack.drop(2);
    if (!pushFound(engine, list->find(name)))
        stack.pushInteger(0);
}

void FSetCurrent::run(ScriptEngine &engine)
{
    Wordlist *const list = engine.wordlist(engine.dataStack.top().toInteger());
    engine.dataStack.drop(1);
    engine.setCurrentWordlist(list);
}

void FSetOrder::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    const qint64 count = stack.top().toInteger();
    if (count == -1) {
        stack.drop(1);
        engine.onlyOrder();
        return;
    }
    if (count > 8)
        forthThrow(-49);
    if (count < 0 || count >= stack.depth())
        forthThrow(-24);
    std::vector<qint64> order;
    for (int i = int(count); i >= 1; --i)
        order.push_back(stack.at(i).toInteger());
    engine.setOrder(order);
    stack.drop(int(count) + 1);
}

void FWordList::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.newWordlist(QStringLiteral("ANON-WORDLIST"))->id);
}

void FWords::run(ScriptEngine &engine)
{
    if (engine.order().empty())
        return;
    const Wordlist *const list = engine.wordlist(engine.order().back());
    engine.type(QStringList(list->words.keys()).join(QLatin1Char(' ')) + QLatin1Char('\n'));
}

void FAlso::run(ScriptEngine &engine)
{
    std::vector<qint64> order = engine.order();
    if (order.empty())
        forthThrow(-50);
    order.push_back(order.back());
    engine.setOrder(order);
}

void FOrder::run(ScriptEngine &engine)
{
    QString text;
    const std::vector<qint64> &order = engine.order();
    for (auto it = order.rbegin(); it != order.rend(); ++it)
        text += engine.wordlist(*it)->name + QLatin1Char(' ');
    text += QStringLiteral(" %1 (current)\n").arg(engine.currentWordlist()->name);
    engine.type(text);
}

void FOnly::run(ScriptEngine &engine)
{
    engine.onlyOrder();
}

void FPrevious::run(ScriptEngine &engine)
{
    if (engine.order().empty())
        forthThrow(-50);
    engine.order().pop_back();
}

void FVocabulary::run(ScriptEngine &engine)
{
    const QString name = engine.requireName();
    const qint64 list = engine.newWordlist(name)->id;
    auto word = std::make_unique<FVocabularyChild>(list);
    word->name = name;
    engine.linkWord(engine.own(std::move(word)));
}

void FVocabularyChild::run(ScriptEngine &engine)
{
    replaceFirst(engine, list);
}
