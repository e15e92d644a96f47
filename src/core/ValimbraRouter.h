#pragma once

#include "platform/SettingsStore.h"

#include <QString>

#include <functional>

namespace valimbra {

// Carries requests to show a settings pane ("General", "Appearance", "Favourites", "Ignored",
// "About") from any part of the program to whoever owns the settings window.
class ValimbraRouter {
public:
    static inline const QString requestedPaneKey =
        QStringLiteral("valimbra.settings.requestedPane");

    explicit ValimbraRouter(SettingsStore& settings)
        : m_settings(settings) {}

    // The settings window's owner installs this; it opens the window, which reads the pane.
    std::function<void(const QString& pane)> handler;

    // Stores the pane for the settings window to consume, then asks for the window.
    void openPane(const QString& pane) {
        m_settings.setString(requestedPaneKey, pane);
        if (handler)
            handler(pane);
    }

private:
    SettingsStore& m_settings;
};

} // namespace valimbra
