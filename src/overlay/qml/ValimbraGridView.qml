import QtQuick
import Valimbra.Overlay

// All favourites and running applications as a grid of icons with names, on a frosted panel.
Item {
    id: view
    property var switcher
    property var controller
    property OverlayPalette colors
    property string animation: "iris"

    readonly property bool open: controller.shown && switcher.isVisible
    readonly property alias pointerMoved: gate.pointerMoved
    HoverGate { id: gate; open: view.open; controller: view.controller }
    readonly property int count: switcher.displayedCount
    readonly property int columns: Math.max(3, Math.min(6, Math.ceil(Math.sqrt(Math.max(1, count) * 1.4))))
    readonly property int cellWidth: 100
    readonly property int cellHeight: 104
    readonly property int visibleRows: Math.max(1, Math.min(5, Math.ceil(Math.max(1, count) / columns)))
    readonly property real panelWidth: columns * cellWidth + 32
    readonly property real panelHeight: 60 + visibleRows * cellHeight + 20

    // Room for the shadow where a compositor blends it; without one the window is the panel alone.
    readonly property bool roomy: colors && colors.translucent
    function updateShape() {
        controller.setContentShape(panelWidth + (roomy ? 100 : 0), panelHeight + (roomy ? 112 : 0), false)
    }
    onRoomyChanged: updateShape()
    onPanelWidthChanged: updateShape()
    onPanelHeightChanged: updateShape()
    Component.onCompleted: updateShape()

    property real entrance: 0
    states: State { name: "open"; when: view.open; PropertyChanges { target: view; entrance: 1 } }
    transitions: [
        Transition { to: "open"; NumberAnimation { property: "entrance"; duration: view.animation === "bloom" ? 520 : 260; easing.type: view.animation === "bloom" ? Easing.OutCubic : Easing.OutBack } },
        Transition { from: "open"; NumberAnimation { property: "entrance"; duration: 180; easing.type: Easing.InCubic } }
    ]
    EntranceMotion { id: motion; style: view.animation }

    Connections {
        target: view.controller
        function onNavigate(dx, dy) {
            if (view.count === 0)
                return
            const current = view.switcher.highlightIndex < 0 ? 0 : view.switcher.highlightIndex
            let next = current + dx + dy * view.columns
            next = Math.max(0, Math.min(view.count - 1, next))
            view.switcher.highlightIndex = next
        }
    }

    Item {
        id: panel
        anchors.centerIn: parent
        width: view.panelWidth
        height: view.panelHeight
        // There from the first frame; the items move in. It fades only when closing.
        opacity: view.open ? 1 : view.entrance
        scale: motion.wave || !view.colors.translucent ? 1 : 0.9 + 0.1 * view.entrance

        SoftShadow { target: backing; radius: 22; blur: 20; offsetY: 8; opacity: view.colors.shadowOpacity }
        Rectangle {
            id: backing
            anchors.fill: parent
            radius: 22
            color: view.colors.backdrop
            border.color: view.colors.backdropBorder
        }
        SearchHeader {
            id: header
            anchors { left: parent.left; right: parent.right; top: parent.top; margins: 16 }
            height: 40
            query: view.switcher.searchQuery
            colors: view.colors
        }
        Text {
            anchors.centerIn: grid
            visible: view.count === 0
            text: view.switcher.searchQuery.length > 0 ? qsTr("No matches") : qsTr("No applications")
            color: view.colors.secondaryText
            font.pixelSize: 15
        }
        GridView {
            id: grid
            anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: parent.bottom
                      leftMargin: 16; rightMargin: 16; topMargin: 8; bottomMargin: 12 }
            clip: true
            cellWidth: view.cellWidth
            cellHeight: view.cellHeight
            model: view.switcher.displayedApps
            currentIndex: view.switcher.highlightIndex
            highlightFollowsCurrentItem: false
            onCurrentIndexChanged: if (currentIndex >= 0) positionViewAtIndex(currentIndex, GridView.Contain)
            interactive: contentHeight > height
            boundsBehavior: Flickable.StopAtBounds
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Applications")

            delegate: Item {
                id: cell
                required property int index
                required property string name
                required property string iconUrl
                required property color dominantColor
                required property bool isFavourite
                required property bool isRunning
                required property string accessibleName
                readonly property bool highlighted: index === view.switcher.highlightIndex
                readonly property real progress: motion.itemProgress(view.entrance, index)
                width: view.cellWidth
                height: view.cellHeight
                opacity: progress
                transform: Translate { y: (1 - cell.progress) * 14 }

                Accessible.role: Accessible.Button
                Accessible.name: accessibleName
                Accessible.onPressAction: view.switcher.activateAt(index)

                Rectangle {
                    anchors.fill: parent
                    anchors.margins: 3
                    radius: 14
                    color: cell.highlighted ? view.colors.accent : mouse.containsMouse ? view.colors.hover : "transparent"
                    Behavior on color { ColorAnimation { duration: 110 } }
                }
                AppIcon {
                    id: icon
                    anchors.horizontalCenter: parent.horizontalCenter
                    y: 12
                    size: 52
                    source: cell.iconUrl
                    name: cell.name
                    tint: cell.dominantColor
                    scale: cell.highlighted ? 1.06 : 1
                    Behavior on scale { NumberAnimation { duration: 120 } }
                }
                Text {
                    anchors { left: parent.left; right: parent.right; top: icon.bottom; topMargin: 8; leftMargin: 8; rightMargin: 8 }
                    horizontalAlignment: Text.AlignHCenter
                    elide: Text.ElideRight
                    text: cell.name
                    color: cell.highlighted ? view.colors.onAccent : view.colors.text
                    font.pixelSize: 12
                    font.weight: cell.highlighted ? Font.DemiBold : Font.Normal
                }
                Rectangle {
                    visible: cell.isFavourite && cell.isRunning
                    width: 5; height: 5; radius: 2.5
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: 7
                    color: cell.highlighted ? view.colors.onAccent : view.colors.accent
                }
                MouseArea {
                    id: mouse
                    anchors.fill: parent
                    hoverEnabled: true
                    acceptedButtons: Qt.LeftButton | Qt.RightButton
                    onEntered: if (view.pointerMoved) view.switcher.hoverItem(cell.index)
                    onMouseXChanged: if (view.pointerMoved && containsMouse && view.switcher.highlightIndex !== cell.index) view.switcher.hoverItem(cell.index)
                    onExited: view.switcher.cancelHoverDwell()
                    onClicked: (mouse) => {
                        if (mouse.button === Qt.RightButton) {
                            const index = cell.index
                            contextMenu.open(actions.contextMenuForEntry(index),
                                             (action) => actions.triggerEntryAction(index, action))
                        } else {
                            view.switcher.activateAt(cell.index)
                        }
                    }
                }
            }
        }
    }
    PetalRingModel {
        id: actions
        switcher: view.switcher
        onEditFavouritesRequested: view.controller.requestEditFavourites()
    }
    ContextMenuHost {
        id: contextMenu
        anchors.fill: parent
        colors: view.colors
        controller: view.controller
    }
}
