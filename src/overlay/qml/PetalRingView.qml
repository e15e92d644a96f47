import QtQuick
import Valimbra.Overlay

// The ring: up to 15 cards evenly spaced on a circle around the pointer, on a frosted disc,
// with the search text and the highlighted application's name at the centre.
Item {
    id: view
    property var switcher
    property var controller
    property OverlayPalette colors
    property bool glass: false
    property bool iris: false

    readonly property bool open: controller.shown && switcher.isVisible
    readonly property alias pointerMoved: gate.pointerMoved
    HoverGate { id: gate; open: view.open; controller: view.controller }
    readonly property real cardHalf: 36
    readonly property real discRadius: Math.max(ringModel.radius + 8 + cardHalf + 22, 96)
    // The caption sits at the centre when the ring leaves room for it, else on the disc's lower
    // rim, like a name badge.
    readonly property bool captionInside: ringModel.radius >= 108
    readonly property real captionY: captionInside ? 0 : discRadius - 6

    PetalRingModel {
        id: ringModel
        switcher: view.switcher
        style: view.glass ? "glassOrb" : "spatialTile"
        onEditFavouritesRequested: view.controller.requestEditFavourites()
    }

    // Room round the disc for the cards' shadows and the spring, where a compositor blends it;
    // without one, anything outside the disc would show black, so the window is the disc alone.
    readonly property real shapeMargin: colors && colors.translucent ? 112 : 0
    function updateShape() {
        controller.setContentShape(2 * discRadius + shapeMargin, 2 * discRadius + shapeMargin, true)
    }
    onDiscRadiusChanged: updateShape()
    onShapeMarginChanged: updateShape()
    Component.onCompleted: updateShape()

    // 0 closed, 1 open: drives every card and the backing.
    property real bloom: 0
    states: State { name: "open"; when: view.open; PropertyChanges { target: view; bloom: 1 } }
    transitions: [
        Transition { to: "open"; NumberAnimation { property: "bloom"; duration: 420; easing.type: Easing.OutCubic } },
        Transition { from: "open"; NumberAnimation { property: "bloom"; duration: 220; easing.type: Easing.InCubic } }
    ]

    MouseArea {
        // A click on the backing but off the cards: the user meant the desktop.
        anchors.fill: disc
        onClicked: view.switcher.hide()
    }

    Rectangle {
        id: disc
        width: 2 * view.discRadius
        height: width
        radius: width / 2
        anchors.centerIn: parent
        color: view.colors.backdrop
        border.color: view.colors.backdropBorder
        // The backing is there from the first frame (the switcher answers at once); the cards
        // fan out on it. It fades only when closing.
        opacity: view.open ? 1 : view.bloom
        scale: view.colors.translucent ? 0.94 + 0.06 * view.bloom : 1
        Behavior on width { SpringAnimation { spring: 3.2; damping: 0.34; epsilon: 0.25 } }
    }

    Item {
        id: centre
        anchors.centerIn: parent
        width: 0
        height: 0

        Repeater {
            model: ringModel
            delegate: SectorCell {
                ring: ringModel
                menu: contextMenu
                switcher: view.switcher
                colors: view.colors
                ringRadius: ringModel.radius
                glass: view.glass
                iris: view.iris
                wiggle: view.switcher.isWiggleMode
                cardCount: ringModel.count
                hoverAllowed: view.pointerMoved && view.bloom >= 1
                // Cards leave one after another and come back together.
                progress: Math.max(0, Math.min(1, view.open
                    ? (view.bloom * (1 + 0.4) - 0.4 * index / Math.max(1, ringModel.count)) * 1.0
                    : view.bloom))
            }
        }

        SearchCaption {
            x: -width / 2
            y: view.captionY - height / 2
            colors: view.colors
            query: view.switcher.searchQuery
            name: ringModel.highlightedName
            noResults: ringModel.noResults
            z: 20
        }
    }
    ContextMenuHost {
        id: contextMenu
        anchors.fill: parent
        colors: view.colors
        controller: view.controller
    }
}
