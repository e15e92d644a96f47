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

#include <future>
#include <thread>

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

// True while a block of the monitor queue runs on this thread.
thread_local bool t_inMonitorQueue = false;

// A monitor queue that marks its blocks, so colour requests can be checked to come from inside
// them.
class MarkedQueue final : public SerialExecutor {
public:
    explicit MarkedQueue(SerialExecutor& inner)
        : m_inner(inner) {}
    void submit(std::function<void()> block) override {
        m_inner.submit([b = std::move(block)] {
            t_inMonitorQueue = true;
            b();
            t_inMonitorQueue = false;
        });
    }

private:
    SerialExecutor& m_inner;
};

// Records where each colour request came from.
class RecordingIconProcessor final : public IconProcessor {
public:
    QColor dominantColor(const QImage& icon, const QString& bundleID) override {
        std::lock_guard lock(mutex);
        requests.push_back({bundleID, t_inMonitorQueue, std::this_thread::get_id()});
        return IconProcessor::dominantColor(icon, bundleID);
    }
    struct Request {
        QString bundleID;
        bool inMonitorQueue;
        std::thread::id thread;
    };
    std::mutex mutex;
    std::vector<Request> requests;
};

class MonitorTest : public ::testing::Test {
protected:
    void SetUp() override { m_mainThread = std::this_thread::get_id(); }

    void TearDown() override {
        // The main thread never computes colours: every request came from a queue block.
        for (const auto& r : icons.requests)
            EXPECT_TRUE(r.inMonitorQueue || r.thread != m_mainThread) << r.bundleID.toStdString();
    }

    void start(SerialExecutor* queueOverride = nullptr) {
        monitor =
            std::make_unique<RunningAppsMonitor>(workspace, index, settings, icons, clock,
                                                 queueOverride ? *queueOverride : queue, saveQueue);
        changes = std::make_unique<QSignalSpy>(monitor.get(), &RunningAppsMonitor::appsChanged);
        monitor->start();
        clock.runPending();
    }

    QStringList order() const {
        QStringList ids;
        for (const AppEntry& e : monitor->apps())
            ids << e.bundleID;
        return ids;
    }

    QList<qint32> found(const QString& query) {
        QList<qint32> ids;
        for (const AppEntry& e : index.search(query))
            ids << e.id;
        return ids;
    }

    void launchSeveral() {
        workspace.launch(101, u"org.example.Alpha"_qs, u"Alpha"_qs);
        workspace.launch(102, u"org.example.Beta"_qs, u"Beta"_qs);
        workspace.launch(103, u"org.example.Gamma"_qs, u"Gamma"_qs);
        clock.runPending();
    }

    FakeScheduler clock;
    SchedulerExecutor clockQueue{clock};
    MarkedQueue queue{clockQueue};
    SchedulerExecutor saveQueue{clock};
    MemorySettingsStore settings;
    FakeWorkspace workspace;
    SearchIndex index;
    RecordingIconProcessor icons;
    std::unique_ptr<RunningAppsMonitor> monitor;
    std::unique_ptr<QSignalSpy> changes;
    std::thread::id m_mainThread;
};

// ---- What enters ----------------------------------------------------------------------------

class NonRegularLaunch : public MonitorTest,
                         public ::testing::WithParamInterface<ActivationPolicy> {};

TEST_P(NonRegularLaunch, NeverEntersAndItsTerminationIsHarmless) {
    start();
    workspace.launch(101, u"org.example.Editor"_qs, u"Editor"_qs);
    workspace.launch(200, u"org.example.Helper"_qs, u"Helper"_qs, GetParam());
    clock.runPending();
    EXPECT_EQ(order(), QStringList{u"org.example.Editor"_qs});
    EXPECT_TRUE(found(u"helper"_qs).isEmpty());
    EXPECT_EQ(workspace.describeCount(200), 0);

    const auto before = changes->count();
    workspace.terminate(200);
    clock.runPending();
    EXPECT_EQ(order(), QStringList{u"org.example.Editor"_qs});
    EXPECT_EQ(changes->count(), before);
    EXPECT_EQ(found(u"editor"_qs), QList<qint32>{101});
}

