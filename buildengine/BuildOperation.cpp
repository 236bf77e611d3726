#include "buildengine/BuildOperation.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildFlags.h"
#include "buildengine/BuildRequest.h"
#include <QThread>
#include <iterator>

namespace {

using N = BuildNode;
using A = BuildAction;

constexpr BuildOperationInfo operations[] = {
    {N::Solution, A::Build, false, false, false, false, false},              // 0
    {N::Solution, A::Rebuild, false, false, true, true, false},              // 1
    {N::Solution, A::Clean, false, false, false, false, false},              // 2
    {N::Solution, A::Build, true, true, false, false, false},                // 3 batch
    {N::Solution, A::Rebuild, true, true, true, true, false},                // 4 batch
    {N::Solution, A::Clean, false, true, false, false, false},               // 5 batch clean
    {N::Solution, A::Export, true, true, false, false, false},               // 6
    {N::ActiveProject, A::Build, true, false, false, false, false},          // 7
    {N::ActiveProject, A::Rebuild, true, false, true, true, false},          // 8
    {N::ActiveProject, A::Clean, true, false, false, false, false},          // 9
    {N::ActiveProject, A::Build, true, true, false, false, false},           // 10
    {N::ActiveProject, A::Rebuild, true, true, true, true, false},           // 11
    {N::ActiveProject, A::Clean, true, true, false, false, false},           // 12
    {N::ActiveProject, A::Export, true, true, false, false, false},          // 13
    {N::ActiveProject, A::Run, true, false, false, false, false},            // 14
    {N::Selection, A::Compile, false, false, true, false, false},            // 15
    {N::Selection, A::Link, false, false, true, false, true},                // 16
    {N::Selection, A::Build, true, false, false, false, false},              // 17
    {N::Selection, A::Rebuild, true, false, true, true, false},              // 18
    {N::Selection, A::Clean, true, false, false, false, false},              // 19
    {N::Selection, A::Export, true, false, false, false, false},             // 20
    {N::Selection, A::Build, true, true, false, false, false},               // 21
    {N::Selection, A::Rebuild, true, true, true, true, false},               // 22
    {N::Selection, A::Clean, true, true, false, false, false},               // 23
    {N::Selection, A::Export, true, true, false, false, false},              // 24
    {N::Selection, A::Analyze, false, false, false, false, false},           // 25
    {N::Selection, A::Build, false, false, false, false, false},             // 26
    {N::Selection, A::Rebuild, false, false, true, true, false},             // 27
    {N::Selection, A::Clean, false, false, false, false, false},             // 28
    {N::Selection, A::Export, true, false, false, false, false},             // 29
    {N::Selection, A::DependencyListing, true, false, false, false, false},  // 30
};
static_assert(std::size(operations) == buildOperationCount);

} // namespace

const BuildOperationInfo *buildOperation(int operation)
{
    if (operation < 0 || operation >= buildOperationCount)
        return nullptr;
    return &operations[operation];
}

int findBuildOperation(const BuildOperationQuery &query)
{
    for (int row = 0; row < buildOperationCount; ++row) {
        const BuildOperationInfo &info = operations[row];
        if (info.node == query.node && info.action == query.action && info.batch == query.batch
            && info.selfOnly == query.selfOnly
            && (!query.dependencies || info.dependencies == *query.dependencies))
            return row;
    }
    return -1;
}

uint buildFlags(const BuildOperationInfo &info, const BuildSettings &settings)
{
    const uint unity = settings.disableUnity ? BuildFlag::DisableUnity : 0;
    switch (info.action) {
    case BuildAction::Clean:
        return BuildFlag::RemoveOutputs | BuildFlag::Force | BuildFlag::NoExecute | unity;
    case BuildAction::Export:
    case BuildAction::DependencyListing:
        return BuildFlag::Force | BuildFlag::Quiet | unity;
    case BuildAction::Analyze:
        return BuildFlag::AnalyzeOnly | BuildFlag::DisableUnity
               | (settings.showCommandLines ? BuildFlag::ShowCommandLines : 0);
    case BuildAction::Build:
    case BuildAction::Rebuild:
    case BuildAction::Compile:
    case BuildAction::Link:
    case BuildAction::Run:
        break;
    }
    uint flags = unity;
    if (info.force)
        flags |= BuildFlag::Force;
    if (info.removeOutputs)
        flags |= BuildFlag::RemoveOutputs;
    if (info.selfOnly)
        flags |= BuildFlag::SelfOnly;
    if (!settings.showBuildInformation)
        flags |= BuildFlag::Quiet;
    if (settings.keepGoing)
        flags |= BuildFlag::KeepGoing;
    if (settings.showCommandLines)
        flags |= BuildFlag::ShowCommandLines;
    if (settings.projectLevelParallel)
        flags |= BuildFlag::ProjectLevelParallel;
    return flags;
}

int buildThreads(const BuildSettings &settings)
{
    const int threads = settings.threads > 0 ? settings.threads : QThread::idealThreadCount();
    return qBound(1, threads, BuildEngine::maxThreads);
}

int runBuildOperation(BuildEngine &engine, int operation, const BuildTargets &targets,
                      const BuildSettings &settings, const std::vector<Builder *> &builders,
                      Idler &idler, QString *status)
{
    const BuildRequest request = buildRequest(operation, targets, settings, builders, &idler);
    if (!request.element || builders.empty())
        return -1;
    for (Builder *builder : builders)
        builder->reset();
    const int result = engine.build(request);
    if (status)
        *status = buildStatusText(result, request.operation.action == BuildAction::Clean);
    return result;
}

QString buildStatusText(int result, bool clean)
{
    switch (result) {
    case BuildEngine::Stopped:
        return QStringLiteral("Build terminated");
    case BuildEngine::Failed:
        return QStringLiteral("Build failed");
    default:
        if (clean)
            return QStringLiteral("Cleaned");
        return result == BuildEngine::Built ? QStringLiteral("Build complete")
                                            : QStringLiteral("Build up to date");
    }
}
