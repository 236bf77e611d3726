#include "packages/PackageArchive.h"
#include "foundation/HException.h"
#include "packages/PackageArchiveIO.h"
#include "packages/PackageOutputFile.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegExp>
#include <QtEndian>
#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 headerSize = 8;
constexpr qint64 streamHeaderSize = 20;    // the count and 16 reserved bytes
constexpr qint64 entryFixedSize = 18;      // a format 2 entry before its name
constexpr qint64 format1RecordSize = 1040;
constexpr qint64 format1NameSize = 1024;
constexpr qint64 maxNameLength = 65535;
constexpr quint32 readOnlyMode = 0444;
constexpr quint32 writableMode = 0666;
constexpr int defaultLevel = 7;

[[noreturn]] void fail(const QString &message)
{
    throw HException(message);
}

quint32 le32(const unsigned char *bytes)
{
    return qFromLittleEndian<quint32>(bytes);
}

quint16 le16(const unsigned char *bytes)
{
    return qFromLittleEndian<quint16>(bytes);
}

bool hasWildcard(const QString &text)
{
    return text.contains(u'*') || text.contains(u'?') || text.contains(u'[');
}

// Case-sensitive, and "*" matches "/" too: a pattern names files anywhere below a folder.
QRegExp wildcard(const QString &pattern)
{
    return QRegExp(pattern, Qt::CaseSensitive, QRegExp::Wildcard);
}

void readExactly(PackageArchiveIOFileInterface &input, void *buffer, qint64 size, const char *shortRead)
{
    if (input.read(static_cast<char *>(buffer), size) != size)
        fail(QString::fromLatin1(shortRead));
}

bool lessByName(const PackageArchiveFile *a, const PackageArchiveFile *b)
{
    return a->storedName < b->storedName;
}

// The 8 plain bytes in front of the stream: magic, format and compression, reserved.
QByteArray headerBytes(int format, PackageArchiveCompression compression)
{
    QByteArray header(headerSize, '\0');
    qToLittleEndian<quint32>(packageArchiveMagic, header.data());
    qToLittleEndian<quint16>(quint16((format & 0xFFF) | (int(compression) << 12)), header.data() + 4);
    return header;
}

} // namespace

PackageArchive::PackageArchive(QObject *parent) : QObject(parent), d(std::make_unique<PackageArchiveData>())
{
}

PackageArchive::~PackageArchive() = default;

void PackageArchive::fileOpened(FILE *) {}

void PackageArchive::headerAboutToBeWritten(FILE *) {}

void PackageArchive::close()
{
    const PackageArchiveCompression compression = d->compression;
    const int writeFormat = d->writeFormat;
    d = std::make_unique<PackageArchiveData>();
    d->compression = compression;
    d->writeFormat = writeFormat;
}

void PackageArchive::open(const QString &path, qint64 offset, bool keepSorted)
{
    close();
    if (!QFileInfo::exists(path))
        fail(QStringLiteral("%1 does not exist").arg(path));
    FILE *const file = std::fopen(QFile::encodeName(path).constData(), "rb");
    if (!file)
        fail(QStringLiteral("cannot open %1").arg(path));
    d->path = path;
    d->offset = offset;
    d->keepSorted = keepSorted;
    try {
        readHeader(file);
        if (keepSorted) {
            d->sortedFiles.reserve(d->files.size());
            for (const auto &entry : d->files)
                d->sortedFiles.push_back(entry.get());
            std::stable_sort(d->sortedFiles.begin(), d->sortedFiles.end(), lessByName);
        }
    } catch (...) {
        close();
        throw;
    }
}

