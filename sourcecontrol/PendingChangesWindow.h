#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QString>
#include <QStringList>
#include <vector>

class SourceControl;

// The pending changes of one working copy and the commands run on a selection of them: the
// model behind the window, which shows changes() and calls runVCS with a command number.
class PendingChangesWindow {
public:
    // The command numbers of runVCS.
    enum Command : int {
        Add = 0,
        Remove = 1,   // from control and from the disk
        Untrack = 2,   // from control only; the file stays
        Revert = 3,
        Commit = 4,   // the recorded changes as a whole; the selection plays no part
        Compare = 5,
    };
    static constexpr int commandCount = 6;

    PendingChangesWindow(SourceControl &sourceControl, QString directory);

    // Every file the last refresh of the directory found changed, new or in conflict.
    [[nodiscard]] std::vector<SourceControlFileStatus> changes() const;

    // The files the next command works on, relative to the directory (or absolute).
    void setSelection(const QStringList &paths) { m_selection = paths; }
    [[nodiscard]] const QStringList &selection() const { return m_selection; }
    // For Commit: the message and "NAME <MAIL>" or empty for the tool's own setting.
    void setCommitMessage(const QString &message, const QString &author = {});

    // Runs a command on the selection. Paths outside the working copy refuse the whole command,
    // "outside the working copy: PATH", before anything runs. False on failure, the reason in
    // lastResults().errors. A directory whose status is shown is refreshed afterwards.
    bool runVCS(int command);
    [[nodiscard]] const SourceControlResults &lastResults() const { return m_results; }

private:
    SourceControl &m_sourceControl;
    QString m_directory;
    QStringList m_selection;
    QString m_message;
    QString m_author;
    SourceControlResults m_results;
};
