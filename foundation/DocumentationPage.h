#pragma once
#include "foundation/Macros.h"
#include <QDomDocument>
#include <QString>

// A documentation page turned into a plain ASCII HTML file: read and preprocessed by XmlPP,
// written with an HTML 4.01 doctype when it has none, every character above 127 as a numeric
// reference. Failures throw HException.
class DocumentationPage {
public:
    DocumentationPage();   // the table starts with today's Day, Month and Year

    // "a=1;b=2" into the page's own table; empty parts and parts without `=` are skipped.
    void addDefinitions(const QString &definitions);
    void load(const QString &path);
    void save(const QString &path) const;

    [[nodiscard]] const MacroTable &macros() const { return m_macros; }
    [[nodiscard]] const QDomDocument &document() const { return m_document; }

private:
    MacroTable m_macros;
    QDomDocument m_document;
};
