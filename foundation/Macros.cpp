#include "foundation/Macros.h"
#include "foundation/PropertyClass.h"
#include <QList>
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
                bool useSystem)
        : m_table(table),
          m_global(system && useGlobal ? &system->globalMacros : nullptr),
          m_system(system && useSystem ? &system->macros : nullptr)
    {
    }

    [[nodiscard]] std::optional<QString> value(const QString &name) const
    {
        const QString *stored = find(name);
        if (!stored)
            return std::nullopt;
        if (!m_now.isValid() && isComputed(name))
            m_now = QDateTime::currentDateTime();
        if (std::optional<QString> computed = computedMacroValue(name, m_now))
            return computed;
        return *stored;
    }

private:
    const QString *find(const QString &name) const
    {
        for (const MacroTable *map : {&m_table, m_global, m_system}) {
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
        for (const ComputedMacro &macro : computedMacros)
            if (name == QLatin1String(macro.name))
                return true;
        return false;
    }

    const MacroTable &m_table;
    const MacroTable *m_global;
    const MacroTable *m_system;
    mutable QDateTime m_now;   // taken once per expansion, on the first computed macro
};

// Position of the `)` that closes each `(` of the text, -1 where none does; one pass with a
// stack, so that a text full of unclosed references costs linear time, not quadratic.
std::vector<qsizetype> matchingParentheses(const QString &text)
{
    std::vector<qsizetype> match(size_t(text.size()), -1);
    std::vector<qsizetype> open;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'(') {
            open.push_back(i);
        } else if (text[i] == u')' && !open.empty()) {
            match[size_t(open.back())] = i;
            open.pop_back();
        }
    }
    return match;
}

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
    QString fallback;
    if (colon < 0) {
        fallback = text.mid(begin - 2, end - begin + 3);
    } else if (colon + 1 < body.size() && body[colon + 1] == u':') {
        fallback = body.mid(colon + 2).toString();
        again = false;
    } else {
        fallback = body.mid(colon + 1).toString();
    }
    const QString name = (colon < 0 ? body : body.left(colon)).toString();
    return lookup.value(name).value_or(fallback);
}

Pass expandOnce(const MacroLookup &lookup, QChar macroCharacter, const QString &text)
{
    Pass pass;
    pass.text.reserve(text.size());
    const qsizetype size = text.size();
    std::vector<qsizetype> match;   // computed on the first reference
    std::vector<qsizetype> characterCount;   // macro characters in text[0, i)
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
            if (match.empty()) {
                match = matchingParentheses(text);
                characterCount.assign(size_t(size) + 1, 0);
                for (qsizetype k = 0; k < size; ++k)
                    characterCount[size_t(k) + 1] =
                        characterCount[size_t(k)] + (text[k] == macroCharacter ? 1 : 0);
            }
            const qsizetype close = match[size_t(i) + 1];
            const qsizetype bodyEnd = close < 0 ? size : close;
            if (characterCount[size_t(bodyEnd)] > characterCount[size_t(i) + 2])
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
    const MacroLookup lookup(system, table, useGlobalMacros, useSystemMacros);
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
