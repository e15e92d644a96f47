#include "InstanceServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QRegularExpression>
#include <QTimer>

#include <sys/stat.h>

namespace valimbra {
namespace {
constexpr int kConnectTimeoutMs = 500;
} // namespace

InstanceRequest parseInstanceRequest(const QString& line) {
    using Kind = InstanceRequest::Kind;
    if (line == u"toggle")
        return {Kind::Toggle, {}};
    if (line == u"quit")
        return {Kind::Quit, {}};
    if (line == u"activate")
        return {Kind::Activate, {}};
    if (line == u"settings")
        return {Kind::Settings, u"General"_qs};
    // A pane is a short plain word; the router keeps a name it does not know, so nothing else
    // may reach the settings file this way.
    static const QRegularExpression paneName(u"^settings ([A-Za-z]{1,32})$"_qs);
    if (const auto m = paneName.match(line); m.hasMatch())
        return {Kind::Settings, m.captured(1)};
    return {};
}

std::optional<QString> InstanceServer::readRequest(QIODevice& client, bool& overflow) {
    overflow = false;
    if (!client.canReadLine()) {
        overflow = client.bytesAvailable() > maxRequestLength;
        return std::nullopt;
    }
    // A longer line is refused whole, not cut to a request it never was.
    const QByteArray line = client.readLine(maxRequestLength + 1);
    if (!line.endsWith('\n')) {
        overflow = true;
        return std::nullopt;
    }
    return QString::fromUtf8(line).trimmed();
}

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
            // A client that holds a connection without finishing its line is dropped, and only
            // a few may wait at once.
            if (m_server->findChildren<QLocalSocket*>(Qt::FindDirectChildrenOnly).size() >
                maxClients) {
                socket->abort();
                socket->deleteLater();
                continue;
            }
            QTimer::singleShot(clientTimeoutMs, socket, [socket] { socket->abort(); });
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                bool overflow = false;
                const std::optional<QString> request = readRequest(*socket, overflow);
                if (!request) {
                    if (overflow)
                        socket->abort();
                    return;
                }
                const bool ok = handler && handler(*request);
                socket->write(ok ? "ok\n" : "error\n");
                socket->flush();
                socket->disconnectFromServer();
            });
        }
    });
    return true;
}

} // namespace valimbra
