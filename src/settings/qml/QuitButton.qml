import QtQuick

// "Quit" at the foot of the sidebar: quiet at rest, accent while the pointer is on it. The
// symbol cross-fades between two colours instead of being repainted on every animation step.
Item {
    id: button
    property SettingsPalette colors
    property bool isHovered: mouse.containsMouse
    signal clicked()

    implicitWidth: content.implicitWidth + 8
    implicitHeight: 24
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: "Quit"
    Accessible.focusable: true
    Accessible.onPressAction: button.clicked()
    Keys.onSpacePressed: button.clicked()
    Keys.onReturnPressed: button.clicked()

    // 0 at rest, 1 hovered; everything below follows it.
    property real hoverLevel: isHovered || activeFocus ? 1 : 0
    Behavior on hoverLevel { NumberAnimation { duration: 200; easing.type: Easing.OutQuad } }

    Row {
        id: content
        anchors.left: parent.left
        anchors.leftMargin: 4
        anchors.verticalCenter: parent.verticalCenter
        spacing: 6
        Item {
            width: 13
            height: 13
            anchors.verticalCenter: parent.verticalCenter
            SymbolIcon {
                anchors.centerIn: parent
                name: "power"
                size: 11
                color: button.colors.secondaryText
                opacity: 0.5 * (1 - button.hoverLevel)
            }
            SymbolIcon {
                anchors.centerIn: parent
                name: "power"
                size: 11
                color: button.colors.accent
                opacity: 0.7 * button.hoverLevel
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: "Quit"
            font.pixelSize: 13
            renderType: Text.NativeRendering
            color: button.colors.mix(button.colors.withAlpha(button.colors.secondaryText, 0.5),
                                     button.colors.accentAt(0.7), button.hoverLevel)
            Accessible.ignored: true
        }
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
