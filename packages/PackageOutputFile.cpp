#include "packages/PackageOutputFile.h"
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString &path)
{
    return QFile::encodeName(path);
}

} // namespace

quint32 defaultFileMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return quint32(0666 & ~mask);
}

PackageOutputFile::PackageOutputFile(QString targetPath) : m_targetPath(std::move(targetPath))
{
    const QFileInfo info(m_targetPath);
    QByteArray pattern = encoded(info.path() + QStringLiteral("/.") + info.fileName() + QStringLiteral(".tess-XXXXXX"));
    m_descriptor = mkostemp(pattern.data(), O_CLOEXEC);
    if (m_descriptor >= 0)
        m_temporaryPath = QFile::decodeName(pattern);
}

PackageOutputFile::~PackageOutputFile()
{
    (void)close();
    if (!m_temporaryPath.isEmpty())
        ::unlink(encoded(m_temporaryPath).constData());
}

bool PackageOutputFile::write(const char *data, qint64 size)
{
    while (size > 0 && m_descriptor >= 0 && !m_closed) {
        const ssize_t written = ::write(m_descriptor, data, size_t(size));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        data += written;
        size -= written;
    }
    if (size > 0)
        m_writeFailed = true;
    return size == 0;
}

FILE *PackageOutputFile::stream()
{
    if (!m_stream && m_descriptor >= 0 && !m_closed)
        m_stream = fdopen(m_descriptor, "wb");
    return m_stream;
}

bool PackageOutputFile::setModeAndTime(quint32 mode, std::optional<quint32> time)
{
    if (m_descriptor < 0 || m_closed)
        return false;
    if (m_stream && std::fflush(m_stream) != 0)
        m_writeFailed = true;
    if (::fchmod(m_descriptor, mode_t(mode & 0777)) != 0)
        return false;
    if (time) {
        const timespec times[2] = {{time_t(*time), 0}, {time_t(*time), 0}};
        if (::futimens(m_descriptor, times) != 0)
            return false;
    }
    return true;
}

bool PackageOutputFile::close()
{
    if (m_closed || m_descriptor < 0)
        return !m_writeFailed && m_descriptor >= 0;
    m_closed = true;
    bool ok = !m_writeFailed;
    if (m_stream) {
        ok = std::fclose(m_stream) == 0 && ok;
        m_stream = nullptr;
    } else {
        ok = ::close(m_descriptor) == 0 && ok;
    }
    m_writeFailed = !ok;
    return ok;
}

bool PackageOutputFile::replaceTarget()
{
    if (!close())
        return false;
    if (::rename(encoded(m_temporaryPath).constData(), encoded(m_targetPath).constData()) != 0)
        return false;
    m_temporaryPath.clear();
    return true;
}
