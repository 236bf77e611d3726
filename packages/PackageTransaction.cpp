#include "packages/PackageTransaction.h"
#include "foundation/HException.h"
#include "packages/PackageExtraction.h"
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <algorithm>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

PackageTransaction::StepHook stepHook = nullptr;
int stepCount = 0;   // steps since the hook was set

constexpr qint64 maxJournalSize = qint64(256) << 20;

QByteArray encoded(const QString &path)
{
    return QFile::encodeName(path);
}

bool present(const QString &path)
{
    struct stat status = {};
    return !path.isEmpty() && ::lstat(encoded(path).constData(), &status) == 0;
}

bool moveFile(const QString &from, const QString &to)
{
    return std::rename(encoded(from).constData(), encoded(to).constData()) == 0;
}

QJsonArray toJson(const QStringList &list)
{
    return QJsonArray::fromStringList(list);
}

QStringList fromJson(const QJsonValue &value)
{
    QStringList list;
    for (const QJsonValue &item : value.toArray())
        list.append(item.toString());
    return list;
}

} // namespace

void PackageTransaction::setStepHook(StepHook hook)
{
    stepHook = hook;
    stepCount = 0;
}

QStringList missingFolders(const QString &path)
{
    QStringList missing;
    QString folder = path;
    while (!folder.isEmpty() && !present(folder)) {
        missing.prepend(folder);
        const QString parent = QFileInfo(folder).path();
        if (parent == folder)
            break;
        folder = parent;
    }
    return missing;
}

PackageTransaction::PackageTransaction(QString journalPath) : m_journalPath(std::move(journalPath)) {}

PackageTransaction::~PackageTransaction()
{
    if (!m_open)
        return;
    try {
        rollBack();
    } catch (const HException &) {
        // Recovery at the next start finds the journal and tries again.
    }
}

void PackageTransaction::step()
{
    if (stepHook)
        stepHook(++stepCount);
}

void PackageTransaction::writeJournal(const QString &state)
{
    QJsonArray operations;
    for (const Operation &operation : m_operations) {
        operations.append(QJsonObject{{QStringLiteral("target"), operation.target},
                                      {QStringLiteral("staged"), operation.staged},
                                      {QStringLiteral("backup"), operation.backup},
                                      {QStringLiteral("existed"), operation.existed}});
    }
    const QJsonObject journal{{QStringLiteral("state"), state},
                              {QStringLiteral("staging"), toJson(m_staging)},
                              {QStringLiteral("created"), toJson(m_created)},
                              {QStringLiteral("pruned"), toJson(m_pruned)},
                              {QStringLiteral("operations"), operations}};
    step();
    QSaveFile file(m_journalPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(journal).toJson()) < 0 || !file.commit())
        throw HException(QStringLiteral("cannot write journal %1").arg(m_journalPath));
}

void PackageTransaction::begin(const QStringList &stagingFolders, const QStringList &foldersToMake)
{
    m_staging = stagingFolders;
    m_created = foldersToMake;
    writeJournal(QStringLiteral("staging"));
    m_open = true;
    for (const QString &folder : foldersToMake) {
        step();
        if (::mkdir(encoded(folder).constData(), 0777) != 0 && !QFileInfo(folder).isDir())
            throw HException(QStringLiteral("cannot create folder %1").arg(folder));
    }
    for (const QString &folder : stagingFolders) {
        removeTree(folder);
        step();
        if (::mkdir(encoded(folder).constData(), 0700) != 0)
            throw HException(QStringLiteral("cannot create folder %1").arg(folder));
    }
}

void PackageTransaction::commit(const std::vector<Operation> &operations, const QStringList &foldersToMake,
                                const QStringList &foldersToPrune)
{
    m_operations = operations;
    m_created += foldersToMake;
    m_pruned = foldersToPrune;
    writeJournal(QStringLiteral("committing"));
    try {
        for (const QString &folder : foldersToMake) {
            step();
            if (::mkdir(encoded(folder).constData(), 0777) != 0 && !QFileInfo(folder).isDir())
                throw HException(QStringLiteral("cannot create folder %1").arg(folder));
        }
        for (const Operation &operation : m_operations) {
            step();
            if (operation.existed && !moveFile(operation.target, operation.backup))
                throw HException(QStringLiteral("cannot replace %1").arg(operation.target));
            step();
            if (!operation.staged.isEmpty() && !moveFile(operation.staged, operation.target))
                throw HException(QStringLiteral("cannot create output file %1").arg(operation.target));
        }
        writeJournal(QStringLiteral("committed"));
    } catch (const HException &) {
        rollBack();
        throw;
    }
    m_open = false;
    finish();
}

// The clean-up after the renames: staging folders (with the backups), folders left empty, and
// the journal last.
void PackageTransaction::finish()
{
    for (const QString &folder : std::as_const(m_staging)) {
        step();
        removeTree(folder);
    }
    QStringList pruned = m_pruned;
    std::sort(pruned.begin(), pruned.end(), [](const QString &a, const QString &b) { return a.size() > b.size(); });
    for (const QString &folder : std::as_const(pruned))
        ::rmdir(encoded(folder).constData());
    step();
    QFile::remove(m_journalPath);
}

// Undoes the renames in reverse order: a moved-away file comes back from its backup, a new file
// that reached its place goes. Then the staging folders and the folders made for the
// transaction (if empty) go, and last the journal.
void PackageTransaction::rollBack()
{
    for (auto it = m_operations.rbegin(); it != m_operations.rend(); ++it) {
        if (it->existed) {
            if (present(it->backup) && !moveFile(it->backup, it->target))
                throw HException(QStringLiteral("cannot restore %1 from %2").arg(it->target, it->backup));
        } else if (!it->staged.isEmpty() && !present(it->staged) && present(it->target)) {
            ::unlink(encoded(it->target).constData());
        }
    }
    for (const QString &folder : std::as_const(m_staging))
        removeTree(folder);
    for (auto it = m_created.rbegin(); it != m_created.rend(); ++it)
        ::rmdir(encoded(*it).constData());
    QFile::remove(m_journalPath);
    m_open = false;
}

bool PackageTransaction::recover(const QString &journalPath)
{
    QFile file(journalPath);
    if (!file.exists())
        return false;
    if (!file.open(QIODevice::ReadOnly) || file.size() > maxJournalSize)
        throw HException(QStringLiteral("cannot read journal %1").arg(journalPath));
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    file.close();
    if (!document.isObject())
        throw HException(QStringLiteral("cannot read journal %1").arg(journalPath));
    const QJsonObject journal = document.object();
    PackageTransaction transaction(journalPath);
    transaction.m_staging = fromJson(journal.value(QStringLiteral("staging")));
    transaction.m_created = fromJson(journal.value(QStringLiteral("created")));
    transaction.m_pruned = fromJson(journal.value(QStringLiteral("pruned")));
    if (journal.value(QStringLiteral("state")).toString() == QLatin1String("committed")) {
        transaction.finish();
        return false;
    }
    for (const QJsonValue &value : journal.value(QStringLiteral("operations")).toArray()) {
        const QJsonObject operation = value.toObject();
        transaction.m_operations.push_back({operation.value(QStringLiteral("target")).toString(),
                                            operation.value(QStringLiteral("staged")).toString(),
                                            operation.value(QStringLiteral("backup")).toString(),
                                            operation.value(QStringLiteral("existed")).toBool()});
    }
    transaction.rollBack();
    return true;
}
