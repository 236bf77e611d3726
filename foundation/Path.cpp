#include "foundation/Path.h"
#include <QFile>
#include <QStringList>
#include <memory>

struct Path::Record {
    int count = 1;
    QString text;
    quint32 flags = 0;
    std::unique_ptr<QFileInfo> fileInfo;
};

Path::Path() : Path(QString()) {}

Path::Path(const QString &text, quint32 flags) : m_record(new Record)
{
    m_record->text = text;
    m_record->flags = flags;
}

Path::Path(const Path &other) : m_record(other.m_record)
{
    ++m_record->count;
}

Path::Path(Path &&other) noexcept : m_record(other.m_record)
{
    ++m_record->count;
}

// The source is counted up before the target is counted down, so a self-assignment is safe.
Path &Path::operator=(const Path &other)
{
    ++other.m_record->count;
    release();
    m_record = other.m_record;
    return *this;
}

Path &Path::operator=(Path &&other) noexcept
{
    return *this = static_cast<const Path &>(other);
}

Path::~Path()
{
    release();
}

void Path::release()
{
    if (--m_record->count == 0)
        delete m_record;
}

void Path::detach()
{
    if (m_record->count == 1)
        return;
    auto *copy = new Record;
    copy->text = m_record->text;
    copy->flags = m_record->flags;
    release();
    m_record = copy;
}

const QString &Path::text() const
{
    return m_record->text;
}

void Path::setText(const QString &text)
{
    detach();
    m_record->text = text;
    m_record->fileInfo.reset();
}

quint32 Path::flags() const
{
    return m_record->flags;
}

const QFileInfo &Path::fileInfo() const
{
    if (!m_record->fileInfo)
        m_record->fileInfo = std::make_unique<QFileInfo>(m_record->text);
    return *m_record->fileInfo;
}

Path Path::normalised() const
{
    const QString &path = text();
    QStringList parts;
    for (const QString &part : path.split(QLatin1Char('/'))) {
        if (part.isEmpty() || part == QLatin1String("."))
            continue;
        if (part == QLatin1String("..") && !parts.isEmpty() && parts.last() != QLatin1String(".."))
            parts.removeLast();
        else
            parts.append(part);
    }
    const QString joined = parts.join(QLatin1Char('/'));
    return Path(path.startsWith(QLatin1Char('/')) ? QLatin1Char('/') + joined : joined, flags());
}

Path Path::relativeTo(const Path &base) const
{
    if (base.text() == QLatin1String(".") || isEmpty())
        return *this;
    const QString absolutePath = QFileInfo(text()).absoluteFilePath();
    const QStringList own = absolutePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const QStringList from =
        QFileInfo(base.text()).absoluteFilePath().split(QLatin1Char('/'), Qt::SkipEmptyParts);
    qsizetype common = 0;
    while (common < own.size() && common < from.size() && own[common] == from[common])
        ++common;
    if (common == 0)
        return Path(absolutePath, flags());
    QString relative = QStringLiteral("../").repeated(from.size() - common);
    relative += own.mid(common).join(QLatin1Char('/'));
    if (relative.endsWith(QLatin1Char('/')))
        relative.chop(1);
    return Path(relative, flags());
}

Path Path::absolute(const Path &base) const
{
    if (QFileInfo(text()).isAbsolute() || base.isEmpty())
        return normalised();
    return Path(base.text() + QLatin1Char('/') + text(), flags()).normalised();
}

bool Path::exists() const
{
    return fileInfo().exists();
}

qint64 Path::size() const
{
    return fileInfo().size();
}

QDateTime Path::modificationTime() const
{
    return fileInfo().lastModified();
}

QString Path::directory() const
{
    return fileInfo().path();
}

QString Path::fileName() const
{
    return fileInfo().fileName();
}

QString Path::extension() const
{
    return fileInfo().suffix();
}

bool compareFiles(const QString &a, const QString &b)
{
    QFile first(a);
    QFile second(b);
    if (!first.exists() || !second.exists() || first.size() != second.size())
        return false;
    if (!first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly))
        return false;
    constexpr qint64 blockSize = 1 << 16;
    for (;;) {
        const QByteArray left = first.read(blockSize);
        const QByteArray right = second.read(blockSize);
        if (left != right)
            return false;
        if (left.isEmpty())
            return true;
    }
}
