#include "sourcecontrol/PendingChangesWindow.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControl.h"
#include "sourcecontrol/SourceControlLog.h"
#include "sourcecontrol/SourceControlMenu.h"

PendingChangesWindow::PendingChangesWindow(SourceControl &sourceControl, QString directory)
    : m_sourceControl(sourceControl), m_directory(SourceControl::directoryKey(directory))
{
}

std::vector<SourceControlFileStatus> PendingChangesWindow::changes() const
{
    std::vector<SourceControlFileStatus> pending;
    if (const SourceControlResults *results = m_sourceControl.results(m_directory)) {
        for (const SourceControlFileStatus &file : results->files) {
            if (file.index != '!')
                pending.push_back(file);
        }
    }
    return pending;
}

void PendingChangesWindow::setCommitMessage(const QString &message, const QString &author)
{
    m_message = message;
    m_author = author;
}

bool PendingChangesWindow::runVCS(int command)
{
    m_results = {};
    if (command < 0 || command >= commandCount) {
        m_results.errors = QStringLiteral("no source control command %1").arg(command);
        return false;
    }
    if (command != Commit && command != Compare && m_selection.isEmpty()) {
        m_results.errors = QStringLiteral("no files selected");
        return false;
    }
    m_results.errors = outsideWorkingCopyError(m_sourceControl, m_directory, m_selection);
    if (!m_results.errors.isEmpty())
        return false;
    runProviderOperation(
        m_sourceControl, m_results,
        [&](SourceCodeControlSystemInterface &provider, SourceControlResults &results) {
            switch (Command(command)) {
            case Add:
                return provider.add(m_directory, m_selection, results);
            case Remove:
                return provider.remove(m_directory, m_selection, false, results);
            case Untrack:
                return provider.remove(m_directory, m_selection, true, results);
            case Revert:
                return provider.revert(m_directory, m_selection, results);
            case Commit:
                return provider.commit(m_directory, m_message, m_author, results);
            case Compare:
                return provider.diff(m_directory, m_selection, results);
            }
            return false;
        });
    if (command != Compare && m_sourceControl.results(m_directory))
        m_sourceControl.refreshDirectory(m_directory, m_directory);
    return m_results.errors.isEmpty();
}
