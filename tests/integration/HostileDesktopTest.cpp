// The real valimbra on a desktop that misbehaves: window storms, windows that vanish while the
// switcher uses them, the window manager replaced and the compositor restarted, an enormous icon,
// a second screen plugged in and out, and the X server going away. After each, the switcher
// shows what the window manager reports.
#include "AccessibleFixture.h"

#include <QFile>
#include <QThread>

#include <algorithm>

#include <sys/wait.h>

namespace valimbra::testing {
namespace {

class HostileDesktopTest : public AccessibleTest {
protected:
    // The applications the open switcher lists as running, by accessible name.
    std::optional<QStringList> switcherNames() {
        if (!toggle() || !waitOpen())
            return std::nullopt;
        QThread::msleep(500); // the cards have come in
        const auto tree = atspi({u"tree"_qs});
        key(u"Escape"_qs);
        waitClosed();
        if (!tree)
            return std::nullopt;
        QStringList names;
        for (const QString& line : tree->split(u'\n'))
            if (line.endsWith(u", running"))
                names.append(line.section(u'\t', 1).chopped(9));
        names.sort();
        return names;
    }
    // What a fresh look at the desktop finds: the regular applications, one per process.
    QStringList desktopNames() const {
        QStringList names;
        const auto out = s->run({kValimbra, u"--list-apps"_qs}, 20000);
        for (const QString& row : out.value_or(QString()).split(u'\n').mid(1)) {
            const QStringList cells = row.split(u'\t');
            if (cells.size() == 4 && cells[3] == u"regular")
                names.append(cells[2]);
        }
        names.sort();
        return names;
    }
    ::testing::AssertionResult converges() {
        QStringList shown, expected;
        const bool same = XSession::waitUntil(
            [&] {
                expected = desktopNames();
                shown = switcherNames().value_or(QStringList{u"(no switcher)"_qs});
                return shown == expected;
            },
            20000);
        if (same)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "the switcher lists " << shown.join(u", ").toStdString() << "; the desktop has "
               << expected.join(u", ").toStdString();
    }
    bool panelAt(int x, int y) const {
        const auto g = panel();
        return g && g->x == x && g->y == y;
    }
    bool alive() {
        return s->isRunning(valimbra) && toggle() && waitOpen() && key(u"Escape"_qs) &&
               waitClosed();
    }
};

TEST_F(HostileDesktopTest, WindowStormsWhileTheSwitcherOpensAndCloses) {
    QList<pid_t> storms;
    for (int k = 0; k < 4; ++k)
        storms.append(
            s->spawn({QStringLiteral(XWIN_HELPER_PATH), u"--class"_qs, u"Storm%1"_qs.arg(k),
                      u"--count"_qs, u"0"_qs, u"--storm"_qs, u"50"_qs}));
    int openings = 0;
    while (std::any_of(storms.begin(), storms.end(), [&](pid_t p) { return s->isRunning(p); }) ||
           openings < 5) {
        ASSERT_TRUE(toggle());
        ASSERT_TRUE(waitOpen()) << "opening " << openings;
        ASSERT_TRUE(key(u"Escape"_qs));
        ASSERT_TRUE(waitClosed());
        ++openings;
    }
    for (pid_t p : storms)
        EXPECT_TRUE(s->waitForExit(p, 10000)) << "the storm helper finished";
    EXPECT_TRUE(alive());
    EXPECT_TRUE(converges());
}

TEST_F(HostileDesktopTest, AnApplicationThatVanishesWhileChosenIsNotActivated) {
    xcb_window_t window = 0;
    const pid_t doomed = startHelper({u"--class"_qs, u"Doomed"_qs}, &window);
    ASSERT_TRUE(toggle());
    ASSERT_TRUE(waitOpen());
    ASSERT_TRUE(type(u"doomed"_qs));
    s->stop(doomed);
    ASSERT_TRUE(key(u"Return"_qs)); // chooses what no longer exists, or nothing if it is gone
    if (panel()) {
        ASSERT_TRUE(key(u"Escape"_qs));
    }
    EXPECT_TRUE(waitClosed());
    EXPECT_TRUE(alive());
    EXPECT_TRUE(converges());
}

TEST_F(HostileDesktopTest, TheWindowManagerReplacedAndTheCompositorRestarted) {
    s->spawn({u"openbox"_qs, u"--replace"_qs, u"--sm-disable"_qs});
    QThread::msleep(1500); // the new one has taken the windows over
    const pid_t compositor = s->started(u"xcompmgr"_qs);
    ASSERT_NE(compositor, 0);
    s->stop(compositor);
    ASSERT_TRUE(XSession::waitUntil([&] { return !s->hasSelectionOwner("_NET_WM_CM_S0"); }));
    EXPECT_TRUE(alive()) << "without a compositor";
    s->spawn({u"xcompmgr"_qs});
    ASSERT_TRUE(XSession::waitUntil([&] { return s->hasSelectionOwner("_NET_WM_CM_S0"); }));
    EXPECT_TRUE(alive()) << "with the compositor back";
    // Switching still works: the hold key, then Tab to the other terminal.
    ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(term1Window)}));
    ASSERT_TRUE(xdotool({u"keydown"_qs, u"ctrl"_qs, u"sleep"_qs, u"0.45"_qs}));
    EXPECT_TRUE(waitOpen());
    ASSERT_TRUE(xdotool({u"keyup"_qs, u"ctrl"_qs}));
    EXPECT_TRUE(converges());
}

