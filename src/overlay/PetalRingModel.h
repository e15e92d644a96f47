#pragma once

#include "catalogue/AppEntry.h"
#include "catalogue/SwitcherStyle.h"
#include "overlay/SwitcherModel.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace valimbra {

// The ring's cards: the first 15 entries of the switcher's list, kept while a search narrows
// that list so that the ring marks matches instead of collapsing. Geometry, highlight (hover
// wins over the keyboard), search marking and the context menu are decided here, for QML to
// draw and for tests to check.
class PetalRingModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(
        valimbra::SwitcherModel* switcher READ switcher WRITE setSwitcher NOTIFY switcherChanged)
    Q_PROPERTY(QString style READ styleName WRITE setStyleName NOTIFY layoutChanged)
    Q_PROPERTY(int count READ count NOTIFY layoutChanged)
    Q_PROPERTY(double radius READ radius NOTIFY layoutChanged)
    Q_PROPERTY(bool searchActive READ searchActive NOTIFY stateChanged)
    Q_PROPERTY(bool noResults READ noResults NOTIFY stateChanged)
    Q_PROPERTY(int highlightedRow READ highlightedRow NOTIFY stateChanged)
    Q_PROPERTY(QString highlightedName READ highlightedName NOTIFY stateChanged)
    Q_PROPERTY(int hoveredId READ hoveredIdOrZero NOTIFY stateChanged)

public:
    enum Role {
        AppIdRole = Qt::UserRole + 1,
        BundleIdRole,
        NameRole,
        IconUrlRole,
        DominantColorRole,
        IsFavouriteRole,
        IsRunningRole,
        IsAddSlotRole,
        MidAngleRole,
        IsMatchRole,
        IsHighlightedRole,
        AccessibleNameRole,
    };

    explicit PetalRingModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    SwitcherModel* switcher() const { return m_switcher; }
    void setSwitcher(SwitcherModel* switcher);
    SwitcherStyle style() const { return m_style; }
    QString styleName() const { return rawValue(m_style); }
    void setStyleName(const QString& raw);

    int count() const { return int(m_cards.size()); }
    double radius() const;
    bool searchActive() const;
    bool noResults() const;
    int highlightedRow() const;
    QString highlightedName() const;
    std::optional<qint32> hoveredId() const { return m_hoveredId; }
    int hoveredIdOrZero() const { return m_hoveredId.value_or(0); }
    const QList<AppEntry>& cards() const { return m_cards; }
    bool isMatch(int row) const;

    // The pointer entered or left a card: hover wins the highlight and starts the dwell.
    Q_INVOKABLE void setHovered(int row, bool hovered);
    // A click on a card.
    Q_INVOKABLE void select(int row);
    // The context menu of a card: [{text, action, enabled, destructive}], a divider as
    // {action: "divider"}.
    Q_INVOKABLE QVariantList contextMenu(int row) const;
    Q_INVOKABLE void triggerMenuAction(int row, const QString& action);
    // The same menu and actions for an entry of the switcher's list (grid and list views).
    Q_INVOKABLE QVariantList contextMenuForEntry(int displayIndex) const;
    Q_INVOKABLE void triggerEntryAction(int displayIndex, const QString& action);
    static QVariantList menuFor(const AppEntry& entry, bool canAddFavourite);
    // A drag of a favourite in wiggle mode; returns the swap made (+1, -1 or 0).
    Q_INVOKABLE int dragFavourite(int row, double dx, double dy);

Q_SIGNALS:
    void switcherChanged();
    void layoutChanged();
    void stateChanged();
    // "Edit Favourites" or the add slot: the favourites settings should open.
    void editFavouritesRequested();

private:
    void onDisplayedAppsChanged();
    void setCards(QList<AppEntry> cards);
    void refreshState();
    std::optional<int> displayIndexOf(qint32 id) const;

    QPointer<SwitcherModel> m_switcher;
    SwitcherStyle m_style = SwitcherStyle::spatialTile;
    QList<AppEntry> m_cards;
    std::optional<qint32> m_hoveredId;
    QList<QMetaObject::Connection> m_connections;
};

} // namespace valimbra
