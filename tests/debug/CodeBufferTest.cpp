#include "debug/BinaryBuffer.h"
#include "debug/HexBuffer.h"
#include "debug/IntelHexBuffer.h"
#include "debug/LoadFileFactory.h"
#include "debug/SRecordBuffer.h"
#include "debug/TIHexBuffer.h"
#include "debug/TekHexBuffer.h"
#include "foundation/HException.h"
#include "tests/debug/LoadFileTestSupport.h"
#include <QFile>
#include <QRandomGenerator>
#include <gtest/gtest.h>
#include <functional>

using namespace LoadFileTest;

namespace {

// What one writer makes of some blocks, byte for byte.
struct WriterCase {
    const char *name;
    const char *type;
    std::vector<Block> blocks;
    quint32 entry;
    QByteArray expected;
};

class CodeBufferWriting : public ::testing::TestWithParam<WriterCase> {};

TEST_P(CodeBufferWriting, WritesExactlyTheRecords)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("out"));
    EXPECT_EQ(writeImage(path, QLatin1String(GetParam().type), GetParam().blocks, GetParam().entry),
              GetParam().expected);
    // Byte by byte and in blocks give the same file.
    EXPECT_EQ(writeImage(path, QLatin1String(GetParam().type), GetParam().blocks, GetParam().entry, true),
              GetParam().expected);
}

