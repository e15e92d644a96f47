#include "catalogue/SearchIndex.h"

#include <QSet>
#include <QTextBoundaryFinder>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <latch>
#include <random>
#include <thread>
#include <utility>
#include <vector>

using namespace valimbra;

namespace {

using enum SearchStage;

AppEntry app(const QString& name, qint64 activationCount = 0, QString bundleID = {}) {
    AppEntry e;
    e.bundleID = bundleID.isEmpty() ? u"org.example."_qs + name : bundleID;
    e.id = AppEntry::favouriteId(e.bundleID);
    e.name = name;
    e.nameLower = AppEntry::lowercased(name);
    e.activationCount = activationCount;
    return e;
}

// "Notes|Notepad\t4": '|' between names, an optional activation count after a tab.
QList<AppEntry> apps(const char* listing) {
    QList<AppEntry> out;
    for (const QString& part : QString::fromUtf8(listing).split(u'|'))
        out << app(part.section(u'\t', 0, 0), part.section(u'\t', 1).toLongLong());
    return out;
}

// "name|name" in rank order, or "name=score|name=score".
std::string names(const QList<AppEntry>& results, bool scores = false) {
    QStringList out;
    for (const AppEntry& e : results)
        out << (scores ? e.name + u'=' + QString::number(e.searchScore) : e.name);
    return out.join(u'|').toStdString();
}

std::string found(const SearchIndex& idx, const char* query) {
    return names(idx.search(QString::fromUtf8(query)));
}

struct QueryCase {
    const char* names;
    const char* query;
    SearchStage stage;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const QueryCase& c) { return os << c.query; }
};

class Queries : public ::testing::TestWithParam<QueryCase> {};

TEST_P(Queries, FindTheExpectedNamesInTheExpectedStageWithTheExpectedScores) {
    const QueryCase& c = GetParam();
    SearchIndex idx;
    idx.rebuild(apps(c.names));
    QString mixed = QString::fromUtf8(c.query); // every other ASCII letter upper-cased
    for (qsizetype i = 0; i < mixed.size(); i += 2)
        mixed[i] = mixed[i].unicode() < 128 ? mixed[i].toUpper() : mixed[i];
    for (const QString& query : {QString::fromUtf8(c.query), mixed}) { // both alike
        SearchStage stage = Prefix;
        const auto results = idx.search(query, &stage);
        EXPECT_EQ(int(stage), int(c.stage)) << query.toStdString();
        EXPECT_EQ(names(results, true), c.expected) << query.toStdString();
    }
}

#define VSC "Visual Studio Code"
#define FAMILY "\U0001F468\u200D\U0001F469\u200D\U0001F467" // man ZWJ woman ZWJ girl
#define FLAG "\U0001F1EB\U0001F1F7"                         // two regional indicators
constexpr const char* kVsc = VSC "|Safari|Messages";

