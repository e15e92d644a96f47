// The settings window's rules, on the fake platform with the real engine behind them.
#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "core/AppSwitcherEngine.h"
#include "core/HoldKeyMonitor.h"
#include "platform/fake/FakePlatform.h"
#include "settings/AppChooserModel.h"
#include "settings/AppListModel.h"
#include "settings/AppearancePaneModel.h"
#include "settings/GeneralPaneModel.h"
#include "settings/SettingsNavigation.h"
#include "settings/ShortcutRecorder.h"
#include "support/SampleApps.h"

#include <gtest/gtest.h>

#include <memory>

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

class Settings : public ::testing::Test {
protected:
    void SetUp() override {
        installSampleApps(fake.workspace);
        engine = std::make_unique<AppSwitcherEngine>(fake.platform());
        engine->setReady(true);
        services.settings = &fake.settings;
        services.scheduler = &fake.scheduler;
        services.workspace = &fake.workspace;
        services.input = &fake.input;
        services.loginItem = &fake.loginItem;
        services.pinned = &engine->pinnedApps();
        services.ignored = &engine->ignoreList();
        services.running = &engine->runningApps();
        services.applyHoldModifier = [this](HoldModifier m) {
            applied.append(m);
            engine->holdMonitor().setModifier(m);
        };
        services.refreshApps = [this] {
            ++refreshes;
            engine->refresh();
        };
        services.version = u"1.0.0"_qs;
        fake.scheduler.runPending();
    }
    QString stored(const QString& key) {
        return fake.settings.value(key).value_or(QVariant()).toString();
    }

    FakePlatform fake;
    std::unique_ptr<AppSwitcherEngine> engine;
    SettingsServices services;
    QList<HoldModifier> applied;
    int refreshes = 0;
};

TEST_F(Settings, TheHintNamesWhatOpensTheSwitcher) {
    struct Row {
        QVariantMap stored;
        QString hint;
    };
    const Row rows[] = {
        {{}, u"Hold Ctrl to open Switcher view"_qs},
        {{{u"valimbra.holdModifier"_qs, u"command"_qs}}, u"Hold Super to open Switcher view"_qs},
        // A stored key that names none reads as the first one, not as the default.
        {{{u"valimbra.holdModifier"_qs, u"hyper"_qs}}, u"Hold Alt to open Switcher view"_qs},
        {{{u"valimbra.invokeMode"_qs, u"shortcut"_qs},
          {u"valimbra.recordedKeyCode"_qs, 49},
          {u"valimbra.recordedModifiers"_qs, 0x40000 | 0x80000}},
         u"Press Ctrl+Alt+Space to open Switcher view"_qs},
        // Shortcut mode without a shortcut still holds a key.
        {{{u"valimbra.invokeMode"_qs, u"shortcut"_qs}, {u"valimbra.holdModifier"_qs, u"option"_qs}},
         u"Hold Alt to open Switcher view"_qs},
        // A recorded shortcut that is not in use.
        {{{u"valimbra.recordedKeyCode"_qs, 0}, {u"valimbra.recordedModifiers"_qs, 0x80000}},
         u"Hold Ctrl to open Switcher view"_qs},
    };
    for (const Row& row : rows) {
        MemorySettingsStore store;
        for (auto it = row.stored.begin(); it != row.stored.end(); ++it)
            store.setString(it.key(), it.value().toString());
        EXPECT_EQ(invokeHintText(store), row.hint) << row.stored.keys().join(u',').toStdString();
    }
}

TEST_F(Settings, RecordingAShortcutSwitchesToItAndClearingItGoesBackToHolding) {
    GeneralPaneModel general(services);
    ShortcutRecorder recorder(services);
    EXPECT_FALSE(general.shortcutAvailable());
    EXPECT_EQ(recorder.label(), u"Record Shortcut"_qs);
    general.setInvokeMode(u"shortcut"_qs); // refused: nothing recorded
    EXPECT_EQ(general.invokeMode(), u"hold"_qs);

    fake.input.setFocusIsOurs(true);
    recorder.toggleRecording();
    EXPECT_EQ(recorder.label(), u"Press shortcut"_qs);
    // A bare key goes on to the window and recording goes on.
    EXPECT_TRUE(fake.input.typeKey(0, u"a"_qs));
    EXPECT_TRUE(recorder.isRecording());
    fake.input.setModifierFlagsSilently(ModifierFlag::Option | ModifierFlag::CapsLock);
    EXPECT_FALSE(fake.input.typeKey(0, u"a"_qs)) << "the shortcut is consumed";
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(fake.settings.integer(u"valimbra.recordedKeyCode"_qs), 0);
    EXPECT_EQ(fake.settings.integer(u"valimbra.recordedModifiers"_qs), 0x80000) << "no Caps Lock";
    EXPECT_EQ(recorder.label(), u"Alt+A"_qs);
    EXPECT_EQ(general.invokeMode(), u"shortcut"_qs);
    EXPECT_EQ(general.hintText(), u"Press Alt+A to open Switcher view"_qs);
    EXPECT_EQ(fake.input.installedCount(EventMask::KeyDown, true), 1) << "only the overlay's";

    // Escape cancels and keeps what was recorded.
    recorder.toggleRecording();
    fake.input.setModifierFlagsSilently(ModifierFlag::Control);
    EXPECT_FALSE(fake.input.typeKey(ShortcutRecorder::escapeKeyCode));
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(recorder.label(), u"Alt+A"_qs);

    recorder.clear();
    EXPECT_EQ(fake.settings.integer(u"valimbra.recordedKeyCode"_qs), -1);
    EXPECT_EQ(fake.settings.integer(u"valimbra.recordedModifiers"_qs), 0);
    EXPECT_EQ(general.invokeMode(), u"hold"_qs);
    EXPECT_FALSE(recorder.hasShortcut());
}

