#include "projects/MemoryMapElement.h"
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <strings.h>

namespace {

// One row per kind, in the order of their numbers.
constexpr const char *kindTags[] = {
    "MemorySegment", "Register", "ProgramSection", "Root",   "RegisterGroup",
    "BitField",      "Enum",     "Processor",      "Vector",
};
static_assert(std::size(kindTags) == size_t(MemoryMapKind::Other));

} // namespace

MemoryMapElement::MemoryMapElement(char *name, quint8 documentFlag)
    : XMLElement(name), m_kind(kindOfTag(name)), m_documentFlag(documentFlag)
{
}

MemoryMapElement::MemoryMapElement(const MemoryMapElement &other)
    : XMLElement(xmlDuplicate(other.XMLElement::name())), m_kind(other.m_kind),
      m_start(other.m_start), m_size(other.m_size), m_parsedValue(other.m_parsedValue),
      m_timeStamp(other.m_timeStamp), m_documentFlag(other.m_documentFlag),
      m_sourceFile(other.m_sourceFile)
{
    setLine(other.line());
    for (const XMLAttribute &attribute : other.attributes())
        setAttribute(xmlDuplicate(attribute.name), xmlDuplicate(attribute.value));
}

MemoryMapElement::~MemoryMapElement() = default;

void MemoryMapElement::setName(char *name)
{
    XMLElement::setName(name);
    m_kind = kindOfTag(name);
}

MemoryMapKind MemoryMapElement::kindOfTag(const char *tag)
{
    if (!tag)
        return MemoryMapKind::Other;
    for (size_t i = 0; i < std::size(kindTags); ++i) {
        if (std::strcmp(kindTags[i], tag) == 0)
            return MemoryMapKind(i);
    }
    return MemoryMapKind::Other;
}

const char *MemoryMapElement::tagOfKind(MemoryMapKind kind)
{
    const auto index = size_t(kind);
    return index < std::size(kindTags) ? kindTags[index] : "";
}

quint32 MemoryMapElement::alignment() const
{
    return quint32(plainNumber(alignmentText()));
}

bool MemoryMapElement::has(const char *attributeName) const
{
    const char *value = attribute(attributeName);
    return value && *value;
}

QString MemoryMapElement::text(const char *attributeName) const
{
    const char *value = attribute(attributeName);
    return value ? QString::fromUtf8(value) : QString();
}

bool MemoryMapElement::is(const char *attributeName, const char *value) const
{
    const char *actual = attribute(attributeName);
    return actual && std::strcmp(actual, value) == 0;
}

bool MemoryMapElement::isYes(const char *attributeName) const
{
    const char *actual = attribute(attributeName);
    return actual && strcasecmp(actual, "Yes") == 0;
}

MemoryMapElement *asMemoryMapElement(XMLNode *node)
{
    return node && node->kind() == XMLNode::Kind::Element ? dynamic_cast<MemoryMapElement *>(node)
                                                          : nullptr;
}

const MemoryMapElement *asMemoryMapElement(const XMLNode *node)
{
    return asMemoryMapElement(const_cast<XMLNode *>(node));
}

quint64 plainNumber(const QString &text, bool *ok)
{
    const QByteArray bytes = text.toLatin1();
    const char *begin = bytes.constData();
    while (*begin == ' ' || (*begin >= '\t' && *begin <= '\r'))
        ++begin;
    if (!*begin) {
        if (ok)
            *ok = true;
        return 0;
    }
    char *end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(begin, &end, 0);
    if (ok) {
        const char *rest = end;
        while (*rest == ' ' || (*rest >= '\t' && *rest <= '\r'))
            ++rest;
        *ok = end != begin && !*rest && errno != ERANGE && *begin != '-';
    }
    return value;
}
