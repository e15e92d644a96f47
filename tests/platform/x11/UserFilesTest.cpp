// The files Valimbra writes for the user (settings, the autostart entry) are the user's: made
// with the user's umask, like any file a program of theirs writes, and replaced whole.
#include "platform/QSettingsStore.h"
#include "platform/x11/XdgAutostart.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace valimbra::x11 {
namespace {

mode_t modeOf(const QString& path) {
    struct stat st {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 0777 : 0;
}

TEST(UserFiles, SettingsAndTheAutostartEntryFollowTheUmask) {
    for (const mode_t mask : {mode_t(022), mode_t(077), mode_t(002)}) {
        QTemporaryDir dir;
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.path()));
        const mode_t previous = ::umask(mask);
        {
            QSettingsStore settings(dir.filePath(u"Brindlex/Valimbra.conf"_qs));
            settings.setBool(u"valimbra.hasSeenOnboarding"_qs, true);
            settings.flush();
        }
        XdgAutostart login(u"app.brindlex.Valimbra"_qs, u"valimbra"_qs);
        ASSERT_TRUE(login.setEnabled(true));
        ::umask(previous);

        EXPECT_EQ(modeOf(dir.filePath(u"Brindlex/Valimbra.conf"_qs)), 0666 & ~mask) << mask;
        EXPECT_EQ(modeOf(login.filePath()), 0666 & ~mask) << mask;
        EXPECT_EQ(login.filePath(), dir.filePath(u"autostart/app.brindlex.Valimbra.desktop"_qs));
    }
    qunsetenv("XDG_CONFIG_HOME");
}

} // namespace
} // namespace valimbra::x11
