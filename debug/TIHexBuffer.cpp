#include "debug/TIHexBuffer.h"
#include "debug/CodeBufferHex.h"

TIHexBuffer::TIHexBuffer(const QString &path) : TextCodeBuffer(path)
{
}

void TIHexBuffer::writeRecord(quint32 start, const uchar *bytes, int count)
{
    if (start != m_expected) {
        char *to = m_out.append(10);
        to[0] = '@';
        to = CodeBufferHex::putDigits(to + 1, start, 8);
        *to = '\n';
    }
    unsigned sum = 0;
    char *to = CodeBufferHex::putBytes(m_out.append(3 * count + 1), bytes, count, ' ', sum);
    *to = '\n';
    m_expected = quint64(start) + quint64(count);
}

void TIHexBuffer::writeEnd(quint32)
{
    m_out.append("q\n", 2);
}
