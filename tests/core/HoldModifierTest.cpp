#include "core/HoldModifier.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

#include <QSet>

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
        const Row& row = rows[i];
        EXPECT_EQ(allHoldModifiers[i], row.modifier) << "settings list order";
        EXPECT_EQ(holdModifierRawValue(row.modifier), row.raw);
        EXPECT_EQ(holdModifierFromRaw(row.raw), row.modifier);
        EXPECT_EQ(holdModifierFlag(row.modifier), row.flag);
        EXPECT_EQ(holdModifierLabel(row.modifier), row.label);
    }
    EXPECT_EQ(defaultHoldModifier, HoldModifier::control);
    EXPECT_EQ(QSet<HoldModifier>(allHoldModifiers.begin(), allHoldModifiers.end()).size(), 3);
}

TEST(HoldModifier, FromRawAcceptsOnlyTheExactStrings) {
    for (const QString& raw : {u"Control"_qs, u"CONTROL"_qs, u"ctrl"_qs, u" control"_qs,
                               u"shift"_qs, u"alt"_qs, QString()})
        EXPECT_FALSE(holdModifierFromRaw(raw).has_value()) << raw.toStdString();
}
