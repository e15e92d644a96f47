#pragma once

#include "SettingsServices.h"

#include <QAbstractListModel>
#include <QSet>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace valimbra {

// One of the two lists the settings edit: the favourites (with "Running"/"Not running") or the
// ignored applications. Adding takes a snapshot of the other list when the chooser opens;
// chosen applications on it are skipped silently, as are those the list refuses (a duplicate,
// a sixteenth favourite).
class AppListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(bool canAdd READ canAdd NOTIFY countChanged)
public:
    enum class Kind { favourites, ignored };
    enum Role { BundleIdRole = Qt::UserRole + 1, NameRole, SubtitleRole, IconUrlRole };

    AppListModel(Kind kind, const SettingsServices& services, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_rows.size()); }
    bool canAdd() const;

    Q_INVOKABLE void remove(const QString& bundleID);
    // Before the chooser opens: what the other list holds now.
    Q_INVOKABLE void beginAdd();
    // The chooser's result, in its order.
    Q_INVOKABLE void addApplications(const QList<QUrl>& appURLs);

Q_SIGNALS:
    void countChanged();

private:
    struct Row {
        QString bundleID;
        QString name;
        QString subtitle;
        QString iconUrl;
        bool operator==(const Row&) const = default;
    };
    QList<Row> currentRows() const;
    void reload();

    Kind m_kind;
    SettingsServices m_services;
    QList<Row> m_rows;
    QSet<QString> m_excluded;
};

} // namespace valimbra
