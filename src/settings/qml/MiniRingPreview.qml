import QtQuick

// A miniature of the ring: tiles (spatialTile) or glass orbs (glassOrb) around a centre dot.
// Each increment of `trigger` replays the opening: "bloom" fans the tiles out one after
// another with a little overshoot; "iris" turns them all in together.
Item {
    id: preview
    property string style: "spatialTile"
    property string animStyle: "bloom"
    property bool isActive: false
    property int trigger: 0
    property int count: 8
    property real radius: 14
    property real canvas: 44
    property SettingsPalette colors

    // Time through the opening, 0 to 1; `shown` is whether the tiles are out.
    property real t: 1
    readonly property bool shown: t > 0
    readonly property bool orbs: style === "glassOrb"
    readonly property int totalMs: 760

    width: canvas
    height: canvas

    function replay() {
        opening.stop()
        t = 0
        opening.start()
    }
    onTriggerChanged: replay()

    NumberAnimation {
        id: opening
        target: preview
        property: "t"
        from: 0
        to: 1
        duration: preview.totalMs
    }

    function clamp01(x) { return Math.max(0, Math.min(1, x)) }
    function outBack(x) {
        const c1 = 1.70158, c3 = c1 + 1
        return 1 + c3 * Math.pow(x - 1, 3) + c1 * Math.pow(x - 1, 2)
    }
    function outCubic(x) { return 1 - Math.pow(1 - x, 3) }
    // How far tile `i` is out at this moment.
    function progressOf(i) {
        const ms = t * totalMs
        if (animStyle === "iris")
            return outCubic(clamp01(ms / 520))
        return outBack(clamp01((ms - i * 40) / 420))
    }

    // The centre: where the pointer is when the switcher opens.
    Rectangle {
        anchors.centerIn: parent
        width: 6
        height: 6
        radius: 3
        color: preview.isActive ? preview.colors.accent : preview.colors.previewNeutral
        scale: 0.6 + 0.4 * preview.outCubic(preview.clamp01(preview.t * 4))
    }

    Repeater {
        model: preview.count
        delegate: Rectangle {
            required property int index
            readonly property real p: preview.progressOf(index)
            readonly property real turn: preview.animStyle === "iris" ? 90 * (1 - p) : 0
            readonly property real angle: (index * 360 / preview.count + turn) * Math.PI / 180
            readonly property real side: preview.orbs ? 9 : 7.5

            // Tiles stay upright: Qt's software scene graph crashes drawing rounded rectangles
            // that are rotated and scaled at once.
            width: side
            height: side
            radius: preview.orbs ? side / 2 : 2.5
            x: preview.canvas / 2 - side / 2 + preview.radius * p * Math.sin(angle)
            y: preview.canvas / 2 - side / 2 - preview.radius * p * Math.cos(angle)
            scale: 0.35 + 0.65 * Math.max(0, p)
            opacity: preview.clamp01(p * 1.8)
            color: preview.isActive
                   ? Qt.lighter(preview.colors.accent, 1 + 0.05 * (index % 4))
                   : preview.colors.previewNeutral
            border.width: preview.orbs ? 1 : 0
            border.color: preview.orbs ? Qt.rgba(1, 1, 1, preview.colors.dark ? 0.35 : 0.6) : "transparent"
        }
    }
}
