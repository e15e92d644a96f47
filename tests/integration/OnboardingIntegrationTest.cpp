// The first run of the real valimbra on a fresh profile: the welcome, then the hint pointing at
// the tray icon from whichever edge the tray is on, gone at the first click elsewhere.
#include "AccessibleFixture.h"

namespace valimbra::testing {
namespace {

class OnboardingTest : public AccessibleTest {
protected:
    bool firstLaunch() const override { return true; }

    std::optional<Geometry> hintWindow() const {
        const auto ids =
            xdotool({u"search"_qs, u"--onlyvisible"_qs, u"--name"_qs, u"^Valimbra Hint$"_qs});
        if (!ids || ids->trimmed().isEmpty())
            return std::nullopt;
        return geometry(ids->trimmed().split(u'\n').first());
    }
};

TEST_F(OnboardingTest, AFreshProfileWelcomesOnceThenTheHintPointsAtTheTrayIcon) {
    ASSERT_TRUE(showing(u"Start Using Valimbra"_qs)) << "the welcome on the first launch";
    EXPECT_TRUE(showing(u"Hold Ctrl to open"_qs));
    EXPECT_EQ(setting(u"valimbra.hasSeenOnboarding"_qs), u"true"_qs);
    QThread::msleep(1500); // the demonstration has fanned out
    s->screenshot(u"onboarding"_qs);

    // Another window is in use when the welcome goes.
    ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(term2Window)}));
    ASSERT_TRUE(press(u"Start Using Valimbra"_qs));
    ASSERT_TRUE(atspi({u"gone"_qs, u"Start Using Valimbra"_qs}));

    std::optional<Geometry> icon, hint;
    ASSERT_TRUE(XSession::waitUntil([&] { return (icon = trayIcon()).has_value(); }));
    ASSERT_TRUE(XSession::waitUntil([&] { return (hint = hintWindow()).has_value(); }))
        << "the hint after the welcome";
    QThread::msleep(400); // faded in
    s->screenshot(u"onboarding-hint"_qs);
    // Centred on the icon along the tray as far as the screen allows (the tray is at its right
    // end), reaching over the icon's edge that faces the screen.
    const double centre =
        std::clamp(icon->x + icon->width / 2.0, hint->width / 2.0, 1280 - hint->width / 2.0);
    EXPECT_NEAR(hint->x + hint->width / 2.0, centre, 1.5);
    const bool trayAtTop = icon->y < 400;
    if (trayAtTop)
        EXPECT_EQ(hint->y, icon->y + icon->height - 17);
    else
        EXPECT_EQ(hint->y + hint->height, icon->y + 17);

    // A click in another window reaches it and removes the hint.
    const std::optional<Geometry> term = geometry(QString::number(term1Window));
    ASSERT_TRUE(term);
    pointer(term->x + term->width / 2, term->y + term->height / 2);
    ASSERT_TRUE(xdotool({u"click"_qs, u"1"_qs}));
    EXPECT_TRUE(activeIs(term1Window)) << "the click reached its window";
    EXPECT_TRUE(XSession::waitUntil([&] { return !hintWindow(); }, 2000));

    // Later launches show neither.
    s->stop(valimbra);
    valimbra = s->spawn({kValimbra});
    ASSERT_TRUE(waitReady());
    QThread::msleep(800);
    EXPECT_TRUE(atspi({u"gone"_qs, u"Start Using Valimbra"_qs}));
    EXPECT_FALSE(hintWindow());
}

} // namespace
} // namespace valimbra::testing
