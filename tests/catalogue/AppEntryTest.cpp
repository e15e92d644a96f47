#include "catalogue/AppEntry.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace valimbra;

TEST(AppEntry, IdentityIsTheIdAlone) {
    AppEntry a;
    a.id = 42;
    a.name = u"XTerm"_qs;
    a.searchScore = 3;
    AppEntry b = a;
    b.name = u"Other"_qs;
    b.isFavourite = true;
    b.icon = QImage(4, 4, QImage::Format_ARGB32);
    EXPECT_EQ(a, b);
    EXPECT_EQ(qHash(a), qHash(b));
    EXPECT_EQ(QSet<AppEntry>({a, b}).size(), 1);
    b.id = 43;
    EXPECT_NE(a, b);
}

struct IdCase {
    const char* bundleID;
    qint32 expected;
};

class FavouriteId : public ::testing::TestWithParam<IdCase> {};

TEST_P(FavouriteId, MatchesTheTimes33HashInvertedWithTheTopBitSet) {
    EXPECT_EQ(AppEntry::favouriteId(QString::fromUtf8(GetParam().bundleID)), GetParam().expected);
}

// Expected values computed independently: h = 5381; h = h*33 + byte (mod 2^32); ~h | 0x80000000.
INSTANTIATE_TEST_SUITE_P(Known, FavouriteId,
                         ::testing::Values(IdCase{"", -5382}, IdCase{"a", -177671},
                                           IdCase{"debian-xterm", -1921607366},
                                           IdCase{"org.gnome.Nautilus", -2045523669},
                                           IdCase{"\xc3\xa9", -5866514}),
                         [](const auto& info) { return "case" + std::to_string(info.index); });

TEST(FavouriteIdProperty, AlwaysNegativeAndStable) {
    for (const QString& id : {u"com.apple.Safari"_qs, u"x"_qs, u"wmclass.xclock"_qs,
                              QString(300, u'z'), u"日本語"_qs}) {
        EXPECT_LT(AppEntry::favouriteId(id), 0) << id.toStdString();
        EXPECT_EQ(AppEntry::favouriteId(id), AppEntry::favouriteId(QString(id)));
    }
}

TEST(AppEntry, FromPinnedDescribesAFavouriteThatIsNotRunning) {
    QString askedPath;
    const PinnedApp pin{u"debian-xterm"_qs, u"XTerm"_qs,
                        QUrl(u"file:///usr/share/applications/debian-xterm.desktop"_qs)};
    const AppEntry e = AppEntry::fromPinned(pin, [&](const QString& path) {
        askedPath = path;
        return QImage(8, 8, QImage::Format_ARGB32);
    });
    EXPECT_EQ(askedPath, u"/usr/share/applications/debian-xterm.desktop"_qs);
    EXPECT_EQ(e.id, AppEntry::favouriteId(u"debian-xterm"_qs));
    EXPECT_EQ(e.nameLower, u"xterm"_qs);
    EXPECT_FALSE(e.icon.isNull());
    EXPECT_TRUE(e.isFavourite);
    EXPECT_FALSE(e.isRunning);
    EXPECT_EQ(e.lastActivated, Date::distantPast());
    EXPECT_EQ(e.activationPolicy, ActivationPolicy::Regular);
    EXPECT_EQ(e.appURL, pin.appURL);
    EXPECT_FALSE(e.shortcut.has_value());
    EXPECT_FALSE(e.isAddSlot);
}
