#include "platform/x11/KeyCodes.h"

#include "platform/HotKeys.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

namespace valimbra::x11 {
namespace {

using namespace keycodes;

// Every key of the shortcut recorder's name table, plus the keys the overlay and the hold
// monitor rely on: {evdev code (linux/input-event-codes.h), virtual key}.
// clang-format off
const std::pair<quint32, int> kKeys[] = {
    // Letters A S D F H G Z X C V B Q W E R Y T O U I P L J K N M
    {30, 0}, {31, 1}, {32, 2}, {33, 3}, {35, 4}, {34, 5}, {44, 6}, {45, 7}, {46, 8}, {47, 9},
    {48, 11}, {16, 12}, {17, 13}, {18, 14}, {19, 15}, {21, 16}, {20, 17}, {24, 31}, {22, 32},
    {23, 34}, {25, 35}, {38, 37}, {36, 38}, {37, 40}, {49, 45}, {50, 46},
    // Digits 1 2 3 4 5 6 7 8 9 0
    {2, 18}, {3, 19}, {4, 20}, {5, 21}, {6, 23}, {7, 22}, {8, 26}, {9, 28}, {10, 25}, {11, 29},
    // Return Tab Space Backspace Escape, arrows Left Right Down Up
    {28, 36}, {15, 48}, {57, 49}, {14, 51}, {1, 53}, {105, 123}, {106, 124}, {108, 125}, {103, 126},
    // F1 to F12, keypad Enter
    {59, 122}, {60, 120}, {61, 99}, {62, 118}, {63, 96}, {64, 97}, {65, 98}, {66, 100}, {67, 101},
    {68, 109}, {87, 103}, {88, 111}, {96, 76},
    // Shift, Control, Alt (Option), Super (Command) left and right, Caps Lock
    {42, 56}, {54, 60}, {29, 59}, {97, 62}, {56, 58}, {100, 61}, {125, 55}, {126, 54}, {58, 57},
    // Minus Equal Comma Period Slash Semicolon Quote Grave Backslash [ ], Forward Delete Home End
    {12, 27}, {13, 24}, {51, 43}, {52, 47}, {53, 44}, {39, 41}, {40, 39}, {41, 50}, {43, 42},
    {26, 33}, {27, 30}, {111, 117}, {102, 115}, {107, 119},
};
// clang-format on

TEST(KeyCodes, KeysTranslateBothWaysByPositionAndUnknownCodesMapToNothing) {
    for (const auto& [evdev, virtualKey] : kKeys) {
        EXPECT_EQ(virtualFromX(evdev + EvdevOffset), virtualKey) << "evdev " << evdev;
        EXPECT_EQ(xFromVirtual(virtualKey), evdev + EvdevOffset) << "virtual " << virtualKey;
    }
    // Keys beyond the recorder's table round-trip as well.
    for (int v = 0; v < 128; ++v) {
        if (auto x = xFromVirtual(v)) {
            EXPECT_EQ(virtualFromX(*x), v) << "virtual key " << v;
        }
    }
    // Below the evdev offset, no key at evdev 84, out of range.
    for (quint32 x : {0u, 7u, 84u + 8, 256u, 0xffffffffu})
        EXPECT_FALSE(virtualFromX(x)) << x;
    for (int v : {-1, 52, 128}) // 52 is unused on every Mac keyboard
        EXPECT_FALSE(xFromVirtual(v)) << v;
}

TEST(KeyCodes, ModifierKeysStatesAndGrabMasks) {
    const std::pair<int, quint64> keys[] = {{59, ModifierFlag::Control},
                                            {62, ModifierFlag::Control},
                                            {58, ModifierFlag::Option},
                                            {55, ModifierFlag::Command},
                                            {60, ModifierFlag::Shift},
                                            {57, ModifierFlag::CapsLock},
                                            {0, 0},
                                            {49, 0}};
    for (const auto& [key, flag] : keys)
        EXPECT_EQ(modifierFlagOfVirtualKey(key), flag) << key;

    EXPECT_EQ(flagsFromXState(0), 0u);
    EXPECT_EQ(flagsFromXState(1 | 4), ModifierFlag::Shift | ModifierFlag::Control);
    EXPECT_EQ(flagsFromXState(8), ModifierFlag::Option);
    EXPECT_EQ(flagsFromXState(64), ModifierFlag::Command);
    EXPECT_EQ(flagsFromXState(2), ModifierFlag::CapsLock);
    EXPECT_EQ(flagsFromXState(16 | 32 | 128 | 0x100), 0u); // Num Lock, Mod3, Mod5, a button

    EXPECT_EQ(xStateFromCarbon(CarbonModifier::Cmd | CarbonModifier::Shift), 64 | 1);
    EXPECT_EQ(xStateFromCarbon(CarbonModifier::Option | CarbonModifier::Control), 8 | 4);
    EXPECT_EQ(xStateFromCarbon(0x10000), 0); // bits outside the four are dropped
}

} // namespace
} // namespace valimbra::x11
