#include "InvokeModeSwitch.h"

#include "core/HoldKeyMonitor.h"
#include "core/HotKeyRegistration.h"
#include "platform/SettingsStore.h"

#include <limits>

namespace valimbra {

InvokeModeSwitch::InvokeModeSwitch(SettingsStore& settings, HoldKeyMonitor& holdMonitor,
                                   HotKeyRegistration& hotKey, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_holdMonitor(holdMonitor)
    , m_hotKey(hotKey) {}

bool InvokeModeSwitch::isInvokeSetting(const QString& key) {
    return key == invokeModeKey || key == recordedKeyCodeKey || key == recordedModifiersKey;
}

void InvokeModeSwitch::apply() {
    // The mode stays a plain string: any value but "shortcut", unknown ones included, means hold.
    const QString mode = m_settings.string(invokeModeKey).value_or(u"hold"_qs);
    // A missing key reads as 0 here, although the settings show a missing key code as -1 (none).
    const qint64 keyCode = m_settings.integer(recordedKeyCodeKey);
    const qint64 modifiers = m_settings.integer(recordedModifiersKey);
    m_applied = std::tuple(mode, keyCode, modifiers);

    if (mode == u"shortcut" && keyCode >= 0) {
        if (keyCode > qint64(std::numeric_limits<quint32>::max()))
            qFatal("[Valimbra] Recorded key code %lld does not fit a 32-bit hot-key code.",
                   static_cast<long long>(keyCode));
        m_holdMonitor.stop();
        m_hotKey.registerHotKey(quint32(keyCode), modifiers);
        m_activePath = Path::Shortcut;
        return;
    }

    // No shortcut recorded (negative key code) falls back to hold as well. The hot key goes first
    // so that the two paths are never live together.
    m_hotKey.unregisterHotKey();
    m_holdMonitor.start();
    m_activePath = Path::Hold;
}

void InvokeModeSwitch::applyIfChanged() {
    const auto now = std::tuple(m_settings.string(invokeModeKey).value_or(u"hold"_qs),
                                m_settings.integer(recordedKeyCodeKey),
                                m_settings.integer(recordedModifiersKey));
    if (m_applied != now)
        apply();
}

} // namespace valimbra
