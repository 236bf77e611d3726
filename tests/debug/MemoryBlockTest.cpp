#include "debug/LazyMemoryBlock.h"
#include "debug/MemoryAccessException.h"
#include "debug/MemoryBlock.h"
#include "tests/debug/DebugTestSupport.h"
#include <gtest/gtest.h>

using DebugTestSupport::FakeTarget;

QByteArray *FakeTarget::rangeOf(quint64 address, qint64 length, quint64 &offset)
{
    auto it = m_ranges.upper_bound(address);
    if (it == m_ranges.begin())
        return nullptr;
    --it;
    offset = address - it->first;
    if (offset + quint64(length) > quint64(it->second.size()))
        return nullptr;
    return &it->second;
}

void FakeTarget::readMemory(quint64 address, int width, qint64 count, char *destination)
{
    m_transfers.push_back({address, width, count, false});
    quint64 offset = 0;
    const QByteArray *range = rangeOf(address, width * count, offset);
    if (!range)
        throw MemoryAccessException::at(address);
    std::memcpy(destination, range->constData() + offset, size_t(width * count));
}

void FakeTarget::writeMemory(quint64 address, int width, qint64 count, const char *source)
{
    m_transfers.push_back({address, width, count, true});
    quint64 offset = 0;
    QByteArray *range = rangeOf(address, width * count, offset);
    if (!range)
        throw MemoryAccessException::at(address);
    std::memcpy(range->data() + offset, source, size_t(width * count));
}

