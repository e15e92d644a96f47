#pragma once

#include "platform/Platform.h"
#include "platform/fake/FakeHotKeys.h"
#include "platform/fake/FakeInputMonitor.h"
#include "platform/fake/FakeLoginItem.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/FakeScreens.h"
#include "platform/fake/FakeWindowEffects.h"
#include "platform/fake/FakeWorkspace.h"
#include "platform/fake/MemorySettingsStore.h"

#include <memory>

namespace valimbra {

// Every platform service as a fake, for tests and the demo mode: one virtual clock drives the
// main loop and all background queues, so a test advances time and everything happens in order.
//     FakePlatform fake;
//     AppSwitcherEngine engine(fake.platform());
struct FakePlatform {
    FakeScheduler scheduler;
    MemorySettingsStore settings;
    FakeWorkspace workspace;
    FakeInputMonitor input;
    FakeHotKeys hotKeys;
    FakeScreens screens;
    FakeWindowEffects effects;
    FakeLoginItem loginItem;

    FakePlatform() { workspace.setReportScheduler(&scheduler); }

    Platform platform() {
        Platform p;
        p.workspace = &workspace;
        p.input = &input;
        p.hotKeys = &hotKeys;
        p.screens = &screens;
        p.scheduler = &scheduler;
        p.settings = &settings;
        p.effects = &effects;
        p.loginItem = &loginItem;
        p.makeExecutor = [this](const QString&) -> std::unique_ptr<SerialExecutor> {
            return std::make_unique<SchedulerExecutor>(scheduler);
        };
        return p;
    }
};

} // namespace valimbra
