// The engine's own state and what the planning and the steps ask of an element; the planning
// itself is BuildPlan, the running of the items BuildSchedule.
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildPlan.h"
#include "buildengine/BuildRequest.h"
#include "buildengine/BuildSchedule.h"
#include "buildengine/CommandLine.h"
#include "buildengine/DirectoryHandles.h"
#include "buildengine/GenericOptions.h"
#include "buildengine/ToolCommands.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QRegularExpression>
#include <algorithm>
#include <memory>

namespace {

bool wildcardMatch(const QString &pattern, const QString &name)
{
    return QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern),
                              QRegularExpression::CaseInsensitiveOption)
        .match(name)
        .hasMatch();
}

QStringList projectNames(const ProjectElement *solution)
{
    QStringList names;
    for (const ProjectElement *child : solution->children()) {
        if (child->kind() == ProjectElement::Kind::Project)
            names.append(child->elementName());
        else if (child->kind() == ProjectElement::Kind::Solution)
            names.append(projectNames(child));
    }
    return names;
}

} // namespace

BuildEngine::BuildEngine(StandardProjectSystem &system)
    : m_system(system), m_values(system), m_generic(std::make_unique<GenericOptions>(system)),
      m_tools(std::make_unique<ToolCommandLines>(system, *m_generic, &m_values))
{
}

BuildEngine::~BuildEngine() = default;

BuildKind BuildEngine::kindOf(const ProjectElement *element, const QString &configuration) const
{
    QHash<const ProjectElement *, BuildKind> &kinds = m_kinds.of(configuration);
    if (const auto it = kinds.constFind(element); it != kinds.constEnd())
        return it.value();
    const BuildKind kind = buildKind(m_values, element, configuration);
    kinds.insert(element, kind);
    return kind;
}

void BuildEngine::clearCaches()
{
    m_kinds.clear();
    m_outputs.clear();
    m_genericProject = nullptr;
    DirectoryHandles::shared().clear();
}

int BuildEngine::build(const BuildRequest &request)
{
    if (!request.element || request.builders.empty())
        return Refused;
    m_state = {};
    clearCaches();
    Idler quiet;
    Idler &idler = request.idler ? *request.idler : quiet;
    int threads = qBound(1, qMin(request.threads, int(request.builders.size())), maxThreads);
    BuildPlan plan(*this, *request.builders.front(), idler);
    plan.plan(request, threads);
    if (plan.single())
        threads = 1;
    return BuildSchedule(*this, plan.items(), threads, request.builders, idler).run();
}

void BuildEngine::cancelBuild(const std::vector<Builder *> &)
{
    m_state.stopped = true;
}

QStringList BuildEngine::batchConfigurations(const ProjectElement *project,
                                             const QString &configuration, bool batch) const
{
    if (!batch)
        return {configuration};
    const QStringList all = m_system.publicConfigurations();
    QString text = value(project, ProjectProperty::BatchBuildConfigurations, configuration);
    const QStringList wanted = text.split(u';', Qt::SkipEmptyParts);
    if (wanted.isEmpty() || (wanted.size() == 1 && wanted.first() == QLatin1String("Common")))
        return all;
    QStringList chosen;
    for (const QString &name : all) {
        for (const QString &pattern : wanted) {
            const bool match = pattern.contains(u'*')
                                   ? wildcardMatch(pattern, name)
                                   : pattern.compare(name, Qt::CaseInsensitive) == 0;
            if (match && !chosen.contains(name))
                chosen.append(name);
        }
    }
    return chosen;
}

QStringList BuildEngine::dependencyNames(const ProjectElement *project,
                                         const QString &configuration) const
{
    QString text = value(project, ProjectProperty::ProjectDependencies, configuration);
    text.remove(u'\r').remove(u'\n');
    QStringList names;
    const ProjectElement *solution = project->solution();
    for (const QString &entry : text.split(u';', Qt::SkipEmptyParts)) {
        if (!entry.contains(u'*')) {
            names.append(entry);
            continue;
        }
        for (const ProjectElement *top = solution; top; top = top->parentElement())
            solution = top;
        for (const QString &name : projectNames(solution)) {
            if (wildcardMatch(entry, name) && name != project->elementName())
                names.append(name);
        }
    }
    return names;
}

