#include "tests/support/TestSupport.h"
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace TestSupport {

QString binPath(const QString &program)
{
    return QStringLiteral(TESS_BIN_DIR "/") + program;
}

ProgramRun runProgram(const QString &program, const QStringList &arguments,
                      const QByteArray &input, const QString &workingDirectory,
                      const QStringList &environment)
{
    QProcess process;
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    if (!environment.isEmpty()) {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString &entry : environment)
            variables.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        process.setProcessEnvironment(variables);
    }
    // The child leads a process group of its own, so that a child that hangs is ended together
    // with whatever it started (tess runs tessmark, xvfb-run runs a server and a program).
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
    process.start(program, arguments);
    ProgramRun run;
    if (!process.waitForStarted(10000))
        return run;
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(programTimeoutMilliseconds)) {
        ::kill(-pid_t(process.processId()), SIGKILL);
        process.waitForFinished(10000);
        ADD_FAILURE() << program.toStdString() << " " << arguments.join(u' ').toStdString() << ": still running after "
                      << programTimeoutMilliseconds / 1000 << " s; it and its children were killed";
    }
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return run;
}

MeasuredRun runProgramMeasured(const QString &program, const QStringList &arguments)
{
    MeasuredRun run;
    std::vector<QByteArray> texts{program.toLocal8Bit()};
    for (const QString &argument : arguments)
        texts.push_back(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return run;
    const pid_t child = fork();
    if (child < 0) {
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        return run;
    }
    if (child == 0) {
        const int input = open("/dev/null", O_RDONLY);
        dup2(input, STDIN_FILENO);
        dup2(pipeEnds[1], STDOUT_FILENO);
        dup2(pipeEnds[1], STDERR_FILENO);
        close(pipeEnds[0]);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(pipeEnds[1]);
    char buffer[4096];
    for (ssize_t got; (got = read(pipeEnds[0], buffer, sizeof buffer)) != 0;) {
        if (got > 0)
            run.output.append(buffer, got);
        else if (errno != EINTR)
            break;
    }
    close(pipeEnds[0]);
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.peakKilobytes = usage.ru_maxrss;
    return run;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    file.write(bytes);
}

void expectGolden(const QString &goldenPath, const QByteArray &actual)
{
    if (qEnvironmentVariableIntValue("TESS_UPDATE_GOLDEN") == 1) {
        writeFile(goldenPath, actual);
        return;
    }
    const QByteArray expected = readFile(goldenPath);
    if (expected == actual) {
        QFile::remove(goldenPath + ".actual");
        return;
    }
    writeFile(goldenPath + ".actual", actual);
    const QList<QByteArray> want = expected.split('\n');
    const QList<QByteArray> got = actual.split('\n');
    int line = 0;
    while (line < want.size() && line < got.size() && want[line] == got[line])
        ++line;
    ADD_FAILURE() << "golden " << goldenPath.toStdString() << " differs at line " << line + 1
                  << "\n  expected: " << (line < want.size() ? want[line].toStdString() : "<end>")
                  << "\n  actual:   " << (line < got.size() ? got[line].toStdString() : "<end>");
}

} // namespace TestSupport
