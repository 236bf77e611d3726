#include "buildengine/ToolCommands.h"
#include "buildengine/CommandLine.h"
#include "buildengine/GenericOptions.h"
#include "buildengine/PropertyValues.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

using P = ProjectProperty;

constexpr const char *yesText = "Yes";

// Section options: only a name other than the row's default reaches the line.
constexpr std::pair<P, const char *> sectionOptions[] = {
    {P::DefaultCodeSection, "-Rc,"},
    {P::DefaultDataSection, "-Rd,"},
    {P::DefaultZeroedSection, "-Rz,"},
    {P::DefaultConstSection, "-Rk,"},
};

[[nodiscard]] QString joined(const QStringList &parts, const QString &prefix)
{
    QStringList withPrefix;
    for (const QString &part : parts)
        withPrefix.append(prefix + part);
    return withPrefix.join(u' ');
}

[[nodiscard]] QString printfWord(const QString &level, const QString &floating, bool widths,
                                 bool wideCharacters)
{
    const bool longLong = level == QLatin1String("long long");
    QString word;
    if (floating == QLatin1String("No")) {
        word = longLong ? QStringLiteral("ll") : level == QLatin1String("long") ? QStringLiteral("l")
                                                                              : QStringLiteral("i");
        if (widths)
            word += u'p';
    } else if (floating == QLatin1String("Double") || floating == QLatin1String(yesText)) {
        word = longLong ? QStringLiteral("dll") : QStringLiteral("d");
    } else {
        word = longLong ? QStringLiteral("fll") : QStringLiteral("f");
    }
    if (wideCharacters)
        word += u'w';
    return word;
}

// The integer size of the scan word comes from the printf level: the two are tied on purpose.
[[nodiscard]] QString scanfWord(const QString &printfLevel, bool floating, bool groups)
{
    const bool longLong = printfLevel == QLatin1String("long long");
    QString word;
    if (floating)
        word = longLong ? QStringLiteral("dll") : QStringLiteral("d");
    else
        word = longLong ? QStringLiteral("ll") : printfLevel == QLatin1String("long")
                                                     ? QStringLiteral("l")
                                                     : QStringLiteral("i");
    if (groups)
        word += u'c';
    return word;
}

// A unity folder compiles as its generated file.
[[nodiscard]] QString compileTitle(const CompileRequest &request)
{
    if (request.element->kind() == ProjectElement::Kind::Folder)
        return QStringLiteral("Compiling folder %1 in unity mode as %2")
            .arg(request.element->elementName(), QFileInfo(request.inputs.value(0)).fileName());
    return (request.kind == ToolKind::Assemble ? QStringLiteral("Assembling ")
                                               : QStringLiteral("Compiling "))
        + request.element->elementName();
}

} // namespace

ToolCommandLines::ToolCommandLines(StandardProjectSystem &system, GenericOptions &generic,
                                   const PropertyValues *values)
    : m_system(system), m_generic(generic),
      m_ownValues(values ? nullptr : std::make_unique<PropertyValues>(system)),
      m_values(values ? *values : *m_ownValues)
{
}

ToolCommandLines::~ToolCommandLines() = default;

QString ToolCommandLines::text(const CompileRequest &request, const PropertyClass *row) const
{
    return m_values.value(request.element, row, request.configuration);
}

bool ToolCommandLines::yes(const CompileRequest &request, const PropertyClass *row) const
{
    return text(request, row) == QLatin1String(yesText);
}

QString ToolCommandLines::projectDirectory(const ProjectElement *element,
                                           const QString &configuration) const
{
    // The project's own table: a file's would be put together for it on every call.
    const ProjectElement *project = element->project();
    return m_system.macroTable(project ? project : element, configuration)
        .value(QStringLiteral("ProjectDir"));
}

QString ToolCommandLines::mapFileOf(const QString &output) const
{
    const QFileInfo info(output);
    return info.path() + u'/' + info.completeBaseName() + QStringLiteral(".map");
}

