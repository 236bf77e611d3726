#include "tests/support/TestSupport.h"
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

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
    process.start(program, arguments);
    ProgramRun run;
    if (!process.waitForStarted(10000))
        return run;
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(120000);
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
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
