#pragma once

#include "HintPlacement.h"
#include "platform/Platform.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QQuickView;
class QQuickWindow;

namespace valimbra {

// After the welcome, a small "Valimbra is here" pill points at the tray icon: beside it on
// whichever edge the panel is, inside the screen. It takes no input and never the focus, and goes
// after 10 s or at the first click anywhere. Without a tray geometry there is no hint.
class ValimbraMenuBarHintWindowController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the running program")
    Q_PROPERTY(QString tailSide READ tailSide NOTIFY placementChanged)
    Q_PROPERTY(QPointF tailTip READ tailTip NOTIFY placementChanged)
    Q_PROPERTY(bool leaving READ isLeaving NOTIFY leavingChanged)
    Q_PROPERTY(bool dark READ isDark CONSTANT)
public:
    static constexpr std::chrono::milliseconds shownFor{10000};
    static constexpr int fadeInMs = 300;
    static constexpr std::chrono::milliseconds fadeOut{200};

    // `trayIconGeometry` gives the icon's frame in screen coordinates, empty when the tray
    // tells none.
    ValimbraMenuBarHintWindowController(const Platform& platform,
                                        std::function<QRectF()> trayIconGeometry,
                                        QObject* parent = nullptr);
    ~ValimbraMenuBarHintWindowController() override;

    // Does nothing while a hint is shown, or when the icon's place is unknown.
    void show();
    // Fades out and goes; the controller then holds nothing and may show the hint again.
    void dismiss();

    bool isShown() const { return bool(m_view); }
    bool isLeaving() const { return m_leaving; }
    std::optional<HintPlacement> placement() const { return m_placement; }
    QQuickWindow* window() const;

    QString tailSide() const;
    // Where the tail points, in the window's coordinates.
    QPointF tailTip() const;
    bool isDark() const { return m_dark; }

Q_SIGNALS:
    void placementChanged();
    void leavingChanged();

private:
    void createWindow();
    void removeMonitors();
    void release();

    Platform m_platform;
    std::function<QRectF()> m_trayIconGeometry;
    std::optional<HintPlacement> m_placement;
    std::unique_ptr<QQuickView> m_view;
    std::shared_ptr<WorkItem> m_dismissTimer;
    std::shared_ptr<WorkItem> m_finishFade;
    MonitorToken m_globalClickMonitor = 0;
    MonitorToken m_localClickMonitor = 0;
    bool m_leaving = false;
    bool m_dark = false;
};

} // namespace valimbra
