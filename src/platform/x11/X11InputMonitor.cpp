#include "X11InputMonitor.h"

#include "KeyCodes.h"
#include "X11Connection.h"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>

#include <xcb/xinput.h>
// xkb.h names a field `explicit`; rename it for C++ (as Qt does). Clang warns about redefining
// a keyword, which is the point here.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon.h>
#define explicit explicit_
#include <xkbcommon/xkbcommon-x11.h>
#undef explicit
#ifdef __clang__
#pragma clang diagnostic pop
#endif

#include <algorithm>
#include <bitset>
#include <map>
#include <vector>

namespace valimbra::x11 {
namespace {

constexpr quint32 kLockMask = 1u << 1;
// Mod2, Mod3 and Mod5: Num Lock (locked, so never among held keys), Hyper, AltGr.
constexpr quint32 kOtherModMask = (1u << 4) | (1u << 5) | (1u << 7);
// In an event's state Mod2 is the locked Num Lock, so only Mod3 and Mod5 count there.
constexpr quint32 kOtherModStateMask = (1u << 5) | (1u << 7);

// The flags of modifiers held down, with the ones macOS has no name for folded into one bit.
quint64 heldFlags(quint32 xMask, quint32 otherMask) {
    quint64 flags = keycodes::flagsFromXState(xMask);
    if (xMask & otherMask)
        flags |= ModifierFlag::OtherModifier;
    return flags;
}
constexpr quint32 kPointerEmulated = 1u << 16; // XIPointerEmulated: a touch, not a button

quint64 flagsFromQt(Qt::KeyboardModifiers m) {
    quint64 f = 0;
    if (m & Qt::ShiftModifier)
        f |= ModifierFlag::Shift;
    if (m & Qt::ControlModifier)
        f |= ModifierFlag::Control;
    if (m & Qt::AltModifier)
        f |= ModifierFlag::Option;
    if (m & Qt::MetaModifier)
        f |= ModifierFlag::Command;
    return f;
}

} // namespace

struct X11InputMonitor::Private {
    X11Connection& x;
    int listenerId = 0;
    quint8 xiOpcode = 0;
    quint8 xkbEventBase = 0;

    struct Global {
        quint64 mask;
        GlobalHandler handler;
    };
    struct Local {
        quint64 mask;
        LocalHandler handler;
    };
    std::map<MonitorToken, Global> globals;
    std::map<MonitorToken, Local> locals;
    MonitorToken nextToken = 1;
    bool rawSelected = false;
    bool filterInstalled = false;

    // Keyboard state from the raw key stream.
    std::bitset<256> pressed;
    quint32 lockedMods = 0;
    std::array<quint8, 256> modifierOf{}; // X modifier mask bits each keycode sets
    bool modifierMapStale = true;
    quint32 group = 0;

    xkb_context* xkb = nullptr;
    xkb_keymap* keymap = nullptr;
    bool keymapStale = true;

    explicit Private(X11Connection& conn)
        : x(conn) {}
    ~Private() {
        if (keymap)
            xkb_keymap_unref(keymap);
        if (xkb)
            xkb_context_unref(xkb);
    }

