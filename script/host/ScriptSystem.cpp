#include "script/host/ScriptSystem.h"
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "script/es/ESNativeClass.h"
#include <QCoreApplication>

MyESContext::MyESContext(ScriptSystem &system, bool processEvents)
    : ESContext(ContinuePolling::On), processEvents(processEvents), m_system(system)
{
}

MyESContext::~MyESContext() = default;

bool MyESContext::shouldContinue()
{
    // A turn of the event loop costs far more than an instruction: it is taken once per slice of
    // instructions, which still answers the user within a fraction of a millisecond. The stop
    // flag is read at every instruction.
    if (processEvents && ++m_sinceEvents >= eventSlice) {
        m_sinceEvents = 0;
        QCoreApplication::processEvents();
    }
    return m_system.poll();
}

bool MyESContext2::shouldContinue()
{
    if (++m_counter > 10) {
        m_counter = 0;
        QCoreApplication::processEvents();
    }
    return keepRunning;
}

ScriptSystem::ScriptSystem(QObject *parent) : QObject(parent) {}

ScriptSystem::~ScriptSystem() = default;

void ScriptSystem::enter(bool processEvents)
{
    if (m_depth + 1 >= depthLimit)
        throw HException(QStringLiteral("script recursion limit reached"));
    if (m_depth++ > 0)
        return;
    m_stopRequested.store(false);
    m_executed = 0;
    m_budgetSpent = false;
    m_context = std::make_unique<MyESContext>(*this, processEvents);
    const QString directory = installationDirectory();
    m_context->globalClass->searchDirectories.append(directory + QStringLiteral("/bin"));
    m_context->globalClass->searchDirectories.append(m_searchDirectories);
    try {
        if (m_hostHook)
            m_hostHook(*m_context);
    } catch (...) {
        m_context.reset();
        m_depth = 0;
        throw;
    }
    emit runningChanged(true);
}

void ScriptSystem::leave()
{
    if (m_depth <= 0)
        return;
    if (--m_depth > 0)
        return;
    m_context.reset();
    emit runningChanged(false);
}

void ScriptSystem::requestStop()
{
    m_stopRequested.store(true, std::memory_order_relaxed);
}

bool ScriptSystem::poll()
{
    if (m_instructionBudget > 0 && ++m_executed > m_instructionBudget) {
        m_budgetSpent = true;
        return false;
    }
    return !stopRequested();
}
