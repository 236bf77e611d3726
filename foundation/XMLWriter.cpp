#include "foundation/XMLWriter.h"
#include "foundation/XMLDocument.h"
#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr qsizetype flushSize = 1 << 20;

// Bytes that stand for themselves in escaped text: printable ASCII except the four markup ones.
constexpr std::array<bool, 256> makePlain()
{
    std::array<bool, 256> table{};
    for (int c = 0x20; c < 0x7f; ++c)
        table[c] = c != '"' && c != '&' && c != '<' && c != '>';
    return table;
}

constexpr std::array<bool, 256> plainBytes = makePlain();

const char *textOfNode(const XMLNode *node)
{
    return static_cast<const XMLCharacterNode *>(node)->data();
}

const char *orEmpty(const char *text)
{
    return text ? text : "";
}

} // namespace

void XMLWriter::flushIfFull()
{
    if (!m_file || m_buffer.size() < flushSize)
        return;
    if (std::fwrite(m_buffer.constData(), 1, size_t(m_buffer.size()), m_file) !=
        size_t(m_buffer.size()))
        m_failed = true;
    m_buffer.resize(0);
}

void XMLWriter::put(const char *text, qsizetype length)
{
    m_buffer.append(text, length);
}

void XMLWriter::put(const char *text)
{
    m_buffer.append(text, qsizetype(std::strlen(text)));
}

void XMLWriter::blanks(int count)
{
    if (count > 0)
        m_buffer.append(qsizetype(count), ' ');
}

void XMLWriter::putEscaped(const char *text)
{
    const auto *p = reinterpret_cast<const unsigned char *>(orEmpty(text));
    while (*p) {
        const unsigned char *run = p;
        while (plainBytes[*p])
            ++p;
        m_buffer.append(reinterpret_cast<const char *>(run), p - run);
        switch (const unsigned char c = *p) {
        case '\0':
            return;
        case '"':
            put("&quot;", 6);
            break;
        case '&':
            put("&amp;", 5);
            break;
        case '<':
            put("&lt;", 4);
            break;
        case '>':
            put("&gt;", 4);
            break;
        default: {
            static constexpr char hexDigits[] = "0123456789abcdef";
            char reference[6] = {'&', '#', 'x'};
            int length = 3;
            if (c >= 16)
                reference[length++] = hexDigits[c >> 4];
            reference[length++] = hexDigits[c & 15];
            reference[length++] = ';';
            put(reference, length);
        }
        }
        ++p;
    }
}

// Attributes go one to a line once the tag would pass wrapWidth; a null value always stays in
// place as an empty one.
void XMLWriter::writeOpenTag(const XMLElement *element, int depth)
{
    put("<", 1);
    put(orEmpty(element->name()));
    const std::span<const XMLAttribute> attributes = element->attributes();
    bool wrap = false;
    if (m_wrapWidth != 0 && attributes.size() > 1) {
        qint64 width = qint64(m_indent) * depth + qint64(std::strlen(orEmpty(element->name()))) + 1;
        for (const XMLAttribute &attribute : attributes) {
            width += qint64(std::strlen(orEmpty(attribute.name))) +
                     qint64(std::strlen(orEmpty(attribute.value))) + 4;
            if (width > m_wrapWidth) {
                wrap = true;
                break;
            }
        }
    }
    for (const XMLAttribute &attribute : attributes) {
        if (!attribute.value) {
            put(" ", 1);
            put(orEmpty(attribute.name));
            put("=\"\"", 3);
            continue;
        }
        if (wrap) {
            put("\n", 1);
            blanks(m_indent * (depth + 1));
        } else {
            put(" ", 1);
        }
        put(orEmpty(attribute.name));
        put("=\"", 2);
        putEscaped(attribute.value);
        put("\"", 1);
    }
}

void XMLWriter::writeNode(const XMLNode *node, int depth)
{
    blanks(m_indent * depth);
    switch (node->kind()) {
    case XMLNode::Kind::Data:
        putEscaped(textOfNode(node));
        break;
    case XMLNode::Kind::Comment:
        put("<!--", 4);
        put(orEmpty(textOfNode(node)));
        put("-->", 3);
        break;
    case XMLNode::Kind::CDATASection:
        put("<!CDATA[", 8);
        put(orEmpty(textOfNode(node)));
        put("]]>", 3);
        break;
    case XMLNode::Kind::Element: {
        const auto *element = static_cast<const XMLElement *>(node);
        writeOpenTag(element, depth);
        if (!element->firstChild()) {
            if (element->attributeCount() > 0)
                put(" ", 1);
            put("/>", 2);
            if (m_indent)
                put("\n", 1);
        }
        break;
    }
    }
    flushIfFull();
}

// Depth-first with an explicit stack, so that the depth of a tree costs heap, not call stack.
// An element whose first child is character data is written with that text alone.
void XMLWriter::writeTree(const XMLElement *root)
{
    struct Frame {
        const XMLElement *element;
        const XMLNode *next;   // next child to write
    };
    std::vector<Frame> stack;
    const auto enter = [&](const XMLNode *node, int depth) {
        writeNode(node, depth);
        const XMLNode *first = node->firstChild();
        if (node->kind() != XMLNode::Kind::Element || !first)
            return;
        const auto *element = static_cast<const XMLElement *>(node);
        put(">", 1);
        if (first->kind() == XMLNode::Kind::Data) {
            putEscaped(textOfNode(first));
            put("</", 2);
            put(orEmpty(element->name()));
            put(m_indent ? ">\n" : ">", m_indent ? 2 : 1);
            return;
        }
        if (m_indent)
            put("\n", 1);
        stack.push_back({element, first});
    };
    enter(root, 0);
    while (!stack.empty()) {
        Frame &top = stack.back();
        const int depth = int(stack.size()) - 1;
        if (const XMLNode *child = top.next) {
            top.next = child->nextSibling();
            enter(child, depth + 1);
            continue;
        }
        blanks(m_indent * depth);
        put("</", 2);
        put(orEmpty(top.element->name()));
        put(m_indent ? ">\n" : ">", m_indent ? 2 : 1);
        stack.pop_back();
    }
}

bool XMLWriter::write(const XMLDocument &document)
{
    m_indent = document.indent();
    m_wrapWidth = document.wrapWidth();
    if (document.xmlVersion() || document.xmlEncoding()) {
        put("<?xml ");
        if (document.xmlVersion()) {
            put(" version=\"");
            put(document.xmlVersion());
            put("\"");
        }
        if (document.xmlEncoding()) {
            put(" encoding=\"");
            put(document.xmlEncoding());
            put("\"");
        }
        put(" ?>\n");
    }
    if (document.docType()) {
        put("<!DOCTYPE ");
        put(document.docType());
        put(">\n");
    }
    if (document.root())
        writeTree(document.root());
    if (m_file && !m_buffer.isEmpty()) {
        if (std::fwrite(m_buffer.constData(), 1, size_t(m_buffer.size()), m_file) !=
            size_t(m_buffer.size()))
            m_failed = true;
        m_buffer.clear();
    }
    return !m_failed;
}
