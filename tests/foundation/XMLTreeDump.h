#pragma once
#include "foundation/XMLDocument.h"
#include <string>

// A one-line picture of a tree for comparing in tests:
//   element  name[attr=value,...](child,child)   null values print as attr=~
//   data     "text"      comment  !text!      CDATA  [text]
// Control bytes in texts print as \n, \r, \t or \xNN.
inline std::string dumpText(const char *text)
{
    std::string out;
    for (const char *p = text ? text : ""; *p; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '\t')
            out += "\\t";
        else if (c < 0x20 || c >= 0x7f) {
            static const char hex[] = "0123456789abcdef";
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
        } else
            out += char(c);
    }
    return out;
}

inline std::string dumpTree(const XMLNode *node)
{
    if (!node)
        return "null";
    switch (node->kind()) {
    case XMLNode::Kind::Data:
        return '"' + dumpText(static_cast<const XMLCharacterNode *>(node)->data()) + '"';
    case XMLNode::Kind::Comment:
        return '!' + dumpText(static_cast<const XMLCharacterNode *>(node)->data()) + '!';
    case XMLNode::Kind::CDATASection:
        return '[' + dumpText(static_cast<const XMLCharacterNode *>(node)->data()) + ']';
    case XMLNode::Kind::Element:
        break;
    }
    const auto *element = static_cast<const XMLElement *>(node);
    std::string out = dumpText(element->name());
    if (element->attributeCount() > 0) {
        out += '[';
        bool first = true;
        for (const XMLAttribute &attribute : element->attributes()) {
            out += first ? "" : ",";
            out += dumpText(attribute.name) + '=' +
                   (attribute.value ? dumpText(attribute.value) : std::string("~"));
            first = false;
        }
        out += ']';
    }
    if (node->firstChild()) {
        out += '(';
        for (const XMLNode *child = node->firstChild(); child; child = child->nextSibling())
            out += dumpTree(child) + (child->nextSibling() ? "," : "");
        out += ')';
    }
    return out;
}
