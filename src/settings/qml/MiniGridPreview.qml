import QtQuick

// A miniature of the grid: cells in rows and columns. "bloom" plays as a wave running
// diagonally across the cells, "iris" as a pop of the whole grid. Each increment of `trigger`
// replays it.
Item {
    id: preview
    property string animStyle: "bloom"
    property bool isActive: false
    property int trigger: 0
    property int cols: 3
    property int rows: 3
    property real canvas: 44
    property SettingsPalette colors

    property real t: 1
    readonly property bool shown: t > 0
    readonly property int totalMs: 640
    readonly property real cell: 9
    readonly property real gap: 3.5

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
    readonly property real pop: animStyle === "iris" ? outBack(clamp01(t * totalMs / 380)) : 1
    function cellProgress(r, c) {
        if (animStyle === "iris")
            return 1
        return outBack(clamp01((t * totalMs - (r + c) * 55) / 340))
    }

    Item {
        anchors.centerIn: parent
        width: preview.cols * preview.cell + (preview.cols - 1) * preview.gap
        height: preview.rows * preview.cell + (preview.rows - 1) * preview.gap
        scale: 0.6 + 0.4 * preview.pop
        opacity: preview.clamp01(0.2 + preview.pop)

        Repeater {
            model: preview.cols * preview.rows
            delegate: Rectangle {
                required property int index
                readonly property int r: Math.floor(index / preview.cols)
                readonly property int c: index % preview.cols
                readonly property real p: preview.cellProgress(r, c)
                x: c * (preview.cell + preview.gap)
                y: r * (preview.cell + preview.gap)
                width: preview.cell
                height: preview.cell
                radius: 2.5
                scale: Math.max(0, p)
                opacity: preview.clamp01(p * 1.5)
                color: preview.isActive
                       ? (index === 0 ? preview.colors.accent
                                      : Qt.lighter(preview.colors.accent, 1.1 + 0.04 * ((r + c) % 3)))
                       : preview.colors.previewNeutral
            }
        }
    }
}
