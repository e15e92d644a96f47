#pragma once

#include <QRegion>

class QWindow;

namespace valimbra {

// What the desktop can do for our windows: whether a compositor blends them at all, the request
// to blur what lies behind a region (honoured by compositors that support it), and bringing one
// forward.
class WindowEffects {
public:
    virtual ~WindowEffects() = default;
    virtual bool compositingActive() const = 0;
    // An empty region withdraws the request.
    virtual void setBlurBehind(QWindow& window, const QRegion& region) = 0;
    // Brings an ordinary window of ours to the front and gives it the focus, as the user asked
    // for it (from the tray or a second start): window managers that prevent focus stealing
    // would otherwise leave it behind the window in use.
    virtual void bringToFront(QWindow& window) = 0;
};

} // namespace valimbra
