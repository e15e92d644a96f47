#include "X11Backend.h"

#include "QtScreens.h"
#include "X11Connection.h"
#include "X11HotKeys.h"
#include "X11InputMonitor.h"
#include "X11WindowEffects.h"
#include "X11Workspace.h"

namespace valimbra::x11 {

struct X11Backend::Private {
    // Declaration order is destruction order reversed: the services go before the connection.
    std::unique_ptr<X11Connection> connection;
    std::unique_ptr<X11Workspace> workspace;
    std::unique_ptr<X11InputMonitor> input;
    std::unique_ptr<X11HotKeys> hotKeys;
    std::unique_ptr<X11WindowEffects> effects;
    QtScreens screens;
};

X11Backend::X11Backend()
    : d(std::make_unique<Private>()) {}
X11Backend::~X11Backend() {
    d->effects.reset();
    d->hotKeys.reset();
    d->input.reset();
    d->workspace.reset();
    d->connection.reset();
}

std::unique_ptr<X11Backend> X11Backend::create(const QStringList& dataDirs) {
    auto connection = X11Connection::fromQt();
    if (!connection)
        return nullptr;
    std::unique_ptr<X11Backend> b(new X11Backend);
    b->d->connection = std::move(connection);
    b->d->workspace = std::make_unique<X11Workspace>(*b->d->connection, dataDirs);
    b->d->input = std::make_unique<X11InputMonitor>(*b->d->connection);
    b->d->hotKeys = std::make_unique<X11HotKeys>(*b->d->connection);
    b->d->effects = std::make_unique<X11WindowEffects>(*b->d->connection);
    return b;
}

Workspace& X11Backend::workspace() {
    return *d->workspace;
}
InputMonitor& X11Backend::input() {
    return *d->input;
}
HotKeys& X11Backend::hotKeys() {
    return *d->hotKeys;
}
WindowEffects& X11Backend::effects() {
    return *d->effects;
}
Screens& X11Backend::screens() {
    return d->screens;
}

} // namespace valimbra::x11
