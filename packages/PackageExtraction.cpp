#include "packages/PackageExtraction.h"
#include "foundation/HException.h"
#include "packages/PackageArchive.h"
#include "packages/PackageStagingWriter.h"
#include <QDir>
#include <QFile>
#include <QSet>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <numeric>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <zlib.h>

namespace {

[[noreturn]] void fail(const QString &message)
{
    throw HException(message);
}

QByteArray encoded(const QString &path)
{
    return QFile::encodeName(path);
}

enum class Kind { Missing, Folder, Link, Other };

Kind kindOf(const QString &path)
{
    struct stat status = {};
    if (::lstat(encoded(path).constData(), &status) != 0)
        return Kind::Missing;
    if (S_ISLNK(status.st_mode))
        return Kind::Link;
    return S_ISDIR(status.st_mode) ? Kind::Folder : Kind::Other;
}

// The nearest folder of `path` that exists, for asking about free space.
QString existingAncestor(QString path)
{
    while (!QFileInfo(path).isDir()) {
        const QString parent = QFileInfo(path).path();
        if (parent == path)
            break;
        path = parent;
    }
    return path;
}

} // namespace

PackageContentFilter::~PackageContentFilter() = default;

bool isSafeArchiveName(const QString &name)
{
    if (name.isEmpty() || name.contains(QChar(0)))
        return false;
    const QStringList parts = name.split(u'/');
    if (parts.first() == QLatin1String(stagingFolderName))
        return false;
    for (const QString &part : parts) {
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String(".."))
            return false;
    }
    return true;
}

void checkArchiveNames(const PackageArchive &archive)
{
    QSet<QString> names;
    names.reserve(qsizetype(archive.files().size()));
    for (const auto &entry : archive.files()) {
        const QString name = entry->name();
        if (!isSafeArchiveName(name))
            fail(QStringLiteral("unsafe file name in archive: %1").arg(name));
        if (names.contains(name))
            fail(QStringLiteral("duplicate file name in archive: %1").arg(name));
        names.insert(name);
    }
    for (const QString &name : std::as_const(names)) {
        for (qsizetype slash = name.indexOf(u'/'); slash > 0; slash = name.indexOf(u'/', slash + 1)) {
            if (names.contains(name.left(slash)))
                fail(QStringLiteral("file name in archive is also a folder: %1").arg(name.left(slash)));
        }
    }
}

void checkArchiveContents(const PackageArchive &archive)
{
    qint64 total = 0;
    for (const auto &entry : archive.files())
        total += entry->size;
    const qint64 start = archive.contentsStart();
    for (const auto &entry : archive.files()) {
        if (entry->kind != PackageArchiveFile::Kind::Archive)
            continue;
        if (entry->offset < start || qint64(entry->offset) + entry->size > start + total)
            fail(QStringLiteral("bad offset of file %1 in archive").arg(entry->name()));
    }
}

void checkSpace(qint64 bytes, qint64 maxSize, const QString &directory)
{
    if (bytes > maxSize)
        fail(QStringLiteral("archive too large (%1 bytes to write, at most %2)").arg(bytes).arg(maxSize));
    struct statvfs space = {};
    if (::statvfs(encoded(existingAncestor(directory)).constData(), &space) == 0) {
        const qint64 free = qint64(space.f_bavail) * qint64(space.f_frsize);
        if (bytes > free)
            fail(QStringLiteral("archive too large (%1 bytes to write, %2 bytes free in %3)").arg(bytes).arg(free).arg(directory));
    }
}

TargetState checkTargetPath(const QString &directory, const QString &name)
{
    const QString target = directory + u'/' + name;
    QString path = directory;
    const QStringList parts = name.split(u'/');
    for (qsizetype i = 0; i + 1 < parts.size(); ++i) {
        path += u'/' + parts.at(i);
        switch (kindOf(path)) {
        case Kind::Missing:
            return TargetState::Missing;
        case Kind::Link:
            fail(QStringLiteral("cannot write through link %1").arg(path));
        case Kind::Other:
            fail(QStringLiteral("cannot create output file %1").arg(target));
        case Kind::Folder:
            break;
        }
    }
    switch (kindOf(target)) {
    case Kind::Missing:
        return TargetState::Missing;
    case Kind::Folder:
        fail(QStringLiteral("cannot create output file %1").arg(target));
    default:
        return TargetState::Existing;
    }
}

