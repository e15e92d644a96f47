#pragma once

#include "catalogue/AppEntry.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace valimbra {

// The engine's displayed list as a QML list model: one row per AppEntry, a role per field, and
// an image-provider URL for the icon.
class DisplayedAppsModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the switcher engine")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        BundleIdRole,
        NameRole,
        NameLowerRole,
        IconUrlRole,
        DominantColorRole,
        ActivationPolicyRole,
        LastActivatedRole,
        ActivationCountRole,
        SearchScoreRole,
        IsFavouriteRole,
        IsRunningRole,
        AppUrlRole,
        ShortcutRole,
        IsAddSlotRole,
        AccessibleNameRole,
    };
    Q_ENUM(Role)

    static constexpr auto iconProviderId = "appicon";

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_apps.size()); }
    void setApps(const QList<AppEntry>& apps);

    static QString iconUrl(const AppEntry& e);
    // What a screen reader says for an entry: its name and whether it is a favourite or running.
    static QString accessibleName(const AppEntry& e);

Q_SIGNALS:
    void countChanged();

private:
    QList<AppEntry> m_apps;
};

} // namespace valimbra
