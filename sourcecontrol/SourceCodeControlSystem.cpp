#include "sourcecontrol/SourceCodeControlSystem.h"
#include "sourcecontrol/SourceControlLog.h"
#include <QFile>

namespace {

// Text lines of a tool's output; a last line without its newline counts, a final newline does
// not start an empty one.
QStringList linesOf(const QByteArray &bytes)
{
    QStringList lines;
    qsizetype start = 0;
    while (start < bytes.size()) {
        qsizetype end = bytes.indexOf('\n', start);
        if (end < 0)
            end = bytes.size();
        qsizetype stop = end;
        if (stop > start && bytes.at(stop - 1) == '\r')
            --stop;
        lines.append(QString::fromUtf8(bytes.constData() + start, stop - start));
        start = end + 1;
    }
    return lines;
}

}   // namespace

void SourceCodeControlSystemProcess::processOutput(bool isError, const QByteArray &bytes)
{
    (isError ? m_standardError : m_standardOutput).append(bytes);
}

SourceCodeControlSystem::~SourceCodeControlSystem() = default;

int SourceCodeControlSystem::runCommand(const QStringList &arguments,
                                        const QString &workingDirectory, QByteArray *standardOutput)
{
    if (m_log && m_log->logCommands()) {
        m_log->message(QStringLiteral("cd ") + workingDirectory);
        m_log->message(arguments.join(u' '));
    }
    QList<QByteArray> program;
    program.reserve(arguments.size());
    for (const QString &argument : arguments)
        program.append(QFile::encodeName(argument));
    QByteArray errors;
    m_output.clear();
    SourceCodeControlSystemProcess process(m_output, errors);
    const int status = process.start(program, true, workingDirectory);
    if (status < 0)
        errors = process.errorString().toUtf8();
    m_outputLines = linesOf(m_output);
    m_errorLines = linesOf(errors);
    if (standardOutput)
        *standardOutput = m_output;
    return status;
}

QString SourceCodeControlSystem::lastOutput() const
{
    return QString::fromUtf8(m_output);
}