TEST_F(HostileDesktopTest, AHundredMegabyteIconNeitherStopsNorBloatsIt) {
    xcb_window_t window = 0;
    startHelper({u"--class"_qs, u"Huge"_qs, u"--icon-mb"_qs, u"100"_qs}, &window);
    EXPECT_TRUE(alive());
    EXPECT_TRUE(converges());
    QFile status(u"/proc/%1/status"_qs.arg(valimbra));
    ASSERT_TRUE(status.open(QIODevice::ReadOnly));
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:")) { // the peak
            EXPECT_LT(line.mid(6).trimmed().split(' ').first().toLongLong(), 400 * 1024)
                << line.toStdString();
        }
}

// A panel with a strut appears along the top while the switcher is open there: the switcher moves
// below it; when the panel goes, the switcher, still wholly on the screen, stays.
TEST_F(HostileDesktopTest, TheSwitcherMakesRoomForAPanelThatAppearsAboveIt) {
    pointer(600, 400);
    ASSERT_TRUE(toggle());
    ASSERT_TRUE(waitOpen());
    ASSERT_TRUE(panelAt(600 - 360, 40));
    const pid_t strut = startHelper(
        {u"--class"_qs, u"TopPanel"_qs, u"--type"_qs, u"dock"_qs, u"--strut-top"_qs, u"50"_qs});
    EXPECT_TRUE(XSession::waitUntil([&] { return panelAt(600 - 360, 50); }));
    s->stop(strut);
    QThread::msleep(500); // the work area has grown again
    EXPECT_TRUE(panelAt(600 - 360, 50));
}

// A second screen to the right of the first (the session leaves room for it), plugged in and out.
class SecondScreenTest : public HostileDesktopTest {
protected:
    void SetUp() override {
        if (qgetenv("VALIMBRA_TEST_SCREENS") != "2")
            GTEST_SKIP() << "needs a session started with VALIMBRA_TEST_SCREENS=2";
        HostileDesktopTest::SetUp();
    }
    // Opens the switcher under the pointer and tells whether its panel is at `x`, `y`.
    bool opensAt(int x, int y) {
        if (!toggle() || !waitOpen())
            return false;
        const bool there = panelAt(x, y);
        key(u"Escape"_qs);
        return waitClosed() && there;
    }
    std::optional<Geometry> settingsWindow() const {
        const auto ids =
            xdotool({u"search"_qs, u"--onlyvisible"_qs, u"--name"_qs, u"^Valimbra$"_qs});
        return ids && !ids->trimmed().isEmpty() ? geometry(ids->trimmed()) : std::nullopt;
    }
};

