#include "X11Workspace.h"

#include "DesktopEntries.h"
#include "IconLoader.h"
#include "X11Connection.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHash>
#include <QIcon>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QThread>

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <unistd.h>

namespace valimbra::x11 {
namespace {

enum class WindowKind { Normal, Accessory, Other };

struct WindowInfo {
    xcb_window_t id = XCB_NONE;
    qint32 pid = 0;
    QString wmInstance;
    QString wmClass;
    QString title;
    QString applicationId;
    WindowKind kind = WindowKind::Other;
    quint64 order = 0;      // when it was first seen
    quint64 lastActive = 0; // when it was last the active window (0: never)
};

struct ProcessInfo {
    QString launchedDesktopFile;
    QStringList executables;
    quint64 firstSeen = 0;
    bool matched = false;   // `entry` is up to date with the windows ...
    quint64 generation = 0; // ... and with this state of the installed entries
    std::optional<DesktopEntry> entry;
    QImage icon; // decoded icon, kept for reports
};

// GIO_LAUNCHED_DESKTOP_FILE is inherited by everything the launched program starts, so it is
// trusted only for the process GIO launched (GIO_LAUNCHED_DESKTOP_FILE_PID).
QString launchedDesktopFile(qint32 pid) {
    QFile f(QStringLiteral("/proc/%1/environ").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QByteArray file;
    QByteArray launchPid;
    for (const QByteArray& kv : f.readAll().split('\0')) {
        if (kv.startsWith("GIO_LAUNCHED_DESKTOP_FILE="))
            file = kv.mid(26);
        else if (kv.startsWith("GIO_LAUNCHED_DESKTOP_FILE_PID="))
            launchPid = kv.mid(30);
    }
    if (file.isEmpty() || (!launchPid.isEmpty() && launchPid.toLongLong() != pid))
        return {};
    return QFile::decodeName(file);
}

QStringList executablesOf(qint32 pid) {
    QStringList out;
    const QString exe = QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).symLinkTarget();
    if (!exe.isEmpty())
        out << QFileInfo(exe).fileName();
    QFile f(QStringLiteral("/proc/%1/cmdline").arg(pid));
    if (f.open(QIODevice::ReadOnly)) {
        const QByteArray argv0 = f.readAll().split('\0').value(0);
        const QString name = QFileInfo(QFile::decodeName(argv0)).fileName();
        if (!name.isEmpty() && !out.contains(name))
            out << name;
    }
    return out;
}

} // namespace

struct X11Workspace::Private {
    X11Workspace* q;
    X11Connection& x;
    DesktopEntryIndex index;
    IconLoader icons;
    const qint32 ownPid = qint32(::getpid());
    int listenerId = 0;

    // Model, shared with queries from other threads.
    mutable QMutex mutex;
    QHash<xcb_window_t, WindowInfo> windows; // managed windows of other processes
    QSet<xcb_window_t> ownWindows;
    QSet<xcb_window_t> unattributed; // no process could be told; not asked again
    mutable QHash<qint32, ProcessInfo> processes;
    quint64 counter = 0;

    // GUI-thread state.
    QSet<qint32> reportedPids;
    QHash<qint32, RunningApp> lastKnown; // what terminations report
    qint32 lastActivePid = 0;

    Private(X11Workspace* owner, X11Connection& conn, const QStringList& dataDirs)
        : q(owner)
        , x(conn)
        , index(dataDirs)
        , icons(dataDirs, QIcon::themeName()) {}

    bool onEvent(xcb_generic_event_t* ev);
    void syncClientList();
    void syncActiveWindow();
    void refreshWindow(xcb_window_t w);
    QList<WindowInfo> queryWindows(const QList<xcb_window_t>& ids);
    void storeWindow(const WindowInfo& info);
    void reportChanges();

    // Locked helpers.
    QList<qint32> pidsLocked() const;
    QList<WindowInfo> windowsOfLocked(qint32 pid) const;
    ProcessInfo& processLocked(qint32 pid) const;
    std::optional<RunningApp> describeLocked(qint32 pid) const;
    RunningApp ownApp() const;

