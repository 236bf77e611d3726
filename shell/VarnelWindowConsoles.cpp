#include "shell/VarnelWindow.h"

// The JavaScript and Forth consoles, running scripts, and the Forth words that drive the window.
void VarnelWindow::createConsoles()
{
}