// Takes over `file`: it belongs to the input object once that exists, and is closed here if
// the header is refused before.
void PackageArchive::readHeader(FILE *file)
{
    std::unique_ptr<FILE, int (*)(FILE *)> guard(file, std::fclose);
    fileOpened(file);
    unsigned char header[headerSize];
    if (d->offset < 0 || fseeko(file, off_t(d->offset), SEEK_SET) != 0
        || std::fread(header, 1, headerSize, file) != size_t(headerSize)) {
        fail(QStringLiteral("unsupported package file format"));
    }
    const quint32 magic = le32(header);
    if (magic == legacyPlainArchiveMagic) {
        d->format = legacyArchiveFormat;
        d->compression = PackageArchiveCompression::None;
        d->input = std::make_unique<PackageArchiveIOFile>(guard.release(), d->offset);
        readFormat1Table(le32(header + 4));
        d->contentsStart += headerSize;
        return;
    }
    if (magic != packageArchiveMagic && magic != legacyZlibArchiveMagic)
        fail(QStringLiteral("unsupported package file format"));
    const bool legacy = magic == legacyZlibArchiveMagic;
    const int version = legacy ? legacyArchiveFormat : le16(header + 4) & 0xFFF;
    const int algorithm = legacy ? 0 : le16(header + 4) >> 12;
    if (!legacy && version != 1 && version != 2)
        fail(QStringLiteral("unsupported package file format"));
    if (algorithm > 1)
        fail(QStringLiteral("unsupported compression algorithm"));
    d->format = version;
    d->compression = PackageArchiveCompression(algorithm);
    std::unique_ptr<PackageArchiveCompressedInputFile> input;
    if (d->compression == PackageArchiveCompression::Bzip2)
        input = std::make_unique<PackageArchiveCompressedBzInputFile>(guard.release(), d->offset + headerSize);
    else
        input = std::make_unique<PackageArchiveCompressedGzInputFile>(guard.release(), d->offset + headerSize);
    input->openStream();
    d->input = std::move(input);
    readStreamTable(legacy, version);
}

// The table at the start of the decompressed stream: behind the legacy file's inner 8 bytes, or
// behind the 20-byte block of formats 1 and 2.
void PackageArchive::readStreamTable(bool legacy, int version)
{
    if (legacy) {
        unsigned char inner[8];
        readExactly(*d->input, inner, sizeof inner, "bad header");
        if (le32(inner) != legacyPlainArchiveMagic)
            fail(QStringLiteral("bad header"));
        readFormat1Table(le32(inner + 4));
        d->contentsStart += 8;
        return;
    }
    unsigned char block[streamHeaderSize];
    readExactly(*d->input, block, streamHeaderSize, "bad header");
    if (version == 1) {
        readFormat1Table(le32(block));
        d->contentsStart += streamHeaderSize;
    } else {
        readFormat2Table(le32(block));
    }
}

void PackageArchive::readFormat2Table(quint32 count)
{
    if (count > maxArchiveFiles)
        fail(QStringLiteral("too many files in archive (%1)").arg(count));
    qint64 nameBytes = 0;
    d->files.reserve(std::min<quint32>(count, 4096));
    for (quint32 i = 0; i < count; ++i) {
        unsigned char fixed[entryFixedSize];
        readExactly(*d->input, fixed, entryFixedSize, "bad table of contents");
        const quint16 length = le16(fixed);
        nameBytes += length;
        if (nameBytes > maxArchiveNameBytes)
            fail(QStringLiteral("table of contents too large (more than %1 bytes of names)").arg(maxArchiveNameBytes));
        auto entry = std::make_unique<PackageArchiveFile>();
        entry->storedName.resize(length);
        readExactly(*d->input, entry->storedName.data(), length, "bad table of contents");
        entry->kind = PackageArchiveFile::Kind::Archive;
        entry->offset = le32(fixed + 2);
        entry->size = le32(fixed + 6);
        entry->mode = le32(fixed + 10) & 0777;
        entry->time = le32(fixed + 14);
        d->files.push_back(std::move(entry));
    }
    d->contentsStart = streamHeaderSize + entryFixedSize * qint64(count) + nameBytes;
}

// N records of 1040 bytes; the caller adds what stands in front of the first record.
void PackageArchive::readFormat1Table(quint32 count)
{
    if (count > maxArchiveFiles)
        fail(QStringLiteral("too many files in archive (%1)").arg(count));
    d->files.reserve(std::min<quint32>(count, 4096));
    for (quint32 i = 0; i < count; ++i) {
        unsigned char record[format1RecordSize];
        readExactly(*d->input, record, format1RecordSize, "bad table of contents");
        auto entry = std::make_unique<PackageArchiveFile>();
        const char *const name = reinterpret_cast<const char *>(record);
        entry->storedName = QByteArray(name, qsizetype(qstrnlen(name, format1NameSize)));
        entry->kind = PackageArchiveFile::Kind::Archive;
        entry->offset = le32(record + 1024);
        entry->size = le32(record + 1028);
        entry->mode = le32(record + 1032) != 0 ? readOnlyMode : writableMode;
        entry->time = le32(record + 1036);
        d->files.push_back(std::move(entry));
    }
    d->contentsStart = format1RecordSize * qint64(count);
}

