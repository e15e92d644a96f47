#include "QtScheduler.h"

#include <QMetaObject>
#include <QThread>
#include <QTimer>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <pthread.h>

namespace valimbra {

QtScheduler::QtScheduler(QObject* parent)
    : QObject(parent) {}

void QtScheduler::post(std::function<void()> block) {
    QMetaObject::invokeMethod(this, std::move(block), Qt::QueuedConnection);
}

WorkItemPtr QtScheduler::postAfter(std::chrono::milliseconds delay, std::function<void()> block) {
    auto item = std::make_shared<WorkItem>(std::move(block));
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    // The timer owns the item until it fires: a caller may drop the handle of a block it never
    // means to cancel (the fake scheduler behaves the same); a cancelled item does nothing.
    QObject::connect(timer, &QTimer::timeout, this, [timer, item] {
        timer->deleteLater();
        item->perform();
    });
    timer->start(delay);
    return item;
}

Date QtScheduler::now() const {
    return Date::fromDateTime(QDateTime::currentDateTimeUtc());
}

struct ThreadExecutor::Impl {
    std::mutex mutex;
    std::condition_variable cv;
    std::deque<std::function<void()>> queue;
    bool stopping = false;
    std::thread thread;
};

ThreadExecutor::ThreadExecutor(const QString& label)
    : m_label(label)
    , d(std::make_unique<Impl>()) {
    d->thread = std::thread([impl = d.get(), name = label.left(15).toUtf8()] {
        pthread_setname_np(pthread_self(), name.constData());
        std::unique_lock lock(impl->mutex);
        for (;;) {
            impl->cv.wait(lock, [impl] { return impl->stopping || !impl->queue.empty(); });
            if (impl->queue.empty())
                return; // stopping and drained
            auto block = std::move(impl->queue.front());
            impl->queue.pop_front();
            lock.unlock();
            block();
            lock.lock();
        }
    });
}

ThreadExecutor::~ThreadExecutor() {
    {
        std::lock_guard lock(d->mutex);
        d->stopping = true;
    }
    d->cv.notify_all();
    if (d->thread.joinable())
        d->thread.join();
}

void ThreadExecutor::submit(std::function<void()> block) {
    {
        std::lock_guard lock(d->mutex);
        d->queue.push_back(std::move(block));
    }
    d->cv.notify_one();
}

} // namespace valimbra
