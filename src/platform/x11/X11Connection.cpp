#include "X11Connection.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <xcb/xcbext.h>

#include <cstdlib>
#include <cstring>
#include <sys/uio.h>

namespace valimbra::x11 {
namespace {

constexpr const char* kAtomNames[] = {
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_ACTIVE_WINDOW",
    "_NET_CURRENT_DESKTOP",
    "_NET_WM_DESKTOP",
    "_NET_WM_PID",
    "_NET_WM_NAME",
    "_NET_WM_ICON",
    "_NET_WM_STATE",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WM_WINDOW_TYPE_TOOLBAR",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_SPLASH",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_RESTACK_WINDOW",
    "_GTK_APPLICATION_ID",
    "_KDE_NET_WM_DESKTOP_FILE",
    "_KDE_NET_WM_BLUR_BEHIND_REGION",
    "_NET_WM_CM_S0", // the compositor of the first screen: Valimbra runs on one X screen
    "UTF8_STRING",
};
static_assert(std::size(kAtomNames) == static_cast<size_t>(Atom::Count));

// X-Resource is not wrapped by the xcb libraries the project uses; its one request we need
// (QueryClientIds, minor opcode 4) is small enough to send by hand.
xcb_extension_t kXResExtension = {"X-Resource", 0};
constexpr quint32 kXResLocalClientPidMask = 2;

int screenNumber(const QByteArray& display) {
    const int colon = display.lastIndexOf(':');
    const int dot = display.indexOf('.', colon < 0 ? 0 : colon);
    return dot < 0 ? 0 : display.mid(dot + 1).toInt();
}

} // namespace

std::vector<quint32> Property::cardinals() const {
    std::vector<quint32> out;
    if (format != 32)
        return out;
    out.resize(size_t(value.size()) / 4);
    if (!out.empty())
        std::memcpy(out.data(), value.constData(), out.size() * 4);
    return out;
}

QString Property::text() const {
    if (format != 8)
        return {};
    QByteArray v = value;
    if (v.endsWith('\0'))
        v.chop(1);
    return type == XCB_ATOM_STRING ? QString::fromLatin1(v) : QString::fromUtf8(v);
}

QStringList Property::texts() const {
    QStringList out;
    if (format != 8)
        return out;
    for (const QByteArray& part : value.split('\0'))
        out << QString::fromLatin1(part);
    if (!out.isEmpty() && out.last().isEmpty() && value.endsWith('\0'))
        out.removeLast();
    return out;
}

struct X11Connection::Clock {
    xcb_connection_t* c = nullptr;
    xcb_window_t window = XCB_NONE;
    ~Clock() {
        if (c)
            xcb_disconnect(c);
    }
};

std::unique_ptr<X11Connection> X11Connection::fromQt() {
    auto* app = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!app || !app->connection())
        return nullptr;
    xcb_connection_t* c = app->connection();
    const QByteArray display = qgetenv("DISPLAY");
    int n = screenNumber(display);
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    xcb_window_t root = it.data ? it.data->root : XCB_NONE;
    for (; it.rem && n >= 0; xcb_screen_next(&it), --n)
        root = it.data->root;
    return std::unique_ptr<X11Connection>(new X11Connection(c, root, display));
}

X11Connection::X11Connection(xcb_connection_t* c, xcb_window_t root, QByteArray displayName)
    : m_c(c)
    , m_root(root)
    , m_displayName(std::move(displayName)) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const char* name : kAtomNames)
        cookies.push_back(xcb_intern_atom(m_c, 0, uint16_t(std::strlen(name)), name));
    for (auto cookie : cookies) {
        xcb_generic_error_t* err = nullptr;
        xcb_intern_atom_reply_t* r = xcb_intern_atom_reply(m_c, cookie, &err);
        m_atoms.push_back(r ? r->atom : XCB_NONE);
        free(r);
        free(err);
    }
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11Connection::~X11Connection() {
    if (auto* app = QCoreApplication::instance())
        app->removeNativeEventFilter(this);
}

int X11Connection::addListener(Listener listener) {
    const int id = m_nextListener++;
    m_listeners.emplace(id, std::move(listener));
    return id;
}

void X11Connection::removeListener(int id) {
    m_listeners.erase(id);
}

bool X11Connection::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t" || m_listeners.empty())
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    std::vector<int> ids;
    ids.reserve(m_listeners.size());
    for (const auto& [id, _] : m_listeners)
        ids.push_back(id);
    for (int id : ids) {
        auto it = m_listeners.find(id); // a listener may remove another one
        if (it == m_listeners.end())
            continue;
        Listener l = it->second; // and itself
        if (l(event))
            return true;
    }
    return false;
}

xcb_get_property_cookie_t X11Connection::requestProperty(xcb_window_t w, xcb_atom_t property,
                                                         quint32 maxWords) const {
    return xcb_get_property(m_c, 0, w, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maxWords);
}

std::optional<Property> X11Connection::property(xcb_get_property_cookie_t cookie) const {
    xcb_generic_error_t* err = nullptr;
    xcb_get_property_reply_t* r = xcb_get_property_reply(m_c, cookie, &err);
    free(err);
    if (!r)
        return std::nullopt;
    std::optional<Property> out;
    if (r->type != XCB_NONE) {
        Property p;
        p.type = r->type;
        p.format = r->format;
        p.value = QByteArray(static_cast<const char*>(xcb_get_property_value(r)),
                             xcb_get_property_value_length(r));
        out = std::move(p);
    }
    free(r);
    return out;
}

