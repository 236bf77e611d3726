#include "buildengine/BuildPlan.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildRequest.h"
#include "projects/StandardProjectSystem.h"
#include <algorithm>

namespace {

// Longest chain of projects depending on each other that is followed.
constexpr int maxDependencyDepth = 64;

} // namespace

BuildPlan::BuildPlan(BuildEngine &engine, Builder &builder, Idler &idler)
    : m_engine(engine), m_builder(builder), m_idler(idler)
{
}

void BuildPlan::plan(const BuildRequest &request, int threads)
{
    ProjectElement *element = request.element;
    const QString &configuration = request.configuration;
    const uint flags = request.flags;
    switch (element->kind()) {
    case ProjectElement::Kind::Solution:
        m_atomic = threads == 1 || (flags & BuildFlag::ProjectLevelParallel);
        addSolution(element, configuration, flags, request.operation.batch);
        break;
    case ProjectElement::Kind::Project:
    case ProjectElement::Kind::Folder: {
        const bool staging = element->kind() == ProjectElement::Kind::Project
                             && m_engine.kindOf(element, configuration) == BuildKind::Stage
                             && !m_engine.expanded(element, ProjectProperty::StagePostBuildCommand,
                                                   configuration)
                                     .isEmpty();
        m_atomic = threads == 1
                   || (flags & (BuildFlag::SelfOnly | BuildFlag::ProjectLevelParallel))
                   || isUnityFolder(m_engine.m_values, element, configuration, false) || staging;
        addProject(element, configuration, flags, request.operation.batch,
                   request.operation.dependencies);
        break;
    }
    default: {
        const QString label = m_engine.itemLabel(element, configuration, flags);
        m_items.push_back({element, configuration, flags | BuildFlag::ProjectHead, label});
        m_items.push_back({element, configuration, flags | BuildFlag::ProjectTail, label});
        m_single = true;
        break;
    }
    }
}

void BuildPlan::addSolution(ProjectElement *solution, const QString &configuration, uint flags,
                            bool batch)
{
    for (ProjectElement *child : solution->children()) {
        if (m_engine.m_state.stopped)
            return;
        switch (child->kind()) {
        case ProjectElement::Kind::Project:
            addProject(child, configuration, flags, batch, true);
            break;
        case ProjectElement::Kind::Solution:
        case ProjectElement::Kind::Folder:
            addSolution(child, configuration, flags, batch);
            break;
        default:
            break;
        }
    }
}

void BuildPlan::addProject(ProjectElement *project, const QString &configuration, uint flags,
                           bool batch, bool dependencies)
{
    for (const QString &config : m_engine.batchConfigurations(project, configuration, batch)) {
        if (m_engine.m_state.stopped)
            return;
        if (isYes(m_engine.value(project, ProjectProperty::BuildExcludeFromBuild, config)))
            continue;
        if (dependencies && project->kind() == ProjectElement::Kind::Project
            && addDependencies(project, config, flags))
            addBarrier(config);
        if (hasItem(project, config))
            continue;
        const QString label = m_engine.itemLabel(project, config, flags);
        const uint steps = uint(qMin(m_engine.countSteps(project, config, flags), 0xffff));
        m_items.push_back({project, config,
                           (flags & BuildFlag::LowMask) | BuildFlag::ProjectHead
                               | (steps << BuildFlag::StepShift),
                           label});
        uint tailFlags = flags;   // the next configuration starts from the request's flags
        if (!m_atomic) {
            addFiles(project, config, flags);
            addBarrier(config);
            tailFlags |= BuildFlag::SelfOnly;
        }
        m_items.push_back({project, config,
                           (tailFlags & BuildFlag::LowMask) | BuildFlag::ProjectTail, label});
    }
}

bool BuildPlan::addDependencies(ProjectElement *project, const QString &configuration,
                                uint flags)
{
    m_collecting.emplace_back(project, configuration);
    bool headed = false;
    bool added = false;
    auto problem = [&](const QString &text) {
        if (!headed)
            m_builder.beginStep(project, QStringLiteral("Dependency error detected in %1")
                                             .arg(project->elementName()),
                                configuration, 0);
        headed = true;
        m_builder.addWarning(text);
    };
    const StandardProjectSystem &system = m_engine.system();
    for (const QString &name : m_engine.dependencyNames(project, configuration)) {
        m_idler.idle(0);
        if (m_engine.m_state.stopped)
            break;
        ProjectElement *dependency = m_engine.findProject(project, name);
        if (!dependency) {
            problem(QStringLiteral("Can't find project %1").arg(name));
        } else if (!system.publicConfigurations().contains(configuration)
                   && !system.privateConfigurations().contains(configuration)
                   && configuration != QLatin1String("Common")) {
            problem(QStringLiteral("Configuration %1 doesn't apply to dependent project %2")
                        .arg(configuration, name));
        } else if (std::find(m_collecting.begin(), m_collecting.end(),
                             std::pair<const ProjectElement *, QString>(dependency, configuration))
                   != m_collecting.end()) {
            problem(QStringLiteral("Project %1 depends on itself through %2")
                        .arg(name, project->elementName()));
        } else if (hasItem(dependency, configuration)) {
            continue;
        } else if (int(m_collecting.size()) >= maxDependencyDepth) {
            problem(QStringLiteral("Dependencies of %1 nest too deeply").arg(name));
        } else {
            addDependency(dependency, configuration, flags);
            added = true;
        }
    }
    if (headed)
        m_builder.endStep(project, configuration);
    m_collecting.pop_back();
    return added;
}

// A project that can't build beside others is fenced off by barriers on both sides.
void BuildPlan::addDependency(ProjectElement *dependency, const QString &configuration,
                              uint flags)
{
    const bool parallel = canBuildInParallel(dependency, configuration);
    if (!parallel)
        addBarrier(configuration);
    addProject(dependency, configuration, flags, false, true);
    if (!parallel)
        addBarrier(configuration);
}

void BuildPlan::addFiles(ProjectElement *element, const QString &configuration, uint flags)
{
    const uint itemFlags = (flags & BuildFlag::LowMask) | BuildFlag::NoLabel;
    for (ProjectElement *child : element->children()) {
        if (child->kind() == ProjectElement::Kind::File) {
            m_items.push_back({child, configuration, itemFlags, {}});
        } else if (child->kind() == ProjectElement::Kind::Folder) {
            if (isUnityFolder(m_engine.m_values, child, configuration,
                              flags & BuildFlag::DisableUnity))
                m_items.push_back({child, configuration, itemFlags, {}});
            else
                addFiles(child, configuration, flags);
        }
    }
}

void BuildPlan::addBarrier(const QString &configuration)
{
    m_items.push_back({nullptr, configuration, 0, {}});
}

bool BuildPlan::hasItem(const ProjectElement *element, const QString &configuration) const
{
    return std::any_of(m_items.begin(), m_items.end(), [&](const BuildItem &item) {
        return item.element == element && item.configuration == configuration;
    });
}

bool BuildPlan::canBuildInParallel(const ProjectElement *project,
                                   const QString &configuration) const
{
    const QString setting = m_engine.value(project, ProjectProperty::ProjectCanBuildInParallel,
                                           configuration);
    if (setting == QLatin1String("Default")) {
        const BuildKind kind = m_engine.kindOf(project, configuration);
        return kind != BuildKind::Stage && kind != BuildKind::Combine;
    }
    return setting != QLatin1String("No");
}
