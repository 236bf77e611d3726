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
    m_map.reserve(4096);
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

std::size_t qHash(const ESAtomTable::Key &key, std::size_t seed) noexcept
{
    const QString &text = key.text;
    const qsizetype size = text.size();
    constexpr qsizetype sampled = 64;
    if (size <= 2 * sampled)
        return ::qHash(text, seed);
    std::size_t hash = ::qHash(QStringView(text).first(sampled), seed) ^ std::size_t(size);
    hash = hash * 31 + ::qHash(QStringView(text).last(sampled), seed);
    const qsizetype step = size / sampled;
    for (qsizetype i = 0; i < size; i += step)
        hash = hash * 31 + text.at(i).unicode();
    return hash;
}

ESAtom *ESAtomTable::atomForWholeNumber(double number)
{
    constexpr std::size_t remembered = 1 << 16;
    if (number < double(cachedNumbers))
        return m_numbers[unsigned(number)];
    if (number >= double(remembered))
        return intern(QString::number(qulonglong(number)));
    const std::size_t index = std::size_t(number);
    if (m_largeNumbers.size() <= index)
        m_largeNumbers.resize(index + 1, nullptr);
    ESAtom *&atom = m_largeNumbers[index];
    if (!atom)
        atom = intern(QString::number(qulonglong(index)));
    return atom;
}

ESAtom *ESAtomTable::intern(const QString &text)
{
    const auto it = m_map.constFind(Key{text});
    if (it != m_map.constEnd())
        return it.value();
    m_atoms.push_back(std::make_unique<ESAtom>(int(m_atoms.size()), text));
    ESAtom *atom = m_atoms.back().get();
    m_map.insert(Key{text}, atom);
    return atom;
}

ESAtom *ESAtomTable::atomForIndex(unsigned index)
{
    if (index < unsigned(cachedNumbers))
        return m_numbers[index];
    return intern(QString::number(index));
}
