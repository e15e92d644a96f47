import QtQuick

// "Valimbra is here": a pill whose tail points at the tray icon. It fades in, breathes (a slow
// swell) and drifts (a slow nod towards the icon) until it fades out.
Item {
    id: root
    required property var controller

    width: 176
    height: 72

    readonly property real pillWidth: 140
    readonly property real pillHeight: 36
    readonly property real tailHeight: 8
    readonly property real tailWidth: 16
    readonly property string side: controller.tailSide
    readonly property bool horizontal: side === "top" || side === "bottom"
    readonly property point tip: controller.tailTip

    property bool shown: false
    property bool breathing: false
    property bool drifting: false
    Component.onCompleted: shown = true

    OnboardingPalette {
        id: theme
        dark: root.controller.dark
    }

    opacity: shown && !controller.leaving ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: root.controller.leaving ? 200 : 300 } }

    SequentialAnimation on breathing {
        loops: Animation.Infinite
        running: true
        PropertyAction { value: true }
        PauseAnimation { duration: 1600 }
        PropertyAction { value: false }
        PauseAnimation { duration: 1600 }
    }
    SequentialAnimation on drifting {
        loops: Animation.Infinite
        running: true
        PropertyAction { value: true }
        PauseAnimation { duration: 3000 }
        PropertyAction { value: false }
        PauseAnimation { duration: 3000 }
    }

    CapsuleWithTailShape {
        id: pill
        color: theme.hintFill
        tailSide: root.side
        tailHeight: root.tailHeight
        tailWidth: root.tailWidth
        width: root.pillWidth + (root.horizontal ? 0 : root.tailHeight)
        height: root.pillHeight + (root.horizontal ? root.tailHeight : 0)
        // The tail's tip sits on the icon's edge; the pill centres on it along the panel and
        // stays inside the window.
        readonly property real along: root.horizontal
            ? Math.max(6, Math.min(root.width - width - 6, root.tip.x - width / 2))
            : Math.max(6, Math.min(root.height - height - 6, root.tip.y - height / 2))
        property real drift: root.drifting ? 3 : 0
        Behavior on drift { NumberAnimation { duration: 3000; easing.type: Easing.InOutSine } }
        x: root.horizontal ? along
           : root.side === "left" ? root.tip.x + drift : root.tip.x - width - drift
        y: !root.horizontal ? along
           : root.side === "top" ? root.tip.y + drift : root.tip.y - height - drift
        tailPosition: root.horizontal ? root.tip.x - x : root.tip.y - y

        scale: root.breathing ? 1.035 : 1
        transformOrigin: root.side === "top" ? Item.Top : root.side === "bottom" ? Item.Bottom
                         : root.side === "left" ? Item.Left : Item.Right
        Behavior on scale { NumberAnimation { duration: 1600; easing.type: Easing.InOutSine } }

        Text {
            x: root.side === "left" ? root.tailHeight : 0
            y: root.side === "top" ? root.tailHeight : 0
            width: root.pillWidth
            height: root.pillHeight
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            text: "Valimbra is here"
            color: "white"
            font.pixelSize: 12
            font.weight: Font.Medium
        }
    }
}
