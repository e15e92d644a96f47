#pragma once

#include "platform/Workspace.h"

#include <memory>

namespace valimbra::x11 {

class X11Connection;

// The workspace of an EWMH window manager: one running application per process owning managed
// top-level windows (_NET_CLIENT_LIST), matched to installed desktop entries; launch,
// termination and activation reports from root property changes. Queries may come from any
// thread; reports are emitted on the GUI thread.
class X11Workspace final : public Workspace {
    Q_OBJECT
public:
    // `dataDirs` overrides the XDG data directories searched for desktop entries and icons.
    explicit X11Workspace(X11Connection& x, QStringList dataDirs = {}, QObject* parent = nullptr);
    ~X11Workspace() override;

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

    // The running applications' process ids ordered by their topmost window in the window
    // manager's stacking order, topmost first.
    QList<qint32> stackingOrder() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace valimbra::x11
