#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>

SolutionSession::SolutionSession(const QString &installation)
    : m_macros(installation), m_system(std::make_unique<StandardProjectSystem>())
{
}

SolutionSession::~SolutionSession() = default;

ProjectElement *SolutionSession::load(const QString &path, const LoadOptions &options)
{
    if (m_solution) {
        m_system->closeSolution();
        m_solution = nullptr;
    }
    m_system->setRunLoadCommands(options.runLoadCommands);
    m_solution = m_system->loadSolution(QDir::currentPath(), path, options.expandMacros);
    return m_solution;
}
