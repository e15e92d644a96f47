#pragma once

#include "catalogue/HoldModifier.h"

#include <QString>

#include <functional>

namespace valimbra {

class IgnoreListManager;
class InputMonitor;
class LoginItem;
class PinnedAppsManager;
class RunningAppsMonitor;
class Scheduler;
class SettingsStore;
class WindowEffects;
class Workspace;

// What the settings window works with. The engine lives above this layer, so what it must do
// at once is passed in as functions.
struct SettingsServices {
    SettingsStore* settings = nullptr;
    Scheduler* scheduler = nullptr;
    Workspace* workspace = nullptr;
    InputMonitor* input = nullptr;
    LoginItem* loginItem = nullptr;
    WindowEffects* effects = nullptr;
    PinnedAppsManager* pinned = nullptr;
    IgnoreListManager* ignored = nullptr;
    RunningAppsMonitor* running = nullptr;
    // The running hold-key monitor switches to this modifier without waiting for any observer.
    std::function<void(HoldModifier)> applyHoldModifier;
    // The switcher rebuilds its list after a list changed here.
    std::function<void()> refreshApps;
    QString version;
};

} // namespace valimbra
