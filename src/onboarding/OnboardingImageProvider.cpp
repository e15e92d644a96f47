#include "OnboardingImageProvider.h"

#include "catalogue/ImageBlur.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace valimbra {

OnboardingImageProvider::OnboardingImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage OnboardingImageProvider::requestImage(const QString& id, QSize* size,
                                             const QSize& requestedSize) {
    const int side = std::clamp(requestedSize.width() > 0 ? requestedSize.width() : 128, 8, 1024);
    QSvgRenderer svg(u":/valimbra/onboarding/valimbra.svg"_qs);
    QImage image;
    if (id == u"icon") {
        image = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter p(&image);
        svg.render(&p);
    } else if (id == u"icon-shadow") {
        // The icon's own outline in black, blurred; the caller draws it offset and faint.
        const int iconSide = side - 2 * shadowPad;
        image = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter p(&image);
        svg.render(&p, QRectF(shadowPad, shadowPad, iconSide, iconSide));
        p.setCompositionMode(QPainter::CompositionMode_SourceIn);
        p.fillRect(image.rect(), Qt::black);
        p.end();
        blurShadowAlpha(image, shadowBlur);
    }
    if (size)
        *size = image.size();
    return image;
}

} // namespace valimbra
