import QtQuick
import QtQuick.Controls.Basic

// The context menu of an application: built from the items the model lists, so the order,
// the disabled state and the destructive look are decided in one place.
Menu {
    id: menu
    property var items: []
    property OverlayPalette colors: OverlayPalette {}
    signal triggeredAction(string action)
    // Where the menu is, whenever it opens, closes, moves or changes size.
    signal areaChanged()

    onVisibleChanged: areaChanged()
    onXChanged: areaChanged()
    onYChanged: areaChanged()
    onWidthChanged: areaChanged()
    onHeightChanged: areaChanged()

    padding: 5
    background: Rectangle {
        implicitWidth: 190
        radius: 10
        color: menu.colors.dark ? "#2a2d31" : "#fbfbfc"
        border.color: menu.colors.backdropBorder
    }

    Instantiator {
        model: menu.items
        delegate: MenuItem {
            required property var modelData
            readonly property bool divider: modelData.action === "divider"
            text: modelData.text
            enabled: modelData.enabled
            height: divider ? 9 : 30
            Accessible.name: modelData.text
            onTriggered: menu.triggeredAction(modelData.action)
            contentItem: Item {
                Rectangle {
                    visible: divider
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width
                    height: 1
                    color: menu.colors.separator
                }
                Text {
                    visible: !divider
                    anchors.verticalCenter: parent.verticalCenter
                    leftPadding: 4
                    text: modelData.text
                    font.pixelSize: 13
                    color: !modelData.enabled ? menu.colors.secondaryText
                         : parent.parent.highlighted ? menu.colors.onAccent
                         : modelData.destructive ? menu.colors.destructive : menu.colors.text
                }
            }
            background: Rectangle {
                visible: !divider && parent.highlighted
                radius: 6
                color: menu.colors.accent
            }
        }
        onObjectAdded: (index, object) => menu.insertItem(index, object)
        onObjectRemoved: (index, object) => menu.removeItem(object)
    }
}
