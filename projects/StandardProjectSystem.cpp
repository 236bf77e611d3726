#include "projects/StandardProjectSystem.h"
#include "foundation/PropertyClass.h"
#include "foundation/QXMLDocument.h"
#include "projects/ProjectPropertyValue.h"
#include "projects/ProjectSystemXMLPP2.h"
#include "projects/ProjectTemplateFile.h"
#include "projects/ProjectTreeWiring.h"
#include "projects/PropertyValueGroupClass.h"

namespace {

QString text(std::string_view view)
{
    return QString::fromUtf8(view.data(), qsizetype(view.size()));
}

bool isLibraryType(const QString &projectType)
{
    return projectType == QLatin1String("Library")
        || projectType == QLatin1String("Externally Built Library");
}

} // namespace

SolutionLoadError::~SolutionLoadError() = default;
SolutionSaveError::~SolutionSaveError() = default;
ProjectFileNotFoundErrorHandler::~ProjectFileNotFoundErrorHandler() = default;
TemplateNotFoundErrorHandler::~TemplateNotFoundErrorHandler() = default;
ProjectFileSaveErrorHandler::~ProjectFileSaveErrorHandler() = default;
ProjectSystem::~ProjectSystem() = default;

StandardProjectSystem::StandardProjectSystem(QObject *parent)
    : ProjectSystem(parent), m_classes(std::make_unique<PropertyClassList>())
{
    declareCatalogue();
}

StandardProjectSystem::~StandardProjectSystem()
{
    closeSolution();
}

// One row per catalogue entry, in grid order, then the build macros as macro rows.
void StandardProjectSystem::declareCatalogue()
{
    for (const CatalogueRow &row : catalogueRows()) {
        auto declared = std::make_unique<PropertyClass>(
            text(row.name), text(row.title), int(row.type), text(row.defaultValue),
            text(row.description),
            row.category.empty() ? QStringLiteral("General") : text(row.category),
            text(row.section));
        if (!row.choices.empty()) {
            declared->choices = text(row.choices).split(u'|');
            declared->choiceValues = declared->choices;
        }
        declared->shownInGrid = row.hidden ? 0 : 1;
        PropertyClass *added = m_classes->append(std::move(declared));
        m_rows[size_t(row.id)] = added;
        if (!m_classByName.contains(added->name))
            m_classByName.insert(added->name, added);
    }
    for (const BuildMacroRow &macro : buildMacroRows()) {
        PropertyClass *added = m_classes->append(
            std::make_unique<MacroPropertyClass>(text(macro.name), text(macro.description)));
        m_classByName.insert(added->name, added);
    }
}

PropertyClass *StandardProjectSystem::findClass(const QString &name) const
{
    if (PropertyClass *row = m_classByName.value(name))
        return row;
    return m_classByName.value(QStringLiteral("$(") + name + u')');
}

PropertyClass *StandardProjectSystem::classFor(const QString &name,
                                               const ProjectElement *element,
                                               const QString &configuration) const
{
    PropertyClass *row = findClass(name);
    if (row != propertyClass(ProjectProperty::BuildOutputFileName) || !element)
        return row;
    const ProjectElement *project = projectOf(element);
    if (project
        && isLibraryType(resolveProperty(project, propertyClass(ProjectProperty::ProjectType),
                                         configuration)))
        return propertyClass(ProjectProperty::BuildOutputFileNameLibrary);
    return row;
}

const Path &StandardProjectSystem::solutionPath() const
{
    static const Path none;
    return m_solution ? m_solution->filePath() : none;
}

void StandardProjectSystem::closeSolution()
{
    if (!m_solution)
        return;
    invalidateCaches();
    m_changeLog.clear();
    m_templateElements.clear();
    m_templates.reset();
    m_solution = nullptr;
    m_documents.clear();
    emit solutionClosed();
}

ProjectElement *StandardProjectSystem::findElement(const QString &path) const
{
    ProjectElement *at = m_solution;
    const QStringList names = path.split(u'/', Qt::SkipEmptyParts);
    for (qsizetype i = 0; at && i < names.size(); ++i) {
        ProjectElement *found = nullptr;
        for (ProjectElement *child : at->children()) {
            if (child->elementName() == names[i]) {
                found = child;
                break;
            }
        }
        // A file may also be named by its file_name, which can hold '/' itself.
        if (!found) {
            const QString rest = names.mid(i).join(u'/');
            for (ProjectElement *child : at->children()) {
                const char *fileName = child->attribute("file_name");
                if (child->kind() == ProjectElement::Kind::File && fileName
                    && QString::fromUtf8(fileName) == rest)
                    return child;
            }
        }
        at = found;
    }
    return at;
}

void StandardProjectSystem::wireTree(ProjectElement *root)
{
    ProjectTreeWiring::wire(root, root->filePath());
    invalidateCaches();
}

QStringList StandardProjectSystem::inheritedConfigurations(const ProjectElement *element,
                                                           const QString &configuration) const
{
    for (const ProjectElement *at = element; at; at = at->parentElement())
        if (const QStringList *inherited = at->declaredInheritance(configuration))
            return *inherited;
    return {};
}

namespace {

// The names of the solution's configuration declarations, hidden or not. "Common" is never a
// public configuration; a hidden declaration of it is listed with the private ones.
QStringList declaredConfigurations(const ProjectElement *solution, bool hidden)
{
    QStringList names;
    for (XMLNode *node = solution ? solution->firstChild() : nullptr; node;
         node = node->nextSibling()) {
        const ProjectElement *child = asProjectElement(node);
        if (!child || child->kind() != ProjectElement::Kind::Configuration
            || !child->attribute("Name")
            || (qstrcmp(child->attribute("hidden"), "Yes") == 0) != hidden)
            continue;
        if (hidden || qstrcmp(child->attribute("Name"), "Common") != 0)
            names.append(QString::fromUtf8(child->attribute("Name")));
    }
    return names;
}

} // namespace

