import QtQuick
import Valimbra.Overlay

// The root of the overlay panel: a transparent surface that shows the view of the stored
// style, read again at every opening.
Item {
    id: root
    required property var switcher
    required property var controller

    OverlayPalette {
        id: overlayColors
        dark: root.controller.dark
        translucent: root.controller.translucent
    }

    Loader {
        anchors.fill: parent
        sourceComponent: root.controller.switcherStyle === "grid" ? gridView
                       : root.controller.switcherStyle === "list" ? listView : ringView
    }
    Component {
        id: ringView
        PetalRingView {
            switcher: root.switcher
            controller: root.controller
            colors: overlayColors
            glass: root.controller.switcherStyle === "glassOrb"
            iris: root.controller.animationStyle === "iris"
        }
    }
    Component {
        id: gridView
        ValimbraGridView {
            switcher: root.switcher
            controller: root.controller
            colors: overlayColors
            animation: root.controller.animationStyle
        }
    }
    Component {
        id: listView
        ValimbraListView {
            switcher: root.switcher
            controller: root.controller
            colors: overlayColors
            animation: root.controller.animationStyle
        }
    }
}
