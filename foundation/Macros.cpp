#include "foundation/Macros.h"
#include "foundation/PropertyClass.h"
#include <QList>
#include <algorithm>
#include <vector>

namespace {

struct ComputedMacro {
    const char *name;
    const char *format;   // nullptr: seconds since 1970
};

constexpr ComputedMacro computedMacros[] = {
    {"Date", "d MMMM yyyy"}, {"DateYear", "yyyy"},    {"DateMonth", "MM"},
    {"DateDay", "dd"},       {"Time", "hh:mm:ss"},    {"TimeHour", "hh"},
    {"TimeMinute", "mm"},    {"TimeSecond", "ss"},    {"UnixTime", nullptr},
};

// Where a name is looked up, in order, and with which macro character references start.
class MacroLookup {
public:
    MacroLookup(const PropertyClassList *system, const MacroTable &table, bool useGlobal,
                bool useSystem, const MacroTable *overlay = nullptr)
        : m_overlay(overlay), m_table(table),
          m_global(system && useGlobal ? &system->globalMacros : nullptr),
          m_system(system && useSystem ? &system->macros : nullptr)
    {
    }

    [[nodiscard]] std::optional<QString> value(const QString &name) const
    {
        const QString *stored = find(name);
        if (!stored)
            return std::nullopt;
        if (!isComputed(name))
            return *stored;
        if (!m_now.isValid())
            m_now = QDateTime::currentDateTime();
        return computedMacroValue(name, m_now);
    }

private:
    const QString *find(const QString &name) const
    {
        for (const MacroTable *map : {m_overlay, &m_table, m_global, m_system}) {
            if (!map)
                continue;
            const auto it = map->constFind(name);
            if (it != map->constEnd())
                return &it.value();
        }
        return nullptr;
    }

    static bool isComputed(const QString &name)
    {
        if (name.isEmpty() || (name[0] != u'D' && name[0] != u'T' && name[0] != u'U'))
            return false;
        for (const ComputedMacro &macro : computedMacros)
            if (name == QLatin1String(macro.name))
                return true;
        return false;
    }

    const MacroTable *m_overlay;   // searched before the table, when given
    const MacroTable &m_table;
    const MacroTable *m_global;
    const MacroTable *m_system;
    mutable QDateTime m_now;   // taken once per expansion, on the first computed macro
};

// The references of one text: where each `$(` is closed, and where the macro characters are.
// Built in one pass with a stack, so that a text full of unclosed references costs linear time
// and memory in the number of references, not quadratic time.
class ReferenceIndex {
public:
    ReferenceIndex(const QString &text, QChar macroCharacter)
    {
        std::vector<std::pair<qsizetype, qsizetype>> open;   // position, reference or -1
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar c = text[i];
            if (c == macroCharacter)
                m_characters.push_back(i);
            if (c == u'(') {
                const bool reference = i > 0 && text[i - 1] == macroCharacter;
                if (reference) {
                    m_opens.push_back(i);
                    m_closes.push_back(-1);
                }
                open.emplace_back(i, reference ? qsizetype(m_opens.size()) - 1 : -1);
            } else if (c == u')' && !open.empty()) {
                if (open.back().second >= 0)
                    m_closes[size_t(open.back().second)] = i;
                open.pop_back();
            }
        }
    }

    // The `)` closing the `(` at `position`, -1 if none does.
    [[nodiscard]] qsizetype closeOf(qsizetype position) const
    {
        const auto it = std::lower_bound(m_opens.begin(), m_opens.end(), position);
        return it != m_opens.end() && *it == position ? m_closes[size_t(it - m_opens.begin())]
                                                      : -1;
    }

    // Whether a macro character stands in [begin, end).
    [[nodiscard]] bool hasCharacter(qsizetype begin, qsizetype end) const
    {
        const auto it = std::lower_bound(m_characters.begin(), m_characters.end(), begin);
        return it != m_characters.end() && *it < end;
    }

private:
    std::vector<qsizetype> m_opens;
    std::vector<qsizetype> m_closes;
    std::vector<qsizetype> m_characters;
};

struct Pass {
    QString text;
    bool again = false;
    bool truncated = false;
};

