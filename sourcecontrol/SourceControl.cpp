#include "sourcecontrol/SourceControl.h"
#include "projects/ProjectElement.h"
#include "projects/StandardProjectSystem.h"
#include "sourcecontrol/ElementStatusUpdate.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControlLog.h"
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

namespace {

// Longer than this, a query or an update of the tree is worth a line in the log.
constexpr qint64 slowMilliseconds = 1000;
constexpr int defaultRetryMilliseconds = 1000;

// The longest the main thread gives to updating project elements before it turns its event
// loop again.
constexpr int sliceMilliseconds = 4;

}   // namespace

SourceControlStatusUpdateEvent::SourceControlStatusUpdateEvent(QString directory,
                                                               SourceControlResults status,
                                                               QString errors)
    : QEvent(eventType()), directory(std::move(directory)), status(std::move(status)),
      errors(std::move(errors))
{
}

SourceControlStatusUpdateEvent::~SourceControlStatusUpdateEvent() = default;

QEvent::Type SourceControlStatusUpdateEvent::eventType()
{
    static const QEvent::Type type = QEvent::Type(QEvent::registerEventType());
    return type;
}

SourceControlBackgroundUpdateThread::SourceControlBackgroundUpdateThread(QMutex &providerLock,
                                                                         QObject *receiver)
    : m_providerLock(providerLock), m_receiver(receiver)
{
}

void SourceControlBackgroundUpdateThread::setQuery(SourceCodeControlSystemInterface *provider,
                                                   const QString &directory,
                                                   const SourceControlOptions &options)
{
    m_provider = provider;
    m_directory = directory;
    m_options = options;
}

void SourceControlBackgroundUpdateThread::run()
{
    SourceControlResults results;
    results.options = m_options;
    {
        const QMutexLocker locker(&m_providerLock);
        m_provider->queryStatus(m_directory, results);
    }
    QString errors = std::exchange(results.errors, QString());
    QCoreApplication::postEvent(
        m_receiver,
        new SourceControlStatusUpdateEvent(m_directory, std::move(results), std::move(errors)));
}

SourceControl::SourceControl(SourceControlLog &log, QObject *parent)
    : QObject(parent), m_log(log), m_configuration(QStringLiteral("Common"))
{
    // A project's files are best told apart completely: new folders once, ignored files too.
    m_options.untracked = SourceControlOptions::Untracked::Normal;
    m_options.ignored = true;
    m_retryTimer.setSingleShot(true);
    m_retryTimer.setInterval(defaultRetryMilliseconds);
    connect(&m_retryTimer, &QTimer::timeout, this, &SourceControl::retryMarked);
    connect(&m_refreshTimer, &QTimer::timeout, this, &SourceControl::refreshRegistered);
}

SourceControl::~SourceControl()
{
    if (m_thread)
        m_thread->wait();
}

void SourceControl::setProvider(SourceCodeControlSystemInterface *provider, const QString &name)
{
    m_provider = provider;
    m_providerName = name;
    if (m_provider && !m_loginUserName.isEmpty())
        withProvider([this](SourceCodeControlSystemInterface &it) {
            it.setLogin(m_loginUserName, m_loginPassword);
        });
}

void SourceControl::setLogin(const QString &userName, const QString &password)
{
    m_loginUserName = userName;
    m_loginPassword = password;
    m_log.setSecrets({userName, password});
    withProvider(
        [&](SourceCodeControlSystemInterface &provider) { provider.setLogin(userName, password); });
}

void SourceControl::setRefreshInterval(int milliseconds)
{
    m_refreshTimer.setInterval(milliseconds);
    if (milliseconds > 0)
        m_refreshTimer.start();
    else
        m_refreshTimer.stop();
}

void SourceControl::refreshRegistered()
{
    const QHash<QString, QList<ProjectElement *>> registered = m_elements;
    for (auto it = registered.cbegin(); it != registered.cend(); ++it) {
        for (ProjectElement *element : it.value())
            refreshTarget(element, it.key(), element->elementName());
    }
}

void SourceControl::setProjectSystem(StandardProjectSystem *system, const QString &configuration)
{
    if (m_system)
        disconnect(m_system, nullptr, this, nullptr);
    m_system = system;
    m_configuration = configuration;
    if (!m_system)
        return;
    connect(m_system, &ProjectSystem::solutionClosed, this, &SourceControl::purge);
    // A solution is refreshed when it is loaded and whenever it is saved.
    connect(m_system, &ProjectSystem::solutionLoaded, this, &SourceControl::refreshAll);
    connect(m_system, &ProjectSystem::fileSaved, this, &SourceControl::refreshAll);
}

QString SourceControl::directoryKey(const QString &directory)
{
    const QString absolute = QDir::cleanPath(QDir::current().absoluteFilePath(directory));
    const QString canonical = QFileInfo(absolute).canonicalFilePath();
    return canonical.isEmpty() ? absolute : canonical;
}

