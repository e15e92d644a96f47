#pragma once

#include "catalogue/AppEntry.h"

#include <QHash>
#include <QMutex>
#include <QQuickImageProvider>

namespace valimbra {

// Serves "image://appicon/<id>" to the views. QML may ask from its image-loading thread, so the
// icons are kept in a locked map that the engine refreshes on the main thread.
class AppIconProvider final : public QQuickImageProvider {
public:
    AppIconProvider();

    void update(const QList<AppEntry>& entries);
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

private:
    QMutex m_mutex;
    QHash<qint32, QImage> m_icons;
    QHash<qint32, QImage> m_previous;
};

} // namespace valimbra
