#pragma once

#include "platform/InputMonitor.h"

#include <QStringList>

#include <vector>

namespace valimbra {

// An InputMonitor that tests type on. It keeps the platform's split: while one of our own windows
// has the focus only local monitors hear events (and may swallow them), otherwise only global
// ones do. Handlers are called in installation order, on the caller's thread.
class FakeInputMonitor final : public InputMonitor {
public:
    MonitorToken addGlobalMonitor(quint64 eventMask, GlobalHandler handler) override;
    MonitorToken addLocalMonitor(quint64 eventMask, LocalHandler handler) override;
    void removeMonitor(MonitorToken token) override;
    quint64 currentModifierFlags() const override { return m_flags; }

    // --- Driven by tests ---

    // Whether our own window has the keyboard focus (default: another client has it).
    void setFocusIsOurs(bool ours) { m_focusIsOurs = ours; }
    bool focusIsOurs() const { return m_focusIsOurs; }

    // Makes the platform refuse new monitors (add...Monitor returns 0), as without input access.
    void setRefusesGlobalMonitors(bool refuse) { m_refuseGlobal = refuse; }
    void setRefusesLocalMonitors(bool refuse) { m_refuseLocal = refuse; }

    // Modifier keys: each call changes the current flags and delivers one flags-changed event.
    void pressModifier(quint64 flag) { changeModifierFlags(m_flags | flag); }
    void releaseModifier(quint64 flag) { changeModifierFlags(m_flags & ~flag); }
    void changeModifierFlags(quint64 flags);
    // The keys change but no monitor hears about it (an event lost while focus moved).
    void setModifierFlagsSilently(quint64 flags) { m_flags = flags; }

    // A key-down carrying the current modifier flags. Returns false when a local handler
    // swallowed it.
    bool typeKey(int keyCode, const QString& characters = {});
    // A mouse-down of the given button (0 left, 1 right, 2 middle, ...). Returns false when a
    // local handler swallowed it.
    bool mouseDown(int buttonNumber, QPointF position = {});
    // Delivers any event to the monitors that currently hear it.
    bool deliver(const InputEvent& event);

    // --- Inspection ---
    int installedCount() const { return int(m_monitors.size()); }
    int globalCount() const;
    int localCount() const;
    int installedCount(quint64 eventMask, bool local) const;
    // Removals of a token that was not installed (a double removal is a bug in the caller).
    int strayRemovals() const { return m_strayRemovals; }
    // Optional call log shared with other fakes, to check the order of platform calls.
    void setJournal(QStringList* journal) { m_journal = journal; }

private:
    struct Monitor {
        MonitorToken token = 0;
        quint64 mask = 0;
        bool local = false;
        GlobalHandler global;
        LocalHandler localHandler;
    };
    const Monitor* find(MonitorToken token) const;
    void note(const QString& entry);

    std::vector<Monitor> m_monitors;
    MonitorToken m_nextToken = 1;
    quint64 m_flags = 0;
    bool m_focusIsOurs = false;
    bool m_refuseGlobal = false;
    bool m_refuseLocal = false;
    int m_strayRemovals = 0;
    QStringList* m_journal = nullptr;
};

} // namespace valimbra
