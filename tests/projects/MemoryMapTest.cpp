#include "foundation/MacroSession.h"
#include "projects/MemoryMap.h"
#include "projects/MemoryMapCheck.h"
#include "projects/MemoryUsage.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace {

// A map file written into a temporary directory and loaded with the process-wide macro system
// set up, its addresses calculated.
class MapFixture {
public:
    QString write(const QString &name, const QByteArray &bytes) const
    {
        const QString path = m_directory.filePath(name);
        TestSupport::writeFile(path, bytes);
        return path;
    }
    // `body` inside the root element; null when the file does not load.
    MemoryMap *load(const QByteArray &body, const QString &defines = {})
    {
        const QString path = write(QStringLiteral("map.xml"),
                                   "<!DOCTYPE Board_Memory_Definition_File>\n"
                                   "<Board_Memory_Definition_File name=\"T\">\n"
                                       + body + "\n</Board_Memory_Definition_File>\n");
        m_map = std::make_unique<MemoryMap>();
        if (!m_map->load(path, defines))
            return nullptr;
        m_map->calculateAddresses();
        return m_map.get();
    }
    // The first element of `kind` named `name`.
    MemoryMapElement *find(MemoryMapKind kind, const char *name) const
    {
        return MemoryMap::findByName(m_map->mapRoot(), kind, QString::fromLatin1(name));
    }

private:
    MacroSession m_macros;
    QTemporaryDir m_directory;
    std::unique_ptr<MemoryMap> m_map;
};

struct AddressCase {
    const char *name;
    QByteArray body;
    MemoryMapKind kind;
    const char *element;   // the element whose fields are checked
    quint32 start;
    quint32 size;
    qint64 parsedValue;
};

class MemoryMapAddresses : public ::testing::TestWithParam<AddressCase> {};

TEST_P(MemoryMapAddresses, ComputesStartAndSize)
{
    const AddressCase &c = GetParam();
    MapFixture fixture;
    ASSERT_NE(fixture.load(c.body), nullptr);
    const MemoryMapElement *element = fixture.find(c.kind, c.element);
    ASSERT_NE(element, nullptr) << c.element;
    EXPECT_EQ(element->start(), c.start);
    EXPECT_EQ(element->size(), c.size);
    EXPECT_EQ(element->parsedValue(), c.parsedValue);
}

constexpr auto segment = MemoryMapKind::MemorySegment;
constexpr auto group = MemoryMapKind::RegisterGroup;
constexpr auto reg = MemoryMapKind::Register;
constexpr auto field = MemoryMapKind::BitField;