INSTANTIATE_TEST_SUITE_P(Policies, NonRegularLaunch,
                         ::testing::Values(ActivationPolicy::Accessory,
                                           ActivationPolicy::Prohibited));

TEST_F(MonitorTest, StartTakesTheRegularRunningAppsInRecencyOrder) {
    RecencySnapshot stored;
    stored.timestamps.insert(u"org.example.Gamma"_qs, clock.now().addSeconds(-60));
    stored.counts.insert(u"org.example.Gamma"_qs, 4);
    stored.counts.insert(u"org.example.Beta"_qs, 2);
    settings.setData(RecencyStack::persistenceKey(), *json::encodeRecency(stored));
    workspace.addRunning({101, u"org.example.Alpha"_qs, u"Alpha"_qs, ActivationPolicy::Regular,
                          FakeWorkspace::makeIcon(Qt::red), std::nullopt});
    workspace.addRunning({102, u"org.example.Beta"_qs, u"Beta"_qs, ActivationPolicy::Regular,
                          FakeWorkspace::makeIcon(Qt::blue), std::nullopt});
    workspace.addRunning(
        {103, u"org.example.Gamma"_qs, u"Gamma"_qs, ActivationPolicy::Regular, {}, std::nullopt});
    workspace.addRunning(
        {104, u"org.example.Tray"_qs, u"Tray"_qs, ActivationPolicy::Accessory, {}, std::nullopt});
    // Started just before us and not describable yet: tried again like a launch.
    workspace.addRunning(
        {105, u"org.example.Late"_qs, u"Late"_qs, ActivationPolicy::Regular, {}, std::nullopt});
    workspace.setUndescribable(105, 1);

    start();
    EXPECT_EQ(order(), (QStringList{u"org.example.Gamma"_qs, u"org.example.Beta"_qs,
                                    u"org.example.Alpha"_qs}));
    const QList<AppEntry> apps = monitor->apps();
    EXPECT_EQ(apps[0].activationCount, 4);
    EXPECT_EQ(apps[0].lastActivated, stored.timestamps.value(u"org.example.Gamma"_qs));
    EXPECT_EQ(apps[0].dominantColor, IconProcessor::systemGrey()); // no icon yet
    EXPECT_FALSE(apps[0].icon.isNull());                           // the generic one
    EXPECT_GT(apps[2].dominantColor.redF(), 0.9);
    for (const AppEntry& e : apps) {
        EXPECT_TRUE(e.isRunning);
        EXPECT_FALSE(e.isFavourite);
        EXPECT_EQ(e.nameLower, e.name.toLower());
    }
    // The index holds them with their counts, so search scores reflect use.
    const QList<AppEntry> hits = index.search(u"beta"_qs);
    ASSERT_EQ(hits.size(), 1);
    EXPECT_EQ(hits[0].activationCount, 2);
    EXPECT_EQ(changes->count(), 1);

    clock.advance(600ms);
    EXPECT_EQ(order().value(3), u"org.example.Late"_qs);
}

// ---- Launches that cannot be described yet -----------------------------------------------

class UndescribableLaunch : public MonitorTest, public ::testing::WithParamInterface<int> {};

