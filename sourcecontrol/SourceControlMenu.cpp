#include "sourcecontrol/SourceControlMenu.h"
#include "projects/ProjectElement.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControl.h"
#include "sourcecontrol/SourceControlLog.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <type_traits>

namespace {

constexpr SourceControlPropertyRow propertyRows[] = {
    {"sccs_provider_name", "The source control provider"},
    {"sccs_provider_status",
     "The source control status of the local file reported by the provider."},
    {"sccs_local_status", "The source control status of the local file as viewed by Tessmark."},
};

constexpr SourceControlMenuCommand menuCommands[] = {
    {"Compare", "vcsCompare"},
    {"Compare editor copy to source control copy", "committedCopy"},
    {"Show Log", "showLog"},
    {"Pending Changes", "PendingChangesWindow::runVCS"},
    {"Switch Branch...", "vcsSwitchBranch"},
    {"Merge...", "vcsMerge"},
    {"Source Control Explorer", "vcsShowSourceControlExplorer"},
};

// `path` with links resolved as far as it exists; the rest is appended as written.
QString resolvedPath(const QString &path)
{
    QString existing = path;
    QString rest;
    while (!existing.isEmpty() && !QFileInfo::exists(existing)) {
        const qsizetype slash = existing.lastIndexOf(u'/');
        if (slash < 0)
            return path;
        rest.prepend(existing.mid(slash));
        existing = existing.left(slash);
    }
    const QString canonical =
        QFileInfo(existing.isEmpty() ? QStringLiteral("/") : existing).canonicalFilePath();
    if (canonical.isEmpty())
        return path;
    return canonical == QLatin1String("/") && !rest.isEmpty() ? rest : canonical + rest;
}

bool isWithin(const QString &path, const QString &root)
{
    if (path == root || root == QLatin1String("/"))
        return true;
    return path.startsWith(root) && path.at(root.size()) == u'/';
}

SourceControlResults run(SourceControl &sourceControl, const ProviderOperation &operation)
{
    SourceControlResults results;
    runProviderOperation(sourceControl, results, operation);
    return results;
}

QString localStatus(const SourceControlState &state)
{
    QString text = QString(QLatin1Char(state.index)) + QLatin1Char(state.workTree);
    if (!state.revision.isEmpty())
        text +=
            QStringLiteral(", last changed in %1 by %2").arg(state.revision.left(12), state.author);
    return text;
}

void collectFiles(ProjectElement *element, std::vector<ProjectElement *> &files)
{
    std::vector<ProjectElement *> stack{element};
    while (!stack.empty()) {
        ProjectElement *at = stack.back();
        stack.pop_back();
        if (at->kind() == ProjectElement::Kind::File)
            files.push_back(at);
        for (auto it = at->children().rbegin(); it != at->children().rend(); ++it)
            stack.push_back(*it);
    }
}

// Asks the provider for the last change of each file and keeps it in the file's state.
void fillHistory(SourceControl &sourceControl, const std::vector<ProjectElement *> &files,
                 const QString &directory)
{
    QString root;
    sourceControl.withProvider([&](SourceCodeControlSystemInterface &provider) {
        QString error;
        root = provider.workingCopyRoot(directory, &error);
    });
    if (root.isEmpty())
        return;
    QStringList paths;
    QHash<QByteArray, ProjectElement *> byPath;
    for (ProjectElement *file : files) {
        const QString path = resolvedPath(file->filePath().text());
        if (!isWithin(path, root) || path == root)
            continue;
        paths.append(path);
        byPath.insert(QFile::encodeName(QDir(root).relativeFilePath(path)), file);
    }
    if (paths.isEmpty())
        return;
    const SourceControlResults results = run(
        sourceControl, [&](SourceCodeControlSystemInterface &provider, SourceControlResults &out) {
            return provider.history(directory, paths, out);
        });
    for (const SourceControlFileStatus &found : results.files) {
        ProjectElement *file = byPath.value(found.path);
        if (!file)
            continue;
        SourceControlState state;
        if (const SourceControlState *previous = file->sourceControlState())
            state = *previous;
        state.author = found.author;
        state.revision = found.revision;
        file->setSourceControlState(state);
    }
}

}   // namespace

