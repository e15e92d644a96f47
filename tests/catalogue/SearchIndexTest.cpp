#include "catalogue/SearchIndex.h"

#include <QSet>
#include <QStringList>

#include <gtest/gtest.h>

#include <QTextBoundaryFinder>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <latch>
#include <random>
#include <thread>
#include <vector>

using namespace valimbra;

namespace {

AppEntry app(const QString& name, qint64 activationCount = 0, QString bundleID = {}) {
    AppEntry e;
    e.bundleID = bundleID.isEmpty() ? u"org.example."_qs + name : bundleID;
    e.id = AppEntry::favouriteId(e.bundleID);
    e.name = name;
    e.nameLower = AppEntry::lowercased(name);
    e.activationCount = activationCount;
    return e;
}

QStringList names(const QList<AppEntry>& results) {
    QStringList out;
    for (const AppEntry& e : results)
        out << e.name;
    return out;
}

const char* stageName(SearchStage s) {
    switch (s) {
    case SearchStage::None:
        return "none";
    case SearchStage::Prefix:
        return "prefix";
    case SearchStage::Substring:
        return "substring";
    case SearchStage::Subsequence:
        return "subsequence";
    case SearchStage::Fuzzy:
        return "fuzzy";
    }
    return "?";
}

class SearchIndexTest : public ::testing::Test {
protected:
    void index(const QStringList& appNames) {
        QList<AppEntry> entries;
        for (const QString& n : appNames)
            entries << app(n);
        idx.rebuild(entries);
    }
    QList<AppEntry> find(const QString& query, SearchStage* stage = nullptr) {
        return idx.search(query, stage);
    }
    SearchIndex idx;
};

// --- stages and scores ------------------------------------------------------------------------

struct StageCase {
    const char* query;
    SearchStage stage;
    double score;
};

class VisualStudioCode : public SearchIndexTest, public ::testing::WithParamInterface<StageCase> {};

TEST_P(VisualStudioCode, EndsInTheExpectedStageWithTheExpectedScore) {
    const StageCase c = GetParam();
    index({u"Visual Studio Code"_qs, u"Safari"_qs, u"Messages"_qs});
    SearchStage stage = SearchStage::None;
    const auto results = find(QString::fromUtf8(c.query), &stage);
    EXPECT_STREQ(stageName(stage), stageName(c.stage));
    ASSERT_EQ(names(results), QStringList{u"Visual Studio Code"_qs});
    EXPECT_DOUBLE_EQ(results[0].searchScore, c.score);
}

// Scores: name prefix 100, word prefix 60, substring 30, subsequence 15, closeness 12/8/4,
// minus 0.5 per character (18 here).
INSTANTIATE_TEST_SUITE_P(
    Stages, VisualStudioCode,
    ::testing::Values(StageCase{"vis", SearchStage::Prefix, 100 + 60 + 30 + 15 + 4 - 9},
                      StageCase{"stu", SearchStage::Prefix, 60 + 30 + 15 + 4 - 9},
                      StageCase{"cod", SearchStage::Prefix, 60 + 30 + 15 + 8 - 9},
                      StageCase{"dio", SearchStage::Substring, 30 + 15 - 9},
                      StageCase{"vsc", SearchStage::Subsequence, 15 - 9},
                      // six characters, distance 2 allowed, 2 against the word "visual"
                      StageCase{"vsiual", SearchStage::Fuzzy, 4 - 9},
                      // a query with a space is no word's prefix
                      StageCase{"visual studio code", SearchStage::Prefix, 100 + 30 + 15 + 12 - 9},
                      StageCase{"o c", SearchStage::Substring, 30 + 15 - 9}),
    [](const auto& info) {
        return std::string(stageName(info.param.stage)) + std::to_string(info.index);
    });

TEST_F(SearchIndexTest, PrefixHitsSuppressLaterStagesForOtherApps) {
    index({u"Messages"_qs, u"Safari"_qs});
    SearchStage stage = SearchStage::None;
    EXPECT_EQ(names(find(u"sa"_qs, &stage)), QStringList{u"Safari"_qs});
    EXPECT_EQ(stage, SearchStage::Prefix);
    // Without a prefix hit the substring stage finds both.
    EXPECT_EQ(names(find(u"a"_qs)), (QStringList{u"Safari"_qs, u"Messages"_qs}));
    EXPECT_EQ(names(find(u"ss"_qs)), (QStringList{u"Messages"_qs}));
}

TEST_F(SearchIndexTest, ExactOneWordNameGainsEveryTerm) {
    index({u"Safari"_qs, u"Safari Technology Preview"_qs});
    const auto results = find(u"safari"_qs);
    ASSERT_EQ(names(results), (QStringList{u"Safari"_qs, u"Safari Technology Preview"_qs}));
    EXPECT_DOUBLE_EQ(results[0].searchScore, 217 - 3);
    EXPECT_DOUBLE_EQ(results[1].searchScore, 217 - 12.5); // the word "safari" is exact
}

TEST_F(SearchIndexTest, EmptyQueryListsEverythingThroughTheSubstringStage) {
    index({u"Safari"_qs, u"Maps"_qs});
    SearchStage stage = SearchStage::None;
    EXPECT_EQ(names(find(QString(), &stage)), (QStringList{u"Maps"_qs, u"Safari"_qs}));
    EXPECT_EQ(stage, SearchStage::Substring);
}

TEST_F(SearchIndexTest, FuzzyComparesKeysShorterThanTheWindowWhole) {
    // "gox": n = 3, D = 1, window 4. "go" (name or word) is 1 away; "goph" is 2 away even
    // though the trie path "go" continues into "gopher".
    index({u"Gopher Tools"_qs, u"Go Tools"_qs, u"Go"_qs});
    SearchStage stage = SearchStage::None;
    const auto results = find(u"gox"_qs, &stage);
    EXPECT_EQ(stage, SearchStage::Fuzzy);
    ASSERT_EQ(names(results), (QStringList{u"Go"_qs, u"Go Tools"_qs}));
    EXPECT_DOUBLE_EQ(results[0].searchScore, 8 - 1);
    EXPECT_DOUBLE_EQ(results[1].searchScore, 8 - 4);
}

TEST_F(SearchIndexTest, NothingFoundAnywhereIsEmpty) {
    index({u"Safari"_qs});
    SearchStage stage = SearchStage::Prefix;
    EXPECT_TRUE(find(u"xyzzy"_qs, &stage).isEmpty());
    EXPECT_EQ(stage, SearchStage::None);
}

// --- ranking ----------------------------------------------------------------------------------

struct RankCase {
    const char* longName;
    qint64 longCount;
    bool longFirst;
};

class ShorterNamesFirst : public SearchIndexTest, public ::testing::WithParamInterface<RankCase> {};

// "Notes" scores 210.5 for "note"; "Notepad Plus" 203 (7.5 behind) and the 40-character name
// 189 (21.5 behind, more than the 20 points activations can give).
TEST_P(ShorterNamesFirst, UnlessActivationsOutweighTheLength) {
    const RankCase c = GetParam();
    const QString longName = QString::fromUtf8(c.longName);
    idx.rebuild({app(longName, c.longCount), app(u"Notes"_qs)});
    const QStringList expected =
        c.longFirst ? QStringList{longName, u"Notes"_qs} : QStringList{u"Notes"_qs, longName};
    EXPECT_EQ(names(find(u"note"_qs)), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Activations, ShorterNamesFirst,
    ::testing::Values(RankCase{"Notepad Plus", 0, false}, RankCase{"Notepad Plus", 3, false},
                      RankCase{"Notepad Plus", 4, true}, RankCase{"Notepad Plus", 1000, true},
                      RankCase{"Notepad Plus Plus Portable Edition Extra", 1000, false}));

TEST_F(SearchIndexTest, EqualScoresKeepIndexingOrder) {
    idx.rebuild({app(u"Term Two"_qs), app(u"Term One"_qs)});
    idx.insert(app(u"Term Six"_qs));
    EXPECT_EQ(names(find(u"term"_qs)),
              (QStringList{u"Term Two"_qs, u"Term One"_qs, u"Term Six"_qs}));
    // Replacing an entry keeps its place; removing and adding again moves it to the end.
    idx.insert(app(u"Term Two"_qs, 0));
    idx.remove(u"org.example.Term One"_qs);
    idx.insert(app(u"Term One"_qs));
    EXPECT_EQ(names(find(u"term"_qs)),
              (QStringList{u"Term Two"_qs, u"Term Six"_qs, u"Term One"_qs}));
}

class CaseOfQuery : public SearchIndexTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(CaseOfQuery, GivesTheSameResultsAndScoresAsLowerCase) {
    index({u"Visual Studio Code"_qs, u"VirtualBox"_qs, u"Vim"_qs});
    const QString query = QString::fromUtf8(GetParam());
    const auto expected = find(query.toLower());
    const auto actual = find(query);
    ASSERT_FALSE(expected.isEmpty());
    ASSERT_EQ(names(actual), names(expected));
    for (qsizetype i = 0; i < actual.size(); ++i)
        EXPECT_DOUBLE_EQ(actual[i].searchScore, expected[i].searchScore);
}

INSTANTIATE_TEST_SUITE_P(Queries, CaseOfQuery,
                         ::testing::Values("VI", "Vi", "vIS", "VSC", "DIO", "VSIUAL", "Code"));

// --- writes -----------------------------------------------------------------------------------

TEST_F(SearchIndexTest, RemovedAppIsNotFoundThoughItsNodesRemain) {
    index({u"Safari"_qs, u"Safari Technology Preview"_qs});
    idx.remove(u"org.example.Safari"_qs);
    // The nodes along "safari" still carry the preview, which is all that comes back.
    EXPECT_EQ(names(find(u"safari"_qs)), QStringList{u"Safari Technology Preview"_qs});
    idx.remove(u"org.example.Safari Technology Preview"_qs);
    for (const char* q : {"safari", "saf", "tech", "sfr", "safary"})
        EXPECT_TRUE(find(QString::fromUtf8(q)).isEmpty()) << q;
    idx.remove(u"org.example.unknown"_qs); // harmless
    EXPECT_EQ(idx.stats().entries, 0);
}

TEST_F(SearchIndexTest, ReplacingAnEntryDropsTheOldNamesKeys) {
    idx.insert(app(u"Foo Editor"_qs, 0, u"org.example.app"_qs));
    idx.insert(app(u"Bar Viewer"_qs, 5, u"org.example.app"_qs));
    EXPECT_TRUE(find(u"foo"_qs).isEmpty());
    EXPECT_TRUE(find(u"editor"_qs).isEmpty());
    const auto results = find(u"viewer"_qs);
    ASSERT_EQ(names(results), QStringList{u"Bar Viewer"_qs});
    EXPECT_EQ(results[0].activationCount, 5);
}

TEST_F(SearchIndexTest, RebuildReplacesEverythingAndTheLastDuplicateWins) {
    index({u"Safari"_qs});
    idx.rebuild(
        {app(u"Mail"_qs, 0, u"b"_qs), app(u"Maps"_qs, 0, u"a"_qs), app(u"Mailbox"_qs, 0, u"b"_qs)});
    EXPECT_TRUE(find(u"safari"_qs).isEmpty());
    EXPECT_EQ(names(find(u"ma"_qs)), (QStringList{u"Maps"_qs, u"Mailbox"_qs}));
    EXPECT_TRUE(find(u"mail "_qs).isEmpty());
}

TEST_F(SearchIndexTest, ManyRemovalsKeepResultsAndOrder) {
    // Long unique tails, so removals leave enough dead label text and dead slots that both
    // get compacted along the way.
    QList<AppEntry> entries;
    for (int i = 0; i < 200; ++i)
        entries << app(
            u"App %1 with a long tail for label storage"_qs.arg(i, 3, 10, QLatin1Char('0')));
    idx.rebuild(entries);
    QStringList expected;
    for (int i = 0; i < 200; ++i) {
        if (i % 4 != 3)
            idx.remove(entries[i].bundleID);
        else
            expected << entries[i].name;
    }
    EXPECT_EQ(names(find(u"app"_qs)), expected);
    EXPECT_EQ(names(find(u"app 1"_qs)).size(), 25);
    EXPECT_EQ(names(find(u"099 with a long tail"_qs)), QStringList{expected[24]});
    SearchStage stage = SearchStage::None;
    EXPECT_EQ(names(find(u"0x99"_qs, &stage)), QStringList{expected[24]}); // the word "099"
    EXPECT_EQ(stage, SearchStage::Fuzzy);
    EXPECT_EQ(idx.stats().entries, 50);
}

// --- Unicode ----------------------------------------------------------------------------------

struct UnicodeCase {
    const char* label;
    const char* name;
    const char* query;
    SearchStage stage; // None: not found
    double score;
};

class Unicode : public SearchIndexTest, public ::testing::WithParamInterface<UnicodeCase> {};

TEST_P(Unicode, MatchesUserPerceivedCharacters) {
    const UnicodeCase c = GetParam();
    index({QString::fromUtf8(c.name), u"Safari"_qs});
    SearchStage stage = SearchStage::Prefix;
    const auto results = find(QString::fromUtf8(c.query), &stage);
    EXPECT_STREQ(stageName(stage), stageName(c.stage));
    if (c.stage == SearchStage::None) {
        EXPECT_TRUE(results.isEmpty());
        return;
    }
    ASSERT_EQ(names(results), QStringList{QString::fromUtf8(c.name)});
    EXPECT_DOUBLE_EQ(results[0].searchScore, c.score);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Unicode,
    ::testing::Values(
        // Canonically equivalent spellings are one character; the accent is never dropped.
        UnicodeCase{"PrecomposedNameDecomposedQuery", "Caf\u00e9", "cafe\u0301",
                    SearchStage::Prefix, 217 - 2},
        UnicodeCase{"DecomposedNamePrecomposedQuery", "Cafe\u0301", "caf\u00e9",
                    SearchStage::Prefix, 217 - 2},
        UnicodeCase{"DecomposedBoth", "Cafe\u0301", "CAFE\u0301", SearchStage::Prefix, 217 - 2},
        UnicodeCase{"AccentIsNotStripped", "Caf\u00e9", "cafe", SearchStage::Fuzzy, 8 - 2},
        // A family emoji (man ZWJ woman ZWJ girl) is one character: its parts are not prefixes,
        // substrings or subsequences of it, only one substitution away.
        UnicodeCase{"WholeZwjSequence", "\U0001F468\u200D\U0001F469\u200D\U0001F467 Family",
                    "\U0001F468\u200D\U0001F469\u200D\U0001F467", SearchStage::Prefix, 217 - 4},
        UnicodeCase{"FirstCodePointOfZwjSequence",
                    "\U0001F468\u200D\U0001F469\u200D\U0001F467 Family", "\U0001F468",
                    SearchStage::Fuzzy, 8 - 4},
        UnicodeCase{"MiddleCodePointOfZwjSequence",
                    "\U0001F468\u200D\U0001F469\u200D\U0001F467 Family", "\U0001F469 family",
                    SearchStage::Fuzzy, 8 - 4},
        // A flag is two regional indicators but one character: eight characters in all.
        UnicodeCase{"FlagCountsOnce", "\U0001F1EB\U0001F1F7 France", "\U0001F1EB\U0001F1F7 france",
                    SearchStage::Prefix, 100 + 30 + 15 + 12 - 4},
        UnicodeCase{"HalfAFlag", "\U0001F1EB\U0001F1F7 France", "\U0001F1EB", SearchStage::Fuzzy,
                    8 - 4},
        // Full lower-casing: U+0130 becomes i + combining dot (one character), U+1E9E becomes
        // U+00DF; nothing folds them further.
        UnicodeCase{"DottedCapitalI", "\u0130stanbul Maps", "\u0130STANBUL MAPS",
                    SearchStage::Prefix, 100 + 30 + 15 + 12 - 6.5},
        UnicodeCase{"DottedCapitalIWithoutDot", "\u0130stanbul", "istanbul", SearchStage::Fuzzy,
                    8 - 4},
        UnicodeCase{"CapitalSharpS", "STRA\u1E9EE", "stra\u1E9Ee", SearchStage::Prefix, 217 - 3},
        UnicodeCase{"SharpSIsNotSs", "Stra\u00DFe", "strasse", SearchStage::Fuzzy, 4 - 3},
        // A leading space is matched as typed: no word starts with it.
        UnicodeCase{"LeadingSpaceInsideName", "Visual Studio Code", " stu", SearchStage::Substring,
                    30 + 15 - 9},
        UnicodeCase{"LeadingSpaceNowhere", "Maps", " saf", SearchStage::None, 0}),
    [](const auto& info) { return std::string(info.param.label); });

// --- against a direct reading of the rules ----------------------------------------------------

// The rules applied literally: keys as lists of grapheme strings, every stage a plain loop over
// the entries in indexing order, a stable sort. The index (compressed trie, interned characters,
// filters, trie-walk fuzzy stage, slot compaction) must agree on every query.
class ReferenceModel {
public:
    void insert(const AppEntry& e) {
        for (auto& item : m_items)
            if (item.bundleID == e.bundleID) {
                item = {e.bundleID, e, characters(e.nameLower)};
                return;
            }
        m_items.push_back({e.bundleID, e, characters(e.nameLower)});
    }
    void remove(const QString& bundleID) {
        std::erase_if(m_items, [&](const Item& i) { return i.bundleID == bundleID; });
    }
    void rebuild(const QList<AppEntry>& entries) {
        m_items.clear();
        for (const AppEntry& e : entries)
            insert(e);
    }

    QList<AppEntry> search(const QString& query) const {
        const QStringList q = characters(query.toLower());
        const auto n = q.size();
        const int d = n > 2 ? int(n / 3) : 1;
        using Test = std::function<bool(const QStringList&)>;
        const std::vector<Test> stages{
            [&](const QStringList& k) { return n > 0 && k.mid(0, n) == q; },
            [&](const QStringList& k) { return contains(k, q); },
            [&](const QStringList& k) { return subsequence(q, k); },
            [&](const QStringList& k) { return distance(q, k.mid(0, n + d)) <= d; },
        };
        QList<AppEntry> found;
        for (const Test& test : stages) {
            for (const Item& item : m_items) {
                bool hit = false;
                for (const QStringList& key : keys(item.name))
                    hit = hit || test(key);
                if (hit) {
                    AppEntry e = item.entry;
                    e.searchScore = score(q, item.name, e.activationCount);
                    found << e;
                }
            }
            if (!found.isEmpty())
                break;
        }
        std::stable_sort(found.begin(), found.end(), [](const AppEntry& a, const AppEntry& b) {
            return a.searchScore > b.searchScore;
        });
        return found;
    }

private:
    struct Item {
        QString bundleID;
        AppEntry entry;
        QStringList name;
    };

    static QStringList characters(const QString& s) {
        const QString nfc = s.normalized(QString::NormalizationForm_C);
        QStringList out;
        QTextBoundaryFinder f(QTextBoundaryFinder::Grapheme, nfc);
        qsizetype start = 0;
        for (qsizetype end = f.toNextBoundary(); end > 0; end = f.toNextBoundary()) {
            out << nfc.mid(start, end - start);
            start = end;
        }
        return out;
    }
    static QList<QStringList> words(const QStringList& name) {
        QList<QStringList> out{QStringList()};
        for (const QString& c : name) {
            if (c == u" "_qs)
                out << QStringList();
            else
                out.back() << c;
        }
        out.removeAll(QStringList());
        return out;
    }
    static QList<QStringList> keys(const QStringList& name) {
        QList<QStringList> out{name};
        out += words(name);
        return out;
    }
    static bool contains(const QStringList& k, const QStringList& q) {
        for (qsizetype i = 0; i + q.size() <= k.size(); ++i)
            if (k.mid(i, q.size()) == q)
                return true;
        return false;
    }
    static bool subsequence(const QStringList& q, const QStringList& k) {
        qsizetype p = 0;
        for (const QString& c : k)
            if (p < q.size() && c == q[p])
                ++p;
        return p == q.size();
    }
    static int distance(const QStringList& a, const QStringList& b) {
        std::vector<int> row(std::size_t(b.size()) + 1);
        for (std::size_t j = 0; j < row.size(); ++j)
            row[j] = int(j);
        for (qsizetype i = 1; i <= a.size(); ++i) {
            int diagonal = row[0];
            row[0] = int(i);
            for (qsizetype j = 1; j <= b.size(); ++j) {
                const int up = row[std::size_t(j)];
                row[std::size_t(j)] = std::min({up + 1, row[std::size_t(j - 1)] + 1,
                                                diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
                diagonal = up;
            }
        }
        return row.back();
    }
    static double score(const QStringList& q, const QStringList& name, qint64 count) {
        double s = 0;
        if (name.mid(0, q.size()) == q && name.size() >= q.size())
            s += 100;
        bool wordPrefix = false;
        for (const QStringList& w : words(name))
            wordPrefix = wordPrefix || (w.size() >= q.size() && w.mid(0, q.size()) == q);
        if (wordPrefix)
            s += 60;
        if (contains(name, q))
            s += 30;
        if (subsequence(q, name))
            s += 15;
        int m = 1 << 20;
        for (const QStringList& k : keys(name))
            m = std::min(m, distance(q, k.mid(0, q.size() + 2)));
        if (m < 3)
            s += (3 - m) * 4;
        s -= 0.5 * double(name.size());
        s += std::min(2.0 * double(count), 20.0);
        return s;
    }

    std::vector<Item> m_items;
};

TEST(SearchIndexModel, AgreesWithTheRulesOnGeneratedNamesAndQueries) {
    // Few distinct pieces, so names share prefixes, words and characters heavily.
    const QStringList pieces{u"ab"_qs,      u"ba"_qs, u"c"_qs,
                             u"ca"_qs,      u"d"_qs,  u"\u00e9"_qs,
                             u"e\u0301"_qs, u"e"_qs,  u"\U0001F1EB\U0001F1F7"_qs,
                             u"\u00df"_qs,  u" "_qs,  u" "_qs,
                             u"  "_qs,      u"Ab"_qs, u"x"_qs};
    std::mt19937 random(20240611);
    const auto pick = [&](qsizetype size) { return qsizetype(random() % std::uint32_t(size)); };
    const auto makeName = [&] {
        QString name;
        const auto parts = 1 + pick(7);
        for (qsizetype i = 0; i < parts; ++i)
            name += pieces[pick(pieces.size())];
        return name;
    };

    SearchIndex index;
    ReferenceModel model;
    QStringList bundles;
    for (int i = 0; i < 40; ++i)
        bundles << u"b%1"_qs.arg(i);
    QStringList names;
    const auto check = [&](int round) {
        for (int k = 0; k < 25; ++k) {
            QString query;
            if (!names.isEmpty() && k % 2 == 0) { // a piece of a name, perhaps misspelt
                const QString& n = names[pick(names.size())];
                const auto from = pick(n.size() + 1);
                query = n.mid(from, 1 + pick(6));
                if (k % 4 == 0 && !query.isEmpty())
                    query.remove(pick(query.size()), 1);
                if (k % 6 == 0)
                    query.insert(pick(query.size() + 1), pieces[pick(pieces.size())]);
            } else {
                query = makeName();
            }
            const auto expected = model.search(query);
            const auto actual = index.search(query);
            ASSERT_EQ(actual.size(), expected.size())
                << round << " query '" << qPrintable(query) << "'";
            for (qsizetype i = 0; i < actual.size(); ++i) {
                ASSERT_EQ(actual[i].bundleID, expected[i].bundleID)
                    << round << " query '" << qPrintable(query) << "' at " << i;
                ASSERT_DOUBLE_EQ(actual[i].searchScore, expected[i].searchScore)
                    << round << " query '" << qPrintable(query) << "' at " << i;
            }
        }
    };
    for (int round = 0; round < 120; ++round) {
        const auto op = pick(10);
        if (op == 0) {
            QList<AppEntry> entries;
            for (int i = 0; i < 20; ++i)
                entries << app(makeName(), qint64(pick(12)), bundles[pick(bundles.size())]);
            index.rebuild(entries);
            model.rebuild(entries);
        } else if (op <= 3) {
            const QString bundle = bundles[pick(bundles.size())];
            index.remove(bundle);
            model.remove(bundle);
        } else {
            const AppEntry e = app(makeName(), qint64(pick(12)), bundles[pick(bundles.size())]);
            names << e.nameLower;
            index.insert(e);
            model.insert(e);
        }
        check(round);
    }
}

// --- threads ----------------------------------------------------------------------------------

TEST_F(SearchIndexTest, SearchOnAnotherThreadSeesAWriteSubmittedJustBefore) {
    for (int i = 0; i < 50; ++i) {
        std::promise<void> written;
        auto searched = std::async(std::launch::async, [&, f = written.get_future()]() mutable {
            f.wait();
            return names(idx.search(u"tool%1"_qs.arg(i)));
        });
        idx.insert(app(u"Tool%1"_qs.arg(i)));
        written.set_value();
        EXPECT_TRUE(searched.get().contains(u"Tool%1"_qs.arg(i))) << i;
    }
}

TEST_F(SearchIndexTest, ConcurrentWritersAndSearchersStayConsistent) {
    QList<AppEntry> base;
    for (int i = 0; i < 300; ++i)
        base << app(u"Base Application %1"_qs.arg(i));
    idx.rebuild(base);

    constexpr int kWriters = 3;
    constexpr int kSearchers = 2;
    constexpr int kRounds = 120;
    std::atomic<int> writersLeft{kWriters};
    std::atomic<int> failures{0};
    std::latch start(kWriters + kSearchers);
    std::vector<std::thread> threads;

    for (int w = 0; w < kWriters; ++w) {
        threads.emplace_back([&, w] {
            start.arrive_and_wait();
            for (int i = 0; i < kRounds; ++i) {
                const QString name = u"Writer%1 Item%2"_qs.arg(w).arg(i);
                idx.insert(app(name, i % 7));
                // A thread always reads its own writes.
                if (!names(idx.search(name)).contains(name))
                    ++failures;
                idx.remove(u"org.example."_qs + name);
                if (names(idx.search(name)).contains(name))
                    ++failures;
            }
            --writersLeft;
        });
    }
    for (int s = 0; s < kSearchers; ++s) {
        threads.emplace_back([&, s] {
            start.arrive_and_wait();
            const QStringList queries{u"base"_qs,  u"writer"_qs, u"aplication"_qs,
                                      u"item1"_qs, u"wrtr"_qs,   u"ppl"_qs};
            int round = 0;
            while (writersLeft.load() > 0 || round < 10) {
                const auto results = idx.search(queries[(round++ + s) % queries.size()]);
                QSet<QString> seen;
                for (qsizetype i = 0; i < results.size(); ++i) {
                    if (i > 0 && results[i].searchScore > results[i - 1].searchScore)
                        ++failures;
                    if (seen.contains(results[i].bundleID))
                        ++failures;
                    seen.insert(results[i].bundleID);
                }
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(idx.stats().entries, 300);
    EXPECT_EQ(find(u"writer"_qs).size(), 0);
}

TEST(SearchIndexLifetime, DestroyingWithPendingWritesIsSafe) {
    QList<AppEntry> entries;
    for (int i = 0; i < 2000; ++i)
        entries << app(u"Pending %1"_qs.arg(i));
    auto idx = std::make_unique<SearchIndex>();
    for (int i = 0; i < 5; ++i)
        idx->rebuild(entries);
    idx->insert(app(u"Last"_qs));
    idx.reset();
    SUCCEED();
}

} // namespace
