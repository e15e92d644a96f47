#pragma once

#include "overlay/SwitcherModel.h"
#include "platform/Platform.h"

#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

class QQmlEngine;
class QQuickImageProvider;
class QQuickView;
class QQuickWindow;

namespace valimbra {

// Owns the overlay panel: a frameless, translucent 720 x 720 window centred on the pointer,
// created hidden and pre-warmed, shown and hidden as the switcher opens and closes. It is
// override-redirect (no window manager frames, focuses or lists it) and takes the keyboard with
// an active grab, so the previously active application keeps its focus. It turns keys and
// scroll steps into switcher operations and closes the switcher on a click outside.
class OverlayWindowController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(QString switcherStyle READ switcherStyle NOTIFY appearanceChanged)
    Q_PROPERTY(QString animationStyle READ animationStyle NOTIFY appearanceChanged)
    Q_PROPERTY(bool dark READ isDark NOTIFY appearanceChanged)
    Q_PROPERTY(bool translucent READ isTranslucent NOTIFY appearanceChanged)
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)

public:
    enum class State { Hidden, PreWarming, Shown, Closing };

    // `iconProvider` is handed to the panel's QML engine, which owns it from then on.
    OverlayWindowController(SwitcherModel& switcher, const Platform& platform,
                            QQuickImageProvider* iconProvider, QObject* parent = nullptr);
    ~OverlayWindowController() override;

    void preWarm();
    void showPanel();
    void hidePanel(bool animated);

    State state() const { return m_state; }
    bool isShown() const { return m_state == State::Shown; }
    QQuickWindow* window() const;
    QRectF panelGeometry() const;
    // Mapped and on a screen: between openings the window waits off-screen.
    bool isOnScreen() const;
    QString switcherStyle() const { return m_switcherStyle; }
    QString animationStyle() const { return m_animationStyle; }
    bool isDark() const { return m_dark; }
    bool isTranslucent() const { return m_translucent; }

    // The part of the panel that is drawn (centred in it), from the view: clicks outside it
    // pass through to the desktop, and a compositor blurs behind it.
    Q_INVOKABLE void setContentShape(double width, double height, bool round);
    // A menu open over the panel (window coordinates; empty when none): it takes clicks and is
    // drawn though it may reach past the content shape.
    Q_INVOKABLE void setPopupArea(const QRectF& area);
    // One scroll event (points; positive is forward).
    Q_INVOKABLE void handleScroll(double deltaX, double deltaY);
    // "Edit Favourites" or the ring's add slot.
    Q_INVOKABLE void requestEditFavourites() { Q_EMIT editFavouritesRequested(); }

    // Called when a presented frame follows showPanel(), and for every presented frame; for the
    // --trace timings.
    std::function<void()> onFirstFrame;
    std::function<void()> onFrame;

Q_SIGNALS:
    void appearanceChanged();
    void shownChanged();
    // An arrow key, for views that move in two dimensions.
    void navigate(int dx, int dy);
    void editFavouritesRequested();
    // The open panel was placed again under a pointer that did not move (its screen went away).
    void moved();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createWindow(QQuickImageProvider* iconProvider);
    void readAppearance();
    void installMonitors();
    void removeMonitors();
    void grabKeyboard();
    void releaseKeyboard();
    void finishHide(std::optional<RunningApp> previous);
    void applyShape();
    void park();
    bool placeOnPointerScreen();
    void screensChanged();
    std::optional<InputEvent> handleKey(const InputEvent& event);

    SwitcherModel& m_switcher;
    Platform m_platform;
    std::unique_ptr<QQmlEngine> m_qml;
    std::unique_ptr<QQuickView> m_view;
    State m_state = State::Hidden;
    bool m_isPreWarming = false;
    std::optional<RunningApp> m_previousActiveApp;
    MonitorToken m_globalClickMonitor = 0;
    MonitorToken m_localClickMonitor = 0;
    MonitorToken m_keyMonitor = 0;
    Screens::ChangeHandlerId m_screensHandler = 0;
    WorkItemPtr m_finishHide;
    WorkItemPtr m_grabRetry;
    WorkItemPtr m_preWarmTimeout;
    int m_grabAttempts = 0;
    bool m_grabAfterFrame = false;
    bool m_keyboardGrabbed = false;
    bool m_awaitingFirstFrame = false;
    QString m_switcherStyle;
    QString m_animationStyle;
    bool m_dark = false;
    bool m_translucent = true;
    QSizeF m_contentSize;
    bool m_contentRound = false;
    QRect m_popupArea;
};

} // namespace valimbra
