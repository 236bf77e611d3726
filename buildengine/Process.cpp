#include "buildengine/Process.h"
#include <QDir>
#include <QFile>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// The POSIX side of Process: spawn with pipes, poll, the FIONREAD ioctl and waitpid, and a
// process descriptor (pidfd) that tells of the child's end.

namespace {

constexpr int pollMilliseconds = 100;
constexpr int idleMilliseconds = 10;
constexpr int readLimit = 4 * 1024 * 1024;   // largest chunk handed to processOutput at once

struct Redirection {
    const char *token;
    bool toStdout;
    bool toStderr;
    bool append;
};

constexpr Redirection redirections[] = {
    {">", true, false, false},  {"1>", true, false, false}, {">>", true, false, true},
    {"1>>", true, false, true}, {"2>", false, true, false}, {"2>>", false, true, true},
    {"&>", true, true, false},  {"&>>", true, true, true},
};

const Redirection *redirectionOf(const QByteArray &argument)
{
    for (const Redirection &redirection : redirections) {
        if (argument == redirection.token)
            return &redirection;
    }
    return nullptr;
}

void closeDescriptor(int &fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

// Descriptors that belong to one start and are closed however it ends.
struct StartDescriptors {
    int outFile = -1;   // redirection targets
    int errFile = -1;
    int outPipe[2] = {-1, -1};
    int errPipe[2] = {-1, -1};

    ~StartDescriptors()
    {
        for (int *fd : {&outFile, &errFile, &outPipe[0], &outPipe[1], &errPipe[0], &errPipe[1]})
            closeDescriptor(*fd);
    }
};

// The child's start: standard input from /dev/null, output to the pipes or files, the signal
// mask and the dispositions this process changed put back. posix_spawn shares our memory until
// the exec instead of copying the page tables of a large build.
class SpawnSetup {
public:
    SpawnSetup(const char *directory, int stdoutFd, int stderrFd)
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
        if (directory[0] != '\0')
            posix_spawn_file_actions_addchdir_np(&m_actions, directory);
        posix_spawn_file_actions_addopen(&m_actions, 0, "/dev/null", O_RDONLY, 0);
        if (stdoutFd >= 0)
            posix_spawn_file_actions_adddup2(&m_actions, stdoutFd, 1);
        if (stderrFd >= 0)
            posix_spawn_file_actions_adddup2(&m_actions, stderrFd, 2);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        sigaddset(&defaults, SIGHUP);
        posix_spawnattr_setsigdefault(&m_attributes, &defaults);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSetup()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSetup(const SpawnSetup &) = delete;
    SpawnSetup &operator=(const SpawnSetup &) = delete;

    // 0 and the pid, or the error number of the failed chdir, open or exec.
    int spawn(char *const argv[], pid_t &pid) const
    {
        return posix_spawnp(&pid, argv[0], &m_actions, &m_attributes, argv, environ);
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

int openProcessDescriptor(pid_t pid)
{
    const int fd = int(::syscall(SYS_pidfd_open, pid, 0));
    return fd >= 0 ? fd : -1;
}

int openRedirection(const QString &workingDirectory, const QByteArray &name, bool append)
{
    const QString path = QDir(workingDirectory).absoluteFilePath(QFile::decodeName(name));
    const int mode = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
    return ::open(QFile::encodeName(path).constData(), mode, 0666);
}

} // namespace

Process::~Process()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    closePipes();
}

void Process::processOutput(bool, const QByteArray &) {}

int Process::failStart(int result, const QString &message)
{
    m_errorString = message;
    return result;
}

int Process::start(const QList<QByteArray> &arguments, bool wait, const QString &workingDirectory,
                   bool captureStdout, bool captureStderr)
{
    if (m_pid > 0)
        return failStart(startFailed, QStringLiteral("A process is already running"));
    m_exitStatus = -1;
    m_terminated = false;
    m_errorString.clear();
    StartDescriptors fds;
    QList<QByteArray> program;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const Redirection *redirection = redirectionOf(arguments.at(i));
        if (!redirection) {
            program.append(arguments.at(i));
            continue;
        }
        if (i + 1 >= arguments.size())
            return failStart(badArguments, QStringLiteral("Redirection '%1' without a file name")
                                               .arg(QString::fromUtf8(arguments.at(i))));
        const QByteArray &name = arguments.at(++i);
        const int fd = openRedirection(workingDirectory, name, redirection->append);
        if (fd < 0)
            return failStart(redirectFailed, QStringLiteral("Cannot open %1 for writing: %2")
                                                 .arg(QFile::decodeName(name),
                                                      QString::fromLocal8Bit(std::strerror(errno))));
        if (redirection->toStdout) {
            closeDescriptor(fds.outFile);
            fds.outFile = fd;
        }
        if (redirection->toStderr) {
            closeDescriptor(fds.errFile);
            fds.errFile = redirection->toStdout ? ::fcntl(fd, F_DUPFD_CLOEXEC, 0) : fd;
        }
    }
    if (program.isEmpty() || program.first().isEmpty())
        return failStart(badArguments, QStringLiteral("No program to run"));

    const bool pipeOut = captureStdout && fds.outFile < 0;
    const bool pipeErr = captureStderr && fds.errFile < 0;
    if ((pipeOut && ::pipe2(fds.outPipe, O_CLOEXEC) != 0)
        || (pipeErr && ::pipe2(fds.errPipe, O_CLOEXEC) != 0))
        return failStart(startFailed, QStringLiteral("Cannot create pipes: %1")
                                          .arg(QString::fromLocal8Bit(std::strerror(errno))));
    // Our ends never block: output is read as far as it has come.
    for (const int fd : {fds.outPipe[0], fds.errPipe[0]}) {
        if (fd >= 0)
            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    }

    std::vector<char *> argv;
    for (const QByteArray &argument : program)
        argv.push_back(const_cast<char *>(argument.constData()));
    argv.push_back(nullptr);
    const QByteArray directory = QFile::encodeName(workingDirectory);
    const int childOut = fds.outFile >= 0 ? fds.outFile : fds.outPipe[1];
    const int childErr = fds.errFile >= 0 ? fds.errFile : fds.errPipe[1];

    pid_t pid = -1;
    const int error = SpawnSetup(directory.constData(), childOut, childErr).spawn(argv.data(), pid);
    if (error != 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(error));
        // The same error numbers come from the chdir and the exec: the directory tells which.
        if (!directory.isEmpty() && ::access(directory.constData(), X_OK) != 0)
            return failStart(startFailed, QStringLiteral("Cannot change to directory %1: %2")
                                              .arg(workingDirectory, QString::fromLocal8Bit(
                                                                         std::strerror(errno))));
        return failStart(startFailed, QStringLiteral("Cannot start %1: %2")
                                          .arg(QFile::decodeName(program.first()), reason));
    }
    m_pid = pid;
    m_exitDescriptor = openProcessDescriptor(pid);
    std::swap(m_stdout, fds.outPipe[0]);
    std::swap(m_stderr, fds.errPipe[0]);
    if (!wait)
        return 0;
    int status = 0;
    while (step(&status, true, pollMilliseconds)) {
    }
    return status;
}

