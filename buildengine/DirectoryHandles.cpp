#include "buildengine/DirectoryHandles.h"
#include <fcntl.h>
#include <unistd.h>

DirectoryHandles::~DirectoryHandles()
{
    clear();
}

DirectoryHandles &DirectoryHandles::shared()
{
    static DirectoryHandles handles;
    return handles;
}

void DirectoryHandles::clear()
{
    for (const int handle : std::as_const(m_handles)) {
        if (handle >= 0)
            ::close(handle);
    }
    m_handles.clear();
}

int DirectoryHandles::handleOf(const QByteArray &path, qsizetype &nameAt)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (!path.startsWith('/') || slash <= 0 || slash + 1 >= path.size())
        return -1;
    nameAt = slash + 1;
    const QByteArray directory = path.left(slash);
    if (const auto it = m_handles.constFind(directory); it != m_handles.constEnd())
        return it.value();
    const int handle = ::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // A directory that isn't there yet may be made by a later step: only handles are kept.
    if (handle < 0)
        return -1;
    if (m_handles.size() >= maxHandles)
        clear();
    m_handles.insert(directory, handle);
    return handle;
}

bool DirectoryHandles::stat(const QByteArray &path, struct stat &info)
{
    qsizetype nameAt = 0;
    const int handle = handleOf(path, nameAt);
    if (handle < 0)
        return ::stat(path.constData(), &info) == 0;
    return ::fstatat(handle, path.constData() + nameAt, &info, 0) == 0;
}

int DirectoryHandles::openForReading(const QByteArray &path)
{
    qsizetype nameAt = 0;
    const int handle = handleOf(path, nameAt);
    if (handle < 0)
        return ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    return ::openat(handle, path.constData() + nameAt, O_RDONLY | O_CLOEXEC);
}
