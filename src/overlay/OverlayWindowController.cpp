#include "OverlayWindowController.h"

#include "catalogue/SwitcherStyle.h"
#include "overlay/OverlayGeometry.h"
#include "overlay/ShadowImageProvider.h"
#include "platform/Appearance.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickView>
#include <QWheelEvent>

#include <cstdio>

namespace valimbra {

using std::chrono::milliseconds;

namespace {
constexpr int kLeftArrow = 123;
constexpr int kRightArrow = 124;
constexpr int kDownArrow = 125;
constexpr int kUpArrow = 126;
constexpr int kGrabRetryMs = 5;
constexpr int kGrabAttempts = 40;
constexpr int kGrabFallbackMs = 40;
constexpr int kPreWarmTimeoutMs = 1000;
// A wheel notch (120 eighths of a degree) counts as 10 points of scrolling.
constexpr double kPointsPerAngleUnit = 10.0 / 120.0;

QRegion regionFor(const QSizeF& size, bool round, double cornerRadius) {
    const QRectF r((overlay::panelSide - size.width()) / 2,
                   (overlay::panelSide - size.height()) / 2, size.width(), size.height());
    if (round)
        return QRegion(r.toAlignedRect(), QRegion::Ellipse);
    QPainterPath path;
    path.addRoundedRect(r, cornerRadius, cornerRadius);
    return QRegion(path.toFillPolygon().toPolygon());
}
// Left of and above every screen (the X screen's origin is the top left of all monitors).
constexpr QPoint parkedPosition(-4 * int(overlay::panelSide), -4 * int(overlay::panelSide));
} // namespace

OverlayWindowController::OverlayWindowController(SwitcherModel& switcher, const Platform& platform,
                                                 QQuickImageProvider* iconProvider, QObject* parent)
    : QObject(parent)
    , m_switcher(switcher)
    , m_platform(platform) {
    readAppearance();
    createWindow(iconProvider);
    m_keyMonitor = m_platform.input->addLocalMonitor(
        EventMask::KeyDown,
        [self = QPointer(this)](const InputEvent& e) -> std::optional<InputEvent> {
            return self ? self->handleKey(e) : std::optional(e);
        });
    m_screensHandler = m_platform.screens->addChangeHandler([self = QPointer(this)] {
        if (self)
            self->screensChanged();
    });
}

OverlayWindowController::~OverlayWindowController() {
    m_platform.screens->removeChangeHandler(m_screensHandler);
    removeMonitors();
    if (m_keyMonitor)
        m_platform.input->removeMonitor(m_keyMonitor);
    if (m_finishHide)
        m_finishHide->cancel();
    if (m_grabRetry)
        m_grabRetry->cancel();
    m_view.reset();
    m_qml.reset();
}

void OverlayWindowController::createWindow(QQuickImageProvider* iconProvider) {
    m_qml = std::make_unique<QQmlEngine>();
    m_qml->addImportPath(u"qrc:/"_qs);
    if (iconProvider)
        m_qml->addImageProvider(QString::fromLatin1(DisplayedAppsModel::iconProviderId),
                                iconProvider);
    m_qml->addImageProvider(u"shadow"_qs, new ShadowImageProvider);
    m_view = std::make_unique<QQuickView>(m_qml.get(), nullptr);
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setColor(Qt::transparent);
    // Override-redirect: the window manager neither frames, lists, tiles nor focuses it.
    m_view->setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint |
                     Qt::WindowStaysOnTopHint);
    m_view->setTitle(u"Valimbra Switcher"_qs);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->resize(int(overlay::panelSide), int(overlay::panelSide));
    m_view->setMinimumSize(m_view->size());
    m_view->setMaximumSize(m_view->size());
    m_view->setInitialProperties({{u"switcher"_qs, QVariant::fromValue(&m_switcher)},
                                  {u"controller"_qs, QVariant::fromValue(this)}});
    m_view->setSource(QUrl(u"qrc:/Valimbra/Overlay/qml/OverlayRoot.qml"_qs));
    for (const QQmlError& e : m_view->errors())
        std::fprintf(stdout, "[Valimbra] overlay view: %s\n", qPrintable(e.toString()));
    std::fflush(stdout);
    m_view->installEventFilter(this);
    connect(m_view.get(), &QQuickWindow::frameSwapped, this, [this] {
        if (m_isPreWarming) {
            m_isPreWarming = false;
            park();
        }
        if (m_grabAfterFrame && m_state == State::Shown) {
            if (m_grabRetry)
                m_grabRetry->cancel();
            grabKeyboard();
        }
        if (onFrame)
            onFrame();
        if (m_awaitingFirstFrame) {
            m_awaitingFirstFrame = false;
            if (onFirstFrame)
                onFirstFrame();
        }
    });
}

