#pragma once

#include <QString>

namespace valimbra {

// A per-application shortcut record an AppEntry may carry. Coding keys: "name", "identifier",
// "colorHex".
struct ShortcutEntry {
    QString name;
    QString identifier;
    QString colorHex;
    bool operator==(const ShortcutEntry&) const = default;
};

} // namespace valimbra
