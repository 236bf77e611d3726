#pragma once
#include <QByteArray>
#include <QList>
#include <QString>
#include <sys/types.h>
#include <vector>

struct pollfd;

// The base of everything that starts a child process. The child runs without a shell, so the
// redirection tokens ">", "1>", ">>", "1>>", "2>", "2>>", "&>" and "&>>" are taken out of the
// argument list here, each with the file name behind it; a relative file name is taken from the
// working directory. Captured output reaches processOutput in the chunks it arrives in.
class Process {
public:
    // Results of start() below zero.
    static constexpr int startFailed = -1;       // no program, not executable, no such directory
    static constexpr int redirectFailed = -2;    // a redirection's file can't be opened
    static constexpr int badArguments = -3;      // empty list, or a token without a file

    Process() = default;
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    // A child still running is killed and reaped: no process outlives its owner as a zombie.
    virtual ~Process();

    // Returns the exit status when `wait` is set (128 plus the signal for a child that was
    // killed or crashed), 0 once started otherwise, or a negative value if nothing runs;
    // errorString() then says why.
    int start(const QList<QByteArray> &arguments, bool wait, const QString &workingDirectory,
              bool captureStdout = true, bool captureStderr = true);

    // Waits up to 100 ms for output, hands what is there to processOutput and reaps the child
    // if it has ended. True while the child runs; `status`, if given, then receives the exit
    // status as start() reports it.
    bool poll(int *status = nullptr);
    // As poll, but returns at once: reads only output that is already there. For callers that
    // poll on a timer of their own or wait on waitDescriptors() themselves, and must never be
    // held up.
    bool check(int *status = nullptr);
    // Adds the descriptors that become readable when the child writes or ends: its pipes and,
    // where the system has them, a process descriptor. False when they would not tell of the
    // child's end (no child runs, or neither a process descriptor nor a pipe is open): a
    // caller then has to look again after a while.
    bool waitDescriptors(std::vector<pollfd> &descriptors) const;

    // Marks the process as terminated and sends it SIGHUP if it still runs.
    void kill();

    [[nodiscard]] bool running() const { return m_pid > 0; }
    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] bool terminated() const { return m_terminated; }
    // True once a child has exited normally with status 0.
    [[nodiscard]] bool succeeded() const { return m_exitStatus == 0; }
    [[nodiscard]] int exitStatus() const { return m_exitStatus; }
    [[nodiscard]] const QString &errorString() const { return m_errorString; }

protected:
    // Bytes of the child's standard output (isError false) or standard error.
    virtual void processOutput(bool isError, const QByteArray &bytes);

private:
    bool step(int *status, bool block, int waitMilliseconds);
    void readAvailable(int &fd, bool isError, bool endOfFile);
    void closePipes();
    void reap(int waitStatus);
    int failStart(int result, const QString &message);

    pid_t m_pid = -1;
    int m_stdout = -1;   // read ends of the pipes; -1 when not captured or at end of file
    int m_stderr = -1;
    int m_exitDescriptor = -1;   // readable once the child has ended; -1: none
    int m_exitStatus = -1;   // -1 until a child has ended
    bool m_terminated = false;
    QString m_errorString;
};
