#include "IndexStore.h"

#include "Matching.h"

#include <algorithm>

namespace valimbra::search {

namespace {

template <typename K>
void toCodes(std::span<const K> text, CodeBuffer& out) {
    out.resize(qsizetype(text.size()));
    std::copy(text.begin(), text.end(), out.begin());
}

} // namespace

PreparedQuery PreparedQuery::from(const QString& query) {
    PreparedQuery prepared;
    const QString lower = query.toLower();
    if (isSimpleText(lower)) {
        prepared.text = lower;
        return prepared;
    }
    prepared.text = lower.normalized(QString::NormalizationForm_C);
    prepared.simple = isSimpleText(prepared.text);
    if (!prepared.simple) {
        const QChar* base = prepared.text.constData();
        forEachCluster(prepared.text, [&](QStringView cluster) {
            prepared.clusters.append({cluster.data() - base, cluster.size()});
        });
    }
    return prepared;
}

IndexStore::~IndexStore() {
    for (SlotId slot = 0; slot < m_keys.size(); ++slot)
        releaseKey(slot);
}

void IndexStore::reserve(qsizetype count) {
    m_entries.reserve(std::size_t(count));
    m_keys.reserve(std::size_t(count));
    m_slots.reserve(count);
}

void IndexStore::squeeze() {
    m_entries.shrink_to_fit();
    m_keys.shrink_to_fit();
    m_trie.squeeze();
}

// --- writing -----------------------------------------------------------------------------------

void IndexStore::makeKey(SlotId slot) {
    Key& key = m_keys[slot];
    const QString& name = m_entries[slot].nameLower;
    key.alive = true;
    key.simple = isSimpleText(name);
    if (key.simple) {
        key.text = QStringView(name).utf16();
        key.length = std::uint32_t(name.size());
    } else {
        CodeBuffer codes;
        encode(name.normalized(QString::NormalizationForm_C), m_chars, codes);
        auto* owned = new CharCode[std::max<qsizetype>(codes.size(), 1)];
        std::copy(codes.begin(), codes.end(), owned);
        key.text = owned;
        key.length = std::uint32_t(codes.size());
    }
    withName(slot, [&](auto text) {
        key.mask = 0;
        key.pairs = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            key.mask |= charBit(CharCode(text[i]));
            if (i > 0)
                key.pairs |= pairBit(CharCode(text[i - 1]), CharCode(text[i]));
        }
    });
    if (key.length == 0)
        ++m_emptyNames;
}

void IndexStore::releaseKey(SlotId slot) {
    Key& key = m_keys[slot];
    if (key.alive && key.length == 0)
        --m_emptyNames;
    if (!key.simple)
        delete[] static_cast<const CharCode*>(key.text);
    key = Key();
}

// Keys of an entry: its whole name, then each word. The first word of a name is a prefix of
// the whole name, so its path already exists and only gains a key end.
void IndexStore::indexKeys(SlotId slot, bool add) {
    CodeBuffer codes;
    withName(slot, [&](auto name) { toCodes(name, codes); });
    const std::span<const CharCode> whole(codes.data(), std::size_t(codes.size()));
    const auto apply = [&](std::span<const CharCode> key) {
        if (add)
            m_trie.insert(key, slot);
        else
            m_trie.remove(key, slot);
    };
    apply(whole);
    forEachWord(whole, [&](std::span<const CharCode> word) {
        if (word.size() != whole.size())
            apply(word);
    });
}

void IndexStore::insert(AppEntry entry) {
    auto it = m_slots.constFind(entry.bundleID);
    if (it != m_slots.constEnd()) {
        const SlotId slot = *it;
        if (m_entries[slot].nameLower == entry.nameLower) {
            m_entries[slot] = std::move(entry);
            if (m_keys[slot].simple) // equal text, but maybe another string's data
                m_keys[slot].text = QStringView(m_entries[slot].nameLower).utf16();
            return;
        }
        indexKeys(slot, false);
        releaseKey(slot);
        m_entries[slot] = std::move(entry);
        makeKey(slot);
        indexKeys(slot, true);
        return;
    }
    const auto slot = SlotId(m_entries.size());
    m_entries.push_back(std::move(entry));
    m_keys.emplace_back();
    m_slots.insert(m_entries.back().bundleID, slot);
    makeKey(slot);
    indexKeys(slot, true);
}

