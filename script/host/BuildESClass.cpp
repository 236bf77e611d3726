#include "script/host/BuildESClass.h"
#include "buildengine/BuildEngine.h"
#include "script/host/ScriptBuildSession.h"
#include "script/es/ESContext.h"

namespace {

constexpr HostFunctionRow buildRows[] = {
    {0, "buildSolution", 0, nullptr, "<b>Build.buildSolution()</b> builds the current solution."},
    {1, "cleanSolution", 0, nullptr, "<b>Build.cleanSolution()</b> cleans the current solution."},
    {2, "rebuildSolution", 0, nullptr, "<b>Build.rebuildSolution()</b> rebuilds the current solution."},
    {3, "batchBuildSolution", 0, nullptr, "<b>Build.batchBuildSolution()</b> batch builds the current solution."},
    {4, "batchCleanSolution", 0, nullptr, "<b>Build.batchCleanSolution()</b> batch cleans the current solution."},
    {5, "batchRebuildSolution", 0, nullptr, "<b>Build.batchRebuildSolution()</b> batch rebuilds the current solution."},
    {6, "buildActiveProject", 0, nullptr, "<b>Build.buildActiveProject()</b> builds the current active project."},
    {7, "cleanActiveProject", 0, nullptr, "<b>Build.cleanActiveProject()</b> cleans the current active project."},
    {8, "rebuildActiveProject", 0, nullptr, "<b>Build.rebuildActiveProject()</b> rebuilds the current active project."},
    {9, "batchBuildActiveProject", 0, nullptr, "<b>Build.batchBuildActiveProject()</b> batch builds the current active project."},
    {10, "batchCleanActiveProject", 0, nullptr, "<b>Build.batchCleanActiveProject()</b> batch cleans the current active project."},
    {11, "batchRebuildActiveProject", 0, nullptr, "<b>Build.batchRebuildActiveProject()</b> batch rebuilds the current active project."},
    {12, "buildConfiguration", 0, nullptr, "<b>Build.buildConfiguration()</b> returns the current build configuration."},
    {13, "setBuildConfiguration", 1, nullptr, "<b>Build.setBuildConfiguration(configuration)</b> sets the current build configuration to <i>configuration</i>."},
    {14, "activeProject", 0, nullptr, "<b>Build.activeProject(project)</b> returns the active project."},
    {15, "setActiveProject", 1, nullptr, "<b>Build.setActiveProject(project)</b> sets the active project to <i>project</i>."},
    {16, "listTargetProcessors", 0, nullptr, "<b>Build.listTargetProcessors()</b> returns a list of all the possible target processors for the current active project."},
    {17, "targetProcessor", 1, nullptr, "<b>Build.targetProcessor()</b> returns the target processor selected for the current active project."},
    {18, "setTargetProcessor", 1, nullptr, "<b>Build.setTargetProcessor(target)</b> sets the target processor for the current active project to <i>target</i>."},
    {19, "buildActiveProjectAllTargets", 0, nullptr, "<b>Build.buildActiveProjectAllTargets()</b> builds the current active project for all target processors."},
};

// The build engine's operation for each of the functions 0 to 11.
constexpr int operationOfFunction[] = {0, 2, 1, 3, 5, 4, 7, 9, 8, 10, 12, 11};
constexpr int buildActiveProjectOperation = 7;

} // namespace

BuildESClass::BuildESClass(ScriptBuildSession *session)
    : HostClass(QStringLiteral("Build"), buildRows), m_session(session)
{
}

// A build returns true when it did not fail and was not stopped.
bool BuildESClass::callHost(int id, ESNativeCall &call)
{
    if (id < 0 || id >= int(std::size(buildRows)))
        return false;
    ESContext &context = call.context;
    if (!m_session)
        context.throwError(QStringLiteral("Build.%1: no solution is open")
                               .arg(QLatin1String(buildRows[id].name)));
    const auto succeeded = [](int result) {
        return result >= 0 && result != BuildEngine::Failed && result != BuildEngine::Stopped;
    };
    if (id < int(std::size(operationOfFunction))) {
        const int result = m_session->run(operationOfFunction[id]);
        // A refused build says why; one with nothing to act on just fails.
        if (result < 0 && !m_session->lastStatus().isEmpty())
            context.throwError(QStringLiteral("Build.%1: %2")
                                   .arg(QLatin1String(buildRows[id].name), m_session->lastStatus()));
        call.setResult(ESValue::boolean(succeeded(result)));
        return true;
    }
    using HostArguments::string;
    switch (id) {
    case 12: call.setResult(string(context, m_session->configuration())); break;
    case 13: call.setResult(ESValue::boolean(m_session->setConfiguration(HostArguments::text(call, 0, "Build.setBuildConfiguration")))); break;
    case 14: call.setResult(string(context, m_session->activeProjectName())); break;
    case 15: call.setResult(ESValue::boolean(m_session->setActiveProject(HostArguments::text(call, 0, "Build.setActiveProject")))); break;
    case 16: call.setResult(ESValue::fromObject(context.newArray(m_session->targetProcessors()))); break;
    case 17: call.setResult(string(context, m_session->targetProcessor())); break;
    case 18: call.setResult(ESValue::boolean(m_session->setTargetProcessor(HostArguments::text(call, 0, "Build.setTargetProcessor")))); break;
    default: {
        const QString selected = m_session->targetProcessor();
        bool ok = true;
        for (const QString &target : m_session->targetProcessors()) {
            ok = m_session->setTargetProcessor(target) && ok;
            ok = succeeded(m_session->run(buildActiveProjectOperation)) && ok;
        }
        if (!selected.isEmpty())
            m_session->setTargetProcessor(selected);
        call.setResult(ESValue::boolean(ok));
        break;
    }
    }
    return true;
}
