#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

// The services the environment hands a provider: a provider never starts a process itself, it
// asks here, so commands are logged and run the one way the environment runs every tool.
//
// The order of the virtual functions is the interface between separately built libraries and
// must not change: runCommand is slot 0, the destructors 1 and 2, then lastOutput,
// standardOutputLines and standardErrorLines. New services go at the end.
//
// One object serves one provider; its calls are serialised by the environment's provider lock,
// so it may be called from the background thread as well as from the main thread.
class SourceCodeControlSystemProviderInterfaceHelpers {
public:
    // Runs arguments[0] with the rest as its arguments in `workingDirectory`, without a shell,
    // and waits for it. Returns the exit status, or a negative value when it could not be
    // started (the reason is then the only line of standardErrorLines()). When `standardOutput`
    // is given it receives the raw bytes of standard output too, for NUL-separated formats.
    virtual int runCommand(const QStringList &arguments, const QString &workingDirectory,
                           QByteArray *standardOutput = nullptr) = 0;

    virtual ~SourceCodeControlSystemProviderInterfaceHelpers() = default;

    // Standard output of the last command, as text.
    [[nodiscard]] virtual QString lastOutput() const = 0;
    // Standard output and standard error of the last command, split into lines.
    [[nodiscard]] virtual const QStringList &standardOutputLines() const = 0;
    [[nodiscard]] virtual const QStringList &standardErrorLines() const = 0;
};
