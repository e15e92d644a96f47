#include "XSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef VALIMBRA_ARTIFACTS_DIR
#define VALIMBRA_ARTIFACTS_DIR "."
#endif

extern char** environ;

namespace valimbra::testing {
namespace {

// Process groups to kill if the test process dies without running destructors. A fixed array
// of atomics, so the signal handler touches nothing that could be half-updated.
constexpr int kMaxGroups = 128;
std::atomic<pid_t> g_groups[kMaxGroups];

void registerGroup(pid_t pgid) {
    for (auto& slot : g_groups) {
        pid_t expected = 0;
        if (slot.compare_exchange_strong(expected, pgid))
            return;
    }
}

void unregisterGroup(pid_t pgid) {
    for (auto& slot : g_groups) {
        pid_t expected = pgid;
        if (slot.compare_exchange_strong(expected, 0))
            return;
    }
}

void killAllGroups() {
    for (auto& slot : g_groups) {
        const pid_t pgid = slot.exchange(0);
        if (pgid > 0)
            ::kill(-pgid, SIGKILL);
    }
}

void onFatalSignal(int sig) {
    killAllGroups();
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void installGuard() {
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    std::atexit(killAllGroups);
    for (int sig : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTERM, SIGINT, SIGHUP})
        std::signal(sig, onFatalSignal);
}

struct Spawned {
    pid_t pid = -1;
};

// fork + exec with everything the child needs prepared beforehand: between fork and exec only
// async-signal-safe calls are allowed in a threaded process.
Spawned forkExec(const QStringList& argv, const QString& logPath, int passFd = -1,
                 int passAs = -1) {
    const QString program = QStandardPaths::findExecutable(argv.value(0));
    if (program.isEmpty())
        throw std::runtime_error("program not found: " + argv.value(0).toStdString());
    std::vector<QByteArray> storage;
    storage.push_back(QFile::encodeName(program));
    for (qsizetype i = 1; i < argv.size(); ++i)
        storage.push_back(argv[i].toLocal8Bit());
    std::vector<char*> args;
    for (QByteArray& s : storage)
        args.push_back(s.data());
    args.push_back(nullptr);
    const QByteArray log = QFile::encodeName(logPath);
    const pid_t parent = ::getpid();

    const pid_t pid = ::fork();
    if (pid < 0)
        throw std::runtime_error("fork failed");
    if (pid == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127); // the test process died before prctl took effect
        const int devnull = ::open("/dev/null", O_RDONLY);
        if (devnull >= 0)
            ::dup2(devnull, 0);
        const int out = ::open(log.constData(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (out >= 0) {
            ::dup2(out, 1);
            ::dup2(out, 2);
        }
        if (passFd >= 0)
            ::dup2(passFd, passAs); // dup2 clears close-on-exec on the copy
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::execve(args[0], args.data(), environ);
        ::_exit(127);
    }
    ::setpgid(pid, pid); // also in the parent, so the group exists before we might kill it
    registerGroup(pid);
    return {pid};
}

void setEnv(const char* name, const QString& value) {
    qputenv(name, value.toLocal8Bit());
}

} // namespace

QString XSession::artifactsDir() {
    const QString dir = QStringLiteral(VALIMBRA_ARTIFACTS_DIR);
    QDir().mkpath(dir);
    return dir;
}

XSession::XSession(Options options)
    : m_options(options)
    , m_root(QDir::tempPath() + QLatin1String("/valimbra-xsession-XXXXXX")) {
    installGuard();
    if (!m_root.isValid())
        throw std::runtime_error("cannot create the session directory");
    for (const char* sub : {"home", "config", "data", "data/applications", "cache", "runtime"})
        QDir(m_root.path()).mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(m_root.path() + QLatin1String("/runtime"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // Nothing the tests start may read or write the user's own state.
    setEnv("HOME", home());
    setEnv("XDG_CONFIG_HOME", configHome());
    setEnv("XDG_DATA_HOME", dataHome());
    setEnv("XDG_CACHE_HOME", m_root.path() + QLatin1String("/cache"));
    setEnv("XDG_RUNTIME_DIR", m_root.path() + QLatin1String("/runtime"));
    setEnv("XDG_DATA_DIRS", QStringLiteral("/usr/local/share:/usr/share"));
    setEnv("XDG_CONFIG_DIRS", QStringLiteral("/etc/xdg"));
    setEnv("SHELL", QStringLiteral("/bin/sh"));
    // No session bus: launching must not try to reach (or autolaunch) one.
    setEnv("DBUS_SESSION_BUS_ADDRESS", QStringLiteral("unix:path=/nonexistent/bus"));
    qunsetenv("SESSION_MANAGER");
    qunsetenv("WAYLAND_DISPLAY");

    try {
        startServer();
        // The output's own monitor becomes the left half; the right half is covered by no screen.
        if (m_options.roomForSecondScreen &&
            !run({QStringLiteral("xrandr"), QStringLiteral("--setmonitor"),
                  QStringLiteral("valimbra-left"), QStringLiteral("1280/338x800/211+0+0"),
                  QStringLiteral("screen")}))
            throw std::runtime_error("xrandr cannot split the screen");
        if (m_options.windowManager) {
            pid_t wm = 0;
            if (m_options.xfwm4) {
                // xfwm4 keeps its settings in xfconf, which lives on a session bus of its own
                // here; focus-stealing prevention on, its compositor off (xcompmgr follows).
                wm =
                    spawn({QStringLiteral("dbus-run-session"), QStringLiteral("--"),
                           QStringLiteral("sh"), QStringLiteral("-c"),
                           QStringLiteral("xfconf-query -c xfwm4 -p /general/prevent_focus_stealing"
                                          " -n -t bool -s true; "
                                          "xfconf-query -c xfwm4 -p /general/use_compositing"
                                          " -n -t bool -s false; "
                                          "exec xfwm4 --compositor=off --sm-client-disable")});
            } else {
                wm = spawn({QStringLiteral("openbox"), QStringLiteral("--sm-disable")});
            }
            const xcb_atom_t check = atom("_NET_SUPPORTING_WM_CHECK");
            const xcb_atom_t clientList = atom("_NET_CLIENT_LIST");
            const bool ready = waitUntil(
                [&] {
                    auto prop = [&](xcb_atom_t a) {
                        auto* r = xcb_get_property_reply(
                            m_xcb, xcb_get_property(m_xcb, 0, m_rootWindow, a, XCB_ATOM_ANY, 0, 1),
                            nullptr);
                        const bool set = r && r->type != XCB_NONE;
                        free(r);
                        return set;
                    };
                    // xfwm4 publishes no client list until there is a client.
                    return prop(check) && (m_options.xfwm4 || prop(clientList));
                },
                10000);
            if (!ready || !isRunning(wm))
                throw std::runtime_error("the window manager did not come up");
        }
        if (m_options.compositor)
            waitForSelection("_NET_WM_CM_S0", spawn({QStringLiteral("xcompmgr")}), "xcompmgr");
        if (m_options.tray)
            waitForSelection(
                "_NET_SYSTEM_TRAY_S0",
                spawn({QStringLiteral("trayer"), QStringLiteral("--edge"),
                       m_options.trayAtTop ? QStringLiteral("top") : QStringLiteral("bottom"),
                       QStringLiteral("--align"),
                       m_options.trayAtTop ? QStringLiteral("center") : QStringLiteral("right"),
                       QStringLiteral("--SetDockType"), QStringLiteral("true"),
                       QStringLiteral("--expand"), QStringLiteral("true"),
                       QStringLiteral("--widthtype"), QStringLiteral("request"),
                       QStringLiteral("--height"), QStringLiteral("24")}),
                "trayer");
    } catch (...) {
        shutdown(); // the destructor does not run for a half-built object
        throw;
    }
}

void XSession::startServer() {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe failed");
    const Spawned server =
        forkExec({QStringLiteral("Xvfb"), QStringLiteral("-displayfd"), QStringLiteral("3"),
                  QStringLiteral("-screen"), QStringLiteral("0"),
                  m_options.roomForSecondScreen ? QStringLiteral("2560x800x24")
                                                : QStringLiteral("1280x800x24"),
                  QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset")},
                 artifactsDir() + QLatin1String("/Xvfb.log"), fds[1], 3);
    ::close(fds[1]);
    m_server = server.pid;
    m_children.append(server.pid);

    // Xvfb writes the display number it chose once it accepts connections.
    QByteArray number;
    QElapsedTimer timer;
    timer.start();
    while (!number.contains('\n') && timer.elapsed() < 15000) {
        pollfd p{fds[0], POLLIN, 0};
        if (::poll(&p, 1, 100) > 0) {
            char buf[32];
            const ssize_t n = ::read(fds[0], buf, sizeof buf);
            if (n <= 0)
                break;
            number.append(buf, n);
        }
    }
    ::close(fds[0]);
    if (!number.contains('\n'))
        throw std::runtime_error("Xvfb did not start");
    m_display = QLatin1Char(':') + QString::fromLatin1(number.trimmed());
    setEnv("DISPLAY", m_display);

    const QByteArray display = m_display.toLatin1();
    m_xcb = xcb_connect(display.constData(), nullptr);
    if (xcb_connection_has_error(m_xcb))
        throw std::runtime_error("cannot connect to Xvfb");
    m_rootWindow = xcb_setup_roots_iterator(xcb_get_setup(m_xcb)).data->root;
}

bool XSession::setSecondScreen(int width) const {
    const QString name = QStringLiteral("valimbra-right");
    const QString geometry =
        QStringLiteral("%1/%2x800/211+1280+0").arg(width).arg(width * 338 / 1280);
    return run(width > 0
                   ? QStringList{QStringLiteral("xrandr"), QStringLiteral("--setmonitor"), name,
                                 geometry, QStringLiteral("none")}
                   : QStringList{QStringLiteral("xrandr"), QStringLiteral("--delmonitor"), name})
        .has_value();
}

void XSession::waitForSelection(const char* selection, pid_t owner, const char* what) {
    if (!waitUntil([&] { return hasSelectionOwner(selection) || !isRunning(owner); }, 10000) ||
        !isRunning(owner))
        throw std::runtime_error(std::string(what) + " did not come up");
}

XSession::~XSession() {
    shutdown();
}

void XSession::shutdown() {
    // Clients first, the server last.
    for (qsizetype i = m_children.size() - 1; i >= 0; --i)
        if (m_children[i] != m_server)
            stop(m_children[i]);
    if (m_xcb) {
        xcb_disconnect(m_xcb);
        m_xcb = nullptr;
    }
    if (m_server > 0)
        stop(m_server);
    m_server = 0;
}

pid_t XSession::spawn(const QStringList& argv) {
    const QString log = artifactsDir() + QLatin1Char('/') + QFileInfo(argv.value(0)).fileName() +
                        QLatin1String(".log");
    const Spawned s = forkExec(argv, log);
    m_children.append(s.pid);
    m_programs.insert(s.pid, argv.value(0));
    return s.pid;
}

pid_t XSession::started(const QString& program) const {
    for (auto it = m_children.crbegin(); it != m_children.crend(); ++it)
        if (m_programs.value(*it) == program)
            return *it;
    return 0;
}

std::optional<int> XSession::waitForExit(pid_t pid, int timeoutMs) {
    if (!m_children.contains(pid))
        return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    do {
        int status = 0;
        if (::waitpid(pid, &status, WNOHANG) == pid) {
            m_children.removeAll(pid);
            ::kill(-pid, SIGKILL); // anything it left in its group
            unregisterGroup(pid);
            return status;
        }
        ::usleep(10000);
    } while (timer.elapsed() < timeoutMs);
    return std::nullopt;
}

bool XSession::isRunning(pid_t pid) {
    if (!m_children.contains(pid))
        return false;
    // Looks without reaping, so that waitForExit() still learns how it ended.
    siginfo_t info{};
    if (::waitid(P_PID, id_t(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
        return false;
    return info.si_pid == 0;
}

void XSession::stop(pid_t pid) {
    if (!m_children.contains(pid))
        return;
    m_children.removeAll(pid);
    ::kill(-pid, SIGTERM);
    QElapsedTimer timer;
    timer.start();
    int status = 0;
    bool reaped = false;
    while (timer.elapsed() < 3000) {
        const pid_t r = ::waitpid(pid, &status, WNOHANG);
        if (r == pid || (r < 0 && errno == ECHILD)) {
            reaped = true;
            break;
        }
        ::usleep(5000);
    }
    ::kill(-pid, SIGKILL); // whatever is left of the group (a shell's children, a hung program)
    if (!reaped)
        ::waitpid(pid, &status, 0);
    unregisterGroup(pid);
}

std::optional<QString> XSession::run(const QStringList& argv, int timeoutMs) const {
    QProcess p;
    p.setProgram(argv.value(0));
    p.setArguments(argv.mid(1));
    p.setProcessChannelMode(QProcess::SeparateChannels);
    p.start();
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished(1000);
        return std::nullopt;
    }
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        return std::nullopt;
    return QString::fromLocal8Bit(p.readAllStandardOutput());
}

bool XSession::waitUntil(const std::function<bool()>& condition, int timeoutMs) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        if (condition())
            return true;
        if (QCoreApplication::instance()) {
            QEventLoop loop;
            QTimer::singleShot(10, &loop, &QEventLoop::quit);
            loop.exec();
        } else {
            ::usleep(10000);
        }
    }
    return condition();
}

xcb_atom_t XSession::atom(const char* name) const {
    auto* r = xcb_intern_atom_reply(
        m_xcb, xcb_intern_atom(m_xcb, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t a = r ? r->atom : XCB_NONE;
    free(r);
    return a;
}

bool XSession::hasSelectionOwner(const char* selection) const {
    auto* r = xcb_get_selection_owner_reply(m_xcb, xcb_get_selection_owner(m_xcb, atom(selection)),
                                            nullptr);
    const bool owned = r && r->owner != XCB_NONE;
    free(r);
    return owned;
}

QList<xcb_window_t> XSession::clientWindows() const {
    QList<xcb_window_t> out;
    auto* r =
        xcb_get_property_reply(m_xcb,
                               xcb_get_property(m_xcb, 0, m_rootWindow, atom("_NET_CLIENT_LIST"),
                                                XCB_ATOM_WINDOW, 0, 4096),
                               nullptr);
    if (r && r->format == 32) {
        const auto* w = static_cast<const xcb_window_t*>(xcb_get_property_value(r));
        for (int i = 0; i < xcb_get_property_value_length(r) / 4; ++i)
            out.append(w[i]);
    }
    free(r);
    return out;
}

xcb_window_t XSession::activeWindow() const {
    xcb_window_t w = XCB_NONE;
    auto* r = xcb_get_property_reply(
        m_xcb,
        xcb_get_property(m_xcb, 0, m_rootWindow, atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 0, 1),
        nullptr);
    if (r && r->format == 32 && xcb_get_property_value_length(r) >= 4)
        w = *static_cast<const xcb_window_t*>(xcb_get_property_value(r));
    free(r);
    return w;
}

qint32 XSession::windowPid(xcb_window_t w) const {
    qint32 pid = 0;
    auto* r = xcb_get_property_reply(
        m_xcb, xcb_get_property(m_xcb, 0, w, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 0, 1),
        nullptr);
    if (r && r->format == 32 && xcb_get_property_value_length(r) >= 4)
        pid = *static_cast<const qint32*>(xcb_get_property_value(r));
    free(r);
    return pid;
}

QString XSession::windowClass(xcb_window_t w) const {
    QString out;
    auto* r = xcb_get_property_reply(
        m_xcb, xcb_get_property(m_xcb, 0, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), nullptr);
    if (r && r->format == 8) {
        const QByteArray v(static_cast<const char*>(xcb_get_property_value(r)),
                           xcb_get_property_value_length(r));
        out = QString::fromLatin1(v.split('\0').value(1));
    }
    free(r);
    return out;
}

std::optional<xcb_window_t> XSession::waitForWindowOfPid(pid_t pid, int timeoutMs) const {
    std::optional<xcb_window_t> found;
    waitUntil(
        [&] {
            for (xcb_window_t w : clientWindows())
                if (windowPid(w) == pid)
                    return (found = w).has_value();
            return false;
        },
        timeoutMs);
    return found;
}

std::optional<xcb_window_t> XSession::waitForWindowOfClass(const QString& wmClass,
                                                           int timeoutMs) const {
    std::optional<xcb_window_t> found;
    waitUntil(
        [&] {
            for (xcb_window_t w : clientWindows())
                if (windowClass(w) == wmClass)
                    return (found = w).has_value();
            return false;
        },
        timeoutMs);
    return found;
}

QString XSession::screenshot(const QString& name) const {
    const QString path = artifactsDir() + QLatin1Char('/') + name + QLatin1String(".png");
    run({QStringLiteral("import"), QStringLiteral("-window"), QStringLiteral("root"), path});
    return path;
}

} // namespace valimbra::testing
