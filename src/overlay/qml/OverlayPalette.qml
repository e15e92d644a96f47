import QtQuick

// Colours of the overlay, light and dark. The accent is the program's one colour for
// highlights and selections.
QtObject {
    property bool dark: false
    property bool translucent: true

    readonly property color accent: dark ? Qt.rgba(0.247, 0.659, 0.722, 1)
                                         : Qt.rgba(0.141, 0.478, 0.541, 1)
    readonly property color onAccent: dark ? Qt.rgba(1, 1, 1, 0.9) : "white"
    // The frosted backing: translucent where a compositor blends it, opaque where none does.
    readonly property color backdrop: dark ? Qt.rgba(0.11, 0.12, 0.14, translucent ? 0.88 : 1)
                                           : Qt.rgba(0.97, 0.97, 0.98, translucent ? 0.9 : 1)
    readonly property color backdropBorder: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.08)
    readonly property color text: dark ? Qt.rgba(1, 1, 1, 0.92) : Qt.rgba(0.07, 0.08, 0.09, 0.92)
    readonly property color secondaryText: dark ? Qt.rgba(1, 1, 1, 0.55) : Qt.rgba(0, 0, 0, 0.5)
    readonly property color separator: dark ? Qt.rgba(1, 1, 1, 0.08) : Qt.rgba(0, 0, 0, 0.07)
    readonly property color hover: dark ? Qt.rgba(1, 1, 1, 0.07) : Qt.rgba(0, 0, 0, 0.05)
    readonly property color glass: dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(1, 1, 1, 0.62)
    readonly property color glassBorder: dark ? Qt.rgba(1, 1, 1, 0.28) : Qt.rgba(1, 1, 1, 0.9)
    readonly property real shadowOpacity: dark ? 0.55 : 0.28
    readonly property color destructive: dark ? "#ff6b6b" : "#c62828"
}