QStringList ToolCommandLines::includeDirectories(const CompileRequest &request) const
{
    QStringList directories;
    for (const P property : {P::CUserIncludeDirectories, P::CSystemIncludeDirectories}) {
        const PropertyClass *row = m_system.propertyClass(property);
        directories += m_values.expanded(request.element, row, request.configuration)
                           .split(u';', Qt::SkipEmptyParts);
    }
    return directories;
}

bool ToolCommandLines::standardStep(const CompileRequest &request, ToolStep &step,
                                    QStringList &errors) const
{
    const auto row = [this](P property) { return m_system.propertyClass(property); };
    const QString directory = projectDirectory(request.element, request.configuration);
    const QString fileName = QFileInfo(request.output).fileName();
    QStringList &arguments = step.arguments;
    arguments = {expandMacros(PropertyClassList::global(), MacroTable(),
                              QStringLiteral("$(VarnelDir)/bin/cc"), true, true)};
    if (!yes(request, row(P::BuildQuietly)))
        arguments.append(QStringLiteral("-v"));
    if (yes(request, row(P::BuildTreatWarningsAsErrors)))
        arguments.append(QStringLiteral("-we"));
    if (yes(request, row(P::BuildSuppressWarnings)))
        arguments.append(QStringLiteral("-w"));
    const bool listed = request.kind == ToolKind::Link || request.kind == ToolKind::Archive;
    if (listed) {
        const QString intermediate = QDir(directory).absoluteFilePath(
            m_values.expanded(request.element, row(P::BuildIntermediateDirectory),
                                      request.configuration));
        step.listFile = intermediate + u'/' + QFileInfo(request.output).completeBaseName()
            + QStringLiteral(".ind");
        for (const QString &input : request.inputs + request.libraries)
            step.listFileLines.append(m_system.expand(request.element, request.configuration, input));
        arguments << QStringLiteral("-inputfiles") << QDir(directory).relativeFilePath(step.listFile);
    }
    step.element = request.element;
    step.workingDirectory = directory;
    step.outputPath = request.output;
    switch (request.kind) {
    case ToolKind::CCompile:
    case ToolKind::CppCompile:
    case ToolKind::Assemble:
        compileOptions(request, arguments);
        if (!additionalOptions(request, arguments, errors))
            return false;
        arguments << QStringLiteral("-o") << request.output;
        step.title = compileTitle(request);
        return true;
    case ToolKind::Archive:
        arguments << QStringLiteral("-ar") << QStringLiteral("-o") << request.output;
        step.title = QStringLiteral("Archiving ") + fileName;
        return true;
    case ToolKind::Link:
        linkOptions(request, arguments);
        if (!linkAdditionalOptions(request, arguments, errors))
            return false;
        arguments << QStringLiteral("-o") << request.output;
        step.title = QStringLiteral("Linking ") + fileName;
        return true;
    }
    errors.append(QStringLiteral("No tool command for build kind %1").arg(int(request.kind)));
    return false;
}

void ToolCommandLines::compileOptions(const CompileRequest &request, QStringList &arguments) const
{
    const auto row = [this](P property) { return m_system.propertyClass(property); };
    static constexpr const char *languages[] = {"-xc", "-xc++", "-xasm"};
    arguments << QStringLiteral("-c")
              << QLatin1String(languages[int(request.kind) - int(ToolKind::CCompile)])
              << request.inputs.value(0);
    if (request.kind == ToolKind::CppCompile) {
        if (yes(request, row(P::CppEnableExceptions)))
            arguments.append(QStringLiteral("-exceptions"));
        if (yes(request, row(P::CppEnableRtti)))
            arguments.append(QStringLiteral("-rtti"));
    }
    if (yes(request, row(P::BuildDebugInformation)))
        arguments.append(QStringLiteral("-g"));
    for (const QString &directory : includeDirectories(request))
        arguments.append(QStringLiteral("-I") + directory);
    if (request.kind == ToolKind::Assemble)
        m_generic.addOptions({GenericTool::Assembler}, request.element, request.configuration, arguments);
    else
        m_generic.addOptions({GenericTool::Compiler, request.kind == ToolKind::CCompile
                                                         ? GenericTool::CCompiler
                                                         : GenericTool::CppCompiler},
                             request.element, request.configuration, arguments);
    for (const QString &definition : m_values.expanded(request.element,
             row(P::CPreprocessorDefinitions), request.configuration).split(u';', Qt::SkipEmptyParts))
        arguments.append(QStringLiteral("-D") + definition);
    for (const QString &name : m_values.expanded(request.element,
             row(P::CPreprocessorUndefinitions), request.configuration).split(u';', Qt::SkipEmptyParts))
        arguments.append(QStringLiteral("-U") + name);
    if (!request.dependencyFile.isEmpty())
        arguments << QStringLiteral("-depend") << request.dependencyFile;
    for (const auto &[property, option] : sectionOptions) {
        const QString name = text(request, row(property));
        if (!name.isEmpty() && name != row(property)->defaultValue)
            arguments.append(QLatin1String(option) + name);
    }
}

