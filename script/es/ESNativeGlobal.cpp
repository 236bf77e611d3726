#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <limits>

namespace {

// eval(text): a text runs in this context with no file name; what it throws is swallowed.
void evalCall(ESNativeCall &call)
{
    const ESValue source = call.argument(0);
    if (!source.isString()) {
        call.setResult(source);
        return;
    }
    ESContext &context = call.context;
    const QString text = context.toESString(source);
    const ESCompletion completion = context.evaluate(QString(), text);
    call.setResult(completion.kind == ESCompletion::Normal ? completion.value
                                                           : ESValue::undefined());
}

constexpr ESNativeFunctionRow rows[] = {
    {"eval", 1, 1, ESNativeRowFlag::Static, nullptr, evalCall, nullptr},
};

} // namespace

ESNativeGlobal::ESNativeGlobal() : ESNativeClass(QStringLiteral("global"), QStringLiteral("global"), rows)
{
}

void ESNativeGlobal::initialise(ESContext &context)
{
    ESObject *global = context.globalObject;
    context.put(global, context.intern(QStringLiteral("NaN")),
                ESValue::fromNumber(std::numeric_limits<double>::quiet_NaN()));
    context.put(global, context.intern(QStringLiteral("Infinity")),
                ESValue::fromNumber(std::numeric_limits<double>::infinity()));
    context.put(global, context.intern(QStringLiteral("undefined")), ESValue::undefined());
    installFunctions(context, nullptr, global);
}
