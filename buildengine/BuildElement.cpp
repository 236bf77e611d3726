// The walk over one element: is it out of date, and what runs to bring it up to date.
#include "buildengine/BuildStep.h"
#include "buildengine/CommandLine.h"
#include "buildengine/DependencyFile.h"
#include "buildengine/GenericOptions.h"
#include "buildengine/ToolCommands.h"
#include "foundation/PropertyClass.h"
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

} // namespace

bool BuildEngine::buildElement(ProjectElement *element, const QString &configuration,
                               Builder &builder, Idler &idler, uint flags)
{
    idler.idle(0);
    if (!loadGenericOptions(element, configuration, builder))
        return false;
    const BuildKind kind = kindOf(element, configuration);
    if (kind == BuildKind::Excluded)
        return false;
    bool forced = (flags & BuildFlag::Force)
                  || isYes(value(element, ProjectProperty::BuildAlwaysRebuild, configuration));
    bool built = false;
    if (isUnityFolder(m_values, element, configuration, flags & BuildFlag::DisableUnity))
        built = buildUnityFolder(element, configuration, builder, idler, flags, forced);
    else if (!(flags & BuildFlag::SelfOnly) && kind != BuildKind::ExternalStep)
        built = buildChildren(element, configuration, builder, idler, flags, forced);
    if (m_state.failed || m_state.stopped)
        return built;
    StepContext step{element, configuration, builder, idler, flags, forced, kind,
                     projectDirectory(element, configuration)};
    if (flags & BuildFlag::AnalyzeOnly) {
        if (kind == BuildKind::CCompile || kind == BuildKind::CppCompile)
            return runAnalyzer(step) || built;
        return built;
    }
    switch (kind) {
    case BuildKind::CCompile:
    case BuildKind::CppCompile:
    case BuildKind::Assemble:
        return buildCompile(step) || built;
    case BuildKind::Link:
        return buildLink(step) || built;
    case BuildKind::Archive:
        return buildArchive(step) || built;
    case BuildKind::ExternalStep:
        return element->kind() == ProjectElement::Kind::Project && buildExternalProject(step);
    case BuildKind::Stage:
        return buildStage(step) || built;
    case BuildKind::Combine:
        return buildCombine(step) || built;
    default:
        // A folder or project without a step of its own reports what its children did.
        return element->kind() != ProjectElement::Kind::File && forced;
    }
}

bool BuildEngine::buildChildren(ProjectElement *element, const QString &configuration,
                                Builder &builder, Idler &idler, uint flags, bool &forced)
{
    bool built = false;
    for (ProjectElement *child : element->children()) {
        if (m_state.failed || m_state.stopped)
            break;
        if (!child->isNode())
            continue;
        if (buildElement(child, configuration, builder, idler, flags)) {
            built = true;
            forced = true;
        }
    }
    return built;
}

bool BuildEngine::buildUnityFolder(ProjectElement *folder, const QString &configuration,
                                   Builder &builder, Idler &idler, uint flags, bool &forced)
{
    QList<QRegularExpression> filters;
    for (const QString &pattern :
         value(folder, ProjectProperty::UnityBuildExcludeFilter, configuration)
             .split(u';', Qt::SkipEmptyParts))
        filters.append(QRegularExpression(QRegularExpression::wildcardToRegularExpression(
            pattern, QRegularExpression::UnanchoredWildcardConversion)));
    QStringList members;
    std::vector<ProjectElement *> separate;
    std::vector<ProjectElement *> pending(folder->children().begin(), folder->children().end());
    for (size_t i = 0; i < pending.size(); ++i) {
        ProjectElement *child = pending[i];
        if (child->kind() == ProjectElement::Kind::Folder)
            pending.insert(pending.end(), child->children().begin(), child->children().end());
        if (child->kind() != ProjectElement::Kind::File
            || kindOf(child, configuration) == BuildKind::Excluded)
            continue;
        const QString path = child->filePath().text();
        const bool apart = std::any_of(filters.begin(), filters.end(), [&](const auto &filter) {
            return filter.match(path).hasMatch();
        });
        if (apart)
            separate.push_back(child);
        else if (isCompileKind(kindOf(child, configuration)))
            members.append(QFileInfo(path).absoluteFilePath());
    }
    const QString unityFile = unityFileName(folder, configuration);
    if (flags & BuildFlag::RemoveOutputs)
        removeFile(unityFile, builder, flags & BuildFlag::Quiet);
    if (!(flags & BuildFlag::NoExecute) && builder.makesFiles()) {
        const QFileInfo info(unityFile);
        const QFileInfo solutionFile(m_system.solutionPath().text());
        if (!info.exists() || info.lastModified() < solutionFile.lastModified() || forced) {
            QByteArray text;
            for (const QString &member : std::as_const(members))
                text += "#include \"" + member.toUtf8() + "\"\n";
            QDir().mkpath(info.absolutePath());
            QSaveFile file(unityFile);
            if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()
                || !file.commit()) {
                builder.addError(QStringLiteral("Cannot open file: %1").arg(unityFile));
                m_state.failed = true;
                return false;
            }
        }
    }
    bool built = false;
    for (ProjectElement *file : separate) {
        if (m_state.failed || m_state.stopped)
            break;
        if (buildElement(file, configuration, builder, idler, flags)) {
            built = true;
            forced = true;
        }
    }
    return built;
}

