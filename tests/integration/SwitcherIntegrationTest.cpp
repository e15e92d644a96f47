// The real valimbra on a real desktop, driven with the keyboard and the pointer as a user would.
#include "SwitcherFixture.h"

#include <QThread>

namespace valimbra::testing {
namespace {

TEST_F(SwitcherTest, HoldControlOpensAroundThePointerAndTabReturnSwitches) {
    ASSERT_TRUE(holdControl());
    ASSERT_TRUE(waitOpen());
    const Geometry g = *panel();
    EXPECT_EQ(g.width, 720);
    EXPECT_EQ(g.height, 720);
    EXPECT_EQ(g.x + 360, 640);
    EXPECT_EQ(g.y + 360, 400);
    EXPECT_TRUE(activeIs(term1Window)) << "the panel takes no focus";
    s->screenshot(u"switcher-open"_qs);
    // Most recent first: this xterm, then the other one.
    ASSERT_TRUE(key(u"Tab Tab Return"_qs));
    EXPECT_TRUE(waitClosed());
    EXPECT_TRUE(activeIs(term2Window));
}

TEST_F(SwitcherTest, TypingPartOfANameAndReturnOpensThatApp) {
    const pid_t calc = s->spawn({u"xcalc"_qs});
    extra.append(calc);
    const auto calcWindow = s->waitForWindowOfClass(u"XCalc"_qs);
    ASSERT_TRUE(calcWindow);
    ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(term1Window)}));
    QThread::msleep(300); // the running list learns of the new application
    ASSERT_TRUE(holdControl());
    ASSERT_TRUE(waitOpen());
    ASSERT_TRUE(type(u"xca"_qs));
    QThread::msleep(150); // the search waits for typing to pause
    ASSERT_TRUE(key(u"Return"_qs));
    EXPECT_TRUE(waitClosed());
    EXPECT_TRUE(activeIs(*calcWindow));
}

// Held with AltGr (ISO Level 3, Mod5 in the real keymap) Control is not "alone".
TEST_F(SwitcherTest, ControlWithAltGrDoesNotOpen) {
    ASSERT_TRUE(
        xdotool({u"keydown"_qs, u"ctrl"_qs, u"keydown"_qs, u"ISO_Level3_Shift"_qs, u"sleep"_qs,
                 u"0.6"_qs, u"keyup"_qs, u"ISO_Level3_Shift"_qs, u"keyup"_qs, u"ctrl"_qs}));
    QThread::msleep(300);
    EXPECT_FALSE(panel().has_value());
    ASSERT_TRUE(holdControl());
    EXPECT_TRUE(waitOpen()) << "Control alone still opens it";
}

// The shortcut's key-up goes to the open switcher (it holds the keyboard); every press must
// still open it.
TEST_F(SwitcherTest, TheRecordedShortcutOpensItEveryTime) {
    s->stop(valimbra);
    writeSettings(QByteArray(kSeenWelcome) +
                  "valimbra.invokeMode=shortcut\nvalimbra.recordedKeyCode=49\n"
                  "valimbra.recordedModifiers=786432\n");
    valimbra = s->spawn({kValimbra, u"--no-tray"_qs});
    ASSERT_TRUE(waitReady());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(key(u"ctrl+alt+space"_qs));
        ASSERT_TRUE(waitOpen()) << "press " << i;
        ASSERT_TRUE(key(u"Escape"_qs));
        ASSERT_TRUE(waitClosed());
    }
    ASSERT_TRUE(holdControl());
    QThread::msleep(300);
    EXPECT_FALSE(panel().has_value()) << "the hold key is off in shortcut mode";
}

TEST_F(SwitcherTest, EscapeAndClicksOutsideCloseWithoutSwitching) {
    ASSERT_TRUE(holdControl());
    ASSERT_TRUE(waitOpen());
    ASSERT_TRUE(key(u"Escape"_qs));
    EXPECT_TRUE(waitClosed());
    EXPECT_TRUE(activeIs(term1Window));

    // A click on another window closes the switcher and reaches that window: one well away
    // from the panel, which covers the middle of the screen.
    ASSERT_TRUE(xdotool(
        {u"windowmove"_qs, u"--sync"_qs, QString::number(term2Window), u"0"_qs, u"300"_qs}));
    ASSERT_TRUE(holdControl());
    ASSERT_TRUE(waitOpen());
    const auto target = geometry(QString::number(term2Window));
    ASSERT_TRUE(target);
    pointer(target->x + 30, target->y + 30);
    ASSERT_TRUE(xdotool({u"click"_qs, u"1"_qs}));
    EXPECT_TRUE(waitClosed());
    EXPECT_TRUE(activeIs(term2Window)) << "the click focused the window it landed on";
}

TEST_F(SwitcherTest, MiddleButtonToggles) {
    // Over a window: a middle click on openbox's desktop also opens its own menu.
    const auto where = geometry(QString::number(term1Window));
    ASSERT_TRUE(where);
    pointer(where->x + 60, where->y + 60);
    // The middle button is the one the user's button map makes it, whichever is pressed.
    const struct {
        QString map, physical;
    } rows[] = {{u"1 2 3"_qs, u"2"_qs}, {u"1 3 2"_qs, u"3"_qs}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.map.toStdString());
        ASSERT_TRUE(s->run({u"xmodmap"_qs, u"-e"_qs, u"pointer = "_qs + row.map}));
        ASSERT_TRUE(xdotool({u"click"_qs, row.physical}));
        ASSERT_TRUE(waitOpen());
        ASSERT_TRUE(xdotool({u"click"_qs, row.physical}));
        EXPECT_TRUE(waitClosed());
    }
}

TEST_F(SwitcherTest, ASecondStartExitsAndToggleReachesTheFirst) {
    const pid_t second = s->spawn({kValimbra});
    EXPECT_TRUE(XSession::waitUntil([&] { return !s->isRunning(second); }, 5000));
    EXPECT_TRUE(s->isRunning(valimbra));
    ASSERT_TRUE(toggle());
    EXPECT_TRUE(waitOpen());
    ASSERT_TRUE(toggle());
    EXPECT_TRUE(waitClosed());
    ASSERT_TRUE(s->run({kValimbra, u"--quit"_qs}));
    EXPECT_TRUE(XSession::waitUntil([&] { return !s->isRunning(valimbra); }, 5000));
}

} // namespace
} // namespace valimbra::testing
