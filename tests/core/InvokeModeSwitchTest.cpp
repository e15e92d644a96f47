#include "core/InvokeModeSwitch.h"
#include "core/HoldKeyMonitor.h"
#include "core/HotKeyRegistration.h"
#include "platform/fake/FakeHotKeys.h"
#include "platform/fake/FakeInputMonitor.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

using namespace valimbra;
using namespace std::chrono_literals;
using Path = InvokeModeSwitch::Path;

namespace {

class InvokeModeFixture {
protected:
    void write(std::optional<QString> mode, std::optional<qint64> keyCode,
               std::optional<qint64> modifiers = std::nullopt) {
        if (mode)
            settings.setString(InvokeModeSwitch::invokeModeKey, *mode);
        if (keyCode)
            settings.setInteger(InvokeModeSwitch::recordedKeyCodeKey, *keyCode);
        if (modifiers)
            settings.setInteger(InvokeModeSwitch::recordedModifiersKey, *modifiers);
    }

    QStringList journal; // outlives the fakes that write to it
    MemorySettingsStore settings;
    FakeScheduler scheduler;
    FakeInputMonitor input;
    FakeHotKeys hotKeys;
    HoldKeyMonitor hold{input, scheduler};
    HotKeyRegistration hotKey{hotKeys, scheduler};
    InvokeModeSwitch invokeMode{settings, hold, hotKey};
};

struct Row {
    std::string name;
    std::optional<QString> mode; // nothing: never written
    std::optional<qint64> keyCode;
    Path path;
    quint32 registeredKeyCode = 0;
};
void PrintTo(const Row& row, std::ostream* os) {
    *os << row.name;
}

class InvokeModeTable : public InvokeModeFixture, public ::testing::TestWithParam<Row> {};

TEST_P(InvokeModeTable, ExactlyOnePathIsLive) {
    const Row& row = GetParam();
    write(row.mode, row.keyCode, 0x120000);
    invokeMode.apply();
    EXPECT_EQ(invokeMode.activePath(), row.path);
    if (row.path == Path::Hold) {
        EXPECT_EQ(hold.installedMonitorCount(), 4);
        EXPECT_EQ(hotKeys.handlerCount(), 0);
        EXPECT_TRUE(hotKeys.registrations().empty());
    } else {
        EXPECT_EQ(input.installedCount(), 0);
        ASSERT_EQ(hotKeys.registrations().size(), 1u);
        EXPECT_EQ(hotKeys.registrations().front().keyCode, row.registeredKeyCode);
        EXPECT_EQ(hotKeys.registrations().front().carbonModifiers, 0x300u);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Modes, InvokeModeTable,
    ::testing::Values(
        Row{"NothingStored", std::nullopt, std::nullopt, Path::Hold},
        Row{"HoldWithARecordedKey", u"hold"_qs, 49, Path::Hold},
        Row{"ShortcutWithoutRecording", u"shortcut"_qs, -1, Path::Hold},
        Row{"ShortcutWithKeyCodeZero", u"shortcut"_qs, 0, Path::Shortcut, 0},
        Row{"ShortcutWithSpace", u"shortcut"_qs, 49, Path::Shortcut, 49},
        // A missing key code reads as 0, which is a real key.
        Row{"ShortcutWithMissingKeyCode", u"shortcut"_qs, std::nullopt, Path::Shortcut, 0},
        Row{"LargestKeyCode", u"shortcut"_qs, 4294967295LL, Path::Shortcut, 4294967295u},
        Row{"ModeIsCaseSensitive", u"Shortcut"_qs, 49, Path::Hold},
        Row{"UnknownModeMeansHold", u"gesture"_qs, 49, Path::Hold}),
    [](const auto& info) { return info.param.name; });

class InvokeModeSwitchTest : public InvokeModeFixture, public ::testing::Test {};

TEST_F(InvokeModeSwitchTest, SwitchingToHoldRemovesTheHotKeyBeforeTheMonitorStarts) {
    write(u"shortcut"_qs, 49, 0x120000);
    invokeMode.apply();
    ASSERT_EQ(hotKey.state(), HotKeyRegistration::State::Registered);

    input.setJournal(&journal);
    hotKeys.setJournal(&journal);
    write(u"hold"_qs, std::nullopt);
    invokeMode.apply();
    EXPECT_EQ(journal, (QStringList{u"hotkeys.unregister"_qs, u"hotkeys.removeHandler"_qs,
                                    u"input.addGlobal"_qs, u"input.addLocal"_qs,
                                    u"input.addGlobal"_qs, u"input.addLocal"_qs}));
    EXPECT_EQ(hotKey.state(), HotKeyRegistration::State::Off);
}

TEST_F(InvokeModeSwitchTest, SwitchingToShortcutEndsAHoldBeforeRegistering) {
    int released = 0;
    hold.onReleased = [&] { ++released; };
    invokeMode.apply();
    input.pressModifier(ModifierFlag::Control);
    scheduler.advance(280ms);
    ASSERT_TRUE(hold.isHeld());

    input.setJournal(&journal);
    hotKeys.setJournal(&journal);
    write(u"shortcut"_qs, 49, 0x120000);
    invokeMode.apply();
    EXPECT_EQ(journal, (QStringList{u"input.remove"_qs, u"input.remove"_qs, u"input.remove"_qs,
                                    u"input.remove"_qs, u"hotkeys.installHandler"_qs,
                                    u"hotkeys.register"_qs}));
    scheduler.runPending();
    EXPECT_EQ(released, 1);
}

TEST_F(InvokeModeSwitchTest, FailedShortcutIsCleanedUpWhenHoldReturns) {
    hotKeys.refuseCombination(49, 0x300);
    write(u"shortcut"_qs, 49, 0x120000);
    testing::internal::CaptureStdout();
    invokeMode.apply();
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    ASSERT_EQ(hotKey.state(), HotKeyRegistration::State::Failed);

    write(u"hold"_qs, std::nullopt);
    invokeMode.apply();
    EXPECT_EQ(hotKeys.handlerCount(), 0);
    EXPECT_EQ(hotKeys.strayRemovals(), 0);
    EXPECT_EQ(hold.installedMonitorCount(), 4);
}

TEST_F(InvokeModeSwitchTest, ReactsToTheThreeInvokeSettingsOnly) {
    for (const QString& key : {u"valimbra.invokeMode"_qs, u"valimbra.recordedKeyCode"_qs,
                               u"valimbra.recordedModifiers"_qs})
        EXPECT_TRUE(InvokeModeSwitch::isInvokeSetting(key)) << key.toStdString();
    for (const QString& key : {u"valimbra.holdModifier"_qs, u"valimbra.invokemode"_qs})
        EXPECT_FALSE(InvokeModeSwitch::isInvokeSetting(key)) << key.toStdString();
}

TEST_F(InvokeModeSwitchTest, CorruptShortcutSettingsAreFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    write(u"shortcut"_qs, 4294967296LL, 0);
    EXPECT_DEATH(invokeMode.apply(), "\\[Valimbra\\] Recorded key code 4294967296");
    write(std::nullopt, 49, -1);
    EXPECT_DEATH(invokeMode.apply(), "\\[Valimbra\\] .*negative");
}

} // namespace
