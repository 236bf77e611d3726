#include "packages/PackageSystem.h"
#include "foundation/HException.h"
#include "foundation/PropertyClass.h"
#include "foundation/QXMLDocument.h"
#include "packages/PackageInstallation.h"
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <algorithm>
#include <functional>

namespace {

constexpr int lockTimeoutMilliseconds = 10000;
const QString packagesDirMacro = QStringLiteral("PackagesDir");

[[noreturn]] void fail(const QString &message)
{
    throw HException(message);
}

// The package among `infos` named `name` or replacing it.
const PackageSystemPackageInfo *providerOf(const std::vector<const PackageSystemPackageInfo *> &infos, const QString &name)
{
    for (const PackageSystemPackageInfo *info : infos) {
        if (info->name == name || info->replaces.contains(name))
            return info;
    }
    return nullptr;
}

} // namespace

PackageInstallQuestions::~PackageInstallQuestions() = default;

QString plainText(const QString &html)
{
    QString text = html;
    text.replace(QLatin1String("</p><p>"), QLatin1String(" "));
    static const QRegularExpression tag(QStringLiteral("<[^>]*>"));
    text.remove(tag);
    return text.trimmed();
}

QString PackageCommandLineAnswers::chooseDirectory(const PackageSystemPackageInfo &, const QString &suggested)
{
    return suggested;
}

bool PackageCommandLineAnswers::installIncompatible(const QString &, const QString &text)
{
    if (m_options.force)
        return true;
    fail(plainText(text));
}

PackageInstallQuestions::Answer PackageCommandLineAnswers::overwriteNewerFile(const QString &, const QString &text)
{
    switch (m_options.newerFiles) {
    case PackageInstallOptions::NewerFiles::Overwrite:
        return Answer::Yes;
    case PackageInstallOptions::NewerFiles::Keep:
        return Answer::No;
    case PackageInstallOptions::NewerFiles::Ask:
        break;
    }
    fail(plainText(text));
}

bool PackageCommandLineAnswers::installOlderVersion(const PackageSystemPackageInfo &info, const QString &installedVersion)
{
    if (m_options.force)
        return true;
    fail(QStringLiteral("package '%1' version %2 is older than the installed version %3")
             .arg(info.name, info.version, installedVersion));
}

PackageSystem::PackageSystem(const QString &packagesDirectory, PropertyClassList *macros, QObject *parent)
    : QObject(parent), m_root(QDir::cleanPath(QDir().absoluteFilePath(packagesDirectory))), m_macros(macros)
{
    if (m_macros)
        m_macros->defineSystemMacro(packagesDirMacro, m_root, QStringLiteral("Path to the users packages directory."));
}

PackageSystem::~PackageSystem() = default;

QString PackageSystem::registryDirectory() const
{
    return m_root + QStringLiteral("/packages");
}

QString PackageSystem::journalPath() const
{
    return registryDirectory() + QStringLiteral("/install.journal");
}

void PackageSystem::open()
{
    if (!QDir().mkpath(registryDirectory()))
        fail(QStringLiteral("cannot create folder %1").arg(registryDirectory()));
    m_lock = std::make_unique<QLockFile>(registryDirectory() + QStringLiteral("/.lock"));
    if (!m_lock->tryLock(lockTimeoutMilliseconds))
        fail(QStringLiteral("packages directory %1 is in use by another process").arg(m_root));
    if (PackageTransaction::recover(journalPath()))
        log(QStringLiteral("Rolled back an unfinished installation in %1").arg(m_root));
    refreshPackageList();
}

QString PackageSystem::expand(const QString &text) const
{
    if (m_macros)
        return expandMacros(m_macros, MacroTable(), text, true, true);
    return expandMacros(nullptr, MacroTable{{packagesDirMacro, m_root}}, text, false, false);
}

void PackageSystem::setGlobalMacro(const QString &name, const QString &value)
{
    if (m_macros)
        m_macros->globalMacros.insert(name, value);
}

PackageSystemPackageInfo *PackageSystem::findPackage(const QString &name) const
{
    for (const auto &info : m_packages) {
        if (info->name == name)
            return info.get();
    }
    return nullptr;
}

