#include "projects/ProjectTemplateWalk.h"
#include "foundation/HException.h"
#include "foundation/PropertyClass.h"
#include "projects/PropertyValueGroupClass.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFileInfo>
#include <cstring>
#include <iterator>

namespace {

const QString common = QStringLiteral("Common");

enum class TemplateTag {
    Folder,
    File,
    Property,
    SolutionProperty,
    PropertyGroup,
    Configuration,
    Import,
    Choose,
    Other,   // skipped, and the walk goes on with the next sibling
};

constexpr std::pair<const char *, TemplateTag> templateTags[] = {
    {"folder", TemplateTag::Folder},
    {"file", TemplateTag::File},
    {"property", TemplateTag::Property},
    {"solutionproperty", TemplateTag::SolutionProperty},
    {"propertygroup", TemplateTag::PropertyGroup},
    {"configuration", TemplateTag::Configuration},
    {"import", TemplateTag::Import},
    {"choose", TemplateTag::Choose},
};

TemplateTag tagOf(const XMLElement *element)
{
    for (const auto &[tag, kind] : templateTags) {
        if (std::strcmp(tag, element->name()) == 0)
            return kind;
    }
    return TemplateTag::Other;
}

QString text(const XMLElement *element, const char *name)
{
    const char *value = element->attribute(name);
    return value ? QString::fromUtf8(value) : QString();
}

bool has(const XMLElement *element, const char *name)
{
    const char *value = element->attribute(name);
    return value && *value;
}

// The child elements of a template element, in order.
std::vector<const XMLElement *> childElements(const XMLElement *parent)
{
    std::vector<const XMLElement *> children;
    for (const XMLNode *node = parent->firstChild(); node; node = node->nextSibling()) {
        if (node->kind() == XMLNode::Kind::Element)
            children.push_back(static_cast<const XMLElement *>(node));
    }
    return children;
}

// The value a `choice` stands for.
QString choiceValue(const XMLElement *choice)
{
    return has(choice, "value") ? text(choice, "value") : text(choice, "name");
}

bool isChoice(const XMLElement *element)
{
    return std::strcmp(element->name(), "choice") == 0;
}

bool yes(const QString &value)
{
    return value.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0;
}

} // namespace

ProjectTemplateWalk::ProjectTemplateWalk(StandardProjectSystem &system,
                                         const ProjectTemplateNode &node, ProjectElement *project)
    : m_system(system), m_node(node), m_project(project),
      m_projectDirectory(project ? QDir::cleanPath(system.macroTable(project, common)
                                                       .value(QStringLiteral("ProjectDir")))
                                 : QString())
{
    m_templateMacros.insert(QStringLiteral("TemplateDir"),
                            QFileInfo(node.file->path()).absolutePath());
    collect(node.element, 0);
}

// ---- The first walk

void ProjectTemplateWalk::collect(const XMLElement *parent, int depth)
{
    if (depth > maxNesting)
        throw HException(where(parent)
                         + QStringLiteral(": template elements nested deeper than %1").arg(maxNesting));
    for (const XMLElement *element : childElements(parent)) {
        const QString name = text(element, "name");
        switch (tagOf(element)) {
        case TemplateTag::Folder:
            if (element->attribute("choose"))
                addChoice(element, name, {QStringLiteral("Yes"), QStringLiteral("No")},
                          has(element, "value") ? text(element, "value") : QStringLiteral("Yes"));
            collect(element, depth + 1);
            break;
        case TemplateTag::File:
            if (text(element, "action") == QLatin1String("open"))
                m_filesToOpen.push_back(
                    {element, yes(text(element, "expand")) ? expanded(name, common) : name});
            collect(element, depth + 1);
            break;
        case TemplateTag::Property:
        case TemplateTag::SolutionProperty:
        case TemplateTag::PropertyGroup:
            if (element->attribute("choose"))
                addChoice(element, name, alternativesOf(element), text(element, "value"));
            break;
        case TemplateTag::Choose: {
            const QStringList alternatives = alternativesOf(element);
            addChoice(element, name, alternatives,
                      has(element, "default") ? text(element, "default")
                                              : alternatives.value(0));
            for (const XMLElement *choice : childElements(element)) {
                if (isChoice(choice))
                    collect(choice, depth + 1);
            }
            break;
        }
        default:
            break;
        }
    }
}

