#pragma once
#include <QList>
#include <QString>
#include <memory>

class CodeBuffer;
class LoadFileInterface;

// One load-file format as the open and save dialogs list it.
struct LoadFileFormat {
    QString typeName;   // "ihex"
    QString patterns;   // "*.hex"
    QString title;      // "Intel Hex"
};

// What a writer needs beyond its path.
struct CodeBufferOptions {
    QString header;                  // S-record header text
    uchar fill = 0xFF;               // binary: the byte of gaps
    qint64 maxSize = 0xFFFFFFFF;     // binary: the largest image written
};

// Makes readers and writers by type name: "bin", "ihex", "hex", "tihex", "srec", and for
// writing only "tek".
class LoadFileFactory {
public:
    // The reader of `typeName` over `path`, or null for another name. Raises the reader's error.
    // `maxSize` bounds a binary file.
    [[nodiscard]] static std::unique_ptr<LoadFileInterface>
    create(const QString &path, const QString &typeName, qint64 maxSize = 0xFFFFFFFF);
    // The type named by the file's extension in one of its exact spellings (".hex" or ".HEX",
    // not ".Hex"); empty for any other name.
    [[nodiscard]] static QString guessType(const QString &path);
    // The readable formats in the order the dialogs list them.
    [[nodiscard]] static QList<LoadFileFormat> formats();

    // The type a file's first bytes suggest: ":" ihex, "S" and a digit srec, "@" tihex, eight
    // hexadecimal digits and a blank hex, anything else bin. Raises when the file does not open.
    [[nodiscard]] static QString typeOfContent(const QString &path);
    // The writer of `typeName` to `path`, or null for another name. Raises when the output
    // cannot be created.
    [[nodiscard]] static std::unique_ptr<CodeBuffer>
    createBuffer(const QString &path, const QString &typeName, const CodeBufferOptions &options);
};
