#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RecencyStack.h"
#include "platform/QSettingsStore.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <limits>
#include <memory>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace valimbra;

namespace {

enum class Kind { Memory, Ini };

class SettingsStoreTest : public ::testing::TestWithParam<Kind> {
protected:
    // A file store opens the same file each time, in a directory it has to create.
    std::unique_ptr<SettingsStore> make() {
        if (GetParam() == Kind::Memory)
            return std::make_unique<MemorySettingsStore>();
        return std::make_unique<QSettingsStore>(dir.filePath(u"Brindlex/Valimbra.conf"_qs));
    }
    QTemporaryDir dir;
};

TEST_P(SettingsStoreTest, TypedValuesRoundTripAndAFileKeepsThem) {
    auto s = make();
    s->setBool(u"valimbra.b"_qs, true);
    s->setInteger(u"valimbra.i"_qs, -9000000000LL);
    s->setDouble(u"valimbra.d"_qs, 0.3);
    s->setString(u"valimbra.s"_qs, u"shortcut"_qs);
    const QByteArray blob("[{\"a\":\"file:\\/\\/\\/x\"}]\0\xff", 22);
    s->setData(u"valimbra.data"_qs, blob);
    if (GetParam() == Kind::Ini)
        s = make(); // a new store over the same file

    EXPECT_TRUE(s->boolValue(u"valimbra.b"_qs));
    EXPECT_EQ(s->integer(u"valimbra.i"_qs), -9000000000LL);
    EXPECT_DOUBLE_EQ(s->doubleValue(u"valimbra.d"_qs), 0.3);
    EXPECT_EQ(s->string(u"valimbra.s"_qs), u"shortcut"_qs);
    EXPECT_EQ(s->data(u"valimbra.data"_qs), blob);
}

TEST_P(SettingsStoreTest, MissingKeysReadAsFallbacks) {
    auto s = make();
    EXPECT_FALSE(s->contains(u"valimbra.none"_qs));
    EXPECT_EQ(s->integer(u"valimbra.none"_qs), 0);
    EXPECT_FALSE(s->boolValue(u"valimbra.none"_qs));
    EXPECT_FALSE(s->string(u"valimbra.none"_qs).has_value());
    EXPECT_FALSE(s->data(u"valimbra.none"_qs).has_value());
    s->setString(u"valimbra.text"_qs, u"not data"_qs);
    EXPECT_FALSE(s->data(u"valimbra.text"_qs).has_value()) << "a string is not a data blob";
}

// A value QSettings would deserialise blindly (found by fuzzing: the lengths inside made it
// allocate 47 GB) reads as absent; the other values stay.
TEST(QSettingsStore, AnOpaqueVariantInTheFileReadsAsAbsent) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"Valimbra.conf"_qs);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    // As found, quoted, from an escape, as a list item, and across a continued line.
    file.write("[General]\r\nvalimbra.switcherStyle=grid\r\n"
               "valimbra.review.firstUseDate=@Variant(\\0\\0\\0\\xbundleID2\\0\\0L\\ v)\r\n"
               "valimbra.b=\"@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x3Qt\\0\\xff)\"\n"
               "valimbra.c=\\x40Variant(\\0\\0\\0\\x7f)\n"
               "valimbra.d=a, @Variant(\\0\\0\\0\\x7f)\n"
               "valimbra.e=@Var\\\niant(\\0\\0\\0\\x7f)\n"
               "valimbra.animationStyle=iris");
    file.close();
    QSettingsStore store(path);
    EXPECT_EQ(store.string(u"valimbra.switcherStyle"_qs), u"grid"_qs);
    EXPECT_EQ(store.string(u"valimbra.animationStyle"_qs), u"iris"_qs);
    for (const char* key : {"firstUseDate", "b", "c", "d", "e"})
        EXPECT_FALSE(store.contains(u"valimbra."_qs + QLatin1String(key)) ||
                     store.contains(u"valimbra.review."_qs + QLatin1String(key)))
            << key;
}

