#pragma once
#include "buildengine/Process.h"
#include "sourcecontrol/SourceCodeControlSystemProviderInterfaceHelpers.h"
#include <QByteArray>
#include <QString>
#include <QStringList>

class SourceControlLog;

// A child process of a provider: collects standard output and standard error whole, for the
// services to split into lines when it has ended.
class SourceCodeControlSystemProcess : public Process {
public:
    SourceCodeControlSystemProcess(QByteArray &standardOutput, QByteArray &standardError)
        : m_standardOutput(standardOutput), m_standardError(standardError)
    {
    }

protected:
    void processOutput(bool isError, const QByteArray &bytes) override;

private:
    QByteArray &m_standardOutput;
    QByteArray &m_standardError;
};

// The services of one provider: it runs the provider's commands and keeps the output of the
// last one. The environment's provider lock serialises its calls.
class SourceCodeControlSystem : public SourceCodeControlSystemProviderInterfaceHelpers {
public:
    explicit SourceCodeControlSystem(SourceControlLog *log = nullptr) : m_log(log) {}

    int runCommand(const QStringList &arguments, const QString &workingDirectory,
                   QByteArray *standardOutput = nullptr) override;
    ~SourceCodeControlSystem() override;
    [[nodiscard]] QString lastOutput() const override;
    [[nodiscard]] const QStringList &standardOutputLines() const override { return m_outputLines; }
    [[nodiscard]] const QStringList &standardErrorLines() const override { return m_errorLines; }

private:
    SourceControlLog *m_log;
    QByteArray m_output;
    QStringList m_outputLines;
    QStringList m_errorLines;
};
