#include "ValimbraOnboardingWindowController.h"

#include "OnboardingImageProvider.h"
#include "OnboardingRingDemo.h"
#include "catalogue/HoldModifier.h"
#include "catalogue/KeyNames.h"
#include "platform/Appearance.h"

#include <QEvent>
#include <QQmlEngine>
#include <QQuickView>

#include <cstdio>

namespace valimbra {

ValimbraOnboardingWindowController::ValimbraOnboardingWindowController(const Platform& platform,
                                                                       QObject* parent)
    : QObject(parent)
    , m_platform(platform)
    , m_demo(std::make_unique<OnboardingRingDemo>(*platform.scheduler)) {}

ValimbraOnboardingWindowController::~ValimbraOnboardingWindowController() {
    m_completion.reset(); // going down with the program is no completion
    m_demo->stop();
    m_view.reset();
}

QString ValimbraOnboardingWindowController::holdHintText(const SettingsStore& settings) {
    const auto raw = settings.string(QString(holdModifierSettingsKey));
    // Unlike the settings' picker, the welcome reads anything unknown as Control.
    const HoldModifier modifier =
        holdModifierFromRaw(raw.value_or(QString())).value_or(HoldModifier::control);
    return u"Hold "_qs + holdModifierName(modifier) + u" to open"_qs;
}

bool ValimbraOnboardingWindowController::showIfFirstLaunch(std::function<void()> completion) {
    if (!FirstRun::begin(*m_platform.settings))
        return false;
    show(std::move(completion));
    return true;
}

QQuickWindow* ValimbraOnboardingWindowController::window() const {
    return m_view.get();
}

void ValimbraOnboardingWindowController::show(std::function<void()> completion) {
    if (m_view) {
        m_view->raise();
        bringToFront();
        return;
    }
    m_dark = isDarkAppearance();
    m_composited = !m_platform.effects || m_platform.effects->compositingActive();
    m_completion.emplace(std::move(completion));
    createWindow();
    m_view->show();
    m_view->raise();
    m_demo->start();
    // A request for a window the window manager has not taken on yet is lost: ask once it has
    // drawn its first frame.
    auto once = std::make_shared<QMetaObject::Connection>();
    *once = connect(m_view.get(), &QQuickWindow::frameSwapped, this, [this, once] {
        disconnect(*once);
        bringToFront();
    });
}

void ValimbraOnboardingWindowController::createWindow() {
    m_view = std::make_unique<QQuickView>();
    m_view->engine()->addImportPath(u"qrc:/"_qs);
    m_view->engine()->addImageProvider(u"onboarding"_qs, new OnboardingImageProvider);
    if (m_composited) {
        // Rounded corners and the soft edge need the compositor's blending.
        QSurfaceFormat format = m_view->format();
        format.setAlphaBufferSize(8);
        m_view->setFormat(format);
        m_view->setColor(Qt::transparent);
    }
    m_view->setTitle(u"Welcome to Valimbra"_qs);
    // Its own close button and a background to drag it by; floating above the windows in use.
    m_view->setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    const QSize size(width, height);
    m_view->setMinimumSize(size);
    m_view->setMaximumSize(size);
    m_view->resize(size);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setInitialProperties({{u"controller"_qs, QVariant::fromValue(this)},
                                  {u"demo"_qs, QVariant::fromValue(m_demo.get())}});
    m_view->setSource(QUrl(u"qrc:/Valimbra/Onboarding/qml/ValimbraOnboardingView.qml"_qs));
    for (const QQmlError& e : m_view->errors())
        std::fprintf(stdout, "[Valimbra] welcome view: %s\n", qPrintable(e.toString()));
    std::fflush(stdout);
    m_view->installEventFilter(this);

    // Centred on the screen under the pointer.
    const QPointF pointer = m_platform.screens->pointerPosition();
    std::optional<ScreenInfo> screen;
    for (const ScreenInfo& s : m_platform.screens->screens())
        if (s.frame.contains(pointer))
            screen = s;
    if (!screen)
        screen = m_platform.screens->mainScreen();
    if (screen)
        m_view->setPosition((screen->visibleFrame.center() - QPointF(width, height) / 2).toPoint());
}

void ValimbraOnboardingWindowController::bringToFront() {
    if (!m_view)
        return;
    if (m_platform.effects)
        m_platform.effects->bringToFront(*m_view);
    else
        m_view->requestActivate();
}

void ValimbraOnboardingWindowController::continueRequested() {
    auto completion = std::move(m_completion);
    dismiss();
    if (completion)
        (*completion)();
}

void ValimbraOnboardingWindowController::dismiss() {
    m_completion.reset(); // no longer observed: the completion cannot run twice
    releaseWindow();
}

void ValimbraOnboardingWindowController::releaseWindow() {
    m_demo->stop();
    if (!m_view)
        return;
    m_view->removeEventFilter(this);
    m_view->hide();
    // Often reached from the view's own click handler: the view goes once that has returned.
    m_view.release()->deleteLater();
}

bool ValimbraOnboardingWindowController::eventFilter(QObject* watched, QEvent* event) {
    // The close button, or the window manager closing it: the panel goes and the completion runs.
    if (watched == m_view.get() && event->type() == QEvent::Close) {
        event->ignore();
        auto completion = std::move(m_completion);
        m_completion.reset();
        releaseWindow();
        if (completion)
            (*completion)();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace valimbra
