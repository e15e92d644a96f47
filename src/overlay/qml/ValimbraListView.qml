import QtQuick
import Valimbra.Overlay

// All favourites and running applications as a scrollable list: icon, name and state.
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
    readonly property int rowHeight: 52
    readonly property real panelWidth: 440
    readonly property real panelHeight: 60 + Math.max(1, Math.min(10, count)) * rowHeight + 16

    // Room for the shadow where a compositor blends it; without one the window is the panel alone.
    readonly property bool roomy: colors && colors.translucent
    function updateShape() {
        controller.setContentShape(panelWidth + (roomy ? 100 : 0), panelHeight + (roomy ? 112 : 0), false)
    }
    onRoomyChanged: updateShape()
    onPanelHeightChanged: updateShape()
    Component.onCompleted: updateShape()

    property real entrance: 0
    states: State { name: "open"; when: view.open; PropertyChanges { target: view; entrance: 1 } }
    transitions: [
        Transition { to: "open"; NumberAnimation { property: "entrance"; duration: view.animation === "bloom" ? 480 : 240; easing.type: view.animation === "bloom" ? Easing.OutCubic : Easing.OutBack } },
        Transition { from: "open"; NumberAnimation { property: "entrance"; duration: 180; easing.type: Easing.InCubic } }
    ]
    EntranceMotion { id: motion; style: view.animation }

    Connections {
        target: view.controller
        function onNavigate(dx, dy) {
            if (view.count === 0)
                return
            const step = dy !== 0 ? dy : dx
            const current = view.switcher.highlightIndex
            const next = current < 0 ? (step > 0 ? 0 : view.count - 1) : current + step
            view.switcher.highlightIndex = Math.max(0, Math.min(view.count - 1, next))
        }
    }

    Item {
        id: panel
        anchors.centerIn: parent
        width: view.panelWidth
        height: view.panelHeight
        // There from the first frame; the items move in. It fades only when closing.
        opacity: view.open ? 1 : view.entrance
        scale: motion.wave || !view.colors.translucent ? 1 : 0.92 + 0.08 * view.entrance

        SoftShadow { target: backing; radius: 18; blur: 20; offsetY: 8; opacity: view.colors.shadowOpacity }
        Rectangle {
            id: backing
            anchors.fill: parent
            radius: 18
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
            anchors.centerIn: list
            visible: view.count === 0
            text: view.switcher.searchQuery.length > 0 ? qsTr("No matches") : qsTr("No applications")
            color: view.colors.secondaryText
            font.pixelSize: 15
        }
        ListView {
            id: list
            anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: parent.bottom
                      leftMargin: 8; rightMargin: 8; topMargin: 6; bottomMargin: 8 }
            clip: true
            model: view.switcher.displayedApps
            currentIndex: view.switcher.highlightIndex
            highlightFollowsCurrentItem: false
            onCurrentIndexChanged: if (currentIndex >= 0) positionViewAtIndex(currentIndex, ListView.Contain)
            interactive: contentHeight > height
            boundsBehavior: Flickable.StopAtBounds
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Applications")

            delegate: Item {
                id: row
                required property int index
                required property string name
                required property string iconUrl
                required property color dominantColor
                required property bool isFavourite
                required property bool isRunning
                required property string accessibleName
                readonly property bool highlighted: index === view.switcher.highlightIndex
                readonly property real progress: motion.itemProgress(view.entrance, index)
                width: ListView.view.width
                height: view.rowHeight
                opacity: progress
                transform: Translate { x: (1 - row.progress) * -18 }

                Accessible.role: Accessible.ListItem
                Accessible.name: accessibleName
                Accessible.onPressAction: view.switcher.activateAt(index)

                Rectangle {
                    anchors.fill: parent
                    anchors.margins: 2
                    radius: 10
                    color: row.highlighted ? view.colors.accent : mouse.containsMouse ? view.colors.hover : "transparent"
                    Behavior on color { ColorAnimation { duration: 110 } }
                }
                AppIcon {
                    id: icon
                    anchors.verticalCenter: parent.verticalCenter
                    x: 12
                    size: 34
                    source: row.iconUrl
                    name: row.name
                    tint: row.dominantColor
                }
                Column {
                    anchors { left: icon.right; leftMargin: 12; right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
                    spacing: 1
                    Text {
                        width: parent.width
                        elide: Text.ElideRight
                        text: row.name
                        color: row.highlighted ? view.colors.onAccent : view.colors.text
                        font.pixelSize: 14
                        font.weight: Font.DemiBold
                    }
                    Text {
                        width: parent.width
                        elide: Text.ElideRight
                        text: row.isFavourite ? (row.isRunning ? qsTr("Favourite · Running") : qsTr("Favourite")) : qsTr("Running")
                        color: row.highlighted ? view.colors.onAccent : view.colors.secondaryText
                        opacity: row.highlighted ? 0.85 : 1
                        font.pixelSize: 11
                    }
                }
                MouseArea {
                    id: mouse
                    anchors.fill: parent
                    hoverEnabled: true
                    acceptedButtons: Qt.LeftButton | Qt.RightButton
                    onEntered: if (view.pointerMoved) view.switcher.hoverItem(row.index)
                    onMouseXChanged: if (view.pointerMoved && containsMouse && view.switcher.highlightIndex !== row.index) view.switcher.hoverItem(row.index)
                    onExited: view.switcher.cancelHoverDwell()
                    onClicked: (mouse) => {
                        if (mouse.button === Qt.RightButton) {
                            const index = row.index
                            contextMenu.open(actions.contextMenuForEntry(index),
                                             (action) => actions.triggerEntryAction(index, action))
                        } else {
                            view.switcher.activateAt(row.index)
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
