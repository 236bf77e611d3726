#pragma once
#include "editor/CodeEditBuffer.h"
#include <QByteArrayView>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class CodeEdit;

// A small language of edits on a CodeEdit, one operation a line, through the same primitives,
// operations and undo lists the views use. `tess edit` runs it, and so does the fuzzer.
//   insert L:C TEXT     replace L:C L:C TEXT     delete L:C L:C     type TEXT
//   caret L:C [virtual] select L:C L:C [block]   select none        begin [KIND]   end
//   undo [N]  redo [N]  undo-all  redo-all  eol lf|crlf|cr  encoding NAME [bom]
//   save [PATH]  save-copy PATH  autosave  print  echo TEXT  state  undo-list
// L:C count from 1; TEXT is double-quoted with \n \t \r \\ \" \xHH \uHHHH. Blank lines and lines
// starting with '#' are skipped.
class CodeEditScript {
public:
    enum class Status {
        Ok,
        Failed,   // a load, save or edit failed; the document said why
        BadOp,    // the line is not a valid operation; `message` says why
    };
    struct Result {
        Status status = Status::Ok;
        QString message;
    };
    // How far past the text a position may lie, in lines and in columns.
    static constexpr int reach = 1000;

    // `output` receives what print, echo, state, undo-list, undo-all and redo-all write.
    CodeEditScript(CodeEdit &edit, std::function<void(QByteArrayView)> output);

    // Without files, save, save-copy and autosave do nothing (for the fuzzer).
    void setFilesAllowed(bool allowed) { m_filesAllowed = allowed; }
    // Runs line `number` of the script; a bad operation's message starts "script line N: ".
    Result run(const QString &line, int number);
    // At the end of the script: a begin without its end is an error.
    Result finish();

private:
    struct Parsed;
    struct OpRow {
        const char *name;
        Result (CodeEditScript::*run)(const QString &op, Parsed &arguments);
    };
    static const OpRow opRows[];

    Result runLine(const QString &line, int number);
    Result execute(const QString &op, Parsed &arguments);
    std::optional<CodeEditBufferPosition> position(Parsed &arguments, Result &error) const;
    Result insertOp(const QString &op, Parsed &arguments);
    Result rangeOp(const QString &op, Parsed &arguments);
    Result typeOp(const QString &op, Parsed &arguments);
    Result caretOp(const QString &op, Parsed &arguments);
    Result selectOp(const QString &op, Parsed &arguments);
    Result beginOp(const QString &op, Parsed &arguments);
    Result endOp(const QString &op, Parsed &arguments);
    Result undoOp(const QString &op, Parsed &arguments);
    Result eolOp(const QString &op, Parsed &arguments);
    Result encodingOp(const QString &op, Parsed &arguments);
    Result saveOp(const QString &op, Parsed &arguments);
    Result reportOp(const QString &op, Parsed &arguments);
    void write(const QString &text);
    void printText();
    void writeState();
    void writeUndoList();

    CodeEdit &m_edit;
    std::function<void(QByteArrayView)> m_output;
    bool m_filesAllowed = true;
    int m_lineNumber = 0;
    std::vector<int> m_beginLines;   // script lines of the begins still open
};
