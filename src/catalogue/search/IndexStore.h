#pragma once

// The search index's data and algorithms, without any locking: SearchIndex owns one store and
// serialises access to it. Slots number the indexed entries in indexing order (the order of the
// rebuild list, then of later inserts; replacing an entry keeps its slot), and every stage lists
// its candidates in slot order, so equal scores keep that order.

#include "Characters.h"
#include "Trie.h"
#include "catalogue/AppEntry.h"
#include "catalogue/SearchIndex.h"

#include <QHash>
#include <QList>
#include <QString>

#include <limits>
#include <span>
#include <vector>

namespace valimbra::search {

// A query as typed, lower-cased (full case mapping) and in NFC, split into characters. Made
// outside the index's lock; its multi-code-point characters get their codes under it.
struct PreparedQuery {
    QString text;
    bool simple = true; // each UTF-16 unit of text is one character
    QVarLengthArray<std::pair<qsizetype, qsizetype>, 16> clusters; // (start, length) otherwise

    static PreparedQuery from(const QString& query);
};

struct SearchOutcome {
    QList<AppEntry> entries;
    SearchStage stage = SearchStage::None;
};

class IndexStore {
public:
    IndexStore() = default;
    ~IndexStore();
    IndexStore(const IndexStore&) = delete;
    IndexStore& operator=(const IndexStore&) = delete;

    void reserve(qsizetype count);
    // Gives back spare capacity once a bulk build is done.
    void squeeze();
    // Stores the entry under its bundle identifier (the last write wins) and indexes its keys;
    // an entry that replaces one with another name drops the old name's keys.
    void insert(AppEntry entry);
    void remove(const QString& bundleID);

    // The best `limit` matches in rank order (all of them by default).
    SearchOutcome search(const PreparedQuery& query,
                         qsizetype limit = std::numeric_limits<qsizetype>::max()) const;

    qsizetype size() const { return m_slots.size(); }
    SearchIndex::Stats stats() const;

private:
    struct Key {
        // The name's characters: the UTF-16 data of the entry's own nameLower when that is
        // simple text (kept here so scans need not touch the entry), else an owned code array.
        const void* text = nullptr;
        std::uint32_t length = 0; // characters
        bool alive = false;
        bool simple = true;
        std::uint64_t mask = 0;  // charBit of every character
        std::uint64_t pairs = 0; // pairBit of every two neighbours
    };

    // Calls f with the name's characters as std::span<const char16_t> or std::span<const CharCode>.
    template <typename F>
    decltype(auto) withName(SlotId slot, F&& f) const {
        const Key& key = m_keys[slot];
        if (key.simple)
            return f(std::span<const char16_t>(static_cast<const char16_t*>(key.text), key.length));
        return f(std::span<const CharCode>(static_cast<const CharCode*>(key.text), key.length));
    }

    void makeKey(SlotId slot);
    void releaseKey(SlotId slot);
    void indexKeys(SlotId slot, bool add);
    bool hasKeyEqualTo(SlotId slot, std::span<const CharCode> text) const;
    void scanSubstring(std::span<const CharCode> query, std::vector<SlotId>& out) const;
    void scanSubsequence(std::span<const CharCode> query, std::vector<SlotId>& out) const;
    void fuzzy(std::span<const CharCode> query, std::vector<SlotId>& out) const;
    void compact();

    std::vector<AppEntry> m_entries; // by slot; dead slots hold an empty entry
    std::vector<Key> m_keys;         // by slot
    QHash<QString, SlotId> m_slots;  // bundle identifier -> slot, live entries only
    Trie m_trie;
    CharTable m_chars;
    std::size_t m_dead = 0;
    std::size_t m_emptyNames = 0; // live entries whose name has no characters
};

} // namespace valimbra::search
