#pragma once

#include "core/AppSwitcherEngine.h"
#include "core/InstanceServer.h"
#include "core/ValimbraRouter.h"
#include "onboarding/ValimbraMenuBarHintWindowController.h"
#include "onboarding/ValimbraOnboardingWindowController.h"
#include "overlay/OverlayWindowController.h"
#include "platform/Platform.h"
#include "settings/SettingsWindowController.h"

#include <QElapsedTimer>
#include <QObject>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace valimbra {

// Where the program starts: the engine, the tray icon, the overlay panel, the subscriptions
// between them, the router, the welcome on the first launch, and the requests of a second start.
class AppDelegate final : public QObject {
    Q_OBJECT
public:
    struct Options {
        bool trace = false;   // print invocation-to-frame timings
        bool trayIcon = true; // tests on a bare X server may go without
    };

    AppDelegate(const Platform& platform, Options options, QObject* parent = nullptr);
    ~AppDelegate() override;

    void start();
    // A request from a second start ("toggle", "quit", "activate", "settings <pane>").
    bool handleRequest(const QString& request);

    AppSwitcherEngine& engine() const { return *m_engine; }
    OverlayWindowController& overlayController() const { return *m_overlay; }
    ValimbraRouter& router() { return m_router; }
    SettingsWindowController& settingsWindow() const { return *m_settingsWindow; }
    ValimbraOnboardingWindowController& onboarding() const { return *m_onboarding; }
    ValimbraMenuBarHintWindowController& hint() const { return *m_hint; }

private:
    void createStatusItem();
    void prepareFirstShow();
    void markInvocation(const char* source);

    Platform m_platform;
    Options m_options;
    std::unique_ptr<AppSwitcherEngine> m_engine;
    std::unique_ptr<OverlayWindowController> m_overlay;
    std::unique_ptr<SettingsWindowController> m_settingsWindow;
    std::unique_ptr<ValimbraOnboardingWindowController> m_onboarding;
    std::unique_ptr<ValimbraMenuBarHintWindowController> m_hint;
    std::unique_ptr<QSystemTrayIcon> m_statusItem;
    std::unique_ptr<QMenu> m_statusMenu;
    ValimbraRouter m_router;
    QList<QMetaObject::Connection> m_cancellables;
    bool m_firstShowPrepared = false;
    WorkItemPtr m_preWarmWorkItem;
    QElapsedTimer m_launch;
    QElapsedTimer m_invocation;
    const char* m_invocationSource = nullptr;
    QElapsedTimer m_opening;
    int m_openingFrames = 0;
};

} // namespace valimbra