TEST_F(Settings, TheHoldKeyPickerSwitchesTheRunningMonitorAtOnce) {
    GeneralPaneModel general(services);
    general.setHoldModifier(u"command"_qs);
    EXPECT_EQ(engine->holdMonitor().modifier(), HoldModifier::command);
    general.setHoldModifier(u"hyper"_qs); // stored, but not applied
    EXPECT_EQ(applied, QList<HoldModifier>{HoldModifier::command});
    EXPECT_EQ(stored(u"valimbra.holdModifier"_qs), u"hyper"_qs);
    EXPECT_EQ(general.hintText(), u"Hold Alt to open Switcher view"_qs);
}

TEST_F(Settings, TabLaunchDelayAndLoginFollowWhatIsStoredAndTheSystem) {
    GeneralPaneModel general(services);
    EXPECT_TRUE(general.tabDwellEnabled());
    EXPECT_EQ(general.tabDwellDelay(), 0.5);
    general.setTabDwellDelay(0.8);
    EXPECT_EQ(fake.settings.doubleValue(u"valimbra.hoverLaunchDelay"_qs), 0.8);

    fake.loginItem.enabled = true; // switched on elsewhere
    EXPECT_FALSE(general.launchAtLogin());
    general.refreshLaunchAtLogin();
    EXPECT_TRUE(general.launchAtLogin());
    fake.loginItem.refuse = true;
    general.setLaunchAtLogin(false); // refused silently; the switch stays where the user put it
    EXPECT_FALSE(general.launchAtLogin());
    general.refreshLaunchAtLogin(); // the next showing tells the truth
    EXPECT_TRUE(general.launchAtLogin());
}

TEST_F(Settings, ARequestedPaneOpensAtOnceAndATapCrossFades) {
    SettingsNavigation nav(fake.settings, fake.scheduler);
    fake.settings.setString(SettingsNavigation::requestedPaneKey, u"Ignored"_qs);
    fake.scheduler.runPending();
    EXPECT_EQ(nav.selectedPane(), u"Ignored"_qs);
    EXPECT_EQ(nav.displayedPane(), u"Ignored"_qs);
    EXPECT_EQ(nav.detailOpacity(), 1.0);
    EXPECT_FALSE(nav.animateDetail());
    EXPECT_EQ(stored(SettingsNavigation::requestedPaneKey), QString());

    fake.settings.setString(SettingsNavigation::requestedPaneKey, u"Bogus"_qs);
    nav.consumeRequest();
    EXPECT_EQ(stored(SettingsNavigation::requestedPaneKey), u"Bogus"_qs) << "left stored";
    EXPECT_EQ(nav.displayedPane(), u"Ignored"_qs);

    nav.select(u"Appearance"_qs);
    EXPECT_EQ(nav.selectedPane(), u"Appearance"_qs);
    EXPECT_EQ(nav.detailOpacity(), 0.0);
    fake.scheduler.advance(179ms);
    EXPECT_EQ(nav.displayedPane(), u"Ignored"_qs);
    fake.scheduler.advance(1ms);
    EXPECT_EQ(nav.displayedPane(), u"Appearance"_qs);
    EXPECT_EQ(nav.detailOpacity(), 1.0);
    EXPECT_TRUE(nav.animateDetail());
}