bool ToolCommandLines::optionsFromFile(const CompileRequest &request, const PropertyClass *row,
                                       const QString &prefix, QStringList &arguments,
                                       QStringList &errors) const
{
    QString path = m_values.expanded(request.element, row, request.configuration);
    if (path.isEmpty())
        return true;
    path = QDir(projectDirectory(request.element, request.configuration)).absoluteFilePath(path);
    QStringList lines;
    QString detail;
    if (!readOptionsFile(path, lines, &detail)) {
        errors.append(QStringLiteral("Cannot load options file: ") + path);
        if (!detail.isEmpty())
            errors.append(detail);
        return false;
    }
    for (const QString &line : std::as_const(lines))
        arguments.append(prefix + line);
    return true;
}

bool ToolCommandLines::additionalOptions(const CompileRequest &request, QStringList &arguments,
                                         QStringList &errors) const
{
    struct Source {
        P plain;
        P fromFile;
    };
    const Source common{P::CAdditionalOptions, P::CAdditionalOptionsFromFile};
    const Source cOnly{P::COnlyAdditionalOptions, P::COnlyAdditionalOptionsFromFile};
    const Source cppOnly{P::CppOnlyAdditionalOptions, P::CppOnlyAdditionalOptionsFromFile};
    const Source assembler{P::AsmAdditionalOptions, P::AsmAdditionalOptionsFromFile};
    const bool assemble = request.kind == ToolKind::Assemble;
    const QString prefix = assemble ? QStringLiteral("-Wa,") : QStringLiteral("-Wc,");
    const std::vector<Source> sources = assemble ? std::vector<Source>{assembler}
        : request.kind == ToolKind::CppCompile ? std::vector<Source>{common, cppOnly}
                                                : std::vector<Source>{common, cOnly};
    for (const Source &source : sources) {
        const PropertyClass *row = m_system.propertyClass(source.plain);
        const QStringList parts = splitOptions(
            m_values.expanded(request.element, row, request.configuration));
        for (const QString &part : parts)
            arguments.append(prefix + part);
    }
    for (const Source &source : sources) {
        if (!optionsFromFile(request, m_system.propertyClass(source.fromFile), prefix, arguments, errors))
            return false;
    }
    return true;
}

