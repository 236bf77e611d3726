#include "clang/ClangArguments.h"
#include "buildengine/CommandLine.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFileInfo>

namespace {

QStringList listValue(const StandardProjectSystem &system, const ProjectElement *file,
                      const QString &configuration, ProjectProperty property)
{
    return system.expandedProperty(file, system.propertyClass(property), configuration)
        .split(u';', Qt::SkipEmptyParts);
}

// Depth-first over the nodes below `element`; the loader bounds the depth of the tree.
const ProjectElement *findBelow(const ProjectElement *element, const QString &path)
{
    for (const ProjectElement *child : element->children()) {
        if (child->kind() == ProjectElement::Kind::File) {
            if (QDir::cleanPath(QFileInfo(child->filePath().text()).absoluteFilePath()) == path)
                return child;
            continue;
        }
        if (const ProjectElement *found = findBelow(child, path))
            return found;
    }
    return nullptr;
}

} // namespace

QString clangWorkingDirectory(const StandardProjectSystem &system, const ProjectElement *file,
                              const QString &configuration)
{
    return system.macroTable(file, configuration).value(QStringLiteral("ProjectDir"));
}

QStringList clangArguments(const StandardProjectSystem &system, const ProjectElement *file,
                           const QString &configuration)
{
    const QDir project(clangWorkingDirectory(system, file, configuration));
    QStringList arguments;
    for (const QString &directory :
         listValue(system, file, configuration, ProjectProperty::CUserIncludeDirectories))
        arguments.append(QStringLiteral("-I")
                         + QDir::cleanPath(project.absoluteFilePath(directory)));
    for (const QString &directory :
         listValue(system, file, configuration, ProjectProperty::CSystemIncludeDirectories)) {
        arguments.append(QStringLiteral("-isystem"));
        arguments.append(QDir::cleanPath(project.absoluteFilePath(directory)));
    }
    for (const QString &definition :
         listValue(system, file, configuration, ProjectProperty::CPreprocessorDefinitions))
        arguments.append(QStringLiteral("-D") + definition);
    for (const QString &name :
         listValue(system, file, configuration, ProjectProperty::CPreprocessorUndefinitions))
        arguments.append(QStringLiteral("-U") + name);
    arguments += splitOptions(system.expandedProperty(
        file, system.propertyClass(ProjectProperty::CAdditionalOptions), configuration));
    return arguments;
}

const ProjectElement *findFileElement(const StandardProjectSystem &system, const QString &path,
                                      const QString &project)
{
    const ProjectElement *solution = system.solution();
    if (!solution)
        return nullptr;
    const QString wanted = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (project.isEmpty())
        return findBelow(solution, wanted);
    for (const ProjectElement *child : solution->children()) {
        if (child->kind() != ProjectElement::Kind::Project || child->elementName() != project)
            continue;
        if (const ProjectElement *found = findBelow(child, wanted))
            return found;
    }
    return nullptr;
}
