#include "editor/CodeEdit.h"
#include "editor/CodeEditQuestions.h"
#include "editor/RecoveryFile.h"
#include <algorithm>

namespace {

// Says nothing and leaves every question unanswered, until the environment installs its boxes.
class SilentQuestions final : public CodeEditQuestionsInterface {
public:
    void tell(const QString &, const QString &, const QString &) override {}
    int ask(const QString &, const QString &, const QStringList &) override { return -1; }
};

CodeEditQuestionsInterface *silentQuestions()
{
    static SilentQuestions silent;
    return &silent;
}

constexpr int horizontalMargin = 10;
constexpr int verticalMargin = 5;
constexpr int linesForVerticalMargin = 13;

int leadingSpaceLength(const QString &text)
{
    int i = 0;
    while (i < text.size() && (text[i] == u' ' || text[i] == u'\t'))
        ++i;
    return i;
}

// Screen width of `text` from screen column `column`, with tabs to the next stop.
int screenWidth(QStringView text, int tabSize, int column = 0)
{
    for (const QChar c : text)
        column = c == u'\t' ? (column / tabSize + 1) * tabSize : column + 1;
    return column;
}

} // namespace

CodeEdit::CodeEdit(QObject *parent) : QObject(parent), m_questions(silentQuestions())
{
    m_buffer.setText(QString());
}

CodeEdit::~CodeEdit() = default;

void CodeEdit::setSettings(const CodeEditSettings &settings)
{
    m_settings = settings;
    m_settings.tabSize = std::max(1, m_settings.tabSize);
    m_editReadOnly = settings.editReadOnly;
}

void CodeEdit::setQuestions(CodeEditQuestionsInterface *questions)
{
    m_questions = questions ? questions : silentQuestions();
}

void CodeEdit::tell(const QString &title, const QString &message)
{
    m_questions->tell(QStringLiteral("Code Editor"), title, message);
}

// Locked documents refuse silently. A read-only one says so, and goes on when the setting allows
// it or a receiver of the signal made the document writable.
bool CodeEdit::checkEditable()
{
    if (m_readOnlyMode == 0)
        return true;
    if (m_readOnlyMode == 2)
        return false;
    emit readOnlyFileEdit();
    return m_editReadOnly || m_readOnlyMode == 0;
}

bool CodeEdit::isEditable() const
{
    if (m_readOnlyMode == 2)
        return false;
    return m_readOnlyMode == 0 || m_editReadOnly;
}

void CodeEdit::record(std::unique_ptr<CodeEditAction> action)
{
    const bool own = !m_currentTransaction;
    if (own)
        beginOperation(0, KindMacro);
    m_currentTransaction->actions.push_back(std::move(action));
    if (own)
        endOperation(0);
}

CodeEditBufferPosition CodeEdit::insertAndRecord(CodeEditBufferPosition position, const QString &text, bool record)
{
    const CodeEditBufferPosition end = m_buffer.insert(position, text);
    if (record)
        this->record(std::make_unique<CodeEditInsertAction>(text, position, end));
    if (end.line > position.line)
        emit numberOfLinesChanged(position.line + 1, end.line - position.line);
    return end;
}

// Past the end of a line the caret stands in screen columns; the filler reaches the same screen
// column with tabs first when the editor inserts tabs.
QString CodeEdit::fillerFor(int line, int length, int column) const
{
    const int missing = column - length;
    if (!m_settings.insertTabs)
        return QString(missing, u' ');
    const int tabSize = m_settings.tabSize;
    int from = screenWidth(m_buffer.text(line), tabSize);
    const int target = from + missing;
    QString filler;
    while ((from / tabSize + 1) * tabSize <= target) {
        filler += u'\t';
        from = (from / tabSize + 1) * tabSize;
    }
    return filler + QString(target - from, u' ');
}

CodeEditBufferPosition CodeEdit::makePositionExist(CodeEditBufferPosition position, bool record)
{
    position.line = std::max(position.line, 0);
    position.column = std::max(position.column, 0);
    const int last = m_buffer.lineCount() - 1;
    if (position.line > last) {
        const CodeEditBufferPosition end{last, m_buffer.lineLength(last)};
        insertAndRecord(end, QString(position.line - last, u'\n'), record);
    }
    const int length = m_buffer.lineLength(position.line);
    if (position.column > length)
        position.column = insertAndRecord({position.line, length}, fillerFor(position.line, length, position.column), record).column;
    return position;
}

