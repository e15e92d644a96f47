import QtQuick

// A segmented choice: one segment per option ({label, value}), the selected one on an accent
// pill that slides between segments. It shows `selection` and asks for a change through
// `activated`; a disabled option is dimmed and ignores clicks. No segment is selected while
// `selection` matches no option.
Item {
    id: picker
    property var options: []
    property var selection
    property real itemWidth: 60
    // Optional per-segment widths; a missing entry falls back to `itemWidth`.
    property var itemWidths: []
    // Sizes every segment to its own label instead (at least `itemWidth`).
    property bool fitLabels: false
    property var isOptionDisabled: null
    property color activeTint: colors ? colors.accent : "teal"
    property string accessibleName
    property SettingsPalette colors
    signal activated(var value)

    readonly property int inset: 2
    readonly property int selectedIndex: indexOf(selection)
    // The pill stays where it last was while nothing is selected, and only fades.
    property int pillIndex: 0
    property bool ready: false

    implicitWidth: segmentX(options.length) + inset
    implicitHeight: 24
    activeFocusOnTab: true

    Accessible.role: Accessible.Grouping
    Accessible.name: accessibleName
    Accessible.focusable: true

    function same(a, b) {
        if (typeof a === "number" && typeof b === "number")
            return Math.abs(a - b) < 1e-6
        return a === b
    }
    function indexOf(value) {
        for (let i = 0; i < options.length; ++i)
            if (same(options[i].value, value))
                return i
        return -1
    }
    function disabledAt(i) {
        return i < 0 || i >= options.length
            || (isOptionDisabled ? isOptionDisabled(options[i].value) === true : false)
    }
    function widthAt(i) {
        if (fitLabels)
            return Math.max(itemWidth, Math.ceil(measure.advanceWidth(options[i].label)) + 28)
        if (itemWidths && i < itemWidths.length && itemWidths[i] > 0)
            return itemWidths[i]
        return itemWidth
    }
    function segmentX(i) {
        let x = inset
        for (let k = 0; k < i; ++k)
            x += widthAt(k)
        return x
    }
    function choose(i) {
        if (!disabledAt(i))
            activated(options[i].value)
    }
    // Arrow keys move to the next enabled segment.
    function step(direction) {
        let i = selectedIndex < 0 ? (direction > 0 ? -1 : options.length) : selectedIndex
        for (i += direction; i >= 0 && i < options.length; i += direction)
            if (!disabledAt(i)) {
                choose(i)
                return
            }
    }

    onSelectedIndexChanged: if (selectedIndex >= 0) pillIndex = selectedIndex
    Component.onCompleted: {
        if (selectedIndex >= 0)
            pillIndex = selectedIndex
        ready = true
    }
    Keys.onLeftPressed: step(-1)
    Keys.onRightPressed: step(1)

    FontMetrics {
        id: measure
        font.pixelSize: 12
        font.weight: Font.Medium
    }

    Rectangle {
        id: track
        anchors.fill: parent
        radius: 7
        color: picker.colors.controlFill
        border.width: 1
        border.color: picker.colors.primaryAt(0.04)
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        radius: 10
        color: "transparent"
        border.width: 2
        border.color: picker.colors.focusRing
        visible: picker.activeFocus
    }

    Rectangle {
        id: pill
        y: picker.inset
        height: picker.height - 2 * picker.inset
        x: picker.segmentX(picker.pillIndex)
        width: picker.options.length > 0 ? picker.widthAt(picker.pillIndex) : 0
        radius: 5
        color: picker.activeTint
        opacity: picker.selectedIndex >= 0 ? 1 : 0
        // A light spring: quick, with a hint of settle (about 0.3 s, lightly damped).
        Behavior on x {
            enabled: picker.ready
            SpringAnimation { spring: 5; damping: 0.42; epsilon: 0.25 }
        }
        Behavior on width {
            enabled: picker.ready
            SpringAnimation { spring: 5; damping: 0.42; epsilon: 0.25 }
        }
        Behavior on opacity { NumberAnimation { duration: 150; easing.type: Easing.OutQuad } }
        // A hairline of depth so the pill reads as lifted in light mode.
        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: "transparent"
            border.width: 1
            border.color: Qt.rgba(0, 0, 0, picker.colors.dark ? 0.12 : 0.06)
        }
    }

    Repeater {
        model: picker.options
        delegate: Item {
            id: segment
            required property var modelData
            required property int index
            readonly property bool isSelected: index === picker.selectedIndex
            readonly property bool isDisabled: picker.disabledAt(index)

            x: picker.segmentX(index)
            y: picker.inset
            width: picker.widthAt(index)
            height: picker.height - 2 * picker.inset
            enabled: !isDisabled

            Accessible.role: Accessible.RadioButton
            Accessible.name: modelData.label
            Accessible.checkable: true
            Accessible.checked: isSelected
            Accessible.onPressAction: picker.choose(index)
            Accessible.onToggleAction: picker.choose(index)

            // The hairline between two unselected neighbours.
            Rectangle {
                visible: segment.index > 0 && !segment.isSelected
                         && segment.index - 1 !== picker.selectedIndex
                width: 1
                height: parent.height - 10
                anchors.verticalCenter: parent.verticalCenter
                x: -0.5
                color: picker.colors.primaryAt(0.10)
            }
            Rectangle {
                anchors.fill: parent
                radius: 5
                color: mouse.pressed ? picker.colors.pressed : picker.colors.hover
                opacity: !segment.isSelected && mouse.containsMouse ? 1 : 0
                Behavior on opacity { NumberAnimation { duration: 120 } }
            }
            Text {
                anchors.centerIn: parent
                width: parent.width - 8
                horizontalAlignment: Text.AlignHCenter
                text: segment.modelData.label
                elide: Text.ElideRight
                font.pixelSize: 12
                font.weight: Font.Medium
                color: segment.isSelected ? picker.colors.accentForeground : picker.colors.text
                opacity: segment.isDisabled ? 0.35 : 1
                renderType: Text.NativeRendering
                Behavior on color { ColorAnimation { duration: 150 } }
                Accessible.ignored: true
            }
            MouseArea {
                id: mouse
                anchors.fill: parent
                hoverEnabled: true
                onClicked: picker.choose(segment.index)
            }
        }
    }
}
