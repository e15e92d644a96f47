#include "OnboardingRingDemo.h"

#include "platform/Scheduler.h"

#include <numbers>
#include <utility>

namespace valimbra {

OnboardingRingDemo::OnboardingRingDemo(Scheduler& scheduler, QObject* parent)
    : QObject(parent)
    , m_scheduler(scheduler) {}

OnboardingRingDemo::~OnboardingRingDemo() {
    stop();
}

QPointF OnboardingRingDemo::tilePosition(int index) const {
    const double degrees = index * 360.0 / maxSlots;
    const double radians = degrees * std::numbers::pi / 180.0;
    return {radius * std::sin(radians), -radius * std::cos(radians)};
}

void OnboardingRingDemo::start() {
    if (m_running)
        return;
    m_running = true;
    m_next = m_scheduler.postAfter(firstWait, this, [this] { step(true); });
}

void OnboardingRingDemo::stop() {
    m_running = false;
    if (m_next)
        m_next->cancel();
    m_next.reset();
    // Folded, so that a later start fans out again from the centre.
    if (std::exchange(m_shown, false))
        Q_EMIT shownChanged();
}

void OnboardingRingDemo::step(bool show) {
    if (!m_running)
        return; // a stopped loop changes nothing more
    if (m_shown != show) {
        m_shown = show;
        Q_EMIT shownChanged();
    }
    m_next =
        m_scheduler.postAfter(show ? shownFor : foldedFor, this, [this, show] { step(!show); });
}

} // namespace valimbra
