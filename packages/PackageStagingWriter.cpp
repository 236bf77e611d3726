#include "packages/PackageStagingWriter.h"
#include "foundation/HException.h"
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

PackageStagingWriter::PackageStagingWriter(Texts texts) : m_texts(std::move(texts)), m_thread([this] { run(); }) {}

PackageStagingWriter::~PackageStagingWriter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_queue.clear();
    }
    m_changed.notify_all();
    m_thread.join();
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void PackageStagingWriter::throwIfFailed()
{
    if (!m_failure.isEmpty())
        throw HException(m_failure);
}

void PackageStagingWriter::push(Command command)
{
    std::unique_lock lock(m_mutex);
    waitAsReader(lock, [this] { return m_queuedBytes < maxQueuedBytes || !m_failure.isEmpty(); });
    throwIfFailed();
    // The writer sleeps only on an empty queue; otherwise it comes round to this command itself.
    const bool wake = m_queue.empty();
    m_queuedBytes += qint64(command.bytes.size());
    m_queue.push_back(std::move(command));
    lock.unlock();
    if (wake)
        m_changed.notify_all();
}

template <typename Ready> void PackageStagingWriter::waitAsReader(std::unique_lock<std::mutex> &lock, Ready ready)
{
    while (!ready()) {
        m_readerWaiting = true;
        m_changed.wait(lock);
        m_readerWaiting = false;
    }
}

void PackageStagingWriter::open(const QString &path, const QString &target)
{
    push({Command::Kind::Open, path.toLocal8Bit().toStdString(), target});
}

void PackageStagingWriter::write(const char *data, qint64 size)
{
    push({Command::Kind::Data, std::string(data, size_t(size)), {}});
}

void PackageStagingWriter::close(quint32 mode, quint32 time)
{
    push({Command::Kind::Close, {}, {}, mode, time});
}

void PackageStagingWriter::finish()
{
    std::unique_lock lock(m_mutex);
    waitAsReader(lock, [this] { return (m_queue.empty() && !m_busy) || !m_failure.isEmpty(); });
    throwIfFailed();
}

void PackageStagingWriter::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_queue.empty() || m_stopping; });
        if (m_stopping)
            return;
        // Everything queued is taken at once: one lock per batch rather than per command.
        std::deque<Command> batch;
        batch.swap(m_queue);
        m_busy = true;
        bool skip = !m_failure.isEmpty();
        lock.unlock();
        QString failure;
        qint64 bytes = 0;
        for (Command &command : batch) {
            bytes += qint64(command.bytes.size());
            if (skip)
                continue;
            try {
                execute(command);
            } catch (const HException &error) {
                failure = error.message();
                skip = true;
            }
        }
        batch.clear();
        lock.lock();
        m_busy = false;
        m_queuedBytes -= bytes;
        if (!failure.isEmpty() && m_failure.isEmpty())
            m_failure = failure;
        if (m_readerWaiting)
            m_changed.notify_all();
    }
}

// On the writer's thread; throws to report a failure.
void PackageStagingWriter::execute(Command &command)
{
    switch (command.kind) {
    case Command::Kind::Open:
        m_target = command.target;
        m_descriptor = ::open(command.bytes.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (m_descriptor < 0)
            throw HException(m_texts.create.arg(m_target));
        return;
    case Command::Kind::Data: {
        const char *data = command.bytes.data();
        size_t left = command.bytes.size();
        while (left > 0) {
            const ssize_t written = ::write(m_descriptor, data, left);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                throw HException(m_texts.write.arg(m_target));
            data += written;
            left -= size_t(written);
        }
        return;
    }
    case Command::Kind::Close: {
        const timespec times[2] = {{time_t(command.time), 0}, {time_t(command.time), 0}};
        const bool modeSet = ::fchmod(m_descriptor, mode_t(command.mode & 0777)) == 0 && ::futimens(m_descriptor, times) == 0;
        const bool closed = ::close(m_descriptor) == 0;
        m_descriptor = -1;
        if (!modeSet)
            throw HException(m_texts.mode.arg(m_target));
        if (!closed)
            throw HException(m_texts.write.arg(m_target));
        return;
    }
    }
}