PackageSystemPackageInfo *PackageSystem::installedPackage(const QString &name) const
{
    PackageSystemPackageInfo *const info = findPackage(name);
    return info && info->installed ? info : nullptr;
}

bool PackageSystem::isSatisfied(const QString &name) const
{
    if (installedPackage(name))
        return true;
    return std::any_of(m_packages.begin(), m_packages.end(),
                       [&](const auto &info) { return info->installed && info->replaces.contains(name); });
}

void PackageSystem::refreshPackageList()
{
    m_packages.clear();
    const QDir registry(registryDirectory());
    for (const QString &file : registry.entryList({QStringLiteral("*_package.xml")}, QDir::Files, QDir::Name))
        readInstalled(registry.filePath(file));
    const QString available = m_root + QStringLiteral("/downloads/available_packages.xml");
    if (QFileInfo::exists(available))
        readAvailable(available);
    std::stable_sort(m_packages.begin(), m_packages.end(), [](const auto &a, const auto &b) { return a->name < b->name; });
    for (const auto &info : m_packages) {
        if (info->installed && !info->installationDirectoryGlobalMacroName.isEmpty())
            setGlobalMacro(info->installationDirectoryGlobalMacroName, info->installedDirectory);
    }
    emit packageListChanged();
}

void PackageSystem::readInstalled(const QString &path)
{
    PackageDescriptionFile description;
    try {
        description.load(path);
    } catch (const HException &error) {
        log(error.message());
        return;
    }
    auto info = std::make_unique<PackageSystemPackageInfo>(PackageSystemPackageInfo::fromElement(description.packageElement()));
    if (info->name.isEmpty() || findPackage(info->name)) {
        log(QStringLiteral("ignored package description %1: no name, or a name described twice").arg(path));
        return;
    }
    info->installed = true;
    info->installedVersion = info->version;
    info->descriptionPath = path;
    QString directory = description.attribute("installed_directory");
    if (directory.isEmpty())
        directory = info->installationDirectory.isEmpty() ? QStringLiteral("$(PackagesDir)") : info->installationDirectory;
    info->installedDirectory = QDir::cleanPath(QDir(m_root).absoluteFilePath(expand(directory)));
    for (const PackageDescriptionFile::InstalledFile &file : description.installedFiles())
        info->installedFiles.append(file.fileName);
    info->hasExamples = deliversExamples(info->installedFiles);
    m_packages.push_back(std::move(info));
}

void PackageSystem::readAvailable(const QString &path)
{
    QXMLDocument document;
    if (!document.load(path) || !document.root()) {
        log(QStringLiteral("cannot read the list of available packages %1: %2").arg(path, QString::fromUtf8(document.errorText())));
        return;
    }
    std::vector<XMLElement *> elements;
    findElements(document.root(), "package", true, elements);
    for (const XMLElement *element : elements) {
        PackageSystemPackageInfo available = PackageSystemPackageInfo::fromElement(element);
        if (available.name.isEmpty())
            continue;
        if (PackageSystemPackageInfo *const known = findPackage(available.name)) {
            if (known->installed) {
                known->availableVersion = available.version;
                known->url = available.url;
                known->md5 = available.md5;
            }
            continue;
        }
        available.availableVersion = available.version;
        m_packages.push_back(std::make_unique<PackageSystemPackageInfo>(available));
    }
}

void PackageSystem::downloadFinished(const DownloadInfo &info)
{
    if (!info.error.isEmpty()) {
        log(QStringLiteral("Cannot download package (%1)").arg(info.error));
        return;
    }
    refreshPackageList();
}

QSet<QString> PackageSystem::installedTargets(const QString &exceptName) const
{
    QSet<QString> targets;
    for (const auto &info : m_packages) {
        if (!info->installed || info->name == exceptName)
            continue;
        for (const QString &file : info->installedFiles)
            targets.insert(info->installedDirectory + u'/' + file);
    }
    return targets;
}

