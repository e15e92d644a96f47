#include "DesktopEntries.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/time.h>

namespace valimbra::x11 {
namespace {

// Two XDG data directories; the first one wins for an ID present in both. Exec programs must
// exist (GIO rejects entries whose program is missing), so the fixtures run coreutils.
class DesktopEntriesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        write("user/applications/org.example.Editor.desktop",
              "Name=Editor\nExec=true %F\nStartupWMClass=EditorWin\nIcon=accessories-editor\n");
        write("system/applications/org.example.Editor.desktop", "Name=Shadowed\nExec=true\n");
        write("system/applications/Gimp.desktop", "Name=Image Editor\nExec=true\n");
        write("system/applications/vendor/tool.desktop", "Name=Vendor Tool\nExec=true\n");
        write("system/applications/catview.desktop", "Name=Cat Viewer\nExec=cat --show-all\n");
        write("system/applications/acat-hidden.desktop",
              "Name=Hidden Cat\nExec=cat\nNoDisplay=true\n");
        write("system/applications/broken.desktop",
              "Name=Broken\nExec=true\nTryExec=/nonexistent/program\nStartupWMClass=Broken\n");
        write("system/applications/link.desktop", "Name=Link\nURL=https://example.org\n", "Link");
        index = std::make_unique<DesktopEntryIndex>(QStringList{
            dir.filePath(QStringLiteral("user")), dir.filePath(QStringLiteral("system"))});
    }

    void write(const QString& rel, const QByteArray& body, const QByteArray& type = "Application") {
        const QString path = dir.filePath(rel);
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("[Desktop Entry]\nType=" + type + "\n" + body);
    }

    QString matchId(const ProcessIdentity& who) {
        const auto e = index->match(who);
        return e ? e->id : QStringLiteral("<none>");
    }

    QTemporaryDir dir;
    std::unique_ptr<DesktopEntryIndex> index;
};

TEST_F(DesktopEntriesTest, IdsComeFromThePathUnderApplications) {
    EXPECT_EQ(
        index->idForPath(dir.filePath(QStringLiteral("system/applications/vendor/tool.desktop"))),
        QStringLiteral("vendor-tool"));
    EXPECT_EQ(index->idForPath(QStringLiteral("/elsewhere/thing.desktop")),
              QStringLiteral("thing"));
    ASSERT_TRUE(index->byId(QStringLiteral("vendor-tool")));
    EXPECT_EQ(index->byId(QStringLiteral("vendor-tool"))->name, QStringLiteral("Vendor Tool"));
}

TEST_F(DesktopEntriesTest, EarlierDirectoriesHideLaterOnes) {
    const auto e = index->byId(QStringLiteral("org.example.Editor"));
    ASSERT_TRUE(e);
    EXPECT_EQ(e->name, QStringLiteral("Editor"));
    EXPECT_EQ(e->icon, QStringLiteral("accessories-editor"));
    EXPECT_EQ(e->startupWMClass, QStringLiteral("EditorWin"));
}

TEST_F(DesktopEntriesTest, UnusableEntriesAreLeftOut) {
    EXPECT_FALSE(index->byId(QStringLiteral("broken"))); // TryExec program missing
    EXPECT_FALSE(index->byId(QStringLiteral("link")));   // not an application
}

struct MatchCase {
    const char* name;
    ProcessIdentity who;
    const char* expected;
};

class DesktopMatchTest : public DesktopEntriesTest,
                         public ::testing::WithParamInterface<MatchCase> {};

TEST_P(DesktopMatchTest, MatchesInOrderOfTrust) {
    ProcessIdentity who = GetParam().who;
    if (who.launchedDesktopFile.startsWith(QLatin1String("@")))
        who.launchedDesktopFile = dir.filePath(who.launchedDesktopFile.mid(1));
    EXPECT_EQ(matchId(who), QString::fromLatin1(GetParam().expected));
}

