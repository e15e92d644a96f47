#pragma once

#include "XSession.h"

#include "platform/x11/X11Backend.h"

#include <QAbstractNativeEventFilter>

#include <gtest/gtest.h>

#include <memory>

namespace valimbra::testing {

// The session of this test process (one per process; ctest runs each test in its own).
XSession& session();

// Sees, on Qt's connection, the property changes the test itself makes on the root window:
// once it has seen one, every X event sent to this process before it has been dispatched.
class Barrier final : public QAbstractNativeEventFilter {
public:
    explicit Barrier(XSession& s);
    ~Barrier() override;
    // Round trip through the server and Qt's event queue.
    bool sync();
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

private:
    XSession& m_session;
    xcb_atom_t m_atom;
    quint32 m_sent = 0;
    quint32 m_seen = 0;
};

// A desktop with sample applications (two xterms, xclock, xeyes) and the backend under test.
class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the window helper and waits for its first window.
    pid_t startHelper(const QStringList& args, xcb_window_t* firstWindow = nullptr);
    std::optional<QString> xdotool(const QStringList& args) const;
    // The active window as xdotool reports it.
    xcb_window_t xdotoolActiveWindow() const;

    XSession* s = nullptr;
    std::unique_ptr<x11::X11Backend> backend;
    std::unique_ptr<Barrier> barrier;
    pid_t term1 = 0, term2 = 0, clock = 0, eyes = 0;
    xcb_window_t term1Window = 0, term2Window = 0, clockWindow = 0, eyesWindow = 0;
    QList<pid_t> extra; // further processes a test started
};

} // namespace valimbra::testing