void ProjectTemplateWalk::addChoice(const XMLElement *element, const QString &name,
                                    QStringList alternatives, const QString &defaultValue)
{
    QString title = text(element, "choose");
    if (title.isEmpty() || yes(title))
        title = text(element, "title");
    QString key = name.isEmpty() ? title : name;
    if (key.isEmpty())
        key = QStringLiteral("choice %1").arg(m_choices.size() + 1);
    if (m_choiceIndex.contains(key))
        return;   // elements asking under one name share the answer
    m_choiceIndex.insert(key, m_choices.size());
    m_choices.push_back({key, title.isEmpty() ? key : title, std::move(alternatives),
                         defaultValue, defaultValue});
}

QStringList ProjectTemplateWalk::alternativesOf(const XMLElement *element) const
{
    QStringList values;
    for (const XMLElement *child : childElements(element)) {
        if (isChoice(child))
            values.append(choiceValue(child));
    }
    if (!values.isEmpty() || tagOf(element) == TemplateTag::Choose)
        return values;
    const PropertyClass *row = m_system.findClass(text(element, "name"));
    if (const auto *group = dynamic_cast<const PropertyValueGroupClass *>(row)) {
        for (const PropertyValueGroupClass::Member &member : group->members())
            values.append(member.name);
    } else if (row) {
        values = row->choiceValues.isEmpty() ? row->choices : row->choiceValues;
    }
    return values;
}

void ProjectTemplateWalk::choose(const QString &name, const QString &value)
{
    const auto it = m_choiceIndex.constFind(name);
    if (it == m_choiceIndex.cend()) {
        QStringList names;
        for (const ProjectTemplateChoice &choice : m_choices)
            names.append(choice.name);
        throw HException(names.isEmpty()
                             ? QStringLiteral("unknown choice '%1': template '%2' has no choices")
                                   .arg(name, m_node.name())
                             : QStringLiteral("unknown choice '%1'; the choices are: %2")
                                   .arg(name, names.join(QStringLiteral(", "))));
    }
    ProjectTemplateChoice &choice = m_choices[it.value()];
    if (!choice.alternatives.isEmpty() && !choice.alternatives.contains(value))
        throw HException(QStringLiteral("'%1' is not a value of choice '%2'; give one of: %3")
                             .arg(value, name, choice.alternatives.join(QStringLiteral(", "))));
    choice.value = value;
}

QString ProjectTemplateWalk::valueOf(const XMLElement *element, const QString &name,
                                     const QString &fallback) const
{
    if (!element->attribute("choose") && tagOf(element) != TemplateTag::Choose)
        return fallback;
    QString key = name;
    if (key.isEmpty()) {
        // Unnamed choices are known by their title; look the element's choice up by it.
        const QString title = text(element, "choose");
        key = title.isEmpty() || yes(title) ? text(element, "title") : title;
    }
    const auto it = m_choiceIndex.constFind(key);
    return it == m_choiceIndex.cend() ? fallback : m_choices[it.value()].value;
}

// ---- The second walk

void ProjectTemplateWalk::apply()
{
    if (!m_project)
        throw HException(QStringLiteral("template '%1' has no project to make").arg(m_node.name()));
    applyChildren(m_node.element, m_project, 0);
    m_system.wireTree(m_system.solution());
}

QStringList ProjectTemplateWalk::openedFiles() const
{
    QStringList paths;
    for (const ProjectTemplateFileToOpen &entry : m_filesToOpen) {
        const auto it = m_madeFiles.constFind(entry.element);
        if (it != m_madeFiles.cend())
            paths.append(it.value());
    }
    return paths;
}

