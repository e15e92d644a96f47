#pragma once

#include "platform/HotKeys.h"

#include <memory>

namespace valimbra::x11 {

class X11Connection;

// System-wide hot keys as passive key grabs on the root window. Each combination is grabbed
// with every Caps Lock / Num Lock variant so it fires whatever those locks are; a combination
// another client holds is refused with HotKeyStatus::HotKeyExists and leaves nothing grabbed.
// Auto-repeat does not fire a hot key again until its key is released.
class X11HotKeys final : public HotKeys {
public:
    // Status for a key code no key of this keyboard sits at (the Carbon paramErr).
    static constexpr int NoSuchKey = -50;

    explicit X11HotKeys(X11Connection& x);
    ~X11HotKeys() override; // releases every grab

    HotKeyHandlerRef installHandler(Handler handler) override;
    void removeHandler(HotKeyHandlerRef ref) override;
    int registerHotKey(quint32 keyCode, quint32 carbonModifiers, HotKeyId id,
                       HotKeyRef* outRef) override;
    void unregisterHotKey(HotKeyRef ref) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace valimbra::x11
