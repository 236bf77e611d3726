// The project-level steps: link, archive, external builds, staging and combining.
#include "buildengine/BuildStep.h"
#include "buildengine/CommandLine.h"
#include "buildengine/ToolCommands.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <algorithm>


namespace {

QString inDirectory(const QString &directory, const QString &path)
{
    if (directory.isEmpty() || path.isEmpty() || path.startsWith(u'/'))
        return path;
    return directory + u'/' + path;
}

QString quotedJoin(const QStringList &paths)
{
    QStringList quoted;
    for (const QString &path : paths)
        quoted.append(u'"' + path + u'"');
    return quoted.join(u' ');
}

// The request of a link or archive: objects first, then what follows them on the list.
CompileRequest projectRequest(ProjectElement *project, const QString &configuration,
                              ToolKind kind, QStringList objects, QStringList libraries,
                              QString output)
{
    CompileRequest request;
    request.element = project;
    request.configuration = configuration;
    request.kind = kind;
    request.inputs = std::move(objects);
    request.libraries = std::move(libraries);
    request.output = std::move(output);
    return request;
}

QStringList existing(const QStringList &paths)
{
    QStringList found;
    for (const QString &path : paths) {
        if (QFileInfo::exists(path))
            found.append(path);
    }
    return found;
}

} // namespace

QStringList BuildEngine::collectObjects(const ProjectElement *first, const QString &configuration,
                                        uint flags) const
{
    QStringList objects;
    for (const ProjectElement *child : first->children()) {
        if (!child->isNode())
            continue;
        const BuildKind kind = kindOf(child, configuration);
        if (kind == BuildKind::Excluded)
            continue;
        if (isUnityFolder(m_values, child, configuration, flags & BuildFlag::DisableUnity)) {
            objects.append(outputName(child, configuration, true));
            // Files kept out of the unity file build objects of their own.
            const QStringList filters =
                value(child, ProjectProperty::UnityBuildExcludeFilter, configuration)
                    .split(u';', Qt::SkipEmptyParts);
            std::vector<const ProjectElement *> pending(child->children().begin(),
                                                        child->children().end());
            for (size_t i = 0; i < pending.size(); ++i) {
                const ProjectElement *file = pending[i];
                pending.insert(pending.end(), file->children().begin(), file->children().end());
                if (file->kind() != ProjectElement::Kind::File)
                    continue;
                const QString path = file->filePath().text();
                const bool apart = std::any_of(filters.begin(), filters.end(), [&](const QString &f) {
                    return QRegularExpression(QRegularExpression::wildcardToRegularExpression(
                                                  f, QRegularExpression::UnanchoredWildcardConversion))
                        .match(path)
                        .hasMatch();
                });
                const BuildKind fileKind = kindOf(file, configuration);
                if (apart && (isCompileKind(fileKind) || fileKind == BuildKind::ExternalStep))
                    objects.append(outputName(file, configuration, true));
            }
            continue;
        }
        if (isCompileKind(kind) || (kind == BuildKind::ExternalStep
                                    && child->kind() == ProjectElement::Kind::File))
            objects.append(outputName(child, configuration, true));
        if (child->kind() == ProjectElement::Kind::Folder)
            objects.append(collectObjects(child, configuration, flags));
    }
    return objects;
}

void BuildEngine::dependentInputs(const ProjectElement *project, const QString &configuration,
                                  QStringList &libraries) const
{
    for (const QString &name : dependencyNames(project, configuration)) {
        const ProjectElement *dependency = findProject(project, name);
        if (!dependency || dependency == project
            || isYes(value(dependency, ProjectProperty::BuildExcludeFromBuild, configuration)))
            continue;
        const QString type = value(dependency, ProjectProperty::ProjectType, configuration);
        if (type == QLatin1String("Library") || type == QLatin1String("Externally Built Library")) {
            const QString output = outputName(dependency, configuration, true);
            if (!output.isEmpty())
                libraries.append(output);
        } else if (type == QLatin1String("Object file")
                   || type == QLatin1String("Externally Built Object file")) {
            libraries.append(collectObjects(dependency, configuration, 0));
        }
    }
}

// What a link reads and writes.
struct BuildEngine::LinkInputs {
    QString output;
    QStringList objects;
    QStringList libraries;    // the outputs of the projects it depends on
    QStringList additional;   // the project's additional files, from the project directory
    QStringList outputs;      // besides the output: map file and other formats
};

