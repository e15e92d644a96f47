#include "FakeInputMonitor.h"

#include <algorithm>

namespace valimbra {

MonitorToken FakeInputMonitor::addGlobalMonitor(quint64 eventMask, GlobalHandler handler) {
    note(u"input.addGlobal"_qs);
    if (m_refuseGlobal)
        return 0;
    const MonitorToken token = m_nextToken++;
    m_monitors.push_back({token, eventMask, false, std::move(handler), {}});
    return token;
}

MonitorToken FakeInputMonitor::addLocalMonitor(quint64 eventMask, LocalHandler handler) {
    note(u"input.addLocal"_qs);
    if (m_refuseLocal)
        return 0;
    const MonitorToken token = m_nextToken++;
    m_monitors.push_back({token, eventMask, true, {}, std::move(handler)});
    return token;
}

void FakeInputMonitor::removeMonitor(MonitorToken token) {
    note(u"input.remove"_qs);
    auto it = std::find_if(m_monitors.begin(), m_monitors.end(),
                           [token](const Monitor& m) { return m.token == token; });
    if (it == m_monitors.end()) {
        ++m_strayRemovals;
        return;
    }
    m_monitors.erase(it);
}

void FakeInputMonitor::changeModifierFlags(quint64 flags) {
    m_flags = flags;
    InputEvent event;
    event.type = InputEventType::FlagsChanged;
    event.modifierFlags = flags;
    deliver(event);
}

bool FakeInputMonitor::typeKey(int keyCode, const QString& characters) {
    InputEvent event;
    event.type = InputEventType::KeyDown;
    event.modifierFlags = m_flags;
    event.keyCode = keyCode;
    event.characters = characters;
    return deliver(event);
}

bool FakeInputMonitor::mouseDown(int buttonNumber, QPointF position) {
    InputEvent event;
    event.type = buttonNumber == 0   ? InputEventType::LeftMouseDown
                 : buttonNumber == 1 ? InputEventType::RightMouseDown
                                     : InputEventType::OtherMouseDown;
    event.modifierFlags = m_flags;
    event.buttonNumber = buttonNumber;
    event.position = position;
    return deliver(event);
}

bool FakeInputMonitor::deliver(const InputEvent& event) {
    const quint64 mask = eventMaskFor(event.type);
    // Snapshot first: handlers may add or remove monitors while the event is being delivered.
    std::vector<MonitorToken> targets;
    for (const Monitor& m : m_monitors)
        if ((m.mask & mask) && m.local == m_focusIsOurs)
            targets.push_back(m.token);

    InputEvent current = event;
    for (MonitorToken token : targets) {
        const Monitor* m = find(token);
        if (!m)
            continue; // removed by an earlier handler
        if (m->local) {
            LocalHandler handler = m->localHandler; // the monitor may go away inside the call
            std::optional<InputEvent> passed = handler(current);
            if (!passed)
                return false;
            current = *passed;
        } else {
            GlobalHandler handler = m->global;
            handler(current);
        }
    }
    return true;
}

int FakeInputMonitor::globalCount() const {
    return int(std::count_if(m_monitors.begin(), m_monitors.end(),
                             [](const Monitor& m) { return !m.local; }));
}

int FakeInputMonitor::localCount() const {
    return int(std::count_if(m_monitors.begin(), m_monitors.end(),
                             [](const Monitor& m) { return m.local; }));
}

int FakeInputMonitor::installedCount(quint64 eventMask, bool local) const {
    return int(std::count_if(m_monitors.begin(), m_monitors.end(), [&](const Monitor& m) {
        return m.local == local && m.mask == eventMask;
    }));
}

const FakeInputMonitor::Monitor* FakeInputMonitor::find(MonitorToken token) const {
    auto it = std::find_if(m_monitors.begin(), m_monitors.end(),
                           [token](const Monitor& m) { return m.token == token; });
    return it == m_monitors.end() ? nullptr : &*it;
}

void FakeInputMonitor::note(const QString& entry) {
    if (m_journal)
        m_journal->append(entry);
}

} // namespace valimbra
