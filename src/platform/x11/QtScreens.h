#pragma once

#include "platform/Screens.h"

#include <QMap>
#include <QObject>

#include <memory>

class QScreen;

namespace valimbra::x11 {

// Screens and pointer from Qt (logical coordinates, top-left origin); nothing X-specific, so
// any Qt platform can use it.
class QtScreens final : public Screens {
public:
    QList<ScreenInfo> screens() const override;
    std::optional<ScreenInfo> mainScreen() const override;
    QPointF pointerPosition() const override;
    ChangeHandlerId addChangeHandler(std::function<void()> handler) override;
    void removeChangeHandler(ChangeHandlerId id) override;

private:
    void watch(QScreen* screen);
    void changed();

    QMap<ChangeHandlerId, std::function<void()>> m_handlers;
    ChangeHandlerId m_lastId = 0;
    std::unique_ptr<QObject> m_connections; // owns every connection to Qt's signals
    bool m_pending = false;
};

} // namespace valimbra::x11