std::optional<bool> BuildEngine::openStep(StepContext &step, bool current, const QString &output,
                                          const QStringList &others, const char *upToDateText)
{
    if (current) {
        if (!step.quiet())
            step.builder.addDetail(QString::fromLatin1(upToDateText).arg(output));
        return false;
    }
    if (step.has(BuildFlag::RemoveOutputs)) {
        removeFile(output, step.builder, step.quiet());
        for (const QString &other : others)
            removeFile(other, step.builder, step.quiet());
    }
    if (step.has(BuildFlag::NoExecute))
        return true;
    return std::nullopt;
}

bool BuildEngine::buildLink(StepContext &step)
{
    step.idler.step(step.element, step.configuration);
    LinkInputs link;
    if (!readLinkInputs(step, link))
        return false;
    const bool current = !step.forced && linkUpToDate(step, link);
    if (const std::optional<bool> ended = openStep(step, current, link.output, link.outputs))
        return *ended;
    runLink(step, link);
    return true;
}

// False (reported, the build failed) when an object is on the list twice.
bool BuildEngine::readLinkInputs(StepContext &step, LinkInputs &link)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    link.output = outputName(project, configuration, true);
    link.objects = collectObjects(project, configuration, step.flags);
    QStringList sorted = link.objects;
    std::sort(sorted.begin(), sorted.end());
    for (qsizetype i = 1; i < sorted.size(); ++i) {
        if (sorted.at(i) == sorted.at(i - 1)) {
            step.builder.addError(QStringLiteral("The object file %1 has been supplied more than once")
                                      .arg(sorted.at(i)));
            m_state.failed = true;
            return false;
        }
    }
    dependentInputs(project, configuration, link.libraries);
    for (const QString &file :
         expanded(project, ProjectProperty::LinkerAdditionalFiles, configuration)
             .split(u';', Qt::SkipEmptyParts))
        link.additional.append(inDirectory(step.directory, file));
    link.outputs = outputsOfLink(project, configuration);
    return true;
}

// The output and every other output exist and are newer than every input (the linker script,
// or else the memory map and section placement files, count as inputs), and the properties
// have not changed since.
bool BuildEngine::linkUpToDate(StepContext &step, const LinkInputs &link)
{
    const ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    QStringList inputs = link.objects + link.libraries + existing(link.additional);
    const QString script = inDirectory(
        step.directory, expanded(project, ProjectProperty::LinkLinkerScriptFile, configuration));
    if (isYes(value(project, ProjectProperty::LinkUseLinkerScriptFile, configuration))
        && !script.isEmpty())
        inputs.append(script);
    else
        inputs += existing(
            {inDirectory(step.directory,
                         expanded(project, ProjectProperty::LinkerMemoryMapFile, configuration)),
             inDirectory(step.directory, expanded(project,
                                                  ProjectProperty::LinkerSectionPlacementFile,
                                                  configuration))});
    inputs.removeAll(QString());
    std::time_t time = 0;
    return fileTime(QString(), link.output, time, step.builder, step.quiet())
           && newestCheck(QString(), inputs, time, link.output, step.builder, step.quiet())
           && !propertiesChanged(project, configuration, time, step.kind, step.builder,
                                 step.quiet())
           && std::all_of(link.outputs.begin(), link.outputs.end(), [&](const QString &other) {
                  std::time_t ignored = 0;
                  return fileTime(QString(), other, ignored, step.builder, step.quiet());
              });
}

// The pre-link command, the link, and when the builder accepts the output, the post-link
// command; a refused output is removed with the other outputs and fails the build.
void BuildEngine::runLink(StepContext &step, const LinkInputs &link)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    runCommandSteps(step, ProjectProperty::LinkerPreBuildCommand,
                    ProjectProperty::LinkerPreBuildCommandWd, QStringLiteral("Pre-link command "),
                    QString(), {}, QString());
    const bool linkDependents =
        isYes(value(project, ProjectProperty::LinkDependentProjects, configuration));
    if (!runProjectTool(step, projectRequest(project, configuration, ToolKind::Link,
                                             link.objects,
                                             (linkDependents ? link.libraries : QStringList())
                                                 + link.additional,
                                             link.output)))
        return;
    if (!step.builder.acceptOutput(link.output)) {
        for (const QString &path : QStringList{link.output} + link.outputs)
            QFile::remove(path);
        m_state.failed = true;
        return;
    }
    MacroTable macros;
    macros.insert(QStringLiteral("TargetPath"), link.output);
    macros.insert(QStringLiteral("RelTargetPath"),
                  QDir(step.directory).relativeFilePath(link.output));
    macros.insert(QStringLiteral("PostLinkOutputFilePath"),
                  expanded(project, ProjectProperty::LinkerPostBuildCommandOutputFile,
                           configuration));
    runCommandSteps(step, ProjectProperty::LinkerPostBuildCommand,
                    ProjectProperty::LinkerPostBuildCommandWd, QStringLiteral("Post-link command "),
                    QStringLiteral(" && "), macros, QString());
}

