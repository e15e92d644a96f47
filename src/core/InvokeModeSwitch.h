#pragma once

#include <QLatin1String>
#include <QObject>

#include <optional>
#include <tuple>

namespace valimbra {

class HoldKeyMonitor;
class HotKeyRegistration;
class SettingsStore;

// Keeps exactly one invocation path live: the hold-key monitor (mode "hold", the default) or the
// recorded global shortcut (mode "shortcut" with a recorded key). Run at start and whenever one
// of the three settings changes; the owner decides when (see isInvokeSetting()).
class InvokeModeSwitch final : public QObject {
    Q_OBJECT
public:
    enum class Path { Hold, Shortcut };

    static constexpr QLatin1String invokeModeKey{"valimbra.invokeMode"};
    static constexpr QLatin1String recordedKeyCodeKey{"valimbra.recordedKeyCode"};
    static constexpr QLatin1String recordedModifiersKey{"valimbra.recordedModifiers"};

    InvokeModeSwitch(SettingsStore& settings, HoldKeyMonitor& holdMonitor,
                     HotKeyRegistration& hotKey, QObject* parent = nullptr);

    // True for the keys whose change calls for apply().
    static bool isInvokeSetting(const QString& key);

    // Reads the settings and switches: "shortcut" with a key code of 0 or more stops the hold
    // monitor and registers the shortcut; anything else unregisters the shortcut and starts the
    // hold monitor. A key code beyond 32 bits or negative modifiers stop the program.
    void apply();
    // apply() only when the three settings differ from what the last apply() read: writing a
    // setting with its unchanged value must not register the hot key again.
    void applyIfChanged();

    // The path the last apply() made live.
    Path activePath() const { return m_activePath; }

private:
    SettingsStore& m_settings;
    HoldKeyMonitor& m_holdMonitor;
    HotKeyRegistration& m_hotKey;
    Path m_activePath = Path::Hold;
    std::optional<std::tuple<QString, qint64, qint64>> m_applied;
};

} // namespace valimbra
