#pragma once
#include <QtGlobal>

// One parsed text block. The parser decodes strings in place inside it, so the nodes of one
// parse share it and keep it alive by counting; it goes when the last of them goes. The count
// is not atomic: a tree is used by one thread at a time.
class XMLStringPool {
public:
    // A block for `size` bytes of text plus a NUL, with one spare byte in front of the text so
    // that a token starting at the first byte could still be shifted back by one. Null when the
    // memory cannot be had.
    [[nodiscard]] static XMLStringPool *create(qsizetype size);

    char *text() { return m_begin; }
    char *end() { return m_end; }
    bool contains(const char *text) const { return text >= m_begin - 1 && text < m_end; }
    void ref() { ++m_count; }
    void deref();

private:
    XMLStringPool() = default;

    char *m_begin = nullptr;
    char *m_end = nullptr;   // the terminating NUL
    qint64 m_count = 0;
};
