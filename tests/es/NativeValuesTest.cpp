// Boolean, Number, Math and Date: the scripts of tests/es/data/values with their expected
// output, the error cases one script each, and the readings of the clock and the generator.
#include "tests/es/EsTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDateTime>
#include <QDir>
#include <QTimeZone>
#include <gtest/gtest.h>

namespace {

const QString valuesDirectory = QStringLiteral(TESS_TEST_DATA "/data/values/");

std::vector<std::string> scriptNames()
{
    std::vector<std::string> names;
    const QDir data(valuesDirectory);
    for (const QString &file : data.entryList({QStringLiteral("*.js")}, QDir::Files, QDir::Name))
        names.push_back(file.chopped(3).toStdString());
    return names;
}

class ValueScript : public ::testing::TestWithParam<std::string> {};

TEST_P(ValueScript, ProducesExpectedOutput)
{
    const QString base = valuesDirectory + QString::fromStdString(GetParam());
    const QString source = QString::fromUtf8(TestSupport::readFile(base + QStringLiteral(".js")));
    const QString expected = QString::fromUtf8(TestSupport::readFile(base + QStringLiteral(".out")));
    ASSERT_FALSE(source.isEmpty());
    ASSERT_FALSE(expected.isEmpty());
    EXPECT_EQ(runScript(source).toStdString(), expected.toStdString());
}

INSTANTIATE_TEST_SUITE_P(Data, ValueScript, ::testing::ValuesIn(scriptNames()),
                         [](const auto &info) { return info.param; });

// A short script and the whole outcome: echoed lines, then the completion or the error.
struct OutcomeCase {
    const char *name;
    const char *source;
    const char *outcome;
};

class Outcome : public ::testing::TestWithParam<OutcomeCase> {};

TEST_P(Outcome, IsAsExpected)
{
    EXPECT_EQ(runScript(QString::fromUtf8(GetParam().source)).toStdString(), GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(BadArguments, Outcome, ::testing::Values(
    OutcomeCase{"radixOne", "(5).toString(1)",
                "thrown: Number.prototype.toString: radix 1 is not from 2 to 36 @ 1\n"},
    OutcomeCase{"radix37", "(5).toString(37)",
                "thrown: Number.prototype.toString: radix 37 is not from 2 to 36 @ 1\n"},
    OutcomeCase{"radixNegative", "(5).toString(-16)",
                "thrown: Number.prototype.toString: radix -16 is not from 2 to 36 @ 1\n"},
    OutcomeCase{"radixHuge", "(5).toString(4294967298)", "=> 101\n"},
    OutcomeCase{"radixInfinite", "(5).toString(1/0)", "=> 5\n"},
    OutcomeCase{"radixObject", "(5).toString({ valueOf: function () { return 2; } })", "=> 101\n"},
    OutcomeCase{"fixedNegative", "(1).toFixed(-1)",
                "thrown: fraction digits should 0 through 20 @ 1\n"},
    OutcomeCase{"fixed21", "(1).toFixed(21)", "thrown: fraction digits should 0 through 20 @ 1\n"},
    OutcomeCase{"fixedHuge", "(1).toFixed(1e9)",
                "thrown: fraction digits should 0 through 20 @ 1\n"},
    OutcomeCase{"fixedWrapsAround", "(1).toFixed(4294967298)", "=> 1.00\n"},
    OutcomeCase{"dateHugeSetters",
                "var d = new Date(0); d.setFullYear(1e308, 1e308, 1e308); Echo(d.getTime());"
                " Echo(d.toString()); d.setTime(-1e308); d.getDay()",
                "NaN\nInvalid Date\n=> NaN\n"},
    OutcomeCase{"dateNaNFields", "var d = new Date(0); d.setTime(0/0); d.getMonth() + d.getHours()",
                "=> NaN\n"},
    OutcomeCase{"mathHugeArguments", "Math.round(1e308) + Math.floor(-1e308) + Math.pow(1e308, 1e308)",
                "=> Infinity\n"},
    OutcomeCase{"maxConvertsEveryArgument",
                "var n = 0; var c = { valueOf: function () { n++; return 1; } };"
                " Echo(Math.max(c, NaN, c)); n",
                "NaN\n=> 2\n"}),
    [](const auto &info) { return std::string(info.param.name); });

// Which error type a failure raises.
struct ErrorTypeCase {
    const char *name;
    const char *source;
    bool rangeError;   // else a TypeError
};

class ErrorType : public ::testing::TestWithParam<ErrorTypeCase> {};

TEST_P(ErrorType, IsAnInstanceOfTheType)
{
    EchoContext context;
    const ESCompletion completion =
        context.evaluate(QStringLiteral("test.js"), QString::fromUtf8(GetParam().source));
    ASSERT_EQ(completion.kind, ESCompletion::Thrown);
    ASSERT_TRUE(completion.value.isObject());
    const ESNativeError *type = GetParam().rangeError ? context.rangeErrorClass.get()
                                                      : context.typeErrorClass.get();
    EXPECT_EQ(completion.value.object->prototype, type->prototypeObject);
}

INSTANTIATE_TEST_SUITE_P(Cases, ErrorType, ::testing::Values(
    ErrorTypeCase{"fractionDigits", "(1).toFixed(-1)", true},
    ErrorTypeCase{"radix", "(1).toString(99)", true},
    ErrorTypeCase{"numberThis", "var o = { f: Number.prototype.toFixed }; o.f(1)", false},
    ErrorTypeCase{"booleanThis", "var o = { f: Boolean.prototype.toString }; o.f()", false},
    ErrorTypeCase{"dateThis", "var o = { f: Date.prototype.setHours }; o.f()", false}),
    [](const auto &info) { return std::string(info.param.name); });

// Every method of the three classes, called on an object of another class.
struct WrongThisCase {
    const char *holder;
    const char *method;
    const char *message;
};

std::vector<WrongThisCase> wrongThisCases()
{
    const char *const dateMethods[] = {
        "toString", "toDateString", "toTimeString", "toLocaleString", "toLocaleDateString",
        "toLocaleTimeString", "valueOf", "getTime", "getFullYear", "getUTCFullYear", "getMonth",
        "getUTCMonth", "getDate", "getUTCDate", "getDay", "getUTCDay", "getHours", "getUTCHours",
        "getMinutes", "getUTCMinutes", "getSeconds", "getUTCSeconds", "getMilliseconds",
        "getUTCMilliseconds", "getTimezoneOffset", "setTime", "setMilliseconds",
        "setUTCMilliseconds", "setSeconds", "setUTCSeconds", "setMinutes", "setUTCMinutes",
        "setHours", "setUTCHours", "setDate", "setUTCDate", "setMonth", "setUTCMonth",
        "setFullYear", "setUTCFullYear", "toUTCString"};
    std::vector<WrongThisCase> cases = {
        {"Boolean", "toString", "Boolean.prototype.toString called on non-Boolean object"},
        {"Boolean", "valueOf", "Boolean.prototype.valueOf called on non-Boolean object"},
        {"Number", "toString", "Number.prototype.toString called on non-Number object"},
        {"Number", "toFixed", "Number.prototype.toFixed called on non-Number object"},
        {"Number", "valueOf", "Number.prototype.valueOf called on non-Number object"},
    };
    for (const char *method : dateMethods)
        cases.push_back({"Date", method, "Date object required"});
    return cases;
}

class WrongThis : public ::testing::TestWithParam<WrongThisCase> {};

TEST_P(WrongThis, RaisesTypeError)
{
    const WrongThisCase &row = GetParam();
    const QString prefix = QStringLiteral("var f = %1.prototype.%2; Echo(typeof f);\n")
                               .arg(QLatin1String(row.holder), QLatin1String(row.method));
    const std::string thrown =
        QStringLiteral("function\nthrown: %1 @ 2\n").arg(QLatin1String(row.message)).toStdString();
    // `this` a plain object, a Date or Number of the other class, and the global object.
    EXPECT_EQ(runScript(prefix + QStringLiteral("var o = { f: f }; o.f(1, 2);")).toStdString(),
              thrown);
    EXPECT_EQ(runScript(prefix + QStringLiteral("var o = new String('s'); o.f = f; o.f();"))
                  .toStdString(),
              thrown);
    EXPECT_EQ(runScript(prefix + QStringLiteral("f();")).toStdString(), thrown);
}

INSTANTIATE_TEST_SUITE_P(Methods, WrongThis, ::testing::ValuesIn(wrongThisCases()),
                         [](const auto &info) {
                             return std::string(info.param.holder) + "_" + info.param.method;
                         });

// The text forms are the platform's: the same as its local date-time form for the same fields.
TEST(DateText, MatchesThePlatformForm)
{
    const qint64 times[] = {0, 951782400000, 1709214330250, 4102444799000, 253402300799000};
    for (const qint64 time : times) {
        const QDateTime utc = QDateTime::fromMSecsSinceEpoch(time, QTimeZone::utc());
        const QDateTime local(utc.date(), utc.time());
        const QString expected = local.toString() + QLatin1Char('\n') + utc.date().toString()
                                 + QLatin1Char('\n') + utc.time().toString() + QLatin1Char('\n');
        const QString source = QStringLiteral("var d = new Date(0); d.setTime(%1);"
                                              " Echo(d); Echo(d.toDateString()); Echo(d.toTimeString());")
                                   .arg(time);
        EXPECT_EQ(runScript(source).toStdString(), expected.toStdString()) << time;
    }
}

// new Date() is the wall clock taken as UTC: the local time of day, with no zone applied.
TEST(DateNow, ReadsTheWallClock)
{
    EchoContext context;
    const QDateTime before = QDateTime::currentDateTime();
    const QString text = runScript(context, QStringLiteral("new Date().getTime()"));
    const QDateTime after = QDateTime::currentDateTime();
    ASSERT_TRUE(text.startsWith(QStringLiteral("=> "))) << text.toStdString();
    const double time = text.mid(3).trimmed().toDouble();
    const auto wallClock = [](const QDateTime &moment) {
        return double(moment.toMSecsSinceEpoch() + qint64(moment.offsetFromUtc()) * 1000);
    };
    EXPECT_GE(time, wallClock(before));
    EXPECT_LE(time, wallClock(after));
}

// The generator is never seeded: two fresh processes draw the same numbers.
TEST(MathRandom, IsTheSameInEveryRun)
{
    const QStringList arguments = {QStringLiteral("js"), QStringLiteral("-e"),
                                   QStringLiteral("var t = ''; for (var i = 0; i < 5; i++)"
                                                  " t = t + Math.random() + ' '; t")};
    const TestSupport::ProgramRun first = TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
    const TestSupport::ProgramRun second = TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
    ASSERT_EQ(first.exitCode, 0) << first.err.toStdString();
    EXPECT_EQ(first.out, second.out);
    const QStringList numbers = QString::fromUtf8(first.out).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    ASSERT_EQ(numbers.size(), 6);   // five numbers and the newline
    for (int i = 0; i < 5; ++i) {
        bool ok = false;
        const double value = numbers[i].toDouble(&ok);
        EXPECT_TRUE(ok && value >= 0 && value < 1) << numbers[i].toStdString();
    }
}

} // namespace
