#include "projects/MemoryMapHeader.h"
#include "foundation/HException.h"
#include "projects/MemoryMap.h"
#include <QFileInfo>
#include <algorithm>
#include <iterator>
#include <vector>

namespace {

// A constant of C: "U" keeps values above 0x7FFFFFFF unsigned, "ULL" those above 32 bits.
QString constant(quint64 value)
{
    return MemoryMap::hexText(value) + (value >> 32 ? QStringLiteral("ULL") : QStringLiteral("U"));
}

const char *typeOfWidth(quint32 bytes)
{
    switch (bytes) {
    case 1:
        return "uint8_t";
    case 2:
        return "uint16_t";
    case 8:
        return "uint64_t";
    default:
        return "uint32_t";
    }
}

// Text safe inside a C comment.
QString commentText(QString text)
{
    return text.replace(QLatin1String("*/"), QLatin1String("* /")).simplified();
}

bool namesScope(MemoryMapKind kind)
{
    return kind == MemoryMapKind::RegisterGroup || kind == MemoryMapKind::Register
        || kind == MemoryMapKind::BitField;
}

} // namespace

QString MemoryMapHeader::identifier(const QString &name)
{
    QString out;
    out.reserve(name.size() + 1);
    for (const QChar c : name)
        out += c.unicode() < 128 && c.isLetterOrNumber() ? c.toUpper() : QChar(u'_');
    if (out.isEmpty() || out.at(0).isDigit())
        out.prepend(u'_');
    return out;
}

MemoryMapHeader::MemoryMapHeader(MemoryMap &map, const Options &options)
    : m_map(map), m_prefix(options.prefix)
{
}

QByteArray MemoryMapHeader::write(MemoryMap &map, const Options &options)
{
    map.calculateAddresses();
    MemoryMapHeader header(map, options);
    for (const MemoryMap::EvaluationProblem &problem : map.evaluationProblems()) {
        if (problem.noValue)
            throw HException(map.location(problem.element) + QStringLiteral(": ")
                             + MemoryMap::problemText(problem));
    }
    const QString source =
        options.sourceName.isEmpty() ? QFileInfo(map.fileName()).fileName() : options.sourceName;
    const QString guard = options.guard.isEmpty()
                              ? identifier(options.prefix + QFileInfo(source).completeBaseName()
                                           + QStringLiteral("_H"))
                              : options.guard;
    header.m_text = QStringLiteral("/* Register definitions of %1, written by %2. */\n"
                                   "#ifndef %3\n#define %3\n\n#include <stdint.h>\n")
                        .arg(commentText(source), options.generator, guard)
                        .toUtf8();
    header.elements(map.mapRoot());
    header.m_text += "\n#endif\n";
    return header.m_text;
}

void MemoryMapHeader::elements(const MemoryMapElement *top)
{
    // The macro name of an element is made of the names of the groups, register and field it
    // stands in: each element hands its scope to its children. Without recursion: maps may nest
    // deeply.
    struct Pending {
        const MemoryMapElement *element;
        QString scope;   // the enclosing names joined by "_", with a "_" behind; or empty
    };
    std::vector<Pending> pending;
    if (top)
        pending.push_back({top, QString()});
    std::vector<Pending> children;
    while (!pending.empty()) {
        Pending current = std::move(pending.back());
        pending.pop_back();
        const MemoryMapElement *element = current.element;
        const bool named = element->hasName();
        const QString joined = named ? current.scope + element->nameText() : QString();
        if (named)
            this->element(element, identifier(joined));
        const QString scope = named && namesScope(element->kind()) ? joined + u'_' : current.scope;
        for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
            if (const MemoryMapElement *child = asMemoryMapElement(node))
                children.push_back({child, scope});
        }
        std::move(children.rbegin(), children.rend(), std::back_inserter(pending));
        children.clear();
    }
}

void MemoryMapHeader::element(const MemoryMapElement *element, const QString &name)
{
    switch (element->kind()) {
    case MemoryMapKind::MemorySegment:
        segment(element, name);
        break;
    case MemoryMapKind::RegisterGroup:
        group(element, name);
        break;
    case MemoryMapKind::Register:
        registerMacros(element, name);
        break;
    case MemoryMapKind::BitField:
        bitField(element, name);
        break;
    case MemoryMapKind::Enum:
        if (element->hasStart())
            define(element, name, QString::number(quint64(element->parsedValue())));
        break;
    case MemoryMapKind::Vector:
        if (element->hasStart()) {
            bool ok = false;
            const quint64 number = plainNumber(element->startText(), &ok);
            if (!ok)
                throw HException(QStringLiteral("%1: %2 start '%3' is not a plain number")
                                     .arg(m_map.location(element), MemoryMap::describe(element),
                                          element->startText()));
            define(element, name + QStringLiteral("_VECTOR"), QString::number(number));
        }
        break;
    default:
        break;
    }
}

