import QtQuick

// Colours of the settings window, light and dark. Tinted fills are the primary colour (black in
// light, white in dark) at a low opacity, so they sit well on either background.
QtObject {
    id: palette
    property bool dark: false

    readonly property color accent: dark ? Qt.rgba(0.247, 0.659, 0.722, 1)
                                         : Qt.rgba(0.141, 0.478, 0.541, 1)
    readonly property color accentForeground: dark ? Qt.rgba(1, 1, 1, 0.9) : "white"
    readonly property color primary: dark ? "white" : "black"

    readonly property color text: dark ? Qt.rgba(1, 1, 1, 0.92) : Qt.rgba(0.102, 0.110, 0.122, 1)
    readonly property color secondaryText: dark ? Qt.rgba(1, 1, 1, 0.58) : Qt.rgba(0, 0, 0, 0.56)
    readonly property color tertiaryText: dark ? Qt.rgba(1, 1, 1, 0.40) : Qt.rgba(0, 0, 0, 0.40)

    readonly property color windowBackground: dark ? Qt.rgba(0.137, 0.145, 0.161, 1)
                                                   : Qt.rgba(0.973, 0.976, 0.980, 1)
    readonly property color sidebarBackground: dark ? Qt.rgba(0.102, 0.110, 0.122, 1)
                                                    : Qt.rgba(0.922, 0.929, 0.937, 1)
    readonly property color sheetBackground: dark ? Qt.rgba(0.173, 0.180, 0.200, 1) : "white"
    readonly property color scrim: Qt.rgba(0, 0, 0, dark ? 0.45 : 0.22)

    readonly property color separator: primaryAt(dark ? 0.16 : 0.18)
    readonly property color divider: primaryAt(dark ? 0.16 * 0.35 : 0.18 * 0.35)
    readonly property color cardFill: primaryAt(0.04)
    readonly property color cardBorder: primaryAt(dark ? 0.05 : 0.04)
    readonly property color hover: primaryAt(dark ? 0.06 : 0.045)
    readonly property color pressed: primaryAt(dark ? 0.10 : 0.08)
    readonly property color controlFill: primaryAt(0.06)
    readonly property color controlBorder: primaryAt(0.12)
    readonly property color fieldFill: dark ? Qt.rgba(1, 1, 1, 0.06) : "white"
    readonly property color switchOff: primaryAt(dark ? 0.22 : 0.16)
    readonly property color knob: dark ? Qt.rgba(0.96, 0.96, 0.97, 1) : "white"
    readonly property color focusRing: accentAt(0.55)
    readonly property color destructive: dark ? Qt.rgba(1, 0.45, 0.42, 1) : Qt.rgba(0.78, 0.2, 0.18, 1)
    // Previews draw apps that are not the chosen style in this neutral tone.
    readonly property color previewNeutral: primaryAt(dark ? 0.30 : 0.22)

    function primaryAt(alpha) {
        return Qt.rgba(primary.r, primary.g, primary.b, alpha)
    }
    function accentAt(alpha) {
        return Qt.rgba(accent.r, accent.g, accent.b, alpha)
    }
    function withAlpha(c, alpha) {
        return Qt.rgba(c.r, c.g, c.b, c.a * alpha)
    }
    // Straight interpolation, alpha included: the in-between of two looks of a control.
    function mix(a, b, t) {
        return Qt.rgba(a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t,
                       a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t)
    }
}
