// The project-level steps: link, archive, external builds, staging and combining.
#include "build/BuildStep.h"
#include "build/CommandLine.h"
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
        if (isUnityFolder(m_system, child, configuration, flags & BuildFlag::DisableUnity)) {
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

bool BuildEngine::writeListFile(StepContext &step, const QStringList &inputs, const QString &path,
                                bool absolute)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    QByteArray text;
    const QDir directory(step.directory);
    for (const QString &input : inputs) {
        const QString expandedInput = m_system.expand(step.element, step.configuration, input);
        text += (absolute ? expandedInput : directory.relativeFilePath(expandedInput)).toUtf8()
                + '\n';
    }
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text) || file.write(text) != text.size()
        || !file.commit()) {
        step.builder.addError(QStringLiteral("Cannot open file: %1").arg(path));
        m_state.failed = true;
        return false;
    }
    return true;
}

bool BuildEngine::buildLink(StepContext &step)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    step.idler.step(project, configuration);
    const QString output = outputName(project, configuration, true);
    const QStringList objects = collectObjects(project, configuration, step.flags);
    QStringList sorted = objects;
    std::sort(sorted.begin(), sorted.end());
    for (qsizetype i = 1; i < sorted.size(); ++i) {
        if (sorted.at(i) == sorted.at(i - 1)) {
            step.builder.addError(QStringLiteral("The object file %1 has been supplied more than once")
                                      .arg(sorted.at(i)));
            m_state.failed = true;
            return false;
        }
    }
    QStringList libraries;
    dependentInputs(project, configuration, libraries);
    QStringList additional;
    for (const QString &file :
         expanded(project, ProjectProperty::LinkerAdditionalFiles, configuration)
             .split(u';', Qt::SkipEmptyParts))
        additional.append(inDirectory(step.directory, file));
    const bool useScript =
        isYes(value(project, ProjectProperty::LinkUseLinkerScriptFile, configuration));
    const QString script =
        inDirectory(step.directory,
                    expanded(project, ProjectProperty::LinkLinkerScriptFile, configuration));
    const QStringList outputs = outputsOfLink(project, configuration);
    if (!step.forced) {
        std::time_t time = 0;
        QStringList inputs = objects + libraries + existing(additional);
        if (useScript && !script.isEmpty())
            inputs.append(script);
        else
            inputs += existing(
                {inDirectory(step.directory, expanded(project, ProjectProperty::LinkerMemoryMapFile,
                                                      configuration)),
                 inDirectory(step.directory,
                             expanded(project, ProjectProperty::LinkerSectionPlacementFile,
                                      configuration))});
        inputs.removeAll(QString());
        if (fileTime(QString(), output, time, step.builder, step.quiet())
            && newestCheck(QString(), inputs, time, output, step.builder, step.quiet())
            && !propertiesChanged(project, configuration, time, step.kind, step.builder,
                                  step.quiet())
            && std::all_of(outputs.begin(), outputs.end(), [&](const QString &other) {
                   std::time_t ignored = 0;
                   return fileTime(QString(), other, ignored, step.builder, step.quiet());
               })) {
            if (!step.quiet())
                step.builder.addDetail(QStringLiteral("'%1' is up to date").arg(output));
            return false;
        }
    }
    if (step.has(BuildFlag::RemoveOutputs)) {
        removeFile(output, step.builder, step.quiet());
        for (const QString &other : outputs)
            removeFile(other, step.builder, step.quiet());
    }
    if (step.has(BuildFlag::NoExecute))
        return true;
    runCommandSteps(step, ProjectProperty::LinkerPreBuildCommand,
                    ProjectProperty::LinkerPreBuildCommandWd, QStringLiteral("Pre-link command "),
                    QString(), {}, QString());
    const bool linkDependents =
        isYes(value(project, ProjectProperty::LinkDependentProjects, configuration));
    const QStringList inputs = objects + (linkDependents ? libraries : QStringList()) + additional;
    if (!runToolStep(step, inputs, output,
                     QStringLiteral("Linking %1").arg(QFileInfo(output).fileName()), script))
        return true;
    if (!step.builder.acceptOutput(output)) {
        for (const QString &path : QStringList{output} + outputs)
            QFile::remove(path);
        m_state.failed = true;
        return true;
    }
    MacroTable macros;
    macros.insert(QStringLiteral("TargetPath"), output);
    macros.insert(QStringLiteral("RelTargetPath"), QDir(step.directory).relativeFilePath(output));
    macros.insert(QStringLiteral("PostLinkOutputFilePath"),
                  expanded(project, ProjectProperty::LinkerPostBuildCommandOutputFile,
                           configuration));
    runCommandSteps(step, ProjectProperty::LinkerPostBuildCommand,
                    ProjectProperty::LinkerPostBuildCommandWd, QStringLiteral("Post-link command "),
                    QStringLiteral(" && "), macros, QString());
    return true;
}

