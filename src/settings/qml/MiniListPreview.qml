import QtQuick

// A miniature of the list: a small panel of rows (icon dot and name bar), the first one
// highlighted. "bloom" plays as a wave (rows slide in one after another), "iris" as a pop
// (the panel springs open at once). Each increment of `trigger` replays it.
Item {
    id: preview
    property string animStyle: "bloom"
    property bool isActive: false
    property int trigger: 0
    property int rowCount: 4
    property real canvas: 44
    property SettingsPalette colors

    property real t: 1
    readonly property bool shown: t > 0
    readonly property int totalMs: 620

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
    readonly property real pop: animStyle === "iris" ? outBack(clamp01(t * totalMs / 380)) : 1
    function rowProgress(i) {
        if (animStyle === "iris")
            return 1
        return outCubic(clamp01((t * totalMs - i * 70) / 320))
    }

    Rectangle {
        id: panel
        anchors.centerIn: parent
        width: 36
        height: 38
        radius: 7
        color: preview.colors.primaryAt(preview.colors.dark ? 0.08 : 0.05)
        border.width: 1
        border.color: preview.colors.primaryAt(0.08)
        scale: 0.6 + 0.4 * preview.pop
        opacity: preview.clamp01(0.2 + preview.pop)

        Column {
            anchors.centerIn: parent
            spacing: 2.5
            Repeater {
                model: preview.rowCount
                delegate: Item {
                    id: listRow
                    required property int index
                    readonly property real p: preview.rowProgress(index)
                    width: 30
                    height: 6.5
                    opacity: p
                    Rectangle {
                        anchors.fill: parent
                        anchors.margins: -1
                        radius: 2.5
                        visible: listRow.index === 0
                        color: preview.isActive ? preview.colors.accentAt(0.25) : preview.colors.primaryAt(0.07)
                    }
                    // The wave: each row slides in from the left as it fades in.
                    Item {
                        anchors.fill: parent
                        Rectangle {
                            x: -(1 - listRow.p) * 8
                            width: 5.5
                            height: 5.5
                            radius: 1.8
                            anchors.verticalCenter: parent.verticalCenter
                            color: preview.isActive ? Qt.lighter(preview.colors.accent, 1 + 0.06 * listRow.index)
                                                    : preview.colors.previewNeutral
                        }
                        Rectangle {
                            x: 8 - (1 - listRow.p) * 8
                            width: [18, 14, 20, 12][listRow.index % 4]
                            height: 2.5
                            radius: 1.25
                            anchors.verticalCenter: parent.verticalCenter
                            color: preview.colors.previewNeutral
                        }
                    }
                }
            }
        }
    }
}