ProcessIdentity identity(QString appId, QString launched, QString instance, QString cls,
                         QStringList exes = {}) {
    return ProcessIdentity{appId, launched, instance, cls, exes};
}

INSTANTIATE_TEST_SUITE_P(
    Rules, DesktopMatchTest,
    ::testing::Values(
        MatchCase{"ApplicationId", identity("org.example.Editor", {}, "gimp", "Gimp"),
                  "org.example.Editor"},
        MatchCase{"KdeDesktopFileWithSuffix", identity("org.example.Editor.desktop", {}, {}, {}),
                  "org.example.Editor"},
        MatchCase{"UnknownApplicationIdFallsThrough", identity("org.unknown", {}, "gimp", "Gimp"),
                  "Gimp"},
        MatchCase{"LaunchedFileBeatsWindowClass",
                  identity({}, "@system/applications/vendor/tool.desktop", "gimp", "Gimp"),
                  "vendor-tool"},
        MatchCase{"StartupWMClass", identity({}, {}, "editor", "EditorWin"), "org.example.Editor"},
        MatchCase{"StartupWMClassAgainstInstance", identity({}, {}, "EditorWin", "Other"),
                  "org.example.Editor"},
        MatchCase{"FileNameIgnoringCase", identity({}, {}, "gimp-2.10", "GIMP"), "Gimp"},
        MatchCase{"FileNameWithDashes", identity({}, {}, "vendor-tool", "Vendor-tool"),
                  "vendor-tool"},
        MatchCase{"ExecutableVisibleEntryFirst", identity({}, {}, "cv", "Cv", {"cat"}), "catview"},
        MatchCase{"NothingMatches", identity({}, {}, "xclock", "XClock", {"xclock"}), "<none>"}),
    [](const ::testing::TestParamInfo<MatchCase>& info) { return info.param.name; });

TEST_F(DesktopEntriesTest, BundleIdentifierFallsBackToTheWindowClass) {
    EXPECT_EQ(bundleIdentifierFor(std::nullopt, identity({}, {}, "xclock", "XClock")),
              QStringLiteral("wmclass.xclock"));
    EXPECT_EQ(bundleIdentifierFor(std::nullopt, identity({}, {}, "only-instance", {})),
              QStringLiteral("wmclass.only-instance"));
    EXPECT_EQ(bundleIdentifierFor(std::nullopt, identity({}, {}, {}, {})), QString());
    EXPECT_EQ(bundleIdentifierFor(index->byId(QStringLiteral("Gimp")), identity({}, {}, {}, "X")),
              QStringLiteral("Gimp"));
}

TEST_F(DesktopEntriesTest, NewFilesAreFoundWithoutRestart) {
    ASSERT_FALSE(index->byId(QStringLiteral("fresh")));
    write("user/applications/fresh.desktop", "Name=Fresh\nExec=true\n");
    // Make the directory's change visible even within the file system's time granularity.
    const QByteArray apps = QFile::encodeName(dir.filePath(QStringLiteral("user/applications")));
    timeval times[2] = {{time(nullptr) + 5, 0}, {time(nullptr) + 5, 0}};
    ASSERT_EQ(utimes(apps.constData(), times), 0);
    const auto e = index->byId(QStringLiteral("fresh"));
    ASSERT_TRUE(e);
    EXPECT_EQ(e->name, QStringLiteral("Fresh"));
}

TEST_F(DesktopEntriesTest, FilesOutsideTheDataDirectoriesLoadByPath) {
    write("elsewhere/portable.desktop", "Name=Portable\nExec=true\n");
    const auto e = index->byPath(dir.filePath(QStringLiteral("elsewhere/portable.desktop")));
    ASSERT_TRUE(e);
    EXPECT_EQ(e->id, QStringLiteral("portable"));
    EXPECT_FALSE(index->byPath(dir.filePath(QStringLiteral("elsewhere/missing.desktop"))));
}

} // namespace
} // namespace valimbra::x11
