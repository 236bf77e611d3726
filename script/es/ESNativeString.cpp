#include "script/es/ESNativeClass.h"
#include "script/es/ESContext.h"
#include <QCollator>
#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <unordered_map>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// The text a prototype method works on: a string `this` as it is (the interpreter calls the
// library on a string without wrapping it), anything else through toObject, then its text.
QString thisText(ESNativeCall &call)
{
    ESContext &context = call.context;
    if (call.thisValue.isString())
        return context.toESString(call.thisValue);
    ESObject *object = context.toObject(call.thisValue);
    if (context.isString(object))
        return object->primitive.isString() ? context.toESString(object->primitive) : QString();
    return context.toESString(ESValue::fromObject(object));
}

QString argumentText(ESNativeCall &call, int index)
{
    return call.context.toESString(call.argument(index));
}

double integerArgument(ESNativeCall &call, int index)
{
    return ESContext::toInteger(call.context.toNumber(call.argument(index)));
}

// A position argument clamped to 0..length; `absent` when the argument is undefined.
qsizetype clampedArgument(ESNativeCall &call, int index, qsizetype length, qsizetype absent)
{
    if (call.argument(index).isUndefined())
        return absent;
    return qsizetype(std::clamp(integerArgument(call, index), 0.0, double(length)));
}

void setText(ESNativeCall &call, const QString &text)
{
    if (text.size() > call.context.limits.textLength)
        call.context.throwRangeError(QStringLiteral("string too long"));
    call.setResult(ESContext::newString(text));
}

void setNumber(ESNativeCall &call, double number)
{
    call.setResult(ESValue::fromNumber(number));
}

void stringCall(ESNativeCall &call)
{
    ESContext &context = call.context;
    const ESValue &value = call.arguments[0];
    call.setResult(value.isString() ? value : ESContext::newString(context.toESString(value)));
}

ESObject *stringConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    const ESValue value = call.argument(0);
    return context.newObject(context.stringPrototype, context.stringClass.get(),
                             value.isString() ? value
                                              : ESContext::newString(context.toESString(value)));
}

void fromCharCode(ESNativeCall &call)
{
    QString text(call.argumentCount, Qt::Uninitialized);
    for (int i = 0; i < call.argumentCount; ++i)
        text[i] = QChar(ESContext::toUint16(call.context.toNumber(call.arguments[i])));
    setText(call, text);
}

// toString and valueOf: the wrapped text of a String object (or of a string value).
void wrappedText(ESNativeCall &call, const QString &message)
{
    ESContext &context = call.context;
    const ESValue self = call.thisValue;
    if (self.isString()) {
        call.setResult(self);
        return;
    }
    if (!self.isObject() || !self.object || !context.isString(self.object))
        context.throwTypeError(message);
    setText(call, thisText(call));
}

void toString(ESNativeCall &call)
{
    wrappedText(call, QStringLiteral("String.prototype.toString called on non-String object"));
}

void valueOf(ESNativeCall &call)
{
    wrappedText(call, QStringLiteral("String.prototype.valueOf called on non-String object"));
}

void charAt(ESNativeCall &call)
{
    const QString text = thisText(call);
    const double position = integerArgument(call, 0);
    if (position < 0 || position >= double(text.size()))
        setText(call, QString());
    else
        setText(call, QString(text.at(qsizetype(position))));
}

void charCodeAt(ESNativeCall &call)
{
    const QString text = thisText(call);
    const double position = integerArgument(call, 0);
    if (position < 0 || position >= double(text.size()))
        setNumber(call, notANumber);
    else
        setNumber(call, text.at(qsizetype(position)).unicode());
}

void concat(ESNativeCall &call)
{
    QString text = thisText(call);
    for (int i = 0; i < call.argumentCount; ++i) {
        const QString part = call.context.toESString(call.arguments[i]);
        if (text.size() + part.size() > call.context.limits.textLength)
            call.context.throwRangeError(QStringLiteral("string too long"));
        text += part;
    }
    setText(call, text);
}

void indexOf(ESNativeCall &call)
{
    const QString text = thisText(call);
    const QString search = argumentText(call, 0);
    const qsizetype start = clampedArgument(call, 1, text.size(), 0);
    setNumber(call, double(text.indexOf(search, start, Qt::CaseSensitive)));
}

