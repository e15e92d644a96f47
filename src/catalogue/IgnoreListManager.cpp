#include "IgnoreListManager.h"

#include "JsonCoding.h"

#include <QThread>

namespace valimbra {

namespace {
void assertOnOwningThread(const QObject* o) {
    Q_ASSERT_X(o->thread() == QThread::currentThread(), "IgnoreListManager",
               "the ignore list is main-thread state");
    Q_UNUSED(o);
}
} // namespace

IgnoreListManager::IgnoreListManager(SettingsStore& store, QObject* parent)
    : QObject(parent)
    , m_store(store) {
    load();
}

void IgnoreListManager::setIgnoredApps(const QList<IgnoredApp>& apps) {
    assertOnOwningThread(this);
    if (apps == m_ignoredApps)
        return;
    m_ignoredApps = apps;
    Q_EMIT ignoredAppsChanged();
}

bool IgnoreListManager::isIgnored(const QString& bundleID) const {
    return std::any_of(m_ignoredApps.cbegin(), m_ignoredApps.cend(),
                       [&](const IgnoredApp& a) { return a.bundleID == bundleID; });
}

QSet<QString> IgnoreListManager::ignoredBundleIDs() const {
    QSet<QString> ids;
    ids.reserve(m_ignoredApps.size());
    for (const IgnoredApp& a : m_ignoredApps)
        ids.insert(a.bundleID);
    return ids;
}

void IgnoreListManager::load() {
    assertOnOwningThread(this);
    const auto data = m_store.data(storageKey());
    if (!data)
        return;
    if (auto apps = json::decodeIgnoredApps(*data))
        setIgnoredApps(*apps);
}

void IgnoreListManager::save() {
    assertOnOwningThread(this);
    const auto before = m_ignoredApps.size();
    const auto data =
        json::encodeDroppingUnwritable(m_ignoredApps, &json::encodeIgnoredApps, "ignored apps");
    if (m_ignoredApps.size() != before)
        Q_EMIT ignoredAppsChanged();
    if (data)
        m_store.setData(storageKey(), *data);
}

void IgnoreListManager::append(const IgnoredApp& app) {
    assertOnOwningThread(this);
    m_ignoredApps.append(app);
    Q_EMIT ignoredAppsChanged();
    save();
}

bool IgnoreListManager::remove(const QString& bundleID) {
    assertOnOwningThread(this);
    const auto removed =
        m_ignoredApps.removeIf([&](const IgnoredApp& a) { return a.bundleID == bundleID; });
    if (removed == 0)
        return false;
    Q_EMIT ignoredAppsChanged();
    save();
    return true;
}

QImage iconForIgnoredApp(const IgnoredApp& app, const Workspace& workspace) {
    if (app.appURL)
        return workspace.iconForFile(app.appURL->toLocalFile());
    if (const auto url = workspace.urlForApplication(app.bundleID))
        return workspace.iconForFile(url->toLocalFile());
    return workspace.genericApplicationIcon();
}

} // namespace valimbra