QQuickWindow* OverlayWindowController::window() const {
    return m_view.get();
}

QRectF OverlayWindowController::panelGeometry() const {
    return QRectF(m_view->geometry());
}

void OverlayWindowController::readAppearance() {
    SettingsStore& settings = *m_platform.settings;
    const SwitcherStyle style = effectiveSwitcherStyle(settings.string(switcherStyleKey));
    // Only an explicit choice counts: the grid and list have their own default motion.
    const std::optional<QString> animation =
        settings.isWritten(animationStyleKey) ? settings.string(animationStyleKey) : std::nullopt;
    const QString styleName = rawValue(style);
    const QString animationName = rawValue(effectiveAnimationStyle(style, animation));
    const bool dark = isDarkAppearance();
    const bool translucent = !m_platform.effects || m_platform.effects->compositingActive();
    if (styleName == m_switcherStyle && animationName == m_animationStyle && dark == m_dark &&
        translucent == m_translucent)
        return;
    m_switcherStyle = styleName;
    m_animationStyle = animationName;
    m_dark = dark;
    m_translucent = translucent;
    Q_EMIT appearanceChanged();
}

void OverlayWindowController::preWarm() {
    if (!m_view)
        return;
    // Rendered once, invisibly: transparent, and shaped to one pixel for desktops without a
    // compositor, where opacity means nothing.
    m_isPreWarming = true;
    m_state = State::PreWarming;
    m_view->setOpacity(0.0);
    m_view->setMask(QRegion(0, 0, 1, 1));
    if (auto screen = m_platform.screens->mainScreen())
        m_view->setPosition(screen->frame.topLeft().toPoint());
    m_view->show();
    m_preWarmTimeout =
        m_platform.scheduler->postAfter(milliseconds(kPreWarmTimeoutMs), this, [this] {
            if (m_isPreWarming) {
                m_isPreWarming = false;
                park();
            }
        });
}

// Between openings the panel stays mapped, off every screen and shaped to one pixel: mapping the
// window and waiting for its first expose at each opening would cost a few milliseconds.
void OverlayWindowController::park() {
    m_view->setMask(QRegion(0, 0, 1, 1));
    if (m_platform.effects)
        m_platform.effects->setBlurBehind(*m_view, QRegion());
    m_view->setPosition(parkedPosition);
    m_view->setOpacity(1.0);
    m_state = State::Hidden;
}

bool OverlayWindowController::isOnScreen() const {
    return m_view->isVisible() && m_view->position() != parkedPosition;
}

void OverlayWindowController::showPanel() {
    m_isPreWarming = false;
    if (!placeOnPointerScreen())
        return;
    if (m_finishHide) {
        m_finishHide->cancel();
        m_finishHide.reset();
    }
    m_previousActiveApp = m_platform.workspace->frontmostApplication();
    readAppearance();
    m_view->setOpacity(1.0);
    applyShape();
    m_awaitingFirstFrame = true;
    if (!m_view->isVisible())
        m_view->show();
    m_view->raise();
    m_state = State::Shown;
    Q_EMIT shownChanged();
    installMonitors();
    // The grab is a round trip to the server: taken once the first frame is out (or soon after,
    // should no frame come), it keeps the picture from waiting for it.
    m_grabAttempts = 0;
    m_grabAfterFrame = true;
    if (m_grabRetry)
        m_grabRetry->cancel();
    m_grabRetry = m_platform.scheduler->postAfter(milliseconds(kGrabFallbackMs), this,
                                                  [this] { grabKeyboard(); });
}

