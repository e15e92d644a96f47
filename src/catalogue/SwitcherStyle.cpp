#include "SwitcherStyle.h"

namespace valimbra {

QString rawValue(SwitcherStyle style) {
    switch (style) {
    case SwitcherStyle::spatialTile:
        return u"spatialTile"_qs;
    case SwitcherStyle::glassOrb:
        return u"glassOrb"_qs;
    case SwitcherStyle::list:
        return u"list"_qs;
    case SwitcherStyle::grid:
        return u"grid"_qs;
    }
    return {};
}

QString rawValue(AnimationStyle style) {
    return style == AnimationStyle::bloom ? u"bloom"_qs : u"iris"_qs;
}

std::optional<SwitcherStyle> switcherStyleFromRaw(const QString& raw) {
    for (SwitcherStyle s : allSwitcherStyles)
        if (rawValue(s) == raw)
            return s;
    return std::nullopt;
}

std::optional<AnimationStyle> animationStyleFromRaw(const QString& raw) {
    for (AnimationStyle s : allAnimationStyles)
        if (rawValue(s) == raw)
            return s;
    return std::nullopt;
}

SwitcherStyle effectiveSwitcherStyle(const std::optional<QString>& stored) {
    if (stored)
        if (auto s = switcherStyleFromRaw(*stored))
            return *s;
    return SwitcherStyle::spatialTile;
}

bool isRingStyle(SwitcherStyle style) {
    return style == SwitcherStyle::spatialTile || style == SwitcherStyle::glassOrb;
}

AnimationStyle effectiveAnimationStyle(SwitcherStyle style, const std::optional<QString>& stored) {
    if (stored)
        if (auto a = animationStyleFromRaw(*stored))
            return *a;
    return isRingStyle(style) ? AnimationStyle::bloom : AnimationStyle::iris;
}

QString description(SwitcherStyle style) {
    switch (style) {
    case SwitcherStyle::spatialTile:
        return u"Up to 15 favourites + running apps in the switcher view"_qs;
    case SwitcherStyle::glassOrb:
        return u"Up to 15 favourites + running apps in the compact switcher view"_qs;
    case SwitcherStyle::list:
        return u"All favourites + running apps in a scrollable switcher view"_qs;
    case SwitcherStyle::grid:
        return u"All favourites + running apps in the grid switcher view"_qs;
    }
    return {};
}

QString label(SwitcherStyle style) {
    switch (style) {
    case SwitcherStyle::spatialTile:
        return u"Default"_qs;
    case SwitcherStyle::glassOrb:
        return u"Compact"_qs;
    case SwitcherStyle::list:
        return u"List"_qs;
    case SwitcherStyle::grid:
        return u"Grid"_qs;
    }
    return {};
}

QString label(AnimationStyle animation, SwitcherStyle style) {
    const bool ring = isRingStyle(style);
    if (animation == AnimationStyle::bloom)
        return ring ? u"Bloom"_qs : u"Wave"_qs;
    return ring ? u"Iris"_qs : u"Pop"_qs;
}

} // namespace valimbra
