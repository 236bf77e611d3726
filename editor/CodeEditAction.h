#pragma once
#include "editor/CodeEditBuffer.h"
#include <QString>
#include <QVarLengthArray>
#include <memory>
#include <vector>

class CodeEdit;

// Storage for the undo records: an editing session makes millions of small ones, and taking them
// from slabs of their own keeps the line texts close together in the rest of the heap.
struct CodeEditUndoStorage {
    static void *operator new(size_t size);
    static void operator delete(void *block, size_t size);
};

// One recorded change of a document. Undo and redo replay it through the editor's primitives
// with recording off, so replaying never records anything.
class CodeEditAction : public CodeEditUndoStorage {
public:
    virtual void undo(CodeEdit *edit) = 0;
    virtual void redo(CodeEdit *edit) = 0;
    virtual ~CodeEditAction();
    // What the undo list shows.
    [[nodiscard]] virtual QString description() const = 0;
};

// Text inserted or deleted between two positions: the same two moves with the roles exchanged.
class CodeEditTextAction : public CodeEditAction {
public:
    CodeEditTextAction(QString text, CodeEditBufferPosition start, CodeEditBufferPosition end)
        : text(std::move(text)), start(start), end(end)
    {
    }

    QString text;
    CodeEditBufferPosition start;
    CodeEditBufferPosition end;

protected:
    void putBack(CodeEdit *edit) const;    // insert `text` at `start`, caret to `end`
    void takeAway(CodeEdit *edit) const;   // delete start..end, caret to `start`
};

class CodeEditInsertAction final : public CodeEditTextAction {
public:
    using CodeEditTextAction::CodeEditTextAction;
    void undo(CodeEdit *edit) override { takeAway(edit); }
    void redo(CodeEdit *edit) override { putBack(edit); }
    [[nodiscard]] QString description() const override;
};

class CodeEditDeleteAction final : public CodeEditTextAction {
public:
    using CodeEditTextAction::CodeEditTextAction;
    void undo(CodeEdit *edit) override { putBack(edit); }
    void redo(CodeEdit *edit) override { takeAway(edit); }
    [[nodiscard]] QString description() const override;
};

// A change within one line: its ends are the start plus the lengths of the two texts.
class CodeEditReplaceAction final : public CodeEditAction {
public:
    CodeEditReplaceAction(QString oldText, QString newText, CodeEditBufferPosition start)
        : oldText(std::move(oldText)), newText(std::move(newText)), start(start)
    {
    }
    void undo(CodeEdit *edit) override;
    void redo(CodeEdit *edit) override;
    [[nodiscard]] QString description() const override;

    QString oldText;
    QString newText;
    CodeEditBufferPosition start;
};

// Puts the caret back where it stood when a command began; redo leaves it alone.
class CodeEditCaretRestorePointAction final : public CodeEditAction {
public:
    explicit CodeEditCaretRestorePointAction(CodeEditBufferPosition caret) : caret(caret) {}
    void undo(CodeEdit *edit) override;
    void redo(CodeEdit *) override {}
    [[nodiscard]] QString description() const override;

    CodeEditBufferPosition caret;
};

// Puts the selection back as it was when a command began; redo leaves it alone.
class CodeEditSelectionRestorePointAction final : public CodeEditAction {
public:
    CodeEditSelectionRestorePointAction(CodeEditBufferPosition anchor, CodeEditBufferPosition end, int mode)
        : anchor(anchor), end(end), mode(mode)
    {
    }
    void undo(CodeEdit *edit) override;
    void redo(CodeEdit *) override {}
    [[nodiscard]] QString description() const override;

    CodeEditBufferPosition anchor;
    CodeEditBufferPosition end;
    int mode;
};

// Transaction kinds: the command that made the change, which names it in the undo list.
enum CodeEditKind : int {
    KindMacro = 0, KindCut = 1, KindPaste = 2, KindDelete = 3, KindMove = 4, KindCopy = 5,
    KindIndent = 6, KindOutdent = 7, KindLineBreak = 8, KindTyping = 9, KindUppercase = 10,
    KindLowercase = 11, KindSwitchCase = 12, KindComment = 13, KindUncomment = 14,
    KindSortAscending = 15, KindSortDescending = 16, KindTransposeLines = 17,
    KindTransposeWords = 18, KindTemplateExpansion = 19, KindTabify = 20, KindUntabify = 21,
    KindAlign = 22, KindRecorded = 23,
};

// The actions of one command, undone and redone as one step.
struct CodeEditTransaction : CodeEditUndoStorage {
    // Most transactions hold one action, kept inside the transaction itself.
    QVarLengthArray<std::unique_ptr<CodeEditAction>, 1> actions;
    int kind = KindMacro;
    CodeEditBufferPosition caretBefore;
    CodeEditBufferPosition caretAfter;
    // Identity for the saved-state test. A transaction that grows by merged typing takes a new
    // one, and identities are never reused, so a save point can only be matched by the very
    // state that was saved.
    quint64 serial = 0;

    [[nodiscard]] QString label() const { return labelOf(kind); }
    [[nodiscard]] static QString labelOf(int kind);
};
