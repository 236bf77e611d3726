#include "editor/CodeEditAction.h"
#include "editor/CodeEdit.h"

namespace {

// Text in a description: ten characters at most, then "...".
QString shortened(const QString &text)
{
    return text.size() > 10 ? text.left(10) + QStringLiteral("...") : text;
}

CodeEditBufferPosition movedOn(CodeEditBufferPosition start, const QString &text)
{
    return {start.line, start.column + int(text.size())};
}

struct KindLabel {
    int kind;
    const char *label;
};

constexpr KindLabel kindLabels[] = {
    {KindCut, "Cut"},
    {KindPaste, "Paste"},
    {KindDelete, "Delete"},
    {KindMove, "Move"},
    {KindCopy, "Copy"},
    {KindIndent, "Indent"},
    {KindOutdent, "Outdent"},
    {KindLineBreak, "Typing"},
    {KindTyping, "Typing"},
    {KindUppercase, "Make Uppercase"},
    {KindLowercase, "Make Lowercase"},
    {KindSwitchCase, "Switch Case"},
    {KindComment, "Comment"},
    {KindUncomment, "Uncomment"},
    {KindSortAscending, "Sort Ascending"},
    {KindSortDescending, "Sort Descending"},
    {KindTransposeLines, "Transpose Lines"},
    {KindTransposeWords, "Transpose Words"},
    {KindTemplateExpansion, "Template Expansion"},
    {KindTabify, "Tabify"},
    {KindUntabify, "Untabify"},
    {KindAlign, "Align"},
};

} // namespace

CodeEditAction::~CodeEditAction() = default;

void CodeEditTextAction::putBack(CodeEdit *edit) const
{
    edit->insertText(start, text, false);
    edit->setCaret(end, true);
}

void CodeEditTextAction::takeAway(CodeEdit *edit) const
{
    edit->deleteText(start, end, false);
    edit->setCaret(start, true);
}

QString CodeEditInsertAction::description() const
{
    return QStringLiteral("Insert \"") + shortened(text) + u'"';
}

QString CodeEditDeleteAction::description() const
{
    return QStringLiteral("Delete \"") + shortened(text) + u'"';
}

void CodeEditReplaceAction::undo(CodeEdit *edit)
{
    edit->replaceText(start, int(newText.size()), oldText, false);
    edit->setCaret(start, true);
}

void CodeEditReplaceAction::redo(CodeEdit *edit)
{
    edit->replaceText(start, int(oldText.size()), newText, false);
    edit->setCaret(movedOn(start, newText), true);
}

QString CodeEditReplaceAction::description() const
{
    return QStringLiteral("Replace \"") + shortened(oldText) + u'"';
}

void CodeEditCaretRestorePointAction::undo(CodeEdit *edit)
{
    edit->setCaret(caret, true);
}

QString CodeEditCaretRestorePointAction::description() const
{
    return QStringLiteral("Caret positioned at %1, %2").arg(caret.line).arg(caret.column);
}

void CodeEditSelectionRestorePointAction::undo(CodeEdit *edit)
{
    edit->setSelection(anchor, end, mode);
}

QString CodeEditSelectionRestorePointAction::description() const
{
    return QStringLiteral("Text Selected");
}

QString CodeEditTransaction::labelOf(int kind)
{
    for (const KindLabel &row : kindLabels) {
        if (row.kind == kind)
            return QString::fromLatin1(row.label);
    }
    return QStringLiteral("Macro");
}
