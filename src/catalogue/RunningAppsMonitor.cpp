#include "RunningAppsMonitor.h"

#include "IconProcessor.h"
#include "SearchIndex.h"
#include "platform/Scheduler.h"
#include "platform/Workspace.h"

#include <QHash>

#include <algorithm>
#include <mutex>

namespace valimbra {

// What queue work and main-thread hand-overs reach: the dependencies and the queue's state.
// Blocks hold it weakly; `alive` (under `turn`) says whether the monitor still exists.
struct RunningAppsMonitor::Shared : std::enable_shared_from_this<Shared> {
    Shared(Workspace& workspace, SearchIndex& index, IconProcessor& icons, Scheduler& scheduler,
           SerialExecutor& queue)
        : workspace(workspace)
        , index(index)
        , icons(icons)
        , scheduler(scheduler)
        , queue(queue) {}

    Workspace& workspace;
    SearchIndex& index;
    IconProcessor& icons;
    Scheduler& scheduler;
    SerialExecutor& queue;

    // Held by every queue block while it runs, so the destructor can wait for one in flight.
    std::mutex turn;
    bool alive = true; // guarded by `turn`
    // Main thread only: null once the monitor is destroyed.
    RunningAppsMonitor* owner = nullptr;

    // ---- Queue state ----
    QHash<qint32, AppEntry> cache;
    // Launches still being tried, by pid, with the token of the attempt chain that owns them; a
    // termination or a new launch of the pid makes older chains stop.
    QHash<qint32, quint64> pendingLaunches;
    quint64 lastLaunchToken = 0;
    // The queue's copy of the recency record, so new entries (and the index's scores) carry
    // their activation counts without reading main-thread state.
    RecencySnapshot recency;

    // Runs `work` on the monitor queue while the monitor exists.
    void submit(std::function<void(Shared&)> work) {
        queue.submit([weak = weak_from_this(), work = std::move(work)] {
            const auto self = weak.lock();
            if (!self)
                return;
            std::lock_guard lock(self->turn);
            if (self->alive)
                work(*self);
        });
    }

    // Runs `work` on the main thread while the monitor exists.
    void toMain(std::function<void(RunningAppsMonitor&)> work) {
        scheduler.post([weak = weak_from_this(), work = std::move(work)] {
            const auto self = weak.lock();
            if (self && self->owner)
                work(*self->owner);
        });
    }

    // An entry needs a bundle identifier and a name; a freshly started X client may not have
    // published either yet. Colours are computed here, on the queue.
    std::optional<AppEntry> makeEntry(const RunningApp& app) {
        if (!app.bundleID || app.bundleID->isEmpty() || app.name.isEmpty())
            return std::nullopt;
        AppEntry e;
        e.id = app.pid;
        e.bundleID = *app.bundleID;
        e.name = app.name;
        e.nameLower = AppEntry::lowercased(app.name);
        if (!app.icon.isNull()) {
            e.icon = app.icon;
            e.dominantColor = icons.dominantColor(app.icon, e.bundleID);
        } else {
            // No icon yet: show the generic one, but do not let it fix the colour cached for
            // this application for the rest of the session.
            e.icon = workspace.genericApplicationIcon();
            e.dominantColor = IconProcessor::systemGrey();
        }
        e.activationPolicy = app.activationPolicy;
        e.lastActivated = recency.timestamps.value(e.bundleID, Date::distantPast());
        e.activationCount = recency.counts.value(e.bundleID, 0);
        e.isRunning = true;
        e.isFavourite = false; // the engine marks its own copy
        e.appURL = app.appURL;
        return e;
    }

    void store(const AppEntry& entry) {
        cache.insert(entry.id, entry);
        index.insert(entry);
    }

    void publish() {
        toMain([entries = cache.values()](RunningAppsMonitor& m) mutable {
            m.publish(std::move(entries));
        });
    }

    quint64 beginLaunch(qint32 pid) {
        const quint64 token = ++lastLaunchToken;
        pendingLaunches.insert(pid, token);
        return token;
    }

    void attempt(qint32 pid, quint64 token, int retriesLeft) {
        if (pendingLaunches.value(pid) != token)
            return; // terminated, or launched again, since this chain started
        const std::optional<RunningApp> described = workspace.describe(pid);
        if (!described) {
            pendingLaunches.remove(pid); // the process is already gone
            return;
        }
        if (const auto entry = makeEntry(*described)) {
            pendingLaunches.remove(pid);
            store(*entry);
            publish();
            return;
        }
        if (retriesLeft > 0)
            retryLater(pid, token, retriesLeft - 1);
        else
            pendingLaunches.remove(pid); // given up until the next launch
    }

    // Delays go through the main loop's clock; the retry itself runs on the queue again.
    void retryLater(qint32 pid, quint64 token, int retriesLeft) {
        toMain([pid, token, retriesLeft](RunningAppsMonitor& m) {
            m.m_scheduler.postAfter(launchRetryDelay, &m, [&m, pid, token, retriesLeft] {
                m.m_shared->submit(
                    [pid, token, retriesLeft](Shared& s) { s.attempt(pid, token, retriesLeft); });
            });
        });
    }

    void fill(RecencySnapshot snapshot) {
        recency = std::move(snapshot);
        for (const RunningApp& app : workspace.runningApplications()) {
            if (app.activationPolicy != ActivationPolicy::Regular)
                continue;
            const quint64 token = beginLaunch(app.pid);
            if (const auto entry = makeEntry(app)) {
                pendingLaunches.remove(app.pid);
                store(*entry);
            } else {
                // Started just before us and not describable yet: the same patience as a launch.
                retryLater(app.pid, token, launchRetries - 1);
            }
        }
        publish();
    }

