#include "foundation/XmlPP.h"
#include "foundation/PropertyClass.h"
#include "foundation/Report.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextCodec>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>
#include <optional>

namespace {

const QString prefix = QStringLiteral("XmlPP::processConditionals(): ");

struct DefaultMacro {
    const char *name;
    const char *value;
};

// What identifies this build on a page.
constexpr DefaultMacro defaultMacroRows[] = {
    {"ide", "Tessmark"},
    {"ide_branding", "Tessmark"},
    {"ide_owner", "Tessmark"},
    {"ide_url", "https://tessmark.invalid/"},
    {"ide_product_generic_name", "IDE"},
    {"ide_major_version", "1"},
    {"ide_minor_version", "0"},
    {"platform", "linux-x64"},
    {"release", "1.0"},
    {"host_os", "linux"},
    {"build", "RELEASE"},
    {"host", "UNIX"},
};

// Builds the DOM tree from the SAX events, keeping white-space-only text and entity nodes.
class DomBuilder : public QXmlDefaultHandler {
public:
    explicit DomBuilder(QDomDocument &document) : m_document(document), m_node(document) {}

    bool startElement(const QString &, const QString &, const QString &qName,
                      const QXmlAttributes &attributes) override
    {
        // The DOM library writes and frees trees recursively: refuse what it could not.
        if (++m_depth > XmlPP::maxNesting) {
            m_refusal = QStringLiteral("elements nested deeper than %1 levels").arg(XmlPP::maxNesting);
            return false;
        }
        QDomElement element = m_document.createElement(qName);
        for (int i = 0; i < attributes.count(); ++i)
            element.setAttribute(attributes.qName(i), attributes.value(i));
        m_node = m_node.appendChild(element);
        return true;
    }
    bool endElement(const QString &, const QString &, const QString &) override
    {
        --m_depth;
        m_node = m_node.parentNode();
        return true;
    }
    bool characters(const QString &text) override
    {
        if (m_node == m_document)   // the document holds no text of its own
            return true;
        if (m_inCDATA)
            m_node.appendChild(m_document.createCDATASection(text));
        else
            m_node.appendChild(m_document.createTextNode(text));
        return true;
    }
    bool processingInstruction(const QString &target, const QString &data) override
    {
        m_node.appendChild(m_document.createProcessingInstruction(target, data));
        return true;
    }
    bool comment(const QString &text) override
    {
        m_node.appendChild(m_document.createComment(text));
        return true;
    }
    bool startCDATA() override
    {
        m_inCDATA = true;
        return true;
    }
    bool endCDATA() override
    {
        m_inCDATA = false;
        return true;
    }
    bool startDTD(const QString &name, const QString &publicId, const QString &systemId) override
    {
        // A document type can only be given when a document is made: start a new one and take
        // over whatever came before the declaration.
        const QDomDocumentType type = QDomImplementation().createDocumentType(name, publicId,
                                                                              systemId);
        QDomDocument replacement(type);
        for (QDomNode child = m_document.firstChild(); !child.isNull();
             child = child.nextSibling())
            if (!child.isDocumentType())
                replacement.appendChild(replacement.importNode(child, true));
        m_document = replacement;
        m_node = m_document;
        return true;
    }
    bool startEntity(const QString &name) override
    {
        if (m_node != m_document && !name.startsWith(u'%') && name != QLatin1String("[dtd]"))
            m_node = m_node.appendChild(m_document.createEntityReference(name));
        ++m_entityDepth;
        return true;
    }
    bool endEntity(const QString &name) override
    {
        if (m_entityDepth > 0 && m_node.isEntityReference() && m_node.nodeName() == name)
            m_node = m_node.parentNode();
        --m_entityDepth;
        return true;
    }
    QString errorString() const override
    {
        return m_refusal.isEmpty() ? QXmlDefaultHandler::errorString() : m_refusal;
    }
    bool fatalError(const QXmlParseException &exception) override
    {
        m_message = exception.message();
        m_line = exception.lineNumber();
        m_column = exception.columnNumber();
        return false;
    }

    QString m_message;
    int m_line = 0;
    int m_column = 0;

private:
    QDomDocument &m_document;
    QDomNode m_node;
    bool m_inCDATA = false;
    int m_entityDepth = 0;
    int m_depth = 0;
    QString m_refusal;
};

QString expand(const MacroTable &macros, const QString &text)
{
    return expandMacros(PropertyClassList::global(), macros, text, false, false);
}

void expandAllAttributes(QDomElement element, const MacroTable &macros)
{
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i) {
        QDomAttr attribute = attributes.item(i).toAttr();
        attribute.setValue(expand(macros, attribute.value()));
    }
}