    bool onEvent(xcb_generic_event_t* ev);
    void onRawKey(quint32 keycode, bool press);
    void onRawButton(quint32 button, quint32 flags, quint32 time);
    void selectRaw(bool on);
    void refreshModifierMap();
    void refreshKeymap();
    quint32 heldModifierMask();
    bool deliverGlobal(const InputEvent& ev);
    // Raw events carry the physical button; everything else, and the user, know the one the
    // button map makes of it (left-handed, or middle and right swapped). map[physical - 1].
    std::vector<quint8> buttonMap;
    bool buttonMapStale = true;
    quint32 mappedButton(quint32 physical);
    // One press reaches us twice, as a raw event and, on our own window, as Qt's event; the X
    // server time tells them apart from two presses (the raw event's button is not Qt's).
    // Whichever path took it first keeps it.
    std::optional<quint32> deliveredGlobally; // server times of the last presses
    std::optional<quint32> deliveredLocally;
    QString characters(quint32 keycode, quint64 flags);
    quint32 xkbState(quint32* lockedOut = nullptr, quint32* groupOut = nullptr) const;
};

X11InputMonitor::X11InputMonitor(X11Connection& x, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(x)) {
    xcb_connection_t* c = x.xcb();
    if (const auto* xi = xcb_get_extension_data(c, &xcb_input_id); xi && xi->present)
        d->xiOpcode = xi->major_opcode;
    if (const auto* xkbExt = xcb_get_extension_data(c, &xcb_xkb_id); xkbExt && xkbExt->present)
        d->xkbEventBase = xkbExt->first_event;
    d->xkb = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    d->listenerId = x.addListener([this](xcb_generic_event_t* ev) { return d->onEvent(ev); });
}

X11InputMonitor::~X11InputMonitor() {
    d->selectRaw(false);
    d->x.removeListener(d->listenerId);
    if (d->filterInstalled && QCoreApplication::instance())
        QCoreApplication::instance()->removeEventFilter(this);
}

MonitorToken X11InputMonitor::addGlobalMonitor(quint64 eventMask, GlobalHandler handler) {
    if (d->xiOpcode == 0 || !handler)
        return 0;
    if (!d->rawSelected)
        d->selectRaw(true);
    if (!d->rawSelected)
        return 0;
    const MonitorToken token = d->nextToken++;
    d->globals.emplace(token, Private::Global{eventMask, std::move(handler)});
    return token;
}

MonitorToken X11InputMonitor::addLocalMonitor(quint64 eventMask, LocalHandler handler) {
    if (!handler)
        return 0;
    if (!d->filterInstalled) {
        QCoreApplication::instance()->installEventFilter(this);
        d->filterInstalled = true;
    }
    const MonitorToken token = d->nextToken++;
    d->locals.emplace(token, Private::Local{eventMask, std::move(handler)});
    return token;
}

void X11InputMonitor::removeMonitor(MonitorToken token) {
    d->globals.erase(token);
    d->locals.erase(token);
    if (d->globals.empty())
        d->selectRaw(false);
}

quint32 X11InputMonitor::Private::xkbState(quint32* lockedOut, quint32* groupOut) const {
    xcb_connection_t* c = x.xcb();
    xcb_generic_error_t* err = nullptr;
    auto* r = xcb_xkb_get_state_reply(c, xcb_xkb_get_state(c, XCB_XKB_ID_USE_CORE_KBD), &err);
    free(err);
    if (!r)
        return 0;
    const quint32 mods = r->mods;
    if (lockedOut)
        *lockedOut = r->lockedMods;
    if (groupOut)
        *groupOut = r->group;
    free(r);
    return mods;
}

quint64 X11InputMonitor::currentModifierFlags() const {
    return keycodes::flagsFromXState(d->xkbState());
}

void X11InputMonitor::Private::selectRaw(bool on) {
    if (on == rawSelected || xiOpcode == 0)
        return;
    struct {
        xcb_input_event_mask_t head;
        quint32 bits;
    } mask{};
    // Master devices only: every physical (or XTEST) event arrives once.
    mask.head.deviceid = XCB_INPUT_DEVICE_ALL_MASTER;
    mask.head.mask_len = 1;
    mask.bits =
        on ? (XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
              XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS)
           : 0;
    xcb_connection_t* c = x.xcb();
    xcb_generic_error_t* err =
        xcb_request_check(c, xcb_input_xi_select_events_checked(c, x.root(), 1, &mask.head));
    if (err) {
        free(err);
        return;
    }
    rawSelected = on;
    if (!on)
        return;
    // Start from the keys that are down right now.
    pressed.reset();
    if (auto* km = xcb_query_keymap_reply(c, xcb_query_keymap(c), nullptr)) {
        for (int i = 0; i < 256; ++i)
            if (km->keys[i / 8] & (1u << (i % 8)))
                pressed.set(size_t(i));
        free(km);
    }
    xkbState(&lockedMods, &group);
    modifierMapStale = true;
}

void X11InputMonitor::Private::refreshModifierMap() {
    modifierMapStale = false;
    modifierOf.fill(0);
    xcb_connection_t* c = x.xcb();
    xcb_generic_error_t* err = nullptr;
    auto* r = xcb_get_modifier_mapping_reply(c, xcb_get_modifier_mapping(c), &err);
    free(err);
    if (!r)
        return;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(r);
    const int perModifier = r->keycodes_per_modifier;
    for (int mod = 0; mod < 8; ++mod)
        for (int i = 0; i < perModifier; ++i)
            if (const xcb_keycode_t k = codes[mod * perModifier + i])
                modifierOf[k] |= quint8(1u << mod);
    free(r);
}

void X11InputMonitor::Private::refreshKeymap() {
    keymapStale = false;
    if (!xkb)
        return;
    xcb_connection_t* c = x.xcb();
    const int32_t device = xkb_x11_get_core_keyboard_device_id(c);
    if (device < 0)
        return;
    if (xkb_keymap* fresh =
            xkb_x11_keymap_new_from_device(xkb, c, device, XKB_KEYMAP_COMPILE_NO_FLAGS)) {
        if (keymap)
            xkb_keymap_unref(keymap);
        keymap = fresh;
    }
}

quint32 X11InputMonitor::Private::heldModifierMask() {
    if (modifierMapStale)
        refreshModifierMap();
    quint32 mask = 0;
    for (size_t k = 0; k < 256; ++k)
        if (pressed.test(k))
            mask |= modifierOf[k];
    // Caps Lock counts while locked, not while held.
    return (mask & ~kLockMask) | (lockedMods & kLockMask);
}

bool X11InputMonitor::Private::onEvent(xcb_generic_event_t* ev) {
    const quint8 type = ev->response_type & 0x7f;
    if (type == XCB_GE_GENERIC && xiOpcode != 0) {
        const auto* ge = reinterpret_cast<xcb_ge_generic_event_t*>(ev);
        if (ge->extension != xiOpcode)
            return false;
        switch (ge->event_type) {
        case XCB_INPUT_RAW_KEY_PRESS:
        case XCB_INPUT_RAW_KEY_RELEASE: {
            const auto* raw = reinterpret_cast<xcb_input_raw_key_press_event_t*>(ev);
            onRawKey(raw->detail, ge->event_type == XCB_INPUT_RAW_KEY_PRESS);
            return true;
        }
        case XCB_INPUT_RAW_BUTTON_PRESS: {
            const auto* raw = reinterpret_cast<xcb_input_raw_button_press_event_t*>(ev);
            onRawButton(raw->detail, raw->flags, raw->time);
            return true;
        }
        default:
            return false;
        }
    }
    if (type == XCB_MAPPING_NOTIFY) {
        // A new button map leaves the keyboard's alone: rebuilding those costs round trips.
        if (reinterpret_cast<xcb_mapping_notify_event_t*>(ev)->request == XCB_MAPPING_POINTER) {
            buttonMapStale = true;
        } else {
            modifierMapStale = true;
            keymapStale = true;
        }
    } else if (xkbEventBase != 0 && type == xkbEventBase) {
        // Qt selects these on the shared connection for its own keyboard; we only listen.
        const quint8 xkbType = reinterpret_cast<const quint8*>(ev)[1];
        if (xkbType == XCB_XKB_NEW_KEYBOARD_NOTIFY || xkbType == XCB_XKB_MAP_NOTIFY) {
            keymapStale = true;
            modifierMapStale = true;
        } else if (xkbType == XCB_XKB_STATE_NOTIFY) {
            const auto* sn = reinterpret_cast<xcb_xkb_state_notify_event_t*>(ev);
            group = sn->group;
        }
    }
    return false;
}

// Whether one of our windows takes the keyboard: it has the focus, or it holds an active
// keyboard grab (the overlay panel, which never takes the focus).
bool keyboardIsOurs() {
    if (QGuiApplication::focusWindow() != nullptr)
        return true;
    const auto windows = QGuiApplication::topLevelWindows();
    return std::any_of(windows.begin(), windows.end(), [](const QWindow* w) {
        return w->isVisible() && w->property(keyboardGrabProperty).toBool();
    });
}

// Whether a click at `p` lands on one of our windows (which then sees it as a local event): a
// visible window containing the point, within its shape when it has one.
bool landsOnOurWindow(QPointF p) {
    const auto windows = QGuiApplication::topLevelWindows();
    return std::any_of(windows.begin(), windows.end(), [p](const QWindow* w) {
        // A window transparent for input (the tray hint) lets clicks through to what is under it.
        if (!w->isVisible() || w->opacity() <= 0.0 ||
            (w->flags() & Qt::WindowTransparentForInput) || !w->geometry().contains(p.toPoint()))
            return false;
        const QRegion mask = w->mask();
        return mask.isEmpty() || mask.contains((p - QPointF(w->position())).toPoint());
    });
}

bool X11InputMonitor::Private::deliverGlobal(const InputEvent& ev) {
    // Events for our own windows reach the local monitors instead: keys while the keyboard is
    // ours, clicks that land on one of our windows (a click elsewhere is global even while the
    // overlay holds the keyboard).
    if (ev.type == InputEventType::FlagsChanged || ev.type == InputEventType::KeyDown) {
        if (keyboardIsOurs())
            return false;
    } else if (landsOnOurWindow(ev.position)) {
        return false;
    }
    const quint64 bit = eventMaskFor(ev.type);
    std::vector<MonitorToken> tokens;
    for (const auto& [token, g] : globals)
        if (g.mask & bit)
            tokens.push_back(token);
    for (MonitorToken token : tokens) {
        auto it = globals.find(token); // an earlier handler may have removed it
        if (it == globals.end())
            continue;
        GlobalHandler handler = it->second.handler;
        handler(ev);
    }
    return true;
}

void X11InputMonitor::Private::onRawKey(quint32 keycode, bool press) {
    if (keycode > 255)
        return;
    if (modifierMapStale)
        refreshModifierMap();
    const quint32 modMask = modifierOf[keycode];
    const bool wasDown = pressed.test(keycode);
    if (press)
        pressed.set(keycode);
    else
        pressed.reset(keycode);

    InputEvent ev;
    ev.keyCode = keycodes::virtualFromX(keycode).value_or(-1);
    if (modMask != 0) {
        // A repeat, or a second release of the same key (XTEST and some drivers send those):
        // the flags did not change.
        if (press == wasDown)
            return;
        if (modMask & kLockMask) {
            if (press)
                lockedMods ^= kLockMask; // the server toggles on press
            else
                xkbState(&lockedMods); // settle on the server's view
        }
        ev.type = InputEventType::FlagsChanged;
        ev.modifierFlags = heldFlags(heldModifierMask(), kOtherModMask);
        deliverGlobal(ev);
        return;
    }
    if (!press)
        return; // key-ups are not monitored; duplicate releases end here too
    ev.type = InputEventType::KeyDown;
    ev.modifierFlags = heldFlags(heldModifierMask(), kOtherModMask);
    ev.characters = characters(keycode, ev.modifierFlags);
    deliverGlobal(ev);
}

quint32 X11InputMonitor::Private::mappedButton(quint32 physical) {
    if (buttonMapStale) {
        buttonMapStale = false;
        buttonMap.clear();
        xcb_connection_t* c = x.xcb();
        if (auto* r = xcb_get_pointer_mapping_reply(c, xcb_get_pointer_mapping(c), nullptr)) {
            const quint8* map = xcb_get_pointer_mapping_map(r);
            buttonMap.assign(map, map + xcb_get_pointer_mapping_map_length(r));
            free(r);
        }
    }
    return physical >= 1 && physical <= buttonMap.size() ? buttonMap[physical - 1] : physical;
}

void X11InputMonitor::Private::onRawButton(quint32 button, quint32 flags, quint32 time) {
    if (flags & kPointerEmulated)
        return;
    if (deliveredLocally == time)
        return;
    InputEvent ev;
    button = mappedButton(button);
    switch (button) {
    case 1:
        ev.type = InputEventType::LeftMouseDown;
        ev.buttonNumber = 0;
        break;
    case 3:
        ev.type = InputEventType::RightMouseDown;
        ev.buttonNumber = 1;
        break;
    case 2:
        ev.type = InputEventType::OtherMouseDown;
        ev.buttonNumber = 2;
        break;
    case 8: // back
    case 9: // forward
        ev.type = InputEventType::OtherMouseDown;
        ev.buttonNumber = int(button) - 5;
        break;
    default:
        return; // 4-7 are wheel steps
    }
    ev.modifierFlags = keycodes::flagsFromXState(heldModifierMask());
    ev.position = QCursor::pos();
    if (deliverGlobal(ev))
        deliveredGlobally = time;
}

QString X11InputMonitor::Private::characters(quint32 keycode, quint64 flags) {
    if (keymapStale)
        refreshKeymap();
    if (!keymap)
        return {};
    xkb_state* state = xkb_state_new(keymap);
    const xkb_mod_index_t shift = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_SHIFT);
    const xkb_mod_index_t caps = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_CAPS);
    xkb_mod_mask_t depressed = 0;
    xkb_mod_mask_t locked = 0;
    if ((flags & ModifierFlag::Shift) && shift != XKB_MOD_INVALID)
        depressed |= 1u << shift;
    if ((flags & ModifierFlag::CapsLock) && caps != XKB_MOD_INVALID)
        locked |= 1u << caps;
    xkb_state_update_mask(state, depressed, 0, locked, 0, 0, group);
    char buf[64] = {};
    xkb_state_key_get_utf8(state, keycode, buf, sizeof buf);
    xkb_state_unref(state);
    return QString::fromUtf8(buf);
}