QString SourceControl::directoryOf(const ProjectElement *element) const
{
    if (!m_system || !element)
        return {};
    const ProjectElement *project = StandardProjectSystem::projectOf(element);
    if (!project)
        return {};
    const QString value =
        m_system
            ->expandedProperty(project,
                               m_system->propertyClass(ProjectProperty::SourceCodeControlDirectory),
                               m_configuration)
            .trimmed();
    if (value.isEmpty())
        return {};
    if (QFileInfo(value).isAbsolute())
        return directoryKey(value);
    const ProjectElement *solution = StandardProjectSystem::solutionOf(project);
    const QString base = solution ? solution->filePath().directory() : QDir::currentPath();
    return directoryKey(base + u'/' + value);
}

void SourceControl::refresh(ProjectElement *element)
{
    if (!element || !m_provider)
        return;
    const QString directory = directoryOf(element);
    if (directory.isEmpty())
        return;
    refreshTarget(element, directory, element->elementName());
}

void SourceControl::refreshAll()
{
    if (!m_system || !m_system->solution())
        return;
    for (ProjectElement *child : m_system->solution()->children()) {
        if (child->kind() == ProjectElement::Kind::Project)
            refresh(child);
    }
}

void SourceControl::refreshDirectory(const QString &directory, const QString &name)
{
    if (!m_provider || directory.isEmpty())
        return;
    refreshTarget(nullptr, directoryKey(directory), name);
}

void SourceControl::refreshTarget(ProjectElement *element, const QString &directory,
                                  const QString &name)
{
    ++m_counters.refreshes;
    m_working = true;
    if (element) {
        QList<ProjectElement *> &registered = m_elements[directory];
        if (!registered.contains(element))
            registered.append(element);
    }
    if (m_lockHeld) {
        m_log.message(QStringLiteral("VCS lock held when refreshing %1").arg(name));
        markForRetry(element, directory, name);
        return;
    }
    m_retryTimer.stop();
    const bool periodic = m_refreshTimer.isActive();
    m_refreshTimer.stop();
    m_lockHeld = true;
    // A former run that has ended but whose results still wait in the queue goes first, so
    // that they cannot overwrite what this refresh finds.
    while (!m_delivered && m_thread && m_thread->isFinished())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    // The query in flight for the same directory answers for the element, which is registered.
    if (m_delivered || m_queryDirectory != directory)
        queryOrMark(element, directory, name);
    if (!m_retries.empty())
        m_retryTimer.start();
    if (periodic)
        m_refreshTimer.start();
    m_lockHeld = false;
    settle();
}

// Steps 4 to 6 of a refresh: the provider's quick check decides between a query at once and
// one on the background thread; a thread still at work means a retry.
void SourceControl::queryOrMark(ProjectElement *element, const QString &directory,
                                const QString &name)
{
    const bool threadBusy = !m_delivered;
    if (!m_providerLock.tryLock()) {
        m_log.message(QStringLiteral("VCS thread is busy when refreshing %1").arg(name));
        markForRetry(element, directory, name);
        return;
    }
    bool quick = false;
    if (!m_forceBackground) {
        ++m_counters.probes;
        quick = m_provider->probe(directory, m_options);
    }
    if (!quick) {
        if (threadBusy) {
            m_log.message(QStringLiteral("VCS thread is busy when refreshing %1").arg(name));
            markForRetry(element, directory, name);
        } else {
            startBackgroundQuery(directory);
        }
        m_providerLock.unlock();
        return;
    }
    m_log.message(QStringLiteral("Probing VCS successful for %1").arg(directory));
    SourceControlResults results;
    results.options = m_options;
    ++m_counters.immediateQueries;
    m_provider->queryStatus(directory, results);
    m_providerLock.unlock();
    const QString errors = std::exchange(results.errors, QString());
    reportErrors(errors);
    deliver(directory, std::move(results), errors);
}

void SourceControl::markForRetry(ProjectElement *element, const QString &directory,
                                 const QString &name)
{
    for (const Retry &retry : m_retries) {
        if (retry.element == element && retry.directory == directory)
            return;
    }
    ++m_counters.retriesMarked;
    m_retries.push_back({element, directory, name});
}

void SourceControl::startBackgroundQuery(const QString &directory)
{
    m_log.message(QStringLiteral("Launching background VCS status query in %1").arg(directory));
    m_queryStart.start();
    if (!m_thread) {
        m_thread = std::make_unique<SourceControlBackgroundUpdateThread>(m_providerLock, this);
        connect(m_thread.get(), &QThread::finished, this, [this] {
            if (m_delivered && !m_retries.empty())
                retryMarked();
            settle();
        });
    }
    m_thread->setQuery(m_provider, directory, m_options);
    m_queryDirectory = directory;
    m_delivered = false;
    ++m_counters.backgroundQueries;
    // Qt's priority value 7: the thread runs at the priority of the one that starts it.
    m_thread->start(QThread::InheritPriority);
}

