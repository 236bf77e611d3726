#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QString>
#include <functional>
#include <memory>
#include <vector>

class ProjectElement;

// Gives the file elements below the elements registered for one working copy their states from
// one query's results. It works a slice at a time, so that a project of many thousand files
// never holds the main thread for long; the caller turns the event loop between slices.
class ElementStatusUpdate {
public:
    ElementStatusUpdate(QString directory, std::shared_ptr<const SourceControlResults> status,
                        QList<ProjectElement *> registered);

    [[nodiscard]] const QString &directory() const { return m_directory; }
    [[nodiscard]] qint64 elapsedMilliseconds() const { return m_started.elapsed(); }
    [[nodiscard]] int elementsUpdated() const { return m_updated; }

    // Works until done (true) or until `milliseconds` have passed (false). `starting` is called
    // as the walk below a registered element begins, `finished` when its files all have their
    // states.
    [[nodiscard]] bool run(int milliseconds, const std::function<void(ProjectElement *)> &starting,
                           const std::function<void(ProjectElement *)> &finished);

private:
    void apply(ProjectElement *file);

    QString m_directory;
    std::shared_ptr<const SourceControlResults> m_status;   // kept alive for m_byPath
    QList<ProjectElement *> m_registered;
    qsizetype m_next = 0;   // the registered element to walk next
    ProjectElement *m_current = nullptr;   // the one being walked
    std::vector<ProjectElement *> m_stack;
    QHash<QByteArray, const SourceControlFileStatus *> m_byPath;
    bool m_hasFolders = false;   // collapsed "dir/" entries: a file's folders must be looked up too
    QByteArray m_rootPrefix;   // the root with a '/'
    // Files of a project share few folders: each folder's links are resolved once.
    QHash<QString, QByteArray> m_canonicalFolders;
    QElapsedTimer m_started;
    int m_updated = 0;
};
