#pragma once
#include "editor/CodeEditBuffer.h"
#include "shell/EditCommands.h"
#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QFont>
#include <QString>

class CodeEdit;
class CodeEditSyntaxRegistry;
class QTimer;

// The syntaxes of the shell's editors: one registry, whose parsers serve every open document.
[[nodiscard]] CodeEditSyntaxRegistry &shellSyntaxes();

// A text editor widget over one CodeEdit document. It lays out and paints only the lines in
// sight, each from the marked line of the document's syntax parser, and turns keys, the mouse
// and the shell's editor commands into the document's operations, so undo grouping and the
// editor settings are the document's own.
class CodeEditView : public QAbstractScrollArea, public EditCommandInterface {
    Q_OBJECT
public:
    explicit CodeEditView(QWidget *parent = nullptr);
    ~CodeEditView() override;

    [[nodiscard]] CodeEdit &edit() { return *m_edit; }
    [[nodiscard]] const CodeEdit &edit() const { return *m_edit; }
    // Picks the parser for the document's file name (none for plain text).
    void chooseSyntaxForFile(const QString &fileName);
    [[nodiscard]] QString syntaxName() const { return m_syntaxName; }
    // Call after the document's text was replaced from outside (a load): the view starts over.
    void documentReset();

    // Caret and view, 0-based.
    void setCaretPosition(CodeEditBufferPosition position);
    [[nodiscard]] CodeEditBufferPosition caretPosition() const;
    void setTopLine(int line);
    [[nodiscard]] int topLine() const;
    [[nodiscard]] int visibleLines() const;
    // Lines whose marked text the last paint asked for: the lines in sight, no more.
    [[nodiscard]] int linesPaintedLastTime() const { return m_paintedLines; }
    [[nodiscard]] int firstLinePaintedLastTime() const { return m_firstPaintedLine; }

    // EditCommandInterface
    [[nodiscard]] bool isEditable() const override;
    [[nodiscard]] bool canUndo() const override;
    [[nodiscard]] bool canRedo() const override;
    // Commands this editor does not carry out answer false, so their menu entries stay grey.
    [[nodiscard]] bool isCommandEnabled(int id) const override;
    void scrollUp() override;
    void scrollDown() override;
    void charLeft() override { moveCharacter(-1, false); }
    void charLeftExtend() override { moveCharacter(-1, true); }
    void charRight() override { moveCharacter(1, false); }
    void charRightExtend() override { moveCharacter(1, true); }
    void wordLeft() override { moveWord(-1, false); }
    void wordLeftExtend() override { moveWord(-1, true); }
    void wordRight() override { moveWord(1, false); }
    void wordRightExtend() override { moveWord(1, true); }
    void lineStartToggle() override { moveLineStart(false); }
    void lineStartToggleExtend() override { moveLineStart(true); }
    void lineEnd() override { moveLineEnd(false); }
    void lineEndExtend() override { moveLineEnd(true); }
    void pageUp() override { moveLines(-pageStep(), false); }
    void pageUpExtend() override { moveLines(-pageStep(), true); }
    void pageDown() override { moveLines(pageStep(), false); }
    void pageDownExtend() override { moveLines(pageStep(), true); }
    void undo() override;
    void redo() override;
    void undoAll() override;
    void redoAll() override;
    void cut() override;
    void copy() override;
    void paste() override;
    void insertText(const QString &text) override;

    // The other commands of the Edit menu.
    void selectAll();
    void selectWord();
    void selectLine();
    void deleteForward();     // the selection, or the character after the caret
    void deleteBackward();    // the selection, or the character before the caret
    void deleteLine();
    void duplicateLine();
    void indent();
    void outdent();
    void comment();
    void uncomment();
    void toggleComment();
    void newLine();           // a line break that keeps the line's indent
    // 1-based; clamped to the document.
    void goToLine(int line);
    // From the caret (after the selection going forward), wrapping at the end; selects the match.
    bool find(const QString &text, bool forward, bool matchCase);

signals:
    // The caret, the selection or the text changed: the status text may read differently.
    void caretChanged();
    void modificationChanged(bool modified);
    void gotFocus(CodeEditView *view);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

private:
    struct LineRange;
    // Two positions in text order.
    struct Span {
        CodeEditBufferPosition first;
        CodeEditBufferPosition last;
    };
    [[nodiscard]] static Span ordered(CodeEditBufferPosition a, CodeEditBufferPosition b);
    void moveCharacter(int direction, bool extend);
    void moveWord(int direction, bool extend);
    void moveLineStart(bool extend);
    void moveLineEnd(bool extend);
    void moveLines(int delta, bool extend);
    void moveCaret(CodeEditBufferPosition to, bool extend, bool keepPreferredColumn = false);
    [[nodiscard]] int pageStep() const;
    [[nodiscard]] bool handleMovementKey(const QKeyEvent *event);
    [[nodiscard]] bool handleEditingKey(const QKeyEvent *event);
    [[nodiscard]] static bool isMovementOrEditingKey(const QKeyEvent *event);
    void typeText(const QString &text);
    bool mayEdit();
    // Runs a change of kind `kind` over the lines of the selection, or the caret's line.
    template <typename Change> void changeLines(int kind, Change change);
    [[nodiscard]] LineRange selectedLines() const;
    struct Comment {
        QString prefix;
        QString suffix;   // empty: a line comment
    };
    [[nodiscard]] Comment commentStyle() const;
    void deleteRange(CodeEditBufferPosition start, CodeEditBufferPosition end);
    void afterChange();       // the document changed: scroll to the caret the document chose
    void afterMove();         // the caret moved: keep it in sight
    void ensureCaretVisible();
    void updateScrollBars();
    void updateMetrics();
    void restartBlink();
    [[nodiscard]] int screenColumn(int line, int column) const;
    [[nodiscard]] int columnAtScreen(int line, int screen) const;
    [[nodiscard]] CodeEditBufferPosition positionAt(QPoint point) const;
    [[nodiscard]] int gutterWidth() const { return m_gutterWidth; }
    void paintLine(class QPainter &painter, int line, int y);
    void paintSelection(QPainter &painter, int line, int y);

    CodeEdit *m_edit;
    QString m_syntaxName;
    int m_tabSize = 4;
    int m_charWidth = 8;
    int m_lineHeight = 16;
    int m_ascent = 12;
    int m_gutterWidth = 40;
    int m_leftColumn = 0;         // first screen column in sight
    int m_preferredColumn = -1;   // screen column vertical moves aim for; -1: the caret's
    bool m_caretShown = true;
    bool m_selecting = false;     // a drag with the left button is growing the selection
    QFont m_fonts[4];             // plain, bold, italic, bold italic
    QTimer *m_blink;
    QElapsedTimer m_lastDoubleClick;   // a third click soon after selects the line
    int m_paintedLines = 0;
    int m_firstPaintedLine = 0;
};
