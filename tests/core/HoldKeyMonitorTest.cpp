#include "core/HoldKeyMonitor.h"
#include "platform/fake/FakeInputMonitor.h"
#include "platform/fake/FakeScheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

using State = HoldKeyMonitor::State;
using enum HoldKeyMonitor::State;
using Log = std::vector<std::string>;
constexpr quint64 Ctrl = ModifierFlag::Control, Shift = ModifierFlag::Shift,
                  Opt = ModifierFlag::Option, Cmd = ModifierFlag::Command,
                  Caps = ModifierFlag::CapsLock, AltGr = ModifierFlag::OtherModifier;

// Another client has the focus unless a test says otherwise, so global monitors hear events.
class HoldKeyMonitorTest : public ::testing::Test {
public:
    HoldKeyMonitorTest() {
        monitor->onPressed = [this] { log.push_back("pressed"); };
        monitor->onReleased = [this] { log.push_back("released"); };
    }
    int count(const char* what) const { return int(std::count(log.begin(), log.end(), what)); }

    FakeScheduler scheduler;
    FakeInputMonitor input;
    std::unique_ptr<HoldKeyMonitor> monitor = std::make_unique<HoldKeyMonitor>(input, scheduler);
    Log log;
};

// One line of a scripted hold: what the user or the engine does, or what must hold by then.
using Step = std::function<void(HoldKeyMonitorTest&)>;
const auto down = [](quint64 f) -> Step { return [f](auto& t) { t.input.pressModifier(f); }; };
const auto up = [](quint64 f) -> Step { return [f](auto& t) { t.input.releaseModifier(f); }; };
// The key goes up but no event is heard (lost while the focus moved).
const auto silentUp = [](quint64 f) -> Step {
    return [f](auto& t) { t.input.setModifierFlagsSilently(t.input.currentModifierFlags() & ~f); };
};
const auto wait = [](int ms) -> Step { return [ms](auto& t) { t.scheduler.advance(ms * 1ms); }; };
const auto setModifier = [](HoldModifier m) -> Step {
    return [m](auto& t) { t.monitor->setModifier(m); };
};
const Step key = [](auto& t) { EXPECT_TRUE(t.input.typeKey(8, u"c"_qs)) << "key consumed"; };
const Step cancelHold = [](auto& t) { t.monitor->cancelHold(); };
const Step stop = [](auto& t) { t.monitor->stop(); };
const Step focusOurs = [](auto& t) { t.input.setFocusIsOurs(true); };
const Step restartRefusingGlobalMonitors = [](auto& t) {
    t.input.setRefusesGlobalMonitors(true);
    t.monitor->start();
    EXPECT_EQ(t.monitor->installedMonitorCount(), 2);
};
// Runs the step in the turn after the confirmation's, just before the press it posts.
const auto atConfirmation = [](Step s) -> Step {
    return [s](auto& t) {
        t.scheduler.postAfter(HoldKeyMonitor::debounceInterval, [s, &t] { s(t); });
    };
};
// Callback counts so far and the state now.
const auto expect = [](int pressed, int released, State state) -> Step {
    return [=](HoldKeyMonitorTest& t) {
        EXPECT_EQ(t.count("pressed"), pressed);
        EXPECT_EQ(t.count("released"), released);
        EXPECT_EQ(t.monitor->state(), state);
        EXPECT_EQ(t.monitor->isHeld(), state == Held);
    };
};

struct Scenario {
    std::string name;
    std::vector<Step> steps;
    friend void PrintTo(const Scenario& s, std::ostream* os) { *os << s.name; }
};

