#include "shell/EditCommands.h"

bool EditCommandInterface::isCommandEnabled(int id) const
{
    if (id < 0)
        return false;
    if (id > EditCommand::lastNumberedCommand)
        return true;
    switch (id) {
    case EditCommand::undo:
    case EditCommand::undoAll:
        return isEditable() && canUndo();
    case EditCommand::redo:
    case EditCommand::redoAll:
        return isEditable() && canRedo();
    default:
        break;
    }
    if (id <= EditCommand::lastModifying)
        return isEditable();
    return true;
}
