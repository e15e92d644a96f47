#include "X11WindowEffects.h"

#include "X11Connection.h"

#include <QWindow>

#include <vector>

namespace valimbra::x11 {

X11WindowEffects::X11WindowEffects(X11Connection& x)
    : m_x(x) {}

bool X11WindowEffects::compositingActive() const {
    xcb_connection_t* c = m_x.xcb();
    const xcb_atom_t selection = m_x.atom(Atom::NetWmCmS0);
    auto* r = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr);
    const bool active = r && r->owner != XCB_NONE;
    free(r);
    return active;
}

void X11WindowEffects::setBlurBehind(QWindow& window, const QRegion& region) {
    xcb_connection_t* c = m_x.xcb();
    const auto w = xcb_window_t(window.winId());
    const xcb_atom_t property = m_x.atom(Atom::KdeNetWmBlurBehindRegion);
    if (region.isEmpty()) {
        xcb_delete_property(c, w, property);
    } else {
        // The property is in device pixels.
        const qreal dpr = window.devicePixelRatio();
        std::vector<quint32> values;
        for (const QRect& r : region) {
            values.push_back(quint32(qRound(r.x() * dpr)));
            values.push_back(quint32(qRound(r.y() * dpr)));
            values.push_back(quint32(qRound(r.width() * dpr)));
            values.push_back(quint32(qRound(r.height() * dpr)));
        }
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, property, XCB_ATOM_CARDINAL, 32,
                            quint32(values.size()), values.data());
    }
    xcb_flush(c);
}

void X11WindowEffects::bringToFront(QWindow& window) {
    // Source 2 (a pager, acting for the user): honoured even where an application's own request
    // would only mark the window as wanting attention.
    m_x.sendRootMessage(xcb_window_t(window.winId()), m_x.atom(Atom::NetActiveWindow),
                        {2, XCB_CURRENT_TIME, 0, 0, 0});
    xcb_flush(m_x.xcb());
}

} // namespace valimbra::x11
