#include "core/HoldModifier.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace valimbra;

// The raw strings are what the settings file holds; only they read back, exactly.
TEST(HoldModifier, RawValuesRoundTripAndMapToTheirFlags) {
    const std::tuple<HoldModifier, QString, quint64> rows[] = {
        {HoldModifier::option, u"option"_qs, ModifierFlag::Option},
        {HoldModifier::control, u"control"_qs, ModifierFlag::Control},
        {HoldModifier::command, u"command"_qs, ModifierFlag::Command},
    };
    for (const auto& [modifier, raw, flag] : rows) {
        EXPECT_EQ(holdModifierRawValue(modifier), raw);
        EXPECT_EQ(holdModifierFromRaw(raw), modifier);
        EXPECT_EQ(holdModifierFlag(modifier), flag);
    }
    for (const char* raw : {"Control", "CONTROL", "ctrl", " control", "shift", "alt", ""})
        EXPECT_FALSE(holdModifierFromRaw(QString::fromUtf8(raw)).has_value()) << raw;
}
