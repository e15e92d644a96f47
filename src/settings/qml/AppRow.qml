import QtQuick

// One application of a list: its icon, name and optional second line, and a remove button at
// the trailing edge that comes forward while the row is under the pointer.
Item {
    id: row
    property string name
    property string subtitle
    property url iconUrl
    property string removeIcon: "xmark.circle.fill"
    property SettingsPalette colors
    property bool isHovered: rowMouse.containsMouse || removeMouse.containsMouse
    signal removeClicked()

    width: parent ? parent.width : implicitWidth
    implicitHeight: 40
    height: implicitHeight

    Accessible.role: Accessible.ListItem
    Accessible.name: name

    // 0 at rest, 1 hovered.
    property real hoverLevel: isHovered ? 1 : 0
    Behavior on hoverLevel { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }

    MouseArea {
        id: rowMouse
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.NoButton
    }
    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: -6
        anchors.rightMargin: -6
        radius: 8
        color: row.colors.hover
        opacity: row.hoverLevel
    }

    Image {
        id: icon
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        width: 28
        height: 28
        source: row.iconUrl
        sourceSize.width: Math.ceil(28 * Screen.devicePixelRatio)
        sourceSize.height: Math.ceil(28 * Screen.devicePixelRatio)
        fillMode: Image.PreserveAspectFit
        smooth: true
        mipmap: true
        Accessible.ignored: true
    }

    Column {
        anchors.left: icon.right
        anchors.leftMargin: 10
        anchors.right: removeButton.left
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        spacing: 1
        Text {
            width: parent.width
            text: row.name
            font.pixelSize: 13
            color: row.colors.text
            elide: Text.ElideRight
            renderType: Text.NativeRendering
            Accessible.ignored: true
        }
        Text {
            width: parent.width
            visible: row.subtitle.length > 0
            text: row.subtitle
            font.pixelSize: 11
            color: row.colors.secondaryText
            elide: Text.ElideRight
            renderType: Text.NativeRendering
        }
    }

    Item {
        id: removeButton
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: 24
        height: 24
        activeFocusOnTab: true

        Accessible.role: Accessible.Button
        Accessible.name: "Remove " + row.name
        Accessible.focusable: true
        Accessible.onPressAction: row.removeClicked()
        Keys.onSpacePressed: row.removeClicked()
        Keys.onDeletePressed: row.removeClicked()

        readonly property bool hot: removeMouse.containsMouse || activeFocus
        SymbolIcon {
            anchors.centerIn: parent
            name: row.removeIcon
            size: 16
            color: row.colors.tertiaryText
            opacity: (removeButton.hot ? 0 : 1) * (0.55 + 0.45 * row.hoverLevel)
            Behavior on opacity { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }
        }
        SymbolIcon {
            anchors.centerIn: parent
            name: row.removeIcon
            size: 16
            color: row.colors.destructive
            opacity: removeButton.hot ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }
        }
        Rectangle {
            anchors.fill: parent
            radius: width / 2
            color: "transparent"
            border.width: 2
            border.color: row.colors.focusRing
            visible: removeButton.activeFocus
        }
        MouseArea {
            id: removeMouse
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: Qt.PointingHandCursor
            onClicked: row.removeClicked()
        }
    }
}