bool BuildEngine::buildArchive(StepContext &step)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    step.idler.step(project, configuration);
    const QString output = outputName(project, configuration, true);
    const QStringList objects = collectObjects(project, configuration, step.flags);
    if (!step.forced) {
        std::time_t time = 0;
        if (fileTime(QString(), output, time, step.builder, step.quiet())
            && newestCheck(QString(), objects, time, output, step.builder, step.quiet())) {
            if (!step.quiet())
                step.builder.addDetail(QStringLiteral("'%1' is up to date").arg(output));
            return false;
        }
    }
    if (step.has(BuildFlag::RemoveOutputs))
        removeFile(output, step.builder, step.quiet());
    if (step.has(BuildFlag::NoExecute))
        return true;
    if (!runToolStep(step, objects, output,
                     QStringLiteral("Archiving %1").arg(QFileInfo(output).fileName()), QString()))
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
bool BuildEngine::runToolStep(StepContext &step, const QStringList &inputs,
                              const QString &output, const QString &title, const QString &script)
{
    ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    const bool archive = step.kind == BuildKind::Archive;
    ProjectProperty commandProperty =
        archive ? ProjectProperty::ExternalArchiveCommand : ProjectProperty::ExternalLinkCommand;
    QString command = expanded(project, commandProperty, configuration);
    if (command.isEmpty() && !archive && projectHasCpp(m_system, project, configuration)) {
        commandProperty = ProjectProperty::ExternalCppLinkCommand;
        command = expanded(project, commandProperty, configuration);
    }
    const QDir directory(step.directory);
    if (!command.isEmpty() && isExternallyBuilt(m_system, project, configuration)) {
        MacroTable macros = toolMacros(step, output);
        const QString listName =
            expanded(project, ProjectProperty::ExternalObjectsFileName, configuration);
        if (!listName.isEmpty()) {
            const QString listPath = inDirectory(step.directory, listName);
            if (!writeListFile(step, inputs, listPath, !QDir::isRelativePath(listName)))
                return false;
            macros.insert(QStringLiteral("ObjectsFilePath"), listPath);
            macros.insert(QStringLiteral("RelObjectsFilePath"), directory.relativeFilePath(listPath));
        }
        macros.insert(QStringLiteral("Objects"), quotedJoin(inputs));
        const QStringList outputs = outputsOfLink(project, configuration);
        if (!archive && isYes(value(project, ProjectProperty::LinkerMapFile, configuration))
            && !outputs.isEmpty()) {
            macros.insert(QStringLiteral("MapPath"), outputs.first());
            macros.insert(QStringLiteral("RelMapPath"), directory.relativeFilePath(outputs.first()));
        }
        macros.insert(QStringLiteral("LinkerScriptPath"), script);
        macros.insert(QStringLiteral("RelLinkerScriptPath"),
                      script.isEmpty() ? QString() : directory.relativeFilePath(script));
        const QString text = expanded(project, commandProperty, configuration, macros);
        step.builder.beginStep(project, title, configuration, 1);
        for (const QString &part : text.split(QStringLiteral("&&"), Qt::SkipEmptyParts)) {
            const QStringList arguments = splitCommandLine(part.trimmed());
            if (!arguments.isEmpty())
                step.builder.runCommand(step.directory, arguments, output);
        }
        step.builder.endStep(project, configuration);
        return true;
    }
    const QFileInfo outputInfo(output);
    const QString listPath = inDirectory(
        step.directory,
        expanded(project, ProjectProperty::BuildIntermediateDirectory, configuration) + u'/'
            + outputInfo.completeBaseName() + QStringLiteral(".ind"));
    if (!writeListFile(step, inputs, listPath, true))
        return false;
    QStringList arguments = frontEndHead(step);
    arguments << QStringLiteral("-inputfiles") << directory.relativeFilePath(listPath);
    if (archive)
        arguments << QStringLiteral("-ar");
    else
        arguments += linkArguments(step, script, output);
    arguments << QStringLiteral("-o") << output;
    if (m_state.failed)
        return false;
    step.builder.beginStep(project, title, configuration, 1);
    step.builder.runCommand(step.directory, arguments, output);
    step.builder.endStep(project, configuration);
    return true;
}

