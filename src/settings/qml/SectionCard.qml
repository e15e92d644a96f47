import QtQuick

// A section: its heading in small capitals, then a rounded card holding its rows, and an
// optional caption under the card. Rows are stacked without gaps; CardDivider separates them.
Item {
    id: section
    property string title
    property string caption
    property SettingsPalette colors
    property real horizontalPadding: 14
    property real verticalPadding: 14
    default property alias content: body.data

    width: parent ? parent.width : implicitWidth
    implicitWidth: 320
    implicitHeight: column.implicitHeight
    height: implicitHeight

    Column {
        id: column
        width: parent.width
        spacing: 8

        Text {
            x: 2
            width: parent.width - 4
            text: section.title
            visible: text.length > 0
            font.pixelSize: 10
            font.weight: Font.DemiBold
            font.letterSpacing: 0.6
            // Drawn in capitals, but read out as written.
            font.capitalization: Font.AllUppercase
            color: section.colors.secondaryText
            elide: Text.ElideRight
            renderType: Text.NativeRendering
            Accessible.role: Accessible.Heading
            Accessible.name: section.title
        }

        Rectangle {
            id: card
            width: parent.width
            height: body.implicitHeight + 2 * section.verticalPadding
            radius: 10
            color: section.colors.cardFill
            border.width: 1
            border.color: section.colors.cardBorder

            Column {
                id: body
                x: section.horizontalPadding
                y: section.verticalPadding
                width: card.width - 2 * section.horizontalPadding
            }
        }

        Text {
            x: 2
            width: parent.width - 4
            text: section.caption
            visible: text.length > 0
            wrapMode: Text.WordWrap
            font.pixelSize: 11
            font.italic: true
            color: section.colors.tertiaryText
            renderType: Text.NativeRendering
        }
    }
}
