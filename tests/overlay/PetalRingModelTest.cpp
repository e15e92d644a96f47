#include "overlay/PetalRingModel.h"
#include "catalogue/PinnedAppsManager.h"
#include "core/AppSwitcherEngine.h"
#include "platform/fake/FakePlatform.h"
#include "support/SampleApps.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace valimbra;
using namespace std::chrono_literals;

namespace {

// The ring over a real engine on the fake desktop.
class Ring : public ::testing::Test {
protected:
    void SetUp() override {
        engine = std::make_unique<AppSwitcherEngine>(fake.platform());
        engine->setReady(true);
        ring.setSwitcher(engine.get());
    }
    void launch(int count) {
        for (int i = 1; i <= count; ++i) {
            const QString id = u"app%1"_qs.arg(i);
            fake.workspace.install({id, u"App %1"_qs.arg(i), desktopFile(id), {}});
            fake.workspace.launch(100 + i, id, u"App %1"_qs.arg(i));
        }
        fake.scheduler.runPending();
    }
    void type(const QString& text) {
        engine->appendSearchText(text);
        fake.scheduler.advance(50ms);
    }
    QStringList names() const {
        QStringList out;
        for (const AppEntry& e : ring.cards())
            out.append(e.isAddSlot ? u"+"_qs : e.name);
        return out;
    }

