#include "core/AppSwitcherEngine.h"
#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "core/ReviewTracker.h"
#include "platform/fake/FakePlatform.h"
#include "support/SampleApps.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(Valimbra_CorePlugin)

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

// A desktop with the engine running on it. Helpers speak in the user's terms.
class Engine : public ::testing::Test {
protected:
    void SetUp() override { installSampleApps(fake.workspace); }

    void start(bool ready = true) {
        engine = std::make_unique<AppSwitcherEngine>(fake.platform());
        engine->setReady(ready);
        settle();
    }
    void settle() { fake.scheduler.runPending(); }
    void wait(std::chrono::milliseconds ms) { fake.scheduler.advance(ms); }

    void launch(qint32 pid, const QString& bundleID, const QString& name) {
        fake.workspace.launch(pid, bundleID, name);
        settle();
    }
    void focus(qint32 pid) {
        fake.workspace.bringToFront(pid);
        wait(1ms);
    }
    void pin(const QString& bundleID, const QString& name) {
        ASSERT_TRUE(engine->pinnedApps().add({bundleID, name, desktopFile(bundleID)}));
        settle();
    }
    void holdControl() {
        fake.input.pressModifier(ModifierFlag::Control);
        wait(300ms);
        fake.input.releaseModifier(ModifierFlag::Control);
        settle();
    }
    QStringList names() const {
        QStringList out;
        for (const AppEntry& e : engine->displayedApps())
            out << e.name;
        return out;
    }
    void type(const QString& text) { engine->appendSearchText(text); }

    // Three running apps, xterm most recent.
    void threeApps() {
        launch(101, u"org.gnome.Nautilus"_qs, u"Files"_qs);
        launch(102, u"firefox-esr"_qs, u"Firefox ESR"_qs);
        launch(103, u"debian-xterm"_qs, u"XTerm"_qs);
        focus(101);
        focus(102);
        focus(103);
    }

    QStringList journal; // outlives the fakes that write to it
    FakePlatform fake;
    std::unique_ptr<AppSwitcherEngine> engine;
};

// Views bind to the published state through the Valimbra.Core module, with no glue code.
TEST_F(Engine, QmlBindingsFollowThePublishedState) {
    start();
    launch(7, u"debian-xterm"_qs, u"XTerm"_qs);
    QQmlEngine qml;
    QQmlComponent component(&qml);
    component.setData(R"(
        import QtQml
        import Valimbra.Core
        QtObject {
            required property AppSwitcherEngine switcher
            property int shown: switcher.displayedApps.count
            property bool open: switcher.isVisible
            property int highlight: switcher.highlightIndex
        }
    )",
                      QUrl(u"qrc:/EngineBinding.qml"_qs));
    std::unique_ptr<QObject> view(component.createWithInitialProperties(
        {{u"switcher"_qs, QVariant::fromValue(engine.get())}}));
    ASSERT_TRUE(view) << component.errorString().toStdString();
    EXPECT_EQ(view->property("shown").toInt(), 1);
    EXPECT_FALSE(view->property("open").toBool());
    EXPECT_EQ(view->property("highlight").toInt(), -1);
    engine->show();
    engine->moveHighlight(1);
    EXPECT_TRUE(view->property("open").toBool());
    EXPECT_EQ(view->property("highlight").toInt(), 0);
    launch(8, u"org.gnome.Nautilus"_qs, u"Files"_qs);
    EXPECT_EQ(view->property("shown").toInt(), 2);
}

TEST_F(Engine, FavouritesComeFirstThenRunningAppsMostRecentFirst) {
    start();
    threeApps();
    pin(u"org.gnome.Calculator"_qs, u"Calculator"_qs); // not running
    pin(u"org.gnome.Nautilus"_qs, u"Files"_qs);        // running
    EXPECT_EQ(names(),
              QStringList({u"Calculator"_qs, u"Files"_qs, u"XTerm"_qs, u"Firefox ESR"_qs}));
    const auto& list = engine->displayedApps();
    EXPECT_LT(list[0].id, 0) << "a favourite that is not running has a negative id";
    EXPECT_EQ(list[0].icon.pixelColor(8, 8), QColor(Qt::blue)) << "its desktop file's icon";
    EXPECT_TRUE(list[0].isFavourite && !list[0].isRunning);
    EXPECT_EQ(list[1].id, 101) << "a running favourite is shown once, as its process";
    EXPECT_TRUE(list[1].isFavourite);
    EXPECT_FALSE(list[2].isFavourite);
    // The views' model mirrors the list, and icons are served by id.
    DisplayedAppsModel* model = engine->displayedAppsModel();
    ASSERT_EQ(model->rowCount(), 4);
    EXPECT_EQ(model->data(model->index(2), DisplayedAppsModel::IconUrlRole).toString(),
              u"image://appicon/103"_qs);
}

