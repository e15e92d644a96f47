#include "HintPlacement.h"

#include <algorithm>
#include <array>

namespace valimbra {

std::optional<HintPlacement> placeHint(const QRectF& icon, const QRectF& screen) {
    if (icon.isEmpty() || screen.isEmpty() || !screen.intersects(icon))
        return std::nullopt;
    const double w = hint::windowSize.width();
    const double h = hint::windowSize.height();
    const QPointF c = icon.center();
    // The panel the icon sits in is along the screen edge the icon is nearest to.
    const std::array<double, 4> distance{c.y() - screen.top(), screen.bottom() - c.y(),
                                         c.x() - screen.left(), screen.right() - c.x()};
    const auto nearest = std::min_element(distance.begin(), distance.end()) - distance.begin();
    HintPlacement p;
    switch (nearest) {
    case 0: // top panel: below the icon, the tail up
        p = {QRectF(c.x() - w / 2, icon.bottom() - hint::overlap, w, h), TailSide::top,
             QPointF(c.x(), icon.bottom())};
        break;
    case 1: // bottom panel: above, the tail down
        p = {QRectF(c.x() - w / 2, icon.top() - h + hint::overlap, w, h), TailSide::bottom,
             QPointF(c.x(), icon.top())};
        break;
    case 2: // left panel: to the right, the tail left
        p = {QRectF(icon.right() - hint::overlap, c.y() - h / 2, w, h), TailSide::left,
             QPointF(icon.right(), c.y())};
        break;
    default: // right panel: to the left, the tail right
        p = {QRectF(icon.left() - w + hint::overlap, c.y() - h / 2, w, h), TailSide::right,
             QPointF(icon.left(), c.y())};
        break;
    }
    // Inside the screen; near a corner the pill slides along its panel, away from the icon's
    // centre, and the tail still points at the icon.
    p.frame.moveLeft(std::clamp(p.frame.left(), screen.left(), screen.right() - w));
    p.frame.moveTop(std::clamp(p.frame.top(), screen.top(), screen.bottom() - h));
    return p;
}

} // namespace valimbra
