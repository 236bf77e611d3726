#pragma once
#include <QMutex>
#include <QString>
#include <QStringList>
#include <functional>

// The source-control log: what the refresh did and which commands ran. Lines come from the main
// thread and from the background thread, so every call takes the log's own lock. The login of
// the settings dialog is masked out of every line before it is kept or shown.
class SourceControlLog {
public:
    enum class Level { Message, Warning, Error };
    using Sink = std::function<void(Level level, const QString &line)>;

    // Where lines go as they are written (standard error, the output window); none by default.
    // The sink is called with the log's lock held and must not write to the log itself.
    void setSink(Sink sink);
    // Lines are also kept, up to `limit` of them (0 keeps none), for tests and the log window.
    void setKeptLines(int limit);
    [[nodiscard]] QStringList keptLines() const;

    // Texts that must never appear: the login user name and password.
    void setSecrets(const QStringList &secrets);

    void message(const QString &line) { write(Level::Message, line); }
    void warning(const QString &line) { write(Level::Warning, line); }
    void error(const QString &line) { write(Level::Error, line); }
    // Each line of a failure's text as an error.
    void errorLines(const QString &text);
    void write(Level level, const QString &line);

    // "log commands": runCommand writes "cd <directory>" and the command line first.
    void setLogCommands(bool on);
    [[nodiscard]] bool logCommands() const;

private:
    mutable QMutex m_mutex;
    Sink m_sink;
    QStringList m_kept;
    int m_keptLimit = 0;
    QStringList m_secrets;
    bool m_logCommands = false;
};
