#include "debug/MemoryBlock.h"
#include "debug/MemoryAccessException.h"
#include <cstring>
#include <limits>

MemoryBlockInterface::~MemoryBlockInterface() = default;

// ---- MemoryWords

quint64 MemoryWords::decode(const char *bytes, int width, bool bigEndian)
{
    quint64 value = 0;
    for (int i = 0; i < width; ++i) {
        const int index = bigEndian ? i : width - 1 - i;
        value = (value << 8) | quint8(bytes[index]);
    }
    return value;
}

void MemoryWords::encode(quint64 value, int width, bool bigEndian, char *bytes)
{
    for (int i = 0; i < width; ++i) {
        const int index = bigEndian ? width - 1 - i : i;
        bytes[index] = char(quint8(value));
        value >>= 8;
    }
}

bool MemoryWords::fieldFits(int width, int bitOffset, int bitSize)
{
    return width >= 1 && width <= 8 && bitOffset >= 0 && bitSize >= 1
           && bitOffset + bitSize <= width * 8;
}

qint64 MemoryWords::extractBits(quint64 word, int bitOffset, int bitSize, bool isSigned)
{
    const quint64 raised = word << (64 - bitOffset - bitSize);
    return isSigned ? qint64(raised) >> (64 - bitSize) : qint64(raised >> (64 - bitSize));
}

quint64 MemoryWords::insertBits(quint64 word, quint64 value, int bitOffset, int bitSize)
{
    const quint64 mask = (bitSize >= 64 ? ~quint64(0) : (quint64(1) << bitSize) - 1) << bitOffset;
    return (word & ~mask) | ((value << bitOffset) & mask);
}

// ---- MemoryBlock

MemoryBlock::MemoryBlock(char *base, quint32 size, bool bigEndian)
    : m_size(size), m_base(base), m_bigEndian(bigEndian)
{
}

void MemoryBlock::skip(qint64 count)
{
    // A cursor driven out of any sensible range stays there rather than wrapping around.
    if (count > 0 && m_cursor > std::numeric_limits<qint64>::max() - count)
        m_cursor = std::numeric_limits<qint64>::max();
    else if (count < 0 && m_cursor < std::numeric_limits<qint64>::min() - count)
        m_cursor = std::numeric_limits<qint64>::min();
    else
        m_cursor += count;
}

bool MemoryBlock::fits(qint64 length) const
{
    return length >= 0 && m_cursor >= 0 && m_cursor <= qint64(m_size)
           && length <= qint64(m_size) - m_cursor;
}

quint64 MemoryBlock::getWord(int width)
{
    if (width < 1 || width > 8 || !fits(width))
        return 0;
    const quint64 value = MemoryWords::decode(m_base + m_cursor, width, m_bigEndian);
    m_cursor += width;
    return value;
}

void MemoryBlock::putWord(quint64 value, int width)
{
    if (width < 1 || width > 8 || !fits(width))
        return;
    MemoryWords::encode(value, width, m_bigEndian, m_base + m_cursor);
    m_cursor += width;
}

void MemoryBlock::read(qint64 length, char *destination)
{
    if (!fits(length))
        throw MemoryAccessException::at(quint64(m_cursor));
    std::memcpy(destination, m_base + m_cursor, size_t(length));
    m_cursor += length;
}

void MemoryBlock::write(qint64 length, const char *source)
{
    if (!fits(length))
        throw MemoryAccessException::at(quint64(m_cursor));
    std::memcpy(m_base + m_cursor, source, size_t(length));
    m_cursor += length;
}

void MemoryBlock::readString(qint64 length, QByteArray &destination)
{
    destination.clear();
    if (length <= 0 || !fits(0))
        return;
    const qint64 available = qMin(length, qint64(m_size) - m_cursor);
    const char *start = m_base + m_cursor;
    const void *nul = std::memchr(start, 0, size_t(available));
    destination = QByteArray(start, nul ? static_cast<const char *>(nul) - start : available);
}

qint64 MemoryBlock::getBits(int width, int bitOffset, int bitSize, bool isSigned)
{
    if (!MemoryWords::fieldFits(width, bitOffset, bitSize) || !fits(width))
        return 0;
    const quint64 word = MemoryWords::decode(m_base + m_cursor, width, m_bigEndian);
    return MemoryWords::extractBits(word, bitOffset, bitSize, isSigned);
}

void MemoryBlock::putBits(quint64 value, int width, int bitOffset, int bitSize)
{
    if (!MemoryWords::fieldFits(width, bitOffset, bitSize) || !fits(width))
        return;
    char *at = m_base + m_cursor;
    const quint64 word = MemoryWords::decode(at, width, m_bigEndian);
    MemoryWords::encode(MemoryWords::insertBits(word, value, bitOffset, bitSize), width,
                        m_bigEndian, at);
}
