#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

namespace TestSupport {

// What a finished child process left behind.
struct ProgramRun {
    int exitCode = -1;   // -1: the program could not be started or crashed
    QByteArray out;
    QByteArray err;
};

// Path of one of our programs in the build tree's bin/.
QString binPath(const QString &program);

// How long runProgram waits before it fails the test and kills the program and its children.
constexpr int programTimeoutMilliseconds = 120000;

// Runs a program to completion, feeding `input` on standard input. `environment` holds
// "NAME=VALUE" entries laid over the test's own environment.
ProgramRun runProgram(const QString &program, const QStringList &arguments,
                      const QByteArray &input = {}, const QString &workingDirectory = {},
                      const QStringList &environment = {});

// A finished child with the peak resident memory the kernel kept for it.
struct MeasuredRun {
    int exitCode = -1;   // -1: the program could not be started or crashed
    QByteArray output;   // standard output and error together
    long peakKilobytes = 0;
};

// Runs a program to completion with empty input and reads its peak resident set size from
// wait4's resource usage, so nothing else in the test process counts.
MeasuredRun runProgramMeasured(const QString &program, const QStringList &arguments);

QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

// Compares `actual` with tests/<area>/golden/<name>. On a mismatch writes <name>.actual beside
// the golden file and fails with the first differing line; TESS_UPDATE_GOLDEN=1 rewrites it.
void expectGolden(const QString &goldenPath, const QByteArray &actual);

} // namespace TestSupport