TEST_F(Settings, AnimationLabelsFollowTheStyleAndNeverRewriteTheStoredValue) {
    AppearancePaneModel appearance(services);
    const auto labels = [&] {
        QStringList out;
        for (const QVariant& o : appearance.animationOptions())
            out << o.toMap().value(u"label"_qs).toString();
        return out;
    };
    struct Row {
        QString stored, active, first, second;
    };
    const Row rows[] = {
        {u"spatialTile"_qs, u"spatialTile"_qs, u"Bloom"_qs, u"Iris"_qs},
        {u"glassOrb"_qs, u"glassOrb"_qs, u"Bloom"_qs, u"Iris"_qs},
        {u"grid"_qs, u"grid"_qs, u"Wave"_qs, u"Pop"_qs},
        {u"list"_qs, u"list"_qs, u"Wave"_qs, u"Pop"_qs},
        {u"petals"_qs, u"spatialTile"_qs, u"Bloom"_qs, u"Iris"_qs},
    };
    fake.settings.setString(u"valimbra.animationStyle"_qs, u"iris"_qs);
    for (const Row& row : rows) {
        fake.settings.setString(u"valimbra.switcherStyle"_qs, row.stored);
        EXPECT_EQ(appearance.activeStyle(), row.active);
        EXPECT_EQ(labels(), (QStringList{row.first, row.second})) << row.stored.toStdString();
        EXPECT_EQ(stored(u"valimbra.switcherStyle"_qs), row.stored) << "not rewritten";
    }
    EXPECT_EQ(stored(u"valimbra.animationStyle"_qs), u"iris"_qs);
    appearance.setSwitcherStyle(u"list"_qs);
    appearance.setSwitcherStyle(u"carousel"_qs); // no such pod
    EXPECT_EQ(stored(u"valimbra.switcherStyle"_qs), u"list"_qs);
}

TEST_F(Settings, AddingSkipsTheOtherListAndStopsAtFifteenFavourites) {
    AppListModel favourites(AppListModel::Kind::favourites, services);
    AppListModel ignored(AppListModel::Kind::ignored, services);
    for (int i = 0; i < 13; ++i) {
        const QString id = u"app%1"_qs.arg(i);
        fake.workspace.install({id, u"App %1"_qs.arg(i), desktopFile(id), {}});
        ASSERT_TRUE(engine->pinnedApps().add({id, id, desktopFile(id)}));
    }
    ignored.beginAdd();
    ignored.addApplications({desktopFile(u"org.gnome.Nautilus"_qs), desktopFile(u"app3"_qs)});
    EXPECT_EQ(ignored.count(), 1) << "a favourite is never ignored";
    fake.workspace.launch(201, u"debian-xterm"_qs, u"XTerm"_qs);
    fake.scheduler.runPending();

    favourites.beginAdd();
    EXPECT_TRUE(favourites.canAdd());
    favourites.addApplications({desktopFile(u"org.gnome.Nautilus"_qs),  // ignored: skipped
                                QUrl(u"file:///tmp/not-an-app.txt"_qs), // skipped
                                desktopFile(u"debian-xterm"_qs), desktopFile(u"app4"_qs),
                                desktopFile(u"firefox-esr"_qs),
                                desktopFile(u"org.gnome.Calculator"_qs)});
    ASSERT_EQ(favourites.count(), 15) << "filled in the chooser's order, the rest dropped";
    EXPECT_FALSE(favourites.canAdd());
    const QModelIndex xterm = favourites.index(13);
    EXPECT_EQ(xterm.data(AppListModel::NameRole).toString(), u"XTerm"_qs) << "the entry's name";
    EXPECT_EQ(xterm.data(AppListModel::SubtitleRole).toString(), u"Running"_qs);
    EXPECT_EQ(favourites.index(14).data(AppListModel::SubtitleRole).toString(), u"Not running"_qs);
    EXPECT_EQ(favourites.index(14).data(AppListModel::BundleIdRole).toString(), u"firefox-esr"_qs);
    EXPECT_EQ(refreshes, 2);

    favourites.remove(u"debian-xterm"_qs);
    EXPECT_EQ(favourites.count(), 14);
    EXPECT_TRUE(favourites.canAdd());
    EXPECT_EQ(refreshes, 3);
}

TEST_F(Settings, TheChooserListsByNameFiltersAndReturnsTheChoiceInOrder) {
    AppChooserModel chooser(services);
    chooser.reset();
    QStringList names;
    for (int i = 0; i < chooser.rowCount(); ++i)
        names << chooser.index(i).data(AppChooserModel::NameRole).toString();
    EXPECT_EQ(names, (QStringList{u"Calculator"_qs, u"Files"_qs, u"Firefox ESR"_qs, u"XTerm"_qs}));
    chooser.toggle(3);
    chooser.setFilter(u"fi"_qs);
    ASSERT_EQ(chooser.rowCount(), 2);
    chooser.toggle(1);
    chooser.toggle(0);
    chooser.toggle(0); // and back
    EXPECT_EQ(chooser.chosenUrls(),
              (QList<QUrl>{desktopFile(u"debian-xterm"_qs), desktopFile(u"firefox-esr"_qs)}));
    EXPECT_FALSE(chooser.addFile(QUrl(u"file:///tmp/readme.desktop"_qs)));
    chooser.reset();
    EXPECT_EQ(chooser.chosenCount(), 0);
    EXPECT_EQ(chooser.rowCount(), 4);
}

} // namespace
