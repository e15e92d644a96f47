#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <xcb/xcb.h>

#include <functional>
#include <optional>
#include <sys/types.h>

namespace valimbra::testing {

// A private X session for integration tests: Xvfb on a free display, openbox, xcompmgr and
// trayer, with HOME and the XDG directories pointing into a temporary directory. The process
// environment (DISPLAY, HOME, XDG_*) is switched to the session, so programs started afterwards
// (including a QGuiApplication) join it. Every process started through it runs in its own
// process group and is stopped by pid when the session ends, and also when the test process
// aborts or is killed (signal handlers and the parent-death signal).
class XSession {
public:
    struct Options {
        bool windowManager = true;
        bool compositor = true;
        bool tray = true;
        bool trayAtTop = false; // the tray along the top edge, centred, instead of bottom right
        // xfwm4 (focus-stealing prevention on) instead of openbox.
        bool xfwm4 = false;
        // A framebuffer twice as wide with one 1280 x 800 screen on its left half, so that
        // setSecondScreen() can plug a second one in beside it.
        bool roomForSecondScreen = false;
    };

    // Throws std::runtime_error when a part of the session does not come up.
    explicit XSession(Options options);
    ~XSession();
    XSession(const XSession&) = delete;
    XSession& operator=(const XSession&) = delete;

    QString display() const { return m_display; }
    QString home() const { return m_root.path() + QLatin1String("/home"); }
    QString configHome() const { return m_root.path() + QLatin1String("/config"); }
    QString dataHome() const { return m_root.path() + QLatin1String("/data"); }
    xcb_connection_t* xcb() const { return m_xcb; }
    xcb_window_t rootWindow() const { return m_rootWindow; }

    // Starts a program (looked up on PATH) in its own process group; its output goes to
    // <name>.log in the artifacts directory. Returns its pid.
    pid_t spawn(const QStringList& argv);
    // SIGTERM to its process group, a bounded wait, then SIGKILL. Safe on exited processes.
    void stop(pid_t pid);
    bool isRunning(pid_t pid);
    // Waits for a started program to end by itself; its wait status, or nothing on a timeout.
    std::optional<int> waitForExit(pid_t pid, int timeoutMs);
    // The newest still-registered process started as `program` (0: none).
    pid_t started(const QString& program) const;
    // Runs a short command to completion (xdotool, import) and returns its standard output,
    // or nothing when it failed or timed out.
    std::optional<QString> run(const QStringList& argv, int timeoutMs = 10000) const;

    // Polls `condition` until it holds or `timeoutMs` pass, running the Qt event loop (when
    // there is an application) between polls. Returns the last result.
    static bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 5000);

    // X state as the window manager publishes it, read on the session's own connection.
    QList<xcb_window_t> clientWindows() const;
    xcb_window_t activeWindow() const;
    qint32 windowPid(xcb_window_t w) const;
    QString windowClass(xcb_window_t w) const; // the WM_CLASS class part
    xcb_atom_t atom(const char* name) const;
    bool hasSelectionOwner(const char* selection) const;
    // The first managed window of a process / with a WM_CLASS class, waiting for it to appear.
    std::optional<xcb_window_t> waitForWindowOfPid(pid_t pid, int timeoutMs = 10000) const;
    std::optional<xcb_window_t> waitForWindowOfClass(const QString& wmClass,
                                                     int timeoutMs = 10000) const;

    // Plugs a second screen, `width` x 800, in to the right of the first, or takes it out again
    // with 0; as RandR monitors, since Xvfb has one output and cannot add another.
    bool setSecondScreen(int width) const;

    // Saves the screen as <name>.png in the artifacts directory and returns the path.
    QString screenshot(const QString& name) const;
    static QString artifactsDir();

private:
    void startServer();
    void shutdown();
    void waitForSelection(const char* selection, pid_t owner, const char* what);

    Options m_options;
    QTemporaryDir m_root;
    QString m_display;
    xcb_connection_t* m_xcb = nullptr;
    xcb_window_t m_rootWindow = XCB_NONE;
    pid_t m_server = 0;
    QList<pid_t> m_children; // newest last; stopped in reverse order
    QHash<pid_t, QString> m_programs;
};

} // namespace valimbra::testing
