#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <optional>
#include <span>

namespace valimbra::x11 {

// Finds and decodes application icons. Lookup follows the freedesktop icon-theme rules (the
// current theme, its parents, hicolor, then the pixmaps directory) by reading the theme
// directories itself: QIcon's theme loader may only be used on the GUI thread, and icons are
// decoded on background queues. Thread-safe; results are cached per icon name.
class IconLoader {
public:
    // `dataDirs`: XDG data directories in precedence order; `themeName` the current icon theme
    // (read from QIcon::themeName() on the GUI thread); icons come out at most `size` pixels.
    IconLoader(QStringList dataDirs, QString themeName, int size = 128);

    // The icon for an Icon= value: a theme name or an absolute file path. Null when not found.
    QImage load(const QString& iconNameOrPath) const;
    // The icon file a theme name resolves to, if any.
    std::optional<QString> findIconFile(const QString& name) const;
    // The shipped generic application icon.
    QImage generic() const;

    // Decodes a file, scaled down (SVGs rendered) to fit `size` pixels.
    static QImage decode(const QString& path, int size);
    // Picks the best image of a _NET_WM_ICON property (width, height, ARGB pixels, repeated):
    // the smallest one at least `size` wide, else the largest. Null when the data is malformed.
    static QImage fromNetWmIcon(std::span<const quint32> data, int size);

    int size() const { return m_size; }

private:
    struct ThemeDir {
        int size = 0;
        int minSize = 0;
        int maxSize = 0;
        int threshold = 2;
        int scale = 1;
        enum Kind { Fixed, Scalable, Threshold } kind = Threshold;
    };
    struct Theme {
        bool loaded = false;
        QStringList inherits;
        QList<ThemeDir> dirs;
        QHash<QString, QList<QPair<int, QString>>> files; // icon name -> (dir index, path)
    };

    const Theme& themeLocked(const QString& name) const;
    int distance(const ThemeDir& d) const;

    QStringList m_baseDirs; // icon base directories in precedence order
    QString m_themeName;
    int m_size;
    mutable QMutex m_mutex;
    mutable QHash<QString, Theme> m_themes;
    mutable QHash<QString, QImage> m_cache;
};

} // namespace valimbra::x11
