#include "QtScreens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

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

} // namespace valimbra::x11
