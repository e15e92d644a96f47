#include "AppIconProvider.h"

#include <QMutexLocker>

#include <utility>

namespace valimbra {

AppIconProvider::AppIconProvider()
    : QQuickImageProvider(QQuickImageProvider::Image) {}

void AppIconProvider::update(const QList<AppEntry>& entries) {
    QHash<qint32, QImage> next;
    for (const AppEntry& e : entries)
        if (!e.icon.isNull())
            next.insert(e.id, e.icon);
    QMutexLocker lock(&m_mutex);
    // The previous list's icons stay one generation: a closing animation may still draw them.
    m_previous = std::exchange(m_icons, std::move(next));
}

QImage AppIconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    QImage image;
    {
        QMutexLocker lock(&m_mutex);
        const qint32 key = id.section(u'?', 0, 0).toInt();
        image = m_icons.value(key);
        if (image.isNull())
            image = m_previous.value(key);
    }
    if (image.isNull()) {
        // Not decoded yet (a favourite's icon loads off the main thread): a clear square for
        // now rather than a warning; the list's next update brings the icon.
        image = QImage(requestedSize.isValid() ? requestedSize : QSize(1, 1),
                       QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
    }
    if (requestedSize.isValid() && requestedSize != image.size())
        image = image.scaled(requestedSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (size)
        *size = image.size();
    return image;
}

} // namespace valimbra
