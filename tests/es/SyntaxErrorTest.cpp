// Every kind of syntax and generation error, with its message and line.
#include "tests/es/EsTestSupport.h"
#include <gtest/gtest.h>

namespace {

struct ErrorCase {
    const char *name;
    const char *source;
    const char *message;
    int line;
};

class SyntaxErrors : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(SyntaxErrors, RaiseSyntaxErrorWithLine)
{
    EchoContext context;
    const ESCompletion completion =
        context.evaluate(QStringLiteral("bad.js"), QString::fromUtf8(GetParam().source));
    ASSERT_EQ(completion.kind, ESCompletion::Thrown);
    ASSERT_TRUE(completion.value.isObject());
    ESObject *error = completion.value.object;
    EXPECT_EQ(error->prototype, context.syntaxErrorClass->prototypeObject);
    const auto property = [&](const char *name) {
        return context.toESString(context.get(error, context.intern(QString::fromLatin1(name))));
    };
    EXPECT_EQ(property("message").toStdString(), GetParam().message);
    EXPECT_EQ(property("lineNumber"), QString::number(GetParam().line));
    EXPECT_EQ(property("fileName"), QStringLiteral("bad.js"));
    EXPECT_TRUE(context.output.isEmpty()) << "nothing runs when the compilation fails";
}

INSTANTIATE_TEST_SUITE_P(Cases, SyntaxErrors, ::testing::Values(
    ErrorCase{"missingSemicolonOnOneLine", "Echo(1);\nx = 1 y = 2", "expected ; found an identifier", 2},
    ErrorCase{"identityOperator", "a === b", "expected ; found ===", 1},
    ErrorCase{"notIdentityOperator", "\na !== b", "expected ; found !==", 2},
    ErrorCase{"inOperator", "x = a in b", "expected ; found in", 1},
    ErrorCase{"instanceofIsAnIdentifier", "a instanceof B", "expected ; found an identifier", 1},
    ErrorCase{"regularExpressionLiteral", "/x/.test(s)", "expected an expression, found /", 1},
    ErrorCase{"reservedWord", "class", "expected an expression, found class", 1},
    ErrorCase{"unknownCharacter", "x = 1;\ny = #", "unknown character '#'", 2},
    ErrorCase{"newlineInString", "s = \"abc\ndef\"", "newline in string constant", 1},
    ErrorCase{"endOfFileInString", "s = 'abc", "end of file in string constant", 1},
    ErrorCase{"shortHexEscape", "s = '\\x4'", "malformed hex escape sequence", 1},
    ErrorCase{"shortUnicodeEscape", "s = '\\u12g4'", "malformed hex escape sequence", 1},
    ErrorCase{"badOctalDigit", "\n\nn = 0779", "digit '9' is not radix 8", 3},
    ErrorCase{"returnAtTopLevel", "return 1", "return not in a function", 1},
    ErrorCase{"tooManyForInVariables", "for (var a, b in o) ;", "too many variables in for-in expression", 1},
    ErrorCase{"secondDefault", "switch (1) { default: default: }", "default case already defined", 1},
    ErrorCase{"badClause", "switch (1) { x }", "expected 'case' or 'default' but found 'an identifier'", 1},
    ErrorCase{"tryAlone", "try { }", "'catch' or 'finally' clause expected after 'try'", 1},
    ErrorCase{"badArrayLiteral", "a = [1 2]", "']' or ',' expected, found a number", 1},
    ErrorCase{"badObjectKey", "o = { (x): 1 }", "number, string, or identifier expected in object initialiser", 1},
    ErrorCase{"unclosedBlock", "function f() {\n", "expected } found end of input", 2},
    ErrorCase{"unclosedCall", "f(1, 2", "expected ) found end of input", 1},
    ErrorCase{"breakOutsideLoop", "x = 1;\nbreak;", "'break' not in a 'for' or 'while' loop", 2},
    ErrorCase{"continueOutsideLoop", "continue;", "'continue' not in a 'for' or 'while' loop", 1},
    ErrorCase{"unknownLabel", "while (1) { break nowhere; }", "can't find label nowhere", 1},
    ErrorCase{"continueToBlockLabel", "here: { while (1) { continue here; } }", "labeled 'continue' doesn't mark a loop", 1},
    ErrorCase{"assignToConstant", "1 = 2", "not lsh?", 1},
    ErrorCase{"incrementCall", "f()++", "not lsh?", 1},
    ErrorCase{"deleteConstant", "delete 1", "not lsh?", 1},
    ErrorCase{"compoundAssignToCall", "f() += 1", "only left-hand-side expressions allowed", 1},
    ErrorCase{"missingFunctionName", "function (a) {}", "expected an identifier found (", 1},
    ErrorCase{"missingParenthesis", "if x", "expected ( found an identifier", 1}),
    [](const auto &info) { return std::string(info.param.name); });

// Bad input of absurd size or depth: a clear error, never a crash.
struct LimitCase {
    const char *name;
    QString source;
    const char *message;
};

class SourceLimits : public ::testing::TestWithParam<LimitCase> {};

TEST_P(SourceLimits, FailWithMessage)
{
    EchoContext context;
    const ESCompletion completion = context.evaluate(QStringLiteral("deep.js"), GetParam().source);
    ASSERT_EQ(completion.kind, ESCompletion::Thrown);
    const ESValue message =
        context.get(completion.value.object, context.intern(QStringLiteral("message")));
    EXPECT_EQ(context.toESString(message).toStdString(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(Cases, SourceLimits, ::testing::Values(
    LimitCase{"parentheses", QString(10000, QLatin1Char('(')) + QStringLiteral("1") + QString(10000, QLatin1Char(')')),
              "expression or statement nested too deeply"},
    LimitCase{"blocks", QString(10000, QLatin1Char('{')) + QString(10000, QLatin1Char('}')),
              "expression or statement nested too deeply"},
    LimitCase{"unaryChain", QString(10000, QLatin1Char('-')) + QStringLiteral("1"),
              "expression or statement nested too deeply"},
    LimitCase{"binaryChain", QStringLiteral("x = 1") + QStringLiteral("+1").repeated(100000),
              "expression or statement nested too deeply"},
    LimitCase{"memberChain", QStringLiteral("x") + QStringLiteral(".y").repeated(100000),
              "expression or statement nested too deeply"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(SourceSize, HugeStringLiteralIsAValue)
{
    EchoContext context;
    const QString text(1 << 20, QLatin1Char('a'));
    const ESCompletion completion =
        context.evaluate(QString(), QStringLiteral("s = '") + text + QStringLiteral("'; s"));
    ASSERT_EQ(completion.kind, ESCompletion::Normal);
    EXPECT_EQ(context.toESString(completion.value).size(), text.size());
}

TEST(SourceSize, FunctionBeyondJumpRangeIsFatal)
{
    EchoContext context;
    const QString body = QStringLiteral("x = x + 1;").repeated(20000);
    const QString source = QStringLiteral("function f() { if (x) { ") + body + QStringLiteral(" } }");
    try {
        (void)context.evaluate(QString(), source);
        FAIL() << "expected the fatal error";
    } catch (const ESFatalError &error) {
        EXPECT_EQ(error.message, QStringLiteral("compiler error: patch constant too large"));
    }
}

} // namespace
