#include "debug/LoadFileImage.h"
#include "debug/CodeBuffer.h"
#include "debug/LoadFileInterface.h"
#include <algorithm>
#include <zlib.h>

LoadFileImage::LoadFileImage(LoadFileInterface &file)
{
    const int count = file.sectionCount();
    m_sections.reserve(size_t(count));
    for (int i = 0; i < count; ++i)
        m_sections.push_back(file.section(i));
    std::stable_sort(m_sections.begin(), m_sections.end(),
                     [](const LoadFileSectionInterface *a, const LoadFileSectionInterface *b) {
                         return a->address() < b->address();
                     });
}

std::optional<quint32> LoadFileImage::firstDoubledAddress() const
{
    quint64 covered = 0;   // the end of the bytes held so far
    bool any = false;
    for (const LoadFileSectionInterface *section : m_sections) {
        if (section->size() == 0)
            continue;
        if (any && section->address() < covered)
            return section->address();
        covered = qMax(covered, quint64(section->address()) + section->size());
        any = true;
    }
    return std::nullopt;
}

quint64 LoadFileImage::byteCount() const
{
    quint64 count = 0;
    for (const LoadFileSectionInterface *section : m_sections)
        count += section->size();
    return count;
}

quint64 LoadFileImage::lowest() const
{
    for (const LoadFileSectionInterface *section : m_sections) {
        if (section->size() > 0)
            return section->address();
    }
    return 0;
}

quint64 LoadFileImage::end() const
{
    quint64 end = 0;
    bool any = false;
    for (const LoadFileSectionInterface *section : m_sections) {
        if (section->size() > 0) {
            end = qMax(end, quint64(section->address()) + section->size());
            any = true;
        }
    }
    return any ? end : 0;
}

quint32 LoadFileImage::crc32() const
{
    uLong crc = ::crc32(0L, Z_NULL, 0);
    for (LoadFileSectionInterface *section : m_sections) {
        const uchar *bytes = section->data(false);
        quint64 left = section->size();
        // zlib takes 32-bit lengths; a section can reach 4 GiB.
        while (left > 0) {
            const uInt part = uInt(qMin<quint64>(left, 0x40000000));
            crc = ::crc32(crc, bytes, part);
            bytes += part;
            left -= part;
        }
    }
    return quint32(crc);
}

void LoadFileImage::writeTo(CodeBuffer &buffer) const
{
    for (LoadFileSectionInterface *section : m_sections) {
        if (section->size() == 0)
            continue;
        buffer.setAddress(section->address());
        buffer.addBytes(section->data(false), qsizetype(section->size()));
    }
}
