#include "debug/TargetSnapshot.h"
#include <cstring>
#include <limits>

namespace {

// Whether [address, address + length) neither is empty of meaning nor wraps around.
bool validRange(quint64 address, qint64 length)
{
    return length >= 0 && quint64(length) <= std::numeric_limits<quint64>::max() - address;
}

} // namespace

void TargetSnapshot::addSection(quint64 address, quint64 size, const char *bytes)
{
    if (size == 0 || size > std::numeric_limits<quint64>::max() - address)
        return;
    m_regions.push_back({address, size, bytes});
}

void TargetSnapshot::addDump(quint64 address, QByteArray bytes)
{
    if (bytes.isEmpty() || quint64(bytes.size()) > std::numeric_limits<quint64>::max() - address)
        return;
    m_dumps.push_back(std::move(bytes));
    m_regions.push_back({address, quint64(m_dumps.back().size()), m_dumps.back().constData()});
}

int TargetSnapshot::regionAt(quint64 address, quint64 &run) const
{
    for (int i = int(m_regions.size()) - 1; i >= 0; --i) {
        const Region &region = m_regions[size_t(i)];
        if (address < region.start || address - region.start >= region.size)
            continue;
        run = region.size - (address - region.start);
        for (size_t above = size_t(i) + 1; above < m_regions.size(); ++above) {
            const Region &higher = m_regions[above];
            if (higher.start > address)
                run = qMin(run, higher.start - address);
        }
        return i;
    }
    return -1;
}

bool TargetSnapshot::mapped(quint64 address, qint64 length) const
{
    quint64 done = 0;
    while (done < quint64(length)) {
        quint64 run = 0;
        if (regionAt(address + done, run) < 0)
            return false;
        done += run;
    }
    return true;
}

bool TargetSnapshot::read(quint64 address, qint64 length, char *destination) const
{
    if (!validRange(address, length))
        return false;
    quint64 done = 0;
    while (done < quint64(length)) {
        quint64 run = 0;
        const int index = regionAt(address + done, run);
        if (index < 0)
            return false;
        run = qMin(run, quint64(length) - done);
        const Region &region = m_regions[size_t(index)];
        if (region.bytes)
            std::memcpy(destination + done, region.bytes + (address + done - region.start), run);
        else
            std::memset(destination + done, 0, run);
        done += run;
    }
    if (m_pages.isEmpty())
        return true;
    for (quint64 page = address / pageSize; page <= (address + quint64(length) - 1) / pageSize && length > 0; ++page) {
        const auto it = m_pages.constFind(page);
        if (it == m_pages.constEnd())
            continue;
        const quint64 first = qMax(address, page * pageSize);
        const quint64 end = qMin(address + quint64(length), page * pageSize + pageSize);
        for (quint64 at = first; at < end; ++at) {
            const qsizetype inPage = qsizetype(at - page * pageSize);
            if (it->written.at(inPage))
                destination[at - address] = it->bytes.at(inPage);
        }
    }
    return true;
}

bool TargetSnapshot::write(quint64 address, qint64 length, const char *source)
{
    if (!validRange(address, length) || !mapped(address, length))
        return false;
    for (qint64 i = 0; i < length; ++i) {
        const quint64 at = address + quint64(i);
        Page &page = m_pages[at / pageSize];
        if (page.bytes.isEmpty()) {
            page.bytes = QByteArray(qsizetype(pageSize), '\0');
            page.written = QByteArray(qsizetype(pageSize), '\0');
        }
        page.bytes[qsizetype(at % pageSize)] = source[i];
        page.written[qsizetype(at % pageSize)] = 1;
    }
    return true;
}
