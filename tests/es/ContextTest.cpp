// The engine's interfaces for host code: conversions, properties, errors, calls and runs.
#include "tests/es/EsTestSupport.h"
#include "script/es/ESParser.h"
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

struct NumberText {
    const char *name;
    double number;
    int radix;
    const char *text;
};

class NumberToString : public ::testing::TestWithParam<NumberText> {};

TEST_P(NumberToString, FormatsAsTheEngineDoes)
{
    EXPECT_EQ(ESContext::numberToString(GetParam().number, GetParam().radix).toStdString(),
              GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Cases, NumberToString, ::testing::Values(
    NumberText{"third", 1.0 / 3, 10, "0.333333"},
    NumberText{"sixDigits", 1.23456789, 10, "1.23457"},
    NumberText{"fractionIgnoresRadix", 2.5, 16, "2.5"},
    NumberText{"whole", 42, 10, "42"},
    NumberText{"negativeWhole", -42, 10, "-42"},
    NumberText{"hex", 255, 16, "ff"},
    NumberText{"binary", 5, 2, "101"},
    NumberText{"negativeHexIsTwosComplement", -1, 16, "ffffffffffffffff"},
    NumberText{"base36", 35, 36, "z"},
    NumberText{"nan", std::nan(""), 10, "NaN"},
    NumberText{"infinity", std::numeric_limits<double>::infinity(), 10, "Infinity"},
    NumberText{"negativeZero", -0.0, 10, "0"},
    NumberText{"tinyFraction", 1e-7, 10, "1e-07"}),
    [](const auto &info) { return std::string(info.param.name); });

struct IntCase {
    const char *name;
    double number;
    std::int32_t int32;
    std::uint32_t uint32;
};

class IntegerConversion : public ::testing::TestWithParam<IntCase> {};

TEST_P(IntegerConversion, WrapsModulo32Bits)
{
    EXPECT_EQ(ESContext::toInt32(GetParam().number), GetParam().int32);
    EXPECT_EQ(ESContext::toUint32(GetParam().number), GetParam().uint32);
}

INSTANTIATE_TEST_SUITE_P(Cases, IntegerConversion, ::testing::Values(
    IntCase{"small", 7.9, 7, 7u},
    IntCase{"negative", -7.9, -7, 4294967289u},
    IntCase{"wraps", 4294967297.0, 1, 1u},
    IntCase{"highBit", 2147483648.0, -2147483647 - 1, 2147483648u},
    IntCase{"nan", std::nan(""), 0, 0u},
    IntCase{"infinity", std::numeric_limits<double>::infinity(), 0, 0u}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(Atoms, NumberKeysShareTheAtomsOfTheirTexts)
{
    EchoContext context;
    EXPECT_EQ(context.valueToAtom(ESValue::fromNumber(5)), context.intern(QStringLiteral("5")));
    EXPECT_EQ(context.valueToAtom(ESValue::fromNumber(5.5)), context.intern(QStringLiteral("5.5")));
    EXPECT_EQ(context.atomForIndex(1023), context.intern(QStringLiteral("1023")));
    EXPECT_EQ(context.atomForIndex(70000), context.intern(QStringLiteral("70000")));
    EXPECT_EQ(context.intern(QStringLiteral("x")), context.intern(QStringLiteral("x")));
}

TEST(Properties, RequestedFlagsAreIgnored)
{
    EchoContext context;
    ESObject *object = context.newObject(context.objectPrototype, context.objectClass.get());
    context.globalClass->put(context, context.globalObject, context.intern(QStringLiteral("fixed")),
                             ESValue::fromObject(object));
    context.defineProperty(object, ESPropertyFlag::ReadOnly | ESPropertyFlag::DontEnum,
                           context.intern(QStringLiteral("p")), ESValue::fromNumber(1));
    const QString out = runScript(context, QStringLiteral(
        "fixed.p = 2; var seen = false; for (var k in fixed) if (k == 'p') seen = true; "
        "Echo(fixed.p); Echo(seen);"));
    EXPECT_EQ(out, QStringLiteral("2\ntrue\n"));
}

TEST(Properties, DeletedSlotStaysAndIsNotReused)
{
    EchoContext context;
    ESObject *object = context.newObject(context.objectPrototype, context.objectClass.get());
    ESAtom *a = context.intern(QStringLiteral("a"));
    context.put(object, a, ESValue::fromNumber(1));
    EXPECT_TRUE(ESContext::deleteOwn(object, a));
    context.put(object, a, ESValue::fromNumber(2));
    ASSERT_EQ(object->properties.size(), 2u);
    EXPECT_EQ(object->properties[0].key, nullptr);
    EXPECT_EQ(object->properties[1].key, a);
}

TEST(Errors, ThrowErrorRecordsFileLineAndSourceLine)
{
    EchoContext context;
    const ESCompletion completion =
        context.evaluate(QStringLiteral("where.js"), QStringLiteral("x = 1;\n\nnull.y = 2;\n"));
    ASSERT_EQ(completion.kind, ESCompletion::Thrown);
    ESObject *error = completion.value.object;
    const auto text = [&](const char *name) {
        return context.toESString(context.get(error, context.intern(QString::fromLatin1(name))));
    };
    EXPECT_EQ(text("message"), QStringLiteral("can't convert null to an object"));
    EXPECT_EQ(text("fileName"), QStringLiteral("where.js"));
    EXPECT_EQ(text("lineNumber"), QStringLiteral("3"));
    EXPECT_EQ(text("sourceLine"), QStringLiteral("null.y = 2;"));
    EXPECT_EQ(text("name"), QStringLiteral("TypeError"));
    EXPECT_TRUE(ESContext::hasOwn(error, context.intern(QStringLiteral("lineNumber"))));
}

TEST(Calls, NativeCallerRunsScriptFunctionAndKeepsMachineState)
{
    EchoContext context;
    ASSERT_EQ(context.evaluate(QString(), QStringLiteral("function add(a, b) { return a + b; }")).kind,
              ESCompletion::Normal);
    ESValue function;
    context.lookupName(context.intern(QStringLiteral("add")), function);
    ASSERT_TRUE(function.isObject());
    const std::int32_t stackPointer = context.stackPointer;
    const ESValue arguments[] = {ESValue::fromNumber(2), ESValue::fromNumber(40)};
    ESValue result;
    context.callFunction(function.object, ESValue::fromObject(context.globalObject), 2, arguments, result);
    EXPECT_EQ(context.toNumber(result), 42);
    EXPECT_EQ(context.stackPointer, stackPointer);
}

TEST(Calls, ConstructObjectUsesThePrototypeProperty)
{
    EchoContext context;
    ASSERT_EQ(context.evaluate(QString(), QStringLiteral(
        "function P(v) { this.v = v; } P.prototype.kind = 'p';")).kind, ESCompletion::Normal);
    ESValue constructor;
    context.lookupName(context.intern(QStringLiteral("P")), constructor);
    const ESValue argument = ESValue::fromNumber(9);
    ESObject *made = context.constructObject(constructor.object, 1, &argument);
    EXPECT_EQ(context.toNumber(context.get(made, context.intern(QStringLiteral("v")))), 9);
    EXPECT_EQ(context.toESString(context.get(made, context.intern(QStringLiteral("kind")))),
              QStringLiteral("p"));
}

TEST(Runs, ShouldContinueStopsAnEndlessLoop)
{
    EchoContext context(5000);
    const ESCompletion completion =
        context.evaluate(QString(), QStringLiteral("function spin() { while (1) { } } spin();"));
    EXPECT_EQ(completion.kind, ESCompletion::Normal);
    // The function's frame stops at the first refused poll; the script's frame polls once more.
    EXPECT_EQ(context.executed, 5002);
}

TEST(Runs, RunawayRecursionIsFatal)
{
    EchoContext context;
    try {
        (void)context.evaluate(QString(), QStringLiteral("function f(n) { return f(n + 1); } f(0);"));
        FAIL() << "expected the fatal error";
    } catch (const ESFatalError &error) {
        EXPECT_EQ(error.message, QStringLiteral("virtual machine stack too small"));
    }
    EXPECT_EQ(runScript(context, QStringLiteral("1 + 1")), QStringLiteral("=> 2\n"))
        << "the context stays usable";
}

TEST(Runs, EvaluateKeepsGlobalsBetweenRuns)
{
    EchoContext context;
    EXPECT_EQ(runScript(context, QStringLiteral("var kept = 41;")), QString());
    EXPECT_EQ(runScript(context, QStringLiteral("kept + 1")), QStringLiteral("=> 42\n"));
}

TEST(Listing, ShowsSlotsAtomsJumpsAndCounts)
{
    EchoContext context;
    QString listing;
    ESParser parser(context);
    parser.setSource(QStringLiteral("var g = 2.5; function f(a) { var l; l = a; return o.m(l); }\n"
                                    "while (g) g--;"));
    parser.setListing(&listing);
    const std::unique_ptr<ESCode> code = parser.compileProgram();
    for (const char *line : {"NUM\t2.5", "PUTG\tg [idx=", "GETA\ta [idx=0]", "PUTL\tl [idx=0]",
                             "CALLF\tm, #1", "DECG\tg [idx=", "JF\t", "RETU", "RET"}) {
        EXPECT_TRUE(listing.contains(QString::fromLatin1(line))) << line << "\n" << listing.toStdString();
    }
    EXPECT_TRUE(listing.startsWith(QStringLiteral("; function #"))) << listing.toStdString();
    EXPECT_TRUE(listing.contains(QStringLiteral("\n0000:  ")));
}

TEST(Listing, ClosureVisibleLocalsUseActivationForms)
{
    EchoContext context;
    QString listing;
    ESParser parser(context);
    parser.setSource(QStringLiteral("function f() { var i = 0; function g() { return i; } return i; }"));
    parser.setListing(&listing);
    const std::unique_ptr<ESCode> code = parser.compileProgram();
    EXPECT_TRUE(listing.contains(QStringLiteral("GETW\ti"))) << listing.toStdString();
    EXPECT_TRUE(listing.contains(QStringLiteral("GETLM\ti"))) << listing.toStdString();
}

} // namespace
