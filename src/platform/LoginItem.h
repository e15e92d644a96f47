#pragma once

namespace valimbra {

// Whether the program starts when the user logs in. Implementations: platform/x11 (an XDG
// autostart entry), platform/fake.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    // Read from the system each time: the user may have changed it elsewhere.
    virtual bool isEnabled() const = 0;
    // False when the system refused; the caller shows isEnabled() again later.
    virtual bool setEnabled(bool enabled) = 0;
};

} // namespace valimbra
