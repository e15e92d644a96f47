#pragma once

#include "SettingsServices.h"
#include "platform/Scheduler.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace valimbra {

// The settings window's panes, in sidebar order; the raw value is the title and what
// "valimbra.settings.requestedPane" holds.
enum class AppPane { general, appearance, favourites, ignored, about };
QString paneRawValue(AppPane pane);
// Exactly the five titles; anything else is no pane.
std::optional<AppPane> paneFromRaw(const QString& raw);

// Which pane the sidebar selects and which the detail column shows: a tap fades the detail out
// (0.18 s), swaps it, and fades it in (0.2 s); a request from elsewhere in the program jumps
// there at once.
class SettingsNavigation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    Q_PROPERTY(QStringList panes READ panes CONSTANT)
    Q_PROPERTY(QString selectedPane READ selectedPane NOTIFY selectedPaneChanged)
    Q_PROPERTY(QString displayedPane READ displayedPane NOTIFY displayedPaneChanged)
    // 0 while the detail fades out, 1 otherwise; `animateDetail` false means jump there.
    Q_PROPERTY(double detailOpacity READ detailOpacity NOTIFY detailOpacityChanged)
    Q_PROPERTY(bool animateDetail READ animateDetail NOTIFY detailOpacityChanged)
public:
    static inline const QString requestedPaneKey = u"valimbra.settings.requestedPane"_qs;
    static constexpr int fadeOutMs = 180;
    static constexpr int fadeInMs = 200;

    SettingsNavigation(SettingsStore& settings, Scheduler& scheduler, QObject* parent = nullptr);

    QStringList panes() const;
    QString selectedPane() const { return paneRawValue(m_selected); }
    QString displayedPane() const { return paneRawValue(m_displayed); }
    double detailOpacity() const { return m_detailOpacity; }
    bool animateDetail() const { return m_animate; }

    // A sidebar tap.
    Q_INVOKABLE void select(const QString& pane);
    // Opens the requested pane, if one is stored, and clears the request; an unknown value is
    // left stored. Run when the window is shown and whenever the request changes.
    void consumeRequest();

Q_SIGNALS:
    void selectedPaneChanged();
    void displayedPaneChanged();
    void detailOpacityChanged();

private:
    void setDetail(double opacity, bool animate);

    SettingsStore& m_settings;
    Scheduler& m_scheduler;
    AppPane m_selected = AppPane::general;
    AppPane m_displayed = AppPane::general;
    double m_detailOpacity = 1.0;
    bool m_animate = false;
    WorkItemPtr m_swap;
};

} // namespace valimbra
