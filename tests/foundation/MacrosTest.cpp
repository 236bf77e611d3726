#include "foundation/Macros.h"
#include "foundation/PropertyClass.h"
#include <QDateTime>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

struct ExpansionCase {
    const char *name;
    const char *text;
    MacroTable table;
    bool useGlobal;
    bool useSystem;
    const char *expected;
};

// A macro system with one system macro, one global macro and a clash of both with the table.
std::unique_ptr<PropertyClassList> makeSystem()
{
    auto system = std::make_unique<PropertyClassList>();
    system->defineSystemMacro("VarnelDir", "/opt/tess", "");
    system->defineSystemMacro("Where", "system", "");
    system->globalMacros.insert("Where", "global");
    system->globalMacros.insert("User", "me");
    return system;
}

class MacroExpansion : public ::testing::TestWithParam<ExpansionCase> {};

TEST_P(MacroExpansion, GivesExpectedText)
{
    const std::unique_ptr<PropertyClassList> system = makeSystem();
    const ExpansionCase &c = GetParam();
    EXPECT_EQ(expandMacros(system.get(), c.table, c.text, c.useGlobal, c.useSystem),
              QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MacroExpansion,
    ::testing::Values(
        ExpansionCase{"unknownStays", "$(X)", {}, false, false, "$(X)"},
        ExpansionCase{"known", "a$(X)b", {{"X", "1"}}, false, false, "a1b"},
        ExpansionCase{"fallbackWhenUnknown", "$(X:abc)", {}, false, false, "abc"},
        ExpansionCase{"valueBeatsFallback", "$(X:abc)", {{"X", "1"}}, false, false, "1"},
        ExpansionCase{"fallbackExpandedNextPass", "$(X:$(Y))", {{"Y", "1"}}, false, false, "1"},
        ExpansionCase{"literalFallback", "$(X::$(Y))", {{"Y", "1"}}, false, false, "$(Y)"},
        ExpansionCase{"laterLiteralClearsPass", "$(X:$(Y)) $(Z::$(Y))", {{"Y", "1"}}, false,
                      false, "$(Y) $(Y)"},
        ExpansionCase{"doubledDollar", "a$$b", {}, false, false, "a$b"},
        ExpansionCase{"unclosedDropsDollar", "$(X", {}, false, false, "(X"},
        ExpansionCase{"finalDollar", "cost 5$", {}, false, false, "cost 5$"},
        ExpansionCase{"dollarAlone", "$a", {}, false, false, "$a"},
        ExpansionCase{"empty", "", {}, false, false, ""},
        ExpansionCase{"nestedParentheses", "$(X:a(b)c)", {}, false, false, "a(b)c"},
        ExpansionCase{"valueNotRescanned", "$(A)", {{"A", "$(B)"}, {"B", "1"}}, false, false,
                      "$(B)"},
        ExpansionCase{"unknownNameWithDollarEnds", "$(A$(B))", {}, false, false, "$(A$(B))"},
        ExpansionCase{"unknownNameWithDollarBesideKnown", "$(A$(B))-$(C)", {{"C", "3"}}, false,
                      false, "$(A$(B))-3"},
        ExpansionCase{"tableBeatsGlobal", "$(Where)", {{"Where", "table"}}, true, true, "table"},
        ExpansionCase{"globalBeatsSystem", "$(Where)", {}, true, true, "global"},
        ExpansionCase{"systemOnly", "$(Where)", {}, false, true, "system"},
        ExpansionCase{"globalIgnoredWhenOff", "$(User)", {}, false, true, "$(User)"},
        ExpansionCase{"catalogueLibDir", "$(LibDir:$(VarnelDir)/lib)", {}, false, true,
                      "/opt/tess/lib"},
        ExpansionCase{"systemOffKeepsReference", "$(VarnelDir)", {}, true, false,
                      "$(VarnelDir)"},
        ExpansionCase{"computedNeedsDefinition", "$(DateYear)", {}, false, false,
                      "$(DateYear)"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MacroExpansionLimits, GrowingUnknownReferenceStops)
{
    // Each pass doubles $(A) while the unknown reference keeps asking for another pass.
    const MacroTable table{{"A", "$(A)$(A)"}};
    bool truncated = false;
    const QString result = expandMacros(nullptr, table, "$(Q$(Z))$(A)", false, false, &truncated);
    EXPECT_LE(result.size(), maxExpandedLength + 16);
    EXPECT_TRUE(result.startsWith("$(Q$(Z))$(A)$(A)"));
}

TEST(MacroExpansionLimits, UnclosedReferencesCostLinearTime)
{
    const QString text = QString("$(").repeated(200000);
    EXPECT_EQ(expandMacros(nullptr, {}, text, false, false), QString("(").repeated(200000));
}

TEST(MacroExpansionCharacter, FollowsTheSystem)
{
    const std::unique_ptr<PropertyClassList> system = makeSystem();
    system->macroCharacter = u'%';
    EXPECT_EQ(expandMacros(system.get(), {{"A", "1"}}, "%(A) $(A) %%", false, false),
              "1 $(A) %");
}

struct ComputedCase {
    const char *name;
    const char *pattern;
};

class ComputedMacro : public ::testing::TestWithParam<ComputedCase> {};

// A stored value of a computed name is replaced by the current one.
TEST_P(ComputedMacro, HasItsShape)
{
    const QString name = GetParam().name;
    const MacroTable table{{name, "stored"}};
    const QString value = expandMacros(nullptr, table, "$(" + name + ")", false, false);
    EXPECT_TRUE(QRegularExpression(GetParam().pattern).match(value).hasMatch())
        << name.toStdString() << " gave " << value.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Names, ComputedMacro,
    ::testing::Values(ComputedCase{"Date", "^[1-3]?[0-9] [A-Z][a-z]+ [0-9]{4}$"},
                      ComputedCase{"DateYear", "^[0-9]{4}$"},
                      ComputedCase{"DateMonth", "^(0[1-9]|1[0-2])$"},
                      ComputedCase{"DateDay", "^[0-3][0-9]$"},
                      ComputedCase{"Time", "^[0-2][0-9]:[0-5][0-9]:[0-5][0-9]$"},
                      ComputedCase{"TimeHour", "^[0-2][0-9]$"},
                      ComputedCase{"TimeMinute", "^[0-5][0-9]$"},
                      ComputedCase{"TimeSecond", "^[0-5][0-9]$"},
                      ComputedCase{"UnixTime", "^[0-9]{10,}$"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ComputedMacroValue, UnixTimeIsNow)
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const QString value = expandMacros(nullptr, {{"UnixTime", ""}}, "$(UnixTime)", false, false);
    EXPECT_GE(value.toLongLong(), before);
    EXPECT_LE(value.toLongLong(), before + 5);
}

struct DefinitionsCase {
    const char *name;
    const char *text;
    MacroTable expected;
};

class MacroDefinitions : public ::testing::TestWithParam<DefinitionsCase> {};

TEST_P(MacroDefinitions, ParseIntoTable)
{
    EXPECT_EQ(parseMacroDefinitions(QString::fromUtf8(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MacroDefinitions,
    ::testing::Values(DefinitionsCase{"two", "a=1;b=2", {{"a", "1"}, {"b", "2"}}},
                      DefinitionsCase{"escapedSemicolon", "x=a\\;b", {{"x", "a;b"}}},
                      DefinitionsCase{"escapedBackslash", "x=a\\\\b;y=1",
                                      {{"x", "a\\b"}, {"y", "1"}}},
                      DefinitionsCase{"escapedEqualsStillCuts", "a\\=b=c", {{"a", "b=c"}}},
                      DefinitionsCase{"emptyItemsDropped", ";;a=1;;", {{"a", "1"}}},
                      DefinitionsCase{"noEquals", "k", {{"k", ""}}},
                      DefinitionsCase{"valueKeepsEquals", "k=v=w", {{"k", "v=w"}}},
                      DefinitionsCase{"laterWins", "a=1;a=2", {{"a", "2"}}},
                      DefinitionsCase{"finalBackslashDropped", "a=1\\", {{"a", "1"}}},
                      DefinitionsCase{"blanksKept", " a = 1 ", {{" a ", " 1 "}}},
                      DefinitionsCase{"nothing", "", {}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MergeMacros, ExtraReplacesBase)
{
    const MacroTable base{{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(mergeMacros(base, {{"b", "3"}, {"c", "4"}}),
              (MacroTable{{"a", "1"}, {"b", "3"}, {"c", "4"}}));
    EXPECT_EQ(base.value("b"), "2");
}

TEST(MacroSystem, StartupMacrosAreDocumentedRowsInOrder)
{
    const std::unique_ptr<PropertyClassList> system = PropertyClassList::createMacroSystem();
    QStringList titles;
    for (const std::unique_ptr<PropertyClass> &row : system->classes())
        titles << row->title;
    EXPECT_EQ(titles.join(','), "Date,DateYear,DateMonth,DateDay,Time,TimeHour,TimeMinute,"
                                "TimeSecond,UnixTime,HostArch,HostOS,HostEXE,HostDLLExt,HostDLL,"
                                "Micro,TargetID");
    const PropertyClass *date = system->findClass("$(Date)");
    ASSERT_NE(date, nullptr);
    EXPECT_EQ(date->description, "Day Month Year e.g. 21 June 2011.");
    EXPECT_EQ(system->macros.value("HostDLL"), ".so_x64");
    EXPECT_TRUE(system->macros.contains("HostEXE"));
}

TEST(MacroSystem, UndocumentedMacroHasNoRow)
{
    PropertyClassList list;
    list.defineSystemMacro("Hidden", "1", "");
    list.defineSystemMacro("Shown", "2", "A macro.");
    EXPECT_EQ(list.findClass("$(Hidden)"), nullptr);
    ASSERT_NE(list.findClass("$(Shown)"), nullptr);
    EXPECT_EQ(list.classes().size(), 1u);
    EXPECT_EQ(list.macros.value("Hidden"), "1");
}

} // namespace