CodeEditBufferPosition CodeEdit::insertText(CodeEditBufferPosition position, const QString &text, bool record)
{
    if (!checkEditable())
        return position;
    position = makePositionExist(position, record);
    if (text.isEmpty())
        return position;
    return insertAndRecord(position, text, record);
}

void CodeEdit::deleteText(CodeEditBufferPosition start, CodeEditBufferPosition end, bool record)
{
    if (!checkEditable())
        return;
    start = m_buffer.clamped(start);
    end = m_buffer.clamped(end);
    if (end < start)
        std::swap(start, end);
    if (start == end)
        return;
    if (record)
        this->record(std::make_unique<CodeEditDeleteAction>(textBetween(start, end), start, end));
    m_buffer.remove(start, end);
    if (end.line > start.line)
        emit numberOfLinesChanged(start.line + 2, start.line - end.line);
}

void CodeEdit::replaceText(CodeEditBufferPosition start, int length, const QString &text, bool record)
{
    if (!checkEditable())
        return;
    start = m_buffer.clamped(start);
    length = std::clamp(length, 0, m_buffer.lineLength(start.line) - start.column);
    const CodeEditBufferPosition end{start.line, start.column + length};
    const QString old = textBetween(start, end);
    if (record)
        this->record(std::make_unique<CodeEditReplaceAction>(old, text, start));
    m_buffer.remove(start, end);
    m_buffer.insert(start, text);
}

QString CodeEdit::textBetween(CodeEditBufferPosition start, CodeEditBufferPosition end) const
{
    start = m_buffer.clamped(start);
    end = m_buffer.clamped(end);
    if (end < start)
        std::swap(start, end);
    if (start.line == end.line)
        return m_buffer.text(start.line).mid(start.column, end.column - start.column);
    QString text = m_buffer.text(start.line).mid(start.column);
    for (int line = start.line + 1; line < end.line; ++line)
        text += u'\n' + m_buffer.text(line);
    return text + u'\n' + m_buffer.text(end.line).left(end.column);
}

void CodeEdit::setCaret(CodeEditBufferPosition position, bool keepVirtual)
{
    const int lines = m_buffer.lineCount();
    // Without a view the caret may still reach the last line.
    position.line = std::max(0, std::min(position.line, lines + std::max(m_visibleLines, 1) - 2));
    position.column = std::max(position.column, 0);
    m_preferredColumn = position.column;
    if (!m_settings.freeCaret && !keepVirtual) {
        position.line = std::min(position.line, lines - 1);
        if (m_selectionMode != SelectionBlock)
            position.column = std::min(position.column, m_buffer.lineLength(position.line));
    }
    m_caret = position;
}

bool CodeEdit::hasSelection() const
{
    return m_selectionAnchor.line >= 0 && m_selectionEnd.line >= 0 && m_selectionAnchor != m_selectionEnd;
}

void CodeEdit::setSelection(CodeEditBufferPosition anchor, CodeEditBufferPosition end, int mode)
{
    m_selectionAnchor = anchor;
    m_selectionEnd = end;
    m_selectionMode = mode == SelectionBlock ? SelectionBlock : SelectionStream;
}

void CodeEdit::clearSelection()
{
    m_selectionAnchor = {-1, -1};
    m_selectionEnd = {-1, -1};
    m_selectionMode = SelectionStream;
}

void CodeEdit::beginOperation(int flags, int kind)
{
    if (m_operationDepth++ > 0)
        return;
    m_currentTransaction = std::make_unique<CodeEditTransaction>();
    m_currentTransaction->kind = kind;
    m_currentTransaction->caretBefore = m_caret;
    m_operationStart.caret = m_caret;
    m_operationStart.longestLine = m_buffer.longestLength();
    m_operationStart.caretOutsideMargin = m_caret.line >= m_topLine + verticalMargin
                                          && m_caret.line < m_topLine + m_visibleLines - verticalMargin;
    if (hasSelection()) {
        if (((flags & OperationClearStreamSelection) && m_selectionMode == SelectionStream)
            || ((flags & OperationClearBlockSelection) && m_selectionMode == SelectionBlock))
            clearSelection();
    } else if (flags & OperationAnchorToCaret) {
        m_selectionAnchor = m_caret;
        m_selectionEnd = m_caret;
    }
}

