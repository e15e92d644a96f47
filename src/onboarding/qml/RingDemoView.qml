import QtQuick

// The demonstration of the ring: a faint disc round the pointer, and tiles that fan out from the
// centre one after another on a soft spring, rest, and fold back together quickly. The rhythm
// comes from the demo model; each tile's delay is its index times the model's step.
Item {
    id: view
    required property var demo
    property OnboardingPalette colors

    implicitWidth: demo.canvas
    implicitHeight: demo.canvas

    readonly property var tileColours: [
        ["#5ec4cf", "#1f7f8c"], ["#ff9f7a", "#d9534a"], ["#ffd36b", "#e08e1b"],
        ["#a98bff", "#6a4fd8"], ["#6fb5ff", "#2f6fd6"], ["#7fdc8c", "#2e9e52"],
        ["#ff8fc2", "#d04a8a"]
    ]

    // The ring's disc: it swells with the tiles and shrinks back with them.
    Rectangle {
        id: disc
        anchors.centerIn: parent
        width: (view.demo.radius + view.demo.tileW * 0.72) * 2
        height: width
        radius: width / 2
        color: view.colors.primaryAt(view.colors.dark ? 0.06 : 0.035)
        border.width: 1
        border.color: view.colors.primaryAt(view.colors.dark ? 0.10 : 0.07)
        scale: view.demo.shown ? 1 : 0.55
        opacity: view.demo.shown ? 1 : 0
        Behavior on scale { NumberAnimation { duration: view.demo.shown ? 620 : 240; easing.type: Easing.OutCubic } }
        Behavior on opacity { NumberAnimation { duration: view.demo.shown ? 380 : 200 } }
    }

    // The pointer the ring opens around.
    Rectangle {
        anchors.centerIn: parent
        width: 10
        height: 10
        radius: 5
        color: view.colors.primaryAt(0.35)
        border.width: 2
        border.color: view.colors.dark ? Qt.rgba(0, 0, 0, 0.4) : "white"
    }

    Repeater {
        model: view.demo.maxSlots
        Item {
            id: tile
            required property int index
            readonly property point target: view.demo.tilePosition(index)
            property real t: 0 // 0 folded at the centre, 1 on the ring

            width: view.demo.tileW
            height: view.demo.tileH
            x: view.width / 2 + target.x * t - width / 2
            y: view.height / 2 + target.y * t - height / 2
            scale: 0.35 + 0.65 * Math.max(0, t)
            opacity: Math.min(1, Math.max(0, t) * 2.5)

            Rectangle {
                anchors.fill: parent
                anchors.topMargin: 3
                radius: view.demo.cornerR
                color: Qt.rgba(0, 0, 0, view.colors.dark ? 0.35 : 0.14)
            }
            Rectangle {
                anchors.fill: parent
                radius: view.demo.cornerR
                antialiasing: true
                gradient: Gradient {
                    GradientStop { position: 0; color: view.tileColours[tile.index % view.tileColours.length][0] }
                    GradientStop { position: 1; color: view.tileColours[tile.index % view.tileColours.length][1] }
                }
                border.width: tile.index === 0 ? 2 : 0
                border.color: "white"
                // A glyph of an app: a rounded square and a dot.
                Rectangle {
                    anchors.centerIn: parent
                    width: parent.width * 0.42
                    height: width
                    radius: width * 0.3
                    color: Qt.rgba(1, 1, 1, 0.85)
                    Rectangle {
                        anchors.centerIn: parent
                        width: parent.width * 0.36
                        height: width
                        radius: width / 2
                        color: view.tileColours[tile.index % view.tileColours.length][1]
                    }
                }
            }

            SequentialAnimation {
                id: fanOut
                PauseAnimation { duration: tile.index * view.demo.kStep * 1000 }
                // About a 0.88 s spring with little bounce.
                NumberAnimation {
                    target: tile; property: "t"; to: 1; duration: 760
                    easing.type: Easing.OutBack; easing.overshoot: 0.9
                }
            }
            // About a 0.24 s spring, without bounce.
            NumberAnimation {
                id: foldBack
                target: tile; property: "t"; to: 0; duration: 230
                easing.type: Easing.OutCubic
            }
            Connections {
                target: view.demo
                function onShownChanged() {
                    if (view.demo.shown) {
                        foldBack.stop()
                        fanOut.restart()
                    } else {
                        fanOut.stop()
                        foldBack.restart()
                    }
                }
            }
        }
    }
}