std::optional<Property> X11Connection::property(xcb_window_t w, Atom a, quint32 maxWords) const {
    return property(requestProperty(w, atom(a), maxWords));
}

std::optional<xcb_window_t> X11Connection::windowProperty(xcb_window_t w, Atom a) const {
    auto p = property(w, a, 1);
    if (!p)
        return std::nullopt;
    const auto v = p->cardinals();
    if (v.empty())
        return std::nullopt;
    return v.front();
}

void X11Connection::selectInput(xcb_window_t w, quint32 mask) const {
    xcb_generic_error_t* err = nullptr;
    xcb_get_window_attributes_reply_t* r =
        xcb_get_window_attributes_reply(m_c, xcb_get_window_attributes(m_c, w), &err);
    free(err);
    if (!r)
        return;
    const quint32 value = r->your_event_mask | mask;
    free(r);
    const auto cookie = xcb_change_window_attributes_checked(m_c, w, XCB_CW_EVENT_MASK, &value);
    xcb_discard_reply(m_c, cookie.sequence);
}

void X11Connection::addRootEventMask(quint32 mask) const {
    selectInput(m_root, mask);
}

void X11Connection::sendRootMessage(xcb_window_t w, xcb_atom_t type,
                                    std::array<quint32, 5> data) const {
    xcb_client_message_event_t ev;
    std::memset(&ev, 0, sizeof ev);
    ev.response_type = XCB_CLIENT_MESSAGE;
    ev.format = 32;
    ev.window = w;
    ev.type = type;
    for (size_t i = 0; i < data.size(); ++i)
        ev.data.data32[i] = data[i];
    const auto cookie = xcb_send_event_checked(
        m_c, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
        reinterpret_cast<const char*>(&ev));
    xcb_discard_reply(m_c, cookie.sequence);
}

qint32 X11Connection::clientPid(xcb_window_t w) const {
    const xcb_query_extension_reply_t* ext = xcb_get_extension_data(m_c, &kXResExtension);
    if (!ext || !ext->present)
        return 0;
    struct {
        quint8 major;
        quint8 minor;
        quint16 length;
        quint32 numSpecs;
        quint32 client;
        quint32 mask;
    } request = {0, 4, 0, 1, w, kXResLocalClientPidMask};
    static const xcb_protocol_request_t proto = {1, &kXResExtension, 4, 0};
    iovec parts[3];
    parts[2].iov_base = &request;
    parts[2].iov_len = sizeof request;
    const unsigned int seq = xcb_send_request(m_c, XCB_REQUEST_CHECKED, parts + 2, &proto);
    xcb_generic_error_t* err = nullptr;
    auto* reply = static_cast<const quint8*>(xcb_wait_for_reply(m_c, seq, &err));
    free(err);
    if (!reply)
        return 0;
    // Reply: 32-byte header with num_ids at offset 8, then {client, mask, length, values...}.
    qint32 pid = 0;
    quint32 numIds = 0;
    std::memcpy(&numIds, reply + 8, 4);
    quint32 replyWords = 0;
    std::memcpy(&replyWords, reply + 4, 4);
    const size_t end = 32 + size_t(replyWords) * 4;
    size_t off = 32;
    for (quint32 i = 0; i < numIds && off + 12 <= end; ++i) {
        quint32 mask = 0;
        quint32 length = 0;
        std::memcpy(&mask, reply + off + 4, 4);
        std::memcpy(&length, reply + off + 8, 4);
        off += 12;
        if (mask == kXResLocalClientPidMask && length == 4 && off + 4 <= end)
            std::memcpy(&pid, reply + off, 4);
        off += length;
    }
    free(const_cast<quint8*>(reply));
    return pid > 0 ? pid : 0;
}

xcb_timestamp_t X11Connection::serverTime() const {
    // Qt reads events for its connection on its own thread, so a synchronous wait for a
    // PropertyNotify is only possible on a private connection.
    if (!m_clock) {
        m_clock = std::make_unique<Clock>();
        m_clock->c =
            xcb_connect(m_displayName.isEmpty() ? nullptr : m_displayName.constData(), nullptr);
        if (xcb_connection_has_error(m_clock->c)) {
            xcb_disconnect(m_clock->c);
            m_clock->c = nullptr;
        } else {
            const xcb_screen_t* s = xcb_setup_roots_iterator(xcb_get_setup(m_clock->c)).data;
            m_clock->window = xcb_generate_id(m_clock->c);
            const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
            xcb_create_window(m_clock->c, 0, m_clock->window, s->root, -1, -1, 1, 1, 0,
                              XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                              &mask);
        }
    }
    if (!m_clock->c)
        return XCB_CURRENT_TIME;
    xcb_change_property(m_clock->c, XCB_PROP_MODE_APPEND, m_clock->window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(m_clock->c);
    while (xcb_generic_event_t* ev = xcb_wait_for_event(m_clock->c)) {
        xcb_timestamp_t t = XCB_CURRENT_TIME;
        bool done = false;
        if ((ev->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
            t = reinterpret_cast<xcb_property_notify_event_t*>(ev)->time;
            done = true;
        }
        free(ev);
        if (done)
            return t;
    }
    return XCB_CURRENT_TIME;
}

} // namespace valimbra::x11