TEST_F(Engine, HoldingControlTogglesOnceReadyAndEachOpeningStartsUnhighlighted) {
    start(false);
    threeApps();
    holdControl();
    EXPECT_FALSE(engine->isVisible()) << "not ready yet";
    engine->setReady(true);
    holdControl();
    EXPECT_TRUE(engine->isVisible());
    engine->moveHighlight(+1);
    holdControl();
    EXPECT_FALSE(engine->isVisible()) << "a second hold closes";
    holdControl();
    EXPECT_TRUE(engine->isVisible());
    EXPECT_FALSE(engine->highlightIndex().has_value());
}

TEST_F(Engine, TypingSearchesAfterTheDebounceAndReturnActsThirtyMsLater) {
    start();
    threeApps();
    holdControl();
    type(u"x"_qs);
    wait(20ms);
    type(u"t"_qs);
    wait(39ms);
    EXPECT_EQ(names().size(), 3) << "the list waits for 40 ms of quiet";
    wait(1ms);
    EXPECT_EQ(names(), QStringList({u"XTerm"_qs}));
    EXPECT_EQ(engine->highlightIndex(), 0) << "the best match is ready for Return";

    engine->commitHighlighted();
    EXPECT_FALSE(engine->isVisible()) << "the overlay closes at once";
    EXPECT_TRUE(engine->searchQuery().isEmpty());
    wait(29ms);
    EXPECT_TRUE(fake.workspace.activateCalls().isEmpty());
    wait(1ms);
    ASSERT_EQ(fake.workspace.activateCalls().size(), 1);
    EXPECT_EQ(fake.workspace.activateCalls()[0], (FakeWorkspace::ActivateCall{103, true}));

    // An app that quit while shown is skipped; a favourite that is not running is launched.
    pin(u"org.gnome.Calculator"_qs, u"Calculator"_qs);
    holdControl();
    engine->moveHighlight(+1);
    engine->moveHighlight(+1); // XTerm, after the favourite
    fake.workspace.terminate(103);
    engine->commitHighlighted();
    wait(100ms);
    holdControl();
    engine->moveHighlight(+1);
    engine->commitHighlighted();
    wait(30ms);
    EXPECT_EQ(fake.workspace.activateCalls().size(), 1);
    EXPECT_EQ(fake.workspace.openedApplications(),
              QList<QUrl>({desktopFile(u"org.gnome.Calculator"_qs)}));
}

TEST_F(Engine, AFavouriteWithSeveralProcessesStandsForTheOneUsedLast) {
    start();
    launch(201, u"debian-xterm"_qs, u"XTerm"_qs);
    launch(202, u"debian-xterm"_qs, u"XTerm"_qs);
    focus(202);
    focus(201);
    focus(202);
    pin(u"debian-xterm"_qs, u"XTerm"_qs);
    engine->show();
    ASSERT_EQ(engine->displayedApps().size(), 1) << "one entry for the favourite";
    EXPECT_EQ(engine->displayedApps()[0].id, 202);
    EXPECT_TRUE(engine->displayedApps()[0].isFavourite);
    engine->activateAt(0);
    wait(30ms);
    ASSERT_EQ(fake.workspace.activateCalls().size(), 1);
    EXPECT_EQ(fake.workspace.activateCalls()[0].pid, 202);
}

