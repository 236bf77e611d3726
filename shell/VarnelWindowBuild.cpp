#include "shell/VarnelWindow.h"
#include "shell/BuildViews.h"

// The build actions and the build log.
void VarnelWindow::createBuildViews()
{
    m_buildViews = new BuildViews(this);
    for (const QString &name : m_buildViews->commandNames())
        addCommand(name, [this, name] { m_buildViews->runCommand(name); });
}
