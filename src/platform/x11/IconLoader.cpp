#include "IconLoader.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QImageReader>
#include <QMutexLocker>
#include <QSettings>

#include <algorithm>
#include <limits>

namespace valimbra::x11 {
namespace {

const QStringList kExtensions = {QStringLiteral("png"), QStringLiteral("svg"),
                                 QStringLiteral("xpm")};

int extensionRank(const QString& path) {
    // SVG renders crisply at any size; PNG beats XPM.
    if (path.endsWith(QLatin1String(".svg")))
        return 0;
    if (path.endsWith(QLatin1String(".png")))
        return 1;
    return 2;
}

} // namespace

IconLoader::IconLoader(QStringList dataDirs, QString themeName, int size)
    : m_themeName(std::move(themeName))
    , m_size(size) {
    m_baseDirs << QDir::homePath() + QLatin1String("/.icons");
    for (const QString& d : dataDirs)
        m_baseDirs << d + QLatin1String("/icons");
    m_baseDirs << QStringLiteral("/usr/share/pixmaps");
}

QImage IconLoader::decode(const QString& path, int size) {
    // Icons are small: a huge file, or one claiming a huge size, is not decoded at all.
    constexpr qint64 kMaxIconBytes = 16 << 20;
    if (QFileInfo(path).size() > kMaxIconBytes)
        return {};
    QImageReader reader(path);
    QSize native = reader.size();
    const bool vector = reader.format() == "svg" || reader.format() == "svgz";
    if (!vector && (native.width() > 16384 || native.height() > 16384))
        return {};
    if (native.isValid() && (native.width() > size || native.height() > size || vector)) {
        reader.setScaledSize(native.scaled(size, size, Qt::KeepAspectRatio));
    }
    QImage img = reader.read();
    if (img.isNull())
        return {};
    if (img.width() > size || img.height() > size)
        img = img.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return img.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage IconLoader::fromNetWmIcon(std::span<const quint32> data, int size) {
    size_t best = std::numeric_limits<size_t>::max();
    quint32 bestW = 0;
    quint32 bestH = 0;
    for (size_t i = 0; i + 2 <= data.size();) {
        const quint32 w = data[i];
        const quint32 h = data[i + 1];
        if (w == 0 || h == 0 || w > 4096 || h > 4096)
            break;
        const size_t pixels = size_t(w) * h;
        if (data.size() - i - 2 < pixels)
            break; // truncated: ignore this and anything after it
        const bool better =
            bestW == 0 || (bestW < quint32(size) ? w > bestW : (w >= quint32(size) && w < bestW));
        if (better) {
            best = i;
            bestW = w;
            bestH = h;
        }
        i += 2 + pixels;
    }
    if (bestW == 0)
        return {};
    QImage img(int(bestW), int(bestH), QImage::Format_ARGB32);
    const quint32* px = data.data() + best + 2;
    for (quint32 y = 0; y < bestH; ++y) {
        auto* line = reinterpret_cast<QRgb*>(img.scanLine(int(y)));
        for (quint32 x = 0; x < bestW; ++x)
            line[x] = px[size_t(y) * bestW + x];
    }
    if (img.width() > size || img.height() > size)
        img = img.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return img.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage IconLoader::generic() const {
    {
        QMutexLocker lock(&m_mutex);
        if (auto it = m_cache.constFind(QStringLiteral(":generic")); it != m_cache.cend())
            return *it;
    }
    QImage img = decode(QStringLiteral(":/valimbra/platform/application-generic.svg"), m_size);
    QMutexLocker lock(&m_mutex);
    m_cache.insert(QStringLiteral(":generic"), img);
    return img;
}

const IconLoader::Theme& IconLoader::themeLocked(const QString& name) const {
    Theme& theme = m_themes[name];
    if (theme.loaded)
        return theme;
    theme.loaded = true;
    for (const QString& base : m_baseDirs) {
        const QString index = base + QLatin1Char('/') + name + QLatin1String("/index.theme");
        if (!QFileInfo::exists(index))
            continue;
        QSettings ini(index, QSettings::IniFormat);
        // The values are comma-separated lists, which QSettings returns as string lists.
        theme.inherits = ini.value(QStringLiteral("Icon Theme/Inherits")).toStringList();
        QStringList dirs = ini.value(QStringLiteral("Icon Theme/Directories")).toStringList();
        dirs += ini.value(QStringLiteral("Icon Theme/ScaledDirectories")).toStringList();
        for (const QString& dir : std::as_const(dirs)) {
            ini.beginGroup(dir);
            ThemeDir td;
            // Any theme file may say anything: sizes within what a screen shows keep the
            // distance arithmetic from overflowing.
            const auto read = [&](const char* key, int fallback, int low, int high) {
                return std::clamp(ini.value(QLatin1String(key), fallback).toInt(), low, high);
            };
            td.size = read("Size", 0, 0, 4096);
            td.scale = read("Scale", 1, 1, 16);
            td.minSize = read("MinSize", td.size, 0, 4096);
            td.maxSize = read("MaxSize", td.size, 0, 4096);
            td.threshold = read("Threshold", 2, 0, 4096);
            const QString type =
                ini.value(QStringLiteral("Type"), QStringLiteral("Threshold")).toString();
            td.kind = type == QLatin1String("Fixed")      ? ThemeDir::Fixed
                      : type == QLatin1String("Scalable") ? ThemeDir::Scalable
                                                          : ThemeDir::Threshold;
            ini.endGroup();
            if (td.size <= 0)
                continue;
            const int dirIndex = int(theme.dirs.size());
            theme.dirs.append(td);
            // Every base directory may hold a part of the theme.
            for (const QString& b : m_baseDirs) {
                const QString path = b + QLatin1Char('/') + name + QLatin1Char('/') + dir;
                QDirIterator it(path, QDir::Files);
                while (it.hasNext()) {
                    const QFileInfo fi(it.next());
                    if (kExtensions.contains(fi.suffix()))
                        theme.files[fi.completeBaseName()].append({dirIndex, fi.filePath()});
                }
            }
        }
        break; // the first index.theme found defines the theme
    }
    return theme;
}

int IconLoader::distance(const ThemeDir& d) const {
    const int want = m_size;
    switch (d.kind) {
    case ThemeDir::Fixed:
        return std::abs(d.size * d.scale - want);
    case ThemeDir::Scalable:
        if (want < d.minSize * d.scale)
            return d.minSize * d.scale - want;
        if (want > d.maxSize * d.scale)
            return want - d.maxSize * d.scale;
        return 0;
    case ThemeDir::Threshold:
        if (want < (d.size - d.threshold) * d.scale)
            return (d.size - d.threshold) * d.scale - want;
        if (want > (d.size + d.threshold) * d.scale)
            return want - (d.size + d.threshold) * d.scale;
        return 0;
    }
    return 0;
}

std::optional<QString> IconLoader::findIconFile(const QString& name) const {
    if (name.isEmpty())
        return std::nullopt;
    QMutexLocker lock(&m_mutex);
    QStringList queue;
    if (!m_themeName.isEmpty())
        queue << m_themeName;
    QStringList visited;
    while (!queue.isEmpty() || !visited.contains(QLatin1String("hicolor"))) {
        const QString themeName = queue.isEmpty() ? QStringLiteral("hicolor") : queue.takeFirst();
        if (visited.contains(themeName))
            continue;
        visited << themeName;
        const Theme& theme = themeLocked(themeName);
        if (auto it = theme.files.constFind(name); it != theme.files.cend()) {
            QString best;
            int bestDistance = std::numeric_limits<int>::max();
            for (const auto& [dirIndex, path] : *it) {
                const int dist = distance(theme.dirs[dirIndex]) * 4 + extensionRank(path);
                if (dist < bestDistance) {
                    bestDistance = dist;
                    best = path;
                }
            }
            return best;
        }
        for (const QString& parent : theme.inherits)
            if (!visited.contains(parent))
                queue << parent;
    }
    for (const QString& ext : kExtensions) {
        const QString path = QStringLiteral("/usr/share/pixmaps/") + name + QLatin1Char('.') + ext;
        if (QFileInfo::exists(path))
            return path;
    }
    return std::nullopt;
}

QImage IconLoader::load(const QString& iconNameOrPath) const {
    if (iconNameOrPath.isEmpty())
        return {};
    {
        QMutexLocker lock(&m_mutex);
        if (auto it = m_cache.constFind(iconNameOrPath); it != m_cache.cend())
            return *it;
    }
    QImage img;
    if (QDir::isAbsolutePath(iconNameOrPath)) {
        img = decode(iconNameOrPath, m_size);
    } else if (auto path = findIconFile(iconNameOrPath)) {
        img = decode(*path, m_size);
    }
    QMutexLocker lock(&m_mutex);
    m_cache.insert(iconNameOrPath, img);
    return img;
}

} // namespace valimbra::x11
