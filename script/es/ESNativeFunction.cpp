#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESParser.h"

namespace {

// Function(p1, ..., body): every argument but the last is a parameter text.
void functionCall(ESNativeCall &call)
{
    ESContext &context = call.context;
    QStringList parameters;
    for (int i = 0; i + 1 < call.argumentCount; ++i)
        parameters.append(context.toESString(call.arguments[i]));
    const QString body =
        call.argumentCount > 0 ? context.toESString(call.arguments[call.argumentCount - 1]) : QString();
    ESParser parser(context);
    call.setResult(ESValue::fromObject(parser.compileFunction(parameters.join(QLatin1Char(',')), body)));
}

ESObject *functionConstruct(ESNativeCall &call)
{
    functionCall(call);
    return call.context.toObject(call.arguments[0]);
}

void toString(ESNativeCall &call)
{
    call.setResult(ESValue::fromAtom(call.context.intern(QStringLiteral("<<function>>"))));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Function", 1, 0, ESNativeRowFlag::Constructor, nullptr, functionCall, functionConstruct},
    {"toString", 0, 1, ESNativeRowFlag::Method, nullptr, toString, nullptr},
};

} // namespace

ESNativeFunction::ESNativeFunction()
    : ESNativeClass(QStringLiteral("Function"), QStringLiteral("Function"), rows)
{
}

void ESNativeFunction::initialise(ESContext &context)
{
    installFunctions(context, context.functionPrototype);
}
