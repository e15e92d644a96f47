#include "Appearance.h"

#include <QGuiApplication>
#include <QPalette>

namespace valimbra {

bool isDarkAppearance() {
    const QByteArray forced = qgetenv("VALIMBRA_COLOR_SCHEME").trimmed().toLower();
    if (forced == "dark")
        return true;
    if (forced == "light")
        return false;
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

} // namespace valimbra
