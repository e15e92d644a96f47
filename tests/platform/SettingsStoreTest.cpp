#include "platform/QSettingsStore.h"
#include "platform/fake/MemorySettingsStore.h"

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
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

// A writer killed at an arbitrary point of a save must leave a readable file holding one whole
// value: the previous one or the new one, never a torn mix.
TEST(QSettingsStore, KillingTheWriterMidSaveNeverTearsTheFile) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"Valimbra.conf"_qs);
    constexpr int kSize = 16 * 1024;
    for (int round = 0; round < 3; ++round) {
        int out[2];
        ASSERT_EQ(pipe(out), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            dup2(out[1], STDOUT_FILENO);
            close(out[0]);
            const QByteArray p = path.toLocal8Bit();
            const QByteArray n = QByteArray::number(kSize);
            execl(SETTINGS_WRITER_PATH, SETTINGS_WRITER_PATH, p.constData(), n.constData(),
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        close(out[1]);
        char tick;
        for (int i = 0; i < 2 + round; ++i)
            ASSERT_EQ(read(out[0], &tick, 1), 1);
        kill(child, SIGKILL); // lands while the next save is under way
        waitpid(child, nullptr, 0);
        close(out[0]);

        QSettingsStore reader(path);
        const auto blob = reader.data(u"valimbra.blob"_qs);
        ASSERT_TRUE(blob.has_value());
        ASSERT_EQ(blob->size(), kSize);
        EXPECT_EQ(blob->count(blob->front()), kSize) << "torn value";
    }
}

} // namespace
