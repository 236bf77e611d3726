#pragma once
#include "editor/CodeEdit.h"
#include "editor/CodeEditScript.h"

// Loads bytes as a document, replays the edit script after them (the input is the file, a line
// "%%", then the script; without that line it is all file) going past bad lines, and tells
// whether undoing everything gave back the loaded text and redoing it the edited one.
inline bool replayKeepsHistory(const QByteArray &input)
{
    const qsizetype split = input.indexOf("\n%%\n");
    const QByteArray file = split < 0 ? input : input.left(split);
    const QString script = split < 0 ? QString() : QString::fromUtf8(input.mid(split + 4));

    CodeEdit edit;
    edit.setVisibleLines(CodeEditScript::reach + 2);
    edit.loadBytes(QByteArray(file.constData(), file.size()));
    const QString loaded = edit.buffer().toText();
    CodeEditScript runner(edit, [](QByteArrayView) {});
    runner.setFilesAllowed(false);
    int number = 0;
    for (const QStringView line : QStringView(script).tokenize(u'\n')) {
        if (++number > 200)
            break;
        (void)runner.run(line.toString(), number);
    }
    while (edit.operationDepth() > 0)
        edit.endOperation(0);
    const QString edited = edit.buffer().toText();
    const bool redoable = edit.redoCount() == 0;
    edit.undoAll();
    if (edit.buffer().toText() != loaded)
        return false;
    edit.redoAll();
    return !redoable || edit.buffer().toText() == edited;
}