const Scenario scenarios[] = {
    {"TapShorterThanTheDebounceDoesNothing",
     {down(Ctrl), wait(279), expect(0, 0, Pending), up(Ctrl), wait(2000), expect(0, 0, Idle)}},
    // Repeated events, pending or held, neither restart the debounce nor press again.
    {"LongHoldPressesOnceHoweverLong",
     {down(Ctrl), wait(200), down(Ctrl), wait(80), expect(1, 0, Held), down(Ctrl), wait(5000),
      expect(1, 0, Held), up(Ctrl), expect(1, 0, Idle), wait(0), expect(1, 1, Idle)}},
    {"SecondModifierCancelsItsReleaseRearmsAndItEndsAHold",
     {down(Ctrl), wait(200), down(Shift), expect(0, 0, Idle), wait(500), expect(0, 0, Idle),
      up(Shift), wait(279), expect(0, 0, Pending), wait(1), expect(1, 0, Held), down(Cmd), wait(0),
      expect(1, 1, Idle)}},
    {"KeyCancelsSilentlyThenReleasesAConfirmedHoldOnce",
     {down(Ctrl), wait(100), key, wait(1000), expect(0, 0, Idle), up(Ctrl), down(Ctrl), wait(280),
      expect(1, 0, Held), key, expect(1, 0, Idle), wait(0), expect(1, 1, Idle), key, wait(1000),
      up(Ctrl), wait(0), expect(1, 1, Idle)}},
    {"AltGrOrAnotherUnnamedModifierCancelsTheHold",
     {down(Ctrl), down(AltGr), wait(1000), expect(0, 0, Idle), up(AltGr), up(Ctrl), down(AltGr),
      down(Ctrl), wait(1000), expect(0, 0, Idle)}},
    {"OptionModeIgnoresCommandButNotCapsLock",
     {setModifier(HoldModifier::option), down(Cmd), wait(1000), expect(0, 0, Idle), up(Cmd),
      down(Caps), down(Opt), wait(280), expect(1, 0, Held), up(Opt), wait(0), expect(1, 1, Idle)}},
    {"StaleConfirmationNeedsAFlagsChangeBeforeTheNextHold",
     {down(Ctrl), silentUp(Ctrl), wait(280), expect(0, 0, Stale), down(Ctrl), wait(1000),
      expect(0, 0, Stale), up(Ctrl), expect(0, 0, Idle), down(Ctrl), wait(280),
      expect(1, 0, Held)}},
    {"CancelHoldPreventsThePressOrSilencesTheLaterRelease",
     {down(Ctrl), wait(100), cancelHold, wait(1000), expect(0, 0, Idle), up(Ctrl), down(Ctrl),
      wait(280), cancelHold, expect(1, 0, Idle), up(Ctrl), wait(0), expect(1, 0, Idle), down(Ctrl),
      wait(280), expect(2, 0, Held)}},
    {"StopDuringAConfirmedHoldReleasesOnce",
     {down(Ctrl), wait(280), stop, expect(1, 0, Idle), wait(0), expect(1, 1, Idle), up(Ctrl),
      wait(0), expect(1, 1, Idle)}},
    {"ConfirmationChecksTheKeyChosenWhenItWasScheduled",
     {down(Ctrl), wait(100), setModifier(HoldModifier::command), wait(180), expect(1, 0, Held)}},
    // Anything that drops the hold between the confirmation and its press wins, which also
    // shows the press runs on a turn of its own, never inside the confirmation.
    {"ReleaseJustBeforeThePress",
     {down(Ctrl), atConfirmation(up(Ctrl)), wait(1000), expect(0, 0, Idle)}},
    {"KeyJustBeforeThePress", {down(Ctrl), atConfirmation(key), wait(1000), expect(0, 0, Idle)}},
    {"StopJustBeforeThePress", {down(Ctrl), atConfirmation(stop), wait(1000), expect(0, 0, Idle)}},
    {"CancelHoldJustBeforeThePress",
     {down(Ctrl), atConfirmation(cancelHold), wait(1000), expect(0, 0, Idle)}},
    // Another client focused: nobody hears the first hold.
    {"RefusedGlobalMonitorsAreAbsentAndLocalOnesStillWork",
     {restartRefusingGlobalMonitors, down(Ctrl), wait(1000), up(Ctrl), expect(0, 0, Idle),
      focusOurs, down(Ctrl), wait(280), expect(1, 0, Held)}},
    // Heard globally, ended by a key heard locally: local monitors must hand events on.
    {"HoldSurvivesFocusMovingToOurWindow",
     {down(Ctrl), wait(280), expect(1, 0, Held), focusOurs, key, wait(0), expect(1, 1, Idle)}},
};

class HoldScenarioTest : public HoldKeyMonitorTest,
                         public ::testing::WithParamInterface<Scenario> {};

TEST_P(HoldScenarioTest, FollowsTheScript) {
    monitor->start();
    monitor->start(); // starts over: still one monitor of each kind
    for (quint64 mask : {EventMask::FlagsChanged, EventMask::KeyDown})
        for (bool local : {false, true})
            ASSERT_EQ(input.installedCount(mask, local), 1) << mask << local;
    EXPECT_EQ(monitor->installedMonitorCount(), 4);
    for (size_t i = 0; i < GetParam().steps.size(); ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        GetParam().steps[i](*this);
    }
    monitor->stop();
    monitor.reset(); // stops again
    EXPECT_EQ(input.installedCount(), 0);
    EXPECT_EQ(input.strayRemovals(), 0);
}

INSTANTIATE_TEST_SUITE_P(Holds, HoldScenarioTest, ::testing::ValuesIn(scenarios),
                         [](const auto& info) { return info.param.name; });

// Destroyed by its own onPressed: the monitors go and the release it would report is dropped.
TEST_F(HoldKeyMonitorTest, DestructionInsideACallbackRemovesMonitorsAndDropsTheRelease) {
    monitor->onPressed = [this] {
        log.push_back("pressed");
        monitor.reset();
    };
    monitor->start();
    input.pressModifier(Ctrl);
    scheduler.advance(280ms);
    EXPECT_EQ(monitor, nullptr);
    EXPECT_EQ(input.installedCount(), 0);
    scheduler.advance(1s);
    input.releaseModifier(Ctrl);
    EXPECT_TRUE(input.typeKey(8));
    EXPECT_EQ(log, (Log{"pressed"}));
}

} // namespace
