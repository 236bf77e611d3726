#include "script/es/ESAtom.h"
#include <algorithm>

namespace {

// Left to the end of the process unless `shutdown` is called: freeing hundreds of thousands
// of atoms one by one on the way out would take longer than many scripts run.
std::unique_ptr<ESAtomTable> &tableSlot()
{
    static auto *table = new std::unique_ptr<ESAtomTable>;
    return *table;
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

ESAtomTable::Key::Key(const QString &text) : text(text)
{
    const qsizetype size = text.size();
    constexpr qsizetype sampled = 64;
    if (size <= 2 * sampled) {
        hash = ::qHash(text, 0);
        return;
    }
    hash = ::qHash(QStringView(text).first(sampled), 0) ^ std::size_t(size);
    hash = hash * 31 + ::qHash(QStringView(text).last(sampled), 0);
    const qsizetype step = size / sampled;
    for (qsizetype i = 0; i < size; i += step)
        hash = hash * 31 + text.at(i).unicode();
}

std::size_t qHash(const ESAtomTable::Key &key, std::size_t seed) noexcept
{
    return key.hash ^ seed;
}

ESAtom *ESAtomTable::atomForWholeNumber(double number)
{
    // Element numbers of large arrays come back at every access: their atoms are remembered
    // by number. The table only grows in step with the numbers met, so one far index does not
    // reserve room for everything below it.
    constexpr std::size_t remembered = std::size_t(1) << 22;
    constexpr std::size_t growthStep = std::size_t(1) << 16;
    if (number < double(cachedNumbers))
        return m_numbers[unsigned(number)];
    const std::size_t index = number < double(remembered) ? std::size_t(number) : remembered;
    if (index >= remembered || index > 2 * m_largeNumbers.size() + growthStep)
        return intern(QString::number(qulonglong(number)));
    if (m_largeNumbers.size() <= index)
        m_largeNumbers.resize(std::max(index + 1, m_largeNumbers.size() * 3 / 2), nullptr);
    ESAtom *&atom = m_largeNumbers[index];
    if (!atom)
        atom = intern(QString::number(qulonglong(index)));
    return atom;
}

ESAtom *ESAtomTable::intern(const QString &text)
{
    const Key key(text);
    const auto it = m_map.constFind(key);
    if (it != m_map.constEnd())
        return it.value();
    m_atoms.push_back(std::make_unique<ESAtom>(int(m_atoms.size()), text));
    ESAtom *atom = m_atoms.back().get();
    m_map.insert(key, atom);
    return atom;
}

ESAtom *ESAtomTable::atomForIndex(unsigned index)
{
    if (index < unsigned(cachedNumbers))
        return m_numbers[index];
    return intern(QString::number(index));
}
