#include "HoldModifier.h"

#include "platform/InputMonitor.h"

#include <QHashFunctions>

namespace valimbra {

QString holdModifierRawValue(HoldModifier modifier) {
    switch (modifier) {
    case HoldModifier::option:
        return u"option"_qs;
    case HoldModifier::control:
        return u"control"_qs;
    case HoldModifier::command:
        return u"command"_qs;
    }
    Q_UNREACHABLE();
}

std::optional<HoldModifier> holdModifierFromRaw(QStringView raw) {
    for (HoldModifier m : allHoldModifiers)
        if (raw == holdModifierRawValue(m))
            return m;
    return std::nullopt;
}

quint64 holdModifierFlag(HoldModifier modifier) {
    switch (modifier) {
    case HoldModifier::option:
        return ModifierFlag::Option;
    case HoldModifier::control:
        return ModifierFlag::Control;
    case HoldModifier::command:
        return ModifierFlag::Command;
    }
    Q_UNREACHABLE();
}

size_t qHash(HoldModifier modifier, size_t seed) noexcept {
    return ::qHash(holdModifierRawValue(modifier), seed);
}

} // namespace valimbra
