#include "FirstRun.h"

#include "platform/SettingsStore.h"

namespace valimbra {

bool FirstRun::begin(SettingsStore& settings) {
    if (settings.boolValue(seenKey, false))
        return false;
    settings.setBool(seenKey, true);
    return true;
}

} // namespace valimbra
