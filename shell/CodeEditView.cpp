#include "shell/CodeEditView.h"
#include "editor/CodeEdit.h"
#include "editor/CodeEditParser.h"
#include "editor/CodeEditSyntax.h"
#include <QApplication>
#include <QClipboard>
#include <QFontDatabase>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>

namespace {

// How each class of a marked line looks. One table, so the colours read as one scheme.
struct ClassStyle {
    QRgb colour;
    bool bold;
    bool italic;
    QRgb background;   // 0: none
};

constexpr QRgb textColour = 0xff1c1c1c;

constexpr ClassStyle classStyles[styleCount] = {
    {textColour, false, false, 0},         // Text
    {0xffa0309c, false, false, 0},         // Literal
    {0xff2e7d32, false, true, 0},          // Comment
    {0xff1a3fb0, true, false, 0},          // Keyword
    {0xff00796b, false, false, 0},         // Disassembly
    {0xff1565c0, false, false, 0},         // XML Markup
    {0xff9c6500, false, false, 0},         // Preprocessor Control
    {0xffb71c1c, false, false, 0},         // Operator
    {0xff6a1b9a, true, false, 0},          // Register
    {0xff00838f, false, false, 0},         // Function
    {0xff1c1c1c, true, false, 0xffffcdd2}, // FIXME
    {0xff1c1c1c, true, false, 0xfffff59d}, // ATTENTION
    {0xff1c1c1c, false, false, 0xffe1bee7},// Lint
    {0xff2e7d32, true, false, 0},          // DocGen Keyword
    {0xff2e7d32, false, false, 0},         // DocGen Argument
    {0xff558b2f, false, false, 0},         // DocGen Code/Verbatim
    {0xff00838f, false, false, 0},         // XML Attribute
    {textColour, false, false, 0}, {textColour, false, false, 0}, {textColour, false, false, 0},
    {textColour, false, false, 0}, {textColour, false, false, 0}, {textColour, false, false, 0},
    {textColour, false, false, 0}, {textColour, false, false, 0}, {textColour, false, false, 0},
    {textColour, false, false, 0}, {textColour, false, false, 0}, {textColour, false, false, 0},
    {0xffa0309c, false, false, 0},         // String
    {0xff7b1fa2, true, false, 0},          // String Delimiter
    {0xffe65100, false, false, 0},         // String Escape
    {0xff1565c0, false, false, 0},         // XML Delimiter
    {textColour, false, false, 0}, {textColour, false, false, 0}, {textColour, false, false, 0},
};

constexpr QRgb backgroundColour = 0xfffdfdf8;
constexpr QRgb currentLineColour = 0xfff2f0e0;
constexpr QRgb selectionColour = 0xffb3d4fc;
constexpr QRgb gutterColour = 0xffeeeee8;
constexpr QRgb gutterTextColour = 0xff8a8a80;
constexpr int gutterPadding = 6;

bool isWordCharacter(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

} // namespace

CodeEditView::Span CodeEditView::ordered(CodeEditBufferPosition a, CodeEditBufferPosition b)
{
    return a < b ? Span{a, b} : Span{b, a};
}

CodeEditSyntaxRegistry &shellSyntaxes()
{
    static CodeEditSyntaxRegistry syntaxes;
    if (syntaxes.syntaxes().empty())
        registerStandardSyntaxes(syntaxes);
    return syntaxes;
}

CodeEditView::CodeEditView(QWidget *parent)
    : QAbstractScrollArea(parent), m_edit(new CodeEdit(this)), m_blink(new QTimer(this))
{
    setObjectName(QStringLiteral("CodeEditView"));
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace);
    setFont(font);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setAutoFillBackground(false);
    m_tabSize = m_edit->settings().tabSize;
    connect(m_edit, &CodeEdit::modificationChanged, this, &CodeEditView::modificationChanged);
    connect(m_blink, &QTimer::timeout, this, [this] {
        m_caretShown = !m_caretShown;
        viewport()->update();
    });
    updateMetrics();
    updateScrollBars();
}

CodeEditView::~CodeEditView() = default;

