import QtQuick

// Colours of the welcome and the hint, light and dark, in the settings window's accent.
QtObject {
    property bool dark: false

    readonly property color accent: dark ? Qt.rgba(0.247, 0.659, 0.722, 1)
                                         : Qt.rgba(0.141, 0.478, 0.541, 1)
    // The button's fill: bright enough for black text in either look.
    readonly property color buttonFill: dark ? Qt.rgba(0.388, 0.804, 0.851, 1)
                                             : Qt.rgba(0.424, 0.816, 0.863, 1)
    readonly property color primary: dark ? "white" : "black"
    readonly property color text: dark ? Qt.rgba(1, 1, 1, 0.94) : Qt.rgba(0.102, 0.110, 0.122, 1)
    readonly property color secondaryText: dark ? Qt.rgba(1, 1, 1, 0.62) : Qt.rgba(0, 0, 0, 0.56)
    readonly property color backgroundTop: dark ? Qt.rgba(0.165, 0.176, 0.196, 1)
                                                : Qt.rgba(0.992, 0.992, 0.996, 1)
    readonly property color backgroundBottom: dark ? Qt.rgba(0.118, 0.125, 0.141, 1)
                                                   : Qt.rgba(0.933, 0.945, 0.957, 1)
    readonly property color border: primaryAt(dark ? 0.12 : 0.10)
    readonly property color focusRing: Qt.rgba(accent.r, accent.g, accent.b, 0.6)
    // White text on it reads at 5:1 in either look.
    readonly property color hintFill: Qt.rgba(0.118, 0.416, 0.475, 1)

    function primaryAt(alpha) {
        return Qt.rgba(primary.r, primary.g, primary.b, alpha)
    }
}
