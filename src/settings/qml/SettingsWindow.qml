import QtQuick

// The settings window: the panes in a sidebar on the left, the displayed pane on the right.
// A pane is made the first time it is shown and kept, so it stays as the user left it. The
// detail column fades out and in around a pane change as the navigation model directs.
Item {
    id: root
    required property var controller
    required property var navigation
    required property var general
    required property var appearance
    required property var favourites
    required property var ignored
    required property var chooser
    required property var recorder

    width: 680
    height: 520

    readonly property var symbols: ({
        "General": "gearshape",
        "Appearance": "paintbrush",
        "Favourites": "star",
        "Ignored": "minus.circle",
        "About": "info.circle"
    })

    SettingsPalette {
        id: theme
        dark: root.controller.dark
    }

    Rectangle {
        anchors.fill: parent
        color: theme.windowBackground
    }

    Item {
        id: mainContent
        anchors.fill: parent
        // While the chooser sheet is open, nothing under it takes clicks or keys.
        enabled: !appChooser.shown

        Rectangle {
            id: sidebar
            width: 220
            height: parent.height
            color: theme.sidebarBackground

            Column {
                anchors.top: parent.top
                anchors.topMargin: 12
                anchors.left: parent.left
                anchors.right: parent.right
                anchors.leftMargin: 8
                anchors.rightMargin: 8
                spacing: 2

                Repeater {
                    model: root.navigation.panes
                    delegate: SidebarRow {
                        required property string modelData
                        width: parent.width
                        pane: modelData
                        symbol: root.symbols[modelData] || ""
                        isSelected: root.navigation.selectedPane === modelData
                        colors: theme
                        onTapped: root.navigation.select(modelData)
                    }
                }
            }

            QuitButton {
                anchors.left: parent.left
                anchors.leftMargin: 14
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 14
                colors: theme
                onClicked: Qt.quit()
            }

            Rectangle {
                anchors.right: parent.right
                width: 1
                height: parent.height
                color: theme.separator
            }
        }

        Item {
            id: detail
            objectName: "detail"
            anchors.left: sidebar.right
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.bottom: parent.bottom

            // Driven by hand rather than by a Behavior: the model changes the opacity and
            // whether to animate it in one notification, and a Behavior could see them in
            // either order.
            NumberAnimation {
                id: fade
                target: detail
                property: "opacity"
            }
            function applyOpacity() {
                fade.stop()
                const to = root.navigation.detailOpacity
                if (root.navigation.animateDetail && to !== detail.opacity) {
                    const fadingOut = to < detail.opacity
                    fade.to = to
                    fade.duration = fadingOut ? 180 : 200
                    fade.easing.type = fadingOut ? Easing.OutQuad : Easing.InQuad
                    fade.start()
                } else {
                    detail.opacity = to
                }
            }
            Component.onCompleted: detail.opacity = root.navigation.detailOpacity
            Connections {
                target: root.navigation
                function onDetailOpacityChanged() { detail.applyOpacity() }
            }

            PaneSlot {
                displayedPane: root.navigation.displayedPane
                name: "General"
                paneComponent: Component {
                    GeneralPane {
                        colors: theme
                        general: root.general
                        recorder: root.recorder
                    }
                }
            }
            PaneSlot {
                displayedPane: root.navigation.displayedPane
                name: "Appearance"
                paneComponent: Component {
                    AppearancePane {
                        colors: theme
                        appearance: root.appearance
                    }
                }
            }
            PaneSlot {
                displayedPane: root.navigation.displayedPane
                name: "Favourites"
                paneComponent: Component {
                    AppListPane {
                        colors: theme
                        title: "Favourites"
                        sectionTitle: "Pinned Apps \u2014 always shown in the switcher"
                        caption: "Apps in your Ignored list cannot be added as favourites"
                        model: root.favourites
                        chooserSheet: appChooser
                    }
                }
            }
            PaneSlot {
                displayedPane: root.navigation.displayedPane
                name: "Ignored"
                paneComponent: Component {
                    AppListPane {
                        colors: theme
                        title: "Ignored Apps"
                        sectionTitle: "Hidden from the switcher permanently"
                        caption: "Favourited apps cannot be added to the Ignored list"
                        model: root.ignored
                        chooserSheet: appChooser
                    }
                }
            }
            PaneSlot {
                displayedPane: root.navigation.displayedPane
                name: "About"
                paneComponent: Component {
                    AboutPane {
                        colors: theme
                        general: root.general
                    }
                }
            }
        }
    }

    AppChooser {
        id: appChooser
        anchors.fill: parent
        chooser: root.chooser
        colors: theme
    }

    // One pane of the detail column: made when first displayed, then only shown and hidden.
    component PaneSlot: Loader {
        property string name
        property string displayedPane
        property Component paneComponent
        readonly property bool displayed: displayedPane === name
        property bool made: false
        onDisplayedChanged: if (displayed) made = true
        Component.onCompleted: if (displayed) made = true
        anchors.fill: parent
        active: made
        visible: displayed
        sourceComponent: paneComponent
    }
}
