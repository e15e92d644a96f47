#pragma once

#include <QQuickImageProvider>

namespace valimbra {

class Workspace;

// Images of the settings window, drawn at the size asked for so they stay sharp at any scale:
//   image://settings/symbol/<name>/<#rrggbb>  a symbol (an SVG shipped with the program) in
//                                             that colour
//   image://settings/app/<percent-encoded file URL>  an application's icon
//   image://settings/appicon                  Valimbra's own icon
class SettingsImageProvider final : public QQuickImageProvider {
public:
    explicit SettingsImageProvider(Workspace& workspace);
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

private:
    Workspace& m_workspace;
};

} // namespace valimbra
