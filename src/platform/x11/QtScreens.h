#pragma once

#include "platform/Screens.h"

namespace valimbra::x11 {

// Screens and pointer from Qt (logical coordinates, top-left origin); nothing X-specific, so
// any Qt platform can use it.
class QtScreens final : public Screens {
public:
    QList<ScreenInfo> screens() const override;
    std::optional<ScreenInfo> mainScreen() const override;
    QPointF pointerPosition() const override;
};

} // namespace valimbra::x11