void lastIndexOf(ESNativeCall &call)
{
    const QString text = thisText(call);
    const QString search = argumentText(call, 0);
    const double position = call.context.toNumber(call.argument(1));
    const qsizetype start = std::isnan(position)
                                ? text.size()
                                : qsizetype(std::clamp(ESContext::toInteger(position), 0.0,
                                                       double(text.size())));
    setNumber(call, double(text.lastIndexOf(search, start, Qt::CaseSensitive)));
}

// The collator of the default locale; made per call, as Qt's own shared one is never released.
void localeCompare(ESNativeCall &call)
{
    const QCollator collator;
    setNumber(call, double(collator.compare(thisText(call), argumentText(call, 0))));
}

void match(ESNativeCall &call)
{
    call.setResult(ESValue::undefined());
}

// Every occurrence of the plain text is replaced; the size of the result is known before it is
// built, so a growing replacement fails before allocating.
void replace(ESNativeCall &call)
{
    const QString text = thisText(call);
    const QString before = argumentText(call, 0);
    const QString after = argumentText(call, 1);
    if (before.isEmpty()) {
        // Empty text matches before every character and at the end.
        const double size = double(text.size()) + double(text.size() + 1) * double(after.size());
        if (size > double(call.context.limits.textLength))
            call.context.throwRangeError(QStringLiteral("string too long"));
        QString result = after;
        for (const QChar c : text)
            result += c + after;
        setText(call, result);
        return;
    }
    const qsizetype count = text.count(before);
    const double size = double(text.size()) + double(count) * double(after.size() - before.size());
    if (size > double(call.context.limits.textLength))
        call.context.throwRangeError(QStringLiteral("string too long"));
    QString result;
    result.reserve(qsizetype(size));
    qsizetype from = 0;
    for (qsizetype found = text.indexOf(before); found >= 0; found = text.indexOf(before, from)) {
        result += QStringView(text).mid(from, found - from);
        result += after;
        from = found + before.size();
    }
    result += QStringView(text).mid(from);
    setText(call, result);
}

void search(ESNativeCall &call)
{
    setNumber(call, double(thisText(call).indexOf(argumentText(call, 0), 0, Qt::CaseSensitive)));
}

void slice(ESNativeCall &call)
{
    const QString text = thisText(call);
    const double length = double(text.size());
    const auto relative = [&](int index, double absent) {
        if (call.argument(index).isUndefined())
            return absent;
        const double position = integerArgument(call, index);
        return position < 0 ? std::max(length + position, 0.0) : std::min(position, length);
    };
    const double start = relative(0, 0);
    const double end = relative(1, length);
    setText(call, start < end ? text.mid(qsizetype(start), qsizetype(end - start)) : QString());
}

// The atoms of the parts of one split. Parts repeat in most texts: this table, keyed by views
// into the atoms' own texts, spares a copy and the atom table's slower hash for every repeat.
class PartAtoms {
public:
    explicit PartAtoms(ESContext &context) : m_context(context) {}
    ESAtom *atom(QStringView part)
    {
        const auto found = m_atoms.find(view(part));
        if (found != m_atoms.end())
            return found->second;
        ESAtom *atom = m_context.intern(part.toString());
        m_atoms.emplace(view(atom->text), atom);
        return atom;
    }

private:
    static std::u16string_view view(QStringView text)
    {
        return {reinterpret_cast<const char16_t *>(text.utf16()), std::size_t(text.size())};
    }

    ESContext &m_context;
    std::unordered_map<std::u16string_view, ESAtom *> m_atoms;
};

void split(ESNativeCall &call)
{
    ESContext &context = call.context;
    const QString text = thisText(call);
    const ESValue limitValue = call.argument(1);
    const std::size_t limit = limitValue.isUndefined()
                                  ? std::numeric_limits<std::size_t>::max()
                                  : std::size_t(ESContext::toUint32(context.toNumber(limitValue)));
    PartAtoms atoms(context);
    std::vector<ESValue> parts;
    const auto add = [&](QStringView part) {
        if (parts.size() >= std::size_t(context.limits.splitParts))
            context.throwRangeError(QStringLiteral("too many parts in String.prototype.split"));
        parts.push_back(ESValue::fromAtom(atoms.atom(part)));
    };
    const QString separator = call.argument(0).isUndefined() ? QString() : argumentText(call, 0);
    const QStringView whole(text);
    if (limit == 0) {
        // no parts at all
    } else if (call.argument(0).isUndefined()) {
        add(whole);
    } else if (separator.isEmpty()) {
        for (qsizetype i = 0; i < text.size() && parts.size() < limit; ++i)
            add(whole.mid(i, 1));
    } else {
        qsizetype from = 0;
        while (parts.size() < limit) {
            const qsizetype found = text.indexOf(separator, from, Qt::CaseSensitive);
            if (found < 0) {
                add(whole.mid(from));
                break;
            }
            add(whole.mid(from, found - from));
            from = found + separator.size();
        }
    }
    call.setResult(ESValue::fromObject(context.arrayClass->newArray(context, parts)));
}