void SourceControl::customEvent(QEvent *event)
{
    if (event->type() != SourceControlStatusUpdateEvent::eventType())
        return QObject::customEvent(event);
    auto *update = static_cast<SourceControlStatusUpdateEvent *>(event);
    reportErrors(update->errors);
    const qint64 took = m_queryStart.elapsed();
    if (took > slowMilliseconds)
        m_log.message(QStringLiteral("Threaded VCS query took %1 ms to deliver results").arg(took));
    m_delivered = true;
    m_queryDirectory.clear();
    deliver(update->directory, std::move(update->status), update->errors);
    settle();
}

void SourceControl::reportErrors(const QString &errors)
{
    const QStringList lines = errors.split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        if (!line.startsWith(QLatin1String("svn: "))) {
            m_log.error(line);
            continue;
        }
        const QString rest = line.mid(5);
        if (rest.startsWith(QLatin1String("warning: ")))
            m_log.warning(rest.mid(9));
        else if (rest.startsWith(QLatin1String("E200009: ")))
            m_log.warning(rest);
        else
            m_log.error(rest);
    }
}

// Delivers results on the main thread; the caller has reported their errors. The results are
// there at once; the project elements get their states a slice at a time.
void SourceControl::deliver(const QString &directory, SourceControlResults status,
                            const QString &errors)
{
    ++m_counters.deliveries;
    m_log.message(QStringLiteral("Received VCS results for %1").arg(directory));
    m_errors.insert(directory, errors);
    auto shared = std::make_shared<const SourceControlResults>(std::move(status));
    m_results.insert(directory, shared);
    emit resultsDelivered(directory);
    const QList<ProjectElement *> registered = m_elements.value(directory);
    if (!errors.isEmpty() || registered.isEmpty())
        return;
    // Newer results for a working copy replace an update of it that has not finished.
    std::erase_if(m_updates, [&](const std::unique_ptr<ElementStatusUpdate> &update) {
        return update->directory() == directory;
    });
    m_updates.push_back(
        std::make_unique<ElementStatusUpdate>(directory, std::move(shared), registered));
    runUpdates();
}

void SourceControl::runUpdates()
{
    m_sliceScheduled = false;
    if (m_updates.empty())
        return;
    ElementStatusUpdate &update = *m_updates.front();
    const auto starting = [this](ProjectElement *element) {
        QString text = QStringLiteral("Updating status for %1").arg(element->elementName());
        const ProjectElement *project = StandardProjectSystem::projectOf(element);
        if (project && project != element)
            text += QStringLiteral(" in %1").arg(project->elementName());
        m_log.message(text);
    };
    const auto finished = [this](ProjectElement *element) { emit statusChanged(element); };
    if (update.run(sliceMilliseconds, starting, finished)) {
        if (update.elapsedMilliseconds() > slowMilliseconds) {
            m_log.message(QStringLiteral("Project system VCS status took %1 ms to update")
                              .arg(update.elapsedMilliseconds()));
        }
        m_counters.elementsUpdated += update.elementsUpdated();
        m_updates.erase(m_updates.begin());
    }
    if (m_updates.empty()) {
        settle();
    } else if (!m_sliceScheduled) {
        m_sliceScheduled = true;
        QMetaObject::invokeMethod(this, &SourceControl::runUpdates, Qt::QueuedConnection);
    }
}

void SourceControl::retryMarked()
{
    std::vector<Retry> retries;
    retries.swap(m_retries);
    for (const Retry &retry : retries)
        refreshTarget(retry.element, retry.directory, retry.name);
    settle();
}

bool SourceControl::busy() const
{
    return m_lockHeld || !m_delivered || (m_thread && m_thread->isRunning()) || !m_retries.empty()
           || !m_updates.empty();
}

void SourceControl::settle()
{
    if (!m_working || busy())
        return;
    m_working = false;
    m_log.message(QStringLiteral("Source control information is now up to date"));
    emit upToDate();
}

void SourceControl::waitUntilUpToDate()
{
    while (busy())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

const SourceControlResults *SourceControl::results(const QString &directory) const
{
    const auto found = m_results.constFind(directory);
    return found == m_results.cend() ? nullptr : found->get();
}

QString SourceControl::errors(const QString &directory) const
{
    return m_errors.value(directory);
}

void SourceControl::purge()
{
    m_log.message(QStringLiteral("Purging current source control status"));
    m_elements.clear();
    m_results.clear();
    m_errors.clear();
    m_updates.clear();
    m_retries.clear();
    m_retryTimer.stop();
}

bool SourceControl::withProvider(
    const std::function<void(SourceCodeControlSystemInterface &)> &operation)
{
    if (!m_provider)
        return false;
    while (!m_providerLock.tryLock(10))
        QCoreApplication::processEvents();
    const bool wasHeld = std::exchange(m_lockHeld, true);
    operation(*m_provider);
    m_lockHeld = wasHeld;
    m_providerLock.unlock();
    return true;
}
