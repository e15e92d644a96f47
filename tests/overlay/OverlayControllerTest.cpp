#include "core/AppSwitcherEngine.h"
#include "overlay/AppIconProvider.h"
#include "overlay/OverlayGeometry.h"
#include "overlay/OverlayWindowController.h"
#include "platform/fake/FakePlatform.h"

#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(Valimbra_OverlayPlugin)

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

// The panel on the offscreen platform, driven like the running program drives it.
class Panel : public ::testing::Test {
protected:
    void SetUp() override {
        fake.workspace.launch(10, u"debian-xterm"_qs, u"XTerm"_qs);
        fake.workspace.launch(11, u"org.gnome.Calculator"_qs, u"Calculator"_qs);
        fake.workspace.launch(99, u"valimbra"_qs, u"Valimbra"_qs, ActivationPolicy::Accessory);
        fake.workspace.setFrontmost(10);
        fake.workspace.setOwnProcessId(99);
        engine = std::make_unique<AppSwitcherEngine>(fake.platform());
        engine->setReady(true);
        controller = std::make_unique<OverlayWindowController>(*engine, fake.platform(),
                                                               engine->takeIconProvider());
        QObject::connect(engine.get(), &SwitcherModel::isVisibleChanged, controller.get(), [this] {
            if (engine->isVisible())
                controller->showPanel();
            else
                controller->hidePanel(true);
        });
        fake.scheduler.runPending();
    }
    bool key(int keyCode, const QString& characters = {}, quint64 flags = 0) {
        InputEvent e;
        e.type = InputEventType::KeyDown;
        e.keyCode = keyCode;
        e.characters = characters;
        e.modifierFlags = flags;
        e.window = controller->window();
        return fake.input.deliver(e);
    }

    FakePlatform fake;
    std::unique_ptr<AppSwitcherEngine> engine;
    std::unique_ptr<OverlayWindowController> controller;
};

TEST_F(Panel, OpensCentredOnThePointerAndClosesAfterTheDelay) {
    fake.screens.setPointer({1900, 40});
    engine->show();
    EXPECT_TRUE(controller->isOnScreen());
    EXPECT_EQ(controller->panelGeometry(), QRectF(1200, 30, 720, 720)) << "clamped to the frame";
    EXPECT_FALSE(controller->window()->flags() & Qt::WindowDoesNotAcceptFocus);
    EXPECT_TRUE(controller->window()->flags() & Qt::BypassWindowManagerHint);
    engine->hide();
    EXPECT_EQ(controller->state(), OverlayWindowController::State::Closing);
    fake.scheduler.advance(439ms);
    EXPECT_TRUE(controller->isOnScreen());
    fake.scheduler.advance(2ms);
    EXPECT_FALSE(controller->isOnScreen());
}

// Opened on a second screen at 1920,0 (pointer at 2500,500), then the screens change.
TEST_F(Panel, MovesOnlyWhenTheScreensNoLongerHoldIt) {
    const ScreenInfo main{QRectF(0, 0, 1920, 1080), QRectF(0, 30, 1920, 1050)};
    const ScreenInfo second{QRectF(1920, 0, 1280, 1024), QRectF(1920, 0, 1280, 1024)};
    const ScreenInfo third{QRectF(-1280, 0, 1280, 1024), QRectF(-1280, 0, 1280, 1024)};
    const ScreenInfo narrower{QRectF(1920, 0, 900, 1024), QRectF(1920, 0, 900, 1024)};
    const struct {
        const char* change;
        QList<ScreenInfo> screens;
        QRectF expected;
    } rows[] = {
        {"a third screen added", {main, second, third}, QRectF(2140, 140, 720, 720)},
        {"its screen made narrower", {main, narrower}, QRectF(2100, 140, 720, 720)},
        {"its screen unplugged: the main one", {main}, QRectF(1200, 140, 720, 720)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.change);
        fake.screens.setScreens({main, second});
        fake.screens.setPointer({2500, 500});
        engine->show();
        ASSERT_EQ(controller->panelGeometry(), QRectF(2140, 140, 720, 720));
        int moves = 0;
        const auto counted =
            QObject::connect(controller.get(), &OverlayWindowController::moved, [&] { ++moves; });
        fake.screens.setScreens(row.screens);
        EXPECT_EQ(controller->panelGeometry(), row.expected);
        EXPECT_EQ(moves, row.expected.x() == 2140 ? 0 : 1) << "the views' hover gate is reset";
        QObject::disconnect(counted);
        engine->hide();
        fake.scheduler.advance(500ms);
        fake.screens.setScreens({main, second});
        EXPECT_FALSE(controller->isOnScreen()) << "a closed panel stays parked";
    }
}