bool BuildEngine::buildArchive(StepContext &step)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    step.idler.step(project, configuration);
    const QString output = outputName(project, configuration, true);
    const QStringList objects = collectObjects(project, configuration, step.flags);
    std::time_t time = 0;
    const bool current = !step.forced
                         && fileTime(QString(), output, time, step.builder, step.quiet())
                         && newestCheck(QString(), objects, time, output, step.builder,
                                        step.quiet());
    if (const std::optional<bool> ended = openStep(step, current, output))
        return *ended;
    if (!runProjectTool(step, projectRequest(project, configuration, ToolKind::Archive, objects,
                                             {}, output)))
        return true;
    MacroTable macros;
    macros.insert(QStringLiteral("TargetPath"), output);
    macros.insert(QStringLiteral("RelTargetPath"), QDir(step.directory).relativeFilePath(output));
    runCommandSteps(step, ProjectProperty::ArchivePostBuildCommand,
                    ProjectProperty::ArchivePostBuildCommandWd,
                    QStringLiteral("Post-archive command "), QStringLiteral("&&"), macros,
                    QString());
    return true;
}

// The link or archive command itself: the project's external command when it has one, else
// the front end with the inputs in a list file. False when nothing could be run.
bool BuildEngine::runProjectTool(StepContext &step, const CompileRequest &request)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    const bool archive = request.kind == ToolKind::Archive;
    ProjectProperty command =
        archive ? ProjectProperty::ExternalArchiveCommand : ProjectProperty::ExternalLinkCommand;
    if (!archive && expanded(project, command, configuration).isEmpty()
        && projectHasCpp(m_values, project, configuration))
        command = ProjectProperty::ExternalCppLinkCommand;
    if (isExternallyBuilt(m_values, project, configuration)
        && !expanded(project, command, configuration).isEmpty())
        return runExternalTool(step, request, command,
                               archive ? QStringLiteral("&&") : QString());
    return runToolStep(step, request);
}

bool BuildEngine::runExternalTool(StepContext &step, const CompileRequest &request,
                                  ProjectProperty commandProperty, const QString &separator)
{
    const PropertyClass *row = m_system.propertyClass(commandProperty);
    ToolStep tool = m_tools->externalStep(request, row);
    const QString listName =
        request.kind == ToolKind::Link || request.kind == ToolKind::Archive
            ? expanded(step.element, ProjectProperty::ExternalObjectsFileName, step.configuration)
            : QString();
    if (!listName.isEmpty()) {
        // Entries are relative to the project directory unless the list itself is named
        // absolutely.
        const bool absolute = !QDir::isRelativePath(listName);
        const QDir directory(step.directory);
        tool.listFile = inDirectory(step.directory, listName);
        for (const QString &input : request.inputs + request.libraries) {
            const QString path = m_system.expand(step.element, step.configuration, input);
            tool.listFileLines.append(absolute ? path : directory.relativeFilePath(path));
        }
        if (step.builder.makesFiles() && !ToolCommandLines::writeListFile(tool))
            return failStep(step, {QStringLiteral("Cannot open file: %1").arg(tool.listFile)});
    }
    QList<QStringList> commands{tool.arguments};
    if (!separator.isEmpty()) {
        commands.clear();
        const QString text = m_tools->expandCommand(step.element, row, step.configuration,
                                                    m_tools->stepMacros(request));
        for (const QString &part : text.split(separator, Qt::SkipEmptyParts))
            commands.append(splitCommandLine(part.trimmed()));
    }
    step.builder.beginStep(step.element, tool.title, step.configuration, 1);
    for (const QStringList &arguments : std::as_const(commands)) {
        if (!arguments.isEmpty())
            step.builder.runCommand(tool.workingDirectory, arguments, request.output);
    }
    step.builder.endStep(step.element, step.configuration);
    return true;
}

bool BuildEngine::buildExternalProject(StepContext &step)
{
    if (step.has(BuildFlag::NoExecute) && !step.has(BuildFlag::RemoveOutputs))
        return false;
    const QString name = step.element->elementName();
    if (step.has(BuildFlag::RemoveOutputs)) {
        const QString clean =
            expanded(step.element, ProjectProperty::ExternalCleanCommand, step.configuration);
        if (!clean.isEmpty()) {
            step.builder.beginStep(step.element,
                                   QStringLiteral("Running Clean command %1").arg(name),
                                   step.configuration, 0);
            step.builder.runCommand(step.directory, splitCommandLine(clean), QString());
            step.builder.endStep(step.element, step.configuration);
        }
    }
    if (step.has(BuildFlag::NoExecute))
        return false;
    const QString command =
        expanded(step.element, ProjectProperty::ExternalBuildCommand, step.configuration);
    if (command.isEmpty() || m_state.failed)
        return false;
    step.builder.beginStep(step.element, QStringLiteral("Running Build command %1").arg(name),
                           step.configuration, 1);
    step.builder.runCommand(step.directory, splitCommandLine(command),
                            outputName(step.element, step.configuration, true));
    step.builder.endStep(step.element, step.configuration);
    return true;
}

