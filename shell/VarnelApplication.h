#pragma once
#include <QApplication>
#include <QString>
#include <QStringList>

class QLocalServer;
class QLocalSocket;

// The application object of the shell, with its single-instance link: the first instance of a
// user folder listens on a local socket, and a later `tessmark FILE` hands its files to it and
// ends. The link speaks one message: a magic number, a version and the list of absolute paths;
// the running instance answers one byte when it has taken them.
class VarnelApplication : public QApplication {
    Q_OBJECT
public:
    VarnelApplication(int &argc, char **argv);
    ~VarnelApplication() override;

    // The link's name for a user folder: one running instance per folder and user.
    [[nodiscard]] static QString instanceName(const QString &userFolder);
    // Sends `paths` to the running instance; true when it took them within `timeoutMs`.
    bool handOver(const QString &name, const QStringList &paths, int timeoutMs = 5000);
    // Listens for later instances; false, with the reason, when the name cannot be taken.
    bool listen(const QString &name, QString *message);
    [[nodiscard]] bool isListening() const;

    // The message that carries `paths`, and its reading: false for anything else (a message is
    // at most maxMessageSize bytes).
    static constexpr qsizetype maxMessageSize = 1 << 20;
    [[nodiscard]] static QByteArray encodeHandOver(const QStringList &paths);
    [[nodiscard]] static bool decodeHandOver(const QByteArray &bytes, QStringList *paths);

signals:
    void argumentsReceived(const QStringList &paths);

private:
    void readHandOver(QLocalSocket *socket);

    QLocalServer *m_server = nullptr;
};