    FakePlatform fake;
    std::unique_ptr<AppSwitcherEngine> engine;
    PetalRingModel ring;
};

TEST_F(Ring, HoldsAtMostFifteenCards) {
    launch(16);
    engine->show();
    EXPECT_EQ(ring.count(), 15);
    EXPECT_EQ(engine->displayedApps().size(), 16);
    EXPECT_NEAR(ring.radius(), 190.99, 0.005);
    ring.setStyleName(u"glassOrb"_qs);
    EXPECT_NEAR(ring.radius(), 186.21, 0.005);
    ring.setStyleName(u"GlassOrb"_qs);
    EXPECT_EQ(ring.style(), SwitcherStyle::spatialTile) << "an unknown style is the default";
}

TEST_F(Ring, HoverWinsOverTheKeyboardHighlight) {
    launch(4);
    engine->show();
    engine->moveHighlight(1);
    const int keyboard = ring.highlightedRow();
    ASSERT_GE(keyboard, 0);
    const int hovered = (keyboard + 2) % 4;
    ring.setHovered(hovered, true);
    EXPECT_EQ(ring.highlightedRow(), hovered);
    EXPECT_EQ(ring.highlightedName(), ring.cards().at(hovered).name);
    engine->moveHighlight(1);
    EXPECT_EQ(ring.highlightedRow(), hovered) << "Tab under a resting pointer";
}

TEST_F(Ring, SearchKeepsTheCardsAndMarksMatches) {
    launch(3);
    fake.workspace.install({u"calc"_qs, u"Calculator"_qs, desktopFile(u"calc"_qs), {}});
    fake.workspace.launch(200, u"calc"_qs, u"Calculator"_qs);
    fake.scheduler.runPending();
    engine->show();
    const QStringList before = names();
    type(u"calc"_qs);
    EXPECT_EQ(names(), before);
    int matches = 0;
    for (int row = 0; row < ring.count(); ++row)
        matches += ring.isMatch(row);
    EXPECT_EQ(matches, 1);
    EXPECT_EQ(ring.highlightedName(), u"Calculator"_qs) << "the best match is what Return opens";
    EXPECT_TRUE(ring.searchActive());
    EXPECT_FALSE(ring.noResults());
}

TEST_F(Ring, NoResultsDimsEverythingAndClearsTheHighlight) {
    launch(3);
    engine->show();
    ring.setHovered(1, true);
    type(u"zzzz"_qs);
    EXPECT_TRUE(ring.noResults());
    EXPECT_EQ(ring.count(), 3);
    EXPECT_EQ(ring.highlightedRow(), -1);
    EXPECT_FALSE(engine->highlightIndex().has_value());
    for (int row = 0; row < 3; ++row)
        EXPECT_FALSE(ring.isMatch(row));
    ring.setHovered(0, true);
    EXPECT_EQ(ring.highlightedRow(), -1) << "dimmed cards take no highlight";
}

TEST_F(Ring, ContextMenuItemsAndStates) {
    launch(2);
    engine->pinnedApps().add({u"app1"_qs, u"App 1"_qs, desktopFile(u"app1"_qs)});
    fake.scheduler.runPending();
    engine->show();
    auto texts = [](const QVariantList& menu) {
        QStringList out;
        for (const QVariant& v : menu) {
            const QVariantMap m = v.toMap();
            out.append(m[u"action"_qs].toString() + (m[u"enabled"_qs].toBool() ? u""_qs : u"-"_qs) +
                       (m[u"destructive"_qs].toBool() ? u"!"_qs : u""_qs));
        }
        return out.join(u' ');
    };
    ASSERT_TRUE(ring.cards().at(0).isFavourite);
    EXPECT_EQ(texts(ring.contextMenu(0)), u"removeFavourite editFavourites divider- ignore!"_qs);
    EXPECT_EQ(texts(ring.contextMenu(1)), u"addFavourite editFavourites divider- ignore!"_qs);
    EXPECT_EQ(ring.contextMenu(0).first().toMap()[u"text"_qs], u"Remove Favourite"_qs);
    EXPECT_EQ(ring.contextMenu(1).first().toMap()[u"text"_qs], u"Add as Favourite"_qs);
    EXPECT_EQ(ring.contextMenu(1).last().toMap()[u"text"_qs], u"Ignore App"_qs);

    for (int i = 0; i < 14; ++i)
        engine->pinnedApps().add({u"fav%1"_qs.arg(i), u"Fav"_qs, desktopFile(u"fav"_qs)});
    fake.scheduler.runPending();
    const int running = int(engine->displayedApps().size()) - 1;
    EXPECT_EQ(texts(ring.contextMenuForEntry(running)).split(u' ').first(), u"addFavourite-"_qs)
        << "15 favourites: no more can be added";

    QSignalSpy edit(&ring, &PetalRingModel::editFavouritesRequested);
    ring.triggerMenuAction(0, u"editFavourites"_qs);
    EXPECT_EQ(edit.count(), 1);
    ring.triggerMenuAction(0, u"removeFavourite"_qs);
    EXPECT_EQ(engine->pinnedApps().pinnedApps().size(), 14);
}

TEST_F(Ring, WiggleModeAddsTheSlotAndDragsSwapOnce) {
    launch(3);
    for (const char* id : {"app1", "app2", "app3"})
        engine->pinnedApps().add({QString::fromLatin1(id), QString::fromLatin1(id),
                                  desktopFile(QString::fromLatin1(id))});
    fake.scheduler.runPending();
    engine->show();
    engine->enterWiggleMode();
    EXPECT_EQ(names(), (QStringList{u"App 1"_qs, u"App 2"_qs, u"App 3"_qs, u"+"_qs}));
    QSignalSpy edit(&ring, &PetalRingModel::editFavouritesRequested);
    ring.select(3);
    EXPECT_EQ(edit.count(), 1) << "the add slot opens the favourites";
    EXPECT_EQ(ring.dragFavourite(0, 39, 0), 0);
    EXPECT_EQ(ring.dragFavourite(0, 41, 0), 1);
    EXPECT_EQ(engine->pinnedApps().pinnedApps().at(1).bundleID, u"app1"_qs);
    engine->exitWiggleMode();
    EXPECT_EQ(ring.dragFavourite(0, 80, 0), 0) << "only while rearranging";
}

// A list change moves, inserts and removes rows (never a reset), so cards keep their delegates
// and spring to their new places; the rows always end up as the new list.
TEST_F(Ring, ListChangesMoveRowsInsteadOfResetting) {
    launch(4);
    engine->show();
    QSignalSpy resets(&ring, &QAbstractItemModel::modelReset);
    QSignalSpy moves(&ring, &QAbstractItemModel::rowsMoved);
    fake.workspace.bringToFront(104);
    fake.scheduler.advance(1ms);
    fake.workspace.terminate(102);
    fake.workspace.launch(110, u"app10"_qs, u"App 10"_qs);
    fake.scheduler.runPending();
    QStringList expected;
    for (const AppEntry& e : engine->displayedApps())
        expected.append(e.name);
    EXPECT_EQ(names(), expected);
    EXPECT_EQ(resets.count(), 0);
    EXPECT_GE(moves.count(), 1);
}

} // namespace
