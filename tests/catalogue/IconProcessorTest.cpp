#include "catalogue/IconProcessor.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

using namespace valimbra;

namespace {

enum Corner { BL, BR, TL, TR }; // bottom-left, bottom-right, top-left, top-right

// An icon described region by region: a background, whole quadrants painted over it, then the
// centre square painted over those (so a painted quadrant shows as an L around the centre).
struct IconLook {
    QColor background = QColor(128, 128, 128);
    std::vector<std::pair<Corner, QColor>> corners;
    std::optional<QColor> centre; // default: the background
};

QImage paintIcon(const IconLook& look, QSize size = QSize(64, 64)) {
    QImage icon(size, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&icon);
    p.setCompositionMode(QPainter::CompositionMode_Source);
    const int w = size.width(), h = size.height();
    p.fillRect(icon.rect(), look.background);
    for (const auto& [corner, colour] : look.corners) {
        const int x = (corner == BR || corner == TR) ? w / 2 : 0;
        const int y = (corner == BL || corner == BR) ? h / 2 : 0;
        p.fillRect(QRect(x, y, w / 2, h / 2), colour);
    }
    p.fillRect(QRect(w / 4, h / 4, w / 2, h / 2), look.centre.value_or(look.background));
    return icon;
}

// Independent model of one region's result: an opaque mix, rounded to 8 bits, then saturation
// x 1.2 and brightness x 1.05 (capped), through QColor's own HSV conversion.
QColor enhanced(const QColor& c) {
    float h, s, v;
    c.getHsvF(&h, &s, &v);
    return QColor::fromHsvF(std::max(h, 0.0f), std::min(s * 1.2f, 1.0f), std::min(v * 1.05f, 1.0f));
}

// A quadrant's average: three quarters its own colour, one quarter the centre's.
QColor quadrant(const QColor& own, const QColor& centre) {
    const auto mix = [](int a, int b) { return qRound(0.75 * a + 0.25 * b); };
    return enhanced(QColor(mix(own.red(), centre.red()), mix(own.green(), centre.green()),
                           mix(own.blue(), centre.blue())));
}

void expectColour(const QColor& actual, const QColor& expected) {
    const auto near = [](float a, float b) { return std::abs(a - b) <= 1.5f / 255.0f; };
    EXPECT_TRUE(near(actual.redF(), expected.redF()) && near(actual.greenF(), expected.greenF()) &&
                near(actual.blueF(), expected.blueF()) && actual.alpha() == 255)
        << actual.name(QColor::HexArgb).toStdString() << " vs " << expected.name().toStdString();
}

const QColor kGrey(128, 128, 128), kRed(255, 0, 0), kGreen(0, 255, 0), kMuted(100, 100, 200),
    kOrange(255, 140, 0), kTeal(60, 140, 140);
const QColor kDark(0, 0, 40); // coloured, but brightness 0.165 after enhancement

struct ColourCase {
    const char* name;
    IconLook look;
    QColor expected;
};

class IconColour : public ::testing::TestWithParam<ColourCase> {};

// Every icon size is stretched over the same raster: large, small and non-square icons agree.
TEST_P(IconColour, MatchesTheRegionModelAtEverySize) {
    for (const QSize size : {QSize(64, 64), QSize(128, 128), QSize(512, 512), QSize(128, 256)}) {
        SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height());
        const std::optional<QColor> colour =
            IconProcessor::computeColor(paintIcon(GetParam().look, size));
        ASSERT_TRUE(colour.has_value());
        expectColour(*colour, GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Icons, IconColour,
    ::testing::ValuesIn(std::vector<ColourCase>{
        {"FullyTransparentIsGrey", {Qt::transparent, {}, {}}, IconProcessor::systemGrey()},
        {"DullIconKeepsItsCentre", {kGrey, {}, {}}, enhanced(kGrey)},
        {"OneSaturatedCorner", {kGrey, {{TR, kRed}}, {}}, quadrant(kRed, kGrey)},
        {"MoreSaturatedCornerWins", {kGrey, {{TL, kRed}, {BR, kMuted}}, {}}, quadrant(kRed, kGrey)},
        // Equal saturation: bottom-left, then bottom-right, then top-left.
        {"TieGoesToBottomLeft", {kGrey, {{TR, kRed}, {BL, kGreen}}, {}}, quadrant(kGreen, kGrey)},
        {"TieGoesToBottomRight", {kGrey, {{TL, kRed}, {BR, kGreen}}, {}}, quadrant(kGreen, kGrey)},
        {"DarkCentreLosesToVividCorner", {kGrey, {{TL, kOrange}}, kDark}, quadrant(kOrange, kDark)},
        {"DarkCentreKeptWhenNoneIsVivid", {kGrey, {}, kDark}, enhanced(kDark)},
        {"VividCentreBeatsCorner", {kGrey, {{BL, kRed}}, kTeal}, enhanced(kTeal)},
        // Alpha weighs the average, it does not darken it; 0.1 is the threshold.
        {"AlphaJustAboveTheThreshold", {QColor(255, 0, 0, 26), {}, {}}, kRed},
        {"AlphaAtTheThreshold", {QColor(255, 0, 0, 25), {}, {}}, IconProcessor::systemGrey()},
        {"TransparentMargins", {Qt::transparent, {{BR, kOrange}}, {}}, enhanced(kOrange)},
    }),
    [](const auto& info) { return std::string(info.param.name); });

// Concurrent requests agree with the uncached computation and cache once per identifier; from
// then on an identifier keeps its colour whatever icon comes with it.
TEST(IconProcessor, CachesOneColourPerIdentifierAcrossThreadsAndANullIconIsGrey) {
    IconProcessor processor;
    std::vector<QImage> icons;
    for (const QColor& c : {kRed, kGreen, kOrange, kTeal, kMuted})
        icons.push_back(paintIcon({c, {}, {}}, QSize(128, 128)));
    std::vector<std::vector<QColor>> seen(4, std::vector<QColor>(icons.size()));
    {
        std::vector<std::jthread> threads;
        for (auto& mine : seen)
            threads.emplace_back([&] {
                for (int round = 0; round < 20; ++round)
                    for (std::size_t i = 0; i < icons.size(); ++i)
                        mine[i] = processor.dominantColor(icons[i], QString::number(i));
            });
    }
    EXPECT_EQ(processor.cacheSize(), qsizetype(icons.size()));
    for (std::size_t i = 0; i < icons.size(); ++i)
        for (const auto& perThread : seen)
            EXPECT_EQ(perThread[i], *IconProcessor::computeColor(icons[i])) << "icon " << i;
    EXPECT_EQ(processor.dominantColor(icons[1], u"0"_qs), seen[0][0]);

    EXPECT_FALSE(IconProcessor::computeColor(QImage()).has_value());
    expectColour(processor.dominantColor(QImage(), u"x"_qs), IconProcessor::systemGrey());
}

} // namespace
