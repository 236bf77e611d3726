// Time stamps and the names of what a build makes.
#include "buildengine/BuildEngine.h"
#include "buildengine/DirectoryHandles.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>

namespace {

bool statTime(const QString &path, std::time_t &time)
{
    struct stat info;
    // File names are UTF-8 wherever Qt runs on Unix: what QFile::encodeName gives, faster.
    if (!DirectoryHandles::shared().stat(path.toUtf8(), info))
        return false;
    time = info.st_mtime;
    return true;
}

QString inDirectory(const QString &directory, const QString &path)
{
    if (directory.isEmpty() || path.startsWith(u'/'))
        return path;
    return directory + u'/' + path;
}

// The sections whose properties change what a step of the kind makes.
bool appliesToKind(const QString &section, BuildKind kind)
{
    static const QStringList everyStep = {QStringLiteral("Build Options")};
    static const QStringList compile = {QStringLiteral("C/C++"), QStringLiteral("C++"),
                                        QStringLiteral("Assembly")};
    static const QStringList link = {QStringLiteral("Linker")};
    static const QStringList stage = {QStringLiteral("Staging Options")};
    static const QStringList combine = {QStringLiteral("Combining Options")};
    if (everyStep.contains(section))
        return true;
    switch (kind) {
    case BuildKind::CCompile:
    case BuildKind::CppCompile:
    case BuildKind::Assemble: return compile.contains(section);
    case BuildKind::Link:
    case BuildKind::Archive: return link.contains(section);
    case BuildKind::Stage: return stage.contains(section);
    case BuildKind::Combine: return combine.contains(section);
    default: return false;
    }
}

// The options files a kind reads its options from.
QList<ProjectProperty> optionFiles(BuildKind kind)
{
    if (isCompileKind(kind))
        return {ProjectProperty::CAdditionalOptionsFromFile,
                ProjectProperty::COnlyAdditionalOptionsFromFile,
                ProjectProperty::CppOnlyAdditionalOptionsFromFile,
                ProjectProperty::AsmAdditionalOptionsFromFile};
    if (kind == BuildKind::Link)
        return {ProjectProperty::LinkerAdditionalOptionsFromFile};
    return {};
}

// A unity folder's object is named after its generated file, as a file's after its source.
MacroTable unityMacros(const QString &path)
{
    const QFileInfo file(path);
    MacroTable macros;
    macros.insert(QStringLiteral("InputPath"), path);
    macros.insert(QStringLiteral("InputFileName"), file.fileName());
    macros.insert(QStringLiteral("InputName"), file.completeBaseName());
    macros.insert(QStringLiteral("InputExt"), file.suffix());
    macros.insert(QStringLiteral("InputDir"), file.path());
    return macros;
}

} // namespace

QString BuildEngine::timeText(std::time_t time)
{
    return QDateTime::fromSecsSinceEpoch(qint64(time)).toString(
        QStringLiteral("dd.MM.yyyy hh:mm:ss"));
}

bool BuildEngine::fileTime(const QString &directory, const QString &path, std::time_t &time,
                           Builder &builder, bool quiet)
{
    if (statTime(inDirectory(directory, path), time))
        return true;
    if (!quiet)
        builder.addInformation(QStringLiteral("%1 does not exist.").arg(path));
    return false;
}

bool BuildEngine::newestCheck(const QString &directory, const QStringList &files,
                              std::time_t time, const QString &output, Builder &builder,
                              bool quiet)
{
    const std::time_t now = std::time(nullptr);
    for (const QString &file : files) {
        std::time_t fileTime = 0;
        if (!statTime(inDirectory(directory, file), fileTime)) {
            if (!quiet)
                builder.addInformation(QStringLiteral("%1 does not exist.").arg(file));
            return false;
        }
        if (fileTime > now && !quiet)
            builder.addInformation(QStringLiteral("clock skew detected on %1.").arg(file));
        if (fileTime > time) {
            if (!quiet)
                builder.addInformation(QStringLiteral("%1 (%2) is newer than %3 (%4).")
                                           .arg(file, timeText(fileTime), output, timeText(time)));
            return false;
        }
    }
    return true;
}

bool BuildEngine::propertiesChanged(const ProjectElement *element, const QString &configuration,
                                    std::time_t time, BuildKind kind, Builder &builder,
                                    bool quiet) const
{
    const QStringList inherited = m_system.changeLog().empty()
                                      ? QStringList()
                                      : m_system.inheritedConfigurations(element, configuration);
    for (const PropertyChange &change : m_system.changeLog()) {
        if (change.time.toSecsSinceEpoch() <= qint64(time) || !change.propertyClass)
            continue;
        bool above = false;
        for (const ProjectElement *at = element; at && !above; at = at->parentElement())
            above = at == change.element;
        const bool inConfiguration = change.configuration == configuration
                                     || change.configuration == QLatin1String("Common")
                                     || inherited.contains(change.configuration);
        if (!above || !inConfiguration || !appliesToKind(change.propertyClass->section, kind))
            continue;
        if (!quiet)
            builder.addNote(
                QStringLiteral("%1 property has changed.").arg(change.propertyClass->title));
        return true;
    }
    const QString directory = projectDirectory(element, configuration);
    for (const ProjectProperty property : optionFiles(kind)) {
        const QString file = expanded(element, property, configuration);
        std::time_t fileTime = 0;
        if (file.isEmpty() || !statTime(inDirectory(directory, file), fileTime)
            || fileTime <= time)
            continue;
        if (!quiet)
            builder.addNote(QStringLiteral("%1 has been modified.").arg(file));
        return true;
    }
    return false;
}

