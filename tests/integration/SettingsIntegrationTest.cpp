// The settings window of the real valimbra, driven through its accessibility tree (AT-SPI) as a
// screen reader or a keyboard user reaches it, with effects checked where the user sees them.
#include "AccessibleFixture.h"

#include <QFileInfo>

namespace valimbra::testing {
namespace {

using SettingsTest = AccessibleTest;

TEST_F(SettingsTest, OpensFromTheTrayAndAtTheRequestedPaneAndTheHoldKeyAppliesAtOnce) {
    std::optional<Geometry> icon;
    ASSERT_TRUE(XSession::waitUntil([&] { return (icon = trayIcon()).has_value(); }));
    pointer(icon->x + icon->width / 2, icon->y + icon->height / 2);
    ASSERT_TRUE(xdotool({u"click"_qs, u"1"_qs}));
    ASSERT_TRUE(showing(u"Trigger via"_qs)) << "the tray icon's click opens the General pane";
    QThread::msleep(700); // not a double click
    ASSERT_TRUE(xdotool({u"click"_qs, u"1"_qs}));
    ASSERT_TRUE(atspi({u"gone"_qs, u"Trigger via"_qs})) << "and the next one hides it";

    ASSERT_TRUE(openSettings(u"Ignored"_qs));
    EXPECT_TRUE(showing(u"Hidden from the switcher permanently"_qs.toUpper()) ||
                showing(u"Hidden from the switcher permanently"_qs));
    s->screenshot(u"settings-ignored"_qs);
    ASSERT_TRUE(press(u"General"_qs));
    ASSERT_TRUE(showing(u"Hold Ctrl to open Switcher view"_qs))
        << atspi({u"tree"_qs}).value_or(QString()).toStdString();
    ASSERT_TRUE(press(u"Super"_qs));
    EXPECT_TRUE(showing(u"Hold Super to open Switcher view"_qs));
    EXPECT_EQ(setting(u"valimbra.holdModifier"_qs), u"command"_qs);
    ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(term1Window)}));
    ASSERT_TRUE(holdControl());
    QThread::msleep(300);
    EXPECT_FALSE(panel().has_value()) << "Ctrl no longer opens it";
    ASSERT_TRUE(
        xdotool({u"keydown"_qs, u"super"_qs, u"sleep"_qs, u"0.45"_qs, u"keyup"_qs, u"super"_qs}));
    EXPECT_TRUE(waitOpen());
}

TEST_F(SettingsTest, ARecordedShortcutOpensTheSwitcherUntilItIsCleared) {
    ASSERT_TRUE(openSettings(u"General"_qs));
    ASSERT_TRUE(press(u"Record Shortcut"_qs));
    ASSERT_TRUE(showing(u"Press shortcut"_qs));
    ASSERT_TRUE(key(u"a"_qs)); // a bare key is no shortcut
    ASSERT_TRUE(showing(u"Press shortcut"_qs));
    ASSERT_TRUE(key(u"alt+a"_qs));
    ASSERT_TRUE(showing(u"Alt+A"_qs));
    EXPECT_EQ(setting(u"valimbra.invokeMode"_qs), u"shortcut"_qs);
    EXPECT_TRUE(checked(u"Shortcut"_qs));
    s->screenshot(u"settings-shortcut"_qs);

    ASSERT_TRUE(xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(term1Window)}));
    ASSERT_TRUE(key(u"alt+a"_qs));
    ASSERT_TRUE(waitOpen()) << "Alt+A pressed in another window";
    ASSERT_TRUE(key(u"Escape"_qs));
    ASSERT_TRUE(waitClosed());

    ASSERT_TRUE(press(u"Clear shortcut"_qs));
    EXPECT_TRUE(showing(u"Record Shortcut"_qs));
    EXPECT_EQ(setting(u"valimbra.invokeMode"_qs), u"hold"_qs);
    EXPECT_EQ(setting(u"valimbra.recordedKeyCode"_qs), u"-1"_qs);
}

TEST_F(SettingsTest, ChosenFavouritesAndIgnoredAppsShowInTheNextOpening) {
    ASSERT_TRUE(openSettings(u"Favourites"_qs));
    ASSERT_TRUE(press(u"Add App"_qs));
    ASSERT_TRUE(press(u"UXTerm"_qs, u"check box"_qs));
    ASSERT_TRUE(press(u"Vim"_qs, u"check box"_qs));
    s->screenshot(u"settings-chooser"_qs);
    ASSERT_TRUE(press(u"Add"_qs, u"push button"_qs));
    EXPECT_TRUE(showing(u"Remove UXTerm"_qs));
    EXPECT_TRUE(showing(u"Remove Vim"_qs));
    s->screenshot(u"settings-favourites"_qs);

    ASSERT_TRUE(press(u"Ignored"_qs));
    ASSERT_TRUE(showing(u"Ignored Apps"_qs)); // the pane has faded in
    QThread::msleep(300);
    ASSERT_TRUE(press(u"Add App"_qs));
    ASSERT_TRUE(press(u"XTerm"_qs, u"check box"_qs));
    ASSERT_TRUE(press(u"Add"_qs, u"push button"_qs));
    s->screenshot(u"settings-ignored-added"_qs);
    EXPECT_TRUE(showing(u"Remove XTerm"_qs));

    ASSERT_TRUE(toggle());
    ASSERT_TRUE(waitOpen());
    EXPECT_TRUE(showing(u"UXTerm, favourite"_qs));
    EXPECT_TRUE(showing(u"Vim, favourite"_qs));
    EXPECT_TRUE(atspi({u"gone"_qs, u"XTerm, running"_qs}).has_value()) << "ignored";
    s->screenshot(u"switcher-with-favourites"_qs);
}

TEST_F(SettingsTest, LaunchAtLoginWritesTheAutostartEntryAndEachStyleApplies) {
    ASSERT_TRUE(openSettings(u"General"_qs));
    const QString entry = s->configHome() + u"/autostart/app.brindlex.Valimbra.desktop"_qs;
    EXPECT_FALSE(checked(u"Launch at login"_qs));
    ASSERT_TRUE(press(u"Launch at login"_qs));
    ASSERT_TRUE(XSession::waitUntil([&] { return QFile::exists(entry); }));
    QFile file(entry);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(
        file.readAll().contains("Exec=" + QFileInfo(kValimbra).absoluteFilePath().toUtf8()));
    ASSERT_TRUE(press(u"Launch at login"_qs));
    EXPECT_TRUE(XSession::waitUntil([&] { return !QFile::exists(entry); }));

    ASSERT_TRUE(press(u"Appearance"_qs));
    for (const auto& [pod, raw] : {std::pair{u"Grid"_qs, u"grid"_qs},
                                   {u"List"_qs, u"list"_qs},
                                   {u"Compact"_qs, u"glassOrb"_qs},
                                   {u"Default"_qs, u"spatialTile"_qs}}) {
        ASSERT_TRUE(press(pod));
        ASSERT_TRUE(XSession::waitUntil([&] {
            return setting(u"valimbra.switcherStyle"_qs) == raw;
        })) << raw.toStdString();
        ASSERT_TRUE(toggle());
        ASSERT_TRUE(waitOpen());
        s->screenshot(u"style-"_qs + raw);
        // The grid and list filter their cells; the ring shows cards: each names the app.
        EXPECT_TRUE(showing(u"XTerm, running"_qs)) << raw.toStdString();
        ASSERT_TRUE(toggle());
        ASSERT_TRUE(waitClosed());
    }
}

} // namespace
} // namespace valimbra::testing
