#include "catalogue/RunningAppsMonitor.h"
#include "catalogue/IconProcessor.h"
#include "catalogue/JsonCoding.h"
#include "catalogue/SearchIndex.h"
#include "platform/QtScheduler.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/FakeWorkspace.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

const QString kAlpha = u"org.example.Alpha"_qs, kBeta = u"org.example.Beta"_qs,
              kGamma = u"org.example.Gamma"_qs, kDelta = u"org.example.Delta"_qs;

// Counts colour requests and those made on the main thread, which must never compute one.
class CheckedIconProcessor final : public IconProcessor {
public:
    QColor dominantColor(const QImage& icon, const QString& bundleID) override {
        onMainThread += std::this_thread::get_id() == m_main;
        ++requests;
        return IconProcessor::dominantColor(icon, bundleID);
    }
    std::atomic<int> requests = 0, onMainThread = 0;

private:
    const std::thread::id m_main = std::this_thread::get_id();
};

class MonitorTest : public ::testing::Test {
protected:
    void start(SerialExecutor* queueOverride = nullptr) {
        monitor =
            std::make_unique<RunningAppsMonitor>(workspace, index, settings, icons, clock,
                                                 queueOverride ? *queueOverride : queue, saveQueue);
        changes = std::make_unique<QSignalSpy>(monitor.get(), &RunningAppsMonitor::appsChanged);
        monitor->start();
        clock.runPending();
    }
    void launchSeveral() {
        workspace.launch(101, kAlpha, u"Alpha"_qs);
        workspace.launch(102, kBeta, u"Beta"_qs);
        workspace.launch(103, kGamma, u"Gamma"_qs);
        clock.runPending();
    }
    // The published list, as pids.
    QList<qint32> order() const {
        QList<qint32> ids;
        for (const AppEntry& e : monitor->apps())
            ids << e.id;
        return ids;
    }
    void activate(qint32 pid) {
        workspace.bringToFront(pid);
        clock.advance(1s);
    }
    QList<qint32> found(const QString& query) {
        QList<qint32> ids;
        for (const AppEntry& e : index.search(query))
            ids << e.id;
        return ids;
    }

    FakeScheduler clock;
    SchedulerExecutor queue{clock};
    SchedulerExecutor saveQueue{clock};
    MemorySettingsStore settings;
    FakeWorkspace workspace;
    SearchIndex index;
    CheckedIconProcessor icons;
    std::unique_ptr<RunningAppsMonitor> monitor;
    std::unique_ptr<QSignalSpy> changes;
};

TEST_F(MonitorTest, NonRegularAppsAndActivationsWithoutABundleIdChangeNothing) {
    start();
    launchSeveral();
    workspace.launch(200, u"org.example.Tray"_qs, u"Tray"_qs, ActivationPolicy::Accessory);
    workspace.launch(201, u"org.example.Agent"_qs, u"Agent"_qs, ActivationPolicy::Prohibited);
    clock.runPending();
    const QList<qint32> expected{101, 102, 103};
    EXPECT_EQ(order(), expected);
    EXPECT_TRUE(found(u"tray"_qs).isEmpty());
    EXPECT_EQ(workspace.describeCount(200) + workspace.describeCount(201), 0);

    const int writes = settings.writeCount();
    const auto before = changes->count();
    using Report = std::pair<std::optional<QString>, ActivationPolicy>;
    for (const auto& [bundleID, policy] :
         {Report{std::nullopt, ActivationPolicy::Regular},
          Report{QString(), ActivationPolicy::Regular}, Report{kBeta, ActivationPolicy::Accessory},
          Report{kBeta, ActivationPolicy::Prohibited}})
        workspace.reportActivation({102, bundleID, u"Beta"_qs, policy, {}, {}});
    workspace.bringToFront(200);
    workspace.terminate(200);
    workspace.terminate(201);
    clock.advance(1s);
    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_EQ(changes->count(), before);
    EXPECT_EQ(monitor->recency().snapshot(), RecencySnapshot{});
    EXPECT_EQ(order(), expected);
    EXPECT_EQ(found(u"alpha"_qs), QList<qint32>{101});
}