void CodeEditView::chooseSyntaxForFile(const QString &fileName)
{
    const CodeEditSyntax *syntax = shellSyntaxes().forFileName(fileName);
    m_edit->buffer().setParser(syntax ? syntax->parser : nullptr);
    m_syntaxName = syntax ? syntax->name : QString();
    viewport()->update();
}

void CodeEditView::documentReset()
{
    m_tabSize = std::max(1, m_edit->settings().tabSize);
    m_leftColumn = 0;
    m_preferredColumn = -1;
    updateMetrics();
    updateScrollBars();
    afterMove();
}

// --- metrics and scrolling

void CodeEditView::updateMetrics()
{
    const QFontMetrics metrics(font());
    m_charWidth = std::max(1, metrics.horizontalAdvance(u'M'));
    m_lineHeight = std::max(1, metrics.height());
    m_ascent = metrics.ascent();
    for (int look = 0; look < 4; ++look) {
        m_fonts[look] = font();
        m_fonts[look].setBold(look & 1);
        m_fonts[look].setItalic(look & 2);
    }
    const int digits = int(QString::number(std::max(1, m_edit->numberOfLines())).size());
    m_gutterWidth = (std::max(digits, 3) + 1) * m_charWidth + 2 * gutterPadding;
}

int CodeEditView::visibleLines() const
{
    return std::max(1, viewport()->height() / m_lineHeight);
}

int CodeEditView::pageStep() const
{
    return std::max(1, visibleLines() - 1);
}

void CodeEditView::updateScrollBars()
{
    const int lines = m_edit->numberOfLines();
    const int visible = visibleLines();
    m_edit->setVisibleLines(visible);
    QScrollBar *vertical = verticalScrollBar();
    const QSignalBlocker verticalBlocker(vertical);
    vertical->setRange(0, std::max(0, lines - visible + 1));
    vertical->setPageStep(visible);
    vertical->setSingleStep(1);
    vertical->setValue(m_edit->topLine());
    const int columns = std::max(1, (viewport()->width() - m_gutterWidth) / m_charWidth);
    QScrollBar *horizontal = horizontalScrollBar();
    const QSignalBlocker horizontalBlocker(horizontal);
    horizontal->setRange(0, std::max(0, m_edit->buffer().longestLength() + 1 - columns + 1));
    horizontal->setPageStep(columns);
    horizontal->setValue(m_leftColumn);
}

void CodeEditView::scrollContentsBy(int, int)
{
    m_edit->setTopLine(verticalScrollBar()->value());
    m_leftColumn = horizontalScrollBar()->value();
    viewport()->update();
}

void CodeEditView::setTopLine(int line)
{
    const int top = std::clamp(line, 0, std::max(0, m_edit->numberOfLines() - 1));
    m_edit->setTopLine(top);
    updateScrollBars();
    viewport()->update();
}

int CodeEditView::topLine() const
{
    return m_edit->topLine();
}

void CodeEditView::scrollUp()
{
    setTopLine(topLine() - 1);
}

void CodeEditView::scrollDown()
{
    setTopLine(topLine() + 1);
}

void CodeEditView::ensureCaretVisible()
{
    const CodeEditBufferPosition caret = m_edit->caret();
    const int visible = visibleLines();
    int top = m_edit->topLine();
    if (caret.line < top)
        top = caret.line;
    else if (caret.line >= top + visible)
        top = caret.line - visible + 1;
    m_edit->setTopLine(top);
    const int columns = std::max(1, (viewport()->width() - m_gutterWidth) / m_charWidth);
    const int screen = screenColumn(caret.line, caret.column);
    if (screen < m_leftColumn)
        m_leftColumn = std::max(0, screen - 4);
    else if (screen >= m_leftColumn + columns)
        m_leftColumn = screen - columns + 4;
    updateScrollBars();
}

void CodeEditView::afterMove()
{
    ensureCaretVisible();
    restartBlink();
    viewport()->update();
    emit caretChanged();
}

void CodeEditView::afterChange()
{
    // The document scrolled itself to the caret when its operation ended; a new line count may
    // also widen the gutter.
    m_preferredColumn = -1;
    updateMetrics();
    afterMove();
}

