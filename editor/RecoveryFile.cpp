#include "editor/RecoveryFile.h"
#include "foundation/Directories.h"
#include "foundation/MD5Sum.h"
#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

CodeEditRecoveryFile::~CodeEditRecoveryFile()
{
    release();
}

QString CodeEditRecoveryFile::folder()
{
    QString data = qEnvironmentVariable("XDG_DATA_HOME");
    if (data.isEmpty() || !QDir::isAbsolutePath(data))
        data = userDataDirectory();
    return data + QStringLiteral("/Tessmark/unsaved");
}

QString CodeEditRecoveryFile::pathFor(const QString &documentPath)
{
    const QFileInfo info(documentPath);
    const QString full = info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
    return folder() + u'/' + info.fileName() + u'.' + MD5Sum::md5OfString(full).left(16);
}

void CodeEditRecoveryFile::release()
{
    if (m_descriptor < 0)
        return;
    ::flock(m_descriptor, LOCK_UN);
    ::close(m_descriptor);
    m_descriptor = -1;
}

bool CodeEditRecoveryFile::open(bool create)
{
    if (m_descriptor >= 0)
        return true;
    if (create && !QDir().mkpath(folder())) {
        m_error = QStringLiteral("Can't create folder %1").arg(folder());
        return false;
    }
    const QByteArray name = QFile::encodeName(m_path);
    const int descriptor = ::open(name.constData(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0600);
    if (descriptor < 0) {
        m_error = QStringLiteral("Can't open %1 (%2)").arg(m_path, systemError());
        return false;
    }
    struct stat status;
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        m_error = QStringLiteral("Can't use %1: not a regular file").arg(m_path);
        ::close(descriptor);
        return false;
    }
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        m_error = QStringLiteral("Recovery file %1 is in use by another document").arg(m_path);
        ::close(descriptor);
        return false;
    }
    m_descriptor = descriptor;
    return true;
}

std::optional<QByteArray> CodeEditRecoveryFile::read(qint64 limit)
{
    struct stat status;
    if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0 || status.st_size > limit)
        return std::nullopt;
    QByteArray bytes(qsizetype(status.st_size), Qt::Uninitialized);
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t got = ::pread(m_descriptor, bytes.data() + done, size_t(bytes.size() - done), done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return std::nullopt;
        done += got;
    }
    return bytes;
}

bool CodeEditRecoveryFile::write(const QByteArray &bytes)
{
    if (m_descriptor < 0 || ::ftruncate(m_descriptor, 0) != 0) {
        m_error = QStringLiteral("Can't write %1 (%2)").arg(m_path, systemError());
        return false;
    }
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t put = ::pwrite(m_descriptor, bytes.constData() + done, size_t(bytes.size() - done), done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            m_error = QStringLiteral("Can't write %1 (%2)").arg(m_path, systemError());
            return false;
        }
        done += put;
    }
    return true;
}

void CodeEditRecoveryFile::remove()
{
    release();
    QFile::remove(m_path);
    QDir().rmdir(folder());
}
