// `tess pkg`: package archives (create, list, find, extract, verify) and the package system of a
// packages directory (install, remove, show, status).
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "foundation/MacroSession.h"
#include "packages/PackageArchive.h"
#include "packages/PackageExtraction.h"
#include "packages/PackageSystem.h"
#include "tool/tess/Commands.h"
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

constexpr qint64 maxOffset = qint64(1) << 62;

void writeLine(FILE *to, const QString &text)
{
    const QByteArray bytes = (text + u'\n').toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

QString compressionName(PackageArchiveCompression compression)
{
    switch (compression) {
    case PackageArchiveCompression::Zlib:
        return QStringLiteral("zlib");
    case PackageArchiveCompression::Bzip2:
        return QStringLiteral("bzip2");
    case PackageArchiveCompression::None:
        break;
    }
    return QStringLiteral("none");
}

// "MODE SIZE YYYY-MM-DD HH:MM:SS [OFFSET ]NAME", the time in UTC.
QString entryLine(const PackageArchiveFile &file, bool withOffset)
{
    QString line = QStringLiteral("%1 %2 %3 ")
                       .arg(file.mode, 4, 8, QLatin1Char('0'))
                       .arg(file.size)
                       .arg(QDateTime::fromSecsSinceEpoch(file.time, Qt::UTC).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    if (withOffset)
        line += QString::number(file.offset) + u' ';
    return line + file.name();
}

// The package system of --root (default $(VarnelDir)/packages), opened: locked, an unfinished
// installation rolled back, the list read. Log lines go to standard output.
class SystemSession {
public:
    explicit SystemSession(const CommandArguments &arguments)
        : m_system(arguments.value("--root", installationDirectory() + QStringLiteral("/packages")), &m_macros.macros())
    {
        QObject::connect(&m_system, &PackageSystem::logMessage, [](const QString &text) { writeLine(stdout, text); });
        m_system.setProgramVersion(QStringLiteral(TESS_VERSION));
        m_system.open();
    }
    PackageSystem &system() { return m_system; }

private:
    MacroSession m_macros;
    PackageSystem m_system;
};

// Runs `work`; an archive or package failure is printed with the command's name and fails.
template <typename Work> int guarded(const CommandArguments &arguments, Work work)
{
    try {
        return work();
    } catch (const HException &error) {
        std::fflush(stdout);
        return arguments.fail(error.message());
    }
}

std::optional<qint64> offsetOption(const CommandArguments &arguments)
{
    return arguments.integer("--offset", 0, maxOffset, 0);
}

void addSource(PackageArchive &archive, const QString &source)
{
    const QFileInfo info(source);
    if (!info.isDir()) {
        archive.addFile(info.fileName(), source);
        return;
    }
    const QDir root(info.absoluteFilePath());
    QStringList files;
    QDirIterator it(root.path(), QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    files.sort();
    for (const QString &file : std::as_const(files))
        archive.addFile(root.relativeFilePath(file), file);
}

int createCommand(const CommandArguments &arguments)
{
    const QStringList operands = arguments.operands();
    if (operands.size() < 2)
        return arguments.usageError(QStringLiteral("give the archive and at least one source"));
    const int modes = int(arguments.has("--deflate")) + int(arguments.has("--bzip2")) + int(arguments.has("--store"));
    if (modes > 1)
        return arguments.usageError(QStringLiteral("give only one of --deflate, --bzip2 and --store"));
    const std::optional<qint64> level = arguments.integer("--level", 0, 9, -1);
    if (!level)
        return exitUsage;
    return guarded(arguments, [&] {
        PackageArchive archive;
        archive.setCompression(arguments.has("--bzip2") ? PackageArchiveCompression::Bzip2 : PackageArchiveCompression::Zlib);
        for (const QString &source : operands.mid(1))
            addSource(archive, source);
        archive.sortByName();
        archive.createFile(operands.first(), arguments.has("--store") ? 0 : int(*level));
        return exitSuccess;
    });
}

int listCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one archive"));
    const std::optional<qint64> offset = offsetOption(arguments);
    if (!offset)
        return exitUsage;
    return guarded(arguments, [&] {
        PackageArchive archive;
        archive.open(arguments.operands().first(), *offset);
        const bool longForm = arguments.has("--long");
        if (longForm) {
            writeLine(stdout, QStringLiteral("format %1 compression %2 files %3")
                                  .arg(archive.format())
                                  .arg(compressionName(archive.compression()))
                                  .arg(archive.files().size()));
        }
        for (const auto &file : archive.files())
            writeLine(stdout, entryLine(*file, longForm));
        return exitSuccess;
    });
}

int findCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() < 2)
        return arguments.usageError(QStringLiteral("give the archive and at least one name"));
    const std::optional<qint64> offset = offsetOption(arguments);
    if (!offset)
        return exitUsage;
    return guarded(arguments, [&] {
        PackageArchive archive;
        archive.open(arguments.operands().first(), *offset, true);
        int status = exitSuccess;
        for (const QString &name : arguments.operands().mid(1)) {
            if (const PackageArchiveFile *const file = archive.findFile(name))
                writeLine(stdout, entryLine(*file, false));
            else
                status = arguments.fail(QStringLiteral("no file matching %1 in archive").arg(name));
        }
        return status;
    });
}

