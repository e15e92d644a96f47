#include "DesktopFixture.h"

#include "platform/Workspace.h"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QThread>
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

class WorkspaceTest : public DesktopTest {
protected:
    Workspace& workspace() { return backend->workspace(); }
    bool listed(qint32 pid) {
        return appWithPid(workspace().runningApplications(), pid).has_value();
    }
    bool focusWithXdotool(xcb_window_t w) {
        return xdotool({u"windowactivate"_qs, u"--sync"_qs, QString::number(w)}).has_value();
    }
    QList<xcb_window_t> windowsOf(pid_t pid) const {
        QList<xcb_window_t> out;
        for (xcb_window_t w : s->clientWindows())
            if (s->windowPid(w) == pid)
                out.append(w);
        return out;
    }
};

// Bundle IDs are desktop-file IDs where one exists, both in the backend and `--list-apps`.
TEST_F(WorkspaceTest, SampleApplicationsAreListedWithTheirDesktopIds) {
    EXPECT_EQ(s->windowPid(eyesWindow), 0) << "xeyes sets no pid: it is found through X-Resource";
    const std::tuple<qint32, QString, QString> samples[] = {
        {term1, u"debian-xterm"_qs, u"XTerm"_qs},
        {term2, u"debian-xterm"_qs, u"XTerm"_qs},
        {clock, u"wmclass.xclock"_qs, u"XClock"_qs},
        {eyes, u"wmclass.xeyes"_qs, u"XEyes"_qs}};
    const QList<RunningApp> apps = workspace().runningApplications();
    for (const auto& [pid, bundle, name] : samples) {
        const auto app = appWithPid(apps, pid);
        ASSERT_TRUE(app) << "pid " << pid << " not listed";
        EXPECT_EQ(app->bundleID.value_or(QString()), bundle);
        EXPECT_EQ(app->name, name);
        EXPECT_EQ(app->activationPolicy, ActivationPolicy::Regular);
        EXPECT_FALSE(app->icon.isNull());
    }
    EXPECT_EQ(appWithPid(apps, term1)->appURL,
              QUrl::fromLocalFile(u"/usr/share/applications/debian-xterm.desktop"_qs));
    s->screenshot(u"sample-desktop"_qs);

    QProcess p;
    p.start(QStringLiteral(VALIMBRA_BINARY_PATH), {u"--list-apps"_qs});
    ASSERT_TRUE(p.waitForFinished(20000));
    EXPECT_EQ(p.exitCode(), 0);
    QStringList lines =
        QString::fromUtf8(p.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines.takeFirst(), u"pid\tbundleID\tname\tpolicy"_qs);
    QHash<qint32, QStringList> rows;
    for (const QString& line : lines) {
        const QStringList cells = line.split(u'\t');
        ASSERT_EQ(cells.size(), 4) << line.toStdString();
        rows.insert(cells[0].toInt(), cells);
    }
    for (const auto& [pid, bundle, name] : samples)
        EXPECT_EQ(rows.value(pid),
                  (QStringList{QString::number(pid), bundle, name, u"regular"_qs}));
    EXPECT_FALSE(rows.contains(qint32(p.processId())));
}

