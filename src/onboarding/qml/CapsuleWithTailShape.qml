import QtQuick

// A capsule with a small triangular tail on one side, pointing at `tip`. The tail is the
// outer half of a diamond under the capsule's edge, so the two read as one shape.
Item {
    id: shape
    property color color
    property string tailSide: "top" // "top", "bottom", "left", "right"
    property real tailHeight: 8
    property real tailWidth: 16
    // Along the tail's side, where the tail sits, from this item's origin.
    property real tailPosition: tailSide === "top" || tailSide === "bottom" ? width / 2 : height / 2

    readonly property bool horizontal: tailSide === "top" || tailSide === "bottom"
    // The tail stays clear of the round ends.
    readonly property real clampedTail: Math.max(height / 2, Math.min(
        tailPosition, (horizontal ? width : height) - height / 2))

    Rectangle {
        id: diamond
        width: shape.tailWidth / Math.SQRT2
        height: width
        rotation: 45
        antialiasing: true
        color: shape.color
        x: shape.horizontal ? shape.clampedTail - width / 2
           : shape.tailSide === "left" ? shape.tailHeight - width / 2
           : shape.width - shape.tailHeight - width / 2
        y: !shape.horizontal ? shape.clampedTail - height / 2
           : shape.tailSide === "top" ? shape.tailHeight - height / 2
           : shape.height - shape.tailHeight - height / 2
        // Its centre lies on the capsule's edge: half of it shows, as the tail.
    }
    Rectangle {
        id: capsule
        x: shape.tailSide === "left" ? shape.tailHeight : 0
        y: shape.tailSide === "top" ? shape.tailHeight : 0
        width: shape.width - (shape.horizontal ? 0 : shape.tailHeight)
        height: shape.height - (shape.horizontal ? shape.tailHeight : 0)
        radius: height / 2
        antialiasing: true
        color: shape.color
    }
}
