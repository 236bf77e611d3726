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
    const bool ran = m_sourceControl.withProvider([&](SourceCodeControlSystemInterface &provider) {
        bool ok = false;
        switch (Command(command)) {
        case Add:
            ok = provider.add(m_directory, m_selection, m_results);
            break;
        case Remove:
            ok = provider.remove(m_directory, m_selection, false, m_results);
            break;
        case Untrack:
            ok = provider.remove(m_directory, m_selection, true, m_results);
            break;
        case Revert:
            ok = provider.revert(m_directory, m_selection, m_results);
            break;
        case Commit:
            ok = provider.commit(m_directory, m_message, m_author, m_results);
            break;
        case Compare:
            ok = provider.diff(m_directory, m_selection, m_results);
            break;
        }
        if (!ok && m_results.errors.isEmpty())
            m_results.errors = QStringLiteral("the provider reported a failure");
    });
    if (!ran)
        m_results.errors = QStringLiteral("no source control provider");
    for (const QString &line : m_results.errors.split(u'\n', Qt::SkipEmptyParts))
        m_sourceControl.log().error(line);
    if (command != Compare && m_sourceControl.results(m_directory))
        m_sourceControl.refreshDirectory(m_directory, m_directory);
    return m_results.errors.isEmpty();
}