void CodeEdit::endOperation(int flags)
{
    m_pendingRefresh |= flags;
    if (m_operationDepth == 0 || --m_operationDepth > 0)
        return;
    if (!(m_pendingRefresh & OperationNoScroll))
        keepCaretVisible();
    m_pendingRefresh = 0;
    const bool wasModified = isModified();
    std::unique_ptr<CodeEditTransaction> transaction = std::move(m_currentTransaction);
    if (!transaction->actions.empty()) {
        transaction->caretAfter = m_caret;
        transaction->serial = m_nextSerial++;
        m_redoList.clear();
        m_undoList.push_back(std::move(transaction));
    }
    if (m_buffer.longestLength() != m_operationStart.longestLine)
        emit numberOfColumnsChanged();
    if (isModified() != wasModified)
        emit modificationChanged(!wasModified);
}

// Keeps the caret in view with margins of 10 columns and, in views of 13 lines or more, of 5
// lines, unless the caret began the operation inside the line margin.
void CodeEdit::keepCaretVisible()
{
    if (m_visibleLines <= 0)
        return;
    const int margin = m_visibleLines >= linesForVerticalMargin && m_operationStart.caretOutsideMargin
                           ? verticalMargin : 0;
    if (m_caret.line < m_topLine + margin)
        m_topLine = std::max(0, m_caret.line - margin);
    else if (m_caret.line >= m_topLine + m_visibleLines - margin)
        m_topLine = m_caret.line - m_visibleLines + 1 + margin;
    if (m_caret.column < m_leftColumn + horizontalMargin)
        m_leftColumn = std::max(0, m_caret.column - horizontalMargin);
    else if (m_caret.column >= m_leftColumn + m_visibleColumns - horizontalMargin)
        m_leftColumn = m_caret.column - m_visibleColumns + 1 + horizontalMargin;
}

void CodeEdit::deleteSelection()
{
    if (!hasSelection())
        return;
    const CodeEditBufferPosition first = std::min(m_selectionAnchor, m_selectionEnd);
    const CodeEditBufferPosition last = std::max(m_selectionAnchor, m_selectionEnd);
    beginOperation(0, KindDelete);
    if (m_selectionMode == SelectionBlock) {
        const int left = std::min(m_selectionAnchor.column, m_selectionEnd.column);
        const int right = std::max(m_selectionAnchor.column, m_selectionEnd.column);
        for (int line = first.line; line <= last.line && line < m_buffer.lineCount(); ++line)
            deleteText({line, left}, {line, right}, true);
        clearSelection();
        setCaret({first.line, left}, true);
    } else {
        deleteText(first, last, true);
        clearSelection();
        setCaret(first, true);
    }
    endOperation(0);
}

void CodeEdit::typeCharacter(const QString &character)
{
    if (character.isEmpty() || !checkEditable())
        return;
    const int mode = m_settings.undoMode;
    const bool wanted = mode == 2 || (mode == 1 && character != QLatin1String(" "));
    CodeEditTransaction *previous = nullptr;
    if (wanted && !hasSelection() && m_redoList.empty() && !m_undoList.empty()
        && m_undoList.back()->kind == KindTyping && m_caret == m_undoList.back()->caretAfter)
        previous = m_undoList.back().get();
    beginOperation(0, KindTyping);
    deleteSelection();
    setCaret(insertText(m_caret, character, true), true);
    endOperation(0);
    if (!previous || m_undoList.size() < 2 || m_undoList[m_undoList.size() - 2].get() != previous)
        return;
    std::unique_ptr<CodeEditTransaction> fresh = std::move(m_undoList.back());
    m_undoList.pop_back();
    for (std::unique_ptr<CodeEditAction> &action : fresh->actions)
        previous->actions.push_back(std::move(action));
    previous->caretAfter = fresh->caretAfter;
    previous->serial = m_nextSerial++;
}