namespace {

TEST(MemoryBlockBounds, WordsOutsideReadZeroAndLeaveTheCursor)
{
    char bytes[] = {0x11, 0x22, 0x33, 0x44, 0x55};
    MemoryBlock block(bytes, sizeof bytes, false);
    EXPECT_EQ(block.getWord(4), 0x44332211u);
    EXPECT_EQ(block.position(), 4);
    EXPECT_EQ(block.getWord(2), 0u); // one byte left
    EXPECT_EQ(block.position(), 4);
    block.seek(-1);
    EXPECT_EQ(block.getWord(1), 0u);
    EXPECT_EQ(block.position(), -1);
    block.seek(3);
    block.putWord(0xAABB, 4); // ignored: runs past the end
    EXPECT_EQ(bytes[3], 0x44);
    EXPECT_EQ(block.position(), 3);
    EXPECT_EQ(block.getBits(4, 0, 8, false), 0); // the word does not fit
}

TEST(MemoryBlockBounds, ReadAndWriteOutsideRaise)
{
    char bytes[4] = {1, 2, 3, 4};
    MemoryBlock block(bytes, sizeof bytes, true);
    char out[8];
    block.seek(2);
    EXPECT_THROW(block.read(3, out), MemoryAccessException);
    EXPECT_EQ(block.position(), 2);
    EXPECT_THROW(block.write(3, out), MemoryAccessException);
    block.read(2, out);
    EXPECT_EQ(out[0], 3);
    EXPECT_EQ(block.position(), 4);
    try {
        block.read(1, out);
        FAIL() << "no exception";
    } catch (const MemoryAccessException &exception) {
        EXPECT_EQ(exception.message(), QStringLiteral("cannot access memory at 0x00000004"));
    }
}

TEST(MemoryBlockStrings, EmptiesFirstAndStopsAtNulOrTheEnd)
{
    char bytes[] = {'a', 'b', 0, 'c', 'd'};
    MemoryBlock block(bytes, sizeof bytes, false);
    QByteArray text = "old";
    block.readString(100, text);
    EXPECT_EQ(text, "ab");
    block.seek(3);
    block.readString(100, text); // longer than the block: the block's bytes only
    EXPECT_EQ(text, "cd");
    block.readString(1, text);
    EXPECT_EQ(text, "c");
    block.seek(9);
    text = "old";
    block.readString(4, text); // outside: an empty text, no exception
    EXPECT_TRUE(text.isEmpty());
}

struct BitsCase {
    const char *name;
    bool bigEndian;
    int width;
    int bitOffset;
    int bitSize;
    bool isSigned;
    qint64 expected;
};

class MemoryBlockBits : public ::testing::TestWithParam<BitsCase> {};

// The word 0x12345678 in the block's byte order.
TEST_P(MemoryBlockBits, ReadsTheFieldFromTheLeastSignificantBit)
{
    const BitsCase &c = GetParam();
    char bytes[4];
    MemoryWords::encode(0x12345678, 4, c.bigEndian, bytes);
    MemoryBlock block(bytes, 4, c.bigEndian);
    EXPECT_EQ(block.getBits(c.width, c.bitOffset, c.bitSize, c.isSigned), c.expected);
    EXPECT_EQ(block.position(), 0);
    block.putBits(quint64(c.expected), c.width, c.bitOffset, c.bitSize);
    EXPECT_EQ(MemoryWords::decode(bytes, 4, c.bigEndian), 0x12345678u) << "writing back changed the word";
    block.putBits(0, c.width, c.bitOffset, c.bitSize);
    EXPECT_EQ(block.getBits(c.width, c.bitOffset, c.bitSize, c.isSigned), 0);
}

INSTANTIATE_TEST_SUITE_P(Fields, MemoryBlockBits, ::testing::Values(
    BitsCase{"lowNibbleLittle", false, 4, 0, 4, false, 0x8},
    BitsCase{"lowNibbleBig", true, 4, 0, 4, false, 0x8},
    BitsCase{"signedNibble", false, 4, 4, 4, true, 0x7},
    BitsCase{"signedNegative", true, 4, 3, 4, true, -1},
    BitsCase{"topByte", false, 4, 24, 8, false, 0x12},
    BitsCase{"halfWordBig", true, 2, 0, 16, false, 0x1234}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(LazyMemoryBlockTransfers, UseTheAccessWidthWhenItDividesTheAccess)
{
    FakeTarget target;
    target.map(0x1000, QByteArray::fromHex("0102030405060708"));
    LazyMemoryBlock block(target, 0x1000, 4, false);
    EXPECT_EQ(block.getWord(8), 0x0807060504030201u);
    ASSERT_EQ(target.transfers().size(), 1u);
    EXPECT_EQ(target.transfers()[0].width, 4);
    EXPECT_EQ(target.transfers()[0].count, 2);
    block.seek(1);
    EXPECT_EQ(block.getWord(2), 0x0302u); // 4 does not divide 2: bytes
    EXPECT_EQ(target.transfers().back().width, 1);
    EXPECT_EQ(target.transfers().back().address, 0x1001u);
    block.rewind();
    block.putBits(0xF, 4, 4, 4);
    EXPECT_EQ(target.bytesAt(0x1000).left(4), QByteArray::fromHex("f1020304"));
    EXPECT_EQ(block.position(), 0);
}

TEST(LazyMemoryBlockTransfers, BigEndianWordsAndFailuresNameTheStart)
{
    FakeTarget target;
    target.map(0x2000, QByteArray::fromHex("a1b2"));
    LazyMemoryBlock block(target, 0x2000, 2, true);
    EXPECT_EQ(block.getWord(2), 0xa1b2u);
    try {
        (void)block.getWord(4);
        FAIL() << "no exception";
    } catch (const MemoryAccessException &exception) {
        EXPECT_EQ(exception.message(), QStringLiteral("cannot access memory at 0x00002002"));
    }
}

TEST(LazyMemoryBlockStrings, ClearsTheLengthFirstAndKeepsWhatWasReadBeforeAFailure)
{
    FakeTarget target;
    target.map(0x3000, QByteArray("abc"));
    LazyMemoryBlock block(target, 0x3000, 1, false);
    QByteArray text = "previous";
    EXPECT_THROW(block.readString(8, text), MemoryAccessException);
    EXPECT_EQ(text, "abc");
    target.map(0x4000, QByteArray("xy\0z", 4));
    LazyMemoryBlock other(target, 0x4000, 1, false);
    other.readString(4, text);
    EXPECT_EQ(text, "xy");
    other.readString(1, text);
    EXPECT_EQ(text, "x");
}

} // namespace
