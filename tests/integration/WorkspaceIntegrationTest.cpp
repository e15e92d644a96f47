#include "DesktopFixture.h"

#include "platform/Workspace.h"
#include "platform/x11/X11Workspace.h"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QWindow>

#include <csignal>

namespace valimbra::testing {
namespace {

std::optional<RunningApp> appWithPid(const QList<RunningApp>& apps, qint32 pid) {
    for (const RunningApp& a : apps)
        if (a.pid == pid)
            return a;
    return std::nullopt;
}

QList<qint32> pidsOf(const QSignalSpy& spy) {
    QList<qint32> out;
    for (const QList<QVariant>& args : spy)
        out.append(args.at(0).value<RunningApp>().pid);
    return out;
}

using WorkspaceTest = DesktopTest;

TEST_F(WorkspaceTest, ListsSampleApplicationsWithTheirDesktopIds) {
    const QList<RunningApp> apps = backend->workspace().runningApplications();
    struct Expect {
        qint32 pid;
        QString bundle;
        QString name;
    };
    const qint32 eyesPid = s->windowPid(eyesWindow); // xeyes sets none: found through X-Resource
    EXPECT_EQ(eyesPid, 0);
    const QList<Expect> expected = {
        {term1, QStringLiteral("debian-xterm"), QStringLiteral("XTerm")},
        {term2, QStringLiteral("debian-xterm"), QStringLiteral("XTerm")},
        {clock, QStringLiteral("wmclass.xclock"), QStringLiteral("XClock")},
        {eyes, QStringLiteral("wmclass.xeyes"), QStringLiteral("XEyes")},
    };
    for (const Expect& e : expected) {
        const auto app = appWithPid(apps, e.pid);
        ASSERT_TRUE(app) << "pid " << e.pid << " not listed";
        EXPECT_EQ(app->bundleID.value_or(QString()), e.bundle);
        EXPECT_EQ(app->name, e.name);
        EXPECT_EQ(app->activationPolicy, ActivationPolicy::Regular);
        EXPECT_FALSE(app->icon.isNull());
    }
    const auto xterm = appWithPid(apps, term1);
    ASSERT_TRUE(xterm->appURL);
    EXPECT_EQ(xterm->appURL->toLocalFile(),
              QStringLiteral("/usr/share/applications/debian-xterm.desktop"));
    // The tray is a dock window: an accessory, never a switcher entry.
    bool trayerSeen = false;
    for (const RunningApp& a : apps) {
        if (a.bundleID == QStringLiteral("wmclass.trayer")) {
            trayerSeen = true;
            EXPECT_EQ(a.activationPolicy, ActivationPolicy::Accessory);
        }
    }
    EXPECT_TRUE(trayerSeen);
    s->screenshot(QStringLiteral("sample-desktop"));
}

TEST_F(WorkspaceTest, OwnWindowsAreNeverListed) {
    QWindow window;
    window.setTitle(QStringLiteral("valimbra own window"));
    window.resize(200, 120);
    window.show();
    const qint32 own = qint32(QCoreApplication::applicationPid());
    ASSERT_TRUE(s->waitForWindowOfPid(own));
    ASSERT_TRUE(barrier->sync());
    EXPECT_FALSE(appWithPid(backend->workspace().runningApplications(), own));
    EXPECT_EQ(backend->workspace().ownProcessId(), own);

    QSignalSpy activated(&backend->workspace(), &Workspace::applicationActivated);
    window.requestActivate();
    ASSERT_TRUE(XSession::waitUntil([&] {
        const auto front = backend->workspace().frontmostApplication();
        return front && front->pid == own;
    }));
    const auto front = backend->workspace().frontmostApplication();
    EXPECT_EQ(front->activationPolicy, ActivationPolicy::Accessory);
    ASSERT_TRUE(barrier->sync());
    EXPECT_FALSE(pidsOf(activated).contains(own));
}

TEST_F(WorkspaceTest, FirstWindowLaunchesAndLastWindowTerminatesOnce) {
    QSignalSpy launched(&backend->workspace(), &Workspace::applicationLaunched);
    QSignalSpy terminated(&backend->workspace(), &Workspace::applicationTerminated);
    const pid_t helper = startHelper({QStringLiteral("--class"), QStringLiteral("Twin"),
                                      QStringLiteral("--count"), QStringLiteral("2")});
    ASSERT_TRUE(XSession::waitUntil([&] {
        int windows = 0;
        for (xcb_window_t w : s->clientWindows())
            windows += s->windowPid(w) == helper;
        return windows == 2 && pidsOf(launched).contains(helper);
    }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(launched).count(helper), 1);
    const RunningApp app = launched.first().at(0).value<RunningApp>();
    EXPECT_EQ(app.bundleID.value_or(QString()), QStringLiteral("wmclass.twin"));
    EXPECT_EQ(app.name, QStringLiteral("Twin"));

    // One window closes: the process still runs.
    ::kill(helper, SIGUSR1);
    ASSERT_TRUE(XSession::waitUntil([&] {
        int windows = 0;
        for (xcb_window_t w : s->clientWindows())
            windows += s->windowPid(w) == helper;
        return windows == 1;
    }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(terminated.isEmpty());
    EXPECT_TRUE(appWithPid(backend->workspace().runningApplications(), helper));

    // The last one closes: one termination, although the process lives on.
    ::kill(helper, SIGUSR1);
    ASSERT_TRUE(XSession::waitUntil([&] { return pidsOf(terminated).contains(helper); }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(terminated).count(helper), 1);
    EXPECT_EQ(terminated.first().at(0).value<RunningApp>().bundleID.value_or(QString()),
              QStringLiteral("wmclass.twin"));
    EXPECT_EQ(pidsOf(launched).count(helper), 1);
    EXPECT_FALSE(appWithPid(backend->workspace().runningApplications(), helper));
}

TEST_F(WorkspaceTest, FocusMovingToAnotherProcessReportsOneActivation) {
    xcb_window_t first = 0;
    const pid_t helper = startHelper({QStringLiteral("--class"), QStringLiteral("Pair"),
                                      QStringLiteral("--count"), QStringLiteral("2")},
                                     &first);
    ASSERT_TRUE(barrier->sync());
    QSignalSpy activated(&backend->workspace(), &Workspace::applicationActivated);

    // (xclock and xeyes never take the focus; xterm does.)
    ASSERT_TRUE(xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                         QString::number(term2Window)}));
    ASSERT_TRUE(XSession::waitUntil([&] { return pidsOf(activated).contains(term2); }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(activated), QList<qint32>{term2});
    EXPECT_EQ(backend->workspace().frontmostApplication()->pid, term2);

    // Moving between two windows of one process is no new activation.
    QList<xcb_window_t> helperWindows;
    for (xcb_window_t w : s->clientWindows())
        if (s->windowPid(w) == helper)
            helperWindows.append(w);
    ASSERT_EQ(helperWindows.size(), 2);
    for (xcb_window_t w : helperWindows) {
        ASSERT_TRUE(xdotool(
            {QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(w)}));
        ASSERT_TRUE(XSession::waitUntil([&] { return s->activeWindow() == w; }));
    }
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(activated), (QList<qint32>{term2, helper}));
}

TEST_F(WorkspaceTest, ActivatingTheSecondXtermFocusesIt) {
    ASSERT_TRUE(xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                         QString::number(term1Window)}));
    ASSERT_TRUE(backend->workspace().activate(term2, true));
    EXPECT_TRUE(XSession::waitUntil([&] { return xdotoolActiveWindow() == term2Window; }));
    EXPECT_FALSE(backend->workspace().activate(999999, true)); // no such process
}

TEST_F(WorkspaceTest, ActivatingAnApplicationOnAnotherDesktopSwitchesThere) {
    ASSERT_TRUE(xdotool({QStringLiteral("set_desktop_for_window"), QString::number(term2Window),
                         QStringLiteral("1")}));
    ASSERT_TRUE(XSession::waitUntil([&] {
        const auto out =
            xdotool({QStringLiteral("get_desktop_for_window"), QString::number(term2Window)});
        return out && out->trimmed() == QStringLiteral("1");
    }));
    ASSERT_TRUE(backend->workspace().activate(term2, false));
    EXPECT_TRUE(XSession::waitUntil([&] {
        const auto desktop = xdotool({QStringLiteral("get_desktop")});
        return desktop && desktop->trimmed() == QStringLiteral("1") &&
               xdotoolActiveWindow() == term2Window;
    }));
}

TEST_F(WorkspaceTest, OpeningADesktopEntryLaunchesIt) {
    const QString path = s->dataHome() + QStringLiteral("/applications/valimbra-test-term.desktop");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    // Runs xterm under its own class, so only the launch record can tie it to this entry.
    file.write("[Desktop Entry]\nType=Application\nName=Test Term\n"
               "Exec=xterm -class ValimbraTestTerm -T \"Test Term\"\nIcon=xterm\n");
    file.close();
    struct Remove {
        QString path;
        ~Remove() { QFile::remove(path); }
    } removeLater{path};

    auto& workspace = backend->workspace();
    EXPECT_EQ(workspace.urlForApplication(QStringLiteral("valimbra-test-term")),
              QUrl::fromLocalFile(path));
    EXPECT_FALSE(workspace.iconForFile(path).isNull());

    QSignalSpy launched(&workspace, &Workspace::applicationLaunched);
    workspace.openApplication(QUrl::fromLocalFile(path));
    std::optional<RunningApp> app;
    ASSERT_TRUE(XSession::waitUntil(
        [&] {
            for (const QList<QVariant>& args : launched)
                if (args.at(0).value<RunningApp>().bundleID == QStringLiteral("valimbra-test-term"))
                    app = args.at(0).value<RunningApp>();
            return app.has_value();
        },
        10000));
    // GIO detaches what it launches, so the session does not own it: stop it by pid here.
    struct Kill {
        qint32 pid;
        ~Kill() { ::kill(pid, SIGTERM); }
    } killLater{app->pid};
    EXPECT_EQ(app->name, QStringLiteral("Test Term"));
    EXPECT_EQ(app->appURL, QUrl::fromLocalFile(path));
    EXPECT_EQ(app->activationPolicy, ActivationPolicy::Regular);
    // The sample xterms were not launched from the entry and keep their own identity.
    EXPECT_EQ(workspace.describe(term1)->bundleID.value_or(QString()),
              QStringLiteral("debian-xterm"));
    // Opening it again brings the running copy forward instead of starting another.
    launched.clear();
    workspace.openApplication(QUrl::fromLocalFile(path));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(launched.isEmpty());
}

TEST_F(WorkspaceTest, WindowsThatVanishWhileQueriedAreSkipped) {
    static QStringList warnings;
    warnings.clear();
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& msg) {
            if (type != QtDebugMsg)
                warnings.append(msg);
        });
    // A window that exists only for a moment, listed as if the window manager still managed it.
    xcb_connection_t* c = s->xcb();
    const xcb_window_t ghost = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, ghost, s->rootWindow(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_destroy_window(c, ghost);
    QList<xcb_window_t> list = s->clientWindows();
    list.insert(1, ghost);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, s->rootWindow(), s->atom("_NET_CLIENT_LIST"),
                        XCB_ATOM_WINDOW, 32, quint32(list.size()), list.constData());
    xcb_flush(c);
    QSignalSpy launched(&backend->workspace(), &Workspace::applicationLaunched);
    ASSERT_TRUE(barrier->sync());
    const QList<RunningApp> apps = backend->workspace().runningApplications();
    qInstallMessageHandler(previous);
    EXPECT_TRUE(warnings.isEmpty()) << warnings.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(launched.isEmpty());
    for (qint32 pid : {term1, term2, clock, eyes})
        EXPECT_TRUE(appWithPid(apps, pid)) << pid;
}

