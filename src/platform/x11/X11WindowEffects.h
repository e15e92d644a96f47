#pragma once

#include "platform/WindowEffects.h"

namespace valimbra::x11 {

class X11Connection;

// Compositing from the _NET_WM_CM_Sn selection; blur through _KDE_NET_WM_BLUR_BEHIND_REGION,
// which KWin and some other compositors honour and the rest ignore.
class X11WindowEffects final : public WindowEffects {
public:
    explicit X11WindowEffects(X11Connection& x);
    bool compositingActive() const override;
    void setBlurBehind(QWindow& window, const QRegion& region) override;
    void bringToFront(QWindow& window) override;

private:
    X11Connection& m_x;
};

} // namespace valimbra::x11