void CodeEditView::restartBlink()
{
    m_caretShown = true;
    if (hasFocus())
        m_blink->start(QApplication::cursorFlashTime() > 0 ? QApplication::cursorFlashTime() / 2 : 500);
}

// --- columns

int CodeEditView::screenColumn(int line, int column) const
{
    const QString text = m_edit->buffer().text(line);
    const int limit = std::min<int>(column, int(text.size()));
    int screen = 0;
    for (int i = 0; i < limit; ++i)
        screen = text[i] == u'\t' ? screen + m_tabSize - screen % m_tabSize : screen + 1;
    return screen + std::max(0, column - limit);   // a caret past the line's end
}

int CodeEditView::columnAtScreen(int line, int screen) const
{
    const QString text = m_edit->buffer().text(line);
    int at = 0;
    for (int i = 0; i < text.size(); ++i) {
        const int next = text[i] == u'\t' ? at + m_tabSize - at % m_tabSize : at + 1;
        if (screen < next)
            return screen - at <= next - screen ? i : i + 1;   // the nearer side of the character
        at = next;
    }
    return int(text.size());
}

CodeEditBufferPosition CodeEditView::positionAt(QPoint point) const
{
    const int lines = m_edit->numberOfLines();
    const int line = std::clamp(m_edit->topLine() + point.y() / m_lineHeight, 0, std::max(0, lines - 1));
    const int x = point.x() - m_gutterWidth + m_charWidth / 2;
    const int screen = std::max(0, x / m_charWidth + m_leftColumn);
    return {line, columnAtScreen(line, screen)};
}

// --- painting

void CodeEditView::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    const int width = viewport()->width();
    const int height = viewport()->height();
    painter.fillRect(QRect(0, 0, width, height), QColor::fromRgb(backgroundColour));
    const int lines = m_edit->numberOfLines();
    const int top = m_edit->topLine();
    const int caretLine = m_edit->caret().line;
    m_firstPaintedLine = top;
    m_paintedLines = 0;
    painter.save();
    painter.setClipRect(QRect(m_gutterWidth, 0, width - m_gutterWidth, height));
    for (int line = top, y = 0; line < lines && y < height; ++line, y += m_lineHeight) {
        if (line == caretLine && !m_edit->hasSelection())
            painter.fillRect(QRect(m_gutterWidth, y, width, m_lineHeight), QColor::fromRgb(currentLineColour));
        paintSelection(painter, line, y);
        paintLine(painter, line, y);
        ++m_paintedLines;
    }
    if (hasFocus() && m_caretShown && caretLine >= top && caretLine < top + visibleLines() + 1) {
        const int x = m_gutterWidth + (screenColumn(caretLine, m_edit->caret().column) - m_leftColumn) * m_charWidth;
        painter.fillRect(QRect(x, (caretLine - top) * m_lineHeight, 2, m_lineHeight), QColor::fromRgb(textColour));
    }
    painter.restore();
    painter.fillRect(QRect(0, 0, m_gutterWidth - gutterPadding / 2, height), QColor::fromRgb(gutterColour));
    painter.setPen(QColor::fromRgb(gutterTextColour));
    for (int line = top, y = 0; line < lines && y < height; ++line, y += m_lineHeight) {
        painter.drawText(QRect(0, y, m_gutterWidth - gutterPadding * 2, m_lineHeight), Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(line + 1));
    }
}

