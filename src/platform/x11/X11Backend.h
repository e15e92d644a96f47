#pragma once

#include <QStringList>

#include <memory>

namespace valimbra {
class HotKeys;
class InputMonitor;
class Screens;
class WindowEffects;
class Workspace;
} // namespace valimbra

namespace valimbra::x11 {

class X11Connection;

// The X11 implementations of the platform services, sharing Qt's X connection. This header is
// what the rest of the program includes: it pulls in no X, xcb or GIO header.
class X11Backend {
public:
    // Nothing when the application does not run on the xcb platform. Create after the
    // QGuiApplication, on the GUI thread; `dataDirs` overrides the XDG data directories.
    static std::unique_ptr<X11Backend> create(const QStringList& dataDirs = {});
    ~X11Backend();

    Workspace& workspace();
    InputMonitor& input();
    HotKeys& hotKeys();
    Screens& screens();
    WindowEffects& effects();

private:
    X11Backend();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace valimbra::x11
