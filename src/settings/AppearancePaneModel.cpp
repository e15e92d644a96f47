#include "AppearancePaneModel.h"

#include "GeneralPaneModel.h"
#include "catalogue/SwitcherStyle.h"
#include "platform/SettingsStore.h"

namespace valimbra {

AppearancePaneModel::AppearancePaneModel(const SettingsServices& services, QObject* parent)
    : QObject(parent)
    , m_services(services) {
    connect(m_services.settings, &SettingsStore::changed, this, [this](const QString& key) {
        // The hint line repeats the General pane's, so its keys count too.
        if (key == switcherStyleKey || key == animationStyleKey ||
            key == GeneralPaneModel::invokeModeKey || key == GeneralPaneModel::recordedKeyCodeKey ||
            key == GeneralPaneModel::recordedModifiersKey || key == holdModifierSettingsKey)
            Q_EMIT changed();
    });
}

QVariantList AppearancePaneModel::pods() const {
    QVariantList pods;
    for (SwitcherStyle style : allSwitcherStyles)
        pods.append(QVariantMap{{u"style"_qs, rawValue(style)},
                                {u"label"_qs, label(style)},
                                {u"description"_qs, valimbra::description(style)}});
    return pods;
}

QString AppearancePaneModel::activeStyle() const {
    return rawValue(effectiveSwitcherStyle(m_services.settings->string(switcherStyleKey)));
}

QString AppearancePaneModel::description() const {
    return valimbra::description(
        effectiveSwitcherStyle(m_services.settings->string(switcherStyleKey)));
}

QString AppearancePaneModel::animationStyle() const {
    return m_services.settings->string(animationStyleKey).value_or(rawValue(AnimationStyle::bloom));
}

QVariantList AppearancePaneModel::animationOptions() const {
    const SwitcherStyle style =
        effectiveSwitcherStyle(m_services.settings->string(switcherStyleKey));
    QVariantList options;
    for (AnimationStyle animation : allAnimationStyles)
        options.append(QVariantMap{{u"label"_qs, label(animation, style)},
                                   {u"value"_qs, rawValue(animation)}});
    return options;
}

QString AppearancePaneModel::hintText() const {
    return invokeHintText(*m_services.settings);
}

void AppearancePaneModel::setSwitcherStyle(const QString& raw) {
    if (switcherStyleFromRaw(raw))
        m_services.settings->setString(switcherStyleKey, raw);
}

void AppearancePaneModel::setAnimationStyle(const QString& raw) {
    if (animationStyleFromRaw(raw))
        m_services.settings->setString(animationStyleKey, raw);
}

} // namespace valimbra