// Never straddling two screens: centred on the pointer, clamped into one screen's visible frame.
bool OverlayWindowController::placeOnPointerScreen() {
    const QPointF pointer = m_platform.screens->pointerPosition();
    const auto screen = overlay::screenForPointer(m_platform.screens->screens(),
                                                  m_platform.screens->mainScreen(), pointer);
    if (!screen)
        return false;
    const QPointF origin = overlay::panelOrigin(pointer, screen->visibleFrame);
    m_view->setGeometry(
        QRect(origin.toPoint(), QSize(int(overlay::panelSide), int(overlay::panelSide))));
    return true;
}

// A screen unplugged under the open panel would leave it, and the keyboard grab, where nobody
// sees it; a panel still wholly on a screen stays put under the pointer.
void OverlayWindowController::screensChanged() {
    if (m_state != State::Shown)
        return;
    const QRectF panel = panelGeometry();
    for (const ScreenInfo& screen : m_platform.screens->screens())
        if (screen.visibleFrame.contains(panel))
            return;
    if (placeOnPointerScreen())
        Q_EMIT moved();
}

void OverlayWindowController::hidePanel(bool animated) {
    removeMonitors();
    releaseKeyboard();
    std::optional<RunningApp> previous = std::exchange(m_previousActiveApp, std::nullopt);
    if (m_finishHide)
        m_finishHide->cancel();
    m_finishHide.reset();
    if (m_state == State::Hidden || m_state == State::PreWarming)
        return;
    m_state = State::Closing;
    Q_EMIT shownChanged();
    if (!animated) {
        finishHide(std::move(previous));
        return;
    }
    m_finishHide = m_platform.scheduler->postAfter(
        milliseconds(overlay::closeDelayMs), this,
        [this, previous = std::move(previous)] { finishHide(previous); });
}

void OverlayWindowController::finishHide(std::optional<RunningApp> previous) {
    m_finishHide.reset();
    if (m_switcher.isVisible())
        return; // opened again during the delay
    park();
    Workspace& workspace = *m_platform.workspace;
    const auto front = workspace.frontmostApplication();
    // Hand the focus back only when the panel took it: another window of ours that the user
    // opened meanwhile (the settings) keeps it.
    const QWindow* focused = QGuiApplication::focusWindow();
    const bool anotherOfOurs = focused && focused != m_view.get();
    if (previous && front && front->pid == workspace.ownProcessId() && !anotherOfOurs)
        workspace.activate(previous->pid, true);
}

void OverlayWindowController::installMonitors() {
    removeMonitors();
    InputMonitor& input = *m_platform.input;
    QPointer<OverlayWindowController> self(this);
    const quint64 mask = EventMask::LeftMouseDown | EventMask::RightMouseDown;
    m_globalClickMonitor = input.addGlobalMonitor(mask, [self](const InputEvent&) {
        if (self)
            self->m_switcher.hide();
    });
    m_localClickMonitor =
        input.addLocalMonitor(mask, [self](const InputEvent& e) -> std::optional<InputEvent> {
            if (self && e.window != self->m_view.get())
                self->m_switcher.hide();
            return e;
        });
}

void OverlayWindowController::removeMonitors() {
    if (m_globalClickMonitor)
        m_platform.input->removeMonitor(std::exchange(m_globalClickMonitor, 0));
    if (m_localClickMonitor)
        m_platform.input->removeMonitor(std::exchange(m_localClickMonitor, 0));
}

// The grab fails until the server has mapped the window; it is retried briefly.
void OverlayWindowController::grabKeyboard() {
    m_grabAfterFrame = false;
    if (m_state != State::Shown)
        return;
    if (m_view->setKeyboardGrabEnabled(true)) {
        m_keyboardGrabbed = true;
        m_view->setProperty(keyboardGrabProperty, true);
        return;
    }
    if (++m_grabAttempts >= kGrabAttempts) {
        std::fputs("[Valimbra] The switcher could not take the keyboard.\n", stdout);
        std::fflush(stdout);
        return;
    }
    m_grabRetry = m_platform.scheduler->postAfter(milliseconds(kGrabRetryMs), this,
                                                  [this] { grabKeyboard(); });
}

