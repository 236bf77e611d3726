#include "shell/VarnelWindow.h"

// The build actions and the build log.
void VarnelWindow::createBuildViews()
{
}
