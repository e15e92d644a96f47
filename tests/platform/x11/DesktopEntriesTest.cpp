#include "platform/x11/DesktopEntries.h"

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
        write("system/applications/python3.11.desktop", "Name=Python (v3.11)\nExec=python3.11\n");
        write("system/applications/acat-hidden.desktop",
              "Name=Hidden Cat\nExec=cat\nNoDisplay=true\n");
        write("system/applications/broken.desktop",
              "Name=Broken\nExec=true\nTryExec=/nonexistent/program\nStartupWMClass=Broken\n");
        write("system/applications/link.desktop", "Name=Link\nURL=https://example.org\n", "Link");
        index = std::make_unique<DesktopEntryIndex>(QStringList{path("user"), path("system")});
    }
    void write(const char* rel, const QByteArray& body, const QByteArray& type = "Application") {
        QDir().mkpath(QFileInfo(path(rel)).path());
        QFile f(path(rel));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("[Desktop Entry]\nType=" + type + "\n" + body);
    }
    QString path(const char* rel) const { return dir.filePath(QString::fromUtf8(rel)); }

    QTemporaryDir dir;
    std::unique_ptr<DesktopEntryIndex> index;
};

TEST_F(DesktopEntriesTest, IndexesUsableEntriesByIdAndPath) {
    EXPECT_EQ(index->idForPath(path("system/applications/vendor/tool.desktop")), u"vendor-tool"_qs);
    EXPECT_EQ(index->idForPath(u"/elsewhere/thing.desktop"_qs), u"thing"_qs);
    EXPECT_EQ(index->byId(u"vendor-tool"_qs).value_or(DesktopEntry{}).name, u"Vendor Tool"_qs);
    // The user's copy hides the system one.
    const auto e = index->byId(u"org.example.Editor"_qs);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->name, u"Editor"_qs);
    EXPECT_EQ(e->icon, u"accessories-editor"_qs);
    EXPECT_EQ(e->startupWMClass, u"EditorWin"_qs);
    EXPECT_FALSE(index->byId(u"broken"_qs)); // TryExec program missing
    EXPECT_FALSE(index->byId(u"link"_qs));   // not an application

    write("elsewhere/portable.desktop", "Name=Portable\nExec=true\n");
    EXPECT_EQ(index->byPath(path("elsewhere/portable.desktop")).value_or(DesktopEntry{}).id,
              u"portable"_qs);
    EXPECT_FALSE(index->byPath(path("elsewhere/missing.desktop")));
}

ProcessIdentity who(QString appId, QString launched, QString instance, QString cls,
                    QStringList exes = {}) {
    return {appId, launched, instance, cls, exes};
}

TEST_F(DesktopEntriesTest, MatchesInOrderOfTrustElseTheWindowClassNamesTheApp) {
    const std::pair<ProcessIdentity, const char*> cases[] = {
        {who("org.example.Editor", {}, "gimp", "Gimp"), "org.example.Editor"}, // application ID
        {who("org.example.Editor.desktop", {}, {}, {}), "org.example.Editor"}, // KDE's form
        {who("org.unknown", {}, "gimp", "Gimp"), "Gimp"}, // an unknown ID falls through
        // The file it was launched from beats its window class.
        {who({}, path("system/applications/vendor/tool.desktop"), "gimp", "Gimp"), "vendor-tool"},
        {who({}, {}, "editor", "EditorWin"), "org.example.Editor"}, // StartupWMClass
        {who({}, {}, "EditorWin", "Other"), "org.example.Editor"},  // ... against the instance
        {who({}, {}, "gimp-2.10", "GIMP"), "Gimp"},                 // file name, ignoring case
        {who({}, {}, "vendor-tool", "Vendor-tool"), "vendor-tool"}, // file name with dashes
        {who({}, {}, "cv", "Cv", {"cat"}), "catview"},              // program, visible entry first
        {who({}, {}, "xclock", "XClock", {"xclock"}), "wmclass.xclock"},
        {who({}, {}, "only-instance", {}), "wmclass.only-instance"},
        {who({}, {}, {}, {}), ""},
        // A Python program with its own class is not "Python".
        {who({}, {}, "sampler", "Sampler", {"python3.11", "sampler.py"}), "wmclass.sampler"},
        // A path in a window property counts only inside an applications folder: any X client
        // may set it, and a favourite runs the entry's Exec line.
        {who(path("system/applications/vendor/tool.desktop"), {}, {}, {}), "vendor-tool"},
        {who(path("elsewhere/planted.desktop"), {}, "xclock", "XClock"), "wmclass.xclock"},
    };
    write("elsewhere/planted.desktop", "Name=Planted\nExec=true\n");
    for (const auto& [identity, expected] : cases)
        EXPECT_EQ(bundleIdentifierFor(index->match(identity), identity),
                  QString::fromUtf8(expected))
            << expected;
}

TEST_F(DesktopEntriesTest, NewFilesAreFoundWithoutRestart) {
    ASSERT_FALSE(index->byId(u"fresh"_qs));
    write("user/applications/fresh.desktop", "Name=Fresh\nExec=true\n");
    // Make the directory's change visible even within the file system's time granularity.
    timeval times[2] = {{time(nullptr) + 5, 0}, {time(nullptr) + 5, 0}};
    ASSERT_EQ(utimes(QFile::encodeName(path("user/applications")).constData(), times), 0);
    EXPECT_EQ(index->byId(u"fresh"_qs).value_or(DesktopEntry{}).name, u"Fresh"_qs);
}

} // namespace
} // namespace valimbra::x11
