#pragma once

#include "platform/Screens.h"

namespace valimbra {

// One 1920 x 1080 screen with a 30-point panel at the top, unless a test says otherwise.
class FakeScreens final : public Screens {
public:
    FakeScreens() { m_screens = {{QRectF(0, 0, 1920, 1080), QRectF(0, 30, 1920, 1050)}}; }
    QList<ScreenInfo> screens() const override { return m_screens; }
    std::optional<ScreenInfo> mainScreen() const override {
        if (m_screens.isEmpty())
            return std::nullopt;
        return m_screens.first();
    }
    QPointF pointerPosition() const override { return m_pointer; }

    void setScreens(QList<ScreenInfo> screens) { m_screens = std::move(screens); }
    void setPointer(QPointF p) { m_pointer = p; }

private:
    QList<ScreenInfo> m_screens;
    QPointF m_pointer{960, 540};
};

} // namespace valimbra
