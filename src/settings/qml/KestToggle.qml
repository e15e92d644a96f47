import QtQuick

// The window's switch: an accent track when on, a white knob that slides. It shows `checked`
// and asks for a change through `toggled`; the setting it stands for decides.
Item {
    id: toggle
    property bool checked: false
    property string label
    property SettingsPalette colors
    signal toggled(bool on)

    implicitWidth: 36
    implicitHeight: 20
    activeFocusOnTab: true
    opacity: enabled ? 1 : 0.45

    Accessible.role: Accessible.CheckBox
    Accessible.name: label
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.focusable: true
    Accessible.onPressAction: toggle.flip()
    Accessible.onToggleAction: toggle.flip()

    Keys.onSpacePressed: flip()
    Keys.onReturnPressed: flip()

    function flip() {
        if (enabled)
            toggled(!checked)
    }

    Rectangle {
        id: track
        anchors.fill: parent
        radius: height / 2
        color: toggle.checked ? toggle.colors.accent : toggle.colors.switchOff
        Behavior on color { ColorAnimation { duration: 160; easing.type: Easing.OutQuad } }
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        radius: height / 2
        color: "transparent"
        border.width: 2
        border.color: toggle.colors.focusRing
        visible: toggle.activeFocus
    }

    Item {
        id: knob
        width: toggle.height - 4
        height: width
        y: 2
        x: toggle.checked ? toggle.width - width - 2 : 2
        Behavior on x { NumberAnimation { duration: 180; easing.type: Easing.OutCubic } }

        // A soft contact shadow from two translucent rings.
        Rectangle {
            anchors.centerIn: parent
            anchors.verticalCenterOffset: 1
            width: parent.width + 2
            height: width
            radius: width / 2
            color: Qt.rgba(0, 0, 0, 0.08)
        }
        Rectangle {
            anchors.centerIn: parent
            anchors.verticalCenterOffset: 0.5
            width: parent.width + 0.5
            height: width
            radius: width / 2
            color: Qt.rgba(0, 0, 0, 0.12)
        }
        Rectangle {
            anchors.fill: parent
            radius: width / 2
            color: toggle.colors.knob
            scale: mouse.pressed ? 0.92 : 1
            Behavior on scale { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }
        }
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        anchors.margins: -4
        cursorShape: Qt.PointingHandCursor
        onClicked: toggle.flip()
    }
}
