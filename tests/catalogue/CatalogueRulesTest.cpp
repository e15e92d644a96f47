#include "catalogue/CatalogueRules.h"
#include "platform/fake/MemorySettingsStore.h"

#include <gtest/gtest.h>

using namespace valimbra;

namespace {

PinnedApp pin(const QString& id) {
    return {id, id, QUrl::fromLocalFile(u"/usr/share/applications/"_qs + id + u".desktop"_qs)};
}
IgnoredApp ignore(const QString& id) {
    return {id, id, std::nullopt};
}

// A store with `pinnedID` pinned (plus fillers up to capacity when `full`) and `ignoredID`
// ignored; empty IDs are left out.
struct Catalogue {
    Catalogue(const QString& pinnedID, const QString& ignoredID, bool full = false) {
        if (!pinnedID.isEmpty())
            pinned.add(pin(pinnedID));
        for (int n = 0; full && !pinned.isFull(); ++n)
            pinned.add(pin(u"f%1"_qs.arg(n)));
        if (!ignoredID.isEmpty())
            ignored.append(ignore(ignoredID));
        writes = settings.writeCount();
    }
    MemorySettingsStore settings;
    PinnedAppsManager pinned{settings};
    IgnoreListManager ignored{settings};
    int writes = 0;
};

TEST(CatalogueRules, PinsOnlyWhatIsNeitherIgnoredNorPinnedWhileThereIsRoom) {
    const struct {
        const char* what;
        QString pinnedID, ignoredID;
        bool full;
        PinnedApp candidate;
        PinVerdict verdict;
    } cases[] = {
        {"fresh", {}, {}, false, pin(u"a"_qs), PinVerdict::Allowed},
        {"ignored", {}, u"a"_qs, false, pin(u"a"_qs), PinVerdict::Ignored},
        {"ignored beats full", {}, u"a"_qs, true, pin(u"a"_qs), PinVerdict::Ignored},
        {"already pinned", u"a"_qs, {}, false, pin(u"a"_qs), PinVerdict::AlreadyPinned},
        {"full", {}, {}, true, pin(u"a"_qs), PinVerdict::Full},
        {"other case of an ignored ID", {}, u"A"_qs, false, pin(u"a"_qs), PinVerdict::Allowed},
        {"no location", {}, {}, false, {u"a"_qs, u"A"_qs, QUrl()}, PinVerdict::NoLocation},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Catalogue cat(c.pinnedID, c.ignoredID, c.full);
        const auto before = cat.pinned.pinnedApps();
        EXPECT_EQ(pinVerdict(cat.pinned, cat.ignored, c.candidate), c.verdict);
        const bool allowed = c.verdict == PinVerdict::Allowed;
        EXPECT_EQ(pinApp(cat.pinned, cat.ignored, c.candidate), allowed);
        EXPECT_EQ(cat.pinned.pinnedApps(), allowed ? before + QList{c.candidate} : before);
        EXPECT_EQ(PinnedAppsManager(cat.settings).pinnedApps(), cat.pinned.pinnedApps());
        EXPECT_EQ(cat.settings.writeCount() > cat.writes, allowed);
        EXPECT_FALSE(cat.ignored.isIgnored(u"a"_qs) && cat.pinned.isPinned(u"a"_qs));
    }
}

TEST(CatalogueRules, IgnoresOnlyWhatIsNeitherAFavouriteNorIgnoredAlready) {
    const struct {
        const char* what;
        QString pinnedID, ignoredID;
        IgnoreVerdict verdict;
    } cases[] = {
        {"fresh", {}, {}, IgnoreVerdict::Allowed},
        {"favourite", u"a"_qs, {}, IgnoreVerdict::Favourite},
        {"already ignored", {}, u"a"_qs, IgnoreVerdict::AlreadyIgnored},
        {"favourite with other case", u"A"_qs, {}, IgnoreVerdict::Allowed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Catalogue cat(c.pinnedID, c.ignoredID);
        const auto before = cat.ignored.ignoredApps();
        EXPECT_EQ(ignoreVerdict(cat.ignored, cat.pinned, u"a"_qs), c.verdict);
        const bool allowed = c.verdict == IgnoreVerdict::Allowed;
        EXPECT_EQ(ignoreApp(cat.ignored, cat.pinned, ignore(u"a"_qs)), allowed);
        EXPECT_EQ(cat.ignored.ignoredApps(), allowed ? before + QList{ignore(u"a"_qs)} : before);
        EXPECT_EQ(IgnoreListManager(cat.settings).ignoredApps(), cat.ignored.ignoredApps());
        EXPECT_EQ(cat.settings.writeCount() > cat.writes, allowed);
    }
}

// Which blobs are unreadable is the decoder's business; either list loads one as empty, and the
// next save replaces it.
TEST(CatalogueRules, UnreadableListsLoadAsEmptyAndTheNextSaveReplacesThem) {
    MemorySettingsStore settings;
    settings.setData(PinnedAppsManager::storageKey(), "not json at all");
    settings.setData(IgnoreListManager::storageKey(), "\x01garbage\xff");
    PinnedAppsManager pinned(settings);
    IgnoreListManager ignored(settings);
    EXPECT_TRUE(pinned.pinnedApps().isEmpty());
    EXPECT_TRUE(ignored.ignoredApps().isEmpty());
    ASSERT_TRUE(pinApp(pinned, ignored, pin(u"a"_qs)));
    ASSERT_TRUE(ignoreApp(ignored, pinned, ignore(u"b"_qs)));
    EXPECT_EQ(PinnedAppsManager(settings).pinnedApps(), QList{pin(u"a"_qs)});
    EXPECT_EQ(IgnoreListManager(settings).ignoredApps(), QList{ignore(u"b"_qs)});
}

TEST(CatalogueRules, AnUnusableLocationIsDroppedRatherThanBlockingTheSave) {
    Catalogue cat({}, {});
    ASSERT_TRUE(ignoreApp(cat.ignored, cat.pinned, {u"a"_qs, u"A"_qs, QUrl(u"http://[broken"_qs)}));
    EXPECT_EQ(IgnoreListManager(cat.settings).ignoredApps(),
              (QList<IgnoredApp>{{u"a"_qs, u"A"_qs, std::nullopt}}));
}

} // namespace