void ProjectTemplateWalk::applyChildren(const XMLElement *parent, ProjectElement *current,
                                        int depth)
{
    for (const XMLElement *element : childElements(parent)) {
        switch (tagOf(element)) {
        case TemplateTag::Folder:
            applyFolder(element, current, depth);
            break;
        case TemplateTag::File:
            applyFile(element, current, depth);
            break;
        case TemplateTag::Property:
            applyProperty(element, current, false);
            break;
        case TemplateTag::SolutionProperty:
            applyProperty(element, m_system.solution(), false);
            break;
        case TemplateTag::PropertyGroup:
            applyProperty(element, current, true);
            break;
        case TemplateTag::Configuration:
            applyConfiguration(element);
            break;
        case TemplateTag::Import:
            applyImport(element, current);
            break;
        case TemplateTag::Choose:
            applyChoose(element, current, depth);
            break;
        case TemplateTag::Other:
            break;
        }
    }
}

void ProjectTemplateWalk::applyFolder(const XMLElement *element, ProjectElement *current,
                                      int depth)
{
    const QString name = text(element, "name");
    if (valueOf(element, name, QStringLiteral("Yes")).compare(QLatin1String("No"),
                                                              Qt::CaseInsensitive) == 0)
        return;
    ProjectElement *folder = makeNode("folder", current);
    folder->setProperty(QStringLiteral("Name"),
                        text(element, "expand") == QLatin1String("no") ? name
                                                                       : expanded(name, common));
    const bool dynamic = has(element, "path");
    for (const char *attribute : {"path", "filter", "recurse", "exclude"}) {
        if (has(element, attribute) && (dynamic || std::strcmp(attribute, "filter") == 0))
            folder->setProperty(QLatin1String(attribute), text(element, attribute));
    }
    if (dynamic)
        m_dynamicFolders.push_back(folder);
    applyChildren(element, folder, depth + 1);
}

void ProjectTemplateWalk::applyFile(const XMLElement *element, ProjectElement *current, int depth)
{
    // with_source "No" leaves out the files that come with a source: the user wants the
    // project's frame without the template's example code.
    const bool hasSource = has(element, "source");
    if (hasSource && qstricmp(m_project->attribute("with_source"), "No") == 0)
        return;
    const QString name = text(element, "name");
    const QString fileName = checkedFileName(
        element, text(element, "expand") == QLatin1String("no") ? name : expanded(name, common));
    ProjectElement *file = makeNode("file", current);
    file->setProperty(QStringLiteral("file_name"), fileName);
    const QString destination = m_projectDirectory + u'/' + fileName;
    m_madeFiles.insert(element, destination);
    if (hasSource) {
        const QString source = expanded(text(element, "source"), common);
        m_copies.push_back({QFileInfo(m_node.file->path()).dir().absoluteFilePath(source),
                            destination});
    }
    applyChildren(element, file, depth + 1);
}

void ProjectTemplateWalk::applyProperty(const XMLElement *element, ProjectElement *target,
                                        bool group)
{
    const QString name = text(element, "name");
    if (name.isEmpty())
        return;
    const QString configuration =
        has(element, "configuration") ? text(element, "configuration") : common;
    QString value = valueOf(element, name, text(element, "value"));
    if (!group && yes(text(element, "expand")))
        value = expanded(value, configuration);
    setValue(target, name, configuration, value);
}

void ProjectTemplateWalk::applyConfiguration(const XMLElement *element)
{
    static const QString each = QStringLiteral("$(Configuration)");
    const QString name = text(element, "name");
    const QString inherited = text(element, "inherited_configurations");
    const bool perConfiguration = name.contains(each) || inherited.contains(each);
    const QStringList rounds = perConfiguration ? m_system.publicConfigurations() : QStringList{{}};
    const bool hidden = text(element, "hidden") == QLatin1String("Yes");
    for (const QString &configuration : rounds) {
        const QString made = QString(name).replace(each, configuration);
        if (made.isEmpty() || made == common || m_system.publicConfigurations().contains(made)
            || m_system.privateConfigurations().contains(made))
            continue;
        if (hidden)
            m_system.setPrivateConfigurations(m_system.privateConfigurations() << made);
        else
            m_system.setPublicConfigurations(m_system.publicConfigurations() << made);
        m_system.wireTree(m_system.solution());
        if (!inherited.isEmpty())
            setValue(m_system.solution(), QStringLiteral("inherited_configurations"), made,
                     QString(inherited).replace(each, configuration));
    }
}

