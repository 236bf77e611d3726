#include "debug/HIOInterface.h"
#include "debug/HMessage.h"
#include "foundation/HException.h"
#include "tests/debug/LoadFileTestSupport.h"
#include <gtest/gtest.h>
#include <cstring>
#include <functional>

using LoadFileTest::raisedMessage;

namespace {

QByteArray bytesOf(HMessage &message)
{
    return QByteArray(reinterpret_cast<const char *>(message.data()), message.length());
}

// One put through the message and the bytes it must leave, in both byte orders.
struct PutCase {
    const char *name;
    std::function<int(HMessage &, int bigEndian)> put;
    QByteArray little;
    QByteArray big;
};

class HMessagePut : public ::testing::TestWithParam<PutCase> {};

TEST_P(HMessagePut, WritesTheBytesInTheOrderAsked)
{
    for (const int bigEndian : {0, 1}) {
        HMessage message;
        const int used = GetParam().put(message, bigEndian);
        const QByteArray expected = QByteArray::fromHex(bigEndian ? GetParam().big : GetParam().little);
        EXPECT_EQ(bytesOf(message).toHex(), expected.toHex()) << "bigEndian " << bigEndian;
        EXPECT_EQ(used, expected.size());
        EXPECT_EQ(message.position(), quint32(expected.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(Fields, HMessagePut, ::testing::Values(
    PutCase{"u32", [](HMessage &m, int b) { return m.putNext32(0x12345678, b); }, "78563412", "12345678"},
    PutCase{"pointerKeepsThirtyTwoBits", [](HMessage &m, int b) { return m.putNextPointer(quintptr(0x08000100), b); }, "00010008", "08000100"},
    PutCase{"u16", [](HMessage &m, int b) { return m.putNext16(0xABCD, b); }, "cdab", "abcd"},
    PutCase{"s16", [](HMessage &m, int b) { return m.putNextS16(-2, b); }, "feff", "fffe"},
    PutCase{"u8SameInBothOrders", [](HMessage &m, int) { return m.putNext8(0x80); }, "80", "80"},
    PutCase{"s8", [](HMessage &m, int) { return m.putNextS8(-1); }, "ff", "ff"},
    PutCase{"bytesSameInBothOrders", [](HMessage &m, int) { return m.putNextBytes("\x01\x02\x03", 3); }, "010203", "010203"},
    PutCase{"stringWithoutTerminator", [](HMessage &m, int) { return m.putNextString("OK"); }, "4f4b", "4f4b"},
    PutCase{"varintOneByte", [](HMessage &m, int) { return m.putNextVarint(0x7F); }, "7f", "7f"},
    PutCase{"varintTwoBytes", [](HMessage &m, int) { return m.putNextVarint(300); }, "ac02", "ac02"},
    PutCase{"varintTwentyEightBits", [](HMessage &m, int) { return m.putNextVarint(0x0FFFFFFF); }, "ffffff7f", "ffffff7f"},
    PutCase{"varintOutOfRangeMarked", [](HMessage &m, int) { return m.putNextVarint(0x10000000); }, "80808080", "80808080"}),
    [](const auto &info) { return std::string(info.param.name); });

// Bytes and what each decoder reads from offset 0, with the bytes it used.
struct VarintCase {
    const char *name;
    QByteArray bytes;
    qint64 unsignedValue;   // -1: the out-of-range mark
    qint32 signedValue;
    int used;
};

class HMessageVarint : public ::testing::TestWithParam<VarintCase> {};

TEST_P(HMessageVarint, DecodesWithTheMinusOneRuleAndFourByteSignExtension)
{
    const QByteArray bytes = QByteArray::fromHex(GetParam().bytes);
    HMessage message;
    message.putNextBytes(bytes.constData(), quint32(bytes.size()));
    quint32 unsignedValue = 0;
    qint32 signedValue = 0;
    EXPECT_EQ(message.getUVarintAt(unsignedValue, 0), GetParam().used);
    EXPECT_EQ(message.getVarintAt(signedValue, 0), GetParam().used);
    EXPECT_EQ(GetParam().unsignedValue < 0 ? qint64(qint32(unsignedValue)) : qint64(unsignedValue), GetParam().unsignedValue);
    EXPECT_EQ(signedValue, GetParam().signedValue);
    message.setPosition(0);
    EXPECT_EQ(message.getNextUVarint(unsignedValue), GetParam().used);
    EXPECT_EQ(message.getNextVarint(signedValue), GetParam().used);
    EXPECT_EQ(message.position(), quint32(2 * GetParam().used));
}

INSTANTIATE_TEST_SUITE_P(Bytes, HMessageVarint, ::testing::Values(
    VarintCase{"zero", "0000", 0, 0, 1},
    VarintCase{"oneByteBitSixNotExtended", "7f7f", 0x7F, 0x7F, 1},
    VarintCase{"twoBytes", "ac02ac02", 300, 300, 2},
    VarintCase{"threeBytesNotExtended", "ffff7fffff7f", 0x1FFFFF, 0x1FFFFF, 3},
    VarintCase{"fourBytesPositive", "ffffff3fffffff3f", 0x7FFFFFF, 0x7FFFFFF, 4},
    VarintCase{"fourBytesExtended", "fbffff7ffbffff7f", 0xFFFFFFB, -5, 4},
    VarintCase{"fourthByteTopBitIsMinusOne", "8080808080808080", -1, -1, 4}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(HMessageTest, GetsReadBackWhatPutsWroteInEitherOrder)
{
    HMessage message(4);
    for (const int bigEndian : {0, 1}) {
        message.setPosition(0);
        message.putNext32(0xDEADBEEF, bigEndian);
        message.putNextS16(-300, bigEndian);
        message.putNextS8(-7);
        message.putNextPointer(quintptr(0xFFFFFFFF), bigEndian);
        message.putNextString("text");
        message.setPosition(0);
        quint32 word = 0;
        qint16 half = 0;
        qint8 byte = 0;
        quintptr pointer = 0;
        QByteArray text;
        message.getNext32(word, bigEndian);
        message.getNextS16(half, bigEndian);
        message.getNextS8(byte);
        message.getNextPointer(pointer, bigEndian);
        EXPECT_EQ(message.getNextString(text, 4), 4);
        EXPECT_EQ(word, 0xDEADBEEFu);
        EXPECT_EQ(half, -300);
        EXPECT_EQ(byte, -7);
        EXPECT_EQ(pointer, quintptr(0xFFFFFFFF));
        EXPECT_EQ(text, "text");
        EXPECT_EQ(message.remaining(), 0u);
    }
    EXPECT_GE(message.capacity(), 15u);   // grown from 4
}

TEST(HMessageTest, AnExplicitOffsetLeavesThePositionAlone)
{
    HMessage message;
    message.putNext16(0x1111, 0);
    EXPECT_EQ(message.put32At(0x22222222, 8, 1), 4);
    EXPECT_EQ(message.position(), 2u);
    EXPECT_EQ(message.length(), 12u);
    // The gap before the put is zero.
    EXPECT_EQ(bytesOf(message).toHex(), "111100000000000022222222");
    quint16 value = 0;
    EXPECT_EQ(message.get16At(value, 0, 0), 2);
    EXPECT_EQ(message.position(), 2u);
}

TEST(HMessageTest, SetPositionMinusOneAppends)
{
    HMessage message;
    message.putNextString("abc");
    message.setPosition(0);
    message.setPosition(-1);
    message.putNext8('d');
    EXPECT_EQ(bytesOf(message), "abcd");
    EXPECT_THROW(message.setPosition(-2), HException);
}

TEST(HMessageTest, SkipMovesAndAGetPastTheEndRaises)
{
    HMessage message;
    message.putNextBytes("\x01\x02\x03", 3);
    message.setPosition(0);
    EXPECT_EQ(message.skip(2), 2);
    quint16 value = 0;
    EXPECT_EQ(raisedMessage([&] { message.getNext16(value, 0); }), QStringLiteral("read of 2 bytes at offset 2 past the end of a message of 3 bytes"));
    EXPECT_EQ(message.position(), 2u);
    EXPECT_THROW(message.skip(-3), HException);
    // A varint cut off by the end.
    HMessage cut;
    cut.putNext8(0x80);
    quint32 varint = 0;
    EXPECT_THROW(cut.getUVarintAt(varint, 0), HException);
}

TEST(HMessageTest, SetLengthGrowsWithZeroesAndCutsBack)
{
    HMessage message(2);
    message.putNextString("xyz");
    message.setLength(1);
    message.setLength(4);
    EXPECT_EQ(bytesOf(message), QByteArray("x\0\0\0", 4));
}

TEST(HMessageTest, ACallersBufferIsNeverGrown)
{
    uchar memory[4] = {1, 2, 3, 4};
    HMessage message(memory, sizeof memory, 2);
    EXPECT_EQ(message.length(), 2u);
    EXPECT_EQ(message.data(), memory);
    message.put16At(0xAABB, 2, 1);
    EXPECT_EQ(memory[2], 0xAA);
    EXPECT_EQ(memory[3], 0xBB);
    EXPECT_EQ(raisedMessage([&] { message.put8At(0, 4); }), QStringLiteral("message of 4 bytes cannot hold 5 bytes"));
}

// A message whose 32-bit "at" form counts its calls: the "next" forms must go through it.
class CountingMessage : public HMessage {
public:
    int calls = 0;
    int put32At(quint32 value, quint32 offset, int bigEndian) override
    {
        ++calls;
        return HMessage::put32At(value, offset, bigEndian);
    }
};

TEST(HMessageTest, NextFormsHonourAnOverriddenAtForm)
{
    CountingMessage message;
    message.putNext32(1, 0);
    message.putNextPointer(2, 0);
    EXPECT_EQ(message.calls, 2);
    EXPECT_EQ(message.position(), 8u);
}

// A channel that moves at most `limit` bytes, as a link does when its time runs out.
class ShortChannel : public HIOInterface {
public:
    explicit ShortChannel(int limit) : m_limit(limit) {}
    int read(void *buffer, int length) override
    {
        const int count = qMin(length, m_limit);
        std::memset(buffer, 0x5A, size_t(count));
        return count;
    }
    int write(const void *, int length) override { return qMin(length, m_limit); }
    void flush() override {}
    void setTimeouts(int, int) override {}

private:
    int m_limit;
};

TEST(HMessageTest, AShortTransferRaisesTheTimeOutText)
{
    HMessage message;
    message.setLength(8);
    ShortChannel whole(8);
    EXPECT_EQ(message.receive(&whole), 8);
    EXPECT_EQ(message.send(&whole), 8);
    ShortChannel part(3);
    EXPECT_EQ(raisedMessage([&] { message.receive(&part); }), QStringLiteral("hardware error: target JTAG adapter data link read timed out"));
    EXPECT_EQ(raisedMessage([&] { message.send(&part); }), QStringLiteral("write timed out"));
}

TEST(HMessageTest, TheBaseLineControlsAreIgnored)
{
    ShortChannel channel(1);
    channel.setBaud(9600);
    channel.setDtr(true);
    channel.setRts(false);
    EXPECT_EQ(channel.baudRate(), 0);
    EXPECT_EQ(channel.lineState(), 0);
}

} // namespace