QStringList StandardProjectSystem::publicConfigurations() const
{
    return declaredConfigurations(m_solution, false);
}

QStringList StandardProjectSystem::privateConfigurations() const
{
    return declaredConfigurations(m_solution, true);
}

namespace {

bool isHidden(const ProjectElement *declaration)
{
    return qstrcmp(declaration->attribute("hidden"), "Yes") == 0;
}

} // namespace

void StandardProjectSystem::setPublicConfigurations(const QStringList &names)
{
    setDeclaredConfigurations(names, false);
}

void StandardProjectSystem::setPrivateConfigurations(const QStringList &names)
{
    setDeclaredConfigurations(names, true);
}

// Makes the solution's declarations of one visibility equal to `names`: declarations of that
// visibility not named go, named ones of the other visibility change over, new ones are added.
void StandardProjectSystem::setDeclaredConfigurations(const QStringList &names, bool hidden)
{
    if (!m_solution)
        return;
    QStringList missing = names;
    for (XMLNode *node = m_solution->firstChild(); node;) {
        XMLNode *next = node->nextSibling();
        ProjectElement *child = asProjectElement(node);
        const QString name = child ? QString::fromUtf8(child->attribute("Name")) : QString();
        if (child && child->kind() == ProjectElement::Kind::Configuration
            && name != QLatin1String("Common")) {
            if (names.contains(name)) {
                missing.removeAll(name);
                if (hidden && !isHidden(child))
                    child->setAttribute(xmlDuplicate("hidden"), xmlDuplicate("Yes"));
                else if (!hidden)
                    child->removeAttribute("hidden");
            } else if (isHidden(child) == hidden) {
                m_solution->removeChild(child);
                child->setNextSibling(nullptr);
                delete child;
            }
        }
        node = next;
    }
    for (const QString &name : std::as_const(missing)) {
        auto *declaration = new ProjectElement(xmlDuplicate("configuration"));
        declaration->setAttribute(xmlDuplicate("Name"), xmlDuplicate(name.toUtf8()));
        if (hidden)
            declaration->setAttribute(xmlDuplicate("hidden"), xmlDuplicate("Yes"));
        m_solution->appendChild(declaration);
    }
    wireTree(m_solution);
}

void StandardProjectSystem::storeValue(ProjectElement *element,
                                       const PropertyClass *propertyClass,
                                       const QString &configuration, const QString &value)
{
    const bool isCommon = configuration == QLatin1String("Common");
    ProjectElement *holder = element->holder(configuration);
    PropertyChange change{element, propertyClass, configuration, {},
                          QDateTime::currentDateTime(), 0};
    if (!holder) {
        if (value.isNull())
            return;
        if (isCommon) {
            holder = element;
        } else {
            holder = new ProjectElement(xmlDuplicate("configuration"));
            holder->setAttribute(xmlDuplicate("Name"), xmlDuplicate(configuration.toUtf8()));
            element->appendChild(holder);
        }
        change.flags |= PropertyChange::CreatedHolder;
    }
    const QString *previous = holder->findProperty(propertyClass->name);
    if (previous)
        change.previousValue = *previous;
    else
        change.flags |= PropertyChange::WasUnset;
    if (value.isNull())
        holder->removeProperty(propertyClass->name);
    else
        holder->setProperty(propertyClass->name, value);
    if (change.flags & PropertyChange::CreatedHolder)
        ProjectTreeWiring::wire(element, element->filePath());
    m_changeLog.push_back(change);
    invalidateCaches();
    if (propertyClass->name == QLatin1String("file_name"))
        assignFilePaths(element);
    emit propertyChanged(element, configuration, propertyClass->name);
}

void StandardProjectSystem::projectChanged(ProjectElement *project)
{
    invalidateCaches();
    if (project)
        assignFilePaths(project);
}

std::unique_ptr<PropertyValue>
StandardProjectSystem::propertyValue(ProjectElement *element, PropertyClass *propertyClass,
                                     const QString &configuration)
{
    const auto is = [&](ProjectProperty id) { return propertyClass == this->propertyClass(id); };
    if (is(ProjectProperty::ProjectDirectory))
        return std::make_unique<ProjectDirectoryProjectPropertyValue>(*this, element,
                                                                      propertyClass, configuration);
    if (is(ProjectProperty::Macros))
        return std::make_unique<ProjectMacrosProjectPropertyValue>(*this, element, propertyClass,
                                                                   configuration);
    if (is(ProjectProperty::PublicConfigurations))
        return std::make_unique<PublicConfigurationsProjectPropertyValue>(
            *this, element, propertyClass, configuration);
    if (is(ProjectProperty::PrivateConfigurations))
        return std::make_unique<PrivateConfigurationsProjectPropertyValue>(
            *this, element, propertyClass, configuration);
    if (is(ProjectProperty::InheritedConfigurations))
        return std::make_unique<InheritedConfigurationsProjectPropertyValue>(
            *this, element, propertyClass, configuration);
    if (dynamic_cast<PropertyValueGroupClass *>(propertyClass))
        return std::make_unique<PropertyValueGroupValue>(*this, element, propertyClass,
                                                         configuration);
    const bool dynamicSetting = is(ProjectProperty::Path) || is(ProjectProperty::Filter)
                             || is(ProjectProperty::Recurse) || is(ProjectProperty::Exclude);
    if (dynamicSetting && element->kind() == ProjectElement::Kind::Folder)
        return std::make_unique<DynamicFolderPropertyValue>(*this, element, propertyClass);
    return std::make_unique<ProjectPropertyValue>(*this, element, propertyClass, configuration);
}