TEST_F(MonitorTest, StartTakesTheRegularRunningAppsInRecencyOrder) {
    RecencySnapshot stored;
    stored.timestamps.insert(kGamma, clock.now().addSeconds(-60));
    stored.counts.insert(kGamma, 4);
    stored.counts.insert(kBeta, 2);
    settings.setData(RecencyStack::persistenceKey(), *json::encodeRecency(stored));
    const auto running = [&](qint32 pid, const QString& id, ActivationPolicy policy, QImage icon) {
        workspace.addRunning({pid, id, id.section(u'.', -1), policy, icon, std::nullopt});
    };
    running(101, kAlpha, ActivationPolicy::Regular, FakeWorkspace::makeIcon(Qt::red));
    running(102, kBeta, ActivationPolicy::Regular, FakeWorkspace::makeIcon(Qt::blue));
    running(103, kGamma, ActivationPolicy::Regular, {});
    running(104, u"org.example.Tray"_qs, ActivationPolicy::Accessory, {});
    // Started just before us and not describable yet: tried again like a launch.
    running(105, u"org.example.Late"_qs, ActivationPolicy::Regular, {});
    workspace.setUndescribable(105, 1);

    start();
    EXPECT_EQ(order(), (QList<qint32>{103, 102, 101}));
    const QList<AppEntry> apps = monitor->apps();
    EXPECT_EQ(apps[0].activationCount, 4);
    EXPECT_EQ(apps[0].lastActivated, stored.timestamps.value(kGamma));
    EXPECT_EQ(apps[0].dominantColor, IconProcessor::systemGrey()); // no icon yet
    EXPECT_FALSE(apps[0].icon.isNull());                           // the generic one
    EXPECT_GT(apps[2].dominantColor.redF(), 0.9);
    // The index holds them with their counts, so search scores reflect use.
    const QList<AppEntry> hits = index.search(u"beta"_qs);
    ASSERT_EQ(hits.size(), 1);
    EXPECT_EQ(hits[0].activationCount, 2);
    EXPECT_EQ(changes->count(), 1);

    clock.advance(600ms);
    EXPECT_EQ(order().value(3), 105);
}

TEST_F(MonitorTest, AnUndescribableLaunchIsRetriedFiveTimesAt300msThenDroppedUntilItsNextLaunch) {
    start();
    workspace.setUndescribable(101, 5);   // the fifth retry succeeds
    workspace.setUndescribable(102, 6);   // describable afterwards, but nobody asks any more
    workspace.setUndescribable(103, 100); // terminated while being retried
    workspace.launch(101, u"org.example.Slow"_qs, u"Slow"_qs);
    workspace.launch(102, u"org.example.Late"_qs, u"Late"_qs);
    workspace.launch(103, u"org.example.Gone"_qs, u"Gone"_qs);
    clock.runPending();
    for (int k = 1; k <= 5; ++k) {
        EXPECT_EQ(workspace.describeCount(101), k);
        EXPECT_TRUE(monitor->apps().isEmpty());
        clock.advance(299ms);
        EXPECT_EQ(workspace.describeCount(101), k) << "retried before 0.3 s";
        clock.advance(1ms);
        if (k == 1)
            workspace.terminate(103);
    }
    EXPECT_EQ(order(), QList<qint32>{101});
    EXPECT_EQ(found(u"slow"_qs), QList<qint32>{101});
    clock.advance(10s);
    EXPECT_EQ(workspace.describeCount(102), 6);
    EXPECT_EQ(workspace.describeCount(103), 2) << "termination stops the retries";
    EXPECT_EQ(order(), QList<qint32>{101});
    EXPECT_EQ(clock.pendingCount(), 0);

    workspace.terminate(102);
    workspace.launch(104, u"org.example.Late"_qs, u"Late"_qs);
    clock.runPending();
    EXPECT_EQ(order(), (QList<qint32>{104, 101}));
    EXPECT_EQ(found(u"late"_qs), QList<qint32>{104});
}

TEST_F(MonitorTest, ActivationsOrderTheAppsMostRecentFirst) {
    start();
    launchSeveral();
    EXPECT_EQ(order(), (QList<qint32>{101, 102, 103})); // never used: by name
    activate(103);
    EXPECT_EQ(order(), (QList<qint32>{103, 101, 102}));
    const Date gammaTime = clock.now().addSeconds(-1);
    activate(101);
    activate(102);
    activate(102);
    EXPECT_EQ(order(), (QList<qint32>{102, 101, 103}));

    const QList<AppEntry> apps = monitor->apps();
    EXPECT_EQ(apps[0].activationCount, 2);
    EXPECT_EQ(apps[0].lastActivated, clock.now().addSeconds(-1));
    EXPECT_EQ(apps[2].activationCount, 1);
    EXPECT_EQ(apps[2].lastActivated, gammaTime);
    EXPECT_EQ(index.search(u"beta"_qs).value(0).activationCount, 2);
    EXPECT_TRUE(settings.data(RecencyStack::persistenceKey()).has_value());

    // An activation reported before the entry exists still counts once it appears.
    workspace.setUndescribable(104, 2);
    workspace.launch(104, kDelta, u"Delta"_qs);
    clock.runPending();
    workspace.bringToFront(104); // reported with its full record
    clock.runPending();
    EXPECT_FALSE(order().contains(104));
    clock.advance(600ms);
    EXPECT_EQ(order().value(0), 104);
    EXPECT_EQ(monitor->apps()[0].activationCount, 1);
    EXPECT_EQ(index.search(u"delta"_qs).value(0).activationCount, 1);
}

