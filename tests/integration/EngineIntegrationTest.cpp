// The switcher engine on the real desktop, through the X11 backend.
#include "DesktopFixture.h"

#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RunningAppsMonitor.h"
#include "core/AppSwitcherEngine.h"
#include "platform/QtScheduler.h"
#include "platform/fake/MemorySettingsStore.h"
#include "platform/x11/X11Backend.h"

namespace valimbra::testing {
namespace {

class EngineOnDesktop : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        if (HasFatalFailure())
            return;
        platform.workspace = &backend->workspace();
        platform.input = &backend->input();
        platform.hotKeys = &backend->hotKeys();
        platform.screens = &backend->screens();
        platform.effects = &backend->effects();
        platform.scheduler = &scheduler;
        platform.settings = &settings;
        platform.makeExecutor = [](const QString& label) -> std::unique_ptr<SerialExecutor> {
            return std::make_unique<ThreadExecutor>(label);
        };
        engine = std::make_unique<AppSwitcherEngine>(platform);
        engine->setReady(true);
        ASSERT_TRUE(XSession::waitUntil([&] { return xtermOrder().size() == 2; }));
    }
    void TearDown() override {
        engine.reset();
        DesktopTest::TearDown();
    }
    // The two xterms' pids in the running list's order.
    QList<qint32> xtermOrder() const {
        QList<qint32> out;
        for (const AppEntry& e : engine->runningApps().apps())
            if (e.id == term1 || e.id == term2)
                out.append(e.id);
        return out;
    }
    // Until the window manager reports it active (openbox may drop an activation request that
    // arrives while it is still settling the previous one).
    bool focus(xcb_window_t w) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(w)});
            if (XSession::waitUntil([&] { return s->activeWindow() == w; }, 2000))
                return barrier->sync();
        }
        return false;
    }

    QtScheduler scheduler;
    MemorySettingsStore settings;
    Platform platform;
    std::unique_ptr<AppSwitcherEngine> engine;
};

// Every xterm window is its own process: each keeps its own place in the order, and a favourite
// stands for the one used last.
TEST_F(EngineOnDesktop, ProcessesOfOneAppKeepTheirOwnOrderAndAFavouriteRaisesTheNewest) {
    ASSERT_TRUE(focus(term1Window));
    EXPECT_TRUE(XSession::waitUntil([&] { return xtermOrder() == QList<qint32>{term1, term2}; }));
    ASSERT_TRUE(focus(term2Window));
    EXPECT_TRUE(XSession::waitUntil([&] { return xtermOrder() == QList<qint32>{term2, term1}; }));

    const auto url = backend->workspace().urlForApplication(u"debian-xterm"_qs);
    ASSERT_TRUE(url);
    ASSERT_TRUE(engine->pinnedApps().add({u"debian-xterm"_qs, u"XTerm"_qs, *url}));
    const pid_t calc = s->spawn({u"xcalc"_qs});
    extra.append(calc);
    const auto calcWindow = s->waitForWindowOfClass(u"XCalc"_qs);
    ASSERT_TRUE(calcWindow);
    ASSERT_TRUE(focus(*calcWindow));
    ASSERT_TRUE(XSession::waitUntil([&] {
        const auto& apps = engine->runningApps().apps();
        return !apps.isEmpty() && apps.first().id == calc;
    }));

    engine->show();
    ASSERT_FALSE(engine->displayedApps().isEmpty());
    EXPECT_TRUE(engine->displayedApps().first().isFavourite);
    EXPECT_EQ(engine->displayedApps().first().id, term2);
    engine->activateAt(0);
    EXPECT_TRUE(XSession::waitUntil([&] { return xdotoolActiveWindow() == term2Window; }));
}

} // namespace
} // namespace valimbra::testing
