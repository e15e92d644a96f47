#include "FakeWorkspace.h"

#include <QMutexLocker>
#include <QPainter>
#include <QPainterPath>

namespace valimbra {

FakeWorkspace::FakeWorkspace(QObject* parent)
    : Workspace(parent)
    , m_genericIcon(makeIcon(QColor(128, 128, 128))) {}

FakeWorkspace::~FakeWorkspace() = default;

QImage FakeWorkspace::makeIcon(const QColor& colour, int size) {
    QImage icon(size, size, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal inset = size / 16.0;
    QPainterPath shape;
    shape.addRoundedRect(QRectF(inset, inset, size - 2 * inset, size - 2 * inset), size / 5.0,
                         size / 5.0);
    painter.fillPath(shape, colour);
    return icon;
}

RunningApp FakeWorkspace::incomplete(const RunningApp& app) {
    RunningApp partial;
    partial.pid = app.pid;
    partial.activationPolicy = app.activationPolicy;
    return partial;
}

qsizetype FakeWorkspace::indexOfLocked(qint32 pid) const {
    for (qsizetype i = 0; i < m_running.size(); ++i) {
        if (m_running[i].pid == pid)
            return i;
    }
    return -1;
}

std::optional<FakeWorkspace::InstalledApp>
FakeWorkspace::installedLocked(const QString& bundleID) const {
    for (const InstalledApp& app : m_installed) {
        if (app.bundleID == bundleID)
            return app;
    }
    return std::nullopt;
}

void FakeWorkspace::deliver(std::function<void()> report) {
    if (m_reportScheduler)
        m_reportScheduler->post(this, std::move(report));
    else
        report();
}

RunningApp FakeWorkspace::launch(qint32 pid, const QString& bundleID, const QString& name,
                                 ActivationPolicy policy) {
    RunningApp app;
    app.pid = pid;
    app.bundleID = bundleID;
    app.name = name;
    app.activationPolicy = policy;
    {
        QMutexLocker lock(&m_mutex);
        if (const auto installed = installedLocked(bundleID)) {
            app.icon = installed->icon.isNull() ? m_genericIcon : installed->icon;
            app.appURL = installed->appURL;
        } else {
            app.icon = m_genericIcon;
        }
    }
    return launch(std::move(app));
}

RunningApp FakeWorkspace::launch(RunningApp app) {
    RunningApp emitted = app;
    {
        QMutexLocker lock(&m_mutex);
        Q_ASSERT_X(indexOfLocked(app.pid) < 0, "FakeWorkspace::launch", "pid already running");
        m_running.append(app);
        if (m_undescribable.value(app.pid) > 0)
            emitted = incomplete(app);
    }
    Q_EMIT applicationLaunched(emitted);
    return emitted;
}

void FakeWorkspace::addRunning(RunningApp app) {
    QMutexLocker lock(&m_mutex);
    Q_ASSERT_X(indexOfLocked(app.pid) < 0, "FakeWorkspace::addRunning", "pid already running");
    m_running.append(std::move(app));
}

bool FakeWorkspace::terminate(qint32 pid) {
    RunningApp gone;
    {
        QMutexLocker lock(&m_mutex);
        const qsizetype i = indexOfLocked(pid);
        if (i < 0)
            return false;
        gone = m_running.takeAt(i);
        if (m_frontmost == pid)
            m_frontmost.reset();
        m_undescribable.remove(pid);
    }
    Q_EMIT applicationTerminated(gone);
    return true;
}

bool FakeWorkspace::bringToFront(qint32 pid) {
    RunningApp app;
    {
        QMutexLocker lock(&m_mutex);
        const qsizetype i = indexOfLocked(pid);
        if (i < 0)
            return false;
        app = m_running[i];
        m_frontmost = pid;
    }
    Q_EMIT applicationActivated(app);
    return true;
}

void FakeWorkspace::reportActivation(const RunningApp& app) {
    Q_EMIT applicationActivated(app);
}

void FakeWorkspace::setUndescribable(qint32 pid, int attempts) {
    QMutexLocker lock(&m_mutex);
    if (attempts > 0)
        m_undescribable.insert(pid, attempts);
    else
        m_undescribable.remove(pid);
}

int FakeWorkspace::describeCount(qint32 pid) const {
    QMutexLocker lock(&m_mutex);
    return m_describeCounts.value(pid);
}

void FakeWorkspace::setFrontmost(std::optional<qint32> pid) {
    QMutexLocker lock(&m_mutex);
    m_frontmost = pid;
}

void FakeWorkspace::setOwnProcessId(qint32 pid) {
    QMutexLocker lock(&m_mutex);
    m_ownPid = pid;
}

void FakeWorkspace::install(InstalledApp app) {
    QMutexLocker lock(&m_mutex);
    for (InstalledApp& existing : m_installed) {
        if (existing.bundleID == app.bundleID) {
            existing = std::move(app);
            return;
        }
    }
    m_installed.append(std::move(app));
}

void FakeWorkspace::setIconForFile(const QString& path, const QImage& icon) {
    QMutexLocker lock(&m_mutex);
    m_fileIcons.insert(path, icon);
}

void FakeWorkspace::setLaunchesOnOpen(bool launches) {
    QMutexLocker lock(&m_mutex);
    m_launchesOnOpen = launches;
}

void FakeWorkspace::setActivationFollowsRequests(bool follows) {
    QMutexLocker lock(&m_mutex);
    m_activationFollowsRequests = follows;
}

void FakeWorkspace::setReportScheduler(Scheduler* scheduler) {
    QMutexLocker lock(&m_mutex);
    m_reportScheduler = scheduler;
}

qint32 FakeWorkspace::unusedPid() const {
    QMutexLocker lock(&m_mutex);
    qint32 pid = 20000;
    while (indexOfLocked(pid) >= 0 || pid == m_ownPid)
        ++pid;
    return pid;
}

std::optional<RunningApp> FakeWorkspace::runningApp(qint32 pid) const {
    QMutexLocker lock(&m_mutex);
    const qsizetype i = indexOfLocked(pid);
    if (i < 0)
        return std::nullopt;
    return m_running[i];
}

QList<FakeWorkspace::ActivateCall> FakeWorkspace::activateCalls() const {
    QMutexLocker lock(&m_mutex);
    return m_activateCalls;
}

QList<QUrl> FakeWorkspace::openedApplications() const {
    QMutexLocker lock(&m_mutex);
    return m_opened;
}

void FakeWorkspace::clearRecordedCalls() {
    QMutexLocker lock(&m_mutex);
    m_activateCalls.clear();
    m_opened.clear();
}

QList<RunningApp> FakeWorkspace::runningApplications() const {
    QMutexLocker lock(&m_mutex);
    QList<RunningApp> apps;
    apps.reserve(m_running.size());
    for (const RunningApp& app : m_running)
        apps.append(m_undescribable.value(app.pid) > 0 ? incomplete(app) : app);
    return apps;
}

std::optional<RunningApp> FakeWorkspace::describe(qint32 pid) const {
    QMutexLocker lock(&m_mutex);
    ++m_describeCounts[pid];
    const qsizetype i = indexOfLocked(pid);
    if (i < 0)
        return std::nullopt;
    if (auto it = m_undescribable.find(pid); it != m_undescribable.end()) {
        if (--it.value() <= 0)
            m_undescribable.erase(it);
        return incomplete(m_running[i]);
    }
    return m_running[i];
}

std::optional<RunningApp> FakeWorkspace::frontmostApplication() const {
    QMutexLocker lock(&m_mutex);
    if (!m_frontmost)
        return std::nullopt;
    const qsizetype i = indexOfLocked(*m_frontmost);
    if (i < 0)
        return std::nullopt;
    return m_running[i];
}

qint32 FakeWorkspace::ownProcessId() const {
    QMutexLocker lock(&m_mutex);
    return m_ownPid;
}

bool FakeWorkspace::activate(qint32 pid, bool allWindows) {
    bool follows;
    {
        QMutexLocker lock(&m_mutex);
        m_activateCalls.append({pid, allWindows});
        if (indexOfLocked(pid) < 0)
            return false;
        follows = m_activationFollowsRequests;
    }
    if (follows)
        deliver([this, pid] { bringToFront(pid); });
    return true;
}

void FakeWorkspace::openApplication(const QUrl& appURL) {
    std::optional<InstalledApp> target;
    std::optional<qint32> runningPid;
    {
        QMutexLocker lock(&m_mutex);
        m_opened.append(appURL);
        if (!m_launchesOnOpen)
            return;
        for (const InstalledApp& app : m_installed) {
            if (app.appURL == appURL)
                target = app;
        }
        if (!target)
            return;
        for (const RunningApp& app : m_running) {
            if (app.bundleID == target->bundleID) {
                runningPid = app.pid;
                break;
            }
        }
    }
    // Opening a running application focuses it, as desktop launchers do.
    deliver([this, target = *target, runningPid] {
        qint32 pid;
        if (runningPid && isRunning(*runningPid)) {
            pid = *runningPid;
        } else {
            pid = unusedPid();
            launch(pid, target.bundleID, target.name);
        }
        bringToFront(pid);
    });
}

QImage FakeWorkspace::iconForFile(const QString& path) const {
    QMutexLocker lock(&m_mutex);
    if (const auto it = m_fileIcons.constFind(path); it != m_fileIcons.cend())
        return *it;
    for (const InstalledApp& app : m_installed) {
        if (app.appURL.toLocalFile() == path && !app.icon.isNull())
            return app.icon;
    }
    return m_genericIcon;
}

std::optional<QUrl> FakeWorkspace::urlForApplication(const QString& bundleID) const {
    QMutexLocker lock(&m_mutex);
    if (const auto app = installedLocked(bundleID))
        return app->appURL;
    return std::nullopt;
}

QImage FakeWorkspace::genericApplicationIcon() const {
    QMutexLocker lock(&m_mutex);
    return m_genericIcon;
}

QList<InstalledApplication> FakeWorkspace::installedApplications() const {
    QMutexLocker lock(&m_mutex);
    QList<InstalledApplication> apps;
    for (const InstalledApp& app : m_installed)
        apps.append({app.bundleID, app.name, app.appURL});
    return apps;
}

std::optional<InstalledApplication> FakeWorkspace::applicationAt(const QUrl& file) const {
    QMutexLocker lock(&m_mutex);
    for (const InstalledApp& app : m_installed)
        if (app.appURL == file)
            return InstalledApplication{app.bundleID, app.name, app.appURL};
    return std::nullopt;
}

} // namespace valimbra
