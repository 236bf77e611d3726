#include "debug/LoadFileSection.h"
#include "foundation/HException.h"
#include <cstdlib>
#include <cstring>
#include <limits>

LoadFileSectionInterface::~LoadFileSectionInterface() = default;

StandardLoadFileSection::StandardLoadFileSection(QString name, quint32 address, quint32 size,
                                                 const uchar *bytes)
    : m_name(std::move(name)), m_address(address), m_size(size), m_bytes(bytes)
{
}

StandardLoadFileSection::~StandardLoadFileSection() = default;

const uchar *StandardLoadFileSection::data(bool cached)
{
    return cached ? load() : m_bytes;
}

const uchar *StandardLoadFileSection::load()
{
    if (!m_cache) {
        m_cache.reset(new uchar[m_size ? m_size : 1]);
        if (m_size)
            std::memcpy(m_cache.get(), m_bytes, m_size);
    }
    return m_cache.get();
}

void StandardLoadFileSection::unload()
{
    m_cache.reset();
}

ExpandingLoadFileSection::ExpandingLoadFileSection(quint32 address)
    : StandardLoadFileSection(QString(), address, 0, nullptr)
{
}

ExpandingLoadFileSection::~ExpandingLoadFileSection()
{
    std::free(m_storage);
}

uchar *ExpandingLoadFileSection::extend(quint32 count)
{
    const quint64 size = quint64(m_size) + count;
    if (size > std::numeric_limits<quint32>::max())
        throw HException(QStringLiteral("section at 0x%1 larger than 4 GiB")
                             .arg(m_address, 8, 16, QLatin1Char('0')));
    if (size > m_capacity || !m_storage) {
        // Geometric growth keeps a file of many small records linear; large blocks are mapped
        // memory, so capacity not yet written costs no pages. A section of one short record
        // (out-of-order records make many) takes little more than its bytes.
        const size_t capacity = std::max<size_t>({size_t(size), m_capacity * 2, 16});
        auto *storage = static_cast<uchar *>(std::realloc(m_storage, capacity));
        if (!storage)
            throw HException(QStringLiteral("out of memory for a section of %1 bytes").arg(size));
        m_storage = storage;
        m_capacity = capacity;
        m_bytes = m_storage;
    }
    uchar *added = m_storage + m_size;
    m_size = quint32(size);
    return added;
}

LoadFileSectionInterface *LoadFileSections::add(std::unique_ptr<LoadFileSectionInterface> section)
{
    m_sections.push_back(std::move(section));
    return m_sections.back().get();
}

LoadFileSectionInterface *LoadFileSections::at(int index) const
{
    if (index < 0 || index >= count())
        return nullptr;
    return m_sections[size_t(index)].get();
}
