#include "buildengine/GenericOptions.h"
#include "buildengine/CommandLine.h"
#include "projects/GenericPropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QDomDocument>
#include <QFile>

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
    if (ProjectElement *project = StandardProjectSystem::projectOf(element))
        backUpAdditionalOptions(m_system, project);
    return true;
}

bool GenericOptions::loadFile(const QString &path, QString *error)
{
    clear();
    QFile file(path);
    QDomDocument document;
    QString message;
    int line = 0;
    if (!file.open(QIODevice::ReadOnly) || file.size() > fileLimit
        || !document.setContent(file.read(fileLimit), &message, &line)) {
        if (error)
            *error = message.isEmpty() ? QStringLiteral("Cannot open file: %1").arg(path)
                                       : QStringLiteral("%1:%2: %3").arg(path).arg(line).arg(message);
        return false;
    }
    const QDomNodeList properties = document.documentElement().elementsByTagName(QStringLiteral("property"));
    for (int i = 0; i < properties.size(); ++i) {
        const QDomElement property = properties.at(i).toElement();
        const QString tools = property.attribute(QStringLiteral("tool"));
        const QString name = property.attribute(QStringLiteral("name"));
        if (tools.isEmpty() || name.isEmpty())
            continue;
        auto row = std::make_unique<GenericPropertyClass>(
            name, property.attribute(QStringLiteral("title"), name),
            typeOf(property.attribute(QStringLiteral("type"))),
            property.attribute(QStringLiteral("default")),
            property.attribute(QStringLiteral("description")));
        row->tools = tools.split(u';', Qt::SkipEmptyParts);
        row->optionPrefix = property.attribute(QStringLiteral("prefix"));
        row->condition = property.attribute(QStringLiteral("condition"));
        const QDomElement parent = property.parentNode().toElement();
        if (parent.tagName() == QLatin1String("group"))
            row->group = parent.attribute(QStringLiteral("name"));
        for (QDomElement choice = property.firstChildElement(QStringLiteral("choice"));
             !choice.isNull(); choice = choice.nextSiblingElement(QStringLiteral("choice"))) {
            const QString value = choice.attribute(QStringLiteral("value"));
            row->choices.append(choice.attribute(QStringLiteral("title"), value));
            row->choiceValues.append(value);
            row->choiceOptions.append(choice.attribute(QStringLiteral("option")));
        }
        const auto *kept = static_cast<const GenericPropertyClass *>(m_rows->append(std::move(row)));
        for (size_t tool = 0; tool < genericToolWords.size(); ++tool) {
            if (kept->tools.contains(QLatin1String(genericToolWords[tool])))
                m_byTool[tool].push_back(kept);
        }
    }
    m_loadedFile = path;
    return true;
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
