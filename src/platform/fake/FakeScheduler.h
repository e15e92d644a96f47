#pragma once

#include "platform/Scheduler.h"

#include <QMutex>

#include <deque>
#include <vector>

namespace valimbra {

// A virtual clock for tests: nothing runs until the test advances time. post() blocks are due
// "now" and run on the next advance (including advance(0)). Blocks posted while advancing run in
// the same advance when they fall due before its end, in due-time then submission order.
class FakeScheduler final : public Scheduler {
public:
    explicit FakeScheduler(Date start = Date(800000000.0))
        : m_now(start) {}

    void post(std::function<void()> block) override;
    WorkItemPtr postAfter(std::chrono::milliseconds delay, std::function<void()> block) override;
    Date now() const override;

    using Scheduler::post;
    using Scheduler::postAfter;

    // Moves the clock forward, running every block that falls due on the way.
    void advance(std::chrono::milliseconds by);
    // Runs everything due now (posted blocks and expired timers) without moving the clock.
    void runPending() { advance(std::chrono::milliseconds(0)); }
    // Sets the wall clock without running anything (for dates read by the code under test).
    void setNow(Date d);
    // Number of scheduled blocks not yet run or cancelled.
    int pendingCount() const;

private:
    struct Entry {
        double due; // seconds since the start of the fake clock
        quint64 seq;
        WorkItemPtr item;
    };
    mutable QMutex m_mutex;
    Date m_now;
    double m_elapsed = 0.0;
    quint64 m_seq = 0;
    std::vector<Entry> m_entries;
};

// Runs submitted blocks when the test drains it, on the test's thread.
class ManualExecutor final : public SerialExecutor {
public:
    void submit(std::function<void()> block) override;
    // Runs queued blocks (and blocks they submit) until the queue is empty; returns how many ran.
    int drain();
    int queued() const;

private:
    mutable QMutex m_mutex;
    std::deque<std::function<void()>> m_queue;
};

} // namespace valimbra

namespace valimbra {

// A serial queue whose blocks run as main-loop turns of a (fake) scheduler: deterministic,
// ordered, and driven by the same virtual clock as everything else in a test.
class SchedulerExecutor final : public SerialExecutor {
public:
    explicit SchedulerExecutor(Scheduler& scheduler)
        : m_scheduler(scheduler) {}
    void submit(std::function<void()> block) override { m_scheduler.post(std::move(block)); }

private:
    Scheduler& m_scheduler;
};

} // namespace valimbra