// Results stay until the query changes: neither running-app changes nor the closing animation
// replace them.
TEST_F(Engine, ASearchKeepsItsResultsUntilTheQueryIsClearedOrTheCloseHasPlayed) {
    start();
    threeApps();
    holdControl();
    type(u"fi"_qs);
    wait(40ms);
    const QStringList searched = names();
    ASSERT_EQ(searched, QStringList({u"Files"_qs, u"Firefox ESR"_qs}));
    engine->hide();
    wait(499ms);
    EXPECT_EQ(names(), searched);
    wait(1ms);
    EXPECT_EQ(names().size(), 3);

    holdControl();
    type(u"xt"_qs);
    wait(40ms);
    engine->deleteLastSearchCharacter();
    engine->deleteLastSearchCharacter();
    wait(40ms);
    EXPECT_EQ(names().size(), 3) << "an empty query brings the ordinary list back";
    EXPECT_FALSE(engine->highlightIndex().has_value());

    type(u"xt"_qs);
    wait(40ms);
    launch(104, u"org.gnome.Calculator"_qs, u"Calculator"_qs);
    fake.workspace.terminate(101);
    settle();
    EXPECT_EQ(names(), QStringList({u"XTerm"_qs}));
}

TEST_F(Engine, WiggleModeListsFavouritesOnlyAndOnlyTheMiddleButtonClosesIt) {
    start();
    threeApps();
    pin(u"firefox-esr"_qs, u"Firefox ESR"_qs);
    holdControl();
    engine->enterWiggleMode();
    EXPECT_EQ(names(), QStringList({u"Firefox ESR"_qs}));
    holdControl(); // the hold key leaves wiggle mode instead of closing
    EXPECT_TRUE(engine->isVisible());
    EXPECT_FALSE(engine->isWiggleMode());
    EXPECT_EQ(names().size(), 3);

    engine->enterWiggleMode();
    fake.input.mouseDown(2);
    EXPECT_FALSE(engine->isWiggleMode());
    EXPECT_TRUE(engine->isVisible()) << "the hide waits for the next main-loop turn";
    settle();
    EXPECT_FALSE(engine->isVisible());
}

// Escape or a click outside while rearranging closes and leaves wiggle mode, so the next hold
// opens at once; and a commit survives a listener that rebuilds the list as the overlay closes
// (the entry being committed must not be a reference into that list).
TEST_F(Engine, ClosingEndsRearrangingAndACommitSurvivesTheListRebuiltOnClose) {
    start();
    threeApps();
    pin(u"firefox-esr"_qs, u"Firefox ESR"_qs);
    holdControl();
    engine->enterWiggleMode();
    engine->closeRequest();
    settle();
    EXPECT_FALSE(engine->isVisible());
    EXPECT_FALSE(engine->isWiggleMode());
    holdControl();
    ASSERT_TRUE(engine->isVisible()) << "the next hold opens at once";

    QObject::connect(engine.get(), &SwitcherModel::isVisibleChanged, engine.get(), [this] {
        if (!engine->isVisible())
            engine->refresh();
    });
    engine->moveHighlight(+1);
    engine->moveHighlight(+1);
    const qint32 chosen = engine->displayedApps().at(*engine->highlightIndex()).id;
    engine->commitHighlighted();
    wait(30ms);
    ASSERT_EQ(fake.workspace.activateCalls().size(), 1);
    EXPECT_EQ(fake.workspace.activateCalls()[0].pid, chosen);
}

TEST_F(Engine, FavouritesKeepTheirOrderAcrossRestartsOrSortAlphabeticallyIgnoringCase) {
    start();
    pin(u"org.gnome.Nautilus"_qs, u"files"_qs);
    pin(u"org.gnome.Calculator"_qs, u"Calculator"_qs);
    pin(u"firefox-esr"_qs, u"Firefox ESR"_qs);
    EXPECT_TRUE(engine->moveFavourite(u"firefox-esr"_qs, -1));
    EXPECT_FALSE(engine->moveFavourite(u"org.gnome.Nautilus"_qs, -1)) << "already first";
    engine.reset();
    start();
    EXPECT_EQ(names(), QStringList({u"files"_qs, u"Firefox ESR"_qs, u"Calculator"_qs}));
    engine->pinnedApps().setSortAlphabetically(true);
    settle();
    EXPECT_EQ(names(), QStringList({u"Calculator"_qs, u"files"_qs, u"Firefox ESR"_qs}));

    // Under the C locale, accented names still sort among their letters.
    const QLocale saved;
    QLocale::setDefault(QLocale::c());
    pin(u"debian-xterm"_qs, u"\u00c9clair"_qs);
    EXPECT_EQ(names().indexOf(u"\u00c9clair"_qs), 1) << names().join(u", ").toStdString();
    QLocale::setDefault(saved);
}

