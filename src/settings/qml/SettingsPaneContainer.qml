import QtQuick

// A pane: its title, then its sections in a vertical scroll view. Where content is scrolled
// away above, or more lies below, the edge fades into the background so nothing is cut hard.
Item {
    id: container
    property string title
    property SettingsPalette colors
    property color bg: colors ? colors.windowBackground : "white"
    property real fadeH: 20
    readonly property bool showTopFade: flick.contentY > 0.5
    readonly property bool showBottomFade: flick.contentY + flick.height < flick.contentHeight - 0.5
    // The height the sections can use without scrolling, for content that centres itself.
    readonly property real viewportHeight: flick.height - sections.y - bottomPadding
    readonly property real sideMargin: 24
    readonly property real bottomPadding: 24
    default property alias content: sections.data

    Text {
        id: heading
        x: container.sideMargin
        y: 16
        width: container.width - 2 * container.sideMargin
        text: container.title
        font.pixelSize: 20
        font.weight: Font.DemiBold
        color: container.colors.text
        elide: Text.ElideRight
        renderType: Text.NativeRendering
        Accessible.role: Accessible.Heading
        Accessible.name: container.title
    }

    Flickable {
        id: flick
        anchors.top: heading.bottom
        anchors.topMargin: 10
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        clip: true
        contentWidth: width
        contentHeight: sections.y + sections.implicitHeight + container.bottomPadding
        flickableDirection: Flickable.VerticalFlick
        boundsBehavior: Flickable.StopAtBounds
        pixelAligned: true

        Column {
            id: sections
            x: container.sideMargin
            y: 2
            width: flick.width - 2 * container.sideMargin
            spacing: 18
        }
    }

    Rectangle {
        anchors.top: flick.top
        anchors.left: flick.left
        anchors.right: flick.right
        height: container.fadeH
        opacity: container.showTopFade ? 1 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }
        gradient: Gradient {
            GradientStop { position: 0; color: container.bg }
            GradientStop { position: 1; color: Qt.rgba(container.bg.r, container.bg.g, container.bg.b, 0) }
        }
    }
    Rectangle {
        anchors.bottom: flick.bottom
        anchors.left: flick.left
        anchors.right: flick.right
        height: container.fadeH
        opacity: container.showBottomFade ? 1 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }
        gradient: Gradient {
            GradientStop { position: 0; color: Qt.rgba(container.bg.r, container.bg.g, container.bg.b, 0) }
            GradientStop { position: 1; color: container.bg }
        }
    }

    ScrollIndicatorBar {
        flickable: flick
        colors: container.colors
    }
}
