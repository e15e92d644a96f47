#include "HoldKeyMonitor.h"

#include <QPointer>

namespace valimbra {

HoldKeyMonitor::HoldKeyMonitor(InputMonitor& input, Scheduler& scheduler, QObject* parent)
    : QObject(parent)
    , m_input(input)
    , m_scheduler(scheduler) {}

HoldKeyMonitor::~HoldKeyMonitor() {
    // The onReleased this may post is guarded by our lifetime, so it is dropped: nobody is
    // listening to a monitor that no longer exists.
    stop();
}

void HoldKeyMonitor::setModifier(HoldModifier modifier) {
    if (m_modifier == modifier)
        return;
    m_modifier = modifier;
    Q_EMIT modifierChanged();
}

void HoldKeyMonitor::start() {
    stop();
    // Handlers hold the monitor weakly; once it is gone they do nothing and a local handler
    // still passes its event on unchanged.
    const QPointer<HoldKeyMonitor> self(this);
    m_globalMonitor =
        m_input.addGlobalMonitor(EventMask::FlagsChanged, [self](const InputEvent& e) {
            if (self)
                self->handleFlagsChanged(e);
        });
    m_localMonitor = m_input.addLocalMonitor(
        EventMask::FlagsChanged, [self](const InputEvent& e) -> std::optional<InputEvent> {
            if (self)
                self->handleFlagsChanged(e);
            return e;
        });
    m_globalKeyDownMonitor =
        m_input.addGlobalMonitor(EventMask::KeyDown, [self](const InputEvent& e) {
            if (self)
                self->handleKeyDown(e);
        });
    m_localKeyDownMonitor = m_input.addLocalMonitor(
        EventMask::KeyDown, [self](const InputEvent& e) -> std::optional<InputEvent> {
            if (self)
                self->handleKeyDown(e);
            return e;
        });
}

void HoldKeyMonitor::stop() {
    for (MonitorToken* token :
         {&m_globalMonitor, &m_localMonitor, &m_globalKeyDownMonitor, &m_localKeyDownMonitor}) {
        if (*token) {
            m_input.removeMonitor(*token);
            *token = 0;
        }
    }
    dropConfirmation();
    endHold();
}

void HoldKeyMonitor::cancelHold() {
    dropConfirmation();
    m_isHeld = false;
}

void HoldKeyMonitor::handleFlagsChanged(const InputEvent& event) {
    if (!isHeldAlone(event.modifierFlags)) {
        dropConfirmation();
        endHold();
        return;
    }
    // A hold already confirmed, pending or stale is not restarted by the key's repeated events.
    if (!m_isHeld && !m_debounceWorkItem)
        scheduleConfirmation();
}

void HoldKeyMonitor::handleKeyDown(const InputEvent& event) {
    // Plain typing does not concern us; a key with the modifier down means it is part of an
    // ordinary shortcut (hold Command, press C), which must never open the switcher.
    if (!(event.modifierFlags & holdModifierFlag(m_modifier)))
        return;
    dropConfirmation();
    endHold();
}

HoldKeyMonitor::State HoldKeyMonitor::state() const {
    if (m_isHeld)
        return State::Held;
    if (!m_debounceWorkItem)
        return State::Idle;
    if (!m_debounceWorkItem->hasFired() || m_pressPosted)
        return State::Pending;
    return State::Stale;
}

int HoldKeyMonitor::installedMonitorCount() const {
    return (m_globalMonitor != 0) + (m_localMonitor != 0) + (m_globalKeyDownMonitor != 0) +
           (m_localKeyDownMonitor != 0);
}

bool HoldKeyMonitor::isHeldAlone(quint64 flags) const {
    const quint64 bit = holdModifierFlag(m_modifier);
    return (flags & bit) && (flags & exclusivityMask) == bit;
}

void HoldKeyMonitor::scheduleConfirmation() {
    dropConfirmation();
    // The bit is fixed now: changing the modifier setting mid-hold must not confirm another key.
    const quint64 bit = holdModifierFlag(m_modifier);
    m_debounceWorkItem = m_scheduler.postAfter(debounceInterval, this, [this, bit] {
        // Only this key is checked here; another modifier joining would have cancelled us already.
        if (!(m_input.currentModifierFlags() & bit))
            return; // Stale: the key went up without us hearing about it
        m_pressPosted = true;
        m_scheduler.post(this, [this] {
            // Anything that dropped the confirmation in the meantime (stop, cancelHold, a release
            // or a key) wins: the hold never became Held, so there is nothing to report.
            if (!m_pressPosted)
                return;
            m_pressPosted = false;
            m_isHeld = true;
            if (auto callback = onPressed)
                callback();
        });
    });
}

void HoldKeyMonitor::dropConfirmation() {
    if (m_debounceWorkItem)
        m_debounceWorkItem->cancel();
    m_debounceWorkItem.reset();
    m_pressPosted = false;
}

void HoldKeyMonitor::endHold() {
    if (!m_isHeld)
        return;
    m_isHeld = false;
    postCallback(&HoldKeyMonitor::onReleased);
}

void HoldKeyMonitor::postCallback(std::function<void()> HoldKeyMonitor::*callback) {
    m_scheduler.post(this, [this, callback] {
        // A copy, so a callback that replaces itself or deletes the monitor stays valid.
        if (auto cb = this->*callback)
            cb();
    });
}

} // namespace valimbra
