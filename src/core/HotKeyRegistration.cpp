#include "HotKeyRegistration.h"

#include "platform/InputMonitor.h"

#include <QPointer>

#include <cstdio>

namespace valimbra {

quint32 carbonModifiers(qint64 modifierFlags) {
    if (modifierFlags < 0)
        qFatal("[Valimbra] Stored shortcut modifiers %lld are negative; the setting is corrupt.",
               static_cast<long long>(modifierFlags));
    const auto flags = quint64(modifierFlags);
    quint32 carbon = 0;
    if (flags & ModifierFlag::Command)
        carbon |= CarbonModifier::Cmd;
    if (flags & ModifierFlag::Shift)
        carbon |= CarbonModifier::Shift;
    if (flags & ModifierFlag::Option)
        carbon |= CarbonModifier::Option;
    if (flags & ModifierFlag::Control)
        carbon |= CarbonModifier::Control;
    return carbon;
}

HotKeyRegistration::HotKeyRegistration(HotKeys& hotKeys, Scheduler& scheduler, QObject* parent)
    : QObject(parent)
    , m_hotKeys(hotKeys)
    , m_scheduler(scheduler) {}

HotKeyRegistration::~HotKeyRegistration() {
    unregisterHotKey();
}

void HotKeyRegistration::registerHotKey(quint32 keyCode, qint64 modifiers) {
    unregisterHotKey();

    m_customHotKeyHandler =
        m_hotKeys.installHandler([self = QPointer<HotKeyRegistration>(this)](const HotKeyId& id) {
            return self ? self->handleHotKey(id) : HotKeyStatus::EventNotHandled;
        });

    HotKeyRef ref = 0;
    const int status =
        m_hotKeys.registerHotKey(keyCode, carbonModifiers(modifiers), hotKeyId, &ref);
    if (status != HotKeyStatus::NoErr) {
        // The handler stays: registering another combination replaces it anyway, and the user
        // sees no alert for a shortcut another program already owns.
        m_customHotKeyRef = 0;
        std::printf("[Valimbra] RegisterEventHotKey failed: OSStatus %d. Shortcut may conflict "
                    "with a system shortcut.\n",
                    status);
        std::fflush(stdout);
        return;
    }
    m_customHotKeyRef = ref;
}

void HotKeyRegistration::unregisterHotKey() {
    if (m_customHotKeyRef) {
        m_hotKeys.unregisterHotKey(m_customHotKeyRef);
        m_customHotKeyRef = 0;
    }
    if (m_customHotKeyHandler) {
        m_hotKeys.removeHandler(m_customHotKeyHandler);
        m_customHotKeyHandler = 0;
    }
}

HotKeyRegistration::State HotKeyRegistration::state() const {
    if (!m_customHotKeyHandler)
        return State::Off;
    return m_customHotKeyRef ? State::Registered : State::Failed;
}

int HotKeyRegistration::handleHotKey(const HotKeyId& id) {
    // Only the id tells our hot key apart; anything else belongs to another handler.
    if (id.id != hotKeyId.id)
        return HotKeyStatus::EventNotHandled;
    // Engine state must not change inside the platform's dispatch: hand over to the main loop.
    m_scheduler.post(this, [this] {
        if (auto callback = onPressed)
            callback();
    });
    return HotKeyStatus::NoErr;
}

} // namespace valimbra
