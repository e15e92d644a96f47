#include "OverlayGeometry.h"

#include "platform/InputMonitor.h"

#include <QString>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace valimbra::overlay {
namespace {
constexpr int kReturn = 36;
constexpr int kTab = 48;
constexpr int kDelete = 51;
constexpr int kEscape = 53;
constexpr int kKeypadEnter = 76;

double finiteOrZero(double v) {
    return std::isfinite(v) ? v : 0.0;
}
} // namespace

double ringRadius(int cardCount, SwitcherStyle style) {
    if (cardCount < 1)
        return 0.0;
    const double arc = style == SwitcherStyle::glassOrb ? 78.0 : 80.0;
    return finiteOrZero(arc * cardCount / (2.0 * std::numbers::pi));
}

double cardAngle(int index, int cardCount) {
    if (cardCount < 1)
        return 0.0;
    return finiteOrZero(index * 360.0 / cardCount);
}

double cardRotation(double midAngle, bool open, AnimationStyle animation) {
    return !open && animation == AnimationStyle::iris ? midAngle + irisTurnDegrees : midAngle;
}

QPointF cardPosition(double midAngle, double radius, bool open, AnimationStyle animation) {
    const double distance = open ? radius + cardOffset : cardOffset;
    const double a = cardRotation(midAngle, open, animation) * std::numbers::pi / 180.0;
    return {distance * std::sin(a), -distance * std::cos(a)};
}

std::optional<ScreenInfo> screenForPointer(const QList<ScreenInfo>& screens,
                                           const std::optional<ScreenInfo>& mainScreen,
                                           QPointF pointer) {
    for (const ScreenInfo& s : screens) {
        // Right and bottom edges belong to the neighbour, as for pixels.
        const QRectF& f = s.frame;
        if (pointer.x() >= f.left() && pointer.x() < f.right() && pointer.y() >= f.top() &&
            pointer.y() < f.bottom())
            return s;
    }
    return mainScreen;
}

QPointF panelOrigin(QPointF pointer, const QRectF& v) {
    const double x = std::max(v.left(), std::min(v.right() - panelSide, pointer.x() - halfSide));
    const double y = std::min(v.bottom() - panelSide, std::max(v.top(), pointer.y() - halfSide));
    return {x, y};
}

int scrollStep(double deltaX, double deltaY) {
    const double s = deltaX + deltaY;
    if (s > scrollStepThreshold)
        return 1;
    if (s < -scrollStepThreshold)
        return -1;
    return 0;
}

int dragSwapStep(double midAngle, QPointF translation) {
    const double theta = midAngle * std::numbers::pi / 180.0;
    const double p = translation.x() * std::cos(theta) + translation.y() * std::sin(theta);
    if (std::abs(p) <= dragSwapDistance)
        return 0;
    return p > 0 ? 1 : -1;
}

KeyAction keyAction(int keyCode, quint64 modifierFlags, const QString& characters,
                    QString* searchText) {
    switch (keyCode) {
    case kReturn:
    case kKeypadEnter:
        return KeyAction::Commit;
    case kTab:
        return modifierFlags & ModifierFlag::Shift ? KeyAction::Backward : KeyAction::Forward;
    case kDelete:
        return KeyAction::DeleteBackward;
    case kEscape:
        return KeyAction::Cancel;
    default:
        break;
    }
    if (characters.isEmpty())
        return KeyAction::PassOn;
    const QList<uint> ucs4 = characters.toUcs4();
    const char32_t c = ucs4.isEmpty() ? U'\0' : char32_t(ucs4.first());
    if (!QChar::isLetterOrNumber(c))
        return KeyAction::PassOn;
    if (searchText)
        *searchText = QString::fromUcs4(&c, 1);
    return KeyAction::Search;
}

} // namespace valimbra::overlay