qint64 PackageArchive::contentsEnd() const
{
    qint64 end = d->contentsStart;
    for (const auto &entry : d->files) {
        if (entry->kind == PackageArchiveFile::Kind::Archive)
            end = std::max(end, qint64(entry->offset) + qint64(entry->size));
    }
    return end;
}

PackageArchiveFile *PackageArchive::findExact(const QByteArray &name) const
{
    if (d->keepSorted && d->sortedFiles.size() == d->files.size()) {
        const auto it = std::lower_bound(d->sortedFiles.begin(), d->sortedFiles.end(), name,
                                         [](const PackageArchiveFile *file, const QByteArray &key) {
                                             return file->storedName < key;
                                         });
        return it != d->sortedFiles.end() && (*it)->storedName == name ? *it : nullptr;
    }
    for (const auto &entry : d->files) {
        if (entry->storedName == name)
            return entry.get();
    }
    return nullptr;
}

const PackageArchiveFile *PackageArchive::findFile(const QString &name) const
{
    if (const PackageArchiveFile *exact = findExact(name.toUtf8()))
        return exact;
    if (!hasWildcard(name))
        return nullptr;
    const QRegExp pattern = wildcard(name);
    for (const auto &entry : d->files) {
        if (pattern.exactMatch(entry->name()))
            return entry.get();
    }
    return nullptr;
}

std::vector<const PackageArchiveFile *> PackageArchive::findFiles(const QString &pattern) const
{
    std::vector<const PackageArchiveFile *> found;
    const QRegExp expression = wildcard(pattern);
    const QByteArray exact = pattern.toUtf8();
    for (const auto &entry : d->files) {
        if (entry->storedName == exact || expression.exactMatch(entry->name()))
            found.push_back(entry.get());
    }
    return found;
}

const PackageArchiveFile *PackageArchive::findPackageDescription() const
{
    return findFile(QStringLiteral("*_package.xml"));
}

void PackageArchive::addEntry(std::unique_ptr<PackageArchiveFile> entry)
{
    if (!d->indexed) {
        d->nameIndex.clear();
        for (auto it = d->files.rbegin(); it != d->files.rend(); ++it)
            d->nameIndex.insert((*it)->storedName, it->get());
        d->indexed = true;
    }
    if (PackageArchiveFile *const existing = d->nameIndex.value(entry->storedName)) {
        *existing = std::move(*entry);
        return;
    }
    d->nameIndex.insert(entry->storedName, entry.get());
    d->files.push_back(std::move(entry));
    if (d->keepSorted) {
        d->sortedFiles.push_back(d->files.back().get());
        std::stable_sort(d->sortedFiles.begin(), d->sortedFiles.end(), lessByName);
    }
}

