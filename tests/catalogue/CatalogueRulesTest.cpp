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

class CatalogueRulesTest : public ::testing::Test {
protected:
    MemorySettingsStore settings;
    PinnedAppsManager pinned{settings};
    IgnoreListManager ignored{settings};
};

} // namespace

namespace {

struct PinCase {
    const char* what;
    std::function<void(PinnedAppsManager&, IgnoreListManager&)> setUp;
    PinnedApp candidate;
    PinVerdict verdict;
};

class PinRule : public CatalogueRulesTest, public ::testing::WithParamInterface<PinCase> {};

void PrintTo(const PinCase& c, std::ostream* os) {
    *os << c.what;
}

} // namespace

TEST_P(PinRule, PinsOnlyWhatIsNeitherIgnoredNorPinnedWhileThereIsRoom) {
    GetParam().setUp(pinned, ignored);
    const auto pinnedBefore = pinned.pinnedApps();
    const int writes = settings.writeCount();

    EXPECT_EQ(pinVerdict(pinned, ignored, GetParam().candidate), GetParam().verdict)
        << GetParam().what;
    const bool allowed = GetParam().verdict == PinVerdict::Allowed;
    EXPECT_EQ(pinApp(pinned, ignored, GetParam().candidate), allowed) << GetParam().what;
    if (allowed) {
        EXPECT_EQ(pinned.pinnedApps().back(), GetParam().candidate);
        EXPECT_EQ(PinnedAppsManager(settings).pinnedApps(), pinned.pinnedApps()) << "saved";
    } else {
        EXPECT_EQ(pinned.pinnedApps(), pinnedBefore);
        EXPECT_EQ(settings.writeCount(), writes);
    }
    EXPECT_FALSE(ignored.isIgnored(GetParam().candidate.bundleID) &&
                 pinned.isPinned(GetParam().candidate.bundleID));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PinRule,
    ::testing::Values(PinCase{"fresh", [](auto&, auto&) {}, pin(u"a"_qs), PinVerdict::Allowed},
                      PinCase{"ignored", [](auto&, auto& i) { i.append(ignore(u"a"_qs)); },
                              pin(u"a"_qs), PinVerdict::Ignored},
                      PinCase{"ignored beats full",
                              [](auto& p, auto& i) {
                                  for (int n = 0; n < 15; ++n)
                                      p.add(pin(u"f%1"_qs.arg(n)));
                                  i.append(ignore(u"a"_qs));
                              },
                              pin(u"a"_qs), PinVerdict::Ignored},
                      PinCase{"already pinned", [](auto& p, auto&) { p.add(pin(u"a"_qs)); },
                              pin(u"a"_qs), PinVerdict::AlreadyPinned},
                      PinCase{"full",
                              [](auto& p, auto&) {
                                  for (int n = 0; n < 15; ++n)
                                      p.add(pin(u"f%1"_qs.arg(n)));
                              },
                              pin(u"a"_qs), PinVerdict::Full},
                      PinCase{"other case of an ignored ID",
                              [](auto&, auto& i) { i.append(ignore(u"A"_qs)); }, pin(u"a"_qs),
                              PinVerdict::Allowed},
                      PinCase{"no location", [](auto&, auto&) {},
                              PinnedApp{u"a"_qs, u"A"_qs, QUrl()}, PinVerdict::NoLocation}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

namespace {

struct IgnoreCase {
    const char* what;
    std::function<void(PinnedAppsManager&, IgnoreListManager&)> setUp;
    IgnoreVerdict verdict;
};

class IgnoreRule : public CatalogueRulesTest, public ::testing::WithParamInterface<IgnoreCase> {};

void PrintTo(const IgnoreCase& c, std::ostream* os) {
    *os << c.what;
}

} // namespace

TEST_P(IgnoreRule, IgnoresOnlyWhatIsNeitherAFavouriteNorIgnoredAlready) {
    GetParam().setUp(pinned, ignored);
    const auto ignoredBefore = ignored.ignoredApps();
    const int writes = settings.writeCount();

    EXPECT_EQ(ignoreVerdict(ignored, pinned, u"a"_qs), GetParam().verdict) << GetParam().what;
    const bool allowed = GetParam().verdict == IgnoreVerdict::Allowed;
    EXPECT_EQ(ignoreApp(ignored, pinned, ignore(u"a"_qs)), allowed) << GetParam().what;
    if (allowed) {
        EXPECT_EQ(IgnoreListManager(settings).ignoredApps().back(), ignore(u"a"_qs)) << "saved";
    } else {
        EXPECT_EQ(ignored.ignoredApps(), ignoredBefore);
        EXPECT_EQ(settings.writeCount(), writes);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, IgnoreRule,
    ::testing::Values(IgnoreCase{"fresh", [](auto&, auto&) {}, IgnoreVerdict::Allowed},
                      IgnoreCase{"favourite", [](auto& p, auto&) { p.add(pin(u"a"_qs)); },
                                 IgnoreVerdict::Favourite},
                      IgnoreCase{"already ignored",
                                 [](auto&, auto& i) { i.append(ignore(u"a"_qs)); },
                                 IgnoreVerdict::AlreadyIgnored},
                      IgnoreCase{"favourite with other case",
                                 [](auto& p, auto&) { p.add(pin(u"A"_qs)); },
                                 IgnoreVerdict::Allowed}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

TEST_F(CatalogueRulesTest, AnUnusableLocationIsDroppedRatherThanBlockingTheSave) {
    ASSERT_TRUE(ignoreApp(ignored, pinned, {u"a"_qs, u"A"_qs, QUrl(u"http://[broken"_qs)}));
    EXPECT_EQ(IgnoreListManager(settings).ignoredApps(),
              (QList<IgnoredApp>{{u"a"_qs, u"A"_qs, std::nullopt}}));
}
