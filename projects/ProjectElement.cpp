#include "projects/ProjectElement.h"
#include <cstring>
#include <iterator>

namespace {

struct KindTag {
    ProjectElement::Kind kind;
    const char *tag;
};

constexpr KindTag kindTags[] = {
    {ProjectElement::Kind::Solution, "solution"},
    {ProjectElement::Kind::Configuration, "configuration"},
    {ProjectElement::Kind::Project, "project"},
    {ProjectElement::Kind::Folder, "folder"},
    {ProjectElement::Kind::File, "file"},
};

QString attributeText(const char *text)
{
    return text ? QString::fromUtf8(text) : QStringLiteral("");
}

} // namespace

ProjectElement::ProjectElement(char *name) : XMLElement(name), m_kind(kindOfTag(name)) {}

ProjectElement::~ProjectElement() = default;

ProjectElement::Kind ProjectElement::kindOfTag(const char *tag)
{
    if (!tag)
        return Kind::Other;
    for (const KindTag &entry : kindTags)
        if (std::strcmp(entry.tag, tag) == 0)
            return entry.kind;
    return Kind::Other;
}

const char *ProjectElement::tagOfKind(Kind kind)
{
    for (const KindTag &entry : kindTags)
        if (entry.kind == kind)
            return entry.tag;
    return "";
}

void ProjectElement::setName(char *name)
{
    XMLElement::setName(name);
    m_kind = kindOfTag(name);
}

bool ProjectElement::isValueAttribute(const QString &name) const
{
    return m_kind != Kind::Configuration
        || (name != QLatin1String("Name") && name != QLatin1String("hidden"));
}

void ProjectElement::setAttribute(char *name, char *value)
{
    const QString key = attributeText(name);
    const QString text = attributeText(value);
    XMLElement::setAttribute(name, value);
    if (isValueAttribute(key))
        m_properties.insert(key, text);
}

void ProjectElement::removeAttribute(const char *name)
{
    XMLElement::removeAttribute(name);
    m_properties.remove(attributeText(name));
}

QString ProjectElement::elementName() const
{
    if (const char *name = attribute("Name"))
        return QString::fromUtf8(name);
    if (m_kind == Kind::File) {
        const QString fileName = attributeText(attribute("file_name"));
        return fileName.mid(fileName.lastIndexOf(u'/') + 1);
    }
    return {};
}

const QString *ProjectElement::findProperty(const QString &name) const
{
    const auto it = m_properties.constFind(name);
    return it == m_properties.constEnd() ? nullptr : &it.value();
}

void ProjectElement::setProperty(const QString &name, const QString &value)
{
    setAttribute(xmlDuplicate(name.toUtf8()), xmlDuplicate(value.toUtf8()));
}

void ProjectElement::removeProperty(const QString &name)
{
    removeAttribute(name.toUtf8().constData());
}

const QString *ProjectElement::findValue(const QString &configuration,
                                         const QString &property) const
{
    const ProjectElement *holder = m_configurations.value(configuration);
    if (!holder)
        return nullptr;
    if (const QString *value = holder->findProperty(property))
        return value;
    if (holder == this && m_commonChild && configuration == QLatin1String("Common"))
        return m_commonChild->findProperty(property);
    return nullptr;
}

ProjectElement *asProjectElement(XMLNode *node)
{
    return node && node->kind() == XMLNode::Kind::Element ? dynamic_cast<ProjectElement *>(node)
                                                           : nullptr;
}

const ProjectElement *asProjectElement(const XMLNode *node)
{
    return asProjectElement(const_cast<XMLNode *>(node));
}
