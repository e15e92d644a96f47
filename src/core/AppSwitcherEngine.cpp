#include "AppSwitcherEngine.h"

#include "catalogue/CatalogueRules.h"
#include "catalogue/HoldModifier.h"
#include "catalogue/IconProcessor.h"
#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RunningAppsMonitor.h"
#include "catalogue/SearchIndex.h"
#include "core/HoldKeyMonitor.h"
#include "core/HotKeyRegistration.h"
#include "core/InvokeModeSwitch.h"
#include "core/ReviewTracker.h"
#include "core/ShortcutManager.h"
#include "overlay/AppIconProvider.h"

#include <QCollator>
#include <QLocale>
#include <QSet>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

namespace valimbra {

using std::chrono::milliseconds;

namespace {
const QString kHoverLaunchEnabled = u"valimbra.hoverLaunchEnabled"_qs;
const QString kHoverLaunchDelay = u"valimbra.hoverLaunchDelay"_qs;
const QString kMiddleMouseEnabled = u"valimbra.middleMouseEnabled"_qs;
const QString kAnimationStyle = u"valimbra.animationStyle"_qs;
const QString kHoldModifier = u"valimbra.holdModifier"_qs;
constexpr int kMiddleButton = 2;
} // namespace

AppSwitcherEngine::AppSwitcherEngine(const Platform& platform, QObject* parent)
    : SwitcherModel(parent)
    , m_platform(platform)
    , m_model(std::make_unique<DisplayedAppsModel>())
    , m_ownedIconProvider(std::make_unique<AppIconProvider>()) {
    m_iconProvider = m_ownedIconProvider.get();
    Workspace& workspace = *m_platform.workspace;
    SettingsStore& settings = *m_platform.settings;
    Scheduler& scheduler = *m_platform.scheduler;

    // The catalogue: search index, then the running apps monitor over it, then the hold key.
    m_monitorQueue = m_platform.makeExecutor(u"app.brindlex.monitor"_qs);
    m_recencySaveQueue = m_platform.makeExecutor(u"app.brindlex.recency.save"_qs);
    m_iconQueue = m_platform.makeExecutor(u"app.brindlex.iconprocessor"_qs);
    m_search = std::make_unique<SearchIndex>();
    m_iconProcessor = std::make_unique<IconProcessor>();
    m_monitor =
        std::make_unique<RunningAppsMonitor>(workspace, *m_search, settings, *m_iconProcessor,
                                             scheduler, *m_monitorQueue, *m_recencySaveQueue);
    m_holdMonitor = std::make_unique<HoldKeyMonitor>(*m_platform.input, scheduler);
    m_hotKey = std::make_unique<HotKeyRegistration>(*m_platform.hotKeys, scheduler);
    m_invokeMode = std::make_unique<InvokeModeSwitch>(settings, *m_holdMonitor, *m_hotKey);
    m_pinned = std::make_unique<PinnedAppsManager>(settings);
    m_ignored = std::make_unique<IgnoreListManager>(settings);
    m_shortcuts = std::make_unique<ShortcutManager>();
    m_review = std::make_unique<ReviewTracker>(settings, scheduler);

    // Registered before anything reads them; grid and list views fall back to other values.
    settings.registerDefaults(
        {{kMiddleMouseEnabled, true}, {kHoverLaunchEnabled, true}, {kAnimationStyle, u"bloom"_qs}});

    if (auto raw = settings.string(kHoldModifier))
        if (auto modifier = holdModifierFromRaw(*raw))
            m_holdMonitor->setModifier(*modifier);

    // While a search is active the list shows its results, so running-app changes wait.
    connect(m_monitor.get(), &RunningAppsMonitor::appsChanged, this, [this] {
        if (m_searchQuery.isEmpty())
            setDisplayedApps(buildList(m_monitor->apps()));
    });
    connect(m_pinned.get(), &PinnedAppsManager::pinnedAppsChanged, this, [this] {
        refresh();
        Q_EMIT favouritesChanged();
    });
    connect(m_pinned.get(), &PinnedAppsManager::sortAlphabeticallyChanged, this,
            &AppSwitcherEngine::refresh);
    connect(m_ignored.get(), &IgnoreListManager::ignoredAppsChanged, this,
            &AppSwitcherEngine::refresh);

    m_holdMonitor->onPressed = [this] { toggle(); };
    m_holdMonitor->onReleased = [] {};
    m_hotKey->onPressed = [this] { toggle(); };

    m_invokeMode->apply();
    connect(&settings, &SettingsStore::changed, this, [this](const QString& key) {
        if (key == kHoldModifier) {
            if (auto raw = m_platform.settings->string(kHoldModifier))
                if (auto modifier = holdModifierFromRaw(*raw))
                    m_holdMonitor->setModifier(*modifier);
        } else if (InvokeModeSwitch::isInvokeSetting(key) && !m_invokeModeApplyPending) {
            // The recorder writes key code and modifiers one after the other; applying after
            // each would briefly grab the new key with the old modifiers.
            m_invokeModeApplyPending = true;
            m_platform.scheduler->post(this, [this] {
                m_invokeModeApplyPending = false;
                m_invokeMode->applyIfChanged();
            });
        }
    });
    installMiddleMouseMonitors();

    m_monitor->start();
}

AppSwitcherEngine::~AppSwitcherEngine() {
    removeMiddleMouseMonitors();
    if (m_tabDwellWorkItem)
        m_tabDwellWorkItem->cancel();
    if (m_searchWorkItem)
        m_searchWorkItem->cancel();
    if (m_hideRefreshWorkItem)
        m_hideRefreshWorkItem->cancel();
    m_hotKey->unregisterHotKey();
    m_holdMonitor->onPressed = nullptr;
    m_holdMonitor->onReleased = nullptr;
}

AppIconProvider* AppSwitcherEngine::takeIconProvider() {
    return m_ownedIconProvider.release();
}

void AppSwitcherEngine::setReady(bool ready) {
    if (m_isReady == ready)
        return;
    m_isReady = ready;
    Q_EMIT isReadyChanged();
}

// MARK: - List building

QList<AppEntry> AppSwitcherEngine::buildList(const QList<AppEntry>& running) {
    QSet<QString> ignored;
    for (const IgnoredApp& app : m_ignored->ignoredApps())
        ignored.insert(app.bundleID);

    QList<AppEntry> candidates;
    QHash<QString, qsizetype> byBundle;
    for (const AppEntry& e : running) {
        if (e.activationPolicy != ActivationPolicy::Regular || ignored.contains(e.bundleID))
            continue;
        // Most recently active first: a favourite stands for its newest process.
        if (!byBundle.contains(e.bundleID))
            byBundle.insert(e.bundleID, candidates.size());
        candidates.append(e);
    }

    QList<PinnedApp> favourites = m_pinned->pinnedApps();
    if (m_pinned->sortAlphabetically()) {
        // The user's collation; the C and POSIX locales have none (they compare code points,
        // putting "Éclair" after "zeta"), so those get the language-neutral one.
        QLocale locale;
        if (locale.language() == QLocale::C)
            locale = QLocale(QLocale::English);
        QCollator collator(locale);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        std::stable_sort(favourites.begin(), favourites.end(),
                         [&](const PinnedApp& a, const PinnedApp& b) {
                             return collator.compare(a.name, b.name) < 0;
                         });
    }

    QList<AppEntry> list;
    QSet<QString> seen;
    for (const PinnedApp& fav : favourites) {
        if (ignored.contains(fav.bundleID))
            continue;
        seen.insert(fav.bundleID);
        if (auto it = byBundle.constFind(fav.bundleID); it != byBundle.cend()) {
            AppEntry e = candidates.at(*it);
            e.isFavourite = true;
            list.append(std::move(e));
        } else {
            list.append(AppEntry::fromPinned(
                fav, [this](const QString& path) { return favouriteIcon(path); }));
        }
    }
    if (m_isWiggleMode)
        return list;
    for (const AppEntry& e : candidates)
        if (!seen.contains(e.bundleID))
            list.append(e);
    return list;
}

// Icons of favourites that are not running come from their desktop files. Decoding them is disk
// and image work, so it runs on the icon queue; the list is rebuilt when an icon arrives.
QImage AppSwitcherEngine::favouriteIcon(const QString& path) {
    if (auto it = m_favouriteIcons.constFind(path); it != m_favouriteIcons.cend())
        return *it;
    if (!m_favouriteIconsLoading.contains(path)) {
        m_favouriteIconsLoading.insert(path);
        Workspace* workspace = m_platform.workspace;
        Scheduler* scheduler = m_platform.scheduler;
        QPointer<AppSwitcherEngine> self(this);
        m_iconQueue->submit([workspace, scheduler, self, path] {
            QImage icon = workspace->iconForFile(path);
            scheduler->post([self, path, icon = std::move(icon)] {
                if (!self)
                    return;
                self->m_favouriteIconsLoading.remove(path);
                self->m_favouriteIcons.insert(path, icon);
                self->refresh();
            });
        });
    }
    return {};
}

void AppSwitcherEngine::setDisplayedApps(QList<AppEntry> apps) {
    m_displayedApps = std::move(apps);
    m_iconProvider->update(m_displayedApps);
    m_model->setApps(m_displayedApps);
    // A highlight never points past the end of a shorter list.
    if (m_highlightIndex && *m_highlightIndex >= m_displayedApps.size())
        setHighlightIndex(std::nullopt);
    Q_EMIT displayedAppsChanged();
}

void AppSwitcherEngine::refresh() {
    if (m_searchQuery.isEmpty())
        setDisplayedApps(buildList(m_monitor->apps()));
}

// MARK: - Showing and hiding

void AppSwitcherEngine::toggle() {
    if (m_isWiggleMode) {
        exitWiggleMode();
    } else if (!m_isVisible) {
        show();
    } else {
        hide();
    }
}

void AppSwitcherEngine::show() {
    if (!m_isReady)
        return;
    setWiggleMode(false);
    clearSearch();
    setHighlightIndex(std::nullopt);
    setDisplayedApps(buildList(m_monitor->apps()));
    setVisible(true);
    m_review->countUse();
}

void AppSwitcherEngine::hide() {
    cancelHoverDwell();
    // Closing also ends rearranging, so the next hold opens the switcher at once.
    setWiggleMode(false);
    m_holdMonitor->cancelHold();
    setVisible(false);
    clearSearch();
    setHighlightIndex(std::nullopt);
    // The closing animation keeps drawing the old items; the fresh list comes afterwards.
    if (m_hideRefreshWorkItem)
        m_hideRefreshWorkItem->cancel();
    m_hideRefreshWorkItem =
        m_platform.scheduler->postAfter(milliseconds(hideRefreshDelayMs), this, [this] {
            if (!m_isVisible)
                setDisplayedApps(buildList(m_monitor->apps()));
        });
}

void AppSwitcherEngine::closeRequest() {
    if (m_isWiggleMode) {
        setWiggleMode(false);
        m_platform.scheduler->post(this, [this] { hide(); });
    } else {
        hide();
    }
}

void AppSwitcherEngine::setVisible(bool visible) {
    if (m_isVisible == visible)
        return;
    m_isVisible = visible;
    Q_EMIT isVisibleChanged();
}

void AppSwitcherEngine::setWiggleMode(bool on) {
    if (m_isWiggleMode == on)
        return;
    m_isWiggleMode = on;
    Q_EMIT isWiggleModeChanged();
}

void AppSwitcherEngine::enterWiggleMode() {
    if (m_isWiggleMode)
        return;
    cancelHoverDwell();
    clearSearch();
    setWiggleMode(true);
    setHighlightIndex(std::nullopt);
    setDisplayedApps(buildList(m_monitor->apps()));
}

void AppSwitcherEngine::exitWiggleMode() {
    setWiggleMode(false);
    setHighlightIndex(std::nullopt);
    setDisplayedApps(buildList(m_monitor->apps()));
}

// MARK: - Highlight and commit

void AppSwitcherEngine::setHighlightIndex(std::optional<int> index) {
    if (m_highlightIndex == index)
        return;
    m_highlightIndex = index;
    Q_EMIT highlightIndexChanged();
}

void AppSwitcherEngine::setHighlightIndexFromView(int index) {
    if (index < 0 || index >= m_displayedApps.size())
        setHighlightIndex(std::nullopt);
    else
        setHighlightIndex(index);
}

void AppSwitcherEngine::moveHighlight(int step) {
    const int n = int(m_displayedApps.size());
    if (n == 0)
        return;
    if (!m_highlightIndex)
        setHighlightIndex(step < 1 ? n - 1 : 0);
    else
        setHighlightIndex((*m_highlightIndex + step % n + n) % n);
}

void AppSwitcherEngine::commitHighlighted() {
    if (m_highlightIndex)
        activateAt(*m_highlightIndex);
}

void AppSwitcherEngine::activateAt(int index) {
    if (index < 0 || index >= m_displayedApps.size())
        return;
    activate(m_displayedApps.at(index));
}

// By value: closing refreshes displayedApps, which may free the entry a caller passed in.
void AppSwitcherEngine::activate(AppEntry entry) {
    if (entry.isAddSlot)
        return;
    m_review->countSwitch();
    closeRequest();
    Scheduler& scheduler = *m_platform.scheduler;
    Workspace* workspace = m_platform.workspace;
    // The overlay gives up the keyboard before the target comes forward.
    if (!entry.isRunning) {
        if (entry.appURL) {
            const QUrl url = *entry.appURL;
            scheduler.postAfter(milliseconds(activationDelayMs), this,
                                [workspace, url] { workspace->openApplication(url); });
        }
        return;
    }
    const auto running = workspace->runningApplications();
    const bool found = std::any_of(running.begin(), running.end(),
                                   [&](const RunningApp& app) { return app.pid == entry.id; });
    if (!found)
        return; // the process ended meanwhile
    const qint32 pid = entry.id;
    scheduler.postAfter(milliseconds(activationDelayMs), this,
                        [workspace, pid] { workspace->activate(pid, true); });
}

// MARK: - Hover dwell

void AppSwitcherEngine::hoverItem(int index) {
    if (index < 0 || index >= m_displayedApps.size())
        return;
    setHighlightIndex(index);
    startHoverDwell();
}

void AppSwitcherEngine::startHoverDwell() {
    cancelHoverDwell();
    SettingsStore& settings = *m_platform.settings;
    if (!settings.boolValue(kHoverLaunchEnabled, true) || !m_highlightIndex || m_isWiggleMode)
        return;
    // A corrupt stored delay must not become an undefined conversion or a wait of years.
    const double delay = std::clamp(settings.doubleValue(kHoverLaunchDelay, 0.5), 0.0, 60.0);
    const qint32 id = m_displayedApps.at(*m_highlightIndex).id;
    m_tabDwellWorkItem = m_platform.scheduler->postAfter(
        milliseconds(qint64(delay * 1000.0 + 0.5)), this, [this, id] {
            m_tabDwellWorkItem.reset();
            // Commit what is highlighted now, provided it is still the item the dwell began on.
            if (m_isVisible && m_highlightIndex && m_displayedApps.at(*m_highlightIndex).id == id)
                activateAt(*m_highlightIndex);
        });
}

void AppSwitcherEngine::cancelHoverDwell() {
    if (m_tabDwellWorkItem) {
        m_tabDwellWorkItem->cancel();
        m_tabDwellWorkItem.reset();
    }
}

// MARK: - Search

void AppSwitcherEngine::setSearchQuery(const QString& query) {
    if (m_searchQuery == query)
        return;
    m_searchQuery = query;
    Q_EMIT searchQueryChanged();
    scheduleSearch();
}

// Resets the query without a search: the caller rebuilds the list itself, and a late debounced
// search must not reset a highlight the user has moved meanwhile.
void AppSwitcherEngine::clearSearch() {
    if (m_searchWorkItem) {
        m_searchWorkItem->cancel();
        m_searchWorkItem.reset();
    }
    if (m_searchQuery.isEmpty())
        return;
    m_searchQuery.clear();
    Q_EMIT searchQueryChanged();
}

void AppSwitcherEngine::appendSearchText(const QString& text) {
    if (!text.isEmpty())
        setSearchQuery(m_searchQuery + text);
}

void AppSwitcherEngine::deleteLastSearchCharacter() {
    if (m_searchQuery.isEmpty())
        return;
    // One user-perceived character, so "é" typed as e + combining accent goes in one step.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, m_searchQuery);
    finder.toEnd();
    const qsizetype cut = finder.toPreviousBoundary();
    setSearchQuery(m_searchQuery.left(cut < 0 ? 0 : cut));
}

void AppSwitcherEngine::scheduleSearch() {
    m_pendingSearch = m_searchQuery;
    if (m_searchWorkItem)
        m_searchWorkItem->cancel();
    m_searchWorkItem =
        m_platform.scheduler->postAfter(milliseconds(searchDebounceMs), this, [this] {
            m_searchWorkItem.reset();
            runSearch(m_pendingSearch);
        });
}

void AppSwitcherEngine::runSearch(const QString& query) {
    if (query.isEmpty()) {
        // Deleting the whole query brings the ordinary list back.
        setDisplayedApps(buildList(m_monitor->apps()));
        setHighlightIndex(std::nullopt);
        return;
    }
    QSet<QString> ignored;
    for (const IgnoredApp& app : m_ignored->ignoredApps())
        ignored.insert(app.bundleID);
    QSet<QString> favourites;
    for (const PinnedApp& app : m_pinned->pinnedApps())
        favourites.insert(app.bundleID);

    QList<AppEntry> results;
    // More results than any view can show are never materialised.
    for (AppEntry& e : m_search->search(query, nullptr, maxSearchResults)) {
        if (ignored.contains(e.bundleID) || e.activationPolicy != ActivationPolicy::Regular)
            continue;
        e.isFavourite = favourites.contains(e.bundleID);
        results.append(std::move(e));
    }
    setDisplayedApps(std::move(results));
    // The best match is ready for Return.
    setHighlightIndex(m_displayedApps.isEmpty() ? std::nullopt : std::optional<int>(0));
}

// MARK: - Favourites and ignore list

std::optional<int> AppSwitcherEngine::indexOfFavourite(const QString& bundleID) const {
    const auto& list = m_pinned->pinnedApps();
    for (int i = 0; i < list.size(); ++i)
        if (list.at(i).bundleID == bundleID)
            return i;
    return std::nullopt;
}

bool AppSwitcherEngine::canAddFavourite() const {
    return m_pinned->pinnedApps().size() < 15;
}

bool AppSwitcherEngine::addFavourite(int index) {
    if (index < 0 || index >= m_displayedApps.size())
        return false;
    const AppEntry& e = m_displayedApps.at(index);
    if (e.isAddSlot || e.isFavourite || !e.appURL)
        return false; // without a desktop file there is nothing to launch later
    return pinApp(*m_pinned, *m_ignored, PinnedApp{e.bundleID, e.name, *e.appURL});
}

bool AppSwitcherEngine::removeFavourite(const QString& bundleID) {
    const auto at = indexOfFavourite(bundleID);
    if (!at)
        return false;
    m_pinned->removeAt(*at);
    return true;
}

bool AppSwitcherEngine::ignoreApp(int index) {
    if (index < 0 || index >= m_displayedApps.size())
        return false;
    const AppEntry& e = m_displayedApps.at(index);
    if (e.isAddSlot)
        return false;
    const bool ok =
        valimbra::ignoreApp(*m_ignored, *m_pinned, IgnoredApp{e.bundleID, e.name, e.appURL});
    if (ok && !m_searchQuery.isEmpty())
        runSearch(m_searchQuery); // drop it from the visible results too
    return ok;
}

bool AppSwitcherEngine::moveFavourite(const QString& bundleID, int step) {
    const auto at = indexOfFavourite(bundleID);
    if (!at || step == 0)
        return false;
    const int to = *at + (step > 0 ? 1 : -1);
    if (to < 0 || to >= m_pinned->pinnedApps().size())
        return false;
    m_pinned->move(*at, to);
    return true;
}

// MARK: - Middle mouse button

bool AppSwitcherEngine::handleMiddleButton(const InputEvent& event) {
    if (event.buttonNumber != kMiddleButton ||
        !m_platform.settings->boolValue(kMiddleMouseEnabled, true))
        return false;
    // Unlike the hold key, a click on a visible overlay closes it even while rearranging.
    if (!m_isVisible)
        show();
    else
        closeRequest();
    return true;
}

void AppSwitcherEngine::installMiddleMouseMonitors() {
    InputMonitor& input = *m_platform.input;
    QPointer<AppSwitcherEngine> self(this);
    m_middleMouseMonitor =
        input.addGlobalMonitor(EventMask::OtherMouseDown, [self](const InputEvent& event) {
            if (self)
                self->handleMiddleButton(event);
        });
    m_localMiddleMouseMonitor = input.addLocalMonitor(
        EventMask::OtherMouseDown, [self](const InputEvent& event) -> std::optional<InputEvent> {
            if (self && self->handleMiddleButton(event))
                return std::nullopt;
            return event;
        });
}

void AppSwitcherEngine::removeMiddleMouseMonitors() {
    if (m_middleMouseMonitor)
        m_platform.input->removeMonitor(std::exchange(m_middleMouseMonitor, 0));
    if (m_localMiddleMouseMonitor)
        m_platform.input->removeMonitor(std::exchange(m_localMiddleMouseMonitor, 0));
}

} // namespace valimbra