void ProjectTemplateWalk::applyImport(const XMLElement *element, ProjectElement *current)
{
    auto *import = new ProjectElement(xmlDuplicate("import"));
    for (const XMLAttribute &attribute : element->attributes())
        import->setAttribute(xmlDuplicate(attribute.name), xmlDuplicate(attribute.value));
    current->appendChild(import);
}

void ProjectTemplateWalk::applyChoose(const XMLElement *element, ProjectElement *current, int depth)
{
    const QString chosen = valueOf(element, text(element, "name"), QString());
    for (const XMLElement *choice : childElements(element)) {
        if (isChoice(choice) && choiceValue(choice) == chosen) {
            applyChildren(choice, current, depth + 1);
            return;
        }
    }
}

ProjectElement *ProjectTemplateWalk::makeNode(const char *tag, ProjectElement *parent)
{
    auto *node = new ProjectElement(xmlDuplicate(tag));
    parent->appendChild(node);
    node->setFilePath(parent->filePath());
    node->setProperty(QStringLiteral("template_name"), m_node.name());
    return node;
}

// Elements the system has wired (the solution and the new project) take the value as a user's
// edit would, with everything a row does on a change; the new folders and files are not wired
// until the walk ends, so their holders are written directly.
void ProjectTemplateWalk::setValue(ProjectElement *element, const QString &name,
                                   const QString &configuration, const QString &value)
{
    PropertyClass *row = m_system.findClass(name);
    if (row && (element == m_project || element == m_system.solution())) {
        m_system.propertyValue(element, row, configuration)->setValue(value);
        return;
    }
    ProjectElement *holder = element;
    if (configuration != common) {
        holder = nullptr;
        for (XMLNode *node = element->firstChild(); node && !holder; node = node->nextSibling()) {
            ProjectElement *child = asProjectElement(node);
            if (child && child->kind() == ProjectElement::Kind::Configuration
                && QString::fromUtf8(child->attribute("Name")) == configuration)
                holder = child;
        }
        if (!holder) {
            holder = new ProjectElement(xmlDuplicate("configuration"));
            holder->setProperty(QStringLiteral("Name"), configuration);
            element->appendChild(holder);
        }
    }
    holder->setProperty(name, value);
    if (const auto *group = dynamic_cast<const PropertyValueGroupClass *>(row)) {
        if (const PropertyValueGroupClass::Member *member = group->member(value)) {
            for (const auto &[setting, settingValue] : member->settings)
                holder->setProperty(setting, settingValue);
        }
    }
}

QString ProjectTemplateWalk::expanded(const QString &text, const QString &configuration) const
{
    if (!text.contains(u'$'))
        return text;
    return m_project ? m_system.expand(m_project, configuration, text, m_templateMacros)
                     : expandMacros(PropertyClassList::global(), m_templateMacros, text, true, true);
}

QString ProjectTemplateWalk::checkedFileName(const XMLElement *element, const QString &name) const
{
    if (name.isEmpty())
        throw HException(where(element) + QStringLiteral(": a file without a name"));
    const QString clean = QDir::cleanPath(name);
    if (QDir::isAbsolutePath(clean) || clean == QLatin1String("..")
        || clean.startsWith(QLatin1String("../")))
        throw HException(where(element)
                         + QStringLiteral(": file name '%1' leaves the project directory").arg(name));
    return clean;
}

QString ProjectTemplateWalk::where(const XMLElement *element) const
{
    return QStringLiteral("%1:%2").arg(m_node.file->path()).arg(element->line() + 1);
}
