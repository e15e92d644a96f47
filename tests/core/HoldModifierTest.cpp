#include "core/HoldModifier.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

using namespace valimbra;

TEST(HoldModifier, CasesRawValuesFlagsAndLabels) {
    struct Row {
        HoldModifier modifier;
        QString raw;
        quint64 flag;
        QString label;
    };
    const Row rows[] = {
        {HoldModifier::option, u"option"_qs, ModifierFlag::Option, u"⌥ Option"_qs},
        {HoldModifier::control, u"control"_qs, ModifierFlag::Control, u"⌃ Control"_qs},
        {HoldModifier::command, u"command"_qs, ModifierFlag::Command, u"⌘ Command"_qs},
    };
    ASSERT_EQ(allHoldModifiers.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(allHoldModifiers[i], rows[i].modifier) << "settings list order";
        EXPECT_EQ(holdModifierRawValue(rows[i].modifier), rows[i].raw);
        EXPECT_EQ(holdModifierFromRaw(rows[i].raw), rows[i].modifier);
        EXPECT_EQ(holdModifierFlag(rows[i].modifier), rows[i].flag);
        EXPECT_EQ(holdModifierLabel(rows[i].modifier), rows[i].label);
    }
    EXPECT_EQ(defaultHoldModifier, HoldModifier::control);
    // Only the exact strings.
    for (const char* raw : {"Control", "CONTROL", "ctrl", " control", "shift", "alt", ""})
        EXPECT_FALSE(holdModifierFromRaw(QString::fromUtf8(raw)).has_value()) << raw;
}