void IndexStore::remove(const QString& bundleID) {
    auto it = m_slots.find(bundleID);
    if (it == m_slots.end())
        return;
    const SlotId slot = *it;
    m_slots.erase(it);
    indexKeys(slot, false);
    releaseKey(slot);
    m_entries[slot] = AppEntry();
    ++m_dead;
    // Dead slots only cost their space and a skipped step in the scans; renumber once they are
    // half of all slots, which keeps removal amortised O(1).
    if (m_dead >= 32 && m_dead * 2 >= m_keys.size())
        compact();
}

void IndexStore::compact() {
    std::vector<SlotId> newId(m_keys.size(), 0);
    SlotId next = 0;
    for (SlotId slot = 0; slot < m_keys.size(); ++slot) {
        if (!m_keys[slot].alive)
            continue;
        newId[slot] = next;
        if (next != slot) {
            m_entries[next] = std::move(m_entries[slot]);
            m_keys[next] = m_keys[slot];
        }
        ++next;
    }
    m_entries.resize(next);
    m_keys.resize(next);
    m_entries.shrink_to_fit();
    m_keys.shrink_to_fit();
    m_trie.remap(newId);
    for (auto it = m_slots.begin(); it != m_slots.end(); ++it)
        it.value() = newId[it.value()];
    m_dead = 0;
}

// --- searching ---------------------------------------------------------------------------------

bool IndexStore::hasKeyEqualTo(SlotId slot, std::span<const CharCode> text) const {
    return withName(slot, [&](auto name) {
        if (equals(name, text))
            return true;
        bool found = false;
        forEachWord(name, [&](auto word) { found = found || equals(word, text); });
        return found;
    });
}

// Substring and subsequence stages. A key is the whole name or a piece of it, so some key
// contains the query (in either sense) exactly when the whole name does: only names are read,
// and only those whose character (and, for substrings, neighbour-pair) filters admit the query.
namespace {

struct QueryFilter {
    std::uint64_t mask = 0;
    std::uint64_t pairs = 0;
    bool possible = true;   // false when the query has a character no name has
    bool fitsSimple = true; // simple names only hold characters below U+0300
};

QueryFilter filterFor(std::span<const CharCode> query) {
    QueryFilter f;
    for (std::size_t i = 0; i < query.size(); ++i) {
        const CharCode c = query[i];
        f.possible = f.possible && c != kUnknownChar;
        f.fitsSimple = f.fitsSimple && c < 0x300;
        f.mask |= charBit(c);
        if (i > 0)
            f.pairs |= pairBit(query[i - 1], c);
    }
    return f;
}

} // namespace

void IndexStore::scanSubstring(std::span<const CharCode> query, std::vector<SlotId>& out) const {
    const QueryFilter f = filterFor(query);
    if (!f.possible)
        return;
    const std::size_t n = query.size();
    for (SlotId slot = 0; slot < m_keys.size(); ++slot) {
        const Key& key = m_keys[slot];
        if (!key.alive || (key.mask & f.mask) != f.mask || (key.pairs & f.pairs) != f.pairs ||
            key.length < n || (key.simple && !f.fitsSimple))
            continue;
        if (withName(slot, [&](auto name) { return contains(name, query); }))
            out.push_back(slot);
    }
}

void IndexStore::scanSubsequence(std::span<const CharCode> query, std::vector<SlotId>& out) const {
    const QueryFilter f = filterFor(query);
    if (!f.possible)
        return;
    const std::size_t n = query.size();
    for (SlotId slot = 0; slot < m_keys.size(); ++slot) {
        const Key& key = m_keys[slot];
        if (!key.alive || (key.mask & f.mask) != f.mask || key.length < n ||
            (key.simple && !f.fitsSimple))
            continue;
        if (withName(slot, [&](auto name) { return isSubsequence(query, name); }))
            out.push_back(slot);
    }
}

// Fuzzy stage: an entry matches when some key's first n + D characters (the whole key when
// shorter) are within distance D of the query. Distinct key prefixes are the trie's paths, so
// one bounded walk of the trie replaces a distance computation per key.
void IndexStore::fuzzy(std::span<const CharCode> query, std::vector<SlotId>& out) const {
    const std::size_t n = query.size();
    const int allowed = allowedDistance(n);
    // Every key is at most longestKey characters: a query longer than that by more than D
    // cannot come within D of any.
    if (n > m_trie.longestKey() + std::size_t(allowed))
        return;
    std::vector<SlotId> ids;
    m_trie.fuzzyWalk(
        query, allowed, n + std::size_t(allowed),
        [&](Trie::IdRef ref) { m_trie.appendIds(ref, out); },
        [&](Trie::IdRef ref, std::span<const CharCode> key, bool leaf) {
            if (leaf) { // nothing continues below: every key through here ends here
                m_trie.appendIds(ref, out);
                return;
            }
            ids.clear();
            m_trie.appendIds(ref, ids);
            for (SlotId slot : ids)
                if (hasKeyEqualTo(slot, key))
                    out.push_back(slot);
        });
    // The empty key is the root, which holds no identifiers: its distance to the query is n.
    if (m_emptyNames > 0 && n <= std::size_t(allowed))
        for (SlotId slot = 0; slot < m_keys.size(); ++slot)
            if (m_keys[slot].alive && m_keys[slot].length == 0)
                out.push_back(slot);
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
}