TEST_F(SecondScreenTest, TheSwitcherOpensOnItAndLeavesWithIt) {
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(s->setSecondScreen(1280));
        pointer(1920, 400);
        // Centred on the pointer, once Qt has heard of the new screen.
        ASSERT_TRUE(XSession::waitUntil([&] { return opensAt(1920 - 360, 400 - 360); }, 10000));
        if (round == 0) { // the settings, closed while on it
            ASSERT_TRUE(openSettings(u"General"_qs));
            const auto w = settingsWindow();
            ASSERT_TRUE(w && w->x >= 1280) << "opened on the screen under the pointer";
            ASSERT_TRUE(key(u"alt+F4"_qs));
            ASSERT_TRUE(atspi({u"gone"_qs, u"Trigger via"_qs}));
        }
        // Taken out under the open switcher: the panel follows, to the remaining screen's edge
        // nearest the pointer (which is on no screen now, so the main one).
        ASSERT_TRUE(toggle());
        ASSERT_TRUE(waitOpen());
        ASSERT_TRUE(s->setSecondScreen(0));
        EXPECT_TRUE(XSession::waitUntil([&] { return panelAt(1280 - 720, 40); }));
        ASSERT_TRUE(key(u"Escape"_qs));
        ASSERT_TRUE(waitClosed());
        EXPECT_TRUE(opensAt(1280 - 720, 40)) << "opened again with the pointer off every screen";
        if (round == 0) {
            ASSERT_TRUE(openSettings(u"General"_qs));
            const auto w = settingsWindow();
            EXPECT_TRUE(w && w->x >= 0 && w->x + w->width <= 1280) << "back on a screen";
            ASSERT_TRUE(key(u"alt+F4"_qs));
            ASSERT_TRUE(atspi({u"gone"_qs, u"Trigger via"_qs}));
        }
    }
    EXPECT_TRUE(alive());
    EXPECT_TRUE(converges());
}

// On an X server of its own, which then goes away: Valimbra says so in one line and exits.
TEST_F(HostileDesktopTest, WhenTheXServerGoesItExitsWithOneLine) {
    s->stop(valimbra);
    valimbra = 0;
    int display = 200 + ::getpid() % 500;
    while (QFile::exists(u"/tmp/.X11-unix/X%1"_qs.arg(display)))
        ++display;
    const QByteArray ours = qgetenv("DISPLAY");
    qputenv("DISPLAY", ":" + QByteArray::number(display));
    const QString log = XSession::artifactsDir() + u"/valimbra-lost-server.log"_qs;
    QFile::remove(log);
    const pid_t server = s->spawn({u"Xvfb"_qs, u":%1"_qs.arg(display), u"-screen"_qs, u"0"_qs,
                                   u"800x600x24"_qs, u"-nolisten"_qs, u"tcp"_qs, u"-noreset"_qs});
    // Up once it answers; the switcher opens once the window manager lists an application.
    const bool serverUp =
        XSession::waitUntil([&] { return s->run({u"xdpyinfo"_qs}, 2000).has_value(); }, 10000);
    if (serverUp) {
        s->spawn({u"openbox"_qs, u"--sm-disable"_qs});
        XSession::waitUntil([&] {
            return s->run({u"xprop"_qs, u"-root"_qs, u"_NET_SUPPORTING_WM_CHECK"_qs})
                .value_or(QString())
                .contains(u"window id"_qs);
        });
        s->spawn({u"xclock"_qs});
    }
    const pid_t lonely =
        s->spawn({u"sh"_qs, u"-c"_qs, uR"(exec "$0" --no-tray >"$1" 2>&1)"_qs, kValimbra, log});
    const bool ready = serverUp && XSession::waitUntil([&] { return toggle(); }, 15000);
    s->stop(server);
    const std::optional<int> status = s->waitForExit(lonely, 10000);
    qputenv("DISPLAY", ours);
    ASSERT_TRUE(ready) << "valimbra never answered on its own display";
    ASSERT_TRUE(status.has_value()) << "still running without its X server";
    ASSERT_TRUE(WIFEXITED(*status)) << "ended by signal " << WTERMSIG(*status);
    EXPECT_EQ(WEXITSTATUS(*status), 1);
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
    ASSERT_EQ(lines.size(), 1) << file.fileName().toStdString();
    EXPECT_EQ(lines.first().toStdString(), "[Valimbra] The X server went away; Valimbra quits.");
}

} // namespace
} // namespace valimbra::testing
