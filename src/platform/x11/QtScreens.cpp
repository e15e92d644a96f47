#include "QtScreens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

namespace valimbra::x11 {
namespace {

ScreenInfo infoOf(const QScreen* s) {
    return ScreenInfo{QRectF(s->geometry()), QRectF(s->availableGeometry())};
}

} // namespace

QList<ScreenInfo> QtScreens::screens() const {
    QList<ScreenInfo> out;
    for (const QScreen* s : QGuiApplication::screens())
        out.append(infoOf(s));
    return out;
}

std::optional<ScreenInfo> QtScreens::mainScreen() const {
    if (const QScreen* s = QGuiApplication::primaryScreen())
        return infoOf(s);
    return std::nullopt;
}

QPointF QtScreens::pointerPosition() const {
    return QPointF(QCursor::pos());
}

Screens::ChangeHandlerId QtScreens::addChangeHandler(std::function<void()> handler) {
    if (!m_connections) {
        m_connections = std::make_unique<QObject>();
        auto* app = qGuiApp;
        QObject::connect(app, &QGuiApplication::screenAdded, m_connections.get(),
                         [this](QScreen* s) {
                             watch(s);
                             changed();
                         });
        QObject::connect(app, &QGuiApplication::screenRemoved, m_connections.get(),
                         [this] { changed(); });
        QObject::connect(app, &QGuiApplication::primaryScreenChanged, m_connections.get(),
                         [this] { changed(); });
        for (QScreen* s : QGuiApplication::screens())
            watch(s);
    }
    m_handlers.insert(++m_lastId, std::move(handler));
    return m_lastId;
}

void QtScreens::removeChangeHandler(ChangeHandlerId id) {
    m_handlers.remove(id);
}

void QtScreens::watch(QScreen* screen) {
    QObject::connect(screen, &QScreen::geometryChanged, m_connections.get(), [this] { changed(); });
    QObject::connect(screen, &QScreen::availableGeometryChanged, m_connections.get(),
                     [this] { changed(); });
}

// One change on the server comes as several signals in one pass (screens added, removed, the
// primary changed), and Qt moves a removed screen's windows only after its signal: the handlers
// run once, from the event loop, when all of it is done.
void QtScreens::changed() {
    if (m_pending)
        return;
    m_pending = true;
    QTimer::singleShot(0, m_connections.get(), [this] {
        m_pending = false;
        for (const auto& handler : QMap(m_handlers)) // a handler may remove itself
            handler();
    });
}

} // namespace valimbra::x11
