#pragma once

// The character trie of the search index, stored compactly.
//
// Logically this is a trie with one node per character whose nodes hold the identifiers of
// every key passing through them. Chains of single-child nodes carry the same identifier set, so
// they are stored as one edge labelled with several characters (a radix trie); a key's end is
// always a node boundary. Walking a query one character at a time therefore sees exactly the
// sets of the per-character trie, while long unique name tails cost one node instead of one per
// character. Nodes live in one array and link by index; edge labels live in one shared array
// (a split only re-slices it); a node's identifiers are one inline value or a small sorted array.

#include "Characters.h"

#include <algorithm>
#include <cstddef>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace valimbra::search {

// What an allocation of `bytes` really takes from glibc malloc: 8 bytes of header, rounded up to
// 16, at least 32. Used by the memory estimates of the trie and the index.
inline std::size_t heapBlock(std::size_t bytes) {
    if (bytes == 0)
        return 0;
    return std::max<std::size_t>(32, (bytes + 8 + 15) & ~std::size_t(15));
}

using SlotId = std::uint32_t;

class Trie {
public:
    // A node's identifier set: kEmpty, one inline identifier (top bit clear), or kPooled | index
    // of a sorted array in the pool.
    using IdRef = std::uint32_t;
    static constexpr IdRef kEmpty = 0xFFFFFFFFu;

    Trie();
    ~Trie();
    Trie(const Trie&) = delete;
    Trie& operator=(const Trie&) = delete;

    // Adds `id` to every node on the path of `key`, creating nodes as needed.
    void insert(std::span<const CharCode> key, SlotId id);
    // Removes `id` from every node on the path of `key`; a node left without identifiers is
    // unlinked with its subtree (whose sets are subsets of its own, so empty too).
    void remove(std::span<const CharCode> key, SlotId id);

    // The set of the node reached by walking `prefix` (kEmpty when the walk leaves the trie or
    // the prefix is empty: the root holds no identifiers).
    IdRef find(std::span<const CharCode> prefix) const;

    // Appends the identifiers of a set, ascending.
    void appendIds(IdRef ref, std::vector<SlotId>& out) const;
    std::size_t idCount(IdRef ref) const;

    // Fuzzy walk: every key prefix p of length `depthLimit`, and every whole key shorter than
    // that, whose Levenshtein distance to `query` is at most `maxDistance`. For the first kind
    // onPrefix(IdRef) gets the set of all keys through p; for the second onKey(IdRef, path, leaf)
    // gets the set of the node where the key ends, which may also hold longer keys unless `leaf`.
    // Subtrees whose distance row exceeds the bound everywhere are skipped.
    template <typename OnPrefix, typename OnKey>
    void fuzzyWalk(std::span<const CharCode> query, int maxDistance, std::size_t depthLimit,
                   OnPrefix&& onPrefix, OnKey&& onKey) const;

    // Renumbers identifiers through an increasing map (compaction keeps the sets sorted).
    void remap(const std::vector<SlotId>& newId);

    void clear();
    // Gives back spare capacity after a bulk build.
    void squeeze();
    std::size_t nodeCount() const { return m_nodes.size() - m_freeNodes.size(); }
    std::size_t idReferences() const;
    std::size_t longestKey() const { return m_longestKey; }
    std::size_t memoryUsage() const;

private:
    static constexpr std::uint32_t kNil = 0; // the root is node 0 and never anyone's child
    static constexpr IdRef kPooled = 0x80000000u;

    struct Node {
        std::uint32_t firstChild = kNil;
        std::uint32_t nextSibling = kNil; // also links the free list
        IdRef ids = kEmpty;
        CharCode first = 0;            // the label's first character, kept here for lookups
        std::uint32_t length : 31 = 0; // characters on the edge from the parent
        std::uint32_t keyEnd : 1 = 0;  // some key ended here (may outlive that key)
        std::uint32_t rest = 0;        // m_labels offset of the label's other characters
    };

    struct IdArray {
        SlotId* data = nullptr;
        std::uint32_t size = 0;
        std::uint32_t capacity = 0;
    };