// The macros of the `macros` attribute laid over the table, as xmlput and include use them.
std::optional<MacroTable> mergedTable(const QDomElement &element, const MacroTable &macros,
                                      bool expandMacros)
{
    if (!(expandMacros || element.hasAttribute(QStringLiteral("expand_macros")))
        || !element.hasAttribute(QStringLiteral("macros")))
        return std::nullopt;
    const QString definitions = element.attribute(QStringLiteral("macros")).remove(u'\n');
    return mergeMacros(macros, parseMacroDefinitions(definitions));
}

QString pathOf(const QDomElement &include, const QString &fileName)
{
    QString path = include.attribute(QStringLiteral("filename"));
    if (include.hasAttribute(QStringLiteral("expand_macros")))
        path = expandMacros(PropertyClassList::global(), MacroTable(), path, false, true);
    if (QDir::isRelativePath(path))
        path = QFileInfo(fileName).path() + u'/' + path;
    return path;
}

} // namespace

const XmlPP::Directive XmlPP::directives[] = {
    {"if", &XmlPP::handleIf},
    {"ifnot", &XmlPP::handleIfnot},
    {"ifdef", &XmlPP::handleIfdef},
    {"ifndef", &XmlPP::handleIfndef},
    {"switch", &XmlPP::handleSwitch},
    {"include", &XmlPP::handleInclude},
    {"define", &XmlPP::handleDefine},
    {"define_macro", &XmlPP::handleDefine},
    {"expand_definition", &XmlPP::handleExpandDefinition},
};

XmlPP::XmlPP() : macros(defaultMacros()) {}

XmlPP::~XmlPP() = default;

const MacroTable &XmlPP::defaultMacros()
{
    static const MacroTable table = [] {
        MacroTable rows;
        for (const DefaultMacro &row : defaultMacroRows)
            rows.insert(QLatin1String(row.name), QLatin1String(row.value));
        return rows;
    }();
    return table;
}

bool XmlPP::read(QIODevice *device, QString *errorMessage, int *line, int *column,
                 bool keepSpacing)
{
    QXmlInputSource source(device);
    QXmlSimpleReader reader;
    reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
    reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
    reader.setFeature(
        QStringLiteral("http://trolltech.com/xml/features/report-whitespace-only-CharData"),
        keepSpacing);
    reader.setFeature(QStringLiteral("http://qt-project.org/xml/features/report-start-end-entity"),
                      true);
    document = QDomDocument(QDomDocumentType());   // not null: the builder holds a handle to it
    DomBuilder builder(document);
    reader.setContentHandler(&builder);
    reader.setLexicalHandler(&builder);
    reader.setErrorHandler(&builder);
    reader.setDTDHandler(&builder);
    if (reader.parse(&source, false))
        return true;
    document = QDomDocument();
    if (errorMessage)
        *errorMessage = builder.m_message.isEmpty() ? QStringLiteral("No error")
                                                    : builder.m_message;
    if (line)
        *line = builder.m_line;
    if (column)
        *column = builder.m_column;
    return false;
}

void XmlPP::processConditionals(QDomNode node, const QString &fileName, MacroTable &macros,
                                bool expandMacros)
{
    if (node.isNull())
        return;
    if (m_depth >= maxNesting) {
        report(ReportChannel::Error,
               prefix + QStringLiteral("<%1> in %2 is nested deeper than %3 levels")
                            .arg(node.parentNode().nodeName(), fileName)
                            .arg(maxNesting));
        return;
    }
    ++m_depth;
    while (!node.isNull())
        node = processNode(node, fileName, macros, expandMacros);
    --m_depth;
}

QDomNode XmlPP::processNode(QDomNode node, const QString &fileName, MacroTable &macros,
                            bool expandMacros)
{
    QDomElement element = node.toElement();
    if (element.isNull()) {   // the document and other non-elements: only their children
        processConditionals(node.firstChild(), fileName, macros, expandMacros);
        return node.nextSibling();
    }
    if (expandMacros)
        expandAllAttributes(element, macros);
    const QString expandList = QStringLiteral("expand_attributes");
    if (element.hasAttribute(expandList)) {
        const QStringList names = element.attribute(expandList).split(u',');
        element.removeAttribute(expandList);
        for (const QString &name : names)
            if (element.hasAttribute(name))
                element.setAttribute(name, expand(macros, element.attribute(name)));
    }
    const QString tag = element.tagName();
    for (const Directive &directive : directives)
        if (tag == QLatin1String(directive.tag))
            return (this->*directive.handler)(element, fileName, macros, expandMacros);
    return ordinary(element, fileName, macros, expandMacros);
}

