#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QString>
#include <QStringList>
#include <functional>
#include <span>
#include <vector>

class ProjectElement;
class SourceCodeControlSystemInterface;
class SourceControl;

// The commands of the source control menus without their windows: each runs the provider with
// the lock to itself and returns what the shell shows. A result with errors has failed; the
// errors are in the source-control log too.

// The setting that chooses the provider's own merge over the environment's merge window.
constexpr const char *useProviderMergeSetting = "Use Provider Merge";
// The entries of the settings dialog that hold the login; their values are never logged.
constexpr const char *loginUserNameSetting = "VCSLoginUserName";
constexpr const char *loginPasswordSetting = "VCSLoginPassword";
// The title of the settings dialog: "Configure Git source control".
[[nodiscard]] QString settingsDialogTitle(const QString &providerName);

// One command of the source control menu and the operation behind it.
struct SourceControlMenuCommand {
    const char *title;
    const char *operation;
};
// The menu's commands; none without a provider, so that the menu is empty.
[[nodiscard]] std::span<const SourceControlMenuCommand>
sourceControlMenu(const SourceControl &sourceControl);

// The properties of the "Source Control" group of the explorer, in the order shown.
struct SourceControlPropertyRow {
    const char *name;
    const char *description;
};
[[nodiscard]] std::span<const SourceControlPropertyRow> sourceControlPropertyRows();
constexpr const char *sourceControlPropertyGroup = "Source Control";

// One row of the explorer: a property of the group for one file element.
struct SourceControlExplorerRow {
    ProjectElement *element;
    QString property;
    QString value;
};

// Runs one operation with the provider to itself. A failure without a reason gets one; the
// reasons go to the log as well. True on success.
using ProviderOperation =
    std::function<bool(SourceCodeControlSystemInterface &provider, SourceControlResults &results)>;
bool runProviderOperation(SourceControl &sourceControl, SourceControlResults &results,
                          const ProviderOperation &operation);

// The first of `paths` (relative to `directory`) that lies outside the working copy at `root`;
// empty when all lie inside. Links are resolved as far as the path exists.
[[nodiscard]] QString firstPathOutside(const QString &root, const QString &directory,
                                       const QStringList &paths);
// "outside the working copy: PATH" for the first such path, else empty.
[[nodiscard]] QString outsideWorkingCopyError(SourceControl &sourceControl,
                                              const QString &directory, const QStringList &paths);

// "Compare": the files' differences against the last commit (all files when `paths` is empty).
[[nodiscard]] SourceControlResults vcsCompare(SourceControl &sourceControl,
                                              const QString &directory, const QStringList &paths);
// "Merge": merges a branch into the current one, by the provider when `useProviderMerge`, else
// left uncommitted with the conflicts listed for the merge window.
[[nodiscard]] SourceControlResults vcsMerge(SourceControl &sourceControl, const QString &directory,
                                            const QString &branch, bool useProviderMerge);
// "Switch Branch": with an empty `branch` only lists the branches to choose from.
[[nodiscard]] SourceControlResults vcsSwitchBranch(SourceControl &sourceControl,
                                                   const QString &directory, const QString &branch);
// "Show Log": the last `count` changes (0: all), of one path when given.
[[nodiscard]] SourceControlResults showLog(SourceControl &sourceControl, const QString &directory,
                                           const QString &path, int count);
// "Compare editor copy to source control copy": the file as the last commit holds it.
[[nodiscard]] SourceControlResults committedCopy(SourceControl &sourceControl,
                                                 const QString &directory, const QString &path);
// "Source Control Explorer": the group's rows for every file at or below `element`, after the
// provider told each file's last change.
[[nodiscard]] std::vector<SourceControlExplorerRow>
vcsShowSourceControlExplorer(SourceControl &sourceControl, ProjectElement *element);
