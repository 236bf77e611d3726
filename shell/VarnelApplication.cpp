#include "shell/VarnelApplication.h"
#include <QCryptographicHash>
#include <QDataStream>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace {

constexpr quint32 handOverMagic = 0x54534d4b;   // "TSMK"
constexpr quint32 handOverVersion = 1;
constexpr char handOverAccepted = 'k';
constexpr int maxHandOverPaths = 10000;

} // namespace

VarnelApplication::VarnelApplication(int &argc, char **argv) : QApplication(argc, argv)
{
    setApplicationName(QStringLiteral("Tessmark"));
    setOrganizationName(QStringLiteral("Tessmark"));
}

VarnelApplication::~VarnelApplication() = default;

QString VarnelApplication::instanceName(const QString &userFolder)
{
    const QByteArray key = userFolder.toUtf8() + '\n' + QByteArray::number(qulonglong(getuid()));
    return QStringLiteral("tessmark-")
           + QString::fromLatin1(QCryptographicHash::hash(key, QCryptographicHash::Md5).toHex().left(16));
}

QByteArray VarnelApplication::encodeHandOver(const QStringList &paths)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    stream << handOverMagic << handOverVersion << quint32(paths.size());
    for (const QString &path : paths)
        stream << path;
    return bytes;
}

bool VarnelApplication::decodeHandOver(const QByteArray &bytes, QStringList *paths)
{
    if (bytes.size() > maxMessageSize)
        return false;
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_6_0);
    quint32 magic = 0;
    quint32 version = 0;
    quint32 count = 0;
    stream >> magic >> version >> count;
    if (stream.status() != QDataStream::Ok || magic != handOverMagic || version != handOverVersion
        || count > maxHandOverPaths)
        return false;
    paths->clear();
    for (quint32 i = 0; i < count; ++i) {
        QString path;
        stream >> path;
        if (stream.status() != QDataStream::Ok)
            return false;
        paths->append(path);
    }
    return stream.atEnd();
}

bool VarnelApplication::handOver(const QString &name, const QStringList &paths, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    const QByteArray message = encodeHandOver(paths);
    QDataStream(&socket) << quint32(message.size());
    socket.write(message);
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(timeoutMs))
            return false;
    }
    char answer = 0;
    return socket.getChar(&answer) && answer == handOverAccepted;
}

bool VarnelApplication::listen(const QString &name, QString *message)
{
    auto *server = new QLocalServer(this);
    server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server->listen(name)) {
        // A socket left by an instance that died: nobody answers on it, so it may go.
        QLocalSocket probe;
        probe.connectToServer(name);
        if (probe.waitForConnected(500) || !QLocalServer::removeServer(name) || !server->listen(name)) {
            *message = QStringLiteral("the single-instance link %1 is taken: %2").arg(name, server->errorString());
            delete server;
            return false;
        }
    }
    m_server = server;
    connect(server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readHandOver(socket); });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            readHandOver(socket);
        }
    });
    return true;
}

bool VarnelApplication::isListening() const
{
    return m_server && m_server->isListening();
}

// A message is its size (4 bytes) and the encoded list; a peer that says more than a message may
// hold, or sends something else, is dropped.
void VarnelApplication::readHandOver(QLocalSocket *socket)
{
    if (socket->bytesAvailable() < 4)
        return;
    quint32 size = 0;
    const QByteArray head = socket->peek(4);
    QDataStream(head) >> size;
    if (size > quint32(maxMessageSize)) {
        socket->abort();
        return;
    }
    if (socket->bytesAvailable() < 4 + qint64(size))
        return;
    socket->read(4);
    QStringList paths;
    if (!decodeHandOver(socket->read(size), &paths)) {
        socket->abort();
        return;
    }
    socket->putChar(handOverAccepted);
    socket->flush();
    emit argumentsReceived(paths);
}
