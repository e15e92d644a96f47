import QtQuick

// A push button of the window's sheets: plain (a faint fill) or prominent (accent), with an
// optional leading symbol.
Item {
    id: button
    property string text
    property string symbol
    property bool prominent: false
    property SettingsPalette colors
    signal clicked()

    implicitWidth: Math.max(72, content.implicitWidth + 28)
    implicitHeight: 28
    activeFocusOnTab: true
    opacity: enabled ? 1 : 0.4
    Behavior on opacity { NumberAnimation { duration: 120 } }

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: activate()
    Keys.onSpacePressed: activate()
    Keys.onReturnPressed: activate()

    function activate() {
        if (enabled)
            clicked()
    }

    readonly property color foreground: prominent ? colors.accentForeground : colors.text

    Rectangle {
        anchors.fill: parent
        radius: 7
        color: button.prominent
               ? (mouse.pressed ? Qt.darker(button.colors.accent, 1.12)
                  : mouse.containsMouse ? Qt.lighter(button.colors.accent, 1.06) : button.colors.accent)
               : (mouse.pressed ? button.colors.primaryAt(0.14)
                  : mouse.containsMouse ? button.colors.primaryAt(0.10) : button.colors.primaryAt(0.07))
        border.width: button.prominent ? 0 : 1
        border.color: button.colors.primaryAt(0.06)
        Behavior on color { ColorAnimation { duration: 120 } }
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        radius: 10
        color: "transparent"
        border.width: 2
        border.color: button.colors.focusRing
        visible: button.activeFocus
    }
    Row {
        id: content
        anchors.centerIn: parent
        spacing: 6
        SymbolIcon {
            visible: button.symbol.length > 0
            anchors.verticalCenter: parent.verticalCenter
            name: button.symbol
            size: 13
            color: button.foreground
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            font.pixelSize: 13
            font.weight: button.prominent ? Font.Medium : Font.Normal
            color: button.foreground
            renderType: Text.NativeRendering
            Accessible.ignored: true
        }
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.activate()
    }
}
