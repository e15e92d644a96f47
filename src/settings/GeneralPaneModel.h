#pragma once

#include "SettingsServices.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace valimbra {

// The hint under the invoke settings (and in the Appearance pane): "Press <shortcut> to open
// Switcher view" when a recorded shortcut is in use, else "Hold <key> to open Switcher view",
// where a stored hold key that names no key reads as the first one.
QString invokeHintText(const SettingsStore& settings);

// The General pane: how the switcher is invoked, Tab launch, login, version. Every change is
// written at once; the pane follows the store, so a change made elsewhere shows at once.
class GeneralPaneModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    Q_PROPERTY(QString invokeMode READ invokeMode NOTIFY changed)
    Q_PROPERTY(QString holdModifier READ holdModifier NOTIFY changed)
    // The segments of the hold-key picker: [{label, value}] in the order of the keys.
    Q_PROPERTY(QVariantList holdOptions READ holdOptions CONSTANT)
    Q_PROPERTY(bool shortcutAvailable READ shortcutAvailable NOTIFY changed)
    Q_PROPERTY(bool middleMouseEnabled READ middleMouseEnabled NOTIFY changed)
    Q_PROPERTY(bool tabDwellEnabled READ tabDwellEnabled NOTIFY changed)
    Q_PROPERTY(double tabDwellDelay READ tabDwellDelay NOTIFY changed)
    // [{label: "0.3s", value: 0.3}, ...]
    Q_PROPERTY(QVariantList delayOptions READ delayOptions CONSTANT)
    Q_PROPERTY(QString hintText READ hintText NOTIFY changed)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin NOTIFY launchAtLoginChanged)
    Q_PROPERTY(QString versionText READ versionText CONSTANT)
public:
    static inline const QString invokeModeKey = u"valimbra.invokeMode"_qs;
    static inline const QString recordedKeyCodeKey = u"valimbra.recordedKeyCode"_qs;
    static inline const QString recordedModifiersKey = u"valimbra.recordedModifiers"_qs;
    static inline const QString middleMouseKey = u"valimbra.middleMouseEnabled"_qs;
    static inline const QString tabDwellKey = u"valimbra.hoverLaunchEnabled"_qs;
    static inline const QString tabDwellDelayKey = u"valimbra.hoverLaunchDelay"_qs;

    explicit GeneralPaneModel(const SettingsServices& services, QObject* parent = nullptr);

    QString invokeMode() const;
    QString holdModifier() const;
    QVariantList holdOptions() const;
    bool shortcutAvailable() const;
    bool middleMouseEnabled() const;
    bool tabDwellEnabled() const;
    double tabDwellDelay() const;
    QVariantList delayOptions() const;
    QString hintText() const;
    bool launchAtLogin() const { return m_launchAtLogin; }
    QString versionText() const;

    // "shortcut" is refused while no shortcut is recorded.
    Q_INVOKABLE void setInvokeMode(const QString& mode);
    Q_INVOKABLE void setHoldModifier(const QString& raw);
    Q_INVOKABLE void setMiddleMouseEnabled(bool on);
    Q_INVOKABLE void setTabDwellEnabled(bool on);
    Q_INVOKABLE void setTabDwellDelay(double seconds);
    Q_INVOKABLE void setLaunchAtLogin(bool on);
    // Reads the login item's real state again (each time the pane is shown).
    Q_INVOKABLE void refreshLaunchAtLogin();

Q_SIGNALS:
    void changed();
    void launchAtLoginChanged();

private:
    void onSettingChanged(const QString& key);

    SettingsServices m_services;
    bool m_launchAtLogin = false;
};

} // namespace valimbra
