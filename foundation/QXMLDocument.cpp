#include "foundation/QXMLDocument.h"
#include <QFile>
#include <cstring>

int QXMLDocument::load(const QString &path)
{
    return loadFile(QFile::encodeName(path).constData());
}

int QXMLDocument::save(const QString &path, int indent, int wrapWidth)
{
    return saveFile(QFile::encodeName(path).constData(), indent, wrapWidth);
}

QString textOf(const XMLElement *element)
{
    QString text;
    if (!element)
        return text;
    for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        if (node->kind() == XMLNode::Kind::Data)
            text += QString::fromUtf8(static_cast<const XMLData *>(node)->data());
    }
    return text;
}

namespace {

bool isElementNamed(const XMLNode *node, const char *name)
{
    if (node->kind() != XMLNode::Kind::Element)
        return false;
    const char *const own = static_cast<const XMLElement *>(node)->name();
    return own && std::strcmp(own, name) == 0;
}

// Visits the chain (and with `recursive` every node's children right after the node) in
// document order until `visit` returns true. A stack of pending siblings replaces recursion.
template <typename Visit> void walk(XMLNode *firstNode, bool recursive, Visit visit)
{
    std::vector<XMLNode *> pending;
    XMLNode *node = firstNode;
    while (node || !pending.empty()) {
        if (!node) {
            node = pending.back();
            pending.pop_back();
            continue;
        }
        if (visit(node))
            return;
        if (recursive && node->firstChild()) {
            if (node->nextSibling())
                pending.push_back(node->nextSibling());
            node = node->firstChild();
        } else {
            node = node->nextSibling();
        }
    }
}

} // namespace

XMLElement *findElement(XMLNode *firstNode, const char *name, bool recursive)
{
    XMLElement *found = nullptr;
    walk(firstNode, recursive, [&](XMLNode *node) {
        if (isElementNamed(node, name))
            found = static_cast<XMLElement *>(node);
        return found != nullptr;
    });
    return found;
}

void findElements(XMLNode *firstNode, const char *name, bool recursive,
                  std::vector<XMLElement *> &result)
{
    walk(firstNode, recursive, [&](XMLNode *node) {
        if (isElementNamed(node, name))
            result.push_back(static_cast<XMLElement *>(node));
        return false;
    });
}

XMLElement *firstElement(XMLNode *firstNode, const char *name)
{
    return findElement(firstNode, name, false);
}

XMLElement *firstElementOfEither(XMLNode *chainA, XMLNode *chainB, const char *name)
{
    if (XMLElement *const found = firstElement(chainA, name))
        return found;
    return firstElement(chainB, name);
}
