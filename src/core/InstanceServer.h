#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QIODevice;
class QLocalServer;

namespace valimbra {

// A request line as the running instance understands it.
struct InstanceRequest {
    enum class Kind { Toggle, Quit, Activate, Settings, Unknown };
    Kind kind = Kind::Unknown;
    QString pane; // Settings: the pane named after the word, "General" when none is
};

// "toggle", "quit" and "activate" exactly; "settings", or "settings" and a pane name of up to 32
// letters. Anything else is Unknown.
InstanceRequest parseInstanceRequest(const QString& line);

// The running instance's end of the single-instance channel: a socket in a directory only this
// user may enter. Requests are one short line each and are treated as untrusted input.
class InstanceServer final : public QObject {
    Q_OBJECT
public:
    explicit InstanceServer(QObject* parent = nullptr);
    ~InstanceServer() override;

    // False when another instance already answers on the socket (or the socket cannot be made).
    bool listen(const QString& path);
    // Whether an instance answers on `path`.
    static bool isAnswering(const QString& path);

    // Returns whether the request was understood.
    std::function<bool(const QString& request)> handler;

    // A request line is at most this many bytes with its line end; a longer one drops the client.
    static constexpr qint64 maxRequestLength = 256;
    // Clients waiting at once, and how long one may take to send its line.
    static constexpr int maxClients = 8;
    static constexpr int clientTimeoutMs = 2000;
    // The trimmed request line a client has sent so far; nothing while its line is incomplete.
    // `overflow` turns true when more than a request may hold arrived without a line end, and
    // the client is then to be dropped.
    static std::optional<QString> readRequest(QIODevice& client, bool& overflow);

private:
    std::unique_ptr<QLocalServer> m_server;
};

} // namespace valimbra
