import QtQuick

// The welcome's one call to action: a wide rounded button in the accent, semibold black text.
// Return or Space press it when it has the focus.
Item {
    id: button
    property string text
    property OnboardingPalette colors
    signal clicked()

    implicitWidth: Math.max(220, label.implicitWidth + 48)
    implicitHeight: 40
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: clicked()
    Keys.onSpacePressed: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    Rectangle {
        anchors.fill: parent
        anchors.margins: -4
        radius: height / 2
        color: "transparent"
        border.width: 2
        border.color: button.colors.focusRing
        visible: button.activeFocus
    }
    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: mouse.pressed ? Qt.darker(button.colors.buttonFill, 1.1)
               : mouse.containsMouse ? Qt.lighter(button.colors.buttonFill, 1.06)
               : button.colors.buttonFill
        Behavior on color { ColorAnimation { duration: 120 } }
        // A faint sheen on the upper half.
        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            height: parent.height / 2
            radius: parent.radius
            gradient: Gradient {
                GradientStop { position: 0; color: Qt.rgba(1, 1, 1, 0.22) }
                GradientStop { position: 1; color: Qt.rgba(1, 1, 1, 0) }
            }
        }
    }
    Text {
        id: label
        anchors.centerIn: parent
        text: button.text
        color: "black"
        font.pixelSize: 14
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }
    scale: mouse.pressed ? 0.98 : 1
    Behavior on scale { NumberAnimation { duration: 90 } }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
