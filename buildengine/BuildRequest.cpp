#include "buildengine/BuildRequest.h"

BuildRequest buildRequest(int operation, const BuildTargets &targets,
                          const BuildSettings &settings, std::vector<Builder *> builders,
                          Idler *idler)
{
    BuildRequest request;
    request.builders = std::move(builders);
    request.idler = idler;
    const BuildOperationInfo *info = buildOperation(operation);
    if (!info)
        return request;
    request.element = info->node == BuildNode::Solution        ? targets.solution
                      : info->node == BuildNode::ActiveProject ? targets.activeProject
                                                               : targets.selection;
    request.configuration = targets.configuration;
    request.operation = *info;
    request.flags = buildFlags(*info, settings);
    const bool single = info->action == BuildAction::Clean || info->action == BuildAction::Export
                        || info->action == BuildAction::DependencyListing;
    request.threads = single ? 1 : buildThreads(settings);
    return request;
}
