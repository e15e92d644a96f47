#pragma once

#include <QLatin1String>
#include <QString>
#include <QStringView>

#include <array>
#include <cstddef>
#include <functional>
#include <optional>

namespace valimbra {

// The modifier key whose lone hold invokes the switcher. Persisted and compared through its raw
// string ("option", "control", "command"), never through the enumerator's number.
enum class HoldModifier { option, control, command };

// Every case, in the order the settings list them.
inline constexpr std::array<HoldModifier, 3> allHoldModifiers{
    HoldModifier::option, HoldModifier::control, HoldModifier::command};

inline constexpr HoldModifier defaultHoldModifier = HoldModifier::control;

// Settings key holding the raw value.
inline constexpr QLatin1String holdModifierSettingsKey{"valimbra.holdModifier"};

QString holdModifierRawValue(HoldModifier modifier);
// Exactly the three raw strings, case-sensitive; anything else yields nothing.
std::optional<HoldModifier> holdModifierFromRaw(QStringView raw);
// The ModifierFlag bit the key sets (option 0x80000, control 0x40000, command 0x100000).
quint64 holdModifierFlag(HoldModifier modifier);

// Hashes the raw string, so the hash does not depend on the enumerator order.
size_t qHash(HoldModifier modifier, size_t seed = 0) noexcept;

} // namespace valimbra

template <>
struct std::hash<valimbra::HoldModifier> {
    size_t operator()(valimbra::HoldModifier modifier) const noexcept {
        return valimbra::qHash(modifier);
    }
};
