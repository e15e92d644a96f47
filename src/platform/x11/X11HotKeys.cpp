#include "X11HotKeys.h"

#include "KeyCodes.h"
#include "X11Connection.h"

#include <array>
#include <map>
#include <vector>

namespace valimbra::x11 {
namespace {

constexpr quint16 kLockMask = 1u << 1;
constexpr quint16 kDefaultNumLockMask = 1u << 4; // Mod2 on nearly every keymap
constexpr quint32 kNumLockKeysym = 0xff7f;

} // namespace

struct X11HotKeys::Private {
    X11Connection& x;
    int listenerId = 0;
    quint16 numLockMask = kDefaultNumLockMask;

    struct Registration {
        xcb_keycode_t keycode;
        quint16 modifiers;
        HotKeyId id;
        bool down = false;
    };
    std::map<HotKeyRef, Registration> registrations;
    std::map<HotKeyHandlerRef, Handler> handlers;
    quint64 nextRef = 1;

    explicit Private(X11Connection& conn)
        : x(conn) {}

    std::array<quint16, 4> variants() const {
        return {0, kLockMask, numLockMask, quint16(kLockMask | numLockMask)};
    }
    // Waits until the server has released the grabs, so the combination is free for other
    // clients the moment this returns.
    void ungrab(xcb_keycode_t keycode, quint16 modifiers,
                std::array<bool, 4> which = {true, true, true, true}) const {
        std::vector<xcb_void_cookie_t> cookies;
        const auto vs = variants();
        for (size_t i = 0; i < vs.size(); ++i)
            if (which[i])
                cookies.push_back(
                    xcb_ungrab_key_checked(x.xcb(), keycode, x.root(), quint16(modifiers | vs[i])));
        for (const auto cookie : cookies)
            free(xcb_request_check(x.xcb(), cookie));
    }
    void findNumLock();
    bool onEvent(xcb_generic_event_t* ev);
};

// The modifier bit the Num Lock key sets, from the server's modifier and keyboard maps.
void X11HotKeys::Private::findNumLock() {
    xcb_connection_t* c = x.xcb();
    auto* mods = xcb_get_modifier_mapping_reply(c, xcb_get_modifier_mapping(c), nullptr);
    if (!mods)
        return;
    const xcb_setup_t* setup = xcb_get_setup(c);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    auto* map = xcb_get_keyboard_mapping_reply(
        c, xcb_get_keyboard_mapping(c, setup->min_keycode, quint8(count)), nullptr);
    if (map) {
        const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(map);
        const int perCode = map->keysyms_per_keycode;
        const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mods);
        const int perMod = mods->keycodes_per_modifier;
        for (int mod = 0; mod < 8; ++mod) {
            for (int i = 0; i < perMod; ++i) {
                const xcb_keycode_t k = codes[mod * perMod + i];
                if (k < setup->min_keycode || k > setup->max_keycode)
                    continue;
                for (int col = 0; col < perCode; ++col)
                    if (syms[(k - setup->min_keycode) * perCode + col] == kNumLockKeysym)
                        numLockMask = quint16(1u << mod);
            }
        }
        free(map);
    }
    free(mods);
}

X11HotKeys::X11HotKeys(X11Connection& x)
    : d(std::make_unique<Private>(x)) {
    d->findNumLock();
    d->listenerId = x.addListener([this](xcb_generic_event_t* ev) { return d->onEvent(ev); });
}

X11HotKeys::~X11HotKeys() {
    d->x.removeListener(d->listenerId);
    for (const auto& [_, r] : d->registrations)
        d->ungrab(r.keycode, r.modifiers);
}

HotKeyHandlerRef X11HotKeys::installHandler(Handler handler) {
    const HotKeyHandlerRef ref = d->nextRef++;
    d->handlers.emplace(ref, std::move(handler));
    return ref;
}

void X11HotKeys::removeHandler(HotKeyHandlerRef ref) {
    d->handlers.erase(ref);
}

int X11HotKeys::registerHotKey(quint32 keyCode, quint32 carbonModifiers, HotKeyId id,
                               HotKeyRef* outRef) {
    if (outRef)
        *outRef = 0;
    const auto xk = keyCode <= 0x7fffffffu ? keycodes::xFromVirtual(int(keyCode)) : std::nullopt;
    if (!xk)
        return NoSuchKey;
    const quint16 mods = keycodes::xStateFromCarbon(carbonModifiers);
    for (const auto& [_, r] : d->registrations)
        if (r.keycode == *xk && r.modifiers == mods)
            return HotKeyStatus::HotKeyExists;

    xcb_connection_t* c = d->x.xcb();
    const auto variants = d->variants();
    std::array<xcb_void_cookie_t, 4> cookies{};
    for (size_t i = 0; i < variants.size(); ++i)
        cookies[i] =
            xcb_grab_key_checked(c, 1, d->x.root(), quint16(mods | variants[i]), xcb_keycode_t(*xk),
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    bool refused = false;
    std::array<bool, 4> granted{};
    for (size_t i = 0; i < cookies.size(); ++i) {
        xcb_generic_error_t* err = xcb_request_check(c, cookies[i]);
        granted[i] = err == nullptr;
        refused |= err != nullptr;
        free(err);
    }
    if (refused) {
        d->ungrab(xcb_keycode_t(*xk), mods, granted);
        return HotKeyStatus::HotKeyExists;
    }
    const HotKeyRef ref = d->nextRef++;
    d->registrations.emplace(ref, Private::Registration{xcb_keycode_t(*xk), mods, id});
    if (outRef)
        *outRef = ref;
    return HotKeyStatus::NoErr;
}

void X11HotKeys::unregisterHotKey(HotKeyRef ref) {
    auto it = d->registrations.find(ref);
    if (it == d->registrations.end())
        return;
    d->ungrab(it->second.keycode, it->second.modifiers);
    d->registrations.erase(it);
}

bool X11HotKeys::Private::onEvent(xcb_generic_event_t* ev) {
    const quint8 type = ev->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    const auto* ke = reinterpret_cast<xcb_key_press_event_t*>(ev);
    const bool onRoot = ke->event == x.root();
    // The release may go to one of our windows instead (the switcher grabs the keyboard while
    // the shortcut is still down); it ends the press all the same, or the next press would be
    // taken for auto-repeat.
    if (!onRoot && type == XCB_KEY_PRESS)
        return false;
    const quint16 state = quint16(ke->state & ~(kLockMask | numLockMask) & 0xff);
    for (auto& [ref, r] : registrations) {
        if (r.keycode != ke->detail)
            continue;
        if (type == XCB_KEY_RELEASE) {
            // Modifiers may already be up, so the release matches on the key alone.
            if (!r.down)
                continue;
            r.down = false;
            return onRoot;
        }
        if (r.modifiers != state)
            continue;
        if (r.down)
            return true; // auto-repeat
        r.down = true;
        const HotKeyId id = r.id;
        std::vector<Handler> chain;
        for (auto h = handlers.rbegin(); h != handlers.rend(); ++h)
            chain.push_back(h->second);
        for (const Handler& h : chain)
            if (h(id) == HotKeyStatus::NoErr)
                break;
        return true;
    }
    return false;
}

} // namespace valimbra::x11