SearchOutcome IndexStore::search(const PreparedQuery& prepared, qsizetype limit) const {
    CodeBuffer codes;
    if (prepared.simple) {
        toCodes(std::span<const char16_t>(QStringView(prepared.text).utf16(),
                                          std::size_t(prepared.text.size())),
                codes);
    } else {
        const QStringView text(prepared.text);
        for (const auto& [start, length] : prepared.clusters)
            codes.append(m_chars.lookup(text.sliced(start, length)));
    }
    const std::span<const CharCode> query(codes.data(), std::size_t(codes.size()));

    SearchOutcome outcome;
    std::vector<SlotId> candidates;
    KnownMatch known = KnownMatch::Nothing;
    if (const Trie::IdRef ref = m_trie.find(query); ref != Trie::kEmpty) {
        m_trie.appendIds(ref, candidates);
        outcome.stage = SearchStage::Prefix;
    }
    if (candidates.empty()) {
        scanSubstring(query, candidates);
        outcome.stage = SearchStage::Substring;
        // The empty query is in every name, and a prefix of every key though no key is found.
        known = query.empty() ? KnownMatch::Nothing : KnownMatch::Substring;
    }
    if (candidates.empty()) {
        scanSubsequence(query, candidates);
        outcome.stage = SearchStage::Subsequence;
        known = KnownMatch::Subsequence;
    }
    if (candidates.empty()) {
        fuzzy(query, candidates);
        outcome.stage = SearchStage::Fuzzy;
        known = KnownMatch::Neither;
    }
    if (candidates.empty()) {
        outcome.stage = SearchStage::None;
        return outcome;
    }

    // Candidates are distinct slots in slot order; sorting on (score, position) is the stable
    // sort by score.
    struct Scored {
        double score;
        SlotId slot;
    };
    std::vector<Scored> scored;
    scored.reserve(candidates.size());
    for (SlotId slot : candidates) {
        const double score = withName(slot, [&](auto name) {
            return relevance(query, name, m_entries[slot].activationCount, known);
        });
        scored.push_back({score, slot});
    }
    // (score, position) is a total order, so ranking only the first `limit` gives exactly the
    // full ranking's first `limit`; only those become entries.
    const auto byRank = [](const Scored& a, const Scored& b) {
        return a.score != b.score ? a.score > b.score : a.slot < b.slot;
    };
    const std::size_t count = std::min(scored.size(), std::size_t(std::max<qsizetype>(limit, 0)));
    if (count < scored.size())
        std::partial_sort(scored.begin(), scored.begin() + std::ptrdiff_t(count), scored.end(),
                          byRank);
    else
        std::sort(scored.begin(), scored.end(), byRank);

    outcome.entries.reserve(qsizetype(count));
    for (std::size_t i = 0; i < count; ++i) {
        outcome.entries.append(m_entries[scored[i].slot]);
        outcome.entries.back().searchScore = scored[i].score;
    }
    return outcome;
}

SearchIndex::Stats IndexStore::stats() const {
    SearchIndex::Stats stats;
    stats.entries = m_slots.size();
    stats.nodes = m_trie.nodeCount();
    stats.idReferences = m_trie.idReferences();
    std::size_t bytes = heapBlock(m_entries.capacity() * sizeof(AppEntry)) +
                        heapBlock(m_keys.capacity() * sizeof(Key)) + m_trie.memoryUsage() +
                        m_chars.memoryUsage();
    for (const Key& key : m_keys)
        if (!key.simple)
            bytes += heapBlock(std::max<std::size_t>(key.length, 1) * sizeof(CharCode));
    // QHash: one byte of offset per bucket plus a 24 + 4 byte node (padded to 32) per entry,
    // in spans of 128 buckets.
    bytes += std::size_t(m_slots.capacity()) + std::size_t(m_slots.capacity()) / 128 * 16 +
             std::size_t(m_slots.size()) * 32;
    stats.bytes = bytes;
    return stats;
}

} // namespace valimbra::search
