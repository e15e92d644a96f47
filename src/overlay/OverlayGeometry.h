#pragma once

#include "catalogue/SwitcherStyle.h"
#include "platform/Screens.h"

#include <QPointF>
#include <QString>

#include <optional>

namespace valimbra::overlay {

inline constexpr double panelSide = 720.0;
inline constexpr double halfSide = 360.0;
inline constexpr int closeDelayMs = 440;
inline constexpr int preWarmDelayMs = 800;
inline constexpr double scrollStepThreshold = 2.0;
inline constexpr int maxVisibleApps = 15;
// Cards leave from just above the centre and rest this far beyond the ring.
inline constexpr double cardOffset = 8.0;
inline constexpr double irisTurnDegrees = 72.0;
inline constexpr double dragSwapDistance = 40.0;

// Neighbouring cards' centres sit a fixed arc apart, so the ring grows with the card count.
double ringRadius(int cardCount, SwitcherStyle style);
// Degrees clockwise from twelve o'clock; the first card at 0.
double cardAngle(int index, int cardCount);
// Where a card's centre sits relative to the ring's centre (y grows downwards).
QPointF cardPosition(double midAngle, double radius, bool open, AnimationStyle animation);
// The rotation a card is drawn with (its tilt along the ring).
double cardRotation(double midAngle, bool open, AnimationStyle animation);

// The screen under the pointer, else the main screen, else none (then nothing is shown).
std::optional<ScreenInfo> screenForPointer(const QList<ScreenInfo>& screens,
                                           const std::optional<ScreenInfo>& mainScreen,
                                           QPointF pointer);
// Top-left corner of the panel: centred on the pointer, pushed inside the visible frame. On a
// frame smaller than the panel the left edge and the bottom edge win (it overhangs the top).
QPointF panelOrigin(QPointF pointer, const QRectF& visibleFrame);

// +1, -1 or 0 for one scroll event; the axes are summed and every event judged alone.
int scrollStep(double deltaX, double deltaY);

// One place forward (+1, clockwise), back (-1) or none (0) for a wiggle-mode drag of a card.
int dragSwapStep(double midAngle, QPointF translation);

enum class KeyAction { Commit, Forward, Backward, DeleteBackward, Cancel, Search, PassOn };
// What a key press in the panel does. `searchText` receives the character for Search.
KeyAction keyAction(int keyCode, quint64 modifierFlags, const QString& characters,
                    QString* searchText = nullptr);

} // namespace valimbra::overlay
