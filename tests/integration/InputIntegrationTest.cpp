#include "DesktopFixture.h"

#include "platform/HotKeys.h"
#include "platform/InputMonitor.h"

#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdio>

namespace valimbra::testing {
namespace {

constexpr int kVirtualC = 8;
constexpr int kVirtualK = 40;
constexpr int kVirtualControl = 59;

class InputTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        if (HasFatalFailure())
            return;
        // Another client has the focus, so global monitors are the ones that see keys.
        ASSERT_TRUE(xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                             QString::number(term1Window)}));
    }
    void TearDown() override {
        if (HasFailure())
            for (const InputEvent& e : std::as_const(events))
                std::fprintf(stderr, "event type %d key %d flags %llx chars '%s'\n", int(e.type),
                             e.keyCode, static_cast<unsigned long long>(e.modifierFlags),
                             qPrintable(e.characters));
        for (MonitorToken t : std::as_const(tokens))
            backend->input().removeMonitor(t);
        DesktopTest::TearDown();
    }
    MonitorToken global(quint64 mask) {
        const MonitorToken t = backend->input().addGlobalMonitor(
            mask, [this](const InputEvent& e) { events.append(e); });
        tokens.append(t);
        return t;
    }
    QList<InputEvent> events;
    QList<MonitorToken> tokens;
};

TEST_F(InputTest, HoldingControlAloneReportsTheFlagChanges) {
    ASSERT_NE(global(EventMask::FlagsChanged | EventMask::KeyDown), 0u);
    ASSERT_TRUE(xdotool({QStringLiteral("keydown"), QStringLiteral("ctrl")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return !events.isEmpty(); }));
    EXPECT_EQ(events.first().type, InputEventType::FlagsChanged);
    EXPECT_EQ(events.first().modifierFlags & ModifierFlag::DeviceIndependentMask,
              ModifierFlag::Control);
    EXPECT_EQ(events.first().keyCode, kVirtualControl);
    EXPECT_EQ(backend->input().currentModifierFlags() & ModifierFlag::DeviceIndependentMask,
              ModifierFlag::Control);

    ASSERT_TRUE(xdotool({QStringLiteral("keyup"), QStringLiteral("ctrl")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return events.size() >= 2; }));
    ASSERT_TRUE(barrier->sync());
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events.last().type, InputEventType::FlagsChanged);
    EXPECT_EQ(events.last().modifierFlags & ModifierFlag::DeviceIndependentMask, 0u);
    EXPECT_EQ(backend->input().currentModifierFlags() & ModifierFlag::DeviceIndependentMask, 0u);
}

TEST_F(InputTest, ControlCIsAKeyDownWithControl) {
    ASSERT_NE(global(EventMask::FlagsChanged | EventMask::KeyDown), 0u);
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("ctrl+c")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return events.size() >= 3; }));
    ASSERT_TRUE(barrier->sync());
    // Control down, C down with Control, Control up; key-ups of ordinary keys are not events.
    ASSERT_EQ(events.size(), 3);
    EXPECT_EQ(events[0].type, InputEventType::FlagsChanged);
    EXPECT_EQ(events[1].type, InputEventType::KeyDown);
    EXPECT_EQ(events[1].keyCode, kVirtualC);
    EXPECT_EQ(events[1].characters, QStringLiteral("c"));
    EXPECT_EQ(events[1].modifierFlags & ModifierFlag::DeviceIndependentMask, ModifierFlag::Control);
    EXPECT_EQ(events[2].type, InputEventType::FlagsChanged);
    EXPECT_EQ(events[2].modifierFlags & ModifierFlag::DeviceIndependentMask, 0u);
}

