#include "packages/PackageInstallation.h"
#include "foundation/HException.h"
#include "packages/PackageArchiveIO.h"
#include "packages/PackageReferenceRewriter.h"
#include "packages/PackageSystem.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {

const QString cancelled = QStringLiteral("Package installation cancelled.");
const QString cancelledDuringInstall = QStringLiteral("The package installation was cancelled.");
const QString incompatibleTitle = QStringLiteral("Installing incompatible package");
const QString incompatibleText = QStringLiteral(
    "<p>The package you are installing is incompatible with this release of Tessmark.</p>"
    "<p>We recommend that you terminate the installation as it is unlikely that the package will work</p>");
const QString versionRequiredText = QStringLiteral(
    "<p>The package you are installing is incompatible with this release of Tessmark - version %1 is "
    "required.</p><p>We recommend that you terminate the installation as it is unlikely that the package "
    "will work</p>");
const QString newerFileTitle = QStringLiteral("Install Package");
const QString newerFileText = QStringLiteral(
    "<p>The file <i>%1</i> exists and is dated later than package file.</p><p>Do you want to overwrite "
    "this file?</p>");

QByteArray encoded(const QString &path)
{
    return QFile::encodeName(path);
}

bool present(const QString &path)
{
    struct stat status = {};
    return ::lstat(encoded(path).constData(), &status) == 0;
}

// Modification time of what stands at `path`, the link itself for a link.
qint64 modificationTime(const QString &path)
{
    struct stat status = {};
    return ::lstat(encoded(path).constData(), &status) == 0 ? qint64(status.st_mtim.tv_sec) : 0;
}

} // namespace

bool isInside(const QString &path, const QString &directory)
{
    return path == directory || path.startsWith(directory.endsWith(u'/') ? directory : directory + u'/');
}

QString directoryForDescription(const QString &directory, const QString &packagesDirectory)
{
    if (directory == packagesDirectory)
        return QStringLiteral("$(PackagesDir)");
    if (isInside(directory, packagesDirectory))
        return QStringLiteral("$(PackagesDir)/") + directory.mid(packagesDirectory.size() + 1);
    return directory;
}

