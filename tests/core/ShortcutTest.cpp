#include "core/HotKeyRegistration.h"
#include "platform/InputMonitor.h"
#include "platform/fake/FakeHotKeys.h"
#include "platform/fake/FakeScheduler.h"

#include <gtest/gtest.h>

#include <memory>

using namespace valimbra;

namespace {

TEST(CarbonModifiers, KeepTheFourModifiersAndDropEverythingElse) {
    // Singly; command + shift, also with Caps Lock; all four; Caps Lock, keypad and function.
    // clang-format off
    const std::pair<qint64, quint32> table[] = {
        {0, 0}, {0x100000, 0x100}, {0x20000, 0x200}, {0x80000, 0x800}, {0x40000, 0x1000},
        {0x120000, 0x300}, {0x130000, 0x300}, {0x1E0000, 0x1B00}, {0xA10000, 0},
        {0x7FFF'FFFF'FFFF'FFFF, 0x1B00}};
    // clang-format on
    for (const auto& [flags, carbon] : table)
        EXPECT_EQ(carbonModifiers(flags), carbon) << std::hex << flags;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(carbonModifiers(-1), "\\[Valimbra\\] .*negative");
}

class HotKeyRegistrationTest : public ::testing::Test {
protected:
    HotKeyRegistrationTest() {
        registration->onPressed = [this] { ++presses; };
    }

    QStringList journal; // outlives the fakes that write to it
    FakeScheduler scheduler;
    FakeHotKeys hotKeys;
    std::unique_ptr<HotKeyRegistration> registration =
        std::make_unique<HotKeyRegistration>(hotKeys, scheduler);
    int presses = 0;
};

TEST_F(HotKeyRegistrationTest, RegistersTheConvertedCombinationAndPressesOnALaterTurn) {
    hotKeys.setJournal(&journal);
    registration->registerHotKey(49, 0x120000); // Command-Shift-Space
    // Again with Caps Lock on: the same combination, which must not collide with itself.
    registration->registerHotKey(49, 0x130000);
    EXPECT_EQ(journal, (QStringList{u"hotkeys.installHandler"_qs, u"hotkeys.register"_qs,
                                    u"hotkeys.unregister"_qs, u"hotkeys.removeHandler"_qs,
                                    u"hotkeys.installHandler"_qs, u"hotkeys.register"_qs}));
    ASSERT_EQ(hotKeys.registrations().size(), 1u);
    EXPECT_EQ(hotKeys.registrations().front().keyCode, 49u);
    EXPECT_EQ(hotKeys.registrations().front().carbonModifiers, 0x300u);
    EXPECT_EQ(hotKeys.handlerCount(), 1);
    EXPECT_EQ(registration->state(), HotKeyRegistration::State::Registered);

    EXPECT_EQ(hotKeys.press(49, 0x300), HotKeyStatus::NoErr);
    EXPECT_EQ(presses, 0) << "the shortcut ran inside the platform's dispatch";
    scheduler.runPending();
    EXPECT_EQ(presses, 1);

    // Destruction leaves nothing behind and drops a pending press.
    hotKeys.press(49, 0x300);
    registration.reset();
    EXPECT_EQ(hotKeys.handlerCount(), 0);
    EXPECT_TRUE(hotKeys.registrations().empty());
    scheduler.runPending();
    EXPECT_EQ(presses, 1);
}

// Another client holds the combination: one line says so, and the handler stays until the
// next change.
TEST_F(HotKeyRegistrationTest, TakenCombinationPrintsOneLineAndKeepsTheHandler) {
    hotKeys.refuseCombination(49, 0x300);
    testing::internal::CaptureStdout();
    registration->registerHotKey(49, 0x120000);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[Valimbra] RegisterEventHotKey failed: OSStatus -9878. Shortcut may conflict "
              "with a system shortcut.\n");
    EXPECT_EQ(hotKeys.handlerCount(), 1);
    EXPECT_TRUE(hotKeys.registrations().empty());
    EXPECT_EQ(registration->state(), HotKeyRegistration::State::Failed);

    registration->unregisterHotKey();
    EXPECT_EQ(hotKeys.handlerCount(), 0);
    EXPECT_EQ(hotKeys.strayRemovals(), 0) << "no hot key was there to unregister";
    EXPECT_EQ(registration->state(), HotKeyRegistration::State::Off);
}

TEST_F(HotKeyRegistrationTest, ForeignIdIsPassedOnToOlderHandlers) {
    int foreign = 0;
    hotKeys.installHandler([&](const HotKeyId& id) {
        return id.id == 7 && ++foreign ? HotKeyStatus::NoErr : HotKeyStatus::EventNotHandled;
    });
    registration->registerHotKey(0, 0x40000);
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

} // namespace
