#include "buildengine/DiagnosticParser.h"
#include "buildengine/OutputLines.h"
#include <QByteArray>
#include <cstdint>
#include <cstdlib>

// Arbitrary tool output, line by line, through both scans of the standard parser; where the
// bytes are UTF-8 the two must read every line alike.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    OutputLines splitter;
    QStringList lines = splitter.add(bytes);
    lines += splitter.finish();
    StandardDiagnosticParser parser;
    for (const QString &line : std::as_const(lines)) {
        Bookmark bookmark;
        const bool parsed = parser.parseLine(line, bookmark, QStringLiteral("/base"));
        const QByteArray utf8 = line.toUtf8();
        DiagnosticScan<QByteArrayView> scan;
        if (scanDiagnostic(QByteArrayView(utf8), scan) != parsed)
            std::abort();
        if (parsed && (scan.line != bookmark.line || scan.column != bookmark.column
                       || scan.severity != bookmark.severity
                       || QString::fromUtf8(scan.message) != bookmark.message))
            std::abort();
    }
    for (const QByteArray &raw : bytes.split('\n')) {
        DiagnosticScan<QByteArrayView> scan;
        (void)scanDiagnostic(QByteArrayView(raw), scan);
    }
    return 0;
}