TEST_F(InputTest, ShiftedKeysCarryShiftedCharactersAndMasksFilterEvents) {
    ASSERT_NE(global(EventMask::KeyDown), 0u);
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("shift+k"), QStringLiteral("5")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return events.size() >= 2; }));
    ASSERT_TRUE(barrier->sync());
    ASSERT_EQ(events.size(), 2); // no flags-changed events for this mask
    EXPECT_EQ(events[0].keyCode, kVirtualK);
    EXPECT_EQ(events[0].characters, QStringLiteral("K"));
    EXPECT_EQ(events[0].modifierFlags & ModifierFlag::DeviceIndependentMask, ModifierFlag::Shift);
    EXPECT_EQ(events[1].keyCode, 23); // the 5 key
    EXPECT_EQ(events[1].characters, QStringLiteral("5"));
}

TEST_F(InputTest, MouseButtonsAreNumberedFromZero) {
    ASSERT_NE(global(EventMask::OtherMouseDown | EventMask::LeftMouseDown), 0u);
    ASSERT_TRUE(xdotool({QStringLiteral("mousemove"), QStringLiteral("600"), QStringLiteral("400"),
                         QStringLiteral("click"), QStringLiteral("2"), QStringLiteral("click"),
                         QStringLiteral("3"), QStringLiteral("click"), QStringLiteral("1")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return events.size() >= 2; }));
    ASSERT_TRUE(barrier->sync());
    ASSERT_EQ(events.size(), 2); // the right button is not in the mask
    EXPECT_EQ(events[0].type, InputEventType::OtherMouseDown);
    EXPECT_EQ(events[0].buttonNumber, 2);
    EXPECT_EQ(events[0].position.toPoint(), QPoint(600, 400));
    EXPECT_EQ(events[1].type, InputEventType::LeftMouseDown);
    EXPECT_EQ(events[1].buttonNumber, 0);
}

TEST_F(InputTest, OwnWindowKeysGoToLocalMonitorsOnly) {
    ASSERT_NE(global(EventMask::KeyDown | EventMask::FlagsChanged), 0u);
    QList<InputEvent> local;
    int swallowed = 0;
    const MonitorToken t =
        backend->input().addLocalMonitor(EventMask::KeyDown | EventMask::FlagsChanged,
                                         [&](const InputEvent& e) -> std::optional<InputEvent> {
                                             local.append(e);
                                             if (e.keyCode == kVirtualK) {
                                                 ++swallowed;
                                                 return std::nullopt;
                                             }
                                             return e;
                                         });
    tokens.append(t);

    QWindow window;
    window.resize(200, 120);
    window.show();
    window.requestActivate();
    ASSERT_TRUE(XSession::waitUntil([&] { return QGuiApplication::focusWindow() == &window; }));
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("ctrl+k"), QStringLiteral("c")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return local.size() >= 4; }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(events.isEmpty()) << "a global monitor saw a key meant for our own window";
    ASSERT_EQ(local.size(), 4);
    EXPECT_EQ(local[0].type, InputEventType::FlagsChanged);
    EXPECT_EQ(local[0].modifierFlags & ModifierFlag::DeviceIndependentMask, ModifierFlag::Control);
    EXPECT_EQ(local[1].keyCode, kVirtualK);
    EXPECT_EQ(local[1].modifierFlags & ModifierFlag::DeviceIndependentMask, ModifierFlag::Control);
    EXPECT_EQ(local[1].window, &window);
    EXPECT_EQ(local[2].type, InputEventType::FlagsChanged);
    EXPECT_EQ(local[2].modifierFlags & ModifierFlag::DeviceIndependentMask, 0u);
    EXPECT_EQ(local[3].keyCode, kVirtualC);
    EXPECT_EQ(local[3].characters, QStringLiteral("c"));
    EXPECT_EQ(swallowed, 1);
}

using HotKeyTest = DesktopTest;

