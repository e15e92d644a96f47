#include "OnboardingImageProvider.h"

#include "catalogue/ImageBlur.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>

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
        // The icon's own outline in black, blurred; the caller draws it offset and faint. Qt asks
        // for device pixels, so on a HiDPI screen the padding and blur grow with the size.
        const double scale = side / double(shadowSide);
        const int pad = int(std::lround(shadowPad * scale));
        const int iconSide = std::max(1, side - 2 * pad);
        image = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter p(&image);
        svg.render(&p, QRectF(pad, pad, iconSide, iconSide));
        p.setCompositionMode(QPainter::CompositionMode_SourceIn);
        p.fillRect(image.rect(), Qt::black);
        p.end();
        blurShadowAlpha(image, std::max(1, int(std::lround(shadowBlur * scale))));
    }
    if (size)
        *size = image.size();
    return image;
}

} // namespace valimbra
