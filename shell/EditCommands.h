#pragma once

// The numbers by which the shell asks an editor whether one of its commands can run. They fall
// into groups: undo and redo need something to undo or redo, the commands that change the text
// need an editable document, the rest of the numbered range only needs an editor, and every
// number above lastNumberedCommand is always enabled.
namespace EditCommand {
constexpr int undo = 0;
constexpr int redo = 1;
constexpr int undoAll = 2;
constexpr int redoAll = 3;
constexpr int firstModifying = 4;    // cut, paste, delete, case, indent, comment, HTML tags ...
constexpr int lastModifying = 79;
constexpr int firstReading = 80;     // copy, select, find, go to, scroll, bookmarks ...
constexpr int lastNumberedCommand = 131;
} // namespace EditCommand

// What the shell needs of the focused editor to decide its commands' enable state. The text
// editor implements it; until then tests and stand-ins do.
class EditCommandInterface {
public:
    virtual ~EditCommandInterface() = default;
    [[nodiscard]] virtual bool isEditable() const = 0;
    [[nodiscard]] virtual bool canUndo() const = 0;   // the undo list is not empty
    [[nodiscard]] virtual bool canRedo() const = 0;
    // The enable state of command `id`, by the groups above. Negative numbers name nothing.
    [[nodiscard]] virtual bool isCommandEnabled(int id) const;
};
