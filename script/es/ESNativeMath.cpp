#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

// Math has no constructor row; its functions are statics on the one Math object.
ESNativeMath::ESNativeMath()
    : ESNativeClass(QStringLiteral("Math"), QStringLiteral("Math"), std::span<const ESNativeFunctionRow>())
{
}

void ESNativeMath::initialise(ESContext &context)
{
    ESObject *math = context.newObject(context.objectPrototype, this);
    context.put(context.globalObject, context.intern(scriptName), ESValue::fromObject(math));
    installFunctions(context, nullptr, math);
}
