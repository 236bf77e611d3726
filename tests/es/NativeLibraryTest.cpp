// The native library as scripts see it: the global functions, Object, Function, Array, String and
// the error types, with this engine's departures from the standard first, then the guards
// against absurd arguments, then load() and the library scripts in data/library.
#include "tests/es/EsTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The completion value's text, or "Name: message" of what was thrown.
QString outcome(EchoContext &context, const QString &source)
{
    const ESCompletion completion = context.evaluate(QStringLiteral("test.js"), source);
    if (completion.kind != ESCompletion::Thrown)
        return context.output + context.toESString(completion.value);
    const ESValue value = completion.value;
    if (!value.isObject())
        return QStringLiteral("thrown ") + context.toESString(value);
    const auto property = [&](const char *name) {
        return context.toESString(context.get(value.object, context.intern(QString::fromLatin1(name))));
    };
    return context.output + property("name") + QStringLiteral(": ") + property("message");
}

struct LibraryCase {
    const char *name;
    const char *source;
    const char *expected;
};

void PrintTo(const LibraryCase &libraryCase, std::ostream *out)
{
    *out << libraryCase.source;
}

class Library : public ::testing::TestWithParam<LibraryCase> {};

TEST_P(Library, GivesTheExpectedValue)
{
    EchoContext context;
    EXPECT_EQ(outcome(context, QString::fromUtf8(GetParam().source)).toStdString(),
              GetParam().expected);
}