void CodeEdit::insertLineBreak()
{
    if (!checkEditable())
        return;
    beginOperation(0, KindLineBreak);
    deleteSelection();
    setCaret(insertText(m_caret, QStringLiteral("\n"), true), true);
    endOperation(0);
}

// Restore points for commands that keep the caret and selection where they were: recorded
// before the first change, so undoing the command puts them back after the text.
void CodeEdit::recordRestorePoints(bool &recorded)
{
    if (recorded)
        return;
    recorded = true;
    record(std::make_unique<CodeEditCaretRestorePointAction>(m_caret));
    if (hasSelection())
        record(std::make_unique<CodeEditSelectionRestorePointAction>(m_selectionAnchor, m_selectionEnd, m_selectionMode));
}

void CodeEdit::deleteTrailingWhitespace()
{
    if (!checkEditable())
        return;
    const CodeEditBufferPosition caret = m_caret;
    bool recorded = false;
    beginOperation(OperationNoScroll, KindMacro);
    for (int line = 0; line < m_buffer.lineCount(); ++line) {
        const QString text = m_buffer.text(line);
        int end = int(text.size());
        while (end > 0 && (text[end - 1] == u' ' || text[end - 1] == u'\t'))
            --end;
        if (end == text.size())
            continue;
        recordRestorePoints(recorded);
        deleteText({line, end}, {line, int(text.size())}, true);
    }
    m_caret = caret;
    endOperation(OperationNoScroll);
}

template <typename Rewrite>
void CodeEdit::rewriteLeadingSpace(int kind, Rewrite rewrite)
{
    if (!checkEditable())
        return;
    const CodeEditBufferPosition caret = m_caret;
    const int topLine = m_topLine;
    bool recorded = false;
    beginOperation(OperationNoScroll, kind);
    for (int line = 0; line < m_buffer.lineCount(); ++line) {
        const QString text = m_buffer.text(line);
        const int length = leadingSpaceLength(text);
        const QString leading = text.left(length);
        const QString wanted = rewrite(screenWidth(leading, m_settings.tabSize));
        if (wanted == leading)
            continue;
        recordRestorePoints(recorded);
        replaceText({line, 0}, length, wanted, true);
    }
    m_caret = caret;
    m_topLine = topLine;
    endOperation(OperationNoScroll);
}

void CodeEdit::untabify()
{
    rewriteLeadingSpace(KindUntabify, [](int width) { return QString(width, u' '); });
}

void CodeEdit::tabify()
{
    const int tabSize = m_settings.tabSize;
    rewriteLeadingSpace(KindTabify, [tabSize](int width) {
        return QString(width / tabSize, u'\t') + QString(width % tabSize, u' ');
    });
}

void CodeEdit::replaceAllText(const QString &text, int kind)
{
    if (!checkEditable())
        return;
    beginOperation(OperationClearStreamSelection | OperationClearBlockSelection, kind);
    const int last = m_buffer.lineCount() - 1;
    deleteText({0, 0}, {last, m_buffer.lineLength(last)}, true);
    insertText({0, 0}, text, true);
    setCaret({0, 0});
    endOperation(0);
}

void CodeEdit::undo()
{
    if (m_undoList.empty() || hasPendingChanges() || !checkEditable())
        return;
    beginOperation(OperationClearStreamSelection | OperationClearBlockSelection, KindMacro);
    m_redoList.push_back(std::move(m_undoList.back()));
    m_undoList.pop_back();
    CodeEditTransaction &transaction = *m_redoList.back();
    for (auto it = transaction.actions.rbegin(); it != transaction.actions.rend(); ++it)
        (*it)->undo(this);
    endOperation(1026);
}

void CodeEdit::redo()
{
    if (m_redoList.empty() || hasPendingChanges() || !checkEditable())
        return;
    beginOperation(0, KindMacro);
    m_undoList.push_back(std::move(m_redoList.back()));
    m_redoList.pop_back();
    for (const std::unique_ptr<CodeEditAction> &action : m_undoList.back()->actions)
        action->redo(this);
    endOperation(3090);
}

int CodeEdit::undoAll()
{
    return repeatAll(true);
}

int CodeEdit::redoAll()
{
    return repeatAll(false);
}