TEST_P(UndescribableLaunch, AppearsAtTheRetryThatSucceeds) {
    const int failures = GetParam();
    start();
    workspace.setUndescribable(101, failures);
    workspace.launch(101, u"org.example.Slow"_qs, u"Slow"_qs);
    clock.runPending();
    for (int k = 1; k <= failures; ++k) {
        EXPECT_EQ(workspace.describeCount(101), k);
        EXPECT_TRUE(monitor->apps().isEmpty());
        clock.advance(299ms);
        EXPECT_EQ(workspace.describeCount(101), k) << "retried before 0.3 s";
        clock.advance(1ms);
    }
    EXPECT_EQ(order(), QStringList{u"org.example.Slow"_qs});
    EXPECT_EQ(found(u"slow"_qs), QList<qint32>{101});
    EXPECT_EQ(clock.pendingCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Failures, UndescribableLaunch, ::testing::Values(1, 2, 5));

TEST_F(MonitorTest, GivesUpAfterFiveRetriesUntilTheNextLaunch) {
    start();
    workspace.setUndescribable(101, 100);
    workspace.launch(101, u"org.example.Slow"_qs, u"Slow"_qs);
    clock.advance(10s);
    EXPECT_EQ(workspace.describeCount(101), 1 + RunningAppsMonitor::launchRetries);
    EXPECT_TRUE(monitor->apps().isEmpty());
    EXPECT_EQ(clock.pendingCount(), 0);

    // The application becomes describable, but nobody asks until it launches again.
    workspace.setUndescribable(101, 0);
    clock.advance(10s);
    EXPECT_TRUE(monitor->apps().isEmpty());
    workspace.terminate(101);
    workspace.launch(102, u"org.example.Slow"_qs, u"Slow"_qs);
    clock.runPending();
    EXPECT_EQ(order(), QStringList{u"org.example.Slow"_qs});
    EXPECT_EQ(monitor->apps()[0].id, 102);
}

TEST_F(MonitorTest, TerminationStopsTheRetries) {
    start();
    workspace.setUndescribable(101, 100);
    workspace.launch(101, u"org.example.Slow"_qs, u"Slow"_qs);
    clock.advance(300ms);
    EXPECT_EQ(workspace.describeCount(101), 2);
    workspace.terminate(101);
    clock.advance(5s);
    EXPECT_EQ(workspace.describeCount(101), 2);
    EXPECT_TRUE(monitor->apps().isEmpty());
}

// ---- Activations ----------------------------------------------------------------------------

TEST_F(MonitorTest, ActivationsOrderTheAppsMostRecentFirst) {
    start();
    launchSeveral();
    EXPECT_EQ(order(), (QStringList{u"org.example.Alpha"_qs, u"org.example.Beta"_qs,
                                    u"org.example.Gamma"_qs})); // never used: by name

    const auto activate = [&](qint32 pid) {
        workspace.bringToFront(pid);
        clock.advance(1s);
    };
    activate(103);
    EXPECT_EQ(order(), (QStringList{u"org.example.Gamma"_qs, u"org.example.Alpha"_qs,
                                    u"org.example.Beta"_qs}));
    const Date gammaTime = clock.now().addSeconds(-1);
    activate(101);
    activate(102);
    activate(102);
    EXPECT_EQ(order(), (QStringList{u"org.example.Beta"_qs, u"org.example.Alpha"_qs,
                                    u"org.example.Gamma"_qs}));

    const QList<AppEntry> apps = monitor->apps();
    EXPECT_EQ(apps[0].activationCount, 2);
    EXPECT_EQ(apps[0].lastActivated, clock.now().addSeconds(-1));
    EXPECT_EQ(apps[2].activationCount, 1);
    EXPECT_EQ(apps[2].lastActivated, gammaTime);
    EXPECT_EQ(index.search(u"beta"_qs).value(0).activationCount, 2);
    EXPECT_TRUE(settings.data(RecencyStack::persistenceKey()).has_value());
}

TEST_F(MonitorTest, ActivationBeforeTheEntryExistsStillCounts) {
    start();
    launchSeveral();
    workspace.bringToFront(101);
    clock.advance(1s);
    workspace.setUndescribable(104, 2);
    workspace.launch(104, u"org.example.Delta"_qs, u"Delta"_qs);
    clock.runPending();
    workspace.bringToFront(104); // reported with its full record, before the monitor has one
    clock.runPending();
    EXPECT_FALSE(order().contains(u"org.example.Delta"_qs));

    clock.advance(600ms);
    EXPECT_EQ(order().value(0), u"org.example.Delta"_qs);
    EXPECT_EQ(monitor->apps()[0].activationCount, 1);
    EXPECT_EQ(index.search(u"delta"_qs).value(0).activationCount, 1);
}

struct IgnoredActivation {
    const char* name;
    std::optional<QString> bundleID;
    ActivationPolicy policy;
};

void PrintTo(const IgnoredActivation& a, std::ostream* os) {
    *os << a.name;
}

class IgnoredActivations : public MonitorTest,
                           public ::testing::WithParamInterface<IgnoredActivation> {};

TEST_P(IgnoredActivations, ChangeNothing) {
    start();
    launchSeveral();
    const int writes = settings.writeCount();
    const auto before = changes->count();

    RunningApp report{102, GetParam().bundleID, u"Beta"_qs, GetParam().policy, {}, {}};
    workspace.reportActivation(report);
    clock.advance(1s);

    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_EQ(changes->count(), before);
    EXPECT_EQ(monitor->recency().activationCount(u"org.example.Beta"_qs), 0);
    EXPECT_EQ(order().value(0), u"org.example.Alpha"_qs);
}

INSTANTIATE_TEST_SUITE_P(
    Reports, IgnoredActivations,
    ::testing::Values(
        IgnoredActivation{"NoBundleID", std::nullopt, ActivationPolicy::Regular},
        IgnoredActivation{"EmptyBundleID", QString(), ActivationPolicy::Regular},
        IgnoredActivation{"Accessory", u"org.example.Beta"_qs, ActivationPolicy::Accessory},
        IgnoredActivation{"Prohibited", u"org.example.Beta"_qs, ActivationPolicy::Prohibited}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- Terminations ---------------------------------------------------------------------------

TEST_F(MonitorTest, TerminationRemovesTheEntryFromTheListAndTheIndex) {
    start();
    launchSeveral();
    const auto before = changes->count();
    workspace.terminate(102);
    clock.runPending();
    EXPECT_EQ(order(), (QStringList{u"org.example.Alpha"_qs, u"org.example.Gamma"_qs}));
    EXPECT_GT(changes->count(), before);
    // Search offers only what can be brought to the front.
    EXPECT_TRUE(found(u"beta"_qs).isEmpty());
    EXPECT_EQ(found(u"gamma"_qs), QList<qint32>{103});
}

TEST_F(MonitorTest, AnotherProcessOfTheSameAppStaysSearchable) {
    start();
    workspace.launch(101, u"debian-xterm"_qs, u"XTerm"_qs);
    workspace.launch(102, u"debian-xterm"_qs, u"XTerm"_qs);
    clock.runPending();
    EXPECT_EQ(monitor->apps().size(), 2);
    workspace.terminate(102);
    clock.runPending();
    ASSERT_EQ(monitor->apps().size(), 1);
    EXPECT_EQ(monitor->apps()[0].id, 101);
    EXPECT_EQ(found(u"xterm"_qs), QList<qint32>{101});
}

// ---- Lifetime -------------------------------------------------------------------------------

TEST_F(MonitorTest, ReportsAfterDestructionDoNothing) {
    start();
    launchSeveral();
    monitor.reset();
    const int writes = settings.writeCount();
    workspace.launch(104, u"org.example.Delta"_qs, u"Delta"_qs);
    workspace.bringToFront(101);
    workspace.terminate(102);
    EXPECT_EQ(clock.pendingCount(), 0);
    clock.advance(1s);
    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_EQ(workspace.describeCount(104), 0);
}

TEST_F(MonitorTest, QueuedWorkAfterDestructionDoesNothing) {
    ManualExecutor manualQueue;
    MarkedQueue marked(manualQueue);
    start(&marked);
    manualQueue.drain();
    clock.runPending();
    workspace.setUndescribable(103, 100);
    workspace.launch(101, u"org.example.Alpha"_qs, u"Alpha"_qs);
    workspace.launch(103, u"org.example.Gamma"_qs, u"Gamma"_qs);
    manualQueue.drain(); // Alpha made, Gamma's retry on its way, both via the main loop
    workspace.launch(102, u"org.example.Beta"_qs, u"Beta"_qs);
    workspace.terminate(101);

    monitor.reset();
    clock.advance(5s);
    manualQueue.drain();
    clock.advance(5s);
    EXPECT_EQ(workspace.describeCount(102), 0);
    EXPECT_EQ(workspace.describeCount(103), 1);
    EXPECT_TRUE(found(u"beta"_qs).isEmpty());
    EXPECT_EQ(found(u"alpha"_qs), QList<qint32>{101}); // its termination never ran
}

// ---- Threads --------------------------------------------------------------------------------

TEST_F(MonitorTest, ColoursAreComputedOnTheMonitorThread) {
    auto worker =
        std::make_unique<ThreadExecutor>(QString::fromLatin1(RunningAppsMonitor::queueLabel));
    const auto waitForQueue = [&] {
        std::promise<void> done;
        worker->submit([&] { done.set_value(); });
        done.get_future().wait();
        clock.runPending();
    };
    workspace.addRunning({101, u"org.example.Alpha"_qs, u"Alpha"_qs, ActivationPolicy::Regular,
                          FakeWorkspace::makeIcon(Qt::red), std::nullopt});
    start(worker.get());
    waitForQueue();
    workspace.launch(102, u"org.example.Beta"_qs, u"Beta"_qs);
    waitForQueue();
    EXPECT_EQ(order(), (QStringList{u"org.example.Alpha"_qs, u"org.example.Beta"_qs}));
    ASSERT_EQ(icons.requests.size(), 2u);
    for (const auto& r : icons.requests)
        EXPECT_NE(r.thread, m_mainThread);
    monitor.reset();
    worker.reset();
}

} // namespace

// ---- The fake desktop's answers to the program's requests (engine tests rely on them) -------

TEST(FakeWorkspace, RequestsAreRecordedAndReportedOnTheNextTurn) {
    FakeScheduler clock;
    FakeWorkspace workspace;
    workspace.setReportScheduler(&clock);
    const QUrl url(u"file:///usr/share/applications/org.example.Notes.desktop"_qs);
    workspace.install(
        {u"org.example.Notes"_qs, u"Notes"_qs, url, FakeWorkspace::makeIcon(Qt::red)});
    workspace.launch(101, u"org.example.Mail"_qs, u"Mail"_qs);
    QSignalSpy launched(&workspace, &Workspace::applicationLaunched);
    QSignalSpy activated(&workspace, &Workspace::applicationActivated);

    EXPECT_TRUE(workspace.activate(101, true));
    EXPECT_FALSE(workspace.activate(999, false)); // not running: recorded, nothing reported
    workspace.openApplication(url);
    EXPECT_EQ(activated.count(), 0);
    clock.runPending();

    EXPECT_EQ(workspace.activateCalls(),
              (QList<FakeWorkspace::ActivateCall>{{101, true}, {999, false}}));
    EXPECT_EQ(workspace.openedApplications(), QList<QUrl>{url});
    ASSERT_EQ(launched.count(), 1);
    const auto notes = launched[0][0].value<RunningApp>();
    EXPECT_EQ(notes.bundleID, u"org.example.Notes"_qs);
    EXPECT_EQ(notes.appURL, url);
    ASSERT_EQ(activated.count(), 2);
    EXPECT_EQ(activated[1][0].value<RunningApp>().pid, notes.pid);
    EXPECT_EQ(workspace.frontmostApplication()->pid, notes.pid);

    // Opening it again focuses the running process instead of starting another.
    workspace.openApplication(url);
    clock.runPending();
    EXPECT_EQ(launched.count(), 1);
    EXPECT_EQ(workspace.runningApplications().size(), 2);
}
