#pragma once

#include "platform/HotKeys.h"
#include "platform/Scheduler.h"

#include <QObject>

#include <functional>

namespace valimbra {

// Converts stored ModifierFlag bits to the hot-key modifier bits: command, shift, option and
// control survive, every other bit (Caps Lock, Function, ...) is dropped. A negative value can
// only come from a corrupted setting and stops the program.
quint32 carbonModifiers(qint64 modifierFlags);

// The recorded global shortcut of invoke mode "shortcut": owns the registered hot key and the
// handler that turns its presses into onPressed. Main thread only.
class HotKeyRegistration final : public QObject {
    Q_OBJECT
public:
    // Off: nothing installed. Registered: handler and hot key live. Failed: the combination is
    // taken by another client; the handler stays installed, the hot key is unset.
    enum class State { Off, Registered, Failed };

    static constexpr HotKeyId hotKeyId{0x4B575A52 /* 'KWZR' */, 99};

    HotKeyRegistration(HotKeys& hotKeys, Scheduler& scheduler, QObject* parent = nullptr);
    ~HotKeyRegistration() override; // unregisters

    // Called one main-loop turn after the shortcut was pressed.
    std::function<void()> onPressed;

    // Tears down what is there, installs the handler and registers the combination. On failure
    // prints one "[Valimbra] RegisterEventHotKey failed: ..." line and leaves the hot key unset.
    void registerHotKey(quint32 keyCode, qint64 modifiers);
    // Unregisters the hot key and removes the handler, whichever of them is there.
    void unregisterHotKey();

    HotKeyRef customHotKeyRef() const { return m_customHotKeyRef; }
    HotKeyHandlerRef customHotKeyHandler() const { return m_customHotKeyHandler; }
    State state() const;

private:
    int handleHotKey(const HotKeyId& id);

    HotKeys& m_hotKeys;
    Scheduler& m_scheduler;
    HotKeyRef m_customHotKeyRef = 0;
    HotKeyHandlerRef m_customHotKeyHandler = 0;
};

} // namespace valimbra
