#pragma once

class QImage;

namespace valimbra {

// Blurs the alpha channel of a premultiplied black image (a shadow's shape) in place: three
// box passes approximate a Gaussian of about `radius`. Rendered in software, once, so that both
// scene-graph backends draw the result alike.
void blurShadowAlpha(QImage& image, int radius);

} // namespace valimbra
