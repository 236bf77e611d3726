#pragma once
#include <QByteArray>
#include <cstdio>

class XMLDocument;

// Writes a document in the fixed layout into a memory buffer that is handed to a file in large
// blocks (or kept whole when no file is given).
class XMLWriter {
public:
    explicit XMLWriter(FILE *file) : m_file(file) {}

    // Writes prolog and tree with the document's indent and wrapWidth; false on a write error.
    [[nodiscard]] bool write(const XMLDocument &document);
    QByteArray takeBuffer() { return std::move(m_buffer); }

private:
    void writeNode(const class XMLNode *node, int depth);
    void writeOpenTag(const class XMLElement *element, int depth);
    void writeTree(const class XMLElement *root);
    void blanks(int count);
    void put(const char *text);
    void put(const char *text, qsizetype length);
    void putEscaped(const char *text);
    void flushIfFull();

    FILE *m_file;
    QByteArray m_buffer;
    int m_indent = 0;
    int m_wrapWidth = 0;
    bool m_failed = false;
};
