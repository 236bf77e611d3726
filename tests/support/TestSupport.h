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

// Runs a program to completion, feeding `input` on standard input. `environment` holds
// "NAME=VALUE" entries laid over the test's own environment.
ProgramRun runProgram(const QString &program, const QStringList &arguments,
                      const QByteArray &input = {}, const QString &workingDirectory = {},
                      const QStringList &environment = {});

QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

// Compares `actual` with tests/<area>/golden/<name>. On a mismatch writes <name>.actual beside
// the golden file and fails with the first differing line; TESS_UPDATE_GOLDEN=1 rewrites it.
void expectGolden(const QString &goldenPath, const QByteArray &actual);

} // namespace TestSupport
