#include "AppEntry.h"

namespace valimbra {

qint32 AppEntry::favouriteId(const QString& bundleID) {
    quint32 h = 5381;
    const QByteArray bytes = bundleID.toUtf8();
    for (char c : bytes)
        h = h * 33u + quint32(static_cast<unsigned char>(c));
    return static_cast<qint32>(~h | 0x80000000u);
}

AppEntry AppEntry::fromPinned(const PinnedApp& app, const IconForFile& iconForFile) {
    AppEntry e;
    e.id = favouriteId(app.bundleID);
    e.bundleID = app.bundleID;
    e.name = app.name;
    e.nameLower = lowercased(app.name);
    if (iconForFile)
        e.icon = iconForFile(app.appURL.toLocalFile());
    e.dominantColor = QColor::fromRgbF(0.5f, 0.5f, 0.5f); // plain grey
    e.activationPolicy = ActivationPolicy::Regular;
    e.lastActivated = Date::distantPast();
    e.activationCount = 0;
    e.searchScore = 0.0;
    e.isFavourite = true;
    e.isRunning = false;
    e.appURL = app.appURL;
    e.shortcut = std::nullopt;
    e.isAddSlot = false;
    return e;
}

} // namespace valimbra
