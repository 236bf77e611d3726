#include "debug/LoadFileLineReader.h"
#include "debug/LoadFileSection.h"
#include "foundation/HException.h"
#include <cstring>

namespace {

constexpr qsizetype blockSize = qsizetype(1) << 20;
constexpr quint64 addressSpace = quint64(1) << 32;

} // namespace

LoadFileLineReader::LoadFileLineReader(const QString &path, int lineLimit)
    : m_stream(path), m_capacity(blockSize + lineLimit + 2), m_lineLimit(lineLimit)
{
    m_buffer = std::make_unique_for_overwrite<char[]>(size_t(m_capacity));
}

LoadFileLineReader::~LoadFileLineReader() = default;

// Moves the unread tail to the front and reads the next block behind it; false at the end.
bool LoadFileLineReader::refill()
{
    const qsizetype rest = m_end - m_begin;
    if (rest > 0 && m_begin > 0)
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, size_t(rest));
    m_begin = 0;
    m_end = rest;
    const qint64 count = m_stream.read(m_buffer.get() + m_end, m_capacity - m_end);
    m_end += qsizetype(count);
    m_atEnd = count == 0;
    return count > 0;
}

bool LoadFileLineReader::next(std::string_view &line)
{
    for (;;) {
        const char *start = m_buffer.get() + m_begin;
        const qsizetype available = m_end - m_begin;
        const auto *newline = static_cast<const char *>(std::memchr(start, '\n', size_t(available)));
        qsizetype length = -1;
        if (newline) {
            length = newline - start;
            m_begin += length + 1;
        } else if (m_atEnd || available > m_lineLimit + 1) {
            if (available == 0)
                return false;
            length = available;
            m_begin = m_end;
        }
        if (length >= 0) {
            ++m_lineNumber;
            if (length > 0 && start[length - 1] == '\r')
                --length;
            if (length > m_lineLimit)
                throw HException(QStringLiteral("line longer than %1 characters : line %2")
                                     .arg(m_lineLimit)
                                     .arg(m_lineNumber));
            line = std::string_view(start, size_t(length));
            return true;
        }
        refill();
    }
}

void LoadFileLineReader::fail(const char *message) const
{
    throw HException(QString::fromLatin1(message) + QStringLiteral(" : line %1").arg(m_lineNumber));
}

LoadFileSectionBuilder::LoadFileSectionBuilder(LoadFileSections &sections,
                                               const LoadFileLineReader &lines)
    : m_sections(sections), m_lines(lines)
{
}

uchar *LoadFileSectionBuilder::place(quint64 address, quint32 count)
{
    if (address >= addressSpace || address + count > addressSpace)
        m_lines.fail("record past 4 GiB");
    if (!m_current || m_current->end() != address) {
        auto section = std::make_unique<ExpandingLoadFileSection>(quint32(address));
        m_current = section.get();
        m_sections.add(std::move(section));
    }
    return m_current->extend(count);
}
