import QtQuick

// Content that opens and closes by growing and fading (0.22 s, ease-in-out). Closed, it is not
// visible at all, so it leaves the accessibility tree and the tab chain.
Item {
    id: box
    property bool open: true
    property int duration: 220
    default property alias content: inner.data

    width: parent ? parent.width : implicitWidth
    implicitWidth: inner.implicitWidth
    height: open ? inner.implicitHeight : 0
    opacity: open ? 1 : 0
    // Not from the height alone: hidden content measures 0 high and would never open again.
    visible: open || height > 0.5
    clip: true
    Behavior on height { NumberAnimation { duration: box.duration; easing.type: Easing.InOutQuad } }
    Behavior on opacity { NumberAnimation { duration: box.duration; easing.type: Easing.InOutQuad } }

    Column {
        id: inner
        width: box.width
    }
}
