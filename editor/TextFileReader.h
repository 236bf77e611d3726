#pragma once
#include "editor/CodeEditBuffer.h"
#include <QByteArray>
#include <QString>
#include <memory>
#include <vector>

// Byte order marks: 0 none, 1 UTF-8, 2 UTF-16 little-endian, 3 UTF-16 big-endian.
enum BomKind : int { BomNone = 0, BomUtf8 = 1, BomUtf16LE = 2, BomUtf16BE = 3 };

// The mark a file's first bytes carry. Only files of at least 2 bytes are tested (3 for the
// UTF-8 mark), and a first byte FE alone counts as big-endian.
[[nodiscard]] int bomKindOf(const QByteArray &bytes);
// The bytes written for a mark.
[[nodiscard]] QByteArray bomBytes(int bomKind);

// The test that decides whether a file without a mark is read as UTF-8: a byte up to 126 stands
// alone, 127 to 191 fail at once, a lead byte up to 223, 239, 247, 251 or 253 takes 1 to 5
// continuation bytes of the form 10xxxxxx, and running out of input fails. Empty input passes.
[[nodiscard]] bool passesUtf8Test(const char *data, qsizetype size);

// How a file's encoding is chosen.
struct TextFileOptions {
    QString codecName;       // forced encoding; empty or "Default" to detect
    bool detectUtf8 = true;
    QString defaultCodec;    // for text that is not UTF-8; "Default" is the locale's
};

// A file's bytes as a document: the loaded text, its lines as runs, and what was detected.
struct TextFileContent {
    bool ok = false;                 // false: no encoding could be had
    int bomKind = BomNone;
    QByteArray bom;                  // the mark's bytes as they stood in the file
    QString codecName;
    int lineEnding = LineEndingUnknown;   // of the terminators; Unknown when there were none
    bool inconsistent = false;       // the terminators differ
    bool unclean = false;            // a forced encoding met bytes it could not decode
    std::shared_ptr<CodeEditLoadedText> text;
    std::vector<CodeEditLoadedRun> runs;
    int longestLine = -1;            // -1 when not known without decoding
};

// Chooses the encoding and splits the text into lines at LF, CR and CR LF. Text that the
// encoding chosen by the mark or by the UTF-8 test does not decode cleanly (overlong forms,
// surrogates, odd UTF-16 lengths) is read with the default encoding instead, from its first
// byte, so that no byte of a file is lost by reading and writing it.
[[nodiscard]] TextFileContent readTextFile(QByteArray bytes, const TextFileOptions &options);
