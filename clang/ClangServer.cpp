#include "clang/ClangServer.h"
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

namespace {

// The names carry the process number, so one process has one server at a time.
int liveServers = 0;

constexpr int hangupGraceMilliseconds = 500;
constexpr int killGraceMilliseconds = 5000;

void sleepMilliseconds(int milliseconds)
{
    const timespec delay{0, long(milliseconds) * 1000000L};
    ::nanosleep(&delay, nullptr);
}

void drain(sem_t *semaphore)
{
    while (::sem_trywait(semaphore) == 0) {
    }
}

QString indexerProgram(const ClangSettings &settings)
{
    if (!settings.indexerProgram.isEmpty())
        return settings.indexerProgram;
    const QString fromEnvironment = qEnvironmentVariable("TESS_CLANG_INDEXER");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return installationDirectory() + QStringLiteral("/bin/index");
}

} // namespace

ClangServer::ClangServer(const QString &libraryPath, const ClangSettings &settings)
    : m_library(libraryPath), m_settings(settings), m_program(indexerProgram(settings)),
      m_names(::getpid())
{
    if (liveServers > 0)
        throw HException(QStringLiteral("Failed to create shared memory: this process already "
                                        "has an indexer"));
    removeStaleIndexerNames();
    create(m_names.sharedMemory, quint32(sharedAreaSize));
    m_call = openSemaphore(m_names.callSemaphore, true);
    if (m_call == SEM_FAILED) {
        unlink();
        throw HException(QStringLiteral("Failed to create call semaphore"));
    }
    m_return = openSemaphore(m_names.returnSemaphore, true);
    if (m_return == SEM_FAILED) {
        ::sem_close(m_call);
        ::sem_unlink(m_names.callSemaphore);
        unlink();
        throw HException(QStringLiteral("Failed to create return semaphore"));
    }
    try {
        startIndexer();
    } catch (...) {
        ::sem_close(m_call);
        ::sem_close(m_return);
        ::sem_unlink(m_names.callSemaphore);
        ::sem_unlink(m_names.returnSemaphore);
        unlink();
        throw;
    }
    ++liveServers;
}

ClangServer::~ClangServer()
{
    // Asked first, then made to: the destructor of Process kills what still runs.
    if (running()) {
        Process::kill();
        for (int waited = 0; waited < hangupGraceMilliseconds && check(); waited += 5)
            sleepMilliseconds(5);
    }
    ::sem_close(m_call);
    ::sem_close(m_return);
    ::sem_unlink(m_names.callSemaphore);
    ::sem_unlink(m_names.returnSemaphore);
    unlink();
    --liveServers;
}

void ClangServer::startIndexer()
{
    // A count left by an indexer that died between the semaphores would hand the new one an
    // old request, or us an old answer.
    drain(m_call);
    drain(m_return);
    const QString installation =
        installationDirectory().isEmpty()
            ? QFileInfo(m_program).absoluteDir().absoluteFilePath(QStringLiteral(".."))
            : installationDirectory();
    const QList<QByteArray> arguments = {QFile::encodeName(m_program),
                                         "-q",
                                         QFile::encodeName(m_library),
                                         m_names.sharedMemory,
                                         m_names.callSemaphore,
                                         m_names.returnSemaphore,
                                         QByteArray::number(::getpid()),
                                         "1>",
                                         "/dev/null"};
    if (start(arguments, false, QDir::cleanPath(installation), false, false) < 0)
        throw HException(QStringLiteral("Cannot start the indexer: %1").arg(errorString()));
}

void ClangServer::ensureIndexer()
{
    if (running())
        check();
    if (running())
        return;
    startIndexer();
    if (m_settings.notice)
        m_settings.notice(QStringLiteral("indexer restarted"));
}

void ClangServer::killIndexer()
{
    if (running()) {
        ::kill(pid(), SIGKILL);
        for (int waited = 0; waited < killGraceMilliseconds && check(); waited += 1)
            sleepMilliseconds(1);
    }
}

void ClangServer::trace(const char *format, ClangOperation code, ClangOperation other) const
{
    if (!m_settings.trace)
        return;
    char line[256];
    std::snprintf(line, sizeof line, format, clangOperationName(code), clangOperationName(other));
    m_settings.trace(QString::fromLatin1(line));
}

void ClangServer::setOperation(ClangOperation code)
{
    if (m_busy)
        trace("ClangServer::setOperation %s m_busy\n", code);
    if (m_stop)
        trace("ClangServer::setOperation %s m_stop\n", code);
    if (operation != ClangOperation::None)
        trace("ClangServer::setOperation %s!=NONE\n", code);
    operation = code;
}