QStringList PackageSystem::deletableFiles(const PackageSystemPackageInfo &info, const QSet<QString> &kept)
{
    PackageDescriptionFile description;
    description.load(info.descriptionPath);
    const QSet<QString> others = installedTargets(info.name);
    const std::vector<PackageDescriptionFile::InstalledFile> files = description.installedFiles();
    QStringList deletable;
    for (auto it = files.rbegin(); it != files.rend(); ++it) {
        if (!isSafeArchiveName(it->fileName))
            continue;
        const QString target = info.installedDirectory + u'/' + it->fileName;
        if (kept.contains(target) || others.contains(target) || (!QFileInfo(target).isSymLink() && !QFileInfo::exists(target)))
            continue;
        const std::optional<quint32> crc = fileCrc32(target);
        if (!crc || (it->hasCrc32 && *crc != it->crc32)) {
            log(QStringLiteral("Kept changed file %1").arg(target));
            continue;
        }
        deletable.append(target);
    }
    return deletable;
}

void PackageSystem::verifyMd5(const QString &path, const QString &expected,
                              const std::function<void(const QString &)> &log)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Md5);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        fail(QStringLiteral("cannot read %1").arg(path));
    const QString got = QString::fromLatin1(hash.result().toHex());
    const QString name = QFileInfo(path).fileName();
    if (got.compare(expected.trimmed(), Qt::CaseInsensitive) == 0) {
        log(QStringLiteral("Verified correct MD5 sum for %1 (%2)").arg(name, got));
        return;
    }
    log(QStringLiteral("Incorrect MD5 sum for %1 (expected %2 got %3)").arg(name, expected, got));
    fail(QStringLiteral("MD5 verification failed"));
}

std::unique_ptr<PackageCandidate> PackageSystem::resolve(const QString &argument, const PackageInstallOptions &options,
                                                         bool requested)
{
    auto candidate = std::make_unique<PackageCandidate>();
    candidate->requested = requested;
    if (QFileInfo(argument).isFile()) {
        candidate->path = argument;
        candidate->md5 = requested ? options.md5 : QString();
    } else {
        const PackageSystemPackageInfo *const info = findPackage(argument);
        if (!info || info->availableVersion.isEmpty())
            fail(QStringLiteral("no package file or available package named '%1'").arg(argument));
        if (info->url.isEmpty())
            fail(QStringLiteral("cannot install package %1 as no URL has been specified").arg(info->name));
        const QUrl url(info->url);
        if (!url.scheme().isEmpty() && url.scheme() != QLatin1String("file"))
            fail(QStringLiteral("cannot install package %1 as it is not a local file").arg(info->name));
        const QString local = url.scheme().isEmpty() ? info->url : url.toLocalFile();
        candidate->path = QDir(m_root + QStringLiteral("/downloads")).absoluteFilePath(local);
        candidate->md5 = info->md5;
    }
    if (!candidate->md5.isEmpty())
        verifyMd5(candidate->path, candidate->md5, [this](const QString &text) { log(text); });
    openCandidate(*candidate);
    return candidate;
}

void PackageSystem::openCandidate(PackageCandidate &candidate)
{
    candidate.archive = std::make_unique<PackageArchive>();
    candidate.archive->open(candidate.path, 0, true);
    const PackageArchiveFile *const description = candidate.archive->findPackageDescription();
    if (!description) {
        candidate.info.name = QFileInfo(candidate.path).completeBaseName();
        candidate.info.filetype = QStringLiteral("qvArchive");
        return;
    }
    candidate.descriptionName = description->name();
    candidate.description = std::make_unique<PackageDescriptionFile>();
    candidate.description->parse(candidate.archive->readFile(*description), description->name());
    candidate.info = PackageSystemPackageInfo::fromElement(candidate.description->packageElement());
    if (candidate.info.name.isEmpty())
        fail(QStringLiteral("bad package description %1: no package name").arg(description->name()));
}

