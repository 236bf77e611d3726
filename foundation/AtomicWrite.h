#pragma once
#include <QByteArray>
#include <QString>

// Replaces the file at `path` with `bytes` through a temporary file and a rename, so that a
// failure at any point (a full disk, a file-size limit, no permission) leaves the old file as
// it was. False on failure, with the reason in `why` (may be null).
//
// The bytes are flushed before the rename is asked for: a buffered QSaveFile whose last write
// fails in commit() can otherwise still rename an empty file over the old one.
[[nodiscard]] bool writeAtomically(const QString &path, const QByteArray &bytes, QString *why);
