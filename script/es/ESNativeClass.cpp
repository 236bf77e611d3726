#include "script/es/ESNativeClass.h"
#include "script/es/ESContext.h"

ESNativeClass::ESNativeClass(QString className, QString scriptName,
                             std::span<const ESNativeFunctionRow> rows)
    : ESClass(std::move(className)), scriptName(std::move(scriptName)), m_rows(rows)
{
}

const ESNativeFunctionRow *ESNativeClass::row(int id) const
{
    for (const ESNativeFunctionRow &row : m_rows) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}

void ESNativeClass::call(ESContext &context, ESObject *function, ESValue thisValue,
                         int argumentCount, ESValue *arguments)
{
    const ESNativeFunctionRow *found = row(function->builtinId);
    if (!found || !found->call)
        context.throwError(QStringLiteral("bad signature in builtin call"));
    ESNativeCall nativeCall{context, function, thisValue, argumentCount, arguments};
    found->call(nativeCall);
}

ESObject *ESNativeClass::construct(ESContext &context, ESObject *function, int argumentCount,
                                   ESValue *arguments)
{
    const ESNativeFunctionRow *found = row(function->builtinId);
    if (!found || !found->construct)
        context.throwError(QStringLiteral("bad signature in builtin construct"));
    ESNativeCall nativeCall{context, function, ESValue::undefined(), argumentCount, arguments};
    return found->construct(nativeCall);
}

ESObject *ESNativeClass::installFunctions(ESContext &context, ESObject *prototype,
                                          ESObject *staticHolder)
{
    ESObject *constructor = nullptr;
    for (const ESNativeFunctionRow &row : m_rows) {
        if (row.flags != ESNativeRowFlag::Constructor)
            continue;
        ESAtom *const name = context.intern(scriptName);
        const ESNativeFunctionSpec spec{name, name, row.length, row.id, row.flags, row.help};
        constructor = context.defineConstructor(spec, prototype, this);
    }
    for (const ESNativeFunctionRow &row : m_rows) {
        const QString name = QString::fromLatin1(row.name);
        ESObject *holder = nullptr;
        QString fullName;
        if (row.flags == ESNativeRowFlag::Static) {
            holder = staticHolder ? staticHolder : constructor;
            fullName = scriptName + QLatin1Char('.') + name;
        } else if (row.flags == ESNativeRowFlag::Method) {
            holder = prototype;
            fullName = scriptName + QStringLiteral(".prototype.") + name;
        }
        if (!holder)
            continue;
        const ESNativeFunctionSpec spec{context.intern(name), context.intern(fullName), row.length,
                                        row.id, row.flags, row.help};
        context.defineFunction(holder, spec, context.functionPrototype, this);
    }
    return constructor;
}