// The chmod that follows a stage or combine step, unless the setting is "Don't".
void BuildEngine::setReadOnly(StepContext &step, ProjectProperty property, const QString &output)
{
    const QString setting = value(step.element, property, step.configuration);
    if (setting == QLatin1String("Don't"))
        return;
    step.builder.runCommand(step.directory,
                            {QStringLiteral("chmod"),
                             isYes(setting) ? QStringLiteral("-w") : QStringLiteral("+w"), output},
                            QString());
}

// The command of a stage or combine step, split at "&&", then the chmod of its output. False
// when the expanded command is empty: there is nothing to do.
bool BuildEngine::runCopyStep(StepContext &step, const CopyStepProperties &properties,
                              const QString &title, const MacroTable &macros,
                              const QString &output)
{
    if (expanded(step.element, properties.command, step.configuration, macros)
            .trimmed()
            .isEmpty()) {
        if (!step.quiet())
            step.builder.addDetail(QStringLiteral("nothing to do"));
        return false;
    }
    if (step.builder.makesFiles())
        QDir().mkpath(QFileInfo(output).absolutePath());
    runCommandSteps(step, properties.command, properties.directory, title, QStringLiteral("&&"),
                    macros, output);
    setReadOnly(step, properties.readOnly, output);
    return true;
}

bool BuildEngine::buildStage(StepContext &step)
{
    if (step.element->kind() == ProjectElement::Kind::Project) {
        if (step.forced && !step.has(BuildFlag::NoExecute))
            runCommandSteps(step, ProjectProperty::StagePostBuildCommand,
                            ProjectProperty::StagePostBuildCommandWd,
                            QStringLiteral("Post-stage command"), QString(), {}, QString());
        return step.forced;
    }
    if (step.element->kind() != ProjectElement::Kind::File)
        return false;
    step.idler.step(step.element, step.configuration);
    const QString output = outputName(step.element, step.configuration, true);
    const bool current = !step.forced && compileUpToDate(step, output);
    if (const std::optional<bool> ended =
            openStep(step, current, output, {}, "'%1' is up to date."))
        return *ended;
    MacroTable macros;
    macros.insert(QStringLiteral("StageOutputFilePath"), output);
    return runCopyStep(step, {ProjectProperty::StageCommand, ProjectProperty::StageCommandWd,
                              ProjectProperty::StageSetReadonly},
                       QStringLiteral("Copying %1").arg(step.element->elementName()), macros,
                       output);
}

void BuildEngine::collectInputs(const ProjectElement *element, const QString &configuration,
                                QStringList &inputs) const
{
    for (const ProjectElement *child : element->children()) {
        if (!child->isNode()
            || isYes(value(child, ProjectProperty::BuildExcludeFromBuild, configuration)))
            continue;
        if (child->kind() == ProjectElement::Kind::File)
            inputs.append(child->filePath().text());
        else
            collectInputs(child, configuration, inputs);
    }
}

bool BuildEngine::buildCombine(StepContext &step)
{
    step.idler.step(step.element, step.configuration);
    const QString output = outputName(step.element, step.configuration, true);
    QStringList inputs;
    collectInputs(step.element, step.configuration, inputs);
    std::time_t time = 0;
    const bool current = !step.forced && !output.isEmpty()
                         && fileTime(QString(), output, time, step.builder, step.quiet())
                         && newestCheck(QString(), inputs, time, output, step.builder,
                                        step.quiet())
                         && !propertiesChanged(step.element, step.configuration, time,
                                               step.kind, step.builder, step.quiet());
    if (const std::optional<bool> ended = openStep(step, current, output))
        return *ended;
    QStringList relative;
    const QDir directory(step.directory);
    for (const QString &input : std::as_const(inputs))
        relative.append(directory.relativeFilePath(input));
    MacroTable macros;
    macros.insert(QStringLiteral("CombiningOutputFilePath"), output);
    macros.insert(QStringLiteral("CombiningRelInputPaths"), quotedJoin(relative));
    return runCopyStep(step, {ProjectProperty::CombineCommand, ProjectProperty::CombineCommandWd,
                              ProjectProperty::CombineSetReadonly},
                       QStringLiteral("Combining %1").arg(QFileInfo(output).fileName()), macros,
                       output);
}
