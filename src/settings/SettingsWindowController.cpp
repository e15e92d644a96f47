#include "SettingsWindowController.h"

#include "AppChooserModel.h"
#include "AppListModel.h"
#include "AppearancePaneModel.h"
#include "GeneralPaneModel.h"
#include "SettingsImageProvider.h"
#include "SettingsNavigation.h"
#include "ShortcutRecorder.h"
#include "platform/Appearance.h"
#include "platform/WindowEffects.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>

#include <algorithm>

#include <cstdio>

namespace valimbra {

SettingsWindowController::SettingsWindowController(const SettingsServices& services,
                                                   QObject* parent)
    : QObject(parent)
    , m_services(services)
    , m_navigation(std::make_unique<SettingsNavigation>(*services.settings, *services.scheduler))
    , m_general(std::make_unique<GeneralPaneModel>(services))
    , m_appearance(std::make_unique<AppearancePaneModel>(services))
    , m_favourites(std::make_unique<AppListModel>(AppListModel::Kind::favourites, services))
    , m_ignored(std::make_unique<AppListModel>(AppListModel::Kind::ignored, services))
    , m_chooser(std::make_unique<AppChooserModel>(services))
    , m_recorder(std::make_unique<ShortcutRecorder>(services)) {}

SettingsWindowController::~SettingsWindowController() {
    m_recorder->stopRecording();
    m_view.reset();
    m_qml.reset();
}

QQuickWindow* SettingsWindowController::window() const {
    return m_view.get();
}

bool SettingsWindowController::isVisible() const {
    return m_view && m_view->isVisible();
}

void SettingsWindowController::createWindow() {
    m_qml = std::make_unique<QQmlEngine>();
    m_qml->addImportPath(u"qrc:/"_qs);
    auto* images = new SettingsImageProvider(*m_services.workspace);
    m_qml->addImageProvider(u"settings"_qs, images);
    // "Quit" in the sidebar asks the engine; the program ends once the click is handled.
    connect(m_qml.get(), &QQmlEngine::quit, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    m_view = std::make_unique<QQuickView>(m_qml.get(), nullptr);
    m_view->setTitle(u"Valimbra"_qs);
    QIcon icon;
    for (int side : {16, 24, 32, 48, 64, 128})
        icon.addPixmap(
            QPixmap::fromImage(images->requestImage(u"appicon"_qs, nullptr, {side, side})));
    m_view->setIcon(icon);
    // Titled and closable; no minimise or maximise button, and no resizing.
    m_view->setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                     Qt::WindowCloseButtonHint);
    const QSize size(width, height);
    m_view->setMinimumSize(size);
    m_view->setMaximumSize(size);
    m_view->resize(size);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setInitialProperties({
        {u"controller"_qs, QVariant::fromValue(this)},
        {u"navigation"_qs, QVariant::fromValue(m_navigation.get())},
        {u"general"_qs, QVariant::fromValue(m_general.get())},
        {u"appearance"_qs, QVariant::fromValue(m_appearance.get())},
        {u"favourites"_qs, QVariant::fromValue(m_favourites.get())},
        {u"ignored"_qs, QVariant::fromValue(m_ignored.get())},
        {u"chooser"_qs, QVariant::fromValue(m_chooser.get())},
        {u"recorder"_qs, QVariant::fromValue(m_recorder.get())},
    });
    m_view->setSource(QUrl(u"qrc:/Valimbra/Settings/qml/SettingsWindow.qml"_qs));
    for (const QQmlError& e : m_view->errors())
        std::fprintf(stdout, "[Valimbra] settings view: %s\n", qPrintable(e.toString()));
    std::fflush(stdout);
    m_view->installEventFilter(this);
    m_recorder->setWindow(m_view.get());

    centreOnPointerScreen();
}

// Centred once, on the screen under the pointer; later showings keep where the user put it,
// unless that place is on no screen any more (its screen was unplugged meanwhile).
void SettingsWindowController::centreOnPointerScreen() {
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen) {
        const QRect area = screen->availableGeometry();
        m_view->setPosition(area.center() - QPoint(m_view->width() / 2, m_view->height() / 2));
    }
}

bool SettingsWindowController::isOnAScreen() const {
    const QRect frame = m_view->frameGeometry();
    const auto screens = QGuiApplication::screens();
    return std::any_of(screens.begin(), screens.end(),
                       [&](const QScreen* s) { return s->availableGeometry().intersects(frame); });
}

void SettingsWindowController::show() {
    const bool dark = isDarkAppearance();
    if (dark != m_dark) {
        m_dark = dark;
        Q_EMIT darkChanged();
    }
    if (!m_view)
        createWindow();
    else if (!m_view->isVisible() && !isOnAScreen())
        centreOnPointerScreen();
    m_navigation->consumeRequest();
    m_general->refreshLaunchAtLogin();
    const bool wasVisible = m_view->isVisible();
    m_view->show();
    m_view->raise();
    if (wasVisible) {
        bringToFront();
        return;
    }
    // A request for a window the window manager has not taken on yet is lost: ask once it
    // has drawn its first frame.
    auto once = std::make_shared<QMetaObject::Connection>();
    *once = connect(m_view.get(), &QQuickWindow::frameSwapped, this, [this, once] {
        disconnect(*once);
        bringToFront();
    });
}

void SettingsWindowController::bringToFront() {
    if (m_services.effects)
        m_services.effects->bringToFront(*m_view);
    else
        m_view->requestActivate();
}

void SettingsWindowController::toggle() {
    if (isVisible()) {
        m_recorder->stopRecording();
        m_view->hide();
    } else {
        show();
    }
}

bool SettingsWindowController::eventFilter(QObject* watched, QEvent* event) {
    // The close button hides the window; it and its pane live on.
    if (watched == m_view.get() && event->type() == QEvent::Close) {
        event->ignore();
        m_recorder->stopRecording();
        m_view->hide();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace valimbra
