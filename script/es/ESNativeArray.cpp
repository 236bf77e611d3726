#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <cmath>

namespace {

ESObject *arrayConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    if (call.argumentCount == 1 && call.arguments[0].isNumber()) {
        const double length = call.arguments[0].number;
        if (double(ESContext::toUint32(length)) != length)
            context.throwRangeError(QStringLiteral("bad length in array constructor"));
        ESObject *array = context.newObject(context.arrayPrototype, context.arrayClass.get());
        context.put(array, context.names().length, ESValue::fromNumber(length));
        return array;
    }
    return context.newArray(call.argumentCount, call.arguments);
}

void arrayCall(ESNativeCall &call)
{
    call.setResult(ESValue::fromObject(arrayConstruct(call)));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Array", 1, 0, ESNativeRowFlag::Constructor, nullptr, arrayCall, arrayConstruct},
};

// The index a key names, or -1: the key must be the canonical decimal text of the number (so
// "01" is no index), which is the same as being the atom of that number.
qint64 arrayIndex(const ESAtom *key)
{
    const QString &text = key->text;
    const qsizetype size = text.size();
    if (size == 0 || size > 10 || (size > 1 && text.at(0) == QLatin1Char('0')))
        return -1;
    qint64 index = 0;
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
        index = index * 10 + (c.unicode() - '0');
    }
    return index < 0x7fffffff ? index : -1;
}

double ownLength(ESContext &context, const ESObject *array)
{
    for (const ESProperty &property : array->properties) {
        if (property.key == context.names().length)
            return context.toNumber(property.value);
    }
    return 0;
}

} // namespace

ESNativeArray::ESNativeArray() : ESNativeClass(QStringLiteral("Array"), QStringLiteral("Array"), rows)
{
}

void ESNativeArray::initialise(ESContext &context)
{
    installFunctions(context, context.arrayPrototype);
}

void ESNativeArray::put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value)
{
    if (atom == context.names().length) {
        const double oldLength = ownLength(context, object);
        defaultPut(object, atom, value);
        const double newLength = ESContext::toUint32(context.toNumber(value));
        // Drop the elements at or beyond the new length: a scan of the vector rather than a
        // walk over the indices, so a huge old length costs nothing.
        for (ESProperty &property : object->properties) {
            if (!property.key || property.key == atom)
                continue;
            const qint64 index = arrayIndex(property.key);
            if (index >= 0 && double(index) >= newLength && double(index) < oldLength)
                property = ESProperty{};
        }
        defaultPut(object, atom, ESValue::fromNumber(newLength));
        return;
    }
    defaultPut(object, atom, value);
    const qint64 index = arrayIndex(atom);
    if (index >= 0 && double(index) >= ownLength(context, object))
        defaultPut(object, context.names().length, ESValue::fromNumber(double(index + 1)));
}
