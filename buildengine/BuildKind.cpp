#include "buildengine/BuildKind.h"
#include "projects/StandardProjectSystem.h"
#include <QFileInfo>

namespace {

struct ExtensionType {
    const char *extension;   // lower case, without the dot
    const char *type;
};

constexpr ExtensionType extensionTypes[] = {
    {"c", "C"},           {"cpp", "C++"},      {"cc", "C++"},        {"cxx", "C++"},
    {"c++", "C++"},       {"s", "Assembly"},   {"asm", "Assembly"},  {"o", "Object file"},
    {"obj", "Object file"}, {"a", "Library"},  {"lib", "Library"},   {"elf", "Executable"},
    {"exe", "Executable"}, {"h", "Header"},    {"hpp", "Header"},    {"hh", "Header"},
};

QString resolved(const StandardProjectSystem &system, const ProjectElement *element,
                 ProjectProperty property, const QString &configuration)
{
    return system.resolveProperty(element, system.propertyClass(property), configuration);
}

bool hasValue(const StandardProjectSystem &system, const ProjectElement *element,
              ProjectProperty property, const QString &configuration)
{
    return !system.expandedProperty(element, system.propertyClass(property), configuration)
                .isEmpty();
}

BuildKind projectKind(const StandardProjectSystem &system, const ProjectElement *project,
                      const QString &configuration)
{
    const QString type = resolved(system, project, ProjectProperty::ProjectType, configuration);
    if (type == QLatin1String("Executable"))
        return BuildKind::Link;
    if (type == QLatin1String("Library"))
        return BuildKind::Archive;
    if (type == QLatin1String("Staging"))
        return BuildKind::Stage;
    if (type == QLatin1String("Combining"))
        return BuildKind::Combine;
    if (type == QLatin1String("Externally Built Executable")) {
        bool linked = hasValue(system, project, ProjectProperty::ExternalLinkCommand, configuration);
        if (!linked && projectHasCpp(system, project, configuration))
            linked = hasValue(system, project, ProjectProperty::ExternalCppLinkCommand,
                              configuration);
        const bool ownFile =
            hasValue(system, project, ProjectProperty::ExternalBuildFileName, configuration);
        return linked && !ownFile ? BuildKind::Link : BuildKind::ExternalStep;
    }
    if (type == QLatin1String("Externally Built Library"))
        return hasValue(system, project, ProjectProperty::ExternalArchiveCommand, configuration)
                   ? BuildKind::Archive
                   : BuildKind::ExternalStep;
    return BuildKind::NoBuild;
}

BuildKind kindOfCodeType(const QString &type)
{
    if (type == QLatin1String("C"))
        return BuildKind::CCompile;
    if (type == QLatin1String("C++"))
        return BuildKind::CppCompile;
    if (type == QLatin1String("Assembly"))
        return BuildKind::Assemble;
    if (type == QLatin1String("Object file") || type == QLatin1String("Executable")
        || type == QLatin1String("Library"))
        return BuildKind::ExternalStep;
    return BuildKind::NoBuild;
}

// In an externally built project a source counts only when its tool has a command.
BuildKind externalSourceKind(const StandardProjectSystem &system, const ProjectElement *element,
                             const QString &configuration, BuildKind kind)
{
    ProjectProperty command;
    switch (kind) {
    case BuildKind::CCompile: command = ProjectProperty::ExternalCCompileCommand; break;
    case BuildKind::CppCompile: command = ProjectProperty::ExternalCppCompileCommand; break;
    case BuildKind::Assemble: command = ProjectProperty::ExternalAssembleCommand; break;
    default: return kind;
    }
    return hasValue(system, element, command, configuration) ? kind : BuildKind::NoBuild;
}

QString typeOfPath(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix();
    if (suffix == QLatin1String("S"))
        return QStringLiteral("Assembly");
    const QString lower = suffix.toLower();
    for (const ExtensionType &entry : extensionTypes) {
        if (lower == QLatin1String(entry.extension))
            return QLatin1String(entry.type);
    }
    return {};
}

} // namespace

QString codeType(const StandardProjectSystem &system, const ProjectElement *file,
                 const QString &configuration)
{
    QString type = resolved(system, file, ProjectProperty::FileType, configuration);
    if (type.isEmpty())
        type = typeOfPath(file->filePath().text());
    if (type == QLatin1String("C")
        && isYes(resolved(system, file, ProjectProperty::CFilesAreCpp, configuration)))
        type = QStringLiteral("C++");
    return type;
}

bool projectHasCpp(const StandardProjectSystem &system, const ProjectElement *project,
                   const QString &configuration)
{
    for (const ProjectElement *child : project->children()) {
        if (isYes(resolved(system, child, ProjectProperty::BuildExcludeFromBuild, configuration)))
            continue;
        if (child->kind() == ProjectElement::Kind::Folder
            && projectHasCpp(system, child, configuration))
            return true;
        if (child->kind() == ProjectElement::Kind::File
            && codeType(system, child, configuration) == QLatin1String("C++"))
            return true;
    }
    return false;
}

bool isExternallyBuilt(const StandardProjectSystem &system, const ProjectElement *project,
                       const QString &configuration)
{
    return project
        && resolved(system, project, ProjectProperty::ProjectType, configuration)
               .startsWith(QLatin1String("Externally Built"));
}

bool isUnityFolder(const StandardProjectSystem &system, const ProjectElement *element,
                   const QString &configuration, bool disableUnity)
{
    return element->kind() == ProjectElement::Kind::Folder && !disableUnity
        && hasValue(system, element, ProjectProperty::UnityBuildFileName, configuration);
}

BuildKind buildKind(const StandardProjectSystem &system, const ProjectElement *element,
                    const QString &configuration)
{
    switch (element->kind()) {
    case ProjectElement::Kind::Project:
        return projectKind(system, element, configuration);
    case ProjectElement::Kind::Folder:
        if (!isUnityFolder(system, element, configuration, false))
            return BuildKind::NoBuild;
        break;
    case ProjectElement::Kind::File:
        break;
    default:
        return BuildKind::NoBuild;
    }
    if (isYes(resolved(system, element, ProjectProperty::BuildExcludeFromBuild, configuration)))
        return BuildKind::Excluded;
    const ProjectElement *project = StandardProjectSystem::projectOf(element);
    if (!project)
        return BuildKind::NoBuild;
    const QString projectType =
        resolved(system, project, ProjectProperty::ProjectType, configuration);
    if (projectType == QLatin1String("Staging"))
        return BuildKind::Stage;
    if (projectType == QLatin1String("Combining"))
        return BuildKind::NoBuild;
    // A unity folder compiles as the code type of its generated file.
    const QString type =
        element->kind() == ProjectElement::Kind::Folder
            ? typeOfPath(system.expandedProperty(
                  element, system.propertyClass(ProjectProperty::UnityBuildFileName),
                  configuration))
            : codeType(system, element, configuration);
    BuildKind kind = kindOfCodeType(type);
    if (projectType.startsWith(QLatin1String("Externally Built")))
        kind = externalSourceKind(system, element, configuration, kind);
    return kind;
}
