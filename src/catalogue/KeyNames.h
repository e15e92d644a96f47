#pragma once

#include "HoldModifier.h"

#include <QString>

namespace valimbra {

// How keys are named to the user. PC keyboards have no Option or Command keys, so the Linux
// build names them as KDE and GNOME do ("Ctrl", "Alt+A"); a Mac build shows the symbols of its
// keyboard ("⌃ Control", "⌥A"). Stored values are the same on both.
enum class KeyNaming { Pc, Mac };

#ifdef Q_OS_MACOS
inline constexpr KeyNaming platformKeyNaming = KeyNaming::Mac;
#else
inline constexpr KeyNaming platformKeyNaming = KeyNaming::Pc;
#endif

// The hold key in running text: "Ctrl" ("⌃ Control").
QString holdModifierName(HoldModifier modifier, KeyNaming naming = platformKeyNaming);
// The hold key on a picker segment: "Ctrl" ("⌃").
QString holdModifierSymbol(HoldModifier modifier, KeyNaming naming = platformKeyNaming);
// The 56 keys a shortcut names ("A", "7", "Space", "Left", "F12", ...); "?" for any other code.
QString keyName(qint64 keyCode, KeyNaming naming = platformKeyNaming);
// A recorded shortcut: its modifiers in the fixed order control, option (Alt), shift, command
// (Super), then its key: "Ctrl+Alt+Shift+Super+Space" ("⌃⌥⇧⌘Space").
QString shortcutDisplayText(qint64 keyCode, qint64 modifiers, KeyNaming naming = platformKeyNaming);

} // namespace valimbra
