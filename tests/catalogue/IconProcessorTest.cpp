#include "catalogue/IconProcessor.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace valimbra;

// Readable parameter names in failure messages (found by argument-dependent lookup).
void PrintTo(const QSize& s, std::ostream* os) {
    *os << s.width() << "x" << s.height();
}

namespace {

enum class Corner { BottomLeft, BottomRight, TopLeft, TopRight };

// An icon described region by region: a background, whole quadrants painted over it, then the
// centre square painted over those (so a painted quadrant shows as an L around the centre).
struct IconSpec {
    QColor background = QColor(128, 128, 128);
    std::vector<std::pair<Corner, QColor>> corners;
    std::optional<QColor> centre; // default: the background
};

QImage paintIcon(const IconSpec& spec, QSize size) {
    QImage icon(size, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&icon);
    p.setCompositionMode(QPainter::CompositionMode_Source);
    const int w = size.width(), h = size.height();
    p.fillRect(icon.rect(), spec.background);
    for (const auto& [corner, colour] : spec.corners) {
        const int x = (corner == Corner::BottomRight || corner == Corner::TopRight) ? w / 2 : 0;
        const int y = (corner == Corner::BottomLeft || corner == Corner::BottomRight) ? h / 2 : 0;
        p.fillRect(QRect(x, y, w / 2, h / 2), colour);
    }
    p.fillRect(QRect(w / 4, h / 4, w / 2, h / 2), spec.centre.value_or(spec.background));
    return icon;
}

// Independent model of one region's result: an opaque mix, rounded to 8 bits, then saturation
// x 1.2 and brightness x 1.05 (capped), through QColor's own HSV conversion.
QColor enhanced(double r, double g, double b) {
    const QColor c = QColor::fromRgb(qRound(r), qRound(g), qRound(b));
    float h, s, v;
    c.getHsvF(&h, &s, &v);
    return QColor::fromHsvF(std::max(h, 0.0f), std::min(s * 1.2f, 1.0f), std::min(v * 1.05f, 1.0f));
}
QColor enhanced(const QColor& c) {
    return enhanced(c.red(), c.green(), c.blue());
}

// A quadrant's average: three quarters its own colour, one quarter the centre's.
QColor quadrant(const QColor& own, const QColor& centre) {
    return enhanced(0.75 * own.red() + 0.25 * centre.red(),
                    0.75 * own.green() + 0.25 * centre.green(),
                    0.75 * own.blue() + 0.25 * centre.blue());
}

void expectColour(const QColor& actual, const QColor& expected) {
    const float tol = 1.5f / 255.0f;
    EXPECT_NEAR(actual.redF(), expected.redF(), tol) << "red";
    EXPECT_NEAR(actual.greenF(), expected.greenF(), tol) << "green";
    EXPECT_NEAR(actual.blueF(), expected.blueF(), tol) << "blue";
    EXPECT_EQ(actual.alpha(), 255);
}

const QColor kGrey(128, 128, 128);
const QColor kRed(255, 0, 0);
const QColor kGreen(0, 255, 0);
const QColor kMutedBlue(100, 100, 200);
const QColor kOrange(255, 140, 0);
const QColor kDarkBlue(0, 0, 40); // coloured, but brightness 0.165 after enhancement
const QColor kTeal(60, 140, 140);

struct ColourCase {
    const char* name;
    IconSpec spec;
    QColor expected;
};

void PrintTo(const ColourCase& c, std::ostream* os) {
    *os << c.name;
}

const std::vector<ColourCase>& colourCases() {
    static const std::vector<ColourCase> cases = {
        {"FullyTransparentIsGrey", {Qt::transparent, {}, {}}, IconProcessor::systemGrey()},
        {"DullIconKeepsItsCentre", {kGrey, {}, {}}, enhanced(kGrey)},
        {"OneSaturatedCorner", {kGrey, {{Corner::TopRight, kRed}}, {}}, quadrant(kRed, kGrey)},
        {"TwoCornersMoreSaturatedWins",
         {kGrey, {{Corner::TopLeft, kRed}, {Corner::BottomRight, kMutedBlue}}, {}},
         quadrant(kRed, kGrey)},
        {"TwoCornersMoreSaturatedWinsInEitherPlace",
         {kGrey, {{Corner::TopLeft, kMutedBlue}, {Corner::BottomRight, kRed}}, {}},
         quadrant(kRed, kGrey)},
        // Equal saturation: the bottom-left quadrant comes first.
        {"TieGoesToBottomLeft",
         {kGrey, {{Corner::TopRight, kRed}, {Corner::BottomLeft, kGreen}}, {}},
         quadrant(kGreen, kGrey)},
        {"TieGoesToBottomRightOverTopLeft",
         {kGrey, {{Corner::TopLeft, kRed}, {Corner::BottomRight, kGreen}}, {}},
         quadrant(kGreen, kGrey)},
        {"DarkCentreLosesToVividCorner",
         {kGrey, {{Corner::TopLeft, kOrange}}, kDarkBlue},
         quadrant(kOrange, kDarkBlue)},
        {"DarkCentreKeptWhenNoCornerIsVivid", {kGrey, {}, kDarkBlue}, enhanced(kDarkBlue)},
        {"VividCentreBeatsMoreSaturatedCorner",
         {kGrey, {{Corner::BottomLeft, kRed}}, kTeal},
         enhanced(kTeal)},
        // Alpha weighs the average, it does not darken it.
        {"HalfTransparentRedStaysRed", {QColor(255, 0, 0, 128), {}, {}}, kRed},
        {"AlphaJustAboveTheThresholdCounts", {QColor(255, 0, 0, 26), {}, {}}, kRed},
        {"AlphaAtTheThresholdIsIgnored",
         {QColor(255, 0, 0, 25), {}, {}},
         IconProcessor::systemGrey()},
        {"TransparentMarginsAreIgnored",
         {Qt::transparent, {{Corner::BottomRight, kOrange}}, Qt::transparent},
         enhanced(kOrange)},
    };
    return cases;
}

class IconColour : public ::testing::TestWithParam<std::tuple<ColourCase, QSize>> {};

TEST_P(IconColour, MatchesTheRegionModel) {
    const auto& [c, size] = GetParam();
    const std::optional<QColor> colour = IconProcessor::computeColor(paintIcon(c.spec, size));
    ASSERT_TRUE(colour.has_value());
    expectColour(*colour, c.expected);
}

// Every icon size is stretched over the same raster: large, small and non-square icons agree.
INSTANTIATE_TEST_SUITE_P(Icons, IconColour,
                         ::testing::Combine(::testing::ValuesIn(colourCases()),
                                            ::testing::Values(QSize(64, 64), QSize(128, 128),
                                                              QSize(512, 512), QSize(128, 256))),
                         [](const auto& info) {
                             const ColourCase& c = std::get<0>(info.param);
                             const QSize s = std::get<1>(info.param);
                             return std::string(c.name) + "_" + std::to_string(s.width()) + "x" +
                                    std::to_string(s.height());
                         });

TEST(IconProcessor, NullIconGivesGreyAndNoComputation) {
    EXPECT_FALSE(IconProcessor::computeColor(QImage()).has_value());
    IconProcessor processor;
    expectColour(processor.dominantColor(QImage(), u"x"_qs), IconProcessor::systemGrey());
}

TEST(IconProcessor, SecondRequestReturnsTheCachedColourWhateverTheIcon) {
    IconProcessor processor;
    const QImage red = paintIcon({kRed, {}, {}}, QSize(64, 64));
    const QImage green = paintIcon({kGreen, {}, {}}, QSize(64, 64));

    const QColor first = processor.dominantColor(red, u"org.example.Red"_qs);
    expectColour(first, kRed);
    EXPECT_EQ(processor.dominantColor(green, u"org.example.Red"_qs), first);
    EXPECT_EQ(processor.cachedColor(u"org.example.Red"_qs), first);

    // Another identifier is computed from its own icon.
    expectColour(processor.dominantColor(green, u"org.example.Green"_qs), kGreen);
    EXPECT_EQ(processor.cacheSize(), 2);
    EXPECT_FALSE(processor.cachedColor(u"org.example.Blue"_qs).has_value());
}

TEST(IconProcessor, ConcurrentRequestsAgreeAndCacheOncePerIdentifier) {
    IconProcessor processor;
    const std::vector<QColor> palette = {kRed, kGreen, kOrange, kTeal, kMutedBlue};
    std::vector<QImage> icons;
    for (const QColor& c : palette)
        icons.push_back(paintIcon({c, {}, {}}, QSize(128, 128)));

    std::vector<std::vector<QColor>> seen(4, std::vector<QColor>(palette.size()));
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < seen.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) {
                for (std::size_t i = 0; i < icons.size(); ++i)
                    seen[t][i] = processor.dominantColor(icons[i], QString::number(i));
            }
        });
    }
    for (auto& th : threads)
        th.join();

    EXPECT_EQ(processor.cacheSize(), qsizetype(palette.size()));
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const QColor expected = *IconProcessor::computeColor(icons[i]);
        for (const auto& perThread : seen)
            EXPECT_EQ(perThread[i], expected) << "icon " << i;
    }
}

} // namespace
