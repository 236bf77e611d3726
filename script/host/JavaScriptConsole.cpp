#include "script/host/JavaScriptConsole.h"
#include "script/host/VarnelScriptSystem.h"

JavaScriptConsole::JavaScriptConsole(VarnelScriptSystem &system, Printer print, QObject *parent)
    : QObject(parent), m_system(system), m_print(std::move(print))
{
}

JavaScriptConsole::~JavaScriptConsole()
{
    deleteContext();
}

bool JavaScriptConsole::process(const QString &text)
{
    if (!m_entered) {
        m_system.enter(m_system.processEvents());
        m_entered = true;
    }
    m_system.clearStopRequest();
    try {
        ESValue value;
        if (!m_system.evaluateInContext(text, QString(), value))
            return false;
        for (const QString &line : VarnelScriptSystem::resultList(*m_system.context(), value))
            m_print(line);
        return true;
    } catch (const ESFatalError &error) {
        // A fatal error leaves the context unusable: the next input gets a fresh one.
        m_system.reportFatal(error.message);
        deleteContext();
        return false;
    }
}

void JavaScriptConsole::deleteContext()
{
    if (!m_entered)
        return;
    m_entered = false;
    m_system.leave();
}

void JavaScriptConsole::stop()
{
    m_system.requestStop();
}
