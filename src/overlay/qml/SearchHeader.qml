import QtQuick

// The grid's and list's search line: what the user has typed, or how to start.
Item {
    id: root
    property string query
    property OverlayPalette colors
    implicitHeight: 44

    Accessible.role: Accessible.StaticText
    Accessible.name: query.length > 0 ? query : qsTr("Type to search")

    Text {
        id: glass
        anchors.left: parent.left
        anchors.leftMargin: 4
        anchors.verticalCenter: parent.verticalCenter
        text: "\u2315"
        color: root.colors.secondaryText
        font.pixelSize: 18
    }
    Text {
        anchors.left: glass.right
        anchors.leftMargin: 8
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        elide: Text.ElideLeft
        text: root.query.length > 0 ? root.query : qsTr("Type to search")
        color: root.query.length > 0 ? root.colors.text : root.colors.secondaryText
        font.pixelSize: 16
        font.weight: root.query.length > 0 ? Font.DemiBold : Font.Normal
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: root.colors.separator
    }
}
