// The item list of a build and its scheduling over N slotThreads.
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildThread.h"
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

// Longest chain of projects depending on each other that is followed.
constexpr int maxDependencyDepth = 64;

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

int BuildEngine::buildTop(ProjectElement *element, const QString &configuration, int threads,
                          const std::vector<Builder *> &builders, Idler &idler, uint flags,
                          bool followDependencies, bool batch)
{
    m_state = {};
    clearCaches();
    threads = qBound(1, qMin(threads, int(builders.size())), maxThreads);
    std::vector<BuildItem> items;
    Builder &builder = *builders.front();
    switch (element->kind()) {
    case ProjectElement::Kind::Solution: {
        const bool atomic = threads == 1 || (flags & BuildFlag::ProjectLevelParallel);
        collectSolutionItems(element, configuration, flags, batch, atomic, builder, idler, items);
        break;
    }
    case ProjectElement::Kind::Project:
    case ProjectElement::Kind::Folder: {
        const bool staging = element->kind() == ProjectElement::Kind::Project
                             && kindOf(element, configuration) == BuildKind::Stage
                             && !expanded(element, ProjectProperty::StagePostBuildCommand,
                                          configuration)
                                     .isEmpty();
        const bool atomic = threads == 1
                            || (flags & (BuildFlag::SelfOnly | BuildFlag::ProjectLevelParallel))
                            || isUnityFolder(m_values, element, configuration, false) || staging;
        collectProjectItems(element, configuration, flags, batch, followDependencies, atomic,
                            builder, idler, items);
        break;
    }
    default: {
        const QString label = itemLabel(element, configuration, flags);
        items.push_back({element, configuration, flags | BuildFlag::ProjectHead, label});
        items.push_back({element, configuration, flags | BuildFlag::ProjectTail, label});
        threads = 1;
        break;
    }
    }
    return scheduleBuild(items, threads, builders, idler);
}

void BuildEngine::cancelBuild(const std::vector<Builder *> &)
{
    m_state.stopped = true;
}

void BuildEngine::collectSolutionItems(ProjectElement *solution, const QString &configuration,
                                       uint flags, bool batch, bool atomic, Builder &builder,
                                       Idler &idler, std::vector<BuildItem> &items)
{
    for (ProjectElement *child : solution->children()) {
        if (m_state.stopped)
            return;
        switch (child->kind()) {
        case ProjectElement::Kind::Project:
            collectProjectItems(child, configuration, flags, batch, true, atomic, builder, idler,
                                items);
            break;
        case ProjectElement::Kind::Solution:
        case ProjectElement::Kind::Folder:
            collectSolutionItems(child, configuration, flags, batch, atomic, builder, idler, items);
            break;
        default:
            break;
        }
    }
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
    const ProjectElement *solution = StandardProjectSystem::solutionOf(project);
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
    for (const ProjectElement *solution = StandardProjectSystem::solutionOf(from); solution;
         solution = solution->parentElement()
                        ? StandardProjectSystem::solutionOf(solution->parentElement())
                        : nullptr) {
        for (ProjectElement *child : solution->children()) {
            if (child->kind() == ProjectElement::Kind::Project && child->elementName() == name)
                return child;
        }
    }
    return nullptr;
}

bool BuildEngine::hasItem(const std::vector<BuildItem> &items, const ProjectElement *element,
                          const QString &configuration) const
{
    for (const BuildItem &item : items) {
        if (item.element == element && item.configuration == configuration)
            return true;
    }
    return false;
}

bool BuildEngine::canBuildInParallel(const ProjectElement *project,
                                     const QString &configuration) const
{
    const QString setting = value(project, ProjectProperty::ProjectCanBuildInParallel,
                                  configuration);
    if (setting == QLatin1String("Default")) {
        const BuildKind kind = kindOf(project, configuration);
        return kind != BuildKind::Stage && kind != BuildKind::Combine;
    }
    return setting != QLatin1String("No");
}

