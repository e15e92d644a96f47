import QtQuick

// The program's icon, name and version, and two ways to reach us.
SettingsPaneContainer {
    id: pane
    property var general

    title: "About"

    Item {
        width: parent.width
        height: Math.max(about.implicitHeight, pane.viewportHeight)

        Column {
            id: about
            anchors.centerIn: parent
            // A little above the middle reads as centred.
            anchors.verticalCenterOffset: -16
            spacing: 0

            Item {
                id: iconBox
                anchors.horizontalCenter: parent.horizontalCenter
                width: 80
                height: 80

                // A soft shadow (about 0.15) under the icon's tile, from stacked translucent
                // rounded shapes; the tile fills 112 of the icon's 128 units.
                Item {
                    id: shadow
                    readonly property real tile: iconBox.width * 112 / 128
                    anchors.fill: parent
                    opacity: pane.colors.dark ? 0.3 : 0.15
                    Repeater {
                        model: 5
                        delegate: Rectangle {
                            required property int index
                            anchors.centerIn: parent
                            anchors.verticalCenterOffset: 2 + index * 0.8
                            width: shadow.tile + 2 * (index + 1)
                            height: width
                            radius: width * 26 / 112
                            color: Qt.rgba(0, 0, 0, 0.42 - index * 0.07)
                        }
                    }
                }
                Image {
                    anchors.fill: parent
                    source: "image://settings/appicon"
                    sourceSize.width: Math.ceil(80 * Screen.devicePixelRatio)
                    sourceSize.height: Math.ceil(80 * Screen.devicePixelRatio)
                    fillMode: Image.PreserveAspectFit
                    smooth: true
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "Valimbra icon"
                }
            }

            Item { width: 1; height: 16 }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "Valimbra"
                font.pixelSize: 20
                font.weight: Font.DemiBold
                color: pane.colors.text
                renderType: Text.NativeRendering
            }
            Item { width: 1; height: 4 }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "Version " + pane.general.versionText
                font.pixelSize: 13
                color: pane.colors.secondaryText
                renderType: Text.NativeRendering
            }
            Item { width: 1; height: 24 }
            Row {
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: 24
                LinkButton {
                    text: "Rate Valimbra"
                    symbol: "star"
                    colors: pane.colors
                    onClicked: Qt.openUrlExternally("https://valimbra.app/rate")
                }
                LinkButton {
                    text: "Contact Us"
                    symbol: "envelope"
                    colors: pane.colors
                    onClicked: Qt.openUrlExternally("mailto:support@valimbra.app")
                }
            }
        }
    }
}
