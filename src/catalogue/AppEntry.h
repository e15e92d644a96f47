#pragma once

#include "PinnedApp.h"
#include "ShortcutEntry.h"
#include "platform/Date.h"
#include "platform/Workspace.h"

#include <QColor>
#include <QHashFunctions>
#include <QImage>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace valimbra {

// One application as the switcher shows it. Identity (equality and hashing) is `id` alone: a
// copy with another name, score or icon is the same entry.
struct AppEntry {
    qint32 id = 0; // process id, or favouriteId(bundleID) (< 0) for a favourite not running
    QString bundleID;
    QString name;
    QString nameLower;
    QImage icon;
    QColor dominantColor;
    ActivationPolicy activationPolicy = ActivationPolicy::Regular;
    Date lastActivated = Date::distantPast();
    qint64 activationCount = 0;
    double searchScore = 0.0;
    bool isFavourite = false;
    bool isRunning = false;
    std::optional<QUrl> appURL;
    std::optional<ShortcutEntry> shortcut;
    bool isAddSlot = false;

    bool operator==(const AppEntry& other) const { return id == other.id; }

    // Negative id of a favourite that is not running: times-33 hash of the UTF-8 bytes,
    // bit-inverted, top bit set, so it never collides with a process id.
    static qint32 favouriteId(const QString& bundleID);

    using IconForFile = std::function<QImage(const QString& path)>;
    // The entry shown for a favourite that has no running process.
    static AppEntry fromPinned(const PinnedApp& app, const IconForFile& iconForFile);

    // Full Unicode lower-casing used for names and queries.
    static QString lowercased(const QString& s) { return s.toLower(); }
};

inline size_t qHash(const AppEntry& e, size_t seed = 0) noexcept {
    return ::qHash(e.id, seed);
}

} // namespace valimbra

template <>
struct std::hash<valimbra::AppEntry> {
    size_t operator()(const valimbra::AppEntry& e) const noexcept {
        return std::hash<qint32>{}(e.id);
    }
};

Q_DECLARE_METATYPE(valimbra::AppEntry)
