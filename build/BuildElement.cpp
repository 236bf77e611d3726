// The walk over one element: is it out of date, and what runs to bring it up to date.
#include "build/BuildStep.h"
#include "build/CommandLine.h"
#include "build/DependencyFile.h"
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

QString prefixedJoin(const QString &prefix, const QStringList &values)
{
    QStringList parts;
    for (const QString &value : values)
        parts.append(prefix + value);
    return parts.join(u' ');
}

} // namespace

bool BuildEngine::buildElement(ProjectElement *element, const QString &configuration,
                               Builder &builder, Idler &idler, uint flags)
{
    idler.idle(0);
    const BuildKind kind = kindOf(element, configuration);
    if (kind == BuildKind::Excluded)
        return false;
    bool forced = (flags & BuildFlag::Force)
                  || isYes(value(element, ProjectProperty::BuildAlwaysRebuild, configuration));
    bool built = false;
    if (isUnityFolder(m_system, element, configuration, flags & BuildFlag::DisableUnity))
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
    if (!(flags & BuildFlag::NoExecute)) {
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
    if (!step.forced && compileUpToDate(step, output)) {
        if (!step.quiet())
            step.builder.addDetail(QStringLiteral("'%1' is up to date").arg(output));
        return false;
    }
    const QString dependencyFile = dependencyFileName(step.element, step.configuration, true);
    if (step.has(BuildFlag::RemoveOutputs)) {
        removeFile(output, step.builder, step.quiet());
        removeFile(dependencyFile, step.builder, step.quiet());
    }
    if (step.has(BuildFlag::NoExecute))
        return true;
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
    const QString name = step.element->elementName();
    QString title = step.kind == BuildKind::Assemble ? QStringLiteral("Assembling %1").arg(name)
                                                     : QStringLiteral("Compiling %1").arg(name);
    if (unity)
        title = QStringLiteral("Compiling folder %1 in unity mode as %2")
                    .arg(name, QFileInfo(input).fileName());
    QStringList arguments;
    if (isExternallyBuilt(m_system, StandardProjectSystem::projectOf(step.element),
                          step.configuration)) {
        static constexpr ProjectProperty commands[] = {ProjectProperty::ExternalCCompileCommand,
                                                       ProjectProperty::ExternalCppCompileCommand,
                                                       ProjectProperty::ExternalAssembleCommand};
        const ProjectProperty command = commands[int(step.kind) - int(BuildKind::CCompile)];
        arguments = splitCommandLine(expanded(step.element, command, step.configuration,
                                              toolMacros(step, output)));
    } else {
        arguments = compileArguments(step, input, output,
                                     !step.has(BuildFlag::NoDependencyFile));
    }
    if (m_state.failed)
        return true;
    step.builder.beginStep(step.element, title, step.configuration, 1);
    step.builder.runCommand(step.directory, arguments, output);
    step.builder.endStep(step.element, step.configuration);
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

QStringList BuildEngine::compileArguments(StepContext &step, const QString &input,
                                          const QString &output, bool withDependencyFile)
{
    const ProjectElement *element = step.element;
    const QString &configuration = step.configuration;
    auto yes = [&](ProjectProperty property) {
        return isYes(value(element, property, configuration));
    };
    auto list = [&](ProjectProperty property) {
        return splitOptions(expanded(element, property, configuration));
    };
    QStringList arguments = frontEndHead(step);
    static const char *const languages[] = {"-xc", "-xc++", "-xasm"};
    arguments << QStringLiteral("-c")
              << QLatin1String(languages[int(step.kind) - int(BuildKind::CCompile)]) << input;
    if (step.kind == BuildKind::CppCompile) {
        if (yes(ProjectProperty::CppEnableExceptions))
            arguments.append(QStringLiteral("-exceptions"));
        if (yes(ProjectProperty::CppEnableRtti))
            arguments.append(QStringLiteral("-rtti"));
    }
    if (yes(ProjectProperty::BuildDebugInformation))
        arguments.append(QStringLiteral("-g"));
    for (const ProjectProperty property : {ProjectProperty::CUserIncludeDirectories,
                                           ProjectProperty::CSystemIncludeDirectories})
        for (const QString &directory : list(property))
            arguments.append(QStringLiteral("-I") + directory);
    for (const QString &definition : list(ProjectProperty::CPreprocessorDefinitions))
        arguments.append(QStringLiteral("-D") + definition);
    for (const QString &name : list(ProjectProperty::CPreprocessorUndefinitions))
        arguments.append(QStringLiteral("-U") + name);
    if (withDependencyFile)
        arguments << QStringLiteral("-depend") << dependencyFileName(element, configuration, true);
    static constexpr std::pair<ProjectProperty, const char *> sections[] = {
        {ProjectProperty::DefaultCodeSection, "-Rc,"},
        {ProjectProperty::DefaultDataSection, "-Rd,"},
        {ProjectProperty::DefaultZeroedSection, "-Rz,"},
        {ProjectProperty::DefaultConstSection, "-Rk,"}};
    for (const auto &[property, option] : sections) {
        const QString name = value(element, property, configuration);
        if (name != m_system.propertyClass(property)->defaultValue)
            arguments.append(QLatin1String(option) + name);
    }
    using P = ProjectProperty;
    const bool assembly = step.kind == BuildKind::Assemble;
    const QString prefix = assembly ? QStringLiteral("-Wa,") : QStringLiteral("-Wc,");
    const std::vector<std::pair<P, P>> options =
        assembly ? std::vector<std::pair<P, P>>{{P::AsmAdditionalOptions,
                                                 P::AsmAdditionalOptionsFromFile}}
        : step.kind == BuildKind::CppCompile
            ? std::vector<std::pair<P, P>>{{P::CAdditionalOptions, P::CAdditionalOptionsFromFile},
                                           {P::CppOnlyAdditionalOptions,
                                            P::CppOnlyAdditionalOptionsFromFile}}
            : std::vector<std::pair<P, P>>{{P::CAdditionalOptions, P::CAdditionalOptionsFromFile},
                                           {P::COnlyAdditionalOptions,
                                            P::COnlyAdditionalOptionsFromFile}};
    for (const auto &[plain, fromFile] : options) {
        for (const QString &option : list(plain))
            arguments.append(prefix + option);
        if (!appendOptionsFrom(step, fromFile, prefix, arguments))
            return {};
    }
    arguments << QStringLiteral("-o") << output;
    return arguments;
}

QStringList BuildEngine::frontEndHead(StepContext &step)
{
    auto yes = [&](ProjectProperty property) {
        return isYes(value(step.element, property, step.configuration));
    };
    QStringList arguments{
        m_system.expand(step.element, step.configuration, QStringLiteral("$(VarnelDir)/bin/cc"))};
    if (!yes(ProjectProperty::BuildQuietly))
        arguments.append(QStringLiteral("-v"));
    if (yes(ProjectProperty::BuildTreatWarningsAsErrors))
        arguments.append(QStringLiteral("-we"));
    if (yes(ProjectProperty::BuildSuppressWarnings))
        arguments.append(QStringLiteral("-w"));
    return arguments;
}

bool BuildEngine::appendOptionsFrom(StepContext &step, ProjectProperty property,
                                    const QString &prefix, QStringList &arguments)
{
    const QString file = expanded(step.element, property, step.configuration);
    if (file.isEmpty())
        return true;
    const QString path = inDirectory(step.directory, file);
    QStringList lines;
    if (!readOptionsFile(path, lines)) {
        step.builder.addError(QStringLiteral("Cannot load options file: %1").arg(path));
        m_state.failed = true;
        return false;
    }
    for (const QString &line : std::as_const(lines))
        arguments.append(prefix + line);
    return true;
}

MacroTable BuildEngine::toolMacros(StepContext &step, const QString &output)
{
    const ProjectElement *element = step.element;
    const QString &configuration = step.configuration;
    auto list = [&](ProjectProperty property) {
        return splitOptions(expanded(element, property, configuration));
    };
    const QDir directory(step.directory);
    MacroTable macros;
    macros.insert(QStringLiteral("TargetPath"), output);
    macros.insert(QStringLiteral("RelTargetPath"), directory.relativeFilePath(output));
    if (isCompileKind(step.kind)) {
        const QString dependencies = dependencyFileName(element, configuration, true);
        macros.insert(QStringLiteral("DependencyPath"), dependencies);
        macros.insert(QStringLiteral("RelDependencyPath"),
                      directory.relativeFilePath(dependencies));
    }
    macros.insert(QStringLiteral("Defines"),
                  prefixedJoin(QStringLiteral("-D"), list(ProjectProperty::CPreprocessorDefinitions)));
    macros.insert(QStringLiteral("Undefines"),
                  prefixedJoin(QStringLiteral("-U"),
                               list(ProjectProperty::CPreprocessorUndefinitions)));
    macros.insert(QStringLiteral("Includes"),
                  prefixedJoin(QStringLiteral("-I"),
                               list(ProjectProperty::CUserIncludeDirectories)
                                   + list(ProjectProperty::CSystemIncludeDirectories)));
    static constexpr std::pair<const char *, ProjectProperty> options[] = {
        {"COptions", ProjectProperty::CAdditionalOptions},
        {"COnlyOptions", ProjectProperty::COnlyAdditionalOptions},
        {"CppOnlyOptions", ProjectProperty::CppOnlyAdditionalOptions},
        {"AsmOptions", ProjectProperty::AsmAdditionalOptions},
        {"LinkOptions", ProjectProperty::LinkerAdditionalOptions}};
    for (const auto &[name, property] : options)
        macros.insert(QLatin1String(name), list(property).join(u' '));
    return macros;
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
    for (const QString &argument : compileArguments(step, source, QString(), false)) {
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
