#include "debug/HMessage.h"
#include "debug/HIOInterface.h"
#include "foundation/HException.h"
#include <QtEndian>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr quint64 maxCapacity = std::numeric_limits<quint32>::max();
constexpr int varintBytes = 4;

template <typename Word>
void putWord(uchar *to, Word value, int bigEndian)
{
    if (bigEndian)
        qToBigEndian(value, to);
    else
        qToLittleEndian(value, to);
}

template <typename Word>
Word getWord(const uchar *from, int bigEndian)
{
    return bigEndian ? qFromBigEndian<Word>(from) : qFromLittleEndian<Word>(from);
}

} // namespace

// The two checks of every field, kept inline here, where all their callers are.
inline uchar *HMessage::reserve(quint32 offset, quint32 count)
{
    return quint64(offset) + count <= m_length ? m_buffer + offset : extend(offset, count);
}

inline const uchar *HMessage::valid(quint32 offset, quint32 count) const
{
    if (quint64(offset) + count > m_length)
        readPastEnd(offset, count);
    return m_buffer + offset;
}

inline int HMessage::advance(int used)
{
    m_position += quint32(used);
    return used;
}

HMessage::HMessage(quint32 capacity)
    : m_buffer(static_cast<uchar *>(std::calloc(qMax<quint32>(capacity, 1), 1))), m_owned(true),
      m_capacity(capacity)
{
    if (!m_buffer)
        throw HException(QStringLiteral("out of memory for a message of %1 bytes").arg(capacity));
}

HMessage::HMessage(uchar *buffer, quint32 capacity, quint32 length)
    : m_buffer(buffer), m_owned(false), m_capacity(capacity), m_length(qMin(length, capacity))
{
}

HMessage::~HMessage()
{
    if (m_owned)
        std::free(m_buffer);
}

void HMessage::grow(quint64 needed)
{
    if (!m_owned)
        throw HException(QStringLiteral("message of %1 bytes cannot hold %2 bytes")
                             .arg(m_capacity)
                             .arg(needed));
    if (needed > maxCapacity)
        throw HException(QStringLiteral("message larger than 4 GiB"));
    const quint64 capacity = qMin(maxCapacity, qMax(needed, quint64(m_capacity) * 2));
    auto *buffer = static_cast<uchar *>(std::realloc(m_buffer, size_t(capacity)));
    if (!buffer)
        throw HException(QStringLiteral("out of memory for a message of %1 bytes").arg(capacity));
    std::memset(buffer + m_capacity, 0, size_t(capacity - m_capacity));
    m_buffer = buffer;
    m_capacity = quint32(capacity);
}

uchar *HMessage::extend(quint32 offset, quint32 count)
{
    const quint64 end = quint64(offset) + count;
    if (end > m_capacity)
        grow(end);
    if (offset > m_length)
        std::memset(m_buffer + m_length, 0, offset - m_length);
    m_length = quint32(end);
    return m_buffer + offset;
}

void HMessage::readPastEnd(quint32 offset, quint32 count) const
{
    throw HException(QStringLiteral("read of %1 bytes at offset %2 past the end of a message of %3 bytes")
                         .arg(count)
                         .arg(offset)
                         .arg(m_length));
}

int HMessage::receive(HIOInterface *io)
{
    if (m_length > quint32(std::numeric_limits<int>::max()))
        throw HException(QStringLiteral("message of %1 bytes too large for one transfer").arg(m_length));
    const int count = io->read(m_buffer, int(m_length));
    if (count < int(m_length))
        throw HException(QStringLiteral("hardware error: target JTAG adapter data link read timed out"));
    return count;
}

int HMessage::send(HIOInterface *io)
{
    if (m_length > quint32(std::numeric_limits<int>::max()))
        throw HException(QStringLiteral("message of %1 bytes too large for one transfer").arg(m_length));
    const int count = io->write(m_buffer, int(m_length));
    if (count < int(m_length))
        throw HException(QStringLiteral("write timed out"));
    return count;
}

int HMessage::putNext32(quint32 value, int bigEndian)
{
    return advance(put32At(value, m_position, bigEndian));
}

int HMessage::put32At(quint32 value, quint32 offset, int bigEndian)
{
    putWord<quint32>(reserve(offset, 4), value, bigEndian);
    return 4;
}

int HMessage::getNext32(quint32 &out, int bigEndian)
{
    return advance(get32At(out, m_position, bigEndian));
}

int HMessage::get32At(quint32 &out, quint32 offset, int bigEndian)
{
    out = getWord<quint32>(valid(offset, 4), bigEndian);
    return 4;
}

int HMessage::putNextPointer(quintptr value, int bigEndian)
{
    return advance(putPointerAt(value, m_position, bigEndian));
}

int HMessage::putPointerAt(quintptr value, quint32 offset, int bigEndian)
{
    return put32At(quint32(value), offset, bigEndian);
}

int HMessage::getNextPointer(quintptr &out, int bigEndian)
{
    return advance(getPointerAt(out, m_position, bigEndian));
}

int HMessage::getPointerAt(quintptr &out, quint32 offset, int bigEndian)
{
    quint32 value = 0;
    const int used = get32At(value, offset, bigEndian);
    out = value;
    return used;
}

int HMessage::putNext16(quint16 value, int bigEndian)
{
    return advance(put16At(value, m_position, bigEndian));
}

int HMessage::put16At(quint16 value, quint32 offset, int bigEndian)
{
    putWord<quint16>(reserve(offset, 2), value, bigEndian);
    return 2;
}

int HMessage::getNext16(quint16 &out, int bigEndian)
{
    return advance(get16At(out, m_position, bigEndian));
}

int HMessage::get16At(quint16 &out, quint32 offset, int bigEndian)
{
    out = getWord<quint16>(valid(offset, 2), bigEndian);
    return 2;
}