// The reference whose body is text[begin, end): the looked-up value or the fallback.
QString resolveReference(const MacroLookup &lookup, const QString &text, qsizetype begin,
                         qsizetype end, bool &again)
{
    const QStringView body = QStringView(text).mid(begin, end - begin);
    const qsizetype colon = body.indexOf(u':');
    const bool literal = colon >= 0 && colon + 1 < body.size() && body[colon + 1] == u':';
    if (literal)
        again = false;
    if (std::optional<QString> value = lookup.value((colon < 0 ? body : body.left(colon)).toString()))
        return *value;
    if (colon < 0)   // the reference itself, so an unknown macro stays as it was written
        return text.mid(begin - 2, end - begin + 3);
    return body.mid(colon + (literal ? 2 : 1)).toString();
}

Pass expandOnce(const MacroLookup &lookup, QChar macroCharacter, const QString &text)
{
    Pass pass;
    pass.text.reserve(text.size());
    const qsizetype size = text.size();
    std::optional<ReferenceIndex> index;   // made on the first reference
    for (qsizetype i = 0; i < size;) {
        if (pass.text.size() > maxExpandedLength) {
            pass.truncated = true;
            break;
        }
        const qsizetype next = text.indexOf(macroCharacter, i);
        if (next != i) {
            const qsizetype end = next < 0 ? size : next;
            pass.text.append(QStringView(text).mid(i, end - i));
            i = end;
            continue;
        }
        const QChar follower = i + 1 < size ? text[i + 1] : QChar();
        if (follower == u'(' && macroCharacter != u'(') {
            if (!index)
                index.emplace(text, macroCharacter);
            const qsizetype close = index->closeOf(i + 1);
            if (index->hasCharacter(i + 2, close < 0 ? size : close))
                pass.again = true;
            if (close < 0) {
                ++i;   // unclosed: the macro character is dropped, the rest copied as it stands
                continue;
            }
            pass.text += resolveReference(lookup, text, i + 2, close, pass.again);
            i = close + 1;
        } else if (follower == macroCharacter) {
            pass.text += macroCharacter;
            i += 2;
        } else {
            pass.text += macroCharacter;
            ++i;
        }
    }
    return pass;
}

} // namespace

QString expandMacros(const PropertyClassList *system, const MacroTable &table,
                     const QString &text, bool useGlobalMacros, bool useSystemMacros,
                     bool *truncated)
{
    return expandMacros(system, MacroTable(), table, text, useGlobalMacros, useSystemMacros,
                        truncated);
}

QString expandMacros(const PropertyClassList *system, const MacroTable &overlay,
                     const MacroTable &table, const QString &text, bool useGlobalMacros,
                     bool useSystemMacros, bool *truncated)
{
    const MacroLookup lookup(system, table, useGlobalMacros, useSystemMacros,
                             overlay.isEmpty() ? nullptr : &overlay);
    const QChar macroCharacter = system ? system->macroCharacter : QChar(u'$');
    if (truncated)
        *truncated = false;
    QString current = text;
    for (int passes = 0;; ++passes) {
        Pass pass = expandOnce(lookup, macroCharacter, current);
        if (pass.truncated && truncated)
            *truncated = true;
        const bool unchanged = pass.text == current;
        current = std::move(pass.text);
        if (!pass.again || pass.truncated || unchanged || passes + 1 >= maxExpansionPasses
            || current.size() > maxExpandedLength)
            return current;
    }
}

std::optional<QString> computedMacroValue(const QString &name, const QDateTime &now)
{
    for (const ComputedMacro &macro : computedMacros) {
        if (name != QLatin1String(macro.name))
            continue;
        if (!macro.format)
            return QString::number(now.toSecsSinceEpoch());
        return now.toString(QLatin1String(macro.format));
    }
    return std::nullopt;
}

MacroTable parseMacroDefinitions(const QString &text)
{
    QStringList items;
    QString item;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\\') {
            if (++i < text.size())
                item += text[i];
        } else if (c == u';') {
            items.append(item);
            item.clear();
        } else {
            item += c;
        }
    }
    items.append(item);

    MacroTable table;
    for (const QString &entry : std::as_const(items)) {
        if (entry.isEmpty())
            continue;
        const qsizetype equals = entry.indexOf(u'=');
        if (equals < 0)
            table.insert(entry, QString());
        else
            table.insert(entry.left(equals), entry.mid(equals + 1));
    }
    return table;
}

MacroTable mergeMacros(const MacroTable &base, const MacroTable &extra)
{
    MacroTable merged = base;
    for (auto it = extra.constBegin(); it != extra.constEnd(); ++it)
        merged.insert(it.key(), it.value());
    return merged;
}