QDomNode XmlPP::ordinary(QDomElement element, const QString &fileName, MacroTable &macros,
                         bool expandMacros)
{
    processConditionals(element.firstChild(), fileName, macros, expandMacros);
    return element.nextSibling();
}

namespace {

// Moves the children of `selected` one by one behind `node` and removes `node`.
QDomNode moveChildrenBehind(QDomNode node, QDomNode selected)
{
    QDomNode parent = node.parentNode();
    const QDomNode next = node.nextSibling();
    QDomNode after = node;
    while (!selected.firstChild().isNull()) {
        const QDomNode child = selected.firstChild();
        parent.insertAfter(child, after);
        after = child;
    }
    parent.removeChild(node);
    return next;
}

} // namespace

// Walks the children of `selected`, moves them one by one behind `directive` and removes it.
QDomNode XmlPP::replaceByChildren(QDomElement directive, QDomNode selected,
                                  const QString &fileName, MacroTable &macros,
                                  bool expandMacros)
{
    processConditionals(selected.firstChild(), fileName, macros, expandMacros);
    return moveChildrenBehind(directive, selected);
}

int XmlPP::matchesIf(QDomElement element, MacroTable &macros)
{
    const QDomNamedNodeMap attributes = element.attributes();
    if (attributes.count() != 1) {
        report(ReportChannel::Warning, prefix + QStringLiteral("one condition required for <if[not]>"));
        return -1;
    }
    const QDomAttr attribute = attributes.item(0).toAttr();
    const QString value = macros[attribute.name()];
    return attribute.value().split(u',', Qt::SkipEmptyParts).contains(value) ? 1 : 0;
}

QDomNode XmlPP::handleIf(QDomElement element, const QString &fileName, MacroTable &macros,
                         bool expandMacros)
{
    const int match = matchesIf(element, macros);
    if (match < 0)
        return ordinary(element, fileName, macros, expandMacros);
    if (match == 0) {
        const QDomNode next = element.nextSibling();
        element.parentNode().removeChild(element);
        return next;
    }
    return replaceByChildren(element, element, fileName, macros, expandMacros);
}

QDomNode XmlPP::handleIfnot(QDomElement element, const QString &fileName, MacroTable &macros,
                            bool expandMacros)
{
    const int match = matchesIf(element, macros);
    if (match < 0)
        return ordinary(element, fileName, macros, expandMacros);
    if (match == 1) {
        const QDomNode next = element.nextSibling();
        element.parentNode().removeChild(element);
        return next;
    }
    return replaceByChildren(element, element, fileName, macros, expandMacros);
}

QDomNode XmlPP::handleIfdef(QDomElement element, const QString &fileName, MacroTable &macros,
                            bool expandMacros)
{
    if (macros.contains(element.attribute(QStringLiteral("name"))))
        return replaceByChildren(element, element, fileName, macros, expandMacros);
    const QDomNode next = element.nextSibling();
    element.parentNode().removeChild(element);
    return next;
}

QDomNode XmlPP::handleIfndef(QDomElement element, const QString &fileName, MacroTable &macros,
                             bool expandMacros)
{
    if (!macros.contains(element.attribute(QStringLiteral("name"))))
        return replaceByChildren(element, element, fileName, macros, expandMacros);
    const QDomNode next = element.nextSibling();
    element.parentNode().removeChild(element);
    return next;
}

QDomNode XmlPP::handleSwitch(QDomElement element, const QString &fileName, MacroTable &macros,
                             bool expandMacros)
{
    const QString value = macros[element.attribute(QStringLiteral("name"))];
    QDomElement selected;
    QDomElement fallback;
    for (QDomElement child = element.firstChildElement(); !child.isNull() && selected.isNull();
         child = child.nextSiblingElement()) {
        if (child.tagName() == QLatin1String("case")) {
            if (child.attribute(QStringLiteral("value")).split(u',', Qt::SkipEmptyParts).contains(value))
                selected = child;
        } else if (child.tagName() == QLatin1String("default")) {
            fallback = child;
        }
    }
    if (selected.isNull())
        selected = fallback;
    if (!selected.isNull())
        return replaceByChildren(element, selected, fileName, macros, expandMacros);
    const QDomNode next = element.nextSibling();
    element.parentNode().removeChild(element);
    return next;
}

QDomNode XmlPP::handleDefine(QDomElement element, const QString &, MacroTable &macros, bool)
{
    const QString name = QStringLiteral("name");
    const QString value = QStringLiteral("value");
    if (element.hasAttribute(name) && element.hasAttribute(value))
        macros.insert(element.attribute(name), element.attribute(value));
    else
        report(ReportChannel::Warning,
               prefix + QStringLiteral("missing name and/or value in <define_macro>"));
    const QDomNode next = element.nextSibling();
    element.parentNode().removeChild(element);
    return next;
}

