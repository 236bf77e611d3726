#include "debug/TekHexBuffer.h"
#include "debug/CodeBufferHex.h"

namespace {

constexpr int dataType = 6;
constexpr int endType = 8;

int addressDigits(quint32 address)
{
    int digits = 1;
    while (digits < 8 && (address >> (4 * digits)) != 0)
        ++digits;
    return digits;
}

unsigned digitSum(quint32 value, int digits)
{
    unsigned sum = 0;
    for (int i = 0; i < digits; ++i)
        sum += (value >> (4 * i)) & 0xF;
    return sum;
}

} // namespace

TekHexBuffer::TekHexBuffer(const QString &path) : TextCodeBuffer(path)
{
}

void TekHexBuffer::writeTekRecord(int type, quint32 address, const uchar *bytes, int count)
{
    const int digits = addressDigits(address);
    const int length = 2 + 1 + 2 + 1 + digits + 2 * count;
    unsigned sum = digitSum(quint32(length), 2) + unsigned(type) + unsigned(digits)
                   + digitSum(address, digits);
    for (int i = 0; i < count; ++i)
        sum += (bytes[i] >> 4) + (bytes[i] & 0xF);
    char *to = m_out.append(1 + length + 1);
    *to++ = '%';
    to = CodeBufferHex::putByte(to, unsigned(length));
    *to++ = CodeBufferHex::digits[type];
    to = CodeBufferHex::putByte(to, sum & 0xFF);
    *to++ = CodeBufferHex::digits[digits];
    to = CodeBufferHex::putDigits(to, address, digits);
    unsigned ignored = 0;
    to = CodeBufferHex::putBytes(to, bytes, count, 0, ignored);
    *to = '\n';
}

void TekHexBuffer::writeRecord(quint32 start, const uchar *bytes, int count)
{
    writeTekRecord(dataType, start, bytes, count);
}

void TekHexBuffer::writeEnd(quint32 entryPoint)
{
    writeTekRecord(endType, entryPoint, nullptr, 0);
}
