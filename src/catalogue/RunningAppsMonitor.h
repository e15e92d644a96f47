#pragma once

#include "AppEntry.h"
#include "RecencyStack.h"

#include <QHash>
#include <QList>
#include <QObject>

#include <chrono>
#include <memory>

namespace valimbra {

class IconProcessor;
class Scheduler;
class SearchIndex;
class SerialExecutor;
class SettingsStore;
class Workspace;

// Keeps the switcher's picture of the running applications current: turns the workspace's
// launch, termination and activation reports into entries, feeds them to the search index,
// records activations in the recency stack it owns, and publishes the entries in most-recently-
// used order.
//
// Threads: the entry cache belongs to the monitor queue ("app.brindlex.monitor"), where entries
// are made (describing the process and computing its icon colour, so the main thread never
// does either). The recency stack and the published list belong to the main thread. Queue work
// and main-thread hand-overs hold the monitor weakly and do nothing once it is destroyed; the
// destructor waits for a queue block that is already running, so no block touches the
// workspace, the index or the icon processor after the monitor is gone.
class RunningAppsMonitor final : public QObject {
    Q_OBJECT
public:
    static constexpr const char* queueLabel = "app.brindlex.monitor";
    // A launched application that cannot be described yet is tried again this many times ...
    static constexpr int launchRetries = 5;
    // ... this long apart, then forgotten until it launches again.
    static constexpr std::chrono::milliseconds launchRetryDelay{300};

    // Every reference must outlive the monitor; `monitorQueue` and `recencySaveQueue` are the
    // serial queues labelled queueLabel and RecencyStack::saveQueueLabel.
    RunningAppsMonitor(Workspace& workspace, SearchIndex& index, SettingsStore& settings,
                       IconProcessor& icons, Scheduler& scheduler, SerialExecutor& monitorQueue,
                       SerialExecutor& recencySaveQueue, QObject* parent = nullptr);
    ~RunningAppsMonitor() override;

    // Fills the cache from the workspace's running applications (on the queue) and starts
    // listening to its reports. Later calls do nothing.
    void start();

    // The running regular applications, most recently used first (later activation, then more
    // activations, then name). Main thread.
    QList<AppEntry> apps() const { return m_apps; }

    // Main thread.
    RecencyStack& recency() { return m_recency; }
    const RecencyStack& recency() const { return m_recency; }

Q_SIGNALS:
    // apps() changed: after every launch, termination and activation that reached the cache.
    void appsChanged();

private:
    struct Shared;

    void handleLaunch(const RunningApp& app);
    void handleTermination(const RunningApp& app);
    void handleActivation(const RunningApp& app);
    void publish(QList<AppEntry> entries);

    Scheduler& m_scheduler;
    RecencyStack m_recency;
    std::shared_ptr<Shared> m_shared;
    QList<AppEntry> m_apps;
    bool m_started = false;
    // When each process was last active in this run (a sequence number); the stored record is
    // per application, but on Linux one application often runs as several processes.
    QHash<qint32, quint64> m_processActivation;
    quint64 m_activationSequence = 0;
};

} // namespace valimbra
