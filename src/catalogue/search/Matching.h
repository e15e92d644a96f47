#pragma once

// The character-level tests of the search: prefix, substring, in-order subsequence and a bounded
// Levenshtein distance. Keys come in two spellings (UTF-16 units of simple text, or codes), so
// the tests are templates over the key's element type; the query is always codes.

#include "Characters.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace valimbra::search {

using Query = std::span<const CharCode>;

template <typename K>
bool startsWith(std::span<const K> key, Query q) {
    if (q.size() > key.size())
        return false;
    for (std::size_t i = 0; i < q.size(); ++i)
        if (CharCode(key[i]) != q[i])
            return false;
    return true;
}

template <typename K>
bool equals(std::span<const K> key, Query q) {
    return key.size() == q.size() && startsWith(key, q);
}

template <typename K>
bool contains(std::span<const K> key, Query q) {
    if (q.empty())
        return true;
    if (q.size() > key.size())
        return false;
    const CharCode first = q[0];
    const std::size_t last = key.size() - q.size();
    for (std::size_t i = 0; i <= last; ++i) {
        if (CharCode(key[i]) != first)
            continue;
        std::size_t j = 1;
        while (j < q.size() && CharCode(key[i + j]) == q[j])
            ++j;
        if (j == q.size())
            return true;
    }
    return false;
}

// Walks the key once, advancing through the query on each equal character.
template <typename K>
bool isSubsequence(Query q, std::span<const K> key) {
    std::size_t p = 0;
    if (q.size() > key.size())
        return false;
    for (std::size_t i = 0; i < key.size() && p < q.size(); ++i)
        if (CharCode(key[i]) == q[p])
            ++p;
    return p == q.size();
}

// Calls f(span word) for each piece of `key` between single spaces, empty pieces dropped.
template <typename K, typename F>
void forEachWord(std::span<const K> key, F&& f) {
    std::size_t start = 0;
    for (std::size_t i = 0; i <= key.size(); ++i) {
        if (i == key.size() || CharCode(key[i]) == kSpace) {
            if (i > start)
                f(key.subspan(start, i - start));
            start = i + 1;
        }
    }
}

// Levenshtein distance between q and b with unit costs, or bound + 1 as soon as it is known to
// exceed `bound`. Only the diagonal band |i - j| <= bound can hold values within the bound, so
// the work is O(|q| * bound) instead of O(|q| * |b|).
template <typename K>
int boundedDistance(Query q, std::span<const K> b, int bound) {
    const int n = int(q.size());
    const int m = int(b.size());
    if (std::abs(n - m) > bound)
        return bound + 1;
    if (n == 0)
        return m;
    if (m == 0)
        return n;
    const int big = bound + 1;
    // Each character of q that b lacks costs at least one edit: a cheap lower bound that rejects
    // most names before the table (a character's bit absent from b's filter is surely absent).
    if (bound < n) {
        quint64 present = 0;
        for (const K c : b)
            present |= quint64(1) << (CharCode(c) & 63);
        int missing = 0;
        for (const CharCode c : q)
            if (!((present >> (c & 63)) & 1) && ++missing > bound)
                return big;
    }
    // row[j] = distance between q[0..i) and b[0..j); cells outside the band stay "big".
    QVarLengthArray<int, 80> row(m + 1);
    for (int j = 0; j <= m; ++j)
        row[j] = j <= bound ? j : big;
    for (int i = 1; i <= n; ++i) {
        const int lo = std::max(1, i - bound);
        const int hi = std::min(m, i + bound);
        int diagonal = row[lo - 1]; // row[i-1][lo-1]
        row[lo - 1] = (lo - 1 == 0 && i <= bound) ? i : big;
        int rowMin = row[lo - 1];
        const CharCode qc = q[i - 1];
        for (int j = lo; j <= hi; ++j) {
            const int up = row[j];
            int v = diagonal + (CharCode(b[j - 1]) != qc ? 1 : 0);
            v = std::min(v, up + 1);
            v = std::min(v, row[j - 1] + 1);
            v = std::min(v, big);
            diagonal = up;
            row[j] = v;
            rowMin = std::min(rowMin, v);
        }
        if (hi < m)
            row[hi + 1] = big;
        if (rowMin > bound)
            return big;
    }
    return std::min(row[m], big);
}

// The first `count` characters of a key (the whole key when shorter).
template <typename K>
std::span<const K> head(std::span<const K> key, std::size_t count) {
    return key.first(std::min(count, key.size()));
}

// The allowed distance of the fuzzy stage for a query of n characters.
inline int allowedDistance(std::size_t n) {
    return n > 2 ? int(n / 3) : 1;
}

// What the search stage that found a name already knows about it, so the score need not test it
// again: a stage runs only when the ones before it found nothing.
enum class KnownMatch {
    Nothing,     // prefix stage: some key starts with the query, which one is not known
    Substring,   // no key starts with the query; the name contains it
    Subsequence, // the name does not contain the query but has its characters in order
    Neither,     // fuzzy stage: neither substring nor subsequence
};

// Relevance of a name for the query, summed in this order: name prefix 100, word prefix 60
// (once), substring 30, subsequence 15, closeness (3 - m) * 4 when the smallest distance m
// between the query and the first (query length + 2) characters of a key is below 3, minus half
// a point per character of the name, plus two points per activation up to 20.
template <typename K>
double relevance(Query q, std::span<const K> name, std::int64_t activationCount,
                 KnownMatch known = KnownMatch::Nothing) {
    const bool mayPrefix = known == KnownMatch::Nothing;
    const std::size_t window = q.size() + 2;
    bool namePrefix = mayPrefix && startsWith(name, q);
    bool wordPrefix = false;
    int best = boundedDistance(q, head(name, window), 2);
    forEachWord(name, [&](std::span<const K> word) {
        wordPrefix = wordPrefix || (mayPrefix && startsWith(word, q));
        if (best > 0)
            best = std::min(best, boundedDistance(q, head(word, window), best - 1));
    });
    bool substring = namePrefix || wordPrefix;
    bool subsequence = substring;
    switch (known) {
    case KnownMatch::Nothing:
        substring = substring || contains(name, q);
        subsequence = substring || isSubsequence(q, name);
        break;
    case KnownMatch::Substring:
        substring = subsequence = true;
        break;
    case KnownMatch::Subsequence:
        subsequence = true;
        break;
    case KnownMatch::Neither:
        break;
    }
    double score = 0;
    if (namePrefix)
        score += 100;
    if (wordPrefix)
        score += 60;
    if (substring)
        score += 30;
    if (subsequence)
        score += 15;
    if (best < 3)
        score += (3 - best) * 4;

    score -= 0.5 * double(name.size());
    score += std::min(2.0 * double(activationCount), 20.0);
    return score;
}

} // namespace valimbra::search
