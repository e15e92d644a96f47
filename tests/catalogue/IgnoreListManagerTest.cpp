#include "catalogue/IgnoreListManager.h"
#include "platform/fake/FakeWorkspace.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace valimbra;

namespace {

const QUrl kXtermURL(u"file:///usr/share/applications/debian-xterm.desktop"_qs);
const IgnoredApp kXclock{u"wmclass.xclock"_qs, u"xclock"_qs, std::nullopt};

TEST(IgnoreList, AppendsAndRemovalsSurviveARestartAndMatchExactly) {
    MemorySettingsStore settings;
    IgnoreListManager manager(settings);
    QSignalSpy changed(&manager, &IgnoreListManager::ignoredAppsChanged);
    manager.append({u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL});
    manager.append(kXclock);
    manager.append({u"a"_qs, u"A"_qs, std::nullopt});
    EXPECT_EQ(changed.count(), 3);
    const int writes = settings.writeCount();
    EXPECT_FALSE(manager.remove(u"c"_qs));
    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_TRUE(manager.remove(u"a"_qs));

    const IgnoreListManager restarted(settings);
    EXPECT_TRUE(restarted.isIgnored(u"debian-xterm"_qs));
    EXPECT_FALSE(restarted.isIgnored(u"Debian-XTerm"_qs)) << "exact match only";
    EXPECT_EQ(restarted.ignoredBundleIDs(),
              (QSet<QString>{u"debian-xterm"_qs, u"wmclass.xclock"_qs}));
}

// Its own file's icon, else the installed app's (found by bundle ID), else the generic one.
TEST(IgnoredAppIcon, PrefersItsOwnFileThenTheInstalledAppThenTheGenericIcon) {
    const QUrl own(u"file:///opt/own/debian-xterm.desktop"_qs);
    // (appURL, whether an app with that bundle ID is installed, icon colour; invalid: generic)
    for (const auto& [appURL, installed, expected] :
         {std::tuple{std::optional(own), true, QColor(Qt::red)},
          std::tuple{std::optional<QUrl>(), true, QColor(Qt::blue)},
          std::tuple{std::optional<QUrl>(), false, QColor()}}) {
        FakeWorkspace ws;
        ws.setIconForFile(own.toLocalFile(), FakeWorkspace::makeIcon(Qt::red));
        if (installed)
            ws.install(
                {u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL, FakeWorkspace::makeIcon(Qt::blue)});
        const QImage icon = iconForIgnoredApp({u"debian-xterm"_qs, u"XTerm"_qs, appURL}, ws);
        const QImage want =
            expected.isValid() ? FakeWorkspace::makeIcon(expected) : ws.genericApplicationIcon();
        EXPECT_TRUE(!icon.isNull() && icon == want) << expected.name().toStdString();
    }
}

} // namespace