    void terminate(qint32 pid) {
        pendingLaunches.remove(pid);
        const auto it = cache.find(pid);
        if (it == cache.end())
            return;
        const QString bundleID = it->bundleID;
        cache.erase(it);
        // The terminated app leaves the search index too. The overlay activates what a search
        // returns, and an entry for a process that is gone would activate nothing; a favourite
        // that is not running is still offered, from the favourites list, under its own id.
        // When another process of the same application runs, the index (one entry per bundle
        // identifier) points at that one instead.
        const AppEntry* survivor = nullptr;
        for (const AppEntry& e : std::as_const(cache)) {
            if (e.bundleID == bundleID && (!survivor || e.id > survivor->id))
                survivor = &e;
        }
        if (survivor)
            index.insert(*survivor);
        else
            index.remove(bundleID);
        publish();
    }

    void applyActivation(qint32 pid, const QString& bundleID, Date when, qint64 count) {
        recency.timestamps.insert(bundleID, when);
        recency.counts.insert(bundleID, count);
        const AppEntry* activated = nullptr;
        for (AppEntry& e : cache) {
            if (e.bundleID != bundleID)
                continue;
            e.lastActivated = when;
            e.activationCount = count;
            if (!activated || e.id == pid)
                activated = &e;
        }
        // The index scores by activation count, and for an application with several processes
        // it should lead to the one just brought forward.
        if (activated)
            index.insert(*activated);
        publish();
    }
};

RunningAppsMonitor::RunningAppsMonitor(Workspace& workspace, SearchIndex& index,
                                       SettingsStore& settings, IconProcessor& icons,
                                       Scheduler& scheduler, SerialExecutor& monitorQueue,
                                       SerialExecutor& recencySaveQueue, QObject* parent)
    : QObject(parent)
    , m_scheduler(scheduler)
    , m_recency(settings, scheduler, recencySaveQueue)
    , m_shared(std::make_shared<Shared>(workspace, index, icons, scheduler, monitorQueue)) {
    m_shared->owner = this;
}

RunningAppsMonitor::~RunningAppsMonitor() {
    {
        // Waits for a queue block that is running now; later ones find the monitor gone.
        std::lock_guard lock(m_shared->turn);
        m_shared->alive = false;
    }
    m_shared->owner = nullptr;
}

void RunningAppsMonitor::start() {
    if (m_started)
        return;
    m_started = true;
    m_shared->submit(
        [snapshot = m_recency.snapshot()](Shared& s) mutable { s.fill(std::move(snapshot)); });

    // Reports arrive on the main thread; the context object disconnects them with the monitor.
    Workspace& workspace = m_shared->workspace;
    connect(&workspace, &Workspace::applicationLaunched, this, &RunningAppsMonitor::handleLaunch);
    connect(&workspace, &Workspace::applicationTerminated, this,
            &RunningAppsMonitor::handleTermination);
    connect(&workspace, &Workspace::applicationActivated, this,
            &RunningAppsMonitor::handleActivation);
}

void RunningAppsMonitor::handleLaunch(const RunningApp& app) {
    // Accessory and background processes are never switched to.
    if (app.activationPolicy != ActivationPolicy::Regular)
        return;
    const qint32 pid = app.pid;
    m_shared->submit([pid](Shared& s) { s.attempt(pid, s.beginLaunch(pid), launchRetries); });
}

void RunningAppsMonitor::handleTermination(const RunningApp& app) {
    // No policy check: whatever left, nothing of it may stay behind.
    const qint32 pid = app.pid;
    m_processActivation.remove(pid);
    m_shared->submit([pid](Shared& s) { s.terminate(pid); });
}

void RunningAppsMonitor::handleActivation(const RunningApp& app) {
    if (app.activationPolicy != ActivationPolicy::Regular || !app.bundleID ||
        app.bundleID->isEmpty())
        return;
    // Recorded even when the app has no entry yet, so it takes its place when it appears.
    const QString bundleID = *app.bundleID;
    m_processActivation.insert(app.pid, ++m_activationSequence);
    m_recency.recordActivation(bundleID);
    const Date when = m_recency.lastActivated(bundleID);
    const qint64 count = m_recency.activationCount(bundleID);
    const qint32 pid = app.pid;
    m_shared->submit(
        [pid, bundleID, when, count](Shared& s) { s.applyActivation(pid, bundleID, when, count); });
}

void RunningAppsMonitor::publish(QList<AppEntry> entries) {
    // The stack is the authority on recency; the queue's copies may trail it by one hand-over.
    for (AppEntry& e : entries) {
        e.lastActivated = m_recency.lastActivated(e.bundleID);
        e.activationCount = m_recency.activationCount(e.bundleID);
    }
    // Processes of one application are equal under the stored (per-application) ordering, so
    // they first go in the order each was last active in this run, then by pid.
    std::sort(entries.begin(), entries.end(), [this](const AppEntry& a, const AppEntry& b) {
        const quint64 ta = m_processActivation.value(a.id);
        const quint64 tb = m_processActivation.value(b.id);
        return ta != tb ? ta > tb : a.id < b.id;
    });
    std::stable_sort(entries.begin(), entries.end(), m_recency.ordering());
    m_apps = std::move(entries);
    Q_EMIT appsChanged();
}

} // namespace valimbra
