#include "catalogue/PinnedAppsManager.h"
#include "catalogue/JsonCoding.h"
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
    QList<PinnedApp> stored() const {
        return json::decodePinnedApps(settings.data(kKey).value()).value();
    }
    MemorySettingsStore settings;
};

} // namespace

// ---- Stored data that cannot be read -------------------------------------------------------

class UnreadableFavourites : public PinnedAppsTest,
                             public ::testing::WithParamInterface<const char*> {};

TEST_P(UnreadableFavourites, LoadAsEmptyAndTheNextSaveOverwritesThem) {
    settings.setData(kKey, QByteArray(GetParam()));
    PinnedAppsManager manager(settings);
    EXPECT_TRUE(manager.pinnedApps().isEmpty());

    ASSERT_TRUE(manager.add(app(u"debian-xterm"_qs)));
    EXPECT_EQ(stored(), QList<PinnedApp>{app(u"debian-xterm"_qs)});
}

INSTANTIATE_TEST_SUITE_P(
    Blobs, UnreadableFavourites,
    ::testing::Values("not json at all",
                      R"([{"bundleID":"a","name":"A"}])", // lacks "appURL"
                      R"([{"bundleID":["a"],"name":"A","appURL":"file:\/\/\/a"}])",
                      R"({"bundleID":"a","name":"A","appURL":"file:\/\/\/a"})")); // not an array

