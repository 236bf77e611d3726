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

constexpr ESNativeFunctionRow rows[] = {
    {"Boolean", 1, 0, ESNativeRowFlag::Constructor, nullptr, booleanCall, booleanConstruct},
};

} // namespace

ESNativeBoolean::ESNativeBoolean()
    : ESNativeClass(QStringLiteral("Boolean"), QStringLiteral("Boolean"), rows)
{
}

void ESNativeBoolean::initialise(ESContext &context)
{
    installFunctions(context, context.booleanPrototype);
}