QDomNode XmlPP::handleExpandDefinition(QDomElement element, const QString &, MacroTable &macros,
                                       bool)
{
    const QString name = element.attribute(QStringLiteral("name"));
    QString value = macros.contains(name)
                        ? macros.value(name)
                        : computedMacroValue(name, QDateTime::currentDateTime()).value_or(QString());
    if (value.isEmpty())
        value = element.attribute(QStringLiteral("default"));
    if (value.isEmpty()) {
        // The removed node has no sibling left, so the walk of this level ends here.
        element.parentNode().removeChild(element);
        return element.nextSibling();
    }
    if (element.hasAttribute(QStringLiteral("lowercase")))
        value = value.toLower();
    if (element.hasAttribute(QStringLiteral("underscore_spaces")))
        value.replace(u' ', u'_');
    const QDomText text = document.createTextNode(value);
    element.parentNode().replaceChild(text, element);
    return text.nextSibling();
}

QDomNode XmlPP::handleInclude(QDomElement element, const QString &fileName, MacroTable &macros,
                              bool expandMacros)
{
    if (!element.hasAttribute(QStringLiteral("filename"))) {
        report(ReportChannel::Error, prefix + QStringLiteral("missing filename in <include>"));
        return ordinary(element, fileName, macros, expandMacros);
    }
    const QString path = pathOf(element, fileName);
    if (++m_includeCount > maxIncludeFiles) {
        report(ReportChannel::Error,
               prefix + QStringLiteral("more than %1 include files read, %2 refused")
                            .arg(maxIncludeFiles)
                            .arg(path));
        return element.nextSibling();
    }
    if (element.attribute(QStringLiteral("type")) == QLatin1String("text"))
        return includeText(element, path);
    return includeXml(element, path, macros, expandMacros);
}

QDomNode XmlPP::includeText(QDomElement include, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        report(ReportChannel::Error,
               QStringLiteral("XmlPP::processConditionals could not open include file %1").arg(path));
        return include.nextSibling();
    }
    const QByteArray bytes = file.readAll();
    const QString tag = include.attribute(QStringLiteral("tag"), QStringLiteral("pre"));
    QDomElement element = document.createElement(tag.isEmpty() ? QStringLiteral("pre") : tag);
    for (const QString &name : {QStringLiteral("class"), QStringLiteral("id"), QStringLiteral("style")})
        if (!include.attribute(name).isEmpty())
            element.setAttribute(name, include.attribute(name));
    const QString encoding = include.attribute(QStringLiteral("encoding"));
    QTextCodec *codec = encoding.isEmpty() ? nullptr : QTextCodec::codecForName(encoding.toLatin1());
    const QString text = codec ? codec->toUnicode(bytes)
                               : QString::fromLocal8Bit(bytes.constData(), qstrnlen(bytes.constData(), bytes.size()));
    element.appendChild(document.createTextNode(text));
    include.parentNode().replaceChild(element, include);
    return element.nextSibling();
}

QDomNode XmlPP::includeXml(QDomElement include, const QString &path, MacroTable &macros,
                           bool expandMacros)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        report(ReportChannel::Error,
               QStringLiteral("XmlPP::processConditionals could not open include file %1").arg(path));
        return include.nextSibling();
    }
    // Read as a plain document (white space between elements dropped), nesting bounded.
    XmlPP part;
    QString message;
    int line = 0;
    int column = 0;
    if (!part.read(&file, &message, &line, &column, false)) {
        report(ReportChannel::Error, QStringLiteral("XmlPP: error reading XML - %1 on line %2 column %3")
                                         .arg(message)
                                         .arg(line)
                                         .arg(column));
        return include.nextSibling();
    }
    QDomNode root = document.importNode(part.document.documentElement(), true);
    const QDomNode next = include.nextSibling();
    QDomNode parent = include.parentNode();
    parent.replaceChild(root, include);
    if (const std::optional<MacroTable> merged = mergedTable(include, macros, expandMacros)) {
        MacroTable table = *merged;
        expandAllAttributes(include, table);
        processConditionals(root.firstChild(), path, table, true);
    } else {
        if (expandMacros)
            expandAllAttributes(include, macros);
        processConditionals(root.firstChild(), path, macros, expandMacros);
    }
    if (include.hasAttribute(QStringLiteral("no_root")))
        moveChildrenBehind(root, root);
    return next;
}
