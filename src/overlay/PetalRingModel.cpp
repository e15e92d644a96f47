#include "PetalRingModel.h"

#include "overlay/DisplayedAppsModel.h"
#include "overlay/OverlayGeometry.h"

namespace valimbra {
namespace {

AppEntry addSlot() {
    AppEntry e;
    e.id = 0;
    e.name = u"Add Favourite"_qs;
    e.isAddSlot = true;
    return e;
}

} // namespace

PetalRingModel::PetalRingModel(QObject* parent)
    : QAbstractListModel(parent) {}

int PetalRingModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_cards.size());
}

QHash<int, QByteArray> PetalRingModel::roleNames() const {
    return {{AppIdRole, "appId"},
            {BundleIdRole, "bundleID"},
            {NameRole, "name"},
            {IconUrlRole, "iconUrl"},
            {DominantColorRole, "dominantColor"},
            {IsFavouriteRole, "isFavourite"},
            {IsRunningRole, "isRunning"},
            {IsAddSlotRole, "isAddSlot"},
            {MidAngleRole, "midAngle"},
            {IsMatchRole, "isMatch"},
            {IsHighlightedRole, "isHighlighted"},
            {AccessibleNameRole, "accessibleName"}};
}

QVariant PetalRingModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_cards.size())
        return {};
    const int row = index.row();
    const AppEntry& e = m_cards.at(row);
    switch (role) {
    case AppIdRole:
        return e.id;
    case BundleIdRole:
        return e.bundleID;
    case Qt::DisplayRole:
    case NameRole:
        return e.name;
    case IconUrlRole:
        return e.isAddSlot ? QString() : DisplayedAppsModel::iconUrl(e);
    case DominantColorRole:
        return e.dominantColor.isValid() ? e.dominantColor : QColor(0x6b, 0x7b, 0x8c);
    case IsFavouriteRole:
        return e.isFavourite;
    case IsRunningRole:
        return e.isRunning;
    case IsAddSlotRole:
        return e.isAddSlot;
    case MidAngleRole:
        return overlay::cardAngle(row, int(m_cards.size()));
    case IsMatchRole:
        return isMatch(row);
    case IsHighlightedRole:
        return highlightedRow() == row;
    case AccessibleNameRole:
        return DisplayedAppsModel::accessibleName(e);
    default:
        return {};
    }
}

void PetalRingModel::setSwitcher(SwitcherModel* switcher) {
    if (m_switcher == switcher)
        return;
    for (const auto& c : std::as_const(m_connections))
        disconnect(c);
    m_connections.clear();
    m_switcher = switcher;
    if (switcher) {
        m_connections = {
            connect(switcher, &SwitcherModel::displayedAppsChanged, this,
                    &PetalRingModel::onDisplayedAppsChanged),
            connect(switcher, &SwitcherModel::isWiggleModeChanged, this,
                    &PetalRingModel::onDisplayedAppsChanged),
            connect(switcher, &SwitcherModel::favouritesChanged, this,
                    &PetalRingModel::onDisplayedAppsChanged),
            connect(switcher, &SwitcherModel::highlightIndexChanged, this,
                    &PetalRingModel::refreshState),
            connect(switcher, &SwitcherModel::searchQueryChanged, this,
                    &PetalRingModel::refreshState),
            connect(switcher, &SwitcherModel::isVisibleChanged, this,
                    [this] {
                        // A new opening starts without a stale hover.
                        m_hoveredId.reset();
                        refreshState();
                    }),
        };
    }
    Q_EMIT switcherChanged();
    onDisplayedAppsChanged();
}

void PetalRingModel::setStyleName(const QString& raw) {
    const SwitcherStyle style = effectiveSwitcherStyle(raw);
    if (style == m_style)
        return;
    m_style = style;
    Q_EMIT layoutChanged();
}

double PetalRingModel::radius() const {
    return overlay::ringRadius(int(m_cards.size()), m_style);
}

bool PetalRingModel::searchActive() const {
    return m_switcher && !m_switcher->searchQuery().isEmpty();
}

bool PetalRingModel::noResults() const {
    return searchActive() && m_switcher->displayedApps().isEmpty();
}

std::optional<int> PetalRingModel::displayIndexOf(qint32 id) const {
    if (!m_switcher)
        return std::nullopt;
    const auto& list = m_switcher->displayedApps();
    for (int i = 0; i < list.size(); ++i)
        if (list.at(i).id == id && !list.at(i).isAddSlot)
            return i;
    return std::nullopt;
}