INSTANTIATE_TEST_SUITE_P(
    Cases, MemoryMapAddresses,
    ::testing::Values(
        AddressCase{"relativeRegisterInGroup",
                    R"(<RegisterGroup name="G" start="0x40000000" size="0x100">
                         <Register name="R" start="+0x10"/></RegisterGroup>)",
                    reg, "R", 0x40000010, 0, 0x40000010},
        AddressCase{"relativeBitFieldCountsFromZero",
                    R"(<RegisterGroup name="G" start="0x40000000"><Register name="R" start="+4">
                         <BitField name="F" start="+3" size="2"/></Register></RegisterGroup>)",
                    field, "F", 3, 2, 3},
        AddressCase{"registerPassesItsOwnBaseOn",
                    R"(<RegisterGroup name="G" start="0x1000"><Register name="R" start="+8">
                         <Register name="Inner" start="+1"/></Register></RegisterGroup>)",
                    reg, "Inner", 0x1001, 0, 0x1001},
        AddressCase{"nestedGroupsAddUp",
                    R"(<MemorySegment name="S" start="0x40000000"><RegisterGroup name="G" start="+0x100">
                         <Register name="R" start="+0x20"/></RegisterGroup></MemorySegment>)",
                    reg, "R", 0x40000120, 0, 0x40000120},
        AddressCase{"segmentSizeIsAnExpression",
                    R"(<MemorySegment name="FLASH" start="0x08000000" size="256 * 1024"/>)",
                    segment, "FLASH", 0x08000000, 262144, 0x08000000},
        AddressCase{"registerSizeIsAPlainHexNumber",
                    R"(<Register name="R" start="0x10" size="0x2"/>)", reg, "R", 0x10, 2, 0x10},
        AddressCase{"registerSizeIsOctalWithALeadingZero",
                    R"(<Register name="R" start="0x10" size="010"/>)", reg, "R", 0x10, 8, 0x10},
        AddressCase{"registerSizeExpressionIsNotEvaluated",
                    R"(<Register name="R" start="0x10" size="2 * 2"/>)", reg, "R", 0x10, 2, 0x10},
        AddressCase{"startExpressionWithMacro",
                    R"(<RegisterGroup name="G" start="0x40020000 + 2 * 0x400" size="0x400"/>)",
                    group, "G", 0x40020800, 0x400, 0x40020800},
        AddressCase{"divideByZeroStartIsZero",
                    R"(<RegisterGroup name="G" start="1 / 0" size="0x400"/>)", group, "G", 0,
                    0x400, 0},
        AddressCase{"unparsableStartIsZero",
                    R"(<MemorySegment name="S" start="0x10 +* 3" size="16"/>)", segment, "S", 0,
                    16, 0},
        AddressCase{"failedSizeKeepsTheOldSize",
                    R"(<MemorySegment name="S" start="0x100" size="nonsense"/>)", segment, "S",
                    0x100, 0, 0x100},
        AddressCase{"addressPast32BitsIsCutButRemembered",
                    R"(<MemorySegment name="S" start="0x100000010" size="16"/>)", segment, "S",
                    0x10, 16, 0x100000010LL},
        AddressCase{"negativeStartWraps",
                    R"(<MemorySegment name="S" start="0 - 16" size="16"/>)", segment, "S",
                    0xFFFFFFF0u, 16, -16},
        AddressCase{"emptyStartIsZero",
                    R"(<RegisterGroup name="Base" start="0x100"><Register name="R" start=""/></RegisterGroup>)",
                    reg, "R", 0, 0, 0},
        AddressCase{"childrenOfAnUnknownTagAreWalked",
                    R"(<RegisterGroup name="G" start="0x2000"><Wrapper><Register name="R" start="+4"/>
                         </Wrapper></RegisterGroup>)",
                    reg, "R", 0x2004, 0, 0x2004}),
    [](const auto &info) { return std::string(info.param.name); });

struct AttributeCase {
    const char *name;
    QByteArray attributes;
    bool readOnly, writeOnly, noAccess, load, keep;
    quint32 alignment;
};

class MemoryMapAttributes : public ::testing::TestWithParam<AttributeCase> {};

TEST_P(MemoryMapAttributes, ReadsTypedValues)
{
    const AttributeCase &c = GetParam();
    MapFixture fixture;
    ASSERT_NE(fixture.load("<ProgramSection name=\"P\" " + c.attributes + "/>"), nullptr);
    const MemoryMapElement *element = fixture.find(MemoryMapKind::ProgramSection, "P");
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->isReadOnly(), c.readOnly);
    EXPECT_EQ(element->isWriteOnly(), c.writeOnly);
    EXPECT_EQ(element->isNoAccess(), c.noAccess);
    EXPECT_EQ(element->load(), c.load);
    EXPECT_EQ(element->keep(), c.keep);
    EXPECT_EQ(element->alignment(), c.alignment);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemoryMapAttributes,
    ::testing::Values(
        AttributeCase{"nothingGiven", "", false, false, false, false, false, 0},
        AttributeCase{"readOnlyExact", R"(access="ReadOnly")", true, false, false, false, false, 0},
        AttributeCase{"readonlyLowerCaseIsNoneOfTheThree", R"(access="readonly")", false, false,
                      false, false, false, 0},
        AttributeCase{"writeOnly", R"(access="WriteOnly")", false, true, false, false, false, 0},
        AttributeCase{"noAccess", R"(access="None")", false, false, true, false, false, 0},
        AttributeCase{"loadYesLowerCase", R"(load="yes")", false, false, false, true, false, 0},
        AttributeCase{"loadAndKeepUpperCase", R"(load="YES" keep="Yes")", false, false, false,
                      true, true, 0},
        AttributeCase{"loadNoAndKeepEmpty", R"(load="No" keep="")", false, false, false, false,
                      false, 0},
        AttributeCase{"keepWithSpaceIsNotYes", R"(keep=" Yes")", false, false, false, false,
                      false, 0},
        AttributeCase{"hexAlignment", R"(alignment="0x100")", false, false, false, false, false,
                      256},
        AttributeCase{"decimalAlignment", R"(alignment=" 8")", false, false, false, false, false,
                      8}),
    [](const auto &info) { return std::string(info.param.name); });

