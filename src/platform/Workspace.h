#pragma once

#include <QImage>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

namespace valimbra {

// How an application takes part in the desktop. Values are persisted nowhere but kept equal to
// the macOS raw values so both backends agree.
enum class ActivationPolicy : int { Regular = 0, Accessory = 1, Prohibited = 2 };

// One running application (one process owning managed top-level windows) as the workspace
// describes it. Fields the backend could not determine yet are empty.
struct RunningApp {
    qint32 pid = 0;
    std::optional<QString> bundleID; // desktop-file ID without ".desktop", or wmclass.<class>
    QString name;                    // empty when not known (yet)
    ActivationPolicy activationPolicy = ActivationPolicy::Prohibited;
    QImage icon;                // null when not known
    std::optional<QUrl> appURL; // file:// URL of the .desktop file
};

// An application the desktop's menus offer (a desktop entry): what a chooser lists and what a
// favourite stores. `name` is the entry's Name as menus show it.
struct InstalledApplication {
    QString bundleID;
    QString name;
    QUrl appURL;
    bool operator==(const InstalledApplication&) const = default;
};

// The desktop's running applications and the operations on them. Signals are emitted on the
// main thread. Implementations: platform/x11 (EWMH + GIO), platform/fake (tests, demo).
class Workspace : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~Workspace() override = default;

    // Running applications in the workspace's own order (the process list order).
    virtual QList<RunningApp> runningApplications() const = 0;
    // A fresh description of one process, or nothing when it is gone. A launched application
    // may come back incomplete (no name, no bundle ID) for a short while.
    virtual std::optional<RunningApp> describe(qint32 pid) const = 0;
    virtual std::optional<RunningApp> frontmostApplication() const = 0;
    virtual qint32 ownProcessId() const = 0;

    // Brings the application's windows forward (all of them when `allWindows`). False when the
    // process is gone.
    virtual bool activate(qint32 pid, bool allWindows) = 0;
    // Launches (or focuses) the application whose desktop file is at `appURL`.
    virtual void openApplication(const QUrl& appURL) = 0;

    // The icon of an application file (a .desktop file); a generic application icon when the
    // file has none. Safe off the main thread (returns a QImage).
    virtual QImage iconForFile(const QString& path) const = 0;
    // The installed application for a bundle identifier, if any.
    virtual std::optional<QUrl> urlForApplication(const QString& bundleID) const = 0;
    // The generic application icon.
    virtual QImage genericApplicationIcon() const = 0;
    // The applications the desktop's menus list (hidden entries left out), in no set order.
    virtual QList<InstalledApplication> installedApplications() const = 0;
    // The application a desktop file anywhere describes, or nothing when it describes none.
    virtual std::optional<InstalledApplication> applicationAt(const QUrl& file) const = 0;

Q_SIGNALS:
    void applicationLaunched(const valimbra::RunningApp& app);
    void applicationTerminated(const valimbra::RunningApp& app);
    void applicationActivated(const valimbra::RunningApp& app);
};

} // namespace valimbra

Q_DECLARE_METATYPE(valimbra::RunningApp)
