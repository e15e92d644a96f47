import QtQuick

// The welcome: the icon, the name, the ring demonstration, which key to hold, and one button.
// The whole panel fades in; its content rises into place once, on first showing. The panel is
// dragged by its background.
Item {
    id: root
    required property var controller
    required property var demo

    width: 480
    height: 520

    property bool hasAppeared: false
    Component.onCompleted: hasAppeared = true

    OnboardingPalette {
        id: theme
        dark: root.controller.dark
    }

    opacity: hasAppeared ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: 320; easing.type: Easing.OutCubic } }

    Rectangle {
        id: background
        anchors.fill: parent
        radius: root.controller.composited ? 18 : 0
        border.width: root.controller.composited ? 1 : 0
        border.color: theme.border
        gradient: Gradient {
            GradientStop { position: 0; color: theme.backgroundTop }
            GradientStop { position: 1; color: theme.backgroundBottom }
        }
    }

    // Dragging the background moves the panel.
    MouseArea {
        anchors.fill: parent
        onPressed: root.Window.window.startSystemMove()
    }

    CircleCloseButton {
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: 14
        colors: theme
        onClicked: root.Window.window.close()
    }

    Column {
        id: content
        anchors.horizontalCenter: parent.horizontalCenter
        y: 30 + (root.hasAppeared ? 0 : 14)
        opacity: root.hasAppeared ? 1 : 0
        Behavior on y { NumberAnimation { duration: 450; easing.type: Easing.OutCubic } }
        Behavior on opacity { NumberAnimation { duration: 450; easing.type: Easing.OutCubic } }
        spacing: 0

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64
            height: 64
            Image {
                // The shadow image is 20 px larger on every side than the icon it follows.
                x: -20
                y: -20 + 4
                width: 104
                height: 104
                source: "image://onboarding/icon-shadow"
                sourceSize: Qt.size(104, 104)
                opacity: theme.dark ? 0.6 : 0.32
            }
            Image {
                anchors.fill: parent
                source: "image://onboarding/icon"
                sourceSize: Qt.size(64, 64)
                smooth: true
            }
        }
        Item { width: 1; height: 10 }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Valimbra"
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            color: theme.text
            font.pixelSize: 26
            font.weight: Font.DemiBold
        }
        Item { width: 1; height: 2 }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Spatial app navigation"
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            color: theme.secondaryText
            font.pixelSize: 14
        }
        Item { width: 1; height: 6 }
        RingDemoView {
            anchors.horizontalCenter: parent.horizontalCenter
            demo: root.demo
            colors: theme
        }
        Item { width: 1; height: 6 }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.controller.holdHint
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            color: theme.secondaryText
            font.pixelSize: 13
        }
        Item { width: 1; height: 22 }
        ProminentButton {
            id: start
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Start Using Valimbra"
            colors: theme
            focus: true
            onClicked: root.controller.continueRequested()
        }
    }
}
