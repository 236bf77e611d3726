#include "shell/VarnelWindow.h"

// The project tree and the properties view of the selected element.
void VarnelWindow::createProjectViews()
{
}
