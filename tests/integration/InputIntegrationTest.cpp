#include "DesktopFixture.h"

#include "platform/HotKeys.h"
#include "platform/InputMonitor.h"

#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

namespace valimbra::testing {
namespace {

constexpr int kVirtualK = 40;
constexpr quint64 Control = ModifierFlag::Control;

quint64 flags(quint64 modifierFlags) {
    return modifierFlags & ModifierFlag::DeviceIndependentMask;
}

QStringList words(const char* text) {
    return QString::fromUtf8(text).split(u' ');
}

// Each event as "<type> <virtual key> '<characters>' <modifier flags in hex>", joined by " | "
// (20000 is shift, 40000 control).
QString shown(const QList<InputEvent>& events) {
    static const char* const types[] = {"flags", "key", "left", "right", "other"};
    QStringList out;
    for (const InputEvent& e : events)
        out.append(u"%1 %2 '%3' %4"_qs.arg(QLatin1String(types[int(e.type)]))
                       .arg(e.keyCode)
                       .arg(e.characters)
                       .arg(flags(e.modifierFlags), 0, 16));
    return out.join(u" | ");
}

class InputTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        // Another client has the focus, so global monitors are the ones that see keys.
        ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(term1Window)}));
    }
    void TearDown() override {
        for (MonitorToken t : std::as_const(tokens))
            backend->input().removeMonitor(t);
        DesktopTest::TearDown();
    }
    void watchGlobally(quint64 mask) {
        tokens.append(backend->input().addGlobalMonitor(
            mask, [this](const InputEvent& e) { events.append(e); }));
        ASSERT_NE(tokens.last(), 0u);
    }
    // Runs xdotool, then waits until `count` events arrived and nothing more is on its way.
    ::testing::AssertionResult xdotoolExpecting(const char* args, qsizetype count,
                                                const QList<InputEvent>& seen) {
        const bool done = xdotool(words(args)) &&
                          XSession::waitUntil([&] { return seen.size() >= count; }) &&
                          barrier->sync() && seen.size() == count;
        if (done)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "xdotool " << args << ": " << qPrintable(shown(seen));
    }
    QList<InputEvent> events;
    QList<MonitorToken> tokens;
};

// What the hold monitor needs: Control alone is a flags change each way and Control+C a key-down
// with Control between them (key-ups of ordinary keys are no events), heard by global monitors
// while another client has the focus and only by local ones once our window has it.
TEST_F(InputTest, KeyEventsReachGlobalOrLocalMonitorsByFocus) {
    watchGlobally(EventMask::FlagsChanged | EventMask::KeyDown);
    QList<InputEvent> local;
    tokens.append(backend->input().addLocalMonitor(
        EventMask::KeyDown | EventMask::FlagsChanged,
        [&](const InputEvent& e) -> std::optional<InputEvent> {
            local.append(e);
            return e.keyCode == kVirtualK ? std::nullopt : std::optional(e); // swallowed
        }));
    ASSERT_TRUE(xdotoolExpecting("keydown ctrl", 1, events));
    EXPECT_EQ(flags(backend->input().currentModifierFlags()), Control);
    ASSERT_TRUE(xdotoolExpecting("keyup ctrl", 2, events));
    EXPECT_EQ(flags(backend->input().currentModifierFlags()), 0u);
    ASSERT_TRUE(xdotoolExpecting("key ctrl+c", 5, events));
    EXPECT_EQ(shown(events), u"flags 59 '' 40000 | flags 59 '' 0 | "
                             u"flags 59 '' 40000 | key 8 'c' 40000 | flags 59 '' 0"_qs);
    EXPECT_TRUE(local.isEmpty());

    QWindow window;
    window.resize(200, 120);
    window.show();
    window.requestActivate();
    ASSERT_TRUE(XSession::waitUntil([&] { return QGuiApplication::focusWindow() == &window; }));
    ASSERT_TRUE(xdotoolExpecting("key ctrl+k c", 4, local));
    EXPECT_EQ(events.size(), 5) << "a global monitor saw a key meant for our own window";
    EXPECT_EQ(shown(local),
              u"flags 59 '' 40000 | key 40 'k' 40000 | flags 59 '' 0 | key 8 'c' 0"_qs);
    EXPECT_EQ(local[1].window, &window);
}

