#pragma once

#include <QtGlobal>

#include <optional>

namespace valimbra::x11 {

// Translation between X keycodes and the virtual key codes used above platform/ (0 = A,
// 36 = Return, 49 = Space, ...). The mapping goes by physical key position: X keycodes are the
// Linux evdev codes plus 8, which every current X server (Xorg, Xwayland, Xvfb) uses, so the
// key the user presses maps to the same position on any layout, like macOS key codes do.
namespace keycodes {

inline constexpr quint32 EvdevOffset = 8;

// The virtual key code of an X keycode, or nothing for a key without a counterpart.
std::optional<int> virtualFromX(quint32 xKeycode);
// The X keycode of a virtual key code, or nothing when no key sits at that position.
std::optional<quint32> xFromVirtual(int virtualKey);

// The modifier-flag bit a modifier key controls (ModifierFlag::Shift for both shift keys,
// ModifierFlag::CapsLock for Caps Lock, ...), 0 for every other key.
quint64 modifierFlagOfVirtualKey(int virtualKey);

// X core modifier state (ShiftMask 1, LockMask 2, ControlMask 4, Mod1 8, Mod4 64) to
// modifier-flag bits: Mod1 is Option (Alt), Mod4 is Command (Super).
quint64 flagsFromXState(quint32 xState);
// Carbon hot-key modifier bits to the X core modifier mask used for grabs.
quint16 xStateFromCarbon(quint32 carbonModifiers);

} // namespace keycodes
} // namespace valimbra::x11
