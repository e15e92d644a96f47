#include "catalogue/PinnedAppsManager.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace valimbra;

namespace {

const QString kKey = PinnedAppsManager::storageKey();

PinnedApp app(const QString& bundleID, const QString& name = {}) {
    return {bundleID, name.isEmpty() ? bundleID : name,
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
    QList<PinnedApp> stored() { return PinnedAppsManager(settings).pinnedApps(); }
    MemorySettingsStore settings;
    PinnedAppsManager manager{settings};
};

TEST_F(PinnedAppsTest, UnreadableDataLoadsAsEmptyAndTheNextSaveOverwritesIt) {
    // Not JSON, no "appURL", a wrong type, an object instead of an array.
    for (const char* blob : {"not json at all", R"([{"bundleID":"a","name":"A"}])",
                             R"([{"bundleID":["a"],"name":"A","appURL":"file:\/\/\/a"}])",
                             R"({"bundleID":"a","name":"A","appURL":"file:\/\/\/a"})"}) {
        settings.setData(kKey, blob);
        PinnedAppsManager loaded(settings);
        EXPECT_TRUE(loaded.pinnedApps().isEmpty()) << blob;
        ASSERT_TRUE(loaded.add(app(u"debian-xterm"_qs)));
        EXPECT_EQ(stored(), QList<PinnedApp>{app(u"debian-xterm"_qs)}) << blob;
    }
    // A string under the key is not a list, whatever its text.
    settings.setString(kKey, uR"([{"bundleID":"a","name":"A","appURL":"file:///a"}])"_qs);
    EXPECT_TRUE(stored().isEmpty());
}

// A record that cannot be written (an unpaired surrogate in its name) is dropped so that the
// rest still saves, then and later.
TEST_F(PinnedAppsTest, AnUnwritableRecordIsDroppedAndTheRestSaved) {
    ASSERT_TRUE(manager.add(app(u"debian-xterm"_qs)));
    PinnedApp broken = app(u"broken"_qs);
    broken.name = QString(QChar(0xD800));
    ASSERT_TRUE(manager.add(broken));
    EXPECT_EQ(bundleIDs(manager.pinnedApps()), QStringList{u"debian-xterm"_qs});
    EXPECT_EQ(bundleIDs(stored()), QStringList{u"debian-xterm"_qs});
    ASSERT_TRUE(manager.add(app(u"org.gnome.Nautilus"_qs)));
    EXPECT_EQ(bundleIDs(stored()), (QStringList{u"debian-xterm"_qs, u"org.gnome.Nautilus"_qs}));
}

TEST_F(PinnedAppsTest, SixteenthFavouriteAndDuplicateBundleIdsAreRefusedAndNothingIsWritten) {
    ASSERT_TRUE(manager.add(app(u"debian-xterm"_qs, u"XTerm"_qs)));
    const auto refusedUnchanged = [&](const PinnedApp& candidate) {
        const QList<PinnedApp> before = manager.pinnedApps();
        const int writes = settings.writeCount();
        QSignalSpy changed(&manager, &PinnedAppsManager::pinnedAppsChanged);
        EXPECT_FALSE(manager.add(candidate)) << candidate.name.toStdString();
        EXPECT_EQ(manager.pinnedApps(), before);
        EXPECT_EQ(settings.writeCount(), writes);
        EXPECT_EQ(changed.count(), 0);
    };
    // The same bundle ID, whatever its name or location.
    refusedUnchanged(app(u"debian-xterm"_qs, u"XTerm"_qs));
    refusedUnchanged(app(u"debian-xterm"_qs, u"Terminal"_qs));
    refusedUnchanged(
        {u"debian-xterm"_qs, u"XTerm"_qs, QUrl(u"file:///opt/debian-xterm.desktop"_qs)});
    // IDs differing only in case are different apps.
    ASSERT_TRUE(manager.add(app(u"Debian-XTerm"_qs)));
    EXPECT_TRUE(manager.isPinned(u"Debian-XTerm"_qs));
    EXPECT_FALSE(manager.isPinned(u"DEBIAN-XTERM"_qs));

    for (int i = 2; i < 15; ++i)
        ASSERT_TRUE(manager.add(app(u"app%1"_qs.arg(i))));
    ASSERT_TRUE(manager.isFull());
    refusedUnchanged(app(u"app15"_qs));
    EXPECT_EQ(stored().size(), 15);
}

TEST_F(PinnedAppsTest, ANewManagerSeesTheOrderSavedAfterAMoveAndRemovals) {
    for (const auto& id : {u"a"_qs, u"b"_qs, u"c"_qs, u"d"_qs, u"e"_qs})
        manager.add(app(id));
    QSignalSpy changed(&manager, &PinnedAppsManager::pinnedAppsChanged);
    ASSERT_TRUE(manager.move(0, 2));
    EXPECT_EQ(changed.count(), 1);
    const QStringList moved{u"b"_qs, u"c"_qs, u"a"_qs, u"d"_qs, u"e"_qs};
    EXPECT_EQ(bundleIDs(manager.pinnedApps()), moved);
    EXPECT_EQ(bundleIDs(stored()), moved);

    EXPECT_TRUE(manager.removeAt(1));
    EXPECT_TRUE(manager.remove(u"e"_qs));
    EXPECT_EQ(bundleIDs(stored()), (QStringList{u"b"_qs, u"a"_qs, u"d"_qs}));

    // Out-of-range edits change and write nothing.
    const int writes = settings.writeCount();
    EXPECT_FALSE(manager.removeAt(-1));
    EXPECT_FALSE(manager.removeAt(3));
    EXPECT_FALSE(manager.remove(u"B"_qs));
    EXPECT_FALSE(manager.move(3, 0));
    EXPECT_FALSE(manager.move(0, 3));
    EXPECT_EQ(bundleIDs(manager.pinnedApps()), (QStringList{u"b"_qs, u"a"_qs, u"d"_qs}));
    EXPECT_EQ(settings.writeCount(), writes);
}

TEST_F(PinnedAppsTest, SortFlagIsReadAtCreationAndWrittenBackWhenChanged) {
    settings.setBool(PinnedAppsManager::sortAlphabeticallyKey(), true);
    PinnedAppsManager loaded(settings);
    EXPECT_TRUE(loaded.sortAlphabetically());
    QSignalSpy changed(&loaded, &PinnedAppsManager::sortAlphabeticallyChanged);
    loaded.setSortAlphabetically(false);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_FALSE(PinnedAppsManager(settings).sortAlphabetically()) << "survives a restart";
}

} // namespace
