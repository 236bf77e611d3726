#pragma once
#include "buildengine/OutputLines.h"
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <deque>
#include <memory>

class BuildLog;

// Runs a list of commands one after another outside a build (tools menu, package scripts).
// Each job is a working directory and an argument list; output goes to the log, if one is set.
// A first argument "cp" is done here, without a process.
class JobQueue : public QObject {
    Q_OBJECT
public:
    explicit JobQueue(BuildLog *log = nullptr, QObject *parent = nullptr);
    ~JobQueue() override;

    void addJob(const QString &workingDirectory, const QStringList &arguments);
    [[nodiscard]] bool busy() const { return m_process != nullptr; }
    [[nodiscard]] int pendingJobs() const { return int(m_jobs.size()); }

public slots:
    void start();
    void clear();
    void kill();
    void setShowCommandLines(bool show);
    void processExited();
    void readyReadStdout();
    void readyReadStderr();

signals:
    void jobDone(int exitStatus);   // -1: the job could not run or crashed
    void allJobsDone();
    void outputLine(const QString &line, bool isError);

private:
    struct Job {
        QString workingDirectory;
        QStringList arguments;
    };

    void startJob(const Job &job);
    [[nodiscard]] bool copyFile(const Job &job);
    void finishJob(int exitStatus);
    void report(const QString &text, bool isError);
    void forwardLines(const QStringList &lines, bool isError);

    BuildLog *m_log;
    std::deque<Job> m_jobs;
    std::unique_ptr<QProcess> m_process;
    OutputLines m_stdout;
    OutputLines m_stderr;
    bool m_showCommandLines = false;
};