int HMessage::putNextS16(qint16 value, int bigEndian)
{
    return advance(putS16At(value, m_position, bigEndian));
}

int HMessage::putS16At(qint16 value, quint32 offset, int bigEndian)
{
    return put16At(quint16(value), offset, bigEndian);
}

int HMessage::getNextS16(qint16 &out, int bigEndian)
{
    return advance(getS16At(out, m_position, bigEndian));
}

int HMessage::getS16At(qint16 &out, quint32 offset, int bigEndian)
{
    quint16 value = 0;
    const int used = get16At(value, offset, bigEndian);
    out = qint16(value);
    return used;
}

int HMessage::putNext8(quint8 value)
{
    return advance(put8At(value, m_position));
}

int HMessage::put8At(quint8 value, quint32 offset)
{
    *reserve(offset, 1) = value;
    return 1;
}

int HMessage::getNext8(quint8 &out)
{
    return advance(get8At(out, m_position));
}

int HMessage::get8At(quint8 &out, quint32 offset)
{
    out = *valid(offset, 1);
    return 1;
}

int HMessage::putNextS8(qint8 value)
{
    return advance(putS8At(value, m_position));
}

int HMessage::putS8At(qint8 value, quint32 offset)
{
    return put8At(quint8(value), offset);
}

int HMessage::getNextS8(qint8 &out)
{
    return advance(getS8At(out, m_position));
}

int HMessage::getS8At(qint8 &out, quint32 offset)
{
    quint8 value = 0;
    const int used = get8At(value, offset);
    out = qint8(value);
    return used;
}

int HMessage::putNextBytes(const void *data, quint32 length)
{
    return advance(putBytesAt(data, length, m_position));
}

int HMessage::putBytesAt(const void *data, quint32 length, quint32 offset)
{
    if (length > 0)
        std::memcpy(reserve(offset, length), data, length);
    return int(length);
}

int HMessage::getNextBytes(void *out, quint32 length)
{
    return advance(getBytesAt(out, length, m_position));
}

int HMessage::getBytesAt(void *out, quint32 length, quint32 offset)
{
    const uchar *from = valid(offset, length);
    if (length > 0)
        std::memcpy(out, from, length);
    return int(length);
}

int HMessage::putNextString(const QByteArray &text)
{
    return advance(putStringAt(text, m_position));
}

int HMessage::putStringAt(const QByteArray &text, quint32 offset)
{
    return putBytesAt(text.constData(), quint32(text.size()), offset);
}

int HMessage::getNextString(QByteArray &out, quint32 length)
{
    return advance(getStringAt(out, length, m_position));
}

int HMessage::getStringAt(QByteArray &out, quint32 length, quint32 offset)
{
    const uchar *from = valid(offset, length);
    out = QByteArray(reinterpret_cast<const char *>(from), qsizetype(length));
    return int(length);
}

int HMessage::putVarintAt(quint32 value, quint32 offset)
{
    uchar bytes[varintBytes];
    int count = 0;
    while (value >= 0x80 && count < varintBytes - 1) {
        bytes[count++] = uchar((value & 0x7F) | 0x80);
        value >>= 7;
    }
    // Past 28 bits the fourth byte keeps its top bit: the out-of-range mark.
    bytes[count++] = value >= 0x80 ? uchar((value & 0x7F) | 0x80) : uchar(value);
    std::memcpy(reserve(offset, quint32(count)), bytes, size_t(count));
    return count;
}

int HMessage::putNextVarint(quint32 value)
{
    return advance(putVarintAt(value, m_position));
}

int HMessage::getUVarintAt(quint32 &out, quint32 offset)
{
    quint32 value = 0;
    for (int i = 0; i < varintBytes; ++i) {
        const uchar byte = *valid(offset + quint32(i), 1);
        value |= quint32(byte & 0x7F) << (7 * i);
        if (!(byte & 0x80)) {
            out = value;
            return i + 1;
        }
    }
    out = quint32(-1);
    return varintBytes;
}

int HMessage::getNextVarint(qint32 &out)
{
    return advance(getVarintAt(out, m_position));
}

int HMessage::getNextUVarint(quint32 &out)
{
    return advance(getUVarintAt(out, m_position));
}

int HMessage::skip(int count)
{
    const qint64 position = qint64(m_position) + count;
    if (position < 0 || position > qint64(maxCapacity))
        throw HException(QStringLiteral("skip of %1 bytes from offset %2 leaves the message")
                             .arg(count)
                             .arg(m_position));
    m_position = quint32(position);
    return count;
}

int HMessage::getVarintAt(qint32 &out, quint32 offset)
{
    quint32 value = 0;
    const int used = getUVarintAt(value, offset);
    if (used == varintBytes && value != quint32(-1) && (value & (quint32(1) << 27)))
        value |= 0xF0000000;
    out = qint32(value);
    return used;
}

quint32 HMessage::length() const
{
    return m_length;
}

quint32 HMessage::capacity() const
{
    return m_capacity;
}

quint32 HMessage::position() const
{
    return m_position;
}

quint32 HMessage::remaining() const
{
    return m_position < m_length ? m_length - m_position : 0;
}

void HMessage::setPosition(qint64 offset)
{
    if (offset == -1)
        offset = m_length;
    if (offset < 0 || offset > qint64(maxCapacity))
        throw HException(QStringLiteral("position %1 outside a message").arg(offset));
    m_position = quint32(offset);
}

void HMessage::setLength(quint32 value)
{
    if (value > m_length) {
        const quint32 added = value - m_length;
        std::memset(reserve(m_length, added), 0, added);
    }
    m_length = value;
}

uchar *HMessage::data()
{
    return m_buffer;
}
