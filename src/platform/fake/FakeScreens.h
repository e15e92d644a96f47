#pragma once

#include "platform/Screens.h"

#include <QMap>

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
    ChangeHandlerId addChangeHandler(std::function<void()> handler) override {
        m_handlers.insert(++m_lastId, std::move(handler));
        return m_lastId;
    }
    void removeChangeHandler(ChangeHandlerId id) override { m_handlers.remove(id); }

    // Tells the handlers, as a screen plugged in or out would.
    void setScreens(QList<ScreenInfo> screens) {
        m_screens = std::move(screens);
        for (const auto& handler : QMap(m_handlers))
            handler();
    }
    void setPointer(QPointF p) { m_pointer = p; }

private:
    QList<ScreenInfo> m_screens;
    QPointF m_pointer{960, 540};
    QMap<ChangeHandlerId, std::function<void()>> m_handlers;
    ChangeHandlerId m_lastId = 0;
};

} // namespace valimbra
