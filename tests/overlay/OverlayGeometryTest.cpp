#include "overlay/OverlayGeometry.h"
#include "platform/InputMonitor.h"

#include <gtest/gtest.h>

using namespace valimbra;
using namespace valimbra::overlay;

struct RadiusCase {
    int cards;
    SwitcherStyle style;
    double radius;
};
class RingRadius : public ::testing::TestWithParam<RadiusCase> {};
TEST_P(RingRadius, GrowsWithTheCardCount) {
    EXPECT_NEAR(ringRadius(GetParam().cards, GetParam().style), GetParam().radius, 0.005);
}
INSTANTIATE_TEST_SUITE_P(Cases, RingRadius,
                         ::testing::Values(RadiusCase{0, SwitcherStyle::spatialTile, 0.0},
                                           RadiusCase{-3, SwitcherStyle::glassOrb, 0.0},
                                           RadiusCase{1, SwitcherStyle::spatialTile, 12.73},
                                           RadiusCase{4, SwitcherStyle::spatialTile, 50.93},
                                           RadiusCase{15, SwitcherStyle::spatialTile, 190.99},
                                           RadiusCase{15, SwitcherStyle::glassOrb, 186.21},
                                           RadiusCase{15, SwitcherStyle::grid, 190.99}));

TEST(RingGeometry, CardsSpreadClockwiseFromTwelve) {
    EXPECT_DOUBLE_EQ(cardAngle(0, 4), 0);
    EXPECT_DOUBLE_EQ(cardAngle(1, 4), 90);
    EXPECT_DOUBLE_EQ(cardAngle(3, 4), 270);
    EXPECT_DOUBLE_EQ(cardAngle(2, 0), 0);
    const double r = ringRadius(4, SwitcherStyle::spatialTile);
    // Top, right, bottom, left; y grows downwards.
    const QPointF expected[] = {{0, -(r + 8)}, {r + 8, 0}, {0, r + 8}, {-(r + 8), 0}};
    for (int i = 0; i < 4; ++i) {
        const QPointF p = cardPosition(cardAngle(i, 4), r, true, AnimationStyle::bloom);
        EXPECT_NEAR(p.x(), expected[i].x(), 1e-9) << i;
        EXPECT_NEAR(p.y(), expected[i].y(), 1e-9) << i;
    }
}

TEST(RingGeometry, ClosedCardsWaitJustAboveTheCentreAndIrisTurnsThem) {
    const QPointF bloom = cardPosition(0, 50, false, AnimationStyle::bloom);
    EXPECT_NEAR(bloom.x(), 0, 1e-9);
    EXPECT_NEAR(bloom.y(), -8, 1e-9);
    EXPECT_DOUBLE_EQ(cardRotation(90, false, AnimationStyle::iris), 162);
    EXPECT_DOUBLE_EQ(cardRotation(90, true, AnimationStyle::iris), 90);
    EXPECT_DOUBLE_EQ(cardRotation(90, false, AnimationStyle::bloom), 90);
}

struct PlacementCase {
    const char* what;
    QPointF pointer;
    QRectF visible;
    QPointF origin;
};
class Placement : public ::testing::TestWithParam<PlacementCase> {};
TEST_P(Placement, CentresOnThePointerInsideTheVisibleFrame) {
    EXPECT_EQ(panelOrigin(GetParam().pointer, GetParam().visible), GetParam().origin)
        << GetParam().what;
}
INSTANTIATE_TEST_SUITE_P(
    Cases, Placement,
    ::testing::Values(
        PlacementCase{"centre", {960, 540}, {0, 30, 1920, 1050}, {600, 180}},
        PlacementCase{"top-right corner", {1440, 0}, {0, 0, 1440, 900}, {720, 0}},
        PlacementCase{"bottom-left corner", {0, 900}, {0, 0, 1440, 900}, {0, 180}},
        PlacementCase{"below a top panel", {500, 31}, {0, 30, 1920, 1050}, {140, 30}},
        PlacementCase{"a low frame: overhangs the top", {300, 300}, {0, 0, 1000, 600}, {0, -120}},
        PlacementCase{
            "a narrow frame: the left edge wins", {300, 300}, {100, 0, 500, 900}, {100, 0}},
        PlacementCase{"second screen", {2500, 500}, {1920, 0, 1280, 1024}, {2140, 140}}));

TEST(ScreenChoice, PointerScreenThenMainThenNone) {
    const ScreenInfo left{{0, 0, 1920, 1080}, {0, 30, 1920, 1050}};
    const ScreenInfo right{{1920, 0, 1280, 1024}, {1920, 0, 1280, 1024}};
    EXPECT_EQ(screenForPointer({left, right}, left, {2000, 10})->frame, right.frame);
    EXPECT_EQ(screenForPointer({left, right}, left, {1920, 10})->frame, right.frame);
    // Below the shorter screen: between displays, so the main screen.
    EXPECT_EQ(screenForPointer({left, right}, left, {2000, 1050})->frame, left.frame);
    EXPECT_FALSE(screenForPointer({}, std::nullopt, {10, 10}));
}

TEST(Drag, FortyPointsAlongTheRingSwapOnePlace) {
    EXPECT_EQ(dragSwapStep(0, {39, 0}), 0);
    EXPECT_EQ(dragSwapStep(0, {41, 0}), 1);
    EXPECT_EQ(dragSwapStep(0, {-41, 300}), -1) << "only the part along the ring counts";
    EXPECT_EQ(dragSwapStep(90, {0, 41}), 1) << "at three o'clock clockwise is downwards";
    EXPECT_EQ(dragSwapStep(180, {41, 0}), -1);
}

struct KeyCase {
    int keyCode;
    quint64 flags;
    const char* characters;
    KeyAction action;
    const char* search;
};
class Keys : public ::testing::TestWithParam<KeyCase> {};
TEST_P(Keys, MapToSwitcherOperations) {
    QString text;
    const KeyCase& c = GetParam();
    EXPECT_EQ(keyAction(c.keyCode, c.flags, QString::fromUtf8(c.characters), &text), c.action)
        << c.keyCode << " " << c.characters;
    EXPECT_EQ(text, QString::fromUtf8(c.search));
}
INSTANTIATE_TEST_SUITE_P(
    Cases, Keys,
    ::testing::Values(
        KeyCase{36, 0, "\r", KeyAction::Commit, ""}, KeyCase{76, 0, "\r", KeyAction::Commit, ""},
        KeyCase{48, 0, "\t", KeyAction::Forward, ""},
        KeyCase{48, ModifierFlag::Shift, "\t", KeyAction::Backward, ""},
        KeyCase{51, 0, "\b", KeyAction::DeleteBackward, ""},
        KeyCase{53, 0, "\x1b", KeyAction::Cancel, ""}, KeyCase{14, 0, "é", KeyAction::Search, "é"},
        KeyCase{23, 0, "5", KeyAction::Search, "5"}, KeyCase{8, 0, "ж", KeyAction::Search, "ж"},
        KeyCase{0, ModifierFlag::Shift, "A", KeyAction::Search, "A"},
        KeyCase{27, 0, "-", KeyAction::PassOn, ""}, KeyCase{49, 0, " ", KeyAction::PassOn, ""},
        KeyCase{123, 0, "", KeyAction::PassOn, ""}));
