#include "GeneralPaneModel.h"

#include "catalogue/KeyNames.h"
#include "platform/LoginItem.h"
#include "platform/SettingsStore.h"

namespace valimbra {

namespace {
constexpr double kDelays[] = {0.3, 0.5, 0.8, 1.0};

QString storedMode(const SettingsStore& s) {
    return s.string(GeneralPaneModel::invokeModeKey).value_or(u"hold"_qs);
}
qint64 storedKeyCode(const SettingsStore& s) {
    return s.integer(GeneralPaneModel::recordedKeyCodeKey, -1);
}
} // namespace

QString invokeHintText(const SettingsStore& s) {
    const qint64 keyCode = storedKeyCode(s);
    if (storedMode(s) == u"shortcut" && keyCode >= 0) {
        const qint64 modifiers =
            std::max<qint64>(0, s.integer(GeneralPaneModel::recordedModifiersKey));
        return u"Press "_qs + shortcutDisplayText(keyCode, modifiers) +
               u" to open Switcher view"_qs;
    }
    const QString raw =
        s.string(holdModifierSettingsKey).value_or(holdModifierRawValue(defaultHoldModifier));
    // A stored key that names none reads as the first of the list, not as the default.
    const HoldModifier modifier = holdModifierFromRaw(raw).value_or(allHoldModifiers.front());
    return u"Hold "_qs + holdModifierName(modifier) + u" to open Switcher view"_qs;
}

GeneralPaneModel::GeneralPaneModel(const SettingsServices& services, QObject* parent)
    : QObject(parent)
    , m_services(services) {
    connect(m_services.settings, &SettingsStore::changed, this,
            &GeneralPaneModel::onSettingChanged);
}

void GeneralPaneModel::onSettingChanged(const QString& key) {
    SettingsStore& s = *m_services.settings;
    // Recording a shortcut switches to it; clearing it goes back to holding a key.
    if (key == recordedKeyCodeKey) {
        if (storedKeyCode(s) >= 0) {
            if (storedMode(s) != u"shortcut")
                s.setString(invokeModeKey, u"shortcut"_qs);
        } else if (storedMode(s) == u"shortcut") {
            s.setString(invokeModeKey, u"hold"_qs);
        }
    }
    static const QString watched[] = {invokeModeKey,
                                      recordedKeyCodeKey,
                                      recordedModifiersKey,
                                      middleMouseKey,
                                      tabDwellKey,
                                      tabDwellDelayKey,
                                      QString(holdModifierSettingsKey)};
    if (std::find(std::begin(watched), std::end(watched), key) != std::end(watched))
        Q_EMIT changed();
}

QString GeneralPaneModel::invokeMode() const {
    return storedMode(*m_services.settings);
}

QString GeneralPaneModel::holdModifier() const {
    return m_services.settings->string(holdModifierSettingsKey)
        .value_or(holdModifierRawValue(defaultHoldModifier));
}

QVariantList GeneralPaneModel::holdOptions() const {
    QVariantList options;
    for (HoldModifier m : allHoldModifiers)
        options.append(QVariantMap{{u"label"_qs, holdModifierSymbol(m)},
                                   {u"value"_qs, holdModifierRawValue(m)}});
    return options;
}

bool GeneralPaneModel::shortcutAvailable() const {
    return storedKeyCode(*m_services.settings) >= 0;
}

bool GeneralPaneModel::middleMouseEnabled() const {
    return m_services.settings->boolValue(middleMouseKey, true);
}

bool GeneralPaneModel::tabDwellEnabled() const {
    return m_services.settings->boolValue(tabDwellKey, true);
}

double GeneralPaneModel::tabDwellDelay() const {
    return m_services.settings->doubleValue(tabDwellDelayKey, 0.5);
}

QVariantList GeneralPaneModel::delayOptions() const {
    QVariantList options;
    for (double d : kDelays)
        options.append(
            QVariantMap{{u"label"_qs, QString::number(d, 'f', 1) + u"s"_qs}, {u"value"_qs, d}});
    return options;
}

QString GeneralPaneModel::hintText() const {
    return invokeHintText(*m_services.settings);
}

QString GeneralPaneModel::versionText() const {
    return m_services.version.isEmpty() ? u"—"_qs : m_services.version;
}

void GeneralPaneModel::setInvokeMode(const QString& mode) {
    if (mode != u"hold" && mode != u"shortcut")
        return;
    if (mode == u"shortcut" && !shortcutAvailable())
        return;
    if (mode != invokeMode())
        m_services.settings->setString(invokeModeKey, mode);
}

void GeneralPaneModel::setHoldModifier(const QString& raw) {
    m_services.settings->setString(holdModifierSettingsKey, raw);
    // The running monitor switches now, not when some observer gets round to it.
    if (const auto modifier = holdModifierFromRaw(raw); modifier && m_services.applyHoldModifier)
        m_services.applyHoldModifier(*modifier);
}

void GeneralPaneModel::setMiddleMouseEnabled(bool on) {
    m_services.settings->setBool(middleMouseKey, on);
}

void GeneralPaneModel::setTabDwellEnabled(bool on) {
    m_services.settings->setBool(tabDwellKey, on);
}

void GeneralPaneModel::setTabDwellDelay(double seconds) {
    m_services.settings->setDouble(tabDwellDelayKey, seconds);
}

void GeneralPaneModel::setLaunchAtLogin(bool on) {
    // A refusal is not reported and the switch stays; the next showing reads the truth.
    if (m_services.loginItem)
        m_services.loginItem->setEnabled(on);
    if (m_launchAtLogin != on) {
        m_launchAtLogin = on;
        Q_EMIT launchAtLoginChanged();
    }
}

void GeneralPaneModel::refreshLaunchAtLogin() {
    const bool on = m_services.loginItem && m_services.loginItem->isEnabled();
    if (m_launchAtLogin != on) {
        m_launchAtLogin = on;
        Q_EMIT launchAtLoginChanged();
    }
}

} // namespace valimbra
