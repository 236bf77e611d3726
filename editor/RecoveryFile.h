#pragma once
#include <QByteArray>
#include <QString>
#include <optional>

// The file where a document's unsaved text waits for the next session after a crash: in the
// folder "unsaved" under "$XDG_DATA_HOME/Tessmark" (by default "~/.local/share/Tessmark"),
// named after the document's file name and a digest of its full path. A document locks its
// recovery file while it uses it, so a second session never takes it over.
class CodeEditRecoveryFile {
public:
    explicit CodeEditRecoveryFile(QString path) : m_path(std::move(path)) {}
    ~CodeEditRecoveryFile();   // unlocks, and leaves the file for the next session
    CodeEditRecoveryFile(const CodeEditRecoveryFile &) = delete;
    CodeEditRecoveryFile &operator=(const CodeEditRecoveryFile &) = delete;

    [[nodiscard]] static QString folder();
    [[nodiscard]] static QString pathFor(const QString &documentPath);

    [[nodiscard]] const QString &path() const { return m_path; }
    // Opens and locks the file, making it (and its folder) first when `create`; false when it
    // is missing, cannot be opened or another document holds it.
    bool open(bool create);
    // The whole content; empty when it cannot be read or holds more than `limit` bytes.
    [[nodiscard]] std::optional<QByteArray> read(qint64 limit);
    // Replaces the content.
    bool write(const QByteArray &bytes);
    // Closes and deletes the file, and the folder when it is left empty.
    void remove();
    [[nodiscard]] QString errorString() const { return m_error; }

private:
    void release();

    QString m_path;
    int m_descriptor = -1;
    QString m_error;
};