std::vector<const PackageSystemPackageInfo *> PackageSystem::withDependencies(
    std::vector<const PackageSystemPackageInfo *> infos, const std::function<const PackageSystemPackageInfo *(const QString &)> &pull) const
{
    // The list grows while it is walked: what is pulled in is looked at too.
    for (size_t i = 0; i < infos.size(); ++i) {
        const QStringList dependencies = infos[i]->dependencies;
        const QString dependent = infos[i]->name;
        for (const QString &dependency : dependencies) {
            if (providerOf(infos, dependency) || isSatisfied(dependency))
                continue;
            const PackageSystemPackageInfo *const available = findPackage(dependency);
            if (!available || available->availableVersion.isEmpty())
                fail(QStringLiteral("package %1 requires %2, which is not installed").arg(dependent, dependency));
            infos.push_back(pull(dependency));
        }
    }
    std::vector<const PackageSystemPackageInfo *> order;
    QList<const PackageSystemPackageInfo *> visiting;
    const std::function<void(const PackageSystemPackageInfo *)> visit = [&](const PackageSystemPackageInfo *info) {
        if (std::find(order.begin(), order.end(), info) != order.end())
            return;
        if (visiting.contains(info)) {
            QStringList cycle;
            for (qsizetype i = visiting.indexOf(info); i < visiting.size(); ++i)
                cycle.append(visiting.at(i)->name);
            cycle.append(info->name);
            fail(QStringLiteral("dependency cycle between packages: %1").arg(cycle.join(QStringLiteral(" -> "))));
        }
        visiting.append(info);
        for (const QString &dependency : info->dependencies) {
            const PackageSystemPackageInfo *const first = providerOf(infos, dependency);
            if (first && first != info)
                visit(first);
        }
        visiting.removeLast();
        order.push_back(info);
    };
    for (const PackageSystemPackageInfo *info : infos)
        visit(info);
    return order;
}

std::vector<PackageCandidate *> PackageSystem::installOrder(std::vector<std::unique_ptr<PackageCandidate>> &candidates,
                                                            const PackageInstallOptions &options)
{
    std::vector<const PackageSystemPackageInfo *> infos;
    for (const auto &candidate : candidates)
        infos.push_back(&candidate->info);
    const std::vector<const PackageSystemPackageInfo *> order = withDependencies(infos, [&](const QString &name) {
        candidates.push_back(resolve(name, options, false));
        return &candidates.back()->info;
    });
    std::vector<PackageCandidate *> ordered;
    for (const PackageSystemPackageInfo *info : order) {
        for (const auto &candidate : candidates) {
            if (&candidate->info == info)
                ordered.push_back(candidate.get());
        }
    }
    return ordered;
}

std::vector<PackagePlanStep> PackageSystem::plan() const
{
    QStringList removals;
    std::vector<const PackageSystemPackageInfo *> installs;
    for (const auto &info : m_packages) {
        if (info->action == PackageSystemPackageInfo::Action::Remove && info->installed)
            removals.append(info->name);
        else if (info->action != PackageSystemPackageInfo::Action::None && info->action != PackageSystemPackageInfo::Action::Remove)
            installs.push_back(info.get());
    }
    std::vector<PackagePlanStep> steps;
    for (const PackageSystemPackageInfo *info : removalOrder(removals))
        steps.push_back({PackageSystemPackageInfo::Action::Remove, info->name});
    for (const PackageSystemPackageInfo *info : withDependencies(installs, [&](const QString &name) { return findPackage(name); })) {
        const bool marked = std::find(installs.begin(), installs.end(), info) != installs.end();
        steps.push_back({marked ? info->action : PackageSystemPackageInfo::Action::Install, info->name});
    }
    return steps;
}

void PackageSystem::carryOut(const std::vector<PackagePlanStep> &steps, const PackageInstallOptions &options,
                             PackageInstallQuestions &questions)
{
    QStringList removals;
    QStringList installs;
    for (const PackagePlanStep &step : steps)
        (step.action == PackageSystemPackageInfo::Action::Remove ? removals : installs).append(step.name);
    if (!removals.isEmpty())
        removePackages(removals, false);
    if (!installs.isEmpty())
        installPackages(installs, options, questions);
}

