#include "shell/JavaScriptConsole.h"
#include "foundation/HException.h"
#include "script/host/JavaScriptConsoleSession.h"
#include "script/host/VarnelScriptSystem.h"

namespace {
const QString uncaught = QStringLiteral("Uncaught exception: ");
}

JavaScriptConsole::JavaScriptConsole(VarnelScriptSystem &system, QWidget *parent)
    : ConsoleWidget(parent),
      m_system(system),
      m_session(new JavaScriptConsoleSession(system, [this](const QString &text) { printLine(text); }, this))
{
    setObjectName(QStringLiteral("JavaScriptConsoleWidget"));
    m_system.setReporter([this](const QString &, const QString &text) { printError(text); });
    connect(this, &ConsoleWidget::inputReady, this, &JavaScriptConsole::process);
    connect(this, &ConsoleWidget::stopRequested, this, &JavaScriptConsole::stop);
}

bool JavaScriptConsole::hasContext() const
{
    return m_session->hasContext();
}

void JavaScriptConsole::process(const QString &text)
{
    if (isBusy())
        return;
    printLine(QStringLiteral("> ") + text);
    setBusy(true);
    try {
        m_session->process(text);
    } catch (const HException &error) {
        printError(error.message());
    }
    noteStopped();
    setBusy(false);
}

bool JavaScriptConsole::runScript(const QString &text, const QString &fileName)
{
    if (isBusy())
        return false;
    printLine(QStringLiteral("> run ") + fileName);
    setBusy(true);
    m_system.clearStopRequest();
    QStringList results;
    bool ok = false;
    try {
        ok = m_system.evaluate(text, fileName, true, results);
    } catch (const HException &error) {
        printError(error.message());
    }
    for (const QString &line : std::as_const(results))
        printLine(line);
    noteStopped();
    setBusy(false);
    return ok && !m_system.stopRequested();
}

void JavaScriptConsole::deleteContext()
{
    if (!isBusy())
        m_session->deleteContext();
}

void JavaScriptConsole::stop()
{
    m_session->stop();
}

// The console's own words: an error object's text already carries its message first.
void JavaScriptConsole::printError(const QString &text)
{
    printLine(text.startsWith(uncaught) ? text : uncaught + text);
}

void JavaScriptConsole::noteStopped()
{
    if (m_system.stopRequested())
        printLine(QStringLiteral("Stopped."));
}