void OverlayWindowController::releaseKeyboard() {
    if (m_grabRetry) {
        m_grabRetry->cancel();
        m_grabRetry.reset();
    }
    if (m_keyboardGrabbed) {
        m_view->setKeyboardGrabEnabled(false);
        m_keyboardGrabbed = false;
    }
    m_view->setProperty(keyboardGrabProperty, false);
}

void OverlayWindowController::setContentShape(double width, double height, bool round) {
    const QSizeF size(std::clamp(width, 1.0, overlay::panelSide),
                      std::clamp(height, 1.0, overlay::panelSide));
    if (size == m_contentSize && round == m_contentRound)
        return;
    m_contentSize = size;
    m_contentRound = round;
    if (!m_isPreWarming)
        applyShape();
}

void OverlayWindowController::setPopupArea(const QRectF& area) {
    const QRect aligned = area.toAlignedRect();
    if (aligned == m_popupArea)
        return;
    m_popupArea = aligned;
    if (!m_isPreWarming)
        applyShape();
}

void OverlayWindowController::applyShape() {
    if (m_contentSize.isEmpty()) {
        m_view->setMask(QRegion());
        return;
    }
    const QRegion region = regionFor(m_contentSize, m_contentRound, 24.0);
    m_view->setMask(m_popupArea.isEmpty() ? region : region.united(m_popupArea));
    if (m_platform.effects && m_state != State::PreWarming)
        m_platform.effects->setBlurBehind(*m_view, m_translucent ? region : QRegion());
}

std::optional<InputEvent> OverlayWindowController::handleKey(const InputEvent& event) {
    if (m_state != State::Shown || event.window != m_view.get())
        return event;
    QString text;
    switch (overlay::keyAction(event.keyCode, event.modifierFlags, event.characters, &text)) {
    case overlay::KeyAction::Commit:
        m_switcher.commitHighlighted();
        return std::nullopt;
    case overlay::KeyAction::Forward:
        m_switcher.moveHighlight(1);
        m_switcher.startHoverDwell();
        return std::nullopt;
    case overlay::KeyAction::Backward:
        m_switcher.moveHighlight(-1);
        m_switcher.startHoverDwell();
        return std::nullopt;
    case overlay::KeyAction::DeleteBackward:
        m_switcher.deleteLastSearchCharacter();
        return std::nullopt;
    case overlay::KeyAction::Cancel:
        m_switcher.hide();
        return std::nullopt;
    case overlay::KeyAction::Search:
        m_switcher.appendSearchText(text);
        return std::nullopt;
    case overlay::KeyAction::PassOn:
        break;
    }
    switch (event.keyCode) {
    case kLeftArrow:
        Q_EMIT navigate(-1, 0);
        return std::nullopt;
    case kRightArrow:
        Q_EMIT navigate(1, 0);
        return std::nullopt;
    case kUpArrow:
        Q_EMIT navigate(0, -1);
        return std::nullopt;
    case kDownArrow:
        Q_EMIT navigate(0, 1);
        return std::nullopt;
    default:
        return event;
    }
}

void OverlayWindowController::handleScroll(double deltaX, double deltaY) {
    if (m_state != State::Shown)
        return;
    if (const int step = overlay::scrollStep(deltaX, deltaY)) {
        m_switcher.moveHighlight(step);
        m_switcher.startHoverDwell();
    }
}

bool OverlayWindowController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_view.get() && event->type() == QEvent::Wheel) {
        auto* wheel = static_cast<QWheelEvent*>(event);
        // Turning the wheel towards the user (or swiping up) moves forward.
        const QPointF delta = !wheel->pixelDelta().isNull()
                                  ? QPointF(wheel->pixelDelta())
                                  : QPointF(wheel->angleDelta()) * kPointsPerAngleUnit;
        handleScroll(-delta.x(), -delta.y());
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace valimbra
