#pragma once

#include "PinnedApp.h"
#include "platform/SettingsStore.h"

#include <QList>
#include <QObject>
#include <QString>

namespace valimbra {

// Owns the user's favourites: an ordered list of at most `capacity` apps, unique by bundle ID
// (exact, case-sensitive), persisted whole as JSON. Lives on the main thread; every change is
// announced through the NOTIFY signals so the engine and the panes can rebuild.
//
// Pinning from the UI goes through pinApp() in CatalogueRules.h, which also keeps favourites and
// ignored apps apart; add() alone does not consult the ignore list.
class PinnedAppsManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<valimbra::PinnedApp> pinnedApps READ pinnedApps WRITE setPinnedApps NOTIFY
                   pinnedAppsChanged)
    Q_PROPERTY(bool sortAlphabetically READ sortAlphabetically WRITE setSortAlphabetically NOTIFY
                   sortAlphabeticallyChanged)
    Q_PROPERTY(int count READ count NOTIFY pinnedAppsChanged)
    Q_PROPERTY(bool isFull READ isFull NOTIFY pinnedAppsChanged)

public:
    static constexpr int capacity = 15;
    static QString storageKey() { return QStringLiteral("valimbra.pinnedApps"); }
    static QString sortAlphabeticallyKey() {
        return QStringLiteral("valimbra.pinnedApps.sortAlphabetically");
    }

    // Loads the stored list, then reads the sort flag (read here only; setSortAlphabetically
    // writes it back).
    explicit PinnedAppsManager(SettingsStore& store, QObject* parent = nullptr);

    const QList<PinnedApp>& pinnedApps() const { return m_pinnedApps; }
    // Replaces the list as given (no capacity or uniqueness check) without saving; callers that
    // edit the list directly call save() afterwards.
    void setPinnedApps(const QList<PinnedApp>& apps);

    bool sortAlphabetically() const { return m_sortAlphabetically; }
    // Sets the flag and writes it to the store so the choice survives a restart.
    void setSortAlphabetically(bool on);

    int count() const { return int(m_pinnedApps.size()); }
    bool isFull() const { return m_pinnedApps.size() >= capacity; }
    bool isPinned(const QString& bundleID) const { return indexOf(bundleID) >= 0; }
    // Position of the favourite with this bundle ID, or -1.
    qsizetype indexOf(const QString& bundleID) const;

    // Replaces the list with the stored one when it decodes; otherwise keeps the list as it is.
    void load();
    // Stores the whole list; stores nothing when it cannot be encoded.
    void save();

    // Appends `app` and saves, unless the list is full or already holds its bundle ID; then
    // nothing changes and nothing is written. Returns whether it was added.
    bool add(const PinnedApp& app);
    // Removes the favourite at `index` and saves. False (and no write) when out of range.
    bool removeAt(qsizetype index);
    // Removes the favourite with this bundle ID and saves. False when there is none.
    bool remove(const QString& bundleID);
    // Moves the favourite at `from` so that it ends up at index `to` (QList::move semantics) and
    // saves. False (and no write) when either index is out of range.
    bool move(qsizetype from, qsizetype to);

Q_SIGNALS:
    void pinnedAppsChanged();
    void sortAlphabeticallyChanged();

private:
    SettingsStore& m_store;
    QList<PinnedApp> m_pinnedApps;
    bool m_sortAlphabetically = false;
};

} // namespace valimbra
