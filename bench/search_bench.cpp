// Search index: queries that end in each stage, index build, insert and remove, and memory per
// name, over generated application names (100 to 100 000).
//
//   search_bench [benchmark flags]
//   search_bench --dump-names FILE [COUNT]   writes COUNT (100000) generated names, one a line,
//                                            and prints "stage<TAB>query" for the queries the
//                                            benchmark uses at that size (bench/compare_fzf.sh)

#include "catalogue/SearchIndex.h"

#include <QFile>

#include <QStringList>
#include <QTextStream>
#include <limits>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <random>

using namespace valimbra;

namespace {

// --- names -------------------------------------------------------------------------------------

// Application-like names: a brand, then nouns and qualifiers, in the mixed case real names use.
// About one name in ten carries a word outside ASCII (accents, other scripts, emoji). The
// generator uses raw mt19937 output (fully specified by the standard), so every platform makes
// the same names.
const std::array kBrands{
    "Visual",   "Google",    "Libre",    "Firefox",   "Thunderbird", "GNOME",    "KDE",
    "Adobe",    "Microsoft", "Mozilla",  "Open",      "Sublime",     "Android",  "Docker",
    "Steam",    "Spotify",   "Slack",    "Zoom",      "Signal",      "Telegram", "Discord",
    "Blender",  "Inkscape",  "GIMP",     "Audacity",  "VLC",         "OBS",      "Kdenlive",
    "Krita",    "Darktable", "Shotwell", "Rhythmbox", "Evince",      "Nautilus", "Dolphin",
    "Konsole",  "XTerm",     "iTerm",    "JetBrains", "IntelliJ",    "PyCharm",  "WebStorm",
    "Eclipse",  "NetBeans",  "Postman",  "Insomnia",  "DBeaver",     "pgAdmin",  "MySQL",
    "Mongo",    "Redis",     "Grafana",  "Jenkins",   "GitHub",      "GitLab",   "Sourcetree",
    "Meld",     "Vim",       "Emacs",    "Neovim",    "Kate",        "Gedit",    "Mousepad",
    "Calibre",  "Zotero",    "Anki",     "Obsidian",  "Notion",      "Evernote", "Joplin",
    "Typora",   "Quick",     "Smart",    "Power",     "Super",       "Hyper",    "Ultra",
    "Mega",     "Micro",     "Nano",     "Pixel",     "Vector",      "Raster",   "Cloud",
    "Sky",      "Star",      "Sun",      "Moon",      "Ocean",       "River",    "Forest",
    "Mountain", "Desert",    "Arctic",   "Nova",      "Astro",       "Cosmo",    "Quantum",
    "Fusion",   "Nexus",     "Vertex",   "Zenith",    "Apex",        "Orbit",    "Pulse",
    "Echo",     "Bolt",      "Flux",     "Prism",     "Lumen",       "Aurora",   "Cinder",
    "Maple",    "Cedar",     "Willow",   "Falcon",    "Otter",       "Badger",   "Lynx",
    "Panda",    "Koala",     "Tiger",    "Raven",     "Sparrow",     "Hawk",     "Wolf",
    "Bison",    "Copper",    "Silver",   "Golden",    "Iron",        "Cobalt",   "Crimson",
    "Indigo",   "Scarlet",   "Amber",    "Jade",      "Onyx",        "Ruby",     "Sapphire",
    "Blue",     "Red",       "Green",    "Black",     "White",       "Grey",     "Little",
    "Big",      "Happy",     "Simple",   "Easy",      "Rapid",       "Swift",    "Tiny",
    "Daily",    "Modern",    "Free",     "True",      "Clear",       "Bright",   "Deep",
};

const std::array kNouns{
    "Studio",    "Code",       "Editor",    "Viewer",    "Player",     "Manager",  "Browser",
    "Terminal",  "Calculator", "Calendar",  "Mail",      "Maps",       "Music",    "Photos",
    "Notes",     "Reminders",  "Messages",  "Settings",  "Monitor",    "Tools",    "Suite",
    "Writer",    "Reader",     "Recorder",  "Converter", "Downloader", "Sync",     "Backup",
    "Cleaner",   "Launcher",   "Scanner",   "Designer",  "Builder",    "Debugger", "Profiler",
    "Analyzer",  "Explorer",   "Finder",    "Navigator", "Assistant",  "Center",   "Hub",
    "Desk",      "Board",      "Pad",       "Book",      "Chat",       "Talk",     "Meet",
    "Cast",      "Stream",     "Radio",     "TV",        "Camera",     "Office",   "Draw",
    "Paint",     "Sheets",     "Slides",    "Docs",      "Drive",      "Vault",    "Keys",
    "Passwords", "Weather",    "Clock",     "Timer",     "Tasks",      "Projects", "Budget",
    "Finance",   "Invoices",   "Journal",   "Diary",     "Atlas",      "Globe",    "Compass",
    "Lens",      "Frame",      "Canvas",    "Palette",   "Shell",      "Console",  "Server",
    "Client",    "Gateway",    "Bridge",    "Proxy",     "Tunnel",     "Mixer",    "Tuner",
    "Synth",     "Sampler",    "Sequencer", "Library",   "Catalog",    "Index",    "Archive",
};

const std::array kQualifiers{
    "Pro",     "Plus",    "Lite",       "Community", "Edition", "Preview", "Beta",   "Nightly",
    "Classic", "Express", "Enterprise", "Portable",  "X",       "2",       "3",      "11",
    "2024",    "HD",      "Mobile",     "Desktop",   "Online",  "Server",  "Client", "Studio",
};

// Words outside ASCII: precomposed accents, Greek, Cyrillic, CJK, Hangul, a flag, emoji.
const std::array kForeign{
    "Café",   "Über",       "Straße",  "Éditeur",  "Résumé",   "Größe",    "Naïve", "Zürich",
    "São",    "Ñandú",      "Lumière", "Façade",   "Crème",    "Œuvre",    "Δέλτα", "Αθήνα",
    "Москва", "Редактор",   "Почта",   "日本語",   "東京",     "写真",     "서울",  "İstanbul",
    "Kraków", "Łódź",       "Čapek",   "Ørsted",   "Ångström", "Ελληνικά", "🎵",     "📷",
    "🇫🇷",     "Fjällräven", "Smörgås", "Jalapeño", "Piñata",   "Déjà",     "Noël",  "Škoda",
};

class NameGenerator {
public:
    explicit NameGenerator(std::uint32_t seed)
        : m_random(seed) {}

