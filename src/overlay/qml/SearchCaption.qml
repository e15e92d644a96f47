import QtQuick

// What the user has typed and what Return opens, so a search is never typed blind.
Item {
    id: root
    property string query
    property string name
    property bool noResults: false
    property OverlayPalette colors

    readonly property string shownName: noResults ? qsTr("No matches") : name
    visible: opacity > 0
    opacity: (query.length > 0 || shownName.length > 0) ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: 140 } }
    width: Math.min(260, Math.max(96, column.implicitWidth + 28))
    height: column.implicitHeight + 16

    Accessible.role: Accessible.StaticText
    Accessible.name: query.length > 0 ? query + ": " + shownName : shownName

    SoftShadow { target: pill; radius: 14; blur: 10; offsetY: 3; opacity: root.colors.shadowOpacity * 0.8 }
    Rectangle {
        id: pill
        anchors.fill: parent
        radius: 14
        color: root.colors.dark ? Qt.rgba(0.16, 0.17, 0.19, root.colors.translucent ? 0.92 : 1)
                                 : Qt.rgba(1, 1, 1, root.colors.translucent ? 0.94 : 1)
        border.color: root.colors.backdropBorder
    }
    Column {
        id: column
        anchors.centerIn: parent
        spacing: 1
        Text {
            visible: root.query.length > 0
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(implicitWidth, 232)
            elide: Text.ElideLeft
            text: root.query
            color: root.colors.accent
            font.pixelSize: 13
            font.weight: Font.DemiBold
        }
        Text {
            visible: root.shownName.length > 0
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(implicitWidth, 232)
            elide: Text.ElideRight
            text: root.shownName
            color: root.noResults ? root.colors.secondaryText : root.colors.text
            font.pixelSize: 14
            font.weight: Font.DemiBold
        }
    }
}