struct KindCase {
    const char *tag;
    MemoryMapKind kind;
};

class MemoryMapKinds : public ::testing::TestWithParam<KindCase> {};

TEST_P(MemoryMapKinds, FollowTheTagExactly)
{
    const KindCase &c = GetParam();
    MapFixture fixture;
    ASSERT_NE(fixture.load(QByteArray("<") + c.tag + " name=\"x\"/>"), nullptr);
    const MemoryMapElement *element = fixture.find(c.kind, "x");
    ASSERT_NE(element, nullptr);
    EXPECT_STREQ(element->XMLElement::name(), c.tag);
    EXPECT_EQ(MemoryMapElement::kindOfTag(c.tag), c.kind);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemoryMapKinds,
    ::testing::Values(KindCase{"MemorySegment", MemoryMapKind::MemorySegment},
                      KindCase{"Register", MemoryMapKind::Register},
                      KindCase{"ProgramSection", MemoryMapKind::ProgramSection},
                      KindCase{"Root", MemoryMapKind::Root},
                      KindCase{"RegisterGroup", MemoryMapKind::RegisterGroup},
                      KindCase{"BitField", MemoryMapKind::BitField},
                      KindCase{"Enum", MemoryMapKind::Enum},
                      KindCase{"Processor", MemoryMapKind::Processor},
                      KindCase{"Vector", MemoryMapKind::Vector},
                      KindCase{"register", MemoryMapKind::Other},
                      KindCase{"Peripheral", MemoryMapKind::Other}),
    [](const auto &info) { return std::string(info.param.tag); });

TEST(MemoryMapLookups, FindElementComparesAsCStringsWithOrWithoutCase)
{
    MapFixture fixture;
    ASSERT_NE(fixture.load(R"(<RegisterGroup name="uart" start="0x100"/>
                              <RegisterGroup name="UART" start="0x200"/>)"),
              nullptr);
    EXPECT_EQ(MemoryMap::findElement(nullptr, group, nullptr, nullptr, true), nullptr);
    MemoryMapElement *top = asMemoryMapElement(fixture.find(group, "uart")->parent());
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(MemoryMap::findElement(top, group, "name", "UART", true)->start(), 0x200u);
    EXPECT_EQ(MemoryMap::findElement(top, group, "name", "UART", false)->start(), 0x100u);
    EXPECT_EQ(MemoryMap::findElement(top, group, nullptr, nullptr, true)->start(), 0x100u);
    EXPECT_EQ(MemoryMap::findElement(top, group, "name", "SPI", false), nullptr);
    EXPECT_EQ(MemoryMap::findElement(top, reg, nullptr, nullptr, false), nullptr);
    EXPECT_EQ(MemoryMap::findByName(top, group, QStringLiteral("UART"))->start(), 0x200u);
}

TEST(MemoryMapLookups, CloneTreeCopiesAttributesFieldsAndChildren)
{
    MapFixture fixture;
    ASSERT_NE(fixture.load(R"(<RegisterGroup name="G" start="0x4000" size="0x10">
                                <Register name="A" start="+0" access="ReadOnly"><BitField name="F" start="3"/></Register>
                                <Register name="B" start="+4"/></RegisterGroup>)"),
              nullptr);
    const std::unique_ptr<MemoryMapElement> copy = MemoryMap::cloneTree(fixture.find(group, "G"));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->parent(), nullptr);
    EXPECT_EQ(copy->start(), 0x4000u);
    EXPECT_EQ(copy->size(), 0x10u);
    const MemoryMapElement *a = MemoryMap::findByName(copy.get(), reg, QStringLiteral("A"));
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(a->isReadOnly());
    EXPECT_NE(a, fixture.find(reg, "A"));
    EXPECT_EQ(MemoryMap::findByName(copy.get(), field, QStringLiteral("F"))->start(), 3u);
    EXPECT_EQ(MemoryMap::findByName(copy.get(), reg, QStringLiteral("B"))->start(), 0x4004u);
}

