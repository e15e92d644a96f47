import QtQuick

// The hairline between two rows of a card, with the breathing room on both sides built in so
// rows themselves need no margins.
Item {
    id: divider
    property SettingsPalette colors
    width: parent ? parent.width : 0
    implicitHeight: 13
    height: implicitHeight

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: 1
        color: divider.colors.divider
    }
}
