#include "FakeScheduler.h"

#include <QMutexLocker>

#include <algorithm>

namespace valimbra {

void FakeScheduler::post(std::function<void()> block) {
    QMutexLocker lock(&m_mutex);
    m_entries.push_back({m_elapsed, m_seq++, std::make_shared<WorkItem>(std::move(block))});
}

WorkItemPtr FakeScheduler::postAfter(std::chrono::milliseconds delay, std::function<void()> block) {
    QMutexLocker lock(&m_mutex);
    auto item = std::make_shared<WorkItem>(std::move(block));
    m_entries.push_back({m_elapsed + double(delay.count()) / 1000.0, m_seq++, item});
    return item;
}

Date FakeScheduler::now() const {
    QMutexLocker lock(&m_mutex);
    return m_now;
}

void FakeScheduler::setNow(Date d) {
    QMutexLocker lock(&m_mutex);
    m_now = d;
}

int FakeScheduler::pendingCount() const {
    QMutexLocker lock(&m_mutex);
    return int(std::count_if(m_entries.begin(), m_entries.end(),
                             [](const Entry& e) { return !e.item->isCancelled(); }));
}

void FakeScheduler::advance(std::chrono::milliseconds by) {
    double target;
    {
        QMutexLocker lock(&m_mutex);
        target = m_elapsed + double(by.count()) / 1000.0;
    }
    const double eps = 1e-9;
    for (;;) {
        Entry next;
        {
            QMutexLocker lock(&m_mutex);
            auto it = std::min_element(
                m_entries.begin(), m_entries.end(), [](const Entry& a, const Entry& b) {
                    return a.due < b.due || (a.due == b.due && a.seq < b.seq);
                });
            if (it == m_entries.end() || it->due > target + eps)
                break;
            next = *it;
            m_entries.erase(it);
            if (next.due > m_elapsed) {
                m_now = m_now.addSeconds(next.due - m_elapsed);
                m_elapsed = next.due;
            }
        }
        next.item->perform();
    }
    QMutexLocker lock(&m_mutex);
    if (target > m_elapsed) {
        m_now = m_now.addSeconds(target - m_elapsed);
        m_elapsed = target;
    }
}

void ManualExecutor::submit(std::function<void()> block) {
    QMutexLocker lock(&m_mutex);
    m_queue.push_back(std::move(block));
}

int ManualExecutor::drain() {
    int ran = 0;
    for (;;) {
        std::function<void()> block;
        {
            QMutexLocker lock(&m_mutex);
            if (m_queue.empty())
                return ran;
            block = std::move(m_queue.front());
            m_queue.pop_front();
        }
        block();
        ++ran;
    }
}

int ManualExecutor::queued() const {
    QMutexLocker lock(&m_mutex);
    return int(m_queue.size());
}

} // namespace valimbra