void BuildEngine::collectProjectItems(ProjectElement *project, const QString &configuration,
                                      uint flags, bool batch, bool dependencies, bool atomic,
                                      Builder &builder, Idler &idler,
                                      std::vector<BuildItem> &items)
{
    for (const QString &config : batchConfigurations(project, configuration, batch)) {
        if (m_state.stopped)
            return;
        if (isYes(value(project, ProjectProperty::BuildExcludeFromBuild, config)))
            continue;
        if (dependencies && project->kind() == ProjectElement::Kind::Project) {
            m_collecting.emplace_back(project, config);
            bool headed = false;
            bool added = false;
            auto problem = [&](const QString &text) {
                if (!headed)
                    builder.beginStep(project, QStringLiteral("Dependency error detected in %1")
                                                   .arg(project->elementName()),
                                      config, 0);
                headed = true;
                builder.addWarning(text);
            };
            for (const QString &name : dependencyNames(project, config)) {
                idler.idle(0);
                if (m_state.stopped)
                    break;
                ProjectElement *dependency = findProject(project, name);
                if (!dependency) {
                    problem(QStringLiteral("Can't find project %1").arg(name));
                    continue;
                }
                if (!m_system.publicConfigurations().contains(config)
                    && !m_system.privateConfigurations().contains(config)
                    && config != QLatin1String("Common")) {
                    problem(QStringLiteral("Configuration %1 doesn't apply to dependent project %2")
                                .arg(config, name));
                    continue;
                }
                const auto onChain = std::find(m_collecting.begin(), m_collecting.end(),
                                               std::pair<const ProjectElement *, QString>(
                                                   dependency, config));
                if (onChain != m_collecting.end()) {
                    problem(QStringLiteral("Project %1 depends on itself through %2")
                                .arg(name, project->elementName()));
                    continue;
                }
                if (hasItem(items, dependency, config))
                    continue;
                if (int(m_collecting.size()) >= maxDependencyDepth) {
                    problem(QStringLiteral("Dependencies of %1 nest too deeply").arg(name));
                    continue;
                }
                const bool parallel = canBuildInParallel(dependency, config);
                if (!parallel)
                    items.push_back({nullptr, config, 0, {}});
                collectProjectItems(dependency, config, flags, false, true, atomic, builder,
                                    idler, items);
                if (!parallel)
                    items.push_back({nullptr, config, 0, {}});
                added = true;
            }
            if (headed)
                builder.endStep(project, config);
            if (added)
                items.push_back({nullptr, config, 0, {}});
            m_collecting.pop_back();
        }
        if (hasItem(items, project, config))
            continue;
        const QString label = itemLabel(project, config, flags);
        const uint steps = uint(qMin(countSteps(project, config, flags), 0xffff));
        items.push_back({project, config,
                         (flags & BuildFlag::LowMask) | BuildFlag::ProjectHead
                             | (steps << BuildFlag::StepShift),
                         label});
        if (!atomic) {
            collectFiles(project, config, flags, items);
            items.push_back({nullptr, config, 0, {}});
            flags |= BuildFlag::SelfOnly;
        }
        items.push_back({project, config, (flags & BuildFlag::LowMask) | BuildFlag::ProjectTail,
                         label});
    }
}

void BuildEngine::collectFiles(ProjectElement *element, const QString &configuration,
                               uint flags, std::vector<BuildItem> &items) const
{
    const uint itemFlags = (flags & BuildFlag::LowMask) | BuildFlag::NoLabel;
    for (ProjectElement *child : element->children()) {
        if (child->kind() == ProjectElement::Kind::File) {
            items.push_back({child, configuration, itemFlags, {}});
        } else if (child->kind() == ProjectElement::Kind::Folder) {
            if (isUnityFolder(m_values, child, configuration, flags & BuildFlag::DisableUnity))
                items.push_back({child, configuration, itemFlags, {}});
            else
                collectFiles(child, configuration, flags, items);
        }
    }
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
        if (const ProjectElement *project = StandardProjectSystem::projectOf(element))
            label += QStringLiteral(" from project ") + project->elementName();
    }
    if (const ProjectElement *solution = StandardProjectSystem::solutionOf(element);
        solution && solution != element)
        label += QStringLiteral(" from solution ") + solution->elementName();
    return label + QStringLiteral(" in configuration ") + configuration;
}

