#pragma once
#include "foundation/Macros.h"
#include <QDomDocument>
#include <QString>

// The preprocessor of documentation pages: resolves directives on a DOM tree that keeps its text.
// Tags: if, ifnot, ifdef, ifndef, switch, include (XML or text), define and define_macro,
// expand_definition. Unlike XMLPP2 the macro table is shared by reference along the walk, so a
// definition is seen by everything walked after it. Messages go to the report channels.
class XmlPP {
public:
    XmlPP();   // `macros` starts as a copy of defaultMacros()
    virtual ~XmlPP();

    // The macros that name the running build (ide, ide_version ..., host_os, build, host).
    [[nodiscard]] static const MacroTable &defaultMacros();

    // Reads a file into `document`: entity boundaries kept, white space between elements kept
    // for pages and dropped for included parts. Elements nested deeper than maxNesting are
    // refused. On failure `errorMessage` holds the reader's message (or "No error") and the
    // position, and the document is left empty.
    [[nodiscard]] bool read(QIODevice *device, QString *errorMessage, int *line, int *column,
                            bool keepSpacing = true);

    // Walks `node` and its following siblings.
    void processConditionals(QDomNode node, const QString &fileName, MacroTable &macros,
                             bool expandMacros);

    static constexpr int maxNesting = 400;       // levels walked inside each other
    static constexpr int maxIncludeFiles = 10000;

    QDomDocument document;
    MacroTable macros;

private:
    // Each handler returns the node the walk goes on with; null ends the sibling level.
    using Handler = QDomNode (XmlPP::*)(QDomElement, const QString &, MacroTable &, bool);
    struct Directive {
        const char *tag;
        Handler handler;
    };
    static const Directive directives[];

    QDomNode processNode(QDomNode node, const QString &fileName, MacroTable &macros,
                         bool expandMacros);
    QDomNode replaceByChildren(QDomElement directive, QDomNode selected,
                               const QString &fileName, MacroTable &macros, bool expandMacros);
    QDomNode ordinary(QDomElement element, const QString &fileName, MacroTable &macros,
                      bool expandMacros);
    [[nodiscard]] int matchesIf(QDomElement element, MacroTable &macros);

    QDomNode handleIf(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleIfnot(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleIfdef(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleIfndef(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleSwitch(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleInclude(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleDefine(QDomElement element, const QString &, MacroTable &, bool);
    QDomNode handleExpandDefinition(QDomElement element, const QString &, MacroTable &, bool);

    QDomNode includeText(QDomElement include, const QString &path);
    QDomNode includeXml(QDomElement include, const QString &path, MacroTable &macros,
                        bool expandMacros);

    int m_depth = 0;
    int m_includeCount = 0;
};