void substring(ESNativeCall &call)
{
    const QString text = thisText(call);
    const qsizetype start = clampedArgument(call, 0, text.size(), 0);
    const qsizetype end = clampedArgument(call, 1, text.size(), text.size());
    setText(call, text.mid(std::min(start, end), std::abs(end - start)));
}

void toLowerCase(ESNativeCall &call)
{
    setText(call, thisText(call).toLower());
}

void toUpperCase(ESNativeCall &call)
{
    setText(call, thisText(call).toUpper());
}

void trim(ESNativeCall &call)
{
    setText(call, thisText(call).simplified());
}

constexpr ESNativeFunctionRow rows[] = {
    {"String", 1, 0, ESNativeRowFlag::Constructor, nullptr, stringCall, stringConstruct},
    {"fromCharCode", 0, 1, ESNativeRowFlag::Static, nullptr, fromCharCode, nullptr},
    {"toString", 0, 2, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"valueOf", 0, 3, ESNativeRowFlag::Method, nullptr, valueOf, nullptr},
    {"charAt", 1, 4, ESNativeRowFlag::Method, nullptr, charAt, nullptr},
    {"charCodeAt", 1, 5, ESNativeRowFlag::Method, nullptr, charCodeAt, nullptr},
    {"concat", 0, 6, ESNativeRowFlag::Method, nullptr, concat, nullptr},
    {"indexOf", 2, 7, ESNativeRowFlag::Method, nullptr, indexOf, nullptr},
    {"lastIndexOf", 2, 8, ESNativeRowFlag::Method, nullptr, lastIndexOf, nullptr},
    {"localeCompare", 1, 9, ESNativeRowFlag::Method, nullptr, localeCompare, nullptr},
    {"match", 1, 10, ESNativeRowFlag::Method, nullptr, match, nullptr},
    {"replace", 2, 11, ESNativeRowFlag::Method, nullptr, replace, nullptr},
    {"search", 1, 12, ESNativeRowFlag::Method, nullptr, search, nullptr},
    {"slice", 2, 13, ESNativeRowFlag::Method, nullptr, slice, nullptr},
    {"split", 2, 14, ESNativeRowFlag::Method, nullptr, split, nullptr},
    {"substring", 2, 15, ESNativeRowFlag::Method, nullptr, substring, nullptr},
    {"toLowerCase", 0, 16, ESNativeRowFlag::Method, nullptr, toLowerCase, nullptr},
    {"toLocaleLowerCase", 0, 17, ESNativeRowFlag::Method, nullptr, toLowerCase, nullptr},
    {"toUpperCase", 0, 18, ESNativeRowFlag::Method, nullptr, toUpperCase, nullptr},
    {"toLocaleUpperCase", 0, 19, ESNativeRowFlag::Method, nullptr, toUpperCase, nullptr},
    {"trim", 0, 20, ESNativeRowFlag::Method, nullptr, trim, nullptr},
};

} // namespace

ESNativeString::ESNativeString()
    : ESNativeClass(QStringLiteral("String"), QStringLiteral("String"), rows)
{
}

void ESNativeString::initialise(ESContext &context)
{
    installFunctions(context, context.stringPrototype);
}

// The String functions share the class but are no wrappers: their primitive is their name, and
// their "length" is the argument count stored in the vector.
ESValue ESNativeString::get(ESContext &context, ESObject *object, ESAtom *atom)
{
    if (atom == context.names().length && object->primitive.isString() && !object->functionInfo)
        return ESValue::fromNumber(double(ESContext::textView(object->primitive).size()));
    return defaultGet(object, atom);
}

void ESNativeString::put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value)
{
    if (atom != context.names().length || object->functionInfo)
        defaultPut(object, atom, value);
}
