#include "shell/GUIBuilder.h"
#include "shell/ProjectViews.h"
#include "shell/VarnelWindow.h"
#include <QDockWidget>

// The project tree and the properties view of the selected element.
void VarnelWindow::createProjectViews()
{
    m_projectViews = new ProjectViews(this);
    ProjectViews *views = m_projectViews;
    m_builder->registerObject(QStringLiteral("ProjectExplorer"), views->projectDock());
    m_builder->registerObject(QStringLiteral("Properties"), views->propertiesDock());
    const struct {
        const char *action;
        void (ProjectViews::*command)();
    } commands[] = {
        {"ProjectSetActiveProject", &ProjectViews::setActiveProjectCommand},
        {"ProjectAddExistingItem", &ProjectViews::addExistingItemCommand},
        {"ProjectAddExistingFileToSelection", &ProjectViews::addExistingItemCommand},
        {"ProjectAddNewFile", &ProjectViews::addNewFileCommand},
        {"ProjectAddNewFileToSelection", &ProjectViews::addNewFileCommand},
        {"ProjectNewFolder", &ProjectViews::newFolderCommand},
        {"ProjectExplorerDelete", &ProjectViews::deleteCommand},
        {"ProjectReload", &ProjectViews::reloadCommand},
        {"BuildFindConfiguration", &ProjectViews::focusConfigurations},
        {"ViewProjectConfigurations", &ProjectViews::focusConfigurations},
        {"ViewProperties", &ProjectViews::showProperties},
    };
    for (const auto &row : commands)
        addCommand(QLatin1String(row.action),
                   [views, command = row.command] { (views->*command)(); });
}
