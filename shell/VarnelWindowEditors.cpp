#include "shell/VarnelWindow.h"

// The document area: tabs of text editors over the editor library's buffers.
void VarnelWindow::createEditorArea()
{
}
