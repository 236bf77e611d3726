#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <QDateTime>

namespace {

// new Date() reads the wall clock as it stands; any argument leaves the time undefined (0).
ESObject *dateConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    ESValue time;
    if (call.argumentCount == 0) {
        const QDateTime now = QDateTime::currentDateTime();
        time = ESValue::fromNumber(double(now.toMSecsSinceEpoch() + now.offsetFromUtc() * 1000LL));
    }
    return context.newObject(context.datePrototype, context.dateClass.get(), time);
}

void dateCall(ESNativeCall &call)
{
    call.setResult(ESValue::fromObject(dateConstruct(call)));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Date", 7, 0, ESNativeRowFlag::Constructor, nullptr, dateCall, dateConstruct},
};

} // namespace

ESNativeDate::ESNativeDate() : ESNativeClass(QStringLiteral("Date"), QStringLiteral("Date"), rows)
{
}

void ESNativeDate::initialise(ESContext &context)
{
    installFunctions(context, context.datePrototype);
}
