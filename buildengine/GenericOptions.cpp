#include "buildengine/GenericOptions.h"
#include "buildengine/CommandLine.h"
#include "projects/GenericPropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include "foundation/QXMLDocument.h"
#include <QDir>
#include <QFile>
#include <cstring>

namespace {

constexpr qint64 fileLimit = qint64(16) * 1024 * 1024;

struct TypeWord {
    const char *word;
    int type;
};

constexpr TypeWord typeWords[] = {
    {"boolean", PropertyClass::Boolean},   {"bool", PropertyClass::Boolean},
    {"text", PropertyClass::Text},         {"string", PropertyClass::Text},
    {"list", PropertyClass::List},         {"directory", PropertyClass::Directory},
    {"enumeration", PropertyClass::Enumeration}, {"enum", PropertyClass::Enumeration},
};

[[nodiscard]] int typeOf(const QString &text)
{
    bool numeric = false;
    const int number = text.toInt(&numeric);
    if (numeric)
        return number;
    for (const TypeWord &word : typeWords) {
        if (text.compare(QLatin1String(word.word), Qt::CaseInsensitive) == 0)
            return word.type;
    }
    return PropertyClass::Text;
}

// The attribute's text, or `fallback` when the element has none.
QString attributeOf(const XMLElement *element, const char *name, const QString &fallback = {})
{
    const char *text = element->attribute(name);
    return text ? QString::fromUtf8(text) : fallback;
}

// `node` if it is an element of that name, else null.
const XMLElement *elementNamed(const XMLNode *node, const char *name)
{
    if (!node || node->kind() != XMLNode::Kind::Element)
        return nullptr;
    const auto *element = static_cast<const XMLElement *>(node);
    return std::strcmp(element->name(), name) == 0 ? element : nullptr;
}

// The five properties whose values a change of tool chain may want back.
constexpr std::array<std::pair<ProjectProperty, ProjectProperty>, 5> backups = {{
    {ProjectProperty::AsmAdditionalOptions, ProjectProperty::AsmAdditionalOptionsBackup},
    {ProjectProperty::CAdditionalOptions, ProjectProperty::CAdditionalOptionsBackup},
    {ProjectProperty::COnlyAdditionalOptions, ProjectProperty::COnlyAdditionalOptionsBackup},
    {ProjectProperty::CppOnlyAdditionalOptions, ProjectProperty::CppOnlyAdditionalOptionsBackup},
    {ProjectProperty::LinkerAdditionalOptions, ProjectProperty::LinkAdditionalOptionsBackup},
}};

void copyOwnValue(StandardProjectSystem &system, ProjectElement *project, ProjectProperty from,
                  ProjectProperty to)
{
    const QString common = QStringLiteral("Common");
    const PropertyClass *source = system.propertyClass(from);
    const PropertyClass *target = system.propertyClass(to);
    const QString *value = project->findValue(common, source->name);
    const QString *current = project->findValue(common, target->name);
    if (value && (!current || *current != *value))
        system.storeValue(project, target, common, *value);
}

} // namespace

GenericOptions::GenericOptions(StandardProjectSystem &system)
    : m_system(system), m_rows(std::make_unique<PropertyClassList>())
{
}

GenericOptions::~GenericOptions() = default;

void GenericOptions::clear()
{
    for (auto &list : m_byTool)
        list.clear();
    m_rows = std::make_unique<PropertyClassList>();
    m_loadedFile.clear();
}

bool GenericOptions::load(ProjectElement *element, const QString &configuration, QString *error)
{
    const PropertyClass *row = m_system.propertyClass(ProjectProperty::BuildGenericOptionsFileName);
    QString name = m_system.expandedProperty(element, row, configuration);
    if (!name.isEmpty() && QDir::isRelativePath(name)) {
        const QString directory = m_system.macroTable(element, configuration)
                                      .value(QStringLiteral("ProjectDir"));
        name = QDir(directory).absoluteFilePath(name);
    }
    if (name == m_loadedFile)
        return true;
    if (name.isEmpty()) {
        clear();
        return true;
    }
    if (!loadFile(name, error))
        return false;
    if (ProjectElement *project = element->project())
        backUpAdditionalOptions(m_system, project);
    return true;
}

