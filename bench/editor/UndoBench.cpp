// The undo benchmark over CodeEdit: see UndoWorkload.h.
#include "UndoWorkload.h"
#include "editor/CodeEdit.h"
#include <QElapsedTimer>

int main(int argc, char **argv)
{
    const UndoWorkload workload = UndoWorkload::fromArguments(argc, argv);
    CodeEdit edit;
    if (!edit.load(Path(workload.file)))
        return 1;
    const QString original = edit.buffer().toText();
    QElapsedTimer timer;
    timer.start();
    UndoPositions positions(workload.seed);
    CodeEditBuffer &buffer = edit.buffer();
    for (long i = 0; i < workload.count; ++i) {
        const int line = positions.next(buffer.lineCount());
        const int column = positions.next(buffer.lineLength(line) + 1);
        edit.beginOperation(0, KindTyping);
        edit.setCaret(edit.insertText({line, column}, UndoPositions::character(i), true));
        edit.endOperation(0);
    }
    const qint64 inserted = timer.restart();
    const quint64 digest = textDigest(buffer.toText());
    timer.restart();
    const int undone = edit.undoAll();
    const qint64 undoing = timer.elapsed();
    std::printf("digest %016llx undone %d restored %s\n", static_cast<unsigned long long>(digest), undone,
                buffer.toText() == original ? "yes" : "no");
    std::fprintf(stderr, "CodeEdit: %ld inserts %lld ms, undo %lld ms\n", workload.count,
                 static_cast<long long>(inserted), static_cast<long long>(undoing));
    return 0;
}
