#pragma once

#include "PinnedApp.h"
#include "platform/SettingsStore.h"
#include "platform/Workspace.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

namespace valimbra {

// Owns the apps the switcher must never show, in the order the user added them, persisted whole
// as JSON. Lives on the main thread; changes are announced through ignoredAppsChanged.
//
// Ignoring from the UI goes through ignoreApp() in CatalogueRules.h, which refuses favourites and
// apps already ignored; append() itself does not check.
class IgnoreListManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<valimbra::IgnoredApp> ignoredApps READ ignoredApps WRITE setIgnoredApps NOTIFY
                   ignoredAppsChanged)
    Q_PROPERTY(int count READ count NOTIFY ignoredAppsChanged)

public:
    static QString storageKey() { return QStringLiteral("valimbra.ignoredApps"); }

    explicit IgnoreListManager(SettingsStore& store, QObject* parent = nullptr);

    const QList<IgnoredApp>& ignoredApps() const { return m_ignoredApps; }
    // Replaces the list as given without saving; call save() afterwards.
    void setIgnoredApps(const QList<IgnoredApp>& apps);

    int count() const { return int(m_ignoredApps.size()); }
    // Exact, case-sensitive match, as the engine filters running apps.
    bool isIgnored(const QString& bundleID) const;
    QSet<QString> ignoredBundleIDs() const;

    // Replaces the list with the stored one when it decodes; otherwise keeps the list as it is.
    void load();
    // Stores the whole list; stores nothing when it cannot be encoded.
    void save();

    // Appends a record and saves.
    void append(const IgnoredApp& app);
    // Removes every record with this bundle ID and saves. False (and no write) when none matched.
    bool remove(const QString& bundleID);

Q_SIGNALS:
    void ignoredAppsChanged();

private:
    SettingsStore& m_store;
    QList<IgnoredApp> m_ignoredApps;
};

// The icon shown for an ignored app in the settings list: the icon of its file when its location
// is known, else of the installed app found for its bundle ID, else the generic application icon.
QImage iconForIgnoredApp(const IgnoredApp& app, const Workspace& workspace);

} // namespace valimbra