// Points: name prefix 100, word prefix 60, substring 30, subsequence 15, closeness 12/8/4,
// 2 per activation up to 20, minus 0.5 per character of the name. The model test below checks
// these rules at random; the rows pin one example of each, and the Unicode cases it cannot make.
constexpr QueryCase kCases[] = {
    {kVsc, "vis", Prefix, VSC "=200"}, // 100 + 60 + 30 + 15 + 4 - 9
    {kVsc, "stu", Prefix, VSC "=100"}, // 60 + 30 + 15 + 4 - 9
    {kVsc, "dio", Substring, VSC "=36"},
    {kVsc, "vsc", Subsequence, VSC "=6"},
    {kVsc, "vsiual", Fuzzy, VSC "=-5"}, // 2 from "visual", as 6 / 3 allows
    {kVsc, "sa", Prefix, "Safari=206"}, // no later stage adds Messages
    {"Messages|Safari", "a", Substring, "Safari=46|Messages=41"},
    {"Safari|Safari Technology Preview", "safari", Prefix,
     "Safari=214|Safari Technology Preview=204.5"}, // exact: 217 minus the length
    {"Safari", "xyzzy", None, ""},
    // n = 3 allows distance 1 over a window of 4: "go" is 1 away, "goph" 2.
    {"Gopher Tools|Go Tools|Go", "gox", Fuzzy, "Go=7|Go Tools=4"},
    // Shorter names first, unless activations (at most 20 points) outweigh the length.
    {"Notepad Plus\t4|Notes", "note", Prefix, "Notepad Plus=211|Notes=210.5"},
    {"Notepad Plus Plus Portable Edition Extra\t1000|Notes", "note", Prefix,
     "Notes=210.5|Notepad Plus Plus Portable Edition Extra=209"},
    // Canonically equivalent spellings are one character; the accent is never dropped.
    {"Caf\u00e9|Safari", "cafe\u0301", Prefix, "Caf\u00e9=215"},
    {"Caf\u00e9|Safari", "cafe", Fuzzy, "Caf\u00e9=6"},
    // A ZWJ sequence or a flag is one character: its parts are one substitution away.
    {FAMILY " Family|Safari", FAMILY, Prefix, FAMILY " Family=213"},
    {FAMILY " Family|Safari", "\U0001F468", Fuzzy, FAMILY " Family=4"},
    {FAMILY " Family|Safari", "\U0001F469 family", Fuzzy, FAMILY " Family=4"},
    {FLAG " France|Safari", FLAG " france", Prefix, FLAG " France=153"},
    {FLAG " France|Safari", "\U0001F1EB", Fuzzy, FLAG " France=4"},
    // Full lower-casing: U+0130 is i + combining dot (one character), U+1E9E is U+00DF.
    {"\u0130stanbul Maps|Safari", "\u0130STANBUL MAPS", Prefix, "\u0130stanbul Maps=150.5"},
    {"\u0130stanbul|Safari", "istanbul", Fuzzy, "\u0130stanbul=4"},
    {"STRA\u1E9EE|Safari", "stra\u1E9Ee", Prefix, "STRA\u1E9EE=214"},
    {"Stra\u00DFe|Safari", "strasse", Fuzzy, "Stra\u00DFe=1"},
    // A leading space is matched as typed: no word starts with it.
    {VSC "|Safari", " stu", Substring, VSC "=36"},
};
INSTANTIATE_TEST_SUITE_P(Cases, Queries, ::testing::ValuesIn(kCases));

// Removal is checked against the model below; this checks it at a scale that compacts storage.
TEST(SearchIndexWrites, ManyRemovalsKeepResultsAndOrder) {
    // Long unique tails, so removals leave enough dead label text and slots to get compacted.
    SearchIndex idx;
    QList<AppEntry> entries;
    for (int i = 0; i < 200; ++i)
        entries << app(u"App %1 with a long tail for label storage"_qs.arg(i, 3, 10, QChar(u'0')));
    idx.rebuild(entries);
    QStringList kept;
    for (int i = 0; i < 200; ++i)
        i % 4 == 3 ? void(kept << entries[i].name) : idx.remove(entries[i].bundleID);
    EXPECT_EQ(found(idx, "app"), kept.join(u'|').toStdString());
    EXPECT_EQ(idx.search(u"app 1"_qs).size(), 25);
    EXPECT_EQ(found(idx, "099 with a long tail"), kept[24].toStdString());
    SearchStage stage = None;
    EXPECT_EQ(names(idx.search(u"0x99"_qs, &stage)), kept[24].toStdString()); // the word "099"
    EXPECT_EQ(stage, Fuzzy);
    EXPECT_EQ(idx.stats().entries, 50);
}