bool BuildEngine::compileUpToDate(StepContext &step, const QString &output)
{
    std::time_t outputTime = 0;
    if (!fileTime(QString(), output, outputTime, step.builder, step.quiet()))
        return false;
    const QString input = step.element->kind() == ProjectElement::Kind::Folder
                              ? unityFileName(step.element, step.configuration)
                              : step.element->filePath().text();
    if (!newestCheck(QString(), {input}, outputTime, output, step.builder, step.quiet()))
        return false;
    if (step.kind != BuildKind::Stage) {
        const QStringList dependencies =
            readDependencyFile(dependencyFileName(step.element, step.configuration, true));
        if (!newestCheck(step.directory, dependencies, outputTime, output, step.builder,
                         step.quiet()))
            return false;
    }
    return !propertiesChanged(step.element, step.configuration, outputTime, step.kind,
                              step.builder, step.quiet());
}

bool BuildEngine::buildCompile(StepContext &step)
{
    step.idler.step(step.element, step.configuration);
    const QString output = outputName(step.element, step.configuration, true);
    const bool unity = step.element->kind() == ProjectElement::Kind::Folder;
    QString input = unity ? unityFileName(step.element, step.configuration)
                          : step.element->filePath().text();
    const bool current = !step.forced && compileUpToDate(step, output);
    // The dependency file goes with the object; its name is only needed when the step goes on.
    const QStringList others =
        current ? QStringList()
                : QStringList{dependencyFileName(step.element, step.configuration, true)};
    if (const std::optional<bool> ended = openStep(step, current, output, others))
        return *ended;
    const QString preOutput = inDirectory(
        step.directory,
        expanded(step.element, ProjectProperty::CompilePreBuildCommandOutputFileName,
                 step.configuration));
    if (runCommandSteps(step, ProjectProperty::CompilePreBuildCommand,
                        ProjectProperty::CompilePreBuildCommandWd,
                        QStringLiteral("Pre-compile command "), QString(), {}, preOutput)
        && !preOutput.isEmpty())
        input = preOutput;
    if (m_state.failed || m_state.stopped)
        return true;
    if (isExternallyBuilt(m_values, step.element->project(),
                          step.configuration)) {
        static constexpr ProjectProperty commands[] = {ProjectProperty::ExternalCCompileCommand,
                                                       ProjectProperty::ExternalCppCompileCommand,
                                                       ProjectProperty::ExternalAssembleCommand};
        runExternalTool(step, compileRequest(step, input, output, true),
                        commands[int(step.kind) - int(BuildKind::CCompile)], QString());
    } else {
        runToolStep(step,
                    compileRequest(step, input, output, !step.has(BuildFlag::NoDependencyFile)));
    }
    if (m_state.failed)
        return true;
    if (step.kind != BuildKind::Assemble
        && isYes(value(step.element, ProjectProperty::AnalyzeAfterCompile, step.configuration)))
        runAnalyzer(step);
    MacroTable macros;
    macros.insert(QStringLiteral("TargetPath"), output);
    macros.insert(QStringLiteral("RelTargetPath"), QDir(step.directory).relativeFilePath(output));
    runCommandSteps(step, ProjectProperty::CompilePostBuildCommand,
                    ProjectProperty::CompilePostBuildCommandWd,
                    QStringLiteral("Post-compile command "), QString(), macros, QString());
    return true;
}

