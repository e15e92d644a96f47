#include "ImageBlur.h"

#include <QImage>

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

void blurShadowAlpha(QImage& image, int radius) {
    if (image.format() != QImage::Format_ARGB32_Premultiplied)
        image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int i = 0; i < 3; ++i)
        boxBlur(image, std::max(1, radius / 2));
}

} // namespace valimbra
