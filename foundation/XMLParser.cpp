#include "foundation/XMLParser.h"
#include "foundation/XMLDocument.h"
#include "foundation/XMLStringPool.h"
#include <array>
#include <cstring>
#include <memory>
#include <vector>

namespace {

enum CharClass : quint8 {
    Space = 1,       // what the C library's isspace accepts in the C locale
    NameChar = 2,    // letters, digits, '-', ':', '_'
    NameStart = 4,   // what may begin an attribute name: letters, '-', ':', '_'
};

constexpr std::array<quint8, 256> makeClasses()
{
    std::array<quint8, 256> table{};
    for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'})
        table[quint8(c)] = Space;
    for (int c = 0; c < 256; ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool digit = c >= '0' && c <= '9';
        const bool mark = c == '-' || c == ':' || c == '_';
        if (letter || digit || mark)
            table[c] |= NameChar;
        if (letter || mark)
            table[c] |= NameStart;
    }
    return table;
}

constexpr std::array<quint8, 256> charClasses = makeClasses();

bool isClass(char c, CharClass cls)
{
    return charClasses[quint8(c)] & cls;
}

struct NamedEntity {
    const char *text;   // what follows the '&'
    int length;
    char value;
};

constexpr NamedEntity namedEntities[] = {
    {"lt;", 3, '<'}, {"gt;", 3, '>'}, {"amp;", 4, '&'}, {"apos;", 5, '\''}, {"quot;", 5, '"'},
};

// Decodes the entity at `amp` (which points at '&') within [amp, end) into `out` and returns
// where copying goes on. Anything unknown yields the '&' alone and resumes right behind it.
const char *decodeEntity(const char *amp, const char *end, char &out)
{
    const char *rest = amp + 1;
    for (const NamedEntity &entity : namedEntities) {
        if (end - rest >= entity.length && std::memcmp(rest, entity.text, entity.length) == 0) {
            out = entity.value;
            return rest + entity.length;
        }
    }
    out = '&';
    if (rest >= end || *rest != '#')
        return rest;
    const bool hex = rest + 1 < end && rest[1] == 'x';
    const char *digit = rest + (hex ? 2 : 1);
    quint32 value = 0;
    // Digits run to the ';'; hexadecimal ones are read in lower case only.
    for (; digit < end && *digit != ';'; ++digit) {
        const quint32 c = quint8(*digit);
        value = hex ? value * 16 + (c <= '9' ? c - '0' : c - 'a' + 10) : value * 10 + (c - '0');
    }
    if (digit >= end)
        return rest;
    out = char(value);
    return digit + 1;
}

// Copies [from, end) to `to` (at most one byte in front of `from`, so the copy never overtakes
// what it reads), decoding entities and optionally dropping carriage returns; adds a NUL.
char *decodeText(char *to, const char *from, const char *end, bool dropReturns)
{
    char *const start = to;
    while (from < end) {
        const char *amp = static_cast<const char *>(std::memchr(from, '&', size_t(end - from)));
        const char *plainEnd = amp ? amp : end;
        if (dropReturns) {
            for (; from < plainEnd; ++from) {
                if (*from != '\r')
                    *to++ = *from;
            }
        } else {
            std::memmove(to, from, size_t(plainEnd - from));
            to += plainEnd - from;
            from = plainEnd;
        }
        if (amp)
            from = decodeEntity(amp, end, *to++);
    }
    *to = '\0';
    return start;
}

class Parser {
public:
    Parser(XMLDocument &document, XMLStringPool *pool)
        : m_document(document), m_pool(pool), m_cursor(pool->text()),
          m_end(pool->text() + std::strlen(pool->text())),
          m_keepData(document.keepData() != 0)
    {
    }
    ~Parser();

    int run();

private:
    enum class Step { Continue, Stop, StopWithoutResult };

    Step tag();
    Step processingInstruction();
    Step markupDeclaration();
    Step comment();
    Step cdataSection(qsizetype wordLength);
    Step closingTag();
    Step openingTag();
    Step attribute(XMLElement *element);
    void characterData();
    void closeElement();

    void skipSpace();
    void readName(char *&start, qsizetype &length);
    void countLines(const char *from, const char *to);
    char *shiftedName(char *start, qsizetype length);
    template <typename Node> void appendText(char *text);
    Step fail(int code);

