#include "editor/SafeFileWriter.h"
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr qsizetype bufferSize = 1 << 20;
constexpr qsizetype directSize = 1 << 16;   // pieces this large skip the buffer
constexpr int nameAttempts = 100;

// Where a write to `path` must land: through symbolic links to the file they name.
QString writeTarget(const QString &path)
{
    QFileInfo info(path);
    for (int hops = 0; info.isSymLink() && hops < 40; ++hops)
        info.setFile(info.symLinkTarget());
    return info.filePath();
}

} // namespace

SafeFileWriter::~SafeFileWriter()
{
    discard();
}

void SafeFileWriter::fail(const QString &what)
{
    m_error = QStringLiteral("%1 (%2)").arg(what, QString::fromLocal8Bit(std::strerror(errno)));
}

void SafeFileWriter::discard()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    if (!m_temporary.isEmpty())
        ::unlink(QFile::encodeName(m_temporary).constData());
    m_temporary.clear();
}

bool SafeFileWriter::open()
{
    m_target = writeTarget(m_path);
    const QFileInfo target(m_target);
    // The rename would replace a file we may not write; refuse as opening it would.
    if (target.exists() && ::access(QFile::encodeName(m_target).constData(), W_OK) != 0) {
        fail(QStringLiteral("Can't write %1").arg(m_target));
        return false;
    }
    const QString prefix = target.absolutePath() + QStringLiteral("/.") + target.fileName() + QStringLiteral(".tess-");
    // Mode 0666 lets the umask decide for a new file; an existing one lends its mode below.
    for (int attempt = 0; attempt < nameAttempts && m_descriptor < 0; ++attempt) {
        m_temporary = prefix + QString::number(QRandomGenerator::global()->generate(), 36);
        m_descriptor = ::open(QFile::encodeName(m_temporary).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_descriptor < 0 && errno != EEXIST)
            break;
    }
    if (m_descriptor < 0) {
        fail(QStringLiteral("Can't create a file in %1").arg(target.absolutePath()));
        m_temporary.clear();
        return false;
    }
    struct stat status;
    if (::stat(QFile::encodeName(m_target).constData(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            errno = EISDIR;
            fail(QStringLiteral("%1 is not a regular file").arg(m_target));
            discard();
            return false;
        }
        ::fchmod(m_descriptor, status.st_mode & 07777);
        // Only a privileged user can give the file back to its owner; others keep their own.
        if (::fchown(m_descriptor, status.st_uid, status.st_gid) != 0)
            errno = 0;
    }
    m_buffer.reserve(bufferSize);
    return true;
}

bool SafeFileWriter::writeOut(const char *data, qsizetype size)
{
    while (size > 0) {
        const ssize_t put = ::write(m_descriptor, data, size_t(size));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            fail(QStringLiteral("Can't write %1").arg(m_target));
            return false;
        }
        data += put;
        size -= put;
    }
    return true;
}

bool SafeFileWriter::flush()
{
    const bool ok = writeOut(m_buffer.constData(), m_buffer.size());
    m_buffer.resize(0);
    return ok;
}

bool SafeFileWriter::write(const char *data, qsizetype size)
{
    if (m_descriptor < 0)
        return false;
    m_written += size;
    if (size < directSize) {
        if (m_buffer.size() + size > bufferSize && !flush())
            return false;
        m_buffer.append(data, size);
        return true;
    }
    // Large pieces go out from where they are, behind what the buffer holds, in one call.
    iovec pieces[2] = {{m_buffer.data(), size_t(m_buffer.size())}, {const_cast<char *>(data), size_t(size)}};
    int first = m_buffer.isEmpty() ? 1 : 0;
    while (first < 2) {
        const ssize_t put = ::writev(m_descriptor, pieces + first, 2 - first);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            fail(QStringLiteral("Can't write %1").arg(m_target));
            return false;
        }
        size_t done = size_t(put);
        while (first < 2 && done >= pieces[first].iov_len)
            done -= pieces[first++].iov_len;
        if (first < 2) {
            pieces[first].iov_base = static_cast<char *>(pieces[first].iov_base) + done;
            pieces[first].iov_len -= done;
        }
    }
    m_buffer.resize(0);
    return true;
}

bool SafeFileWriter::commit()
{
    if (m_descriptor < 0 || !flush())
        return false;
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (::close(descriptor) != 0) {
        fail(QStringLiteral("Can't write %1").arg(m_target));
        return false;
    }
    if (::rename(QFile::encodeName(m_temporary).constData(), QFile::encodeName(m_target).constData()) != 0) {
        fail(QStringLiteral("Can't replace %1").arg(m_target));
        return false;
    }
    m_temporary.clear();
    return true;
}
