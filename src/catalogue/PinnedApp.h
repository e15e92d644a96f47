#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace valimbra {

// A favourite. Identity is bundleID; equality compares all three fields.
struct PinnedApp {
    QString bundleID;
    QString name;
    QUrl appURL; // required
    bool operator==(const PinnedApp&) const = default;
};

// An application the switcher must never show. appURL is optional.
struct IgnoredApp {
    QString bundleID;
    QString name;
    std::optional<QUrl> appURL;
    bool operator==(const IgnoredApp&) const = default;
};

} // namespace valimbra
