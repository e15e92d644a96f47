#include "catalogue/IgnoreListManager.h"
#include "catalogue/JsonCoding.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QHash>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace valimbra;

namespace {

const QString kKey = IgnoreListManager::storageKey();
const QUrl kXtermURL(u"file:///usr/share/applications/debian-xterm.desktop"_qs);

class IgnoreListTest : public ::testing::Test {
protected:
    MemorySettingsStore settings;
};

// Answers icon and location questions from fixed tables; every icon is a 1x1 image of a colour
// that names where it came from.
class StubWorkspace final : public Workspace {
public:
    QHash<QString, QColor> fileIcons; // path -> icon colour
    QHash<QString, QUrl> installed;   // bundle ID -> desktop file
    static inline const QColor generic{Qt::gray};

    QList<RunningApp> runningApplications() const override { return {}; }
    std::optional<RunningApp> describe(qint32) const override { return std::nullopt; }
    std::optional<RunningApp> frontmostApplication() const override { return std::nullopt; }
    qint32 ownProcessId() const override { return 1; }
    bool activate(qint32, bool) override { return false; }
    void openApplication(const QUrl&) override {}
    QImage iconForFile(const QString& path) const override {
        return image(fileIcons.value(path, generic));
    }
    std::optional<QUrl> urlForApplication(const QString& bundleID) const override {
        auto it = installed.constFind(bundleID);
        return it == installed.cend() ? std::nullopt : std::optional<QUrl>(*it);
    }
    QImage genericApplicationIcon() const override { return image(generic); }

    static QImage image(const QColor& c) {
        QImage img(1, 1, QImage::Format_ARGB32);
        img.fill(c);
        return img;
    }
};

} // namespace

// ---- Stored data ---------------------------------------------------------------------------

class UnreadableIgnoreList : public IgnoreListTest,
                             public ::testing::WithParamInterface<const char*> {};

TEST_P(UnreadableIgnoreList, LoadsAsEmptyAndTheNextSaveOverwritesIt) {
    settings.setData(kKey, QByteArray(GetParam()));
    IgnoreListManager manager(settings);
    EXPECT_TRUE(manager.ignoredApps().isEmpty());

    manager.append({u"debian-xterm"_qs, u"XTerm"_qs, std::nullopt});
    EXPECT_EQ(json::decodeIgnoredApps(settings.data(kKey).value()),
              (QList<IgnoredApp>{{u"debian-xterm"_qs, u"XTerm"_qs, std::nullopt}}));
}

INSTANTIATE_TEST_SUITE_P(Blobs, UnreadableIgnoreList,
                         ::testing::Values("\x00\x01garbage", R"({"bundleID":"a","name":"A"})",
                                           R"([{"bundleID":"a"}])",
                                           R"([{"bundleID":"a","name":"A","appURL":false}])",
                                           R"([{"bundleID":"a","name":42}])"));

TEST_F(IgnoreListTest, RecordsWithoutOrWithNullAppURLLoad) {
    settings.setData(
        kKey,
        R"([{"name":"xclock","bundleID":"wmclass.xclock"},{"bundleID":"b","name":"B","appURL":null},{"bundleID":"debian-xterm","name":"XTerm","appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop"}])");
    const IgnoreListManager manager(settings);
    EXPECT_EQ(manager.ignoredApps(),
              (QList<IgnoredApp>{{u"wmclass.xclock"_qs, u"xclock"_qs, std::nullopt},
                                 {u"b"_qs, u"B"_qs, std::nullopt},
                                 {u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL}}));
}

TEST_F(IgnoreListTest, AnIgnoredAppStaysIgnoredAfterARestart) {
    {
        IgnoreListManager manager(settings);
        QSignalSpy changed(&manager, &IgnoreListManager::ignoredAppsChanged);
        manager.append({u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL});
        manager.append({u"wmclass.xclock"_qs, u"xclock"_qs, std::nullopt});
        EXPECT_EQ(changed.count(), 2);
    }
    const IgnoreListManager restarted(settings);
    EXPECT_TRUE(restarted.isIgnored(u"debian-xterm"_qs));
    EXPECT_TRUE(restarted.isIgnored(u"wmclass.xclock"_qs));
    EXPECT_FALSE(restarted.isIgnored(u"Debian-XTerm"_qs)) << "exact match only";
    EXPECT_EQ(restarted.ignoredBundleIDs(),
              (QSet<QString>{u"debian-xterm"_qs, u"wmclass.xclock"_qs}));
}

TEST_F(IgnoreListTest, RemovingByBundleIdSavesAndAnUnknownIdWritesNothing) {
    IgnoreListManager manager(settings);
    manager.append({u"a"_qs, u"A"_qs, std::nullopt});
    manager.append({u"b"_qs, u"B"_qs, std::nullopt});
    const int writes = settings.writeCount();

    EXPECT_FALSE(manager.remove(u"c"_qs));
    EXPECT_EQ(settings.writeCount(), writes);

    EXPECT_TRUE(manager.remove(u"a"_qs));
    EXPECT_EQ(IgnoreListManager(settings).ignoredApps(),
              (QList<IgnoredApp>{{u"b"_qs, u"B"_qs, std::nullopt}}));
}

// ---- Derived icon --------------------------------------------------------------------------

namespace {

struct IconCase {
    const char* what;
    std::optional<QUrl> appURL;
    bool installed; // the workspace knows an app for the bundle ID
    QColor expected;
};

class IgnoredAppIcon : public ::testing::TestWithParam<IconCase> {};

void PrintTo(const IconCase& c, std::ostream* os) {
    *os << c.what;
}

} // namespace

TEST_P(IgnoredAppIcon, PrefersItsOwnFileThenTheInstalledAppThenTheGenericIcon) {
    StubWorkspace ws;
    ws.fileIcons.insert(u"/opt/own/debian-xterm.desktop"_qs, Qt::red);
    ws.fileIcons.insert(u"/usr/share/applications/debian-xterm.desktop"_qs, Qt::blue);
    if (GetParam().installed)
        ws.installed.insert(u"debian-xterm"_qs, kXtermURL);

    const IgnoredApp app{u"debian-xterm"_qs, u"XTerm"_qs, GetParam().appURL};
    const QImage icon = iconForIgnoredApp(app, ws);
    ASSERT_FALSE(icon.isNull());
    EXPECT_EQ(icon.pixelColor(0, 0), GetParam().expected) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Sources, IgnoredAppIcon,
    ::testing::Values(IconCase{"own file wins", QUrl(u"file:///opt/own/debian-xterm.desktop"_qs),
                               true, Qt::red},
                      IconCase{"no URL: installed app", std::nullopt, true, Qt::blue},
                      IconCase{"no URL, nothing installed: generic", std::nullopt, false,
                               StubWorkspace::generic}));
