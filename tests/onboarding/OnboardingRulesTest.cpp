#include "onboarding/FirstRun.h"
#include "onboarding/HintPlacement.h"
#include "platform/fake/MemorySettingsStore.h"

#include <gtest/gtest.h>

using namespace valimbra;

TEST(FirstRun, TheFlagIsWrittenFirstAndTheWelcomeComesOnce) {
    MemorySettingsStore settings;
    EXPECT_TRUE(FirstRun::begin(settings));
    EXPECT_TRUE(settings.boolValue(FirstRun::seenKey)) << "recorded before anything is shown";
    EXPECT_FALSE(FirstRun::begin(settings));

    int completions = 0;
    CompletionOnce complete([&] { ++completions; });
    complete(); // "Start Using Valimbra"
    complete(); // and the window closing after it
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(complete.done());
}

// A tray icon on each edge of a 1280 x 800 screen, near corners, and on a second screen.
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
