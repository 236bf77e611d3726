#include "debug/BinaryLoadFile.h"
#include "debug/HByteStream.h"
#include "foundation/HException.h"
#include <cstring>

namespace {

constexpr qint64 pipeBlock = qint64(1) << 20;

QString tooLarge(const QString &path, qint64 size, qint64 limit)
{
    return QStringLiteral("%1: binary of %2 bytes is over the limit of %3 bytes")
        .arg(path)
        .arg(size)
        .arg(limit);
}

} // namespace

BinaryLoadFile::BinaryLoadFile(const QString &path, qint64 maxSize)
    : StandardLoadFile(path), m_maxSize(qMin(maxSize, maximumSize))
{
    readFile();
}

BinaryLoadFile::~BinaryLoadFile() = default;

void BinaryLoadFile::readFile()
{
    HFileInputByteStream stream(m_path);
    const qint64 size = stream.size();
    std::unique_ptr<uchar[]> buffer;
    qint64 length = 0;
    if (size >= 0) {
        if (size > m_maxSize)
            throw HException(tooLarge(m_path, size, m_maxSize));
        buffer = std::make_unique_for_overwrite<uchar[]>(size_t(size) + 1);
        length = stream.read(buffer.get(), size);
        if (length != size)
            throw HException(QStringLiteral("cannot read ") + m_path);
    } else {
        // A pipe or device: read in growing blocks up to the limit.
        qint64 capacity = 0;
        for (;;) {
            if (length == capacity) {
                // One byte past the limit is enough to know the input is over it.
                capacity = qMin(qMax(pipeBlock, capacity * 2), m_maxSize + 1);
                auto grown = std::make_unique_for_overwrite<uchar[]>(size_t(capacity));
                if (length)
                    std::memcpy(grown.get(), buffer.get(), size_t(length));
                buffer = std::move(grown);
            }
            const qint64 count = stream.read(buffer.get() + length, capacity - length);
            if (count == 0)
                break;
            length += count;
            if (length > m_maxSize)
                throw HException(tooLarge(m_path, length, m_maxSize));
        }
    }
    m_buffer = std::move(buffer);
    m_length = length;
    m_sections.clear();
    m_loaded = false;
    m_readable = true;
}

void BinaryLoadFile::setLoadAddress(quint32 address)
{
    if (address == m_loadAddress)
        return;
    m_loadAddress = address;
    m_sections.clear();
    m_loaded = false;
}

void BinaryLoadFile::reload()
{
    readFile();
}

bool BinaryLoadFile::readSections()
{
    m_sections.clear();
    if (quint64(m_loadAddress) + quint64(m_length) > quint64(maximumSize) + 1)
        return false;
    m_sections.add(std::make_unique<StandardLoadFileSection>(
        QStringLiteral("data"), m_loadAddress, quint32(m_length), m_buffer.get()));
    return true;
}