    // Describes and, when asked, fills in the icon (decoding outside the lock).
    std::optional<RunningApp> describe(qint32 pid, bool loadIcon) const;
    QImage iconFor(qint32 pid, const std::optional<DesktopEntry>& entry,
                   xcb_window_t iconWindow) const;
};

X11Workspace::X11Workspace(X11Connection& x, QStringList dataDirs, QObject* parent)
    : Workspace(parent)
    , d(std::make_unique<Private>(
          this, x, dataDirs.isEmpty() ? DesktopEntryIndex::defaultDataDirs() : dataDirs)) {
    qRegisterMetaType<valimbra::RunningApp>();
    x.addRootEventMask(XCB_EVENT_MASK_PROPERTY_CHANGE);
    d->listenerId = x.addListener([this](xcb_generic_event_t* ev) { return d->onEvent(ev); });
    d->syncClientList();
    // What is already running is not a launch.
    {
        QMutexLocker lock(&d->mutex);
        const auto pids = d->pidsLocked();
        d->reportedPids = QSet<qint32>(pids.begin(), pids.end());
        for (qint32 pid : pids)
            if (auto app = d->describeLocked(pid))
                d->lastKnown.insert(pid, *app);
    }
    if (auto active = x.windowProperty(x.root(), Atom::NetActiveWindow)) {
        QMutexLocker lock(&d->mutex);
        if (auto it = d->windows.find(*active); it != d->windows.end()) {
            it->lastActive = ++d->counter;
            d->lastActivePid = it->pid;
        }
    }
}

X11Workspace::~X11Workspace() {
    d->x.removeListener(d->listenerId);
}

bool X11Workspace::Private::onEvent(xcb_generic_event_t* ev) {
    if ((ev->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto* pn = reinterpret_cast<xcb_property_notify_event_t*>(ev);
    if (pn->window == x.root()) {
        if (pn->atom == x.atom(Atom::NetClientList)) {
            syncClientList();
            reportChanges();
        } else if (pn->atom == x.atom(Atom::NetActiveWindow)) {
            syncActiveWindow();
        }
        return false;
    }
    // Titles change all the time (terminals retitle per command) and only name applications
    // that offer nothing better, so they are read when a window appears and not followed.
    const auto relevant = [this](xcb_atom_t a) {
        return a == XCB_ATOM_WM_CLASS || a == XCB_ATOM_WM_TRANSIENT_FOR ||
               a == x.atom(Atom::NetWmPid) || a == x.atom(Atom::NetWmWindowType) ||
               a == x.atom(Atom::NetWmState) || a == x.atom(Atom::GtkApplicationId) ||
               a == x.atom(Atom::KdeNetWmDesktopFile) || a == x.atom(Atom::NetWmIcon);
    };
    bool known = false;
    {
        QMutexLocker lock(&mutex);
        known = windows.contains(pn->window) || unattributed.contains(pn->window);
    }
    if (known && relevant(pn->atom)) {
        refreshWindow(pn->window);
        reportChanges();
    }
    return false;
}

QList<WindowInfo> X11Workspace::Private::queryWindows(const QList<xcb_window_t>& ids) {
    struct Pending {
        xcb_window_t w;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_property_cookie_t pid, wmClass, type, state, transient, gtkId, kdeFile, name;
    };
    std::vector<Pending> pending;
    pending.reserve(size_t(ids.size()));
    xcb_connection_t* c = x.xcb();
    for (xcb_window_t w : ids) {
        pending.push_back({w, xcb_get_window_attributes(c, w),
                           x.requestProperty(w, x.atom(Atom::NetWmPid), 1),
                           x.requestProperty(w, XCB_ATOM_WM_CLASS, 256),
                           x.requestProperty(w, x.atom(Atom::NetWmWindowType), 32),
                           x.requestProperty(w, x.atom(Atom::NetWmState), 32),
                           x.requestProperty(w, XCB_ATOM_WM_TRANSIENT_FOR, 1),
                           x.requestProperty(w, x.atom(Atom::GtkApplicationId), 256),
                           x.requestProperty(w, x.atom(Atom::KdeNetWmDesktopFile), 256),
                           x.requestProperty(w, x.atom(Atom::NetWmName), 256)});
    }
    QList<WindowInfo> out;
    for (const Pending& p : pending) {
        xcb_generic_error_t* err = nullptr;
        auto* attrs = xcb_get_window_attributes_reply(c, p.attributes, &err);
        const bool alive = attrs != nullptr;
        free(attrs);
        free(err);
        // Collect every reply even for a vanished window, so nothing is left queued.
        const auto pid = x.property(p.pid);
        const auto wmClass = x.property(p.wmClass);
        const auto type = x.property(p.type);
        const auto state = x.property(p.state);
        const auto transient = x.property(p.transient);
        const auto gtkId = x.property(p.gtkId);
        const auto kdeFile = x.property(p.kdeFile);
        const auto name = x.property(p.name);
        if (!alive)
            continue; // destroyed while we asked: the next client list will not have it

        WindowInfo info;
        info.id = p.w;
        if (pid && !pid->cardinals().empty())
            info.pid = qint32(pid->cardinals().front());
        if (info.pid <= 0)
            info.pid = x.clientPid(p.w);
        if (wmClass) {
            const QStringList parts = wmClass->texts();
            info.wmInstance = parts.value(0);
            info.wmClass = parts.value(1);
        }
        if (gtkId)
            info.applicationId = gtkId->text();
        if (info.applicationId.isEmpty() && kdeFile)
            info.applicationId = kdeFile->text();
        if (name)
            info.title = name->text();

        const bool isTransient = transient && !transient->cardinals().empty() &&
                                 transient->cardinals().front() != XCB_NONE;
        bool skipTaskbar = false;
        if (state)
            for (quint32 a : state->cardinals())
                skipTaskbar |= a == x.atom(Atom::NetWmStateSkipTaskbar);
        xcb_atom_t windowType = XCB_NONE;
        if (type) {
            static const Atom known[] = {Atom::NetWmWindowTypeNormal,  Atom::NetWmWindowTypeDialog,
                                         Atom::NetWmWindowTypeUtility, Atom::NetWmWindowTypeToolbar,
                                         Atom::NetWmWindowTypeDock,    Atom::NetWmWindowTypeDesktop,
                                         Atom::NetWmWindowTypeSplash,  Atom::NetWmWindowTypeMenu};
            // The first type this backend knows wins (the list is in order of preference).
            for (quint32 a : type->cardinals()) {
                if (std::any_of(std::begin(known), std::end(known),
                                [&](Atom k) { return x.atom(k) == a; })) {
                    windowType = a;
                    break;
                }
            }
        }
        if (windowType == XCB_NONE)
            windowType =
                x.atom(isTransient ? Atom::NetWmWindowTypeDialog : Atom::NetWmWindowTypeNormal);
        if (skipTaskbar || windowType == x.atom(Atom::NetWmWindowTypeUtility) ||
            windowType == x.atom(Atom::NetWmWindowTypeToolbar) ||
            windowType == x.atom(Atom::NetWmWindowTypeDock))
            info.kind = WindowKind::Accessory;
        else if (windowType == x.atom(Atom::NetWmWindowTypeNormal) ||
                 (windowType == x.atom(Atom::NetWmWindowTypeDialog) && !isTransient))
            info.kind = WindowKind::Normal;
        else
            info.kind = WindowKind::Other;
        out.append(info);
    }
    return out;
}

void X11Workspace::Private::storeWindow(const WindowInfo& info) {
    // Caller holds the mutex.
    if (info.pid == ownPid) {
        windows.remove(info.id);
        ownWindows.insert(info.id);
        return;
    }
    if (info.pid <= 0) {
        windows.remove(info.id);
        unattributed.insert(info.id);
        return;
    }
    unattributed.remove(info.id);
    WindowInfo merged = info;
    if (auto it = windows.constFind(info.id); it != windows.cend()) {
        merged.order = it->order;
        merged.lastActive = it->lastActive;
        if (it->pid != info.pid)
            processes[it->pid].matched = false;
    } else {
        merged.order = ++counter;
    }
    windows.insert(info.id, merged);
    ProcessInfo& p = processLocked(info.pid);
    p.matched = false;
}

ProcessInfo& X11Workspace::Private::processLocked(qint32 pid) const {
    auto it = processes.find(pid);
    if (it == processes.end()) {
        ProcessInfo p;
        p.launchedDesktopFile = launchedDesktopFile(pid);
        p.executables = executablesOf(pid);
        it = processes.insert(pid, p);
    }
    return *it;
}

void X11Workspace::Private::syncClientList() {
    const auto list = x.property(x.root(), Atom::NetClientList, 1u << 16);
    QList<xcb_window_t> current;
    if (list)
        for (quint32 w : list->cardinals())
            current.append(w);
    const QSet<xcb_window_t> currentSet(current.begin(), current.end());

    QList<xcb_window_t> added;
    {
        QMutexLocker lock(&mutex);
        for (auto it = windows.begin(); it != windows.end();)
            it = currentSet.contains(it.key()) ? std::next(it) : windows.erase(it);
        for (auto it = ownWindows.begin(); it != ownWindows.end();)
            it = currentSet.contains(*it) ? std::next(it) : ownWindows.erase(it);
        for (auto it = unattributed.begin(); it != unattributed.end();)
            it = currentSet.contains(*it) ? std::next(it) : unattributed.erase(it);
        for (xcb_window_t w : current)
            if (!windows.contains(w) && !ownWindows.contains(w) && !unattributed.contains(w))
                added.append(w);
        // Forget processes without windows (a pid may be reused later).
        QSet<qint32> alive;
        for (const WindowInfo& w : std::as_const(windows))
            alive.insert(w.pid);
        for (auto it = processes.begin(); it != processes.end();)
            it = alive.contains(it.key()) ? std::next(it) : processes.erase(it);
    }
    for (xcb_window_t w : added)
        x.selectInput(w, XCB_EVENT_MASK_PROPERTY_CHANGE);
    const QList<WindowInfo> infos = queryWindows(added);
    QMutexLocker lock(&mutex);
    for (const WindowInfo& info : infos)
        storeWindow(info);
}

void X11Workspace::Private::refreshWindow(xcb_window_t w) {
    const QList<WindowInfo> infos = queryWindows({w});
    QMutexLocker lock(&mutex);
    if (infos.isEmpty())
        return; // gone; the client list change that follows removes it
    if (auto it = windows.find(w); it != windows.end())
        processes[it->pid].icon = QImage(); // the icon may come from _NET_WM_ICON
    storeWindow(infos.front());
}

void X11Workspace::Private::reportChanges() {
    QSet<qint32> now;
    {
        QMutexLocker lock(&mutex);
        const auto pids = pidsLocked();
        now = QSet<qint32>(pids.begin(), pids.end());
    }
    QList<qint32> gone;
    for (qint32 pid : std::as_const(reportedPids))
        if (!now.contains(pid))
            gone.append(pid);
    QList<qint32> born;
    {
        QMutexLocker lock(&mutex);
        for (qint32 pid : pidsLocked())
            if (!reportedPids.contains(pid))
                born.append(pid);
    }
    reportedPids = now;
    for (qint32 pid : gone) {
        RunningApp app = lastKnown.take(pid);
        app.pid = pid;
        if (lastActivePid == pid)
            lastActivePid = 0;
        Q_EMIT q->applicationTerminated(app);
    }
    for (qint32 pid : born) {
        if (auto app = describe(pid, true)) {
            lastKnown.insert(pid, *app);
            Q_EMIT q->applicationLaunched(*app);
        }
    }
    // A process whose windows changed what kind of application it is (a splash screen or a
    // dialog first, its main window later) counts as launched when it becomes regular and as
    // terminated when it stops being regular.
    for (qint32 pid : std::as_const(reportedPids)) {
        if (born.contains(pid))
            continue;
        const auto known = lastKnown.constFind(pid);
        if (known == lastKnown.cend())
            continue;
        const bool wasRegular = known->activationPolicy == ActivationPolicy::Regular;
        const auto app = describe(pid, false);
        if (!app || (app->activationPolicy == ActivationPolicy::Regular) == wasRegular)
            continue;
        if (wasRegular) {
            RunningApp before = *known;
            before.pid = pid;
            lastKnown.insert(pid, *app);
            Q_EMIT q->applicationTerminated(before);
        } else if (auto full = describe(pid, true)) {
            lastKnown.insert(pid, *full);
            Q_EMIT q->applicationLaunched(*full);
        }
    }
    if (!born.isEmpty())
        syncActiveWindow(); // the new window may have become active before we knew it
}

void X11Workspace::Private::syncActiveWindow() {
    const auto active = x.windowProperty(x.root(), Atom::NetActiveWindow);
    qint32 pid = 0;
    {
        QMutexLocker lock(&mutex);
        if (!active)
            return;
        auto it = windows.find(*active);
        if (it == windows.end())
            return; // ours, unmanaged, or not known yet
        it->lastActive = ++counter;
        pid = it->pid;
    }
    if (pid == lastActivePid || !reportedPids.contains(pid))
        return;
    lastActivePid = pid;
    if (auto app = describe(pid, false))
        Q_EMIT q->applicationActivated(*app);
}

QList<qint32> X11Workspace::Private::pidsLocked() const {
    QList<QPair<quint64, qint32>> firstSeen;
    QHash<qint32, quint64> first;
    for (const WindowInfo& w : windows) {
        auto it = first.find(w.pid);
        if (it == first.end())
            first.insert(w.pid, w.order);
        else
            *it = std::min(*it, w.order);
    }
    for (auto it = first.cbegin(); it != first.cend(); ++it)
        firstSeen.append({it.value(), it.key()});
    std::sort(firstSeen.begin(), firstSeen.end());
    QList<qint32> out;
    for (const auto& [_, pid] : firstSeen)
        out.append(pid);
    return out;
}

QList<WindowInfo> X11Workspace::Private::windowsOfLocked(qint32 pid) const {
    QList<WindowInfo> out;
    for (const WindowInfo& w : windows)
        if (w.pid == pid)
            out.append(w);
    std::sort(out.begin(), out.end(),
              [](const WindowInfo& a, const WindowInfo& b) { return a.order < b.order; });
    return out;
}

std::optional<RunningApp> X11Workspace::Private::describeLocked(qint32 pid) const {
    const QList<WindowInfo> ws = windowsOfLocked(pid);
    if (ws.isEmpty())
        return std::nullopt;
    ProcessInfo& proc = processLocked(pid);
    ProcessIdentity who;
    who.launchedDesktopFile = proc.launchedDesktopFile;
    who.executables = proc.executables;
    for (const WindowInfo& w : ws) {
        if (who.applicationId.isEmpty())
            who.applicationId = w.applicationId;
        if (who.wmClass.isEmpty() && who.wmInstance.isEmpty()) {
            who.wmClass = w.wmClass;
            who.wmInstance = w.wmInstance;
        }
    }
    const quint64 generation = index.generation();
    if (!proc.matched || proc.generation != generation) {
        proc.entry = index.match(who);
        proc.matched = true;
        proc.generation = generation;
        proc.icon = QImage();
    }
    RunningApp app;
    app.pid = pid;
    const QString bundle = bundleIdentifierFor(proc.entry, who);
    if (!bundle.isEmpty())
        app.bundleID = bundle;
    if (proc.entry)
        app.appURL = QUrl::fromLocalFile(proc.entry->path);
    app.name = displayNameFor(proc.entry, who, ws.front().title);
    const bool anyNormal = std::any_of(
        ws.begin(), ws.end(), [](const WindowInfo& w) { return w.kind == WindowKind::Normal; });
    const bool allAccessory = std::all_of(
        ws.begin(), ws.end(), [](const WindowInfo& w) { return w.kind == WindowKind::Accessory; });
    app.activationPolicy = anyNormal      ? ActivationPolicy::Regular
                           : allAccessory ? ActivationPolicy::Accessory
                                          : ActivationPolicy::Prohibited;
    app.icon = proc.icon;
    return app;
}

RunningApp X11Workspace::Private::ownApp() const {
    RunningApp app;
    app.pid = ownPid;
    // Known by the desktop id the program declares, so our windows resolve to the installed entry.
    const QString id = QGuiApplication::desktopFileName();
    app.bundleID = id.isEmpty() ? QStringLiteral("valimbra") : id;
    app.name = QGuiApplication::applicationDisplayName();
    app.activationPolicy = ActivationPolicy::Accessory;
    if (auto e = index.byId(*app.bundleID))
        app.appURL = QUrl::fromLocalFile(e->path);
    return app;
}

QImage X11Workspace::Private::iconFor(qint32, const std::optional<DesktopEntry>& entry,
                                      xcb_window_t iconWindow) const {
    QImage img;
    if (entry && !entry->icon.isEmpty())
        img = icons.load(entry->icon);
    if (img.isNull() && iconWindow != XCB_NONE) {
        if (auto p = x.property(iconWindow, Atom::NetWmIcon, 1u << 20)) {
            const auto data = p->cardinals();
            img = IconLoader::fromNetWmIcon(data, icons.size());
        }
    }
    return img.isNull() ? icons.generic() : img;
}

std::optional<RunningApp> X11Workspace::Private::describe(qint32 pid, bool loadIcon) const {
    std::optional<RunningApp> app;
    std::optional<DesktopEntry> entry;
    xcb_window_t iconWindow = XCB_NONE;
    {
        QMutexLocker lock(&mutex);
        if (pid == ownPid)
            return ownApp();
        app = describeLocked(pid);
        if (!app || !app->icon.isNull() || !loadIcon)
            return app;
        entry = processes[pid].entry;
        iconWindow = windowsOfLocked(pid).front().id;
    }
    app->icon = iconFor(pid, entry, iconWindow);
    QMutexLocker lock(&mutex);
    if (auto it = processes.find(pid); it != processes.end())
        it->icon = app->icon;
    return app;
}

QList<RunningApp> X11Workspace::runningApplications() const {
    QList<qint32> pids;
    {
        QMutexLocker lock(&d->mutex);
        pids = d->pidsLocked();
    }
    QList<RunningApp> out;
    for (qint32 pid : pids)
        if (auto app = d->describe(pid, true))
            out.append(*app);
    return out;
}

std::optional<RunningApp> X11Workspace::describe(qint32 pid) const {
    return d->describe(pid, true);
}

std::optional<RunningApp> X11Workspace::frontmostApplication() const {
    const auto active = d->x.windowProperty(d->x.root(), Atom::NetActiveWindow);
    if (!active)
        return std::nullopt;
    qint32 pid = 0;
    {
        QMutexLocker lock(&d->mutex);
        if (d->ownWindows.contains(*active))
            return d->ownApp();
        if (auto it = d->windows.constFind(*active); it != d->windows.cend())
            pid = it->pid;
    }
    if (pid == 0)
        return std::nullopt;
    return d->describe(pid, true);
}

qint32 X11Workspace::ownProcessId() const {
    return d->ownPid;
}

QList<qint32> X11Workspace::stackingOrder() const {
    const auto stacking = d->x.property(d->x.root(), Atom::NetClientListStacking, 1u << 16);
    QList<qint32> out;
    QMutexLocker lock(&d->mutex);
    if (stacking) {
        const auto ws = stacking->cardinals();
        for (auto it = ws.rbegin(); it != ws.rend(); ++it)
            if (auto w = d->windows.constFind(*it); w != d->windows.cend() && !out.contains(w->pid))
                out.append(w->pid);
    }
    for (qint32 pid : d->pidsLocked())
        if (!out.contains(pid))
            out.append(pid);
    return out;
}

bool X11Workspace::activate(qint32 pid, bool allWindows) {
    QList<WindowInfo> ws;
    {
        QMutexLocker lock(&d->mutex);
        ws = d->windowsOfLocked(pid);
    }
    if (ws.isEmpty())
        return false;
    X11Connection& x = d->x;
    // Order the process's windows as the window manager stacks them, bottom first.
    QList<xcb_window_t> stacked;
    if (auto stacking = x.property(x.root(), Atom::NetClientListStacking, 1u << 16))
        for (quint32 w : stacking->cardinals())
            if (std::any_of(ws.begin(), ws.end(), [w](const WindowInfo& i) { return i.id == w; }))
                stacked.append(w);
    for (const WindowInfo& w : ws)
        if (!stacked.contains(w.id))
            stacked.prepend(w.id);

    // The most recently active window; never active: the topmost one.
    xcb_window_t target = stacked.last();
    quint64 newest = 0;
    for (const WindowInfo& w : ws) {
        if (w.lastActive > newest) {
            newest = w.lastActive;
            target = w.id;
        }
    }

    const xcb_timestamp_t now = x.serverTime();
    const auto desktop = x.property(target, Atom::NetWmDesktop, 1);
    const auto current = x.property(x.root(), Atom::NetCurrentDesktop, 1);
    if (desktop && current && !desktop->cardinals().empty() && !current->cardinals().empty()) {
        const quint32 want = desktop->cardinals().front();
        if (want != 0xFFFFFFFFu && want != current->cardinals().front())
            x.sendRootMessage(x.root(), x.atom(Atom::NetCurrentDesktop), {want, now, 0, 0, 0});
    }
    if (allWindows) {
        for (xcb_window_t w : std::as_const(stacked))
            if (w != target)
                x.sendRootMessage(w, x.atom(Atom::NetRestackWindow),
                                  {2, XCB_NONE, XCB_STACK_MODE_ABOVE, 0, 0});
    }
    const xcb_window_t requestor = [&] {
        auto active = x.windowProperty(x.root(), Atom::NetActiveWindow);
        return active ? *active : xcb_window_t(XCB_NONE);
    }();
    x.sendRootMessage(target, x.atom(Atom::NetActiveWindow), {2, now, requestor, 0, 0});
    xcb_flush(x.xcb());
    return true;
}

void X11Workspace::openApplication(const QUrl& appURL) {
    const QString path = appURL.toLocalFile();
    if (path.isEmpty())
        return;
    // Opening a running application brings it forward instead of starting a second copy.
    const QString id = d->index.idForPath(path);
    qint32 runningPid = 0;
    {
        QMutexLocker lock(&d->mutex);
        for (qint32 pid : d->pidsLocked()) {
            if (auto app = d->describeLocked(pid); app && app->bundleID == id) {
                runningPid = pid;
                break;
            }
        }
    }
    if (runningPid != 0 && activate(runningPid, true))
        return;

    const QByteArray local = QFile::encodeName(path);
    GDesktopAppInfo* info = g_desktop_app_info_new_from_filename(local.constData());
    if (!info)
        return;
    GAppLaunchContext* context = g_app_launch_context_new();
    GError* error = nullptr;
    // GIO expands the Exec field codes and spawns the program directly (no shell); the
    // double fork it uses without G_SPAWN_DO_NOT_REAP_CHILD leaves no zombie behind.
    g_desktop_app_info_launch_uris_as_manager(info, nullptr, context, G_SPAWN_SEARCH_PATH, nullptr,
                                              nullptr, nullptr, nullptr, &error);
    if (error)
        g_error_free(error); // failures are not shown to the user
    g_object_unref(context);
    g_object_unref(info);
}

QImage X11Workspace::iconForFile(const QString& path) const {
    if (auto entry = d->index.byPath(path); entry && !entry->icon.isEmpty()) {
        const QImage img = d->icons.load(entry->icon);
        if (!img.isNull())
            return img;
    }
    return d->icons.generic();
}

std::optional<QUrl> X11Workspace::urlForApplication(const QString& bundleID) const {
    if (auto entry = d->index.byId(bundleID))
        return QUrl::fromLocalFile(entry->path);
    return std::nullopt;
}

QImage X11Workspace::genericApplicationIcon() const {
    return d->icons.generic();
}

QList<InstalledApplication> X11Workspace::installedApplications() const {
    QList<InstalledApplication> apps;
    for (const DesktopEntry& e : d->index.entries())
        if (e.visible && !e.name.isEmpty())
            apps.append({e.id, e.name, QUrl::fromLocalFile(e.path)});
    return apps;
}

std::optional<InstalledApplication> X11Workspace::applicationAt(const QUrl& file) const {
    if (!file.isLocalFile())
        return std::nullopt;
    const auto entry = d->index.byPath(file.toLocalFile());
    if (!entry || entry->id.isEmpty() || entry->name.isEmpty())
        return std::nullopt;
    return InstalledApplication{entry->id, entry->name, QUrl::fromLocalFile(entry->path)};
}

} // namespace valimbra::x11
