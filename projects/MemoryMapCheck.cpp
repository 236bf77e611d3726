#include "projects/MemoryMapCheck.h"
#include "projects/MemoryMap.h"
#include <QHash>
#include <algorithm>

namespace {

constexpr qint64 addressLimit = qint64(1) << 32;

// The bytes an element covers, from its computed start; end is one past the last byte.
struct Extent {
    qint64 start = 0;
    qint64 end = 0;
    [[nodiscard]] bool contains(const Extent &other) const
    {
        return other.start >= start && other.end <= end;
    }
};

bool hasByteExtent(MemoryMapKind kind)
{
    return kind == MemoryMapKind::MemorySegment || kind == MemoryMapKind::ProgramSection
        || kind == MemoryMapKind::RegisterGroup || kind == MemoryMapKind::Register;
}

Extent extentOf(const MemoryMapElement *element)
{
    const qint64 bytes = element->kind() == MemoryMapKind::Register
                             ? MemoryMap::registerBytes(element)
                             : qint64(element->size());
    return {element->parsedValue(), element->parsedValue() + bytes};
}

QString hex(qint64 value)
{
    return MemoryMap::hexText(quint64(value));
}

QString rangeText(const Extent &extent)
{
    return QStringLiteral("%1-%2").arg(hex(extent.start),
                                       hex(extent.end > extent.start ? extent.end - 1 : extent.start));
}

// The nearest ancestor of that kind; null if none.
const MemoryMapElement *nearest(const MemoryMapElement *element, MemoryMapKind kind)
{
    for (const XMLNode *node = element->parent(); node; node = node->parent()) {
        const MemoryMapElement *ancestor = asMemoryMapElement(node);
        if (ancestor && ancestor->kind() == kind)
            return ancestor;
    }
    return nullptr;
}

// Names that must be unique in the whole map, rather than among their siblings.
bool namedMapWide(MemoryMapKind kind)
{
    return kind == MemoryMapKind::MemorySegment || kind == MemoryMapKind::RegisterGroup
        || kind == MemoryMapKind::ProgramSection || kind == MemoryMapKind::Vector;
}

} // namespace

MemoryMapCheck::MemoryMapCheck(MemoryMap &map) : m_map(map)
{
    for (const QString &message : map.messages())
        m_problems.push_back({map.fileName(), message, 0, 0});
    map.calculateAddresses();
    checkEvaluations();
    const std::vector<MemoryMapElement *> elements = MemoryMap::elementsInOrder(map.mapRoot());
    checkRanges(elements);
    checkOverlaps(elements);
    checkRegisterPlaces(elements);
    checkNames(elements);
    checkBitFields(elements);
    std::stable_sort(m_problems.begin(), m_problems.end(),
                     [](const MemoryMapProblem &a, const MemoryMapProblem &b) {
                         return a.file != b.file ? a.file < b.file : a.line < b.line;
                     });
}

void MemoryMapCheck::add(const MemoryMapElement *element, const QString &message)
{
    m_problems.push_back({m_map.location(element), MemoryMap::describe(element) + u' ' + message,
                          element->sourceFile(), element->line()});
}

void MemoryMapCheck::checkEvaluations()
{
    for (const MemoryMap::EvaluationProblem &problem : m_map.evaluationProblems()) {
        const bool counted = problem.noValue && problem.attribute;
        m_problems.push_back({m_map.location(problem.element),
                              MemoryMap::problemText(problem)
                                  + (counted ? QStringLiteral(", taken as 0") : QString()),
                              problem.element->sourceFile(), problem.element->line()});
    }
}

void MemoryMapCheck::checkRanges(const std::vector<MemoryMapElement *> &elements)
{
    for (const MemoryMapElement *element : elements) {
        if (!hasByteExtent(element->kind()) || !element->hasStart())
            continue;
        const Extent extent = extentOf(element);
        if (extent.start < 0)
            add(element, QStringLiteral("starts below 0 (%1)").arg(extent.start));
        else if (extent.start >= addressLimit)
            add(element, QStringLiteral("starts at %1, past 2^32").arg(hex(extent.start)));
        else if (extent.end > addressLimit)
            add(element, QStringLiteral("ends at %1, past 2^32").arg(hex(extent.end - 1)));
    }
}

void MemoryMapCheck::checkOverlaps(const std::vector<MemoryMapElement *> &elements)
{
    std::vector<const MemoryMapElement *> segments;
    for (const MemoryMapElement *element : elements) {
        if (element->kind() == MemoryMapKind::MemorySegment && element->hasStart()
            && element->size() > 0)
            segments.push_back(element);
    }
    // Segments of different address spaces may share addresses.
    std::stable_sort(segments.begin(), segments.end(), [](const auto *a, const auto *b) {
        const QString spaceA = a->addressSpace(), spaceB = b->addressSpace();
        return spaceA != spaceB ? spaceA < spaceB : a->parsedValue() < b->parsedValue();
    });
    const MemoryMapElement *reaching = nullptr;   // the segment reaching furthest so far
    for (const MemoryMapElement *segment : segments) {
        if (reaching && reaching->addressSpace() == segment->addressSpace()
            && extentOf(segment).start < extentOf(reaching).end) {
            add(segment, QStringLiteral("(%1) overlaps %2 (%3) at %4")
                             .arg(rangeText(extentOf(segment)), MemoryMap::describe(reaching),
                                  rangeText(extentOf(reaching)), m_map.location(reaching)));
        }
        if (!reaching || reaching->addressSpace() != segment->addressSpace()
            || extentOf(segment).end > extentOf(reaching).end)
            reaching = segment;
    }
}

