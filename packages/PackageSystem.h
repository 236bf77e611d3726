#pragma once
#include "packages/PackageExtraction.h"
#include "packages/PackageSystemPackageInfo.h"
#include <QLockFile>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

class PropertyClassList;
struct PackageCandidate;

// What a download left: the address, the file it went to, and an error text if it failed.
struct DownloadInfo {
    QString url;
    QString path;
    QString error;
};

// How an installation runs without asking anyone.
struct PackageInstallOptions {
    enum class NewerFiles { Ask, Overwrite, Keep };
    QString target;   // the directory prompt's answer for the packages named, if given
    bool force = false;
    NewerFiles newerFiles = NewerFiles::Ask;
    QString md5;      // expected MD5 of a package named by file
    qint64 maxSize = defaultMaxExtractSize;
};

// The questions of an installation. Texts and titles are the dialog's own, with their markup.
class PackageInstallQuestions {
public:
    enum class Answer { Yes, No, Cancel };
    virtual ~PackageInstallQuestions();
    // The directory the user chose, or empty to cancel.
    virtual QString chooseDirectory(const PackageSystemPackageInfo &info, const QString &suggested) = 0;
    // True to install a package made for another release anyway.
    virtual bool installIncompatible(const QString &title, const QString &text) = 0;
    // A target file dated later than the archive's: overwrite (Yes), skip it (No), stop.
    virtual Answer overwriteNewerFile(const QString &title, const QString &text) = 0;
    // True to install a version older than the one installed.
    virtual bool installOlderVersion(const PackageSystemPackageInfo &info, const QString &installedVersion) = 0;
};

// The command line's answers: from the options, and where they say nothing a refusal with the
// question's text as plain text.
class PackageCommandLineAnswers : public PackageInstallQuestions {
public:
    explicit PackageCommandLineAnswers(const PackageInstallOptions &options) : m_options(options) {}
    QString chooseDirectory(const PackageSystemPackageInfo &info, const QString &suggested) override;
    bool installIncompatible(const QString &title, const QString &text) override;
    Answer overwriteNewerFile(const QString &title, const QString &text) override;
    bool installOlderVersion(const PackageSystemPackageInfo &info, const QString &installedVersion) override;

private:
    const PackageInstallOptions &m_options;
};

// One step of the package manager's plan.
struct PackagePlanStep {
    PackageSystemPackageInfo::Action action;
    QString name;
};

// A dialog text without its markup: paragraphs joined by a blank, tags dropped.
[[nodiscard]] QString plainText(const QString &html);

// The known packages of one packages directory, $(PackagesDir): the installed ones, described
// in "<$(PackagesDir)>/packages/*_package.xml", and those of the available list
// "<$(PackagesDir)>/downloads/available_packages.xml". Installs and removes packages, each as
// one transaction. Failures throw HException.
class PackageSystem : public QObject {
    Q_OBJECT
public:
    // `macros` is the macro system; PackagesDir is defined in it.
    PackageSystem(const QString &packagesDirectory, PropertyClassList *macros, QObject *parent = nullptr);
    ~PackageSystem() override;

    const QString &packagesDirectory() const { return m_root; }
    // "<$(PackagesDir)>/packages": installed descriptions and the journal.
    QString registryDirectory() const;
    QString journalPath() const;
    // The program version that a package's minimum version is compared with.
    void setProgramVersion(const QString &version) { m_programVersion = version; }
    const QString &programVersion() const { return m_programVersion; }

    // Makes the registry folder, takes the directory's lock (one process at a time), rolls back
    // an unfinished installation and reads the list.
    void open();

    const std::vector<std::unique_ptr<PackageSystemPackageInfo>> &packages() const { return m_packages; }
    [[nodiscard]] PackageSystemPackageInfo *findPackage(const QString &name) const;
    [[nodiscard]] PackageSystemPackageInfo *installedPackage(const QString &name) const;
    // True when `name` is installed or an installed package replaces it.
    [[nodiscard]] bool isSatisfied(const QString &name) const;
    // A text with macros, expanded against the macro system (PackagesDir included).
    [[nodiscard]] QString expand(const QString &text) const;

    // Installs package files or names of the available list, dependencies first.
    void installPackages(const QStringList &packages, const PackageInstallOptions &options,
                         PackageInstallQuestions &questions);
    // Removes installed packages, dependents first; refused while another package depends on
    // one of them, unless forced.
    void removePackages(const QStringList &names, bool force);

    // The package manager's summary of the actions set on the packages: removals first,
    // dependents before what they depend on; then installations, updates and reinstallations
    // after the packages they depend on, with missing ones of the available list added as
    // installations. Refuses a dependency nobody offers and cycles.
    [[nodiscard]] std::vector<PackagePlanStep> plan() const;
    // Carries a plan out: the removals, then the installations from the available list.
    void carryOut(const std::vector<PackagePlanStep> &steps, const PackageInstallOptions &options,
                  PackageInstallQuestions &questions);

    // Compares the MD5 of a package file with the expected one, logging "Verified correct MD5
    // sum for <file> (<sum>)" or "Incorrect MD5 sum for <file> (expected <sum> got <sum>)"; the
    // second fails with "MD5 verification failed".
    static void verifyMd5(const QString &path, const QString &expected, const std::function<void(const QString &)> &log);

    // Used by the installation of one package.
    void removeInstalled(const QString &name, bool force);
    void setGlobalMacro(const QString &name, const QString &value);
    // Absolute paths of the files every installed package but `exceptName` installed.
    [[nodiscard]] QSet<QString> installedTargets(const QString &exceptName) const;
    // The installed files of `info` that may be deleted: present, not in `kept`, unchanged since
    // installation by their CRC-32 (changed ones are logged and stay). Last installed first.
    [[nodiscard]] QStringList deletableFiles(const PackageSystemPackageInfo &info, const QSet<QString> &kept);
    void log(const QString &text) { emit logMessage(text); }
    void announceInstalled(const QString &name);
    void announceDocumentedFile(const QString &name, const QString &path, const QString &archiveName);
    void announceProgress(int done, int total) { emit progress(done, total); }

public slots:
    void refreshPackageList();
    void downloadFinished(const DownloadInfo &info);

signals:
    void packageListChanged();
    void packageInstalled(PackageSystemPackageInfo *info);
    void packageRemoved(PackageSystemPackageInfo *info);
    void documentedFileInstalled(PackageSystemPackageInfo *info, QString path, QString name, QString title);
    void progress(int done, int total);
    // Lines for the log: installed, removed, MD5 results, files kept.
    void logMessage(const QString &text);

private:
    std::unique_ptr<PackageCandidate> resolve(const QString &argument, const PackageInstallOptions &options,
                                              bool requested);
    void openCandidate(PackageCandidate &candidate);
    void readInstalled(const QString &path);
    void readAvailable(const QString &path);
    std::vector<PackageCandidate *> installOrder(std::vector<std::unique_ptr<PackageCandidate>> &candidates,
                                                 const PackageInstallOptions &options);
    std::vector<const PackageSystemPackageInfo *> removalOrder(const QStringList &names) const;
    // `infos` with what they need and nothing among them or installed provides, got through
    // `pull` from the available list, each after the packages it depends on.
    std::vector<const PackageSystemPackageInfo *> withDependencies(
        std::vector<const PackageSystemPackageInfo *> infos,
        const std::function<const PackageSystemPackageInfo *(const QString &)> &pull) const;

    QString m_root;
    PropertyClassList *m_macros;
    QString m_programVersion;
    std::unique_ptr<QLockFile> m_lock;
    std::vector<std::unique_ptr<PackageSystemPackageInfo>> m_packages;
};
