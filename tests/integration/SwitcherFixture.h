#pragma once

// The real valimbra running on the test desktop, with the user's keyboard and pointer.
#include "DesktopFixture.h"

#include <QDir>
#include <QFile>
#include <QThread>

namespace valimbra::testing {

inline const QString kValimbra = QStringLiteral(VALIMBRA_BINARY_PATH);

struct Geometry {
    int x = 0, y = 0, width = 0, height = 0;
};

class SwitcherTest : public DesktopTest {
protected:
    virtual QStringList valimbraArguments() const { return {u"--no-tray"_qs}; }
    virtual void beforeStart() {}
    // A profile that has seen the welcome, unless a test wants the very first launch.
    virtual bool firstLaunch() const { return false; }
    static constexpr char kSeenWelcome[] = "[General]\nvalimbra.hasSeenOnboarding=true\n";

    void SetUp() override {
        DesktopTest::SetUp();
        if (HasFatalFailure())
            return;
        pointer(640, 400);
        if (!firstLaunch())
            writeSettings(kSeenWelcome);
        beforeStart();
        valimbra = s->spawn(QStringList{kValimbra} + valimbraArguments());
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

    void writeSettings(const QByteArray& text) {
        QDir().mkpath(s->configHome() + u"/Brindlex"_qs);
        QFile settings(s->configHome() + u"/Brindlex/Valimbra.conf"_qs);
        ASSERT_TRUE(settings.open(QIODevice::WriteOnly | QIODevice::Truncate));
        settings.write(text);
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
        const auto g = geometry(ids->trimmed().split(u'\n').first());
        if (!g)
            return std::nullopt;
        // Between openings the panel waits mapped, off every screen.
        if (g->x + g->width <= 0 || g->y + g->height <= 0)
            return std::nullopt;
        return g;
    }
    // A window's frame on the screen, as xdotool reports it.
    std::optional<Geometry> geometry(const QString& window) const {
        const auto shell = xdotool({u"getwindowgeometry"_qs, u"--shell"_qs, window});
        if (!shell)
            return std::nullopt;
        Geometry g;
        for (const QString& line : shell->split(u'\n')) {
            const int value = line.section(u'=', 1).toInt();
            if (line.startsWith(u"X="))
                g.x = value;
            else if (line.startsWith(u"Y="))
                g.y = value;
            else if (line.startsWith(u"WIDTH="))
                g.width = value;
            else if (line.startsWith(u"HEIGHT="))
                g.height = value;
        }
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

} // namespace valimbra::testing
