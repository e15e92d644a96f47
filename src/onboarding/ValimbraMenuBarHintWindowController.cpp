#include "ValimbraMenuBarHintWindowController.h"

#include "platform/Appearance.h"

#include <QQmlEngine>
#include <QQuickView>

#include <cstdio>

namespace valimbra {

ValimbraMenuBarHintWindowController::ValimbraMenuBarHintWindowController(
    const Platform& platform, std::function<QRectF()> trayIconGeometry, QObject* parent)
    : QObject(parent)
    , m_platform(platform)
    , m_trayIconGeometry(std::move(trayIconGeometry)) {}

ValimbraMenuBarHintWindowController::~ValimbraMenuBarHintWindowController() {
    removeMonitors();
    if (m_dismissTimer)
        m_dismissTimer->cancel();
    if (m_finishFade)
        m_finishFade->cancel();
}

QQuickWindow* ValimbraMenuBarHintWindowController::window() const {
    return m_view.get();
}

QString ValimbraMenuBarHintWindowController::tailSide() const {
    if (!m_placement)
        return u"top"_qs;
    switch (m_placement->tail) {
    case TailSide::top:
        return u"top"_qs;
    case TailSide::bottom:
        return u"bottom"_qs;
    case TailSide::left:
        return u"left"_qs;
    case TailSide::right:
        return u"right"_qs;
    }
    return u"top"_qs;
}

QPointF ValimbraMenuBarHintWindowController::tailTip() const {
    if (!m_placement)
        return {};
    return m_placement->target - m_placement->frame.topLeft();
}

void ValimbraMenuBarHintWindowController::show() {
    if (m_view)
        return;
    const QRectF icon = m_trayIconGeometry ? m_trayIconGeometry() : QRectF();
    if (icon.isEmpty())
        return;
    std::optional<HintPlacement> placement;
    for (const ScreenInfo& screen : m_platform.screens->screens())
        if (!placement && screen.frame.contains(icon.center()))
            placement = placeHint(icon, screen.frame);
    if (!placement)
        return;
    m_placement = placement;
    m_leaving = false;
    m_dark = isDarkAppearance();
    Q_EMIT placementChanged();
    Q_EMIT leavingChanged();
    createWindow();
    m_view->show();

    m_dismissTimer = m_platform.scheduler->postAfter(shownFor, this, [this] { dismiss(); });
    // The first click anywhere: in another application (global) or on one of our windows (local,
    // passed on unchanged).
    const quint64 clicks = EventMask::LeftMouseDown | EventMask::RightMouseDown;
    m_globalClickMonitor = m_platform.input->addGlobalMonitor(clicks, [this](const InputEvent&) {
        m_platform.scheduler->post(this, [this] { dismiss(); });
    });
    m_localClickMonitor = m_platform.input->addLocalMonitor(clicks, [this](const InputEvent& e) {
        m_platform.scheduler->post(this, [this] { dismiss(); });
        return std::optional<InputEvent>(e);
    });
}

void ValimbraMenuBarHintWindowController::createWindow() {
    m_view = std::make_unique<QQuickView>();
    m_view->engine()->addImportPath(u"qrc:/"_qs);
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setColor(Qt::transparent);
    m_view->setTitle(u"Valimbra Hint"_qs);
    // Above the panel it points at, untouched by the window manager, and transparent to the
    // pointer: clicks reach whatever is under it.
    m_view->setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint |
                     Qt::WindowStaysOnTopHint | Qt::WindowTransparentForInput |
                     Qt::WindowDoesNotAcceptFocus);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setGeometry(m_placement->frame.toRect());
    m_view->setInitialProperties({{u"controller"_qs, QVariant::fromValue(this)}});
    m_view->setSource(QUrl(u"qrc:/Valimbra/Onboarding/qml/ValimbraMenuBarHintView.qml"_qs));
    for (const QQmlError& e : m_view->errors())
        std::fprintf(stdout, "[Valimbra] hint view: %s\n", qPrintable(e.toString()));
    std::fflush(stdout);
}

void ValimbraMenuBarHintWindowController::dismiss() {
    if (!m_view || m_leaving)
        return;
    if (m_dismissTimer)
        m_dismissTimer->cancel();
    m_dismissTimer.reset();
    removeMonitors();
    m_leaving = true;
    Q_EMIT leavingChanged(); // the view fades out
    m_finishFade = m_platform.scheduler->postAfter(fadeOut, this, [this] { release(); });
}

void ValimbraMenuBarHintWindowController::release() {
    m_finishFade.reset();
    if (m_view) {
        m_view->hide();
        m_view.release()->deleteLater();
    }
    m_placement.reset();
    m_leaving = false;
}

void ValimbraMenuBarHintWindowController::removeMonitors() {
    for (MonitorToken* token : {&m_globalClickMonitor, &m_localClickMonitor}) {
        if (*token)
            m_platform.input->removeMonitor(*token);
        *token = 0;
    }
}

} // namespace valimbra
