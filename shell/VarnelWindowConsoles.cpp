#include "shell/ConsoleViews.h"
#include "shell/VarnelWindow.h"

// The JavaScript and Forth consoles, running scripts, and the Forth words that drive the window.
void VarnelWindow::createConsoles()
{
    m_consoleViews = new ConsoleViews(this);
    addCommand(QStringLiteral("ScriptRun"), [this] { m_consoleViews->runCurrentDocument(); });
    addCommand(QStringLiteral("JavaScriptStopScript"), [this] { m_consoleViews->stopScripts(); });
}
