#include "debug/SRecordBuffer.h"
#include "debug/CodeBufferHex.h"

namespace {

constexpr int maxHeaderBytes = 254;

} // namespace

SRecordBuffer::SRecordBuffer(const QString &path, const QString &header) : TextCodeBuffer(path)
{
    const QByteArray text = header.toUtf8().left(maxHeaderBytes);
    const int count = int(text.size()) + 1;
    char *to = m_out.append(4 + 2 * count + 1);
    unsigned sum = unsigned(count);
    to[0] = 'S';
    to[1] = '0';
    to = CodeBufferHex::putByte(to + 2, unsigned(count));
    to = CodeBufferHex::putBytes(to, reinterpret_cast<const uchar *>(text.constData()), int(text.size()), 0, sum);
    to = CodeBufferHex::putByte(to, ~sum & 0xFF);
    *to = '\n';
}

void SRecordBuffer::writeRecord(quint32 start, const uchar *bytes, int count)
{
    // 0xFFFFFF itself is written as S3.
    const int addressBytes = start < 0x10000 ? 2 : start < 0xFFFFFF ? 3 : 4;
    const int length = count + addressBytes + 1;
    char *to = m_out.append(4 + 2 * length + 1);
    to[0] = 'S';
    to[1] = char('0' + addressBytes - 1);
    unsigned sum = unsigned(length);
    to = CodeBufferHex::putByte(to + 2, unsigned(length));
    for (int i = addressBytes - 1; i >= 0; --i) {
        const unsigned byte = (start >> (8 * i)) & 0xFF;
        to = CodeBufferHex::putByte(to, byte);
        sum += byte;
    }
    to = CodeBufferHex::putBytes(to, bytes, count, 0, sum);
    to = CodeBufferHex::putByte(to, ~sum & 0xFF);
    *to = '\n';
}

void SRecordBuffer::writeEnd(quint32 entryPoint)
{
    const unsigned high = (entryPoint >> 8) & 0xFF;
    const unsigned low = entryPoint & 0xFF;
    char *to = m_out.append(4 + 2 * 3 + 1);
    to[0] = 'S';
    to[1] = '9';
    to = CodeBufferHex::putByte(to + 2, 3);
    to = CodeBufferHex::putByte(to, high);
    to = CodeBufferHex::putByte(to, low);
    to = CodeBufferHex::putByte(to, ~(3 + high + low) & 0xFF);
    *to = '\n';
}
