#include "AppChooserModel.h"

#include <QCollator>
#include <QFileDialog>

namespace valimbra {

namespace {
QString iconUrlFor(const QUrl& appURL) {
    return u"image://settings/app/"_qs +
           QString::fromLatin1(QUrl::toPercentEncoding(appURL.toString()));
}
} // namespace

AppChooserModel::AppChooserModel(const SettingsServices& services, QObject* parent)
    : QAbstractListModel(parent)
    , m_services(services) {}

int AppChooserModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_visible.size());
}

QVariant AppChooserModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_visible.size())
        return {};
    const InstalledApplication& app = m_all.at(m_visible.at(index.row()));
    switch (role) {
    case BundleIdRole:
        return app.bundleID;
    case Qt::DisplayRole:
    case NameRole:
        return app.name;
    case IconUrlRole:
        return iconUrlFor(app.appURL);
    case AppUrlRole:
        return app.appURL;
    case ChosenRole:
        return m_chosen.contains(app.appURL);
    default:
        return {};
    }
}

QHash<int, QByteArray> AppChooserModel::roleNames() const {
    return {{BundleIdRole, "bundleID"},
            {NameRole, "name"},
            {IconUrlRole, "iconUrl"},
            {AppUrlRole, "appUrl"},
            {ChosenRole, "chosen"}};
}

void AppChooserModel::reset() {
    beginResetModel();
    m_all = m_services.workspace->installedApplications();
    // As the desktop's menus sort them: by name, in the user's language.
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    std::stable_sort(m_all.begin(), m_all.end(),
                     [&](const InstalledApplication& a, const InstalledApplication& b) {
                         return collator.compare(a.name, b.name) < 0;
                     });
    m_chosen.clear();
    m_filter.clear();
    m_visible.clear();
    for (qsizetype i = 0; i < m_all.size(); ++i)
        m_visible.append(i);
    endResetModel();
    Q_EMIT filterChanged();
    Q_EMIT chosenChanged();
}

void AppChooserModel::setFilter(const QString& filter) {
    if (filter == m_filter)
        return;
    m_filter = filter;
    applyFilter();
    Q_EMIT filterChanged();
}

void AppChooserModel::applyFilter() {
    beginResetModel();
    m_visible.clear();
    const QString needle = m_filter.trimmed();
    for (qsizetype i = 0; i < m_all.size(); ++i) {
        const InstalledApplication& app = m_all.at(i);
        if (needle.isEmpty() || app.name.contains(needle, Qt::CaseInsensitive) ||
            app.bundleID.contains(needle, Qt::CaseInsensitive))
            m_visible.append(i);
    }
    endResetModel();
}

void AppChooserModel::toggle(int row) {
    if (row < 0 || row >= m_visible.size())
        return;
    const QUrl url = m_all.at(m_visible.at(row)).appURL;
    if (!m_chosen.removeOne(url))
        m_chosen.append(url);
    Q_EMIT dataChanged(index(row), index(row), {ChosenRole});
    Q_EMIT chosenChanged();
}

bool AppChooserModel::addFile(const QUrl& file) {
    const auto app = m_services.workspace->applicationAt(file);
    if (!app)
        return false;
    const bool listed = std::any_of(m_all.begin(), m_all.end(), [&](const InstalledApplication& a) {
        return a.appURL == app->appURL;
    });
    if (!listed) {
        m_all.prepend(*app); // where the user sees it
        applyFilter();
    }
    if (!m_chosen.contains(app->appURL)) {
        m_chosen.append(app->appURL);
        const qsizetype pos =
            std::find_if(m_visible.begin(), m_visible.end(),
                         [&](qsizetype i) { return m_all.at(i).appURL == app->appURL; }) -
            m_visible.begin();
        if (pos < m_visible.size())
            Q_EMIT dataChanged(index(int(pos)), index(int(pos)), {ChosenRole});
        Q_EMIT chosenChanged();
    }
    return true;
}

void AppChooserModel::browse() {
    const QList<QUrl> files = QFileDialog::getOpenFileUrls(
        nullptr, u"Choose Applications"_qs, QUrl::fromLocalFile(u"/usr/share/applications"_qs),
        u"Applications (*.desktop)"_qs);
    for (const QUrl& file : files)
        addFile(file); // one that describes no application is skipped silently
}

} // namespace valimbra
