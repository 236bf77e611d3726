#include "build/GenericOptions.h"
#include "build/ToolCommands.h"
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <cstdio>
#include <memory>

// tess commands: the compile, assemble, archive and link steps a full build of a solution (or
// of one element of it) would run, one a line as "<working directory>: <command line>". Runs
// nothing and writes nothing, list files included.

namespace {

using P = ProjectProperty;

struct Extension {
    const char *suffix;
    ToolKind kind;
};

// Code types by extension when a file names no file_type.
constexpr Extension extensions[] = {
    {"c", ToolKind::CCompile},     {"cpp", ToolKind::CppCompile}, {"cc", ToolKind::CppCompile},
    {"cxx", ToolKind::CppCompile}, {"c++", ToolKind::CppCompile}, {"s", ToolKind::Assemble},
    {"asm", ToolKind::Assemble},
};

struct FileType {
    const char *type;
    ToolKind kind;
};

constexpr FileType fileTypes[] = {
    {"C", ToolKind::CCompile}, {"C++", ToolKind::CppCompile}, {"Assembly", ToolKind::Assemble}};

class Lister {
public:
    Lister(StandardProjectSystem &system, QString configuration)
        : m_system(system), m_configuration(std::move(configuration)), m_generic(system),
          m_lines(system, m_generic)
    {
    }

    void walk(ProjectElement *element);
    [[nodiscard]] bool failed() const { return m_failed; }

private:
    void project(ProjectElement *project);
    void files(ProjectElement *element, QStringList &objects);
    void compile(ProjectElement *file, ToolKind kind, QStringList &objects);
    [[nodiscard]] bool kindOf(const ProjectElement *file, ToolKind &kind) const;
    [[nodiscard]] QString value(const ProjectElement *element, P property) const
    {
        return m_system.resolveProperty(element, m_system.propertyClass(property), m_configuration);
    }
    [[nodiscard]] QString absolute(const ProjectElement *element, const QString &path) const
    {
        return QDir::cleanPath(QDir(m_lines.projectDirectory(element, m_configuration)).absoluteFilePath(path));
    }
    void print(const ToolStep &step) { std::printf("%s\n", describeStep(step).toUtf8().constData()); }
    void fail(const QStringList &messages);

