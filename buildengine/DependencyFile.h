#pragma once
#include <QByteArrayView>
#include <QString>
#include <QStringList>

// The names a compiler's dependency file (make format) lists after the source file itself.
// The first name of the file is the source and is dropped; a name may hold "\ " for a blank.
[[nodiscard]] QStringList parseDependencies(QByteArrayView text);

// Reads and parses the file at `path`. A missing, unreadable or empty file gives an empty list:
// the compile step then compares only the source. A file over `dependencyFileLimit` bytes is
// no dependency file we wrote; it gives an empty list and, when `error` is given, a message.
[[nodiscard]] QStringList readDependencyFile(const QString &path, QString *error = nullptr);

constexpr qint64 dependencyFileLimit = qint64(256) * 1024 * 1024;