struct PolicyCase {
    const char* name;
    QStringList args;
    ActivationPolicy policy;
};

class WindowPolicyTest : public DesktopTest, public ::testing::WithParamInterface<PolicyCase> {};

TEST_P(WindowPolicyTest, PolicyFollowsWindowTypes) {
    const PolicyCase& c = GetParam();
    const pid_t helper =
        startHelper(QStringList{QStringLiteral("--class"), QStringLiteral("Policy")} + c.args);
    ASSERT_TRUE(barrier->sync());
    ASSERT_TRUE(XSession::waitUntil([&] {
        return appWithPid(backend->workspace().runningApplications(), helper).has_value();
    }));
    EXPECT_EQ(backend->workspace().describe(helper)->activationPolicy, c.policy);
}

INSTANTIATE_TEST_SUITE_P(
    Types, WindowPolicyTest,
    ::testing::Values(
        PolicyCase{"Normal", {}, ActivationPolicy::Regular},
        PolicyCase{"Utility",
                   {QStringLiteral("--type"), QStringLiteral("utility")},
                   ActivationPolicy::Accessory},
        PolicyCase{"Toolbar",
                   {QStringLiteral("--type"), QStringLiteral("toolbar")},
                   ActivationPolicy::Accessory},
        PolicyCase{"SkipTaskbar", {QStringLiteral("--skip-taskbar")}, ActivationPolicy::Accessory},
        PolicyCase{"Splash",
                   {QStringLiteral("--type"), QStringLiteral("splash")},
                   ActivationPolicy::Prohibited},
        PolicyCase{"Dock",
                   {QStringLiteral("--type"), QStringLiteral("dock")},
                   ActivationPolicy::Accessory},
        PolicyCase{"StandaloneDialog",
                   {QStringLiteral("--type"), QStringLiteral("dialog")},
                   ActivationPolicy::Regular}),
    [](const ::testing::TestParamInfo<PolicyCase>& info) { return info.param.name; });

