import QtQuick

// One of the two application lists (favourites or ignored): the rows, "Add App", and the
// caption that explains why some chosen apps do not arrive. Rows slide in from the trailing
// edge and leave towards it; the rest close up on a spring.
SettingsPaneContainer {
    id: pane
    property var model
    property var chooserSheet
    property string sectionTitle
    property string caption

    // A spring that answers in about 0.38 s and settles with little overshoot (damping
    // fraction about 0.82), in SpringAnimation's per-frame units.
    readonly property real springStiffness: 4.4
    readonly property real springDamping: 0.43

    function addApps() {
        if (!pane.model.canAdd)
            return
        pane.model.beginAdd()
        const target = pane.model
        pane.chooserSheet.open(function(urls) { target.addApplications(urls) })
    }

    SectionCard {
        title: pane.sectionTitle
        caption: pane.caption
        colors: pane.colors
        verticalPadding: 8

        // The list reaches past the card's content by the rows' hover margin: its clip keeps a
        // leaving row inside the card without cutting the highlight of the others.
        ListView {
            id: list
            readonly property real inset: 6
            x: -inset
            width: parent.width + 2 * inset
            height: contentHeight
            interactive: false
            clip: true
            model: pane.model
            // The card follows the rows as they come and go, but the first layout is not animated.
            property bool animateHeight: false
            Component.onCompleted: Qt.callLater(function() { list.animateHeight = true })
            Behavior on height {
                enabled: list.animateHeight
                SpringAnimation { spring: pane.springStiffness; damping: pane.springDamping; epsilon: 0.25 }
            }

            delegate: Item {
                id: entry
                required property int index
                required property string bundleID
                required property string name
                required property string subtitle
                required property string iconUrl
                width: list.width
                height: row.height + (index > 0 ? divider.height : 0)

                CardDivider {
                    id: divider
                    x: list.inset
                    width: list.width - 2 * list.inset
                    visible: entry.index > 0
                    colors: pane.colors
                }
                AppRow {
                    id: row
                    x: list.inset
                    width: list.width - 2 * list.inset
                    y: entry.index > 0 ? divider.height : 0
                    name: entry.name
                    subtitle: entry.subtitle
                    iconUrl: entry.iconUrl
                    colors: pane.colors
                    onRemoveClicked: pane.model.remove(entry.bundleID)
                }
            }

            add: Transition {
                ParallelAnimation {
                    SpringAnimation {
                        property: "x"; from: list.width; to: 0
                        spring: pane.springStiffness; damping: pane.springDamping; epsilon: 0.25
                    }
                    NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 200; easing.type: Easing.OutQuad }
                }
            }
            remove: Transition {
                ParallelAnimation {
                    SpringAnimation {
                        property: "x"; to: list.width
                        spring: pane.springStiffness; damping: pane.springDamping; epsilon: 0.25
                    }
                    NumberAnimation { property: "opacity"; to: 0; duration: 200; easing.type: Easing.InQuad }
                }
            }
            displaced: Transition {
                SpringAnimation {
                    property: "y"
                    spring: pane.springStiffness; damping: pane.springDamping; epsilon: 0.25
                }
            }
        }

        CardDivider {
            colors: pane.colors
            visible: list.count > 0
        }
        AddButton {
            label: "Add App"
            colors: pane.colors
            disabled: !pane.model.canAdd
            onClicked: pane.addApps()
        }
    }
}
