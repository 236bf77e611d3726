#include "debug/HByteStream.h"
#include "foundation/HException.h"
#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

HByteStream::~HByteStream() = default;

HFileInputByteStream::HFileInputByteStream(const QString &path) : m_path(path)
{
    m_descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (m_descriptor < 0)
        throw HException(QStringLiteral("cannot open ") + path);
}

HFileInputByteStream::~HFileInputByteStream()
{
    ::close(m_descriptor);
}

qint64 HFileInputByteStream::read(void *buffer, qint64 length)
{
    qint64 done = 0;
    while (done < length) {
        const ssize_t count = ::read(m_descriptor, static_cast<char *>(buffer) + done,
                                     size_t(length - done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw HException(QStringLiteral("cannot read ") + m_path);
        if (count == 0)
            break;
        done += count;
    }
    return done;
}

qint64 HFileInputByteStream::size() const
{
    struct stat status = {};
    if (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    return qint64(status.st_size);
}
