#pragma once

#include "IgnoreListManager.h"
#include "PinnedAppsManager.h"

namespace valimbra {

// An application is never both a favourite and ignored. Every path that pins or ignores (the
// overlay's actions, the favourites and ignored panes, the file chooser) goes through these so
// the rule holds however the user gets there.

enum class PinVerdict {
    Allowed,
    Ignored,       // on the ignore list: "Apps in your Ignored list cannot be added as favourites"
    AlreadyPinned, // a favourite with this bundle ID exists (exact, case-sensitive)
    Full,          // PinnedAppsManager::capacity favourites already
    NoLocation,    // no valid appURL, so it could neither be launched nor saved
};

enum class IgnoreVerdict {
    Allowed,
    Favourite,      // a favourite: "Favourited apps cannot be added to the Ignored list"
    AlreadyIgnored, // a record with this bundle ID exists
};

// Whether `app` may become a favourite now, and if not, why (for the caller's wording).
PinVerdict pinVerdict(const PinnedAppsManager& pinned, const IgnoreListManager& ignored,
                      const PinnedApp& app);
// Pins `app` (appended and saved) when pinVerdict allows it; otherwise changes and writes
// nothing. Returns whether it was pinned.
bool pinApp(PinnedAppsManager& pinned, const IgnoreListManager& ignored, const PinnedApp& app);

// Whether the app with this bundle ID may be ignored now, and if not, why.
IgnoreVerdict ignoreVerdict(const IgnoreListManager& ignored, const PinnedAppsManager& pinned,
                            const QString& bundleID);
// Ignores `app` (appended and saved) when ignoreVerdict allows it; otherwise changes and writes
// nothing. Returns whether it was added.
bool ignoreApp(IgnoreListManager& ignored, const PinnedAppsManager& pinned, const IgnoredApp& app);

} // namespace valimbra