// Draws the marked line's runs, each in its class's style, cut to the columns in sight.
void CodeEditView::paintLine(QPainter &painter, int line, int y)
{
    const char16_t *marked = m_edit->buffer().markedLine(line, m_tabSize, false);
    if (!marked)
        return;
    const int columns = (viewport()->width() - m_gutterWidth) / m_charWidth + 2;
    const int firstColumn = m_leftColumn;
    const int endColumn = m_leftColumn + columns;
    int style = 0;
    int column = 0;
    const auto drawRun = [&](const char16_t *begin, int length) {
        const int runEnd = column + length;
        if (runEnd > firstColumn && column < endColumn && style < styleCount) {
            const int from = std::max(column, firstColumn);
            const int to = std::min(runEnd, endColumn);
            const ClassStyle &look = classStyles[style];
            const int x = m_gutterWidth + (from - m_leftColumn) * m_charWidth;
            if (look.background)
                painter.fillRect(QRect(x, y, (to - from) * m_charWidth, m_lineHeight), QColor::fromRgb(look.background));
            painter.setFont(m_fonts[int(look.bold) | int(look.italic) << 1]);
            painter.setPen(QColor::fromRgb(look.colour));
            painter.drawText(x, y + m_ascent, QString::fromUtf16(begin + (from - column), to - from));
        }
        column = runEnd;
    };
    const char16_t *run = marked;
    const char16_t *p = marked;
    for (; *p && column + int(p - run) < endColumn; ++p) {
        if (*p != markSwitch)
            continue;
        drawRun(run, int(p - run));
        const char16_t code = *++p;
        if (code < styleCount)
            style = code;
        run = p + 1;
    }
    drawRun(run, int(p - run));
    painter.setFont(m_fonts[0]);
}

void CodeEditView::paintSelection(QPainter &painter, int line, int y)
{
    if (!m_edit->hasSelection())
        return;
    const Span range = ordered(m_edit->selectionAnchor(), m_edit->selectionEnd());
    if (line < range.first.line || line > range.last.line)
        return;
    const int from = line == range.first.line ? screenColumn(line, range.first.column) : 0;
    int to = line == range.last.line ? screenColumn(line, range.last.column)
                                     : screenColumn(line, m_edit->buffer().lineLength(line)) + 1;   // the line break
    const int x = m_gutterWidth + (from - m_leftColumn) * m_charWidth;
    painter.fillRect(QRect(x, y, (to - from) * m_charWidth, m_lineHeight), QColor::fromRgb(selectionColour));
}

void CodeEditView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
}

// --- focus

void CodeEditView::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    restartBlink();
    viewport()->update();
    emit gotFocus(this);
}

void CodeEditView::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    m_blink->stop();
    viewport()->update();
}

// --- caret movement

CodeEditBufferPosition CodeEditView::caretPosition() const
{
    return m_edit->caret();
}

void CodeEditView::setCaretPosition(CodeEditBufferPosition position)
{
    m_edit->clearSelection();
    m_edit->setCaret(position);
    m_preferredColumn = -1;
    afterMove();
}

void CodeEditView::moveCaret(CodeEditBufferPosition to, bool extend, bool keepPreferredColumn)
{
    const CodeEditBufferPosition from = m_edit->caret();
    if (extend) {
        const CodeEditBufferPosition anchor = m_edit->hasSelection() ? m_edit->selectionAnchor() : from;
        m_edit->setCaret(to);
        m_edit->setSelection(anchor, m_edit->caret(), SelectionStream);
    } else {
        m_edit->clearSelection();
        m_edit->setCaret(to);
    }
    if (!keepPreferredColumn)
        m_preferredColumn = -1;
    afterMove();
}

void CodeEditView::moveCharacter(int direction, bool extend)
{
    const CodeEditBuffer &buffer = m_edit->buffer();
    CodeEditBufferPosition caret = m_edit->caret();
    if (!extend && m_edit->hasSelection()) {   // an arrow collapses the selection to its side
        const Span range = ordered(m_edit->selectionAnchor(), m_edit->selectionEnd());
        moveCaret(direction < 0 ? range.first : range.last, false);
        return;
    }
    if (direction < 0) {
        if (caret.column > 0)
            caret.column = std::min(caret.column - 1, buffer.lineLength(caret.line));
        else if (caret.line > 0)
            caret = {caret.line - 1, buffer.lineLength(caret.line - 1)};
    } else if (caret.column < buffer.lineLength(caret.line)) {
        ++caret.column;
    } else if (caret.line + 1 < buffer.lineCount()) {
        caret = {caret.line + 1, 0};
    }
    moveCaret(caret, extend);
}