struct HighlightCase {
    int count;
    int start; // -1: nothing highlighted
    int step;
    int expected;
};

class HighlightWrap : public Engine, public ::testing::WithParamInterface<HighlightCase> {};

TEST_P(HighlightWrap, MovesWithWrapAround) {
    start();
    const HighlightCase c = GetParam();
    for (int i = 0; i < c.count; ++i)
        launch(200 + i, u"app.%1"_qs.arg(i), u"App %1"_qs.arg(i));
    holdControl();
    if (c.start >= 0)
        for (int i = 0; i <= c.start; ++i)
            engine->moveHighlight(+1);
    engine->moveHighlight(c.step);
    EXPECT_EQ(engine->highlightIndexOrNone(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Steps, HighlightWrap,
                         ::testing::Values(HighlightCase{0, -1, 1, -1}, // empty list: no change
                                           HighlightCase{3, -1, 1, 0}, HighlightCase{3, -1, -1, 2},
                                           HighlightCase{3, 2, 1, 0}, HighlightCase{3, 0, -1, 2},
                                           HighlightCase{3, 1, 1, 2}, HighlightCase{1, 0, 1, 0}));

TEST_F(Engine, MiddleButtonTogglesAndTheLocalMonitorSwallowsOnlyWhatItHandled) {
    start();
    threeApps();
    EXPECT_TRUE(fake.input.mouseDown(2));
    settle();
    EXPECT_TRUE(engine->isVisible());
    fake.input.setFocusIsOurs(true);
    EXPECT_FALSE(fake.input.mouseDown(2)) << "handled inside our window: swallowed";
    EXPECT_FALSE(engine->isVisible());
    EXPECT_TRUE(fake.input.mouseDown(3)) << "other buttons pass untouched";

    fake.settings.setBool(u"valimbra.middleMouseEnabled"_qs, false);
    EXPECT_TRUE(fake.input.mouseDown(2));
    EXPECT_FALSE(engine->isVisible());
}

TEST_F(Engine, HoverDwellCommitsAfterTheStoredDelayUnlessDisabledOrHidden) {
    start();
    threeApps();
    fake.settings.setDouble(u"valimbra.hoverLaunchDelay"_qs, 0.8);
    const Date firstOpen = fake.scheduler.now();
    holdControl();
    engine->hoverItem(1);
    wait(799ms);
    EXPECT_TRUE(engine->isVisible());
    wait(1ms);
    EXPECT_FALSE(engine->isVisible());
    wait(30ms);
    ASSERT_EQ(fake.workspace.activateCalls().size(), 1);
    EXPECT_EQ(fake.workspace.activateCalls()[0].pid, 102);

    holdControl();
    engine->hoverItem(0);
    engine->hide();
    wait(2s);
    EXPECT_EQ(fake.workspace.activateCalls().size(), 1) << "hiding cancels the dwell";

    fake.settings.setBool(u"valimbra.hoverLaunchEnabled"_qs, false);
    holdControl();
    engine->hoverItem(0);
    wait(2s);
    EXPECT_TRUE(engine->isVisible());

    // The review prompt counts openings and switches since the first use.
    EXPECT_EQ(engine->review().sessionCount(), 3);
    EXPECT_EQ(engine->review().switchCount(), 1);
    ASSERT_TRUE(engine->review().firstUseDate().has_value());
    EXPECT_NEAR(engine->review().firstUseDate()->secondsSinceReference(),
                firstOpen.secondsSinceReference(), 0.5);
}

TEST_F(Engine, StoredSettingsBeatTheDefaultsAndUnknownHoldModifiersAreIgnored) {
    fake.settings.setString(u"valimbra.animationStyle"_qs, u"iris"_qs);
    fake.settings.setString(u"valimbra.holdModifier"_qs, u"command"_qs);
    start();
    EXPECT_EQ(fake.settings.string(u"valimbra.animationStyle"_qs), u"iris"_qs);
    EXPECT_TRUE(fake.settings.boolValue(u"valimbra.middleMouseEnabled"_qs));
    EXPECT_FALSE(fake.settings.isWritten(u"valimbra.middleMouseEnabled"_qs));
    threeApps();
    holdControl();
    EXPECT_FALSE(engine->isVisible());
    fake.input.pressModifier(ModifierFlag::Command);
    wait(300ms);
    EXPECT_TRUE(engine->isVisible());
    fake.input.releaseModifier(ModifierFlag::Command);

    fake.settings.setString(u"valimbra.holdModifier"_qs, u"Control"_qs); // not a raw value
    engine->hide();
    holdControl();
    EXPECT_FALSE(engine->isVisible());
}

TEST_F(Engine, ShortcutModeRegistersEachRecordedCombinationOnceInsteadOfTheHold) {
    start();
    threeApps();
    fake.hotKeys.setJournal(&journal);
    fake.settings.setInteger(u"valimbra.recordedKeyCode"_qs, 49);
    fake.settings.setInteger(u"valimbra.recordedModifiers"_qs, 0x120000);
    fake.settings.setString(u"valimbra.invokeMode"_qs, u"shortcut"_qs);
    settle();
    EXPECT_EQ(journal.count(u"hotkeys.register"_qs), 1) << "three writes, one registration";
    holdControl();
    EXPECT_FALSE(engine->isVisible());
    fake.hotKeys.press(49, CarbonModifier::Cmd | CarbonModifier::Shift);
    settle();
    EXPECT_TRUE(engine->isVisible());

    // The recorder stores ⌥A: key code first, then the modifiers.
    fake.settings.setInteger(u"valimbra.recordedKeyCode"_qs, 0);
    fake.settings.setInteger(u"valimbra.recordedModifiers"_qs, 0x80000);
    settle();
    // Writing a setting with the value it already has changes nothing.
    fake.settings.setInteger(u"valimbra.recordedModifiers"_qs, 0x80000);
    fake.settings.setString(u"valimbra.invokeMode"_qs, u"shortcut"_qs);
    settle();
    EXPECT_EQ(journal.count(u"hotkeys.register"_qs), 2);
    ASSERT_EQ(fake.hotKeys.registrations().size(), 1u);
    EXPECT_EQ(fake.hotKeys.registrations()[0].keyCode, 0u);
    EXPECT_EQ(fake.hotKeys.registrations()[0].carbonModifiers, CarbonModifier::Option);

    fake.settings.setString(u"valimbra.invokeMode"_qs, u"hold"_qs);
    settle();
    EXPECT_EQ(fake.hotKeys.handlerCount(), 0);
    holdControl(); // closes what the shortcut opened
    EXPECT_FALSE(engine->isVisible());
}

// The overlay's actions keep favourites and ignored apps apart; ignored apps appear nowhere.
TEST_F(Engine, FavouritesNeedADesktopFileAndIgnoredAppsAreNeverListedNorFound) {
    start();
    threeApps();
    launch(107, u"wmclass.xclock"_qs, u"XClock"_qs); // no desktop file
    pin(u"org.gnome.Calculator"_qs, u"Calculator"_qs);
    holdControl();
    const auto indexOf = [&](const QString& name) { return int(names().indexOf(name)); };
    EXPECT_FALSE(engine->addFavourite(indexOf(u"XClock"_qs)));
    EXPECT_TRUE(engine->addFavourite(indexOf(u"XTerm"_qs)));
    settle();
    EXPECT_EQ(indexOf(u"XTerm"_qs), 1) << "after the earlier favourite";
    EXPECT_FALSE(engine->ignoreApp(1)) << "a favourite cannot be ignored";
    EXPECT_TRUE(engine->removeFavourite(u"debian-xterm"_qs));
    settle();
    EXPECT_TRUE(engine->ignoreApp(indexOf(u"XTerm"_qs)));
    // A favourite put on the list by other means is hidden as well.
    engine->ignoreList().append({u"org.gnome.Calculator"_qs, u"Calculator"_qs, std::nullopt});
    settle();
    EXPECT_EQ(names(), QStringList({u"Firefox ESR"_qs, u"Files"_qs, u"XClock"_qs}));
    type(u"xterm"_qs);
    wait(40ms);
    EXPECT_TRUE(names().isEmpty()) << "search never brings an ignored app back";
}

} // namespace
