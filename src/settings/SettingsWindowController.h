#pragma once

#include "SettingsServices.h"

#include <QObject>

#include <memory>

class QQmlEngine;
class QQuickView;
class QQuickWindow;

namespace valimbra {

class AppChooserModel;
class AppListModel;
class AppearancePaneModel;
class GeneralPaneModel;
class SettingsNavigation;
class ShortcutRecorder;

// The program's one ordinary window: 680 x 520, fixed, titled "Valimbra", no minimise or zoom
// button; closing it hides it and its pane stays. Made on first use and kept.
class SettingsWindowController : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dark READ isDark NOTIFY darkChanged)
public:
    static constexpr int width = 680;
    static constexpr int height = 520;

    explicit SettingsWindowController(const SettingsServices& services, QObject* parent = nullptr);
    ~SettingsWindowController() override;

    // The tray icon's click: hides the window when it is shown, else shows it.
    void toggle();
    // Shows the window (centred the first time it is made) and brings it forward; a requested
    // pane, stored beforehand, opens.
    void show();
    bool isVisible() const;
    bool isDark() const { return m_dark; }

    QQuickWindow* window() const;
    SettingsNavigation* navigation() const { return m_navigation.get(); }
    GeneralPaneModel* general() const { return m_general.get(); }
    AppearancePaneModel* appearance() const { return m_appearance.get(); }
    AppListModel* favourites() const { return m_favourites.get(); }
    AppListModel* ignored() const { return m_ignored.get(); }
    AppChooserModel* chooser() const { return m_chooser.get(); }
    ShortcutRecorder* recorder() const { return m_recorder.get(); }

Q_SIGNALS:
    void darkChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createWindow();
    void bringToFront();
    void centreOnPointerScreen();
    bool isOnAScreen() const;

    SettingsServices m_services;
    std::unique_ptr<SettingsNavigation> m_navigation;
    std::unique_ptr<GeneralPaneModel> m_general;
    std::unique_ptr<AppearancePaneModel> m_appearance;
    std::unique_ptr<AppListModel> m_favourites;
    std::unique_ptr<AppListModel> m_ignored;
    std::unique_ptr<AppChooserModel> m_chooser;
    std::unique_ptr<ShortcutRecorder> m_recorder;
    std::unique_ptr<QQmlEngine> m_qml;
    std::unique_ptr<QQuickView> m_view;
    bool m_dark = false;
};

} // namespace valimbra
