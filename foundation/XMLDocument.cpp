#include "foundation/XMLDocument.h"
#include "foundation/XMLParser.h"
#include "foundation/XMLStringPool.h"
#include "foundation/XMLWriter.h"
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cctype>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

XMLDocument::XMLDocument(int keepData) : m_keepData(keepData) {}

XMLDocument::~XMLDocument()
{
    delete m_root;
    std::free(m_docType);
    std::free(m_xmlVersion);
    std::free(m_xmlEncoding);
}

XMLElement *XMLDocument::createElement(char *name)
{
    return new XMLElement(name);
}

XMLElement *XMLDocument::takeRoot()
{
    XMLElement *const root = m_root;
    m_root = nullptr;
    return root;
}

void XMLDocument::setError(const char *text, int line)
{
    std::snprintf(m_errorText, sizeof m_errorText, "%s", text);
    m_errorLine = line;
}

namespace {

void replaceString(char *&field, char *text)
{
    if (field != text)
        std::free(field);
    field = text;
}

} // namespace

void XMLDocument::setDocType(char *docType)
{
    replaceString(m_docType, docType);
}

void XMLDocument::setXmlVersion(char *version)
{
    replaceString(m_xmlVersion, version);
}

void XMLDocument::setXmlEncoding(char *encoding)
{
    replaceString(m_xmlEncoding, encoding);
}

int XMLDocument::parseBuffer(const char *text)
{
    return parseBuffer(text, text ? qsizetype(std::strlen(text)) : 0);
}

int XMLDocument::parseBuffer(const char *text, qsizetype length)
{
    XMLStringPool *const pool = XMLStringPool::create(length);
    if (!pool) {
        setError("out of memory", 0);
        return 0;
    }
    pool->ref();
    if (length > 0)
        std::memcpy(pool->text(), text, size_t(length));
    const int result = parseXMLText(*this, pool);
    pool->deref();
    return result;
}

namespace {

constexpr unsigned char byteOrderMark[] = {0xef, 0xbb, 0xbf};

// Reads the rest of a stream that cannot tell its size.
bool readUnsized(FILE *file, QByteArray &bytes)
{
    char block[65536];
    for (;;) {
        const size_t got = std::fread(block, 1, sizeof block, file);
        bytes.append(block, qsizetype(got));
        if (got < sizeof block)
            return !std::ferror(file);
    }
}

} // namespace

int XMLDocument::loadStream(FILE *file)
{
    const long start = std::ftell(file);
    long size = -1;
    if (start >= 0 && std::fseek(file, 0, SEEK_END) == 0) {
        size = std::ftell(file) - start;
        std::fseek(file, start, SEEK_SET);
    }
    if (size < 0) {
        QByteArray bytes;
        if (!readUnsized(file, bytes))
            bytes.clear();
        const bool bom =
            bytes.startsWith(QByteArrayView(reinterpret_cast<const char *>(byteOrderMark), 3));
        return parseBuffer(bytes.constData() + (bom ? 3 : 0), bytes.size() - (bom ? 3 : 0));
    }
    XMLStringPool *const pool = XMLStringPool::create(qsizetype(size));
    if (!pool) {
        setError("file too large", 0);
        return 0;
    }
    pool->ref();
    const size_t got = std::fread(pool->text(), 1, size_t(size), file);
    pool->text()[got] = '\0';
    char *text = pool->text();
    if (got >= 3 && std::memcmp(text, byteOrderMark, 3) == 0)
        std::memmove(text, text + 3, got - 3 + 1);
    const int result = parseXMLText(*this, pool);
    pool->deref();
    return result;
}

int XMLDocument::loadFile(const char *path)
{
    FILE *const file = std::fopen(path, "rb");
    if (!file) {
        char message[errorTextSize];
        std::snprintf(message, sizeof message, "couldn't read %s", path);
        setError(message, 0);
        return 0;
    }
    const int result = loadStream(file);
    std::fclose(file);
    return result;
}

int XMLDocument::saveStream(FILE *file, int indent, int wrapWidth)
{
    m_indent = indent;
    m_wrapWidth = wrapWidth;
    XMLWriter writer(file);
    (void)writer.write(*this);
    return 1;
}

QByteArray XMLDocument::saveBuffer(int indent, int wrapWidth)
{
    m_indent = indent;
    m_wrapWidth = wrapWidth;
    XMLWriter writer(nullptr);
    (void)writer.write(*this);
    return writer.takeBuffer();
}

