import QtQuick

// "Add App" under a list: a plus in a 28-px frame (the size of an app icon, so it lines up
// with the rows) and its label, quiet until hovered.
Item {
    id: button
    property string label: "Add App"
    property bool disabled: false
    property SettingsPalette colors
    property bool isHovered: mouse.containsMouse && !disabled
    signal clicked()

    width: parent ? parent.width : implicitWidth
    implicitWidth: content.implicitWidth
    implicitHeight: 40
    height: implicitHeight
    enabled: !disabled
    opacity: disabled ? 0.4 : 1
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.focusable: true
    Accessible.onPressAction: activate()
    Keys.onSpacePressed: activate()
    Keys.onReturnPressed: activate()

    function activate() {
        if (!disabled)
            clicked()
    }

    // 0 at rest, 1 hovered.
    property real hoverLevel: isHovered || activeFocus ? 1 : 0
    Behavior on hoverLevel { NumberAnimation { duration: 140; easing.type: Easing.OutQuad } }
    Behavior on opacity { NumberAnimation { duration: 140 } }

    Row {
        id: content
        anchors.verticalCenter: parent.verticalCenter
        spacing: 10
        Rectangle {
            width: 28
            height: 28
            radius: 7
            color: button.colors.mix(button.colors.primaryAt(0), button.colors.hover, button.hoverLevel)
            border.width: 1
            border.color: button.colors.mix(button.colors.controlBorder, button.colors.accentAt(0.45), button.hoverLevel)
            SymbolIcon {
                anchors.centerIn: parent
                name: "plus"
                size: 14
                color: button.colors.secondaryText
                opacity: 1 - button.hoverLevel
            }
            SymbolIcon {
                anchors.centerIn: parent
                name: "plus"
                size: 14
                color: button.colors.accent
                opacity: button.hoverLevel
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: button.label
            font.pixelSize: 13
            color: button.colors.mix(button.colors.secondaryText, button.colors.text, button.hoverLevel)
            renderType: Text.NativeRendering
            Accessible.ignored: true
        }
    }
    Rectangle {
        anchors.fill: content
        anchors.margins: -3
        radius: 9
        color: "transparent"
        border.width: 2
        border.color: button.colors.focusRing
        visible: button.activeFocus
    }
    MouseArea {
        id: mouse
        anchors.fill: content
        hoverEnabled: true
        cursorShape: button.disabled ? Qt.ArrowCursor : Qt.PointingHandCursor
        onClicked: button.activate()
    }
}
