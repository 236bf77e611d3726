#pragma once
#include <QString>
#include <QStringList>
#include <vector>

// A set of renames that takes effect wholly or not at all, across a kill -9 or a full disk too.
// A journal file records, before anything changes, the staging folders, the folders that will
// be made and every rename; recovery (at the start of the next run) puts back what an
// unfinished transaction moved and deletes what it left behind. Failures throw HException.
class PackageTransaction {
public:
    // One file's change. `staged` empty: the target is deleted. `backup` receives the old file
    // and must be on the target's filesystem (inside a staging folder).
    struct Operation {
        QString target;
        QString staged;
        QString backup;
        bool existed = false;
    };

    explicit PackageTransaction(QString journalPath);
    ~PackageTransaction();   // an unfinished transaction is rolled back
    PackageTransaction(const PackageTransaction &) = delete;
    PackageTransaction &operator=(const PackageTransaction &) = delete;

    // Records the staging folders and the folders about to be made for them, then makes both
    // (a staging folder left by an earlier run is cleared first).
    void begin(const QStringList &stagingFolders, const QStringList &foldersToMake);
    // Records the renames and the further folders they need, then performs them. On a failure
    // everything is put back and the failure rethrown. Once all renames are done the folders of
    // `foldersToPrune` that are left empty are removed, deepest first; recovery finishes that
    // too.
    void commit(const std::vector<Operation> &operations, const QStringList &foldersToMake,
                const QStringList &foldersToPrune = {});
    // Puts back an unfinished transaction of `journalPath` (true), or finishes the clean-up of
    // a committed one. Nothing to do without a journal.
    static bool recover(const QString &journalPath);

    // Test seam: called with a running number (from 1 when the hook is set) before each step
    // that changes the disk, so a test can stop the process at any point. Null by default.
    using StepHook = void (*)(int step);
    static void setStepHook(StepHook hook);

private:
    void writeJournal(const QString &state);
    void rollBack();
    void finish();
    void step();

    QString m_journalPath;
    QStringList m_staging;
    QStringList m_created;
    QStringList m_pruned;
    std::vector<Operation> m_operations;
    bool m_open = false;
};

// The folders among `path` and its parents that do not exist yet, outermost first.
[[nodiscard]] QStringList missingFolders(const QString &path);
