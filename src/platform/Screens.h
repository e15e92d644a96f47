#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>

#include <functional>
#include <optional>

namespace valimbra {

struct ScreenInfo {
    QRectF frame;        // whole screen, global logical coordinates (top-left origin)
    QRectF visibleFrame; // minus panels and docks
};

// Screen geometry and the pointer, for placing the overlay.
class Screens {
public:
    virtual ~Screens() = default;
    virtual QList<ScreenInfo> screens() const = 0;
    virtual std::optional<ScreenInfo> mainScreen() const = 0;
    virtual QPointF pointerPosition() const = 0;

    using ChangeHandlerId = quint64;
    // `handler` runs on the main thread, after the fact, whenever the screens or their work
    // areas change: a screen plugged in or out, resized or made the main one, a panel's struts.
    virtual ChangeHandlerId addChangeHandler(std::function<void()> handler) = 0;
    virtual void removeChangeHandler(ChangeHandlerId id) = 0;
};

} // namespace valimbra
