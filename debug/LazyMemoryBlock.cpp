#include "debug/LazyMemoryBlock.h"
#include "debug/MemoryAccessException.h"
#include "debug/SymbolicDebuggerInterface.h"

LazyMemoryBlock::LazyMemoryBlock(SymbolicDebuggerInterface &target, quint64 address,
                                 int accessWidth, bool bigEndian)
    : m_target(target),
      m_accessWidth(accessWidth == 2 || accessWidth == 4 || accessWidth == 8 ? accessWidth : 1),
      m_address(address), m_bigEndian(bigEndian)
{
}

int LazyMemoryBlock::unitFor(qint64 length) const
{
    return length % m_accessWidth == 0 ? m_accessWidth : 1;
}

quint64 LazyMemoryBlock::getWord(int width)
{
    if (width < 1 || width > 8)
        throw MemoryAccessException(QStringLiteral("bad word width %1").arg(width));
    char bytes[8];
    const int unit = unitFor(width);
    m_target.readMemory(cursorAddress(), unit, width / unit, bytes);
    m_offset += width;
    return MemoryWords::decode(bytes, width, m_bigEndian);
}

void LazyMemoryBlock::putWord(quint64 value, int width)
{
    if (width < 1 || width > 8)
        throw MemoryAccessException(QStringLiteral("bad word width %1").arg(width));
    char bytes[8];
    MemoryWords::encode(value, width, m_bigEndian, bytes);
    const int unit = unitFor(width);
    m_target.writeMemory(cursorAddress(), unit, width / unit, bytes);
    m_offset += width;
}

void LazyMemoryBlock::read(qint64 length, char *destination)
{
    if (length <= 0)
        return;
    const int unit = unitFor(length);
    m_target.readMemory(cursorAddress(), unit, length / unit, destination);
    m_offset += length;
}

void LazyMemoryBlock::write(qint64 length, const char *source)
{
    if (length <= 0)
        return;
    const int unit = unitFor(length);
    m_target.writeMemory(cursorAddress(), unit, length / unit, source);
    m_offset += length;
}

void LazyMemoryBlock::readString(qint64 length, QByteArray &destination)
{
    length = qBound(qint64(0), length, maxStringLength);
    destination.fill('\0', length);
    char unitBytes[8];
    qint64 done = 0;
    try {
        while (done < length) {
            const int unit = int(qMin<qint64>(m_accessWidth, length - done));
            m_target.readMemory(cursorAddress() + quint64(done), unit, 1, unitBytes);
            for (int i = 0; i < unit; ++i) {
                if (unitBytes[i] == '\0') {
                    destination.truncate(done);
                    return;
                }
                destination[done++] = unitBytes[i];
            }
        }
    } catch (...) {
        destination.truncate(done);
        throw;
    }
}

qint64 LazyMemoryBlock::getBits(int width, int bitOffset, int bitSize, bool isSigned)
{
    if (!MemoryWords::fieldFits(width, bitOffset, bitSize))
        throw MemoryAccessException(QStringLiteral("bad bit-field %1:%2").arg(bitOffset).arg(bitSize));
    const qint64 at = m_offset;
    const quint64 word = getWord(width);
    m_offset = at;
    return MemoryWords::extractBits(word, bitOffset, bitSize, isSigned);
}

void LazyMemoryBlock::putBits(quint64 value, int width, int bitOffset, int bitSize)
{
    if (!MemoryWords::fieldFits(width, bitOffset, bitSize))
        throw MemoryAccessException(QStringLiteral("bad bit-field %1:%2").arg(bitOffset).arg(bitSize));
    const qint64 at = m_offset;
    const quint64 word = getWord(width);
    m_offset = at;
    putWord(MemoryWords::insertBits(word, value, bitOffset, bitSize), width);
    m_offset = at;
}