std::optional<quint32> fileCrc32(const QString &path)
{
    const int descriptor = ::open(encoded(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return std::nullopt;
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return std::nullopt;
    }
    uLong crc = crc32_z(0, nullptr, 0);
    char buffer[archiveBufferSize];
    ssize_t got = 0;
    while ((got = ::read(descriptor, buffer, sizeof buffer)) > 0)
        crc = crc32_z(crc, reinterpret_cast<const Bytef *>(buffer), size_t(got));
    ::close(descriptor);
    return got == 0 ? std::optional<quint32>(quint32(crc)) : std::nullopt;
}

QStringList foldersToPrune(const QStringList &files, const QString &top, const QString &packagesDirectory)
{
    // Inside the packages directory the folders that led to the installation go too; outside
    // it, the installation's own directory is the last.
    const QString limit = isInside(top, packagesDirectory) ? packagesDirectory : QFileInfo(top).path();
    QStringList folders;
    for (const QString &file : files) {
        for (QString folder = QFileInfo(file).path(); folder != limit && isInside(folder, limit);
             folder = QFileInfo(folder).path()) {
            if (!folders.contains(folder))
                folders.append(folder);
        }
    }
    return folders;
}

PackageInstallation::PackageInstallation(PackageSystem &system, PackageCandidate &candidate,
                                         const PackageInstallOptions &options, PackageInstallQuestions &questions)
    : m_system(system), m_candidate(candidate), m_options(options), m_questions(questions)
{
}

void PackageInstallation::run()
{
    const PackageSystemPackageInfo &info = m_candidate.info;
    const bool registered = m_candidate.description && !info.isPlainArchive();
    chooseTargetDirectory();
    if (registered) {
        testCompatibility();
        m_installed = m_system.installedPackage(info.name);
        if (m_installed && compareVersions(info.version, m_installed->installedVersion) < 0
            && !m_questions.installOlderVersion(info, m_installed->installedVersion)) {
            throw HException(cancelled);
        }
    }
    checkArchiveNames(*m_candidate.archive);
    checkArchiveContents(*m_candidate.archive);
    if (registered)
        checkDescriptionOwner();
    std::vector<PackageStaging::Item> items = plannedItems();
    qint64 total = 0;
    for (const PackageStaging::Item &item : items)
        total += item.file->size;
    checkSpace(total, m_options.maxSize, m_directory);
    commit(items);

    m_system.refreshPackageList();
    if (registered) {
        for (const QString &name : info.replaces + info.uninstalls) {
            if (name != info.name && m_system.installedPackage(name))
                m_system.removeInstalled(name, true);
        }
    }
    for (const PackageStaging::Item &item : items) {
        const QString suffix = QFileInfo(item.targetPath).suffix().toLower();
        if (suffix == QLatin1String("htm") || suffix == QLatin1String("html"))
            m_system.announceDocumentedFile(info.name, item.targetPath, item.file->name());
    }
    m_system.announceInstalled(info.name);
}

void PackageInstallation::chooseTargetDirectory()
{
    const PackageSystemPackageInfo &info = m_candidate.info;
    const QString root = m_system.packagesDirectory();
    const QString suggested = m_system.expand(info.installationDirectory.isEmpty() ? QStringLiteral("$(PackagesDir)")
                                                                                   : info.installationDirectory);
    QString chosen = suggested;
    const bool targetGiven = !m_options.target.isEmpty() && m_candidate.requested;
    if (targetGiven) {
        chosen = m_options.target;
    } else if (!info.installationDirectoryPrompt.isEmpty()) {
        chosen = m_questions.chooseDirectory(info, suggested);
        if (chosen.isEmpty())
            throw HException(cancelled);
    }
    // A directory the user chose may lie anywhere; one the package names must stay inside.
    const bool chosenByUser = targetGiven || chosen != suggested;
    m_directory = QDir::cleanPath(QDir(root).absoluteFilePath(chosen));
    if (!chosenByUser && !isInside(m_directory, root))
        throw HException(QStringLiteral("installation directory %1 lies outside %2").arg(m_directory, root));
    if (isInside(m_directory, m_system.registryDirectory()))
        throw HException(QStringLiteral("installation directory %1 lies in the package registry").arg(m_directory));
    if (chosenByUser && !info.installationDirectoryGlobalMacroName.isEmpty())
        m_system.setGlobalMacro(info.installationDirectoryGlobalMacroName, m_directory);
}

void PackageInstallation::testCompatibility()
{
    const PackageDescriptionFile::Compatibility compatibility = m_candidate.description->compatibility();
    QString text;
    if (compatibility.given && compatibility.release != packageCompatibilityRelease)
        text = incompatibleText;
    else if (!compatibility.minimumVersion.isEmpty()
             && compareVersions(m_system.programVersion(), compatibility.minimumVersion) < 0)
        text = versionRequiredText.arg(compatibility.minimumVersion);
    if (!text.isEmpty() && !m_questions.installIncompatible(incompatibleTitle, text))
        throw HException(cancelled);
}

// Every file in table order with its target; a target dated later than the archive's file is
// asked about, and skipped on "no".
std::vector<PackageStaging::Item> PackageInstallation::plannedItems()
{
    const QString registry = m_system.registryDirectory();
    std::vector<PackageStaging::Item> items;
    for (const auto &file : m_candidate.archive->files()) {
        const QString name = file->name();
        const QString target = m_directory + u'/' + name;
        if (isInside(target, registry))
            throw HException(QStringLiteral("unsafe file name in archive: %1").arg(name));
        if (checkTargetPath(m_directory, name) == TargetState::Existing && modificationTime(target) > qint64(file->time)) {
            switch (m_questions.overwriteNewerFile(newerFileTitle, newerFileText.arg(target))) {
            case PackageInstallQuestions::Answer::Yes:
                break;
            case PackageInstallQuestions::Answer::No:
                continue;
            case PackageInstallQuestions::Answer::Cancel:
                throw HException(cancelledDuringInstall);
            }
        }
        items.push_back({file.get(), target, {}, 0});
    }
    return items;
}

QString PackageInstallation::stagingFolderFor(const QString &directory)
{
    auto it = m_stagingFolders.find(directory);
    if (it == m_stagingFolders.end())
        it = m_stagingFolders.insert(directory, directory + u'/' + QLatin1String(stagingFolderName));
    return it.value();
}

std::vector<PackageTransaction::Operation> PackageInstallation::oldFilesToDelete(const QStringList &deliveredTargets)
{
    std::vector<PackageTransaction::Operation> operations;
    if (!m_installed)
        return operations;
    const QSet<QString> kept(deliveredTargets.begin(), deliveredTargets.end());
    const QStringList files = m_system.deletableFiles(*m_installed, kept);
    for (const QString &target : files) {
        const QString backup = stagingFolderFor(m_installed->installedDirectory) + QStringLiteral("/old-%1").arg(operations.size());
        operations.push_back({target, {}, backup, true});
    }
    return operations;
}

QByteArray PackageInstallation::installedDescription(const std::vector<PackageStaging::Item> &items)
{
    const PackageArchiveFile *const file = m_candidate.archive->findFile(m_candidate.descriptionName);
    PackageDescriptionFile description;
    description.parse(m_candidate.archive->readFile(*file), m_candidate.descriptionName);
    std::vector<PackageDescriptionFile::InstalledFile> installed;
    installed.reserve(items.size());
    for (const PackageStaging::Item &item : items)
        installed.push_back({item.file->name(), item.crc32, true});
    description.setInstalledFiles(installed);
    description.setAttribute("installed_directory", directoryForDescription(m_directory, m_system.packagesDirectory()));
    return description.toBytes();
}

QString PackageInstallation::descriptionTarget() const
{
    return m_system.registryDirectory() + u'/' + QFileInfo(m_candidate.descriptionName).fileName();
}

// Another installed package whose description has the same file name would lose it.
void PackageInstallation::checkDescriptionOwner() const
{
    const QString target = descriptionTarget();
    const PackageSystemPackageInfo *const owner = m_system.findPackage(m_candidate.info.name);
    for (const auto &other : m_system.packages()) {
        if (other->installed && other->descriptionPath == target && other.get() != owner)
            throw HException(QStringLiteral("package description %1 belongs to installed package '%2'").arg(target, other->name));
    }
}

// The installed description staged, and the renames that put it in place of the former one.
std::vector<PackageTransaction::Operation> PackageInstallation::descriptionOperations(
    const std::vector<PackageStaging::Item> &items)
{
    const QString target = descriptionTarget();
    const QString staging = stagingFolderFor(m_system.registryDirectory());
    const QString staged = staging + QStringLiteral("/description.xml");
    QSaveFile file(staged);
    if (!file.open(QIODevice::WriteOnly) || file.write(installedDescription(items)) < 0 || !file.commit())
        throw HException(QStringLiteral("Cannot create %1 for writing.").arg(target));
    std::vector<PackageTransaction::Operation> operations{{target, staged, staging + QStringLiteral("/backup-description"), present(target)}};
    if (m_installed && m_installed->descriptionPath != target && present(m_installed->descriptionPath))
        operations.push_back({m_installed->descriptionPath, {}, staging + QStringLiteral("/old-description"), true});
    return operations;
}

void PackageInstallation::commit(std::vector<PackageStaging::Item> &items)
{
    const bool registered = m_candidate.description && !m_candidate.info.isPlainArchive();
    const QString root = m_system.packagesDirectory();
    QStringList delivered;
    QStringList deliveredTargets;
    for (const auto &file : m_candidate.archive->files()) {
        deliveredTargets.append(m_directory + u'/' + file->name());
        delivered.append(QDir(root).relativeFilePath(deliveredTargets.last()));
    }
    const QString staging = stagingFolderFor(m_directory);
    if (registered)
        (void)stagingFolderFor(m_system.registryDirectory());
    const std::vector<PackageTransaction::Operation> deletions = oldFilesToDelete(deliveredTargets);

    PackageTransaction transaction(m_system.journalPath());
    transaction.begin(m_stagingFolders.values(), missingFolders(m_directory));
    PackageStaging stager(PackageStaging::ExistingFolder{staging});
    stager.setWriteFailureText(QStringLiteral("Cannot create %1 for writing."));
    const auto paths = std::make_shared<const PackageDeliveredPaths>(delivered);
    stager.stage(
        *m_candidate.archive, items,
        [&](const PackageStaging::Item &item) -> std::unique_ptr<PackageContentFilter> {
            if (!PackageReferenceRewriter::appliesTo(item.file->name()))
                return nullptr;
            return std::make_unique<PackageReferenceRewriter>(paths);
        },
        [&](int done, int total) { m_system.announceProgress(done, total); });

    std::vector<PackageTransaction::Operation> operations;
    QStringList folders;
    for (size_t i = 0; i < items.size(); ++i) {
        const QString &target = items[i].targetPath;
        operations.push_back({target, items[i].stagedPath, staging + QStringLiteral("/backup-%1").arg(i), present(target)});
        for (const QString &folder : missingFolders(QFileInfo(target).path())) {
            if (!folders.contains(folder))
                folders.append(folder);
        }
    }
    operations.insert(operations.end(), deletions.begin(), deletions.end());
    if (registered) {
        const std::vector<PackageTransaction::Operation> description = descriptionOperations(items);
        operations.insert(operations.end(), description.begin(), description.end());
    }
    QStringList deleted;
    for (const PackageTransaction::Operation &operation : deletions)
        deleted.append(operation.target);
    transaction.commit(operations, folders,
                       foldersToPrune(deleted, m_installed ? m_installed->installedDirectory : m_directory, root));
}
