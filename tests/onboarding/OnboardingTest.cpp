// The first run on the fake platform: the once-only welcome and its completion, the hold-key
// line, the demonstration's rhythm on the virtual clock, and the hint beside the tray icon.
#include "onboarding/HintPlacement.h"
#include "onboarding/OnboardingImageProvider.h"
#include "onboarding/OnboardingRingDemo.h"
#include "onboarding/ValimbraMenuBarHintWindowController.h"
#include "onboarding/ValimbraOnboardingWindowController.h"
#include "platform/fake/FakePlatform.h"

#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(Valimbra_OnboardingPlugin)

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

TEST(Onboarding, TheFirstLaunchRecordsTheFlagBeforeTheWelcomeShowsAndNeverShowsItAgain) {
    FakePlatform fake;
    ValimbraOnboardingWindowController welcome(fake.platform());
    std::optional<bool> shownWhenWritten;
    QObject::connect(&fake.settings, &SettingsStore::changed, [&](const QString& key) {
        if (key == FirstRun::seenKey)
            shownWhenWritten = welcome.isShown();
    });
    ASSERT_TRUE(welcome.showIfFirstLaunch({}));
    EXPECT_EQ(shownWhenWritten, std::optional(false));
    EXPECT_TRUE(welcome.isShown());
    EXPECT_EQ(welcome.window()->size(), QSize(480, 520));
    // Centred on the visible part of the screen under the pointer.
    EXPECT_EQ(welcome.window()->position(), QPoint(960 - 240, 555 - 260));

    // Killed with the welcome open: the next launch shows nothing.
    ValimbraOnboardingWindowController next(fake.platform());
    EXPECT_FALSE(next.showIfFirstLaunch({}));
    EXPECT_FALSE(next.isShown());
}

// The button, the close button, a second request while shown: the completion runs once.
TEST(Onboarding, TheCompletionRunsOnceWhicheverWayTheWelcomeGoes) {
    struct Way {
        const char* name;
        std::function<void(ValimbraOnboardingWindowController&)> end;
    };
    const Way ways[] = {
        {"button", [](auto& w) { w.continueRequested(); }},
        {"close button", [](auto& w) { w.window()->close(); }},
        {"button, then the window closing",
         [](auto& w) {
             QQuickWindow* window = w.window();
             w.continueRequested();
             window->close();
         }},
    };
    for (const Way& way : ways) {
        FakePlatform fake;
        ValimbraOnboardingWindowController welcome(fake.platform());
        int completions = 0, second = 0;
        welcome.show([&] { ++completions; });
        EXPECT_TRUE(welcome.demo()->isRunning());
        welcome.show([&] { ++second; }); // brought forward, not registered
        EXPECT_GE(fake.effects.broughtToFront, 1) << way.name;
        way.end(welcome);
        EXPECT_FALSE(welcome.isShown()) << way.name;
        EXPECT_FALSE(welcome.demo()->isRunning()) << way.name;
        EXPECT_EQ(completions, 1) << way.name;
        EXPECT_EQ(second, 0) << way.name;
        // A later showing builds a new panel with its own completion.
        welcome.show([&] { ++second; });
        welcome.window()->close();
        EXPECT_EQ(second, 1) << way.name;
        EXPECT_EQ(completions, 1) << way.name;
    }
}

TEST(Onboarding, TheHintNamesTheStoredHoldKeyAndReadsUnknownValuesAsControl) {
    const std::pair<std::optional<QString>, QString> rows[] = {
        {std::nullopt, u"Hold Ctrl to open"_qs}, {u"control"_qs, u"Hold Ctrl to open"_qs},
        {u"option"_qs, u"Hold Alt to open"_qs},  {u"command"_qs, u"Hold Super to open"_qs},
        {u"shift"_qs, u"Hold Ctrl to open"_qs},  {u"Command"_qs, u"Hold Ctrl to open"_qs},
    };
    for (const auto& [stored, text] : rows) {
        MemorySettingsStore settings;
        if (stored)
            settings.setString(u"valimbra.holdModifier"_qs, *stored);
        EXPECT_EQ(ValimbraOnboardingWindowController::holdHintText(settings), text)
            << stored.value_or(u"(absent)"_qs).toStdString();
    }
}

