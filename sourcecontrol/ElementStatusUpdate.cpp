#include "sourcecontrol/ElementStatusUpdate.h"
#include "projects/ProjectElement.h"
#include <QFile>
#include <QFileInfo>

namespace {

// What an element's file is when the provider did not list it: tracked and unchanged.
const QString cleanStatus = QStringLiteral("Unchanged");

// How many files are updated between two looks at the clock.
constexpr int filesPerClockCheck = 64;

}   // namespace

ElementStatusUpdate::ElementStatusUpdate(QString directory,
                                         std::shared_ptr<const SourceControlResults> status,
                                         QList<ProjectElement *> registered)
    : m_directory(std::move(directory)), m_status(std::move(status)),
      m_registered(std::move(registered))
{
    m_started.start();
    m_byPath.reserve(qsizetype(m_status->files.size()));
    for (const SourceControlFileStatus &file : m_status->files) {
        m_byPath.insert(file.path, &file);
        m_hasFolders = m_hasFolders || file.path.endsWith('/');
    }
    m_rootPrefix = QFile::encodeName(m_status->root);
    if (!m_rootPrefix.endsWith('/'))
        m_rootPrefix += '/';
}

bool ElementStatusUpdate::run(int milliseconds,
                              const std::function<void(ProjectElement *)> &starting,
                              const std::function<void(ProjectElement *)> &finished)
{
    QElapsedTimer slice;
    slice.start();
    int sinceCheck = 0;
    for (;;) {
        if (m_stack.empty()) {
            if (m_current)
                finished(std::exchange(m_current, nullptr));
            if (m_next >= m_registered.size())
                return true;
            m_current = m_registered.at(m_next++);
            starting(m_current);
            if (!m_status->root.isEmpty())
                m_stack.push_back(m_current);
            continue;
        }
        ProjectElement *element = m_stack.back();
        m_stack.pop_back();
        for (ProjectElement *child : element->children())
            m_stack.push_back(child);
        if (element->kind() != ProjectElement::Kind::File)
            continue;
        apply(element);
        if (++sinceCheck >= filesPerClockCheck) {
            sinceCheck = 0;
            if (slice.elapsed() >= milliseconds)
                return false;
        }
    }
}

void ElementStatusUpdate::apply(ProjectElement *file)
{
    const QString &path = file->filePath().text();
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash < 0) {
        file->clearSourceControlState();
        return;
    }
    const QString folder = path.left(slash);
    auto known = m_canonicalFolders.constFind(folder);
    if (known == m_canonicalFolders.cend()) {
        const QString canonical =
            QFileInfo(folder.isEmpty() ? QStringLiteral("/") : folder).canonicalFilePath();
        QByteArray bytes = QFile::encodeName(canonical.isEmpty() ? folder : canonical);
        if (!bytes.endsWith('/'))
            bytes += '/';
        known = m_canonicalFolders.insert(folder, bytes);
    }
    if (!known->startsWith(m_rootPrefix)) {
        file->clearSourceControlState();
        return;
    }
    const QByteArray key = known->mid(m_rootPrefix.size()) + QFile::encodeName(path.mid(slash + 1));
    const SourceControlFileStatus *found = m_byPath.value(key);
    for (qsizetype at = key.lastIndexOf('/'); !found && m_hasFolders && at > 0;
         at = key.lastIndexOf('/', at - 1))
        found = m_byPath.value(key.left(at + 1));
    SourceControlState state;
    if (const SourceControlState *previous = file->sourceControlState()) {
        state.author = previous->author;
        state.revision = previous->revision;
    }
    state.path = key;
    if (found) {
        state.status = found->status;
        state.index = found->index;
        state.workTree = found->workTree;
        if (!found->revision.isEmpty()) {
            state.author = found->author;
            state.revision = found->revision;
        }
    } else {
        state.status = cleanStatus;
    }
    file->setSourceControlState(state);
    ++m_updated;
}
