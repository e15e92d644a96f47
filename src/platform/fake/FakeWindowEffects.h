#pragma once

#include "platform/WindowEffects.h"

namespace valimbra {

// A desktop with a compositor unless a test turns it off; remembers the last blur request.
class FakeWindowEffects final : public WindowEffects {
public:
    bool compositingActive() const override { return compositing; }
    void setBlurBehind(QWindow&, const QRegion& region) override { blurRegion = region; }
    void bringToFront(QWindow&) override { ++broughtToFront; }

    bool compositing = true;
    QRegion blurRegion;
    int broughtToFront = 0;
};

} // namespace valimbra
