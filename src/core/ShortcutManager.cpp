#include "ShortcutManager.h"

namespace valimbra {

void ShortcutManager::setShortcuts(const QList<ShortcutEntry>& shortcuts) {
    if (m_shortcuts == shortcuts)
        return;
    m_shortcuts = shortcuts;
    Q_EMIT shortcutsChanged();
}

} // namespace valimbra
