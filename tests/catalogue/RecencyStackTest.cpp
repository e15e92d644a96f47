#include "catalogue/RecencyStack.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

using namespace valimbra;

namespace {

const Date kNow(800000000.0);
const QString kKey = RecencyStack::persistenceKey();

// A save queue whose blocks the test runs one at a time.
class StepExecutor final : public SerialExecutor {
public:
    void submit(std::function<void()> block) override { m_blocks.push_back(std::move(block)); }
    void runNext() {
        auto block = std::move(m_blocks.front());
        m_blocks.erase(m_blocks.begin());
        block();
    }
    size_t pending() const { return m_blocks.size(); }

private:
    std::vector<std::function<void()>> m_blocks;
};

AppEntry entry(const QString& bundleID, const QString& name) {
    AppEntry e;
    e.id = AppEntry::favouriteId(bundleID);
    e.bundleID = bundleID;
    e.name = name;
    return e;
}

class RecencyStackTest : public ::testing::Test {
protected:
    void store(const QByteArray& blob) { settings.setData(kKey, blob); }
    std::optional<RecencySnapshot> stored() const {
        const auto data = settings.data(kKey);
        return data ? json::decodeRecency(*data) : std::nullopt;
    }

    MemorySettingsStore settings;
    FakeScheduler clock{kNow};
    ManualExecutor saveQueue;
};

} // namespace

// ---- Loading ------------------------------------------------------------------------------

namespace {

struct PruneCase {
    double ageSeconds;
    bool timestampSurvives;
};

class RecencyPrune : public RecencyStackTest, public ::testing::WithParamInterface<PruneCase> {};

void PrintTo(const PruneCase& c, std::ostream* os) {
    *os << "age " << c.ageSeconds << " s";
}

} // namespace

TEST_P(RecencyPrune, DropsTimestampsThirtyDaysOldOrOlderButKeepsEveryCount) {
    RecencySnapshot s;
    s.timestamps.insert(u"debian-xterm"_qs, kNow.addSeconds(-GetParam().ageSeconds));
    s.counts.insert(u"debian-xterm"_qs, 5);
    store(json::encodeRecency(s).value());

    const RecencyStack stack(settings, clock, saveQueue);
    EXPECT_EQ(stack.lastActivated(u"debian-xterm"_qs), GetParam().timestampSurvives
                                                           ? kNow.addSeconds(-GetParam().ageSeconds)
                                                           : Date::distantPast());
    EXPECT_EQ(stack.activationCount(u"debian-xterm"_qs), 5);
    EXPECT_EQ(saveQueue.queued(), 0) << "loading never writes";
}

INSTANTIATE_TEST_SUITE_P(Ages, RecencyPrune,
                         ::testing::Values(PruneCase{60.0, true},
                                           PruneCase{2'592'000.0 - 0.5, true},
                                           PruneCase{2'592'000.0, false}, // exactly 30 days
                                           PruneCase{2'592'000.0 + 0.5, false},
                                           PruneCase{400 * 86400.0, false}));

class UnreadableRecency : public RecencyStackTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(UnreadableRecency, StartsEmptyAndTheFirstRecordingWritesAFreshBlob) {
    store(QByteArray(GetParam()));
    RecencyStack stack(settings, clock, saveQueue);
    EXPECT_TRUE(stack.snapshot().timestamps.isEmpty());
    EXPECT_TRUE(stack.snapshot().counts.isEmpty());

    stack.recordActivation(u"debian-xterm"_qs);
    saveQueue.drain();
    RecencySnapshot expected;
    expected.timestamps.insert(u"debian-xterm"_qs, kNow);
    expected.counts.insert(u"debian-xterm"_qs, 1);
    EXPECT_EQ(stored(), expected);
}

INSTANTIATE_TEST_SUITE_P(Blobs, UnreadableRecency,
                         ::testing::Values("{{{", "[]",
                                           R"({"timestamps":{"a":"yesterday"},"counts":{"a":3}})"));

// ---- Recording and saving -----------------------------------------------------------------

TEST_F(RecencyStackTest, RecordingTwiceCountsTwoAndKeepsTheSecondTime) {
    RecencyStack stack(settings, clock, saveQueue);
    stack.recordActivation(u"debian-xterm"_qs);
    clock.advance(std::chrono::milliseconds(4500));
    stack.recordActivation(u"debian-xterm"_qs);

    EXPECT_EQ(stack.activationCount(u"debian-xterm"_qs), 2);
    EXPECT_EQ(stack.lastActivated(u"debian-xterm"_qs), kNow.addSeconds(4.5));

    saveQueue.drain();
    const RecencyStack reopened(settings, clock, saveQueue);
    EXPECT_EQ(reopened.activationCount(u"debian-xterm"_qs), 2);
    EXPECT_EQ(reopened.lastActivated(u"debian-xterm"_qs), kNow.addSeconds(4.5));
}

TEST_F(RecencyStackTest, SavingHappensOnTheSaveQueueOnly) {
    RecencyStack stack(settings, clock, saveQueue);
    stack.recordActivation(u"debian-xterm"_qs);
    stack.recordActivation(u"org.gnome.Nautilus"_qs);

    EXPECT_EQ(saveQueue.queued(), 2) << "every recording saves, no debouncing";
    EXPECT_EQ(settings.writeCount(), 0);
    EXPECT_FALSE(settings.data(kKey).has_value());

    saveQueue.drain();
    EXPECT_EQ(settings.writeCount(), 2);
    EXPECT_EQ(stored(), stack.snapshot());
}

