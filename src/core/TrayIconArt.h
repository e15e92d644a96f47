#pragma once

#include <QIcon>
#include <QImage>

namespace valimbra {

// The tray icon, drawn in code: a ring of petals around a centre dot. Light shapes with a dark
// rim, so it reads on light and dark panels alike. `side` is in pixels.
QImage drawTrayIcon(int side);
QIcon trayIcon();

} // namespace valimbra
