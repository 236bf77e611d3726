#include "editor/CodeEditAction.h"
#include "editor/CodeEdit.h"
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

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

// Free lists of blocks in steps of 16 bytes up to 128, cut from 256 KiB slabs. Freed blocks are
// kept for the next records rather than given back.
class SmallBlocks {
public:
    static constexpr size_t largest = 128;

    void *take(size_t size)
    {
        Free *&list = m_free[(size - 1) / 16];
        if (list) {
            Free *block = list;
            list = block->next;
            return block;
        }
        const size_t rounded = (size + 15) & ~size_t(15);
        if (m_left < rounded) {
            m_slabs.push_back(std::make_unique<std::byte[]>(slabSize));
            m_next = m_slabs.back().get();
            m_left = slabSize;
        }
        void *block = m_next;
        m_next += rounded;
        m_left -= rounded;
        return block;
    }
    void give(void *block, size_t size)
    {
        Free *&list = m_free[(size - 1) / 16];
        list = new (block) Free{list};
    }

private:
    struct Free {
        Free *next;
    };
    static constexpr size_t slabSize = 256 * 1024;
    Free *m_free[largest / 16] = {};
    std::vector<std::unique_ptr<std::byte[]>> m_slabs;
    std::byte *m_next = nullptr;
    size_t m_left = 0;
};

// Under AddressSanitizer every record is an allocation of its own, so that a record used after
// it was freed is caught.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool pooled = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool pooled = false;
#else
constexpr bool pooled = true;
#endif
#else
constexpr bool pooled = true;
#endif

SmallBlocks &smallBlocks()
{
    thread_local SmallBlocks blocks;
    return blocks;
}

} // namespace

void *CodeEditUndoStorage::operator new(size_t size)
{
    return pooled && size <= SmallBlocks::largest ? smallBlocks().take(size) : ::operator new(size);
}

void CodeEditUndoStorage::operator delete(void *block, size_t size)
{
    if (pooled && size <= SmallBlocks::largest)
        smallBlocks().give(block, size);
    else
        ::operator delete(block);
}

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