void MemoryMapCheck::checkRegisterPlaces(const std::vector<MemoryMapElement *> &elements)
{
    std::vector<const MemoryMapElement *> segments;
    for (const MemoryMapElement *element : elements) {
        if (element->kind() == MemoryMapKind::MemorySegment && element->hasStart())
            segments.push_back(element);
    }
    // The segment of each group: the one it stands in, else the one holding its start. A map
    // of peripherals alone has no segments and places its groups nowhere.
    QHash<const MemoryMapElement *, const MemoryMapElement *> segmentOfGroup;
    for (const MemoryMapElement *element : elements) {
        if (segments.empty() || element->kind() != MemoryMapKind::RegisterGroup
            || !element->hasStart())
            continue;
        const MemoryMapElement *segment = nearest(element, MemoryMapKind::MemorySegment);
        for (auto it = segments.begin(); !segment && it != segments.end(); ++it) {
            if (extentOf(*it).contains({element->parsedValue(), element->parsedValue() + 1}))
                segment = *it;
        }
        if (!segment)
            add(element, QStringLiteral("at %1 lies in no memory segment").arg(hex(element->parsedValue())));
        segmentOfGroup.insert(element, segment);
    }
    for (const MemoryMapElement *element : elements) {
        if (element->kind() != MemoryMapKind::Register || !element->hasStart())
            continue;
        const MemoryMapElement *group = nearest(element, MemoryMapKind::RegisterGroup);
        const MemoryMapElement *segment = segmentOfGroup.value(group);
        const Extent extent = extentOf(element);
        if (segment && !extentOf(segment).contains(extent)) {
            add(element, QStringLiteral("(%1) lies outside %2 (%3) of its %4")
                             .arg(rangeText(extent), MemoryMap::describe(segment),
                                  rangeText(extentOf(segment)), MemoryMap::describe(group)));
        } else if (group && group->hasStart() && group->size() > 0
                   && !extentOf(group).contains(extent)) {
            add(element, QStringLiteral("(%1) lies outside its %2 (%3)")
                             .arg(rangeText(extent), MemoryMap::describe(group),
                                  rangeText(extentOf(group))));
        }
    }
}

void MemoryMapCheck::checkNames(const std::vector<MemoryMapElement *> &elements)
{
    QHash<QString, const MemoryMapElement *> seen;
    for (const MemoryMapElement *element : elements) {
        const MemoryMapKind kind = element->kind();
        if (!element->hasName() || kind == MemoryMapKind::Other || kind == MemoryMapKind::Root)
            continue;
        const MemoryMapElement *scope =
            namedMapWide(kind) ? nullptr : asMemoryMapElement(element->parent());
        const QString key = QStringLiteral("%1/%2/%3")
                                .arg(quintptr(scope))
                                .arg(int(kind))
                                .arg(element->nameText());
        const auto it = seen.constFind(key);
        if (it == seen.cend()) {
            seen.insert(key, element);
            continue;
        }
        const QString where = scope ? QStringLiteral(" in ") + MemoryMap::describe(scope) : QString();
        add(element, QStringLiteral("is named twice%1 (first at %2)")
                         .arg(where, m_map.location(it.value())));
    }
}

void MemoryMapCheck::checkBitFields(const std::vector<MemoryMapElement *> &elements)
{
    for (const MemoryMapElement *element : elements) {
        if (element->kind() == MemoryMapKind::BitField) {
            const MemoryMapElement *owner = nearest(element, MemoryMapKind::Register);
            const quint64 bits = MemoryMap::fieldBits(element);
            const quint64 width = owner ? quint64(MemoryMap::registerBytes(owner)) * 8 : 64;
            if (element->hasSize() && bits == 0)
                add(element, QStringLiteral("has size 0"));
            else if (element->start() + bits > width)
                add(element, QStringLiteral("(bits %1-%2) does not fit its %3-bit %4")
                                 .arg(element->start())
                                 .arg(element->start() + bits - 1)
                                 .arg(width)
                                 .arg(owner ? MemoryMap::describe(owner) : QStringLiteral("register")));
        } else if (element->kind() == MemoryMapKind::Enum) {
            const MemoryMapElement *field = nearest(element, MemoryMapKind::BitField);
            const quint64 bits = field ? MemoryMap::fieldBits(field) : 64;
            if (bits < 64 && (quint64(element->parsedValue()) >> bits) != 0)
                add(element, QStringLiteral("= %1 does not fit the %2 bits of %3")
                                 .arg(element->parsedValue())
                                 .arg(bits)
                                 .arg(MemoryMap::describe(field)));
        }
    }
}
