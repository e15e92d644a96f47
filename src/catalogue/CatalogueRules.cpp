#include "CatalogueRules.h"

namespace valimbra {

PinVerdict pinVerdict(const PinnedAppsManager& pinned, const IgnoreListManager& ignored,
                      const PinnedApp& app) {
    // Most specific first, so the caller can say the one thing that matters to the user.
    if (ignored.isIgnored(app.bundleID))
        return PinVerdict::Ignored;
    if (pinned.isPinned(app.bundleID))
        return PinVerdict::AlreadyPinned;
    if (pinned.isFull())
        return PinVerdict::Full;
    if (!app.appURL.isValid())
        return PinVerdict::NoLocation;
    return PinVerdict::Allowed;
}

bool pinApp(PinnedAppsManager& pinned, const IgnoreListManager& ignored, const PinnedApp& app) {
    if (pinVerdict(pinned, ignored, app) != PinVerdict::Allowed)
        return false;
    return pinned.add(app);
}

IgnoreVerdict ignoreVerdict(const IgnoreListManager& ignored, const PinnedAppsManager& pinned,
                            const QString& bundleID) {
    if (pinned.isPinned(bundleID))
        return IgnoreVerdict::Favourite;
    if (ignored.isIgnored(bundleID))
        return IgnoreVerdict::AlreadyIgnored;
    return IgnoreVerdict::Allowed;
}

bool ignoreApp(IgnoreListManager& ignored, const PinnedAppsManager& pinned, const IgnoredApp& app) {
    if (ignoreVerdict(ignored, pinned, app.bundleID) != IgnoreVerdict::Allowed)
        return false;
    IgnoredApp record = app;
    if (record.appURL && !record.appURL->isValid())
        record.appURL.reset(); // a location we cannot use is as good as unknown
    ignored.append(record);
    return true;
}

} // namespace valimbra
