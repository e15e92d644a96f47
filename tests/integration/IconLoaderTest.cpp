#include "IconLoader.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

namespace valimbra::x11 {
namespace {

std::vector<quint32> netWmIcon(std::initializer_list<std::pair<quint32, quint32>> sizes) {
    std::vector<quint32> data;
    for (auto [w, h] : sizes) {
        data.push_back(w);
        data.push_back(h);
        for (quint32 i = 0; i < w * h; ++i)
            data.push_back(0xff000000u | w); // each image is coloured by its width
    }
    return data;
}

struct NetIconCase {
    const char* name;
    std::vector<quint32> data;
    int expectedSide; // 0: no image
    quint32 expectedSourceWidth;
};

class NetWmIconTest : public ::testing::TestWithParam<NetIconCase> {};

TEST_P(NetWmIconTest, PicksTheSmallestImageAtLeastTheWantedSize) {
    const NetIconCase& c = GetParam();
    const QImage img = IconLoader::fromNetWmIcon(c.data, 128);
    if (c.expectedSide == 0) {
        EXPECT_TRUE(img.isNull());
        return;
    }
    ASSERT_FALSE(img.isNull());
    EXPECT_EQ(img.width(), c.expectedSide);
    EXPECT_EQ(qBlue(img.pixel(img.width() / 2, img.height() / 2)) & 0xff,
              int(c.expectedSourceWidth & 0xff));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, NetWmIconTest,
    ::testing::Values(NetIconCase{"OnlySmall", netWmIcon({{16, 16}, {48, 48}}), 48, 48},
                      NetIconCase{"ExactFirst", netWmIcon({{256, 256}, {128, 128}}), 128, 128},
                      NetIconCase{"LargerScaledDown", netWmIcon({{16, 16}, {200, 200}}), 128, 200},
                      NetIconCase{"Empty", {}, 0, 0}, NetIconCase{"ZeroWidth", {0, 16}, 0, 0},
                      NetIconCase{"Truncated", {48, 48, 1, 2, 3}, 0, 0},
                      NetIconCase{"TruncatedTailIgnored",
                                  [] {
                                      auto d = netWmIcon({{32, 32}});
                                      d.insert(d.end(), {64, 64, 7});
                                      return d;
                                  }(),
                                  32, 32}),
    [](const ::testing::TestParamInfo<NetIconCase>& info) { return info.param.name; });

class IconThemeTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        theme("icons/testtheme",
              "Inherits=hicolor\nDirectories=48x48/apps,scalable/apps\n\n"
              "[48x48/apps]\nSize=48\nType=Fixed\n\n"
              "[scalable/apps]\nSize=64\nMinSize=16\nMaxSize=512\nType=Scalable\n");
        theme("icons/hicolor", "Directories=32x32/apps\n\n[32x32/apps]\nSize=32\nType=Threshold\n");
        png("icons/testtheme/48x48/apps/both.png", 48, Qt::red);
        svg("icons/testtheme/scalable/apps/both.svg");
        png("icons/testtheme/48x48/apps/onlypng.png", 48, Qt::green);
        png("icons/hicolor/32x32/apps/inherited.png", 32, Qt::blue);
    }
    void theme(const QString& rel, const QByteArray& body) {
        QDir().mkpath(dir.filePath(rel));
        QFile f(dir.filePath(rel + QStringLiteral("/index.theme")));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("[Icon Theme]\nName=Test\n" + body);
    }
    void png(const QString& rel, int side, Qt::GlobalColor color) {
        QDir().mkpath(QFileInfo(dir.filePath(rel)).path());
        QImage img(side, side, QImage::Format_ARGB32);
        img.fill(color);
        ASSERT_TRUE(img.save(dir.filePath(rel)));
    }
    void svg(const QString& rel) {
        QDir().mkpath(QFileInfo(dir.filePath(rel)).path());
        QFile f(dir.filePath(rel));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("<svg xmlns='http://www.w3.org/2000/svg' width='16' height='16'>"
                "<rect width='16' height='16' fill='#00ff00'/></svg>");
    }
    QTemporaryDir dir;
};

TEST_F(IconThemeTest, PrefersTheClosestSizeThenInheritsThenFails) {
    IconLoader loader({dir.path()}, QStringLiteral("testtheme"), 128);
    EXPECT_TRUE(loader.findIconFile(QStringLiteral("both"))->endsWith(QLatin1String("both.svg")));
    EXPECT_TRUE(loader.findIconFile(QStringLiteral("onlypng"))->endsWith(QLatin1String(".png")));
    EXPECT_TRUE(
        loader.findIconFile(QStringLiteral("inherited"))->endsWith(QLatin1String("inherited.png")));
    EXPECT_FALSE(loader.findIconFile(QStringLiteral("missing")));

    const QImage scalable = loader.load(QStringLiteral("both"));
    EXPECT_EQ(scalable.size(), QSize(128, 128)); // rendered at the wanted size
    const QImage small = loader.load(QStringLiteral("inherited"));
    EXPECT_EQ(small.size(), QSize(32, 32)); // raster icons are not blown up
    EXPECT_TRUE(loader.load(QStringLiteral("missing")).isNull());
}

TEST_F(IconThemeTest, LoadsAbsolutePathsAndShipsAGenericIcon) {
    IconLoader loader({dir.path()}, QString(), 64);
    const QImage img =
        loader.load(dir.filePath(QStringLiteral("icons/hicolor/32x32/apps/inherited.png")));
    ASSERT_FALSE(img.isNull());
    EXPECT_EQ(qBlue(img.pixel(4, 4)), 255);
    const QImage generic = loader.generic();
    ASSERT_FALSE(generic.isNull());
    EXPECT_EQ(generic.size(), QSize(64, 64));
}

} // namespace
} // namespace valimbra::x11
