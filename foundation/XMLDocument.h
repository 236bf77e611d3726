#pragma once
#include <QByteArray>
#include <QtGlobal>
#include <cstdio>
#include <span>

// The system's own XML tree of byte strings.
//
// String ownership: every string a node or document holds is NUL-terminated and owned by it.
// Strings handed to a node or document (setName, setAttribute, setData, createElement,
// setDocType ...) must come from malloc (use xmlDuplicate) and change owner with the call.
// Strings read from a node stay the node's: never free them. Strings made by the parser live in
// the parsed text block, which the nodes of that parse keep alive between them; a node frees
// only what it did not take from that block.

class XMLStringPool;

// A malloc'd copy that a node or document may take over; null for null.
[[nodiscard]] char *xmlDuplicate(const char *text);
[[nodiscard]] char *xmlDuplicate(const char *text, qsizetype length);
[[nodiscard]] char *xmlDuplicate(const QByteArray &text);

class XMLNode {
public:
    enum class Kind : quint8 { Element, Data, Comment, CDATASection };

    XMLNode(const XMLNode &) = delete;
    XMLNode &operator=(const XMLNode &) = delete;
    // Destroys the whole chain of children (without recursion, so any depth is fine) but not
    // this node's own nextSibling: whoever unlinks a node to delete it clears that first.
    virtual ~XMLNode();

    // Children join at the end; node's own nextSibling is left alone (a chain stays a chain).
    virtual void appendChild(XMLNode *node);
    virtual void prependChild(XMLNode *node);
    // Unlinks without deleting and without clearing parent or nextSibling; non-children are ignored.
    virtual void removeChild(XMLNode *node);
    // newNode takes oldNode's place, parent and nextSibling; oldNode is left as it was.
    virtual void replaceChild(XMLNode *oldNode, XMLNode *newNode);
    // Inserts the sibling chain firstOfChain behind afterNode, or at the end when afterNode is
    // not a child.
    virtual void insertChildrenAfter(XMLNode *afterNode, XMLNode *firstOfChain);

    Kind kind() const { return m_kind; }
    XMLNode *parent() const { return m_parent; }
    XMLNode *nextSibling() const { return m_nextSibling; }
    XMLNode *firstChild() const { return m_firstChild; }
    XMLNode *lastChild() const;
    quint32 line() const { return m_line; }

    // Direct edits of the links, for code that splices chains by hand. They keep the parent's
    // idea of its last child sound; prefer the tree operations above.
    void setParent(XMLNode *parent) { m_parent = parent; }
    void setNextSibling(XMLNode *next);
    void setFirstChild(XMLNode *first);
    void setLine(quint32 line) { m_line = line; }

    // Binds the node to the text block its strings were taken from (parser use).
    void adoptPool(XMLStringPool *pool);

protected:
    explicit XMLNode(Kind kind);
    // Frees a string this node owned, unless it lives in the node's text block. Subclasses that
    // take strings over in setAttribute or setName give them back only through this.
    void releaseString(char *text) const;

private:
    XMLNode *m_parent = nullptr;
    XMLNode *m_nextSibling = nullptr;
    XMLNode *m_firstChild = nullptr;
    // Hint for O(1) appends: a node of the own child chain, usually its end; null means unknown.
    XMLNode *m_lastChild = nullptr;
    XMLStringPool *m_pool = nullptr;
    quint32 m_line = 0;
    Kind m_kind;
};

struct XMLAttribute {
    char *name;
    char *value;   // may be null: written as an empty value
};

class XMLElement : public XMLNode {
public:
    explicit XMLElement(char *name);   // takes ownership of name
    ~XMLElement() override;

    // Takes ownership of name and releases the old one.
    virtual void setName(char *name);
    virtual const char *name() const;
    // Takes ownership of both; an existing attribute of that name keeps its place and gets the
    // new value, and the passed name is freed.
    virtual void setAttribute(char *name, char *value);
    // Unlinks and frees the first attribute of that name.
    virtual void removeAttribute(const char *name);
    virtual int hasAttribute(const char *name) const;
    virtual const char *attribute(const char *name) const;   // null when absent
    virtual std::span<const XMLAttribute> attributes() const;

