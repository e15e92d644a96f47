#pragma once

#include <QQuickImageProvider>

namespace valimbra {

// The application icon of the welcome ("image://onboarding/icon") and its soft shadow
// ("image://onboarding/icon-shadow"), rendered from the SVG at the size asked for. The shadow
// is pre-rendered in software so that both scene-graph backends draw it alike; at its nominal
// `shadowSide` it is `shadowPad` larger than the 64-point icon on every side.
class OnboardingImageProvider final : public QQuickImageProvider {
public:
    static constexpr int shadowBlur = 10;
    static constexpr int shadowPad = shadowBlur * 2;
    static constexpr int shadowSide = 64 + 2 * shadowPad;

    OnboardingImageProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace valimbra
