import QtQuick

// One switcher style to choose: a small animated preview and its label. The preview replays
// when the pod becomes the chosen one and whenever the pointer comes onto it.
Item {
    id: pod
    property string style
    property string label
    property string description
    property string animStyle: "bloom"
    property bool isActive: false
    property SettingsPalette colors
    property bool isHovered: mouse.containsMouse
    property int animTrigger: 0
    signal chosen()

    implicitWidth: 90
    implicitHeight: 88
    activeFocusOnTab: true

    Accessible.role: Accessible.RadioButton
    Accessible.name: label
    Accessible.description: description
    Accessible.checkable: true
    Accessible.checked: isActive
    Accessible.focusable: true
    Accessible.onPressAction: pod.chosen()
    Accessible.onToggleAction: pod.chosen()
    Keys.onSpacePressed: pod.chosen()
    Keys.onReturnPressed: pod.chosen()

    onIsActiveChanged: if (isActive) animTrigger++
    onIsHoveredChanged: if (isHovered) animTrigger++
    onAnimStyleChanged: if (isActive) animTrigger++

    Rectangle {
        anchors.fill: parent
        radius: 10
        color: pod.isActive ? pod.colors.accentAt(pod.colors.dark ? 0.16 : 0.10)
             : pod.isHovered ? pod.colors.hover : pod.colors.primaryAt(0)
        border.width: pod.isActive ? 1.5 : 1
        border.color: pod.isActive ? pod.colors.accentAt(0.65) : pod.colors.primaryAt(pod.isHovered ? 0.12 : 0.07)
        Behavior on color { ColorAnimation { duration: 140; easing.type: Easing.OutQuad } }
        Behavior on border.color { ColorAnimation { duration: 140; easing.type: Easing.OutQuad } }
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        radius: 13
        color: "transparent"
        border.width: 2
        border.color: pod.colors.focusRing
        visible: pod.activeFocus
    }

    Loader {
        id: preview
        anchors.horizontalCenter: parent.horizontalCenter
        y: 10
        width: 44
        height: 44
        scale: mouse.pressed ? 0.96 : 1
        Behavior on scale { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }
        sourceComponent: pod.style === "list" ? listPreview
                       : pod.style === "grid" ? gridPreview : ringPreview
    }
    Component {
        id: ringPreview
        MiniRingPreview {
            style: pod.style
            animStyle: pod.animStyle
            isActive: pod.isActive
            trigger: pod.animTrigger
            colors: pod.colors
            canvas: 44
            count: pod.style === "glassOrb" ? 6 : 8
            radius: pod.style === "glassOrb" ? 13 : 14.5
        }
    }
    Component {
        id: listPreview
        MiniListPreview {
            animStyle: pod.animStyle
            isActive: pod.isActive
            trigger: pod.animTrigger
            colors: pod.colors
            canvas: 44
        }
    }
    Component {
        id: gridPreview
        MiniGridPreview {
            animStyle: pod.animStyle
            isActive: pod.isActive
            trigger: pod.animTrigger
            colors: pod.colors
            canvas: 44
        }
    }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 10
        width: parent.width - 8
        horizontalAlignment: Text.AlignHCenter
        text: pod.label
        elide: Text.ElideRight
        font.pixelSize: 12
        font.weight: pod.isActive ? Font.DemiBold : Font.Normal
        color: pod.isActive ? pod.colors.text : pod.colors.secondaryText
        renderType: Text.NativeRendering
        Accessible.ignored: true
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: pod.chosen()
    }
}