// Each user-perceived character as one code unit, so QString's own tools compare characters.
QString chars(const QString& s) {
    static QHash<QString, QChar> codes{{u" "_qs, u' '}};
    const QString nfc = s.normalized(QString::NormalizationForm_C);
    QTextBoundaryFinder f(QTextBoundaryFinder::Grapheme, nfc);
    QString out;
    for (qsizetype start = 0, end = 0; (end = f.toNextBoundary()) > 0; start = end) {
        const QString c = nfc.mid(start, end - start);
        out += codes.contains(c) ? codes[c] : (codes[c] = QChar(0xE000 + int(codes.size())));
    }
    return out;
}
bool subsequence(const QString& q, const QString& k) {
    qsizetype p = 0;
    for (const QChar c : k)
        p += p < q.size() && c == q[p];
    return p == q.size();
}
int distance(const QString& a, const QString& b) {
    std::vector<int> row;
    for (qsizetype j = 0; j <= b.size(); ++j)
        row.push_back(int(j));
    for (const QChar c : a) {
        int diagonal = row[0]++;
        for (std::size_t j = 1; j < row.size(); ++j)
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1,
                                                       diagonal + int(c != b[qsizetype(j) - 1])}));
    }
    return row.back();
}
// Keys are the name and its words; words lie inside the name, so some key contains the query
// (in either sense) exactly when the name does.
QList<AppEntry> modelSearch(const std::vector<AppEntry>& items, const QString& query) {
    const QString q = chars(query.toLower());
    const qsizetype n = q.size(), d = n > 2 ? n / 3 : 1;
    QList<AppEntry> byStage[4];
    for (AppEntry e : items) {
        const QString name = chars(e.nameLower);
        const QStringList words = name.split(u' ', Qt::SkipEmptyParts);
        const bool word = std::ranges::any_of(words, [&](auto& w) { return w.startsWith(q); });
        bool hits[] = {n > 0 && (name.startsWith(q) || word), name.contains(q),
                       subsequence(q, name), false}; // per stage
        int closest = 3;
        for (const QString& k : QStringList{name} + words) {
            hits[3] = hits[3] || distance(q, k.left(n + d)) <= d;
            closest = std::min(closest, distance(q, k.left(n + 2)));
        }
        e.searchScore = (name.startsWith(q) ? 100 : 0) + (word ? 60 : 0) + (hits[1] ? 30 : 0) +
                        (hits[2] ? 15 : 0) + (3 - closest) * 4 - 0.5 * double(name.size()) +
                        std::min(2.0 * double(e.activationCount), 20.0);
        if (const auto stage = std::ranges::find(hits, true) - hits; stage < 4)
            byStage[stage] << e;
    }
    QList<AppEntry> out = *std::find_if(byStage, byStage + 3, [](auto& s) { return !s.isEmpty(); });
    std::stable_sort(out.begin(), out.end(),
                     [](auto& a, auto& b) { return a.searchScore > b.searchScore; });
    return out;
}

TEST(SearchIndexModel, AgreesWithTheRulesOnGeneratedNamesAndQueries) {
    // Few distinct pieces, so names share prefixes, words and characters heavily.
    const QStringList pieces{u"ab"_qs,     u"ba"_qs,      u"c"_qs,  u"ca"_qs,       u"d"_qs,
                             u"\u00e9"_qs, u"e\u0301"_qs, u"e"_qs,  u"" FLAG ""_qs, u"\u00df"_qs,
                             u" "_qs,      u" "_qs,       u"  "_qs, u"Ab"_qs,       u"x"_qs};
    std::mt19937 random(20240611);
    const auto pick = [&](qsizetype size) { return qsizetype(random() % std::uint32_t(size)); };
    const auto makeName = [&] {
        QString name;
        for (auto parts = 1 + pick(7); parts > 0; --parts)
            name += pieces[pick(pieces.size())];
        return name;
    };
    SearchIndex index;
    // Indexing order, which ties keep: a replacement keeps its place, a re-added entry goes last.
    std::vector<AppEntry> model;
    QStringList lowerNames;
    const auto add = [&](const QString& bundle) {
        AppEntry e = app(makeName(), pick(12), bundle);
        e.name = bundle; // results then name their entries exactly; keys use nameLower
        lowerNames << e.nameLower;
        const auto it = std::ranges::find(model, bundle, &AppEntry::bundleID);
        it == model.end() ? model.push_back(e) : void(*it = e);
        return e;
    };
    for (int round = 0; round < 120; ++round) {
        const QString bundle = u"b%1"_qs.arg(pick(40));
        if (const auto op = pick(10); op == 0) {
            model.clear();
            QList<AppEntry> entries;
            for (int i = 0; i < 20; ++i)
                entries << add(u"b%1"_qs.arg(pick(40)));
            index.rebuild(entries);
        } else if (op <= 3) {
            index.remove(bundle);
            std::erase_if(model, [&](auto& m) { return m.bundleID == bundle; });
        } else {
            index.insert(add(bundle));
        }
        for (int k = 0; k < 25; ++k) {
            QString query = makeName();
            if (k % 2 == 0 && !lowerNames.isEmpty()) { // a piece of a name, perhaps misspelt
                const QString& n = lowerNames[pick(lowerNames.size())];
                query = n.mid(pick(n.size() + 1), 1 + pick(6));
                if (k % 4 == 0 && !query.isEmpty())
                    query.remove(pick(query.size()), 1);
                if (k % 6 == 0)
                    query.insert(pick(query.size() + 1), pieces[pick(pieces.size())]);
            }
            const QList<AppEntry> full = index.search(query);
            ASSERT_EQ(names(full, true), names(modelSearch(model, query), true))
                << round << " query '" << query.toStdString() << "'";
            // A limited search is the full ranking's beginning.
            const qsizetype limit = pick(4);
            ASSERT_EQ(names(index.search(query, nullptr, limit), true),
                      names(full.mid(0, limit), true));
        }
    }
}