void CodeEditView::moveWord(int direction, bool extend)
{
    const CodeEditBuffer &buffer = m_edit->buffer();
    CodeEditBufferPosition caret = m_edit->buffer().clamped(m_edit->caret());
    const QString text = buffer.text(caret.line);
    int column = caret.column;
    if (direction > 0) {
        if (column >= text.size()) {
            if (caret.line + 1 < buffer.lineCount())
                caret = {caret.line + 1, 0};
            moveCaret(caret, extend);
            return;
        }
        while (column < text.size() && isWordCharacter(text[column]))
            ++column;
        if (column == caret.column && column < text.size() && !text[column].isSpace())
            ++column;   // punctuation goes one at a time
        while (column < text.size() && text[column].isSpace())
            ++column;
    } else {
        if (column == 0) {
            if (caret.line > 0)
                caret = {caret.line - 1, buffer.lineLength(caret.line - 1)};
            moveCaret(caret, extend);
            return;
        }
        while (column > 0 && text[column - 1].isSpace())
            --column;
        const int start = column;
        while (column > 0 && isWordCharacter(text[column - 1]))
            --column;
        if (column == start && column > 0)
            --column;
    }
    moveCaret({caret.line, column}, extend);
}

void CodeEditView::moveLineStart(bool extend)
{
    const CodeEditBufferPosition caret = m_edit->caret();
    const QString text = m_edit->buffer().text(caret.line);
    int firstBlank = 0;
    while (firstBlank < text.size() && text[firstBlank].isSpace())
        ++firstBlank;
    moveCaret({caret.line, caret.column == firstBlank ? 0 : firstBlank}, extend);
}

void CodeEditView::moveLineEnd(bool extend)
{
    const int line = m_edit->caret().line;
    moveCaret({line, m_edit->buffer().lineLength(line)}, extend);
}

void CodeEditView::moveLines(int delta, bool extend)
{
    const CodeEditBufferPosition caret = m_edit->caret();
    if (m_preferredColumn < 0)
        m_preferredColumn = screenColumn(caret.line, caret.column);
    const int line = std::clamp(caret.line + delta, 0, std::max(0, m_edit->numberOfLines() - 1));
    if (std::abs(delta) > 1)   // a page moves the view with the caret
        m_edit->setTopLine(std::clamp(topLine() + delta, 0, std::max(0, m_edit->numberOfLines() - visibleLines())));
    moveCaret({line, columnAtScreen(line, m_preferredColumn)}, extend, true);
}

// --- keys

bool CodeEditView::isMovementOrEditingKey(const QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
    switch (event->key()) {
    case Qt::Key_Left: case Qt::Key_Right: case Qt::Key_Home: case Qt::Key_End:
        return modifiers == Qt::NoModifier || modifiers == Qt::ControlModifier;
    case Qt::Key_Up: case Qt::Key_Down: case Qt::Key_PageUp: case Qt::Key_PageDown:
    case Qt::Key_Return: case Qt::Key_Enter: case Qt::Key_Backspace: case Qt::Key_Tab: case Qt::Key_Backtab:
        return modifiers == Qt::NoModifier;
    case Qt::Key_Delete:
        return modifiers == Qt::NoModifier && !(event->modifiers() & Qt::ShiftModifier);
    default:
        break;
    }
    const QString text = event->text();
    return modifiers == Qt::NoModifier && !text.isEmpty() && text[0].isPrint();
}

bool CodeEditView::event(QEvent *event)
{
    // The editor's own keys win over the window's shortcuts, and Tab types rather than moves
    // the focus.
    if (event->type() == QEvent::ShortcutOverride && isMovementOrEditingKey(static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) {
            keyPressEvent(key);
            return true;
        }
    }
    return QAbstractScrollArea::event(event);
}