void MemoryMapHeader::segment(const MemoryMapElement *element, const QString &name)
{
    if (!element->hasStart())
        return;
    comment(element, name);
    define(element, name + QStringLiteral("_BASE"), constant(element->start()));
    if (element->hasSize())
        define(element, name + QStringLiteral("_SIZE"), constant(element->size()));
}

void MemoryMapHeader::group(const MemoryMapElement *element, const QString &name)
{
    if (!element->hasStart())
        return;
    comment(element, name);
    define(element, name + QStringLiteral("_BASE"), constant(element->start()));
}

void MemoryMapHeader::registerMacros(const MemoryMapElement *element, const QString &name)
{
    if (!element->hasStart())
        return;
    const QString address = constant(element->start());
    define(element, name,
           QStringLiteral("(*(volatile %1 *)%2)")
               .arg(QLatin1String(typeOfWidth(MemoryMap::registerBytes(element))), address));
    define(element, name + QStringLiteral("_ADDRESS"), address);
}

void MemoryMapHeader::bitField(const MemoryMapElement *element, const QString &name)
{
    const quint64 bits = MemoryMap::fieldBits(element);
    const quint64 first = element->start();
    if (bits == 0 || bits > 64 || first + bits > 64)
        throw HException(QStringLiteral("%1: %2 (bits %3-%4) lies outside bits 0-63")
                             .arg(m_map.location(element), MemoryMap::describe(element))
                             .arg(first)
                             .arg(first + bits - 1));
    const quint64 mask = (bits == 64 ? ~quint64(0) : (quint64(1) << bits) - 1) << first;
    define(element, name + QStringLiteral("_BIT"), QString::number(first));
    define(element, name + QStringLiteral("_MASK"), constant(mask));
}

void MemoryMapHeader::comment(const MemoryMapElement *element, const QString &name)
{
    m_text += "\n/* " + name.toUtf8();
    if (element->hasDescription())
        m_text += ": " + commentText(element->description()).toUtf8();
    m_text += " */\n";
}

void MemoryMapHeader::define(const MemoryMapElement *element, const QString &name,
                             const QString &value)
{
    const QByteArray macro = (m_prefix + name).toUtf8();
    const QByteArray text = value.toUtf8();
    if ((m_definitions.size() + 1) * 2 > m_slots.size())
        growSlots();
    const size_t mask = m_slots.size() - 1;
    for (size_t i = qHash(QByteArrayView(macro)) & mask;; i = (i + 1) & mask) {
        if (m_slots[i] == 0) {
            m_slots[i] = quint32(m_definitions.size() + 1);
            break;
        }
        const Definition &known = m_definitions[m_slots[i] - 1];
        if (nameOf(known) != QByteArrayView(macro))
            continue;
        if (valueOf(known) == QByteArrayView(text))
            return;   // the same definition twice is harmless: write it once
        throw HException(QStringLiteral("%1: %2 makes %3 %4, which %5 made %6")
                             .arg(m_map.location(element), MemoryMap::describe(element),
                                  QString::fromUtf8(macro), value, m_map.location(known.element),
                                  QString::fromUtf8(valueOf(known))));
    }
    m_text += "#define ";
    m_definitions.push_back({m_text.size(), macro.size(), text.size(), element});
    m_text += macro;
    m_text += ' ';
    m_text += text;
    m_text += '\n';
}

QByteArrayView MemoryMapHeader::nameOf(const Definition &definition) const
{
    return QByteArrayView(m_text.constData() + definition.name, definition.nameLength);
}

QByteArrayView MemoryMapHeader::valueOf(const Definition &definition) const
{
    return QByteArrayView(m_text.constData() + definition.name + definition.nameLength + 1,
                          definition.valueLength);
}

void MemoryMapHeader::growSlots()
{
    m_slots.assign(std::max<size_t>(1024, m_slots.size() * 2), 0);
    const size_t mask = m_slots.size() - 1;
    for (size_t index = 0; index < m_definitions.size(); ++index) {
        size_t i = qHash(nameOf(m_definitions[index])) & mask;
        while (m_slots[i] != 0)
            i = (i + 1) & mask;
        m_slots[i] = quint32(index + 1);
    }
}
