#include "AppDelegate.h"

#include "core/HoldKeyMonitor.h"
#include "core/HotKeyRegistration.h"
#include "core/TrayIconArt.h"
#include "overlay/AppIconProvider.h"
#include "overlay/OverlayGeometry.h"

#include <QCoreApplication>
#include <QMenu>
#include <QSystemTrayIcon>

#include <cstdio>

namespace valimbra {

using std::chrono::milliseconds;

namespace {
constexpr qint64 kOpeningMs = 450; // the longest opening motion
} // namespace

AppDelegate::AppDelegate(const Platform& platform, Options options, QObject* parent)
    : QObject(parent)
    , m_platform(platform)
    , m_options(options)
    , m_engine(std::make_unique<AppSwitcherEngine>(platform))
    , m_router(*platform.settings) {
    m_launch.start();
}

AppDelegate::~AppDelegate() {
    for (const auto& c : std::as_const(m_cancellables))
        disconnect(c);
    m_hint.reset();
    m_onboarding.reset();
    m_statusItem.reset();
    m_settingsWindow.reset();
    m_overlay.reset();
    m_engine.reset();
}

void AppDelegate::start() {
    SettingsServices services;
    services.settings = m_platform.settings;
    services.scheduler = m_platform.scheduler;
    services.workspace = m_platform.workspace;
    services.input = m_platform.input;
    services.loginItem = m_platform.loginItem;
    services.effects = m_platform.effects;
    services.pinned = &m_engine->pinnedApps();
    services.ignored = &m_engine->ignoreList();
    services.running = &m_engine->runningApps();
    services.applyHoldModifier = [this](HoldModifier m) { m_engine->holdMonitor().setModifier(m); };
    services.refreshApps = [this] { m_engine->refresh(); };
    services.version = QCoreApplication::applicationVersion();
    m_settingsWindow = std::make_unique<SettingsWindowController>(services);
    // The router's handler: the pane is stored; showing the window consumes it.
    m_router.handler = [this](const QString&) { m_settingsWindow->show(); };

    if (m_options.trayIcon)
        createStatusItem();

    m_overlay = std::make_unique<OverlayWindowController>(*m_engine, m_platform,
                                                          m_engine->takeIconProvider());
    AppSwitcherEngine* engine = m_engine.get();
    m_cancellables.append(connect(engine, &SwitcherModel::displayedAppsChanged, this, [this] {
        if (!m_engine->displayedApps().isEmpty())
            prepareFirstShow();
    }));
    m_cancellables.append(connect(engine, &SwitcherModel::isVisibleChanged, this, [this] {
        if (m_engine->isVisible())
            m_overlay->showPanel();
        else
            m_overlay->hidePanel(true);
    }));
    m_cancellables.append(
        connect(m_overlay.get(), &OverlayWindowController::editFavouritesRequested, this, [this] {
            m_engine->hide();
            m_router.openPane(u"Favourites"_qs);
        }));
    if (!m_engine->displayedApps().isEmpty())
        prepareFirstShow();

    // The first launch: the flag is written before the welcome shows; when the welcome goes,
    // the hint points at the tray icon.
    m_hint = std::make_unique<ValimbraMenuBarHintWindowController>(m_platform, [this] {
        return m_statusItem && m_statusItem->isVisible() ? QRectF(m_statusItem->geometry())
                                                         : QRectF();
    });
    m_onboarding = std::make_unique<ValimbraOnboardingWindowController>(m_platform);
    m_onboarding->showIfFirstLaunch([this] { m_hint->show(); });

    if (m_options.trace) {
        auto wrap = [this](std::function<void()>& callback, const char* source) {
            callback = [this, source, inner = callback] {
                markInvocation(source);
                if (inner)
                    inner();
            };
        };
        wrap(m_engine->holdMonitor().onPressed, "hold key");
        wrap(m_engine->hotKey().onPressed, "shortcut");
        m_overlay->onFirstFrame = [this] {
            if (!m_invocationSource)
                return;
            std::printf("[Valimbra] trace: %s to first frame %.2f ms\n", m_invocationSource,
                        m_invocation.nsecsElapsed() / 1e6);
            std::fflush(stdout);
            m_invocationSource = nullptr;
            m_openingFrames = 0;
            m_opening.start();
        };
        // Frames presented during the opening animation, against 60 per second.
        m_overlay->onFrame = [this] {
            if (!m_opening.isValid())
                return;
            ++m_openingFrames;
            if (m_opening.elapsed() >= kOpeningMs) {
                std::printf(
                    "[Valimbra] trace: opening animation %d frames in %lld ms (%d at 60 Hz)\n",
                    m_openingFrames, m_opening.elapsed(), int(m_opening.elapsed() * 60 / 1000));
                std::fflush(stdout);
                m_opening.invalidate();
            }
        };
    }
}

void AppDelegate::markInvocation(const char* source) {
    m_invocationSource = source;
    m_invocation.start();
}

// The panel renders once, invisibly, before the first real opening; only then may it open.
void AppDelegate::prepareFirstShow() {
    if (m_firstShowPrepared)
        return;
    m_firstShowPrepared = true;
    const qint64 wait = std::max<qint64>(0, overlay::preWarmDelayMs - m_launch.elapsed());
    m_preWarmWorkItem = m_platform.scheduler->postAfter(milliseconds(wait), this, [this] {
        m_overlay->preWarm();
        m_engine->setReady(true);
    });
}

void AppDelegate::createStatusItem() {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        // A tray may appear later; the icon then shows up by itself.
    }
    m_statusItem = std::make_unique<QSystemTrayIcon>(trayIcon());
    m_statusItem->setToolTip(u"Valimbra"_qs);
    m_statusMenu = std::make_unique<QMenu>();
    QAction* open = m_statusMenu->addAction(u"Open Switcher"_qs);
    connect(open, &QAction::triggered, this, [this] { handleRequest(u"toggle"_qs); });
    QAction* settings = m_statusMenu->addAction(u"Settings…"_qs);
    connect(settings, &QAction::triggered, this, [this] { m_settingsWindow->show(); });
    m_statusMenu->addSeparator();
    QAction* quit = m_statusMenu->addAction(u"Quit Valimbra"_qs);
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);
    m_statusItem->setContextMenu(m_statusMenu.get());
    connect(m_statusItem.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    m_settingsWindow->toggle();
            });
    m_statusItem->show();
}

bool AppDelegate::handleRequest(const QString& request) {
    const InstanceRequest parsed = parseInstanceRequest(request);
    switch (parsed.kind) {
    case InstanceRequest::Kind::Toggle:
        if (!m_engine->isReady())
            return false; // still starting: the caller may try again
        markInvocation("--toggle");
        if (m_engine->isVisible())
            m_engine->hide();
        else
            m_engine->show();
        return true;
    case InstanceRequest::Kind::Quit:
        m_platform.scheduler->post(this, [] { QCoreApplication::quit(); });
        return true;
    case InstanceRequest::Kind::Activate: // a second start with nothing to ask: the settings open
        m_settingsWindow->show();
        return true;
    case InstanceRequest::Kind::Settings:
        m_router.openPane(parsed.pane);
        return true;
    case InstanceRequest::Kind::Unknown:
        break;
    }
    return false;
}

} // namespace valimbra