bool CodeEditView::handleMovementKey(const QKeyEvent *event)
{
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    const bool control = event->modifiers() & Qt::ControlModifier;
    switch (event->key()) {
    case Qt::Key_Left: control ? moveWord(-1, extend) : moveCharacter(-1, extend); return true;
    case Qt::Key_Right: control ? moveWord(1, extend) : moveCharacter(1, extend); return true;
    case Qt::Key_Up: moveLines(-1, extend); return true;
    case Qt::Key_Down: moveLines(1, extend); return true;
    case Qt::Key_PageUp: moveLines(-pageStep(), extend); return true;
    case Qt::Key_PageDown: moveLines(pageStep(), extend); return true;
    case Qt::Key_Home:
        if (control)
            moveCaret({0, 0}, extend);
        else
            moveLineStart(extend);
        return true;
    case Qt::Key_End:
        if (control) {
            const int last = std::max(0, m_edit->numberOfLines() - 1);
            moveCaret({last, m_edit->buffer().lineLength(last)}, extend);
        } else {
            moveLineEnd(extend);
        }
        return true;
    default:
        return false;
    }
}

bool CodeEditView::handleEditingKey(const QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return: case Qt::Key_Enter: newLine(); return true;
    case Qt::Key_Backspace: deleteBackward(); return true;
    case Qt::Key_Delete: deleteForward(); return true;
    case Qt::Key_Backtab: outdent(); return true;
    case Qt::Key_Tab:
        if (event->modifiers() & Qt::ShiftModifier)
            outdent();
        else if (m_edit->hasSelection() && m_edit->selectionAnchor().line != m_edit->selectionEnd().line)
            indent();
        else
            typeText(QStringLiteral("\t"));
        return true;
    default:
        return false;
    }
}

void CodeEditView::keyPressEvent(QKeyEvent *event)
{
    if (handleMovementKey(event) || handleEditingKey(event))
        return;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
    const QString text = event->text();
    if (modifiers == Qt::NoModifier && !text.isEmpty() && text[0].isPrint()) {
        typeText(text);
        return;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

void CodeEditView::typeText(const QString &text)
{
    // Each character is one typed step, so the document merges them as its undo mode says.
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qsizetype length = text[i].isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        m_edit->typeCharacter(text.mid(i, length));
        i += length - 1;
    }
    afterChange();
}

// Text composed through an input method arrives whole; it is typed like keys.
void CodeEditView::inputMethodEvent(QInputMethodEvent *event)
{
    if (!event->commitString().isEmpty())
        typeText(event->commitString());
    event->accept();
}

QVariant CodeEditView::inputMethodQuery(Qt::InputMethodQuery query) const
{
    if (query == Qt::ImCursorRectangle) {
        const CodeEditBufferPosition caret = m_edit->caret();
        const int x = m_gutterWidth + (screenColumn(caret.line, caret.column) - m_leftColumn) * m_charWidth;
        return QRect(x, (caret.line - m_edit->topLine()) * m_lineHeight, 2, m_lineHeight);
    }
    return QAbstractScrollArea::inputMethodQuery(query);
}

// --- mouse

void CodeEditView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return QAbstractScrollArea::mousePressEvent(event);
    if (m_lastDoubleClick.isValid() && m_lastDoubleClick.elapsed() < QApplication::doubleClickInterval()) {
        m_lastDoubleClick.invalidate();
        selectLine();
        return;
    }
    moveCaret(positionAt(event->position().toPoint()), event->modifiers() & Qt::ShiftModifier);
    m_selecting = true;
}

void CodeEditView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_selecting || !(event->buttons() & Qt::LeftButton))
        return;
    const QPoint point = event->position().toPoint();
    if (point.y() < 0)
        scrollUp();
    else if (point.y() > viewport()->height())
        scrollDown();
    moveCaret(positionAt(point), true);
}

void CodeEditView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        m_selecting = false;
    if (event->button() == Qt::LeftButton && m_edit->hasSelection() && QApplication::clipboard()->supportsSelection())
        QApplication::clipboard()->setText(m_edit->textBetween(m_edit->selectionAnchor(), m_edit->selectionEnd()), QClipboard::Selection);
}

void CodeEditView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    moveCaret(positionAt(event->position().toPoint()), false);
    selectWord();
    m_selecting = false;
    m_lastDoubleClick.start();
}

// --- selection

void CodeEditView::selectAll()
{
    const int last = std::max(0, m_edit->numberOfLines() - 1);
    m_edit->setCaret({last, m_edit->buffer().lineLength(last)});
    m_edit->setSelection({0, 0}, m_edit->caret(), SelectionStream);
    afterMove();
}

