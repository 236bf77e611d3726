#include "foundation/XMLDocument.h"
#include "foundation/XMLStringPool.h"
#include <cstdlib>
#include <cstring>
#include <new>

XMLStringPool *XMLStringPool::create(qsizetype size)
{
    if (size < 0 || size > qsizetype(0x7fff0000))
        return nullptr;
    void *memory = std::malloc(sizeof(XMLStringPool) + size_t(size) + 2);
    if (!memory)
        return nullptr;
    auto *pool = new (memory) XMLStringPool;
    char *bytes = static_cast<char *>(memory) + sizeof(XMLStringPool);
    bytes[0] = ' ';
    pool->m_begin = bytes + 1;
    pool->m_end = pool->m_begin + size;
    *pool->m_end = '\0';
    return pool;
}

void XMLStringPool::deref()
{
    if (--m_count == 0) {
        this->~XMLStringPool();
        std::free(this);
    }
}

char *xmlDuplicate(const char *text)
{
    return text ? xmlDuplicate(text, qsizetype(std::strlen(text))) : nullptr;
}

char *xmlDuplicate(const char *text, qsizetype length)
{
    if (!text)
        return nullptr;
    auto *copy = static_cast<char *>(std::malloc(size_t(length) + 1));
    if (!copy)
        throw std::bad_alloc();
    std::memcpy(copy, text, size_t(length));
    copy[length] = '\0';
    return copy;
}

char *xmlDuplicate(const QByteArray &text)
{
    return xmlDuplicate(text.constData(), text.size());
}

// ---------------------------------------------------------------------------------------------

namespace {

// Children of nodes being destroyed wait here, linked through their nextSibling, so that
// destroying a tree of any depth never nests destructor calls more than one level.
thread_local XMLNode *t_doomed = nullptr;
thread_local bool t_draining = false;

} // namespace

XMLNode::XMLNode(Kind kind) : m_kind(kind) {}

XMLNode::~XMLNode()
{
    if (XMLNode *first = m_firstChild) {
        XMLNode *last = first;
        while (last->m_nextSibling)
            last = last->m_nextSibling;
        last->m_nextSibling = t_doomed;
        t_doomed = first;
        m_firstChild = nullptr;
        if (!t_draining) {
            t_draining = true;
            while (XMLNode *node = t_doomed) {
                t_doomed = node->m_nextSibling;
                node->m_nextSibling = nullptr;
                delete node;
            }
            t_draining = false;
        }
    }
    if (m_pool)
        m_pool->deref();
}

void XMLNode::adoptPool(XMLStringPool *pool)
{
    if (m_pool || !pool)
        return;
    m_pool = pool;
    pool->ref();
}

void XMLNode::releaseString(char *text) const
{
    if (text && !(m_pool && m_pool->contains(text)))
        std::free(text);
}

XMLNode *XMLNode::lastChild() const
{
    if (!m_firstChild)
        return nullptr;
    XMLNode *node = m_lastChild ? m_lastChild : m_firstChild;
    while (node->m_nextSibling)
        node = node->m_nextSibling;
    const_cast<XMLNode *>(this)->m_lastChild = node;
    return node;
}

void XMLNode::setNextSibling(XMLNode *next)
{
    if (m_nextSibling == next)
        return;
    m_nextSibling = next;
    // Rewiring a link may cut the parent's chain before its remembered end.
    if (m_parent && m_parent->m_lastChild != this)
        m_parent->m_lastChild = nullptr;
}

void XMLNode::setFirstChild(XMLNode *first)
{
    m_firstChild = first;
    m_lastChild = nullptr;
}

void XMLNode::appendChild(XMLNode *node)
{
    node->m_parent = this;
    if (!m_firstChild)
        m_firstChild = node;
    else
        lastChild()->m_nextSibling = node;
    m_lastChild = node;
}

void XMLNode::prependChild(XMLNode *node)
{
    node->m_parent = this;
    node->m_nextSibling = m_firstChild;
    if (!m_firstChild)
        m_lastChild = node;
    m_firstChild = node;
}

void XMLNode::removeChild(XMLNode *node)
{
    XMLNode *previous = nullptr;
    for (XMLNode *child = m_firstChild; child; previous = child, child = child->m_nextSibling) {
        if (child != node)
            continue;
        if (previous)
            previous->m_nextSibling = node->m_nextSibling;
        else
            m_firstChild = node->m_nextSibling;
        if (m_lastChild == node)
            m_lastChild = previous;
        return;
    }
}

