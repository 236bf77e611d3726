#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

namespace {

// Math has no constructor: calling or constructing it fails as an unknown id.
constexpr ESNativeFunctionRow rows[] = {
    {"", 0, -1, -1, nullptr, nullptr, nullptr},
};

} // namespace

ESNativeMath::ESNativeMath() : ESNativeClass(QStringLiteral("Math"), QStringLiteral("Math"), rows)
{
}

void ESNativeMath::initialise(ESContext &context)
{
    ESObject *math = context.newObject(context.objectPrototype, this);
    context.put(context.globalObject, context.intern(scriptName), ESValue::fromObject(math));
    installFunctions(context, nullptr, math);
}
