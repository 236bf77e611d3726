#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QElapsedTimer>
#include <QEvent>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

class ElementStatusUpdate;
class ProjectElement;
class SourceCodeControlSystemInterface;
class SourceControlLog;
class StandardProjectSystem;

// Posted by the background thread when a status query has ended: the status, the error text
// and the directory it was about. The main thread applies it.
class SourceControlStatusUpdateEvent : public QEvent {
public:
    SourceControlStatusUpdateEvent(QString directory, SourceControlResults status, QString errors);
    ~SourceControlStatusUpdateEvent() override;
    [[nodiscard]] static QEvent::Type eventType();

    QString directory;
    SourceControlResults status;
    QString errors;
};

// Runs one status query away from the main thread. It touches no project or GUI object: it gets
// a copy of the directory and the options, holds the provider lock while the provider works and
// posts the outcome as a SourceControlStatusUpdateEvent.
class SourceControlBackgroundUpdateThread : public QThread {
public:
    SourceControlBackgroundUpdateThread(QMutex &providerLock, QObject *receiver);
    // Before start() only.
    void setQuery(SourceCodeControlSystemInterface *provider, const QString &directory,
                  const SourceControlOptions &options);

protected:
    void run() override;

private:
    QMutex &m_providerLock;
    QObject *m_receiver;
    SourceCodeControlSystemInterface *m_provider = nullptr;
    QString m_directory;
    SourceControlOptions m_options;
};

// The status cache of the environment and its refresh: which projects live in which working
// copy, the current provider, and the background query that keeps a large working copy from
// stalling the main thread. Everything but the background query runs on the main thread, and
// only the main thread changes project elements.
class SourceControl : public QObject {
    Q_OBJECT
public:
    struct Counters {
        int refreshes = 0;
        int probes = 0;
        int immediateQueries = 0;
        int backgroundQueries = 0;
        int retriesMarked = 0;
        int deliveries = 0;
        int elementsUpdated = 0;
    };

    explicit SourceControl(SourceControlLog &log, QObject *parent = nullptr);
    // Waits for a background query still running; its results are dropped.
    ~SourceControl() override;

    // The provider all refreshes go to; null: no source control, refreshes do nothing.
    void setProvider(SourceCodeControlSystemInterface *provider, const QString &name);
    [[nodiscard]] SourceCodeControlSystemInterface *provider() const { return m_provider; }
    [[nodiscard]] const QString &providerName() const { return m_providerName; }
    [[nodiscard]] SourceControlLog &log() const { return m_log; }

    // The solution whose projects are refreshed, and the configuration their
    // source_code_control_directory is read in. The cache is purged when the solution closes.
    void setProjectSystem(StandardProjectSystem *system, const QString &configuration);
    // What a refresh asks the provider for.
    void setOptions(const SourceControlOptions &options) { m_options = options; }
    [[nodiscard]] const SourceControlOptions &options() const { return m_options; }
    // Skips the quick check: every query runs on the background thread.
    void setForceBackground(bool force) { m_forceBackground = force; }
    // How long a refresh that had to wait is put off before it is tried again.
    void setRetryInterval(int milliseconds) { m_retryTimer.setInterval(milliseconds); }
    // Refreshes every registered element this long after the last refresh; 0, the default,
    // refreshes only on a solution's load and save and when asked.
    void setRefreshInterval(int milliseconds);
    // The login of the settings dialog: handed to the provider, and masked out of the log.
    void setLogin(const QString &userName, const QString &password);

    // The working copy of a project: its source_code_control_directory expanded and made
    // absolute; empty when it has none.
    [[nodiscard]] QString directoryOf(const ProjectElement *element) const;

    // Refreshes the status of an element's project; every element registered for the same
    // working copy gets the results.
    void refresh(ProjectElement *element);
    // Refreshes every project of the solution.
    void refreshAll();
    // The same refresh for a working copy no project names; `name` stands in the log texts.
    void refreshDirectory(const QString &directory, const QString &name);

    // Whether a query runs, waits to be delivered or is marked for a retry.
    [[nodiscard]] bool busy() const;
    // Pumps events until the cache is up to date.
    void waitUntilUpToDate();

    // The last results for a working copy directory (as refresh keys it), or null.
    [[nodiscard]] const SourceControlResults *results(const QString &directory) const;
    // The last error text delivered for a directory; empty when its last query succeeded.
    [[nodiscard]] QString errors(const QString &directory) const;
    // Empties the cache and forgets every registered element.
    void purge();
    [[nodiscard]] const Counters &counters() const { return m_counters; }

    // Runs an operation of the menus with the provider to itself: waits while the background
    // thread holds it. False, with nothing run, when there is no provider.
    bool withProvider(const std::function<void(SourceCodeControlSystemInterface &)> &operation);

    // The key refresh uses for a directory: absolute, cleaned, with symbolic links resolved.
    [[nodiscard]] static QString directoryKey(const QString &directory);

signals:
    // The elements below `element` have new states: the project tree redraws them.
    void statusChanged(ProjectElement *element);
    void resultsDelivered(const QString &directory);
    void upToDate();

protected:
    void customEvent(QEvent *event) override;

private:
    // A refresh that could not run now and waits for the timer.
    struct Retry {
        ProjectElement *element;   // null for a plain directory
        QString directory;
        QString name;
    };

    void refreshTarget(ProjectElement *element, const QString &directory, const QString &name);
    void queryOrMark(ProjectElement *element, const QString &directory, const QString &name);
    void markForRetry(ProjectElement *element, const QString &directory, const QString &name);
    void startBackgroundQuery(const QString &directory);
    void deliver(const QString &directory, SourceControlResults status, const QString &errors);
    void reportErrors(const QString &errors);
    void runUpdates();
    void retryMarked();
    void refreshRegistered();
    void settle();

    SourceControlLog &m_log;
    SourceCodeControlSystemInterface *m_provider = nullptr;
    QString m_providerName;
    StandardProjectSystem *m_system = nullptr;
    QString m_configuration;
    SourceControlOptions m_options;
    bool m_forceBackground = false;

    // The provider lock: the mutex is held by whoever calls the provider, the flag while the
    // main thread is inside a refresh (a refresh started from within one must wait).
    QMutex m_providerLock;
    bool m_lockHeld = false;
    std::unique_ptr<SourceControlBackgroundUpdateThread> m_thread;
    bool m_delivered = true;   // the last background query's results have been applied
    QString m_queryDirectory;   // of the background query in flight
    QElapsedTimer m_queryStart;
    QTimer m_retryTimer;
    QTimer m_refreshTimer;
    QString m_loginUserName;
    QString m_loginPassword;
    std::vector<Retry> m_retries;
    bool m_working = false;   // something was refreshed since the cache was last up to date

    QHash<QString, QList<ProjectElement *>> m_elements;   // by working copy directory
    QHash<QString, std::shared_ptr<const SourceControlResults>> m_results;
    std::vector<std::unique_ptr<ElementStatusUpdate>> m_updates;   // the first one runs
    bool m_sliceScheduled = false;
    QHash<QString, QString> m_errors;
    Counters m_counters;
};
