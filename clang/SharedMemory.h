#pragma once
#include <QByteArray>
#include <QtGlobal>
#include <semaphore.h>
#include <sys/types.h>

// A named POSIX shared-memory area mapped for reading and writing. The environment makes it;
// its indexer opens it by name. Unmapped on destruction; the name stays until unlink().
class SharedMemory {
public:
    SharedMemory() = default;
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;
    virtual ~SharedMemory();

    // Makes a fresh area of `size` bytes, removing any of that name first. Throws HException
    // "Failed to create shared memory".
    void create(const QByteArray &name, quint32 size);
    // Maps an existing area. Throws HException.
    void open(const QByteArray &name, quint32 size);
    void unlink() const;

    [[nodiscard]] const QByteArray &name() const { return m_name; }
    [[nodiscard]] quint32 size() const { return m_size; }
    [[nodiscard]] char *data() const { return m_data; }
    [[nodiscard]] int fd() const { return m_fd; }

private:
    void map(int protection, quint32 size);
    void release();

    QByteArray m_name;
    quint32 m_size = 0;
    char *m_data = nullptr;
    int m_fd = -1;
};

// The names of the objects an environment shares with its indexer, made from its process
// number; each is formatted into a buffer of 128 bytes.
struct IndexerNames {
    explicit IndexerNames(pid_t pid);
    char sharedMemory[128];
    char callSemaphore[128];
    char returnSemaphore[128];
};

// Opens a named semaphore, made afresh with value 0 (a name left behind is removed first, so a
// recycled process number never meets an old count) or, with `create` false, one that exists.
// SEM_FAILED on failure.
[[nodiscard]] sem_t *openSemaphore(const char *name, bool create);

// Removes the names of indexer objects whose environment no longer runs: left behind when an
// environment and its indexer were both killed. Returns how many names were removed.
int removeStaleIndexerNames();
