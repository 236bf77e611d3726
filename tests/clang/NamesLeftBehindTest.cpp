// Every test program of the area ends by looking for shared areas and semaphores that its run
// made and nobody removed: an environment that forgot its names, or an indexer that outlived its
// environment without cleaning up. Whatever is found fails the run and is removed, so a broken
// run does not leave /dev/shm littered either.
#include "clang/SharedMemory.h"
#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSet>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// An indexer notices its environment's death within a quarter of a second; this leaves it
// room on a loaded machine.
constexpr int cleanUpGraceMilliseconds = 5000;

const QRegularExpression &indexerName()
{
    static const QRegularExpression pattern(
        QStringLiteral("^(sem\\.)?index_(\\d+)_(shared_memory|call_semaphore|ret_semaphore)$"));
    return pattern;
}

QSet<QString> indexerEntries()
{
    QSet<QString> found;
    const QStringList entries =
        QDir(QStringLiteral("/dev/shm")).entryList(QDir::Files | QDir::System);
    for (const QString &entry : entries) {
        if (indexerName().match(entry).hasMatch())
            found.insert(entry);
    }
    return found;
}

// Left behind: its environment is this program, which has closed every server by now, or a
// process that no longer runs.
bool leftBehind(const QString &entry)
{
    const pid_t pid = pid_t(indexerName().match(entry).captured(2).toLongLong());
    return pid == ::getpid() || (::kill(pid, 0) != 0 && errno == ESRCH);
}

void removeEntry(const QString &entry)
{
    if (entry.startsWith(QStringLiteral("sem.")))
        ::sem_unlink(('/' + entry.mid(4)).toUtf8().constData());
    else
        ::shm_unlink(entry.toUtf8().constData());
}

class NamesLeftBehind : public ::testing::Environment {
public:
    void SetUp() override { m_before = indexerEntries(); }

    void TearDown() override
    {
        QStringList left;
        QElapsedTimer clock;
        clock.start();
        do {
            left.clear();
            for (const QString &entry : indexerEntries()) {
                if (!m_before.contains(entry) && leftBehind(entry))
                    left.append(entry);
            }
            if (left.isEmpty())
                return;
            QThread::msleep(50);
        } while (!clock.hasExpired(cleanUpGraceMilliseconds));
        left.sort();
        for (const QString &entry : std::as_const(left))
            removeEntry(entry);
        ADD_FAILURE() << "left in /dev/shm: " << left.join(QStringLiteral(", ")).toStdString();
    }

private:
    QSet<QString> m_before;
};

[[maybe_unused]] ::testing::Environment *const namesLeftBehind =
    ::testing::AddGlobalTestEnvironment(new NamesLeftBehind);

} // namespace