void createParentFolders(const QString &directory, const QString &path, QStringList *created)
{
    const QStringList parts = path.mid(directory.size() + 1).split(u'/');
    QString folder = directory;
    for (qsizetype i = 0; i + 1 < parts.size(); ++i) {
        folder += u'/' + parts.at(i);
        switch (kindOf(folder)) {
        case Kind::Folder:
            continue;
        case Kind::Link:
            fail(QStringLiteral("cannot write through link %1").arg(folder));
        case Kind::Other:
            fail(QStringLiteral("cannot create output file %1").arg(path));
        case Kind::Missing:
            if (::mkdir(encoded(folder).constData(), 0777) != 0)
                fail(QStringLiteral("cannot create folder %1").arg(folder));
            if (created)
                created->append(folder);
        }
    }
}

void removeTree(const QString &folder)
{
    if (!folder.isEmpty())
        QDir(folder).removeRecursively();
}

PackageStaging::PackageStaging(const QString &parent)
{
    QByteArray pattern = encoded(parent + QStringLiteral("/.tess-staging-XXXXXX"));
    if (!mkdtemp(pattern.data()))
        fail(QStringLiteral("cannot create folder %1").arg(QFile::decodeName(pattern)));
    m_folder = QFile::decodeName(pattern);
}

PackageStaging::~PackageStaging()
{
    if (m_owned)
        removeTree(m_folder);
}

// The text of a failure to create or write a file; "%1" stays for the target when it is empty.
QString PackageStaging::failureText(const char *text, const QString &target) const
{
    const QString pattern = m_writeFailureText.isEmpty() ? QString::fromLatin1(text) : m_writeFailureText;
    return target.isEmpty() ? pattern : pattern.arg(target);
}

void PackageStaging::stage(PackageArchive &archive, std::vector<Item> &items, const FilterFactory &filters,
                           const Progress &progress)
{
    // Stream order: a single pass through the decompressor, whatever the table's order.
    std::vector<size_t> order(items.size());
    std::iota(order.begin(), order.end(), size_t(0));
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        return items[a].file->offset < items[b].file->offset;
    });
    PackageStagingWriter writer({failureText("cannot create output file %1", {}),
                                 failureText("cannot write to output file %1", {}),
                                 QStringLiteral("cannot set mode of output file %1")});
    int done = 0;
    for (const size_t index : order) {
        Item &item = items[index];
        item.stagedPath = m_folder + u'/' + QString::number(index);
        writer.open(item.stagedPath, item.targetPath);
        uLong crc = crc32_z(0, nullptr, 0);
        const PackageContentFilter::Sink sink = [&](const char *data, qint64 size) {
            crc = crc32_z(crc, reinterpret_cast<const Bytef *>(data), size_t(size));
            writer.write(data, size);
        };
        const std::unique_ptr<PackageContentFilter> filter = filters ? filters(item) : nullptr;
        if (filter) {
            archive.streamFile(*item.file, [&](const char *data, qint64 size) { filter->write(data, size, sink); });
            filter->finish(sink);
        } else {
            archive.streamFile(*item.file, sink);
        }
        item.crc32 = quint32(crc);
        writer.close(item.file->mode, item.file->time);
        if (progress)
            progress(++done, int(items.size()));
    }
    archive.verifyStreamEnd();
    writer.finish();
}

void extractArchive(PackageArchive &archive, const QString &directory,
                    const std::vector<const PackageArchiveFile *> &files, bool overwrite, qint64 maxSize)
{
    checkArchiveNames(archive);
    checkArchiveContents(archive);
    qint64 total = 0;
    for (const PackageArchiveFile *file : files)
        total += file->size;
    if (!QDir().mkpath(directory))
        fail(QStringLiteral("cannot create folder %1").arg(directory));
    checkSpace(total, maxSize, directory);
    std::vector<PackageStaging::Item> items;
    items.reserve(files.size());
    for (const PackageArchiveFile *file : files) {
        const QString target = directory + u'/' + file->name();
        if (checkTargetPath(directory, file->name()) == TargetState::Existing && !overwrite)
            fail(QStringLiteral("cannot overwrite file %1").arg(target));
        items.push_back({file, target, {}, 0});
    }
    PackageStaging staging(directory);
    staging.stage(archive, items);
    for (const PackageStaging::Item &item : items) {
        createParentFolders(directory, item.targetPath);
        if (std::rename(encoded(item.stagedPath).constData(), encoded(item.targetPath).constData()) != 0)
            fail(QStringLiteral("cannot create output file %1").arg(item.targetPath));
    }
}