QStringList BuildEngine::linkArguments(StepContext &step, const QString &script,
                                       const QString &output)
{
    const ProjectElement *project = step.element;
    const QString &configuration = step.configuration;
    auto text = [&](ProjectProperty property) { return value(project, property, configuration); };
    auto yes = [&](ProjectProperty property) { return isYes(text(property)); };
    const QDir directory(step.directory);
    QStringList arguments;
    if (yes(ProjectProperty::LinkUseLinkerScriptFile)) {
        arguments.append(QStringLiteral("-T") + script);
    } else {
        const QString map = inDirectory(
            step.directory, expanded(project, ProjectProperty::LinkerMemoryMapFile, configuration));
        const QString mapMacros =
            expanded(project, ProjectProperty::LinkerMemoryMapMacros, configuration);
        if (!map.isEmpty() && QFileInfo::exists(map)) {
            arguments << QStringLiteral("-memorymap") << directory.relativeFilePath(map);
            if (!mapMacros.isEmpty())
                arguments << QStringLiteral("-memorymapmacros") << mapMacros;
        } else if (const QString segments = text(ProjectProperty::LinkerSectionPlacementsSegments);
                   !segments.isEmpty()) {
            arguments << QStringLiteral("-placementsegments") << segments;
        }
        const QString placement = inDirectory(
            step.directory,
            expanded(project, ProjectProperty::LinkerSectionPlacementFile, configuration));
        if (!placement.isEmpty() && QFileInfo::exists(placement)) {
            arguments << QStringLiteral("-placement") << directory.relativeFilePath(placement);
            const QString macros =
                expanded(project, ProjectProperty::LinkerSectionPlacementMacros, configuration);
            if (!macros.isEmpty())
                arguments << QStringLiteral("-placementmacros") << macros;
        }
    }
    if (yes(ProjectProperty::CppEnableExceptions))
        arguments.append(QStringLiteral("-exceptions"));
    if (yes(ProjectProperty::CppEnableRtti))
        arguments.append(QStringLiteral("-rtti"));
    arguments.append(QStringLiteral("-printf=") + printfWord(step));
    arguments.append(QStringLiteral("-scanf=") + scanfWord(step));
    const QString format = text(ProjectProperty::LinkerOutputFormat);
    if (format != QLatin1String("None") && !format.isEmpty())
        arguments.append(QStringLiteral("-F") + format);
    if (text(ProjectProperty::LinkIncludeStandardLibraries) == QLatin1String("No"))
        arguments.append(QStringLiteral("-l-"));
    if (yes(ProjectProperty::LinkerMapFile))
        arguments.append(QStringLiteral("-M"));
    for (const QString &symbol : text(ProjectProperty::LinkSymbolDefinitions).split(u';', Qt::SkipEmptyParts))
        arguments.append(QStringLiteral("-d") + symbol);
    for (const QString &symbol : text(ProjectProperty::LinkerKeepSymbols).split(u';', Qt::SkipEmptyParts))
        arguments.append(QStringLiteral("-K") + symbol);
    for (const QString &option :
         splitOptions(expanded(project, ProjectProperty::LinkerAdditionalOptions, configuration)))
        arguments.append(QStringLiteral("-Wl,") + option);
    if (!appendOptionsFrom(step, ProjectProperty::LinkerAdditionalOptionsFromFile,
                           QStringLiteral("-Wl,"), arguments))
        return {};
    const QString patch = expanded(project, ProjectProperty::LinkerPatchBuildCommand, configuration);
    if (!patch.isEmpty())
        arguments << QStringLiteral("-patch") << patch;
    Q_UNUSED(output);
    return arguments;
}

