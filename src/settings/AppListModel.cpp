#include "AppListModel.h"

#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RunningAppsMonitor.h"
#include "platform/Workspace.h"

namespace valimbra {

namespace {
QString iconUrlFor(const std::optional<QUrl>& appURL) {
    const QString file = appURL ? appURL->toString() : QString();
    return u"image://settings/app/"_qs + QString::fromLatin1(QUrl::toPercentEncoding(file));
}
} // namespace

AppListModel::AppListModel(Kind kind, const SettingsServices& services, QObject* parent)
    : QAbstractListModel(parent)
    , m_kind(kind)
    , m_services(services) {
    if (m_kind == Kind::favourites) {
        connect(m_services.pinned, &PinnedAppsManager::pinnedAppsChanged, this,
                &AppListModel::reload);
        // "Running" and "Not running" follow the desktop.
        if (m_services.running)
            connect(m_services.running, &RunningAppsMonitor::appsChanged, this,
                    &AppListModel::reload);
    } else {
        connect(m_services.ignored, &IgnoreListManager::ignoredAppsChanged, this,
                &AppListModel::reload);
    }
    m_rows = currentRows();
}

QList<AppListModel::Row> AppListModel::currentRows() const {
    QList<Row> rows;
    if (m_kind == Kind::favourites) {
        QSet<QString> running;
        if (m_services.running)
            for (const AppEntry& e : m_services.running->apps())
                running.insert(e.bundleID);
        for (const PinnedApp& app : m_services.pinned->pinnedApps())
            rows.append({app.bundleID, app.name,
                         running.contains(app.bundleID) ? u"Running"_qs : u"Not running"_qs,
                         iconUrlFor(app.appURL)});
    } else {
        for (const IgnoredApp& app : m_services.ignored->ignoredApps()) {
            auto url = app.appURL;
            if (!url)
                url = m_services.workspace->urlForApplication(app.bundleID);
            rows.append({app.bundleID, app.name, QString(), iconUrlFor(url)});
        }
    }
    return rows;
}

// Rows leave and arrive one by one, so the view can animate them.
void AppListModel::reload() {
    const QList<Row> next = currentRows();
    const int before = count();
    const auto inNext = [&](const QString& id) {
        return std::any_of(next.begin(), next.end(),
                           [&](const Row& r) { return r.bundleID == id; });
    };
    for (qsizetype i = m_rows.size() - 1; i >= 0; --i) {
        if (inNext(m_rows[i].bundleID))
            continue;
        beginRemoveRows({}, int(i), int(i));
        m_rows.removeAt(i);
        endRemoveRows();
    }
    for (qsizetype i = 0; i < next.size(); ++i) {
        if (i < m_rows.size() && m_rows[i].bundleID == next[i].bundleID)
            continue;
        const bool known = std::any_of(m_rows.begin(), m_rows.end(), [&](const Row& r) {
            return r.bundleID == next[i].bundleID;
        });
        if (known) { // reordered: nothing to animate row by row
            beginResetModel();
            m_rows = next;
            endResetModel();
            break;
        }
        beginInsertRows({}, int(i), int(i));
        m_rows.insert(i, next[i]);
        endInsertRows();
    }
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        if (m_rows[i] == next[i])
            continue;
        m_rows[i] = next[i];
        Q_EMIT dataChanged(index(int(i)), index(int(i)));
    }
    if (count() != before)
        Q_EMIT countChanged();
}

int AppListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant AppListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= count())
        return {};
    const Row& r = m_rows.at(index.row());
    switch (role) {
    case BundleIdRole:
        return r.bundleID;
    case Qt::DisplayRole:
    case NameRole:
        return r.name;
    case SubtitleRole:
        return r.subtitle;
    case IconUrlRole:
        return r.iconUrl;
    default:
        return {};
    }
}

QHash<int, QByteArray> AppListModel::roleNames() const {
    return {{BundleIdRole, "bundleID"},
            {NameRole, "name"},
            {SubtitleRole, "subtitle"},
            {IconUrlRole, "iconUrl"}};
}

bool AppListModel::canAdd() const {
    return m_kind == Kind::ignored || !m_services.pinned->isFull();
}

void AppListModel::remove(const QString& bundleID) {
    const bool removed = m_kind == Kind::favourites ? m_services.pinned->remove(bundleID)
                                                    : m_services.ignored->remove(bundleID);
    if (removed && m_services.refreshApps)
        m_services.refreshApps();
}

void AppListModel::beginAdd() {
    // Taken once, before the chooser opens: changes to the other list meanwhile do not count.
    m_excluded =
        m_kind == Kind::favourites ? m_services.ignored->ignoredBundleIDs() : QSet<QString>();
    if (m_kind == Kind::ignored)
        for (const PinnedApp& app : m_services.pinned->pinnedApps())
            m_excluded.insert(app.bundleID);
}

void AppListModel::addApplications(const QList<QUrl>& appURLs) {
    bool added = false;
    for (const QUrl& url : appURLs) {
        const auto app = m_services.workspace->applicationAt(url);
        if (!app || app->bundleID.isEmpty() || m_excluded.contains(app->bundleID))
            continue; // silently: the caption under the list says why
        if (m_kind == Kind::favourites) {
            // Refused past fifteen or when already there.
            added = m_services.pinned->add({app->bundleID, app->name, app->appURL}) || added;
        } else if (!m_services.ignored->isIgnored(app->bundleID)) {
            m_services.ignored->append({app->bundleID, app->name, app->appURL});
            added = true;
        }
    }
    if (added && m_services.refreshApps)
        m_services.refreshApps();
}

} // namespace valimbra