bool runProviderOperation(SourceControl &sourceControl, SourceControlResults &results,
                          const ProviderOperation &operation)
{
    if (!sourceControl.withProvider([&](SourceCodeControlSystemInterface &provider) {
            if (!operation(provider, results) && results.errors.isEmpty())
                results.errors = QStringLiteral("the provider reported a failure");
        })) {
        results.errors = QStringLiteral("no source control provider");
    }
    sourceControl.log().errorLines(results.errors);
    return results.errors.isEmpty();
}

QString settingsDialogTitle(const QString &providerName)
{
    return QStringLiteral("Configure %1 source control").arg(providerName);
}

std::span<const SourceControlMenuCommand> sourceControlMenu(const SourceControl &sourceControl)
{
    if (!sourceControl.provider())
        return {};
    return menuCommands;
}

std::span<const SourceControlPropertyRow> sourceControlPropertyRows()
{
    return propertyRows;
}

QString firstPathOutside(const QString &root, const QString &directory, const QStringList &paths)
{
    const QDir base(directory);
    for (const QString &path : paths) {
        if (!isWithin(resolvedPath(QDir::cleanPath(base.absoluteFilePath(path))), root))
            return path;
    }
    return {};
}

QString outsideWorkingCopyError(SourceControl &sourceControl, const QString &directory,
                                const QStringList &paths)
{
    if (paths.isEmpty())
        return {};
    QString root;
    QString error;
    sourceControl.withProvider([&](SourceCodeControlSystemInterface &provider) {
        root = provider.workingCopyRoot(directory, &error);
    });
    if (root.isEmpty())
        return error.isEmpty() ? QStringLiteral("not under source control: %1").arg(directory)
                               : error;
    const QString outside = firstPathOutside(root, directory, paths);
    return outside.isEmpty() ? QString()
                             : QStringLiteral("outside the working copy: %1").arg(outside);
}

SourceControlResults vcsCompare(SourceControl &sourceControl, const QString &directory,
                                const QStringList &paths)
{
    return run(sourceControl,
               [&](SourceCodeControlSystemInterface &provider, SourceControlResults &results) {
                   return provider.diff(directory, paths, results);
               });
}

SourceControlResults vcsMerge(SourceControl &sourceControl, const QString &directory,
                              const QString &branch, bool useProviderMerge)
{
    return run(sourceControl,
               [&](SourceCodeControlSystemInterface &provider, SourceControlResults &results) {
                   return provider.merge(directory, branch, useProviderMerge, results);
               });
}

SourceControlResults vcsSwitchBranch(SourceControl &sourceControl, const QString &directory,
                                     const QString &branch)
{
    return run(sourceControl,
               [&](SourceCodeControlSystemInterface &provider, SourceControlResults &results) {
                   if (!branch.isEmpty() && !provider.switchBranch(directory, branch, results))
                       return false;
                   return provider.branches(directory, results);
               });
}

SourceControlResults showLog(SourceControl &sourceControl, const QString &directory,
                             const QString &path, int count)
{
    return run(sourceControl,
               [&](SourceCodeControlSystemInterface &provider, SourceControlResults &results) {
                   return provider.log(directory, path, count, results);
               });
}

SourceControlResults committedCopy(SourceControl &sourceControl, const QString &directory,
                                   const QString &path)
{
    return run(sourceControl,
               [&](SourceCodeControlSystemInterface &provider, SourceControlResults &results) {
                   return provider.fileAtRevision(directory, path, QString(), results);
               });
}

std::vector<SourceControlExplorerRow> vcsShowSourceControlExplorer(SourceControl &sourceControl,
                                                                   ProjectElement *element)
{
    std::vector<ProjectElement *> files;
    collectFiles(element, files);
    const QString directory = sourceControl.directoryOf(element);
    if (!directory.isEmpty() && sourceControl.provider())
        fillHistory(sourceControl, files, directory);
    std::vector<SourceControlExplorerRow> rows;
    rows.reserve(files.size() * std::size(propertyRows));
    for (ProjectElement *file : files) {
        const SourceControlState *state = file->sourceControlState();
        const QString values[] = {
            sourceControl.providerName(),
            state ? state->status : QString(),
            state ? localStatus(*state) : QString(),
        };
        static_assert(std::extent_v<decltype(values)> == std::size(propertyRows));
        for (size_t i = 0; i < std::size(propertyRows); ++i)
            rows.push_back({file, QLatin1String(propertyRows[i].name), values[i]});
    }
    return rows;
}