std::optional<qint64> maxSizeOption(const CommandArguments &arguments)
{
    return arguments.integer("--max-size", 0, maxOffset, defaultMaxExtractSize);
}

int extractCommand(const CommandArguments &arguments)
{
    const QStringList operands = arguments.operands();
    if (operands.size() < 2)
        return arguments.usageError(QStringLiteral("give the archive and the target directory"));
    const std::optional<qint64> offset = offsetOption(arguments);
    const std::optional<qint64> maxSize = maxSizeOption(arguments);
    if (!offset || !maxSize)
        return exitUsage;
    return guarded(arguments, [&] {
        PackageArchive archive;
        archive.open(operands.first(), *offset);
        std::vector<const PackageArchiveFile *> files;
        if (operands.size() == 2) {
            for (const auto &file : archive.files())
                files.push_back(file.get());
        }
        for (const QString &pattern : operands.mid(2)) {
            const std::vector<const PackageArchiveFile *> found = archive.findFiles(pattern);
            if (found.empty())
                throw HException(QStringLiteral("no file matching %1 in archive").arg(pattern));
            for (const PackageArchiveFile *file : found) {
                if (std::find(files.begin(), files.end(), file) == files.end())
                    files.push_back(file);
            }
        }
        extractArchive(archive, QDir::cleanPath(operands.at(1)), files, arguments.has("--overwrite"), *maxSize);
        return exitSuccess;
    });
}

int verifyCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one archive"));
    const std::optional<qint64> offset = offsetOption(arguments);
    if (!offset)
        return exitUsage;
    return guarded(arguments, [&] {
        const QString path = arguments.operands().first();
        if (arguments.has("--md5"))
            PackageSystem::verifyMd5(path, arguments.value("--md5"), [](const QString &text) { writeLine(stdout, text); });
        PackageArchive archive;
        archive.open(path, *offset);
        checkArchiveNames(archive);
        checkArchiveContents(archive);
        std::vector<const PackageArchiveFile *> files;
        qint64 bytes = 0;
        for (const auto &file : archive.files()) {
            files.push_back(file.get());
            bytes += file->size;
        }
        std::stable_sort(files.begin(), files.end(), [](const auto *a, const auto *b) { return a->offset < b->offset; });
        for (const PackageArchiveFile *file : files)
            archive.streamFile(*file, [](const char *, qint64) {});
        archive.verifyStreamEnd();
        writeLine(stdout, QStringLiteral("%1: format %2, compression %3, %4 files, %5 bytes: ok")
                              .arg(path)
                              .arg(archive.format())
                              .arg(compressionName(archive.compression()))
                              .arg(files.size())
                              .arg(bytes));
        return exitSuccess;
    });
}

int installCommand(const CommandArguments &arguments)
{
    if (arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("give at least one package"));
    if (arguments.has("--overwrite-newer") && arguments.has("--keep-newer"))
        return arguments.usageError(QStringLiteral("give only one of --overwrite-newer and --keep-newer"));
    if (arguments.has("--md5") && arguments.operands().size() > 1)
        return arguments.usageError(QStringLiteral("--md5 checks one package file"));
    const std::optional<qint64> maxSize = maxSizeOption(arguments);
    if (!maxSize)
        return exitUsage;
    PackageInstallOptions options;
    if (arguments.has("--target"))
        options.target = QDir::cleanPath(QDir::current().absoluteFilePath(arguments.value("--target")));
    options.force = arguments.has("--force");
    options.newerFiles = arguments.has("--overwrite-newer") ? PackageInstallOptions::NewerFiles::Overwrite
                         : arguments.has("--keep-newer")    ? PackageInstallOptions::NewerFiles::Keep
                                                            : PackageInstallOptions::NewerFiles::Ask;
    options.md5 = arguments.value("--md5");
    options.maxSize = *maxSize;
    try {
        SystemSession session(arguments);
        PackageCommandLineAnswers answers(options);
        session.system().installPackages(arguments.operands(), options, answers);
        return exitSuccess;
    } catch (const HException &error) {
        std::fflush(stdout);
        writeLine(stderr, QStringLiteral("Package installation error: ") + error.message());
        return exitFailure;
    }
}

int removeCommand(const CommandArguments &arguments)
{
    if (arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("give at least one package name"));
    return guarded(arguments, [&] {
        SystemSession session(arguments);
        session.system().removePackages(arguments.operands(), arguments.has("--force"));
        return exitSuccess;
    });
}

int showCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one package name"));
    return guarded(arguments, [&] {
        SystemSession session(arguments);
        const QString name = arguments.operands().first();
        const PackageSystemPackageInfo *const info = session.system().findPackage(name);
        if (!info)
            throw HException(QStringLiteral("no package named '%1'").arg(name));
        const QString directory = info->installed ? info->installedDirectory
                                                  : session.system().expand(info->installationDirectory.isEmpty()
                                                                                ? QStringLiteral("$(PackagesDir)")
                                                                                : info->installationDirectory);
        const std::pair<const char *, QString> rows[] = {
            {"name", info->name},
            {"version", info->installed ? info->installedVersion : info->availableVersion},
            {"title", info->displayTitle()},
            {"description", info->displayDescription()},
            {"status", PackageSystemPackageInfo::statusText(info->status())},
            {"installation_directory", directory},
            {"dependencies", info->dependencies.join(u';')},
            {"files", info->installedFiles.join(u';')},
        };
        for (const auto &[key, value] : rows)
            writeLine(stdout, QLatin1String(key) + QStringLiteral(": ") + value);
        return exitSuccess;
    });
}

int statusCommand(const CommandArguments &arguments)
{
    if (!arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("takes no operands"));
    return guarded(arguments, [&] {
        SystemSession session(arguments);
        for (const auto &info : session.system().packages()) {
            const QString version = info->installed ? info->installedVersion : info->availableVersion;
            writeLine(stdout, QStringLiteral("%1 %2 %3").arg(info->name, version, PackageSystemPackageInfo::statusText(info->status())));
        }
        return exitSuccess;
    });
}

// Options several forms share.
constexpr TessOption offsetRow = {"--offset", "N", "the archive starts N bytes into the file"};
constexpr TessOption rootRow = {"--root", "DIR", "the packages directory $(PackagesDir) (default $(VarnelDir)/packages)"};
constexpr TessOption maxSizeRow = {"--max-size", "BYTES", "refuse to write more than BYTES (default 4 GiB)"};

constexpr TessOption createOptions[] = {
    {"--deflate", nullptr, "zlib compression (the default)"},
    {"--bzip2", nullptr, "bzip2 compression"},
    {"--store", nullptr, "zlib stream without compression (level 0)"},
    {"--level", "N", "compression level 0-9 (default 7; for bzip2 the block size)"},
};

constexpr TessOption offsetOptions[] = {
    offsetRow,
    {"--long", nullptr, "print the format first and each file's offset"},
};

constexpr TessOption findOptions[] = {
    offsetRow,
};

constexpr TessOption extractOptions[] = {
    offsetRow,
    {"--overwrite", nullptr, "replace files that exist"},
    maxSizeRow,
};

constexpr TessOption verifyOptions[] = {
    offsetRow,
    {"--md5", "SUM", "check the file's MD5 sum too"},
};

constexpr TessOption installOptions[] = {
    rootRow,
    {"--target", "DIR", "install the packages named here into DIR (answers the directory prompt)"},
    {"--force", nullptr, "install incompatible or older packages"},
    {"--overwrite-newer", nullptr, "overwrite files dated later than the package's"},
    {"--keep-newer", nullptr, "keep files dated later than the package's"},
    {"--md5", "SUM", "check the package file's MD5 sum first"},
    maxSizeRow,
};

constexpr TessOption removeOptions[] = {
    rootRow,
    {"--force", nullptr, "remove even while other packages depend on it"},
};

constexpr TessOption rootOptions[] = {
    rootRow,
};

constexpr TessCommand pkgRows[] = {
    {"pkg create", "ARCHIVE SOURCE... [--deflate | --bzip2 | --store] [--level N]",
     "write a package archive of files and folders", createOptions,
     "tess pkg create acme.qvPackage acme/ --bzip2", createCommand},
    {"pkg list", "ARCHIVE [--offset N] [--long]", "list the files of a package archive", offsetOptions,
     "tess pkg list acme.qvPackage --long", listCommand},
    {"pkg find", "ARCHIVE NAME... [--offset N]", "look files of an archive up by name or wildcard",
     findOptions, "tess pkg find acme.qvPackage include/acme.h '*_package.xml'", findCommand},
    {"pkg extract", "ARCHIVE DIR [PATTERN...] [--offset N] [--overwrite] [--max-size BYTES]",
     "write an archive's files (or those matching a pattern) below DIR", extractOptions,
     "tess pkg extract acme.qvPackage out 'include/*'", extractCommand},
    {"pkg verify", "ARCHIVE [--offset N] [--md5 SUM]", "read every byte of an archive and test its check values",
     verifyOptions, "tess pkg verify acme.qvPackage --md5 0123456789abcdef0123456789abcdef", verifyCommand},
    {"pkg install",
     "PACKAGE... [--root DIR] [--target DIR] [--force] [--overwrite-newer | --keep-newer] [--md5 SUM] "
     "[--max-size BYTES]",
     "install package files, or packages of the available list, dependencies first", installOptions,
     "tess pkg install acme.qvPackage --root ~/packages", installCommand},
    {"pkg remove", "NAME... [--root DIR] [--force]", "remove installed packages", removeOptions,
     "tess pkg remove acme_bsp --root ~/packages", removeCommand},
    {"pkg show", "NAME [--root DIR]", "show what is known of a package", rootOptions,
     "tess pkg show acme_bsp --root ~/packages", showCommand},
    {"pkg status", "[--root DIR]", "list the known packages with their versions and status", rootOptions,
     "tess pkg status --root ~/packages", statusCommand},
};

} // namespace

std::span<const TessCommand> pkgCommands()
{
    return pkgRows;
}