void BuildEngine::removeFile(const QString &path, Builder &builder, bool quiet)
{
    QFile file(path);
    if (!file.exists())
        return;
    const bool removed = file.remove();
    if (quiet)
        return;
    if (removed)
        builder.addNote(QStringLiteral("Remove %1").arg(path));
    else
        builder.addError(QStringLiteral("Cannot remove %1").arg(path));
}

QString BuildEngine::value(const ProjectElement *element, ProjectProperty property,
                           const QString &configuration) const
{
    return m_values.value(element, m_system.propertyClass(property), configuration);
}

QString BuildEngine::expanded(const ProjectElement *element, ProjectProperty property,
                              const QString &configuration, const MacroTable &extra) const
{
    return m_values.expanded(element, m_system.propertyClass(property), configuration, extra);
}

QString BuildEngine::projectDirectory(const ProjectElement *element,
                                      const QString &configuration) const
{
    const ProjectElement *project = element->project();
    if (!project)
        return {};
    return m_system.macroTable(project, configuration).value(QStringLiteral("ProjectDir"));
}

QString BuildEngine::outputName(const ProjectElement *element, const QString &configuration,
                                bool absolute) const
{
    if (absolute) {
        const QHash<const ProjectElement *, QString> &outputs = m_outputs.of(configuration);
        if (const auto it = outputs.constFind(element); it != outputs.constEnd())
            return it.value();
    }
    QString name;
    switch (kindOf(element, configuration)) {
    case BuildKind::CCompile:
    case BuildKind::CppCompile:
    case BuildKind::Assemble:
        name = expanded(element, ProjectProperty::BuildObjectFileName, configuration,
                        element->kind() == ProjectElement::Kind::Folder
                            ? unityMacros(unityFileName(element, configuration))
                            : MacroTable());
        break;
    case BuildKind::Link:
    case BuildKind::Archive: {
        const PropertyClass *row = m_system.classFor(QStringLiteral("build_output_file_name"),
                                                     element, configuration);
        name = m_system.expand(element, configuration,
                               m_values.value(element, row, configuration));
        break;
    }
    case BuildKind::ExternalStep:
        name = element->kind() == ProjectElement::Kind::File
                   ? element->filePath().text()
                   : expanded(element, ProjectProperty::ExternalBuildFileName, configuration);
        break;
    case BuildKind::Stage:
        if (element->kind() == ProjectElement::Kind::File)
            name = expanded(element, ProjectProperty::StageOutputFilepath, configuration);
        break;
    case BuildKind::Combine:
        name = expanded(element, ProjectProperty::CombineOutputFilepath, configuration);
        break;
    default:
        break;
    }
    if (absolute && !name.isEmpty() && !name.startsWith(u'/'))
        name = projectDirectory(element, configuration) + u'/' + name;
    if (absolute)
        m_outputs.of(configuration).insert(element, name);
    return name;
}

QString BuildEngine::dependencyFileName(const ProjectElement *element,
                                        const QString &configuration, bool forBuild) const
{
    const QString directory = projectDirectory(element, configuration);
    QString name = expanded(element, ProjectProperty::BuildDependencyFileName, configuration);
    if (!name.isEmpty()) {
        name = inDirectory(directory, name);
        if (forBuild)
            QDir().mkpath(QFileInfo(name).absolutePath());
        return name;
    }
    // The object's directory and complete base name, as QFileInfo would give them.
    const QString object = outputName(element, configuration, true);
    const qsizetype slash = object.lastIndexOf(u'/');
    const QStringView fileName = QStringView(object).mid(slash + 1);
    const qsizetype dot = fileName.lastIndexOf(u'.');
    const QStringView baseName = dot < 0 ? fileName : fileName.left(dot);
    const QString folder =
        forBuild ? (slash < 0 ? QStringLiteral(".") : slash == 0 ? QStringLiteral("/") : object.left(slash))
                 : inDirectory(directory, expanded(element, ProjectProperty::BuildIntermediateDirectory,
                                                   configuration));
    return folder + u'/' + baseName.toString() + QStringLiteral(".d");
}

QStringList BuildEngine::outputsOfLink(const ProjectElement *project,
                                       const QString &configuration) const
{
    QStringList outputs;
    const QFileInfo output(outputName(project, configuration, true));
    const QString base = output.path() + u'/' + output.completeBaseName();
    if (isYes(value(project, ProjectProperty::LinkerMapFile, configuration)))
        outputs.append(base + QStringLiteral(".map"));
    const QString format = value(project, ProjectProperty::LinkerOutputFormat, configuration);
    if (!format.isEmpty() && format != QLatin1String("None"))
        outputs.append(base + u'.' + format);
    const QString postLink =
        expanded(project, ProjectProperty::LinkerPostBuildCommandOutputFile, configuration);
    if (!postLink.isEmpty())
        outputs.append(inDirectory(
            inDirectory(projectDirectory(project, configuration),
                        expanded(project, ProjectProperty::BuildOutputDirectory, configuration)),
            postLink));
    return outputs;
}

QString BuildEngine::unityFileName(const ProjectElement *folder,
                                   const QString &configuration) const
{
    return projectDirectory(folder, configuration) + u'/'
           + expanded(folder, ProjectProperty::UnityBuildFileName, configuration);
}