    int attributeCount() const { return m_attributeCount; }

private:
    XMLAttribute *findAttribute(const char *name) const;

    char *m_name;
    XMLAttribute *m_attributes = nullptr;   // malloc'd array in insertion order
    int m_attributeCount = 0;
    int m_attributeCapacity = 0;
};

// Character data, comment text or CDATA text: one owned string.
class XMLCharacterNode : public XMLNode {
public:
    ~XMLCharacterNode() override;
    virtual void setData(char *data);   // takes ownership and releases the old text
    virtual const char *data() const;

protected:
    XMLCharacterNode(Kind kind, char *data);

private:
    char *m_data;
};

class XMLData : public XMLCharacterNode {
public:
    explicit XMLData(char *data) : XMLCharacterNode(Kind::Data, data) {}
};

class XMLComment : public XMLCharacterNode {
public:
    explicit XMLComment(char *data) : XMLCharacterNode(Kind::Comment, data) {}
};

class XMLCDATASection : public XMLCharacterNode {
public:
    explicit XMLCDATASection(char *data) : XMLCharacterNode(Kind::CDATASection, data) {}
};

class XMLDocument {
public:
    static constexpr int errorTextSize = 1024;

    // keepData 0 drops character data and comments while parsing; CDATA is always kept.
    explicit XMLDocument(int keepData = 0);
    XMLDocument(const XMLDocument &) = delete;
    XMLDocument &operator=(const XMLDocument &) = delete;
    virtual ~XMLDocument();   // deletes root, frees the prolog strings

    // Factory for every element the parser and cloneNode make; takes ownership of name.
    [[nodiscard]] virtual XMLElement *createElement(char *name);

    // 1 on success. Sets root to the result without deleting what root held before; on failure
    // root is what was complete and errorText/errorLine tell why.
    int parseBuffer(const char *text);
    int parseBuffer(const char *text, qsizetype length);
    int loadStream(FILE *file);
    int loadFile(const char *path);
    int saveStream(FILE *file, int indent, int wrapWidth);
    int saveFile(const char *path, int indent, int wrapWidth);
    // The bytes saveStream would write.
    [[nodiscard]] QByteArray saveBuffer(int indent, int wrapWidth);

    // Name behind "<!DOCTYPE " near the start of a file, or null. Points into one static buffer:
    // not re-entrant.
    static const char *docTypeOfFile(const char *path);

    // Deep copy (elements through createElement), appended to parent when that is non-null.
    XMLNode *cloneNode(const XMLNode *node, XMLNode *parent);

    XMLElement *root() const { return m_root; }
    void setRoot(XMLElement *root) { m_root = root; }   // does not delete the old root
    [[nodiscard]] XMLElement *takeRoot();

    const char *errorText() const { return m_errorText; }
    int errorLine() const { return m_errorLine; }
    void setError(const char *text, int line);

    int keepData() const { return m_keepData; }
    void setKeepData(int keepData) { m_keepData = keepData; }
    int indent() const { return m_indent; }   // as given to the last save
    int wrapWidth() const { return m_wrapWidth; }

    const char *docType() const { return m_docType; }
    const char *xmlVersion() const { return m_xmlVersion; }
    const char *xmlEncoding() const { return m_xmlEncoding; }
    // Take ownership of the text (null clears) and free the old one.
    void setDocType(char *docType);
    void setXmlVersion(char *version);
    void setXmlEncoding(char *encoding);

private:
    int m_indent = 0;
    int m_wrapWidth = 0;
    int m_keepData;
    char *m_docType = nullptr;
    char *m_xmlVersion = nullptr;
    char *m_xmlEncoding = nullptr;
    XMLElement *m_root = nullptr;
    char m_errorText[errorTextSize] = {};
    int m_errorLine = 0;
};