bool PetalRingModel::isMatch(int row) const {
    if (row < 0 || row >= m_cards.size())
        return false;
    if (!searchActive())
        return true;
    return !m_cards.at(row).isAddSlot && displayIndexOf(m_cards.at(row).id).has_value();
}

int PetalRingModel::highlightedRow() const {
    auto rowOf = [this](qint32 id) {
        for (int i = 0; i < m_cards.size(); ++i)
            if (m_cards.at(i).id == id)
                return i;
        return -1;
    };
    if (m_hoveredId)
        return rowOf(*m_hoveredId);
    if (!m_switcher)
        return -1;
    const auto index = m_switcher->highlightIndex();
    const auto& list = m_switcher->displayedApps();
    if (!index || *index < 0 || *index >= list.size())
        return -1;
    return rowOf(list.at(*index).id);
}

QString PetalRingModel::highlightedName() const {
    if (const int row = highlightedRow(); row >= 0)
        return m_cards.at(row).isAddSlot ? QString() : m_cards.at(row).name;
    // A search result beyond the ring's cards is still what Return opens.
    if (m_switcher) {
        const auto index = m_switcher->highlightIndex();
        const auto& list = m_switcher->displayedApps();
        if (index && *index >= 0 && *index < list.size())
            return list.at(*index).name;
    }
    return {};
}

void PetalRingModel::onDisplayedAppsChanged() {
    if (!m_switcher) {
        setCards({});
        return;
    }
    const auto& list = m_switcher->displayedApps();
    const QList<AppEntry> prefix = list.mid(0, overlay::maxVisibleApps);
    if (!m_switcher->searchQuery().isEmpty()) {
        // A search marks cards instead of replacing them; with no result nothing is highlighted.
        if (prefix.isEmpty()) {
            m_hoveredId.reset();
            if (m_switcher->highlightIndex())
                m_switcher->setHighlightIndexFromView(-1);
        }
        if (!m_cards.isEmpty()) {
            refreshState();
            return;
        }
    }
    QList<AppEntry> cards = prefix;
    if (m_switcher->isWiggleMode() && m_switcher->canAddFavourite() &&
        cards.size() < overlay::maxVisibleApps)
        cards.append(addSlot());
    setCards(std::move(cards));
}

// Cards keep their delegates across list changes (removed, inserted and moved rows, never a
// reset), so the views can spring them to their new places.
void PetalRingModel::setCards(QList<AppEntry> cards) {
    const int oldCount = int(m_cards.size());
    auto key = [](const AppEntry& e) { return e.isAddSlot ? std::optional<qint32>() : e.id; };
    auto indexOf = [&](const QList<AppEntry>& list, const AppEntry& e, int from) {
        for (int i = from; i < list.size(); ++i)
            if (key(list.at(i)) == key(e))
                return i;
        return -1;
    };
    for (int i = int(m_cards.size()) - 1; i >= 0; --i) {
        if (indexOf(cards, m_cards.at(i), 0) < 0) {
            beginRemoveRows({}, i, i);
            m_cards.removeAt(i);
            endRemoveRows();
        }
    }
    for (int i = 0; i < cards.size(); ++i) {
        if (i < m_cards.size() && key(m_cards.at(i)) == key(cards.at(i))) {
            m_cards[i] = cards.at(i);
            continue;
        }
        const int j = indexOf(m_cards, cards.at(i), i);
        if (j >= 0) {
            beginMoveRows({}, j, j, {}, i);
            m_cards.move(j, i);
            endMoveRows();
            m_cards[i] = cards.at(i);
        } else {
            beginInsertRows({}, i, i);
            m_cards.insert(i, cards.at(i));
            endInsertRows();
        }
    }
    if (!m_cards.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_cards.size()) - 1));
    if (m_hoveredId && std::none_of(m_cards.begin(), m_cards.end(),
                                    [this](const AppEntry& e) { return e.id == *m_hoveredId; }))
        m_hoveredId.reset();
    if (oldCount != m_cards.size())
        Q_EMIT layoutChanged();
    refreshState();
}

void PetalRingModel::refreshState() {
    if (!m_cards.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_cards.size()) - 1),
                           {IsMatchRole, IsHighlightedRole});
    Q_EMIT stateChanged();
}

