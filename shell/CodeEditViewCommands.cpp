// The editor's commands over whole lines (indent, outdent, comments), go to line and find.
#include "shell/CodeEditView.h"
#include "editor/CodeEdit.h"
#include <algorithm>

namespace {

// The line comment of each syntax, by the registry's name; XML comments a line as a whole.
struct CommentStyle {
    const char *syntax;
    const char *prefix;
    const char *suffix;
};

constexpr CommentStyle commentStyles[] = {
    {"python", "#", ""}, {"cmake", "#", ""}, {"yaml", "#", ""}, {"asm", ";", ""},
    {"vhdl", "--", ""}, {"forth", "\\ ", ""}, {"batch", "rem ", ""}, {"tessbasic", "'", ""},
    {"xml", "<!--", "-->"}, {"markdown", "<!--", "-->"},
};

} // namespace

struct CodeEditView::LineRange {
    int first;
    int last;
};

CodeEditView::LineRange CodeEditView::selectedLines() const
{
    const CodeEditBufferPosition caret = m_edit->caret();
    if (!m_edit->hasSelection())
        return {caret.line, caret.line};
    const Span range = ordered(m_edit->selectionAnchor(), m_edit->selectionEnd());
    // A selection that ends at the start of a line leaves that line alone.
    const int last = range.last.column == 0 && range.last.line > range.first.line ? range.last.line - 1 : range.last.line;
    return {range.first.line, std::min(last, m_edit->numberOfLines() - 1)};
}

template <typename Change> void CodeEditView::changeLines(int kind, Change change)
{
    if (!mayEdit())
        return;
    const LineRange lines = selectedLines();
    const bool selected = m_edit->hasSelection();
    m_edit->beginOperation(OperationNoScroll, kind);
    for (int line = lines.first; line <= lines.last; ++line)
        change(line);
    if (selected) {   // the whole lines stay selected, so the command can be repeated
        const CodeEditBufferPosition end = lines.last + 1 < m_edit->numberOfLines()
                                               ? CodeEditBufferPosition{lines.last + 1, 0}
                                               : CodeEditBufferPosition{lines.last, m_edit->buffer().lineLength(lines.last)};
        m_edit->setSelection({lines.first, 0}, end, SelectionStream);
        m_edit->setCaret(end);
    } else {
        m_edit->setCaret(m_edit->buffer().clamped(m_edit->caret()));
    }
    m_edit->endOperation(0);
    afterChange();
}

void CodeEditView::indent()
{
    if (!mayEdit())
        return;
    const QString unit = m_edit->settings().insertTabs ? QStringLiteral("\t") : QString(m_tabSize, u' ');
    const CodeEditBufferPosition caret = m_edit->caret();
    const bool single = !m_edit->hasSelection();
    changeLines(KindIndent, [&](int line) {
        if (m_edit->buffer().lineLength(line) > 0 || single)
            m_edit->insertText({line, 0}, unit, true);
    });
    if (single)
        setCaretPosition({caret.line, caret.column + int(unit.size())});
}

void CodeEditView::outdent()
{
    const CodeEditBufferPosition caret = m_edit->caret();
    const bool single = !m_edit->hasSelection();
    int removedOnCaretLine = 0;
    changeLines(KindOutdent, [&](int line) {
        const QString text = m_edit->buffer().text(line);
        int remove = 0;
        if (text.startsWith(u'\t'))
            remove = 1;
        else
            while (remove < m_tabSize && remove < text.size() && text[remove] == u' ')
                ++remove;
        if (remove > 0)
            m_edit->deleteText({line, 0}, {line, remove}, true);
        if (line == caret.line)
            removedOnCaretLine = remove;
    });
    if (single && removedOnCaretLine > 0)   // the caret stays by the text it stood at
        setCaretPosition({caret.line, std::max(0, caret.column - removedOnCaretLine)});
}

