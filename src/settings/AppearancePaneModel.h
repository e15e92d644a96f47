#pragma once

#include "SettingsServices.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace valimbra {

// The Appearance pane: the switcher's style (four pods) and its opening animation, whose
// labels follow the style ("Bloom"/"Iris" for the ring, "Wave"/"Pop" for the list and grid)
// while the stored values stay "bloom" and "iris".
class AppearancePaneModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    // [{style, label, description}] in the order of the styles.
    Q_PROPERTY(QVariantList pods READ pods CONSTANT)
    // The chosen style's raw value; a stored value that names no style reads "spatialTile".
    Q_PROPERTY(QString activeStyle READ activeStyle NOTIFY changed)
    Q_PROPERTY(QString description READ description NOTIFY changed)
    Q_PROPERTY(QString animationStyle READ animationStyle NOTIFY changed)
    // [{label, value}] for the animation picker.
    Q_PROPERTY(QVariantList animationOptions READ animationOptions NOTIFY changed)
    Q_PROPERTY(QString hintText READ hintText NOTIFY changed)
public:
    explicit AppearancePaneModel(const SettingsServices& services, QObject* parent = nullptr);

    QVariantList pods() const;
    QString activeStyle() const;
    QString description() const;
    QString animationStyle() const;
    QVariantList animationOptions() const;
    QString hintText() const;

    Q_INVOKABLE void setSwitcherStyle(const QString& raw);
    Q_INVOKABLE void setAnimationStyle(const QString& raw);

Q_SIGNALS:
    void changed();

private:
    SettingsServices m_services;
};

} // namespace valimbra
