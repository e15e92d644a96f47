#include "catalogue/AppEntry.h"

#include <QSet>

#include <gtest/gtest.h>

#include <utility>

using namespace valimbra;

TEST(AppEntry, IdentityIsTheIdAlone) {
    AppEntry a;
    a.id = 42;
    a.name = u"XTerm"_qs;
    AppEntry b = a;
    b.name = u"Other"_qs;
    b.isFavourite = true;
    EXPECT_EQ(QSet<AppEntry>({a, b}).size(), 1) << "equal and hashed alike";
    b.id = 43;
    EXPECT_NE(a, b);
}

// Expected values computed independently: h = 5381; h = h*33 + byte (mod 2^32); ~h | 0x80000000.
TEST(AppEntry, FavouriteIdIsTheTimes33HashInvertedWithTheTopBitSet) {
    const std::pair<const char*, qint32> cases[] = {{"", -5382},
                                                    {"a", -177671},
                                                    {"debian-xterm", -1921607366},
                                                    {"org.gnome.Nautilus", -2045523669},
                                                    {"\xc3\xa9", -5866514}};
    for (const auto& [bundleID, expected] : cases)
        EXPECT_EQ(AppEntry::favouriteId(QString::fromUtf8(bundleID)), expected) << bundleID;
}