void ClangServer::checkOperation(ClangOperation code)
{
    if (operation != code)
        trace("ClangServer::checkOperation %s!=%s\n", operation, code);
    if (!m_busy)
        trace("ClangServer::checkOperation %s !m_busy\n", code);
    if (m_stop)
        trace("ClangServer::checkOperation %s m_stop\n", code);
}

void ClangServer::clearOperation()
{
    if (m_busy)
        trace("ClangServer::clearOperation %s m_busy\n", operation);
    operation = ClangOperation::None;
}

void ClangServer::post()
{
    ::sem_post(m_call);
    m_busy = true;
    m_posted.start();
}

void ClangServer::abandon()
{
    m_busy = false;
    m_stop = false;
    m_pending.clear();
    operation = ClangOperation::None;
}

void ClangServer::begin(ClangOperation code, const ClangRequest &request)
{
    if (m_busy) {
        // The area belongs to the indexer until it answers: keep the request until then.
        QByteArray pending(qsizetype(requestSize(request)), Qt::Uninitialized);
        writeRequest(request, pending.data(), std::size_t(pending.size()));
        setOperation(code);
        m_pending = pending;
        m_stop = false;
        return;
    }
    ensureIndexer();
    writeRequest(request, data(), size());
    setOperation(code);
    post();
}

bool ClangServer::poll()
{
    if (!m_busy)
        return true;
    if (::sem_trywait(m_return) == 0) {
        m_busy = false;
        if (m_stop) {
            m_stop = false;
            m_pending.clear();
            clearOperation();
        } else if (!m_pending.isEmpty()) {
            std::memcpy(data(), m_pending.constData(), std::size_t(m_pending.size()));
            m_pending.clear();
            post();
            return false;
        }
        return true;
    }
    if (!check()) {
        abandon();
        throw HException(QStringLiteral("Indexer has terminated unexpectedly"));
    }
    const int timeout = m_settings.timeoutSeconds;
    if (timeout > 0 && m_posted.hasExpired(qint64(timeout) * 1000)) {
        killIndexer();
        abandon();
        throw HException(QStringLiteral("Indexer did not answer within %1 s").arg(timeout));
    }
    return false;
}

void ClangServer::stop()
{
    if (m_busy)
        m_stop = true;
    else
        clearOperation();
    m_pending.clear();
}

bool ClangServer::collect(ClangOperation code)
{
    checkOperation(code);
    poll();
    if (m_busy || operation != code)
        return false;
    const ClangCommand command = commandOf(code);
    clearOperation();
    deliverReply(command, readReply(command, data(), size()), m_destinations);
    return true;
}

void ClangServer::startCompletion(const QString &mainPath, int line, int column,
                                  const std::vector<ClangUnsavedFile> &unsaved,
                                  const QStringList &arguments, unsigned flags,
                                  const QString &sourcePath, bool prefixFromToken,
                                  std::vector<ClangCompletion> *destination)
{
    begin(ClangOperation::Completion, completionRequest(mainPath, line, column, unsaved, arguments,
                                                        flags, sourcePath, prefixFromToken));
    m_destinations.completions = destination;
}

void ClangServer::startRanges(const ClangUnit &unit, unsigned parseOptions,
                              std::vector<ClangRange> *destination)
{
    begin(ClangOperation::Ranges, unitRequest(ClangCommand::Ranges, unit, parseOptions));
    m_destinations.ranges = destination;
}

void ClangServer::startIndex(const ClangUnit &unit, unsigned parseOptions,
                             std::vector<ClangSymbol> *destination)
{
    begin(ClangOperation::Index, unitRequest(ClangCommand::Index, unit, parseOptions));
    m_destinations.symbols = destination;
}

void ClangServer::startCursorReferenced(const ClangUnit &unit, unsigned parseOptions, int line,
                                        int column, std::vector<ClangSymbol> *destination)
{
    begin(ClangOperation::CursorReferenced,
          unitRequest(ClangCommand::CursorReferenced, unit, parseOptions, line, column));
    m_destinations.symbols = destination;
}

void ClangServer::startReferences(const ClangUnit &unit, unsigned parseOptions, int line,
                                  int column, std::vector<ClangLocation> *destination)
{
    begin(ClangOperation::References,
          unitRequest(ClangCommand::References, unit, parseOptions, line, column));
    m_destinations.locations = destination;
}

void ClangServer::startCursorEvaluate(const ClangUnit &unit, unsigned parseOptions, int line,
                                      int column, QString *destination)
{
    begin(ClangOperation::CursorEvaluate,
          unitRequest(ClangCommand::CursorEvaluate, unit, parseOptions, line, column));
    m_destinations.evaluation = destination;
}
