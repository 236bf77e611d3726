#pragma once
#include <QString>

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

// What the shell needs of the focused editor: its commands' enable state, and the commands that
// the Forth words and key bindings drive by member pointer. The text editor implements it; tests
// and stand-ins do too.
class EditCommandInterface {
public:
    virtual ~EditCommandInterface() = default;
    [[nodiscard]] virtual bool isEditable() const = 0;
    [[nodiscard]] virtual bool canUndo() const = 0;   // the undo list is not empty
    [[nodiscard]] virtual bool canRedo() const = 0;
    // The enable state of command `id`, by the groups above. Negative numbers name nothing.
    [[nodiscard]] virtual bool isCommandEnabled(int id) const;

    // Caret movement; the Extend forms move the caret and keep the anchor, growing the selection.
    virtual void scrollUp() = 0;
    virtual void scrollDown() = 0;
    virtual void charLeft() = 0;
    virtual void charLeftExtend() = 0;
    virtual void charRight() = 0;
    virtual void charRightExtend() = 0;
    virtual void wordLeft() = 0;
    virtual void wordLeftExtend() = 0;
    virtual void wordRight() = 0;
    virtual void wordRightExtend() = 0;
    // First non-blank of the line, or the line's start when the caret is already there.
    virtual void lineStartToggle() = 0;
    virtual void lineStartToggleExtend() = 0;
    virtual void lineEnd() = 0;
    virtual void lineEndExtend() = 0;
    virtual void pageUp() = 0;
    virtual void pageUpExtend() = 0;
    virtual void pageDown() = 0;
    virtual void pageDownExtend() = 0;
    // Undo and redo by the buffer's groups.
    virtual void undo() = 0;
    virtual void redo() = 0;
    virtual void undoAll() = 0;
    virtual void redoAll() = 0;
    virtual void cut() = 0;
    virtual void copy() = 0;
    virtual void paste() = 0;
    // Inserts at the caret, replacing the selection, as one undoable step.
    virtual void insertText(const QString &text) = 0;
};

// A member of the editor that takes nothing: what a key binding or a Forth word calls.
using EditCommandMember = void (EditCommandInterface::*)();