TEST_F(WorkspaceTest, ListAppsCommandPrintsTheSampleApplications) {
    QProcess p;
    p.start(QStringLiteral(VALIMBRA_BINARY_PATH), {QStringLiteral("--list-apps")});
    ASSERT_TRUE(p.waitForFinished(20000));
    EXPECT_EQ(p.exitCode(), 0);
    const QStringList lines =
        QString::fromUtf8(p.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines.first(), QStringLiteral("pid\tbundleID\tname\tpolicy"));
    QHash<qint32, QStringList> rows;
    for (const QString& line : lines.mid(1)) {
        const QStringList cells = line.split(QLatin1Char('\t'));
        ASSERT_EQ(cells.size(), 4) << line.toStdString();
        rows.insert(cells[0].toInt(), cells);
    }
    EXPECT_EQ(rows.value(term1).value(1), QStringLiteral("debian-xterm"));
    EXPECT_EQ(rows.value(term2).value(1), QStringLiteral("debian-xterm"));
    EXPECT_EQ(rows.value(clock).value(1), QStringLiteral("wmclass.xclock"));
    EXPECT_EQ(rows.value(eyes).value(1), QStringLiteral("wmclass.xeyes"));
    EXPECT_EQ(rows.value(clock).value(3), QStringLiteral("regular"));
    EXPECT_FALSE(rows.contains(qint32(p.processId())));
}

} // namespace
} // namespace valimbra::testing
