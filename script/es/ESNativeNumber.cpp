#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <cstdio>
#include <limits>

namespace {

// The constructor has length 0 so that a call without arguments stays one: Number() is 0,
// while Number(undefined) is NaN.
double numberOf(const ESNativeCall &call)
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

// The wrapped value of `this`, which must be a Number object.
double thisNumber(const ESNativeCall &call, const char *method)
{
    ESContext &context = call.context;
    const ESValue self = call.thisValue;
    if (!self.isObject() || !self.object || !context.isNumber(self.object)) {
        context.throwTypeError(QStringLiteral("Number.prototype.%1 called on non-Number object")
                                   .arg(QLatin1String(method)));
    }
    return context.toNumber(self.object->primitive);
}

void toString(ESNativeCall &call)
{
    ESContext &context = call.context;
    const double value = thisNumber(call, "toString");
    int radix = ESContext::toInt32(context.toNumber(call.argument(0)));
    if (radix == 0)
        radix = 10;
    if (radix < 2 || radix > 36) {
        context.throwRangeError(
            QStringLiteral("Number.prototype.toString: radix %1 is not from 2 to 36").arg(radix));
    }
    call.setResult(ESContext::newString(ESContext::numberToString(value, radix)));
}

// The C library's fixed notation, right-aligned in 40 columns and then trimmed: so NaN and the
// infinities print as the C library spells them.
void toFixed(ESNativeCall &call)
{
    ESContext &context = call.context;
    const double value = thisNumber(call, "toFixed");
    const std::int32_t digits = ESContext::toInt32(context.toNumber(call.argument(0)));
    if (digits < 0 || digits > 20)
        context.throwRangeError(QStringLiteral("fraction digits should 0 through 20"));
    // The widest result: 309 integer digits, sign, point and 20 fraction digits.
    char text[400];
    std::snprintf(text, sizeof text, "%40.*f", int(digits), value);
    call.setResult(ESContext::newString(QString::fromLatin1(text).trimmed()));
}

void valueOf(ESNativeCall &call)
{
    call.setResult(ESValue::fromNumber(thisNumber(call, "valueOf")));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Number", 0, 0, ESNativeRowFlag::Constructor, nullptr, numberCall, numberConstruct},
    {"toString", 1, 2, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"toFixed", 1, 3, ESNativeRowFlag::Method, nullptr, toFixed, nullptr},
    {"valueOf", 0, 4, ESNativeRowFlag::Method, nullptr, valueOf, nullptr},
};

struct NumberConstant {
    const char *name;
    double value;
};

constexpr NumberConstant constants[] = {
    {"MAX_VALUE", std::numeric_limits<double>::max()},
    {"MIN_VALUE", std::numeric_limits<double>::denorm_min()},
    {"NaN", std::numeric_limits<double>::quiet_NaN()},
    {"NEGATIVE_INFINITY", -std::numeric_limits<double>::infinity()},
    {"POSITIVE_INFINITY", std::numeric_limits<double>::infinity()},
};

} // namespace

ESNativeNumber::ESNativeNumber()
    : ESNativeClass(QStringLiteral("Number"), QStringLiteral("Number"), rows)
{
}

void ESNativeNumber::initialise(ESContext &context)
{
    // The prototype is itself a Number object, wrapping 0.
    context.numberPrototype->primitive = ESValue::fromNumber(0);
    ESObject *constructor = installFunctions(context, context.numberPrototype);
    for (const NumberConstant &constant : constants) {
        context.defineProperty(constructor, ESPropertyFlag::ReadOnly | ESPropertyFlag::DontEnum
                                                | ESPropertyFlag::DontDelete,
                               context.intern(QString::fromLatin1(constant.name)),
                               ESValue::fromNumber(constant.value));
    }
}