    StandardProjectSystem &m_system;
    QString m_configuration;
    GenericOptions m_generic;
    ToolCommandLines m_lines;
    bool m_failed = false;
};

void Lister::fail(const QStringList &messages)
{
    for (const QString &message : messages)
        std::fprintf(stderr, "tess commands: %s\n", message.toUtf8().constData());
    m_failed = true;
}

void Lister::walk(ProjectElement *element)
{
    switch (element->kind()) {
    case ProjectElement::Kind::Solution:
        for (ProjectElement *child : element->children())
            walk(child);
        break;
    case ProjectElement::Kind::Project:
        project(element);
        break;
    case ProjectElement::Kind::Folder:
    case ProjectElement::Kind::File: {
        QStringList objects;
        files(element, objects);
        break;
    }
    default:
        break;
    }
}

bool Lister::kindOf(const ProjectElement *file, ToolKind &kind) const
{
    const QString type = value(file, P::FileType);
    for (const FileType &entry : fileTypes) {
        if (type == QLatin1String(entry.type)) {
            kind = entry.kind;
            return true;
        }
    }
    if (!type.isEmpty())
        return false;
    const QString suffix = QFileInfo(m_system.macroTable(file, m_configuration)
                                         .value(QStringLiteral("InputPath"))).suffix();
    for (const Extension &entry : extensions) {
        if (suffix == QLatin1String(entry.suffix)
            || (suffix == QLatin1String("S") && entry.kind == ToolKind::Assemble)) {
            kind = entry.kind;
            if (kind == ToolKind::CCompile && value(file, P::CFilesAreCpp) == QLatin1String("Yes"))
                kind = ToolKind::CppCompile;
            return true;
        }
    }
    return false;
}

void Lister::files(ProjectElement *element, QStringList &objects)
{
    if (value(element, P::BuildExcludeFromBuild) == QLatin1String("Yes"))
        return;
    if (element->kind() == ProjectElement::Kind::Folder) {
        for (ProjectElement *child : element->children())
            files(child, objects);
        return;
    }
    ToolKind kind;
    if (element->kind() == ProjectElement::Kind::File && kindOf(element, kind))
        compile(element, kind, objects);
}

void Lister::compile(ProjectElement *file, ToolKind kind, QStringList &objects)
{
    static constexpr P externalCommands[] = {P::ExternalCCompileCommand, P::ExternalCppCompileCommand,
                                             P::ExternalAssembleCommand};
    const PropertyClass *external = m_system.propertyClass(externalCommands[int(kind) - 2]);
    const bool externallyBuilt = value(file, P::ProjectType).startsWith(QLatin1String("Externally Built"));
    if (externallyBuilt && value(file, externalCommands[int(kind) - 2]).isEmpty())
        return;
    CompileRequest request;
    request.element = file;
    request.configuration = m_configuration;
    request.kind = kind;
    request.inputs = {m_system.macroTable(file, m_configuration).value(QStringLiteral("InputPath"))};
    request.output = absolute(file, m_system.expandedProperty(file, m_system.propertyClass(P::BuildObjectFileName), m_configuration));
    const QString named = m_system.expandedProperty(file, m_system.propertyClass(P::BuildDependencyFileName), m_configuration);
    const QFileInfo object(request.output);
    request.dependencyFile = named.isEmpty() ? object.path() + u'/' + object.completeBaseName() + QStringLiteral(".d")
                                             : absolute(file, named);
    objects.append(request.output);
    if (externallyBuilt) {
        print(m_lines.externalStep(request, external));
        return;
    }
    ToolStep step;
    QStringList errors;
    if (m_lines.standardStep(request, step, errors))
        print(step);
    else
        fail(errors);
}

void Lister::project(ProjectElement *project)
{
    if (value(project, P::BuildExcludeFromBuild) == QLatin1String("Yes"))
        return;
    QString error;
    if (!m_generic.load(project, m_configuration, &error)) {
        fail({error});
        return;
    }
    QStringList objects;
    for (ProjectElement *child : project->children())
        files(child, objects);
    const QString type = value(project, P::ProjectType);
    const bool library = type.endsWith(QLatin1String("Library"));
    if (!library && !type.endsWith(QLatin1String("Executable")))
        return;
    CompileRequest request;
    request.element = project;
    request.configuration = m_configuration;
    request.kind = library ? ToolKind::Archive : ToolKind::Link;
    request.inputs = objects;
    const PropertyClass *outputRow = m_system.classFor(QStringLiteral("build_output_file_name"), project, m_configuration);
    request.output = absolute(project, m_system.expandedProperty(project, outputRow, m_configuration));
    if (type.startsWith(QLatin1String("Externally Built"))) {
        P command = library ? P::ExternalArchiveCommand : P::ExternalLinkCommand;
        if (!library && value(project, command).isEmpty())
            command = P::ExternalCppLinkCommand;
        if (!value(project, command).isEmpty())
            print(m_lines.externalStep(request, m_system.propertyClass(command)));
        return;
    }
    ToolStep step;
    QStringList errors;
    if (m_lines.standardStep(request, step, errors))
        print(step);
    else
        fail(errors);
}

} // namespace

int commandsCommand(const QStringList &arguments)
{
    if (arguments.size() < 2 || arguments.size() > 3) {
        std::fprintf(stderr, "usage: tess commands FILE CONFIGURATION [ELEMENT]\n");
        return 1;
    }
    std::unique_ptr<PropertyClassList> macros;
    if (!PropertyClassList::global()) {
        macros = PropertyClassList::createMacroSystem();
        PropertyClassList::setGlobal(macros.get());
        if (installationDirectory().isEmpty())
            setInstallationDirectory(QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/..")));
        macros->defineSystemMacro(QStringLiteral("VarnelDir"), installationDirectory(),
                                  QStringLiteral("Installation directory of Tessmark."));
    }
    int status = 0;
    {
        StandardProjectSystem system;
        system.setRunLoadCommands(false);
        try {
            system.loadSolution(QDir::currentPath(), arguments.at(0), true);
            ProjectElement *top = arguments.size() == 3 ? system.findElement(arguments.at(2)) : system.solution();
            if (!top) {
                std::fprintf(stderr, "tess commands: no element '%s' in %s\n",
                             arguments.at(2).toUtf8().constData(), arguments.at(0).toUtf8().constData());
                status = 1;
            } else {
                Lister lister(system, arguments.at(1));
                lister.walk(top);
                status = lister.failed() ? 1 : 0;
            }
        } catch (const HException &error) {
            std::fprintf(stderr, "tess commands: %s\n", error.message().toUtf8().constData());
            status = 1;
        }
    }
    if (macros)
        PropertyClassList::setGlobal(nullptr);
    return status;
}
