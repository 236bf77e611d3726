#include "script/host/ScriptBuildSession.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildLog.h"
#include "buildengine/VarnelBuilder.h"
#include "projects/ProjectElement.h"
#include "projects/StandardProjectSystem.h"

ScriptBuildSession::ScriptBuildSession(StandardProjectSystem &system, const QString &configuration,
                                       ProjectElement *activeProject)
    : m_system(system), m_configuration(configuration), m_activeProject(activeProject)
{
}

int ScriptBuildSession::run(int operation)
{
    if (m_refusal) {
        m_lastStatus = m_refusal();
        if (!m_lastStatus.isEmpty())
            return -1;
    }
    BuildEngine engine(m_system);
    BuildLog log;
    VarnelIdler idler(log);
    idler.setReporter(m_reporter);
    const BuildOperationInfo *info = buildOperation(operation);
    const bool clean = info && info->action == BuildAction::Clean;
    const int threads = clean ? 1 : buildThreads(m_settings);
    VarnelBuilderSet builders(engine, log, idler, threads, m_settings.showCommandLines);
    if (m_stopCheck)
        builders.cancelWhen(m_stopCheck);
    const BuildTargets targets{m_system.solution(), m_activeProject, m_activeProject,
                               m_configuration};
    m_lastStatus.clear();
    return runBuildOperation(engine, operation, targets, m_settings, builders.builders(), idler,
                             &m_lastStatus);
}

bool ScriptBuildSession::setConfiguration(const QString &name)
{
    if (!m_system.publicConfigurations().contains(name)
        && !m_system.privateConfigurations().contains(name))
        return false;
    m_configuration = name;
    return true;
}

QString ScriptBuildSession::activeProjectName() const
{
    return m_activeProject ? m_activeProject->elementName() : QString();
}

bool ScriptBuildSession::setActiveProject(const QString &name)
{
    ProjectElement *project = m_system.findElement(name);
    if (!project || project->kind() != ProjectElement::Kind::Project)
        return false;
    m_activeProject = project;
    return true;
}

QStringList ScriptBuildSession::targetProcessors() const
{
    if (!m_activeProject)
        return {};
    const QString *list = m_activeProject->findValue(m_configuration, QLatin1String(targetProcessorsProperty));
    if (!list)
        list = m_activeProject->findProperty(QLatin1String(targetProcessorsProperty));
    return list ? list->split(u';', Qt::SkipEmptyParts) : QStringList();
}

QString ScriptBuildSession::targetProcessor() const
{
    if (!m_activeProject)
        return {};
    if (const QString *selected = m_activeProject->findProperty(QLatin1String(targetProcessorProperty)))
        return *selected;
    const QStringList all = targetProcessors();
    return all.isEmpty() ? QString() : all.first();
}

bool ScriptBuildSession::setTargetProcessor(const QString &name)
{
    if (!m_activeProject || !targetProcessors().contains(name))
        return false;
    m_activeProject->setProperty(QLatin1String(targetProcessorProperty), name);
    m_system.invalidateCaches();
    return true;
}
