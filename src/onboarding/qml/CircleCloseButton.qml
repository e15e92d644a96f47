import QtQuick

// A small round close button: a cross that gains a disc under the pointer or with the focus.
Item {
    id: button
    property OnboardingPalette colors
    signal clicked()

    implicitWidth: 24
    implicitHeight: 24
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: "Close"
    Accessible.focusable: true
    Accessible.onPressAction: clicked()
    Keys.onSpacePressed: clicked()

    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: button.colors.primaryAt(mouse.pressed ? 0.16 : mouse.containsMouse ? 0.10 : 0.05)
        border.width: button.activeFocus ? 2 : 0
        border.color: button.colors.focusRing
        Behavior on color { ColorAnimation { duration: 120 } }
    }
    Repeater {
        model: [45, -45]
        Rectangle {
            required property int modelData
            anchors.centerIn: parent
            width: 10
            height: 1.6
            radius: 0.8
            rotation: modelData
            antialiasing: true
            color: button.colors.primaryAt(mouse.containsMouse ? 0.75 : 0.5)
        }
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
