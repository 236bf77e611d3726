#include "script/es/ESAtom.h"

namespace {

std::unique_ptr<ESAtomTable> &tableSlot()
{
    static std::unique_ptr<ESAtomTable> table;
    return table;
}

} // namespace

ESAtomTable::ESAtomTable()
{
    for (int i = 0; i < cachedNumbers; ++i)
        m_numbers[i] = intern(QString::number(i));
    m_names.length = intern(QStringLiteral("length"));
    m_names.prototype = intern(QStringLiteral("prototype"));
    m_names.null = intern(QStringLiteral("null"));
    m_names.trueAtom = intern(QStringLiteral("true"));
    m_names.falseAtom = intern(QStringLiteral("false"));
    m_names.eval = intern(QStringLiteral("eval"));
    m_names.arguments = intern(QStringLiteral("arguments"));
    m_names.callee = intern(QStringLiteral("callee"));
    m_names.constructor = intern(QStringLiteral("constructor"));
    m_names.index = intern(QStringLiteral("index"));
}

ESAtomTable &ESAtomTable::instance()
{
    std::unique_ptr<ESAtomTable> &table = tableSlot();
    if (!table)
        table.reset(new ESAtomTable);
    return *table;
}

void ESAtomTable::shutdown()
{
    tableSlot().reset();
}

ESAtom *ESAtomTable::intern(const QString &text)
{
    const auto it = m_map.constFind(text);
    if (it != m_map.constEnd())
        return it.value();
    m_atoms.push_back(std::make_unique<ESAtom>(int(m_atoms.size()), text));
    ESAtom *atom = m_atoms.back().get();
    m_map.insert(text, atom);
    return atom;
}

ESAtom *ESAtomTable::atomForIndex(unsigned index)
{
    if (index < unsigned(cachedNumbers))
        return m_numbers[index];
    return intern(QString::number(index));
}
