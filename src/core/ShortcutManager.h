#pragma once

#include "catalogue/ShortcutEntry.h"

#include <QList>
#include <QObject>

namespace valimbra {

// The per-application shortcut records the views can show. Starts empty and keeps nothing on
// disk; whoever fills it owns the contents. Main thread only.
class ShortcutManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<valimbra::ShortcutEntry> shortcuts READ shortcuts WRITE setShortcuts NOTIFY
                   shortcutsChanged)
public:
    explicit ShortcutManager(QObject* parent = nullptr)
        : QObject(parent) {}

    const QList<ShortcutEntry>& shortcuts() const { return m_shortcuts; }
    // Notifies only when the list actually changes.
    void setShortcuts(const QList<ShortcutEntry>& shortcuts);

Q_SIGNALS:
    void shortcutsChanged();

private:
    QList<ShortcutEntry> m_shortcuts;
};

} // namespace valimbra