TEST(MemoryMapBuilding, AddElementSetsTheGivenAttributesInOrder)
{
    MapFixture fixture;
    MemoryMap map;
    MemoryMapElement *root = map.addElement(nullptr, "Board_Memory_Definition_File", {}, {}, {},
                                            {}, {});
    map.setRoot(root);
    MemoryMapElement *uart = map.addRegisterGroup(root, QStringLiteral("UART"),
                                                  QStringLiteral("0x40011000"),
                                                  QStringLiteral("0x400"), {}, {});
    MemoryMapElement *data = map.addRegister(uart, QStringLiteral("DR"), QStringLiteral("+4"),
                                             QStringLiteral("4"), QStringLiteral("ReadOnly"),
                                             QStringLiteral("Data"));
    map.addBitField(data, QStringLiteral("DATA"), QStringLiteral("0"), QStringLiteral("9"), {}, {});
    map.calculateAddresses();
    QStringList names;
    for (const XMLAttribute &attribute : data->attributes())
        names.append(QString::fromUtf8(attribute.name));
    EXPECT_EQ(names, QStringList({"name", "start", "size", "access", "description"}));
    EXPECT_EQ(uart->kind(), group);
    EXPECT_EQ(data->start(), 0x40011004u);
    EXPECT_EQ(MemoryMap::findByName(root, field, QStringLiteral("DATA"))->size(), 9u);
    QStringList groupAttributes;
    for (const XMLAttribute &attribute : uart->attributes())
        groupAttributes.append(QString::fromUtf8(attribute.name));
    EXPECT_EQ(groupAttributes, QStringList({"name", "start", "size"}));
}

struct PercentCase {
    const char *name;
    quint64 part, whole;
    const char *text;
};

class MemoryMapPercent : public ::testing::TestWithParam<PercentCase> {};

