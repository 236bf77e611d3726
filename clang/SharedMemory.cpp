#include "clang/SharedMemory.h"
#include "foundation/HException.h"
#include <QDir>
#include <QRegularExpression>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// The POSIX side of the shared area: shm_open, ftruncate, mmap and named semaphores. On Linux
// both kinds of names live as files in /dev/shm, which is where stale ones are found.

namespace {

constexpr const char *namesDirectory = "/dev/shm";

[[noreturn]] void failCreate()
{
    if (errno == ENOSYS)
        throw HException(QStringLiteral("Clang is not supported on this OS version"));
    throw HException(QStringLiteral("Failed to create shared memory"));
}

} // namespace

SharedMemory::~SharedMemory()
{
    release();
}

void SharedMemory::release()
{
    if (m_data)
        ::munmap(m_data, m_size);
    m_data = nullptr;
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

void SharedMemory::create(const QByteArray &name, quint32 size)
{
    release();
    m_name = name;
    ::shm_unlink(name.constData());
    m_fd = ::shm_open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (m_fd < 0)
        failCreate();
    if (::ftruncate(m_fd, off_t(size)) != 0) {
        const int error = errno;
        release();
        ::shm_unlink(name.constData());
        errno = error;
        failCreate();
    }
    map(PROT_READ | PROT_WRITE, size);
    if (!m_data) {
        ::shm_unlink(name.constData());
        failCreate();
    }
}

void SharedMemory::open(const QByteArray &name, quint32 size)
{
    release();
    m_name = name;
    m_fd = ::shm_open(name.constData(), O_RDWR | O_CLOEXEC, 0);
    if (m_fd < 0)
        throw HException(
            QStringLiteral("Cannot open shared memory %1").arg(QString::fromUtf8(name)));
    struct stat status {};
    if (::fstat(m_fd, &status) != 0 || quint64(status.st_size) < size) {
        release();
        throw HException(QStringLiteral("Shared memory %1 is smaller than %2 bytes")
                             .arg(QString::fromUtf8(name))
                             .arg(size));
    }
    map(PROT_READ | PROT_WRITE, size);
    if (!m_data)
        throw HException(
            QStringLiteral("Cannot map shared memory %1").arg(QString::fromUtf8(name)));
}

void SharedMemory::map(int protection, quint32 size)
{
    void *address = ::mmap(nullptr, size, protection, MAP_SHARED, m_fd, 0);
    if (address == MAP_FAILED) {
        const int error = errno;
        release();
        errno = error;
        return;
    }
    m_data = static_cast<char *>(address);
    m_size = size;
}

void SharedMemory::unlink() const
{
    if (!m_name.isEmpty())
        ::shm_unlink(m_name.constData());
}

IndexerNames::IndexerNames(pid_t pid)
{
    std::snprintf(sharedMemory, sizeof sharedMemory, "index_%d_shared_memory", int(pid));
    std::snprintf(callSemaphore, sizeof callSemaphore, "/index_%d_call_semaphore", int(pid));
    std::snprintf(returnSemaphore, sizeof returnSemaphore, "/index_%d_ret_semaphore", int(pid));
}

sem_t *openSemaphore(const char *name, bool create)
{
    if (!create)
        return ::sem_open(name, 0);
    ::sem_unlink(name);
    return ::sem_open(name, O_CREAT | O_EXCL, 0600, 0);
}

int removeStaleIndexerNames()
{
    static const QRegularExpression pattern(
        QStringLiteral("^(sem\\.)?index_(\\d+)_(shared_memory|call_semaphore|ret_semaphore)$"));
    const QStringList entries =
        QDir(QLatin1String(namesDirectory)).entryList(QDir::Files | QDir::System);
    int removed = 0;
    for (const QString &entry : entries) {
        const QRegularExpressionMatch match = pattern.match(entry);
        if (!match.hasMatch())
            continue;
        bool ok = false;
        const pid_t pid = pid_t(match.captured(2).toLongLong(&ok));
        if (!ok || pid <= 0 || pid == ::getpid() || ::kill(pid, 0) == 0 || errno != ESRCH)
            continue;
        const bool semaphore = !match.captured(1).isEmpty();
        const QByteArray name = semaphore ? '/' + entry.mid(4).toUtf8() : entry.toUtf8();
        if ((semaphore ? ::sem_unlink(name.constData()) : ::shm_unlink(name.constData())) == 0)
            ++removed;
    }
    return removed;
}
