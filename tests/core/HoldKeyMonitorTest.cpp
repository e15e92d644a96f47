#include "core/HoldKeyMonitor.h"
#include "platform/fake/FakeInputMonitor.h"
#include "platform/fake/FakeScheduler.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

using namespace valimbra;
using namespace std::chrono_literals;
using State = HoldKeyMonitor::State;

namespace {

constexpr quint64 Ctrl = ModifierFlag::Control;
constexpr quint64 Shift = ModifierFlag::Shift;
constexpr quint64 Opt = ModifierFlag::Option;
constexpr quint64 Cmd = ModifierFlag::Command;
constexpr quint64 Caps = ModifierFlag::CapsLock;

// One line of a scripted hold: what the user (or the engine) does, or what must hold by then.
struct Step {
    enum Kind { Down, Up, Key, SilentUp, Wait, CancelHold, Stop, SetModifier, Expect } kind;
    quint64 arg = 0;
    int pressed = 0;
    int released = 0;
    State state = State::Idle;
};
Step down(quint64 flag) {
    return {Step::Down, flag};
}
Step up(quint64 flag) {
    return {Step::Up, flag};
}
Step key() {
    return {Step::Key};
}
Step silentUp(quint64 flag) {
    return {Step::SilentUp, flag};
} // released, but no event heard
Step wait(int ms) {
    return {Step::Wait, quint64(ms)};
}
Step cancelHold() {
    return {Step::CancelHold};
}
Step stop() {
    return {Step::Stop};
}
Step setModifier(HoldModifier m) {
    return {Step::SetModifier, quint64(m)};
}
// Cumulative callback counts and the monitor's state at this point.
Step expect(int pressed, int released, State state) {
    return {Step::Expect, 0, pressed, released, state};
}

struct Scenario {
    std::string name;
    HoldModifier modifier;
    std::vector<Step> steps;
};
void PrintTo(const Scenario& scenario, std::ostream* os) {
    *os << scenario.name;
}

const Scenario scenarios[] = {
    {"TapShorterThanTheDebounceDoesNothing",
     HoldModifier::control,
     {down(Ctrl), wait(279), expect(0, 0, State::Pending), up(Ctrl), wait(2000),
      expect(0, 0, State::Idle)}},
    {"LongHoldPressesOnceHoweverLong",
     HoldModifier::control,
     {down(Ctrl), wait(280), expect(1, 0, State::Held), down(Ctrl), wait(1000), down(Ctrl),
      wait(5000), expect(1, 0, State::Held), up(Ctrl), expect(1, 0, State::Idle), wait(0),
      expect(1, 1, State::Idle)}},
    {"RepeatedEventsWhilePendingDoNotRestartTheDebounce",
     HoldModifier::control,
     {down(Ctrl), wait(200), down(Ctrl), wait(80), expect(1, 0, State::Held)}},
    {"SecondModifierCancelsAndItsReleaseRearms",
     HoldModifier::control,
     {down(Ctrl), wait(200), down(Shift), expect(0, 0, State::Idle), wait(500),
      expect(0, 0, State::Idle), up(Shift), wait(279), expect(0, 0, State::Pending), wait(1),
      expect(1, 0, State::Held)}},
    {"SecondModifierEndsAConfirmedHold",
     HoldModifier::control,
     {down(Ctrl), wait(300), down(Cmd), wait(0), expect(1, 1, State::Idle), up(Cmd), wait(280),
      expect(2, 1, State::Held)}},
    {"KeyBeforeTheDebounceCancelsSilently",
     HoldModifier::control,
     {down(Ctrl), wait(100), key(), wait(1000), expect(0, 0, State::Idle), up(Ctrl), wait(0),
      expect(0, 0, State::Idle)}},
    {"KeyAfterConfirmationReleasesOnceAndTheKeyUpIsSilent",
     HoldModifier::control,
     {down(Ctrl), wait(280), expect(1, 0, State::Held), key(), wait(0), expect(1, 1, State::Idle),
      key(), wait(1000), up(Ctrl), wait(0), expect(1, 1, State::Idle)}},
    {"OptionModeIgnoresCommand",
     HoldModifier::option,
     {down(Cmd), wait(1000), expect(0, 0, State::Idle), up(Cmd), down(Opt), wait(280),
      expect(1, 0, State::Held)}},
    {"CapsLockDoesNotPreventAHold",
     HoldModifier::option,
     {down(Caps), down(Opt), wait(280), expect(1, 0, State::Held), up(Opt), wait(0),
      expect(1, 1, State::Idle)}},
    {"StaleConfirmationNeedsAFlagsChangeBeforeTheNextHold",
     HoldModifier::control,
     {down(Ctrl), silentUp(Ctrl), wait(280), expect(0, 0, State::Stale), down(Ctrl), wait(1000),
      expect(0, 0, State::Stale), up(Ctrl), expect(0, 0, State::Idle), down(Ctrl), wait(280),
      expect(1, 0, State::Held)}},
    {"CancelHoldSilencesTheLaterRelease",
     HoldModifier::control,
     {down(Ctrl), wait(280), cancelHold(), expect(1, 0, State::Idle), up(Ctrl), wait(0),
      expect(1, 0, State::Idle), down(Ctrl), wait(280), expect(2, 0, State::Held)}},
    {"CancelHoldWhilePendingPreventsThePress",
     HoldModifier::control,
     {down(Ctrl), wait(100), cancelHold(), wait(1000), expect(0, 0, State::Idle)}},
    {"StopDuringAConfirmedHoldReleasesOnce",
     HoldModifier::control,
     {down(Ctrl), wait(280), stop(), expect(1, 0, State::Idle), wait(0), expect(1, 1, State::Idle),
      up(Ctrl), wait(0), expect(1, 1, State::Idle)}},
    {"StopWhilePendingIsSilent",
     HoldModifier::control,
     {down(Ctrl), wait(100), stop(), wait(1000), expect(0, 0, State::Idle)}},
    {"ConfirmationChecksTheKeyChosenWhenItWasScheduled",
     HoldModifier::control,
     {down(Ctrl), wait(100), setModifier(HoldModifier::command), wait(180),
      expect(1, 0, State::Held)}},
};

// Every scenario runs twice: once heard by the global monitors (another client focused) and
// once by the local ones (our own window focused).
class HoldScenarioTest : public ::testing::TestWithParam<std::tuple<Scenario, bool>> {};

TEST_P(HoldScenarioTest, FollowsTheScript) {
    const auto& [scenario, ourFocus] = GetParam();
    FakeScheduler scheduler;
    FakeInputMonitor input;
    input.setFocusIsOurs(ourFocus);
    HoldKeyMonitor monitor(input, scheduler);
    monitor.setModifier(scenario.modifier);
    int pressed = 0;
    int released = 0;
    monitor.onPressed = [&] { ++pressed; };
    monitor.onReleased = [&] { ++released; };
    monitor.start();

    for (size_t i = 0; i < scenario.steps.size(); ++i) {
        const Step& step = scenario.steps[i];
        SCOPED_TRACE("step " + std::to_string(i));
        switch (step.kind) {
        case Step::Down:
            input.pressModifier(step.arg);
            break;
        case Step::Up:
            input.releaseModifier(step.arg);
            break;
        case Step::Key:
            EXPECT_TRUE(input.typeKey(8, u"c"_qs)) << "the monitor never consumes a key";
            break;
        case Step::SilentUp:
            input.setModifierFlagsSilently(input.currentModifierFlags() & ~step.arg);
            break;
        case Step::Wait:
            scheduler.advance(std::chrono::milliseconds(step.arg));
            break;
        case Step::CancelHold:
            monitor.cancelHold();
            break;
        case Step::Stop:
            monitor.stop();
            break;
        case Step::SetModifier:
            monitor.setModifier(HoldModifier(step.arg));
            break;
        case Step::Expect:
            EXPECT_EQ(pressed, step.pressed);
            EXPECT_EQ(released, step.released);
            EXPECT_EQ(monitor.state(), step.state);
            EXPECT_EQ(monitor.isHeld(), step.state == State::Held);
            break;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Holds, HoldScenarioTest,
                         ::testing::Combine(::testing::ValuesIn(scenarios), ::testing::Bool()),
                         [](const auto& info) {
                             return std::get<0>(info.param).name +
                                    (std::get<1>(info.param) ? "_Local" : "_Global");
                         });

class HoldKeyMonitorTest : public ::testing::Test {
protected:
    HoldKeyMonitorTest() {
        monitor->onPressed = [this] { log.push_back("pressed"); };
        monitor->onReleased = [this] { log.push_back("released"); };
    }

    QStringList journal; // outlives the fakes that write to it
    FakeScheduler scheduler;
    FakeInputMonitor input;
    std::unique_ptr<HoldKeyMonitor> monitor = std::make_unique<HoldKeyMonitor>(input, scheduler);
    std::vector<std::string> log;
};

TEST_F(HoldKeyMonitorTest, CallbacksRunOnlyOnALaterTurnNeverInsideTheHandler) {
    monitor->start();
    input.pressModifier(Ctrl);
    // A block the test queues for the same instant as the confirmation runs between the
    // confirmation and onPressed: the press is a turn of its own.
    scheduler.postAfter(280ms, [this] { log.push_back("same instant"); });
    scheduler.advance(280ms);
    EXPECT_EQ(log, (std::vector<std::string>{"same instant", "pressed"}));

    input.releaseModifier(Ctrl);
    EXPECT_EQ(log.size(), 2u) << "onReleased ran inside the flags-changed handler";
    scheduler.runPending();
    EXPECT_EQ(log.back(), "released");

    input.pressModifier(Ctrl);
    scheduler.advance(280ms);
    input.typeKey(8);
    monitor->stop();
    EXPECT_EQ(log.size(), 4u);
    scheduler.runPending();
    EXPECT_EQ(log, (std::vector<std::string>{"same instant", "pressed", "released", "pressed",
                                             "released"}));
}

// Between the confirmation and its one-turn-later press, anything that drops the hold wins, so
// the monitor never ends up Held with the key already up or after stop().
TEST_F(HoldKeyMonitorTest, InterruptionInTheTurnBeforeThePressLeavesItIdle) {
    const std::vector<std::pair<std::string, std::function<void()>>> interruptions = {
        {"release", [this] { input.releaseModifier(Ctrl); }},
        {"key", [this] { input.typeKey(8); }},
        {"stop", [this] { monitor->stop(); }},
        {"cancelHold", [this] { monitor->cancelHold(); }},
    };
    for (const auto& [name, interrupt] : interruptions) {
        SCOPED_TRACE(name);
        log.clear();
        input.setModifierFlagsSilently(0);
        monitor->start();
        input.pressModifier(Ctrl);
        scheduler.postAfter(280ms, interrupt);
        scheduler.advance(280ms);
        scheduler.advance(1s);
        EXPECT_TRUE(log.empty());
        EXPECT_EQ(monitor->state(), State::Idle);
    }
}

TEST_F(HoldKeyMonitorTest, StartInstallsFourMonitorsInOrderAndRestartsCleanly) {
    input.setJournal(&journal);
    monitor->start();
    EXPECT_EQ(journal, (QStringList{u"input.addGlobal"_qs, u"input.addLocal"_qs,
                                    u"input.addGlobal"_qs, u"input.addLocal"_qs}));
    EXPECT_EQ(input.installedCount(EventMask::FlagsChanged, false), 1);
    EXPECT_EQ(input.installedCount(EventMask::FlagsChanged, true), 1);
    EXPECT_EQ(input.installedCount(EventMask::KeyDown, false), 1);
    EXPECT_EQ(input.installedCount(EventMask::KeyDown, true), 1);

    monitor->start();
    EXPECT_EQ(input.installedCount(), 4);
    EXPECT_EQ(monitor->installedMonitorCount(), 4);
    EXPECT_EQ(input.strayRemovals(), 0);

    // With duplicate monitors the hold would be seen twice and released twice.
    input.pressModifier(Ctrl);
    scheduler.advance(280ms);
    input.releaseModifier(Ctrl);
    scheduler.runPending();
    EXPECT_EQ(log, (std::vector<std::string>{"pressed", "released"}));

    monitor->stop();
    monitor->stop();
    EXPECT_EQ(input.installedCount(), 0);
    EXPECT_EQ(input.strayRemovals(), 0);
}

TEST_F(HoldKeyMonitorTest, RefusedGlobalMonitorsAreAbsentAndLocalOnesStillWork) {
    input.setRefusesGlobalMonitors(true);
    monitor->start();
    EXPECT_EQ(monitor->installedMonitorCount(), 2);

    input.pressModifier(Ctrl); // another client focused: nobody hears it
    scheduler.advance(1s);
    input.releaseModifier(Ctrl);
    EXPECT_TRUE(log.empty());

    input.setFocusIsOurs(true);
    input.pressModifier(Ctrl);
    scheduler.advance(280ms);
    EXPECT_EQ(log, (std::vector<std::string>{"pressed"}));

    monitor->stop();
    EXPECT_EQ(input.strayRemovals(), 0);
}

TEST_F(HoldKeyMonitorTest, HoldSurvivesFocusMovingBetweenGlobalAndLocalMonitors) {
    monitor->start();
    input.pressModifier(Ctrl); // heard globally
    scheduler.advance(280ms);
    input.setFocusIsOurs(true); // the overlay took the focus
    EXPECT_TRUE(input.typeKey(8)) << "a local monitor must hand the event on";
    scheduler.runPending();
    EXPECT_EQ(log, (std::vector<std::string>{"pressed", "released"}));
}

TEST_F(HoldKeyMonitorTest, DestructionRemovesMonitorsAndDropsTheRelease) {
    monitor->start();
    input.pressModifier(Ctrl);
    scheduler.advance(280ms);
    ASSERT_TRUE(monitor->isHeld());
    monitor.reset();
    EXPECT_EQ(input.installedCount(), 0);
    scheduler.advance(1s);
    EXPECT_EQ(log, (std::vector<std::string>{"pressed"}));
    input.releaseModifier(Ctrl);
    EXPECT_TRUE(input.typeKey(8));
}

TEST_F(HoldKeyMonitorTest, CallbackMayDestroyTheMonitor) {
    monitor->onPressed = [this] { monitor.reset(); };
    monitor->start();
    input.pressModifier(Ctrl);
    scheduler.advance(280ms);
    EXPECT_EQ(monitor, nullptr);
    EXPECT_EQ(input.installedCount(), 0);
    scheduler.advance(1s);
}

} // namespace