// A hand-edited file: whatever stands where an integer belongs reads as one, never undefined.
TEST_P(SettingsStoreTest, AnyValueReadsAsAnIntegerWithinRange) {
    auto s = make();
    const std::pair<QVariant, qint64> rows[] = {
        {u"12"_qs, 12},
        {2.9, 3},
        {u"-2.5"_qs, -3},
        {1e300, std::numeric_limits<qint64>::max()},
        {-1e300, std::numeric_limits<qint64>::min()},
        {std::numeric_limits<double>::quiet_NaN(), -7},
        {std::numeric_limits<double>::infinity(), std::numeric_limits<qint64>::max()},
        {u"twelve"_qs, -7},
    };
    for (const auto& [stored, expected] : rows) {
        s->setDouble(u"valimbra.n"_qs, 0); // a write per row, so the file store reads it back
        if (stored.typeId() == QMetaType::Double)
            s->setDouble(u"valimbra.n"_qs, stored.toDouble());
        else
            s->setString(u"valimbra.n"_qs, stored.toString());
        EXPECT_EQ(s->integer(u"valimbra.n"_qs, -7), expected) << stored.toString().toStdString();
    }
    for (double unusable :
         {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
        s->setDouble(u"valimbra.n"_qs, unusable);
        EXPECT_EQ(s->doubleValue(u"valimbra.n"_qs, 0.5), 0.5) << "read as absent";
    }
}

TEST_P(SettingsStoreTest, RegisteredDefaultsApplyOnlyToNeverWrittenKeysAndChangesSignal) {
    auto s = make();
    s->setBool(u"valimbra.middleMouseEnabled"_qs, false);
    s->registerDefaults({{u"valimbra.middleMouseEnabled"_qs, true},
                         {u"valimbra.hoverLaunchEnabled"_qs, true},
                         {u"valimbra.animationStyle"_qs, u"bloom"_qs}});
    EXPECT_FALSE(s->boolValue(u"valimbra.middleMouseEnabled"_qs, true));
    EXPECT_TRUE(s->boolValue(u"valimbra.hoverLaunchEnabled"_qs));
    EXPECT_FALSE(s->isWritten(u"valimbra.hoverLaunchEnabled"_qs));
    EXPECT_EQ(s->string(u"valimbra.animationStyle"_qs), u"bloom"_qs);

    QSignalSpy changed(s.get(), &SettingsStore::changed);
    s->setString(u"valimbra.animationStyle"_qs, u"iris"_qs);
    EXPECT_EQ(s->string(u"valimbra.animationStyle"_qs), u"iris"_qs);
    s->remove(u"valimbra.animationStyle"_qs);
    EXPECT_EQ(s->string(u"valimbra.animationStyle"_qs), u"bloom"_qs);
    ASSERT_EQ(changed.count(), 2) << "a removal signals like a write";
    EXPECT_EQ(changed.at(1).at(0).toString(), u"valimbra.animationStyle"_qs);
}

INSTANTIATE_TEST_SUITE_P(Stores, SettingsStoreTest, ::testing::Values(Kind::Memory, Kind::Ini),
                         [](const auto& info) {
                             return info.param == Kind::Memory ? "Memory" : "Ini";
                         });

// What a fresh reader finds after the writer was killed: the generation of the value it holds
// (-1: none yet), or nothing when the value is torn or unreadable.
std::optional<int> generationFound(const QString& kind, const QString& path) {
    QSettingsStore store(path);
    auto generationOf = [](const QString& id) { return id.section(u'.', 1, 1).toInt(); };
    // A list of generation g holds 1 + g % 15 entries, all of generation g.
    auto wholeList = [&](const QStringList& ids) -> std::optional<int> {
        if (ids.isEmpty())
            return -1;
        const int g = generationOf(ids.first());
        for (const QString& id : ids)
            if (generationOf(id) != g)
                return std::nullopt;
        return ids.size() == 1 + g % 15 ? std::optional(g) : std::nullopt;
    };
    if (kind == u"blob") {
        const auto blob = store.data(u"valimbra.blob"_qs);
        if (!blob)
            return -1;
        if (blob->size() != 16 * 1024 || blob->count(blob->front()) != blob->size())
            return std::nullopt;
        return blob->front() - 'a';
    }
    if (kind == u"favourites" || kind == u"ignored") {
        QStringList ids;
        if (kind == u"favourites") {
            const PinnedAppsManager favourites(store);
            if (store.contains(PinnedAppsManager::storageKey()) &&
                favourites.pinnedApps().isEmpty())
                return std::nullopt; // stored but undecodable
            for (const PinnedApp& app : favourites.pinnedApps())
                ids.append(app.bundleID);
        } else {
            const IgnoreListManager ignored(store);
            if (store.contains(IgnoreListManager::storageKey()) && ignored.ignoredApps().isEmpty())
                return std::nullopt;
            for (const IgnoredApp& app : ignored.ignoredApps())
                ids.append(app.bundleID);
        }
        return wholeList(ids);
    }
    if (kind == u"recency") {
        // Generation g has recorded app.0.0 to app.g.0 (each writer starts again at 0).
        FakeScheduler clock;
        SchedulerExecutor queue(clock);
        const RecencyStack stack(store, clock, queue);
        const auto& counts = stack.snapshot().counts;
        if (counts.isEmpty() && store.contains(RecencyStack::persistenceKey()))
            return std::nullopt; // stored but undecodable
        for (int g = 0; g < int(counts.size()); ++g)
            if (counts.value(u"app.%1.0"_qs.arg(g)) < 1)
                return std::nullopt;
        return int(counts.size()) - 1;
    }
    // Settings: each key saved on its own, each with a value of its generation.
    if (!store.contains(u"valimbra.generation"_qs))
        return -1;
    const auto style = store.string(u"valimbra.switcherStyle"_qs);
    const double delay = store.doubleValue(u"valimbra.tabLaunchDelay"_qs, -1);
    if (!style || style->isEmpty() || delay < 0.25 || delay > 2.0)
        return std::nullopt;
    return int(store.integer(u"valimbra.generation"_qs, -1));
}

// A writer killed at a random point of one of many saves must leave a readable store holding a
// whole value: the last one it finished or the one it was writing, never a torn mix and never
// nothing. VALIMBRA_KILL_ROUNDS sets the number of kills (1000 by default).
class KillMidSave : public ::testing::TestWithParam<const char*> {};

TEST_P(KillMidSave, EveryKillLeavesThePreviousOrTheNewValue) {
    const QString kind = QString::fromLatin1(GetParam());
    const int rounds = qEnvironmentVariableIntValue("VALIMBRA_KILL_ROUNDS") > 0
                           ? qEnvironmentVariableIntValue("VALIMBRA_KILL_ROUNDS")
                           : 1000;
    QTemporaryDir dir;
    const QString path = dir.filePath(u"Valimbra.conf"_qs);
    std::mt19937 random(20261123);
    int lastGeneration = -1;
    for (int round = 0; round < rounds; ++round) {
        int out[2];
        ASSERT_EQ(pipe(out), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            dup2(out[1], STDOUT_FILENO);
            close(out[0]);
            const QByteArray p = path.toLocal8Bit();
            const QByteArray k = kind.toLatin1();
            execl(SETTINGS_WRITER_PATH, SETTINGS_WRITER_PATH, p.constData(), k.constData(),
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        close(out[1]);
        // Somewhere in the first few saves, at any point of the one under way.
        char tick;
        const int ticks = int(random() % 4);
        for (int i = 0; i < ticks; ++i)
            ASSERT_EQ(read(out[0], &tick, 1), 1) << "round " << round;
        usleep(useconds_t(random() % 3000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(out[0]);

        const auto found = generationFound(kind, path);
        ASSERT_TRUE(found.has_value()) << kind.toStdString() << ": torn after round " << round;
        // Each writer starts again from generation 0; what it finished is there.
        EXPECT_GE(*found, ticks - 1)
            << kind.toStdString() << ": a finished save lost, round " << round;
        if (lastGeneration >= 0) {
            EXPECT_GE(*found, 0) << kind.toStdString() << ": the previous value lost, round "
                                 << round;
        }
        lastGeneration = *found;
    }
    RecordProperty("last_generation", lastGeneration);
}

INSTANTIATE_TEST_SUITE_P(Stores, KillMidSave,
                         ::testing::Values("blob", "favourites", "ignored", "recency", "settings"));

} // namespace