// Every xterm window is its own process: they share one recency record but are ordered by
// when each was last active.
TEST_F(MonitorTest, ProcessesOfOneAppFollowTheirOwnActivations) {
    start();
    workspace.launch(201, kAlpha, u"Alpha"_qs);
    workspace.launch(202, kAlpha, u"Alpha"_qs);
    clock.runPending();
    activate(202);
    activate(201);
    EXPECT_EQ(order(), (QList<qint32>{201, 202}));
    activate(202);
    EXPECT_EQ(order(), (QList<qint32>{202, 201}));
    EXPECT_EQ(found(u"alpha"_qs), QList<qint32>{202}) << "search leads to the newest process";
}

TEST_F(MonitorTest, TerminationRemovesTheEntryFromTheListAndTheIndex) {
    start();
    launchSeveral();
    workspace.launch(104, kGamma, u"Gamma"_qs); // a second process of the same app
    clock.runPending();
    const auto before = changes->count();
    workspace.terminate(102);
    workspace.terminate(104);
    clock.runPending();
    EXPECT_EQ(order(), (QList<qint32>{101, 103}));
    EXPECT_GT(changes->count(), before);
    // Search offers only what can be brought to the front.
    EXPECT_TRUE(found(u"beta"_qs).isEmpty());
    EXPECT_EQ(found(u"gamma"_qs), QList<qint32>{103});
}

TEST_F(MonitorTest, NothingHappensOnceTheMonitorIsDestroyed) {
    ManualExecutor manualQueue;
    start(&manualQueue);
    manualQueue.drain();
    clock.runPending();
    workspace.setUndescribable(103, 100);
    workspace.launch(101, kAlpha, u"Alpha"_qs);
    workspace.launch(103, kGamma, u"Gamma"_qs);
    manualQueue.drain(); // Alpha made, Gamma's retry on its way, both via the main loop
    workspace.launch(102, kBeta, u"Beta"_qs);
    workspace.terminate(101);

    monitor.reset();
    const int writes = settings.writeCount(), queued = manualQueue.queued(),
              pending = clock.pendingCount();
    workspace.launch(104, kDelta, u"Delta"_qs);
    workspace.bringToFront(103);
    workspace.terminate(102);
    EXPECT_EQ(manualQueue.queued(), queued) << "reports after destruction post nothing";
    EXPECT_EQ(clock.pendingCount(), pending);
    clock.advance(5s);
    manualQueue.drain();
    clock.advance(5s);
    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_EQ(workspace.describeCount(102), 0);
    EXPECT_EQ(workspace.describeCount(103), 1);
    EXPECT_EQ(workspace.describeCount(104), 0);
    EXPECT_TRUE(found(u"beta"_qs).isEmpty());
    EXPECT_EQ(found(u"alpha"_qs), QList<qint32>{101}); // its termination never ran
}

TEST_F(MonitorTest, ColoursAreComputedOnTheMonitorThread) {
    auto worker =
        std::make_unique<ThreadExecutor>(QString::fromLatin1(RunningAppsMonitor::queueLabel));
    const auto waitForQueue = [&] {
        std::promise<void> done;
        worker->submit([&] { done.set_value(); });
        done.get_future().wait();
        clock.runPending();
    };
    workspace.addRunning({101, kAlpha, u"Alpha"_qs, ActivationPolicy::Regular,
                          FakeWorkspace::makeIcon(Qt::red), std::nullopt});
    start(worker.get());
    waitForQueue();
    workspace.launch(102, kBeta, u"Beta"_qs);
    waitForQueue();
    EXPECT_EQ(order(), (QList<qint32>{101, 102}));
    EXPECT_EQ(icons.requests.load(), 2);
    EXPECT_EQ(icons.onMainThread.load(), 0);
    monitor.reset();
    worker.reset();
}

} // namespace
