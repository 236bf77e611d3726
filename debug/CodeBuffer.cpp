#include "debug/CodeBuffer.h"
#include "debug/CodeBufferHex.h"
#include "foundation/HException.h"
#include <array>
#include <cstring>

namespace {

// The two digits of every byte, so that a byte costs one two-character copy.
constexpr std::array<char, 512> pairTable()
{
    std::array<char, 512> table{};
    for (size_t i = 0; i < 256; ++i) {
        table[2 * i] = CodeBufferHex::digits[i >> 4];
        table[2 * i + 1] = CodeBufferHex::digits[i & 0xF];
    }
    return table;
}

constexpr std::array<char, 512> pairs = pairTable();

} // namespace

char *CodeBufferHex::putBytes(char *to, const uchar *bytes, int count, char separator, unsigned &sum)
{
    for (int i = 0; i < count; ++i) {
        std::memcpy(to, &pairs[2 * size_t(bytes[i])], 2);
        to += 2;
        if (separator)
            *to++ = separator;
        sum += bytes[i];
    }
    return to;
}

CodeBufferFile::CodeBufferFile(const QString &path)
    : m_file(path), m_block(std::make_unique_for_overwrite<char[]>(size_t(blockSize)))
{
    if (!m_file.open(QIODevice::WriteOnly))
        throw HException(QStringLiteral("cannot create %1: %2").arg(path, m_file.errorString()));
}

CodeBufferFile::~CodeBufferFile()
{
    if (m_file.isOpen())
        m_file.cancelWriting();
}

void CodeBufferFile::writeBlock()
{
    if (m_used > 0 && m_file.write(m_block.get(), m_used) != m_used)
        throw HException(QStringLiteral("cannot write %1: %2").arg(m_file.fileName(), m_file.errorString()));
    m_used = 0;
}

char *CodeBufferFile::appendAfterWrite(qsizetype count)
{
    writeBlock();
    m_used = count;
    return m_block.get();
}

void CodeBufferFile::append(const char *bytes, qsizetype count)
{
    while (count > 0) {
        const qsizetype part = qMin(count, blockSize);
        std::memcpy(append(part), bytes, size_t(part));
        bytes += part;
        count -= part;
    }
}

void CodeBufferFile::commit()
{
    writeBlock();
    if (!m_file.commit())
        throw HException(QStringLiteral("cannot write %1: %2").arg(m_file.fileName(), m_file.errorString()));
}

CodeBuffer::~CodeBuffer() = default;

void CodeBuffer::addBytes(const uchar *bytes, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        addByte(bytes[i]);
}

TextCodeBuffer::TextCodeBuffer(const QString &path) : m_out(path)
{
}

void TextCodeBuffer::setAddress(quint32 address)
{
    if (address == m_address)
        return;
    flush();
    m_address = address;
}

void TextCodeBuffer::flush()
{
    if (m_count > 0)
        writeRecord(m_start, m_line, m_count);
    m_count = 0;
}

void TextCodeBuffer::addByte(uchar byte)
{
    if (m_count == 0)
        m_start = m_address;
    m_line[m_count++] = byte;
    ++m_address;
    // A record never runs past 0xFFFFFFFF, and for some formats never past a 64 KB boundary.
    if (m_count == lineBytes || m_address == 0 || (endsRecordsAt64K() && (m_address & 0xFFFF) == 0))
        flush();
}

void TextCodeBuffer::addBytes(const uchar *bytes, qsizetype count)
{
    const bool at64K = endsRecordsAt64K();
    while (count > 0) {
        // Whole records go out straight from the caller's bytes.
        const quint32 boundary = at64K ? 0x10000 - (m_address & 0xFFFF) : 0xFFFFFFFF;
        if (m_count == 0 && count >= lineBytes && boundary >= quint32(lineBytes)
            && m_address <= 0xFFFFFFFF - lineBytes + 1) {
            writeRecord(m_address, bytes, lineBytes);
            m_address += lineBytes;
            bytes += lineBytes;
            count -= lineBytes;
            continue;
        }
        addByte(*bytes++);
        --count;
    }
}

void TextCodeBuffer::finish(quint32 entryPoint)
{
    flush();
    writeEnd(entryPoint);
    m_out.commit();
}
