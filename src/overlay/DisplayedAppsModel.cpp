#include "DisplayedAppsModel.h"

namespace valimbra {

int DisplayedAppsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_apps.size());
}

QString DisplayedAppsModel::iconUrl(const AppEntry& e) {
    // The id names the icon; the provider serves it from the engine's current entries.
    return u"image://%1/%2"_qs.arg(QLatin1String(iconProviderId)).arg(e.id);
}

QString DisplayedAppsModel::accessibleName(const AppEntry& e) {
    if (e.isAddSlot)
        return e.name;
    const QString state =
        e.isFavourite ? (e.isRunning ? u"favourite, running"_qs : u"favourite"_qs) : u"running"_qs;
    return e.name + u", "_qs + state;
}

QVariant DisplayedAppsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || index.row() >= m_apps.size())
        return {};
    const AppEntry& e = m_apps.at(index.row());
    switch (role) {
    case IdRole:
        return e.id;
    case BundleIdRole:
        return e.bundleID;
    case Qt::DisplayRole:
    case NameRole:
        return e.name;
    case NameLowerRole:
        return e.nameLower;
    case IconUrlRole:
        return iconUrl(e);
    case DominantColorRole:
        return e.dominantColor;
    case ActivationPolicyRole:
        return int(e.activationPolicy);
    case LastActivatedRole:
        return e.lastActivated.toDateTime();
    case ActivationCountRole:
        return e.activationCount;
    case SearchScoreRole:
        return e.searchScore;
    case IsFavouriteRole:
        return e.isFavourite;
    case IsRunningRole:
        return e.isRunning;
    case AppUrlRole:
        return e.appURL ? QVariant(*e.appURL) : QVariant();
    case ShortcutRole:
        if (!e.shortcut)
            return {};
        return QVariantMap{{u"name"_qs, e.shortcut->name},
                           {u"identifier"_qs, e.shortcut->identifier},
                           {u"colorHex"_qs, e.shortcut->colorHex}};
    case IsAddSlotRole:
        return e.isAddSlot;
    case AccessibleNameRole:
        return accessibleName(e);
    default:
        return {};
    }
}

QHash<int, QByteArray> DisplayedAppsModel::roleNames() const {
    return {{IdRole, "appId"},
            {BundleIdRole, "bundleID"},
            {NameRole, "name"},
            {NameLowerRole, "nameLower"},
            {IconUrlRole, "iconUrl"},
            {DominantColorRole, "dominantColor"},
            {ActivationPolicyRole, "activationPolicy"},
            {LastActivatedRole, "lastActivated"},
            {ActivationCountRole, "activationCount"},
            {SearchScoreRole, "searchScore"},
            {IsFavouriteRole, "isFavourite"},
            {IsRunningRole, "isRunning"},
            {AppUrlRole, "appURL"},
            {ShortcutRole, "shortcut"},
            {IsAddSlotRole, "isAddSlot"},
            {AccessibleNameRole, "accessibleName"}};
}

void DisplayedAppsModel::setApps(const QList<AppEntry>& apps) {
    const bool countChanges = apps.size() != m_apps.size();
    beginResetModel();
    m_apps = apps;
    endResetModel();
    if (countChanges)
        Q_EMIT countChanged();
}

} // namespace valimbra
