#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

double numberArgument(const ESNativeCall &call, int index)
{
    return call.context.toNumber(call.argument(index));
}

// One row per function of one number; the C library gives the result.
template <double (*function)(double)>
void unary(ESNativeCall &call)
{
    call.setResult(ESValue::fromNumber(function(numberArgument(call, 0))));
}

template <double (*function)(double, double)>
void binary(ESNativeCall &call)
{
    const double first = numberArgument(call, 0);
    call.setResult(ESValue::fromNumber(function(first, numberArgument(call, 1))));
}

// Every argument is converted, in order; one NaN among them makes the result NaN.
template <bool largest>
void extreme(ESNativeCall &call)
{
    double result = largest ? -infinity : infinity;
    bool sawNaN = false;
    for (int i = 0; i < call.argumentCount; ++i) {
        const double value = call.context.toNumber(call.arguments[i]);
        sawNaN = sawNaN || std::isnan(value);
        if (largest ? value > result : value < result)
            result = value;
    }
    call.setResult(ESValue::fromNumber(sawNaN ? std::numeric_limits<double>::quiet_NaN() : result));
}

// The C library's generator, never seeded: every run draws the same sequence. The factor is
// 2^-31, so the result is at least 0 and below 1.
void random(ESNativeCall &call)
{
    call.setResult(ESValue::fromNumber(double(std::rand()) * 4.656612873077393e-10));
}

// Half-way cases go up, also for negative numbers: round(-2.5) is -2. NaN and the infinities
// pass through floor unchanged.
double roundHalfUp(double x)
{
    return std::floor(x + 0.5);
}

// Plain function pointers to the C library, so that the templates above can take them.
double cAbs(double x) { return std::fabs(x); }
double cAcos(double x) { return std::acos(x); }
double cAsin(double x) { return std::asin(x); }
double cAtan(double x) { return std::atan(x); }
double cAtan2(double y, double x) { return std::atan2(y, x); }
double cCeil(double x) { return std::ceil(x); }
double cCos(double x) { return std::cos(x); }
double cExp(double x) { return std::exp(x); }
double cFloor(double x) { return std::floor(x); }
double cLog(double x) { return std::log(x); }
double cPow(double x, double y) { return std::pow(x, y); }
double cSin(double x) { return std::sin(x); }
double cSqrt(double x) { return std::sqrt(x); }
double cTan(double x) { return std::tan(x); }

constexpr int Static = ESNativeRowFlag::Static;

// No constructor row: Math is one plain object, and its functions are statics on it.
constexpr ESNativeFunctionRow rows[] = {
    {"abs", 1, 1, Static, nullptr, unary<cAbs>, nullptr},
    {"acos", 1, 2, Static, nullptr, unary<cAcos>, nullptr},
    {"asin", 1, 3, Static, nullptr, unary<cAsin>, nullptr},
    {"atan", 1, 4, Static, nullptr, unary<cAtan>, nullptr},
    {"atan2", 2, 5, Static, nullptr, binary<cAtan2>, nullptr},
    {"ceil", 1, 6, Static, nullptr, unary<cCeil>, nullptr},
    {"cos", 1, 7, Static, nullptr, unary<cCos>, nullptr},
    {"exp", 1, 8, Static, nullptr, unary<cExp>, nullptr},
    {"floor", 1, 9, Static, nullptr, unary<cFloor>, nullptr},
    {"log", 1, 10, Static, nullptr, unary<cLog>, nullptr},
    {"max", 0, 11, Static, nullptr, extreme<true>, nullptr},
    {"min", 0, 12, Static, nullptr, extreme<false>, nullptr},
    {"pow", 2, 13, Static, nullptr, binary<cPow>, nullptr},
    {"random", 0, 14, Static, nullptr, random, nullptr},
    {"round", 1, 15, Static, nullptr, unary<roundHalfUp>, nullptr},
    {"sin", 1, 16, Static, nullptr, unary<cSin>, nullptr},
    {"sqrt", 1, 17, Static, nullptr, unary<cSqrt>, nullptr},
    {"tan", 1, 18, Static, nullptr, unary<cTan>, nullptr},
};

struct MathConstant {
    const char *name;
    double value;
};

constexpr MathConstant constants[] = {
    {"E", std::numbers::e},
    {"LN10", std::numbers::ln10},
    {"LN2", std::numbers::ln2},
    {"LOG2E", std::numbers::log2e},
    {"LOG10E", std::numbers::log10e},
    {"PI", std::numbers::pi},
    {"SQRT1_2", 1 / std::numbers::sqrt2},
    {"SQRT2", std::numbers::sqrt2},
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
    for (const MathConstant &constant : constants) {
        context.defineProperty(math, ESPropertyFlag::ReadOnly | ESPropertyFlag::DontEnum
                                         | ESPropertyFlag::DontDelete,
                               context.intern(QString::fromLatin1(constant.name)),
                               ESValue::fromNumber(constant.value));
    }
}
