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

// The number a canonical decimal text names (no sign, no leading zero), or -1 when the text is
// none or the number reaches `limit`.
qint64 canonicalNumber(QStringView text, qint64 limit)
{
    const qsizetype size = text.size();
    if (size == 0 || size > 10 || (size > 1 && text.front() == QLatin1Char('0')))
        return -1;
    qint64 number = 0;
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
        number = number * 10 + (c.unicode() - '0');
    }
    return number < limit ? number : -1;
}

} // namespace

ESAtom::ESAtom(int index, QString text)
    : index(index), text(std::move(text)), element(qint32(canonicalNumber(this->text, 0x7fffffff)))
{
}

ESAtomTable::ESAtomTable()
{
    m_map.reserve(4096);
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

void ESAtomTable::releaseAbove(int count)
{
    while (int(m_atoms.size()) > count) {
        const ESAtom *atom = m_atoms.back().get();
        const qint64 number = canonicalNumber(atom->text, numberAtoms);
        if (number >= 0)
            (*m_numberChunks[std::size_t(number) / chunkSize])[std::size_t(number) % chunkSize] = nullptr;
        else
            m_map.remove(Key(atom->text));
        m_atoms.pop_back();
    }
}

ESAtom *ESAtomTable::newAtom(const QString &text)
{
    m_atoms.push_back(std::make_unique<ESAtom>(int(m_atoms.size()), text));
    return m_atoms.back().get();
}

ESAtom *ESAtomTable::numberAtom(std::uint32_t number)
{
    const std::size_t chunk = number / chunkSize;
    if (chunk >= m_numberChunks.size())
        m_numberChunks.resize(chunk + 1);
    if (!m_numberChunks[chunk]) {
        m_numberChunks[chunk] = std::make_unique<NumberChunk>();
        m_numberChunks[chunk]->fill(nullptr);
    }
    ESAtom *&atom = (*m_numberChunks[chunk])[number % chunkSize];
    if (!atom) {
        char16_t digits[10];
        char16_t *begin = std::end(digits);
        std::uint32_t rest = number;
        do {
            *--begin = char16_t(u'0' + rest % 10);
            rest /= 10;
        } while (rest);
        atom = newAtom(QString(reinterpret_cast<const QChar *>(begin), std::end(digits) - begin));
    }
    return atom;
}

ESAtom *ESAtomTable::atomForWholeNumber(double number)
{
    if (number < double(numberAtoms))
        return numberAtom(std::uint32_t(number));
    return intern(QString::number(qulonglong(number)));
}

ESAtom *ESAtomTable::intern(const QString &text)
{
    const qint64 number = canonicalNumber(text, numberAtoms);
    if (number >= 0)
        return numberAtom(std::uint32_t(number));
    const Key key(text);
    const auto it = m_map.constFind(key);
    if (it != m_map.constEnd())
        return it.value();
    ESAtom *atom = newAtom(text);
    m_map.insert(key, atom);
    return atom;
}

ESAtom *ESAtomTable::atomForIndex(unsigned index)
{
    if (index < numberAtoms)
        return numberAtom(index);
    return intern(QString::number(index));
}
