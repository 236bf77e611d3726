#pragma once
class XMLDocument;
class XMLStringPool;

// Parses the text of `pool` in place into `document`: sets its root, prolog strings and error.
// The nodes made keep the pool alive; the caller gives up its own reference afterwards.
[[nodiscard]] int parseXMLText(XMLDocument &document, XMLStringPool *pool);
