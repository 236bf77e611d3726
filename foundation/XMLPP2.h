#pragma once
#include "foundation/Macros.h"
#include "foundation/QXMLDocument.h"
#include <QString>
#include <QStringList>
#include <map>
#include <memory>
#include <vector>

class SimpleExpressionParser;

// An XML document whose load-time directives are resolved on its own element tree: if, ifnot,
// ifex, ifdef, ifndef, switch, include, define, for, xmldef, xmlput and foreach. Each nested
// level works on its own copy of the macro table, so a definition reaches its following
// siblings and their descendants and nothing outside its parent.
//
// Every message goes through the virtual error(); the walk carries on when error() returns.
// The base class collects the messages; the tool's subclass ends the process, the project
// system's drops them.
//
// Directives can make a document grow without end (an include that includes itself, an xmldef
// that puts itself, a loop without progress). Limits turn those into an error() and leave
// everything that ends normally as it is.
class XMLPP2 : public QXMLDocument {
public:
    struct Limits {
        int nesting = 400;                    // levels of elements walked inside each other
        int includeDepth = 32;                // include files open inside each other
        int includeFiles = 10000;             // include files read by one document
        qint64 createdElements = 4000000;     // elements made by for, foreach, xmlput
        qint64 loopRounds = 10000000;         // rounds of one for loop
    };

    explicit XMLPP2(int keepData = 0);
    ~XMLPP2() override;

    void setLimits(const Limits &limits) { m_limits = limits; }
    [[nodiscard]] const Limits &limits() const { return m_limits; }

    // Loads `path`, turns `macroDefinitions` ("a=1;b=2") into the macro table and resolves the
    // directives from the root. 0 when the file could not be loaded (the document's error text
    // tells why), 1 otherwise, whatever the directives reported.
    using QXMLDocument::load;
    [[nodiscard]] int load(const QString &path, const QString &macroDefinitions,
                           bool expandMacros);

    // Resolves the directives of the sibling chain starting at `firstNode`; `fileName` is where
    // the nodes came from, for relative includes. When `firstNode` is the root, the root may
    // change or vanish: read root() afterwards.
    void processNodes(XMLNode *firstNode, const QString &fileName, MacroTable macros,
                      bool expandMacros);

    // Expands, with the table alone, each attribute value that holds a macro reference.
    void expandAttributes(XMLElement *element, const MacroTable &macros);
    // A copy of `element` and its child elements (other children are left out) made through
    // createElement, every attribute expanded with the table alone. Null when the document has
    // made as many elements as its limits allow (error() has been told).
    [[nodiscard]] XMLElement *cloneExpanded(const XMLElement *element, const MacroTable &macros);

    // The fragments named by xmldef, owned here; included files share them.
    [[nodiscard]] const std::map<QString, std::unique_ptr<XMLElement>> &xmldefs() const
    {
        return m_xmldefs;
    }
    // What error() has collected in the base class, at most maxKeptMessages of them.
    [[nodiscard]] const QStringList &messages() const { return m_messages; }
    static constexpr int maxKeptMessages = 100;

    virtual void error(const QString &message);

protected:
    // Whether an include may read `path`; every file by default.
    [[nodiscard]] virtual bool mayInclude(const QString &path) const;
    // The include file being parsed or walked now, as its include named it; empty while the
    // loaded file itself is. Lets a subclass tell in createElement where an element came from.
    [[nodiscard]] QString currentIncludeFile() const
    {
        return m_includeFiles.isEmpty() ? QString() : m_includeFiles.last();
    }

private:
    struct Walk;
    struct Cursor {
        XMLNode *previous;   // the node now in front of `next`, null at the head of the chain
        XMLNode *next;       // where the walk goes on
    };
    using Handler = Cursor (XMLPP2::*)(XMLElement *, XMLNode *, Walk &);
    struct Directive {
        const char *tag;
        Handler handler;
    };
    static const Directive directives[];

    void walkChain(XMLNode *node, XMLNode *previous, Walk &walk);
    void walkChildren(XMLNode *parent, const QString &fileName, MacroTable macros,
                      bool expandMacros);
    void processTopLevel(XMLNode *firstNode, const QString &fileName, MacroTable macros,
                         bool expandMacros);

    Cursor keep(XMLElement *element, Walk &walk);
    Cursor remove(XMLElement *element, XMLNode *previous);
    Cursor hoist(XMLElement *directive, XMLNode *previous, XMLNode *selected,
                 const QString &fileName, MacroTable macros, bool expandMacros);
    Cursor conditional(XMLElement *element, XMLNode *previous, Walk &walk, bool taken);
    Cursor replaceByChain(XMLNode *node, XMLNode *previous, XMLNode *chain);

    Cursor handleIf(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleIfnot(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleIfex(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleIfdef(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleIfndef(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleSwitch(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleInclude(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleDefine(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleFor(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleXmldef(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleXmlput(XMLElement *element, XMLNode *previous, Walk &walk);
    Cursor handleForeach(XMLElement *element, XMLNode *previous, Walk &walk);

    [[nodiscard]] int matchesIf(XMLElement *element, Walk &walk);   // -1: bad attribute count
    [[nodiscard]] XMLElement *loadInclude(const QString &path);
    void walkIncluded(XMLElement *include, XMLElement *newRoot, const QString &path, Walk &walk);
    struct Chain {
        XMLNode *first = nullptr;
        XMLNode *last = nullptr;
    };
    // Appends to `chain` one clone of each child of `loop` up to the first that is not an
    // element; false when the element limit stops it.
    struct LoopVariable {
        QString name;
        QStringList entries;
    };
    [[nodiscard]] std::vector<LoopVariable> foreachVariables(const XMLElement *element,
                                                             const MacroTable &table);
    [[nodiscard]] bool appendRound(const XMLElement *loop, const MacroTable &round, Chain &chain);
    Cursor replaceByClones(XMLElement *loop, XMLNode *previous, const Chain &chain);
    [[nodiscard]] bool takeElements(qint64 count);
    [[nodiscard]] int evaluateInteger(const QString &text, bool *ok = nullptr);

    Limits m_limits;
    std::map<QString, std::unique_ptr<XMLElement>> m_xmldefs;
    QStringList m_messages;
    QStringList m_includeChain;   // the include files being walked, outermost first
    QStringList m_includeFiles;   // the same as named, from the start of each one's parse
    int m_includeCount = 0;
    int m_depth = 0;
    qint64 m_createdElements = 0;
    bool m_elementLimitReported = false;
    std::unique_ptr<SimpleExpressionParser> m_parser;
};
