#include "projects/MemoryUsage.h"
#include "projects/MemoryMap.h"
#include <algorithm>

namespace {

QString grouped(quint64 value)
{
    QString digits = QString::number(value);
    for (qsizetype at = digits.size() - 3; at > 0; at -= 3)
        digits.insert(at, u',');
    return digits;
}

} // namespace

MemoryUsage::MemoryUsage(MemoryMap &map, const std::vector<PlacedSection> &sections)
{
    map.calculateAddresses();
    for (const MemoryMapElement *element : MemoryMap::elementsInOrder(map.mapRoot())) {
        if (element->kind() == MemoryMapKind::MemorySegment && element->hasStart()
            && element->size() > 0)
            m_segments.push_back({element, 0, {}});
    }
    for (const PlacedSection &section : sections) {
        if (section.size == 0)
            continue;
        place(section.name, section.address, section.size);
        if (section.hasBytes && section.loadAddress != section.address)
            place(section.name, section.loadAddress, section.size);
    }
}

void MemoryUsage::place(const QString &name, quint64 start, quint64 size)
{
    const quint64 end = size > ~quint64(0) - start ? ~quint64(0) : start + size;
    quint64 inside = 0;
    for (Segment &segment : m_segments) {
        const quint64 first = segment.segment->start();
        const quint64 last = first + segment.segment->size();
        const quint64 from = std::max(first, start);
        const quint64 to = std::min(last, end);
        if (from >= to)
            continue;
        segment.used += to - from;
        inside += to - from;
        if (!segment.sections.contains(name))
            segment.sections.append(name);
    }
    if (inside < end - start) {
        m_outside += end - start - inside;
        if (!m_outsideSections.contains(name))
            m_outsideSections.append(name);
    }
}

QString MemoryUsage::table() const
{
    qsizetype nameWidth = 0, usedWidth = 0, sizeWidth = 0;
    for (const Segment &segment : m_segments) {
        nameWidth = std::max(nameWidth, segment.segment->nameText().size());
        usedWidth = std::max(usedWidth, grouped(segment.used).size());
        sizeWidth = std::max(sizeWidth, grouped(segment.segment->size()).size());
    }
    QString text;
    for (const Segment &segment : m_segments) {
        text += QStringLiteral("%1 %2 / %3 %4\n")
                    .arg(segment.segment->nameText(), -int(nameWidth))
                    .arg(grouped(segment.used), int(usedWidth))
                    .arg(grouped(segment.segment->size()), int(sizeWidth))
                    .arg(MemoryMap::usagePercent(segment.used, segment.segment->size()), 6);
    }
    return text;
}
