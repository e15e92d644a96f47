#pragma once

#include <QString>
#include <QtQml/qqmlregistration.h>

#include <array>
#include <optional>

namespace valimbra {

// How the switcher lays out its applications. The raw values are what "valimbra.switcherStyle"
// stores; the overlay draws them and the settings describe them, so the rule lives here.
enum class SwitcherStyle { spatialTile, glassOrb, list, grid };
// How the layout opens: in the ring the two ring motions, in the grid and list their own
// entrance motions ("Wave" and "Pop"), stored under the same two raw values.
enum class AnimationStyle { bloom, iris };

inline constexpr std::array allSwitcherStyles{SwitcherStyle::spatialTile, SwitcherStyle::glassOrb,
                                              SwitcherStyle::list, SwitcherStyle::grid};
inline constexpr std::array allAnimationStyles{AnimationStyle::bloom, AnimationStyle::iris};

inline const QString switcherStyleKey = QStringLiteral("valimbra.switcherStyle");
inline const QString animationStyleKey = QStringLiteral("valimbra.animationStyle");

QString rawValue(SwitcherStyle style);
QString rawValue(AnimationStyle style);
// Exact, case-sensitive matches of the raw values; anything else is no style.
std::optional<SwitcherStyle> switcherStyleFromRaw(const QString& raw);
std::optional<AnimationStyle> animationStyleFromRaw(const QString& raw);

// A stored string that is no style counts as the default ring.
SwitcherStyle effectiveSwitcherStyle(const std::optional<QString>& stored);
bool isRingStyle(SwitcherStyle style);
// The opening motion a view uses: the ring falls back to bloom, the grid and list to iris.
AnimationStyle effectiveAnimationStyle(SwitcherStyle style, const std::optional<QString>& stored);

QString description(SwitcherStyle style);
// The style's name in the settings: "Default", "Compact", "List", "Grid".
QString label(SwitcherStyle style);
// "Bloom"/"Iris" for the ring styles, "Wave"/"Pop" for the grid and list.
QString label(AnimationStyle animation, SwitcherStyle style);

} // namespace valimbra
