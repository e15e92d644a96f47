#include "Trie.h"

#include <algorithm>
#include <cstring>

namespace valimbra::search {

Trie::Trie() {
    m_nodes.emplace_back();
}

Trie::~Trie() {
    clear();
}

void Trie::clear() {
    for (IdArray& array : m_pool)
        delete[] array.data;
    m_nodes = {Node()};
    m_freeNodes = {};
    m_labels = {};
    m_labelGarbage = 0;
    m_pool = {};
    m_freePool = {};
    m_rootAscii.fill(kNil);
    m_longestKey = 0;
}

void Trie::squeeze() {
    m_nodes.shrink_to_fit();
    m_freeNodes.shrink_to_fit();
    m_labels.shrink_to_fit();
    m_pool.shrink_to_fit();
    m_freePool.shrink_to_fit();
}

// --- nodes -------------------------------------------------------------------------------------

std::uint32_t Trie::newNode(std::span<const CharCode> label) {
    std::uint32_t index;
    if (!m_freeNodes.empty()) {
        index = m_freeNodes.back();
        m_freeNodes.pop_back();
        m_nodes[index] = Node();
    } else {
        index = std::uint32_t(m_nodes.size());
        m_nodes.emplace_back();
    }
    Node& node = m_nodes[index];
    node.length = std::uint32_t(label.size());
    if (!label.empty()) {
        node.first = label[0];
        node.rest = std::uint32_t(m_labels.size());
        m_labels.insert(m_labels.end(), label.begin() + 1, label.end());
    }
    return index;
}

void Trie::releaseNode(std::uint32_t index) {
    Node& node = m_nodes[index];
    if (node.length > 1)
        m_labelGarbage += node.length - 1;
    releaseIds(node.ids);
    node = Node();
    m_freeNodes.push_back(index);
}

void Trie::releaseSubtree(std::uint32_t index) {
    std::vector<std::uint32_t> pending{index};
    while (!pending.empty()) {
        const std::uint32_t current = pending.back();
        pending.pop_back();
        for (std::uint32_t c = m_nodes[current].firstChild; c != kNil; c = m_nodes[c].nextSibling)
            pending.push_back(c);
        releaseNode(current);
    }
    // Removals leave label characters behind; copy out the live ones once garbage dominates.
    if (m_labelGarbage > 4096 && m_labelGarbage * 2 > m_labels.size())
        compactLabels();
}

void Trie::compactLabels() {
    std::vector<CharCode> live;
    live.reserve(m_labels.size() - m_labelGarbage);
    for (std::size_t i = 1; i < m_nodes.size(); ++i) {
        Node& node = m_nodes[i];
        if (node.length <= 1)
            continue;
        const auto from = m_labels.begin() + std::ptrdiff_t(node.rest);
        node.rest = std::uint32_t(live.size());
        live.insert(live.end(), from, from + std::ptrdiff_t(node.length - 1));
    }
    m_labels = std::move(live);
    m_labelGarbage = 0;
}

std::uint32_t Trie::childStartingWith(std::uint32_t parent, CharCode c) const {
    if (parent == 0 && c < m_rootAscii.size())
        return m_rootAscii[c];
    for (std::uint32_t x = m_nodes[parent].firstChild; x != kNil; x = m_nodes[x].nextSibling)
        if (m_nodes[x].first == c)
            return x;
    return kNil;
}

void Trie::linkChild(std::uint32_t parent, std::uint32_t child) {
    m_nodes[child].nextSibling = m_nodes[parent].firstChild;
    m_nodes[parent].firstChild = child;
    if (parent == 0 && m_nodes[child].first < m_rootAscii.size())
        m_rootAscii[m_nodes[child].first] = child;
}

void Trie::unlinkChild(std::uint32_t parent, std::uint32_t child) {
    std::uint32_t* link = &m_nodes[parent].firstChild;
    while (*link != child)
        link = &m_nodes[*link].nextSibling;
    *link = m_nodes[child].nextSibling;
    m_nodes[child].nextSibling = kNil;
    if (parent == 0 && m_nodes[child].first < m_rootAscii.size())
        m_rootAscii[m_nodes[child].first] = kNil;
}

// Cuts the edge into `child` after `at` characters; returns the new upper node, which takes the
// child's place among its siblings and starts with the child's identifier set. Both halves keep
// slicing the same stored label.
std::uint32_t Trie::split(std::uint32_t parent, std::uint32_t child, std::uint32_t at) {
    const std::uint32_t upper = newNode({});
    const IdRef ids = cloneIds(m_nodes[child].ids);
    unlinkChild(parent, child);
    Node& u = m_nodes[upper];
    Node& c = m_nodes[child];
    u.first = c.first;
    u.rest = c.rest;
    u.length = at;
    u.ids = ids;
    u.firstChild = child;
    const CharCode lowerFirst = labelAt(c, at);
    c.first = lowerFirst;
    c.rest += at;
    c.length -= at;
    ++m_labelGarbage; // the stored copy of lowerFirst
    linkChild(parent, upper);
    return upper;
}

// --- keys --------------------------------------------------------------------------------------

void Trie::insert(std::span<const CharCode> key, SlotId id) {
    if (key.empty())
        return;
    m_longestKey = std::max(m_longestKey, key.size());
    std::uint32_t node = 0;
    std::size_t i = 0;
    while (i < key.size()) {
        std::uint32_t child = childStartingWith(node, key[i]);
        if (child == kNil) {
            const std::uint32_t leaf = newNode(key.subspan(i));
            m_nodes[leaf].keyEnd = 1;
            addId(m_nodes[leaf].ids, id);
            linkChild(node, leaf);
            return;
        }
        const Node& c = m_nodes[child];
        std::uint32_t common = 1;
        while (common < c.length && i + common < key.size() &&
               labelAt(c, common) == key[i + common])
            ++common;
        if (common < c.length)
            child = split(node, child, common);
        addId(m_nodes[child].ids, id);
        i += common;
        node = child;
    }
    m_nodes[node].keyEnd = 1;
}

void Trie::remove(std::span<const CharCode> key, SlotId id) {
    std::uint32_t node = 0;
    std::size_t i = 0;
    while (i < key.size()) {
        const std::uint32_t child = childStartingWith(node, key[i]);
        if (child == kNil)
            return;
        Node& c = m_nodes[child];
        if (c.length > key.size() - i)
            return;
        for (std::uint32_t k = 1; k < c.length; ++k)
            if (labelAt(c, k) != key[i + k])
                return;
        if (removeId(c.ids, id)) {
            unlinkChild(node, child);
            releaseSubtree(child);
            return;
        }
        i += c.length;
        node = child;
    }
}

Trie::IdRef Trie::find(std::span<const CharCode> prefix) const {
    if (prefix.empty())
        return kEmpty;
    std::uint32_t node = 0;
    std::size_t i = 0;
    for (;;) {
        const std::uint32_t child = childStartingWith(node, prefix[i]);
        if (child == kNil)
            return kEmpty;
        const Node& c = m_nodes[child];
        std::size_t k = 1;
        for (; k < c.length && i + k < prefix.size(); ++k)
            if (labelAt(c, std::uint32_t(k)) != prefix[i + k])
                return kEmpty;
        i += k;
        if (i == prefix.size())
            return c.ids;
        node = child;
    }
}

// --- identifier sets ---------------------------------------------------------------------------

std::uint32_t Trie::newPooled() {
    if (!m_freePool.empty()) {
        const std::uint32_t index = m_freePool.back();
        m_freePool.pop_back();
        return index;
    }
    m_pool.emplace_back();
    return std::uint32_t(m_pool.size() - 1);
}

void Trie::addId(IdRef& ref, SlotId id) {
    if (ref == kEmpty) {
        ref = id;
        return;
    }
    if (!(ref & kPooled)) {
        if (ref == id)
            return;
        const SlotId other = ref;
        const std::uint32_t index = newPooled();
        IdArray& array = m_pool[index];
        array.capacity = 4;
        array.data = new SlotId[array.capacity];
        array.data[0] = std::min(other, id);
        array.data[1] = std::max(other, id);
        array.size = 2;
        ref = kPooled | index;
        return;
    }
    IdArray& array = m_pool[ref & ~kPooled];
    SlotId* end = array.data + array.size;
    // Identifiers mostly arrive in increasing order (building, new slots): append fast.
    SlotId* at = (array.size && array.data[array.size - 1] < id)
                     ? end
                     : std::lower_bound(array.data, end, id);
    if (at != end && *at == id)
        return;
    const std::size_t offset = std::size_t(at - array.data);
    if (array.size == array.capacity) {
        const std::uint32_t capacity =
            array.capacity < 16 ? array.capacity * 2 : array.capacity + array.capacity / 2;
        auto* grown = new SlotId[capacity];
        std::copy(array.data, array.data + array.size, grown);
        delete[] array.data;
        array.data = grown;
        array.capacity = capacity;
    }
    std::copy_backward(array.data + offset, array.data + array.size, array.data + array.size + 1);
    array.data[offset] = id;
    ++array.size;
}

bool Trie::removeId(IdRef& ref, SlotId id) {
    if (ref == kEmpty)
        return false;
    if (!(ref & kPooled)) {
        if (ref != id)
            return false;
        ref = kEmpty;
        return true;
    }
    const std::uint32_t index = ref & ~kPooled;
    IdArray& array = m_pool[index];
    SlotId* end = array.data + array.size;
    SlotId* at = std::lower_bound(array.data, end, id);
    if (at == end || *at != id)
        return false;
    std::copy(at + 1, end, at);
    --array.size;
    if (array.size == 1) { // back to an inline identifier
        ref = array.data[0];
        delete[] array.data;
        array = IdArray();
        m_freePool.push_back(index);
    } else if (array.capacity > 16 && array.size * 4 <= array.capacity) {
        const std::uint32_t capacity = array.capacity / 2;
        auto* shrunk = new SlotId[capacity];
        std::copy(array.data, array.data + array.size, shrunk);
        delete[] array.data;
        array.data = shrunk;
        array.capacity = capacity;
    }
    return false;
}

Trie::IdRef Trie::cloneIds(IdRef ref) {
    if (ref == kEmpty || !(ref & kPooled))
        return ref;
    const std::uint32_t index = newPooled();
    const IdArray& source = m_pool[ref & ~kPooled];
    IdArray copy;
    copy.size = source.size;
    copy.capacity = source.size;
    copy.data = new SlotId[copy.capacity];
    std::copy(source.data, source.data + source.size, copy.data);
    m_pool[index] = copy;
    return kPooled | index;
}

void Trie::releaseIds(IdRef ref) {
    if (ref == kEmpty || !(ref & kPooled))
        return;
    const std::uint32_t index = ref & ~kPooled;
    delete[] m_pool[index].data;
    m_pool[index] = IdArray();
    m_freePool.push_back(index);
}

void Trie::appendIds(IdRef ref, std::vector<SlotId>& out) const {
    if (ref == kEmpty)
        return;
    if (!(ref & kPooled)) {
        out.push_back(ref);
        return;
    }
    const IdArray& array = m_pool[ref & ~kPooled];
    out.insert(out.end(), array.data, array.data + array.size);
}

std::size_t Trie::idCount(IdRef ref) const {
    if (ref == kEmpty)
        return 0;
    if (!(ref & kPooled))
        return 1;
    return m_pool[ref & ~kPooled].size;
}

void Trie::remap(const std::vector<SlotId>& newId) {
    for (Node& node : m_nodes) {
        if (node.ids == kEmpty)
            continue;
        if (!(node.ids & kPooled)) {
            node.ids = newId[node.ids];
            continue;
        }
        IdArray& array = m_pool[node.ids & ~kPooled];
        for (std::uint32_t k = 0; k < array.size; ++k)
            array.data[k] = newId[array.data[k]];
    }
}

std::size_t Trie::idReferences() const {
    std::size_t total = 0;
    for (const Node& node : m_nodes)
        total += idCount(node.ids);
    return total;
}

std::size_t Trie::memoryUsage() const {
    std::size_t bytes = heapBlock(m_nodes.capacity() * sizeof(Node)) +
                        heapBlock(m_freeNodes.capacity() * sizeof(std::uint32_t)) +
                        heapBlock(m_labels.capacity() * sizeof(CharCode)) +
                        heapBlock(m_pool.capacity() * sizeof(IdArray)) +
                        heapBlock(m_freePool.capacity() * sizeof(std::uint32_t));
    for (const IdArray& array : m_pool)
        bytes += heapBlock(array.capacity * sizeof(SlotId));
    return bytes;
}

} // namespace valimbra::search
