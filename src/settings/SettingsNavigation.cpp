#include "SettingsNavigation.h"

#include "platform/SettingsStore.h"

#include <array>

namespace valimbra {

namespace {
constexpr std::array<AppPane, 5> kPanes{AppPane::general, AppPane::appearance, AppPane::favourites,
                                        AppPane::ignored, AppPane::about};
} // namespace

QString paneRawValue(AppPane pane) {
    switch (pane) {
    case AppPane::general:
        return u"General"_qs;
    case AppPane::appearance:
        return u"Appearance"_qs;
    case AppPane::favourites:
        return u"Favourites"_qs;
    case AppPane::ignored:
        return u"Ignored"_qs;
    case AppPane::about:
        return u"About"_qs;
    }
    Q_UNREACHABLE();
}

std::optional<AppPane> paneFromRaw(const QString& raw) {
    for (AppPane pane : kPanes)
        if (paneRawValue(pane) == raw)
            return pane;
    return std::nullopt;
}

SettingsNavigation::SettingsNavigation(SettingsStore& settings, Scheduler& scheduler,
                                       QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_scheduler(scheduler) {
    connect(&m_settings, &SettingsStore::changed, this, [this](const QString& key) {
        if (key == requestedPaneKey)
            consumeRequest();
    });
}

QStringList SettingsNavigation::panes() const {
    QStringList out;
    for (AppPane pane : kPanes)
        out << paneRawValue(pane);
    return out;
}

void SettingsNavigation::select(const QString& raw) {
    const auto pane = paneFromRaw(raw);
    if (!pane || *pane == m_selected)
        return;
    m_selected = *pane;
    Q_EMIT selectedPaneChanged();
    setDetail(0.0, true);
    if (m_swap)
        m_swap->cancel();
    m_swap = m_scheduler.postAfter(std::chrono::milliseconds(fadeOutMs), this, [this] {
        m_swap.reset();
        if (m_displayed != m_selected) {
            m_displayed = m_selected;
            Q_EMIT displayedPaneChanged();
        }
        setDetail(1.0, true);
    });
}

void SettingsNavigation::consumeRequest() {
    const QString raw = m_settings.string(requestedPaneKey).value_or(QString());
    if (raw.isEmpty())
        return;
    const auto pane = paneFromRaw(raw);
    if (!pane)
        return; // someone else's value, perhaps a newer version's: left as it is
    if (m_swap) {
        m_swap->cancel();
        m_swap.reset();
    }
    if (m_selected != *pane) {
        m_selected = *pane;
        Q_EMIT selectedPaneChanged();
    }
    if (m_displayed != *pane) {
        m_displayed = *pane;
        Q_EMIT displayedPaneChanged();
    }
    setDetail(1.0, false);
    m_settings.setString(requestedPaneKey, QString());
}

void SettingsNavigation::setDetail(double opacity, bool animate) {
    if (opacity == m_detailOpacity && animate == m_animate)
        return;
    m_detailOpacity = opacity;
    m_animate = animate;
    Q_EMIT detailOpacityChanged();
}

} // namespace valimbra