int BuildEngine::scheduleBuild(std::vector<BuildItem> &items, int threads,
                               const std::vector<Builder *> &builders, Idler &idler)
{
    threads = qBound(1, qMin(threads, int(builders.size())), maxThreads);
    std::vector<std::unique_ptr<BuildThread>> slotThreads(static_cast<size_t>(threads));
    bool built = false;
    bool failedOnce = false;
    auto occupied = [&] {
        return int(std::count_if(slotThreads.begin(), slotThreads.end(), [](const auto &s) { return !!s; }));
    };
    auto busyBuilders = [&] {
        std::vector<Builder *> busy;
        for (const auto &slot : slotThreads) {
            if (slot)
                busy.push_back(&slot->target());
        }
        return busy;
    };
    auto endSlot = [&](size_t index) {
        BuildThread &slot = *slotThreads[index];
        const BuildItem &item = slot.item();
        built = built || slot.result();
        if (item.flags & BuildFlag::ProjectTail) {
            idler.endGroup(item.element, item.configuration);
            if (!(item.flags & BuildFlag::NoExecute))
                runProjectCommand(item.element, item.configuration, slot.target(), idler, true,
                                  item.flags & BuildFlag::Force, slot.result());
        }
        if (m_state.failed) {
            failedOnce = true;
            if (item.flags & BuildFlag::KeepGoing) {
                slot.target().addNote(QStringLiteral("Build failed - continuing because 'keep "
                                                     "going on error' has been enabled"));
                slot.target().endStep(nullptr, item.configuration);
                m_state.failed = false;
            }
        }
        slotThreads[index].reset();
    };
    auto replayAll = [&] {
        for (size_t index = 0; index < slotThreads.size(); ++index) {
            if (slotThreads[index] && slotThreads[index]->replay())
                endSlot(index);
        }
    };
    for (size_t index = 0; index < items.size() && !m_state.failed && !m_state.stopped; ++index) {
        const BuildItem &item = items[index];
        if (item.flags & BuildFlag::ProjectHead) {
            if (!(item.flags & BuildFlag::NoExecute))
                runProjectCommand(item.element, item.configuration, *builders.front(), idler,
                                  false, item.flags & BuildFlag::Force, false);
            idler.beginGroup(item.element, item.label, item.configuration,
                             int(item.flags >> BuildFlag::StepShift));
            continue;
        }
        bool barrier = item.isBarrier();
        bool placed = false;
        for (;;) {
            const auto freeSlot = std::find(slotThreads.begin(), slotThreads.end(), nullptr);
            const bool canPlace = !barrier && !placed && freeSlot != slotThreads.end()
                                  && !m_state.failed && !m_state.stopped;
            idler.idleWith(occupied(), canPlace ? std::vector<Builder *>() : busyBuilders());
            if (canPlace) {
                const size_t slotIndex = size_t(freeSlot - slotThreads.begin());
                Builder &target = *builders[slotIndex];
                target.adoptGroup(item.element, item.configuration);
                *freeSlot = std::make_unique<BuildThread>(item, target, idler, m_state);
                (*freeSlot)->plan([&](Builder &builder, Idler &planIdler) {
                    return buildElement(item.element, item.configuration, builder, planIdler,
                                        item.flags & BuildFlag::LowMask);
                });
                placed = true;
            } else {
                replayAll();
            }
            const int busy = occupied();
            if (busy == 0 || m_state.stopped || (m_state.failed && placed))
                break;
            if (busy == threads || barrier)
                continue;
            if (index + 1 < items.size())
                break;
            barrier = true;
        }
    }
    idler.idle(0);
    while (occupied() > 0) {
        idler.idleWith(occupied(), busyBuilders());
        replayAll();
    }
    if (m_state.failed) {
        for (Builder *builder : builders)
            builder->closeGroups();
    }
    idler.finished();
    if (m_state.stopped)
        return Stopped;
    if (m_state.failed || failedOnce)
        return Failed;
    return built ? Built : UpToDate;
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