TEST_F(HotKeyTest, PressingTheCombinationCallsHandlersNewestFirst) {
    HotKeys& hotKeys = backend->hotKeys();
    QList<QString> calls;
    const HotKeyHandlerRef older = hotKeys.installHandler([&](const HotKeyId& id) {
        calls.append(QStringLiteral("older:%1").arg(id.id));
        return HotKeyStatus::NoErr;
    });
    const HotKeyHandlerRef newer = hotKeys.installHandler([&](const HotKeyId& id) {
        calls.append(QStringLiteral("newer:%1").arg(id.id));
        return HotKeyStatus::EventNotHandled;
    });
    HotKeyRef ref = 0;
    ASSERT_EQ(hotKeys.registerHotKey(kVirtualK, CarbonModifier::Cmd | CarbonModifier::Shift,
                                     HotKeyId{0x4B575A52, 99}, &ref),
              HotKeyStatus::NoErr);
    EXPECT_NE(ref, 0u);
    // Registering the same combination twice in this process is refused as well.
    HotKeyRef twice = 7;
    EXPECT_EQ(hotKeys.registerHotKey(kVirtualK, CarbonModifier::Cmd | CarbonModifier::Shift,
                                     HotKeyId{0x4B575A52, 98}, &twice),
              HotKeyStatus::HotKeyExists);
    EXPECT_EQ(twice, 0u);

    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("super+shift+k")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return calls.size() >= 2; }));
    EXPECT_EQ(calls, (QList<QString>{QStringLiteral("newer:99"), QStringLiteral("older:99")}));

    // Num Lock on: the grab still matches.
    calls.clear();
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("Num_Lock")}));
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("super+shift+k")}));
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("Num_Lock")}));
    ASSERT_TRUE(XSession::waitUntil([&] { return calls.size() >= 2; }));

    // Unregistered: the combination reaches the focused window again, no handler runs.
    hotKeys.unregisterHotKey(ref);
    calls.clear();
    ASSERT_TRUE(xdotool({QStringLiteral("key"), QStringLiteral("super+shift+k")}));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(calls.isEmpty());
    hotKeys.removeHandler(newer);
    hotKeys.removeHandler(older);
}

TEST_F(HotKeyTest, ACombinationAnotherClientHoldsIsRefusedAndLeavesNothingGrabbed) {
    // A second client takes Control+Option+F5 first.
    xcb_connection_t* other = xcb_connect(s->display().toLatin1().constData(), nullptr);
    ASSERT_FALSE(xcb_connection_has_error(other));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
    const xcb_keycode_t f5 = 63 + 8;
    const quint16 mods = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;
    xcb_generic_error_t* err =
        xcb_request_check(other, xcb_grab_key_checked(other, 1, root, mods | XCB_MOD_MASK_LOCK, f5,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    ASSERT_EQ(err, nullptr);

    HotKeyRef ref = 5;
    EXPECT_EQ(backend->hotKeys().registerHotKey(96,
                                                CarbonModifier::Control | CarbonModifier::Option,
                                                HotKeyId{0x4B575A52, 99}, &ref),
              HotKeyStatus::HotKeyExists);
    EXPECT_EQ(ref, 0u);

    // Nothing of ours stayed grabbed: the other client can take every variant.
    xcb_ungrab_key(other, f5, root, mods | XCB_MOD_MASK_LOCK);
    for (const quint16 variant : std::initializer_list<quint16>{
             0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2}) {
        err = xcb_request_check(other,
                                xcb_grab_key_checked(other, 1, root, quint16(mods | variant), f5,
                                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        EXPECT_EQ(err, nullptr) << "variant " << variant << " is still grabbed";
        free(err);
    }
    xcb_disconnect(other);

    // Once the other client is gone the combination can be registered.
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(backend->hotKeys().registerHotKey(96,
                                                CarbonModifier::Control | CarbonModifier::Option,
                                                HotKeyId{0x4B575A52, 99}, &ref),
              HotKeyStatus::NoErr);
    backend->hotKeys().unregisterHotKey(ref);
}

} // namespace
} // namespace valimbra::testing
