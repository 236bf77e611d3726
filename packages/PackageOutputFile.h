#pragma once
#include <QString>
#include <cstdio>
#include <optional>

// A file written under a temporary name in the folder of its target and renamed over the target
// once complete, so a reader sees the old file or the whole new one, never a part. The rename
// replaces a link standing at the target instead of writing through it. Until `replaceTarget`
// succeeds the destructor deletes the temporary file.
class PackageOutputFile {
public:
    // Opens a hidden temporary file beside the target; check isOpen().
    explicit PackageOutputFile(QString targetPath);
    ~PackageOutputFile();
    PackageOutputFile(const PackageOutputFile &) = delete;
    PackageOutputFile &operator=(const PackageOutputFile &) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    const QString &targetPath() const { return m_targetPath; }
    const QString &temporaryPath() const { return m_temporaryPath; }

    // Writes all of it; false on a short write (a full disk).
    [[nodiscard]] bool write(const char *data, qint64 size);
    // Stdio over the file for writers that need a FILE*; write() is not to be mixed with it.
    FILE *stream();
    // Permission bits (& 0777) and, if given, the modification and access time.
    [[nodiscard]] bool setModeAndTime(quint32 mode, std::optional<quint32> time);
    // Flushes and closes; false if anything written earlier failed to land.
    [[nodiscard]] bool close();
    // Closes if needed and renames the temporary file over the target.
    [[nodiscard]] bool replaceTarget();

private:
    QString m_targetPath;
    QString m_temporaryPath;
    int m_descriptor = -1;
    FILE *m_stream = nullptr;
    bool m_closed = false;
    bool m_writeFailed = false;
};

// The permission bits a new plain file gets under the process's umask (0666 masked).
[[nodiscard]] quint32 defaultFileMode();
