#pragma once
#include <QString>

// An input stream of bytes. The debug layer reads large files through it piece by piece rather
// than whole.
class HByteStream {
public:
    virtual ~HByteStream();
};

// A file opened for reading. Raises "cannot open " + path when the file does not open.
class HFileInputByteStream : public HByteStream {
public:
    explicit HFileInputByteStream(const QString &path);
    ~HFileInputByteStream() override;
    HFileInputByteStream(const HFileInputByteStream &) = delete;
    HFileInputByteStream &operator=(const HFileInputByteStream &) = delete;

    // Up to `length` bytes into `buffer`; fewer only at the end of the file. Raises
    // "cannot read " + path on a read error.
    [[nodiscard]] qint64 read(void *buffer, qint64 length);
    // The size of a regular file, -1 for anything else (a pipe, a device).
    [[nodiscard]] qint64 size() const;
    const QString &path() const { return m_path; }

private:
    QString m_path;
    int m_descriptor = -1;
};
