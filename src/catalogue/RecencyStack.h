#pragma once

#include "AppEntry.h"
#include "JsonCoding.h"
#include "platform/Scheduler.h"
#include "platform/SettingsStore.h"

#include <QString>

namespace valimbra {

// Name order used wherever apps are ordered by name: not locale-aware and case-sensitive, by
// Unicode code point after canonical composition (so "é" typed either way sorts the same).
// Returns <0, 0 or >0.
int comparePlainStrings(const QString& a, const QString& b);

// When and how often each application (by bundle ID) was brought to the front, persisted across
// launches, and the most-recently-used order derived from it. Main thread only; saving hands a
// copy of the record to the save queue, which encodes and stores it.
class RecencyStack {
public:
    static QString persistenceKey() { return QStringLiteral("com.brindlex.dovrenkai.recency"); }
    static constexpr const char* saveQueueLabel = "app.brindlex.recency.save";
    // Timestamps older than this are dropped at load; counts are kept.
    static constexpr double pruneAge = 2'592'000.0; // 30 days, in seconds

    // Loads the stored record. `store` must outlive `saveQueue`'s pending work; `saveQueue` is
    // the owner's (a ThreadExecutor labelled saveQueueLabel in the running program).
    RecencyStack(SettingsStore& store, const Scheduler& clock, SerialExecutor& saveQueue);
    RecencyStack(const RecencyStack&) = delete;
    RecencyStack& operator=(const RecencyStack&) = delete;

    // Stamps `bundleID` with the clock's now, counts one more activation, and saves.
    void recordActivation(const QString& bundleID);

    // Whether `a` goes before `b`: later activation first, then more activations, then name.
    bool precedes(const AppEntry& a, const AppEntry& b) const;
    // The same predicate as a callable for std::sort and friends.
    auto ordering() const {
        return [this](const AppEntry& a, const AppEntry& b) { return precedes(a, b); };
    }

    // The last recorded activation, or Date::distantPast() when there is none.
    Date lastActivated(const QString& bundleID) const;
    // The number of recorded activations (0 when never recorded).
    qint64 activationCount(const QString& bundleID) const;

    const RecencySnapshot& snapshot() const { return m_record; }

private:
    void load();
    void save();

    SettingsStore& m_store;
    const Scheduler& m_clock;
    SerialExecutor& m_saveQueue;
    RecencySnapshot m_record;
};

} // namespace valimbra
