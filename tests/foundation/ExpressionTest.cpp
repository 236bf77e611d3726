#include "foundation/ExpressionParser.h"
#include <gtest/gtest.h>

namespace {

// What a text evaluates to with SimpleExpressionParser, as "type value".
QString describe(const QString &text)
{
    SimpleExpressionParser parser;
    bool ok = false;
    const ExpressionValue value = parser.evaluate(text, &ok);
    if (!ok)
        return QStringLiteral("error ") + parser.errorMessage();
    switch (value.kind) {
    case ExpressionKind::Float:
        return value.typeName() + QLatin1Char(' ') + QString::number(value.floating, 'g', 17);
    case ExpressionKind::String: return value.typeName() + QLatin1Char(' ') + value.text;
    case ExpressionKind::Unsigned:
        return value.typeName() + QLatin1Char(' ') + QString::number(quint64(value.integer));
    default: return value.typeName() + QLatin1Char(' ') + QString::number(value.integer);
    }
}

struct ValueCase {
    const char *name;
    const char *text;
    const char *expected;
};

void PrintTo(const ValueCase &valueCase, std::ostream *out)
{
    *out << valueCase.name;
}

class SimpleEvaluation : public ::testing::TestWithParam<ValueCase> {};

TEST_P(SimpleEvaluation, GivesTypeAndValue)
{
    EXPECT_EQ(describe(QString::fromUtf8(GetParam().text)), QString::fromUtf8(GetParam().expected))
        << GetParam().text;
}

const auto named = [](const auto &info) { return std::string(info.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Literals, SimpleEvaluation,
    ::testing::Values(ValueCase{"decimal", "42", "long long 42"},
                      ValueCase{"suffixIgnored", "42UL", "long long 42"},
                      ValueCase{"hex", "0xfF", "long long 255"},
                      ValueCase{"hexAlone", "0x", "long long 0"},
                      ValueCase{"hexFullRangeWraps", "0xFFFFFFFFFFFFFFFF", "long long -1"},
                      ValueCase{"binary", "0b1011", "long long 11"},
                      ValueCase{"leadingZeroIsDecimal", "010", "long long 10"},
                      ValueCase{"float", "2.5", "double 2.5"},
                      ValueCase{"stringWithoutEscapes", "\"a\\nb\"", "string a\\nb"},
                      ValueCase{"nonAsciiDigit", "\u0663+1", "long long 4"},
                      ValueCase{"tooLarge", "18446744073709551616",
                                "error integer constant too large: 18446744073709551616"},
                      ValueCase{"hexTooLarge", "0x10000000000000000",
                                "error integer constant too large: 0x10000000000000000"},
                      ValueCase{"largestUnsigned", "18446744073709551615", "long long -1"}),
    named);

INSTANTIATE_TEST_SUITE_P(
    Operators, SimpleEvaluation,
    ::testing::Values(ValueCase{"multiply", "6*7", "long long 42"},
                      ValueCase{"divideTruncates", "-7/2", "long long -3"},
                      ValueCase{"modKeepsSign", "-7%3", "long long -1"},
                      ValueCase{"minus", "3-5", "long long -2"},
                      ValueCase{"lshift", "1<<62", "long long 4611686018427387904"},
                      ValueCase{"rshiftArithmetic", "-16>>2", "long long -4"},
                      ValueCase{"shiftCountMasked", "1<<65", "long long 2"},
                      ValueCase{"bitOps", "(12&10)|(12^10)", "long long 14"},
                      ValueCase{"bitNot", "~5", "long long -6"},
                      ValueCase{"negate", "-(3)", "long long -3"},
                      ValueCase{"unaryPlus", "+3", "long long 3"},
                      ValueCase{"wrapsAround", "0x7FFFFFFFFFFFFFFF+1", "long long -9223372036854775808"},
                      ValueCase{"minOverMinusOne", "(-9223372036854775807-1)/-1",
                                "long long -9223372036854775808"},
                      ValueCase{"minModMinusOne", "(-9223372036854775807-1)%-1", "long long 0"},
                      ValueCase{"lessThan", "1<2", "boolean 1"},
                      ValueCase{"lessEqual", "2<=1", "boolean 0"},
                      ValueCase{"greater", "2>1", "boolean 1"},
                      ValueCase{"greaterEqual", "1>=1", "boolean 1"},
                      ValueCase{"equal", "1 == 1", "boolean 1"},
                      ValueCase{"notEqual", "1 != 1", "boolean 0"},
                      ValueCase{"logicalAnd", "1 && 0", "boolean 0"},
                      ValueCase{"logicalOr", "0 || 2", "boolean 1"},
                      ValueCase{"logicalNot", "!0", "boolean 1"},
                      ValueCase{"andShortCircuits", "0 && foo", "boolean 0"},
                      ValueCase{"orShortCircuits", "1 || foo", "boolean 1"},
                      ValueCase{"andEvaluatesRightWhenNeeded", "1 && foo", "error foo symbol not found"}),
    named);

INSTANTIATE_TEST_SUITE_P(
    Promotion, SimpleEvaluation,
    ::testing::Values(ValueCase{"floatOnTheRight", "1 + 0.5", "double 1.5"},
                      ValueCase{"floatOnTheLeft", "0.5 * 3", "double 1.5"},
                      ValueCase{"floatDivision", "1.0 / 4", "double 0.25"},
                      ValueCase{"floatComparison", "1 < 1.5", "boolean 1"},
                      ValueCase{"floatNegate", "-1.5", "double -1.5"},
                      ValueCase{"floatNot", "!0.0", "boolean 1"},
                      ValueCase{"booleanLeftStaysBoolean", "(1 == 1) + 5", "boolean 1"},
                      ValueCase{"booleanLeftSeesRightAsBoolean", "(1 == 1) - 7", "boolean 0"},
                      ValueCase{"booleanRightIsOneOnTheLeftKind", "5 + (1 == 1)", "long long 6"},
                      ValueCase{"booleanComparedAsBoolean", "(1 == 1) == 7", "boolean 1"},
                      ValueCase{"booleanShift", "(1 == 1) << 3", "boolean 1"},
                      ValueCase{"stringsEqual", "\"ab\" == \"ab\"", "boolean 1"},
                      ValueCase{"stringsDiffer", "\"ab\" != \"aB\"", "boolean 1"},
                      ValueCase{"floatShiftTruncates", "2.9 << 1", "double 4"}),
    named);

INSTANTIATE_TEST_SUITE_P(
    Precedence, SimpleEvaluation,
    ::testing::Values(ValueCase{"multiplyFirst", "1+2*3", "long long 7"},
                      ValueCase{"additionBeforeShift", "1<<2+1", "long long 8"},
                      ValueCase{"leftAssociativeMinus", "10-3-2", "long long 5"},
                      ValueCase{"leftAssociativeDivide", "100/10/5", "long long 2"},
                      ValueCase{"relationBeforeEquality", "1 < 2 == 1", "boolean 1"},
                      ValueCase{"bitAndBeforeXorBeforeOr", "1 | 2 ^ 3 & 6", "long long 1"},
                      ValueCase{"andBeforeOr", "1 || 0 && 0", "boolean 1"},
                      ValueCase{"equalityBeforeBitAnd", "3 & 2 == 2", "long long 1"},
                      ValueCase{"parentheses", "(1+2)*3", "long long 9"},
                      ValueCase{"unaryBindsTightest", "-2*-3", "long long 6"},
                      ValueCase{"trailingTokensIgnored", "1 2", "long long 1"},
                      ValueCase{"trailingGarbageIgnored", "1 # )", "long long 1"}),
    named);

INSTANTIATE_TEST_SUITE_P(
    Failures, SimpleEvaluation,
    ::testing::Values(
        ValueCase{"identifier", "foo", "error foo symbol not found"},
        ValueCase{"scopedIdentifier", "a::b", "error a::b symbol not found"},
        ValueCase{"rootScopedIdentifier", "::a::b", "error ::a::b symbol not found"},
        ValueCase{"register", "@r0", "error unknown register"},
        ValueCase{"cast", "(unsigned int)1", "error cannot cast"},
        ValueCase{"dereference", "*1", "error cannot dereference"},
        ValueCase{"index", "1[2]", "error cannot dereference"},
        ValueCase{"member", "(1).x", "error cannot dereference"},
        ValueCase{"arrow", "(1)->x", "error cannot dereference"},
        ValueCase{"addressof", "&1", "error addressof not implemented"},
        ValueCase{"sizeofExpression", "sizeof 1", "error sizeof expression not implemented"},
        ValueCase{"sizeofParenthesised", "sizeof(1+2)", "error sizeof expression not implemented"},
        ValueCase{"sizeofType", "sizeof(int)", "error sizeof(typename) not implemented"},
        ValueCase{"sizeofPointerType", "sizeof(struct s **)", "error sizeof(typename) not implemented"},
        ValueCase{"call", "(1)(2, 3)", "error function calling not implemented"},
        ValueCase{"namedCall", "f()", "error function calling not implemented"},
        ValueCase{"this", "this", "error this symbol not found"},
        ValueCase{"addressofLine", "addressof(\"main.c\", 12)", "error addressof not implemented"},
        ValueCase{"assignToConstant", "1 = 2", "error can't update a constant"},
        ValueCase{"assignToIdentifier", "a = 2", "error a symbol not found"},
        ValueCase{"incrementConstant", "++1", "error can't update a constant"},
        ValueCase{"postDecrementConstant", "1--", "error can't update a constant"},
        ValueCase{"compoundAssignment", "a += 1", "error a symbol not found"},
        ValueCase{"question", "1 ? 2 : 3", "error operator not supported"},
        ValueCase{"comma", "1, 2", "error operator not supported"},
        ValueCase{"unsignedShift", "8 >>> 1", "error operator not supported"},
        ValueCase{"unsignedShiftAssign", "a >>>= 1", "error operator not supported"},
        ValueCase{"divideByZero", "1/0", "error divide by zero"},
        ValueCase{"modByZero", "1%0", "error divide by zero"},
        ValueCase{"floatDivideByZero", "1.5/0", "error divide by zero"},
        ValueCase{"floatMod", "1.5%1", "error unsupported binary numeric operation"},
        ValueCase{"floatBitAnd", "1&1.5", "error unsupported binary numeric operation"},
        ValueCase{"stringPlus", "\"a\"+1", "error unsupported binary numeric operation"},
        ValueCase{"stringAnd", "\"a\" && 1", "error unsupported binary numeric operation"},
        ValueCase{"stringLess", "\"a\" < \"b\"", "error unsupported comparison operation"},
        ValueCase{"stringEqualsNumber", "\"1\" == 1", "error unsupported comparison operation"},
        ValueCase{"stringNegate", "-\"a\"", "error unsupported unary num operation"},
        ValueCase{"floatBitNot", "~1.5", "error unsupported unary num operation"},
        ValueCase{"shiftByFloat", "1 << 1.5", "error integer shift value expected"},
        ValueCase{"shiftByBoolean", "1 << (1 == 1)", "error integer shift value expected"},
        ValueCase{"shiftString", "\"a\" << 1", "error can only shift numeric values"},
        ValueCase{"missingOperand", "1 +", "error unexpected token TOKEN_EOF"},
        ValueCase{"whitespaceOnly", "  ", "error unexpected token TOKEN_EOF"},
        ValueCase{"garbage", "#", "error unexpected token TOKEN_UNKNOWN"},
        ValueCase{"closingFirst", ")", "error unexpected token TOKEN_RIGHT_PARENTHESIS"},
        ValueCase{"unclosedParenthesis", "(1", "error ')' expected"},
        ValueCase{"unclosedIndex", "a[1", "error ']' expected"},
        ValueCase{"unclosedCall", "f(1 2)", "error ')' expected"},
        ValueCase{"unclosedArrayType", "sizeof(int[4)", "error expected ']'"},
        ValueCase{"scopeWithoutName", ":: 1", "error identifier expected"},
        ValueCase{"scopeThenNumber", "a::1", "error identifier expected"},
        ValueCase{"memberWithoutName", "a.1", "error identifier expected"},
        ValueCase{"addressofWithoutParenthesis", "addressof 1", "error '(' expected"},
        ValueCase{"addressofWithoutString", "addressof(1, 2)", "error string expected"},
        ValueCase{"addressofWithoutComma", "addressof(\"f\" 2)", "error ',' expected"},
        ValueCase{"addressofWithoutLine", "addressof(\"f\", x)", "error int expected"}),
    named);

// An empty text is no result and no error; everything else that fails says why.
TEST(ExpressionEntryPoints, EmptyTextGivesNoValue)
{
    SimpleExpressionParser parser;
    bool ok = true;
    EXPECT_TRUE(parser.evaluate(QString(), &ok).isEmpty());
    EXPECT_FALSE(ok);
    EXPECT_TRUE(parser.errorMessage().isEmpty());
}

struct BooleanCase {
    const char *name;
    const char *text;
    bool ok;
    bool value;
};

void PrintTo(const BooleanCase &booleanCase, std::ostream *out)
{
    *out << booleanCase.name;
}

class BooleanEntryPoint : public ::testing::TestWithParam<BooleanCase> {};

TEST_P(BooleanEntryPoint, SucceedsOnlyForBooleanResults)
{
    SimpleExpressionParser parser;
    bool ok = !GetParam().ok;
    EXPECT_EQ(parser.toBoolean(QString::fromUtf8(GetParam().text), &ok), GetParam().value);
    EXPECT_EQ(ok, GetParam().ok);
}

INSTANTIATE_TEST_SUITE_P(Cases, BooleanEntryPoint,
                         ::testing::Values(BooleanCase{"comparisonTrue", "3 > 2", true, true},
                                           BooleanCase{"comparisonFalse", "3 < 2", true, false},
                                           BooleanCase{"numberFails", "1", false, false},
                                           BooleanCase{"floatFails", "1.5", false, false},
                                           BooleanCase{"stringFails", "\"yes\"", false, false},
                                           BooleanCase{"errorFails", "foo", false, false},
                                           BooleanCase{"emptyFails", "", false, false},
                                           BooleanCase{"negatedNumber", "!5", true, false}),
                         named);

TEST(ExpressionEntryPoints, NumericResultOfBooleanRequestNamesItsType)
{
    SimpleExpressionParser parser;
    bool ok = true;
    EXPECT_FALSE(parser.toBoolean(QStringLiteral("1"), &ok));
    EXPECT_EQ(parser.errorMessage(), QStringLiteral("boolean expected, not long long"));
}

TEST(ExpressionEntryPoints, IntegerRequestsSucceedForAnyValue)
{
    SimpleExpressionParser parser;
    bool ok = false;
    EXPECT_EQ(parser.toInteger(QStringLiteral("0x100000005"), &ok), 5);
    EXPECT_TRUE(ok);
    EXPECT_EQ(parser.toInteger(QStringLiteral("0xFFFFFFFF"), &ok), -1);
    EXPECT_EQ(parser.toLongLong(QStringLiteral("0x100000005"), &ok), 0x100000005LL);
    EXPECT_EQ(parser.toLongLong(QStringLiteral("2 > 1"), &ok), 1);
    EXPECT_TRUE(ok);
    EXPECT_EQ(parser.toInteger(QStringLiteral("7.9"), &ok), 7);
    EXPECT_TRUE(ok);
    EXPECT_EQ(parser.toLongLong(QStringLiteral("1e"), &ok), 1) << "trailing identifier ignored";
    EXPECT_EQ(parser.toInteger(QStringLiteral("1/0"), &ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(parser.toLongLong(QString(), &ok), 0);
    EXPECT_FALSE(ok);
}

TEST(ExpressionEntryPoints, ParserIsReusableAfterFailure)
{
    SimpleExpressionParser parser;
    bool ok = false;
    (void)parser.toInteger(QStringLiteral("((((("), &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(parser.toInteger(QStringLiteral("2*(3+4)"), &ok), 14);
    EXPECT_TRUE(ok);
    EXPECT_TRUE(parser.errorMessage().isEmpty());
}

// Input that would otherwise recurse without bound fails cleanly instead of exhausting the stack.
TEST(ExpressionLimits, DeepInputFailsWithAMessage)
{
    const QString nested = QStringLiteral("expression nested too deeply");
    EXPECT_EQ(describe(QString(100000, QLatin1Char('('))), QStringLiteral("error ") + nested);
    EXPECT_EQ(describe(QString(100000, QLatin1Char('-')) + QLatin1Char('1')),
              QStringLiteral("error ") + nested);
    EXPECT_EQ(describe(QStringLiteral("1") + QStringLiteral("+1").repeated(100000)),
              QStringLiteral("error ") + nested);
    EXPECT_EQ(describe(QStringLiteral("a") + QStringLiteral("[0]").repeated(100000)),
              QStringLiteral("error ") + nested);
}

// `x++` and `x += 1` copy their target, so each link of a chain doubles the tree.
TEST(ExpressionLimits, DoublingChainsFailWithAMessage)
{
    const QString tooLarge = QStringLiteral("error expression too large");
    EXPECT_EQ(describe(QStringLiteral("a") + QStringLiteral("++").repeated(100000)), tooLarge);
    EXPECT_EQ(describe(QStringLiteral("++").repeated(200) + QStringLiteral("a")), tooLarge);
    EXPECT_EQ(describe(QStringLiteral("a") + QStringLiteral("+=1").repeated(100)), tooLarge);
    EXPECT_EQ(describe(QStringLiteral("a") + QStringLiteral("+=1").repeated(10)),
              QStringLiteral("error a symbol not found"));
}

TEST(ExpressionLimits, ModerateNestingStillWorks)
{
    EXPECT_EQ(describe(QString(100, QLatin1Char('(')) + QLatin1Char('1')
                       + QString(100, QLatin1Char(')'))),
              QStringLiteral("long long 1"));
    EXPECT_EQ(describe(QStringLiteral("0") + QStringLiteral("+1").repeated(1000)),
              QStringLiteral("long long 1000"));
}

} // namespace
