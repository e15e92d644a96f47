// The single-instance channel, which any process of the user can write to: the bytes a client
// sends, arriving in pieces, become one request line (or the client is dropped), which is parsed
// and handled by a stand-in for the running program that records what it would do. A pane
// request goes through the router to the settings window's navigation, as in the program.
// Also: the socket's file name, made from $DISPLAY, never leaves the socket directory.
//
// The first input byte sets the size of the pieces; the rest is what the client sends.

#include "FuzzSupport.h"

#include "core/InstanceServer.h"
#include "core/ValimbraRouter.h"
#include "platform/InstanceSocket.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"
#include "settings/SettingsNavigation.h"

#include <QBuffer>

#include <cctype>
#include <cstdlib>
#include <string>

using namespace valimbra;
using valimbra::fuzz::require;

namespace {

// What the program would do for each request (see AppDelegate::handleRequest).
class ProgramStandIn {
public:
    ProgramStandIn() {
        m_router.handler = [this](const QString&) { ++m_windowShown; };
    }

    bool handle(const QString& line) {
        const InstanceRequest request = parseInstanceRequest(line);
        switch (request.kind) {
        case InstanceRequest::Kind::Toggle:
        case InstanceRequest::Kind::Quit:
        case InstanceRequest::Kind::Activate:
            require(line == u"toggle" || line == u"quit" || line == u"activate");
            return true;
        case InstanceRequest::Kind::Settings:
            require(line.startsWith(u"settings"));
            require(!request.pane.isEmpty() && request.pane == request.pane.trimmed());
            m_router.openPane(request.pane);
            return true;
        case InstanceRequest::Kind::Unknown:
            return false;
        }
        return false;
    }

    // A known pane is shown and its request cleared; anything else stays stored, unshown.
    void checkPane(const QString& pane) {
        require(m_windowShown == 1);
        const auto stored = m_settings.string(SettingsNavigation::requestedPaneKey);
        if (paneFromRaw(pane)) {
            require(m_navigation.displayedPane() == pane && stored == QString());
        } else {
            require(m_navigation.displayedPane() == u"General" && stored == pane);
        }
    }

private:
    MemorySettingsStore m_settings;
    FakeScheduler m_scheduler;
    ValimbraRouter m_router{m_settings};
    SettingsNavigation m_navigation{m_settings, m_scheduler};
    int m_windowShown = 0;
};

// What the server reads as the client's bytes arrive, `piece` bytes at a time: nothing until a
// line is complete, then that line; or the client is dropped for sending too much.
void receive(const QByteArray& sent, qsizetype piece) {
    ProgramStandIn program;
    for (qsizetype arrived = piece;; arrived += piece) {
        QByteArray buffered = sent.left(arrived);
        QBuffer client(&buffered);
        client.open(QIODevice::ReadOnly);
        bool overflow = false;
        const std::optional<QString> line = InstanceServer::readRequest(client, overflow);
        if (line) {
            require(!overflow && buffered.contains('\n'));
            require(line->size() <= InstanceServer::maxRequestLength);
            require(!line->contains(u'\n') && *line == line->trimmed());
            if (program.handle(*line) && line->startsWith(u"settings"))
                program.checkPane(parseInstanceRequest(*line).pane);
            return;
        }
        if (overflow) {
            // More than a request may hold: without a line end, or a line that long (refused
            // whole, never cut to a shorter request).
            const qsizetype end = buffered.indexOf('\n');
            require(end < 0 ? buffered.size() > InstanceServer::maxRequestLength
                            : end + 1 > InstanceServer::maxRequestLength);
            return;
        }
        require(!buffered.contains('\n'));
        if (arrived >= sent.size())
            return; // the client stopped sending: the server keeps waiting
    }
}

// $DISPLAY names the socket; whatever it holds, the socket stays in its directory.
void socketName(const QByteArray& display) {
    const qsizetype end = display.indexOf('\0');
    const std::string value = (end < 0 ? display : display.first(end)).toStdString();
    ::setenv("DISPLAY", value.c_str(), 1);
    const std::string dir = instance::socketDirectory() + "/display";
    const std::string path = instance::socketPath();
    require(path.rfind(dir, 0) == 0 && path.size() >= dir.size() + 5);
    const std::string name = path.substr(dir.size());
    require(name.substr(name.size() - 5) == ".sock");
    for (const char c : name.substr(0, name.size() - 5))
        require(std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_');
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::quietQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    // Nothing a client sends beyond the cap is ever read; twice that covers every case.
    if (size > size_t(2 * InstanceServer::maxRequestLength + 1))
        return 0;
    const QByteArray sent = fuzz::bytes(data + 1, size - 1);
    receive(sent, 1 + data[0] % 64);
    // The tray's "Open" item and tests call the handler directly, without the socket's cap.
    ProgramStandIn().handle(QString::fromUtf8(sent));
    socketName(sent);
    return 0;
}
