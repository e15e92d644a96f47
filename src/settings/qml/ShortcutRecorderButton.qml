import QtQuick

// The shortcut recorder: a label box that starts and stops recording, and, before it, a clear
// button while a shortcut is stored. The clear button's place is kept when it is absent, so the
// box stays lined up with the controls above and below it.
Row {
    id: root
    property var recorder
    property SettingsPalette colors
    readonly property bool recording: recorder ? recorder.recording : false

    spacing: 6

    Item {
        width: 20
        height: 26

        Item {
            id: clear
            anchors.centerIn: parent
            width: 20
            height: 20
            visible: root.recorder ? root.recorder.hasShortcut : false
            activeFocusOnTab: true

            Accessible.role: Accessible.Button
            Accessible.name: "Clear shortcut"
            Accessible.focusable: true
            Accessible.onPressAction: root.recorder.clear()
            Keys.onSpacePressed: root.recorder.clear()

            SymbolIcon {
                anchors.centerIn: parent
                name: "xmark.circle.fill"
                size: 15
                color: root.colors.tertiaryText
                opacity: clearMouse.containsMouse || clear.activeFocus ? 0 : 1
                Behavior on opacity { NumberAnimation { duration: 120 } }
            }
            SymbolIcon {
                anchors.centerIn: parent
                name: "xmark.circle.fill"
                size: 15
                color: root.colors.secondaryText
                opacity: clearMouse.containsMouse || clear.activeFocus ? 1 : 0
                Behavior on opacity { NumberAnimation { duration: 120 } }
            }
            MouseArea {
                id: clearMouse
                anchors.fill: parent
                hoverEnabled: true
                cursorShape: Qt.PointingHandCursor
                onClicked: root.recorder.clear()
            }
        }
    }

    Item {
        id: box
        // Long combinations ("Ctrl+Alt+Shift+Super+Space") widen the box rather than elide.
        width: Math.max(140, label.implicitWidth + 24)
        height: 26
        activeFocusOnTab: true

        Accessible.role: Accessible.Button
        Accessible.name: root.recorder ? root.recorder.label : ""
        Accessible.focusable: true
        Accessible.onPressAction: root.recorder.toggleRecording()
        Keys.onSpacePressed: root.recorder.toggleRecording()
        Keys.onReturnPressed: root.recorder.toggleRecording()

        // 0 idle, 1 recording.
        property real level: root.recording ? 1 : 0
        Behavior on level { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }

        Rectangle {
            anchors.fill: parent
            radius: 6
            color: root.colors.mix(mouse.containsMouse ? root.colors.primaryAt(0.09) : root.colors.controlFill,
                                   root.colors.accentAt(0.08), box.level)
            border.width: 1
            border.color: root.colors.mix(root.colors.controlBorder, root.colors.accentAt(0.5), box.level)
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: 9
            color: "transparent"
            border.width: 2
            border.color: root.colors.focusRing
            visible: box.activeFocus
        }
        Text {
            id: label
            anchors.centerIn: parent
            text: root.recorder ? root.recorder.label : ""
            font.pixelSize: 12
            font.weight: Font.Medium
            renderType: Text.NativeRendering
            color: root.recording ? root.colors.accent
                 : root.recorder && root.recorder.hasShortcut ? root.colors.text
                 : root.colors.secondaryText
            Behavior on color { ColorAnimation { duration: 150; easing.type: Easing.OutQuad } }
            Accessible.ignored: true
        }
        MouseArea {
            id: mouse
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: Qt.PointingHandCursor
            onClicked: root.recorder.toggleRecording()
        }
    }

}
