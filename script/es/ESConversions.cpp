// The conversions of ESContext and the array helpers for host code.
#include "script/es/ESContext.h"
#include "script/es/ESClass.h"
#include "script/es/ESNativeClass.h"
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// The whole-number formats convert as the processor does: a value outside the 64-bit range
// becomes the "integer indefinite" 0x8000000000000000.
std::int64_t toInt64(double number)
{
    if (!(number >= -9223372036854775808.0 && number < 9223372036854775808.0))
        return std::numeric_limits<std::int64_t>::min();
    return std::int64_t(number);
}

double parseDecimal(QStringView text)
{
    const QByteArray bytes = text.toLatin1();
    const char *begin = bytes.constData();
    const char *end = begin + bytes.size();
    if (begin != end && *begin == '+' && end - begin > 1 && begin[1] != '-')
        ++begin;
    double value = 0;
    const auto result = std::from_chars(begin, end, value);
    if (result.ptr != end)
        return notANumber;
    if (result.ec == std::errc::result_out_of_range) {
        const bool tiny = bytes.contains("e-") || bytes.contains("E-");
        const bool negative = *bytes.constData() == '-';
        return tiny ? 0.0 : (negative ? -qInf() : qInf());
    }
    if (result.ec != std::errc())
        return notANumber;
    return value;
}

} // namespace

ESAtom *ESContext::valueToAtom(const ESValue &value)
{
    switch (value.tag) {
    case ESTag::Atom:
        return value.atom;
    case ESTag::String:
        return intern(value.string->toString());
    case ESTag::Number:
        // Whole numbers reach the same atom as through their text, without formatting it.
        if (value.number >= 0 && value.number < 4294967296.0 && value.number == std::floor(value.number))
            return m_atoms.atomForWholeNumber(value.number);
        break;
    default:
        break;
    }
    return intern(toESString(value, 10));
}

bool ESContext::toBoolean(ESValue value)
{
    switch (value.tag) {
    case ESTag::Undefined:
    case ESTag::Null:
        return false;
    case ESTag::Boolean:
    case ESTag::Number:
        return value.number != 0.0;   // NaN is true in this engine
    case ESTag::Atom:
        return !value.atom->text.isEmpty();
    case ESTag::String:
        return value.string->length() != 0;
    case ESTag::Object:
        return true;
    default:
        fatal(QStringLiteral("bad type in toBoolean"));
    }
}

double ESContext::toNumber(ESValue value)
{
    switch (value.tag) {
    case ESTag::Undefined:
        return notANumber;
    case ESTag::Null:
        return 0;
    case ESTag::Boolean:
    case ESTag::Number:
        return value.number;
    case ESTag::Atom:
    case ESTag::String: {
        const QStringView text = textView(value).trimmed();
        if (text.isEmpty())
            return notANumber;
        if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            bool ok = false;
            const qulonglong number = text.mid(2).toULongLong(&ok, 16);
            return ok ? double(number) : notANumber;
        }
        return parseDecimal(text);
    }
    case ESTag::Object: {
        const ESValue primitive = toPrimitive(value, ESHint::Number);
        return primitive.isNumber() ? primitive.number : toNumber(primitive);
    }
    default:
        fatal(QStringLiteral("bad type in toNumber"));
    }
}

double ESContext::toInteger(double number)
{
    if (std::isnan(number))
        return 0;
    if (number == 0 || std::isinf(number))
        return number;
    return std::copysign(std::floor(std::fabs(number)), number);
}

std::int32_t ESContext::toInt32(double number)
{
    // Inside the range the truncation is the answer (NaN fails both tests).
    if (number > -2147483649.0 && number < 2147483648.0)
        return std::int32_t(number);
    if (std::isnan(number) || number == 0 || std::isinf(number))
        return 0;
    const double remainder = std::fmod(toInteger(number), 4294967296.0);
    return std::int32_t(std::uint32_t(std::uint64_t(std::int64_t(remainder))));
}

std::uint32_t ESContext::toUint32(double number)
{
    return std::uint32_t(toInt32(number));
}

