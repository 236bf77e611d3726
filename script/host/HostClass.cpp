#include "script/host/HostClass.h"
#include "script/es/ESContext.h"
#include <cmath>

HostClass::HostClass(QString name, std::span<const HostFunctionRow> rows)
    : ESClass(std::move(name)), m_rows(rows)
{
}

ESObject *HostClass::installGlobal(ESContext &context)
{
    ESObject *object = ESClass::installGlobal(context);
    for (const HostFunctionRow &row : m_rows) {
        const QString functionName = QString::fromLatin1(row.name);
        const QString fullName = row.fullName ? QString::fromLatin1(row.fullName)
                                              : name + QLatin1Char('.') + functionName;
        const ESNativeFunctionSpec spec{context.intern(functionName), context.intern(fullName),
                                        row.length, row.id, 0, row.help};
        context.defineFunction(object, spec, context.functionPrototype, this);
    }
    return object;
}

void HostClass::call(ESContext &context, ESObject *function, ESValue thisValue, int argumentCount,
                     ESValue *arguments)
{
    ESNativeCall nativeCall{context, function, thisValue, argumentCount, arguments};
    if (!callHost(function->builtinId, nativeCall))
        ESClass::call(context, function, thisValue, argumentCount, arguments);
}

namespace HostArguments {

QString text(ESNativeCall &call, int index, const char *function)
{
    const ESValue value = call.argument(index);
    if (value.isUndefined() || value.tag == ESTag::Null)
        call.context.throwTypeError(QStringLiteral("%1: argument %2 must be a string, not %3")
                                        .arg(QLatin1String(function))
                                        .arg(index + 1)
                                        .arg(call.context.toESString(value)));
    return call.context.toESString(value);
}

qint64 integer(ESNativeCall &call, int index, const char *function, qint64 minimum,
               qint64 maximum)
{
    const ESValue value = call.argument(index);
    const double number = call.context.toNumber(value);
    if (!std::isfinite(number) || number != std::floor(number) || number < double(minimum)
        || number > double(maximum))
        call.context.throwRangeError(QStringLiteral("%1: argument %2 is %3, not a whole number "
                                                    "from %4 to %5")
                                         .arg(QLatin1String(function))
                                         .arg(index + 1)
                                         .arg(call.context.toESString(value))
                                         .arg(minimum)
                                         .arg(maximum));
    return qint64(number);
}

bool flag(ESNativeCall &call, int index, bool fallback)
{
    const ESValue value = call.argument(index);
    return value.isUndefined() ? fallback : call.context.toBoolean(value);
}

QByteArray bytes(ESNativeCall &call, int index, const char *function)
{
    const ESValue value = call.argument(index);
    if (!value.isObject() || !value.object || !call.context.isArray(value.object))
        call.context.throwTypeError(QStringLiteral("%1: argument %2 must be an array of bytes")
                                        .arg(QLatin1String(function))
                                        .arg(index + 1));
    const double length = call.context.toNumber(
        call.context.get(value.object, call.context.names().length));
    if (!(length <= double(maxByteArrayLength)))
        call.context.throwRangeError(QStringLiteral("%1: array of %2 elements is longer than %3")
                                         .arg(QLatin1String(function))
                                         .arg(call.context.toESString(ESValue::fromNumber(length)))
                                         .arg(maxByteArrayLength));
    return call.context.arrayBytes(value);
}

ESValue string(ESContext &context, const QString &text)
{
    return ESValue::fromAtom(context.intern(text));
}

} // namespace HostArguments
