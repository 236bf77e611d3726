#include "foundation/ExpressionParser.h"
#include <gtest/gtest.h>
#include <QHash>

namespace {

// Where a variable of the table parser lives: its name.
struct NameLocation : ExpressionLocation {
    explicit NameLocation(QString name) : name(std::move(name)) {}
    QString name;
};

// A parser with a table of typed variables, a few C casts and a log of the requests it served:
// what a debugger's parser does against a target, without the target.
class TableExpressionParser : public SimpleExpressionParser {
public:
    QHash<QString, ExpressionValue> variables;
    QStringList log;

    void set(const QString &name, ExpressionValue value) { variables.insert(name, std::move(value)); }

    ExpressionValue lookupIdentifier(const QString &name) override
    {
        log << QStringLiteral("lookup ") + name;
        if (!variables.contains(name))
            return SimpleExpressionParser::lookupIdentifier(name);
        ExpressionValue value = variables.value(name);
        value.location = std::make_shared<NameLocation>(name);
        return value;
    }
    ExpressionValue update(const ExpressionValue &value, const ExpressionValue &target) override
    {
        const auto *location = dynamic_cast<const NameLocation *>(target.location.get());
        if (!location)
            return ExpressionParser::update(value, target);
        // The stored value takes the variable's type, as a store to memory would.
        ExpressionValue stored = applyOperator(ExpressionOperator::Plus,
                                               withValue(target, 0), value);
        stored.location.reset();
        variables.insert(location->name, stored);
        log << QStringLiteral("store ") + location->name;
        return stored;
    }
    ExpressionValue cast(const QString &typeName, const ExpressionValue &value) override
    {
        static const QHash<QString, ExpressionValue> types = {
            {QStringLiteral("unsigned char"), ExpressionValue::fromUnsigned(0, 1)},
            {QStringLiteral("short"), ExpressionValue::fromSigned(0, 2)},
            {QStringLiteral("unsigned int"), ExpressionValue::fromUnsigned(0, 4)},
            {QStringLiteral("int"), ExpressionValue::fromSigned(0, 4)},
            {QStringLiteral("unsigned long long"), ExpressionValue::fromUnsigned(0, 8)},
            {QStringLiteral("float"), ExpressionValue::fromDouble(0, 4)},
        };
        if (!types.contains(typeName))
            return SimpleExpressionParser::cast(typeName, value);
        return applyOperator(ExpressionOperator::Plus, types.value(typeName), value);
    }
    ExpressionValue call(const Expression &function, const QList<ExpressionValue> &arguments) override
    {
        QStringList values;
        for (const ExpressionValue &argument : arguments)
            values << QString::number(argument.integer);
        log << QStringLiteral("call ") + function.text() + QLatin1Char('(') + values.join(QLatin1Char(','))
                   + QLatin1Char(')');
        return ExpressionValue::fromSigned(qint64(arguments.size()));
    }
    ExpressionValue markerValue(const ExpressionValue &marker) override
    {
        return ExpressionValue::fromUnsigned(quint64(marker.integer), 4);
    }

private:
    static ExpressionValue withValue(ExpressionValue value, qint64 integer)
    {
        value.integer = integer;
        value.floating = 0;
        return value;
    }
};

QString describe(const ExpressionValue &value)
{
    if (value.kind == ExpressionKind::Float)
        return value.typeName() + QLatin1Char(' ') + QString::number(value.floating, 'g', 9);
    if (value.kind == ExpressionKind::Unsigned)
        return value.typeName() + QLatin1Char(' ') + QString::number(quint64(value.integer));
    return value.typeName() + QLatin1Char(' ') + QString::number(value.integer);
}

QString evaluate(TableExpressionParser &parser, const char *text)
{
    bool ok = false;
    const ExpressionValue value = parser.evaluate(QString::fromUtf8(text), &ok);
    return ok ? describe(value) : QStringLiteral("error ") + parser.errorMessage();
}

struct TypedCase {
    const char *name;
    const char *text;
    const char *expected;
};

void PrintTo(const TypedCase &typedCase, std::ostream *out)
{
    *out << typedCase.name;
}

// Variables of every width reach the operators through the parser: the normalisation rules.
class TypedArithmetic : public ::testing::TestWithParam<TypedCase> {};

TEST_P(TypedArithmetic, FollowsTheLeftOperand)
{
    TableExpressionParser parser;
    parser.set(QStringLiteral("uc"), ExpressionValue::fromUnsigned(250, 1));
    parser.set(QStringLiteral("sc"), ExpressionValue::fromSigned(-3, 1));
    parser.set(QStringLiteral("ui"), ExpressionValue::fromUnsigned(0xFFFFFFFF, 4));
    parser.set(QStringLiteral("si"), ExpressionValue::fromSigned(-1, 4));
    parser.set(QStringLiteral("ull"), ExpressionValue::fromUnsigned(~0ULL, 8));
    parser.set(QStringLiteral("f"), ExpressionValue::fromDouble(1.5, 4));
    ExpressionValue dirty = ExpressionValue::fromSigned(0, 2);
    dirty.integer = 0x1FFFF; // high bits left by a wider read: only the low two bytes count
    parser.set(QStringLiteral("dirty"), dirty);
    ExpressionValue marker;
    marker.kind = ExpressionKind::Marker;
    marker.width = 4;
    marker.integer = 0x100;
    marker.empty = false;
    parser.set(QStringLiteral("m"), marker);
    EXPECT_EQ(evaluate(parser, GetParam().text), QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Widths, TypedArithmetic,
    ::testing::Values(
        TypedCase{"unsignedCharWraps", "uc + 10", "unsigned char 4"},
        TypedCase{"signedCharWraps", "sc - 126", "char 127"},
        TypedCase{"unsignedIntWraps", "ui + 1", "unsigned int 0"},
        TypedCase{"signedIntKeepsSign", "si * 5", "int -5"},
        TypedCase{"rightTakesLeftKind", "ui > -1", "boolean 0"},
        TypedCase{"signedLeftComparesSigned", "si < 0", "boolean 1"},
        TypedCase{"unsignedDivision", "ull / 2", "unsigned long long 9223372036854775807"},
        TypedCase{"unsignedRightShiftIsLogical", "ui >> 28", "unsigned int 15"},
        TypedCase{"signedRightShiftIsArithmetic", "sc >> 1", "char -2"},
        TypedCase{"leftShiftCutToWidth", "uc << 4", "unsigned char 160"},
        TypedCase{"literalLeftKeepsItsWidth", "1 + uc", "long long 251"},
        TypedCase{"unsignedToDoubleWithFullRange", "ull + 0.0", "double 1.84467441e+19"},
        TypedCase{"floatLeftKeepsFloat", "f * 3", "float 4.5"},
        TypedCase{"floatRoundsToSingle", "f + 0.1", "float 1.60000002"},
        TypedCase{"negateUnsigned", "-uc", "unsigned char 6"},
        TypedCase{"bitNotWidth", "~uc", "unsigned char 5"},
        TypedCase{"highBitsIgnored", "dirty + 0", "short -1"},
        TypedCase{"castNarrows", "(unsigned char)300", "unsigned char 44"},
        TypedCase{"castToFloat", "(float)2", "float 2"},
        TypedCase{"markerThroughParser", "m + 1", "unsigned int 257"},
        TypedCase{"markerComparison", "m == 256", "boolean 1"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ExpressionAssignment, StoresThroughTheParser)
{
    TableExpressionParser parser;
    parser.set(QStringLiteral("a"), ExpressionValue::fromUnsigned(5, 1));
    EXPECT_EQ(evaluate(parser, "a = 300"), QStringLiteral("unsigned char 44"));
    EXPECT_EQ(evaluate(parser, "a += 6"), QStringLiteral("unsigned char 50"));
    EXPECT_EQ(evaluate(parser, "a <<= 1"), QStringLiteral("unsigned char 100"));
    EXPECT_EQ(evaluate(parser, "++a"), QStringLiteral("unsigned char 101"));
    EXPECT_EQ(evaluate(parser, "a--"), QStringLiteral("unsigned char 100"));
    EXPECT_EQ(evaluate(parser, "a"), QStringLiteral("unsigned char 100"));
}

TEST(ExpressionAssignment, GroupsToTheLeft)
{
    // `a = b = 1` is `(a = b) = 1`: the result of an assignment is no place to store to.
    TableExpressionParser parser;
    parser.set(QStringLiteral("a"), ExpressionValue::fromSigned(1));
    parser.set(QStringLiteral("b"), ExpressionValue::fromSigned(2));
    EXPECT_EQ(evaluate(parser, "a = b = 7"), QStringLiteral("error can't update a constant"));
    EXPECT_EQ(evaluate(parser, "a"), QStringLiteral("long long 1"));
    EXPECT_EQ(parser.log.filter(QStringLiteral("store")), QStringList());
}

TEST(ExpressionAssignment, CompoundReadsBeforeItStores)
{
    TableExpressionParser parser;
    parser.set(QStringLiteral("a"), ExpressionValue::fromSigned(10));
    EXPECT_EQ(evaluate(parser, "a -= 3"), QStringLiteral("long long 7"));
    EXPECT_EQ(parser.log, QStringList({QStringLiteral("lookup a"), QStringLiteral("lookup a"),
                                       QStringLiteral("store a")}));
}

TEST(ExpressionCalls, EvaluateArgumentsInOrderBeforeCalling)
{
    TableExpressionParser parser;
    parser.set(QStringLiteral("x"), ExpressionValue::fromSigned(4));
    EXPECT_EQ(evaluate(parser, "f(x, x * 2, (1, 2) )"), QStringLiteral("error operator not supported"));
    EXPECT_EQ(evaluate(parser, "ns::f(x, x * 2) + 1"), QStringLiteral("long long 3"));
    EXPECT_EQ(parser.log, QStringList({QStringLiteral("lookup x"), QStringLiteral("lookup x"),
                                       QStringLiteral("call ns::f(4,8)")}));
}

struct TextCase {
    const char *name;
    const char *text;
    const char *printed;
};

void PrintTo(const TextCase &textCase, std::ostream *out)
{
    *out << textCase.name;
}

// The printed form of a tree, and of its deep copy, which must not depend on the original.
class ExpressionText : public ::testing::TestWithParam<TextCase> {};

TEST_P(ExpressionText, PrintsAndCopies)
{
    SimpleExpressionParser parser;
    std::unique_ptr<Expression> copy;
    {
        const std::unique_ptr<Expression> tree = parser.parse(QString::fromUtf8(GetParam().text));
        EXPECT_EQ(tree->text(), QString::fromUtf8(GetParam().printed));
        copy = tree->clone();
    }
    EXPECT_EQ(copy->text(), QString::fromUtf8(GetParam().printed));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ExpressionText,
    ::testing::Values(TextCase{"precedence", "1+2*3", "(1 + (2 * 3))"},
                      TextCase{"leftAssociative", "a-b-c", "((a - b) - c)"},
                      TextCase{"assignmentLeftAssociative", "a = b = 1", "((a = b) = 1)"},
                      TextCase{"compound", "a *= 2", "(a = (a * 2))"},
                      TextCase{"increment", "x++", "(x = (x + 1))"},
                      TextCase{"unary", "-~!x", "-~!x"},
                      TextCase{"dereference", "*p", "p[0]"},
                      TextCase{"arrow", "p->m", "p[0].m"},
                      TextCase{"addressof", "&x", "&x"},
                      TextCase{"register", "@pc", "Identifier(pc)"},
                      TextCase{"cast", "(unsigned int *)p", "((unsigned int *)p)"},
                      TextCase{"sizeofType", "sizeof(struct s)", "sizeof(struct s)"},
                      TextCase{"sizeofExpression", "sizeof x.y", "sizeof x.y"},
                      TextCase{"call", "f(1, \"s\", 2.5)", "f(1, \"s\", 2.5)"},
                      TextCase{"scoped", "::a::b", "::a::b"},
                      TextCase{"logical", "a && b || c", "((a && b) || c)"},
                      TextCase{"addressofLine", "addressof(\"m.c\", 0x10)", "addressof(\"m.c\", 16)"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ExpressionValueTypes, NameEachKindAndWidth)
{
    EXPECT_EQ(ExpressionValue::fromSigned(0, 1).typeName(), QStringLiteral("char"));
    EXPECT_EQ(ExpressionValue::fromSigned(0, 2).typeName(), QStringLiteral("short"));
    EXPECT_EQ(ExpressionValue::fromUnsigned(0, 8).typeName(), QStringLiteral("unsigned long long"));
    EXPECT_EQ(ExpressionValue::fromDouble(0, 4).typeName(), QStringLiteral("float"));
    EXPECT_EQ(ExpressionValue::fromDouble(0, 10).typeName(), QStringLiteral("double"));
    EXPECT_EQ(ExpressionValue::fromSigned(0, 3).typeName(), QStringLiteral("unknown"));
    ExpressionValue odd = ExpressionValue::fromSigned(0);
    odd.kind = ExpressionKind(9);
    EXPECT_EQ(odd.typeName(), QStringLiteral("unknown"));
    odd.kind = ExpressionKind::Marker;
    EXPECT_EQ(odd.typeName(), QStringLiteral("marker"));
}

} // namespace
