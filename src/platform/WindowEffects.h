#pragma once

#include <QRegion>

class QWindow;

namespace valimbra {

// What the desktop can do for a translucent window: whether a compositor blends it at all, and
// the request to blur what lies behind a region of it (honoured by compositors that support it).
class WindowEffects {
public:
    virtual ~WindowEffects() = default;
    virtual bool compositingActive() const = 0;
    // An empty region withdraws the request.
    virtual void setBlurBehind(QWindow& window, const QRegion& region) = 0;
};

} // namespace valimbra