void XMLNode::replaceChild(XMLNode *oldNode, XMLNode *newNode)
{
    XMLNode *previous = nullptr;
    for (XMLNode *child = m_firstChild; child; previous = child, child = child->m_nextSibling) {
        if (child != oldNode)
            continue;
        newNode->m_parent = this;
        newNode->m_nextSibling = oldNode->m_nextSibling;
        if (previous)
            previous->m_nextSibling = newNode;
        else
            m_firstChild = newNode;
        if (m_lastChild == oldNode)
            m_lastChild = newNode;
        return;
    }
}

void XMLNode::insertChildrenAfter(XMLNode *afterNode, XMLNode *firstOfChain)
{
    if (!firstOfChain)
        return;
    XMLNode *lastOfChain = firstOfChain;
    for (XMLNode *node = firstOfChain; node; node = node->m_nextSibling) {
        node->m_parent = this;
        lastOfChain = node;
    }
    XMLNode *child = m_firstChild;
    while (child && child != afterNode)
        child = child->m_nextSibling;
    if (child) {
        lastOfChain->m_nextSibling = child->m_nextSibling;
        child->m_nextSibling = firstOfChain;
        if (m_lastChild == child)
            m_lastChild = lastOfChain;
        return;
    }
    if (!m_firstChild)
        m_firstChild = firstOfChain;
    else
        lastChild()->m_nextSibling = firstOfChain;
    m_lastChild = lastOfChain;
}

// ---------------------------------------------------------------------------------------------

XMLElement::XMLElement(char *name) : XMLNode(Kind::Element), m_name(name) {}

XMLElement::~XMLElement()
{
    releaseString(m_name);
    for (int i = 0; i < m_attributeCount; ++i) {
        releaseString(m_attributes[i].name);
        releaseString(m_attributes[i].value);
    }
    std::free(m_attributes);
}

void XMLElement::setName(char *name)
{
    if (name != m_name)
        releaseString(m_name);
    m_name = name;
}

const char *XMLElement::name() const
{
    return m_name;
}

XMLAttribute *XMLElement::findAttribute(const char *name) const
{
    for (int i = 0; i < m_attributeCount; ++i) {
        if (std::strcmp(m_attributes[i].name, name) == 0)
            return &m_attributes[i];
    }
    return nullptr;
}

void XMLElement::setAttribute(char *name, char *value)
{
    if (XMLAttribute *existing = findAttribute(name)) {
        if (existing->name != name)
            releaseString(name);
        if (existing->value != value)
            releaseString(existing->value);
        existing->value = value;
        return;
    }
    if (m_attributeCount == m_attributeCapacity) {
        const int capacity = m_attributeCapacity ? m_attributeCapacity * 2 : 2;
        void *grown = std::realloc(m_attributes, sizeof(XMLAttribute) * size_t(capacity));
        if (!grown)
            throw std::bad_alloc();
        m_attributes = static_cast<XMLAttribute *>(grown);
        m_attributeCapacity = capacity;
    }
    m_attributes[m_attributeCount++] = XMLAttribute{name, value};
}

void XMLElement::removeAttribute(const char *name)
{
    XMLAttribute *found = findAttribute(name);
    if (!found)
        return;
    XMLAttribute removed = *found;
    const XMLAttribute *end = m_attributes + m_attributeCount;
    std::memmove(found, found + 1, sizeof(XMLAttribute) * size_t(end - found - 1));
    --m_attributeCount;
    releaseString(removed.name);
    releaseString(removed.value);
}

int XMLElement::hasAttribute(const char *name) const
{
    return findAttribute(name) ? 1 : 0;
}

const char *XMLElement::attribute(const char *name) const
{
    const XMLAttribute *found = findAttribute(name);
    return found ? found->value : nullptr;
}

std::span<const XMLAttribute> XMLElement::attributes() const
{
    return {m_attributes, size_t(m_attributeCount)};
}

// ---------------------------------------------------------------------------------------------

XMLCharacterNode::XMLCharacterNode(Kind kind, char *data) : XMLNode(kind), m_data(data) {}

XMLCharacterNode::~XMLCharacterNode()
{
    releaseString(m_data);
}

void XMLCharacterNode::setData(char *data)
{
    if (data != m_data)
        releaseString(m_data);
    m_data = data;
}

const char *XMLCharacterNode::data() const
{
    return m_data;
}
