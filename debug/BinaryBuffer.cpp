#include "debug/BinaryBuffer.h"
#include "foundation/HException.h"
#include <cstring>

BinaryBuffer::BinaryBuffer(const QString &path, uchar fill, qint64 maxSize)
    : m_out(path), m_fill(fill), m_maxSize(maxSize)
{
}

BinaryBuffer::~BinaryBuffer() = default;

uchar *BinaryBuffer::page(quint32 number)
{
    if (m_lastPage && number == m_lastNumber)
        return m_lastPage;
    std::unique_ptr<uchar[]> &slot = m_pages[number];
    if (!slot) {
        slot = std::make_unique_for_overwrite<uchar[]>(pageSize);
        std::memset(slot.get(), m_fill, pageSize);
    }
    m_lastNumber = number;
    m_lastPage = slot.get();
    return m_lastPage;
}

void BinaryBuffer::noteWritten(quint32 first, quint32 last)
{
    m_lowest = qMin(m_lowest, quint64(first));
    m_highest = qMax(m_highest, quint64(last));
}

void BinaryBuffer::addByte(uchar byte)
{
    page(m_address >> pageShift)[m_address & (pageSize - 1)] = byte;
    noteWritten(m_address, m_address);
    ++m_address;
}

void BinaryBuffer::addBytes(const uchar *bytes, qsizetype count)
{
    while (count > 0) {
        const quint32 offset = m_address & (pageSize - 1);
        const quint32 part = quint32(qMin<qsizetype>(count, pageSize - offset));
        std::memcpy(page(m_address >> pageShift) + offset, bytes, part);
        noteWritten(m_address, m_address + part - 1);
        m_address += part;
        bytes += part;
        count -= part;
    }
}

quint64 BinaryBuffer::spanSize() const
{
    return m_lowest > m_highest ? 0 : m_highest - m_lowest + 1;
}

void BinaryBuffer::finish(quint32)
{
    const quint64 span = spanSize();
    if (span > quint64(m_maxSize))
        throw HException(QStringLiteral("binary image of %1 bytes from 0x%2 is over the limit of %3 bytes")
                             .arg(span)
                             .arg(m_lowest, 8, 16, QLatin1Char('0'))
                             .arg(m_maxSize));
    if (span > 0) {
        // Gaps come from one page of fill bytes rather than pages made for them.
        const auto empty = std::make_unique_for_overwrite<uchar[]>(pageSize);
        std::memset(empty.get(), m_fill, pageSize);
        quint64 at = m_lowest;
        while (at <= m_highest) {
            const quint32 number = quint32(at >> pageShift);
            const quint32 offset = quint32(at & (pageSize - 1));
            const quint64 part = qMin<quint64>(pageSize - offset, m_highest - at + 1);
            const auto it = m_pages.find(number);
            const uchar *source = it != m_pages.end() ? it->second.get() : empty.get();
            m_out.append(reinterpret_cast<const char *>(source) + offset, qsizetype(part));
            at += part;
        }
    }
    m_out.commit();
}
