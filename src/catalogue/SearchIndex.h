#pragma once

#include "catalogue/AppEntry.h"

#include <QList>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <limits>
#include <memory>
#include <mutex>
#include <shared_mutex>

namespace valimbra {

class ThreadExecutor;
namespace search {
class IndexStore;
struct Write;
} // namespace search

// Which matcher produced a search's results; later stages run only when earlier ones find nothing.
enum class SearchStage { None, Prefix, Substring, Subsequence, Fuzzy };

// Type-to-search over the applications the switcher knows.
//
// Keys are each entry's nameLower and every space-separated word of it, as user-perceived
// characters (grapheme clusters of NFC text, so canonically equivalent spellings match). A query
// is lower-cased with full Unicode case mapping and otherwise taken as it stands. Matching runs
// prefix -> substring -> subsequence -> fuzzy and keeps the first stage that finds anything;
// results carry their relevance in searchScore and come highest first.
//
// Equal scores keep indexing order: the order of the list given to rebuild(), then of entries
// inserted later. Replacing an indexed bundle identifier keeps its place; one removed and added
// again goes to the end. The engine rebuilds from its list of apps, so ties follow that order.
//
// Threads: any thread may search, and a search sees every write submitted before it from any
// thread. Writes return at once; they are applied in submission order on a background thread
// labelled "app.brindlex.searchindex".
class SearchIndex {
public:
    static constexpr const char* kQueueLabel = "app.brindlex.searchindex";

    struct Stats {
        qsizetype entries = 0;
        std::size_t nodes = 0;        // trie nodes (edges of the compressed trie)
        std::size_t idReferences = 0; // identifiers held across all node sets
        std::size_t bytes = 0;        // heap the index's own structures take (estimate)
    };

    SearchIndex();
    ~SearchIndex(); // pending writes are dropped, not applied
    SearchIndex(const SearchIndex&) = delete;
    SearchIndex& operator=(const SearchIndex&) = delete;

    // Replaces everything indexed by these entries (a later duplicate bundle ID wins).
    void rebuild(QList<AppEntry> entries);
    // Adds or replaces the entry with this bundle identifier.
    void insert(AppEntry entry);
    void remove(QString bundleID);

    // Ranked copies of the matching entries, each with searchScore set. Blocks only for writes
    // submitted before the call that are not applied yet.
    QList<AppEntry> search(const QString& query) const;
    // At most `limit` results (the best ones, ranked exactly as in the full list); `stage`, when
    // given, receives the stage that produced them.
    QList<AppEntry> search(const QString& query, SearchStage* stage,
                           qsizetype limit = std::numeric_limits<qsizetype>::max()) const;

    // Blocks until every write submitted so far is applied (tools and benchmarks).
    void waitForPendingWrites() const;

    Stats stats() const;
    std::size_t memoryUsage() const { return stats().bytes; }

private:
    void submit(search::Write write);
    void apply(quint64 sequence, search::Write& write);
    void waitForSequence(quint64 sequence) const;

    // Readers share, the writer thread excludes; guards m_store.
    mutable std::shared_mutex m_storeLock;
    std::unique_ptr<search::IndexStore> m_store;

    // Sequence numbers of writes: submitted (taken under m_submitLock together with the queue
    // push, so queue order is sequence order) and applied (raised by the writer thread).
    std::mutex m_submitLock;
    std::atomic<quint64> m_submitted{0};
    mutable std::mutex m_appliedLock;
    mutable std::condition_variable m_appliedChanged;
    std::atomic<quint64> m_applied{0};
    std::atomic<bool> m_closing{false};

    std::unique_ptr<ThreadExecutor> m_writer; // declared last: joined before the rest goes
};

} // namespace valimbra
