#pragma once
#include "editor/CodeEditAction.h"
#include "editor/CodeEditBuffer.h"
#include "editor/CodeEditSettings.h"
#include "editor/Edit.h"
#include "foundation/Path.h"
#include <QDateTime>
#include <QObject>
#include <QString>
#include <memory>
#include <vector>

class CodeEditQuestionsInterface;
class CodeEditRecoveryFile;

// Flags of beginOperation and endOperation.
enum CodeEditOperationFlag : int {
    OperationAnchorToCaret = 8,           // begin: the selection's anchor follows the caret
    OperationClearStreamSelection = 16,   // begin
    OperationNoScroll = 32,               // end: leave the view where it is
    OperationClearBlockSelection = 2048,  // begin
};

// Numbers of the editor commands for isCommandEnabled: the undo group first, then the commands
// that modify text; numbers above 131 are always enabled.
enum CodeEditCommandId : int {
    CommandUndo = 0, CommandRedo = 1, CommandUndoAll = 2, CommandRedoAll = 3,
    CommandFirstModifying = 4, CommandLastModifying = 131,
};

// Selection modes.
enum CodeEditSelectionMode : int { SelectionStream = 0, SelectionBlock = 1 };

// The model of one source document: its lines, the caret and selection, the undo and redo lists
// of transactions, and the file it was read from with the encoding, byte order mark and line
// ending it will be written with. Headless: the views draw it and feed it commands, and
// everything that must ask the user goes through a CodeEditQuestionsInterface.
class CodeEdit : public QObject, public Edit {
    Q_OBJECT
public:
    explicit CodeEdit(QObject *parent = nullptr);
    ~CodeEdit() override;

    CodeEditBuffer &buffer() { return m_buffer; }
    const CodeEditBuffer &buffer() const { return m_buffer; }
    [[nodiscard]] const CodeEditSettings &settings() const { return m_settings; }
    void setSettings(const CodeEditSettings &settings);
    // Null restores the default, which says nothing and answers nothing.
    void setQuestions(CodeEditQuestionsInterface *questions);
    // The height of the view in lines: the caret may stand that far below the last line.
    void setVisibleLines(int lines) { m_visibleLines = lines; }
    [[nodiscard]] int topLine() const { return m_topLine; }
    // A view that scrolls by itself tells the document, so the next edit keeps the caret in
    // sight from where the view really stands.
    void setTopLine(int line) { m_topLine = line < 0 ? 0 : line; }

    // Edit primitives. Each first refuses when the document is not editable. With `record`,
    // the change joins the current transaction (or one of its own outside an operation).
    // Inserts after making the position exist (newlines and fillers, each its own recorded
    // insertion); returns the end of the inserted text. Moves nothing.
    CodeEditBufferPosition insertText(CodeEditBufferPosition position, const QString &text, bool record);
    void deleteText(CodeEditBufferPosition start, CodeEditBufferPosition end, bool record);
    // Replaces `length` characters of one line from `start` by `text`, which holds no newline.
    void replaceText(CodeEditBufferPosition start, int length, const QString &text, bool record);
    void setCaret(CodeEditBufferPosition position, bool keepVirtual = false);
    [[nodiscard]] CodeEditBufferPosition caret() const { return m_caret; }
    // Lines joined by "\n", the positions ordered and clamped to the text.
    [[nodiscard]] QString textBetween(CodeEditBufferPosition start, CodeEditBufferPosition end) const;
    void beginOperation(int flags, int kind);
    void endOperation(int flags);
    [[nodiscard]] int operationDepth() const { return m_operationDepth; }
    // An open operation has recorded changes: undo and redo wait until it ends, since the
    // history must stay in the order the changes were made.
    [[nodiscard]] bool hasPendingChanges() const
    {
        return m_currentTransaction && !m_currentTransaction->actions.empty();
    }
    // Adds an action to the current transaction, or pushes it as a transaction of its own.
    void record(std::unique_ptr<CodeEditAction> action);

    [[nodiscard]] bool hasSelection() const;
    [[nodiscard]] CodeEditBufferPosition selectionAnchor() const { return m_selectionAnchor; }
    [[nodiscard]] CodeEditBufferPosition selectionEnd() const { return m_selectionEnd; }
    [[nodiscard]] int selectionMode() const { return m_selectionMode; }
    void setSelection(CodeEditBufferPosition anchor, CodeEditBufferPosition end, int mode);
    void clearSelection();

    // Commands.
    // One typed character (a surrogate pair counts as one): kind 9, merged with the typing
    // before it as "Text Editor/Undo Mode" says; over a selection it replaces it.
    void typeCharacter(const QString &character);
    void insertLineBreak();   // kind 8, no indent
    void deleteSelection();
    void deleteTrailingWhitespace();
    void untabify();          // leading white space to spaces, kind 21
    void tabify();            // leading white space to tabs and spaces, kind 20
    // The whole text replaced through one recorded operation.
    void replaceAllText(const QString &text, int kind);

    void undo();
    void redo();
    int undoAll();   // the number of steps undone
    int redoAll();
    [[nodiscard]] int undoCount() const { return int(m_undoList.size()); }
    [[nodiscard]] int redoCount() const { return int(m_redoList.size()); }
    // 0 is the most recent.
    [[nodiscard]] const CodeEditTransaction *undoTransaction(int index) const;
    [[nodiscard]] const CodeEditTransaction *redoTransaction(int index) const;

