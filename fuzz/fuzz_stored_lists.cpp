// The three lists kept in the settings store (favourites, ignored applications, recency), fed
// to the managers as they load them at start-up. Whatever the bytes: a list that does not decode
// loads as empty; one that does is saved whole and reads back equal, and from the second save on
// the bytes no longer change.

#include "FuzzSupport.h"

#include "catalogue/AppEntry.h"
#include "catalogue/IgnoreListManager.h"
#include "catalogue/JsonCoding.h"
#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RecencyStack.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"

#include <algorithm>
#include <limits>

using namespace valimbra;
using valimbra::fuzz::require;

namespace {

// The favourites and the ignored list load and save alike: what decodes is what loads, and
// nothing else; a decoded list is saved whole, reads back equal, and saves to the same bytes
// again. `check` then looks at the reloaded manager.
template <class Manager, class Record, class Check>
void loadAndSave(const QByteArray& blob, const QString& key,
                 const std::optional<QList<Record>>& decoded,
                 const QList<Record>& (Manager::*list)() const, Check check) {
    MemorySettingsStore store;
    store.setData(key, blob);
    Manager loaded(store);
    require((loaded.*list)() == decoded.value_or(QList<Record>{}));
    if (!decoded)
        return;

    loaded.save();
    require((loaded.*list)() == *decoded); // a record that loaded is never dropped on save
    const auto saved = store.data(key);
    require(saved.has_value());
    Manager reloaded(store);
    require((reloaded.*list)() == *decoded);
    reloaded.save();
    require(store.data(key) == saved);
    check(reloaded, *decoded);
}

void favourites(const QByteArray& blob) {
    loadAndSave(blob, PinnedAppsManager::storageKey(), json::decodePinnedApps(blob),
                &PinnedAppsManager::pinnedApps, [](const PinnedAppsManager&, const auto& apps) {
                    // What the switcher makes of a favourite that is not running.
                    for (const PinnedApp& app : apps)
                        (void)AppEntry::fromPinned(app, {});
                });
}

void ignored(const QByteArray& blob) {
    loadAndSave(blob, IgnoreListManager::storageKey(), json::decodeIgnoredApps(blob),
                &IgnoreListManager::ignoredApps, [](const IgnoreListManager& m, const auto& apps) {
                    for (const IgnoredApp& app : apps)
                        require(m.isIgnored(app.bundleID));
                });
}

void recency(const QByteArray& blob) {
    const QString key = RecencyStack::persistenceKey();
    const auto decoded = json::decodeRecency(blob);
    MemorySettingsStore store;
    store.setData(key, blob);
    FakeScheduler clock;
    ManualExecutor saveQueue;
    RecencyStack loaded(store, clock, saveQueue);
    if (!decoded) {
        require(loaded.snapshot() == RecencySnapshot{});
        return;
    }
    // Loading drops timestamps older than a month and keeps everything else.
    const Date cutoff = clock.now().addSeconds(-RecencyStack::pruneAge);
    require(loaded.snapshot().counts == decoded->counts);
    for (auto it = decoded->timestamps.cbegin(); it != decoded->timestamps.cend(); ++it)
        require(loaded.snapshot().timestamps.contains(it.key()) == (it.value() > cutoff));

    // Everything that decoded can be written again, and reads back as it was. The bytes settle
    // one save later than the lists' do: a -0 date is written as such and read back as 0.
    const auto first = json::encodeRecency(*decoded);
    require(first.has_value());
    const auto reread = json::decodeRecency(*first);
    require(reread == decoded);
    const auto second = json::encodeRecency(*reread);
    require(second && json::encodeRecency(*json::decodeRecency(*second)) == second);

    // Ordering by recency is a strict weak order whatever the names (std::sort relies on it).
    QList<AppEntry> entries;
    QStringList ids = decoded->counts.keys() + decoded->timestamps.keys();
    ids.sort(); // a fixed order whatever the hash seed, so each input always runs the same way
    ids.removeDuplicates();
    for (const QString& id : std::as_const(ids).first(std::min<qsizetype>(ids.size(), 64))) {
        AppEntry e;
        e.id = AppEntry::favouriteId(id);
        e.bundleID = id;
        e.name = id;
        entries.append(e);
    }
    std::sort(entries.begin(), entries.end(), loaded.ordering());
    for (qsizetype i = 0; i < entries.size(); ++i) {
        require(!loaded.precedes(entries[i], entries[i]));
        require(i == 0 || !loaded.precedes(entries[i], entries[i - 1]));
    }

    // An activation saves on the queue, and a fresh load sees it. A count at its limit stops the
    // program on purpose, so that one is not activated here.
    const QString activated = ids.isEmpty() ? QStringLiteral("fuzz.activated") : ids.front();
    if (loaded.activationCount(activated) == std::numeric_limits<qint64>::max())
        return;
    loaded.recordActivation(activated);
    saveQueue.drain();
    RecencyStack reloaded(store, clock, saveQueue);
    require(reloaded.snapshot() == loaded.snapshot());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::quietQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The settings file has no size limit, so neither has a blob here.
    const QByteArray blob = fuzz::bytes(data, size);
    favourites(blob);
    ignored(blob);
    recency(blob);
    return 0;
}