void CodeEditView::selectWord()
{
    const CodeEditBufferPosition caret = m_edit->buffer().clamped(m_edit->caret());
    const QString text = m_edit->buffer().text(caret.line);
    int start = caret.column;
    int end = caret.column;
    while (start > 0 && isWordCharacter(text[start - 1]))
        --start;
    while (end < text.size() && isWordCharacter(text[end]))
        ++end;
    if (start == end && end < text.size())
        ++end;   // on punctuation: that one character
    m_edit->setCaret({caret.line, end});
    m_edit->setSelection({caret.line, start}, {caret.line, end}, SelectionStream);
    afterMove();
}

void CodeEditView::selectLine()
{
    const int line = m_edit->caret().line;
    const bool last = line + 1 >= m_edit->numberOfLines();
    const CodeEditBufferPosition end = last ? CodeEditBufferPosition{line, m_edit->buffer().lineLength(line)}
                                            : CodeEditBufferPosition{line + 1, 0};
    m_edit->setCaret(end);
    m_edit->setSelection({line, 0}, end, SelectionStream);
    afterMove();
}

// --- editing

bool CodeEditView::isEditable() const
{
    return m_edit->isEditable();
}

bool CodeEditView::isCommandEnabled(int id) const
{
    // The numbers of the shell's action table: cut, paste, delete, delete line, indent, outdent,
    // the three comment commands, duplicate line, copy, the three selections, find, find next
    // and previous, go to line.
    constexpr int carriedOut[] = {4, 11, 18, 20, 36, 37, 43, 44, 45, 48, 80, 87, 88, 89, 100, 102, 103, 107};
    if (id > EditCommand::firstModifying - 1 && id <= EditCommand::lastNumberedCommand
        && std::find(std::begin(carriedOut), std::end(carriedOut), id) == std::end(carriedOut))
        return false;
    return EditCommandInterface::isCommandEnabled(id);
}

bool CodeEditView::canUndo() const
{
    return m_edit->undoCount() > 0;
}

bool CodeEditView::canRedo() const
{
    return m_edit->redoCount() > 0;
}

// Whether a change may go ahead; a read-only document says why through the document's signal,
// as its own primitives do, before anything moves.
bool CodeEditView::mayEdit()
{
    if (m_edit->isEditable())
        return true;
    if (m_edit->readOnlyMode() == 1)
        emit m_edit->readOnlyFileEdit();
    return m_edit->isEditable();   // a receiver may have made it writable
}

void CodeEditView::undo()
{
    m_edit->undo();
    afterChange();
}

void CodeEditView::redo()
{
    m_edit->redo();
    afterChange();
}

void CodeEditView::undoAll()
{
    m_edit->undoAll();
    afterChange();
}

void CodeEditView::redoAll()
{
    m_edit->redoAll();
    afterChange();
}

void CodeEditView::copy()
{
    // Without a selection the caret's line goes, with its line break, as editors of code do.
    const CodeEditBufferPosition caret = m_edit->caret();
    const QString text = m_edit->hasSelection() ? m_edit->textBetween(m_edit->selectionAnchor(), m_edit->selectionEnd())
                                                : m_edit->buffer().text(caret.line) + u'\n';
    QApplication::clipboard()->setText(text);
}

void CodeEditView::cut()
{
    if (!mayEdit())
        return;
    if (!m_edit->hasSelection()) {
        copy();
        deleteLine();
        return;
    }
    copy();
    m_edit->beginOperation(0, KindCut);
    m_edit->deleteSelection();
    m_edit->endOperation(0);
    afterChange();
}

void CodeEditView::paste()
{
    if (!mayEdit())
        return;
    QString text = QApplication::clipboard()->text();
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(u'\r', u'\n');
    if (text.isEmpty())
        return;
    m_edit->beginOperation(0, KindPaste);
    m_edit->deleteSelection();
    m_edit->setCaret(m_edit->insertText(m_edit->caret(), text, true), true);
    m_edit->endOperation(0);
    afterChange();
}