std::string caseName(const ::testing::TestParamInfo<LibraryCase> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Departures, Library, ::testing::Values(
    LibraryCase{"replaceEveryOccurrence", R"("aXbXc".replace("X", "-"))", "a-b-c"},
    LibraryCase{"replaceIsPlainText", R"("a.b.c".replace(".", "$&"))", "a$&b$&c"},
    LibraryCase{"trimCollapsesInnerBlanks", R"(" a   b ".trim())", "a b"},
    LibraryCase{"trimCollapsesTabsAndNewlines", "'\\t x \\n\\n y\\t'.trim()", "x y"},
    LibraryCase{"parseIntRejectsTrailingJunk", R"(parseInt("12px"))", "NaN"},
    LibraryCase{"parseIntLeadingZeroIsOctal", R"(parseInt("010"))", "8"},
    LibraryCase{"parseIntBadOctalDigit", R"(parseInt("08"))", "NaN"},
    LibraryCase{"parseIntHexPrefix", R"(parseInt("0x1A"))", "26"},
    LibraryCase{"parseIntHexPrefixWithRadix", R"(parseInt("0x1A", 16))", "26"},
    LibraryCase{"parseIntFirstWordOnly", R"(parseInt("  42   17 "))", "42"},
    LibraryCase{"parseIntBeyond32Bits", R"(parseInt("4294967296"))", "NaN"},
    LibraryCase{"parseIntNegative", R"(parseInt("-2147483648"))", "-2147483648"},
    LibraryCase{"parseFloatSinglePrecision", R"(parseFloat("0.1") - 0.1)", "1.49012e-09"},
    LibraryCase{"parseFloatNotEqualToDouble", R"(parseFloat("0.1") == 0.1)", "false"},
    LibraryCase{"parseFloatExactValue", R"(parseFloat("0.5") == 0.5)", "true"},
    LibraryCase{"parseFloatTrailingJunk", R"(parseFloat("1.5abc"))", "NaN"},
    LibraryCase{"parseFloatBeyondSingleRange", R"(parseFloat("1e40"))", "NaN"},
    LibraryCase{"sortByText", "[3, 20, 1].sort()", "1,20,3"},
    LibraryCase{"sortCaseSensitive", R"(["b", "a", "B", "A"].sort())", "A,B,a,b"},
    LibraryCase{"stringLengthIsFixed", R"(var s = new String("abc"); s.length = 1; s.length)", "3"},
    LibraryCase{"matchDoesNothing", R"(typeof "abc".match("b"))", "undefined"},
    LibraryCase{"splitKeepsEmptyParts", R"("a,,b,".split(",").length)", "4"},
    LibraryCase{"functionTextIsHidden", "function f() { return 1; } f.toString()", "<<function>>"},
    LibraryCase{"errorClassNameIsError",
                "var e = new TypeError('t'); e.f = Object.prototype.toString; e.f()",
                "[object Error]"},
    LibraryCase{"evalSwallowsThrown", "var r = eval('null.x'); typeof r", "undefined"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Global, Library, ::testing::Values(
    LibraryCase{"evalNonStringReturnsIt", "eval(5) + 1", "6"},
    LibraryCase{"evalRunsInTheSameContext", "var x = 2; eval('x * 21')", "42"},
    LibraryCase{"parseIntRadix", R"(parseInt("ff", 16) + parseInt("11", 2) + parseInt("z", 36))",
                "293"},
    LibraryCase{"parseIntRadixZeroIsAutomatic", R"(parseInt("0x10", 0))", "16"},
    LibraryCase{"parseIntNaNRadixIsAutomatic", R"(parseInt("12", NaN))", "12"},
    LibraryCase{"parseIntRadixOutOfRange", R"(parseInt("1", 37) + " " + parseInt("1", 1))",
                "NaN NaN"},
    LibraryCase{"parseIntEmpty", R"(parseInt("") + " " + parseInt("   "))", "NaN NaN"},
    LibraryCase{"parseIntOfNumber", "parseInt(12.75)", "NaN"},
    LibraryCase{"parseFloatFirstWord", R"(parseFloat("  3.25 x"))", "3.25"},
    LibraryCase{"isNaN", R"(isNaN("x") + " " + isNaN("1") + " " + isNaN(""))", "true false true"},
    LibraryCase{"isFinite", R"(isFinite("12") + " " + isFinite(1/0) + " " + isFinite(NaN))",
                "true false false"},
    LibraryCase{"installedValues", "typeof undefined + ' ' + NaN + ' ' + Infinity",
                "undefined NaN Infinity"},
    LibraryCase{"lengths",
                "eval.length + '' + parseInt.length + parseFloat.length + isNaN.length "
                "+ isFinite.length + load.length",
                "121111"},
    LibraryCase{"loadMissingFile", R"(load("no/such/file.js"))", "false"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Object, Library, ::testing::Values(
    LibraryCase{"toString", "var o = {}; o.toString()", "[object Object]"},
    LibraryCase{"toStringOfArray", "var a = [1]; a.f = Object.prototype.toString; a.f()",
                "[object Array]"},
    LibraryCase{"toLocaleString", "var o = {}; o.toLocaleString()", "[object Object]"},
    LibraryCase{"valueOfIsThis", "var o = {}; o.valueOf() == o", "true"},
    LibraryCase{"constructorWrapsNumber", "var n = new Object(5); typeof n + ' ' + (n + 1)",
                "object 6"},
    LibraryCase{"constructorKeepsObject", "var o = {a: 1}; Object(o) == o", "true"},
    LibraryCase{"constructorNullMakesObject", "typeof Object(null) + Object(undefined).toString()",
                "object[object Object]"},
    LibraryCase{"hasOwnProperty", "var o = {a: 1}; o.hasOwnProperty('a') + ' ' + o.hasOwnProperty('toString')",
                "true false"},
    LibraryCase{"isPrototypeOf", "var a = []; Array.prototype.isPrototypeOf(a) + ' ' "
                "+ Object.prototype.isPrototypeOf(a) + ' ' + a.isPrototypeOf(a)",
                "true true false"},
    LibraryCase{"propertyIsEnumerable", "var o = {a: 1}; o.propertyIsEnumerable('a') + ' ' "
                "+ o.propertyIsEnumerable('b')",
                "true false"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Function, Library, ::testing::Values(
    LibraryCase{"parametersAndBody", R"(var f = Function("a", "b", "return a * b"); f(6, 7))", "42"},
    LibraryCase{"parametersJoined", R"(var f = new Function("a, b", "c", "return a + b + c"); f(1, 2, 3))",
                "6"},
    LibraryCase{"noArgumentIsEmpty", "var f = Function(); typeof f + ' ' + typeof f()",
                "function undefined"},
    LibraryCase{"lengthOfCompiled", R"(var f = Function("a", "b", ""); f.length)", "2"},
    LibraryCase{"badBody", "Function('return (')", "SyntaxError: expected an expression, found end of input"},
    LibraryCase{"trailingComma", R"(Function("a,", ""))", "SyntaxError: expected an identifier found end of input"},
    LibraryCase{"parametersWithoutComma", R"(Function("a b", ""))",
                "SyntaxError: expected end of input found an identifier"},
    LibraryCase{"declaredTrailingComma", "function g(a,) {}", "SyntaxError: expected an identifier found )"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Array, Library, ::testing::Values(
    LibraryCase{"constructorLength", "var a = new Array(5); a.length + ' ' + a[0]", "5 undefined"},
    LibraryCase{"constructorOneString", "var a = Array('5'); a.length + ' ' + a[0]", "1 5"},
    LibraryCase{"constructorElements", "Array(1, 2, 3).length", "3"},
    LibraryCase{"constructorHugeLengthIsCheap", "new Array(4294967295).length", "4294967295"},
    LibraryCase{"shrinkingLengthDeletes", "var a = [1, 2, 3]; a.length = 1; a + ' ' + a.length "
                "+ ' ' + a.hasOwnProperty('1') + ' ' + a.hasOwnProperty('2')",
                "1 1 false false"},
    LibraryCase{"storeBeyondLength", "var a = []; a[10] = 1; a.length", "11"},
    LibraryCase{"leadingZeroIsNoIndex", "var a = []; a['01'] = 1; a.length", "0"},
    LibraryCase{"storeBelowLengthKeepsIt", "var a = [1, 2, 3]; a[0] = 9; a.length", "3"},
    LibraryCase{"hugeIndexKeepsLength", "var a = []; a[4294967294] = 1; a.length", "0"},
    LibraryCase{"lengthFromText", "var a = [1, 2, 3]; a.length = '2'; a.length + typeof a.length",
                "2number"},
    LibraryCase{"deletedElementIsHole", "var a = [1, 2, 3]; delete a[1]; a.join('-')", "1--3"},
    LibraryCase{"toString", "[1, [2, 3], null, undefined, 'x'].toString()", "1,2,3,,,x"},
    LibraryCase{"toLocaleString", "[1, 2].toLocaleString()", "1,2"},
    LibraryCase{"join", "[1, 2, 3].join(' and ') + [].join() + [1, 2].join()", "1 and 2 and 31,2"},
    LibraryCase{"concat", "[1, 2].concat([3, 4], 5, [[6]]).join('|')", "1|2|3|4|5|6"},
    LibraryCase{"concatKeepsHoles", "var a = [1]; a[2] = 3; var c = a.concat([4]); c.length + ':' + c",
                "4:1,,3,4"},
    LibraryCase{"pop", "var a = [1, 2, 3]; a.pop() + ' ' + a + ' ' + a.length", "3 1,2 2"},
    LibraryCase{"popEmpty", "var a = []; typeof a.pop() + a.length", "undefined0"},
    LibraryCase{"push", "var a = [1]; a.push(2, 3) + ' ' + a", "3 1,2,3"},
    LibraryCase{"reverse", "var a = [1, 2, 3, 4]; a.reverse() + ' ' + a", "4,3,2,1 4,3,2,1"},
    LibraryCase{"reverseMovesHoles", "var a = [1, 2]; a[3] = 4; a.reverse(); a.hasOwnProperty('1') "
                "+ ' ' + a.hasOwnProperty('2') + ' ' + a",
                "false true 4,,2,1"},
    LibraryCase{"shift", "var a = [1, 2, 3]; a.shift() + ' ' + a + ' ' + a.length", "1 2,3 2"},
    LibraryCase{"slice", "var a = [1, 2, 3, 4, 5]; a.slice(1, 3) + ' ' + a.slice(-2) + ' ' "
                "+ a.slice(3, 1).length + ' ' + a.slice(-9, -4)",
                "2,3 4,5 0 1"},
    LibraryCase{"genericPushOnObject", "var o = {}; o.push = Array.prototype.push; o.push(7); "
                "o.length + ' ' + o[0]",
                "1 7"},
    LibraryCase{"sparseThenDense", "var a = []; a[5000000] = 'far'; for (var i = 0; i < 3000; i++) "
                "a[i] = i; a[2999] + ' ' + a[5000000] + ' ' + a.length + ' ' + a[3000]",
                "2999 far 5000001 undefined"},
    LibraryCase{"deleteThenStoreAgain", "var a = [1, 2, 3]; delete a[1]; a[1] = 'x'; a.join()", "1,x,3"},
    LibraryCase{"shrinkSparseArray", "var a = []; a[3000000] = 1; a[2] = 2; a.length = 3; "
                "typeof a[3000000] + ' ' + a.length + ' ' + a[2]",
                "undefined 3 2"},
    LibraryCase{"elementFromPrototype", "Array.prototype[3] = 'p'; var a = [1]; a.length = 5; "
                "a[3] + ' ' + a.join('-')",
                "p 1---p-"},
    LibraryCase{"otherKeysOnArray", "var a = [1]; a.name = 'n'; a['01'] = 'z'; a.name + a['01'] + a.length",
                "nz1"},
    LibraryCase{"literalElementsInOrder", "var a = ['a', 'b', 'c']; a[1] = 'B'; a.pop(); a + ' ' + a.length",
                "a,B 2"},
    LibraryCase{"noUnshiftOrSplice", "typeof [].unshift + typeof [].splice", "undefinedundefined"},
    LibraryCase{"lengths", "var p = Array.prototype; p.concat.length + '' + p.join.length "
                "+ p.pop.length + p.push.length + p.reverse.length + p.shift.length + p.slice.length "
                "+ p.sort.length + p.toString.length + Array.length",
                "0100002101"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Sort, Library, ::testing::Values(
    LibraryCase{"compareFunction", "[5, 1, 4, 2, 3, 10].sort(function (a, b) { return a - b; })",
                "1,2,3,4,5,10"},
    LibraryCase{"compareResultThroughToNumber",
                "[3, 1, 2].sort(function (a, b) { return a > b ? '1' : '-1'; })", "1,2,3"},
    LibraryCase{"compareThisIsTheArray",
                "var a = [2, 1]; var seen; a.sort(function (x, y) { seen = this; return x - y; }); seen == a",
                "true"},
    LibraryCase{"holesGoToTheEnd", "var a = [3]; a[2] = 1; a[4] = 2; a.sort(); "
                "a.length + ':' + a + ':' + a.hasOwnProperty('3')",
                "5:1,2,3,,:false"},
    LibraryCase{"undefinedSortsAsText", "[undefined, 'v', 'z', 'a'].sort()", "a,,v,z"},
    LibraryCase{"returnsTheArray", "var a = [2, 1]; a.sort() == a", "true"},
    LibraryCase{"shortArraysUntouched", "var a = [1]; a.sort(5 > 3 ? undefined : 0) + a.length", "11"},
    LibraryCase{"longerRun", "var a = []; for (var i = 0; i < 200; i++) a[i] = (i * 37) % 200; "
                "a.sort(function (x, y) { return x - y; }); var ok = 1; "
                "for (var j = 0; j < 200; j++) if (a[j] != j) ok = 0; ok",
                "1"},
    LibraryCase{"compareEmptiesArray", "var a = [3, 1, 2]; a.sort(function (x, y) { a.length = 0; "
                "return x - y; }); a.length + ':' + a",
                "2:1,3"},
    LibraryCase{"compareGrowsArray", "var a = [3, 1, 2]; a.sort(function (x, y) { a[9] = 0; "
                "return y - x; }); a.length + ':' + a",
                "10:3,2,1,,,,,,,0"},
    LibraryCase{"compareThrowsKeepsElements", "var a = [5, 4, 3, 2, 1]; var n = 0; var r = eval("
                "'a.sort(function (x, y) { if (++n == 3) var z = null.x; return x - y; })'); "
                "typeof r + ':' + a.slice(0).sort()",
                "undefined:1,2,3,4,5"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(String, Library, ::testing::Values(
    LibraryCase{"callConverts", "String(12) + String(null)", "12null"},
    LibraryCase{"newWrapsUndefined", "var s = new String(); s.toString()", "undefined"},
    LibraryCase{"newWrapsText", "var s = new String('ab'); typeof s + s.length + s.valueOf()",
                "object2ab"},
    LibraryCase{"fromCharCode", "String.fromCharCode(72, 105, 65569) + String.fromCharCode().length",
                "Hi!0"},
    LibraryCase{"charAt", "'hello'.charAt(1) + '|' + 'hello'.charAt(9) + '|' + 'hello'.charAt(-1)",
                "e||"},
    LibraryCase{"charCodeAt", "'hello'.charCodeAt(1) + ' ' + 'hello'.charCodeAt(5)", "101 NaN"},
    LibraryCase{"concat", "'a'.concat('b', 1, null)", "ab1null"},
    LibraryCase{"indexOf", "'hello'.indexOf('l') + ' ' + 'hello'.indexOf('l', 3) + ' ' "
                "+ 'hello'.indexOf('L') + ' ' + 'hello'.indexOf('', 99)",
                "2 3 -1 5"},
    LibraryCase{"lastIndexOf", "'hello'.lastIndexOf('l') + ' ' + 'hello'.lastIndexOf('l', 2) + ' ' "
                "+ 'hello'.lastIndexOf('x')",
                "3 2 -1"},
    LibraryCase{"localeCompare", "('a'.localeCompare('b') < 0) + ' ' + 'a'.localeCompare('a')",
                "true 0"},
    LibraryCase{"search", "'hello'.search('ll') + ' ' + 'hello'.search('x')", "2 -1"},
    LibraryCase{"replaceEmptyPattern", "'ab'.replace('', '-')", "-a-b-"},
    LibraryCase{"slice", "'hello'.slice(1, 3) + '|' + 'hello'.slice(-3) + '|' + 'hello'.slice(3, 1)",
                "el|llo|"},
    LibraryCase{"split", "var p = 'a b c'.split(' '); p.length + ':' + p.join('|')", "3:a|b|c"},
    LibraryCase{"splitLimit", "'a,b,c'.split(',', 2).join('|')", "a|b"},
    LibraryCase{"splitEmptySeparator", "'abc'.split('').join('|')", "a|b|c"},
    LibraryCase{"splitNoSeparator", "var p = 'a,b'.split(); p.length + p[0]", "1a,b"},
    LibraryCase{"substring", "'hello'.substring(1, 3) + '|' + 'hello'.substring(3, 1) + '|' "
                "+ 'hello'.substring(-5, 2) + '|' + 'hello'.substring(2)",
                "el|el|he|llo"},
    LibraryCase{"caseConversion", "'MiXed'.toLowerCase() + 'MiXed'.toUpperCase() "
                "+ 'Ab'.toLocaleLowerCase() + 'Ab'.toLocaleUpperCase()",
                "mixedMIXEDabAB"},
    LibraryCase{"methodsOnNumbers", "var n = new Number(123); n.f = String.prototype.indexOf; n.f('2')",
                "1"},
    LibraryCase{"lengths", "var p = String.prototype; String.fromCharCode.length + '' + p.charAt.length "
                "+ p.indexOf.length + p.replace.length + p.split.length + p.substring.length "
                "+ p.trim.length + p.concat.length",
                "01222200"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Error, Library, ::testing::Values(
    LibraryCase{"nameAndMessage", "var e = new RangeError('r'); e.name + ':' + e.message", "RangeError:r"},
    LibraryCase{"defaultMessage", "var e = new Error(); e.name + ':' + e.message + ':' "
                "+ e.hasOwnProperty('message')",
                "Error::false"},
    LibraryCase{"calledAsFunction", "var e = TypeError('t'); e.name + ':' + e.message", "TypeError:t"},
    LibraryCase{"everyType", "EvalError().name + ReferenceError().name + SyntaxError().name",
                "EvalErrorReferenceErrorSyntaxError"},
    LibraryCase{"prototypeChain", "var e = new SyntaxError('s'); SyntaxError.prototype.isPrototypeOf(e) "
                "+ ' ' + Error.prototype.isPrototypeOf(e)",
                "true true"},
    LibraryCase{"noOwnToString", "Error.prototype.hasOwnProperty('toString')", "false"}),
    caseName);

// Wrong `this`, absurd arguments and runaway growth: a clear error or a defined result.
INSTANTIATE_TEST_SUITE_P(Guards, Library, ::testing::Values(
    LibraryCase{"negativeArrayLength", "new Array(-1)", "RangeError: bad length in array constructor"},
    LibraryCase{"fractionalArrayLength", "Array(1.5)", "RangeError: bad length in array constructor"},
    LibraryCase{"nanArrayLength", "new Array(NaN)", "RangeError: bad length in array constructor"},
    LibraryCase{"sortArgumentNotFunction", "[2, 1].sort({})",
                "Error: Array.prototype.sort argument is not a function"},
    LibraryCase{"arrayToStringOnObject", "var o = {}; o.f = Array.prototype.toString; o.f()",
                "TypeError: Array.prototype.toString requires an array"},
    LibraryCase{"arrayToLocaleStringOnObject", "var o = {}; o.f = Array.prototype.toLocaleString; o.f()",
                "TypeError: Array.prototype.toString requires an array"},
    LibraryCase{"stringToStringOnObject", "var o = {}; o.f = String.prototype.toString; o.f()",
                "TypeError: String.prototype.toString called on non-String object"},
    LibraryCase{"stringValueOfOnNumber", "var n = new Number(1); n.f = String.prototype.valueOf; n.f()",
                "TypeError: String.prototype.valueOf called on non-String object"},
    LibraryCase{"joinOfHugeSparseArray", "var a = new Array(4294967295); a[0] = 1; a.join()",
                "RangeError: array too long for Array.prototype.join"},
    LibraryCase{"sortOfHugeSparseArray", "var a = []; a.length = 4294967295; a.sort()",
                "RangeError: array too long for Array.prototype.sort"},
    LibraryCase{"reverseOfHugeSparseArray", "new Array(4294967295).reverse()",
                "RangeError: array too long for Array.prototype.reverse"},
    LibraryCase{"joinBeyondTextLimit", "var s = '0123456789'; s = s + s + s + s; new Array(4194000).join(s)",
                "RangeError: string too long"},
    LibraryCase{"sliceOfHugeArrayIsBounded", "new Array(4294967295).slice(4294967290).length", "5"},
    LibraryCase{"pushBeyondLengthLimitWraps", "var a = new Array(4294967295); a.push(1)", "0"},
    LibraryCase{"replaceGrowthStops", "var s = 'a'; var t = 'b'; for (var i = 0; i < 16; i++) { s = s + s; t = t + t; } "
                "s.replace('a', t)",
                "RangeError: string too long"},
    LibraryCase{"hugeCharAtIndex", "'abc'.charAt(4294967296) + 'abc'.charAt(-Infinity) + 'abc'.charAt(NaN)",
                "a"},
    LibraryCase{"hugeSubstringBounds", "'abc'.substring(-1e300, 1e300) + 'abc'.slice(NaN, Infinity)",
                "abcabc"},
    LibraryCase{"methodsOnTheGlobalThis", "var f = String.prototype.trim; f()", "[object global]"},
    LibraryCase{"objectMethodOnNullThis", "var o = {}; o.f = Object.prototype.hasOwnProperty; "
                "var g = o.f; g('x')",
                "false"}),
    caseName);

// A self-referencing join recurses through toString until the native stack guard stops it.
TEST(LibraryFatal, SelfContainingJoinStopsAtTheStackGuard)
{
    EchoContext context;
    EXPECT_THROW((void)context.evaluate(QStringLiteral("t.js"), QStringLiteral("var a = [1]; a[1] = a; a.join()")),
                 ESFatalError);
}

// load() tries the path, then each search directory in order, and runs what it reads.
class Load : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_first.isValid() && m_second.isValid());
        context.globalClass->searchDirectories = {m_first.path(), m_second.path()};
    }
    QString first(const char *name) const { return m_first.filePath(QString::fromLatin1(name)); }
    QString second(const char *name) const { return m_second.filePath(QString::fromLatin1(name)); }
    QString run(const QString &source) { return outcome(context, source); }

    EchoContext context;

private:
    QTemporaryDir m_first;
    QTemporaryDir m_second;
};

TEST_F(Load, SearchesTheDirectoriesInOrder)
{
    TestSupport::writeFile(first("lib.js"), "var from = 'first';");
    TestSupport::writeFile(second("lib.js"), "var from = 'second';");
    TestSupport::writeFile(second("other.js"), "var other = 'second';");
    EXPECT_EQ(run(QStringLiteral("load('lib.js') + ' ' + from")).toStdString(), "true first");
    EXPECT_EQ(run(QStringLiteral("load('other.js') + ' ' + other")).toStdString(), "true second");
    EXPECT_EQ(run(QStringLiteral("load('missing.js')")).toStdString(), "false");
}

TEST_F(Load, ThePathItselfComesFirst)
{
    TestSupport::writeFile(first("lib.js"), "var from = 'search list';");
    TestSupport::writeFile(second("direct.js"), "var from = 'path';");
    const QString source = QStringLiteral("load('%1') + ' ' + from").arg(second("direct.js"));
    EXPECT_EQ(run(source).toStdString(), "true path");
}

TEST_F(Load, ReadsLatin1UpToTheFirstNul)
{
    static const char bytes[] = "var t = '\xe9';\0this is not script (";
    TestSupport::writeFile(first("nul.js"), QByteArray(bytes, sizeof bytes - 1));
    EXPECT_EQ(run(QStringLiteral("load('nul.js') + ' ' + t.charCodeAt(0) + ' ' + t.length")).toStdString(),
              "true 233 1");
}

TEST_F(Load, AThrownErrorIsThrownAgainWithTheFileName)
{
    TestSupport::writeFile(first("bad.js"), "var ok = 1;\nvar x = null.y;\n");
    EXPECT_EQ(run(QStringLiteral("load('bad.js')")).toStdString(),
              "TypeError: can't convert null to an object");
    const ESCompletion completion = context.evaluate(QString(), QStringLiteral("load('bad.js')"));
    ASSERT_EQ(completion.kind, ESCompletion::Thrown);
    ASSERT_TRUE(completion.value.isObject());
    const ESValue file = context.get(completion.value.object, context.intern(QStringLiteral("fileName")));
    EXPECT_EQ(context.toESString(file).toStdString(), first("bad.js").toStdString());
}

TEST_F(Load, AFileThatLoadsItselfStops)
{
    TestSupport::writeFile(first("self.js"), "load('self.js');");
    // The compiler's nesting guard or the engine's stack guard ends it, whichever comes first.
    bool stopped = false;
    try {
        stopped = context.evaluate(QString(), QStringLiteral("load('self.js')")).kind
                  == ESCompletion::Thrown;
    } catch (const ESFatalError &) {
        stopped = true;
    }
    EXPECT_TRUE(stopped);
}

// tess js: the programs' bin directory is searched, and -I adds directories in order.
TestSupport::ProgramRun js(const QStringList &arguments)
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")),
                                   QStringList{QStringLiteral("js")} + arguments, {});
}

TEST(LoadCommand, IncludeDirectoriesAreSearchedInOrder)
{
    QTemporaryDir first;
    QTemporaryDir second;
    TestSupport::writeFile(first.filePath(QStringLiteral("lib.js")), "var from = 'first';");
    TestSupport::writeFile(second.filePath(QStringLiteral("lib.js")), "var from = 'second';");
    TestSupport::ProgramRun run = js({QStringLiteral("-I"), second.path(), QStringLiteral("-I"),
                                      first.path(), QStringLiteral("-e"),
                                      QStringLiteral("load('lib.js') + ' ' + from")});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, "true second\n");
    run = js({QStringLiteral("-e"), QStringLiteral("load('lib.js')")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "false\n");
}

TEST(LoadCommand, TheBinDirectoryIsSearched)
{
    // The program itself lies there: it is read up to its first NUL and fails to compile.
    const TestSupport::ProgramRun run = js({QStringLiteral("-e"), QStringLiteral("load('tess')")});
    EXPECT_EQ(run.exitCode, 1);
    const QString program = QFileInfo(TestSupport::binPath(QStringLiteral("tess"))).canonicalFilePath();
    EXPECT_TRUE(run.err.contains(("At line 1 of " + program).toUtf8()))
        << run.err.toStdString();
}

// Scripts in data/library with their expected outcome.
std::vector<std::string> libraryScripts()
{
    std::vector<std::string> names;
    const QDir data(QStringLiteral(TESS_TEST_DATA "/data/library"));
    for (const QString &file : data.entryList({QStringLiteral("*.js")}, QDir::Files, QDir::Name))
        names.push_back(file.chopped(3).toStdString());
    return names;
}

class LibraryScript : public ::testing::TestWithParam<std::string> {};

TEST_P(LibraryScript, ProducesExpectedOutput)
{
    const QString base =
        QStringLiteral(TESS_TEST_DATA "/data/library/") + QString::fromStdString(GetParam());
    const QString source = QString::fromUtf8(TestSupport::readFile(base + QStringLiteral(".js")));
    const QString expected = QString::fromUtf8(TestSupport::readFile(base + QStringLiteral(".out")));
    ASSERT_FALSE(source.isEmpty());
    EXPECT_EQ(runScript(source).toStdString(), expected.toStdString());
}

INSTANTIATE_TEST_SUITE_P(Data, LibraryScript, ::testing::ValuesIn(libraryScripts()),
                         [](const auto &info) { return info.param; });

} // namespace