void ToolCommandLines::linkOptions(const CompileRequest &request, QStringList &arguments) const
{
    const auto row = [this](P property) { return m_system.propertyClass(property); };
    const QDir project(projectDirectory(request.element, request.configuration));
    const auto existing = [&](P property) {
        const QString path = m_values.expanded(request.element, row(property), request.configuration);
        return path.isEmpty() || !QFileInfo::exists(project.absoluteFilePath(path))
            ? QString()
            : project.relativeFilePath(project.absoluteFilePath(path));
    };
    const auto listText = [&](P property) {
        return m_values.expanded(request.element, row(property), request.configuration);
    };
    if (yes(request, row(P::LinkUseLinkerScriptFile))) {
        arguments.append(QStringLiteral("-T") + listText(P::LinkLinkerScriptFile));
    } else {
        const QString memoryMap = existing(P::LinkerMemoryMapFile);
        if (!memoryMap.isEmpty()) {
            arguments << QStringLiteral("-memorymap") << memoryMap;
            if (const QString macros = listText(P::LinkerMemoryMapMacros); !macros.isEmpty())
                arguments << QStringLiteral("-memorymapmacros") << macros;
        } else if (const QString segments = listText(P::LinkerSectionPlacementsSegments);
                   !segments.isEmpty()) {
            arguments << QStringLiteral("-placementsegments") << segments;
        }
        const QString placement = existing(P::LinkerSectionPlacementFile);
        if (!placement.isEmpty()) {
            arguments << QStringLiteral("-placement") << placement;
            if (const QString macros = listText(P::LinkerSectionPlacementMacros); !macros.isEmpty())
                arguments << QStringLiteral("-placementmacros") << macros;
        }
    }
    if (yes(request, row(P::CppEnableExceptions)))
        arguments.append(QStringLiteral("-exceptions"));
    if (yes(request, row(P::CppEnableRtti)))
        arguments.append(QStringLiteral("-rtti"));
    const QString level = text(request, row(P::LinkerPrintfFmtLevel));
    (void)text(request, row(P::LinkerScanfFmtLevel));   // read, but the printf level decides
    arguments.append(QStringLiteral("-printf=")
                     + printfWord(level, text(request, row(P::LinkerPrintfFpEnabled)),
                                  yes(request, row(P::LinkerPrintfWidthPrecisionSupported)),
                                  yes(request, row(P::LinkerPrintfWcharEnabled))));
    arguments.append(QStringLiteral("-scanf=")
                     + scanfWord(level, yes(request, row(P::LinkerScanfFpEnabled)),
                                 yes(request, row(P::LinkerScanfCharacterGroupMatchingEnabled))));
    m_generic.addOptions({GenericTool::Linker}, request.element, request.configuration, arguments);
    if (const QString format = text(request, row(P::LinkerOutputFormat)); format != QLatin1String("None"))
        arguments.append(QStringLiteral("-F") + format);
    if (text(request, row(P::LinkIncludeStandardLibraries)) == QLatin1String("No"))
        arguments.append(QStringLiteral("-l-"));
    if (yes(request, row(P::LinkerMapFile)))
        arguments.append(QStringLiteral("-M"));
    for (const QString &symbol : listText(P::LinkSymbolDefinitions).split(u';', Qt::SkipEmptyParts))
        arguments.append(QStringLiteral("-d") + symbol);
    for (const QString &symbol : listText(P::LinkerKeepSymbols).split(u';', Qt::SkipEmptyParts))
        arguments.append(QStringLiteral("-K") + symbol);
}

bool ToolCommandLines::linkAdditionalOptions(const CompileRequest &request, QStringList &arguments,
                                             QStringList &errors) const
{
    const PropertyClass *options = m_system.propertyClass(P::LinkerAdditionalOptions);
    const QString prefix = QStringLiteral("-Wl,");
    for (const QString &part : splitOptions(m_values.expanded(request.element, options,
                                                                      request.configuration)))
        arguments.append(prefix + part);
    if (!optionsFromFile(request, m_system.propertyClass(P::LinkerAdditionalOptionsFromFile),
                         prefix, arguments, errors))
        return false;
    const QString patch = m_values.expanded(
        request.element, m_system.propertyClass(P::LinkerPatchBuildCommand), request.configuration);
    if (!patch.isEmpty())
        arguments << QStringLiteral("-patch") << patch;
    return true;
}

QString ToolCommandLines::expandCommand(const ProjectElement *element,
                                        const PropertyClass *property,
                                        const QString &configuration,
                                        const MacroTable &macroMap) const
{
    return m_values.expanded(element, property, configuration, macroMap);
}

