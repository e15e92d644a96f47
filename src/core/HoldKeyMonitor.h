#pragma once

#include "catalogue/HoldModifier.h"
#include "platform/InputMonitor.h"
#include "platform/Scheduler.h"

#include <QObject>

#include <chrono>
#include <functional>

namespace valimbra {

// Turns the chosen modifier held by itself into onPressed/onReleased. Watches flags-changed and
// key-down events through global monitors (another client focused) and local ones (our windows
// focused) and never consumes an event. A hold counts once the key has stayed down alone for
// the debounce; callbacks always run one main-loop turn after the event that caused them, never
// inside an event handler. Main thread only.
class HoldKeyMonitor final : public QObject {
    Q_OBJECT
public:
    // Idle: nothing going on. Pending: confirmation scheduled. Held: onPressed was (or is about to
    // be) called. Stale: the confirmation ran but found the key already up; a flags change (the
    // key's own release, normally) is needed before the next hold can be recognised.
    enum class State { Idle, Pending, Held, Stale };

    static constexpr std::chrono::milliseconds debounceInterval{280};
    // Every modifier but Caps Lock, Num Lock and Function must be absent for a hold: shift,
    // control, option, command, and those with no macOS name (AltGr and the like).
    static constexpr quint64 exclusivityMask =
        ModifierFlag::DeviceIndependentMask | ModifierFlag::OtherModifier;

    HoldKeyMonitor(InputMonitor& input, Scheduler& scheduler, QObject* parent = nullptr);
    ~HoldKeyMonitor() override; // performs stop()

    // Called one main-loop turn after a hold is confirmed / after a confirmed hold ends.
    std::function<void()> onPressed;
    std::function<void()> onReleased;

    // The key to hold. Takes effect for the next event; a running monitor needs no restart.
    HoldModifier modifier() const { return m_modifier; }
    void setModifier(HoldModifier modifier);

    // Installs the four monitors (global and local, flags-changed and key-down). Starts over
    // when already running.
    void start();
    // Removes the monitors, drops a pending confirmation and ends a confirmed hold (onReleased).
    void stop();
    // Forgets the current hold without any callback, so the later physical release is silent.
    void cancelHold();

    // The event handlers the monitors call.
    void handleFlagsChanged(const InputEvent& event);
    void handleKeyDown(const InputEvent& event);

    bool isHeld() const { return m_isHeld; }
    State state() const;
    // How many of the four monitors the platform actually created.
    int installedMonitorCount() const;

Q_SIGNALS:
    void modifierChanged();

private:
    bool isHeldAlone(quint64 flags) const;
    void scheduleConfirmation();
    void dropConfirmation();
    void endHold();
    void postCallback(std::function<void()> HoldKeyMonitor::*callback);

    InputMonitor& m_input;
    Scheduler& m_scheduler;
    HoldModifier m_modifier = defaultHoldModifier;
    MonitorToken m_globalMonitor = 0;
    MonitorToken m_localMonitor = 0;
    MonitorToken m_globalKeyDownMonitor = 0;
    MonitorToken m_localKeyDownMonitor = 0;
    bool m_isHeld = false;
    // Stays in place after it has fired, so repeated held-alone events cannot re-arm it.
    WorkItemPtr m_debounceWorkItem;
    // The fired confirmation found the key down and has posted the switch to Held.
    bool m_pressPosted = false;
};

} // namespace valimbra