// Only what the mask asks for: no flags changes, no right button.
TEST_F(InputTest, KeysCarryShiftedCharactersAndMouseButtonsCountFromZero) {
    watchGlobally(EventMask::KeyDown | EventMask::OtherMouseDown | EventMask::LeftMouseDown);
    ASSERT_TRUE(xdotoolExpecting("key shift+k 5", 2, events));
    EXPECT_EQ(shown(events), u"key 40 'K' 20000 | key 23 '5' 0"_qs);
    ASSERT_TRUE(xdotoolExpecting("mousemove 600 400 click 2 click 3 click 1", 4, events));
    EXPECT_EQ(events[2].type, InputEventType::OtherMouseDown);
    EXPECT_EQ(events[2].buttonNumber, 2);
    EXPECT_EQ(events[2].position.toPoint(), QPoint(600, 400));
    EXPECT_EQ(events[3].type, InputEventType::LeftMouseDown);
    EXPECT_EQ(events[3].buttonNumber, 0);
}

using HotKeyTest = DesktopTest;

TEST_F(HotKeyTest, PressingTheCombinationCallsHandlersNewestFirst) {
    HotKeys& hotKeys = backend->hotKeys();
    QStringList calls;
    const HotKeyHandlerRef older = hotKeys.installHandler([&](const HotKeyId& id) {
        calls.append(u"older:%1"_qs.arg(id.id));
        return HotKeyStatus::NoErr;
    });
    const HotKeyHandlerRef newer = hotKeys.installHandler([&](const HotKeyId& id) {
        calls.append(u"newer:%1"_qs.arg(id.id));
        return HotKeyStatus::EventNotHandled;
    });
    const quint32 cmdShift = CarbonModifier::Cmd | CarbonModifier::Shift;
    HotKeyRef ref = 0, twice = 7;
    ASSERT_EQ(hotKeys.registerHotKey(kVirtualK, cmdShift, {0x4B575A52, 99}, &ref),
              HotKeyStatus::NoErr);
    EXPECT_NE(ref, 0u);
    // The same combination again, in this process, is refused as well.
    EXPECT_EQ(hotKeys.registerHotKey(kVirtualK, cmdShift, {0x4B575A52, 98}, &twice),
              HotKeyStatus::HotKeyExists);
    EXPECT_EQ(twice, 0u);

    ASSERT_TRUE(xdotool(words("key super+shift+k")));
    ASSERT_TRUE(XSession::waitUntil([&] { return calls.size() >= 2; }));
    EXPECT_EQ(calls, (QStringList{u"newer:99"_qs, u"older:99"_qs}));
    // With Num Lock on the grab still matches.
    calls.clear();
    ASSERT_TRUE(xdotool(words("key Num_Lock super+shift+k Num_Lock")));
    ASSERT_TRUE(XSession::waitUntil([&] { return calls.size() >= 2; }));
    // Unregistered: no handler runs.
    hotKeys.unregisterHotKey(ref);
    calls.clear();
    ASSERT_TRUE(xdotool(words("key super+shift+k")));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(calls.isEmpty());
    hotKeys.removeHandler(newer);
    hotKeys.removeHandler(older);
}

TEST_F(HotKeyTest, ACombinationAnotherClientHoldsIsRefusedAndLeavesNothingGrabbed) {
    // A second client takes Control+Option+F5 (with Caps Lock) first.
    xcb_connection_t* other = xcb_connect(s->display().toLatin1().constData(), nullptr);
    ASSERT_FALSE(xcb_connection_has_error(other));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
    const xcb_keycode_t f5 = 63 + 8;
    const quint16 mods = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;
    const auto grab = [&](quint16 variant) {
        return xcb_request_check(other,
                                 xcb_grab_key_checked(other, 1, root, mods | variant, f5,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    };
    ASSERT_EQ(grab(XCB_MOD_MASK_LOCK), nullptr);
    const quint32 controlOption = CarbonModifier::Control | CarbonModifier::Option;
    HotKeyRef ref = 5;
    EXPECT_EQ(backend->hotKeys().registerHotKey(96, controlOption, {0x4B575A52, 99}, &ref),
              HotKeyStatus::HotKeyExists);
    EXPECT_EQ(ref, 0u);

    // Nothing of ours stayed grabbed: the other client can take every variant.
    xcb_ungrab_key(other, f5, root, mods | XCB_MOD_MASK_LOCK);
    for (const quint16 variant : std::initializer_list<quint16>{
             0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2}) {
        xcb_generic_error_t* err = grab(variant);
        EXPECT_EQ(err, nullptr) << "variant " << variant << " is still grabbed";
        free(err);
    }
    xcb_disconnect(other);
    // Once the other client is gone the combination can be registered.
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(backend->hotKeys().registerHotKey(96, controlOption, {0x4B575A52, 99}, &ref),
              HotKeyStatus::NoErr);
    backend->hotKeys().unregisterHotKey(ref);
}

} // namespace
} // namespace valimbra::testing
