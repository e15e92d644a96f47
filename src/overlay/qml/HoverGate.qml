import QtQuick

// Hover counts only once the pointer has moved since the panel opened, or was placed again
// under a resting pointer: items that slide under it must not take the highlight, let alone
// start the dwell.
HoverHandler {
    id: gate
    property bool open: false
    property var controller
    property bool pointerMoved: false
    property point pointerAtOpen: Qt.point(-1, -1)

    function reset() {
        pointerMoved = false
        pointerAtOpen = Qt.point(-1, -1)
    }
    onOpenChanged: reset()
    readonly property Connections placedAgain: Connections {
        target: gate.controller
        function onMoved() { gate.reset() }
    }
    onPointChanged: {
        const p = point.position
        if (pointerAtOpen.x < 0)
            pointerAtOpen = p
        else if (!pointerMoved && Math.abs(p.x - pointerAtOpen.x) + Math.abs(p.y - pointerAtOpen.y) > 4)
            pointerMoved = true
    }
}
