#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QList>
#include <QString>

#include <xcb/xcb.h>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace valimbra::x11 {

// Atoms the backend uses, interned once in one round trip.
enum class Atom {
    NetClientList,
    NetClientListStacking,
    NetActiveWindow,
    NetCurrentDesktop,
    NetWmDesktop,
    NetWmPid,
    NetWmName,
    NetWmIcon,
    NetWmState,
    NetWmStateSkipTaskbar,
    NetWmWindowType,
    NetWmWindowTypeNormal,
    NetWmWindowTypeDialog,
    NetWmWindowTypeUtility,
    NetWmWindowTypeToolbar,
    NetWmWindowTypeDock,
    NetWmWindowTypeDesktop,
    NetWmWindowTypeSplash,
    NetWmWindowTypeMenu,
    NetRestackWindow,
    GtkApplicationId,
    KdeNetWmDesktopFile,
    KdeNetWmBlurBehindRegion,
    NetWmCmS0,
    Utf8String,
    Count
};

// A property value as read from the server.
struct Property {
    xcb_atom_t type = XCB_NONE;
    quint8 format = 0;
    QByteArray value;

    std::vector<quint32> cardinals() const; // format-32 values
    QString text() const;                   // STRING (Latin-1) or UTF8_STRING
    QStringList texts() const;              // NUL-separated strings (WM_CLASS)
};

// The X connection Qt opened, shared by the X11 services. X events reach the services through
// one native event filter on the GUI thread, in the order Qt reads them, so the backend sees
// its events interleaved correctly with Qt's own handling (focus, our windows' keys). Requests
// that wait for a reply always collect their error too, so a window that vanished mid-query
// never turns into an error event (which Qt would print).
class X11Connection final : public QAbstractNativeEventFilter {
public:
    using Listener = std::function<bool(xcb_generic_event_t* event)>;

    // Nothing when the application does not run on the xcb platform.
    static std::unique_ptr<X11Connection> fromQt();
    ~X11Connection() override;

    xcb_connection_t* xcb() const { return m_c; }
    xcb_window_t root() const { return m_root; }
    xcb_atom_t atom(Atom a) const { return m_atoms[static_cast<int>(a)]; }

    // Listeners see every event before Qt; returning true hides it from Qt and later listeners.
    int addListener(Listener listener);
    void removeListener(int id);

    // Properties: send now, collect later, so many windows cost one round trip.
    xcb_get_property_cookie_t requestProperty(xcb_window_t w, xcb_atom_t property,
                                              quint32 maxWords = 4096) const;
    // Nothing when the window is gone (BadWindow) or the property is unset.
    std::optional<Property> property(xcb_get_property_cookie_t cookie) const;
    std::optional<Property> property(xcb_window_t w, Atom a, quint32 maxWords = 4096) const;
    std::optional<xcb_window_t> windowProperty(xcb_window_t w, Atom a) const;

    // Adds event-mask bits on a foreign window without disturbing anything else; errors
    // (window already gone) are dropped.
    void selectInput(xcb_window_t w, quint32 mask) const;
    // Adds event-mask bits to what this client (Qt included) already selects on the root.
    void addRootEventMask(quint32 mask) const;
    // Sends an EWMH client message to the root window.
    void sendRootMessage(xcb_window_t w, xcb_atom_t type, std::array<quint32, 5> data) const;

    // The process owning a window's X client, asked of the X-Resource extension; 0 when it
    // cannot be told (no extension, remote client, window gone).
    qint32 clientPid(xcb_window_t w) const;

    // A current server timestamp (from a property change on a private window).
    xcb_timestamp_t serverTime() const;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    X11Connection(xcb_connection_t* c, xcb_window_t root, QByteArray displayName);

    xcb_connection_t* m_c;
    xcb_window_t m_root;
    QByteArray m_displayName;
    std::vector<xcb_atom_t> m_atoms;
    std::map<int, Listener> m_listeners;
    int m_nextListener = 1;

    struct Clock;
    mutable std::unique_ptr<Clock> m_clock;
};

} // namespace valimbra::x11
