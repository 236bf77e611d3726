#include "buildengine/JobQueue.h"
#include "buildengine/Bookmark.h"
#include "buildengine/BuildLog.h"
#include "buildengine/CommandLine.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>

JobQueue::JobQueue(BuildLog *log, QObject *parent) : QObject(parent), m_log(log) {}

JobQueue::~JobQueue()
{
    if (m_process) {
        m_process->disconnect(this);
        m_process->kill();
        m_process->waitForFinished(-1);
    }
}

void JobQueue::addJob(const QString &workingDirectory, const QStringList &arguments)
{
    m_jobs.push_back({workingDirectory, arguments});
}

void JobQueue::setShowCommandLines(bool show)
{
    m_showCommandLines = show;
}

void JobQueue::clear()
{
    m_jobs.clear();
}

void JobQueue::kill()
{
    m_jobs.clear();
    if (m_process)
        m_process->kill();
}

void JobQueue::start()
{
    while (!m_process && !m_jobs.empty()) {
        const Job job = m_jobs.front();
        m_jobs.pop_front();
        if (m_showCommandLines) {
            report(QStringLiteral("cd ") + job.workingDirectory, false);
            report(displayCommandLine(job.arguments), false);
        }
        if (!job.arguments.isEmpty() && job.arguments.first() == QLatin1String("cp")) {
            const bool copied = copyFile(job);
            if (!copied)
                report(QStringLiteral("Copy failed"), true);
            emit jobDone(copied ? 0 : 1);
            continue;
        }
        startJob(job);
    }
    if (!m_process)
        emit allJobsDone();
}

void JobQueue::startJob(const Job &job)
{
    const QString program = job.arguments.value(0);
    auto process = std::make_unique<QProcess>();
    process->setWorkingDirectory(job.workingDirectory);
    process->setProgram(program);
    process->setArguments(job.arguments.mid(1));
    connect(process.get(), &QProcess::readyReadStandardOutput, this, &JobQueue::readyReadStdout);
    connect(process.get(), &QProcess::readyReadStandardError, this, &JobQueue::readyReadStderr);
    process->start();
    if (program.isEmpty() || !process->waitForStarted(-1)) {
        report(QStringLiteral("Can't start process ") + program, true);
        emit jobDone(-1);
        return;
    }
    connect(process.get(), &QProcess::finished, this, &JobQueue::processExited);
    m_process = std::move(process);
}

bool JobQueue::copyFile(const Job &job)
{
    QStringList paths;
    for (const QString &argument : job.arguments.mid(1)) {
        if (!argument.startsWith(u'-'))
            paths.append(argument);
    }
    if (paths.size() != 2)
        return false;
    const QDir directory(job.workingDirectory);
    const QString source = directory.absoluteFilePath(paths.at(0));
    QString target = directory.absoluteFilePath(paths.at(1));
    if (QFileInfo(target).isDir())
        target = QDir(target).absoluteFilePath(QFileInfo(source).fileName());
    if (!QFileInfo(source).isFile())
        return false;
    QFile::remove(target);
    return QFile::copy(source, target);
}

void JobQueue::readyReadStdout()
{
    if (m_process)
        forwardLines(m_stdout.add(m_process->readAllStandardOutput()), false);
}

void JobQueue::readyReadStderr()
{
    if (m_process)
        forwardLines(m_stderr.add(m_process->readAllStandardError()), true);
}

void JobQueue::forwardLines(const QStringList &lines, bool isError)
{
    for (const QString &line : lines) {
        emit outputLine(line, isError);
        if (m_log)
            m_log->processOutput(line);
    }
}

void JobQueue::processExited()
{
    if (!m_process)
        return;
    readyReadStdout();
    readyReadStderr();
    forwardLines(m_stdout.finish(), false);
    forwardLines(m_stderr.finish(), true);
    const bool normal = m_process->exitStatus() == QProcess::NormalExit;
    const int status = normal ? m_process->exitCode() : -1;
    // We are inside the process's own signal: it goes once control returns to the event loop.
    m_process.release()->deleteLater();
    emit jobDone(status);
    start();
}

void JobQueue::report(const QString &text, bool isError)
{
    emit outputLine(text, isError);
    if (!m_log)
        return;
    if (isError)
        m_log->addError(text);
    else
        m_log->addItem(nullptr, text, LogItemFlag::CommandLine);
}