void CodeEditView::insertText(const QString &text)
{
    if (!mayEdit())
        return;
    if (text.isEmpty())
        return;
    m_edit->beginOperation(0, KindMacro);
    m_edit->deleteSelection();
    m_edit->setCaret(m_edit->insertText(m_edit->caret(), text, true), true);
    m_edit->endOperation(0);
    afterChange();
}

void CodeEditView::newLine()
{
    if (!mayEdit())
        return;
    const CodeEditBufferPosition caret = m_edit->buffer().clamped(m_edit->caret());
    const QString text = m_edit->buffer().text(caret.line);
    int indentLength = 0;
    while (indentLength < std::min<int>(caret.column, int(text.size())) && (text[indentLength] == u' ' || text[indentLength] == u'\t'))
        ++indentLength;
    m_edit->beginOperation(0, KindLineBreak);
    m_edit->insertLineBreak();
    if (indentLength > 0)
        m_edit->setCaret(m_edit->insertText(m_edit->caret(), text.left(indentLength), true), true);
    m_edit->endOperation(0);
    afterChange();
}

// Deletes [start, end) as one step and leaves the caret at `start`; a selection goes instead
// when there is one.
void CodeEditView::deleteRange(CodeEditBufferPosition start, CodeEditBufferPosition end)
{
    if (m_edit->hasSelection()) {
        m_edit->deleteSelection();
    } else if (start != end) {
        m_edit->beginOperation(0, KindDelete);
        m_edit->deleteText(start, end, true);
        m_edit->setCaret(start, true);
        m_edit->endOperation(0);
    }
    afterChange();
}

void CodeEditView::deleteBackward()
{
    if (!mayEdit())
        return;
    const CodeEditBufferPosition caret = m_edit->caret();
    if (!m_edit->hasSelection() && caret.column > m_edit->buffer().lineLength(caret.line)) {
        moveCharacter(-1, false);   // a caret past the line's end just moves
        return;
    }
    CodeEditBufferPosition start = caret;
    if (caret.column > 0)
        --start.column;
    else if (caret.line > 0)
        start = {caret.line - 1, m_edit->buffer().lineLength(caret.line - 1)};
    deleteRange(start, caret);
}

void CodeEditView::deleteForward()
{
    if (!mayEdit())
        return;
    const CodeEditBufferPosition caret = m_edit->buffer().clamped(m_edit->caret());
    CodeEditBufferPosition end = caret;
    if (caret.column < m_edit->buffer().lineLength(caret.line))
        ++end.column;
    else if (caret.line + 1 < m_edit->numberOfLines())
        end = {caret.line + 1, 0};
    deleteRange(caret, end);
}

void CodeEditView::deleteLine()
{
    if (!mayEdit())
        return;
    const int line = m_edit->caret().line;
    const int lines = m_edit->numberOfLines();
    if (line >= lines)
        return;
    CodeEditBufferPosition start{line, 0};
    CodeEditBufferPosition end{line + 1, 0};
    if (line + 1 >= lines) {   // the last line takes the break before it
        start = line > 0 ? CodeEditBufferPosition{line - 1, m_edit->buffer().lineLength(line - 1)} : start;
        end = {line, m_edit->buffer().lineLength(line)};
    }
    m_edit->beginOperation(OperationClearStreamSelection | OperationClearBlockSelection, KindDelete);
    m_edit->deleteText(start, end, true);
    m_edit->setCaret({std::min(line, m_edit->numberOfLines() - 1), 0});
    m_edit->endOperation(0);
    afterChange();
}

void CodeEditView::duplicateLine()
{
    if (!mayEdit())
        return;
    const int line = m_edit->caret().line;
    const QString text = m_edit->buffer().text(line);
    const CodeEditBufferPosition caret = m_edit->caret();
    m_edit->beginOperation(0, KindCopy);
    m_edit->insertText({line, m_edit->buffer().lineLength(line)}, u'\n' + text, true);
    m_edit->setCaret({caret.line + 1, caret.column}, true);
    m_edit->endOperation(0);
    afterChange();
}
