import QtQuick

// A thin scroll position indicator at the right edge of a Flickable: shown while the content
// moves, then faded out, as overlay scroll bars do.
Rectangle {
    id: bar
    property Flickable flickable
    property SettingsPalette colors
    readonly property bool needed: flickable && flickable.contentHeight > flickable.height + 1
    property bool active: false

    width: 4
    radius: 2
    color: colors ? colors.primaryAt(0.28) : "grey"
    x: flickable ? flickable.x + flickable.width - width - 3 : 0
    y: flickable ? flickable.y + 2 + flickable.visibleArea.yPosition * (flickable.height - 4) : 0
    height: flickable ? Math.max(24, flickable.visibleArea.heightRatio * (flickable.height - 4)) : 0
    visible: needed
    opacity: active ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: 220; easing.type: Easing.OutQuad } }

    Connections {
        target: bar.flickable
        function onContentYChanged() {
            bar.active = true
            idle.restart()
        }
    }
    Timer {
        id: idle
        interval: 900
        onTriggered: bar.active = false
    }
}
