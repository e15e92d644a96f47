import QtQuick

// One row of a card: a label on the left and its control on the right. When the control
// itself carries the label as its accessible name (a switch), the label text stays out of the
// accessibility tree so a screen reader does not read it twice.
Item {
    id: row
    property string label
    property SettingsPalette colors
    property bool exposeLabel: true
    default property alias trailing: trailingRow.data

    width: parent ? parent.width : implicitWidth
    implicitWidth: labelText.implicitWidth + 12 + trailingRow.implicitWidth
    implicitHeight: Math.max(28, labelText.implicitHeight, trailingRow.implicitHeight)
    height: implicitHeight

    Text {
        id: labelText
        anchors.left: parent.left
        anchors.right: trailingRow.left
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        text: row.label
        font.pixelSize: 13
        color: row.colors.text
        elide: Text.ElideRight
        renderType: Text.NativeRendering
        Accessible.ignored: !row.exposeLabel
    }

    Row {
        id: trailingRow
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8
    }
}
