#include "ShadowImageProvider.h"

#include "catalogue/ImageBlur.h"

#include <QPainter>

#include <algorithm>

namespace valimbra {

ShadowImageProvider::ShadowImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage ShadowImageProvider::render(int cornerRadius, int blur) {
    cornerRadius = std::clamp(cornerRadius, 0, 200);
    blur = std::clamp(blur, 1, 64);
    const int pad = blur * 2;
    const int side = 2 * (pad + cornerRadius) + 2;
    // Premultiplied black with only alpha varying: the alpha channel is blurred in place.
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::black);
        p.drawRoundedRect(QRectF(pad, pad, side - 2 * pad, side - 2 * pad), cornerRadius,
                          cornerRadius);
    }
    blurShadowAlpha(image, blur);
    return image;
}

QImage ShadowImageProvider::requestImage(const QString& id, QSize* size, const QSize&) {
    const QStringList parts = id.split(u'/');
    const int radius = parts.value(0).toInt();
    const int blur = parts.value(1).toInt();
    QImage image = render(radius, blur);
    if (size)
        *size = image.size();
    return image;
}

} // namespace valimbra
