#pragma once
#include "buildengine/Process.h"
#include "clang/ClangInterface.h"
#include "clang/Protocol.h"
#include "clang/SharedMemory.h"
#include <QElapsedTimer>
#include <semaphore.h>

// The code intelligence in a separate process: the indexer program runs libclang, so a crash
// of the library on a half-written source fails one request and leaves the environment
// standing. The two talk through one shared area and two named semaphores: the environment
// writes a request and posts the call semaphore; the indexer answers in the same area and
// posts the return semaphore, which the environment only ever tries (sem_trywait), so it never
// blocks.
//
// States: idle (no operation, not busy), running (operation set, busy), ready (the return
// semaphore taken: not busy, operation still set), and idle again after the collect.
class ClangServer : public ClangInterface, public Process, public SharedMemory {
public:
    // Makes the shared area and the semaphores and starts the indexer. Throws HException with
    // "Failed to create shared memory", "Failed to create call semaphore", "Failed to create
    // return semaphore", or why the indexer could not be started. Only `indexerProgram`,
    // `timeoutSeconds`, `trace` and `notice` of the settings are read.
    explicit ClangServer(const QString &libraryPath, const ClangSettings &settings = {});
    ~ClangServer() override;

    // Throws HException "Indexer has terminated unexpectedly" when the indexer ended during
    // the operation, and "Indexer did not answer within S s" past the deadline (the indexer
    // is then killed). Either way the operation is over, and the next request starts a new
    // indexer.
    bool poll() override;
    void stop() override;

    void startCompletion(const QString &mainPath, int line, int column,
                         const std::vector<ClangUnsavedFile> &unsaved, const QStringList &arguments,
                         unsigned flags, const QString &sourcePath, bool prefixFromToken,
                         std::vector<ClangCompletion> *destination) override;
    bool collectCompletion() override { return collect(ClangOperation::Completion); }
    void startRanges(const ClangUnit &unit, unsigned parseOptions,
                     std::vector<ClangRange> *destination) override;
    bool collectRanges() override { return collect(ClangOperation::Ranges); }
    void startIndex(const ClangUnit &unit, unsigned parseOptions,
                    std::vector<ClangSymbol> *destination) override;
    bool collectIndex() override { return collect(ClangOperation::Index); }
    void startCursorReferenced(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                               std::vector<ClangSymbol> *destination) override;
    bool collectCursorReferenced() override { return collect(ClangOperation::CursorReferenced); }
    void startReferences(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                         std::vector<ClangLocation> *destination) override;
    bool collectReferences() override { return collect(ClangOperation::References); }
    void startCursorEvaluate(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                             QString *destination) override;
    bool collectCursorEvaluate() override { return collect(ClangOperation::CursorEvaluate); }

    [[nodiscard]] ClangOperation currentOperation() const { return operation; }
    [[nodiscard]] bool busy() const { return m_busy; }
    [[nodiscard]] const IndexerNames &names() const { return m_names; }
    // Kills the indexer at once; an operation in flight fails at the next poll, and the next
    // request starts a new indexer.
    void killIndexer();

private:
    void startIndexer();
    void ensureIndexer();
    void begin(ClangOperation code, const ClangRequest &request);
    bool collect(ClangOperation code);
    void post();
    void abandon();
    void setOperation(ClangOperation code);
    void checkOperation(ClangOperation code);
    void clearOperation();
    void trace(const char *format, ClangOperation code, ClangOperation other = {}) const;

    QString m_library;
    ClangSettings m_settings;
    QString m_program;
    IndexerNames m_names;
    sem_t *m_call = SEM_FAILED;
    sem_t *m_return = SEM_FAILED;
    quint8 m_busy = false; // from the request's post until its result has been seen
    quint8 m_stop = false; // the result of the running operation is to be thrown away
    ClangOperation operation = ClangOperation::None;
    ClangDestinations m_destinations;
    QElapsedTimer m_posted;
    // A request started while the previous one still runs: sent when that one's result (thrown
    // away) arrives, since the area is the indexer's until then.
    QByteArray m_pending;
};
