#include "ShadowImageProvider.h"

#include <QPainter>

#include <algorithm>
#include <vector>

namespace valimbra {
namespace {

// One box-blur pass over the alpha channel, horizontally then vertically.
void boxBlur(QImage& image, int radius) {
    if (radius < 1)
        return;
    const int w = image.width();
    const int h = image.height();
    std::vector<int> line(size_t(std::max(w, h)));
    auto pass = [&](bool horizontal) {
        const int outer = horizontal ? h : w;
        const int inner = horizontal ? w : h;
        for (int o = 0; o < outer; ++o) {
            auto at = [&](int i) -> uchar& {
                const int x = horizontal ? i : o;
                const int y = horizontal ? o : i;
                return image.scanLine(y)[x * 4 + 3];
            };
            for (int i = 0; i < inner; ++i)
                line[size_t(i)] = at(i);
            int sum = 0;
            const int window = radius * 2 + 1;
            for (int i = -radius; i <= radius; ++i)
                sum += (i >= 0 && i < inner) ? line[size_t(i)] : 0;
            for (int i = 0; i < inner; ++i) {
                at(i) = uchar(sum / window);
                const int out = i - radius;
                const int in = i + radius + 1;
                sum -= (out >= 0) ? line[size_t(out)] : 0;
                sum += (in < inner) ? line[size_t(in)] : 0;
            }
        }
    };
    pass(true);
    pass(false);
}

} // namespace

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
    // Three box passes approximate a Gaussian.
    for (int i = 0; i < 3; ++i)
        boxBlur(image, std::max(1, blur / 2));
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