void PetalRingModel::setHovered(int row, bool hovered) {
    if (row < 0 || row >= m_cards.size() || !m_switcher)
        return;
    const AppEntry& card = m_cards.at(row);
    if (hovered) {
        if (!isMatch(row) && !card.isAddSlot)
            return; // dimmed cards do not take the highlight
        m_hoveredId = card.id;
        if (const auto i = displayIndexOf(card.id); i && !m_switcher->isWiggleMode())
            m_switcher->hoverItem(*i);
    } else if (m_hoveredId == card.id) {
        m_hoveredId.reset();
        m_switcher->cancelHoverDwell();
    }
    refreshState();
}

void PetalRingModel::select(int row) {
    if (row < 0 || row >= m_cards.size() || !m_switcher)
        return;
    if (m_cards.at(row).isAddSlot) {
        Q_EMIT editFavouritesRequested();
        return;
    }
    if (m_switcher->isWiggleMode())
        return; // rearranging: a click is no choice
    if (const auto i = displayIndexOf(m_cards.at(row).id))
        m_switcher->activateAt(*i);
}

QVariantList PetalRingModel::menuFor(const AppEntry& entry, bool canAddFavourite) {
    auto item = [](const QString& text, const QString& action, bool enabled, bool destructive) {
        return QVariantMap{{u"text"_qs, text},
                           {u"action"_qs, action},
                           {u"enabled"_qs, enabled},
                           {u"destructive"_qs, destructive}};
    };
    QVariantList menu;
    if (entry.isFavourite)
        menu.append(item(u"Remove Favourite"_qs, u"removeFavourite"_qs, true, false));
    else
        // Without a desktop file there is nothing to launch later.
        menu.append(item(u"Add as Favourite"_qs, u"addFavourite"_qs,
                         canAddFavourite && entry.appURL.has_value(), false));
    menu.append(item(u"Edit Favourites"_qs, u"editFavourites"_qs, true, false));
    menu.append(item({}, u"divider"_qs, false, false));
    menu.append(item(u"Ignore App"_qs, u"ignore"_qs, true, true));
    return menu;
}

QVariantList PetalRingModel::contextMenu(int row) const {
    if (row < 0 || row >= m_cards.size() || m_cards.at(row).isAddSlot || !m_switcher)
        return {};
    return menuFor(m_cards.at(row), m_switcher->canAddFavourite());
}

QVariantList PetalRingModel::contextMenuForEntry(int displayIndex) const {
    if (!m_switcher || displayIndex < 0 || displayIndex >= m_switcher->displayedApps().size())
        return {};
    const AppEntry& e = m_switcher->displayedApps().at(displayIndex);
    return e.isAddSlot ? QVariantList() : menuFor(e, m_switcher->canAddFavourite());
}

void PetalRingModel::triggerEntryAction(int displayIndex, const QString& action) {
    if (!m_switcher || displayIndex < 0 || displayIndex >= m_switcher->displayedApps().size())
        return;
    const AppEntry e = m_switcher->displayedApps().at(displayIndex);
    if (action == u"removeFavourite")
        m_switcher->removeFavourite(e.bundleID);
    else if (action == u"editFavourites")
        Q_EMIT editFavouritesRequested();
    else if (action == u"addFavourite")
        m_switcher->addFavourite(displayIndex);
    else if (action == u"ignore")
        m_switcher->ignoreApp(displayIndex);
}

void PetalRingModel::triggerMenuAction(int row, const QString& action) {
    if (row < 0 || row >= m_cards.size() || !m_switcher)
        return;
    const AppEntry card = m_cards.at(row);
    if (action == u"removeFavourite") {
        m_switcher->removeFavourite(card.bundleID);
    } else if (action == u"editFavourites") {
        Q_EMIT editFavouritesRequested();
    } else if (action == u"addFavourite" || action == u"ignore") {
        const auto i = displayIndexOf(card.id);
        if (!i)
            return;
        if (action == u"addFavourite")
            m_switcher->addFavourite(*i);
        else
            m_switcher->ignoreApp(*i);
    }
}

int PetalRingModel::dragFavourite(int row, double dx, double dy) {
    if (row < 0 || row >= m_cards.size() || !m_switcher || !m_switcher->isWiggleMode() ||
        !m_cards.at(row).isFavourite)
        return 0;
    const int step = overlay::dragSwapStep(overlay::cardAngle(row, int(m_cards.size())), {dx, dy});
    if (step != 0 && !m_switcher->moveFavourite(m_cards.at(row).bundleID, step))
        return 0;
    return step;
}

} // namespace valimbra