TEST_F(RecencyStackTest, EachSaveWritesTheRecordAsItWasWhenRecorded) {
    StepExecutor steps;
    RecencyStack stack(settings, clock, steps);
    stack.recordActivation(u"debian-xterm"_qs);
    clock.advance(std::chrono::milliseconds(1000));
    stack.recordActivation(u"org.gnome.Nautilus"_qs);
    ASSERT_EQ(steps.pending(), 2u);

    steps.runNext();
    RecencySnapshot first;
    first.timestamps.insert(u"debian-xterm"_qs, kNow);
    first.counts.insert(u"debian-xterm"_qs, 1);
    EXPECT_EQ(stored(), first) << "the queue must not see changes made after the hand-off";

    steps.runNext();
    EXPECT_EQ(stored(), stack.snapshot());
}

TEST_F(RecencyStackTest, ASaveThatCannotBeEncodedLeavesThePreviousData) {
    RecencyStack stack(settings, clock, saveQueue);
    stack.recordActivation(u"debian-xterm"_qs);
    saveQueue.drain();
    const QByteArray before = settings.data(kKey).value();
    const int writes = settings.writeCount();

    stack.recordActivation(QString(QChar(0xDC00))); // a lone surrogate has no UTF-8 form
    EXPECT_EQ(saveQueue.drain(), 1);
    EXPECT_EQ(settings.data(kKey), before);
    EXPECT_EQ(settings.writeCount(), writes);
    EXPECT_EQ(stack.activationCount(QString(QChar(0xDC00))), 1) << "memory still has it";
}

TEST_F(RecencyStackTest, CountOverflowStopsWithADiagnostic) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    store(R"({"timestamps":{},"counts":{"debian-xterm":9223372036854775807}})");
    RecencyStack stack(settings, clock, saveQueue);
    ASSERT_EQ(stack.activationCount(u"debian-xterm"_qs), std::numeric_limits<qint64>::max());
    EXPECT_DEATH(stack.recordActivation(u"debian-xterm"_qs),
                 "\\[Valimbra\\] Activation count of debian-xterm overflowed");
}

// ---- Ordering -----------------------------------------------------------------------------

namespace {

struct OrderCase {
    const char* what;
    const char16_t* nameA;
    double ageA; // seconds before now; < 0: never recorded
    qint64 countA;
    const char16_t* nameB;
    double ageB;
    qint64 countB;
    bool aFirst;
    bool bFirst;
};

class RecencyOrder : public RecencyStackTest, public ::testing::WithParamInterface<OrderCase> {};

void PrintTo(const OrderCase& c, std::ostream* os) {
    *os << c.what;
}

} // namespace

TEST_P(RecencyOrder, LaterFirstThenMoreUsedThenPlainName) {
    const OrderCase& c = GetParam();
    RecencySnapshot s;
    const auto seed = [&](const QString& id, double age, qint64 count) {
        if (age >= 0)
            s.timestamps.insert(id, kNow.addSeconds(-age));
        if (count > 0)
            s.counts.insert(id, count);
    };
    seed(u"a"_qs, c.ageA, c.countA);
    seed(u"b"_qs, c.ageB, c.countB);
    store(json::encodeRecency(s).value());
    const RecencyStack stack(settings, clock, saveQueue);

    const AppEntry a = entry(u"a"_qs, QString::fromUtf16(c.nameA));
    const AppEntry b = entry(u"b"_qs, QString::fromUtf16(c.nameB));
    EXPECT_EQ(stack.precedes(a, b), c.aFirst) << c.what;
    EXPECT_EQ(stack.precedes(b, a), c.bFirst) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RecencyOrder,
    ::testing::Values(
        OrderCase{"later wins over more used", u"Zed", 10, 1, u"Abe", 20, 99, true, false},
        OrderCase{"recorded beats never", u"Zed", 86400, 1, u"Abe", -1, 0, true, false},
        OrderCase{"same time: count decides", u"Zed", 10, 3, u"Abe", 10, 2, true, false},
        OrderCase{"pruned time: count still ranks", u"Zed", 31 * 86400.0, 4, u"Abe", -1, 0, true,
                  false},
        OrderCase{"never used: by name", u"Alpha", -1, 0, u"beta", -1, 0, true, false},
        OrderCase{"case-sensitive: upper before lower", u"alpha", -1, 0, u"Zulu", -1, 0, false,
                  true},
        OrderCase{"equal names: neither first", u"XTerm", -1, 0, u"XTerm", -1, 0, false, false},
        OrderCase{"canonically equal names", u"Caf\u00e9", -1, 0, u"Cafe\u0301", -1, 0, false,
                  false},
        OrderCase{"code point order, not UTF-16 order", u"\uFF21", -1, 0, u"\U0001F600", -1, 0,
                  true, false},
        OrderCase{"prefix first", u"Term", -1, 0, u"Terminal", -1, 0, true, false}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

TEST_F(RecencyStackTest, SortingGivesMostRecentlyUsedFirst) {
    RecencyStack stack(settings, clock, saveQueue);
    const std::vector<QString> activationOrder{u"files"_qs, u"term"_qs, u"mail"_qs, u"term"_qs};
    for (const QString& id : activationOrder) {
        stack.recordActivation(id);
        clock.advance(std::chrono::milliseconds(1000));
    }
    std::vector<AppEntry> apps{entry(u"zz"_qs, u"Never B"_qs), entry(u"files"_qs, u"Files"_qs),
                               entry(u"mail"_qs, u"Mail"_qs), entry(u"aa"_qs, u"Never A"_qs),
                               entry(u"term"_qs, u"Terminal"_qs)};
    std::sort(apps.begin(), apps.end(), stack.ordering());
    std::vector<QString> names;
    for (const AppEntry& e : apps)
        names.push_back(e.name);
    EXPECT_EQ(names, (std::vector<QString>{u"Terminal"_qs, u"Mail"_qs, u"Files"_qs, u"Never A"_qs,
                                           u"Never B"_qs}));
}