ProjectElement *BuildEngine::findProject(const ProjectElement *from, const QString &name) const
{
    for (const ProjectElement *solution = from->solution(); solution;
         solution = solution->parentElement()
                        ? solution->parentElement()->solution()
                        : nullptr) {
        for (ProjectElement *child : solution->children()) {
            if (child->kind() == ProjectElement::Kind::Project && child->elementName() == name)
                return child;
        }
    }
    return nullptr;
}

int BuildEngine::countSteps(const ProjectElement *element, const QString &configuration,
                            uint flags) const
{
    const BuildKind kind = kindOf(element, configuration);
    if (kind == BuildKind::Excluded || kind == BuildKind::ExternalStep
        || (flags & BuildFlag::SelfOnly))
        return 0;
    if (isUnityFolder(m_values, element, configuration, flags & BuildFlag::DisableUnity))
        return 1;
    int count = kind == BuildKind::NoBuild ? 0 : 1;
    for (const ProjectElement *child : element->children()) {
        if (child->isNode())
            count += countSteps(child, configuration, flags);
    }
    return count;
}

QString BuildEngine::itemLabel(const ProjectElement *element, const QString &configuration,
                               uint flags) const
{
    if (flags & BuildFlag::NoLabel)
        return {};
    QString word = QStringLiteral("Building");
    if ((flags & BuildFlag::NoExecute) && (flags & BuildFlag::Quiet))
        word = QStringLiteral("Checking");
    else if (flags & BuildFlag::RemoveOutputs)
        word = flags & BuildFlag::NoExecute ? QStringLiteral("Cleaning")
                                            : QStringLiteral("Rebuilding");
    else if (flags & BuildFlag::AnalyzeOnly)
        word = QStringLiteral("Analyzing");
    QString label = word + u' ' + element->elementName();
    const ProjectElement::Kind kind = element->kind();
    if (kind == ProjectElement::Kind::File || kind == ProjectElement::Kind::Folder) {
        if (const ProjectElement *project = element->project())
            label += QStringLiteral(" from project ") + project->elementName();
    }
    if (const ProjectElement *solution = element->solution();
        solution && solution != element)
        label += QStringLiteral(" from solution ") + solution->elementName();
    return label + QStringLiteral(" in configuration ") + configuration;
}

void BuildEngine::runProjectCommand(ProjectElement *project, const QString &configuration,
                                    Builder &builder, Idler &idler, bool post, bool forced,
                                    bool built)
{
    if (project->kind() != ProjectElement::Kind::Project || m_state.failed || m_state.stopped)
        return;
    const QString command = expanded(
        project, post ? ProjectProperty::PostBuildCommand : ProjectProperty::PreBuildCommand,
        configuration);
    if (command.isEmpty())
        return;
    if (!forced) {
        const QString control = value(project,
                                      post ? ProjectProperty::PostBuildCommandControl
                                           : ProjectProperty::PreBuildCommandControl,
                                      configuration);
        if (control != QLatin1String("Always Run")) {
            if (post && !built)
                return;
            NullBuilder dryRun;
            Idler quietIdler;
            if (!post
                && !buildElement(project, configuration, dryRun, quietIdler,
                                 BuildFlag::NoExecute | BuildFlag::Quiet))
                return;
        }
    }
    QString directory = expanded(project,
                                 post ? ProjectProperty::PostBuildCommandWd
                                      : ProjectProperty::PreBuildCommandWd,
                                 configuration);
    if (directory.isEmpty())
        directory = projectDirectory(project, configuration);
    if (builder.makesFiles())
        QDir().mkpath(directory);
    idler.idle(0);
    builder.beginStep(project, post ? QStringLiteral("Post-build command ")
                                    : QStringLiteral("Pre-build command "),
                      configuration, 0);
    for (const QString &part : command.split(QStringLiteral(" && "), Qt::SkipEmptyParts)) {
        if (!builder.runCommand(directory, splitCommandLine(part), QString()) || m_state.failed
            || m_state.stopped)
            break;
    }
    builder.endStep(project, configuration);
    idler.finished();
}