void Process::readAvailable(int &fd, bool isError, bool endOfFile)
{
    if (fd < 0)
        return;
    int available = 0;
    if (::ioctl(fd, FIONREAD, &available) != 0)
        available = 0;
    if (available <= 0) {
        if (endOfFile)
            closeDescriptor(fd);
        return;
    }
    QByteArray bytes(qMin(available, readLimit), Qt::Uninitialized);
    const ssize_t got = ::read(fd, bytes.data(), size_t(bytes.size()));
    if (got > 0) {
        bytes.truncate(got);
        processOutput(isError, bytes);
    } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
        closeDescriptor(fd);
    }
}

bool Process::poll(int *status)
{
    return step(status, false, pollMilliseconds);
}

bool Process::check(int *status)
{
    return step(status, false, 0);
}

bool Process::waitDescriptors(std::vector<pollfd> &descriptors) const
{
    if (m_pid <= 0 || (m_exitDescriptor < 0 && m_stdout < 0 && m_stderr < 0))
        return false;
    for (const int fd : {m_exitDescriptor, m_stdout, m_stderr}) {
        if (fd >= 0)
            descriptors.push_back({fd, POLLIN, 0});
    }
    return true;
}

bool Process::step(int *status, bool block, int waitMilliseconds)
{
    if (m_pid <= 0) {
        if (status)
            *status = m_exitStatus;
        return false;
    }
    // The process descriptor, last, only cuts a wait short when the child ends.
    pollfd fds[3];
    int count = 0;
    for (const int fd : {m_stdout, m_stderr}) {
        if (fd >= 0)
            fds[count++] = {fd, POLLIN, 0};
    }
    const int waited = count + (m_exitDescriptor >= 0 && count > 0 ? 1 : 0);
    if (waited > count)
        fds[count] = {m_exitDescriptor, POLLIN, 0};
    if (count > 0 && ::poll(fds, nfds_t(waited), waitMilliseconds) > 0) {
        for (int i = 0; i < count; ++i) {
            if (fds[i].revents == 0)
                continue;
            const bool end = (fds[i].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
            readAvailable(fds[i].fd == m_stdout ? m_stdout : m_stderr, fds[i].fd == m_stderr, end);
        }
    }
    int waitStatus = 0;
    // Without pipes nothing wakes us: a caller that waits blocks in waitpid, one that polls
    // sleeps a little so that polling in a loop does not spin.
    const bool blockInWait = block && count == 0;
    pid_t done = ::waitpid(m_pid, &waitStatus, blockInWait ? 0 : WNOHANG);
    if (done == 0 && count == 0 && waitMilliseconds > 0) {
        ::poll(nullptr, 0, idleMilliseconds);
        done = ::waitpid(m_pid, &waitStatus, WNOHANG);
    }
    if (done == 0 || (done < 0 && errno == EINTR))
        return true;
    if (done < 0) {
        std::fprintf(stderr, "waitpid error: %d\n", errno);
        waitStatus = -1;
    }
    // What the child wrote before it ended is in the pipes now; a grandchild that keeps them
    // open must not keep us waiting.
    for (int pass = 0; pass < 64 && (m_stdout >= 0 || m_stderr >= 0); ++pass) {
        readAvailable(m_stdout, false, true);
        readAvailable(m_stderr, true, true);
    }
    closePipes();
    reap(waitStatus);
    if (status)
        *status = m_exitStatus;
    return false;
}

void Process::reap(int waitStatus)
{
    if (waitStatus == -1)
        m_exitStatus = -1;
    else if (WIFEXITED(waitStatus))
        m_exitStatus = WEXITSTATUS(waitStatus);
    else if (WIFSIGNALED(waitStatus))
        m_exitStatus = 128 + WTERMSIG(waitStatus);
    else
        m_exitStatus = -1;
    m_pid = -1;
}

void Process::kill()
{
    m_terminated = true;
    if (m_pid > 0)
        ::kill(m_pid, SIGHUP);
}

void Process::closePipes()
{
    closeDescriptor(m_stdout);
    closeDescriptor(m_stderr);
    closeDescriptor(m_exitDescriptor);
}
