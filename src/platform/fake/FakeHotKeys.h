#pragma once

#include "platform/HotKeys.h"

#include <QStringList>

#include <optional>
#include <vector>

namespace valimbra {

// System-wide hot keys for tests: remembers registrations, can play another client that already
// holds a combination, and delivers presses to the installed handlers newest first until one
// handles them, as the platform does.
class FakeHotKeys final : public HotKeys {
public:
    struct Registration {
        HotKeyRef ref = 0;
        quint32 keyCode = 0;
        quint32 carbonModifiers = 0;
        HotKeyId id;
    };

    HotKeyHandlerRef installHandler(Handler handler) override;
    void removeHandler(HotKeyHandlerRef ref) override;
    int registerHotKey(quint32 keyCode, quint32 carbonModifiers, HotKeyId id,
                       HotKeyRef* outRef) override;
    void unregisterHotKey(HotKeyRef ref) override;

    // --- Driven by tests ---

    // Another client holds this combination: registering it fails with `status`.
    void refuseCombination(quint32 keyCode, quint32 carbonModifiers,
                           int status = HotKeyStatus::HotKeyExists);
    // The user presses a combination. Returns NoErr when a handler took it, EventNotHandled when
    // nothing is registered for it or no handler wanted it.
    int press(quint32 keyCode, quint32 carbonModifiers);
    // Dispatches a hot-key event with any id (e.g. one registered by another part of the process).
    int deliver(HotKeyId id);

    // --- Inspection ---
    const std::vector<Registration>& registrations() const { return m_registrations; }
    std::optional<Registration> registration(HotKeyRef ref) const;
    int handlerCount() const { return int(m_handlers.size()); }
    bool hasHandler(HotKeyHandlerRef ref) const;
    // Removals or unregistrations of a reference that is not live (a bug in the caller).
    int strayRemovals() const { return m_strayRemovals; }
    void setJournal(QStringList* journal) { m_journal = journal; }

private:
    struct InstalledHandler {
        HotKeyHandlerRef ref = 0;
        Handler handler;
    };
    struct Refusal {
        quint32 keyCode = 0;
        quint32 carbonModifiers = 0;
        int status = 0;
    };
    void note(const QString& entry);

    std::vector<InstalledHandler> m_handlers; // oldest first
    std::vector<Registration> m_registrations;
    std::vector<Refusal> m_refusals;
    quint64 m_nextRef = 1;
    int m_strayRemovals = 0;
    QStringList* m_journal = nullptr;
};

} // namespace valimbra
