#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <optional>

namespace valimbra {

// Where the "Valimbra is here" pill goes beside the tray icon. Linux panels sit on any edge of
// the screen, so the pill goes below an icon at the top, above one at the bottom, beside one on
// a side panel, its tail towards the icon, and always inside the screen.
enum class TailSide { top, bottom, left, right }; // the side of the pill that carries the tail

struct HintPlacement {
    QRectF frame;   // the hint's window, in screen coordinates
    TailSide tail;  // where the tail is
    QPointF target; // the point of the icon the tail points at
};

namespace hint {
inline constexpr QSizeF windowSize{176, 72}; // the 140 x 36 pill with room for its tail and drift
inline constexpr double overlap = 17;        // how far the window reaches over the icon's edge
} // namespace hint

// Nothing when the tray gives no geometry (an empty rectangle) or the icon is on no screen.
std::optional<HintPlacement> placeHint(const QRectF& icon, const QRectF& screen);

} // namespace valimbra
