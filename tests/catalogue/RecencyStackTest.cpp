#include "catalogue/RecencyStack.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace valimbra;

namespace {

const Date kNow(800000000.0);
const QString kKey = RecencyStack::persistenceKey();
const QString kXterm = u"debian-xterm"_qs;

RecencySnapshot record(const QString& id, std::optional<Date> at, qint64 count) {
    RecencySnapshot s;
    if (at)
        s.timestamps.insert(id, *at);
    if (count > 0)
        s.counts.insert(id, count);
    return s;
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

TEST_F(RecencyStackTest, LoadingDropsTimestampsThirtyDaysOldButKeepsCountsAndSkipsBadData) {
    // (age in seconds, whether the timestamp survives); 2'592'000 s is exactly 30 days.
    for (const auto& [age, survives] :
         {std::pair{60.0, true}, std::pair{2'592'000.0 - 0.5, true}, std::pair{2'592'000.0, false},
          std::pair{400 * 86400.0, false}}) {
        SCOPED_TRACE(age);
        store(json::encodeRecency(record(kXterm, kNow.addSeconds(-age), 5)).value());
        const RecencyStack stack(settings, clock, saveQueue);
        EXPECT_EQ(stack.lastActivated(kXterm),
                  survives ? kNow.addSeconds(-age) : Date::distantPast());
        EXPECT_EQ(stack.activationCount(kXterm), 5);
        EXPECT_EQ(saveQueue.queued(), 0) << "loading never writes";
    }
    // Unreadable data (the decoder's tests say which) starts an empty history that the first
    // recording replaces.
    store("{{{");
    RecencyStack stack(settings, clock, saveQueue);
    EXPECT_EQ(stack.snapshot(), RecencySnapshot{});
    stack.recordActivation(kXterm);
    saveQueue.drain();
    EXPECT_EQ(stored(), record(kXterm, kNow, 1));
}

TEST_F(RecencyStackTest, EachRecordingSavesTheRecordAsItWasThenAndAFailedSaveKeepsTheLast) {
    std::vector<std::optional<RecencySnapshot>> writes;
    QObject::connect(&settings, &SettingsStore::changed, [&] { writes.push_back(stored()); });
    RecencyStack stack(settings, clock, saveQueue);
    stack.recordActivation(kXterm);
    clock.advance(std::chrono::milliseconds(4500));
    stack.recordActivation(kXterm);
    stack.recordActivation(u"org.gnome.Nautilus"_qs);
    RecencySnapshot expected = record(kXterm, kNow.addSeconds(4.5), 2);
    expected.timestamps.insert(u"org.gnome.Nautilus"_qs, kNow.addSeconds(4.5));
    expected.counts.insert(u"org.gnome.Nautilus"_qs, 1);
    EXPECT_EQ(stack.snapshot(), expected) << "twice: count 2 and the second time";

    EXPECT_EQ(saveQueue.queued(), 3) << "every recording saves, no debouncing";
    EXPECT_EQ(settings.writeCount(), 0);
    saveQueue.drain();
    ASSERT_EQ(writes.size(), 3u);
    EXPECT_EQ(writes[0], record(kXterm, kNow, 1)) << "the queue must not see later changes";
    EXPECT_EQ(writes[1], record(kXterm, kNow.addSeconds(4.5), 2));
    EXPECT_EQ(writes[2], expected);
    EXPECT_EQ(RecencyStack(settings, clock, saveQueue).snapshot(), expected);

    // A record that cannot be encoded (a lone surrogate has no UTF-8 form) leaves the saved one.
    stack.recordActivation(QString(QChar(0xDC00)));
    EXPECT_EQ(saveQueue.drain(), 1);
    EXPECT_EQ(writes.size(), 3u);
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(stack.activationCount(QString(QChar(0xDC00))), 1) << "memory still has it";
}

TEST_F(RecencyStackTest, CountOverflowStopsWithADiagnostic) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    store(R"({"timestamps":{},"counts":{"debian-xterm":9223372036854775807}})");
    RecencyStack stack(settings, clock, saveQueue);
    ASSERT_EQ(stack.activationCount(kXterm), std::numeric_limits<qint64>::max());
    EXPECT_DEATH(stack.recordActivation(kXterm),
                 "\\[Valimbra\\] Activation count of debian-xterm overflowed");
}

TEST_F(RecencyStackTest, OrdersByLaterActivationThenMoreActivationsThenPlainName) {
    const struct {
        const char* what;
        const char16_t *nameA, *nameB;
        double ageA, ageB; // seconds before now; < 0: never recorded
        qint64 countA, countB;
        bool aFirst, bFirst;
    } cases[] = {
        {"later wins over more used", u"Zed", u"Abe", 10, 20, 1, 99, true, false},
        {"recorded beats never", u"Zed", u"Abe", 86400, -1, 1, 0, true, false},
        {"same time: count decides", u"Zed", u"Abe", 10, 10, 3, 2, true, false},
        {"never used: by name", u"Alpha", u"beta", -1, -1, 0, 0, true, false},
        {"upper case before lower", u"alpha", u"Zulu", -1, -1, 0, 0, false, true},
        {"equal names: neither first", u"XTerm", u"XTerm", -1, -1, 0, 0, false, false},
        {"canonically equal", u"Caf\u00e9", u"Cafe\u0301", -1, -1, 0, 0, false, false},
        {"code points, not UTF-16", u"\uFF21", u"\U0001F600", -1, -1, 0, 0, true, false},
        {"prefix first", u"Term", u"Terminal", -1, -1, 0, 0, true, false},
    };
    const auto at = [](double age) {
        return age < 0 ? std::nullopt : std::optional(kNow.addSeconds(-age));
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        RecencySnapshot s = record(u"a"_qs, at(c.ageA), c.countA);
        const RecencySnapshot other = record(u"b"_qs, at(c.ageB), c.countB);
        s.timestamps.insert(other.timestamps);
        s.counts.insert(other.counts);
        store(json::encodeRecency(s).value());
        const RecencyStack stack(settings, clock, saveQueue);
        AppEntry a, b;
        a.bundleID = u"a"_qs;
        a.name = QString::fromUtf16(c.nameA);
        b.bundleID = u"b"_qs;
        b.name = QString::fromUtf16(c.nameB);
        EXPECT_EQ(stack.precedes(a, b), c.aFirst);
        EXPECT_EQ(stack.precedes(b, a), c.bFirst);
    }
}

} // namespace
