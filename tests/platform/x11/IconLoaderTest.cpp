#include "platform/x11/IconLoader.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace valimbra::x11 {
namespace {

// _NET_WM_ICON data: each image is coloured by its width; `tail` follows the last image.
std::vector<quint32> netWmIcon(std::initializer_list<std::pair<quint32, quint32>> sizes,
                               std::initializer_list<quint32> tail = {}) {
    std::vector<quint32> data;
    for (auto [w, h] : sizes) {
        data.insert(data.end(), {w, h});
        data.insert(data.end(), w * h, 0xff000000u | w);
    }
    data.insert(data.end(), tail);
    return data;
}

TEST(NetWmIcon, PicksTheSmallestImageAtLeastTheWantedSize) {
    // Data, side of the result (0: no image), width of the image it came from.
    const std::tuple<std::vector<quint32>, int, quint32> cases[] = {
        {netWmIcon({{16, 16}, {48, 48}}), 48, 48}, // only smaller ones: the largest
        {netWmIcon({{256, 256}, {128, 128}}), 128, 128},
        {netWmIcon({{16, 16}, {200, 200}}), 128, 200}, // larger: scaled down
        {netWmIcon({{32, 32}}, {64, 64, 7}), 32, 32},  // a truncated last image is ignored
        {{}, 0, 0},
        {{0, 16}, 0, 0},
        {{48, 48, 1, 2, 3}, 0, 0},
    };
    for (const auto& [data, side, sourceWidth] : cases) {
        const QImage img = IconLoader::fromNetWmIcon(data, 128);
        EXPECT_EQ(img.size(), QSize(side, side)) << data.size();
        if (side && !img.isNull()) {
            EXPECT_EQ(qBlue(img.pixel(side / 2, side / 2)), int(sourceWidth & 0xff));
        }
    }
}

class IconThemeTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        write("icons/testtheme/index.theme",
              "[Icon Theme]\nName=Test\nInherits=hicolor\nDirectories=48x48/apps,scalable/apps\n\n"
              "[48x48/apps]\nSize=48\nType=Fixed\n\n"
              "[scalable/apps]\nSize=64\nMinSize=16\nMaxSize=512\nType=Scalable\n");
        write("icons/hicolor/index.theme", "[Icon Theme]\nName=Hicolor\nDirectories=32x32/apps\n\n"
                                           "[32x32/apps]\nSize=32\nType=Threshold\n");
        png("icons/testtheme/48x48/apps/both.png", 48, Qt::red);
        write("icons/testtheme/scalable/apps/both.svg",
              "<svg xmlns='http://www.w3.org/2000/svg' width='16' height='16'>"
              "<rect width='16' height='16' fill='#00ff00'/></svg>");
        png("icons/testtheme/48x48/apps/onlypng.png", 48, Qt::green);
        png("icons/hicolor/32x32/apps/inherited.png", 32, Qt::blue);
    }
    void write(const char* rel, const QByteArray& body) {
        QDir().mkpath(QFileInfo(path(rel)).path());
        QFile f(path(rel));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(body);
    }
    void png(const char* rel, int side, Qt::GlobalColor color) {
        QDir().mkpath(QFileInfo(path(rel)).path());
        QImage img(side, side, QImage::Format_ARGB32);
        img.fill(color);
        ASSERT_TRUE(img.save(path(rel)));
    }
    QString path(const char* rel) const { return dir.filePath(QString::fromUtf8(rel)); }
    QTemporaryDir dir;
};

TEST_F(IconThemeTest, PrefersTheClosestSizeThenInheritsThenFails) {
    IconLoader loader({dir.path()}, u"testtheme"_qs, 128);
    EXPECT_TRUE(loader.findIconFile(u"both"_qs)->endsWith(QLatin1String("both.svg")));
    EXPECT_TRUE(loader.findIconFile(u"onlypng"_qs)->endsWith(QLatin1String(".png")));
    EXPECT_TRUE(loader.findIconFile(u"inherited"_qs)->endsWith(QLatin1String("inherited.png")));
    EXPECT_FALSE(loader.findIconFile(u"missing"_qs));

    EXPECT_EQ(loader.load(u"both"_qs).size(), QSize(128, 128));    // rendered at the wanted size
    EXPECT_EQ(loader.load(u"inherited"_qs).size(), QSize(32, 32)); // raster is not blown up
    EXPECT_TRUE(loader.load(u"missing"_qs).isNull());
    const QImage absolute = loader.load(path("icons/hicolor/32x32/apps/inherited.png"));
    EXPECT_EQ(absolute.size(), QSize(32, 32));
    EXPECT_EQ(qBlue(absolute.pixel(4, 4)), 255);
    EXPECT_EQ(loader.generic().size(), QSize(128, 128)); // the shipped generic icon
}

} // namespace
} // namespace valimbra::x11