void PackageArchive::addFile(const QString &archiveName, const QString &diskPath)
{
    const QByteArray encoded = QFile::encodeName(diskPath);
    const int descriptor = ::open(encoded.constData(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    const bool readable = descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    if (descriptor >= 0)
        ::close(descriptor);
    if (!readable)
        fail(QStringLiteral("cannot read %1").arg(diskPath));
    if (quint64(status.st_size) > 0xFFFFFFFFull)
        fail(QStringLiteral("file too large for an archive: %1").arg(diskPath));
    auto entry = std::make_unique<PackageArchiveFile>();
    entry->storedName = archiveName.toUtf8();
    entry->kind = PackageArchiveFile::Kind::Disk;
    entry->sourcePath = diskPath;
    entry->size = quint32(status.st_size);
    entry->mode = quint32(status.st_mode) & 0777;
    entry->time = quint32(std::max<time_t>(status.st_mtim.tv_sec, 0));
    addEntry(std::move(entry));
}

void PackageArchive::addData(const QString &archiveName, const QByteArray &bytes, quint32 time, quint32 mode)
{
    if (quint64(bytes.size()) > 0xFFFFFFFFull)
        fail(QStringLiteral("file too large for an archive: %1").arg(archiveName));
    auto entry = std::make_unique<PackageArchiveFile>();
    entry->storedName = archiveName.toUtf8();
    entry->kind = PackageArchiveFile::Kind::Memory;
    entry->data = bytes;
    entry->size = quint32(bytes.size());
    entry->mode = mode & 0777;
    entry->time = time;
    addEntry(std::move(entry));
}

bool PackageArchive::removeFile(const QString &name)
{
    const QByteArray key = name.toUtf8();
    const auto it = std::find_if(d->files.begin(), d->files.end(),
                                 [&](const auto &entry) { return entry->storedName == key; });
    if (it == d->files.end())
        return false;
    std::erase(d->sortedFiles, it->get());
    d->files.erase(it);
    d->indexed = false;
    return true;
}

void PackageArchive::sortByName()
{
    std::stable_sort(d->files.begin(), d->files.end(),
                     [](const auto &a, const auto &b) { return lessByName(a.get(), b.get()); });
}

void PackageArchive::streamFile(const PackageArchiveFile &file, const Sink &sink)
{
    char buffer[archiveBufferSize];
    switch (file.kind) {
    case PackageArchiveFile::Kind::Archive: {
        const QString shortRead = QStringLiteral("cannot read file %1 from archive").arg(file.name());
        if (!d->input || !d->input->seek(file.offset))
            fail(shortRead);
        for (qint64 left = file.size; left > 0;) {
            const qint64 piece = std::min(left, archiveBufferSize);
            if (d->input->read(buffer, piece) != piece)
                fail(shortRead);
            sink(buffer, piece);
            left -= piece;
        }
        return;
    }
    case PackageArchiveFile::Kind::Disk: {
        QFile disk(file.sourcePath);
        if (!disk.open(QIODevice::ReadOnly))
            fail(QStringLiteral("cannot read %1").arg(file.sourcePath));
        for (qint64 left = file.size; left > 0;) {
            const qint64 piece = std::min(left, archiveBufferSize);
            if (disk.read(buffer, piece) != piece)
                fail(QStringLiteral("cannot read %1").arg(file.sourcePath));
            sink(buffer, piece);
            left -= piece;
        }
        return;
    }
    case PackageArchiveFile::Kind::Memory:
        for (qint64 done = 0; done < file.data.size(); done += archiveBufferSize)
            sink(file.data.constData() + done, std::min(file.data.size() - done, archiveBufferSize));
        return;
    }
}

QByteArray PackageArchive::readFile(const PackageArchiveFile &file)
{
    if (file.kind == PackageArchiveFile::Kind::Memory)
        return file.data;
    if (file.size > maxArchiveReadSize)
        fail(QStringLiteral("cannot read file %1 from archive: %2 bytes is too large").arg(file.name()).arg(file.size));
    QByteArray bytes;
    streamFile(file, [&](const char *data, qint64 size) { bytes.append(data, size); });
    return bytes;
}

void PackageArchive::extractFile(const PackageArchiveFile &file, const QString &targetPath, bool overwrite)
{
    const QFileInfo target(targetPath);
    if (target.exists() || target.isSymLink()) {
        if (!overwrite)
            fail(QStringLiteral("cannot overwrite file %1").arg(targetPath));
    } else {
        QDir().mkpath(target.path());
    }
    PackageOutputFile output(targetPath);
    if (!output.isOpen())
        fail(QStringLiteral("cannot create output file %1").arg(targetPath));
    const QString writeFailure = QStringLiteral("cannot write to output file %1").arg(targetPath);
    streamFile(file, [&](const char *data, qint64 size) {
        if (!output.write(data, size))
            fail(writeFailure);
    });
    if (!output.setModeAndTime(file.mode, file.time))
        fail(QStringLiteral("cannot set mode of output file %1").arg(targetPath));
    if (!output.close())
        fail(writeFailure);
    if (!output.replaceTarget())
        fail(QStringLiteral("cannot create output file %1").arg(targetPath));
}

void PackageArchive::verifyStreamEnd()
{
    auto *const input = dynamic_cast<PackageArchiveCompressedInputFile *>(d->input.get());
    if (!input)
        return;
    if (!input->seek(contentsEnd()))
        fail(QStringLiteral("error reading from compressed stream"));
    char extra = 0;
    if (input->read(&extra, 1) != 0)
        fail(QStringLiteral("unexpected data after the last file in archive"));
    if (!input->atEnd())
        fail(QStringLiteral("error reading from compressed stream"));
}

void PackageArchive::writeContents(PackageArchiveIOFileInterface &output)
{
    for (const auto &entry : d->files) {
        qint64 written = 0;
        streamFile(*entry, [&](const char *data, qint64 size) {
            if (!output.write(data, size))
                fail(QStringLiteral("cannot write file"));
            written += size;
        });
        if (written != entry->size)
            fail(QStringLiteral("cannot write file"));
    }
}

// The block and the entries, each entry's offset following the former's end.
void PackageArchive::writeTable(PackageArchiveIOFileInterface &output, qint64 firstOffset)
{
    QByteArray block(streamHeaderSize, '\0');
    qToLittleEndian<quint32>(quint32(d->files.size()), block.data());
    if (!output.write(block.constData(), block.size()))
        fail(QStringLiteral("cannot write header2"));
    qint64 offset = firstOffset;
    for (const auto &entry : d->files) {
        unsigned char fixed[entryFixedSize];
        qToLittleEndian<quint16>(quint16(entry->storedName.size()), fixed);
        qToLittleEndian<quint32>(quint32(offset), fixed + 2);
        qToLittleEndian<quint32>(entry->size, fixed + 6);
        qToLittleEndian<quint32>(entry->mode & 0777, fixed + 10);
        qToLittleEndian<quint32>(entry->time, fixed + 14);
        if (!output.write(reinterpret_cast<const char *>(fixed), entryFixedSize)
            || !output.write(entry->storedName.constData(), entry->storedName.size())) {
            fail(QStringLiteral("bad table of contents"));
        }
        offset += entry->size;
    }
}

void PackageArchive::createFile(const QString &path, int compressionLevel)
{
    if (d->writeFormat != packageArchiveWriteFormat)
        fail(QStringLiteral("unsupported package file version"));
    const int level = compressionLevel < 0 ? defaultLevel : std::min(compressionLevel, 9);
    // A legacy plain archive read in is written back compressed like any other.
    const bool bzip2 = d->compression == PackageArchiveCompression::Bzip2;
    qint64 firstOffset = streamHeaderSize;
    qint64 total = 0;
    for (const auto &entry : d->files) {
        if (entry->storedName.size() > maxNameLength)
            fail(QStringLiteral("bad table of contents"));
        firstOffset += entryFixedSize + entry->storedName.size();
        total += entry->size;
    }
    if (firstOffset + total > qint64(0xFFFFFFFF))
        fail(QStringLiteral("archive too large (%1 bytes in the stream, at most 4294967295)").arg(firstOffset + total));
    PackageOutputFile file(path);
    FILE *const stream = file.stream();
    if (!stream)
        fail(QStringLiteral("cannot open output file"));
    headerAboutToBeWritten(stream);
    const QByteArray header = headerBytes(d->writeFormat, bzip2 ? PackageArchiveCompression::Bzip2 : PackageArchiveCompression::Zlib);
    if (std::fwrite(header.constData(), 1, headerSize, stream) != size_t(headerSize))
        fail(QStringLiteral("cannot write header"));
    constexpr auto borrowed = PackageArchiveIOFile::Ownership::Borrowed;
    std::unique_ptr<PackageArchiveCompressedOutputFile> output;
    if (bzip2)
        output = std::make_unique<PackageArchiveCompressedBzOutputFile>(stream, 0, borrowed);
    else
        output = std::make_unique<PackageArchiveCompressedGzOutputFile>(stream, 0, borrowed);
    output->openStream(bzip2 ? std::max(level, 1) : level);
    writeTable(*output, firstOffset);
    writeContents(*output);
    output->closeStream();
    output.reset();
    if (!file.setModeAndTime(defaultFileMode(), std::nullopt) || !file.close())
        fail(QStringLiteral("error writing to compressed stream"));
    if (!file.replaceTarget())
        fail(QStringLiteral("cannot open output file"));
}
