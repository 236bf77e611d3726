// Feeds arbitrary bytes to the package archive reader as a file: opens it (also at an offset
// named by the first byte), looks names up, reads every file in table order and backwards, and
// extracts everything through the checked path into a scratch folder with a small size limit.
// Nothing may be written outside that folder.
#include "foundation/HException.h"
#include "packages/PackageArchive.h"
#include "packages/PackageExtraction.h"
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr qint64 maxExtracted = qint64(1) << 20;

// One scratch folder for the whole run: "<tmp>/archive" is the input, "<tmp>/out/" receives
// the files, "<tmp>/outside" must stay empty.
const QString &scratch()
{
    static const QString folder = [] {
        QByteArray pattern = QFile::encodeName(QDir::tempPath() + QStringLiteral("/tess-archive-fuzz-XXXXXX"));
        if (!mkdtemp(pattern.data()))
            std::abort();
        const QString made = QFile::decodeName(pattern);
        QDir().mkpath(made + QStringLiteral("/outside"));
        return made;
    }();
    return folder;
}

void readAll(PackageArchive &archive, bool backwards)
{
    const auto &files = archive.files();
    for (size_t i = 0; i < files.size() && i < 64; ++i) {
        const PackageArchiveFile &file = *files[backwards ? files.size() - 1 - i : i];
        if (file.size <= maxExtracted)
            (void)archive.readFile(file);
    }
}

void exercise(const QString &path, qint64 offset)
{
    PackageArchive archive;
    try {
        archive.open(path, offset, true);
    } catch (const HException &) {
        return;
    }
    (void)archive.findPackageDescription();
    (void)archive.findFiles(QStringLiteral("*.h"));
    try {
        readAll(archive, true);
        readAll(archive, false);
    } catch (const HException &) {
    }
    const QString out = scratch() + QStringLiteral("/out");
    try {
        std::vector<const PackageArchiveFile *> files;
        for (const auto &file : archive.files())
            files.push_back(file.get());
        extractArchive(archive, out, files, true, maxExtracted);
    } catch (const HException &) {
    }
    QDir(out).removeRecursively();
    if (!QDir(scratch() + QStringLiteral("/outside")).isEmpty())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > (1 << 20))
        return 0;
    const QString path = scratch() + QStringLiteral("/archive");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    exercise(path, 0);
    if (size > 0 && data[0] < size)
        exercise(path, data[0]);
    return 0;
}
