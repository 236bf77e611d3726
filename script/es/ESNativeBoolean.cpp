#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

namespace {

void booleanCall(ESNativeCall &call)
{
    call.setResult(ESValue::boolean(call.context.toBoolean(call.argument(0))));
}

ESObject *booleanConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    return context.newObject(context.booleanPrototype, context.booleanClass.get(),
                             ESValue::boolean(context.toBoolean(call.argument(0))));
}

// The wrapped value of `this`, which must be a Boolean object.
bool thisBoolean(const ESNativeCall &call, const char *method)
{
    ESContext &context = call.context;
    const ESValue self = call.thisValue;
    if (!self.isObject() || !self.object || !context.isBoolean(self.object)) {
        context.throwTypeError(QStringLiteral("Boolean.prototype.%1 called on non-Boolean object")
                                   .arg(QLatin1String(method)));
    }
    return context.toBoolean(self.object->primitive);
}

void toString(ESNativeCall &call)
{
    const bool value = thisBoolean(call, "toString");
    const ESWellKnownAtoms &names = call.context.names();
    call.setResult(ESValue::fromAtom(value ? names.trueAtom : names.falseAtom));
}

void valueOf(ESNativeCall &call)
{
    call.setResult(ESValue::boolean(thisBoolean(call, "valueOf")));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Boolean", 1, 0, ESNativeRowFlag::Constructor, nullptr, booleanCall, booleanConstruct},
    {"toString", 0, 1, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"valueOf", 0, 2, ESNativeRowFlag::Method, nullptr, valueOf, nullptr},
};

} // namespace

ESNativeBoolean::ESNativeBoolean()
    : ESNativeClass(QStringLiteral("Boolean"), QStringLiteral("Boolean"), rows)
{
}

void ESNativeBoolean::initialise(ESContext &context)
{
    // The prototype is itself a Boolean object, wrapping false.
    context.booleanPrototype->primitive = ESValue::boolean(false);
    installFunctions(context, context.booleanPrototype);
}