TEST(Onboarding, TheDemoFansOutAfterHalfASecondThenEvery3Point6SecondsUntilStopped) {
    FakeScheduler clock;
    OnboardingRingDemo demo(clock);
    QList<std::pair<qint64, bool>> changes;
    qint64 now = 0;
    QObject::connect(&demo, &OnboardingRingDemo::shownChanged, [&] {
        changes.append({now, demo.isShown()});
    });
    demo.start();
    for (; now < 8000; now += 100)
        clock.advance(100ms);
    // Each advance reports at its start; a change at t lands in the step that ends at t.
    const QList<std::pair<qint64, bool>> expected{
        {400, true}, {3200, false}, {4000, true}, {6800, false}, {7600, true}};
    EXPECT_EQ(changes, expected);
    demo.stop();
    clock.advance(10s);
    EXPECT_EQ(changes.size(), expected.size() + 1) << "a stopped loop changes nothing more";
    EXPECT_FALSE(demo.isShown()) << "it folds, so a later start fans out again";

    // Tiles on the ring, the first at the top, all inside the canvas.
    for (int i = 0; i < OnboardingRingDemo::maxSlots; ++i) {
        const QPointF p = demo.tilePosition(i);
        EXPECT_NEAR(std::hypot(p.x(), p.y()), OnboardingRingDemo::radius, 1e-9);
        EXPECT_LE(std::abs(p.x()) + OnboardingRingDemo::tileW / 2 * M_SQRT2,
                  OnboardingRingDemo::canvas / 2);
    }
    EXPECT_NEAR(demo.tilePosition(0).y(), -OnboardingRingDemo::radius, 1e-9);
}

// A tray icon on each edge of a 1280 x 800 screen, near corners, and on a second screen.
// Qt asks a HiDPI screen's image in device pixels: the shadow must be the same picture, finer.
TEST(Onboarding, TheIconShadowAtTwiceTheSizeIsTheSameShadow) {
    OnboardingImageProvider provider;
    const int side = OnboardingImageProvider::shadowSide;
    const QImage one = provider.requestImage(u"icon-shadow"_qs, nullptr, {side, side});
    const QImage two = provider.requestImage(u"icon-shadow"_qs, nullptr, {2 * side, 2 * side});
    ASSERT_EQ(two.size(), QSize(2 * side, 2 * side));
    int worst = 0;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            int fine = 0;
            for (int k = 0; k < 4; ++k)
                fine += qAlpha(two.pixel(2 * x + k % 2, 2 * y + k / 2));
            worst = std::max(worst, std::abs(fine / 4 - qAlpha(one.pixel(x, y))));
        }
    EXPECT_LE(worst, 16);
}

