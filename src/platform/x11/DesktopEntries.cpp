#include "DesktopEntries.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMutexLocker>
#include <QRegularExpression>

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <memory>

namespace valimbra::x11 {
namespace {

struct GObjectDeleter {
    void operator()(gpointer p) const { g_object_unref(p); }
};
using AppInfoPtr = std::unique_ptr<GDesktopAppInfo, GObjectDeleter>;

QString takeString(gchar* s) {
    QString out = s ? QString::fromUtf8(s) : QString();
    g_free(s);
    return out;
}

// Desktop entries are a few kilobytes; a huge file is no entry, and is not read whole.
constexpr qint64 kMaxEntryBytes = 1 << 20;

std::optional<DesktopEntry> load(const QString& path, const QString& id) {
    // Only regular files: a pipe would block the read, /dev/zero would never end it.
    const QFileInfo file(path);
    if (!file.isFile() || file.size() > kMaxEntryBytes)
        return std::nullopt;
    const QByteArray local = QFile::encodeName(path);
    AppInfoPtr info(g_desktop_app_info_new_from_filename(local.constData()));
    if (!info)
        return std::nullopt; // not an application, broken, or its TryExec program is missing
    auto* app = G_APP_INFO(info.get());
    DesktopEntry e;
    e.id = id;
    e.path = path;
    if (const char* name = g_app_info_get_name(app))
        e.name = QString::fromUtf8(name);
    e.icon = takeString(g_desktop_app_info_get_string(info.get(), "Icon")).trimmed();
    if (const char* wm = g_desktop_app_info_get_startup_wm_class(info.get()))
        e.startupWMClass = QString::fromUtf8(wm);
    if (const char* exe = g_app_info_get_executable(app))
        e.executable = QFileInfo(QString::fromUtf8(exe)).fileName();
    e.visible = !g_desktop_app_info_get_nodisplay(info.get()) &&
                !g_desktop_app_info_get_is_hidden(info.get());
    return e;
}

QString stripSuffix(QString s) {
    if (s.endsWith(QLatin1String(".desktop")))
        s.chop(8);
    return s;
}

QDateTime stampOf(const QString& dir) {
    const QFileInfo fi(dir);
    return fi.isDir() ? fi.lastModified() : QDateTime();
}

} // namespace

DesktopEntryIndex::DesktopEntryIndex(QStringList dataDirs)
    : m_dataDirs(std::move(dataDirs)) {
    for (QString& d : m_dataDirs)
        d = QDir::cleanPath(d);
}

QStringList DesktopEntryIndex::defaultDataDirs() {
    QStringList dirs;
    QString home = qEnvironmentVariable("XDG_DATA_HOME");
    if (home.isEmpty())
        home = QDir::homePath() + QLatin1String("/.local/share");
    dirs << home;
    QString sys = qEnvironmentVariable("XDG_DATA_DIRS");
    if (sys.isEmpty())
        sys = QStringLiteral("/usr/local/share:/usr/share");
    for (const QString& d : sys.split(QLatin1Char(':'), Qt::SkipEmptyParts))
        if (!dirs.contains(d))
            dirs << d;
    return dirs;
}

std::optional<QString> DesktopEntryIndex::underApplications(const QString& clean) const {
    for (const QString& d : m_dataDirs) {
        const QString prefix = d + QLatin1String("/applications/");
        if (clean.startsWith(prefix))
            return clean.mid(prefix.size());
    }
    return std::nullopt;
}

QString DesktopEntryIndex::idForPath(const QString& path) const {
    const QString clean = QDir::cleanPath(path);
    if (auto rel = underApplications(clean))
        return stripSuffix(rel->replace(QLatin1Char('/'), QLatin1Char('-')));
    return stripSuffix(QFileInfo(clean).fileName());
}

void DesktopEntryIndex::refreshIfStale() const {
    if (m_scanned) {
        bool stale = false;
        for (auto it = m_dirStamps.cbegin(); it != m_dirStamps.cend() && !stale; ++it)
            stale = stampOf(it.key()) != it.value();
        if (!stale)
            return;
    }
    scan();
}

void DesktopEntryIndex::scan() const {
    m_scanned = true;
    ++m_generation;
    m_dirStamps.clear();
    m_byId.clear();
    m_ordered.clear();
    for (const QString& d : m_dataDirs) {
        const QString apps = d + QLatin1String("/applications");
        m_dirStamps.insert(apps, stampOf(apps));
        if (!QFileInfo(apps).isDir())
            continue;
        QDirIterator dirs(apps, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (dirs.hasNext())
            m_dirStamps.insert(dirs.next(), QDateTime());
        QDirIterator files(apps, {QStringLiteral("*.desktop")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const QString id = idForPath(path);
            if (m_byId.contains(id))
                continue; // hidden by a directory of higher precedence
            if (auto e = load(path, id)) {
                m_byId.insert(id, *e);
                m_ordered.append(*e);
            }
        }
    }
    for (auto it = m_dirStamps.begin(); it != m_dirStamps.end(); ++it)
        it.value() = stampOf(it.key());
    std::sort(m_ordered.begin(), m_ordered.end(), [](const DesktopEntry& a, const DesktopEntry& b) {
        if (a.visible != b.visible)
            return a.visible;
        return a.id < b.id;
    });
}

std::optional<DesktopEntry> DesktopEntryIndex::lookupIdLocked(const QString& id) const {
    if (auto it = m_byId.constFind(id); it != m_byId.cend())
        return *it;
    return std::nullopt;
}

std::optional<DesktopEntry> DesktopEntryIndex::byId(const QString& id) const {
    QMutexLocker lock(&m_mutex);
    refreshIfStale();
    return lookupIdLocked(id);
}

std::optional<DesktopEntry> DesktopEntryIndex::byPath(const QString& path) const {
    const QString id = idForPath(path);
    {
        QMutexLocker lock(&m_mutex);
        refreshIfStale();
        if (auto e = lookupIdLocked(id); e && e->path == QDir::cleanPath(path))
            return e;
    }
    return load(QDir::cleanPath(path), id);
}

bool DesktopEntryIndex::isInstalledPath(const QString& path) const {
    return underApplications(QDir::cleanPath(path)).has_value();
}

quint64 DesktopEntryIndex::generation() const {
    QMutexLocker lock(&m_mutex);
    refreshIfStale();
    return m_generation;
}

QList<DesktopEntry> DesktopEntryIndex::entries() const {
    QMutexLocker lock(&m_mutex);
    refreshIfStale();
    return m_ordered;
}

std::optional<DesktopEntry> DesktopEntryIndex::match(const ProcessIdentity& who) const {
    if (!who.applicationId.isEmpty()) {
        QString appId = who.applicationId;
        if (appId.startsWith(QLatin1Char('/'))) {
            // Any X client may set this property: only an installed entry counts, never a file
            // elsewhere whose Exec line a favourite would then run (nor one we would read).
            if (isInstalledPath(appId)) {
                if (auto e = byPath(appId))
                    return e;
            }
        } else if (auto e = byId(stripSuffix(appId))) {
            return e;
        }
    }
    if (!who.launchedDesktopFile.isEmpty())
        if (auto e = byPath(who.launchedDesktopFile))
            return e;

    QMutexLocker lock(&m_mutex);
    refreshIfStale();
    const auto firstWhere = [this](auto&& pred) -> std::optional<DesktopEntry> {
        for (const DesktopEntry& e : std::as_const(m_ordered))
            if (pred(e))
                return e;
        return std::nullopt;
    };
    if (!who.wmClass.isEmpty() || !who.wmInstance.isEmpty()) {
        if (auto e = firstWhere([&](const DesktopEntry& e) {
                return !e.startupWMClass.isEmpty() &&
                       (e.startupWMClass == who.wmClass || e.startupWMClass == who.wmInstance);
            }))
            return e;
        for (const QString& key : {who.wmInstance, who.wmClass}) {
            if (key.isEmpty())
                continue;
            if (auto e = firstWhere([&](const DesktopEntry& e) {
                    return e.id.compare(key, Qt::CaseInsensitive) == 0;
                }))
                return e;
        }
    }
    for (const QString& exe : who.executables) {
        // An interpreter's or launcher's own entry ("Python (v3.11)") says nothing about the
        // program it runs; such a process falls through to its window class.
        if (exe.isEmpty() || isInterpreterOrLauncher(exe))
            continue;
        if (auto e = firstWhere([&](const DesktopEntry& e) { return e.executable == exe; }))
            return e;
    }
    return std::nullopt;
}

bool isInterpreterOrLauncher(const QString& executable) {
    static const QRegularExpression pattern(QStringLiteral(
        "^(?:(?:python|pypy|perl|ruby|lua|luajit|php|tclsh|wish|node|nodejs|java|gjs|mono|"
        "guile|Rscript|wine|wine64|wine-preloader|wine64-preloader)[0-9.]*|"
        "sh|bash|dash|zsh|ksh|mksh|fish|csh|tcsh|env|flatpak|bwrap|snap|sudo|pkexec|nohup|"
        "setsid|xdg-open|gtk-launch|gio|dbus-launch|dbus-run-session|exo-open|kioclient5?)$"));
    return pattern.match(executable).hasMatch();
}

QString bundleIdentifierFor(const std::optional<DesktopEntry>& entry, const ProcessIdentity& who) {
    if (entry)
        return entry->id;
    const QString cls = who.wmClass.isEmpty() ? who.wmInstance : who.wmClass;
    if (cls.isEmpty())
        return {};
    return QLatin1String("wmclass.") + cls.toLower();
}

QString displayNameFor(const std::optional<DesktopEntry>& entry, const ProcessIdentity& who,
                       const QString& title) {
    if (entry && !entry->name.isEmpty())
        return entry->name;
    return !who.wmClass.isEmpty() ? who.wmClass : title;
}

} // namespace valimbra::x11