bool BuildEngine::runCommandSteps(StepContext &step, ProjectProperty commandProperty,
                                  ProjectProperty directoryProperty, const QString &title,
                                  const QString &separator, const MacroTable &macros,
                                  const QString &outputPath)
{
    const QString command =
        expanded(step.element, commandProperty, step.configuration, macros).trimmed();
    if (command.isEmpty())
        return false;
    const QString directory = inDirectory(
        step.directory, expanded(step.element, directoryProperty, step.configuration, macros));
    step.builder.beginStep(step.element, title, step.configuration, 0);
    const QStringList parts =
        separator.isEmpty() ? QStringList{command} : command.split(separator, Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const QStringList arguments = splitCommandLine(part.trimmed());
        if (!arguments.isEmpty())
            step.builder.runCommand(directory.isEmpty() ? step.directory : directory, arguments,
                                    outputPath);
    }
    step.builder.endStep(step.element, step.configuration);
    return true;
}

CompileRequest BuildEngine::compileRequest(StepContext &step, const QString &input,
                                           const QString &output, bool withDependencyFile) const
{
    CompileRequest request;
    request.element = step.element;
    request.configuration = step.configuration;
    request.kind = ToolKind(int(step.kind));
    request.inputs = {input};
    request.output = output;
    if (withDependencyFile)
        request.dependencyFile = dependencyFileName(step.element, step.configuration, true);
    return request;
}

bool BuildEngine::loadGenericOptions(ProjectElement *element, const QString &configuration,
                                     Builder &builder)
{
    // A tool chain is a project's choice: its file is looked up once per project walked.
    ProjectElement *project = element->project();
    if (!project || (project == m_genericProject && configuration == m_genericConfiguration))
        return true;
    QString error;
    if (m_generic->load(project, configuration, &error)) {
        m_genericProject = project;
        m_genericConfiguration = configuration;
        return true;
    }
    builder.addError(error);
    m_state.failed = true;
    return false;
}

bool BuildEngine::failStep(StepContext &step, const QStringList &errors)
{
    if (!errors.isEmpty())
        step.builder.addError(errors.first());
    for (qsizetype i = 1; i < errors.size(); ++i)
        step.builder.addInformation(errors.at(i));
    m_state.failed = true;
    return false;
}

bool BuildEngine::runToolStep(StepContext &step, const CompileRequest &request)
{
    ToolStep tool;
    QStringList errors;
    if (!m_tools->standardStep(request, tool, errors))
        return failStep(step, errors);
    if (step.builder.makesFiles() && !ToolCommandLines::writeListFile(tool))
        return failStep(step, {QStringLiteral("Cannot open file: %1").arg(tool.listFile)});
    step.builder.beginStep(step.element, tool.title, step.configuration, 1);
    step.builder.runCommand(tool.workingDirectory, tool.arguments, request.output);
    step.builder.endStep(step.element, step.configuration);
    return true;
}

bool BuildEngine::runAnalyzer(StepContext &step)
{
    const bool cpp = step.kind == BuildKind::CppCompile;
    QString program = m_system.expand(step.element, step.configuration,
                                      QStringLiteral("$(CLANGTIDY)"));
    if (program.isEmpty() || program.contains(QLatin1String("$(")))
        program = QStringLiteral("clang-tidy");
    const QString source = step.element->filePath().text();
    QStringList arguments{program,
                          QStringLiteral("-checks=")
                              + expanded(step.element,
                                         cpp ? ProjectProperty::ClangTidyChecksCpp
                                             : ProjectProperty::ClangTidyChecksC,
                                         step.configuration),
                          QStringLiteral("-quiet"), source, QStringLiteral("--"),
                          QStringLiteral("-x"), cpp ? QStringLiteral("c++") : QStringLiteral("c")};
    ToolStep compile;
    QStringList ignored;   // a bad options file is reported by the compile itself
    (void)m_tools->standardStep(compileRequest(step, source, QString(), false), compile, ignored);
    for (const QString &argument : std::as_const(compile.arguments)) {
        if (argument.startsWith(QLatin1String("-I")) || argument.startsWith(QLatin1String("-D"))
            || argument.startsWith(QLatin1String("-U")))
            arguments.append(argument);
    }
    if (cpp) {
        if (value(step.element, ProjectProperty::CppEnableExceptions, step.configuration)
            != QLatin1String("No"))
            arguments << QStringLiteral("-fcxx-exceptions") << QStringLiteral("-fexceptions");
        if (value(step.element, ProjectProperty::CppEnableRtti, step.configuration)
            == QLatin1String("No"))
            arguments.append(QStringLiteral("-fno-rtti"));
    }
    step.builder.beginStep(step.element,
                           QStringLiteral("Analyzing %1").arg(QFileInfo(source).fileName()),
                           step.configuration, 1);
    step.builder.runCommand(step.directory, arguments, QString());
    step.builder.endStep(step.element, step.configuration);
    return true;
}