void PackageSystem::installPackages(const QStringList &packages, const PackageInstallOptions &options,
                                    PackageInstallQuestions &questions)
{
    std::vector<std::unique_ptr<PackageCandidate>> candidates;
    for (const QString &argument : packages) {
        std::unique_ptr<PackageCandidate> candidate = resolve(argument, options, true);
        for (const auto &other : candidates) {
            if (other->info.name == candidate->info.name)
                fail(QStringLiteral("package '%1' given twice").arg(candidate->info.name));
        }
        candidates.push_back(std::move(candidate));
    }
    for (PackageCandidate *candidate : installOrder(candidates, options))
        PackageInstallation(*this, *candidate, options, questions).run();
}

void PackageSystem::announceInstalled(const QString &name)
{
    log(QStringLiteral("Installed package '%1'").arg(name));
    if (PackageSystemPackageInfo *const info = findPackage(name))
        emit packageInstalled(info);
    emit packageListChanged();
}

void PackageSystem::announceDocumentedFile(const QString &name, const QString &path, const QString &archiveName)
{
    if (PackageSystemPackageInfo *const info = findPackage(name))
        emit documentedFileInstalled(info, path, archiveName, info->displayTitle());
}

std::vector<const PackageSystemPackageInfo *> PackageSystem::removalOrder(const QStringList &names) const
{
    std::vector<const PackageSystemPackageInfo *> order;
    QSet<const PackageSystemPackageInfo *> seen;
    // Dependents among the names go before what they depend on.
    const std::function<void(const PackageSystemPackageInfo *)> visit = [&](const PackageSystemPackageInfo *info) {
        if (seen.contains(info))
            return;
        seen.insert(info);
        for (const QString &name : names) {
            const PackageSystemPackageInfo *const other = installedPackage(name);
            if (other != info && other->dependencies.contains(info->name))
                visit(other);
        }
        order.push_back(info);
    };
    for (const QString &name : names)
        visit(installedPackage(name));
    return order;
}

void PackageSystem::removePackages(const QStringList &names, bool force)
{
    for (const QString &name : names) {
        if (!installedPackage(name))
            fail(QStringLiteral("package '%1' is not installed").arg(name));
    }
    QStringList ordered;
    for (const PackageSystemPackageInfo *info : removalOrder(names))
        ordered.append(info->name);
    ordered.removeDuplicates();
    for (const QString &name : ordered)
        removeInstalled(name, force);
}

void PackageSystem::removeInstalled(const QString &name, bool force)
{
    PackageSystemPackageInfo *const info = installedPackage(name);
    if (!info)
        fail(QStringLiteral("package '%1' is not installed").arg(name));
    if (!force) {
        for (const auto &other : m_packages) {
            if (!other->installed || other.get() == info || !other->dependencies.contains(name))
                continue;
            const bool replaced = std::any_of(m_packages.begin(), m_packages.end(), [&](const auto &candidate) {
                return candidate->installed && candidate.get() != info && candidate->replaces.contains(name);
            });
            if (!replaced)
                fail(QStringLiteral("cannot remove package '%1': package '%2' depends on it").arg(name, other->name));
        }
    }
    const QStringList files = deletableFiles(*info, {});
    const QString staging = info->installedDirectory + u'/' + QLatin1String(stagingFolderName);
    const QString registryStaging = registryDirectory() + u'/' + QLatin1String(stagingFolderName);
    std::vector<PackageTransaction::Operation> operations;
    for (const QString &target : files)
        operations.push_back({target, {}, staging + QStringLiteral("/old-%1").arg(operations.size()), true});
    operations.push_back({info->descriptionPath, {}, registryStaging + QStringLiteral("/old-description"), true});
    QStringList stagingFolders{registryStaging};
    if (!files.isEmpty() && staging != registryStaging)
        stagingFolders.prepend(staging);
    PackageTransaction transaction(journalPath());
    transaction.begin(stagingFolders, {});
    transaction.commit(operations, {}, foldersToPrune(files, info->installedDirectory, m_root));
    log(QStringLiteral("Removed package '%1'").arg(name));
    emit packageRemoved(info);
    refreshPackageList();
}