    QString next() {
        QStringList words;
        const auto shape = pick(100);
        words << word(kBrands);
        if (shape >= 12)
            words << word(kNouns);
        if (shape >= 50)
            words << (pick(2) ? word(kQualifiers) : word(kNouns));
        if (shape >= 82)
            words << word(kQualifiers);
        if (pick(10) == 0) // one name in ten has a word outside ASCII
            words.insert(qsizetype(pick(std::uint32_t(words.size()) + 1)), word(kForeign));
        return words.join(QLatin1Char(' '));
    }

private:
    std::uint32_t pick(std::uint32_t n) { return std::uint32_t(m_random() % n); }
    template <typename Array>
    QString word(const Array& array) {
        return QString::fromUtf8(array[pick(std::uint32_t(array.size()))]);
    }

    std::mt19937 m_random;
};

QList<AppEntry> generateEntries(int count, std::uint32_t seed = 2024) {
    NameGenerator generator(seed);
    QList<AppEntry> entries;
    entries.reserve(count);
    for (int i = 0; i < count; ++i) {
        AppEntry e;
        e.bundleID = QString::number(i + 1);
        e.id = i + 1;
        e.name = generator.next();
        e.nameLower = AppEntry::lowercased(e.name);
        e.activationCount = i % 13 == 0 ? i % 11 : 0;
        entries << e;
    }
    return entries;
}

// --- queries per stage -------------------------------------------------------------------------

// For every size the benchmark picks, from the generated names themselves, the first query of a
// fixed candidate list that ends in the wanted stage, so each stage is measured at every size.
struct StageQueries {
    std::map<SearchStage, QString> query;
};

bool isAscii(const QString& s) {
    return std::all_of(s.begin(), s.end(), [](QChar c) { return c.unicode() < 0x80; });
}

QList<QString> words(const QString& name) {
    return name.toLower().split(u' ', Qt::SkipEmptyParts);
}

bool endsIn(const SearchIndex& index, const QString& query, SearchStage wanted) {
    SearchStage stage = SearchStage::None;
    return !index.search(query, &stage).isEmpty() && stage == wanted;
}

StageQueries chooseQueries(const SearchIndex& index, const QList<AppEntry>& entries) {
    StageQueries out;
    // Queries come from ASCII names, as most typing does (BM_SearchUnicode covers the rest).
    const auto firstMatch = [&](SearchStage stage, auto&& candidatesOf) {
        for (const AppEntry& e : entries)
            for (const QString& q :
                 candidatesOf(isAscii(e.name) ? words(e.name) : QList<QString>{}))
                if (endsIn(index, q, stage)) {
                    out.query[stage] = q;
                    return;
                }
    };
    // Prefix: the first three letters of a word, as typed.
    firstMatch(SearchStage::Prefix, [](const QList<QString>& w) {
        return w.size() > 1 && w[1].size() >= 3 ? QList{w[1].left(3)} : QList<QString>{};
    });
    // Substring: three letters from inside a word.
    firstMatch(SearchStage::Substring, [](const QList<QString>& w) {
        QList<QString> c;
        for (const QString& x : w)
            if (x.size() >= 7)
                c << x.mid(3, 3);
        return c;
    });
    // Subsequence: initials of a multi-word name ("vsc"), or letters skipped through a word.
    firstMatch(SearchStage::Subsequence, [](const QList<QString>& w) {
        QList<QString> c;
        if (w.size() >= 3) {
            QString initials;
            for (const QString& x : w)
                initials += x.left(1);
            c << initials;
        }
        for (const QString& x : w)
            if (x.size() >= 7)
                c << x.left(1) + x.mid(2, 1) + x.mid(4, 1) + x.mid(6, 1);
        return c;
    });
    // Fuzzy: a long word typed with two letters swapped, or one letter wrong.
    firstMatch(SearchStage::Fuzzy, [](const QList<QString>& w) {
        QList<QString> c;
        for (const QString& x : w) {
            if (x.size() < 6)
                continue;
            QString swapped = x;
            std::swap(swapped[1], swapped[2]);
            c << swapped;
            QString wrong = x;
            wrong[x.size() / 2] = QLatin1Char('q');
            c << wrong;
        }
        return c;
    });
    return out;
}

const char* stageName(SearchStage s) {
    switch (s) {
    case SearchStage::Prefix:
        return "prefix";
    case SearchStage::Substring:
        return "substring";
    case SearchStage::Subsequence:
        return "subsequence";
    case SearchStage::Fuzzy:
        return "fuzzy";
    case SearchStage::None:
        break;
    }
    return "none";
}

// One built index per size, shared by the search benchmarks.
struct Fixture {
    QList<AppEntry> entries;
    std::unique_ptr<SearchIndex> index;
    StageQueries queries;
};

Fixture& fixture(int size) {
    static std::map<int, std::unique_ptr<Fixture>> fixtures;
    auto& f = fixtures[size];
    if (!f) {
        f = std::make_unique<Fixture>();
        f->entries = generateEntries(size);
        f->index = std::make_unique<SearchIndex>();
        f->index->rebuild(f->entries);
        f->index->waitForPendingWrites();
        f->queries = chooseQueries(*f->index, f->entries);
    }
    return *f;
}

std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// --- benchmarks --------------------------------------------------------------------------------

void BM_Search(benchmark::State& state) {
    const int size = int(state.range(0));
    const auto stage = SearchStage(state.range(1));
    Fixture& f = fixture(size);
    auto it = f.queries.query.find(stage);
    if (it == f.queries.query.end()) {
        state.SkipWithError("no generated query ends in this stage");
        return;
    }
    const QString query = it->second;
    SearchStage reached = SearchStage::None;
    qsizetype results = 0;
    for (auto _ : state) {
        const auto found = f.index->search(query, &reached);
        results = found.size();
        benchmark::DoNotOptimize(found.constData());
    }
    if (reached != stage)
        state.SkipWithError("query ended in another stage");
    state.SetLabel(
        QStringLiteral("%1 '%2'").arg(QLatin1String(stageName(stage)), query).toStdString());
    state.counters["results"] = double(results);
}

// A short prefix with many hits: the worst case of the common stage (not a target).
void BM_SearchOneLetter(benchmark::State& state) {
    Fixture& f = fixture(int(state.range(0)));
    qsizetype results = 0;
    for (auto _ : state) {
        const auto found = f.index->search(u"s"_qs);
        results = found.size();
        benchmark::DoNotOptimize(found.constData());
    }
    state.counters["results"] = double(results);
}

// Queries outside ASCII at 100 000 names: an accented word's prefix typed decomposed (NFC and
// grapheme segmentation on the query), a substring in Cyrillic, a misspelt accented word.
void BM_SearchUnicode(benchmark::State& state) {
    static const std::array<const char*, 3> queries{"e\u0301dit", "\u0434\u0430\u043a", "lumiere"};
    Fixture& f = fixture(100000);
    const QString query = QString::fromUtf8(queries[std::size_t(state.range(0))]);
    SearchStage reached = SearchStage::None;
    qsizetype results = 0;
    for (auto _ : state) {
        const auto found = f.index->search(query, &reached);
        results = found.size();
        benchmark::DoNotOptimize(found.constData());
    }
    state.SetLabel(
        QStringLiteral("%1 '%2'").arg(QLatin1String(stageName(reached)), query).toStdString());
    state.counters["results"] = double(results);
}

// Queries that match thousands of real names (VALIMBRA_BENCH_NAMES: a file with a name a line,
// bench/many_matches.sh makes one of 100 000 package names): the cost is then in ranking and
// handing over the results, not in finding them.
struct ManyMatches {
    std::unique_ptr<SearchIndex> index;
    qsizetype size = 0;
};

ManyMatches& manyMatches() {
    static ManyMatches m = [] {
        ManyMatches out;
        QFile file(qEnvironmentVariable("VALIMBRA_BENCH_NAMES"));
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return out;
        QList<AppEntry> entries;
        QTextStream in(&file);
        for (QString line; in.readLineInto(&line);) {
            if (line.isEmpty())
                continue;
            AppEntry e;
            e.id = qint32(entries.size() + 1);
            e.bundleID = QString::number(e.id);
            e.name = line;
            e.nameLower = AppEntry::lowercased(line);
            e.activationCount = e.id % 13 == 0 ? e.id % 11 : 0;
            entries << e;
        }
        out.size = entries.size();
        out.index = std::make_unique<SearchIndex>();
        out.index->rebuild(entries);
        out.index->waitForPendingWrites();
        return out;
    }();
    return m;
}

// The engine's cap on search results (AppSwitcherEngine::maxSearchResults; the benchmark links
// only the catalogue).
constexpr int AppSwitcherEngine_maxSearchResults = 200;

void BM_SearchManyMatches(benchmark::State& state) {
    static const std::array<const char*, 6> queries{"python3-", "golang-", "libg",
                                                    "node-",    "-dev",    "lbdv"};
    ManyMatches& m = manyMatches();
    if (!m.index) {
        state.SkipWithError("set VALIMBRA_BENCH_NAMES to a file of names (bench/many_matches.sh)");
        return;
    }
    const QString query = QString::fromLatin1(queries[std::size_t(state.range(0))]);
    // 0: every result, as before; otherwise the switcher's cap.
    const qsizetype limit =
        state.range(1) == 0 ? std::numeric_limits<qsizetype>::max() : qsizetype(state.range(1));
    SearchStage reached = SearchStage::None;
    qsizetype results = 0;
    qsizetype matches = 0;
    for (auto _ : state) {
        const auto found = m.index->search(query, &reached, limit);
        results = found.size();
        benchmark::DoNotOptimize(found.constData());
    }
    matches = m.index->search(query).size();
    state.SetLabel(
        QStringLiteral("%1 '%2'").arg(QLatin1String(stageName(reached)), query).toStdString());
    state.counters["matches"] = double(matches);
    state.counters["returned"] = double(results);
}

void BM_Build(benchmark::State& state) {
    const QList<AppEntry> entries = generateEntries(int(state.range(0)));
    SearchIndex index;
    for (auto _ : state) {
        index.rebuild(entries);
        index.waitForPendingWrites();
    }
    state.SetItemsProcessed(state.iterations() * entries.size());
}

// Inserts then removes a batch of new entries and waits for the writer, so the figure is the
// applied cost per write (the caller itself only queues); the batch hides the thread hand-off.
void BM_InsertRemove(benchmark::State& state) {
    const int size = int(state.range(0));
    SearchIndex index;
    index.rebuild(generateEntries(size));
    QList<AppEntry> extra = generateEntries(512, 77);
    for (AppEntry& e : extra)
        e.bundleID = u"extra."_qs + e.bundleID;
    index.waitForPendingWrites();
    for (auto _ : state) {
        for (const AppEntry& e : extra)
            index.insert(e);
        for (const AppEntry& e : extra)
            index.remove(e.bundleID);
        index.waitForPendingWrites();
    }
    state.SetItemsProcessed(state.iterations() * extra.size() * 2);
    state.counters["per_write_us"] = benchmark::Counter(
        double(state.iterations() * extra.size() * 2),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
}

// What a caller sees for one write followed by a search that must include it: queueing, the
// writer waking up, applying, and the search.
void BM_InsertThenSearch(benchmark::State& state) {
    SearchIndex index;
    index.rebuild(generateEntries(int(state.range(0))));
    AppEntry e = generateEntries(1, 99).first();
    e.bundleID = u"extra.1"_qs;
    index.waitForPendingWrites();
    for (auto _ : state) {
        index.insert(e);
        benchmark::DoNotOptimize(index.search(e.name).constData());
        index.remove(e.bundleID);
    }
}

// Heap the index adds over the entries it is given (their strings are shared, not copied), by
// glibc's count, and the index's own estimate.
void BM_Memory(benchmark::State& state) {
    const int size = int(state.range(0));
    const QList<AppEntry> entries = generateEntries(size);
    malloc_trim(0);
    std::optional<SearchIndex> index;
    std::size_t measured = 0;
    SearchIndex::Stats stats;
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        index.emplace();
        index->rebuild(entries);
        index->waitForPendingWrites();
        const std::size_t after = heapInUse();
        measured = after - before;
        stats = index->stats();
        index.reset();
    }
    state.counters["bytes_per_name"] = double(measured) / size;
    state.counters["estimate_per_name"] = double(stats.bytes) / size;
    state.counters["nodes_per_name"] = double(stats.nodes) / size;
    state.counters["ids_per_name"] = double(stats.idReferences) / size;
    state.counters["entry_struct_bytes"] = double(sizeof(AppEntry));
}

void searchArgs(benchmark::internal::Benchmark* b) {
    for (int size : {100, 1000, 10000, 100000})
        for (SearchStage stage : {SearchStage::Prefix, SearchStage::Substring,
                                  SearchStage::Subsequence, SearchStage::Fuzzy})
            b->Args({size, int(stage)});
}

// First, while the heap is fresh: later benchmarks leave freed memory that blurs the count.
BENCHMARK(BM_Memory)->Arg(1000)->Arg(10000)->Arg(100000)->Iterations(1)->Unit(
    benchmark::kMillisecond);
BENCHMARK(BM_Search)->Apply(searchArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchUnicode)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchManyMatches)
    ->ArgsProduct({benchmark::CreateDenseRange(0, 5, 1), {0, AppSwitcherEngine_maxSearchResults}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchOneLetter)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
// The work of these happens on the writer thread: wall-clock time is what counts.
BENCHMARK(BM_Build)->Arg(1000)->Arg(10000)->Arg(100000)->UseRealTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(BM_InsertRemove)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InsertThenSearch)->Arg(1000)->UseRealTime()->Unit(benchmark::kMicrosecond);

int dumpNames(const char* path, int count) {
    Fixture& f = fixture(count);
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        std::fprintf(stderr, "[Valimbra] search_bench: cannot write %s\n", path);
        return 2;
    }
    QTextStream out(&file);
    for (const AppEntry& e : f.entries)
        out << e.name << '\n';
    QTextStream stdOut(stdout);
    for (const auto& [stage, query] : f.queries.query)
        stdOut << stageName(stage) << '\t' << query << '\n';
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // One malloc arena for every thread, so glibc's in-use count (BM_Memory) also covers what
    // the writer thread allocates without other threads' arenas blurring it.
    mallopt(M_ARENA_MAX, 1);
    if (argc >= 3 && std::strcmp(argv[1], "--dump-names") == 0)
        return dumpNames(argv[2], argc >= 4 ? std::atoi(argv[3]) : 100000);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
