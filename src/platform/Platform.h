#pragma once

#include "HotKeys.h"
#include "InputMonitor.h"
#include "LoginItem.h"
#include "Scheduler.h"
#include "Screens.h"
#include "SettingsStore.h"
#include "WindowEffects.h"
#include "Workspace.h"

#include <functional>
#include <memory>

namespace valimbra {

// Everything above platform/ reaches the operating system through this bundle. The real one is
// made in main.cpp from platform/x11; tests and the demo use platform/fake's FakePlatform.
struct Platform {
    Workspace* workspace = nullptr;
    InputMonitor* input = nullptr;
    HotKeys* hotKeys = nullptr;
    Screens* screens = nullptr;
    Scheduler* scheduler = nullptr;
    SettingsStore* settings = nullptr;
    WindowEffects* effects = nullptr;
    LoginItem* loginItem = nullptr;
    // Makes the serial background queue with the given label ("app.brindlex.monitor", ...).
    std::function<std::unique_ptr<SerialExecutor>(const QString& label)> makeExecutor;
};

} // namespace valimbra