QByteArray sequence(int count, int first = 0)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(char(first + i));
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(SRecords, CodeBufferWriting, ::testing::Values(
    WriterCase{"headerDataAndS9", "srec", {{0x1000, "\x01\x02"}}, 0,
               "S003616239\nS10510000102E7\nS9030000FC\n"},
    WriterCase{"sixteenBytesALine", "srec", {{0x10, sequence(17)}}, 0x10,
               "S003616239\n" + sRecord('1', "0010", sequence(16).toHex()) + "\n"
                   + sRecord('1', "0020", "10") + "\nS9030010EC\n"},
    WriterCase{"belowFFFFFFPicksS2", "srec", {{0xFFFFFE, "\xAA"}}, 0,
               "S003616239\n" + sRecord('2', "FFFFFE", "AA") + "\nS9030000FC\n"},
    WriterCase{"FFFFFFPicksS3", "srec", {{0xFFFFFF, "\xAA"}}, 0,
               "S003616239\n" + sRecord('3', "00FFFFFF", "AA") + "\nS9030000FC\n"},
    WriterCase{"entryCutToSixteenBits", "srec", {}, 0x12345678, "S003616239\nS90356782E\n"},
    WriterCase{"consecutiveBlocksRunOn", "srec", {{0x100, "\x01"}, {0x101, "\x02"}}, 0,
               "S003616239\n" + sRecord('1', "0100", "0102") + "\nS9030000FC\n"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(IntelHex, CodeBufferWriting, ::testing::Values(
    WriterCase{"firstSixtyFourKBWithoutBaseRecord", "ihex", {{0x1000, "\x01\x02"}}, 0,
               intelRecord(0, 0x1000, "0102") + "\n:00000001FF\n"},
    WriterCase{"crossingSixtyFourKBSplitsAndAddsBase", "ihex", {{0xFFFE, "\x01\x02\x03\x04"}}, 0,
               intelRecord(0, 0xFFFE, "0102") + "\n" + intelRecord(4, 0, "0001") + "\n"
                   + intelRecord(0, 0, "0304") + "\n:00000001FF\n"},
    WriterCase{"baseRecordOnlyWhenTheUpperHalfChanges", "ihex", {{0x08000000, sequence(20)}, {0x08000100, "\xEE"}}, 0x08000000,
               intelRecord(4, 0, "0800") + "\n" + intelRecord(0, 0, sequence(16).toHex()) + "\n"
                   + intelRecord(0, 0x10, "10111213") + "\n" + intelRecord(0, 0x100, "EE") + "\n:00000001FF\n"},
    WriterCase{"backToTheFirstSixtyFourKB", "ihex", {{0x10000, "\x01"}, {0x0, "\x02"}}, 0,
               intelRecord(4, 0, "0001") + "\n" + intelRecord(0, 0, "01") + "\n" + intelRecord(4, 0, "0000") + "\n"
                   + intelRecord(0, 0, "02") + "\n:00000001FF\n"},
    WriterCase{"nothingWritten", "ihex", {}, 0, ":00000001FF\n"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(Listing, CodeBufferWriting, ::testing::Values(
    WriterCase{"addressAndGroups", "hex", {{0x1000, "\x01\xAB"}, {0x2000, "\xFF"}}, 0,
               "00001000 01 AB\n00002000 FF\n"},
    WriterCase{"sixteenALine", "hex", {{0xFFFFFFEF, sequence(17)}}, 0,
               "FFFFFFEF 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F\nFFFFFFFF 10\n"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(TiText, CodeBufferWriting, ::testing::Values(
    WriterCase{"addressLineFirstEvenAtZero", "tihex", {{0, "\x01\x02"}}, 0, "@00000000\n01 02 \nq\n"},
    WriterCase{"addressLineOnlyWhereTheAddressJumps", "tihex", {{0x1000, sequence(18)}, {0x3000, "\xAA"}}, 0,
               "@00001000\n00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F \n10 11 \n@00003000\nAA \nq\n"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(Tektronix, CodeBufferWriting, ::testing::Values(
    // %, length 0E, type 6, checksum 1C (0+E+6+4+1+0+0+0+0+1+0+2), 4 address digits, data.
    WriterCase{"dataAndEnd", "tek", {{0x1000, "\x01\x02"}}, 0, "%0E61C410000102\n%0781010\n"},
    WriterCase{"shortestAddress", "tek", {{0x5, "\xFF"}}, 0x08000000, "%0963315FF\n%0D82478000000\n"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(Binary, CodeBufferWriting, ::testing::Values(
    WriterCase{"gapFilledWithFF", "bin", {{0x1000, "\x01"}, {0x1002, "\x03"}}, 0, "\x01\xFF\x03"},
    WriterCase{"startsAtTheLowestAddress", "bin", {{0x2001, "\x02"}, {0x2000, "\x01"}}, 0, "\x01\x02"},
    WriterCase{"acrossPages", "bin", {{0xFFF, "\x01\x02"}}, 0, "\x01\x02"},
    WriterCase{"nothingWritten", "bin", {}, 0, ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(BinaryBufferTest, AGapOfManyPagesComesOutAsFillWithoutItsPages)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("out.bin"));
    BinaryBuffer buffer(path, 0x00);
    buffer.setAddress(0x100000);
    buffer.addByte(0xAA);
    buffer.setAddress(0);
    buffer.addByte(0xBB);
    EXPECT_EQ(buffer.spanSize(), 0x100001u);
    buffer.finish(0);
    QByteArray expected(0x100001, '\0');
    expected[0] = char(0xBB);
    expected[0x100000] = char(0xAA);
    EXPECT_EQ(TestSupport::readFile(path), expected);
}

TEST(BinaryBufferTest, ASpanOverTheLimitWritesNothing)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("out.bin"));
    TestSupport::writeFile(path, "old");
    BinaryBuffer buffer(path, 0xFF, 16);
    buffer.addByte(1);
    buffer.setAddress(16);
    buffer.addByte(2);
    EXPECT_EQ(raisedMessage([&] { buffer.finish(0); }), QStringLiteral("binary image of 17 bytes from 0x00000000 is over the limit of 16 bytes"));
    EXPECT_EQ(TestSupport::readFile(path), "old");
}

TEST(CodeBufferFileTest, AnUnfinishedBufferLeavesTheOldFileAndNothingBehind)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("out.hex"));
    TestSupport::writeFile(path, "old");
    {
        IntelHexBuffer buffer(path);
        buffer.addBytes(reinterpret_cast<const uchar *>("abc"), 3);
    }
    EXPECT_EQ(TestSupport::readFile(path), "old");
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files), QStringList{"out.hex"});
}

TEST(CodeBufferFileTest, AnOutputThatCannotBeCreatedRaisesWithThePath)
{
    const QString message = raisedMessage([] { SRecordBuffer buffer(QStringLiteral("/nonexistent/dir/out.s19"), QStringLiteral("x")); });
    EXPECT_TRUE(message.startsWith(QStringLiteral("cannot create /nonexistent/dir/out.s19: "))) << message.toStdString();
}

// Round trips: random sections written in each text format read back as the same image.
std::vector<Block> randomBlocks(quint32 seed)
{
    QRandomGenerator random(seed);
    std::vector<Block> blocks;
    quint64 address = random.bounded(0x20000);
    for (int i = 0; i < 6; ++i) {
        Block block;
        block.address = quint32(address);
        const int size = int(random.bounded(1, 3000));
        for (int j = 0; j < size; ++j)
            block.bytes.append(char(random.bounded(256)));
        blocks.push_back(block);
        address += quint64(size) + random.bounded(1, 0x30000);
    }
    blocks.push_back({0xFFFFFFF0 - 5, sequence(21)});   // up to the last address there is
    return blocks;
}

class CodeBufferRoundTrip : public ::testing::TestWithParam<const char *> {};

TEST_P(CodeBufferRoundTrip, ReadingBackGivesTheSameImage)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("out"));
    for (quint32 seed = 1; seed <= 4; ++seed) {
        const std::vector<Block> blocks = randomBlocks(seed);
        const quint32 entry = GetParam() == QLatin1String("srec") ? 0x1234 : 0;
        (void)writeImage(path, QLatin1String(GetParam()), blocks, entry);
        const std::unique_ptr<LoadFileInterface> file = LoadFileFactory::create(path, QLatin1String(GetParam()));
        EXPECT_EQ(imageDump(*file), imageDump(blocks)) << "seed " << seed;
        if (entry) {
            EXPECT_EQ(file->entryPoint(), entry);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, CodeBufferRoundTrip, ::testing::Values("srec", "ihex", "hex", "tihex"),
                         [](const auto &info) { return std::string(info.param); });

} // namespace
