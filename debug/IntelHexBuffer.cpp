#include "debug/IntelHexBuffer.h"
#include "debug/CodeBufferHex.h"
#include <cstring>

IntelHexBuffer::IntelHexBuffer(const QString &path) : TextCodeBuffer(path)
{
}

void IntelHexBuffer::writeRecord(quint32 start, const uchar *bytes, int count)
{
    const quint32 high = start >> 16;
    if (high != m_high) {
        m_high = high;
        char *to = m_out.append(16);
        std::memcpy(to, ":02000004", 9);
        to = CodeBufferHex::putDigits(to + 9, high, 4);
        const unsigned sum = 2 + 4 + (high >> 8) + (high & 0xFF);
        to = CodeBufferHex::putByte(to, (0x100 - (sum & 0xFF)) & 0xFF);
        *to = '\n';
    }
    char *to = m_out.append(1 + 8 + 2 * count + 2 + 1);
    *to++ = ':';
    unsigned sum = unsigned(count) + ((start >> 8) & 0xFF) + (start & 0xFF);
    to = CodeBufferHex::putByte(to, unsigned(count));
    to = CodeBufferHex::putDigits(to, start & 0xFFFF, 4);
    to[0] = '0';
    to[1] = '0';
    to = CodeBufferHex::putBytes(to + 2, bytes, count, 0, sum);
    to = CodeBufferHex::putByte(to, (0x100 - (sum & 0xFF)) & 0xFF);
    *to = '\n';
}

void IntelHexBuffer::writeEnd(quint32)
{
    m_out.append(":00000001FF\n", 12);
}