// The comment of the document's syntax: the C family's line comment unless the table says
// otherwise.
CodeEditView::Comment CodeEditView::commentStyle() const
{
    for (const CommentStyle &style : commentStyles) {
        if (m_syntaxName == QLatin1String(style.syntax))
            return {QLatin1String(style.prefix), QLatin1String(style.suffix)};
    }
    return {QStringLiteral("//"), QString()};
}

void CodeEditView::comment()
{
    const auto [prefix, suffix] = commentStyle();
    changeLines(KindComment, [&](int line) {
        if (!suffix.isEmpty())
            m_edit->insertText({line, m_edit->buffer().lineLength(line)}, suffix, true);
        m_edit->insertText({line, 0}, prefix, true);
    });
}

void CodeEditView::uncomment()
{
    const auto [prefix, suffix] = commentStyle();
    changeLines(KindUncomment, [&](int line) {
        const QString text = m_edit->buffer().text(line);
        int at = 0;
        while (at < text.size() && (text[at] == u' ' || text[at] == u'\t'))
            ++at;
        if (!QStringView(text).mid(at).startsWith(prefix))
            return;
        if (!suffix.isEmpty() && text.endsWith(suffix))
            m_edit->deleteText({line, int(text.size() - suffix.size())}, {line, int(text.size())}, true);
        m_edit->deleteText({line, at}, {line, at + int(prefix.size())}, true);
    });
}

void CodeEditView::toggleComment()
{
    const LineRange lines = selectedLines();
    const QString prefix = commentStyle().prefix;
    bool allCommented = true;
    for (int line = lines.first; line <= lines.last && allCommented; ++line) {
        const QString text = m_edit->buffer().text(line).trimmed();
        allCommented = text.isEmpty() || text.startsWith(prefix);
    }
    if (allCommented)
        uncomment();
    else
        comment();
}

void CodeEditView::goToLine(int line)
{
    const int target = std::clamp(line - 1, 0, std::max(0, m_edit->numberOfLines() - 1));
    m_edit->clearSelection();
    m_edit->setCaret({target, 0});
    // The line comes to the middle of the view, where the eye looks for it.
    const int top = std::max(0, target - visibleLines() / 2);
    if (target < topLine() || target >= topLine() + visibleLines())
        m_edit->setTopLine(top);
    m_preferredColumn = -1;
    afterMove();
}

bool CodeEditView::find(const QString &text, bool forward, bool matchCase)
{
    if (text.isEmpty())
        return false;
    const Qt::CaseSensitivity sensitivity = matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    const CodeEditBuffer &buffer = m_edit->buffer();
    const int lines = buffer.lineCount();
    CodeEditBufferPosition from = m_edit->caret();
    if (m_edit->hasSelection()) {
        const Span range = ordered(m_edit->selectionAnchor(), m_edit->selectionEnd());
        from = forward ? range.last : range.first;
    }
    from = buffer.clamped(from);
    // Every line once, and the starting line a second time for the part before the caret.
    for (int step = 0; step <= lines; ++step) {
        const int line = forward ? (from.line + step) % lines : ((from.line - step) % lines + lines) % lines;
        const QString lineText = buffer.text(line);
        qsizetype at = -1;
        if (forward)
            at = lineText.indexOf(text, step == 0 ? from.column : 0, sensitivity);
        else if (step == 0)
            at = from.column > 0 ? lineText.lastIndexOf(text, from.column - 1, sensitivity) : -1;
        else
            at = lineText.lastIndexOf(text, -1, sensitivity);
        if (step == lines && at >= 0 && (forward ? at >= from.column : at < from.column))
            at = -1;   // back where the search began
        if (at < 0)
            continue;
        const CodeEditBufferPosition start{line, int(at)};
        const CodeEditBufferPosition end{line, int(at + text.size())};
        m_edit->setCaret(end);
        m_edit->setSelection(start, end, SelectionStream);
        afterMove();
        return true;
    }
    return false;
}
