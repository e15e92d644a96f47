#include "SearchIndex.h"

#include "platform/QtScheduler.h"
#include "search/IndexStore.h"

namespace valimbra {

// Concurrency design
//
// Writes form a sequenced log. submit() numbers a write and queues it on the writer thread
// ("app.brindlex.searchindex") under m_submitLock, so the queue order is the numbering order, and
// returns: the caller never waits, neither for other writes nor for a long search. The writer
// applies writes one by one under the exclusive side of m_storeLock and then publishes their
// number in m_applied.
//
// A search reads m_submitted when it starts: every write whose submit() returned before that
// (on any thread) has a number up to that value. It waits until m_applied reaches it (usually it
// already has, and the check is one atomic load), then reads the store under the shared lock, so
// searches run in parallel with each other and only ever wait for earlier writes. Publishing
// m_applied after releasing the exclusive lock means a search that sees the number also
// acquires the lock after the write's release and so sees its effects.
//
// A rebuild builds its new store before taking the lock and swaps it in, so searches keep
// running on the old store while a large list is indexed; the old store is freed after the
// write is published, so nobody waits for that either. The destructor sets m_closing so that queued
// writes are skipped (the writer only holds the index weakly in effect), then joins the writer
// before any member goes.

namespace search {

struct Write {
    enum class Kind { Rebuild, Insert, Remove } kind;
    QList<AppEntry> entries;
    AppEntry entry;
    QString bundleID;
};

} // namespace search

using search::IndexStore;
using search::Write;

SearchIndex::SearchIndex()
    : m_store(std::make_unique<IndexStore>())
    , m_writer(std::make_unique<ThreadExecutor>(QString::fromLatin1(kQueueLabel))) {}

SearchIndex::~SearchIndex() {
    m_closing.store(true);
    m_writer.reset();
}

void SearchIndex::rebuild(QList<AppEntry> entries) {
    submit(Write{Write::Kind::Rebuild, std::move(entries), {}, {}});
}

void SearchIndex::insert(AppEntry entry) {
    submit(Write{Write::Kind::Insert, {}, std::move(entry), {}});
}

void SearchIndex::remove(QString bundleID) {
    submit(Write{Write::Kind::Remove, {}, {}, std::move(bundleID)});
}

void SearchIndex::submit(Write write) {
    std::lock_guard lock(m_submitLock);
    const quint64 sequence = m_submitted.load(std::memory_order_relaxed) + 1;
    // std::function needs a copyable block; the write is shared, not copied.
    auto shared = std::make_shared<Write>(std::move(write));
    m_writer->submit([this, sequence, shared] { apply(sequence, *shared); });
    m_submitted.store(sequence, std::memory_order_release);
}

void SearchIndex::apply(quint64 sequence, Write& write) {
    std::unique_ptr<IndexStore> replaced;
    if (!m_closing.load()) {
        switch (write.kind) {
        case Write::Kind::Rebuild: {
            auto fresh = std::make_unique<IndexStore>();
            fresh->reserve(write.entries.size());
            // Entries the caller no longer shares are moved in; shared ones are copied (which
            // only bumps their strings' reference counts) rather than detaching the list.
            if (write.entries.isDetached()) {
                for (AppEntry& entry : write.entries)
                    fresh->insert(std::move(entry));
            } else {
                for (const AppEntry& entry : std::as_const(write.entries))
                    fresh->insert(entry);
            }
            write.entries = {}; // not clear(): on a shared list that allocates a fresh buffer
            fresh->squeeze();
            std::unique_lock lock(m_storeLock);
            m_store.swap(fresh);
            replaced = std::move(fresh);
            break;
        }
        case Write::Kind::Insert: {
            std::unique_lock lock(m_storeLock);
            m_store->insert(std::move(write.entry));
            break;
        }
        case Write::Kind::Remove: {
            std::unique_lock lock(m_storeLock);
            m_store->remove(write.bundleID);
            break;
        }
        }
    }
    {
        std::lock_guard lock(m_appliedLock);
        m_applied.store(sequence, std::memory_order_release);
    }
    m_appliedChanged.notify_all();
    // A replaced store is freed only now, outside the lock and after waiting searches resume.
    replaced.reset();
}

void SearchIndex::waitForSequence(quint64 sequence) const {
    if (m_applied.load(std::memory_order_acquire) >= sequence)
        return;
    std::unique_lock lock(m_appliedLock);
    m_appliedChanged.wait(lock, [&] { return m_applied.load() >= sequence; });
}

void SearchIndex::waitForPendingWrites() const {
    waitForSequence(m_submitted.load(std::memory_order_acquire));
}

QList<AppEntry> SearchIndex::search(const QString& query) const {
    return search(query, nullptr);
}

QList<AppEntry> SearchIndex::search(const QString& query, SearchStage* stage,
                                    qsizetype limit) const {
    // Case mapping, normalisation and segmentation need no index state: done before waiting.
    const auto prepared = search::PreparedQuery::from(query);
    waitForPendingWrites();
    std::shared_lock lock(m_storeLock);
    search::SearchOutcome outcome = m_store->search(prepared, limit);
    lock.unlock();
    if (stage)
        *stage = outcome.stage;
    return std::move(outcome.entries);
}

SearchIndex::Stats SearchIndex::stats() const {
    waitForPendingWrites();
    std::shared_lock lock(m_storeLock);
    return m_store->stats();
}

} // namespace valimbra
