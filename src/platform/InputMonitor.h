#pragma once

#include <QObject>
#include <QPointF>
#include <QString>

#include <functional>
#include <optional>

class QWindow;

namespace valimbra {

// Modifier-flag bits, kept as the macOS values everywhere above platform/ (persisted values use
// them too).
namespace ModifierFlag {
inline constexpr quint64 CapsLock = 0x10000;
inline constexpr quint64 Shift = 0x20000;
inline constexpr quint64 Control = 0x40000;
inline constexpr quint64 Option = 0x80000;   // Alt (Mod1)
inline constexpr quint64 Command = 0x100000; // Super (Mod4)
inline constexpr quint64 NumericPad = 0x200000;
inline constexpr quint64 Function = 0x800000;
inline constexpr quint64 DeviceIndependentMask = 0x1E0000; // shift|control|option|command
// A held modifier without a macOS counterpart (AltGr, Hyper, a key mapped to Mod3): never
// persisted, but it stops a modifier from being "held alone".
inline constexpr quint64 OtherModifier = 1ull << 32;
} // namespace ModifierFlag

// Event-type mask bits (the macOS values).
namespace EventMask {
inline constexpr quint64 LeftMouseDown = 1ull << 1;
inline constexpr quint64 RightMouseDown = 1ull << 3;
inline constexpr quint64 KeyDown = 1ull << 10;
inline constexpr quint64 FlagsChanged = 1ull << 12;
inline constexpr quint64 OtherMouseDown = 1ull << 25;
} // namespace EventMask

enum class InputEventType { FlagsChanged, KeyDown, LeftMouseDown, RightMouseDown, OtherMouseDown };

// The mask bit a monitor uses to ask for events of this type.
constexpr quint64 eventMaskFor(InputEventType type) {
    switch (type) {
    case InputEventType::FlagsChanged:
        return EventMask::FlagsChanged;
    case InputEventType::KeyDown:
        return EventMask::KeyDown;
    case InputEventType::LeftMouseDown:
        return EventMask::LeftMouseDown;
    case InputEventType::RightMouseDown:
        return EventMask::RightMouseDown;
    case InputEventType::OtherMouseDown:
        return EventMask::OtherMouseDown;
    }
    return 0;
}

struct InputEvent {
    InputEventType type = InputEventType::KeyDown;
    quint64 modifierFlags = 0; // ModifierFlag bits in effect for this event
    int keyCode = -1;          // virtual key code (0 = A, 36 = Return, 49 = Space, ...)
    QString characters;        // characters ignoring modifiers, for key-downs
    int buttonNumber = 0;      // 0 left, 1 right, 2 middle, ... for mouse-downs
    QPointF position;          // global pointer position for mouse events
    QWindow* window = nullptr; // our own window the event is for (local events only)
};

using MonitorToken = quint64; // 0 = no monitor

// A window of ours that takes the keyboard by an active grab rather than the focus sets this
// dynamic property to true while it holds the grab, so keys count as local events.
inline constexpr char keyboardGrabProperty[] = "valimbraKeyboardGrab";

// Global and local event monitors. A global monitor sees events while another client has the
// focus and can never consume them; a local monitor sees events for our own windows and may
// swallow one by returning nothing. Handlers run on the main thread.
class InputMonitor {
public:
    using GlobalHandler = std::function<void(const InputEvent&)>;
    using LocalHandler = std::function<std::optional<InputEvent>(const InputEvent&)>;

    virtual ~InputMonitor() = default;

    // Return 0 when the platform cannot create the monitor (e.g. no input access).
    virtual MonitorToken addGlobalMonitor(quint64 eventMask, GlobalHandler handler) = 0;
    virtual MonitorToken addLocalMonitor(quint64 eventMask, LocalHandler handler) = 0;
    virtual void removeMonitor(MonitorToken token) = 0;

    // The modifier keys down right now, independent of any event.
    virtual quint64 currentModifierFlags() const = 0;
};

} // namespace valimbra
