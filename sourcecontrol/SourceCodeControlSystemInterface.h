#pragma once
#include "sourcecontrol/SourceCodeControlSystemProviderInterfaceHelpers.h"
#include "sourcecontrol/SourceControlResults.h"
#include <QString>
#include <QStringList>

// A source control provider: a shared library, named in "bin/scproviders.xml", that knows one
// version control system and runs its tool through the services it is given. The environment
// reaches it only through the virtual table below, so the order of the functions is fixed:
// the number in front of each is its slot, counting the destructor's two entries. A provider
// built against an older header keeps working as long as new operations go at the end.
//
// Every operation that touches a working copy takes the directory it was asked about;
// relative paths are taken from that directory. An operation returns false on failure with
// the reason in results.errors; it never throws across the library boundary.
//
// Calls come from the main thread, and queryStatus also from the background thread; the
// environment never makes two calls at the same time.
class SourceCodeControlSystemInterface {
public:
    // 0, 1
    virtual ~SourceCodeControlSystemInterface() = default;
    // 2: the name the provider gives itself ("Git").
    [[nodiscard]] virtual QString name() const = 0;
    // 3: the settings from the provider list and the options' "Source Control" category.
    virtual void setProperties(const SourceControlPropertyList &properties) = 0;
    // 4: the login of the settings dialog, for tools that ask for one. Never to be logged.
    virtual void setLogin(const QString &userName, const QString &password) = 0;
    // 5: whether the provider's tool can run here; if not, why in `reason`.
    [[nodiscard]] virtual bool available(QString *reason) = 0;
    // 6: the tool's own version text, for the about box and the log.
    [[nodiscard]] virtual QString version() = 0;
    // 7: the root of the working copy that holds `directory`: empty and no error when it is not
    // under this provider's control, empty and an error when it is but the tool refuses it.
    [[nodiscard]] virtual QString workingCopyRoot(const QString &directory, QString *error) = 0;
    // 8: the quick check: true when the directory is under control and a status query is
    // cheap enough to run on the main thread.
    [[nodiscard]] virtual bool probe(const QString &directory,
                                     const SourceControlOptions &options) = 0;
    // 9: the status of the files below `directory`, as results.options asks.
    virtual bool queryStatus(const QString &directory, SourceControlResults &results) = 0;
    // 10: puts files under control.
    virtual bool add(const QString &directory, const QStringList &paths,
                     SourceControlResults &results) = 0;
    // 11: takes files out of control, and off the disk unless `keepFiles`.
    virtual bool remove(const QString &directory, const QStringList &paths, bool keepFiles,
                        SourceControlResults &results) = 0;
    // 12: menu "Compare": the differences of the files (all when `paths` is empty) against the
    // last commit, in unified format, in results.output.
    virtual bool diff(const QString &directory, const QStringList &paths,
                      SourceControlResults &results) = 0;
    // 13: records what has been added, removed or changed as one change; `author` is
    // "NAME <MAIL>" or empty for the tool's own setting. Nothing to record is a failure.
    virtual bool commit(const QString &directory, const QString &message, const QString &author,
                        SourceControlResults &results) = 0;
    // 14: brings files back to the last commit; a file that was only added stays on the disk,
    // no longer under control.
    virtual bool revert(const QString &directory, const QStringList &paths,
                        SourceControlResults &results) = 0;
    // 15: the branches in results.branches, the current one in results.currentBranch.
    virtual bool branches(const QString &directory, SourceControlResults &results) = 0;
    // 16: makes `branch` the working copy's branch.
    virtual bool switchBranch(const QString &directory, const QString &branch,
                              SourceControlResults &results) = 0;
    // 17: merges `branch` into the current one. With `useProviderMerge` the tool merges and
    // records the merge itself; without it the merge is left uncommitted, its conflicts in
    // results.files, for the environment's merge window.
    virtual bool merge(const QString &directory, const QString &branch, bool useProviderMerge,
                       SourceControlResults &results) = 0;
    // 18: menu "Show Log": the last `count` changes (all when 0), of one path when given.
    virtual bool log(const QString &directory, const QString &path, int count,
                     SourceControlResults &results) = 0;
    // 19: the last change of each path, its revision and author, into results.files.
    virtual bool history(const QString &directory, const QStringList &paths,
                         SourceControlResults &results) = 0;
    // 20: the bytes of a file as a revision holds it ("" for the last commit), into
    // results.output; for "Compare editor copy to source control copy".
    virtual bool fileAtRevision(const QString &directory, const QString &path,
                                const QString &revision, SourceControlResults &results) = 0;
};

// The two functions a provider library exports with C linkage. The creation function gets the
// services object, which outlives the interface; the release function gets the interface back
// before the library is closed, and frees it with the allocator that made it.
using CreateSourceCodeControlSystemInterfaceFunction = SourceCodeControlSystemInterface
    *(*)(SourceCodeControlSystemProviderInterfaceHelpers *services);
using ReleaseSourceCodeControlSystemInterfaceFunction =
    void (*)(SourceCodeControlSystemInterface *interface);

constexpr const char *createProviderSymbol = "CreateSourceCodeControlSystemInterface";
constexpr const char *releaseProviderSymbol = "ReleaseSourceCodeControlSystemInterface";
