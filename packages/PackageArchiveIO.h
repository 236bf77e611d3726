#pragma once
#include <QtGlobal>
#include <cstdio>

// The byte streams under a package archive: the plain file, and the zlib and bzip2 streams
// behind its 8-byte header. Inputs throw HException on a decoder error and return fewer bytes
// than asked when the data ends early, so the caller can name the place that came up short.

// Size of every buffer between the file and the compressor, both ways.
constexpr qint64 archiveBufferSize = 16384;

class PackageArchiveIOFileInterface {
public:
    virtual ~PackageArchiveIOFileInterface();
    // Bytes read into `buffer`; fewer than `size` only at the end of the data.
    [[nodiscard]] virtual qint64 read(char *buffer, qint64 size) = 0;
    [[nodiscard]] virtual bool write(const char *buffer, qint64 size) = 0;
    // To `offset` bytes from the start of the data.
    [[nodiscard]] virtual bool seek(qint64 offset) = 0;
};

// A stdio file; offset 0 is `base` bytes into it (a package inside another file). Closes the
// file at the end unless it is only borrowed.
class PackageArchiveIOFile : public PackageArchiveIOFileInterface {
public:
    enum class Ownership { Owned, Borrowed };
    PackageArchiveIOFile(FILE *file, qint64 base, Ownership ownership = Ownership::Owned);
    ~PackageArchiveIOFile() override;
    PackageArchiveIOFile(const PackageArchiveIOFile &) = delete;
    PackageArchiveIOFile &operator=(const PackageArchiveIOFile &) = delete;

    qint64 read(char *buffer, qint64 size) override;
    bool write(const char *buffer, qint64 size) override;
    bool seek(qint64 offset) override;

    FILE *file() const { return m_file; }
    qint64 base() const { return m_base; }
    // Flushes and closes the file; false if a buffered write failed.
    [[nodiscard]] bool close();

protected:
    FILE *m_file;
    qint64 m_base;
    Ownership m_ownership;
};

// The decompressing side. The position counts decompressed bytes; a backward seek starts the
// decompressor again from the stream's first byte.
class PackageArchiveCompressedInputFile : public PackageArchiveIOFile {
public:
    using PackageArchiveIOFile::PackageArchiveIOFile;

    qint64 read(char *buffer, qint64 size) override;
    bool write(const char *, qint64) override { return false; }
    bool seek(qint64 offset) override;

    qint64 position() const { return m_position; }
    // True once the decompressor met the end of the stream and its check value was right.
    bool atEnd() const { return m_ended; }

    // The file must stand at the stream's first byte.
    virtual void openStream() = 0;
    virtual void closeStream() = 0;
    // Up to `size` decompressed bytes; 0 at the end of the stream or when the file ran out.
    [[nodiscard]] virtual qint64 transfer(char *buffer, qint64 size) = 0;

protected:
    qint64 m_position = 0;
    bool m_ended = false;
};

// The compressing side: `write` compresses, `closeStream` writes what the compressor holds.
class PackageArchiveCompressedOutputFile : public PackageArchiveIOFile {
public:
    using PackageArchiveIOFile::PackageArchiveIOFile;

    qint64 read(char *, qint64) override { return -1; }
    bool write(const char *buffer, qint64 size) override;
    bool seek(qint64) override { return false; }

    // `level` is 0..9 (for bzip2 the block size in units of 100 kB, 0 taken as 1).
    virtual void openStream(int level) = 0;
    virtual void closeStream() = 0;
    virtual void transfer(const char *buffer, qint64 size) = 0;
};

class PackageArchiveCompressedGzInputFile : public PackageArchiveCompressedInputFile {
public:
    PackageArchiveCompressedGzInputFile(FILE *file, qint64 base);
    ~PackageArchiveCompressedGzInputFile() override;
    void openStream() override;
    void closeStream() override;
    qint64 transfer(char *buffer, qint64 size) override;

private:
    struct Stream;
    Stream *m_stream = nullptr;   // owned; null while closed
};

class PackageArchiveCompressedBzInputFile : public PackageArchiveCompressedInputFile {
public:
    PackageArchiveCompressedBzInputFile(FILE *file, qint64 base);
    ~PackageArchiveCompressedBzInputFile() override;
    void openStream() override;
    void closeStream() override;
    qint64 transfer(char *buffer, qint64 size) override;

private:
    void *m_stream = nullptr;   // the library's BZFILE; null while closed
};

class PackageArchiveCompressedGzOutputFile : public PackageArchiveCompressedOutputFile {
public:
    using PackageArchiveCompressedOutputFile::PackageArchiveCompressedOutputFile;
    ~PackageArchiveCompressedGzOutputFile() override;
    void openStream(int level) override;
    void closeStream() override;
    void transfer(const char *buffer, qint64 size) override;

private:
    struct Stream;
    void drain(int flush);
    Stream *m_stream = nullptr;
};

class PackageArchiveCompressedBzOutputFile : public PackageArchiveCompressedOutputFile {
public:
    using PackageArchiveCompressedOutputFile::PackageArchiveCompressedOutputFile;
    ~PackageArchiveCompressedBzOutputFile() override;
    void openStream(int level) override;
    void closeStream() override;
    void transfer(const char *buffer, qint64 size) override;

private:
    void *m_stream = nullptr;
};
