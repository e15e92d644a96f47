#pragma once

#include <QQuickImageProvider>

namespace valimbra {

// Soft shadows as nine-patch images ("image://shadow/<corner radius>/<blur>"), rendered once in
// software so that both scene-graph backends draw them alike (no shader effects). The image is
// the shadow of a rounded rectangle; a BorderImage with borders of blur * 2 + radius stretches it
// to any card.
class ShadowImageProvider final : public QQuickImageProvider {
public:
    ShadowImageProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

    static QImage render(int cornerRadius, int blur);
};

} // namespace valimbra
