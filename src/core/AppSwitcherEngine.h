#pragma once

#include "catalogue/AppEntry.h"
#include "overlay/DisplayedAppsModel.h"
#include "overlay/SwitcherModel.h"
#include "platform/Platform.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace valimbra {

class AppIconProvider;
class HoldKeyMonitor;
class HotKeyRegistration;
class IconProcessor;
class IgnoreListManager;
class InvokeModeSwitch;
class PinnedAppsManager;
class ReviewTracker;
class RunningAppsMonitor;
class SearchIndex;
class ShortcutManager;

// The one central object: decides what the overlay shows, what is highlighted, whether it is
// visible, the search text and whether favourites are being rearranged, and carries out the
// user's choice. All state lives on the main thread.
class AppSwitcherEngine : public SwitcherModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application creates the one engine")
    Q_PROPERTY(bool isReady READ isReady NOTIFY isReadyChanged)

public:
    static constexpr int activationDelayMs = 30;
    static constexpr int searchDebounceMs = 40;
    static constexpr int hideRefreshDelayMs = 500;
    static constexpr int maxSearchResults = 200;

    explicit AppSwitcherEngine(const Platform& platform, QObject* parent = nullptr);
    ~AppSwitcherEngine() override;

    // Published state.
    const QList<AppEntry>& displayedApps() const override { return m_displayedApps; }
    DisplayedAppsModel* displayedAppsModel() const override { return m_model.get(); }
    std::optional<int> highlightIndex() const override { return m_highlightIndex; }
    QString searchQuery() const override { return m_searchQuery; }
    bool isVisible() const override { return m_isVisible; }
    bool isWiggleMode() const override { return m_isWiggleMode; }
    bool isReady() const { return m_isReady; }

    // Start-up marks the engine ready once the overlay is pre-warmed; until then invocation does
    // nothing.
    void setReady(bool ready);

    // Opening and closing.
    Q_INVOKABLE void toggle(); // the hold key, the shortcut
    Q_INVOKABLE void show();
    void hide() override;
    Q_INVOKABLE void refresh();
    void closeRequest() override;

    // Highlight and commit.
    void moveHighlight(int step) override;
    void commitHighlighted() override;
    void activateAt(int index) override;
    void activate(AppEntry entry);

    // Hover dwell: resting on an item commits it after the stored delay.
    void hoverItem(int index) override;
    void startHoverDwell() override;
    void cancelHoverDwell() override;

    // Type-to-search.
    void setSearchQuery(const QString& query) override;
    void appendSearchText(const QString& text) override;
    void deleteLastSearchCharacter() override;

    // Favourites and the ignore list, from the overlay.
    bool addFavourite(int index) override;
    bool removeFavourite(const QString& bundleID) override;
    bool ignoreApp(int index) override;
    bool moveFavourite(const QString& bundleID, int step) override;
    void enterWiggleMode() override;
    void exitWiggleMode() override;
    bool canAddFavourite() const override;
    void setHighlightIndexFromView(int index) override;

    // The list rule behind displayedApps when no search is active.
    // (Starts loading icons of favourites that are not running, hence not const.)
    QList<AppEntry> buildList(const QList<AppEntry>& running);

    // Collaborators, for the application, the settings panes and tests.
    PinnedAppsManager& pinnedApps() const { return *m_pinned; }
    IgnoreListManager& ignoreList() const { return *m_ignored; }
    HoldKeyMonitor& holdMonitor() const { return *m_holdMonitor; }
    HotKeyRegistration& hotKey() const { return *m_hotKey; }
    InvokeModeSwitch& invokeMode() const { return *m_invokeMode; }
    RunningAppsMonitor& runningApps() const { return *m_monitor; }
    SearchIndex& searchIndex() const { return *m_search; }
    ShortcutManager& shortcuts() const { return *m_shortcuts; }
    ReviewTracker& review() const { return *m_review; }
    AppIconProvider* iconProvider() const { return m_iconProvider; }
    // The icon provider is handed to a QML engine, which takes ownership of it.
    AppIconProvider* takeIconProvider();

Q_SIGNALS:
    void isReadyChanged();

private:
    void setDisplayedApps(QList<AppEntry> apps);
    void setHighlightIndex(std::optional<int> index);
    void setVisible(bool visible);
    void setWiggleMode(bool on);
    void scheduleSearch();
    void clearSearch();
    void runSearch(const QString& query);
    void installMiddleMouseMonitors();
    void removeMiddleMouseMonitors();
    bool handleMiddleButton(const InputEvent& event);
    std::optional<int> indexOfFavourite(const QString& bundleID) const;
    QImage favouriteIcon(const QString& path);

    Platform m_platform;
    std::unique_ptr<SerialExecutor> m_monitorQueue;
    std::unique_ptr<SerialExecutor> m_recencySaveQueue;
    std::unique_ptr<SerialExecutor> m_iconQueue;
    std::unique_ptr<SearchIndex> m_search;
    std::unique_ptr<IconProcessor> m_iconProcessor;
    std::unique_ptr<RunningAppsMonitor> m_monitor;
    std::unique_ptr<HoldKeyMonitor> m_holdMonitor;
    std::unique_ptr<HotKeyRegistration> m_hotKey;
    std::unique_ptr<InvokeModeSwitch> m_invokeMode;
    std::unique_ptr<PinnedAppsManager> m_pinned;
    std::unique_ptr<IgnoreListManager> m_ignored;
    std::unique_ptr<ShortcutManager> m_shortcuts;
    std::unique_ptr<ReviewTracker> m_review;
    std::unique_ptr<DisplayedAppsModel> m_model;
    AppIconProvider* m_iconProvider = nullptr;
    std::unique_ptr<AppIconProvider> m_ownedIconProvider;

    QList<AppEntry> m_displayedApps;
    std::optional<int> m_highlightIndex;
    QString m_searchQuery;
    bool m_isVisible = false;
    bool m_isReady = false;
    bool m_isWiggleMode = false;
    bool m_invokeModeApplyPending = false;
    // Desktop-file icons of favourites, by path; filled from the icon queue.
    QHash<QString, QImage> m_favouriteIcons;
    QSet<QString> m_favouriteIconsLoading;

    MonitorToken m_middleMouseMonitor = 0;
    MonitorToken m_localMiddleMouseMonitor = 0;
    WorkItemPtr m_searchWorkItem;
    QString m_pendingSearch;
    WorkItemPtr m_tabDwellWorkItem;
    WorkItemPtr m_hideRefreshWorkItem;
};

} // namespace valimbra
