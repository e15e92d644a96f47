#include "SettingsImageProvider.h"

#include "platform/Workspace.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrl>

namespace valimbra {

namespace {
constexpr int kDefaultSide = 64;

QImage renderSvg(const QByteArray& svg, const QSize& size) {
    QSvgRenderer renderer(svg);
    if (!renderer.isValid())
        return {};
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

QSize sideOr(const QSize& requested, int fallback) {
    const int w = requested.width() > 0 ? requested.width() : requested.height();
    const int h = requested.height() > 0 ? requested.height() : requested.width();
    return w > 0 ? QSize(w, h) : QSize(fallback, fallback);
}
} // namespace

SettingsImageProvider::SettingsImageProvider(Workspace& workspace)
    : QQuickImageProvider(QQuickImageProvider::Image)
    , m_workspace(workspace) {}

QImage SettingsImageProvider::requestImage(const QString& id, QSize* size,
                                           const QSize& requestedSize) {
    QImage image;
    const QSize side = sideOr(requestedSize, kDefaultSide);
    if (id.startsWith(u"symbol/")) {
        // symbol/<name>/<colour>: the shipped SVGs paint in "currentColor".
        const QString rest = id.mid(7);
        const qsizetype slash = rest.lastIndexOf(u'/');
        const QString name = slash < 0 ? rest : rest.left(slash);
        // The colour comes without its '#', which would start a URL fragment.
        QString colour = slash < 0 ? QString() : rest.mid(slash + 1);
        if (!colour.startsWith(u'#'))
            colour.prepend(u'#');
        QFile file(u":/valimbra/settings/symbols/"_qs + name + u".svg"_qs);
        if (!name.contains(u'/') && file.open(QIODevice::ReadOnly)) {
            QByteArray svg = file.readAll();
            const QColor c(colour);
            svg.replace("currentColor", (c.isValid() ? c : QColor(Qt::black)).name().toLatin1());
            image = renderSvg(svg, side);
        }
    } else if (id == u"appicon") {
        QFile file(u":/valimbra/settings/symbols/valimbra.svg"_qs);
        if (file.open(QIODevice::ReadOnly))
            image = renderSvg(file.readAll(), side);
    } else if (id.startsWith(u"app/")) {
        const QUrl appURL(QUrl::fromPercentEncoding(id.mid(4).toLatin1()));
        image = appURL.isLocalFile() ? m_workspace.iconForFile(appURL.toLocalFile())
                                     : m_workspace.genericApplicationIcon();
        if (!image.isNull() && image.size() != side)
            image = image.scaled(side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    if (size)
        *size = image.size();
    return image;
}

} // namespace valimbra
