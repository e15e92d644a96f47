// The single-instance channel: only this user reaches it, and every line is untrusted input.
#include "core/InstanceServer.h"

#include <QBuffer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace valimbra;

namespace {

TEST(InstanceRequest, OnlyTheKnownRequestsAndPlainPaneNamesAreUnderstood) {
    using Kind = InstanceRequest::Kind;
    const std::tuple<QString, Kind, QString> rows[] = {
        {u"toggle"_qs, Kind::Toggle, {}},
        {u"quit"_qs, Kind::Quit, {}},
        {u"activate"_qs, Kind::Activate, {}},
        {u"settings"_qs, Kind::Settings, u"General"_qs},
        {u"settings Appearance"_qs, Kind::Settings, u"Appearance"_qs},
        {u"settings Elsewhere"_qs, Kind::Settings,
         u"Elsewhere"_qs}, // kept; the window shows General
        {u"settingsFoo"_qs, Kind::Unknown, {}},
        {u"settings ../../etc"_qs, Kind::Unknown, {}},
        {u"settings A B"_qs, Kind::Unknown, {}},
        {u"settings "_qs + QString(33, u'a'), Kind::Unknown, {}},
        {u"Toggle"_qs, Kind::Unknown, {}},
        {u"toggle now"_qs, Kind::Unknown, {}},
        {QString(), Kind::Unknown, {}},
    };
    for (const auto& [line, kind, pane] : rows) {
        const InstanceRequest r = parseInstanceRequest(line);
        EXPECT_EQ(r.kind, kind) << line.toStdString();
        EXPECT_EQ(r.pane, pane) << line.toStdString();
    }
}

TEST(InstanceServer, ReadsOneLineAndRefusesALongerOneWhole) {
    const qint64 max = InstanceServer::maxRequestLength;
    const struct {
        QByteArray sent;
        std::optional<QString> request;
        bool overflow;
    } rows[] = {
        {"toggle\n", u"toggle"_qs, false},
        {"tog", std::nullopt, false}, // the rest of the line may still come
        {QByteArray(max - 1, 'a') + '\n', QString(max - 1, u'a'), false},
        {"toggle" + QByteArray(max - 6, ' ') + '\n', std::nullopt, true}, // not cut to "toggle"
        {QByteArray(max + 1, 'a'), std::nullopt, true},
    };
    for (const auto& row : rows) {
        QBuffer client;
        client.setData(row.sent);
        ASSERT_TRUE(client.open(QIODevice::ReadOnly));
        bool overflow = false;
        EXPECT_EQ(InstanceServer::readRequest(client, overflow), row.request) << row.sent.size();
        EXPECT_EQ(overflow, row.overflow) << row.sent.size();
    }
}

TEST(InstanceServer, TheSocketIsReachableOnlyByItsUser) {
    QTemporaryDir dir;
    const QString socket = dir.filePath(u"valimbra/display_1.sock"_qs);
    InstanceServer first;
    ASSERT_TRUE(first.listen(socket));
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(dir.filePath(u"valimbra"_qs)).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    ASSERT_EQ(::stat(QFile::encodeName(socket).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0077, 0u) << "no access for group or others";
    EXPECT_TRUE(InstanceServer::isAnswering(socket));
    InstanceServer second;
    EXPECT_FALSE(second.listen(socket)) << "one instance per user and display";

    // A directory that belongs to someone else is not ours to listen in.
    if (::getuid() == 0) {
        const QString foreign = dir.filePath(u"foreign"_qs);
        ASSERT_TRUE(QDir().mkpath(foreign));
        ASSERT_EQ(::chown(QFile::encodeName(foreign).constData(), 65534, 65534), 0);
        InstanceServer third;
        EXPECT_FALSE(third.listen(foreign + u"/display_1.sock"_qs));
    }
}

} // namespace
