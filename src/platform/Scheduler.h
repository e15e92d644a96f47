#pragma once

#include "Date.h"

#include <QPointer>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace valimbra {

// A scheduled block that can be cancelled before it runs. A fired item stays valid (and stays
// "not cancelled") so owners can tell a pending item from one that already ran.
class WorkItem {
public:
    void cancel() { m_cancelled.store(true); }
    bool isCancelled() const { return m_cancelled.load(); }
    bool hasFired() const { return m_fired.load(); }

    // Runs the block unless cancelled; used by scheduler implementations.
    void perform() {
        if (m_cancelled.load())
            return;
        m_fired.store(true);
        if (m_block)
            m_block();
    }

    explicit WorkItem(std::function<void()> block)
        : m_block(std::move(block)) {}

private:
    std::function<void()> m_block;
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_fired{false};
};

using WorkItemPtr = std::shared_ptr<WorkItem>;

// The main loop's clock and queue. Every delay in the program goes through here so that tests
// drive a virtual clock instead of sleeping. post()/postAfter() blocks run on the main thread;
// post() may be called from any thread.
class Scheduler {
public:
    virtual ~Scheduler() = default;

    // Runs `block` on a later turn of the main loop (never inside the caller).
    virtual void post(std::function<void()> block) = 0;

    // Runs `block` on the main loop after `delay`, unless the returned item is cancelled first.
    // Main thread only.
    virtual WorkItemPtr postAfter(std::chrono::milliseconds delay, std::function<void()> block) = 0;

    // Wall-clock time (used for recency dates and review bookkeeping).
    virtual Date now() const = 0;

    // Convenience: the block runs only while `context` is alive (the weak-owner idiom).
    template <typename Obj>
    void post(Obj* context, std::function<void()> block) {
        post([guard = QPointer<Obj>(context), b = std::move(block)] {
            if (guard)
                b();
        });
    }
    template <typename Obj>
    WorkItemPtr postAfter(std::chrono::milliseconds delay, Obj* context,
                          std::function<void()> block) {
        return postAfter(delay, [guard = QPointer<Obj>(context), b = std::move(block)] {
            if (guard)
                b();
        });
    }
};

// A serial queue that runs blocks one at a time, in submission order, off the main thread
// (or, for tests, whenever the test drains it).
class SerialExecutor {
public:
    virtual ~SerialExecutor() = default;
    virtual void submit(std::function<void()> block) = 0;
};

} // namespace valimbra
