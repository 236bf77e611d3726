#include "foundation/DocumentationPage.h"
#include "foundation/HException.h"
#include "foundation/XmlPP.h"
#include <QDate>
#include <QFile>
#include <QLocale>
#include <QSaveFile>

namespace {

const char html401Doctype[] = "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\" "
                              "\"http://www.w3.org/TR/html4/strict.dtd\">\n";

// Every character above 127 as a numeric reference, the no-break space by name.
QByteArray toAscii(const QString &text)
{
    QByteArray out;
    out.reserve(text.size() + text.size() / 8);
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code == 0xA0)
            out += "&nbsp;";
        else if (code > 127)
            out += "&#" + QByteArray::number(code) + ';';
        else
            out += char(code);
    }
    return out;
}

} // namespace

DocumentationPage::DocumentationPage()
{
    const QDate today = QDate::currentDate();
    m_macros.insert(QStringLiteral("Day"), QString::number(today.day()));
    m_macros.insert(QStringLiteral("Month"), QLocale::c().monthName(today.month()));
    m_macros.insert(QStringLiteral("Year"), QString::number(today.year()));
}

void DocumentationPage::addDefinitions(const QString &definitions)
{
    for (const QString &part : definitions.split(u';', Qt::SkipEmptyParts)) {
        const qsizetype equals = part.indexOf(u'=');
        if (equals >= 0)
            m_macros.insert(part.left(equals), part.mid(equals + 1));
    }
}

void DocumentationPage::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw HException(QStringLiteral("cannot open xml file ") + path);
    XmlPP preprocessor;
    QString message;
    int line = 0;
    int column = 0;
    if (!preprocessor.read(&file, &message, &line, &column))
        throw HException(QStringLiteral("Cannot load xml file: ") + path + QStringLiteral(" - ")
                         + message
                         + QStringLiteral(" line: %1 column: %2").arg(line).arg(column));
    preprocessor.processConditionals(preprocessor.document, path, preprocessor.macros, false);
    m_document = preprocessor.document;
}

void DocumentationPage::save(const QString &path) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw HException(QStringLiteral("cannot open ") + path);
    const QDomDocumentType type = m_document.doctype();
    if (type.isNull() || type.name().isEmpty())
        file.write(html401Doctype);
    file.write(toAscii(m_document.toString(2)));
    if (!file.commit())
        throw HException(QStringLiteral("cannot write ") + path);
}
