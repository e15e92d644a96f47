#pragma once

#include <QColor>
#include <QHash>
#include <QImage>
#include <QMutex>
#include <QString>

#include <optional>

namespace valimbra {

// Derives the one colour the overlay tints an application's cell with from its icon, and
// remembers it per bundle identifier for the life of the process.
//
// The icon is drawn into a 64 x 64 raster and five regions of it are averaged (centre first,
// then the four quadrants); a colourful region wins, slightly enhanced. Everything runs on the
// CPU over a 4096-pixel raster, on the caller's thread: callers that must not block the main
// thread (the running apps monitor) call it from their own queue.
//
// One instance is shared by whoever makes entries; it is injected, not global.
class IconProcessor {
public:
    // A region is vivid when its enhanced colour has at least this saturation and brightness.
    static constexpr double kVividSaturation = 0.12;
    static constexpr double kVividBrightness = 0.18;
    // A region average takes part only when its alpha exceeds this.
    static constexpr double kMinimumAlpha = 0.1;
    static constexpr double kSaturationBoost = 1.2;
    static constexpr double kBrightnessBoost = 1.05;
    static constexpr int kRasterSize = 64;

    IconProcessor() = default;
    virtual ~IconProcessor() = default;
    IconProcessor(const IconProcessor&) = delete;
    IconProcessor& operator=(const IconProcessor&) = delete;

    // The colour for `bundleID`: the cached one when there is one (whatever `icon` is now),
    // otherwise computed from `icon` and cached. Never invalid. Thread-safe; the lock is never
    // held while computing, so two threads asking for the same new identifier may both compute
    // and the later store wins.
    virtual QColor dominantColor(const QImage& icon, const QString& bundleID);

    // The uncached computation: nothing when the icon cannot be drawn (null image).
    static std::optional<QColor> computeColor(const QImage& icon);

    // Plain 50 % grey, the colour of an icon with nothing to go by.
    static QColor systemGrey() { return QColor::fromRgbF(0.5f, 0.5f, 0.5f); }

    // The cached colour for an identifier, if any (tests and diagnostics).
    std::optional<QColor> cachedColor(const QString& bundleID) const;
    qsizetype cacheSize() const;

private:
    mutable QMutex m_lock; // guards m_cache only
    QHash<QString, QColor> m_cache;
};

} // namespace valimbra