TEST_F(WorkspaceTest, OwnWindowsAreNeverListedNorActivated) {
    QSignalSpy activated(&workspace(), &Workspace::applicationActivated);
    QWindow window;
    window.resize(200, 120);
    window.show();
    const qint32 own = qint32(QCoreApplication::applicationPid());
    ASSERT_TRUE(s->waitForWindowOfPid(own));
    window.requestActivate();
    ASSERT_TRUE(XSession::waitUntil([&] {
        const auto front = workspace().frontmostApplication();
        return front && front->pid == own;
    }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(workspace().frontmostApplication()->activationPolicy, ActivationPolicy::Accessory);
    EXPECT_FALSE(listed(own));
    EXPECT_EQ(workspace().ownProcessId(), own);
    EXPECT_FALSE(pidsOf(activated).contains(own));
}

// Each is reported once per process: launch on its first window, activation when the focus
// enters one of its windows from another process, termination after its last window though the
// process lives on.
TEST_F(WorkspaceTest, ProcessesAreLaunchedActivatedAndTerminatedOnce) {
    QSignalSpy launched(&workspace(), &Workspace::applicationLaunched);
    QSignalSpy activated(&workspace(), &Workspace::applicationActivated);
    QSignalSpy terminated(&workspace(), &Workspace::applicationTerminated);
    const pid_t helper = startHelper({u"--class"_qs, u"Twin"_qs, u"--count"_qs, u"2"_qs});
    ASSERT_TRUE(XSession::waitUntil([&] { return windowsOf(helper).size() == 2; }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(launched), QList<qint32>{helper});
    const RunningApp app = launched.first().at(0).value<RunningApp>();
    EXPECT_EQ(app.bundleID.value_or(QString()), u"wmclass.twin"_qs);
    EXPECT_EQ(app.name, u"Twin"_qs);

    activated.clear();
    ASSERT_TRUE(focusWithXdotool(term2Window)); // (xclock and xeyes never take the focus)
    ASSERT_TRUE(XSession::waitUntil([&] { return pidsOf(activated).contains(term2); }));
    EXPECT_EQ(workspace().frontmostApplication()->pid, term2);
    for (xcb_window_t w : windowsOf(helper)) {
        ASSERT_TRUE(focusWithXdotool(w));
        ASSERT_TRUE(XSession::waitUntil([&] { return s->activeWindow() == w; }));
    }
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(activated), (QList<qint32>{term2, helper}));

    ::kill(helper, SIGUSR1); // closes one window
    ASSERT_TRUE(XSession::waitUntil([&] { return windowsOf(helper).size() == 1; }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(terminated.isEmpty());
    EXPECT_TRUE(listed(helper));
    ::kill(helper, SIGUSR1);
    ASSERT_TRUE(XSession::waitUntil([&] { return pidsOf(terminated).contains(helper); }));
    ASSERT_TRUE(barrier->sync());
    EXPECT_EQ(pidsOf(terminated), QList<qint32>{helper});
    EXPECT_EQ(terminated.first().at(0).value<RunningApp>().bundleID, u"wmclass.twin"_qs);
    EXPECT_EQ(pidsOf(launched), QList<qint32>{helper});
    EXPECT_FALSE(listed(helper));
}

// The second xterm sits on another desktop: activating it switches there and focuses it.
TEST_F(WorkspaceTest, ActivatingTheSecondXtermFocusesItOnItsDesktop) {
    ASSERT_TRUE(focusWithXdotool(term1Window));
    const QString term2Id = QString::number(term2Window);
    ASSERT_TRUE(xdotool({u"set_desktop_for_window"_qs, term2Id, u"1"_qs}));
    ASSERT_TRUE(XSession::waitUntil([&] {
        return xdotool({u"get_desktop_for_window"_qs, term2Id}).value_or(QString()).trimmed() ==
               u"1"_qs;
    }));
    ASSERT_TRUE(workspace().activate(term2, true));
    EXPECT_TRUE(XSession::waitUntil([&] {
        return xdotool({u"get_desktop"_qs}).value_or(QString()).trimmed() == u"1"_qs &&
               xdotoolActiveWindow() == term2Window;
    }));
    EXPECT_FALSE(workspace().activate(999999, true)); // no such process
}

TEST_F(WorkspaceTest, OpeningADesktopEntryLaunchesItOnce) {
    const QString path = s->dataHome() + u"/applications/valimbra-test-term.desktop"_qs;
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    // Runs xterm under its own class, so only the launch record can tie it to this entry.
    file.write("[Desktop Entry]\nType=Application\nName=Test Term\n"
               "Exec=xterm -class ValimbraTestTerm -T \"Test Term\"\nIcon=xterm\n");
    file.close();
    EXPECT_EQ(workspace().urlForApplication(u"valimbra-test-term"_qs), QUrl::fromLocalFile(path));
    EXPECT_FALSE(workspace().iconForFile(path).isNull());

    QSignalSpy launched(&workspace(), &Workspace::applicationLaunched);
    workspace().openApplication(QUrl::fromLocalFile(path));
    // Nothing else starts in this session, so the first launch is this one.
    ASSERT_TRUE(XSession::waitUntil([&] { return !launched.isEmpty(); }, 10000));
    const auto app = launched.first().at(0).value<RunningApp>();
    // GIO detaches what it launches, so the session does not own it.
    const auto killLater = qScopeGuard([pid = app.pid] { ::kill(pid, SIGTERM); });
    EXPECT_EQ(app.bundleID, u"valimbra-test-term"_qs);
    EXPECT_EQ(app.name, u"Test Term"_qs);
    EXPECT_EQ(app.appURL, QUrl::fromLocalFile(path));
    EXPECT_EQ(app.activationPolicy, ActivationPolicy::Regular);
    // The sample xterms were not launched from it and keep their own identity.
    EXPECT_EQ(workspace().describe(term1)->bundleID, u"debian-xterm"_qs);
    // Opening it again brings the running copy forward instead of starting another.
    launched.clear();
    workspace().openApplication(QUrl::fromLocalFile(path));
    ASSERT_TRUE(barrier->sync());
    EXPECT_TRUE(launched.isEmpty());
}

TEST_F(WorkspaceTest, WindowsThatVanishWhileQueriedAreSkipped) {
    static QStringList warnings;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& msg) {
            if (type != QtDebugMsg)
                warnings.append(msg);
        });
    // A window that existed only for a moment, still listed as managed.
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
    QSignalSpy launched(&workspace(), &Workspace::applicationLaunched);
    ASSERT_TRUE(barrier->sync());
    const QList<RunningApp> apps = workspace().runningApplications();
    qInstallMessageHandler(previous);
    EXPECT_TRUE(warnings.isEmpty()) << warnings.join(u'\n').toStdString();
    EXPECT_TRUE(launched.isEmpty());
    for (qint32 pid : {term1, term2, clock, eyes})
        EXPECT_TRUE(appWithPid(apps, pid)) << pid;
}

// A splash screen first and the main window half a second later: the application is launched
// when it becomes regular, and terminated (for the switcher) when it stops being regular.
TEST_F(WorkspaceTest, ASplashFirstAppLaunchesWhenItsMainWindowAppears) {
    QSignalSpy launched(&workspace(), &Workspace::applicationLaunched);
    QSignalSpy terminated(&workspace(), &Workspace::applicationTerminated);
    const pid_t helper = startHelper(
        {u"--class"_qs, u"Splashy"_qs, u"--type"_qs, u"splash"_qs, u"--then"_qs, u"normal"_qs});
    ASSERT_TRUE(XSession::waitUntil([&] { return listed(helper); }));
    EXPECT_EQ(workspace().describe(helper)->activationPolicy, ActivationPolicy::Prohibited);
    const auto regularLaunches = [&] {
        int n = 0;
        for (const QList<QVariant>& args : launched) {
            const auto app = args.at(0).value<RunningApp>();
            n += app.pid == helper && app.activationPolicy == ActivationPolicy::Regular;
        }
        return n;
    };
    EXPECT_EQ(regularLaunches(), 0);
    QThread::msleep(500);
    ::kill(helper, SIGUSR2); // the main window
    ASSERT_TRUE(XSession::waitUntil([&] { return regularLaunches() == 1; }));
    EXPECT_EQ(workspace().describe(helper)->activationPolicy, ActivationPolicy::Regular);
    ::kill(helper, SIGUSR1); // closes it again; the splash stays
    ASSERT_TRUE(XSession::waitUntil([&] { return pidsOf(terminated).contains(helper); }));
    EXPECT_TRUE(listed(helper));
}

// Interpreters never name an application: a Python program is listed under its own class.
TEST_F(WorkspaceTest, APythonProgramIsListedUnderItsWindowClass) {
    const pid_t sample =
        s->spawn({u"/usr/bin/python3"_qs, QStringLiteral(INTEGRATION_SOURCE_DIR "/sample_app.py")});
    extra.append(sample);
    ASSERT_TRUE(XSession::waitUntil([&] { return listed(sample); }, 10000));
    const auto app = workspace().describe(sample);
    ASSERT_TRUE(app);
    EXPECT_EQ(app->bundleID.value_or(QString()), u"wmclass.sampler"_qs);
    EXPECT_EQ(app->name, u"Sampler"_qs);
}

TEST_F(WorkspaceTest, PolicyFollowsWindowTypes) {
    const std::pair<const char*, ActivationPolicy> cases[] = {
        {"--type utility", ActivationPolicy::Accessory},
        {"--type toolbar", ActivationPolicy::Accessory},
        {"--skip-taskbar", ActivationPolicy::Accessory},
        {"--type splash", ActivationPolicy::Prohibited},
        {"--type dock", ActivationPolicy::Accessory},
        {"--type dialog", ActivationPolicy::Regular}, // a dialog without a parent
    };
    for (const auto& [args, policy] : cases) {
        const pid_t helper = startHelper(QStringList{u"--class"_qs, u"Policy"_qs} +
                                         QString::fromUtf8(args).split(u' ', Qt::SkipEmptyParts));
        ASSERT_TRUE(XSession::waitUntil([&] { return listed(helper); })) << args;
        EXPECT_EQ(workspace().describe(helper)->activationPolicy, policy) << args;
    }
}

} // namespace
} // namespace valimbra::testing
