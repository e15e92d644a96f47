#pragma once

// User-perceived characters for the search index. Every character (extended grapheme cluster
// of NFC text) becomes one 32-bit code, so matching compares integers:
//  - a cluster of one code point is that code point;
//  - a longer cluster (e + combining mark not precomposed, emoji sequences, flags) is interned
//    by a CharTable and gets a code from kFirstClusterCode up.
// Canonically equivalent text normalises to the same NFC string and so to the same codes.

#include <QHash>
#include <QString>
#include <QStringView>
#include <QTextBoundaryFinder>
#include <QVarLengthArray>

#include <cstdint>

namespace valimbra::search {

using CharCode = std::uint32_t;

inline constexpr CharCode kFirstClusterCode = 0x110000;
// Code of a query character that no indexed key contains (a cluster never interned).
inline constexpr CharCode kUnknownChar = 0x7FFFFFFF;
inline constexpr CharCode kSpace = 0x20;

// True when every UTF-16 unit of `text` is by itself a whole character of NFC text: all units
// below U+0300 (no combining marks, surrogates or clusters) and no CR (CR LF is one cluster).
// Such text is already NFC and its codes are its units; about nine names in ten qualify.
inline bool isSimpleText(QStringView text) {
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= 0x300 || u == u'\r')
            return false;
    }
    return true;
}

// NFC form of `text` (returned unchanged, and shared, when it is simple).
inline QString toNfc(const QString& text) {
    return isSimpleText(text) ? text : text.normalized(QString::NormalizationForm_C);
}

// Calls f(QStringView cluster) for each extended grapheme cluster of `text`.
template <typename F>
void forEachCluster(QStringView text, F&& f) {
    if (text.isEmpty())
        return;
    // A stack buffer for the finder's attributes spares an allocation for ordinary names.
    alignas(8) unsigned char buffer[1024];
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text, buffer, sizeof buffer);
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end != -1; end = finder.toNextBoundary()) {
        if (end > start)
            f(text.sliced(start, end - start));
        start = end;
    }
}

// The code of a cluster made of one code point, or kUnknownChar for a longer cluster.
inline CharCode singleCodePoint(QStringView cluster) {
    if (cluster.size() == 1)
        return cluster.front().unicode();
    if (cluster.size() == 2 && cluster[0].isHighSurrogate() && cluster[1].isLowSurrogate())
        return QChar::surrogateToUcs4(cluster[0], cluster[1]);
    return kUnknownChar;
}

// Codes for clusters longer than one code point. Owned by one index; written only by its
// writer, read by searches under the index's read lock.
class CharTable {
public:
    CharCode intern(QStringView cluster) {
        if (const CharCode single = singleCodePoint(cluster); single != kUnknownChar)
            return single;
        const QString key = cluster.toString();
        auto it = m_codes.constFind(key);
        if (it != m_codes.constEnd())
            return *it;
        const CharCode code = kFirstClusterCode + CharCode(m_codes.size());
        m_codes.insert(key, code);
        return code;
    }

    CharCode lookup(QStringView cluster) const {
        if (const CharCode single = singleCodePoint(cluster); single != kUnknownChar)
            return single;
        auto it = m_codes.constFind(cluster.toString());
        return it == m_codes.constEnd() ? kUnknownChar : *it;
    }

    qsizetype size() const { return m_codes.size(); }
    std::size_t memoryUsage() const;

private:
    QHash<QString, CharCode> m_codes;
};

using CodeBuffer = QVarLengthArray<CharCode, 64>;

// Codes of NFC text, interning new clusters.
inline void encode(QStringView nfc, CharTable& table, CodeBuffer& out) {
    out.clear();
    if (isSimpleText(nfc)) {
        for (QChar c : nfc)
            out.append(c.unicode());
        return;
    }
    forEachCluster(nfc, [&](QStringView cluster) { out.append(table.intern(cluster)); });
}

// Bloom-style summary of which characters a text holds: a text can only contain (or hold as a
// subsequence) a query whose bits are all among its own. Letters and digits get bits of their
// own so the common ASCII queries filter sharply.
inline std::uint64_t charBit(CharCode c) {
    if (c >= 'a' && c <= 'z')
        return std::uint64_t(1) << (c - 'a');
    if (c >= 'A' && c <= 'Z')
        return std::uint64_t(1) << (c - 'A');
    if (c >= '0' && c <= '9')
        return std::uint64_t(1) << (26 + c - '0');
    if (c < 128)
        return std::uint64_t(1) << (36 + c % 12);
    return std::uint64_t(1) << (48 + ((c * 0x9E3779B1u) >> 28));
}

// The same for adjacent pairs of characters: a text can only contain a query as a substring if
// it holds every pair of neighbours the query holds. Much sharper than single characters for
// common letters.
inline std::uint64_t pairBit(CharCode a, CharCode b) {
    const std::uint32_t h = (a * 0x9E3779B1u) ^ (b * 0x85EBCA77u);
    return std::uint64_t(1) << ((h * 0xC2B2AE3Du) >> 26);
}

} // namespace valimbra::search