TEST(HintPlacement, ThePillPointsAtTheIconFromInsideTheScreen) {
    const QRectF screen(0, 0, 1280, 800);
    struct Row {
        QRectF icon, screen, frame;
        TailSide tail;
        QPointF target;
    };
    const Row rows[] = {
        {{628, 0, 24, 24}, screen, {552, 7, 176, 72}, TailSide::top, {640, 24}},
        {{628, 776, 24, 24}, screen, {552, 721, 176, 72}, TailSide::bottom, {640, 776}},
        {{0, 388, 24, 24}, screen, {7, 364, 176, 72}, TailSide::left, {24, 400}},
        {{1256, 388, 24, 24}, screen, {1097, 364, 176, 72}, TailSide::right, {1256, 400}},
        // Near a corner the pill slides inside; the tail still points at the icon.
        {{1250, 0, 24, 24}, screen, {1104, 7, 176, 72}, TailSide::top, {1262, 24}},
        {{2, 774, 24, 24}, screen, {0, 719, 176, 72}, TailSide::bottom, {14, 774}},
        {{3100, 0, 24, 24}, {1280, 0, 1920, 1080}, {3024, 7, 176, 72}, TailSide::top, {3112, 24}},
    };
    for (const Row& row : rows) {
        const auto p = placeHint(row.icon, row.screen);
        ASSERT_TRUE(p) << row.icon.x() << "," << row.icon.y();
        EXPECT_EQ(p->frame, row.frame) << row.icon.x() << "," << row.icon.y();
        EXPECT_EQ(p->tail, row.tail) << row.icon.x() << "," << row.icon.y();
        EXPECT_EQ(p->target, row.target) << row.icon.x() << "," << row.icon.y();
        EXPECT_TRUE(row.screen.contains(p->frame));
    }
    // No geometry from the tray (some StatusNotifier hosts), or an icon on no screen: no hint.
    EXPECT_FALSE(placeHint(QRectF(), screen));
    EXPECT_FALSE(placeHint(QRectF(2000, 10, 24, 24), screen));
}

class Hint : public ::testing::Test {
protected:
    FakePlatform fake;
    QRectF icon{948, 0, 24, 24};
    ValimbraMenuBarHintWindowController hint{fake.platform(), [this] { return icon; }};
};

TEST_F(Hint, ShowsBelowATopPanelIconTakingNoInputAndGoesAfterTenSeconds) {
    hint.show();
    ASSERT_TRUE(hint.isShown());
    EXPECT_EQ(hint.window()->geometry(), QRect(872, 7, 176, 72));
    EXPECT_EQ(hint.tailSide(), u"top"_qs);
    EXPECT_EQ(hint.tailTip(), QPointF(88, 17));
    const Qt::WindowFlags flags = hint.window()->flags();
    EXPECT_TRUE(flags & Qt::WindowTransparentForInput);
    EXPECT_TRUE(flags & Qt::WindowDoesNotAcceptFocus);
    EXPECT_EQ(fake.input.globalCount(), 1);
    EXPECT_EQ(fake.input.localCount(), 1);

    hint.show(); // ignored while shown
    EXPECT_EQ(fake.input.globalCount(), 1);
    fake.scheduler.advance(9999ms);
    EXPECT_FALSE(hint.isLeaving());
    fake.scheduler.advance(1ms);
    EXPECT_TRUE(hint.isLeaving()) << "fading out";
    EXPECT_EQ(fake.input.installedCount(), 0);
    fake.scheduler.advance(200ms);
    EXPECT_FALSE(hint.isShown());
    EXPECT_EQ(fake.input.strayRemovals(), 0);
}

TEST_F(Hint, TheFirstClickAnywhereDismissesItAndPassesOn) {
    for (int button : {0, 1}) {
        hint.show();
        ASSERT_TRUE(hint.isShown());
        EXPECT_TRUE(fake.input.mouseDown(button, {300, 300})) << "the click goes on";
        fake.scheduler.runPending();
        EXPECT_TRUE(hint.isLeaving()) << button;
        fake.scheduler.advance(200ms);
        EXPECT_FALSE(hint.isShown()) << button;
        EXPECT_EQ(fake.input.installedCount(), 0);
        fake.scheduler.advance(10s); // the cancelled timer stays quiet
    }
    EXPECT_EQ(fake.input.strayRemovals(), 0);
}

TEST_F(Hint, NoTrayGeometryMeansNoHint) {
    icon = QRectF();
    hint.show();
    EXPECT_FALSE(hint.isShown());
    icon = QRectF(5000, 0, 24, 24); // on no screen
    hint.show();
    EXPECT_FALSE(hint.isShown());
    EXPECT_EQ(fake.input.installedCount(), 0);
}

} // namespace
