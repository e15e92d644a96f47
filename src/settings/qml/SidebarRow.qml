import QtQuick

// One pane in the sidebar: its symbol in a 20-px frame and its title. The selected row sits on
// an accent pill; the others show a faint hover.
Item {
    id: row
    property string pane
    property string symbol
    property bool isSelected: false
    property SettingsPalette colors
    signal tapped()

    implicitWidth: content.implicitWidth + 20
    implicitHeight: Math.max(title.implicitHeight, 18) + 12
    activeFocusOnTab: true

    // A button to assistive tools: their default action must be the one that selects the pane.
    Accessible.role: Accessible.Button
    Accessible.name: pane
    Accessible.selectable: true
    Accessible.selected: isSelected
    Accessible.focusable: true
    Accessible.onPressAction: row.tapped()

    Keys.onSpacePressed: row.tapped()
    Keys.onReturnPressed: row.tapped()

    Rectangle {
        anchors.fill: parent
        radius: 8
        color: row.isSelected ? row.colors.accent
             : mouse.pressed ? row.colors.pressed
             : mouse.containsMouse ? row.colors.hover : "transparent"
        Behavior on color { ColorAnimation { duration: 120; easing.type: Easing.OutQuad } }
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: -2
        radius: 10
        color: "transparent"
        border.width: 2
        border.color: row.colors.focusRing
        visible: row.activeFocus
    }

    Row {
        id: content
        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        spacing: 6
        Item {
            width: 20
            height: 20
            anchors.verticalCenter: parent.verticalCenter
            SymbolIcon {
                anchors.centerIn: parent
                name: row.symbol
                size: 15
                color: row.isSelected ? row.colors.accentForeground : row.colors.text
            }
        }
        Text {
            id: title
            anchors.verticalCenter: parent.verticalCenter
            text: row.pane
            font.pixelSize: 13
            font.weight: row.isSelected ? Font.Medium : Font.Normal
            color: row.isSelected ? row.colors.accentForeground : row.colors.text
            renderType: Text.NativeRendering
            Accessible.ignored: true
        }
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: row.tapped()
    }
}
