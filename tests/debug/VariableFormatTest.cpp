#include "debug/BaseType.h"
#include "debug/VariableListBuilder.h"
#include <gtest/gtest.h>

namespace {

struct FormatCase {
    const char *name;
    ExpressionValue value;
    int radix;
    bool isUnsigned;
    bool showCharacter;
    int width;
    const char *expected;
};

class ValueFormat : public ::testing::TestWithParam<FormatCase> {};

TEST_P(ValueFormat, PrintsAsTheViewsShowIt)
{
    const FormatCase &c = GetParam();
    EXPECT_EQ(VariableListBuilder::format(c.value, c.radix, c.isUnsigned, c.showCharacter, c.width),
              QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, ValueFormat, ::testing::Values(
    FormatCase{"charA", ExpressionValue::fromSigned(65, 1), 10, false, true, 1, "'A'"},
    FormatCase{"char200", ExpressionValue::fromUnsigned(200, 1), 10, false, true, 1, "\\u00c8"},
    FormatCase{"signedCharNegative", ExpressionValue::fromSigned(-56, 1), 10, false, true, 1, "\\uffc8"},
    FormatCase{"charOfFloat", ExpressionValue::fromDouble(66.7), 10, false, true, 8, "'B'"},
    FormatCase{"charTilde", ExpressionValue::fromSigned(126, 4), 16, false, true, 4, "'~'"},
    FormatCase{"charDelete", ExpressionValue::fromSigned(127, 4), 16, false, true, 4, "\\u007f"},
    FormatCase{"negativeIntHex", ExpressionValue::fromSigned(-1, 4), 16, false, false, 4, "0xffffffff"},
    FormatCase{"smallHexPadded", ExpressionValue::fromUnsigned(10, 2), 16, false, false, 2, "0x000a"},
    FormatCase{"hexCutToWidth", ExpressionValue::fromUnsigned(0x12345, 4), 16, false, false, 2, "0x2345"},
    FormatCase{"binaryByte", ExpressionValue::fromUnsigned(5, 1), 2, false, false, 1, "0b00000101"},
    FormatCase{"octalInt", ExpressionValue::fromSigned(-1, 4), 8, false, false, 4, "037777777777"},
    FormatCase{"octalByte", ExpressionValue::fromUnsigned(8, 1), 8, false, false, 1, "0010"},
    FormatCase{"signedDecimal", ExpressionValue::fromSigned(-5, 4), 10, false, false, 4, "-5"},
    FormatCase{"unsignedFlag", ExpressionValue::fromSigned(-1, 4), 10, true, false, 4, "4294967295"},
    FormatCase{"unsignedKind", ExpressionValue::fromUnsigned(4000000000u, 4), 10, false, false, 4, "4000000000"},
    FormatCase{"longLongMax", ExpressionValue::fromUnsigned(~quint64(0), 8), 10, false, false, 8, "18446744073709551615"},
    FormatCase{"boolHex", ExpressionValue::fromBoolean(true), 16, false, false, 1, "true"},
    FormatCase{"boolCharacter", ExpressionValue::fromBoolean(false), 10, false, true, 1, "false"},
    FormatCase{"floatG", ExpressionValue::fromDouble(0.1, 8), 16, false, false, 8, "0.1"},
    FormatCase{"floatBig", ExpressionValue::fromDouble(1e20, 8), 10, false, false, 8, "1e+20"},
    FormatCase{"string", ExpressionValue::fromString(QStringLiteral("a\tb\x01")), 10, false, false, 0, "\"a\\tb\\001\""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ValueFormatRadix, ElevenIsNeverSignedAndOneShowsCharacters)
{
    const ExpressionValue value = ExpressionValue::fromSigned(-2, 2);
    EXPECT_EQ(VariableListBuilder::format(value, Radix::UnsignedDecimal, 2), QStringLiteral("65534"));
    EXPECT_EQ(VariableListBuilder::format(value, Radix::Decimal, 2), QStringLiteral("-2"));
    EXPECT_EQ(VariableListBuilder::format(ExpressionValue::fromSigned(97, 1), Radix::Character, 1), QStringLiteral("'a'"));
}

TEST(ValueFormatEscapes, ControlCodesAndOctalForTheRest)
{
    EXPECT_EQ(VariableListBuilder::escape(QStringLiteral("\a\b\t\n\v\f\r"), false),
              QStringLiteral("\\a\\b\\t\\n\\v\\f\\r"));
    EXPECT_EQ(VariableListBuilder::escape(QString(QChar(0)) + QChar(27) + QChar(0xe9), true),
              QStringLiteral("\"\\000\\033\\351\""));
    EXPECT_EQ(VariableListBuilder::escape(QStringLiteral("plain \"text\""), false), QStringLiteral("plain \"text\""));
}

struct NameCase {
    const char *name;
    ExpressionKind kind;
    int width;
    bool byteForm;
    const char *expected;
};

class SimpleTypeNames : public ::testing::TestWithParam<NameCase> {};

TEST_P(SimpleTypeNames, FollowTheTableOfKindsAndWidths)
{
    const NameCase &c = GetParam();
    EXPECT_EQ(SimpleType(c.kind, c.width, c.byteForm).name(), QLatin1String(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, SimpleTypeNames, ::testing::Values(
    NameCase{"signedByteAsChar", ExpressionKind::Signed, 1, false, "char"},
    NameCase{"signedByteAsked", ExpressionKind::Signed, 1, true, "byte"},
    NameCase{"unsignedByteNeverByte", ExpressionKind::Unsigned, 1, true, "unsigned char"},
    NameCase{"longIsLongLong", ExpressionKind::Signed, 8, false, "long long"},
    NameCase{"unsignedShort", ExpressionKind::Unsigned, 2, false, "unsigned short"},
    NameCase{"oddWidth", ExpressionKind::Signed, 3, false, "unknown"},
    NameCase{"int128", ExpressionKind::Unsigned, 16, false, "unknown"},
    NameCase{"boolean", ExpressionKind::Boolean, 1, false, "boolean"},
    NameCase{"float", ExpressionKind::Float, 4, false, "float"},
    NameCase{"longDouble", ExpressionKind::Float, 16, false, "double"},
    NameCase{"otherKind", ExpressionKind(9), 4, false, "unknown"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(DerivedTypeNames, ReadAsCWritesThem)
{
    auto integer = std::make_unique<SimpleType>(ExpressionKind::Signed, 4);
    EXPECT_EQ(PointerType(integer->clone(), 8).name(), QStringLiteral("int*"));
    const ArrayType grid(std::make_unique<ArrayType>(integer->clone(), 3), 2);
    EXPECT_EQ(grid.name(), QStringLiteral("int[2][3]"));
    EXPECT_EQ(grid.size(), 24);
    EXPECT_EQ(ArrayType(integer->clone(), -1).name(), QStringLiteral("int[]"));
    StructType anonymous(QStringLiteral("struct"), QString(), 8);
    anonymous.addField({QStringLiteral("a"), integer->clone(), 0});
    anonymous.addField({QStringLiteral("b"), integer->clone(), 4, 3, 2, 4});
    EXPECT_EQ(anonymous.name(), QStringLiteral("struct {int a; int b:2;}"));
    EXPECT_EQ(StructType(QStringLiteral("union"), QStringLiteral("u"), 4).name(), QStringLiteral("union u"));
    EXPECT_EQ(UserType(QStringLiteral("struct point")).name(), QStringLiteral("struct point"));
    EXPECT_EQ(RegisterType(32, {{QStringLiteral("EN"), 0, 1}, {QStringLiteral("MODE"), 1, 2}}).name(),
              QStringLiteral("32 {EN:0:1, MODE:1:2}"));
    EnumType colours(QString(), ExpressionKind::Unsigned, 4);
    colours.addEnumerator({QStringLiteral("RED"), 0});
    colours.addEnumerator({QStringLiteral("GREEN"), 1});
    EXPECT_EQ(colours.name(), QStringLiteral("enum {RED, GREEN}"));
    EXPECT_EQ(colours.nameOf(1), QStringLiteral("GREEN"));
    EXPECT_TRUE(colours.nameOf(2).isEmpty());
}

TEST(DerivedTypeNames, AHugeArrayHasASizeAndNoStorage)
{
    const ArrayType huge(std::make_unique<SimpleType>(ExpressionKind::Signed, 1), qint64(1) << 40);
    EXPECT_EQ(huge.size(), qint64(1) << 40);
    const ArrayType overflow(std::make_unique<ArrayType>(std::make_unique<SimpleType>(ExpressionKind::Signed, 8), qint64(1) << 60), 64);
    EXPECT_EQ(overflow.size(), -1);
}

} // namespace