TEST_F(Panel, ReopeningDuringTheDelayKeepsThePanelAndHandsNothingBack) {
    fake.workspace.setFrontmost(99); // our own window was in front
    engine->show();
    engine->hide();
    fake.scheduler.advance(200ms);
    engine->show();
    fake.scheduler.advance(500ms);
    EXPECT_TRUE(controller->isOnScreen());
    EXPECT_TRUE(fake.workspace.activateCalls().isEmpty());
}

TEST_F(Panel, CancelHandsFocusBackOnlyWhenWeTookIt) {
    engine->show();
    fake.workspace.setFrontmost(99);
    engine->hide();
    fake.scheduler.advance(500ms);
    ASSERT_EQ(fake.workspace.activateCalls().size(), 1);
    EXPECT_EQ(fake.workspace.activateCalls().first().pid, 10);

    fake.workspace.clearRecordedCalls();
    fake.workspace.setFrontmost(10);
    engine->show();
    engine->hide();
    fake.scheduler.advance(500ms);
    EXPECT_TRUE(fake.workspace.activateCalls().isEmpty()) << "the previous app kept its focus";
}

TEST_F(Panel, KeysDriveTheSwitcher) {
    engine->show();
    fake.input.setFocusIsOurs(true);
    EXPECT_FALSE(key(48)) << "Tab is taken";
    EXPECT_EQ(engine->highlightIndex(), 0);
    key(48, {}, ModifierFlag::Shift);
    EXPECT_EQ(engine->highlightIndex(), 1) << "Shift-Tab wraps backwards";
    EXPECT_FALSE(key(8, u"c"_qs));
    EXPECT_TRUE(key(27, u"-"_qs)) << "punctuation passes on";
    EXPECT_EQ(engine->searchQuery(), u"c"_qs);
    key(51);
    EXPECT_EQ(engine->searchQuery(), QString());
    key(53);
    EXPECT_FALSE(engine->isVisible());
}

TEST_F(Panel, ClicksOutsideCancelAndInsideDoNot) {
    engine->show();
    EXPECT_TRUE(fake.input.mouseDown(0, {5, 5})) << "the global click is never consumed";
    EXPECT_FALSE(engine->isVisible());

    fake.scheduler.advance(500ms);
    engine->show();
    fake.input.setFocusIsOurs(true);
    InputEvent inside;
    inside.type = InputEventType::LeftMouseDown;
    inside.window = controller->window();
    EXPECT_TRUE(fake.input.deliver(inside));
    EXPECT_TRUE(engine->isVisible());
    InputEvent settings = inside;
    settings.window = nullptr; // another window of ours
    EXPECT_TRUE(fake.input.deliver(settings)) << "and still delivered";
    EXPECT_FALSE(engine->isVisible());
}

TEST_F(Panel, ScrollStepsEachEventAlone) {
    engine->show();
    controller->handleScroll(1.5, 1.0);
    EXPECT_EQ(engine->highlightIndex(), 0);
    controller->handleScroll(1.5, -1.0);
    EXPECT_EQ(engine->highlightIndex(), 0);
    controller->handleScroll(2.0, 0); // the threshold itself is no step
    EXPECT_EQ(engine->highlightIndex(), 0);
    controller->handleScroll(-3.0, 0);
    EXPECT_EQ(engine->highlightIndex(), 1);
}

TEST_F(Panel, StyleIsReadAtEveryOpening) {
    engine->show();
    EXPECT_EQ(controller->switcherStyle(), u"spatialTile"_qs);
    EXPECT_EQ(controller->animationStyle(), u"bloom"_qs);
    engine->hide();
    fake.settings.setString(u"valimbra.switcherStyle"_qs, u"grid"_qs);
    engine->show();
    EXPECT_EQ(controller->switcherStyle(), u"grid"_qs);
    EXPECT_EQ(controller->animationStyle(), u"iris"_qs) << "the grid's own default motion";
    fake.settings.setString(u"valimbra.animationStyle"_qs, u"bloom"_qs);
    engine->hide();
    engine->show();
    EXPECT_EQ(controller->animationStyle(), u"bloom"_qs);
}

} // namespace
