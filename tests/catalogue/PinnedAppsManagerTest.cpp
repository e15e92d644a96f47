#include "catalogue/PinnedAppsManager.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace valimbra;

namespace {

PinnedApp app(const QString& bundleID) {
    return {bundleID, bundleID,
            QUrl::fromLocalFile(u"/usr/share/applications/"_qs + bundleID + u".desktop"_qs)};
}

QStringList bundleIDs(const QList<PinnedApp>& apps) {
    QStringList ids;
    for (const PinnedApp& a : apps)
        ids << a.bundleID;
    return ids;
}

class PinnedAppsTest : public ::testing::Test {
protected:
    QStringList stored() { return bundleIDs(PinnedAppsManager(settings).pinnedApps()); }
    MemorySettingsStore settings;
    PinnedAppsManager manager{settings};
};

// A record that cannot be written (an unpaired surrogate in its name) is dropped so that the
// rest still saves, then and later.
TEST_F(PinnedAppsTest, AnUnwritableRecordIsDroppedAndTheRestSaved) {
    ASSERT_TRUE(manager.add(app(u"debian-xterm"_qs)));
    PinnedApp broken = app(u"broken"_qs);
    broken.name = QString(QChar(0xD800));
    ASSERT_TRUE(manager.add(broken));
    EXPECT_EQ(bundleIDs(manager.pinnedApps()), QStringList{u"debian-xterm"_qs});
    EXPECT_EQ(stored(), QStringList{u"debian-xterm"_qs});
    ASSERT_TRUE(manager.add(app(u"org.gnome.Nautilus"_qs)));
    EXPECT_EQ(stored(), (QStringList{u"debian-xterm"_qs, u"org.gnome.Nautilus"_qs}));
}

TEST_F(PinnedAppsTest, DuplicateBundleIdsAndASixteenthFavouriteAreRefusedWithoutAWrite) {
    ASSERT_TRUE(manager.add(app(u"debian-xterm"_qs)));
    const auto refusedUnchanged = [&](const PinnedApp& candidate) {
        const QList<PinnedApp> before = manager.pinnedApps();
        const int writes = settings.writeCount();
        QSignalSpy changed(&manager, &PinnedAppsManager::pinnedAppsChanged);
        EXPECT_FALSE(manager.add(candidate)) << candidate.bundleID.toStdString();
        EXPECT_EQ(manager.pinnedApps(), before);
        EXPECT_EQ(settings.writeCount(), writes);
        EXPECT_EQ(changed.count(), 0);
    };
    // The same bundle ID whatever its name or location; one differing only in case is another.
    refusedUnchanged(
        {u"debian-xterm"_qs, u"Terminal"_qs, QUrl(u"file:///opt/debian-xterm.desktop"_qs)});
    ASSERT_TRUE(manager.add(app(u"Debian-XTerm"_qs)));
    for (int i = 2; i < 15; ++i)
        ASSERT_TRUE(manager.add(app(u"app%1"_qs.arg(i))));
    refusedUnchanged(app(u"app15"_qs));
    EXPECT_EQ(stored().size(), 15);
}

TEST_F(PinnedAppsTest, ANewManagerSeesTheOrderAndSortFlagSavedAfterEdits) {
    for (const auto& id : {u"a"_qs, u"b"_qs, u"c"_qs, u"d"_qs, u"e"_qs})
        manager.add(app(id));
    QSignalSpy changed(&manager, &PinnedAppsManager::pinnedAppsChanged);
    ASSERT_TRUE(manager.move(0, 2));
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(stored(), (QStringList{u"b"_qs, u"c"_qs, u"a"_qs, u"d"_qs, u"e"_qs}));
    EXPECT_TRUE(manager.removeAt(1));
    EXPECT_TRUE(manager.remove(u"e"_qs));
    EXPECT_EQ(stored(), (QStringList{u"b"_qs, u"a"_qs, u"d"_qs}));

    // Out-of-range edits change and write nothing.
    const int writes = settings.writeCount();
    EXPECT_FALSE(manager.removeAt(-1));
    EXPECT_FALSE(manager.removeAt(3));
    EXPECT_FALSE(manager.remove(u"B"_qs));
    EXPECT_FALSE(manager.move(3, 0));
    EXPECT_FALSE(manager.move(0, 3));
    EXPECT_EQ(bundleIDs(manager.pinnedApps()), (QStringList{u"b"_qs, u"a"_qs, u"d"_qs}));
    EXPECT_EQ(settings.writeCount(), writes);

    QSignalSpy sortChanged(&manager, &PinnedAppsManager::sortAlphabeticallyChanged);
    manager.setSortAlphabetically(true);
    EXPECT_EQ(sortChanged.count(), 1);
    EXPECT_TRUE(PinnedAppsManager(settings).sortAlphabetically()) << "survives a restart";
}

} // namespace
