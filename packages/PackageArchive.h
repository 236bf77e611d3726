#pragma once
#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

class PackageArchiveIOFileInterface;

// First bytes of the three kinds of file, as little-endian numbers.
constexpr quint32 packageArchiveMagic = 0x71F5C6B1;
constexpr quint32 legacyPlainArchiveMagic = 0x4152C3C8;
constexpr quint32 legacyZlibArchiveMagic = 0xB231F47A;

// The compression field of the header; `none` is the legacy plain file, never written.
enum class PackageArchiveCompression : int { Zlib = 0, Bzip2 = 1, None = -1 };

// Format numbers: 2 is written, 1 and the legacy files (0) are only read.
constexpr int packageArchiveWriteFormat = 2;
constexpr int legacyArchiveFormat = 0;

// Bounds on what a table of contents may make us hold, whatever its count claims.
constexpr qint64 maxArchiveFiles = qint64(1) << 18;
constexpr qint64 maxArchiveNameBytes = qint64(16) << 20;
// readFile hands out whole files; anything bigger must go through streamFile.
constexpr qint64 maxArchiveReadSize = qint64(64) << 20;

// One entry of an archive: where its bytes are, and what the table says of them.
struct PackageArchiveFile {
    enum class Kind : quint8 { Archive = 1, Disk = 2, Memory = 3 };

    // The name as the table holds it, 8-bit text with "/" between folders. Order and look-ups
    // compare these bytes.
    QByteArray storedName;
    quint32 size = 0;
    quint32 mode = 0;   // Unix permission bits, & 0777
    quint32 time = 0;   // seconds since 1970 UTC
    Kind kind = Kind::Memory;
    quint32 offset = 0;   // Kind::Archive: within the decompressed stream
    QString sourcePath;   // Kind::Disk
    QByteArray data;      // Kind::Memory

    QString name() const { return QString::fromUtf8(storedName); }
};

// The state of an archive behind PackageArchive.
struct PackageArchiveData {
    QString path;
    qint64 offset = 0;   // where the archive starts inside its file
    std::unique_ptr<PackageArchiveIOFileInterface> input;
    PackageArchiveCompression compression = PackageArchiveCompression::Zlib;
    int format = packageArchiveWriteFormat;
    int writeFormat = packageArchiveWriteFormat;
    // First byte after the table, in stream offsets: where the contents begin.
    qint64 contentsStart = 0;
    std::vector<std::unique_ptr<PackageArchiveFile>> files;   // table order
    std::vector<PackageArchiveFile *> sortedFiles;            // by storedName; empty unless kept
    bool keepSorted = false;
    // Entries by name for add and replace, so that adding many files stays linear; built on
    // the first addition, dropped when an entry goes.
    QHash<QByteArray, PackageArchiveFile *> nameIndex;
    bool indexed = false;
};

// Reads and writes package archives: a plain 8-byte header, then one zlib or bzip2 stream with
// the table of contents and the files' bytes back to back. Failures throw HException.
class PackageArchive : public QObject {
    Q_OBJECT
public:
    using Sink = std::function<void(const char *data, qint64 size)>;

    explicit PackageArchive(QObject *parent = nullptr);
    ~PackageArchive() override;

    // Reads the table of the archive that starts `offset` bytes into the file. With keepSorted,
    // look-ups by name use a binary search. A failure leaves the archive empty and closed.
    void open(const QString &path, qint64 offset = 0, bool keepSorted = false);
    void close();
    // Writes every entry, in table order, to a new format 2 archive; the file appears under
    // `path` only when complete. Level: negative means 7, above 9 means 9.
    void createFile(const QString &path, int compressionLevel = -1);

    // The exact name (binary search when sorted); failing that, the first entry whose name
    // matches `name` as a case-sensitive wildcard where "*" crosses "/". Null if none.
    [[nodiscard]] const PackageArchiveFile *findFile(const QString &name) const;
    // Every entry matching the wildcard, in table order.
    [[nodiscard]] std::vector<const PackageArchiveFile *> findFiles(const QString &pattern) const;
    [[nodiscard]] const PackageArchiveFile *findPackageDescription() const;

    // Adds or replaces an entry whose bytes are in a disk file ("cannot read <path>").
    void addFile(const QString &archiveName, const QString &diskPath);
    // Adds or replaces an entry whose bytes are held.
    void addData(const QString &archiveName, const QByteArray &bytes, quint32 time, quint32 mode);
    bool removeFile(const QString &name);
    // Puts the entries in the order of their names' bytes.
    void sortByName();

    // The whole file; refused above maxArchiveReadSize.
    [[nodiscard]] QByteArray readFile(const PackageArchiveFile &file);
    // The file's bytes in pieces, without holding the whole of it.
    void streamFile(const PackageArchiveFile &file, const Sink &sink);
    // The file written to `targetPath` through a temporary file; its time and mode restored.
    void extractFile(const PackageArchiveFile &file, const QString &targetPath, bool overwrite);
    // Reads the stream past the last file to its end and tests its check value.
    void verifyStreamEnd();

    const std::vector<std::unique_ptr<PackageArchiveFile>> &files() const { return d->files; }
    const QString &path() const { return d->path; }
    int format() const { return d->format; }
    PackageArchiveCompression compression() const { return d->compression; }
    void setCompression(PackageArchiveCompression compression) { d->compression = compression; }
    // The format createFile writes; only 2 can be written.
    void setWriteFormat(int format) { d->writeFormat = format; }
    // One past the last content byte any entry claims, in stream offsets.
    [[nodiscard]] qint64 contentsEnd() const;
    qint64 contentsStart() const { return d->contentsStart; }

protected:
    // Called after the file is opened and before its header is read, and before a header is
    // written. The archive itself does nothing there.
    virtual void fileOpened(FILE *file);
    virtual void headerAboutToBeWritten(FILE *file);

private:
    void readHeader(FILE *file);
    void readStreamTable(bool legacy, int version);
    void readFormat2Table(quint32 count);
    void readFormat1Table(quint32 count);
    void addEntry(std::unique_ptr<PackageArchiveFile> entry);
    PackageArchiveFile *findExact(const QByteArray &name) const;
    void writeTable(PackageArchiveIOFileInterface &output, qint64 firstOffset);
    void writeContents(PackageArchiveIOFileInterface &output);

    std::unique_ptr<PackageArchiveData> d;
};
