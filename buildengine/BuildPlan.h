#pragma once
#include "buildengine/BuildFlags.h"
#include <QString>
#include <utility>
#include <vector>

class BuildEngine;
class Builder;
class Idler;
struct BuildRequest;

// The planning half of a build: the items it consists of, in the order they run, with barriers
// where a project must wait for what it depends on. Nothing runs while the plan is made; only
// dependency problems are reported, to the first builder.
class BuildPlan {
public:
    BuildPlan(BuildEngine &engine, Builder &builder, Idler &idler);

    // Plans `request` for `threads` slots. A project walked as one item (atomic) builds its
    // files in order on one slot; otherwise its files are items of their own.
    void plan(const BuildRequest &request, int threads);
    [[nodiscard]] std::vector<BuildItem> &items() { return m_items; }
    // True when the plan is one element that is neither a project nor a folder: it runs alone.
    [[nodiscard]] bool single() const { return m_single; }

private:
    void addSolution(ProjectElement *solution, const QString &configuration, uint flags,
                     bool batch);
    void addProject(ProjectElement *project, const QString &configuration, uint flags,
                    bool batch, bool dependencies);
    // The projects `project` depends on, ahead of it; true when any was added.
    bool addDependencies(ProjectElement *project, const QString &configuration, uint flags);
    void addDependency(ProjectElement *dependency, const QString &configuration, uint flags);
    void addFiles(ProjectElement *element, const QString &configuration, uint flags);
    void addBarrier(const QString &configuration);
    [[nodiscard]] bool hasItem(const ProjectElement *element, const QString &configuration) const;
    [[nodiscard]] bool canBuildInParallel(const ProjectElement *project,
                                          const QString &configuration) const;

    BuildEngine &m_engine;
    Builder &m_builder;
    Idler &m_idler;
    bool m_atomic = true;
    bool m_single = false;
    std::vector<BuildItem> m_items;
    // Projects whose dependencies are being collected, outermost first: a project met again
    // while on this chain closes a cycle.
    std::vector<std::pair<const ProjectElement *, QString>> m_collecting;
};
