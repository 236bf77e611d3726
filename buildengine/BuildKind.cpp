#include "buildengine/BuildKind.h"
#include "buildengine/PropertyValues.h"
#include "projects/StandardProjectSystem.h"

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

QString resolved(const PropertyValues &values, const ProjectElement *element,
                 ProjectProperty property, const QString &configuration)
{
    return values.value(element, values.system().propertyClass(property), configuration);
}

bool hasValue(const PropertyValues &values, const ProjectElement *element,
              ProjectProperty property, const QString &configuration)
{
    return !values.expanded(element, values.system().propertyClass(property), configuration)
                .isEmpty();
}

BuildKind projectKind(const PropertyValues &values, const ProjectElement *project,
                      const QString &configuration)
{
    const QString type = resolved(values, project, ProjectProperty::ProjectType, configuration);
    if (type == QLatin1String("Executable"))
        return BuildKind::Link;
    if (type == QLatin1String("Library"))
        return BuildKind::Archive;
    if (type == QLatin1String("Staging"))
        return BuildKind::Stage;
    if (type == QLatin1String("Combining"))
        return BuildKind::Combine;
    if (type == QLatin1String("Externally Built Executable")) {
        bool linked = hasValue(values, project, ProjectProperty::ExternalLinkCommand, configuration);
        if (!linked && projectHasCpp(values, project, configuration))
            linked = hasValue(values, project, ProjectProperty::ExternalCppLinkCommand,
                              configuration);
        const bool ownFile =
            hasValue(values, project, ProjectProperty::ExternalBuildFileName, configuration);
        return linked && !ownFile ? BuildKind::Link : BuildKind::ExternalStep;
    }
    if (type == QLatin1String("Externally Built Library"))
        return hasValue(values, project, ProjectProperty::ExternalArchiveCommand, configuration)
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
BuildKind externalSourceKind(const PropertyValues &values, const ProjectElement *element,
                             const QString &configuration, BuildKind kind)
{
    ProjectProperty command;
    switch (kind) {
    case BuildKind::CCompile: command = ProjectProperty::ExternalCCompileCommand; break;
    case BuildKind::CppCompile: command = ProjectProperty::ExternalCppCompileCommand; break;
    case BuildKind::Assemble: command = ProjectProperty::ExternalAssembleCommand; break;
    default: return kind;
    }
    return hasValue(values, element, command, configuration) ? kind : BuildKind::NoBuild;
}

QString typeOfPath(const QString &path)
{
    // The suffix as QFileInfo gives it: what follows the last '.' of the file name.
    const QStringView name = QStringView(path).mid(path.lastIndexOf(u'/') + 1);
    const qsizetype dot = name.lastIndexOf(u'.');
    const QStringView suffix = dot < 0 ? QStringView() : name.mid(dot + 1);
    if (suffix == QLatin1String("S"))
        return QStringLiteral("Assembly");
    const QString lower = suffix.toString().toLower();
    for (const ExtensionType &entry : extensionTypes) {
        if (lower == QLatin1String(entry.extension))
            return QLatin1String(entry.type);
    }
    return {};
}

} // namespace

QString codeType(const PropertyValues &values, const ProjectElement *file,
                 const QString &configuration)
{
    QString type = resolved(values, file, ProjectProperty::FileType, configuration);
    if (type.isEmpty())
        type = typeOfPath(file->filePath().text());
    if (type == QLatin1String("C")
        && isYes(resolved(values, file, ProjectProperty::CFilesAreCpp, configuration)))
        type = QStringLiteral("C++");
    return type;
}

bool projectHasCpp(const PropertyValues &values, const ProjectElement *project,
                   const QString &configuration)
{
    for (const ProjectElement *child : project->children()) {
        if (isYes(resolved(values, child, ProjectProperty::BuildExcludeFromBuild, configuration)))
            continue;
        if (child->kind() == ProjectElement::Kind::Folder
            && projectHasCpp(values, child, configuration))
            return true;
        if (child->kind() == ProjectElement::Kind::File
            && codeType(values, child, configuration) == QLatin1String("C++"))
            return true;
    }
    return false;
}

bool isExternallyBuilt(const PropertyValues &values, const ProjectElement *project,
                       const QString &configuration)
{
    return project
        && resolved(values, project, ProjectProperty::ProjectType, configuration)
               .startsWith(QLatin1String("Externally Built"));
}

bool isUnityFolder(const PropertyValues &values, const ProjectElement *element,
                   const QString &configuration, bool disableUnity)
{
    return element->kind() == ProjectElement::Kind::Folder && !disableUnity
        && hasValue(values, element, ProjectProperty::UnityBuildFileName, configuration);
}

BuildKind buildKind(const PropertyValues &values, const ProjectElement *element,
                    const QString &configuration)
{
    switch (element->kind()) {
    case ProjectElement::Kind::Project:
        return projectKind(values, element, configuration);
    case ProjectElement::Kind::Folder:
        if (!isUnityFolder(values, element, configuration, false))
            return BuildKind::NoBuild;
        break;
    case ProjectElement::Kind::File:
        break;
    default:
        return BuildKind::NoBuild;
    }
    if (isYes(resolved(values, element, ProjectProperty::BuildExcludeFromBuild, configuration)))
        return BuildKind::Excluded;
    const ProjectElement *project = element->project();
    if (!project)
        return BuildKind::NoBuild;
    const QString projectType =
        resolved(values, project, ProjectProperty::ProjectType, configuration);
    if (projectType == QLatin1String("Staging"))
        return BuildKind::Stage;
    if (projectType == QLatin1String("Combining"))
        return BuildKind::NoBuild;
    // A unity folder compiles as the code type of its generated file.
    const QString type =
        element->kind() == ProjectElement::Kind::Folder
            ? typeOfPath(values.expanded(
                  element, values.system().propertyClass(ProjectProperty::UnityBuildFileName),
                  configuration))
            : codeType(values, element, configuration);
    BuildKind kind = kindOfCodeType(type);
    if (projectType.startsWith(QLatin1String("Externally Built")))
        kind = externalSourceKind(values, element, configuration, kind);
    return kind;
}
