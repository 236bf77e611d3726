#pragma once
#include <QString>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

// Writes staged files on a thread of its own while the caller decompresses, so that the two
// overlap as they would across a pipe. At most maxQueuedBytes wait between them, which bounds
// the memory whatever the archive holds. Files are created anew (never replacing anything) in
// a private staging folder, so a failure leaves nothing to clean up there but the folder.
class PackageStagingWriter {
public:
    static constexpr qint64 maxQueuedBytes = qint64(8) << 20;

    // Texts of the three failures, "%1" the target named in messages.
    struct Texts {
        QString create;
        QString write;
        QString mode;
    };

    explicit PackageStagingWriter(Texts texts);
    ~PackageStagingWriter();   // abandons what is queued
    PackageStagingWriter(const PackageStagingWriter &) = delete;
    PackageStagingWriter &operator=(const PackageStagingWriter &) = delete;

    // Each throws HException with the first failure the writer met so far.
    void open(const QString &path, const QString &target);
    void write(const char *data, qint64 size);
    void close(quint32 mode, quint32 time);
    // Waits until everything queued is written.
    void finish();

private:
    struct Command {
        enum class Kind { Open, Data, Close } kind;
        std::string bytes;   // the path for Open, the data for Data
        QString target;
        quint32 mode = 0;
        quint32 time = 0;
    };

    void push(Command command);
    template <typename Ready> void waitAsReader(std::unique_lock<std::mutex> &lock, Ready ready);
    void throwIfFailed();
    void run();
    void execute(Command &command);

    Texts m_texts;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Command> m_queue;
    qint64 m_queuedBytes = 0;
    bool m_busy = false;      // the writer holds a command it took from the queue
    bool m_stopping = false;
    // The reader waits for room or for the end: only then does the writer wake it, so small
    // files do not cost a wake-up each.
    bool m_readerWaiting = false;
    QString m_failure;        // the first failure; the writer skips everything after it
    int m_descriptor = -1;    // the file being written, on the writer's side
    QString m_target;
    std::thread m_thread;     // last: starts once everything above exists
};
