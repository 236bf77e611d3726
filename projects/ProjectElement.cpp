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

ProjectElement *nearest(const ProjectElement *element, ProjectElement::Kind kind)
{
    for (const ProjectElement *at = element; at; at = at->parentElement()) {
        if (at->kind() == kind)
            return const_cast<ProjectElement *>(at);
    }
    return nullptr;
}

} // namespace

ProjectElement::ProjectElement(char *name) : XMLElement(name), m_kind(kindOfTag(name)) {}

ProjectElement::~ProjectElement() = default;

void ProjectElement::setSourceControlState(const SourceControlState &state)
{
    if (m_sourceControl)
        *m_sourceControl = state;
    else
        m_sourceControl = std::make_unique<SourceControlState>(state);
}

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
    updateElementName();
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
    if (key == QLatin1String("Name") || key == QLatin1String("file_name"))
        updateElementName();
    if (!isValueAttribute(key))
        return;
    for (auto &[property, stored] : m_properties) {
        if (property == key) {
            stored = text;
            return;
        }
    }
    m_properties.emplace_back(key, text);
}

void ProjectElement::removeAttribute(const char *name)
{
    XMLElement::removeAttribute(name);
    const QString key = attributeText(name);
    if (key == QLatin1String("Name") || key == QLatin1String("file_name"))
        updateElementName();
    for (auto it = m_properties.begin(); it != m_properties.end(); ++it) {
        if (it->first == key) {
            m_properties.erase(it);
            return;
        }
    }
}

void ProjectElement::updateElementName()
{
    if (const char *name = attribute("Name")) {
        m_elementName = QString::fromUtf8(name);
    } else if (m_kind == Kind::File) {
        const QString fileName = attributeText(attribute("file_name"));
        m_elementName = fileName.mid(fileName.lastIndexOf(u'/') + 1);
    } else {
        m_elementName.clear();
    }
}

ProjectElement *ProjectElement::project() const
{
    return nearest(this, Kind::Project);
}

ProjectElement *ProjectElement::solution() const
{
    return nearest(this, Kind::Solution);
}

const QString *ProjectElement::findProperty(const QString &name) const
{
    for (const auto &[property, value] : m_properties)
        if (property == name)
            return &value;
    return nullptr;
}

ProjectElement *ProjectElement::holder(const QString &configuration) const
{
    for (const auto &[name, holder] : m_configurations)
        if (name == configuration)
            return holder;
    return nullptr;
}

void ProjectElement::setProperty(const QString &name, const QString &value)
{
    setAttribute(xmlDuplicate(name.toUtf8()), xmlDuplicate(value.toUtf8()));
}

void ProjectElement::removeProperty(const QString &name)
{
    removeAttribute(name.toUtf8().constData());
}

const QStringList *ProjectElement::declaredInheritance(const QString &configuration) const
{
    for (const auto &[name, inherited] : m_inheritedConfigurations)
        if (name == configuration)
            return &inherited;
    return nullptr;
}

const QString *ProjectElement::findValue(const QString &configuration,
                                         const QString &property) const
{
    const ProjectElement *holder = this->holder(configuration);
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
