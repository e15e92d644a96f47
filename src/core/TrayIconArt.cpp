#include "TrayIconArt.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <numbers>

namespace valimbra {

QImage drawTrayIcon(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    // Drawn on the 18 x 18 grid and scaled to the pixel size.
    p.scale(side / 18.0, side / 18.0);
    const QPen rim(QColor(20, 24, 28, 220), 1.1);
    const QColor fill(250, 251, 252);
    constexpr int petals = 6;
    for (int i = 0; i < petals; ++i) {
        const double a = i * 2 * std::numbers::pi / petals;
        const QPointF c(9 + 5.6 * std::sin(a), 9 - 5.6 * std::cos(a));
        p.setPen(rim);
        p.setBrush(fill);
        p.drawEllipse(c, 2.5, 2.5);
    }
    p.setPen(rim);
    p.setBrush(QColor(36, 122, 138)); // the light appearance's accent
    p.drawRoundedRect(QRectF(6.6, 6.6, 4.8, 4.8), 1.6, 1.6);
    return image;
}

QIcon trayIcon() {
    QIcon icon;
    for (int side : {18, 22, 24, 32, 36, 48, 64})
        icon.addPixmap(QPixmap::fromImage(drawTrayIcon(side)));
    return icon;
}

} // namespace valimbra
