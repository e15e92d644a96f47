#include "FakeHotKeys.h"

#include <algorithm>

namespace valimbra {

HotKeyHandlerRef FakeHotKeys::installHandler(Handler handler) {
    note(u"hotkeys.installHandler"_qs);
    const HotKeyHandlerRef ref = m_nextRef++;
    m_handlers.push_back({ref, std::move(handler)});
    return ref;
}

void FakeHotKeys::removeHandler(HotKeyHandlerRef ref) {
    note(u"hotkeys.removeHandler"_qs);
    auto it = std::find_if(m_handlers.begin(), m_handlers.end(),
                           [ref](const InstalledHandler& h) { return h.ref == ref; });
    if (it == m_handlers.end()) {
        ++m_strayRemovals;
        return;
    }
    m_handlers.erase(it);
}

int FakeHotKeys::registerHotKey(quint32 keyCode, quint32 carbonModifiers, HotKeyId id,
                                HotKeyRef* outRef) {
    note(u"hotkeys.register"_qs);
    if (outRef)
        *outRef = 0;
    for (const Refusal& r : m_refusals)
        if (r.keyCode == keyCode && r.carbonModifiers == carbonModifiers)
            return r.status;
    // Like the platform, one process cannot hold the same combination twice.
    for (const Registration& r : m_registrations)
        if (r.keyCode == keyCode && r.carbonModifiers == carbonModifiers)
            return HotKeyStatus::HotKeyExists;
    const HotKeyRef ref = m_nextRef++;
    m_registrations.push_back({ref, keyCode, carbonModifiers, id});
    if (outRef)
        *outRef = ref;
    return HotKeyStatus::NoErr;
}

void FakeHotKeys::unregisterHotKey(HotKeyRef ref) {
    note(u"hotkeys.unregister"_qs);
    auto it = std::find_if(m_registrations.begin(), m_registrations.end(),
                           [ref](const Registration& r) { return r.ref == ref; });
    if (it == m_registrations.end()) {
        ++m_strayRemovals;
        return;
    }
    m_registrations.erase(it);
}

void FakeHotKeys::refuseCombination(quint32 keyCode, quint32 carbonModifiers, int status) {
    m_refusals.push_back({keyCode, carbonModifiers, status});
}

int FakeHotKeys::press(quint32 keyCode, quint32 carbonModifiers) {
    for (const Registration& r : m_registrations)
        if (r.keyCode == keyCode && r.carbonModifiers == carbonModifiers)
            return deliver(r.id);
    return HotKeyStatus::EventNotHandled;
}

int FakeHotKeys::deliver(HotKeyId id) {
    // Snapshot: a handler may install or remove handlers while it runs.
    std::vector<HotKeyHandlerRef> order;
    for (auto it = m_handlers.rbegin(); it != m_handlers.rend(); ++it)
        order.push_back(it->ref);
    for (HotKeyHandlerRef ref : order) {
        auto it = std::find_if(m_handlers.begin(), m_handlers.end(),
                               [ref](const InstalledHandler& h) { return h.ref == ref; });
        if (it == m_handlers.end())
            continue;
        Handler handler = it->handler;
        if (handler(id) == HotKeyStatus::NoErr)
            return HotKeyStatus::NoErr;
    }
    return HotKeyStatus::EventNotHandled;
}

std::optional<FakeHotKeys::Registration> FakeHotKeys::registration(HotKeyRef ref) const {
    for (const Registration& r : m_registrations)
        if (r.ref == ref)
            return r;
    return std::nullopt;
}

bool FakeHotKeys::hasHandler(HotKeyHandlerRef ref) const {
    return std::any_of(m_handlers.begin(), m_handlers.end(),
                       [ref](const InstalledHandler& h) { return h.ref == ref; });
}

void FakeHotKeys::note(const QString& entry) {
    if (m_journal)
        m_journal->append(entry);
}

} // namespace valimbra
