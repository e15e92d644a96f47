#pragma once

#include <QtGlobal>

#include <functional>

namespace valimbra {

// Carbon-style modifier bits used when registering hot keys.
namespace CarbonModifier {
inline constexpr quint32 Cmd = 0x100;
inline constexpr quint32 Shift = 0x200;
inline constexpr quint32 Option = 0x800;
inline constexpr quint32 Control = 0x1000;
} // namespace CarbonModifier

struct HotKeyId {
    quint32 signature = 0;
    quint32 id = 0;
};

namespace HotKeyStatus {
inline constexpr int NoErr = 0;
inline constexpr int EventNotHandled = -9874;
inline constexpr int HotKeyExists = -9878; // the combination is taken by another client
} // namespace HotKeyStatus

using HotKeyRef = quint64;        // 0 = none
using HotKeyHandlerRef = quint64; // 0 = none

// System-wide hot keys. Pressing a registered combination calls the installed handlers (newest
// first) with the hot key's id until one returns NoErr. Everything runs on the main thread.
class HotKeys {
public:
    using Handler = std::function<int(const HotKeyId&)>;

    virtual ~HotKeys() = default;

    virtual HotKeyHandlerRef installHandler(Handler handler) = 0;
    virtual void removeHandler(HotKeyHandlerRef ref) = 0;
    // Returns a status (NoErr on success) and sets *outRef to the new registration (0 on failure).
    virtual int registerHotKey(quint32 keyCode, quint32 carbonModifiers, HotKeyId id,
                               HotKeyRef* outRef) = 0;
    virtual void unregisterHotKey(HotKeyRef ref) = 0;
};

} // namespace valimbra
