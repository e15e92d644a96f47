#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QLocalServer;

namespace valimbra {

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

private:
    std::unique_ptr<QLocalServer> m_server;
};

} // namespace valimbra
