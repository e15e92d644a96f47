// The real valimbra on a real desktop, driven with the keyboard and the pointer as a user would.
#include "DesktopFixture.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <sys/wait.h>

namespace valimbra::testing {
namespace {

const QString kValimbra = QStringLiteral(VALIMBRA_BINARY_PATH);

struct Geometry {
    int x = 0, y = 0, width = 0, height = 0;
};

class SwitcherTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        if (HasFatalFailure())
            return;
        pointer(640, 400);
        valimbra = s->spawn({kValimbra, u"--no-tray"_qs});
        ASSERT_TRUE(waitReady()) << "valimbra did not become ready";
        // Used in this order while Valimbra watches: the xterms are the most recent.
        for (xcb_window_t w : {term2Window, term1Window}) {
            ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(w)}));
            QThread::msleep(60);
        }
    }
    void TearDown() override {
        if (valimbra)
            s->stop(valimbra);
        DesktopTest::TearDown();
    }

    void pointer(int x, int y) {
        xdotool({u"mousemove"_qs, u"--sync"_qs, QString::number(x), QString::number(y)});
    }
    bool toggle() { return s->run({kValimbra, u"--toggle"_qs}).has_value(); }
    // Ready once --toggle opens the switcher; closed again with Escape.
    ::testing::AssertionResult waitReady() {
        if (!XSession::waitUntil([&] { return toggle(); }, 15000))
            return ::testing::AssertionFailure() << "--toggle never succeeded";
        if (!waitOpen())
            return ::testing::AssertionFailure() << "no panel after --toggle";
        if (!key(u"Escape"_qs) || !waitClosed()) {
            s->screenshot(u"escape-failed"_qs);
            return ::testing::AssertionFailure() << "Escape did not close the panel";
        }
        return ::testing::AssertionSuccess();
    }
    // The switcher panel, if it is on the screen.
    std::optional<Geometry> panel() const {
        const auto ids =
            xdotool({u"search"_qs, u"--onlyvisible"_qs, u"--name"_qs, u"^Valimbra Switcher"_qs});
        if (!ids || ids->trimmed().isEmpty())
            return std::nullopt;
        const auto shell =
            xdotool({u"getwindowgeometry"_qs, u"--shell"_qs, ids->trimmed().split(u'\n').first()});
        if (!shell)
            return std::nullopt;
        Geometry g;
        for (const QString& line : shell->split(u'\n')) {
            const QString value = line.section(u'=', 1);
            if (line.startsWith(u"X="))
                g.x = value.toInt();
            else if (line.startsWith(u"Y="))
                g.y = value.toInt();
            else if (line.startsWith(u"WIDTH="))
                g.width = value.toInt();
            else if (line.startsWith(u"HEIGHT="))
                g.height = value.toInt();
        }
        // Between openings the panel waits mapped, off every screen.
        if (g.x + g.width <= 0 || g.y + g.height <= 0)
            return std::nullopt;
        return g;
    }
    bool waitOpen() {
        return XSession::waitUntil([&] { return panel().has_value(); });
    }
    bool waitClosed() {
        return XSession::waitUntil([&] { return !panel().has_value(); });
    }
    bool key(const QString& keys) {
        return xdotool(QStringList{u"key"_qs, u"--delay"_qs, u"40"_qs} + keys.split(u' '))
            .has_value();
    }
    bool type(const QString& text) {
        return xdotool({u"type"_qs, u"--delay"_qs, u"60"_qs, text}).has_value();
    }
    bool holdControl() {
        return xdotool(
                   {u"keydown"_qs, u"ctrl"_qs, u"sleep"_qs, u"0.45"_qs, u"keyup"_qs, u"ctrl"_qs})
            .has_value();
    }
    bool activeIs(xcb_window_t w) {
        return XSession::waitUntil([&] { return xdotoolActiveWindow() == w; });
    }

    pid_t valimbra = 0;
};

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
    QFile settings(s->configHome() + u"/Brindlex/Valimbra.conf"_qs);
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly | QIODevice::Truncate));
    settings.write("[General]\nvalimbra.invokeMode=shortcut\nvalimbra.recordedKeyCode=49\n"
                   "valimbra.recordedModifiers=786432\n");
    settings.close();
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

TEST_F(SwitcherTest, ClampedNearACorner) {
    pointer(1270, 10);
    ASSERT_TRUE(holdControl());
    ASSERT_TRUE(waitOpen());
    const Geometry g = *panel();
    EXPECT_EQ(g.x, 1280 - 720);
    EXPECT_EQ(g.y, 0);
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
    const auto target =
        xdotool({u"getwindowgeometry"_qs, u"--shell"_qs, QString::number(term2Window)});
    ASSERT_TRUE(target);
    int x = 0, y = 0;
    for (const QString& line : target->split(u'\n')) {
        if (line.startsWith(u"X="))
            x = line.mid(2).toInt() + 30;
        if (line.startsWith(u"Y="))
            y = line.mid(2).toInt() + 30;
    }
    pointer(x, y);
    ASSERT_TRUE(xdotool({u"click"_qs, u"1"_qs}));
    EXPECT_TRUE(waitClosed());
    EXPECT_TRUE(activeIs(term2Window)) << "the click focused the window it landed on";
}

TEST_F(SwitcherTest, MiddleButtonToggles) {
    // Over a window: a middle click on openbox's desktop also opens its own menu.
    const auto where =
        xdotool({u"getwindowgeometry"_qs, u"--shell"_qs, QString::number(term1Window)});
    ASSERT_TRUE(where);
    int x = 0, y = 0;
    for (const QString& line : where->split(u'\n')) {
        if (line.startsWith(u"X="))
            x = line.mid(2).toInt() + 60;
        if (line.startsWith(u"Y="))
            y = line.mid(2).toInt() + 60;
    }
    pointer(x, y);
    ASSERT_TRUE(xdotool({u"click"_qs, u"2"_qs}));
    ASSERT_TRUE(waitOpen());
    ASSERT_TRUE(xdotool({u"click"_qs, u"2"_qs}));
    EXPECT_TRUE(waitClosed());
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
