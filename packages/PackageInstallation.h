#pragma once
#include "packages/PackageArchive.h"
#include "packages/PackageDescriptionFile.h"
#include "packages/PackageExtraction.h"
#include "packages/PackageSystemPackageInfo.h"
#include "packages/PackageTransaction.h"
#include <QMap>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

class PackageSystem;
struct PackageInstallOptions;
class PackageInstallQuestions;

// One package file opened for installation.
struct PackageCandidate {
    QString path;
    QString md5;             // expected; empty: no check
    bool requested = true;   // named by the user rather than pulled in as a dependency
    std::unique_ptr<PackageArchive> archive;
    std::unique_ptr<PackageDescriptionFile> description;   // null: a plain archive
    QString descriptionName;                                // its name in the archive
    PackageSystemPackageInfo info;
};

// Installs one package as one transaction, in this order: target directory, version tests,
// checks of every name and target, staging of every file (references rewritten, check value
// tested), then the renames with the installed description. Files of the former version that
// the new one no longer delivers go in the same transaction.
class PackageInstallation {
public:
    PackageInstallation(PackageSystem &system, PackageCandidate &candidate, const PackageInstallOptions &options,
                        PackageInstallQuestions &questions);
    void run();

private:
    void chooseTargetDirectory();
    void testCompatibility();
    std::vector<PackageStaging::Item> plannedItems();
    std::vector<PackageTransaction::Operation> oldFilesToDelete(const QStringList &deliveredTargets);
    QString stagingFolderFor(const QString &directory);
    QByteArray installedDescription(const std::vector<PackageStaging::Item> &items);
    QString descriptionTarget() const;
    void checkDescriptionOwner() const;
    std::vector<PackageTransaction::Operation> descriptionOperations(const std::vector<PackageStaging::Item> &items);
    void commit(std::vector<PackageStaging::Item> &items);

    PackageSystem &m_system;
    PackageCandidate &m_candidate;
    const PackageInstallOptions &m_options;
    PackageInstallQuestions &m_questions;
    const PackageSystemPackageInfo *m_installed = nullptr;   // the version installed now, if any
    QString m_directory;                                      // absolute target directory
    QMap<QString, QString> m_stagingFolders;                  // by the directory they serve
};

// The installed directory as written to the description: "$(PackagesDir)" or below it when it
// lies there, else the absolute path.
[[nodiscard]] QString directoryForDescription(const QString &directory, const QString &packagesDirectory);
// True when `path` is `directory` or lies below it.
[[nodiscard]] bool isInside(const QString &path, const QString &directory);
// CRC-32 of a file's bytes; empty when it cannot be read or is no plain file.
[[nodiscard]] std::optional<quint32> fileCrc32(const QString &path);
// The folders that deleting `files` may leave empty: each file's folder and its parents up to
// `top` itself, or up to `packagesDirectory` (not included) when `top` lies inside it.
[[nodiscard]] QStringList foldersToPrune(const QStringList &files, const QString &top, const QString &packagesDirectory);