    XMLDocument &m_document;
    XMLStringPool *m_pool;
    char *m_cursor;
    char *const m_end;   // the first NUL: the text ends there whatever follows
    const bool m_keepData;
    quint32 m_line = 0;
    quint32 m_tagLine = 0;
    std::vector<XMLElement *> m_open;   // each owned here until it closes
    XMLElement *m_result = nullptr;     // owned here until handed to the document
};

Parser::~Parser()
{
    for (XMLElement *element : m_open)
        delete element;
    delete m_result;
}

void Parser::skipSpace()
{
    while (isClass(*m_cursor, Space)) {
        m_line += *m_cursor == '\n';
        ++m_cursor;
    }
}

void Parser::readName(char *&start, qsizetype &length)
{
    start = m_cursor;
    while (isClass(*m_cursor, NameChar))
        ++m_cursor;
    length = m_cursor - start;
    skipSpace();
}

void Parser::countLines(const char *from, const char *to)
{
    while (from < to) {
        const void *newline = std::memchr(from, '\n', size_t(to - from));
        if (!newline)
            return;
        ++m_line;
        from = static_cast<const char *>(newline) + 1;
    }
}

// Names are terminated in place by moving them one byte back over the byte before them, which
// has been consumed already; the byte behind the name keeps its meaning.
char *Parser::shiftedName(char *start, qsizetype length)
{
    std::memmove(start - 1, start, size_t(length));
    start[length - 1] = '\0';
    return start - 1;
}

template <typename Node> void Parser::appendText(char *text)
{
    auto *node = new Node(text);
    node->adoptPool(m_pool);
    node->setLine(m_tagLine);
    m_open.back()->appendChild(node);
}

Parser::Step Parser::fail(int code)
{
    static constexpr const char *messages[] = {"", "bad tagName", "tagName mismatch"};
    m_document.setError(messages[code], int(m_line));
    return Step::Stop;
}

int Parser::run()
{
    Step step = Step::Continue;
    skipSpace();
    while (step == Step::Continue && *m_cursor == '<' && m_cursor < m_end) {
        m_tagLine = m_line;
        step = tag();
        if (step == Step::Continue)
            characterData();
    }
    if (step == Step::StopWithoutResult) {
        delete m_result;
        m_result = nullptr;
    }
    m_document.setRoot(m_result);
    m_result = nullptr;
    return step == Step::Stop ? 0 : 1;
}

Parser::Step Parser::tag()
{
    switch (m_cursor[1]) {
    case '?':
        return processingInstruction();
    case '!':
        return markupDeclaration();
    case '/':
        return closingTag();
    default:
        return openingTag();
    }
}

// Only the XML declaration is read; its values are taken raw. Other instructions, and the rest
// of a declaration that stops early, fall through to character data.
Parser::Step Parser::processingInstruction()
{
    m_cursor += 2;
    char *target;
    qsizetype targetLength;
    readName(target, targetLength);
    if (targetLength > 3 || std::memcmp(target, "xml", size_t(targetLength)) != 0)
        return Step::Continue;
    while (*m_cursor && *m_cursor != '?') {
        char *name;
        qsizetype nameLength;
        char *const before = m_cursor;
        readName(name, nameLength);
        if (*m_cursor != '=') {
            if (m_cursor == before)
                ++m_cursor;
            continue;
        }
        ++m_cursor;
        skipSpace();
        const char quote = *m_cursor;
        if (quote != '"' && quote != '\'')
            return Step::StopWithoutResult;
        char *const value = m_cursor + 1;
        auto *close = static_cast<char *>(std::memchr(value, quote, size_t(m_end - value)));
        char *const valueEnd = close ? close : m_end;
        countLines(value, valueEnd);
        m_cursor = close ? close + 1 : m_end;
        const auto is = [&](const char *word) {
            return qsizetype(std::strlen(word)) == nameLength &&
                   std::memcmp(name, word, size_t(nameLength)) == 0;
        };
        if (is("version"))
            m_document.setXmlVersion(xmlDuplicate(value, valueEnd - value));
        else if (is("encoding"))
            m_document.setXmlEncoding(xmlDuplicate(value, valueEnd - value));
    }
    if (*m_cursor == '?') {
        ++m_cursor;
        if (*m_cursor == '>')
            ++m_cursor;
    }
    return Step::Continue;
}

Parser::Step Parser::markupDeclaration()
{
    if (m_cursor[2] == '-') {
        if (m_cursor[3] == '-')
            return comment();
        m_cursor += 2;
        return Step::Continue;
    }
    m_cursor += 2;
    char *word;
    qsizetype length;
    readName(word, length);
    if (length <= 5 && std::memcmp(word, "CDATA", size_t(length)) == 0)
        return cdataSection(length);
    if (length <= 7 && std::memcmp(word, "DOCTYPE", size_t(length)) == 0) {
        char *name;
        qsizetype nameLength;
        readName(name, nameLength);
        if (*m_cursor == '>') {
            m_document.setDocType(xmlDuplicate(name, nameLength));
            ++m_cursor;
        }
    }
    return Step::Continue;
}

Parser::Step Parser::comment()
{
    char *const text = m_cursor + 4;
    auto *close = static_cast<char *>(memmem(text, size_t(m_end - text), "-->", 3));
    if (!close) {
        countLines(m_cursor, m_end);
        m_cursor = m_end;
        return Step::Continue;
    }
    countLines(text, close);
    m_cursor = close + 3;
    if (m_keepData && !m_open.empty()) {
        *close = '\0';
        appendText<XMLComment>(text);
    }
    return Step::Continue;
}

// Both "<![CDATA[" and the writer's own "<!CDATA[" open a section; an empty word counts too.
Parser::Step Parser::cdataSection(qsizetype wordLength)
{
    if (wordLength == 0) {
        if (*m_cursor == '[')
            ++m_cursor;
        while (isClass(*m_cursor, NameChar))
            ++m_cursor;
    }
    if (*m_cursor == '[')
        ++m_cursor;
    char *const text = m_cursor;
    auto *close = static_cast<char *>(memmem(text, size_t(m_end - text), "]]>", 3));
    if (!close) {
        countLines(text, m_end);
        m_cursor = m_end;
        return Step::Continue;
    }
    countLines(text, close);
    m_cursor = close + 3;
    if (!m_open.empty()) {
        *close = '\0';
        appendText<XMLCDATASection>(text);
    }
    return Step::Continue;
}

// A closing name only has to be a prefix of the open element's name; "</>" closes blindly.
Parser::Step Parser::closingTag()
{
    if (m_cursor[2] == '>') {
        m_cursor += 3;
        if (!m_open.empty())
            closeElement();
        return Step::Continue;
    }
    m_cursor += 2;
    char *name;
    qsizetype length;
    readName(name, length);
    if (m_open.empty())
        return Step::Continue;
    if (std::strncmp(m_open.back()->name(), name, size_t(length)) != 0)
        return fail(2);
    if (*m_cursor != '>')
        return Step::Continue;
    ++m_cursor;
    closeElement();
    return Step::Continue;
}

// A child joins its parent when it closes; a top-level element that closes is the result so
// far, and only the last of several is kept.
void Parser::closeElement()
{
    XMLElement *const element = m_open.back();
    m_open.pop_back();
    if (!m_open.empty()) {
        m_open.back()->appendChild(element);
        return;
    }
    delete m_result;
    m_result = element;
}

Parser::Step Parser::openingTag()
{
    ++m_cursor;
    char *name;
    qsizetype length;
    readName(name, length);
    // An empty name still makes an element; its terminator goes where the '<' was.
    char *const stored = length ? shiftedName(name, length) : name - 1;
    if (!length)
        *stored = '\0';
    XMLElement *const element = m_document.createElement(stored);
    element->adoptPool(m_pool);
    element->setLine(m_tagLine);
    m_open.push_back(element);
    while (*m_cursor && *m_cursor != '>' && *m_cursor != '/') {
        if (attribute(element) == Step::Stop)
            return Step::Stop;
    }
    if (*m_cursor == '>') {
        ++m_cursor;
    } else if (*m_cursor == '/') {
        ++m_cursor;
        if (*m_cursor == '>') {
            ++m_cursor;
            closeElement();
        }
    }
    return Step::Continue;
}

// One attribute. A name without '=' is dropped; a value without a quote loses its name and the
// byte found there starts the next attribute.
Parser::Step Parser::attribute(XMLElement *element)
{
    if (!isClass(*m_cursor, NameStart))
        return fail(1);
    char *name;
    qsizetype length;
    readName(name, length);
    if (*m_cursor != '=')
        return Step::Continue;
    ++m_cursor;
    skipSpace();
    const char quote = *m_cursor;
    if (quote != '"' && quote != '\'')
        return Step::Continue;
    char *const value = m_cursor + 1;
    auto *close = static_cast<char *>(std::memchr(value, quote, size_t(m_end - value)));
    char *const valueEnd = close ? close : m_end;
    countLines(value, valueEnd);
    m_cursor = close ? close + 1 : m_end;
    char *const storedName = shiftedName(name, length);
    char *const storedValue = decodeText(value - 1, value, valueEnd, false);
    element->setAttribute(storedName, storedValue);
    skipSpace();
    return Step::Continue;
}

void Parser::characterData()
{
    char *const start = m_cursor;
    const quint32 startLine = m_line;
    char *p = m_cursor;
    quint32 lines = 0;
    for (;;) {
        const char c = *p;
        if (c == '<' || c == '\0')
            break;
        lines += c == '\n';
        ++p;
    }
    m_cursor = p;
    m_line += lines;
    if (!m_keepData || m_open.empty())
        return;
    m_tagLine = startLine;
    appendText<XMLData>(decodeText(start - 1, start, p, true));
}

} // namespace

int parseXMLText(XMLDocument &document, XMLStringPool *pool)
{
    Parser parser(document, pool);
    return parser.run();
}
