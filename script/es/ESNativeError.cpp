#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

namespace {

ESObject *errorConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    auto *klass = static_cast<ESNativeError *>(call.function->klass);
    ESObject *error = context.newObject(klass->prototypeObject, klass);
    const ESValue message = call.argument(0);
    if (!message.isUndefined())
        context.put(error, context.intern(QStringLiteral("message")), message);
    return error;
}

void errorCall(ESNativeCall &call)
{
    call.setResult(ESValue::fromObject(errorConstruct(call)));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Error", 1, 0, ESNativeRowFlag::Constructor, nullptr, errorCall, errorConstruct},
};

} // namespace

ESNativeError::ESNativeError(QString typeName)
    : ESNativeClass(QStringLiteral("Error"), std::move(typeName), rows)
{
}

void ESNativeError::initialise(ESContext &context)
{
    ESObject *base = this == context.errorClass.get() || !context.errorClass->prototypeObject
                         ? context.objectPrototype
                         : context.errorClass->prototypeObject;
    prototypeObject = context.newObject(base, this);
    context.put(prototypeObject, context.intern(QStringLiteral("name")),
                ESValue::fromAtom(context.intern(scriptName)));
    context.put(prototypeObject, context.intern(QStringLiteral("message")),
                ESValue::fromAtom(context.intern(QString())));
    constructorObject = installFunctions(context, prototypeObject);
    finishInitialise(context);
}

void ESNativeError::finishInitialise(ESContext &)
{
}
