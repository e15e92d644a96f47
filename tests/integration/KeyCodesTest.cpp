#include "KeyCodes.h"

#include "platform/HotKeys.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

namespace valimbra::x11 {
namespace {

using namespace keycodes;

struct Key {
    const char* name;
    quint32 evdev; // linux/input-event-codes.h
    int virtualKey;
};

// Every key of the shortcut recorder's name table, plus the keys the overlay and the hold
// monitor rely on.
const Key kKeys[] = {
    {"A", 30, 0},
    {"S", 31, 1},
    {"D", 32, 2},
    {"F", 33, 3},
    {"H", 35, 4},
    {"G", 34, 5},
    {"Z", 44, 6},
    {"X", 45, 7},
    {"C", 46, 8},
    {"V", 47, 9},
    {"B", 48, 11},
    {"Q", 16, 12},
    {"W", 17, 13},
    {"E", 18, 14},
    {"R", 19, 15},
    {"Y", 21, 16},
    {"T", 20, 17},
    {"O", 24, 31},
    {"U", 22, 32},
    {"I", 23, 34},
    {"P", 25, 35},
    {"L", 38, 37},
    {"J", 36, 38},
    {"K", 37, 40},
    {"N", 49, 45},
    {"M", 50, 46},
    {"1", 2, 18},
    {"2", 3, 19},
    {"3", 4, 20},
    {"4", 5, 21},
    {"5", 6, 23},
    {"6", 7, 22},
    {"7", 8, 26},
    {"8", 9, 28},
    {"9", 10, 25},
    {"0", 11, 29},
    {"Return", 28, 36},
    {"Tab", 15, 48},
    {"Space", 57, 49},
    {"Backspace", 14, 51},
    {"Escape", 1, 53},
    {"Left", 105, 123},
    {"Right", 106, 124},
    {"Down", 108, 125},
    {"Up", 103, 126},
    {"F1", 59, 122},
    {"F2", 60, 120},
    {"F3", 61, 99},
    {"F4", 62, 118},
    {"F5", 63, 96},
    {"F6", 64, 97},
    {"F7", 65, 98},
    {"F8", 66, 100},
    {"F9", 67, 101},
    {"F10", 68, 109},
    {"F11", 87, 103},
    {"F12", 88, 111},
    {"KeypadEnter", 96, 76},
    {"LeftShift", 42, 56},
    {"RightShift", 54, 60},
    {"LeftControl", 29, 59},
    {"RightControl", 97, 62},
    {"LeftAlt", 56, 58},
    {"RightAlt", 100, 61},
    {"LeftSuper", 125, 55},
    {"RightSuper", 126, 54},
    {"CapsLock", 58, 57},
    {"Minus", 12, 27},
    {"Equal", 13, 24},
    {"Comma", 51, 43},
    {"Period", 52, 47},
    {"Slash", 53, 44},
    {"Semicolon", 39, 41},
    {"Quote", 40, 39},
    {"Grave", 41, 50},
    {"Backslash", 43, 42},
    {"LeftBracket", 26, 33},
    {"RightBracket", 27, 30},
    {"ForwardDelete", 111, 117},
    {"Home", 102, 115},
    {"End", 107, 119},
};

class KeyTableTest : public ::testing::TestWithParam<Key> {};

TEST_P(KeyTableTest, TranslatesBothWaysByPosition) {
    const Key& k = GetParam();
    EXPECT_EQ(virtualFromX(k.evdev + EvdevOffset), k.virtualKey);
    EXPECT_EQ(xFromVirtual(k.virtualKey), k.evdev + EvdevOffset);
}

INSTANTIATE_TEST_SUITE_P(Keys, KeyTableTest, ::testing::ValuesIn(kKeys),
                         [](const ::testing::TestParamInfo<Key>& info) { return info.param.name; });

TEST(KeyCodes, EveryMappedVirtualKeyRoundTrips) {
    int mapped = 0;
    for (int v = 0; v < 128; ++v) {
        if (auto x = xFromVirtual(v)) {
            ++mapped;
            EXPECT_EQ(virtualFromX(*x), v) << "virtual key " << v;
        }
    }
    EXPECT_GE(mapped, 100);
}

TEST(KeyCodes, UnknownAndOutOfRangeCodesMapToNothing) {
    EXPECT_FALSE(virtualFromX(0));
    EXPECT_FALSE(virtualFromX(7));      // below the evdev offset
    EXPECT_FALSE(virtualFromX(84 + 8)); // no key at evdev 84
    EXPECT_FALSE(virtualFromX(256));
    EXPECT_FALSE(virtualFromX(0xffffffffu));
    EXPECT_FALSE(xFromVirtual(-1));
    EXPECT_FALSE(xFromVirtual(52)); // unused on every Mac keyboard
    EXPECT_FALSE(xFromVirtual(128));
}

TEST(KeyCodes, ModifierKeysNameTheirFlag) {
    EXPECT_EQ(modifierFlagOfVirtualKey(59), ModifierFlag::Control);
    EXPECT_EQ(modifierFlagOfVirtualKey(62), ModifierFlag::Control);
    EXPECT_EQ(modifierFlagOfVirtualKey(58), ModifierFlag::Option);
    EXPECT_EQ(modifierFlagOfVirtualKey(55), ModifierFlag::Command);
    EXPECT_EQ(modifierFlagOfVirtualKey(60), ModifierFlag::Shift);
    EXPECT_EQ(modifierFlagOfVirtualKey(57), ModifierFlag::CapsLock);
    EXPECT_EQ(modifierFlagOfVirtualKey(0), 0u);
    EXPECT_EQ(modifierFlagOfVirtualKey(49), 0u);
}

TEST(KeyCodes, XStateBecomesModifierFlags) {
    EXPECT_EQ(flagsFromXState(0), 0u);
    EXPECT_EQ(flagsFromXState(1 | 4), ModifierFlag::Shift | ModifierFlag::Control);
    EXPECT_EQ(flagsFromXState(8), ModifierFlag::Option);
    EXPECT_EQ(flagsFromXState(64), ModifierFlag::Command);
    EXPECT_EQ(flagsFromXState(2), ModifierFlag::CapsLock);
    // Num Lock (Mod2), Mod3, Mod5 and button bits carry no flag.
    EXPECT_EQ(flagsFromXState(16 | 32 | 128 | 0x100), 0u);
}

TEST(KeyCodes, CarbonModifiersBecomeGrabMasks) {
    EXPECT_EQ(xStateFromCarbon(CarbonModifier::Cmd | CarbonModifier::Shift), 64 | 1);
    EXPECT_EQ(xStateFromCarbon(CarbonModifier::Option | CarbonModifier::Control), 8 | 4);
    EXPECT_EQ(xStateFromCarbon(0), 0);
    EXPECT_EQ(xStateFromCarbon(0x10000), 0); // bits outside the four are dropped
}

} // namespace
} // namespace valimbra::x11
