#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <optional>

namespace valimbra::x11 {

// What the switcher needs from one installed .desktop file.
struct DesktopEntry {
    QString id;             // desktop-file ID without ".desktop" ("debian-xterm")
    QString path;           // absolute path of the file
    QString name;           // localised Name
    QString icon;           // Icon= value: a theme name or an absolute path
    QString startupWMClass; // StartupWMClass=
    QString executable;     // base name of the Exec program, as GIO parses it
    bool visible = true;    // not NoDisplay/Hidden; preferred when several entries match
};

// What a running process tells about itself, in the order it is trusted.
struct ProcessIdentity {
    QString applicationId;       // _GTK_APPLICATION_ID or _KDE_NET_WM_DESKTOP_FILE
    QString launchedDesktopFile; // GIO_LAUNCHED_DESKTOP_FILE, when it was launched for this pid
    QString wmInstance;          // WM_CLASS instance ("xterm")
    QString wmClass;             // WM_CLASS class ("XTerm")
    QStringList executables;     // base names of /proc/<pid>/exe and argv[0]
};

// The installed desktop entries of the XDG data directories, indexed for matching running
// windows. Thread-safe; rescans by itself when an applications directory changes.
class DesktopEntryIndex {
public:
    // `dataDirs` in precedence order (an ID found in an earlier directory hides later ones).
    explicit DesktopEntryIndex(QStringList dataDirs);

    // $XDG_DATA_HOME (or ~/.local/share) followed by $XDG_DATA_DIRS (or /usr/local/share,
    // /usr/share).
    static QStringList defaultDataDirs();

    std::optional<DesktopEntry> byId(const QString& id) const;
    // The entry of a file, loaded even when it lies outside the data directories.
    std::optional<DesktopEntry> byPath(const QString& path) const;
    // The desktop-file ID a file has (relative path under applications/ with '/' as '-').
    QString idForPath(const QString& path) const;

    // The best entry for a process: application ID, then launched file, then StartupWMClass,
    // then a file name equal to the WM_CLASS instance or class (ignoring case), then the Exec
    // program. Nothing when no rule matches.
    std::optional<DesktopEntry> match(const ProcessIdentity& who) const;

    QList<DesktopEntry> entries() const;
    // Changes whenever the index is rebuilt, so cached matches can tell they are stale.
    quint64 generation() const;

private:
    // Inside an applications folder of the data directories (not merely anywhere on disk).
    bool isInstalledPath(const QString& path) const;
    // A clean path's part below an applications folder of the data directories.
    std::optional<QString> underApplications(const QString& clean) const;
    void refreshIfStale() const;
    void scan() const;
    std::optional<DesktopEntry> lookupIdLocked(const QString& id) const;

    QStringList m_dataDirs;
    mutable QMutex m_mutex;
    mutable bool m_scanned = false;
    mutable quint64 m_generation = 0;
    mutable QHash<QString, QDateTime> m_dirStamps; // every scanned directory (missing: invalid)
    mutable QHash<QString, DesktopEntry> m_byId;
    mutable QList<DesktopEntry> m_ordered; // sorted: visible first, then by ID
};

// The bundle identifier of a matched process: its desktop-file ID, else "wmclass.<class>" with
// the WM_CLASS class lower-cased (or the instance when the class is empty). Empty when the
// process offers neither.
// Programs that run other programs (interpreters, shells, sandboxes, launchers): their own
// desktop entries never name the application a process of theirs shows.
bool isInterpreterOrLauncher(const QString& executable);

QString bundleIdentifierFor(const std::optional<DesktopEntry>& entry, const ProcessIdentity& who);

// The name a matched process is listed under: its entry's Name, else its WM_CLASS class, else
// `title` (the _NET_WM_NAME of its first window).
QString displayNameFor(const std::optional<DesktopEntry>& entry, const ProcessIdentity& who,
                       const QString& title);

} // namespace valimbra::x11