QString BuildEngine::printfWord(StepContext &step) const
{
    auto text = [&](ProjectProperty property) {
        return value(step.element, property, step.configuration);
    };
    const QString level = text(ProjectProperty::LinkerPrintfFmtLevel);
    const bool longLong = level == QLatin1String("long long");
    const QString fp = text(ProjectProperty::LinkerPrintfFpEnabled);
    QString word;
    if (fp == QLatin1String("No")) {
        word = longLong ? QStringLiteral("ll")
               : level == QLatin1String("long") ? QStringLiteral("l")
                                                : QStringLiteral("i");
        if (isYes(text(ProjectProperty::LinkerPrintfWidthPrecisionSupported)))
            word += u'p';
    } else if (fp == QLatin1String("Double") || fp == QLatin1String("Yes")) {
        word = longLong ? QStringLiteral("dll") : QStringLiteral("d");
    } else {
        word = longLong ? QStringLiteral("fll") : QStringLiteral("f");
    }
    if (isYes(text(ProjectProperty::LinkerPrintfWcharEnabled)))
        word += u'w';
    return word;
}

QString BuildEngine::scanfWord(StepContext &step) const
{
    auto text = [&](ProjectProperty property) {
        return value(step.element, property, step.configuration);
    };
    // The integer size of the scan support follows the print support's level.
    const QString level = text(ProjectProperty::LinkerPrintfFmtLevel);
    const bool longLong = level == QLatin1String("long long");
    QString word;
    if (isYes(text(ProjectProperty::LinkerScanfFpEnabled)))
        word = longLong ? QStringLiteral("dll") : QStringLiteral("d");
    else
        word = longLong ? QStringLiteral("ll")
               : level == QLatin1String("long") ? QStringLiteral("l")
                                                : QStringLiteral("i");
    if (isYes(text(ProjectProperty::LinkerScanfCharacterGroupMatchingEnabled)))
        word += u'c';
    return word;
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
    if (!step.forced && compileUpToDate(step, output)) {
        if (!step.quiet())
            step.builder.addDetail(QStringLiteral("'%1' is up to date.").arg(output));
        return false;
    }
    if (step.has(BuildFlag::RemoveOutputs))
        removeFile(output, step.builder, step.quiet());
    if (step.has(BuildFlag::NoExecute))
        return true;
    MacroTable macros;
    macros.insert(QStringLiteral("StageOutputFilePath"), output);
    if (expanded(step.element, ProjectProperty::StageCommand, step.configuration, macros)
            .trimmed()
            .isEmpty()) {
        if (!step.quiet())
            step.builder.addDetail(QStringLiteral("nothing to do"));
        return false;
    }
    QDir().mkpath(QFileInfo(output).absolutePath());
    runCommandSteps(step, ProjectProperty::StageCommand, ProjectProperty::StageCommandWd,
                    QStringLiteral("Copying %1").arg(step.element->elementName()),
                    QStringLiteral("&&"), macros, output);
    setReadOnly(step, ProjectProperty::StageSetReadonly, output);
    return true;
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
    if (!step.forced && !output.isEmpty()) {
        std::time_t time = 0;
        if (fileTime(QString(), output, time, step.builder, step.quiet())
            && newestCheck(QString(), inputs, time, output, step.builder, step.quiet())
            && !propertiesChanged(step.element, step.configuration, time, step.kind,
                                  step.builder, step.quiet())) {
            if (!step.quiet())
                step.builder.addDetail(QStringLiteral("'%1' is up to date").arg(output));
            return false;
        }
    }
    if (step.has(BuildFlag::RemoveOutputs))
        removeFile(output, step.builder, step.quiet());
    if (step.has(BuildFlag::NoExecute))
        return true;
    QStringList relative;
    const QDir directory(step.directory);
    for (const QString &input : std::as_const(inputs))
        relative.append(directory.relativeFilePath(input));
    MacroTable macros;
    macros.insert(QStringLiteral("CombiningOutputFilePath"), output);
    macros.insert(QStringLiteral("CombiningRelInputPaths"), quotedJoin(relative));
    if (expanded(step.element, ProjectProperty::CombineCommand, step.configuration, macros)
            .trimmed()
            .isEmpty()) {
        if (!step.quiet())
            step.builder.addDetail(QStringLiteral("nothing to do"));
        return false;
    }
    QDir().mkpath(QFileInfo(output).absolutePath());
    runCommandSteps(step, ProjectProperty::CombineCommand, ProjectProperty::CombineCommandWd,
                    QStringLiteral("Combining %1").arg(QFileInfo(output).fileName()),
                    QStringLiteral("&&"), macros, output);
    setReadOnly(step, ProjectProperty::CombineSetReadonly, output);
    return true;
}