QString X11InputMonitor::charactersFor(quint32 xKeycode, quint64 modifierFlags) const {
    return d->characters(xKeycode, modifierFlags);
}

bool X11InputMonitor::eventFilter(QObject* watched, QEvent* event) {
    if (d->locals.empty() || !watched->isWindowType())
        return false;
    auto* window = static_cast<QWindow*>(watched);
    InputEvent ev;
    ev.window = window;
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        auto* ke = static_cast<QKeyEvent*>(event);
        const quint32 keycode = ke->nativeScanCode();
        if (d->modifierMapStale)
            d->refreshModifierMap();
        const quint32 modMask = keycode < 256 ? d->modifierOf[keycode] : 0;
        ev.keyCode = keycodes::virtualFromX(keycode).value_or(-1);
        // The event's state is the one before the key went down or up.
        quint64 flags = keycode != 0 ? heldFlags(ke->nativeModifiers(), kOtherModStateMask)
                                     : flagsFromQt(ke->modifiers());
        if (modMask != 0) {
            if (ke->isAutoRepeat())
                return false;
            const quint64 own = heldFlags(modMask & ~kLockMask, kOtherModStateMask);
            if (modMask & kLockMask)
                flags ^= ModifierFlag::CapsLock * (event->type() == QEvent::KeyPress);
            flags = event->type() == QEvent::KeyPress ? (flags | own) : (flags & ~own);
            ev.type = InputEventType::FlagsChanged;
        } else if (event->type() == QEvent::KeyPress) {
            ev.type = InputEventType::KeyDown;
            ev.characters = keycode != 0 ? charactersFor(keycode, flags) : ke->text();
        } else {
            return false;
        }
        ev.modifierFlags = flags;
        break;
    }
    case QEvent::MouseButtonPress: {
        auto* me = static_cast<QMouseEvent*>(event);
        switch (me->button()) {
        case Qt::LeftButton:
            ev.type = InputEventType::LeftMouseDown;
            ev.buttonNumber = 0;
            break;
        case Qt::RightButton:
            ev.type = InputEventType::RightMouseDown;
            ev.buttonNumber = 1;
            break;
        case Qt::MiddleButton:
            ev.type = InputEventType::OtherMouseDown;
            ev.buttonNumber = 2;
            break;
        case Qt::BackButton:
            ev.type = InputEventType::OtherMouseDown;
            ev.buttonNumber = 3;
            break;
        case Qt::ForwardButton:
            ev.type = InputEventType::OtherMouseDown;
            ev.buttonNumber = 4;
            break;
        default:
            return false;
        }
        ev.modifierFlags = flagsFromQt(me->modifiers());
        ev.position = me->globalPosition();
        const quint32 time = quint32(me->timestamp());
        if (d->deliveredGlobally == time)
            return false;
        d->deliveredLocally = time;
        break;
    }
    default:
        return false;
    }

    const quint64 bit = eventMaskFor(ev.type);
    std::vector<MonitorToken> tokens;
    for (const auto& [token, l] : d->locals)
        if (l.mask & bit)
            tokens.push_back(token);
    for (MonitorToken token : tokens) {
        auto it = d->locals.find(token);
        if (it == d->locals.end())
            continue;
        LocalHandler handler = it->second.handler;
        std::optional<InputEvent> result = handler(ev);
        if (!result)
            return true; // swallowed
        ev = *result;
    }
    return false;
}

} // namespace valimbra::x11
