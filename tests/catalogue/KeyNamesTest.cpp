#include "catalogue/KeyNames.h"
#include "catalogue/HoldModifier.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace valimbra;

// The raw strings are what the settings file holds; only they read back, exactly.
TEST(HoldModifier, RawValuesRoundTripAndMapToTheirFlagsAndNames) {
    const std::tuple<HoldModifier, QString, quint64, QString, QString> rows[] = {
        {HoldModifier::option, u"option"_qs, ModifierFlag::Option, u"Alt"_qs, u"⌥ Option"_qs},
        {HoldModifier::control, u"control"_qs, ModifierFlag::Control, u"Ctrl"_qs, u"⌃ Control"_qs},
        {HoldModifier::command, u"command"_qs, ModifierFlag::Command, u"Super"_qs, u"⌘ Command"_qs},
    };
    for (const auto& [modifier, raw, flag, pc, mac] : rows) {
        EXPECT_EQ(holdModifierRawValue(modifier), raw);
        EXPECT_EQ(holdModifierFromRaw(raw), modifier);
        EXPECT_EQ(holdModifierFlag(modifier), flag);
        EXPECT_EQ(holdModifierName(modifier, KeyNaming::Pc), pc);
        EXPECT_EQ(holdModifierName(modifier, KeyNaming::Mac), mac);
    }
    for (const char* raw : {"Control", "CONTROL", "ctrl", " control", "shift", "alt", ""})
        EXPECT_FALSE(holdModifierFromRaw(QString::fromUtf8(raw)).has_value()) << raw;
}

TEST(KeyNames, FiftySixCodesAreNamedAndEveryOtherIsAQuestionMark) {
    int named = 0;
    for (qint64 code = -2; code < 200; ++code)
        named += keyName(code) != u"?";
    EXPECT_EQ(named, 56);
    const std::tuple<qint64, QString, QString> rows[] = {
        {0, u"A"_qs, u"A"_qs},          {46, u"M"_qs, u"M"_qs},         {29, u"0"_qs, u"0"_qs},
        {22, u"6"_qs, u"6"_qs},         {36, u"Return"_qs, u"↩"_qs},    {48, u"Tab"_qs, u"⇥"_qs},
        {49, u"Space"_qs, u"Space"_qs}, {51, u"Backspace"_qs, u"⌫"_qs}, {123, u"Left"_qs, u"←"_qs},
        {126, u"Up"_qs, u"↑"_qs},       {122, u"F1"_qs, u"F1"_qs},      {111, u"F12"_qs, u"F12"_qs},
        {53, u"?"_qs, u"?"_qs}, // Escape cancels recording and is never named
        {105, u"?"_qs, u"?"_qs},        {-1, u"?"_qs, u"?"_qs},
    };
    for (const auto& [code, pc, mac] : rows) {
        EXPECT_EQ(keyName(code, KeyNaming::Pc), pc) << code;
        EXPECT_EQ(keyName(code, KeyNaming::Mac), mac) << code;
    }
}

// Modifiers always in the order control, option, shift, command, whatever was pressed first.
TEST(KeyNames, ShortcutsNameTheirModifiersInAFixedOrder) {
    using namespace ModifierFlag;
    const std::tuple<qint64, quint64, QString, QString> rows[] = {
        {0, Option, u"Alt+A"_qs, u"⌥A"_qs},
        {40, Shift | Command, u"Shift+Super+K"_qs, u"⇧⌘K"_qs},
        {49, Command | Shift | Option | Control, u"Ctrl+Alt+Shift+Super+Space"_qs, u"⌃⌥⇧⌘Space"_qs},
        {105, Control, u"Ctrl+?"_qs, u"⌃?"_qs},
        {0, Shift | 0x10000 /* caps lock */, u"Shift+A"_qs, u"⇧A"_qs},
    };
    for (const auto& [code, modifiers, pc, mac] : rows) {
        EXPECT_EQ(shortcutDisplayText(code, qint64(modifiers), KeyNaming::Pc), pc);
        EXPECT_EQ(shortcutDisplayText(code, qint64(modifiers), KeyNaming::Mac), mac);
    }
}
