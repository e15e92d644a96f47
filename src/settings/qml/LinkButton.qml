import QtQuick

// A link with a leading symbol, in the accent colour; underlined while hovered.
Item {
    id: link
    property string text
    property string symbol
    property SettingsPalette colors
    signal clicked()

    implicitWidth: content.implicitWidth + 8
    implicitHeight: 26
    activeFocusOnTab: true

    // Exposed as a button so that a screen reader's default action opens it.
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: link.clicked()
    Keys.onSpacePressed: link.clicked()
    Keys.onReturnPressed: link.clicked()

    Row {
        id: content
        anchors.centerIn: parent
        spacing: 6
        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            name: link.symbol
            size: 13
            color: link.colors.accent
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: link.text
            font.pixelSize: 13
            font.underline: mouse.containsMouse
            color: link.colors.accent
            renderType: Text.NativeRendering
            Accessible.ignored: true
        }
    }
    opacity: mouse.pressed ? 0.7 : 1
    Rectangle {
        anchors.fill: parent
        anchors.margins: -2
        radius: 6
        color: "transparent"
        border.width: 2
        border.color: link.colors.focusRing
        visible: link.activeFocus
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: link.clicked()
    }
}