MacroTable ToolCommandLines::stepMacros(const CompileRequest &request) const
{
    const auto row = [this](P property) { return m_system.propertyClass(property); };
    const auto expanded = [&](P property) {
        return m_values.expanded(request.element, row(property), request.configuration);
    };
    const QDir project(projectDirectory(request.element, request.configuration));
    MacroTable macros;
    const auto setPath = [&](const char *name, const QString &path) {
        macros.insert(QLatin1String(name), path);
        macros.insert(QStringLiteral("Rel") + QLatin1String(name), project.relativeFilePath(path));
    };
    setPath("TargetPath", request.output);
    if (!request.dependencyFile.isEmpty())
        setPath("DependencyPath", request.dependencyFile);
    macros.insert(QStringLiteral("Defines"),
                  joined(expanded(P::CPreprocessorDefinitions).split(u';', Qt::SkipEmptyParts), QStringLiteral("-D")));
    macros.insert(QStringLiteral("Undefines"),
                  joined(expanded(P::CPreprocessorUndefinitions).split(u';', Qt::SkipEmptyParts), QStringLiteral("-U")));
    macros.insert(QStringLiteral("Includes"), joined(includeDirectories(request), QStringLiteral("-I")));
    constexpr std::pair<const char *, P> optionMacros[] = {
        {"COptions", P::CAdditionalOptions},         {"COnlyOptions", P::COnlyAdditionalOptions},
        {"CppOnlyOptions", P::CppOnlyAdditionalOptions}, {"AsmOptions", P::AsmAdditionalOptions},
        {"LinkOptions", P::LinkerAdditionalOptions},
    };
    for (const auto &[name, property] : optionMacros)
        macros.insert(QLatin1String(name), splitOptions(expanded(property)).join(u' '));
    if (request.kind == ToolKind::Link || request.kind == ToolKind::Archive) {
        QStringList quoted;
        for (const QString &object : request.inputs + request.libraries)
            quoted.append(u'"' + object + u'"');
        macros.insert(QStringLiteral("Objects"), quoted.join(u' '));
        if (const QString list = expanded(P::ExternalObjectsFileName); !list.isEmpty())
            setPath("ObjectsFilePath", project.absoluteFilePath(list));
        if (yes(request, row(P::LinkerMapFile)))
            setPath("MapPath", mapFileOf(request.output));
        if (const QString script = expanded(P::LinkLinkerScriptFile); !script.isEmpty())
            setPath("LinkerScriptPath", project.absoluteFilePath(script));
    }
    return macros;
}

ToolStep ToolCommandLines::externalStep(const CompileRequest &request,
                                        const PropertyClass *commandRow,
                                        const MacroTable &extra) const
{
    ToolStep step;
    step.element = request.element;
    step.workingDirectory = projectDirectory(request.element, request.configuration);
    step.outputPath = request.output;
    step.arguments = splitCommandLine(expandCommand(
        request.element, commandRow, request.configuration, mergeMacros(stepMacros(request), extra)));
    const QString fileName = QFileInfo(request.output).fileName();
    switch (request.kind) {
    case ToolKind::CCompile:
        m_generic.addOptions({GenericTool::Compiler, GenericTool::CCompiler}, request.element,
                             request.configuration, step.arguments);
        step.title = compileTitle(request);
        break;
    case ToolKind::CppCompile:
        m_generic.addOptions({GenericTool::Compiler, GenericTool::CppCompiler}, request.element,
                             request.configuration, step.arguments);
        step.title = compileTitle(request);
        break;
    case ToolKind::Assemble:
        m_generic.addOptions({GenericTool::Assembler}, request.element, request.configuration,
                             step.arguments);
        step.title = compileTitle(request);
        break;
    case ToolKind::Link:
        m_generic.addOptions({GenericTool::Linker}, request.element, request.configuration,
                             step.arguments);
        step.title = QStringLiteral("Linking ") + fileName;
        break;
    default:
        step.title = QStringLiteral("Archiving ") + fileName;
        break;
    }
    return step;
}

bool ToolCommandLines::writeListFile(const ToolStep &step)
{
    if (step.listFile.isEmpty())
        return true;
    QDir().mkpath(QFileInfo(step.listFile).path());
    QSaveFile list(step.listFile);
    return list.open(QIODevice::WriteOnly | QIODevice::Text)
        && list.write((step.listFileLines.join(u'\n') + u'\n').toUtf8()) >= 0 && list.commit();
}

QString describeStep(const ToolStep &step)
{
    return step.workingDirectory + QStringLiteral(": ") + displayCommandLine(step.arguments);
}
