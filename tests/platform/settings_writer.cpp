// Helper process for the crash-safety tests: saves one kind of value over and over into the store
// at argv[1], each save a new generation, and writes one byte to stdout after each completed save,
// until it is killed. Kinds: blob, favourites, ignored, recency, settings.
#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RecencyStack.h"
#include "platform/QSettingsStore.h"
#include "platform/fake/FakeScheduler.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstring>

#include <unistd.h>

namespace {

using namespace valimbra;

// Saves run where they are asked for, so each completes before its tick.
struct InlineExecutor final : SerialExecutor {
    void submit(std::function<void()> block) override { block(); }
};

// Generation i holds 1 + i % 15 entries, each naming i: a torn list shows at once.
QString entryID(int generation, int j) {
    return u"app.%1.%2"_qs.arg(generation).arg(j);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    QSettingsStore store(QString::fromLocal8Bit(argv[1]));
    const char* kind = argv[2];
    PinnedAppsManager favourites(store);
    IgnoreListManager ignored(store);
    FakeScheduler clock;
    InlineExecutor inlineQueue;
    RecencyStack recency(store, clock, inlineQueue);
    static const char* const styles[] = {"spatialTile", "glassOrb", "grid", "list"};

    for (int i = 0;; ++i) {
        if (std::strcmp(kind, "blob") == 0) {
            store.setData(u"valimbra.blob"_qs, QByteArray(16 * 1024, char('a' + i % 26)));
        } else if (std::strcmp(kind, "favourites") == 0) {
            QList<PinnedApp> apps;
            for (int j = 0; j < 1 + i % 15; ++j)
                apps.append({entryID(i, j), u"App"_qs,
                             QUrl::fromLocalFile(u"/usr/share/applications/"_qs + entryID(i, j))});
            favourites.setPinnedApps(apps);
            favourites.save();
        } else if (std::strcmp(kind, "ignored") == 0) {
            QList<IgnoredApp> apps;
            for (int j = 0; j < 1 + i % 15; ++j)
                apps.append({entryID(i, j), u"App"_qs, std::nullopt});
            ignored.setIgnoredApps(apps);
            ignored.save();
        } else if (std::strcmp(kind, "recency") == 0) {
            recency.recordActivation(entryID(i, 0));
        } else if (std::strcmp(kind, "settings") == 0) {
            store.setInteger(u"valimbra.generation"_qs, i);
            store.setString(u"valimbra.switcherStyle"_qs, QString::fromLatin1(styles[i % 4]));
            store.setDouble(u"valimbra.tabLaunchDelay"_qs, 0.25 + i % 8 * 0.25);
        } else {
            return 2;
        }
        store.flush();
        if (write(STDOUT_FILENO, "!", 1) != 1)
            return 1;
    }
}
