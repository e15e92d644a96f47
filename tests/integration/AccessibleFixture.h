#pragma once

// The real valimbra with its tray icon, its windows reached through their accessibility tree
// (AT-SPI) as a screen reader or a keyboard user reaches them.
#include "SwitcherFixture.h"

#include <QFile>

namespace valimbra::testing {

class AccessibleTest : public SwitcherTest {
protected:
    QStringList valimbraArguments() const override { return {}; } // with its tray icon

    // Every control must be reachable by name, so Qt's bridge is on, on a bus of our own.
    void beforeStart() override {
        const QString socket = s->home() + u"/session-bus"_qs;
        bus = s->spawn({u"dbus-daemon"_qs, u"--session"_qs, u"--nofork"_qs,
                        u"--address=unix:path="_qs + socket});
        ASSERT_TRUE(XSession::waitUntil([&] { return QFile::exists(socket); }));
        qputenv("DBUS_SESSION_BUS_ADDRESS", (u"unix:path="_qs + socket).toUtf8());
        qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
        qputenv("QT_ACCESSIBILITY", "1");
    }
    void TearDown() override {
        SwitcherTest::TearDown();
        if (bus)
            s->stop(bus); // and with it the accessibility bus it started
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    // Runs the driver against the running valimbra; its output, or nothing when it failed.
    std::optional<QString> atspi(const QStringList& args) const {
        return s->run(QStringList{u"/usr/bin/python3"_qs,
                                  QStringLiteral(INTEGRATION_SOURCE_DIR "/atspi_driver.py"),
                                  QString::number(valimbra)} +
                          args,
                      30000);
    }
    bool press(const QString& name, const QString& role = {}) {
        return atspi(role.isEmpty() ? QStringList{u"press"_qs, name}
                                    : QStringList{u"press"_qs, name, role})
            .has_value();
    }
    bool showing(const QString& name) { return atspi({u"exists"_qs, name}).has_value(); }
    bool checked(const QString& name) {
        const auto states = atspi({u"state"_qs, name});
        return states && states->contains(u"checked"_qs);
    }
    QString setting(const QString& key) const {
        QFile file(s->configHome() + u"/Brindlex/Valimbra.conf"_qs);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        for (const QByteArray& line : file.readAll().split('\n'))
            if (line.startsWith(key.toUtf8() + '='))
                return QString::fromUtf8(line.mid(key.size() + 1)).trimmed();
        return {};
    }
    bool openSettings(const QString& pane) {
        return s->run({kValimbra, u"--settings"_qs, pane}).has_value() &&
               showing(pane == u"Ignored" ? u"Ignored Apps"_qs : pane);
    }

    // The tray icon: the small window of ours that the tray (trayer) embeds.
    std::optional<Geometry> trayIcon() const {
        const auto ids =
            xdotool({u"search"_qs, u"--onlyvisible"_qs, u"--pid"_qs, QString::number(valimbra)});
        if (!ids)
            return std::nullopt;
        for (const QString& id : ids->split(u'\n', Qt::SkipEmptyParts)) {
            const auto g = geometry(id);
            if (g && g->width > 0 && g->width <= 64 && g->height <= 64 && g->x >= 0 && g->y >= 0)
                return g;
        }
        return std::nullopt;
    }

    pid_t bus = 0;
};

} // namespace valimbra::testing
