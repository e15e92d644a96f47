#include "InstanceServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>

#include <sys/stat.h>

namespace valimbra {
namespace {
constexpr qint64 kMaxRequest = 256;
constexpr int kConnectTimeoutMs = 500;
} // namespace

InstanceServer::InstanceServer(QObject* parent)
    : QObject(parent) {}

InstanceServer::~InstanceServer() {
    if (m_server)
        m_server->close(); // removes the socket file
}

bool InstanceServer::isAnswering(const QString& path) {
    QLocalSocket socket;
    socket.connectToServer(path);
    return socket.waitForConnected(kConnectTimeoutMs);
}

bool InstanceServer::listen(const QString& path) {
    const QString dir = QFileInfo(path).absolutePath();
    QDir().mkpath(dir);
    // Only this user may reach the socket: the directory is ours and closed to others.
    struct stat st {};
    if (::stat(QFile::encodeName(dir).constData(), &st) != 0 || st.st_uid != ::getuid())
        return false;
    ::chmod(QFile::encodeName(dir).constData(), 0700);
    if (isAnswering(path))
        return false;
    QLocalServer::removeServer(path); // a socket left by a killed instance
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(path)) {
        m_server.reset();
        return false;
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (!socket->canReadLine()) {
                    if (socket->bytesAvailable() > kMaxRequest)
                        socket->abort();
                    return;
                }
                const QString request = QString::fromUtf8(socket->readLine(kMaxRequest)).trimmed();
                const bool ok = handler && handler(request);
                socket->write(ok ? "ok\n" : "error\n");
                socket->flush();
                socket->disconnectFromServer();
            });
        }
    });
    return true;
}

} // namespace valimbra
