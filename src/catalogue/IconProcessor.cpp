#include "IconProcessor.h"

#include <QMutexLocker>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace valimbra {

namespace {

constexpr int kRegionSize = 32;

// A 32 x 32 region of the raster, placed in bottom-left-origin coordinates (y grows upwards),
// the convention screen geometry and the region table use. QImage row 0 is the top row, so the
// region's rows are counted from the bottom when reading the raster.
struct Region {
    int x;
    int y;
};

constexpr Region kCentre{16, 16};
// Bottom-left, bottom-right, top-left, top-right. The order only breaks ties between quadrants
// of equal saturation.
constexpr std::array<Region, 4> kQuadrants{{{0, 0}, {32, 0}, {0, 32}, {32, 32}}};

struct Hsb {
    double hue = 0.0; // [0, 1)
    double saturation = 0.0;
    double brightness = 0.0;
};

Hsb toHsb(double r, double g, double b) {
    const double maxC = std::max({r, g, b});
    const double minC = std::min({r, g, b});
    const double delta = maxC - minC;
    Hsb out;
    out.brightness = maxC;
    out.saturation = maxC > 0.0 ? delta / maxC : 0.0;
    if (delta > 0.0) {
        double h;
        if (maxC == r)
            h = (g - b) / delta;
        else if (maxC == g)
            h = 2.0 + (b - r) / delta;
        else
            h = 4.0 + (r - g) / delta;
        h /= 6.0;
        out.hue = h < 0.0 ? h + 1.0 : h;
    }
    return out;
}

QColor toColor(const Hsb& c) {
    const double v = c.brightness;
    const double s = c.saturation;
    const double h6 = c.hue * 6.0;
    const int sector = int(h6) % 6;
    const double f = h6 - std::floor(h6);
    const double p = v * (1.0 - s);
    const double q = v * (1.0 - s * f);
    const double t = v * (1.0 - s * (1.0 - f));
    const std::array<std::array<double, 3>, 6> sectors{
        {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}}};
    const auto& [r, g, b] = sectors[std::size_t(sector)];
    return QColor::fromRgbF(float(r), float(g), float(b), 1.0f);
}

bool isVivid(const Hsb& c) {
    return c.saturation >= IconProcessor::kVividSaturation &&
           c.brightness >= IconProcessor::kVividBrightness;
}

// The icon stretched over the whole raster, the way an icon drawn into a square fills it.
// Smooth (bilinear) sampling: the regions are averaged afterwards, so sampling a large icon
// sparsely costs nothing visible and keeps a 512-pixel icon as cheap as a small one.
QImage rasterise(const QImage& icon) {
    QImage raster(IconProcessor::kRasterSize, IconProcessor::kRasterSize,
                  QImage::Format_ARGB32_Premultiplied);
    if (raster.isNull())
        return {};
    raster.fill(Qt::transparent);
    QPainter painter(&raster);
    if (!painter.isActive())
        return {};
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(0, 0, IconProcessor::kRasterSize, IconProcessor::kRasterSize), icon);
    painter.end();
    return raster;
}

// The area average of a region as one 8-bit RGBA pixel would carry it: premultiplied channels
// are averaged (so transparent pixels weigh nothing), the colour is un-premultiplied and every
// channel rounded to 8 bits. Then enhanced: saturation x 1.2 and brightness x 1.05, capped at 1.
// Nothing when the region is (nearly) transparent.
std::optional<Hsb> regionColour(const QImage& raster, Region region) {
    const int top = IconProcessor::kRasterSize - region.y - kRegionSize;
    quint32 sumR = 0, sumG = 0, sumB = 0, sumA = 0;
    for (int row = top; row < top + kRegionSize; ++row) {
        const QRgb* line = reinterpret_cast<const QRgb*>(raster.constScanLine(row)) + region.x;
        for (int i = 0; i < kRegionSize; ++i) {
            const QRgb p = line[i];
            sumR += quint32(qRed(p));
            sumG += quint32(qGreen(p));
            sumB += quint32(qBlue(p));
            sumA += quint32(qAlpha(p));
        }
    }
    constexpr double pixels = double(kRegionSize * kRegionSize);
    const int alpha8 = qRound(double(sumA) / pixels);
    if (double(alpha8) / 255.0 <= IconProcessor::kMinimumAlpha)
        return std::nullopt;
    // sumA > 0 here, and premultiplied channels never exceed alpha, so each ratio is in [0, 1].
    const auto channel = [sumA](quint32 sum) {
        return double(qRound(255.0 * double(sum) / double(sumA))) / 255.0;
    };
    Hsb c = toHsb(channel(sumR), channel(sumG), channel(sumB));
    c.saturation = std::min(c.saturation * IconProcessor::kSaturationBoost, 1.0);
    c.brightness = std::min(c.brightness * IconProcessor::kBrightnessBoost, 1.0);
    return c;
}

} // namespace

std::optional<QColor> IconProcessor::computeColor(const QImage& icon) {
    if (icon.isNull())
        return std::nullopt;
    const QImage raster = rasterise(icon);
    if (raster.isNull())
        return std::nullopt;

    const std::optional<Hsb> centre = regionColour(raster, kCentre);
    if (centre && isVivid(*centre))
        return toColor(*centre);

    std::array<Hsb, 4> vivid;
    std::size_t vividCount = 0;
    for (const Region& quadrant : kQuadrants) {
        if (const auto c = regionColour(raster, quadrant); c && isVivid(*c))
            vivid[vividCount++] = *c;
    }
    if (vividCount > 0) {
        std::stable_sort(vivid.begin(), vivid.begin() + std::ptrdiff_t(vividCount),
                         [](const Hsb& a, const Hsb& b) { return a.saturation > b.saturation; });
        return toColor(vivid.front());
    }
    // A dull centre still says more about the icon than grey does.
    if (centre)
        return toColor(*centre);
    return systemGrey();
}

QColor IconProcessor::dominantColor(const QImage& icon, const QString& bundleID) {
    {
        QMutexLocker lock(&m_lock);
        if (const auto it = m_cache.constFind(bundleID); it != m_cache.cend())
            return *it;
    }
    const QColor colour = computeColor(icon).value_or(systemGrey());
    QMutexLocker lock(&m_lock);
    m_cache.insert(bundleID, colour);
    return colour;
}

std::optional<QColor> IconProcessor::cachedColor(const QString& bundleID) const {
    QMutexLocker lock(&m_lock);
    if (const auto it = m_cache.constFind(bundleID); it != m_cache.cend())
        return *it;
    return std::nullopt;
}

qsizetype IconProcessor::cacheSize() const {
    QMutexLocker lock(&m_lock);
    return m_cache.size();
}

} // namespace valimbra
