#include "buildengine/DependencyFile.h"
#include "buildengine/DirectoryHandles.h"
#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[nodiscard]] bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

[[nodiscard]] QByteArrayView trimmed(QByteArrayView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && (isBlank(text[begin]) || text[begin] == '\r'))
        ++begin;
    while (end > begin && (isBlank(text[end - 1]) || text[end - 1] == '\r'))
        --end;
    return text.sliced(begin, end - begin);
}

// Appends the names of one line, split at blanks; "\ " keeps a blank inside a name.
void appendNames(QByteArrayView line, QStringList &names)
{
    QByteArray name;
    const qsizetype size = line.size();
    qsizetype i = 0;
    while (i < size) {
        while (i < size && line[i] == ' ')
            ++i;
        const qsizetype start = i;
        bool escaped = false;
        while (i < size && line[i] != ' ') {
            if (line[i] == '\\' && i + 1 < size && line[i + 1] == ' ') {
                escaped = true;
                i += 2;
            } else {
                ++i;
            }
        }
        if (i == start)
            continue;
        if (!escaped) {
            names.append(QString::fromUtf8(line.sliced(start, i - start)));
            continue;
        }
        name.clear();
        for (qsizetype j = start; j < i; ++j) {
            if (line[j] == '\\' && j + 1 < i && line[j + 1] == ' ')
                ++j;
            name.append(line[j]);
        }
        names.append(QString::fromUtf8(name));
    }
}

// The part of a line that holds names: all of a continuation line, the text behind ": " of a
// rule line, nothing of a rule line without ": ".
[[nodiscard]] bool namesOfLine(QByteArrayView line, QByteArrayView &names)
{
    if (isBlank(line[0])) {
        names = line;
        return true;
    }
    const qsizetype separator = line.indexOf(QByteArrayView(": "));
    if (separator < 0)
        return false;
    names = line.sliced(separator + 2);
    return true;
}

} // namespace

QStringList parseDependencies(QByteArrayView text)
{
    QStringList names;
    qsizetype pos = 0;
    while (pos < text.size()) {
        const void *hit = std::memchr(text.data() + pos, '\n', size_t(text.size() - pos));
        const qsizetype end = hit ? static_cast<const char *>(hit) - text.data() : text.size();
        const QByteArrayView line = text.sliced(pos, end - pos);
        pos = end + 1;
        QByteArrayView part;
        if (line.isEmpty() || !namesOfLine(line, part))
            continue;
        part = trimmed(part);
        if (part.endsWith('\\'))
            part.chop(1);
        appendNames(trimmed(part), names);
    }
    if (!names.isEmpty())
        names.removeFirst();
    return names;
}

QStringList readDependencyFile(const QString &path, QString *error)
{
    // Read once per compiled file on every build, so straight through the system calls. Most
    // files are a few hundred bytes: a first read into a buffer on the stack that comes back
    // short has read it all (a regular file gives what it has), and spares asking for its size.
    const int descriptor = DirectoryHandles::shared().openForReading(path.toUtf8());
    if (descriptor < 0)
        return {};
    char first[8192];
    ssize_t got;
    while ((got = ::read(descriptor, first, sizeof first)) < 0 && errno == EINTR) {
    }
    if (got < qsizetype(sizeof first)) {
        ::close(descriptor);
        return got > 0 ? parseDependencies(QByteArrayView(first, got)) : QStringList();
    }
    struct stat info {};
    QByteArray text;
    const bool stated = ::fstat(descriptor, &info) == 0;
    const bool fits = stated && info.st_size <= dependencyFileLimit;
    if (fits) {
        text.resize(qMax(qsizetype(info.st_size), qsizetype(sizeof first)));
        std::memcpy(text.data(), first, sizeof first);
        qsizetype done = sizeof first;
        while (done < text.size()) {
            const ssize_t more = ::read(descriptor, text.data() + done, size_t(text.size() - done));
            if (more < 0 && errno == EINTR)
                continue;
            if (more <= 0)
                break;
            done += more;
        }
        text.truncate(done);
    }
    ::close(descriptor);
    if (!fits) {
        if (error && stated)
            *error = QStringLiteral("%1: dependency file of %2 bytes is too large")
                         .arg(path)
                         .arg(qint64(info.st_size));
        return {};
    }
    return parseDependencies(text);
}
