#include "core/HotKeyRegistration.h"
#include "core/ShortcutManager.h"
#include "platform/InputMonitor.h"
#include "platform/fake/FakeHotKeys.h"
#include "platform/fake/FakeScheduler.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

using namespace valimbra;

namespace {

struct Conversion {
    qint64 flags;
    quint32 carbon;
};
class CarbonModifierConversion : public ::testing::TestWithParam<Conversion> {};

TEST_P(CarbonModifierConversion, KeepsTheFourModifiersAndDropsEverythingElse) {
    EXPECT_EQ(carbonModifiers(GetParam().flags), GetParam().carbon);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CarbonModifierConversion,
    ::testing::Values(Conversion{0, 0}, Conversion{0x100000, 0x100}, Conversion{0x20000, 0x200},
                      Conversion{0x80000, 0x800}, Conversion{0x40000, 0x1000},
                      Conversion{0x120000, 0x300},  // command + shift
                      Conversion{0x130000, 0x300},  // ... with Caps Lock
                      Conversion{0x1E0000, 0x1B00}, // all four
                      Conversion{0xA10000, 0},      // Caps Lock, numeric pad, function
                      Conversion{0x7FFF'FFFF'FFFF'FFFF, 0x1B00}));

TEST(CarbonModifierConversionDeath, NegativeStoredValueIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(carbonModifiers(-1), "\\[Valimbra\\] .*negative");
}

class HotKeyRegistrationTest : public ::testing::Test {
protected:
    HotKeyRegistrationTest() {
        registration.onPressed = [this] { ++presses; };
    }

    QStringList journal; // outlives the fakes that write to it
    FakeScheduler scheduler;
    FakeHotKeys hotKeys;
    HotKeyRegistration registration{hotKeys, scheduler};
    int presses = 0;
};

TEST_F(HotKeyRegistrationTest, RegistersConvertedCombinationAndPressesOnALaterTurn) {
    registration.registerHotKey(49, 0x120000); // Command-Shift-Space
    ASSERT_EQ(hotKeys.registrations().size(), 1u);
    const FakeHotKeys::Registration r = hotKeys.registrations().front();
    EXPECT_EQ(r.keyCode, 49u);
    EXPECT_EQ(r.carbonModifiers, 0x300u);
    EXPECT_EQ(r.id.signature, 0x4B575A52u);
    EXPECT_EQ(r.id.id, 99u);
    EXPECT_EQ(registration.customHotKeyRef(), r.ref);
    EXPECT_TRUE(hotKeys.hasHandler(registration.customHotKeyHandler()));
    EXPECT_EQ(registration.state(), HotKeyRegistration::State::Registered);

    EXPECT_EQ(hotKeys.press(49, 0x300), HotKeyStatus::NoErr);
    EXPECT_EQ(presses, 0) << "the shortcut ran inside the platform's dispatch";
    scheduler.runPending();
    EXPECT_EQ(presses, 1);
}

TEST_F(HotKeyRegistrationTest, CapsLockBitDoesNotChangeTheCombination) {
    registration.registerHotKey(49, 0x130000);
    ASSERT_EQ(hotKeys.registrations().size(), 1u);
    EXPECT_EQ(hotKeys.registrations().front().carbonModifiers, 0x300u);
}

TEST_F(HotKeyRegistrationTest, TakenCombinationPrintsOneLineAndKeepsTheHandler) {
    hotKeys.refuseCombination(49, 0x300);
    testing::internal::CaptureStdout();
    registration.registerHotKey(49, 0x120000);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "[Valimbra] RegisterEventHotKey failed: OSStatus -9878. Shortcut may conflict "
                   "with a system shortcut.\n");
    EXPECT_EQ(registration.customHotKeyRef(), 0u);
    EXPECT_NE(registration.customHotKeyHandler(), 0u);
    EXPECT_EQ(hotKeys.handlerCount(), 1);
    EXPECT_TRUE(hotKeys.registrations().empty());
    EXPECT_EQ(registration.state(), HotKeyRegistration::State::Failed);

    registration.unregisterHotKey();
    EXPECT_EQ(hotKeys.handlerCount(), 0);
    EXPECT_EQ(hotKeys.strayRemovals(), 0) << "no hot key was there to unregister";
    EXPECT_EQ(registration.state(), HotKeyRegistration::State::Off);
}

TEST_F(HotKeyRegistrationTest, ForeignIdIsPassedOnToOlderHandlers) {
    int foreign = 0;
    hotKeys.installHandler([&](const HotKeyId& id) {
        if (id.id != 7)
            return HotKeyStatus::EventNotHandled;
        ++foreign;
        return HotKeyStatus::NoErr;
    });
    registration.registerHotKey(0, 0x40000);
    EXPECT_EQ(hotKeys.deliver({0x4B575A52, 7}), HotKeyStatus::NoErr);
    EXPECT_EQ(hotKeys.deliver({0x4B575A52, 8}), HotKeyStatus::EventNotHandled);
    scheduler.runPending();
    EXPECT_EQ(foreign, 1);
    EXPECT_EQ(presses, 0);
    // Only the id identifies ours; the signature is not checked.
    EXPECT_EQ(hotKeys.deliver({0, 99}), HotKeyStatus::NoErr);
    scheduler.runPending();
    EXPECT_EQ(presses, 1);
}

TEST_F(HotKeyRegistrationTest, RegisteringAgainTearsDownFirst) {
    hotKeys.setJournal(&journal);
    registration.registerHotKey(49, 0x120000);
    registration.registerHotKey(49, 0x120000); // the same combination again must not collide
    EXPECT_EQ(journal, (QStringList{u"hotkeys.installHandler"_qs, u"hotkeys.register"_qs,
                                    u"hotkeys.unregister"_qs, u"hotkeys.removeHandler"_qs,
                                    u"hotkeys.installHandler"_qs, u"hotkeys.register"_qs}));
    EXPECT_EQ(registration.state(), HotKeyRegistration::State::Registered);
    EXPECT_EQ(hotKeys.handlerCount(), 1);
    EXPECT_EQ(hotKeys.registrations().size(), 1u);

    EXPECT_EQ(hotKeys.press(49, 0x300), HotKeyStatus::NoErr);
    scheduler.runPending();
    EXPECT_EQ(presses, 1) << "a stale handler answered too";
}

TEST_F(HotKeyRegistrationTest, DestructionLeavesNothingBehindAndDropsAPendingPress) {
    auto owned = std::make_unique<HotKeyRegistration>(hotKeys, scheduler);
    owned->onPressed = [this] { ++presses; };
    owned->registerHotKey(49, 0);
    hotKeys.press(49, 0);
    owned.reset();
    EXPECT_EQ(hotKeys.handlerCount(), 0);
    EXPECT_TRUE(hotKeys.registrations().empty());
    scheduler.runPending();
    EXPECT_EQ(presses, 0);
}

TEST(ShortcutManager, StartsEmptyAndNotifiesOnlyOnChange) {
    ShortcutManager manager;
    EXPECT_TRUE(manager.shortcuts().isEmpty());
    QSignalSpy spy(&manager, &ShortcutManager::shortcutsChanged);
    const QList<ShortcutEntry> list{{u"Terminal"_qs, u"debian-xterm"_qs, u"#3FA8B8"_qs}};
    manager.setShortcuts(list);
    manager.setShortcuts(list);
    EXPECT_EQ(spy.count(), 1);
    EXPECT_EQ(manager.property("shortcuts").value<QList<ShortcutEntry>>(), list);
}

} // namespace
