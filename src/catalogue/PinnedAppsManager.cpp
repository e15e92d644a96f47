#include "PinnedAppsManager.h"

#include "JsonCoding.h"

#include <QThread>

namespace valimbra {

namespace {
void assertOnOwningThread(const QObject* o) {
    Q_ASSERT_X(o->thread() == QThread::currentThread(), "PinnedAppsManager",
               "favourites are main-thread state");
    Q_UNUSED(o);
}
} // namespace

PinnedAppsManager::PinnedAppsManager(SettingsStore& store, QObject* parent)
    : QObject(parent)
    , m_store(store) {
    load();
    m_sortAlphabetically = m_store.boolValue(sortAlphabeticallyKey(), false);
}

void PinnedAppsManager::setPinnedApps(const QList<PinnedApp>& apps) {
    assertOnOwningThread(this);
    if (apps == m_pinnedApps)
        return;
    m_pinnedApps = apps;
    Q_EMIT pinnedAppsChanged();
}

void PinnedAppsManager::setSortAlphabetically(bool on) {
    assertOnOwningThread(this);
    if (on == m_sortAlphabetically)
        return;
    m_sortAlphabetically = on;
    m_store.setBool(sortAlphabeticallyKey(), on);
    Q_EMIT sortAlphabeticallyChanged();
}

qsizetype PinnedAppsManager::indexOf(const QString& bundleID) const {
    for (qsizetype i = 0; i < m_pinnedApps.size(); ++i)
        if (m_pinnedApps[i].bundleID == bundleID)
            return i;
    return -1;
}

void PinnedAppsManager::load() {
    assertOnOwningThread(this);
    const auto data = m_store.data(storageKey());
    if (!data)
        return;
    if (auto apps = json::decodePinnedApps(*data))
        setPinnedApps(*apps);
}

void PinnedAppsManager::save() {
    assertOnOwningThread(this);
    const auto before = m_pinnedApps.size();
    const auto data =
        json::encodeDroppingUnwritable(m_pinnedApps, &json::encodePinnedApps, "favourites");
    if (m_pinnedApps.size() != before)
        Q_EMIT pinnedAppsChanged();
    if (data)
        m_store.setData(storageKey(), *data);
}

bool PinnedAppsManager::add(const PinnedApp& app) {
    assertOnOwningThread(this);
    if (isFull() || isPinned(app.bundleID))
        return false;
    m_pinnedApps.append(app);
    Q_EMIT pinnedAppsChanged();
    save();
    return true;
}

bool PinnedAppsManager::removeAt(qsizetype index) {
    assertOnOwningThread(this);
    if (index < 0 || index >= m_pinnedApps.size())
        return false;
    m_pinnedApps.removeAt(index);
    Q_EMIT pinnedAppsChanged();
    save();
    return true;
}

bool PinnedAppsManager::remove(const QString& bundleID) {
    return removeAt(indexOf(bundleID));
}

bool PinnedAppsManager::move(qsizetype from, qsizetype to) {
    assertOnOwningThread(this);
    const qsizetype n = m_pinnedApps.size();
    if (from < 0 || from >= n || to < 0 || to >= n)
        return false;
    if (from != to) {
        m_pinnedApps.move(from, to);
        Q_EMIT pinnedAppsChanged();
    }
    save();
    return true;
}

} // namespace valimbra
