import QtQuick
import QtQuick.Controls.Basic

// The sheet of "Add App": the installed applications by name, filtered as one types, several
// chosen at once, and "Browse…" for a desktop file elsewhere. It lies over the whole window
// and takes every click and key until it is closed; clicking beside it does not close it.
FocusScope {
    id: sheet
    property var chooser
    property SettingsPalette colors
    property bool shown: false
    // Called with the chosen URLs when the user confirms; nothing happens on Cancel.
    property var acceptCallback: null

    visible: opacity > 0
    opacity: shown ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: 160; easing.type: Easing.OutQuad } }

    function open(accept) {
        acceptCallback = accept
        chooser.reset()
        list.positionViewAtBeginning()
        shown = true
        search.forceActiveFocus()
    }
    function cancel() {
        shown = false
        acceptCallback = null
    }
    function confirm() {
        if (!shown || chooser.chosenCount === 0)
            return
        const urls = chooser.chosenUrls()
        const accept = acceptCallback
        cancel()
        if (accept)
            accept(urls)
    }

    Keys.onEscapePressed: cancel()

    // Closing the window cancels the choice, so the next showing does not open on a stale sheet.
    Connections {
        target: sheet.Window.window
        function onVisibleChanged() {
            if (sheet.shown && !sheet.Window.window.visible)
                sheet.cancel()
        }
    }
    Keys.onReturnPressed: confirm()
    Keys.onEnterPressed: confirm()

    Rectangle {
        anchors.fill: parent
        color: sheet.colors.scrim
    }
    // Nothing under the sheet reacts while it is open.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.AllButtons
        onWheel: (wheel) => wheel.accepted = true
    }

    Item {
        id: card
        anchors.centerIn: parent
        // As tall as the window allows: the more applications show at once, the less scrolling.
        width: 440
        height: parent.height - 48
        scale: sheet.shown ? 1 : 0.97
        Behavior on scale { NumberAnimation { duration: 180; easing.type: Easing.OutCubic } }

        // A soft shadow from layered translucent shapes.
        Repeater {
            model: 4
            delegate: Rectangle {
                required property int index
                anchors.centerIn: parent
                anchors.verticalCenterOffset: 4 + index * 2
                width: card.width + 4 + index * 6
                height: card.height + 4 + index * 6
                radius: 14 + index * 3
                color: Qt.rgba(0, 0, 0, (sheet.colors.dark ? 0.16 : 0.05) / (index + 1))
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: 12
            color: sheet.colors.sheetBackground
            border.width: 1
            border.color: sheet.colors.primaryAt(sheet.colors.dark ? 0.12 : 0.08)
        }

        Text {
            id: title
            x: 20
            y: 18
            text: "Choose Applications"
            font.pixelSize: 15
            font.weight: Font.DemiBold
            color: sheet.colors.text
            renderType: Text.NativeRendering
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        TextField {
            id: search
            anchors.top: title.bottom
            anchors.topMargin: 12
            x: 20
            width: card.width - 40
            height: 30
            leftPadding: 32
            rightPadding: 10
            verticalAlignment: TextInput.AlignVCenter
            font.pixelSize: 13
            color: sheet.colors.text
            placeholderText: "Search"
            placeholderTextColor: sheet.colors.tertiaryText
            selectionColor: sheet.colors.accentAt(0.35)
            selectedTextColor: sheet.colors.text
            renderType: Text.NativeRendering
            text: sheet.chooser ? sheet.chooser.filter : ""
            onTextEdited: sheet.chooser.filter = text
            Keys.onDownPressed: {
                list.currentIndex = 0
                list.forceActiveFocus()
            }
            Accessible.name: "Search applications"
            Accessible.searchEdit: true

            background: Rectangle {
                radius: 7
                color: sheet.colors.fieldFill
                border.width: search.activeFocus ? 2 : 1
                border.color: search.activeFocus ? sheet.colors.focusRing : sheet.colors.controlBorder
            }
            SymbolIcon {
                x: 10
                anchors.verticalCenter: parent.verticalCenter
                name: "magnifyingglass"
                size: 14
                color: sheet.colors.secondaryText
            }
        }

        Rectangle {
            id: listFrame
            anchors.top: search.bottom
            anchors.topMargin: 12
            anchors.bottom: footer.top
            anchors.bottomMargin: 14
            x: 20
            width: card.width - 40
            radius: 8
            color: sheet.colors.cardFill
            border.width: 1
            border.color: sheet.colors.cardBorder

            ListView {
                id: list
                anchors.fill: parent
                anchors.margins: 4
                clip: true
                model: sheet.chooser
                boundsBehavior: Flickable.StopAtBounds
                keyNavigationEnabled: true
                activeFocusOnTab: true
                // Rows a little beyond the view exist too, so they can be found by name.
                cacheBuffer: 1200
                Keys.onSpacePressed: if (currentIndex >= 0) sheet.chooser.toggle(currentIndex)
                Keys.onUpPressed: (event) => {
                    if (currentIndex <= 0)
                        search.forceActiveFocus()
                    else
                        event.accepted = false
                }

                delegate: Item {
                    id: entry
                    required property int index
                    required property string name
                    required property string iconUrl
                    required property bool chosen
                    width: list.width
                    height: 32

                    Accessible.role: Accessible.CheckBox
                    Accessible.name: name
                    Accessible.checkable: true
                    Accessible.checked: chosen
                    Accessible.onPressAction: sheet.chooser.toggle(entry.index)
                    Accessible.onToggleAction: sheet.chooser.toggle(entry.index)

                    Rectangle {
                        anchors.fill: parent
                        radius: 6
                        color: entry.chosen ? sheet.colors.accentAt(sheet.colors.dark ? 0.16 : 0.10)
                             : rowMouse.containsMouse ? sheet.colors.hover : sheet.colors.primaryAt(0)
                        border.width: list.activeFocus && list.currentIndex === entry.index ? 2 : 0
                        border.color: sheet.colors.focusRing
                        Behavior on color { ColorAnimation { duration: 120 } }
                    }
                    Image {
                        id: icon
                        x: 8
                        anchors.verticalCenter: parent.verticalCenter
                        width: 22
                        height: 22
                        source: entry.iconUrl
                        sourceSize.width: Math.ceil(22 * Screen.devicePixelRatio)
                        sourceSize.height: Math.ceil(22 * Screen.devicePixelRatio)
                        fillMode: Image.PreserveAspectFit
                        asynchronous: true
                        smooth: true
                        mipmap: true
                        Accessible.ignored: true
                    }
                    Text {
                        anchors.left: icon.right
                        anchors.leftMargin: 10
                        anchors.right: mark.left
                        anchors.rightMargin: 10
                        anchors.verticalCenter: parent.verticalCenter
                        text: entry.name
                        font.pixelSize: 13
                        color: sheet.colors.text
                        elide: Text.ElideRight
                        renderType: Text.NativeRendering
                        Accessible.ignored: true
                    }
                    // The check: an empty ring, or a filled accent disc with a tick.
                    Rectangle {
                        id: mark
                        anchors.right: parent.right
                        anchors.rightMargin: 10
                        anchors.verticalCenter: parent.verticalCenter
                        width: 18
                        height: 18
                        radius: 9
                        color: entry.chosen ? sheet.colors.accent : sheet.colors.primaryAt(0)
                        border.width: entry.chosen ? 0 : 1.5
                        border.color: sheet.colors.primaryAt(0.25)
                        Behavior on color { ColorAnimation { duration: 120 } }
                        SymbolIcon {
                            anchors.centerIn: parent
                            name: "checkmark"
                            size: 12
                            color: sheet.colors.accentForeground
                            opacity: entry.chosen ? 1 : 0
                            scale: entry.chosen ? 1 : 0.6
                            Behavior on opacity { NumberAnimation { duration: 120 } }
                            Behavior on scale { NumberAnimation { duration: 160; easing.type: Easing.OutBack } }
                        }
                    }
                    MouseArea {
                        id: rowMouse
                        anchors.fill: parent
                        hoverEnabled: true
                        onClicked: {
                            list.currentIndex = entry.index
                            sheet.chooser.toggle(entry.index)
                        }
                    }
                }
            }

            Text {
                anchors.centerIn: parent
                width: parent.width - 40
                visible: list.count === 0
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: search.text.trim().length > 0 ? "No applications match \u201c" + search.text.trim() + "\u201d"
                                                     : "No applications found"
                font.pixelSize: 13
                color: sheet.colors.secondaryText
                renderType: Text.NativeRendering
            }

            ScrollIndicatorBar {
                flickable: list
                colors: sheet.colors
            }
        }

        Item {
            id: footer
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 16
            x: 20
            width: card.width - 40
            height: 28

            PushButton {
                anchors.left: parent.left
                text: "Browse\u2026"
                symbol: "folder"
                colors: sheet.colors
                onClicked: sheet.chooser.browse()
            }
            Row {
                anchors.right: parent.right
                spacing: 8
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    rightPadding: 4
                    visible: sheet.chooser && sheet.chooser.chosenCount > 0
                    text: sheet.chooser ? sheet.chooser.chosenCount + " chosen" : ""
                    font.pixelSize: 12
                    color: sheet.colors.secondaryText
                    renderType: Text.NativeRendering
                }
                PushButton {
                    text: "Cancel"
                    colors: sheet.colors
                    onClicked: sheet.cancel()
                }
                PushButton {
                    text: "Add"
                    prominent: true
                    colors: sheet.colors
                    enabled: sheet.chooser ? sheet.chooser.chosenCount > 0 : false
                    onClicked: sheet.confirm()
                }
            }
        }
    }
}
