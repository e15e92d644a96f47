#pragma once

#include "platform/Scheduler.h"
#include "platform/SettingsStore.h"

namespace valimbra {

// Bookkeeping for the store-review prompt: how often the switcher was opened and used to switch,
// and since when. Dates are stored as seconds since 2001-01-01 UTC, like every persisted date.
class ReviewTracker {
public:
    static constexpr auto switchCountKey = "valimbra.review.switchCount";
    static constexpr auto sessionCountKey = "valimbra.review.sessionCount";
    static constexpr auto firstUseDateKey = "valimbra.review.firstUseDate";
    static constexpr auto lastPromptDateKey = "valimbra.review.lastPromptDate";

    ReviewTracker(SettingsStore& settings, const Scheduler& clock)
        : m_settings(settings)
        , m_clock(clock) {}

    // One opening of the switcher.
    void countUse();
    // One switch to (or launch of) an application.
    void countSwitch();
    void markPrompted();

    qint64 switchCount() const;
    qint64 sessionCount() const;
    std::optional<Date> firstUseDate() const;
    std::optional<Date> lastPromptDate() const;

private:
    void noteFirstUse();

    SettingsStore& m_settings;
    const Scheduler& m_clock;
};

} // namespace valimbra
