#pragma once
#include "buildengine/BuildOperation.h"
#include <QString>
#include <vector>

class Builder;
class Idler;
class ProjectElement;

// One build as a front end asks for it (the command line, the script host, a window): what it
// acts on, in which configuration, what it does, under which flags, how many tools at once and
// the builders that run the steps. BuildEngine::build takes it; nothing else starts a build.
struct BuildRequest {
    // A solution, project, folder or file of the open tree.
    ProjectElement *element = nullptr;
    QString configuration;
    // What is done; the walk follows its `dependencies` (for a project, folder or file) and its
    // `batch` (every configuration of the project's batch build). By default the element is
    // built with what it depends on.
    BuildOperationInfo operation = {BuildNode::Selection, BuildAction::Build, true, false, false,
                                    false, false};
    // BuildFlag bits; buildFlags(operation, settings) gives those of a row of the table.
    uint flags = 0;
    // Tools at once, at most one per builder.
    int threads = 1;
    // One per slot; the first one also hears the planning (dependency problems).
    std::vector<Builder *> builders;
    // Pumped while tools run and told of groups and steps; null: one that does nothing.
    Idler *idler = nullptr;
};

// The request behind operation `operation` of the table on `targets` (its node picks the
// element): its flags from the settings, one thread for cleans and exports. The element is null
// for an unknown operation or a missing node.
[[nodiscard]] BuildRequest buildRequest(int operation, const BuildTargets &targets,
                                        const BuildSettings &settings,
                                        std::vector<Builder *> builders, Idler *idler);
