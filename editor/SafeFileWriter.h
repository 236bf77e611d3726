#pragma once
#include <QByteArray>
#include <QString>

// Writes a file so that a failure leaves the old one as it was: the bytes go to a temporary file
// beside the target, which takes the target's mode and owner and is then renamed over it. A
// symbolic link is written through, to the file it names. The data is not forced to the disk
// before the rename, which keeps saving as fast as copying; the rename itself is atomic.
class SafeFileWriter {
public:
    explicit SafeFileWriter(QString path) : m_path(std::move(path)) {}
    ~SafeFileWriter();   // removes the temporary file unless committed
    SafeFileWriter(const SafeFileWriter &) = delete;
    SafeFileWriter &operator=(const SafeFileWriter &) = delete;

    // False when the temporary file cannot be made (missing folder, no permission).
    bool open();
    bool write(const char *data, qsizetype size);
    bool write(const QByteArray &bytes) { return write(bytes.constData(), bytes.size()); }
    // Flushes, closes and renames over the target.
    bool commit();
    [[nodiscard]] qint64 size() const { return m_written; }
    [[nodiscard]] QString errorString() const { return m_error; }

private:
    bool flush();
    bool writeOut(const char *data, qsizetype size);
    void fail(const QString &what);
    void discard();

    QString m_path;
    QString m_target;
    QString m_temporary;
    int m_descriptor = -1;
    QByteArray m_buffer;
    qint64 m_written = 0;
    QString m_error;
};