TEST_F(PinnedAppsTest, AStringUnderTheKeyIsNotAList) {
    settings.setString(kKey, uR"([{"bundleID":"a","name":"A","appURL":"file:///a"}])"_qs);
    const PinnedAppsManager manager(settings);
    EXPECT_TRUE(manager.pinnedApps().isEmpty());
}

// ---- Capacity and uniqueness ---------------------------------------------------------------

TEST_F(PinnedAppsTest, SixteenthFavouriteIsRefusedAndNothingIsWritten) {
    PinnedAppsManager manager(settings);
    for (int i = 0; i < PinnedAppsManager::capacity; ++i)
        ASSERT_TRUE(manager.add(app(u"app%1"_qs.arg(i))));
    ASSERT_TRUE(manager.isFull());
    const int writes = settings.writeCount();
    const QByteArray before = settings.data(kKey).value();
    QSignalSpy changed(&manager, &PinnedAppsManager::pinnedAppsChanged);

    EXPECT_FALSE(manager.add(app(u"app15"_qs)));
    EXPECT_EQ(manager.count(), 15);
    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_EQ(settings.data(kKey), before);
    EXPECT_EQ(changed.count(), 0);
}

namespace valimbra {
// Readable test names for the PinnedApp-parameterised cases.
static void PrintTo(const PinnedApp& a, std::ostream* os) {
    *os << a.bundleID.toStdString() << " \"" << a.name.toStdString() << "\" "
        << a.appURL.toString().toStdString();
}
} // namespace valimbra

class DuplicateFavourite : public PinnedAppsTest,
                           public ::testing::WithParamInterface<PinnedApp> {};

TEST_P(DuplicateFavourite, SameBundleIdIsRefusedWhateverItsNameOrURL) {
    PinnedAppsManager manager(settings);
    ASSERT_TRUE(manager.add(app(u"debian-xterm"_qs, u"XTerm"_qs)));
    const int writes = settings.writeCount();

    EXPECT_FALSE(manager.add(GetParam()));
    EXPECT_EQ(manager.pinnedApps(), QList<PinnedApp>{app(u"debian-xterm"_qs, u"XTerm"_qs)});
    EXPECT_EQ(settings.writeCount(), writes);
}

INSTANTIATE_TEST_SUITE_P(
    Variants, DuplicateFavourite,
    ::testing::Values(app(u"debian-xterm"_qs, u"XTerm"_qs), app(u"debian-xterm"_qs, u"Terminal"_qs),
                      PinnedApp{u"debian-xterm"_qs, u"XTerm"_qs,
                                QUrl(u"file:///opt/xterm/debian-xterm.desktop"_qs)}));

TEST_F(PinnedAppsTest, BundleIdsDifferingOnlyInCaseAreDifferentApps) {
    PinnedAppsManager manager(settings);
    EXPECT_TRUE(manager.add(app(u"org.example.Editor"_qs)));
    EXPECT_TRUE(manager.add(app(u"org.example.editor"_qs)));
    EXPECT_EQ(stored().size(), 2);
    EXPECT_TRUE(manager.isPinned(u"org.example.editor"_qs));
    EXPECT_FALSE(manager.isPinned(u"ORG.EXAMPLE.EDITOR"_qs));
}

// ---- Reordering and removal persist -------------------------------------------------------

TEST_F(PinnedAppsTest, ANewManagerSeesTheOrderSavedAfterAMove) {
    {
        PinnedAppsManager manager(settings);
        for (const auto& id : {u"a"_qs, u"b"_qs, u"c"_qs, u"d"_qs})
            manager.add(app(id));
        QSignalSpy changed(&manager, &PinnedAppsManager::pinnedAppsChanged);
        ASSERT_TRUE(manager.move(0, 2));
        EXPECT_EQ(changed.count(), 1);
        EXPECT_EQ(bundleIDs(manager.pinnedApps()),
                  (QStringList{u"b"_qs, u"c"_qs, u"a"_qs, u"d"_qs}));
    }
    const PinnedAppsManager restarted(settings);
    EXPECT_EQ(bundleIDs(restarted.pinnedApps()), (QStringList{u"b"_qs, u"c"_qs, u"a"_qs, u"d"_qs}));
}

TEST_F(PinnedAppsTest, RemovalsAreSaved) {
    PinnedAppsManager manager(settings);
    for (const auto& id : {u"a"_qs, u"b"_qs, u"c"_qs})
        manager.add(app(id));
    EXPECT_TRUE(manager.removeAt(1));
    EXPECT_TRUE(manager.remove(u"c"_qs));
    EXPECT_EQ(bundleIDs(stored()), QStringList{u"a"_qs});
}

namespace {

struct BadEdit {
    const char* what;
    std::function<bool(PinnedAppsManager&)> edit;
};

class OutOfRangeEdit : public PinnedAppsTest, public ::testing::WithParamInterface<BadEdit> {};

void PrintTo(const BadEdit& e, std::ostream* os) {
    *os << e.what;
}

} // namespace

TEST_P(OutOfRangeEdit, ChangesAndWritesNothing) {
    PinnedAppsManager manager(settings);
    manager.add(app(u"a"_qs));
    manager.add(app(u"b"_qs));
    const int writes = settings.writeCount();
    EXPECT_FALSE(GetParam().edit(manager)) << GetParam().what;
    EXPECT_EQ(bundleIDs(manager.pinnedApps()), (QStringList{u"a"_qs, u"b"_qs}));
    EXPECT_EQ(settings.writeCount(), writes);
}

INSTANTIATE_TEST_SUITE_P(
    Edits, OutOfRangeEdit,
    ::testing::Values(BadEdit{"remove -1", [](auto& m) { return m.removeAt(-1); }},
                      BadEdit{"remove past end", [](auto& m) { return m.removeAt(2); }},
                      BadEdit{"remove unknown", [](auto& m) { return m.remove(u"A"_qs); }},
                      BadEdit{"move from past end", [](auto& m) { return m.move(2, 0); }},
                      BadEdit{"move to past end", [](auto& m) { return m.move(0, 2); }}));

// ---- The sort flag -------------------------------------------------------------------------

TEST_F(PinnedAppsTest, SortFlagIsReadAtCreationAndWrittenBackWhenChanged) {
    settings.setBool(PinnedAppsManager::sortAlphabeticallyKey(), true);
    PinnedAppsManager manager(settings);
    EXPECT_TRUE(manager.sortAlphabetically());

    QSignalSpy changed(&manager, &PinnedAppsManager::sortAlphabeticallyChanged);
    manager.setSortAlphabetically(false);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_TRUE(settings.isWritten(PinnedAppsManager::sortAlphabeticallyKey()));
    EXPECT_FALSE(PinnedAppsManager(settings).sortAlphabetically()) << "survives a restart";
}