    CharCode labelAt(const Node& node, std::uint32_t k) const {
        return k == 0 ? node.first : m_labels[node.rest + k - 1];
    }
    std::uint32_t newNode(std::span<const CharCode> label);
    void releaseNode(std::uint32_t index);
    void releaseSubtree(std::uint32_t index);
    std::uint32_t childStartingWith(std::uint32_t parent, CharCode c) const;
    void linkChild(std::uint32_t parent, std::uint32_t child);
    void unlinkChild(std::uint32_t parent, std::uint32_t child);
    std::uint32_t split(std::uint32_t parent, std::uint32_t child, std::uint32_t at);
    void compactLabels();

    void addId(IdRef& ref, SlotId id);
    bool removeId(IdRef& ref, SlotId id); // true when the set became empty
    IdRef cloneIds(IdRef ref);
    void releaseIds(IdRef ref);
    std::uint32_t newPooled();

    std::vector<Node> m_nodes;
    std::vector<std::uint32_t> m_freeNodes;
    std::vector<CharCode> m_labels;
    std::size_t m_labelGarbage = 0; // label characters no node refers to any more
    std::vector<IdArray> m_pool;
    std::vector<std::uint32_t> m_freePool;
    std::array<std::uint32_t, 128> m_rootAscii{}; // the root's children by ASCII first character
    std::size_t m_longestKey = 0;
};

template <typename OnPrefix, typename OnKey>
void Trie::fuzzyWalk(std::span<const CharCode> query, int maxDistance, std::size_t depthLimit,
                     OnPrefix&& onPrefix, OnKey&& onKey) const {
    const std::size_t n = query.size();
    const std::size_t maxDepth = std::min(depthLimit, m_longestKey);
    if (maxDepth == 0)
        return;
    const std::size_t width = n + 1;
    // rows[d] is the distance row of the path's first d characters against every query prefix;
    // a depth-first walk only ever overwrites rows deeper than the node it resumes from.
    std::vector<int> rows((maxDepth + 1) * width);
    std::vector<CharCode> path(maxDepth);
    for (std::size_t j = 0; j <= n; ++j)
        rows[j] = int(j);

    struct Pending {
        std::uint32_t node;
        std::uint32_t depth; // depth of the parent, where this node's edge starts
    };
    std::vector<Pending> stack;
    for (std::uint32_t c = m_nodes[0].firstChild; c != kNil; c = m_nodes[c].nextSibling)
        stack.push_back({c, 0});

    while (!stack.empty()) {
        const Pending item = stack.back();
        stack.pop_back();
        const Node& node = m_nodes[item.node];
        std::size_t depth = item.depth;
        bool alive = true;
        for (std::uint32_t k = 0; k < node.length; ++k) {
            const CharCode c = labelAt(node, k);
            const int* prev = &rows[depth * width];
            ++depth;
            int* row = &rows[depth * width];
            path[depth - 1] = c;
            row[0] = int(depth);
            int rowMin = row[0];
            for (std::size_t j = 1; j <= n; ++j) {
                int v = prev[j - 1] + (query[j - 1] != c ? 1 : 0);
                v = std::min(v, prev[j] + 1);
                v = std::min(v, row[j - 1] + 1);
                row[j] = v;
                rowMin = std::min(rowMin, v);
            }
            if (rowMin > maxDistance) { // no extension of this path can come back within bound
                alive = false;
                break;
            }
            // Paths never outgrow the longest key, so depth stays within the rows allocated.
            if (depth == depthLimit) {
                if (row[n] <= maxDistance)
                    onPrefix(node.ids);
                alive = false;
                break;
            }
        }
        if (!alive)
            continue;
        // The whole edge is walked and the limit not reached: a key ending here is shorter
        // than the limit and is compared whole.
        if (node.keyEnd && rows[depth * width + n] <= maxDistance)
            onKey(node.ids, std::span<const CharCode>(path.data(), depth), node.firstChild == kNil);
        for (std::uint32_t c = node.firstChild; c != kNil; c = m_nodes[c].nextSibling)
            stack.push_back({c, std::uint32_t(depth)});
    }
}

} // namespace valimbra::search
