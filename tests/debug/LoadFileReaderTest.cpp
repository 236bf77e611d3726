#include "debug/BinaryLoadFile.h"
#include "debug/LoadFileFactory.h"
#include "foundation/HException.h"
#include "tests/debug/LoadFileTestSupport.h"
#include <gtest/gtest.h>

using namespace LoadFileTest;

namespace {

// A file of one format and what reading it gives: the dump of its sections, or the exact
// message it raises.
struct ReaderCase {
    const char *name;
    const char *type;
    QByteArray content;
    QByteArray dump;      // empty when the read must fail
    QString message;
};

class LoadFileReading : public ::testing::TestWithParam<ReaderCase> {};

TEST_P(LoadFileReading, GivesSectionsInFileOrderOrTheExactMessage)
{
    QTemporaryDir directory;
    const QString path = writeInput(directory, QStringLiteral("input"), GetParam().content);
    try {
        const std::unique_ptr<LoadFileInterface> file = LoadFileFactory::create(path, QLatin1String(GetParam().type));
        ASSERT_TRUE(file);
        EXPECT_EQ(dump(*file), GetParam().dump);
        EXPECT_TRUE(GetParam().message.isEmpty()) << "no error raised";
    } catch (const HException &exception) {
        EXPECT_EQ(exception.message(), GetParam().message);
        EXPECT_TRUE(GetParam().dump.isEmpty());
    }
}

QByteArray lines(std::initializer_list<QByteArray> records, const char *terminator = "\n")
{
    QByteArray text;
    for (const QByteArray &record : records)
        text += record + terminator;
    return text;
}

const QByteArray s1a = sRecord('1', "1000", "010203");
const QByteArray s1b = sRecord('1', "1003", "0405");
const QByteArray s1far = sRecord('1', "2000", "AA");

INSTANTIATE_TEST_SUITE_P(SRecords, LoadFileReading, ::testing::Values(
    ReaderCase{"contiguousRecordsOneSection", "srec", lines({s1a, s1b}), "1000:0102030405", {}},
    ReaderCase{"noHeaderCountOrEndNeeded", "srec", lines({s1a}), "1000:010203", {}},
    ReaderCase{"headerWithoutAddressBytes", "srec", lines({sRecord('0', "", "6869"), s1a}), "1000:010203", {}},
    ReaderCase{"headerOfCountOne", "srec", lines({"S001FE", s1a}), "1000:010203", {}},
    ReaderCase{"outOfOrderRecordsSeveralSections", "srec", lines({s1far, s1a, s1b}), "2000:AA 1000:0102030405", {}},
    ReaderCase{"recordBehindAGapStartsASection", "srec", lines({s1a, s1far}), "1000:010203 2000:AA", {}},
    ReaderCase{"threeAndFourAddressBytes", "srec", lines({sRecord('2', "123456", "11"), sRecord('3', "08000000", "2233")}), "123456:11 8000000:2233", {}},
    ReaderCase{"rightCountPasses", "srec", lines({s1a, s1b, sRecord('5', "0002", "")}), "1000:0102030405", {}},
    ReaderCase{"wrongCountFails", "srec", lines({s1a, sRecord('5', "0002", "")}), {}, "incorrect data record count : line 2"},
    ReaderCase{"entryOfS7", "srec", lines({s1a, sRecord('7', "08000101", "")}), "1000:010203 entry 8000101", {}},
    ReaderCase{"entryOfS8", "srec", lines({s1a, sRecord('8', "123456", "")}), "1000:010203 entry 123456", {}},
    ReaderCase{"entryOfS9", "srec", lines({s1a, sRecord('9', "1000", "")}), "1000:010203 entry 1000", {}},
    ReaderCase{"reservedTypesCheckOnlyTheChecksum", "srec", lines({"S403FC", "S603FC", "SA03FC", s1a}), "1000:010203", {}},
    ReaderCase{"typeOutsideDigitsWithBadChecksum", "srec", lines({"SX0300"}), {}, "invalid checksum : line 1"},
    ReaderCase{"lowerCaseDigits", "srec", lines({sRecord('1', "1000", "ABCD").toLower().replace('s', 'S')}), "1000:ABCD", {}},
    ReaderCase{"crlfAndLfMixed", "srec", s1a + "\r\n" + s1b + "\n" + s1far + "\r\n", "1000:0102030405 2000:AA", {}},
    ReaderCase{"lastLineWithoutNewline", "srec", s1a + "\n" + s1b, "1000:0102030405", {}},
    ReaderCase{"emptyFile", "srec", "", "", {}},
    ReaderCase{"badChecksum", "srec", lines({s1a, "S1041000FF00"}), {}, "invalid checksum : line 2"},
    ReaderCase{"noLeadingS", "srec", lines({s1a, "X1041000FFEB"}), {}, "no leading 'S' character : line 2"},
    ReaderCase{"emptyLine", "srec", lines({s1a, ""}), {}, "no leading 'S' character : line 2"},
    ReaderCase{"nonHexDigit", "srec", lines({"S1041000GG00"}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"lineEndsInsideData", "srec", lines({"S10510000102"}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"lineEndsInsideChecksum", "srec", lines({s1a.left(s1a.size() - 1)}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"countShorterThanAddress", "srec", lines({"S1021000ED"}), {}, "invalid record length : line 1"},
    ReaderCase{"recordPastFourGiB", "srec", lines({sRecord('3', "FFFFFFFF", "0102")}), {}, "record past 4 GiB : line 1"},
    ReaderCase{"recordEndingAtFourGiB", "srec", lines({sRecord('3', "FFFFFFFE", "0102")}), "FFFFFFFE:0102", {}},
    ReaderCase{"overlongLine", "srec", lines({"S1" + QByteArray(529, '0')}), {}, "line longer than 530 characters : line 1"},
    ReaderCase{"binaryGarbage", "srec", QByteArray("\x7f" "ELF\x02\x01\x01\0\0\0", 10), {}, "no leading 'S' character : line 1"}),
    [](const auto &info) { return std::string(info.param.name); });

const QByteArray eof = ":00000001FF";

INSTANTIATE_TEST_SUITE_P(IntelHex, LoadFileReading, ::testing::Values(
    ReaderCase{"dataThenEnd", "ihex", lines({intelRecord(0, 0x1000, "0102"), intelRecord(0, 0x1002, "03"), eof}), "1000:010203", {}},
    ReaderCase{"linearBase", "ihex", lines({intelRecord(4, 0, "0800"), intelRecord(0, 0x0010, "AA"), eof}), "8000010:AA", {}},
    ReaderCase{"segmentBase", "ihex", lines({intelRecord(2, 0, "1000"), intelRecord(0, 0x0004, "BB"), eof}), "10004:BB", {}},
    ReaderCase{"segmentAndLinearBaseAdd", "ihex", lines({intelRecord(4, 0, "0001"), intelRecord(2, 0, "0010"), intelRecord(0, 0x0002, "CC"), eof}), "10102:CC", {}},
    ReaderCase{"startLinearAddress", "ihex", lines({intelRecord(0, 0, "01"), intelRecord(5, 0, "08000131"), eof}), "0:01 entry 8000131", {}},
    ReaderCase{"startSegmentAddress", "ihex", lines({intelRecord(3, 0, "12345678"), eof}), " entry 12345678", {}},
    ReaderCase{"emptyDataRecordStartsASection", "ihex", lines({intelRecord(0, 0x1000, "01"), intelRecord(0, 0x3000, ""), intelRecord(0, 0x3000, "02"), eof}), "1000:01 3000:02", {}},
    ReaderCase{"emptyContiguousRecordNoGrowth", "ihex", lines({intelRecord(0, 0x1000, "01"), intelRecord(0, 0x1001, ""), intelRecord(0, 0x1001, "02"), eof}), "1000:0102", {}},
    ReaderCase{"emptyRecordAlone", "ihex", lines({intelRecord(0, 0x4000, ""), eof}), "4000:-", {}},
    ReaderCase{"otherTypesSkipped", "ihex", lines({":0000000600", intelRecord(0, 0, "01"), eof}), "0:01", {}},
    ReaderCase{"readingStopsAtTheEnd", "ihex", lines({intelRecord(0, 0, "01"), eof, "garbage"}), "0:01", {}},
    ReaderCase{"bothCases", "ihex", lines({intelRecord(0, 0xABCD, "EF").toLower(), eof}), "ABCD:EF", {}},
    ReaderCase{"crlf", "ihex", lines({intelRecord(0, 0, "01"), eof}, "\r\n"), "0:01", {}},
    ReaderCase{"missingEnd", "ihex", lines({intelRecord(0, 0, "01"), intelRecord(0, 1, "02")}), {}, "invalid end of file in hex file : line 2"},
    ReaderCase{"emptyFile", "ihex", "", {}, "invalid end of file in hex file : line 0"},
    ReaderCase{"missingMark", "ihex", lines({"00000001FF"}), {}, "missing record mark in hex file : line 1"},
    ReaderCase{"badChecksum", "ihex", lines({":0100000001FF", eof}), {}, "invalid checksum : line 1"},
    ReaderCase{"badDigit", "ihex", lines({":01000000Z1FE", eof}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"oddDigits", "ihex", lines({":0100000001F", eof}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"shortHeader", "ihex", lines({":0100", eof}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"countLongerThanLine", "ihex", lines({":10000000010203", eof}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"recordPastFourGiB", "ihex", lines({intelRecord(4, 0, "FFFF"), intelRecord(0, 0xFFFF, "0102"), eof}), {}, "record past 4 GiB : line 2"},
    ReaderCase{"segmentPastFourGiB", "ihex", lines({intelRecord(4, 0, "FFFF"), intelRecord(2, 0, "F000"), intelRecord(0, 0, "01"), eof}), {}, "record past 4 GiB : line 3"},
    ReaderCase{"overlongLine", "ihex", lines({":" + QByteArray(530, '0')}), {}, "line longer than 530 characters : line 1"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(Listing, LoadFileReading, ::testing::Values(
    ReaderCase{"linesRunOn", "hex", lines({"00001000 01 02 03", "00001003 04"}), "1000:01020304", {}},
    ReaderCase{"trailingBlankIgnored", "hex", lines({"00001000 01 02 "}), "1000:0102", {}},
    ReaderCase{"noNewlineAtEnd", "hex", "00001000 01 02", "1000:0102", {}},
    ReaderCase{"shortLinesSkipped", "hex", lines({"", "x", "123456", "00002000 AA"}), "2000:AA", {}},
    ReaderCase{"addressOnlyStartsAnEmptySection", "hex", lines({"00002000"}), "2000:-", {}},
    ReaderCase{"jumpStartsSection", "hex", lines({"00001000 01", "00003000 02"}), "1000:01 3000:02", {}},
    ReaderCase{"badAddress", "hex", lines({"0000100G 01"}), {}, "invalid address : line 1"},
    ReaderCase{"sevenCharacterLine", "hex", lines({"0000100"}), {}, "invalid address : line 1"},
    ReaderCase{"badSeparator", "hex", lines({"00001000 01-02"}), {}, "invalid seperator : line 1"},
    ReaderCase{"badDigit", "hex", lines({"00001000 0x"}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"lineEndsInsideByte", "hex", lines({"00001000 01 0"}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"overlongLine", "hex", lines({"00001000" + QByteArray(60, ' ')}), {}, "line longer than 64 characters : line 1"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(TiText, LoadFileReading, ::testing::Values(
    ReaderCase{"addressThenData", "tihex", lines({"@1000", "01 02 03", "04", "q"}), "1000:01020304", {}},
    ReaderCase{"groupsWithTrailingBlank", "tihex", lines({"@F000", "0A 0B ", "q"}), "F000:0A0B", {}},
    ReaderCase{"dataBeforeAnyAddressAtZero", "tihex", lines({"AA", "q"}), "0:AA", {}},
    ReaderCase{"twoAddresses", "tihex", lines({"@1000", "01", "@2000", "02", "q"}), "1000:01 2000:02", {}},
    ReaderCase{"addressEndsAtBlank", "tihex", lines({"@0000001F junk", "01", "q"}), "1F:01", {}},
    ReaderCase{"blankLinesHoldNoBytes", "tihex", lines({"@10", "", "01", "q"}), "10:01", {}},
    ReaderCase{"textAfterQIgnored", "tihex", lines({"@10", "01", "q", "zz"}), "10:01", {}},
    ReaderCase{"crlf", "tihex", lines({"@10", "01 02", "q"}, "\r\n"), "10:0102", {}},
    ReaderCase{"missingQ", "tihex", lines({"@10", "01"}), {}, "unexpected end of file : line 2"},
    ReaderCase{"badDigit", "tihex", lines({"@10", "0G", "q"}), {}, "invalid ASCII encoded byte : line 2"},
    ReaderCase{"badAddressDigit", "tihex", lines({"@1X", "q"}), {}, "invalid ASCII encoded byte : line 1"},
    ReaderCase{"emptyAddress", "tihex", lines({"@", "q"}), {}, "invalid address : line 1"},
    ReaderCase{"addressOverThirtyTwoBits", "tihex", lines({"@100000000", "q"}), {}, "invalid address : line 1"},
    ReaderCase{"dataPastFourGiB", "tihex", lines({"@FFFFFFFF", "01 02", "q"}), {}, "record past 4 GiB : line 2"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(LoadFileReadingText, AMissingFileIsCannotOpenWithThePath)
{
    for (const char *type : {"srec", "ihex", "hex", "tihex", "bin"}) {
        EXPECT_EQ(raisedMessage([&] { (void)LoadFileFactory::create(QStringLiteral("/nonexistent/x"), QLatin1String(type)); }), QStringLiteral("cannot open /nonexistent/x")) << type;
    }
}

TEST(LoadFileReadingText, ADirectoryIsCannotReadWithThePath)
{
    QTemporaryDir directory;
    for (const char *type : {"srec", "ihex", "hex", "tihex", "bin"}) {
        EXPECT_EQ(raisedMessage([&] { (void)LoadFileFactory::create(directory.path(), QLatin1String(type)); }), QStringLiteral("cannot read ") + directory.path()) << type;
    }
}

TEST(LoadFileReadingText, ReloadReadsTheChangedFileAndKeepsTheOldSectionsOnFailure)
{
    QTemporaryDir directory;
    const QString path = writeInput(directory, QStringLiteral("a.s19"), lines({s1a}));
    const std::unique_ptr<LoadFileInterface> file = LoadFileFactory::create(path, QStringLiteral("srec"));
    EXPECT_TRUE(file->isEditable());
    TestSupport::writeFile(path, lines({s1far, sRecord('9', "0010", "")}));
    file->reload();
    EXPECT_EQ(dump(*file), "2000:AA entry 10");
    TestSupport::writeFile(path, lines({"S1 broken"}));
    EXPECT_THROW(file->reload(), HException);
    EXPECT_EQ(dump(*file), "2000:AA entry 10");
}

TEST(LoadFileSection, LoadKeepsOneCopyUntilUnload)
{
    const uchar bytes[] = {1, 2, 3};
    StandardLoadFileSection section(QStringLiteral("data"), 0x100, 3, bytes);
    const uchar *copy = section.load();
    EXPECT_NE(copy, bytes);
    EXPECT_EQ(QByteArray(reinterpret_cast<const char *>(copy), 3), QByteArray("\1\2\3", 3));
    EXPECT_EQ(section.load(), copy);
    EXPECT_EQ(section.data(true), copy);
    EXPECT_EQ(section.data(false), bytes);
    section.unload();
    EXPECT_EQ(QByteArray(reinterpret_cast<const char *>(section.load()), 3), QByteArray("\1\2\3", 3));
}

TEST(LoadFileSection, ExpandingSectionGrowsInPlaceForTheReader)
{
    ExpandingLoadFileSection section(0x2000);
    EXPECT_EQ(section.size(), 0u);
    EXPECT_TRUE(section.name().isEmpty());
    for (int i = 0; i < 100000; ++i)
        *section.extend(1) = uchar(i);
    EXPECT_EQ(section.size(), 100000u);
    EXPECT_EQ(section.end(), 0x2000u + 100000u);
    EXPECT_EQ(section.data(false)[99999], uchar(99999));
}

class BinaryLoadFileTest : public ::testing::Test {
protected:
    QTemporaryDir directory;
    QString path = writeInput(directory, QStringLiteral("image.bin"), QByteArray("\x01\x02\x03\x04", 4));
};

TEST_F(BinaryLoadFileTest, OneDataSectionAtTheLoadAddress)
{
    BinaryLoadFile file(path);
    EXPECT_FALSE(file.isEditable());
    file.setLoadAddress(0x08000000);
    ASSERT_EQ(file.sectionCount(), 1);
    EXPECT_EQ(file.section(0)->name(), QStringLiteral("data"));
    EXPECT_EQ(dump(file), "8000000:01020304");
    EXPECT_FALSE(file.hasEntryPoint());
    EXPECT_EQ(file.section(1), nullptr);
}

TEST_F(BinaryLoadFileTest, AnUnchangedAddressKeepsTheSectionList)
{
    BinaryLoadFile file(path);
    file.setLoadAddress(0x1000);
    LoadFileSectionInterface *section = file.section(0);
    file.setLoadAddress(0x1000);
    EXPECT_EQ(file.section(0), section);
    file.relocate(0x2000);
    EXPECT_EQ(file.section(0)->address(), 0x2000u);
}

TEST_F(BinaryLoadFileTest, AnImagePastFourGiBCannotMakeItsSections)
{
    BinaryLoadFile file(path);
    file.setLoadAddress(0xFFFFFFFE);
    EXPECT_EQ(raisedMessage([&] { (void)file.sectionCount(); }), QStringLiteral("cannot read sections from load file"));
    file.setLoadAddress(0xFFFFFFFC);
    EXPECT_EQ(dump(file), "FFFFFFFC:01020304");
}

TEST_F(BinaryLoadFileTest, AFileOverTheLimitIsRefusedBeforeReading)
{
    EXPECT_EQ(raisedMessage([&] { BinaryLoadFile file(path, 3); }), path + QStringLiteral(": binary of 4 bytes is over the limit of 3 bytes"));
}

TEST_F(BinaryLoadFileTest, EmptyFileGivesAnEmptySection)
{
    BinaryLoadFile file(writeInput(directory, QStringLiteral("empty.bin"), {}));
    EXPECT_EQ(dump(file), "0:-");
}

TEST_F(BinaryLoadFileTest, ReloadTakesTheNewContent)
{
    BinaryLoadFile file(path);
    EXPECT_EQ(dump(file), "0:01020304");
    TestSupport::writeFile(path, "\xAA");
    file.reload();
    EXPECT_EQ(dump(file), "0:AA");
}

struct GuessCase {
    const char *name;
    const char *path;
    const char *type;
};

class LoadFileGuess : public ::testing::TestWithParam<GuessCase> {};

TEST_P(LoadFileGuess, TakesOnlyTheExactSpellings)
{
    EXPECT_EQ(LoadFileFactory::guessType(QLatin1String(GetParam().path)), QLatin1String(GetParam().type));
}

INSTANTIATE_TEST_SUITE_P(Names, LoadFileGuess, ::testing::Values(
    GuessCase{"bin", "a.bin", "bin"}, GuessCase{"BIN", "dir/a.BIN", "bin"},
    GuessCase{"rom", "a.rom", "bin"}, GuessCase{"ROM", "a.ROM", "bin"},
    GuessCase{"hex", "a.hex", "ihex"}, GuessCase{"HEX", "a.HEX", "ihex"},
    GuessCase{"mixedCase", "a.Hex", ""}, GuessCase{"lst", "a.lst", "hex"},
    GuessCase{"LST", "a.LST", "hex"}, GuessCase{"txt", "a.txt", "tihex"},
    GuessCase{"TXT", "a.TXT", "tihex"}, GuessCase{"s19", "a.s19", "srec"},
    GuessCase{"S19", "a.S19", "srec"}, GuessCase{"srec", "a.srec", "srec"},
    GuessCase{"SREC", "a.SREC", "srec"}, GuessCase{"tooShort", "a.b", ""},
    GuessCase{"extensionOnly", ".hex", "ihex"}, GuessCase{"noDot", "ahex", ""},
    GuessCase{"other", "a.elf", ""}, GuessCase{"empty", "", ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(LoadFileFactoryTest, FormatsInTheirOrderAndUnknownTypesGiveNull)
{
    QStringList rows;
    for (const LoadFileFormat &format : LoadFileFactory::formats())
        rows.append(format.typeName + u'|' + format.patterns + u'|' + format.title);
    EXPECT_EQ(rows, QStringList({"bin|*.bin *.rom|Binary", "ihex|*.hex|Intel Hex", "hex|*.lst|Hex",
                                 "tihex|*.txt|TI Hex", "srec|*.s19 *.srec|Motorola S-Record"}));
    EXPECT_EQ(LoadFileFactory::create(QStringLiteral("/nonexistent"), QStringLiteral("tek")), nullptr);
    EXPECT_EQ(LoadFileFactory::create(QStringLiteral("/nonexistent"), QStringLiteral("elf")), nullptr);
}

struct ContentCase {
    const char *name;
    QByteArray head;
    const char *type;
};

class LoadFileContent : public ::testing::TestWithParam<ContentCase> {};

TEST_P(LoadFileContent, FirstBytesTellTheType)
{
    QTemporaryDir directory;
    EXPECT_EQ(LoadFileFactory::typeOfContent(writeInput(directory, QStringLiteral("x"), GetParam().head)),
              QLatin1String(GetParam().type));
}

INSTANTIATE_TEST_SUITE_P(Heads, LoadFileContent, ::testing::Values(
    ContentCase{"colon", ":020000", "ihex"}, ContentCase{"sDigit", "S00600", "srec"},
    ContentCase{"sLetter", "Sx", "bin"}, ContentCase{"at", "@1000\n", "tihex"},
    ContentCase{"listing", "0000abCD 01", "hex"}, ContentCase{"listingWithoutBlank", "0000ABCD\n", "bin"},
    ContentCase{"empty", "", "bin"}, ContentCase{"elf", "\x7f" "ELF", "bin"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
