#include "debug/HexBuffer.h"
#include "debug/CodeBufferHex.h"

HexBuffer::HexBuffer(const QString &path) : TextCodeBuffer(path)
{
}

void HexBuffer::writeRecord(quint32 start, const uchar *bytes, int count)
{
    char *to = CodeBufferHex::putDigits(m_out.append(8 + 3 * count + 1), start, 8);
    for (int i = 0; i < count; ++i) {
        *to++ = ' ';
        to = CodeBufferHex::putByte(to, bytes[i]);
    }
    *to = '\n';
}
