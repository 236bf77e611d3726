#include "sourcecontrol/SourceControlLog.h"
#include <QMutexLocker>

namespace {

constexpr QLatin1String mask("********");

}   // namespace

void SourceControlLog::setSink(Sink sink)
{
    const QMutexLocker locker(&m_mutex);
    m_sink = std::move(sink);
}

void SourceControlLog::setKeptLines(int limit)
{
    const QMutexLocker locker(&m_mutex);
    m_keptLimit = qMax(0, limit);
    while (m_kept.size() > m_keptLimit)
        m_kept.removeFirst();
}

QStringList SourceControlLog::keptLines() const
{
    const QMutexLocker locker(&m_mutex);
    return m_kept;
}

void SourceControlLog::setSecrets(const QStringList &secrets)
{
    const QMutexLocker locker(&m_mutex);
    m_secrets.clear();
    for (const QString &secret : secrets) {
        if (!secret.isEmpty())
            m_secrets.append(secret);
    }
}

void SourceControlLog::write(Level level, const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    QString shown = line;
    for (const QString &secret : std::as_const(m_secrets))
        shown.replace(secret, mask);
    if (m_keptLimit > 0) {
        if (m_kept.size() >= m_keptLimit)
            m_kept.removeFirst();
        m_kept.append(shown);
    }
    if (m_sink)
        m_sink(level, shown);
}

void SourceControlLog::errorLines(const QString &text)
{
    const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines)
        error(line);
}

void SourceControlLog::setLogCommands(bool on)
{
    const QMutexLocker locker(&m_mutex);
    m_logCommands = on;
}

bool SourceControlLog::logCommands() const
{
    const QMutexLocker locker(&m_mutex);
    return m_logCommands;
}
