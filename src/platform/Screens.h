#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>

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
};

} // namespace valimbra
