#pragma once

#include "Scheduler.h"

#include <QObject>

namespace valimbra {

// The real main-loop scheduler: Qt timers on the thread that owns it (the GUI thread).
class QtScheduler final : public QObject, public Scheduler {
    Q_OBJECT
public:
    explicit QtScheduler(QObject* parent = nullptr);

    void post(std::function<void()> block) override;
    WorkItemPtr postAfter(std::chrono::milliseconds delay, std::function<void()> block) override;
    Date now() const override;

    using Scheduler::post;
    using Scheduler::postAfter;
};

// A serial queue on its own named thread ("app.brindlex.monitor" and friends). Linux truncates
// thread names to 15 bytes, so `ps -L` shows the first 15 characters of the label.
class ThreadExecutor final : public SerialExecutor {
public:
    explicit ThreadExecutor(const QString& label);
    ~ThreadExecutor() override; // drains what was submitted, then joins

    void submit(std::function<void()> block) override;
    QString label() const { return m_label; }

private:
    struct Impl;
    QString m_label;
    std::unique_ptr<Impl> d;
};

} // namespace valimbra