TEST(SearchIndexThreads, SearchOnAnotherThreadSeesAWriteSubmittedJustBefore) {
    SearchIndex idx;
    QList<AppEntry> entries; // rebuilt each time: a write that takes the writer a while
    for (int i = 0; i < 50; ++i) {
        const QString name = u"Tool%1"_qs.arg(i);
        std::latch written(1);
        auto searched = std::async(std::launch::async, [&] {
            written.wait();
            return names(idx.search(name));
        });
        idx.rebuild(entries << app(name));
        written.count_down();
        EXPECT_EQ(searched.get(), name.toStdString());
    }
}

TEST(SearchIndexThreads, ConcurrentWritersAndSearchersStayConsistent) {
    SearchIndex idx;
    QList<AppEntry> base;
    for (int i = 0; i < 300; ++i)
        base << app(u"Base Application %1"_qs.arg(i));
    idx.rebuild(base);
    std::atomic<int> writing{3}, failures{0};
    std::latch start(5);
    const auto writer = [&](int w) { // each reads its own writes
        start.arrive_and_wait();
        for (int i = 0; i < 120; ++i) {
            const QString name = u"Writer%1 Item%2"_qs.arg(w).arg(i);
            idx.insert(app(name, i % 7));
            failures += names(idx.search(name)) != name.toStdString();
            idx.remove(u"org.example."_qs + name);
            failures += names(idx.search(name)).find(name.toStdString()) != std::string::npos;
        }
        --writing;
    };
    const auto searcher = [&](int s) { // results stay ranked, each entry once
        start.arrive_and_wait();
        const char* queries[] = {"base", "writer", "aplication", "item1", "wrtr", "ppl"};
        for (int round = 0; writing > 0 || round < 10; ++round) {
            const auto r = idx.search(QString::fromUtf8(queries[(round + s) % 6]));
            QSet<QString> ids;
            for (const AppEntry& e : r)
                ids.insert(e.bundleID);
            failures += ids.size() != r.size() ||
                        !std::ranges::is_sorted(r, std::ranges::greater(), &AppEntry::searchScore);
        }
    };
    { std::jthread w0(writer, 0), w1(writer, 1), w2(writer, 2), s0(searcher, 0), s1(searcher, 1); }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(idx.stats().entries, 300);
    EXPECT_EQ(found(idx, "writer"), "");
}

TEST(SearchIndexThreads, WritesStillPendingAtDestructionAreDroppedNotRunOnADeadIndex) {
    SearchIndex idx;
    QList<AppEntry> entries;
    for (int i = 0; i < 2000; ++i)
        entries << app(u"Pending %1"_qs.arg(i));
    for (int i = 0; i < 5; ++i)
        idx.rebuild(entries);
}

} // namespace
