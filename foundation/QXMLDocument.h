#pragma once
#include "foundation/XMLDocument.h"
#include <QString>
#include <vector>

// The XML document as the rest of the system sees it: paths and text as QString.
class QXMLDocument : public XMLDocument {
public:
    explicit QXMLDocument(int keepData = 0) : XMLDocument(keepData) {}

    // As loadFile and saveFile, with the path in the local 8-bit encoding.
    int load(const QString &path);
    int save(const QString &path, int indent, int wrapWidth);
};

// The text of all direct XMLData children, one after the other.
[[nodiscard]] QString textOf(const XMLElement *element);

// First element of that name in the sibling chain starting at firstNode; with recursive, each
// node's children are searched (depth first) right after the node itself.
[[nodiscard]] XMLElement *findElement(XMLNode *firstNode, const char *name, bool recursive);
// Every such element, appended to result in document order.
void findElements(XMLNode *firstNode, const char *name, bool recursive,
                  std::vector<XMLElement *> &result);
// First element of that name in the chain, not recursive.
[[nodiscard]] XMLElement *firstElement(XMLNode *firstNode, const char *name);
// The same in chainA, then in chainB.
[[nodiscard]] XMLElement *firstElementOfEither(XMLNode *chainA, XMLNode *chainB,
                                               const char *name);
