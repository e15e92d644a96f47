import QtQuick
import Valimbra.Overlay

// One card of the ring: a tile (spatialTile) or a glass orb (glassOrb), tilted with its petal
// while the icon stays upright. `progress` runs 0 (closed, just above the centre) to 1 (open).
Item {
    id: cell
    required property int index
    required property int appId
    required property string name
    required property url iconUrl
    required property color dominantColor
    required property bool isFavourite
    required property bool isRunning
    required property bool isAddSlot
    required property real midAngle
    required property bool isMatch
    required property bool isHighlighted
    required property string accessibleName

    property PetalRingModel ring
    property ContextMenuHost menu
    property var switcher
    property OverlayPalette colors
    property real ringRadius: 0
    property bool glass: false
    property bool iris: false
    property bool wiggle: false
    property real progress: 0
    property int cardCount: 1
    property bool hoverAllowed: false

    readonly property real cardSize: glass ? 58 : 60
    readonly property real turn: iris ? 72 * (1 - progress) : 0
    readonly property real rotationNow: shownAngle + turn
    readonly property real distance: 8 + ringRadius * progress
    property real shownAngle: midAngle
    Behavior on shownAngle { SpringAnimation { spring: 3.2; damping: 0.34; epsilon: 0.05 } }
    Behavior on ringRadius { SpringAnimation { spring: 3.2; damping: 0.34; epsilon: 0.05 } }

    width: cardSize
    height: cardSize
    x: -width / 2 + distance * Math.sin(rotationNow * Math.PI / 180)
    y: -height / 2 - distance * Math.cos(rotationNow * Math.PI / 180)
    z: isHighlighted ? 10 : 0
    opacity: (isMatch ? 1 : 0.18) * Math.min(1, progress * 1.6)
    Behavior on opacity { NumberAnimation { duration: 160 } }
    scale: (0.55 + 0.45 * progress) * (isHighlighted ? 1.16 : 1)
    Behavior on scale { enabled: cell.progress >= 1; SpringAnimation { spring: 4; damping: 0.4 } }

    Accessible.role: Accessible.Button
    Accessible.name: accessibleName
    Accessible.focusable: true
    Accessible.onPressAction: ring.select(index)

    // The wiggle of rearranging: a small, slightly desynchronised rock.
    property real wiggleAngle: 0
    SequentialAnimation on wiggleAngle {
        running: cell.wiggle && !cell.isAddSlot
        loops: Animation.Infinite
        NumberAnimation { to: 2.6; duration: 110 + (cell.index % 3) * 14; easing.type: Easing.InOutSine }
        NumberAnimation { to: -2.6; duration: 220 + (cell.index % 3) * 14; easing.type: Easing.InOutSine }
        NumberAnimation { to: 0; duration: 110; easing.type: Easing.InOutSine }
        onRunningChanged: if (!running) cell.wiggleAngle = 0
    }

    Item {
        id: body
        anchors.fill: parent
        rotation: cell.rotationNow + cell.wiggleAngle

        SoftShadow {
            target: face
            radius: cell.glass ? 29 : 17
            blur: cell.isHighlighted ? 12 : 8
            offsetY: cell.isHighlighted ? 5 : 3
            opacity: cell.colors.shadowOpacity * (cell.isHighlighted ? 1.2 : 0.9)
        }
        // The highlight: an accent ring around the card.
        Rectangle {
            anchors.centerIn: face
            width: face.width + 8
            height: face.height + 8
            radius: cell.glass ? width / 2 : 21
            color: "transparent"
            border.width: 2.5
            border.color: cell.colors.accent
            opacity: cell.isHighlighted ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: 120 } }
        }
        Rectangle {
            id: face
            anchors.fill: parent
            radius: cell.glass ? width / 2 : 17
            border.width: 1
            border.color: cell.glass ? cell.colors.glassBorder : Qt.rgba(1, 1, 1, 0.18)
            gradient: Gradient {
                GradientStop {
                    position: 0
                    color: cell.isAddSlot ? cell.colors.glass
                         : cell.glass ? Qt.tint(cell.colors.glass, Qt.rgba(cell.dominantColor.r, cell.dominantColor.g, cell.dominantColor.b, 0.22))
                         : Qt.lighter(cell.dominantColor, 1.22)
                }
                GradientStop {
                    position: 1
                    color: cell.isAddSlot ? cell.colors.glass
                         : cell.glass ? Qt.tint(cell.colors.glass, Qt.rgba(cell.dominantColor.r, cell.dominantColor.g, cell.dominantColor.b, 0.38))
                         : Qt.darker(cell.dominantColor, 1.12)
                }
            }
            // The glass orb's gloss.
            Rectangle {
                visible: cell.glass
                x: parent.width * 0.16
                y: parent.height * 0.06
                width: parent.width * 0.68
                height: parent.height * 0.4
                radius: height / 2
                gradient: Gradient {
                    GradientStop { position: 0; color: Qt.rgba(1, 1, 1, cell.colors.dark ? 0.22 : 0.5) }
                    GradientStop { position: 1; color: Qt.rgba(1, 1, 1, 0) }
                }
            }
        }
        AppIcon {
            visible: !cell.isAddSlot
            anchors.centerIn: parent
            rotation: -body.rotation
            size: cell.glass ? 36 : 40
            source: cell.iconUrl
            name: cell.name
            tint: cell.dominantColor
        }
        Text {
            visible: cell.isAddSlot
            anchors.centerIn: parent
            rotation: -body.rotation
            text: "+"
            color: cell.colors.text
            font.pixelSize: 30
            font.weight: Font.Light
        }
        // A favourite that is not running wears no dot; running apps do.
        Rectangle {
            visible: cell.isRunning && cell.isFavourite
            width: 6; height: 6; radius: 3
            color: cell.colors.onAccent
            border.color: Qt.rgba(0, 0, 0, 0.25)
            x: parent.width / 2 - 3
            y: parent.height - 10
        }
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        property point pressPoint
        property bool swapped: false
        onEntered: if (cell.hoverAllowed) cell.ring.setHovered(cell.index, true)
        onExited: cell.ring.setHovered(cell.index, false)
        onPressed: (mouse) => {
            pressPoint = mapToItem(null, mouse.x, mouse.y)
            swapped = false
        }
        onMouseXChanged: if (cell.hoverAllowed && containsMouse && !pressed && cell.ring.hoveredId !== cell.appId) cell.ring.setHovered(cell.index, true)
        onPositionChanged: (mouse) => {
            if (!pressed || !cell.wiggle || swapped)
                return
            const p = mapToItem(null, mouse.x, mouse.y)
            if (cell.ring.dragFavourite(cell.index, p.x - pressPoint.x, p.y - pressPoint.y) !== 0)
                swapped = true
        }
        onPressAndHold: if (cell.isFavourite && !cell.wiggle) cell.switcher.enterWiggleMode()
        onClicked: (mouse) => {
            if (mouse.button === Qt.RightButton) {
                const index = cell.index
                cell.menu.open(cell.ring.contextMenu(index),
                               (action) => cell.ring.triggerMenuAction(index, action))
            } else if (!swapped) {
                cell.ring.select(cell.index)
            }
        }
    }
}