namespace {

// Regular files are replaced through a temporary file beside them and a rename, so a failed
// write leaves the old file whole; a symbolic link keeps pointing at the file it named. Anything
// that is not a regular file (a device, a pipe) is written directly.
FILE *openForSaving(const char *path, std::string &target, std::string &temporary)
{
    target = path;
    struct stat status;
    if (::stat(path, &status) == 0) {
        if (!S_ISREG(status.st_mode))
            return std::fopen(path, "wb");
        if (char *const real = ::realpath(path, nullptr)) {
            target = real;
            std::free(real);
        }
    }
    static std::atomic<int> serial{0};
    temporary = target + ".tmp" + std::to_string(::getpid()) + "_" + std::to_string(++serial);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        return nullptr;
    if (::stat(target.c_str(), &status) == 0)
        (void)::fchmod(fd, status.st_mode & 07777);
    FILE *const file = ::fdopen(fd, "wb");
    if (!file) {
        ::close(fd);
        std::remove(temporary.c_str());
    }
    return file;
}

} // namespace

int XMLDocument::saveFile(const char *path, int indent, int wrapWidth)
{
    std::string target;
    std::string temporary;
    FILE *const file = openForSaving(path, target, temporary);
    bool written = file != nullptr;
    if (file) {
        m_indent = indent;
        m_wrapWidth = wrapWidth;
        XMLWriter writer(file);
        written = writer.write(*this);
        written = std::fclose(file) == 0 && written;
        if (!temporary.empty()) {
            if (written)
                written = std::rename(temporary.c_str(), target.c_str()) == 0;
            if (!written)
                std::remove(temporary.c_str());
        }
    }
    if (written)
        return 1;
    char message[errorTextSize];
    std::snprintf(message, sizeof message, "couldn't write %s", path);
    setError(message, 0);
    return 0;
}

const char *XMLDocument::docTypeOfFile(const char *path)
{
    static char buffer[1024 + 1];
    FILE *const file = std::fopen(path, "rb");
    if (!file)
        return nullptr;
    const size_t got = std::fread(buffer, 1, 1024, file);
    std::fclose(file);
    buffer[got] = '\0';
    char *const end = buffer + got;
    char *p = buffer;
    while (p < end && !(*p == '<' && p[1] != '?'))
        ++p;
    if (p >= end || std::strncmp(p + 1, "!DOCTYPE ", 9) != 0)
        return nullptr;
    p += 10;
    while (p < end && (*p == ' ' || *p == '\t'))
        ++p;
    char *const name = p;
    while (p < end && (std::isalnum(static_cast<unsigned char>(*p)) || *p == '_'))
        ++p;
    if (p >= end)
        return nullptr;
    *p = '\0';
    return name;
}

namespace {

XMLNode *copyOf(XMLDocument &document, const XMLNode *node)
{
    switch (node->kind()) {
    case XMLNode::Kind::Element: {
        const auto *element = static_cast<const XMLElement *>(node);
        XMLElement *const copy = document.createElement(xmlDuplicate(element->name()));
        for (const XMLAttribute &attribute : element->attributes())
            copy->setAttribute(xmlDuplicate(attribute.name), xmlDuplicate(attribute.value));
        copy->setLine(node->line());
        return copy;
    }
    case XMLNode::Kind::Data:
        return new XMLData(xmlDuplicate(static_cast<const XMLCharacterNode *>(node)->data()));
    case XMLNode::Kind::Comment:
        return new XMLComment(xmlDuplicate(static_cast<const XMLCharacterNode *>(node)->data()));
    case XMLNode::Kind::CDATASection:
        return new XMLCDATASection(
            xmlDuplicate(static_cast<const XMLCharacterNode *>(node)->data()));
    }
    return nullptr;
}

} // namespace

// Iterative, so a tree of any depth copies without deep recursion.
XMLNode *XMLDocument::cloneNode(const XMLNode *node, XMLNode *parent)
{
    if (!node)
        return nullptr;
    XMLNode *const top = copyOf(*this, node);
    top->setLine(node->line());
    if (parent)
        parent->appendChild(top);
    struct Frame {
        const XMLNode *next;   // next child of the source to copy
        XMLNode *copy;
    };
    std::vector<Frame> stack;
    if (node->firstChild())
        stack.push_back({node->firstChild(), top});
    while (!stack.empty()) {
        const XMLNode *const source = stack.back().next;
        if (!source) {
            stack.pop_back();
            continue;
        }
        stack.back().next = source->nextSibling();
        XMLNode *const copy = copyOf(*this, source);
        copy->setLine(source->line());
        stack.back().copy->appendChild(copy);
        if (source->firstChild())
            stack.push_back({source->firstChild(), copy});
    }
    return top;
}
