#pragma once
#include <QString>
#include <optional>
#include <vector>

class Builder;
class BuildEngine;
class Idler;
class ProjectElement;

// What a build operation acts on.
enum class BuildNode : quint8 { Solution, ActiveProject, Selection };
// What it does. Rebuild cleans as it goes; Compile forces the selection without its
// dependencies; Link forces the selection itself, not its children (for a project, its link);
// Run builds the active project before it is run.
enum class BuildAction : quint8 {
    Build,
    Rebuild,
    Clean,
    Compile,
    Link,
    Run,
    Export,
    Analyze,
    DependencyListing,
};

// One row of the operation table behind the build commands.
struct BuildOperationInfo {
    BuildNode node;
    BuildAction action;
    bool dependencies;
    bool batch;
    bool force;
    bool removeOutputs;
    bool selfOnly;
};

constexpr int buildOperationCount = 31;
[[nodiscard]] const BuildOperationInfo *buildOperation(int operation);

// What a caller asks of the table.
struct BuildOperationQuery {
    BuildNode node = BuildNode::Solution;
    BuildAction action = BuildAction::Build;
    bool batch = false;
    bool selfOnly = false;
    // Unset: the first row that answers the rest, which follows dependencies wherever a row
    // without them exists too.
    std::optional<bool> dependencies = {};
};
// The number of the first row answering `query`, or -1.
[[nodiscard]] int findBuildOperation(const BuildOperationQuery &query);

// The environment settings a build reads.
struct BuildSettings {
    bool showBuildInformation = false;   // "Environment/Build/Show Build Information"
    bool keepGoing = false;
    bool disableUnity = false;
    bool showCommandLines = false;
    bool projectLevelParallel = false;
    int threads = 0;   // "Environment/Build/Building Threads": 0 is the number of processors
};

// The nodes an operation may act on.
struct BuildTargets {
    ProjectElement *solution = nullptr;
    ProjectElement *activeProject = nullptr;
    ProjectElement *selection = nullptr;
    QString configuration;
};

[[nodiscard]] uint buildFlags(const BuildOperationInfo &info, const BuildSettings &settings);
[[nodiscard]] int buildThreads(const BuildSettings &settings);

// Runs operation `operation` headless: resets the builders, builds buildRequest(...) and returns
// the result (-1 for an unknown operation or a missing node); `status` receives the status text.
// Exports and cleans use the first builder only.
int runBuildOperation(BuildEngine &engine, int operation, const BuildTargets &targets,
                      const BuildSettings &settings, const std::vector<Builder *> &builders,
                      Idler &idler, QString *status = nullptr);

// "Build terminated", "Build failed", "Build complete" or "Build up to date"; a clean that did
// not fail or stop says "Cleaned".
[[nodiscard]] QString buildStatusText(int result, bool clean);
