#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

namespace {

double numberOf(ESNativeCall &call)
{
    return call.argumentCount == 0 ? 0.0 : call.context.toNumber(call.arguments[0]);
}

void numberCall(ESNativeCall &call)
{
    call.setResult(ESValue::fromNumber(numberOf(call)));
}

ESObject *numberConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    return context.newObject(context.numberPrototype, context.numberClass.get(),
                             ESValue::fromNumber(numberOf(call)));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Number", 1, 0, ESNativeRowFlag::Constructor, nullptr, numberCall, numberConstruct},
};

} // namespace

ESNativeNumber::ESNativeNumber()
    : ESNativeClass(QStringLiteral("Number"), QStringLiteral("Number"), rows)
{
}

void ESNativeNumber::initialise(ESContext &context)
{
    installFunctions(context, context.numberPrototype);
}