TEST_P(MemoryMapPercent, TruncatesPerMille)
{
    const PercentCase &c = GetParam();
    EXPECT_EQ(MemoryMap::usagePercent(c.part, c.whole).toStdString(), c.text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemoryMapPercent,
    ::testing::Values(PercentCase{"firmware", 12340, 262144, "4.7%"},
                      PercentCase{"justBelowAWholePerMille", 999, 1000000, "0.0%"},
                      PercentCase{"truncatedNotRounded", 1999, 1000, "199.9%"},
                      PercentCase{"full", 65536, 65536, "100.0%"},
                      PercentCase{"overfull", 3, 2, "150.0%"},
                      PercentCase{"emptyWhole", 5, 0, "0.0%"},
                      PercentCase{"hugeNumbersDoNotOverflow", ~quint64(0), ~quint64(0), "100.0%"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MemoryMapCompare, ByStart)
{
    MapFixture fixture;
    ASSERT_NE(fixture.load(R"(<Register name="Low" start="0x10"/><Register name="High" start="0x20"/>
                              <Register name="Same" start="0x10"/>)"),
              nullptr);
    const MemoryMapElement *low = fixture.find(reg, "Low");
    const MemoryMapElement *high = fixture.find(reg, "High");
    EXPECT_EQ(MemoryMap::compareByStart(high, low), -1);
    EXPECT_EQ(MemoryMap::compareByStart(low, high), 1);
    EXPECT_EQ(MemoryMap::compareByStart(low, fixture.find(reg, "Same")), 0);
}

struct PlainNumberCase {
    const char *text;
    quint64 value;
    bool ok;
};

class MemoryMapPlainNumber : public ::testing::TestWithParam<PlainNumberCase> {};

TEST_P(MemoryMapPlainNumber, Reads)
{
    const PlainNumberCase &c = GetParam();
    bool ok = !c.ok;
    EXPECT_EQ(plainNumber(QString::fromLatin1(c.text), &ok), c.value);
    EXPECT_EQ(ok, c.ok);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemoryMapPlainNumber,
    ::testing::Values(PlainNumberCase{"", 0, true}, PlainNumberCase{"  12", 12, true},
                      PlainNumberCase{"0x1F", 31, true}, PlainNumberCase{"017", 15, true},
                      PlainNumberCase{"-4", quint64(-4), false},
                      PlainNumberCase{"12abc", 12, false},
                      PlainNumberCase{"99999999999999999999999", ~quint64(0), false}),
    [](const auto &info) { return "case" + std::to_string(info.index); });

TEST(MemoryMapUsage, CountsPlacedBytesPerSegmentIncludingTheLoadCopy)
{
    MapFixture fixture;
    MemoryMap *map = fixture.load(R"(<MemorySegment name="FLASH" start="0x08000000" size="0x1000"/>
                                     <MemorySegment name="RAM" start="0x20000000" size="0x400"/>)");
    ASSERT_NE(map, nullptr);
    const std::vector<PlacedSection> sections = {
        {QStringLiteral(".text"), 0x08000000, 0x08000000, 0x200, true},
        {QStringLiteral(".data"), 0x20000000, 0x08000200, 0x10, true},
        {QStringLiteral(".bss"), 0x20000010, 0x20000010, 0x30, false},
        {QStringLiteral(".straddle"), 0x08000F00, 0x08000F00, 0x200, true},
        {QStringLiteral(".far"), 0x90000000, 0x90000000, 0x8, true},
    };
    const MemoryUsage usage(*map, sections);
    ASSERT_EQ(usage.segments().size(), 2u);
    EXPECT_EQ(usage.segments()[0].used, 0x200u + 0x10 + 0x100);
    EXPECT_EQ(usage.segments()[1].used, 0x10u + 0x30);
    EXPECT_EQ(usage.outsideBytes(), 0x100u + 0x8);
    EXPECT_TRUE(usage.outsideSections().contains(QStringLiteral(".far")));
    EXPECT_TRUE(usage.table().contains(QStringLiteral("FLASH")));
}

struct CheckCase {
    const char *name;
    QByteArray body;
    const char *message;   // a finding the check must report; "@" stands for the map's path
};

class MemoryMapChecks : public ::testing::TestWithParam<CheckCase> {};

TEST_P(MemoryMapChecks, ReportsTheFindingWithItsLine)
{
    const CheckCase &c = GetParam();
    MapFixture fixture;
    MemoryMap *map = fixture.load(c.body);
    ASSERT_NE(map, nullptr);
    const MemoryMapCheck check(*map);
    QStringList found;
    for (const MemoryMapProblem &problem : check.problems())
        found.append(problem.location + QStringLiteral(": ") + problem.message);
    const QString wanted = QString::fromUtf8(c.message).replace(u'@', map->fileName());
    EXPECT_TRUE(found.contains(wanted)) << "wanted: " << wanted.toStdString() << "\nfound:\n"
                                        << found.join(u'\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemoryMapChecks,
    ::testing::Values(
        CheckCase{"overlappingSegments",
                  "<MemorySegment name=\"A\" start=\"0x1000\" size=\"0x100\"/>\n"
                  "<MemorySegment name=\"B\" start=\"0x10F0\" size=\"0x100\"/>",
                  "@:4: MemorySegment 'B' (0x000010F0-0x000011EF) overlaps MemorySegment 'A' "
                  "(0x00001000-0x000010FF) at @:3"},
        CheckCase{"divideByZero",
                  "<RegisterGroup name=\"G\" start=\"4 / 0\"/>",
                  "@:3: RegisterGroup 'G' start '4 / 0' does not evaluate (divide by zero), taken as 0"},
        CheckCase{"duplicateRegister",
                  "<RegisterGroup name=\"G\" start=\"0\">\n<Register name=\"R\" start=\"+0\"/>\n"
                  "<Register name=\"R\" start=\"+4\"/></RegisterGroup>",
                  "@:5: Register 'R' is named twice in RegisterGroup 'G' (first at @:4)"},
        CheckCase{"past32Bits",
                  "<MemorySegment name=\"Big\" start=\"0xFFFFFFFF + 2\" size=\"4\"/>",
                  "@:3: MemorySegment 'Big' starts at 0x100000001, past 2^32"},
        CheckCase{"negativeSize", "<MemorySegment name=\"N\" start=\"0x3000\" size=\"0-5\"/>",
                  "@:3: MemorySegment 'N' size '0-5' is negative"},
        CheckCase{"absurdSize",
                  "<MemorySegment name=\"A\" start=\"0\" size=\"99999999999999999999\"/>",
                  "@:3: MemorySegment 'A' size '99999999999999999999' does not evaluate "
                  "(integer constant too large: 99999999999999999999), taken as 0"},
        CheckCase{"fieldWiderThanItsRegister",
                  "<Register name=\"W\" start=\"0\" size=\"2\">\n"
                  "<BitField name=\"F\" start=\"12\" size=\"8\"/></Register>",
                  "@:4: BitField 'F' (bits 12-19) does not fit its 16-bit Register 'W'"},
        CheckCase{"registerOutsideItsGroup",
                  "<RegisterGroup name=\"H\" start=\"0x2000\" size=\"0x10\">\n"
                  "<Register name=\"R\" start=\"+0x20\"/></RegisterGroup>",
                  "@:4: Register 'R' (0x00002020-0x00002023) lies outside its RegisterGroup 'H' "
                  "(0x00002000-0x0000200F)"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
