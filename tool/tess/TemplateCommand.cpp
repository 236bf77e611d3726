// tess template: project templates from the command line. `list` shows the templates found,
// `choices` what a template leaves to the user, `new` makes a project from one in a solution.
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "foundation/PropertyClass.h"
#include "foundation/Report.h"
#include "projects/ProjectTemplateInstance.h"
#include "projects/ProjectTemplates.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ProjectCommandSupport.h"
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstdio>

namespace {

void writeOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

// $(PackagesDir) as the environment defines it, unless --packages names the directory.
QString packagesDirectory(const CommandArguments &arguments)
{
    if (arguments.has("--packages"))
        return arguments.value("--packages");
    const PropertyClassList *macros = PropertyClassList::global();
    if (!macros)
        return {};
    const QString name = QStringLiteral("PackagesDir");
    return macros->globalMacros.value(name, macros->macros.value(name));
}

// The template sources after the files the user named: packages, then the installation.
void addStandardSources(const CommandArguments &arguments, ProjectTemplates &templates)
{
    templates.addPackages(packagesDirectory(arguments));
    templates.addInstallation(installationDirectory());
}

// Loads the --templates files; false after reporting the first that would not load.
bool addNamedFiles(const CommandArguments &arguments, ProjectTemplates &templates)
{
    for (const QString &path : arguments.values("--templates")) {
        if (!templates.addFile(path)) {
            arguments.fail(templates.problems().last());
            return false;
        }
    }
    return true;
}

// The template of that name or title, or a message naming the ones there are.
std::optional<ProjectTemplateNode> findTemplate(const CommandArguments &arguments,
                                                const ProjectTemplates &templates,
                                                const QString &name)
{
    if (std::optional<ProjectTemplateNode> node = templates.find(name))
        return node;
    QStringList names;
    for (const ProjectTemplateNode &node : templates.nodes())
        names.append(QStringLiteral("'%1'").arg(node.name()));
    arguments.fail(names.isEmpty() ? QStringLiteral("no template '%1': no templates found").arg(name)
                                   : QStringLiteral("no template '%1'; there are %2")
                                         .arg(name, names.join(QStringLiteral(", "))));
    return std::nullopt;
}

int list(const CommandArguments &arguments)
{
    const MacroSession macros;
    setReportMask(reportMask() | reportWarnings);
    ProjectTemplates templates;
    bool complete = true;
    for (const QString &path : arguments.operands())
        complete = templates.addFile(path) && complete;
    addStandardSources(arguments, templates);
    const ProjectTemplateNodeList nodes = templates.nodes();
    qsizetype nameWidth = 0, titleWidth = 0;
    for (const ProjectTemplateNode &node : nodes) {
        nameWidth = std::max(nameWidth, node.name().size());
        titleWidth = std::max(titleWidth, node.title().size());
    }
    QString text;
    for (const ProjectTemplateNode &node : nodes)
        text += QStringLiteral("%1  %2  %3\n")
                    .arg(node.name(), -int(nameWidth))
                    .arg(node.title(), -int(titleWidth))
                    .arg(node.file->path());
    writeOut(text);
    for (const QString &problem : templates.problems())
        arguments.fail(problem);
    if (nodes.empty() && templates.problems().isEmpty())
        return arguments.fail(QStringLiteral("no templates found"));
    return complete && templates.problems().isEmpty() ? exitSuccess : exitFailure;
}

int choices(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one template"));
    SolutionSession session;
    setReportMask(reportMask() | reportWarnings);
    ProjectTemplates templates;
    if (!addNamedFiles(arguments, templates))
        return exitFailure;
    addStandardSources(arguments, templates);
    const std::optional<ProjectTemplateNode> node =
        findTemplate(arguments, templates, arguments.operands().first());
    if (!node)
        return exitFailure;
    try {
        const ProjectTemplateWalk walk(session.system(), *node, nullptr);
        QString text;
        for (const ProjectTemplateChoice &choice : walk.choices()) {
            const QString values = choice.alternatives.isEmpty()
                                       ? QStringLiteral("any text")
                                       : choice.alternatives.join(u'|');
            text += QStringLiteral("%1=%2  (%3)  %4\n")
                        .arg(choice.name, choice.defaultValue, values, choice.title);
        }
        if (walk.choices().empty())
            text = QStringLiteral("template '%1' has no choices\n").arg(node->name());
        writeOut(text);
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
    return exitSuccess;
}

// The solution file of `new`: made empty when it does not exist yet, and taken away again if
// the project cannot be added.
class SolutionFile {
public:
    explicit SolutionFile(QString path) : m_path(std::move(path)) {}
    ~SolutionFile()
    {
        if (m_made && !m_kept)
            QFile::remove(m_path);
    }
    void makeIfMissing()
    {
        if (QFileInfo::exists(m_path))
            return;
        StandardProjectSystem::writeNewSolution(m_path, QFileInfo(m_path).completeBaseName());
        m_made = true;
    }
    void keep() { m_kept = true; }

private:
    QString m_path;
    bool m_made = false;
    bool m_kept = false;
};

// Sets each --choice NAME=VALUE; false after reporting a usage error.
bool applyChoices(const CommandArguments &arguments, ProjectTemplateWalk &walk)
{
    for (const QString &choice : arguments.values("--choice")) {
        const qsizetype equals = choice.indexOf(u'=');
        if (equals <= 0) {
            arguments.usageError(QStringLiteral("--choice wants NAME=VALUE, not '%1'").arg(choice));
            return false;
        }
        try {
            walk.choose(choice.left(equals), choice.mid(equals + 1));
        } catch (const HException &error) {
            arguments.usageError(error.message());
            return false;
        }
    }
    return true;
}

int create(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 3)
        return arguments.usageError(
            QStringLiteral("give the solution file, the template and the project's name"));
    const QString solutionPath = arguments.operands()[0];
    SolutionSession session;
    setReportMask(reportMask() | reportWarnings);
    SolutionFile solutionFile(solutionPath);
    try {
        solutionFile.makeIfMissing();
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
    if (!loadForCommand(session, solutionPath))
        return exitFailure;
    ProjectTemplates templates;
    if (!addNamedFiles(arguments, templates))
        return exitFailure;
    templates.addSolution(session.system());
    addStandardSources(arguments, templates);
    const std::optional<ProjectTemplateNode> node =
        findTemplate(arguments, templates, arguments.operands()[1]);
    if (!node)
        return exitFailure;
    try {
        ProjectTemplateInstance instance(session.system(), *node, arguments.operands()[2]);
        if (!applyChoices(arguments, instance.walk()))
            return exitUsage;
        const bool force = arguments.has("--force");
        if (!force && QFileInfo::exists(instance.projectDirectory()))
            return arguments.fail(QStringLiteral("project directory %1 exists (--force writes into it)")
                                      .arg(instance.projectDirectory()));
        const QStringList toOpen = instance.create(force);
        solutionFile.keep();
        writeOut(toOpen.isEmpty() ? QString() : toOpen.join(u'\n') + u'\n');
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
    return exitSuccess;
}

constexpr TessOption packagesOption = {"--packages", "DIR",
                                       "the installed packages (default $(PackagesDir))"};
constexpr TessOption listOptions[] = {packagesOption};
constexpr TessOption choicesOptions[] = {
    {"--templates", "FILE", "search this templates file first (repeatable)"},
    packagesOption,
};
constexpr TessOption newOptions[] = {
    {"--choice", "NAME=VALUE", "decide one of the template's choices (repeatable)"},
    {"--templates", "FILE", "search this templates file first (repeatable)"},
    {"--force", nullptr, "write into an existing project directory, replacing its files"},
    packagesOption,
};

constexpr TessCommand templateRows[] = {
    {"template list", "[TEMPLATE_FILE...]",
     "the project templates found: name, title and the file that holds each", listOptions,
     "tess template list examples/memmap/templates/project_templates.xml", list},
    {"template choices", "TEMPLATE [--templates FILE]",
     "what a template leaves to the user, as NAME=DEFAULT with the values offered",
     choicesOptions,
     "tess template choices BareMetalExecutable --templates project_templates.xml", choices},
    {"template new",
     "SOLUTION TEMPLATE PROJECT_NAME [--choice NAME=VALUE]... [--templates FILE] [--force]",
     "add a project made from a template to a solution (made if missing); prints files to open",
     newOptions,
     "tess template new Demo.qvProject StaticLibrary filters --choice with_source=No", create},
};

} // namespace

std::span<const TessCommand> templateCommands()
{
    return templateRows;
}
