#pragma once

#include "SettingsServices.h"
#include "platform/Workspace.h"

#include <QAbstractListModel>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace valimbra {

// The application picker of "Add App": the applications the desktop's menus list, by name,
// filtered by what is typed, several chosen at once; "Browse..." adds a desktop file from
// elsewhere. The chosen ones come back in the order they were chosen.
class AppChooserModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY chosenChanged)
public:
    enum Role { BundleIdRole = Qt::UserRole + 1, NameRole, IconUrlRole, AppUrlRole, ChosenRole };

    explicit AppChooserModel(const SettingsServices& services, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString filter() const { return m_filter; }
    void setFilter(const QString& filter);
    int chosenCount() const { return int(m_chosen.size()); }

    // Reads the installed applications again and forgets the last choice.
    Q_INVOKABLE void reset();
    Q_INVOKABLE void toggle(int row);
    // Adds a desktop file from anywhere, chosen; one that describes no application is skipped.
    Q_INVOKABLE bool addFile(const QUrl& file);
    // Opens a file dialog for desktop files and adds what is picked.
    Q_INVOKABLE void browse();
    Q_INVOKABLE QList<QUrl> chosenUrls() const { return m_chosen; }

Q_SIGNALS:
    void filterChanged();
    void chosenChanged();

private:
    void applyFilter();

    SettingsServices m_services;
    QList<InstalledApplication> m_all;
    QList<qsizetype> m_visible; // indexes into m_all
    QList<QUrl> m_chosen;
    QString m_filter;
};

} // namespace valimbra
