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
    // std::nullopt leaves that setting unwritten.
    void write(std::optional<QString> mode, std::optional<qint64> keyCode,
               qint64 modifiers = 0x120000) {
        if (mode)
            settings.setString(InvokeModeSwitch::invokeModeKey, *mode);
        if (keyCode)
            settings.setInteger(InvokeModeSwitch::recordedKeyCodeKey, *keyCode);
        settings.setInteger(InvokeModeSwitch::recordedModifiersKey, modifiers);
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
    std::optional<QString> mode;
    std::optional<qint64> keyCode;
    Path path;
    quint32 registeredKeyCode = 0;
    friend void PrintTo(const Row& row, std::ostream* os) { *os << row.name; }
};

class InvokeModeTable : public InvokeModeFixture, public ::testing::TestWithParam<Row> {};

TEST_P(InvokeModeTable, ExactlyOnePathIsLive) {
    const Row& row = GetParam();
    write(row.mode, row.keyCode);
    invokeMode.apply();
    EXPECT_EQ(invokeMode.activePath(), row.path);
    const bool holds = row.path == Path::Hold;
    EXPECT_EQ(input.installedCount(), holds ? 4 : 0);
    EXPECT_EQ(hotKeys.handlerCount(), holds ? 0 : 1);
    ASSERT_EQ(hotKeys.registrations().size(), holds ? 0u : 1u);
    if (!holds) {
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
        // A missing key code reads as 0, which is a real key.
        Row{"ShortcutWithMissingKeyCode", u"shortcut"_qs, std::nullopt, Path::Shortcut, 0},
        Row{"LargestKeyCode", u"shortcut"_qs, 4294967295LL, Path::Shortcut, 4294967295u},
        Row{"ModeIsCaseSensitive", u"Shortcut"_qs, 49, Path::Hold}),
    [](const auto& info) { return info.param.name; });

class InvokeModeSwitchTest : public InvokeModeFixture, public ::testing::Test {};

// Each switch tears the old path down completely before the new one starts.
TEST_F(InvokeModeSwitchTest, SwitchingEndsTheOldPathBeforeStartingTheNew) {
    int released = 0;
    hold.onReleased = [&] { ++released; };
    invokeMode.apply();
    input.pressModifier(ModifierFlag::Control);
    scheduler.advance(280ms);
    ASSERT_TRUE(hold.isHeld());

    input.setJournal(&journal);
    hotKeys.setJournal(&journal);
    write(u"shortcut"_qs, 49);
    invokeMode.apply();
    scheduler.runPending();
    EXPECT_EQ(released, 1);
    write(u"hold"_qs, std::nullopt);
    invokeMode.apply();
    EXPECT_EQ(
        journal,
        (QStringList{u"input.remove"_qs, u"input.remove"_qs, u"input.remove"_qs, u"input.remove"_qs,
                     u"hotkeys.installHandler"_qs, u"hotkeys.register"_qs, u"hotkeys.unregister"_qs,
                     u"hotkeys.removeHandler"_qs, u"input.addGlobal"_qs, u"input.addLocal"_qs,
                     u"input.addGlobal"_qs, u"input.addLocal"_qs}));
    EXPECT_EQ(hotKey.state(), HotKeyRegistration::State::Off);
}

TEST_F(InvokeModeSwitchTest, CorruptShortcutSettingsAreFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    write(u"shortcut"_qs, 4294967296LL, 0);
    EXPECT_DEATH(invokeMode.apply(), "\\[Valimbra\\] Recorded key code 4294967296");
    write(std::nullopt, 49, -1);
    EXPECT_DEATH(invokeMode.apply(), "\\[Valimbra\\] .*negative");
}

} // namespace