// Undoes or redoes inside one outer operation until the list is empty, and says how many.
int CodeEdit::repeatAll(bool undoing)
{
    const std::vector<std::unique_ptr<CodeEditTransaction>> &list = undoing ? m_undoList : m_redoList;
    int count = 0;
    beginOperation(0, KindMacro);
    while (!list.empty()) {
        const size_t before = list.size();
        undoing ? undo() : redo();
        if (list.size() == before)
            break;
        ++count;
    }
    endOperation(0);
    emit statusMessage((undoing ? QStringLiteral("Undone %1 actions") : QStringLiteral("Redone %1 actions")).arg(count));
    return count;
}

const CodeEditTransaction *CodeEdit::undoTransaction(int index) const
{
    if (index < 0 || index >= int(m_undoList.size()))
        return nullptr;
    return m_undoList[m_undoList.size() - 1 - size_t(index)].get();
}

const CodeEditTransaction *CodeEdit::redoTransaction(int index) const
{
    if (index < 0 || index >= int(m_redoList.size()))
        return nullptr;
    return m_redoList[m_redoList.size() - 1 - size_t(index)].get();
}

quint64 CodeEdit::topSerial() const
{
    return m_undoList.empty() ? 0 : m_undoList.back()->serial;
}

bool CodeEdit::isModified() const
{
    return m_forceModified || topSerial() != m_savedTop;
}

void CodeEdit::setUnmodified()
{
    m_savedTop = topSerial();
    m_forceModified = false;
    emit captionChanged(m_caption);
}

void CodeEdit::setForceModified(bool modified)
{
    m_forceModified = modified;
}

void CodeEdit::setBomKind(int kind)
{
    m_bomKind = kind;
    m_bom.clear();
}

void CodeEdit::setReadOnly(int mode, bool force)
{
    if (!force && m_readOnlyMode == 2)
        return;
    m_readOnlyMode = std::clamp(mode, 0, 2);
}

QString CodeEdit::statusText() const
{
    if (!hasSelection())
        return QStringLiteral("Ln %1 Col %2").arg(m_caret.line + 1).arg(m_caret.column + 1);
    const int lines = std::abs(m_selectionEnd.line - m_selectionAnchor.line) + 1;
    if (m_selectionMode == SelectionBlock)
        return QStringLiteral("Lns %1 Cols %2").arg(lines).arg(std::abs(m_selectionEnd.column - m_selectionAnchor.column));
    return QStringLiteral("Lns %1 Chs %2").arg(lines).arg(textBetween(m_selectionAnchor, m_selectionEnd).size());
}

bool CodeEdit::queryClose()
{
    if (!isModified())
        return true;
    const QString name = m_path.text();
    const int answer = m_questions->ask(QStringLiteral("File %1 is modified").arg(name),
                                        QStringLiteral("Do you want to save the changes made to %1").arg(name),
                                        {QStringLiteral("Save"), QStringLiteral("Discard"), QStringLiteral("Cancel")});
    if (answer == 0)
        return save();
    return answer == 1;
}

bool CodeEdit::close(bool force)
{
    if (!force && !queryClose())
        return false;
    dropRecovery();
    resetDocument();
    m_path = Path();
    return true;
}

void CodeEdit::setCaption(const QString &caption)
{
    m_caption = caption;
    emit captionChanged(caption);
}

bool CodeEdit::isCommandEnabled(int id) const
{
    switch (id) {
    case CommandUndo:
    case CommandUndoAll:
        return isEditable() && !m_undoList.empty();
    case CommandRedo:
    case CommandRedoAll:
        return isEditable() && !m_redoList.empty();
    default:
        break;
    }
    if (id >= CommandFirstModifying && id <= CommandLastModifying)
        return isEditable();
    return id > CommandLastModifying;
}

// An empty document with nothing to undo, as after a load and before the text is set.
void CodeEdit::resetDocument()
{
    m_undoList.clear();
    m_redoList.clear();
    m_currentTransaction.reset();
    m_operationDepth = 0;
    m_pendingRefresh = 0;
    m_savedTop = 0;
    m_recoveryTop = 0;
    m_forceModified = false;
    clearSelection();
    m_caret = {};
    m_topLine = 0;
    m_leftColumn = 0;
    m_buffer.setText(QString());
}
