// The anchor of the undo benchmark: the same workload over QTextDocument, through
// QTextCursor::insertText and QTextDocument::undo. See UndoWorkload.h.
#include "UndoWorkload.h"
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

int main(int argc, char **argv)
{
    const UndoWorkload workload = UndoWorkload::fromArguments(argc, argv);
    QGuiApplication application(argc, argv);
    QFile file(workload.file);
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    const QString original = QString::fromUtf8(file.readAll());
    QTextDocument document;
    document.setPlainText(original);
    QTextCursor cursor(&document);
    QElapsedTimer timer;
    timer.start();
    UndoPositions positions(workload.seed);
    for (long i = 0; i < workload.count; ++i) {
        const int line = positions.next(document.blockCount());
        const QTextBlock block = document.findBlockByNumber(line);
        const int column = positions.next(block.length());
        cursor.setPosition(block.position() + column);
        cursor.insertText(UndoPositions::character(i));
    }
    const qint64 inserted = timer.restart();
    const quint64 digest = textDigest(document.toPlainText());
    timer.restart();
    int undone = 0;
    while (document.isUndoAvailable()) {
        document.undo();
        ++undone;
    }
    const qint64 undoing = timer.elapsed();
    std::printf("digest %016llx undone %d restored %s\n", static_cast<unsigned long long>(digest), undone,
                document.toPlainText() == original ? "yes" : "no");
    std::fprintf(stderr, "QTextDocument: %ld inserts %lld ms, undo %lld ms\n", workload.count,
                 static_cast<long long>(inserted), static_cast<long long>(undoing));
    return 0;
}