QString ESContext::numberToString(double number, int radix)
{
    if (std::isnan(number))
        return QStringLiteral("NaN");
    if (number == 0)
        return QStringLiteral("0");
    if (std::isinf(number))
        return number > 0 ? QStringLiteral("Infinity") : QStringLiteral("-Infinity");
    // Digits are built in one static buffer: not reentrant across threads.
    static char digits[80];
    if (number != std::floor(number)) {
        std::snprintf(digits, sizeof digits, "%g", number);   // six significant digits
        return QString::fromLatin1(digits);
    }
    const std::int64_t whole = toInt64(number);
    if (radix == 10 || radix < 2 || radix > 36)
        return QString::number(qlonglong(whole));
    static constexpr char alphabet[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::uint64_t rest = std::uint64_t(whole);
    char *end = digits + sizeof digits;
    char *begin = end;
    do {
        *--begin = alphabet[rest % unsigned(radix)];
        rest /= unsigned(radix);
    } while (rest);
    return QString::fromLatin1(begin, end - begin);
}

QString ESContext::toESString(ESValue value, int radix)
{
    switch (value.tag) {
    case ESTag::Undefined:
        return QStringLiteral("undefined");
    case ESTag::Null:
        return QStringLiteral("null");
    case ESTag::Boolean:
        return value.number != 0.0 ? QStringLiteral("true") : QStringLiteral("false");
    case ESTag::Number:
        return numberToString(value.number, radix);
    case ESTag::Atom:
        return value.atom->text;
    case ESTag::String:
        return value.string->toString();
    case ESTag::Object:
        return toESString(toPrimitive(value, ESHint::String), 10);
    default:
        fatal(QStringLiteral("unknown type in toString"));
    }
}

ESValue ESContext::toPrimitive(ESValue value, int hint)
{
    if (!value.isObject())
        return value;
    ESObject *object = value.object;
    if (object == globalObject)
        return m_globalText;
    ESAtom *const toStringAtom = intern(QStringLiteral("toString"));
    ESAtom *const valueOfAtom = intern(QStringLiteral("valueOf"));
    const bool stringFirst = hint == ESHint::String || (hint == ESHint::Default && isDate(object));
    ESAtom *const order[] = {stringFirst ? toStringAtom : valueOfAtom,
                             stringFirst ? valueOfAtom : toStringAtom};
    for (ESAtom *name : order) {
        const ESValue method = get(object, name);
        if (!method.isObject() || !method.object || !method.object->functionInfo)
            continue;
        ESValue result;
        callFunction(method.object, value, 0, nullptr, result);
        if (!result.isUndefined() && !result.isObject())
            return result;
    }
    throwTypeError(QStringLiteral("type error: no default value"));
}

ESObject *ESContext::toObject(ESValue value)
{
    switch (value.tag) {
    case ESTag::Undefined:
        throwTypeError(QStringLiteral("can't convert undefined to an object"));
    case ESTag::Null:
        throwTypeError(QStringLiteral("can't convert null to an object"));
    case ESTag::Boolean:
        return newObject(booleanPrototype, booleanClass.get(),
                         ESValue::boolean(value.number != 0.0));
    case ESTag::Number:
        return newObject(numberPrototype, numberClass.get(), value);
    case ESTag::String:
    case ESTag::Atom:
        // A plain string is wrapped as it is: interning a long built text only to read its
        // length or call a method would copy it into the atom table for good.
        return newObject(stringPrototype, stringClass.get(), value);
    case ESTag::Object:
        return value.object;
    default:
        fatal(QStringLiteral("unknown type in toObject"));
    }
}

ESValue ESContext::typeOf(ESValue value)
{
    const char *name = nullptr;
    switch (value.tag) {
    case ESTag::Undefined:
        name = "undefined";
        break;
    case ESTag::Null:
        name = "object";
        break;
    case ESTag::Boolean:
        name = "boolean";
        break;
    case ESTag::Number:
        name = "number";
        break;
    case ESTag::String:
    case ESTag::Atom:
        name = "string";
        break;
    case ESTag::Object:
        name = value.object && value.object->functionInfo ? "function" : "object";
        break;
    default:
        value.tag = ESTag::Atom;   // an unknown tag is relabelled and left as it is
        return value;
    }
    return ESValue::fromAtom(intern(QString::fromLatin1(name)));
}

ESObject *ESContext::newArray(int count, const ESValue *values)
{
    ESObject *array = newObject(arrayPrototype, arrayClass.get());
    put(array, names().length, ESValue::fromNumber(count));
    for (int i = 0; i < count; ++i)
        put(array, atomForIndex(unsigned(i)), values[i]);
    return array;
}

namespace {

template <typename Elements>
ESObject *arrayOfNumbers(ESContext &context, const Elements &elements)
{
    std::vector<ESValue> values;
    values.reserve(std::size(elements));
    for (const auto element : elements)
        values.push_back(ESValue::fromNumber(double(element)));
    return context.newArray(int(values.size()), values.data());
}

} // namespace

ESObject *ESContext::newArray(const QByteArray &bytes)
{
    std::vector<std::uint8_t> elements(bytes.begin(), bytes.end());
    return arrayOfNumbers(*this, elements);
}

ESObject *ESContext::newArray(std::span<const std::int32_t> elements)
{
    return arrayOfNumbers(*this, elements);
}

ESObject *ESContext::newArray(std::span<const std::uint32_t> elements)
{
    return arrayOfNumbers(*this, elements);
}

ESObject *ESContext::newArray(std::span<const std::uint16_t> elements)
{
    return arrayOfNumbers(*this, elements);
}

ESObject *ESContext::newArray(const QStringList &texts)
{
    std::vector<ESValue> values;
    values.reserve(std::size_t(texts.size()));
    for (const QString &text : texts)
        values.push_back(ESValue::fromAtom(intern(text)));
    return newArray(int(values.size()), values.data());
}

namespace {

template <typename Element>
std::vector<Element> readArray(ESContext &context, ESValue value)
{
    if (!value.isObject() || !value.object || !context.isArray(value.object))
        context.throwError(QStringLiteral("array argument expected"));
    ESObject *array = value.object;
    const std::uint32_t length =
        ESContext::toUint32(context.toNumber(context.get(array, context.names().length)));
    std::vector<Element> elements;
    for (std::uint32_t i = 0; i < length; ++i) {
        const ESValue element = context.get(array, context.atomForIndex(i));
        elements.push_back(Element(ESContext::toUint32(context.toNumber(element))));
    }
    return elements;
}

} // namespace

QByteArray ESContext::arrayBytes(ESValue value)
{
    const std::vector<std::uint8_t> bytes = readArray<std::uint8_t>(*this, value);
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size()));
}

std::vector<std::uint16_t> ESContext::arrayUint16(ESValue value)
{
    return readArray<std::uint16_t>(*this, value);
}

std::vector<std::uint32_t> ESContext::arrayUint32(ESValue value)
{
    return readArray<std::uint32_t>(*this, value);
}