bool GenericOptions::loadFile(const QString &path, QString *error)
{
    clear();
    QFile file(path);
    QXMLDocument document;
    if (!file.open(QIODevice::ReadOnly) || file.size() > fileLimit) {
        if (error)
            *error = QStringLiteral("Cannot open file: %1").arg(path);
        return false;
    }
    const QByteArray bytes = file.read(fileLimit);
    if (!document.parseBuffer(bytes.constData(), bytes.size()) || !document.root()) {
        if (error)
            *error = QStringLiteral("%1:%2: %3")
                         .arg(path)
                         .arg(document.errorLine())
                         .arg(QString::fromUtf8(document.errorText()));
        return false;
    }
    std::vector<XMLElement *> properties;
    findElements(document.root()->firstChild(), "property", true, properties);
    for (const XMLElement *property : properties) {
        if (auto row = readRow(property))
            keep(std::move(row));
    }
    m_loadedFile = path;
    return true;
}

std::unique_ptr<GenericPropertyClass> GenericOptions::readRow(const XMLElement *property)
{
    const QString tools = attributeOf(property, "tool");
    const QString name = attributeOf(property, "name");
    if (tools.isEmpty() || name.isEmpty())
        return nullptr;
    auto row = std::make_unique<GenericPropertyClass>(
        name, attributeOf(property, "title", name), typeOf(attributeOf(property, "type")),
        attributeOf(property, "default"), attributeOf(property, "description"));
    row->tools = tools.split(u';', Qt::SkipEmptyParts);
    row->optionPrefix = attributeOf(property, "prefix");
    row->condition = attributeOf(property, "condition");
    if (const XMLElement *group = elementNamed(property->parent(), "group"))
        row->group = attributeOf(group, "name");
    for (const XMLNode *node = property->firstChild(); node; node = node->nextSibling()) {
        const XMLElement *choice = elementNamed(node, "choice");
        if (!choice)
            continue;
        const QString value = attributeOf(choice, "value");
        row->choices.append(attributeOf(choice, "title", value));
        row->choiceValues.append(value);
        row->choiceOptions.append(attributeOf(choice, "option"));
    }
    return row;
}

void GenericOptions::keep(std::unique_ptr<GenericPropertyClass> row)
{
    const auto *kept = static_cast<const GenericPropertyClass *>(m_rows->append(std::move(row)));
    for (size_t tool = 0; tool < genericToolWords.size(); ++tool) {
        if (kept->tools.contains(QLatin1String(genericToolWords[tool])))
            m_byTool[tool].push_back(kept);
    }
}

const PropertyClass *GenericOptions::findClass(const QString &name) const
{
    return m_rows->findClass(name);
}

void GenericOptions::addOptions(std::initializer_list<GenericTool> tools,
                                const ProjectElement *element, const QString &configuration,
                                QStringList &arguments, const QString &condition) const
{
    for (const GenericTool tool : tools) {
        for (const GenericPropertyClass *row : rows(tool)) {
            if (!row->condition.isEmpty() && row->condition != condition)
                continue;
            const QString value = m_system.resolveProperty(element, row, configuration);
            if (row->type == PropertyClass::Enumeration) {
                arguments += row->optionOfChoice(value).split(u';', Qt::SkipEmptyParts);
                continue;
            }
            if (row->optionPrefix.isEmpty() || value.isEmpty())
                continue;
            const QStringList parts = splitOptions(m_system.expand(element, configuration, value));
            for (const QString &part : parts)
                arguments.append(u'-' + row->optionPrefix + part);
        }
    }
}

void GenericOptions::backUpAdditionalOptions(StandardProjectSystem &system, ProjectElement *project)
{
    for (const auto &[property, backup] : backups)
        copyOwnValue(system, project, property, backup);
}

void GenericOptions::restoreAdditionalOptions(StandardProjectSystem &system, ProjectElement *project)
{
    for (const auto &[property, backup] : backups)
        copyOwnValue(system, project, backup, property);
}
