#pragma once

#include "platform/Scheduler.h"
#include "platform/Workspace.h"

#include <QHash>
#include <QMutex>

namespace valimbra {

// A scriptable desktop for tests and the demo mode. The test plays the user and the other
// applications: it launches, terminates and brings applications to the front (each emits the
// matching Workspace signal at once, on the calling thread), and reads back what the program
// asked for (activate() and openApplication() calls are recorded).
//
// The program's own requests behave like a cooperative desktop: activate() brings a running
// application to the front and openApplication() starts an installed one, each reporting what
// happened through the signals. Those reports arrive on the report scheduler's next turn when
// one is set (as a real desktop reports them later), otherwise at once.
//
// describe() may be called from any thread; everything else is for the main thread.
class FakeWorkspace final : public Workspace {
    Q_OBJECT
public:
    struct ActivateCall {
        qint32 pid = 0;
        bool allWindows = false;
        bool operator==(const ActivateCall&) const = default;
    };

    // An application file the desktop knows about (what openApplication() can start).
    struct InstalledApp {
        QString bundleID;
        QString name;
        QUrl appURL;
        QImage icon;
    };

    explicit FakeWorkspace(QObject* parent = nullptr);
    ~FakeWorkspace() override;

    // ---- Driving the desktop ---------------------------------------------------------------

    // Starts a process and emits applicationLaunched. The icon and URL come from the installed
    // application with that bundle identifier, else the generic icon and no URL. Returns the
    // record as emitted (incomplete when the pid was made undescribable beforehand).
    RunningApp launch(qint32 pid, const QString& bundleID, const QString& name,
                      ActivationPolicy policy = ActivationPolicy::Regular);
    // The same with every field chosen by the caller (no bundle ID, a particular icon, ...).
    RunningApp launch(RunningApp app);
    // A process that was already running before anyone watched: no signal.
    void addRunning(RunningApp app);
    // Ends a process and emits applicationTerminated with its last record. False (and no signal)
    // when the pid is not running.
    bool terminate(qint32 pid);
    // The user brings a running application to the front: it becomes frontmost and
    // applicationActivated is emitted, even when it already was frontmost. False when the pid is
    // not running.
    bool bringToFront(qint32 pid);
    // Emits applicationActivated for a record of the caller's choosing without changing any
    // state (reports the desktop would send about processes it describes oddly).
    void reportActivation(const RunningApp& app);

    // The next `attempts` describe() calls for `pid` return it without a name or bundle
    // identifier (and without icon and URL), as a freshly mapped X client may look. Applies to a
    // pid launched later as well; a launch while attempts remain emits the incomplete record.
    void setUndescribable(qint32 pid, int attempts);
    // How many times describe() was asked about `pid`.
    int describeCount(qint32 pid) const;

    void setFrontmost(std::optional<qint32> pid); // no signal
    void setOwnProcessId(qint32 pid);
    void install(InstalledApp app);
    void setIconForFile(const QString& path, const QImage& icon);
    // When false, openApplication() only records the call.
    void setLaunchesOnOpen(bool launches);
    // When false, activate() only records the call.
    void setActivationFollowsRequests(bool follows);
    // Where reports caused by activate() and openApplication() are posted; null = emit at once.
    void setReportScheduler(Scheduler* scheduler);

    // A pid not used by any running process, for launches the test does not number itself.
    qint32 unusedPid() const;
    std::optional<RunningApp> runningApp(qint32 pid) const; // the full record, ignoring describe
    bool isRunning(qint32 pid) const { return runningApp(pid).has_value(); }

    // ---- What the program asked for ---------------------------------------------------------

    QList<ActivateCall> activateCalls() const;
    QList<QUrl> openedApplications() const;
    void clearRecordedCalls();

    // A rounded square of one colour: distinct, recognisable icons for tests and the demo.
    static QImage makeIcon(const QColor& colour, int size = 64);

    // ---- Workspace ---------------------------------------------------------------------------

    QList<RunningApp> runningApplications() const override;
    std::optional<RunningApp> describe(qint32 pid) const override;
    std::optional<RunningApp> frontmostApplication() const override;
    qint32 ownProcessId() const override;
    bool activate(qint32 pid, bool allWindows) override;
    void openApplication(const QUrl& appURL) override;
    QImage iconForFile(const QString& path) const override;
    std::optional<QUrl> urlForApplication(const QString& bundleID) const override;
    QImage genericApplicationIcon() const override;
    QList<InstalledApplication> installedApplications() const override;
    std::optional<InstalledApplication> applicationAt(const QUrl& file) const override;

private:
    static RunningApp incomplete(const RunningApp& app);
    qsizetype indexOfLocked(qint32 pid) const;
    std::optional<InstalledApp> installedLocked(const QString& bundleID) const;
    void deliver(std::function<void()> report);

    mutable QMutex m_mutex;
    QList<RunningApp> m_running; // process-list order: order of launch
    std::optional<qint32> m_frontmost;
    qint32 m_ownPid = 1;
    mutable QHash<qint32, int> m_undescribable; // pid -> incomplete answers still to give
    mutable QHash<qint32, int> m_describeCounts;
    QList<InstalledApp> m_installed;
    QHash<QString, QImage> m_fileIcons;
    QImage m_genericIcon;
    QList<ActivateCall> m_activateCalls;
    QList<QUrl> m_opened;
    bool m_launchesOnOpen = true;
    bool m_activationFollowsRequests = true;
    Scheduler* m_reportScheduler = nullptr;
};

} // namespace valimbra
