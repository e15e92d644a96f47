#include "KeyCodes.h"

#include "platform/HotKeys.h"
#include "platform/InputMonitor.h"

#include <array>
#include <utility>

namespace valimbra::x11::keycodes {
namespace {

// X core modifier masks (X.h), spelled out so this file needs no X header.
constexpr quint32 ShiftMask = 1u << 0;
constexpr quint32 LockMask = 1u << 1;
constexpr quint32 ControlMask = 1u << 2;
constexpr quint32 Mod1Mask = 1u << 3;
constexpr quint32 Mod4Mask = 1u << 6;

struct KeyPair {
    quint32 evdev;
    int virtualKey;
};

// Linux input event codes (linux/input-event-codes.h) against the macOS virtual key codes of
// the key at the same place on an ANSI/ISO keyboard.
constexpr std::array kKeys{
    KeyPair{1, 53},    // Escape
    KeyPair{2, 18},    // 1
    KeyPair{3, 19},    // 2
    KeyPair{4, 20},    // 3
    KeyPair{5, 21},    // 4
    KeyPair{6, 23},    // 5
    KeyPair{7, 22},    // 6
    KeyPair{8, 26},    // 7
    KeyPair{9, 28},    // 8
    KeyPair{10, 25},   // 9
    KeyPair{11, 29},   // 0
    KeyPair{12, 27},   // minus
    KeyPair{13, 24},   // equal
    KeyPair{14, 51},   // Backspace (Delete)
    KeyPair{15, 48},   // Tab
    KeyPair{16, 12},   // Q
    KeyPair{17, 13},   // W
    KeyPair{18, 14},   // E
    KeyPair{19, 15},   // R
    KeyPair{20, 17},   // T
    KeyPair{21, 16},   // Y
    KeyPair{22, 32},   // U
    KeyPair{23, 34},   // I
    KeyPair{24, 31},   // O
    KeyPair{25, 35},   // P
    KeyPair{26, 33},   // left bracket
    KeyPair{27, 30},   // right bracket
    KeyPair{28, 36},   // Return
    KeyPair{29, 59},   // left Control
    KeyPair{30, 0},    // A
    KeyPair{31, 1},    // S
    KeyPair{32, 2},    // D
    KeyPair{33, 3},    // F
    KeyPair{34, 5},    // G
    KeyPair{35, 4},    // H
    KeyPair{36, 38},   // J
    KeyPair{37, 40},   // K
    KeyPair{38, 37},   // L
    KeyPair{39, 41},   // semicolon
    KeyPair{40, 39},   // apostrophe
    KeyPair{41, 50},   // grave
    KeyPair{42, 56},   // left Shift
    KeyPair{43, 42},   // backslash
    KeyPair{44, 6},    // Z
    KeyPair{45, 7},    // X
    KeyPair{46, 8},    // C
    KeyPair{47, 9},    // V
    KeyPair{48, 11},   // B
    KeyPair{49, 45},   // N
    KeyPair{50, 46},   // M
    KeyPair{51, 43},   // comma
    KeyPair{52, 47},   // period
    KeyPair{53, 44},   // slash
    KeyPair{54, 60},   // right Shift
    KeyPair{55, 67},   // keypad *
    KeyPair{56, 58},   // left Alt (Option)
    KeyPair{57, 49},   // Space
    KeyPair{58, 57},   // Caps Lock
    KeyPair{59, 122},  // F1
    KeyPair{60, 120},  // F2
    KeyPair{61, 99},   // F3
    KeyPair{62, 118},  // F4
    KeyPair{63, 96},   // F5
    KeyPair{64, 97},   // F6
    KeyPair{65, 98},   // F7
    KeyPair{66, 100},  // F8
    KeyPair{67, 101},  // F9
    KeyPair{68, 109},  // F10
    KeyPair{69, 71},   // Num Lock (keypad Clear)
    KeyPair{71, 89},   // keypad 7
    KeyPair{72, 91},   // keypad 8
    KeyPair{73, 92},   // keypad 9
    KeyPair{74, 78},   // keypad -
    KeyPair{75, 86},   // keypad 4
    KeyPair{76, 87},   // keypad 5
    KeyPair{77, 88},   // keypad 6
    KeyPair{78, 69},   // keypad +
    KeyPair{79, 83},   // keypad 1
    KeyPair{80, 84},   // keypad 2
    KeyPair{81, 85},   // keypad 3
    KeyPair{82, 82},   // keypad 0
    KeyPair{83, 65},   // keypad .
    KeyPair{86, 10},   // ISO section key (between left Shift and Z)
    KeyPair{87, 103},  // F11
    KeyPair{88, 111},  // F12
    KeyPair{89, 94},   // JIS underscore (ro)
    KeyPair{96, 76},   // keypad Enter
    KeyPair{97, 62},   // right Control
    KeyPair{98, 75},   // keypad /
    KeyPair{100, 61},  // right Alt (Option)
    KeyPair{102, 115}, // Home
    KeyPair{103, 126}, // Up
    KeyPair{104, 116}, // Page Up
    KeyPair{105, 123}, // Left
    KeyPair{106, 124}, // Right
    KeyPair{107, 119}, // End
    KeyPair{108, 125}, // Down
    KeyPair{109, 121}, // Page Down
    KeyPair{110, 114}, // Insert (Help)
    KeyPair{111, 117}, // Delete (forward delete)
    KeyPair{113, 74},  // Mute
    KeyPair{114, 73},  // Volume Down
    KeyPair{115, 72},  // Volume Up
    KeyPair{117, 81},  // keypad =
    KeyPair{121, 95},  // keypad comma (JIS)
    KeyPair{124, 93},  // Yen (JIS)
    KeyPair{125, 55},  // left Super (Command)
    KeyPair{126, 54},  // right Super (Command)
    KeyPair{127, 110}, // Menu (contextual menu)
    KeyPair{183, 105}, // F13
    KeyPair{184, 107}, // F14
    KeyPair{185, 113}, // F15
    KeyPair{186, 106}, // F16
    KeyPair{187, 64},  // F17
    KeyPair{188, 79},  // F18
    KeyPair{189, 80},  // F19
    KeyPair{190, 90},  // F20
};

constexpr quint32 kMaxEvdev = 255 - EvdevOffset;
constexpr int kMaxVirtual = 127;

// Dense lookup tables in both directions, built once at compile time from kKeys.
constexpr auto kByEvdev = [] {
    std::array<int, kMaxEvdev + 1> t{};
    t.fill(-1);
    for (const auto& k : kKeys)
        t[k.evdev] = k.virtualKey;
    return t;
}();

constexpr auto kByVirtual = [] {
    std::array<int, kMaxVirtual + 1> t{};
    t.fill(-1);
    for (const auto& k : kKeys)
        t[static_cast<size_t>(k.virtualKey)] = static_cast<int>(k.evdev);
    return t;
}();

} // namespace

std::optional<int> virtualFromX(quint32 xKeycode) {
    if (xKeycode < EvdevOffset || xKeycode - EvdevOffset > kMaxEvdev)
        return std::nullopt;
    const int v = kByEvdev[xKeycode - EvdevOffset];
    if (v < 0)
        return std::nullopt;
    return v;
}

std::optional<quint32> xFromVirtual(int virtualKey) {
    if (virtualKey < 0 || virtualKey > kMaxVirtual)
        return std::nullopt;
    const int e = kByVirtual[static_cast<size_t>(virtualKey)];
    if (e < 0)
        return std::nullopt;
    return static_cast<quint32>(e) + EvdevOffset;
}

quint64 modifierFlagOfVirtualKey(int virtualKey) {
    switch (virtualKey) {
    case 56:
    case 60:
        return ModifierFlag::Shift;
    case 59:
    case 62:
        return ModifierFlag::Control;
    case 58:
    case 61:
        return ModifierFlag::Option;
    case 55:
    case 54:
        return ModifierFlag::Command;
    case 57:
        return ModifierFlag::CapsLock;
    default:
        return 0;
    }
}

quint64 flagsFromXState(quint32 xState) {
    quint64 flags = 0;
    if (xState & ShiftMask)
        flags |= ModifierFlag::Shift;
    if (xState & LockMask)
        flags |= ModifierFlag::CapsLock;
    if (xState & ControlMask)
        flags |= ModifierFlag::Control;
    if (xState & Mod1Mask)
        flags |= ModifierFlag::Option;
    if (xState & Mod4Mask)
        flags |= ModifierFlag::Command;
    return flags;
}

quint16 xStateFromCarbon(quint32 carbonModifiers) {
    quint16 mask = 0;
    if (carbonModifiers & CarbonModifier::Shift)
        mask |= ShiftMask;
    if (carbonModifiers & CarbonModifier::Control)
        mask |= ControlMask;
    if (carbonModifiers & CarbonModifier::Option)
        mask |= Mod1Mask;
    if (carbonModifiers & CarbonModifier::Cmd)
        mask |= Mod4Mask;
    return mask;
}

} // namespace valimbra::x11::keycodes