    [[nodiscard]] int bomKind() const { return m_bomKind; }
    void setBomKind(int kind);
    [[nodiscard]] int lineEnding() const { return m_lineEnding; }
    void setLineEnding(int ending) { m_lineEnding = ending; }
    [[nodiscard]] QString codecName() const { return m_codecName; }
    void setCodecName(const QString &name) { m_codecName = name; }
    [[nodiscard]] bool forceModified() const { return m_forceModified; }
    void setForceModified(bool modified);
    [[nodiscard]] int readOnlyMode() const { return m_readOnlyMode; }

    // Files. Loading reads the file as the document's text; `newDocument` starts an empty one
    // to be saved as `path`; `loadBytes` takes bytes as if read from the current file.
    bool newDocument(const Path &path);
    bool loadBytes(const QByteArray &bytes);
    bool saveAs(const Path &path);
    // The same bytes to another file; the document stays as it is.
    bool saveCopyAs(const Path &path);
    // Writes the text to the recovery file, kept locked while the document lives.
    bool writeRecovery();
    [[nodiscard]] QString recoveryPath() const;
    // The recovery file holds the present text (or nothing was changed since the load).
    [[nodiscard]] bool recoveryUpToDate() const { return topSerial() == m_recoveryTop; }
    [[nodiscard]] QString caption() const { return m_caption; }

    // Edit
    [[nodiscard]] qint64 fileSize() const override { return m_fileSize; }
    [[nodiscard]] int numberOfLines() const override { return m_buffer.lineCount(); }
    [[nodiscard]] Path fileName() const override { return m_path; }
    void setReadOnly(int mode, bool force) override;
    void updateReadOnlyFromFile() override;
    bool load(const Path &path) override;
    [[nodiscard]] bool isModified() const override;
    [[nodiscard]] bool isReadOnly() const override { return m_readOnlyMode != 0; }
    void setUnmodified() override;
    [[nodiscard]] bool isEditable() const override;
    [[nodiscard]] QString statusText() const override;
    bool save() override;
    bool queryClose() override;
    bool close(bool force) override;
    void setCaption(const QString &caption) override;
    [[nodiscard]] bool isCommandEnabled(int id) const override;

signals:
    // Insertion: the 0-based line plus 1 and the lines added. Deletion: the 0-based first line
    // plus 2 and minus the lines removed. Line trackers rely on the two bases.
    void numberOfLinesChanged(int line, int delta);
    void numberOfColumnsChanged();
    // An edit was tried on a read-only document; a receiver may make it writable.
    void readOnlyFileEdit();
    void statusMessage(const QString &message);
    void captionChanged(const QString &caption);
    void modificationChanged(bool modified);

private:
    struct Snapshot;
    bool checkEditable();
    CodeEditBufferPosition makePositionExist(CodeEditBufferPosition position, bool record);
    QString fillerFor(int line, int length, int column) const;
    CodeEditBufferPosition insertAndRecord(CodeEditBufferPosition position, const QString &text, bool record);
    void keepCaretVisible();
    int repeatAll(bool undoing);
    void resetDocument();
    void recordRestorePoints(bool &recorded);
    template <typename Rewrite> void rewriteLeadingSpace(int kind, Rewrite rewrite);
    void tell(const QString &title, const QString &message);
    bool writeFile(const Path &path, bool asCopy);
    void takeFileFacts(const Path &path);
    void offerRecovery();
    void dropRecovery();
    [[nodiscard]] quint64 topSerial() const;

    CodeEditBuffer m_buffer;
    CodeEditSettings m_settings;
    CodeEditQuestionsInterface *m_questions;
    std::vector<std::unique_ptr<CodeEditTransaction>> m_undoList;   // most recent last
    std::vector<std::unique_ptr<CodeEditTransaction>> m_redoList;   // most recent last
    std::unique_ptr<CodeEditTransaction> m_currentTransaction;      // null outside an operation
    int m_operationDepth = 0;
    int m_pendingRefresh = 0;
    quint64 m_nextSerial = 1;
    quint64 m_savedTop = 0;      // serial of the undo list's top at the last save; 0: empty list
    quint64 m_recoveryTop = 0;   // the same at the last recovery write
    bool m_forceModified = false;
    int m_readOnlyMode = 0;      // 0 writable, 1 read-only, 2 locked read-only
    bool m_editReadOnly = false;
    int m_bomKind = 0;
    QByteArray m_bom;            // the mark's bytes as read, written back while the kind stays
    int m_lineEnding = LineEndingUnknown;
    QString m_codecName;
    CodeEditBufferPosition m_caret;
    int m_preferredColumn = 0;
    CodeEditBufferPosition m_selectionAnchor{-1, -1};
    CodeEditBufferPosition m_selectionEnd{-1, -1};
    int m_selectionMode = SelectionStream;
    // What the closing refresh of an operation compares with.
    struct OperationStart {
        CodeEditBufferPosition caret;
        int longestLine = 0;
        bool caretOutsideMargin = true;
    } m_operationStart;
    int m_visibleLines = 0;
    int m_visibleColumns = 80;
    int m_topLine = 0;
    int m_leftColumn = 0;
    Path m_path;
    QDateTime m_fileTime;
    qint64 m_fileSize = 0;
    QString m_caption;
    std::unique_ptr<CodeEditRecoveryFile> m_recovery;
};
