import QtQuick

// The switcher's style (four pods with live previews) and its opening animation, whose labels
// the model words for the chosen style.
SettingsPaneContainer {
    id: pane
    property var appearance

    title: "Appearance"

    // Coming back to the pane plays the chosen style once, so the previews are seen moving.
    onVisibleChanged: if (visible) replayActive()
    function replayActive() {
        for (let i = 0; i < pods.count; ++i) {
            const pod = pods.itemAt(i)
            if (pod && pod.isActive)
                pod.animTrigger++
        }
    }

    SectionCard {
        title: "Switcher Style"
        colors: pane.colors

        Row {
            id: podRow
            width: parent.width
            spacing: 8
            readonly property real podWidth: (width - spacing * (pods.count - 1)) / Math.max(1, pods.count)
            Repeater {
                id: pods
                model: pane.appearance.pods
                delegate: StylePod {
                    required property var modelData
                    width: podRow.podWidth
                    height: implicitHeight
                    style: modelData.style
                    label: modelData.label
                    description: modelData.description
                    animStyle: pane.appearance.animationStyle
                    isActive: pane.appearance.activeStyle === modelData.style
                    colors: pane.colors
                    onChosen: pane.appearance.setSwitcherStyle(modelData.style)
                    Component.onCompleted: if (isActive) Qt.callLater(() => animTrigger++)
                }
            }
        }

        Item { width: 1; height: 12 }

        // The description cross-fades when the style changes: out, swap, in (0.22 s in all).
        Text {
            id: descriptionText
            width: parent.width
            // What is on screen; it lags the model while the old text fades out.
            property string shown
            text: shown
            font.pixelSize: 11
            color: pane.colors.secondaryText
            wrapMode: Text.WordWrap
            renderType: Text.NativeRendering
            Component.onCompleted: shown = pane.appearance.description
            Connections {
                target: pane.appearance
                function onChanged() {
                    if (pane.appearance.description !== descriptionText.shown)
                        swap.restart()
                }
            }
            SequentialAnimation {
                id: swap
                NumberAnimation { target: descriptionText; property: "opacity"; to: 0; duration: 110; easing.type: Easing.InOutQuad }
                ScriptAction { script: descriptionText.shown = pane.appearance.description }
                NumberAnimation { target: descriptionText; property: "opacity"; to: 1; duration: 110; easing.type: Easing.InOutQuad }
            }
        }
        Item { width: 1; height: 4 }
        Text {
            width: parent.width
            text: pane.appearance.hintText
            font.pixelSize: 11
            color: pane.colors.secondaryText
            wrapMode: Text.WordWrap
            renderType: Text.NativeRendering
        }
    }

    SectionCard {
        title: "Animation"
        colors: pane.colors

        SettingRow {
            label: "Style"
            colors: pane.colors
            KestSegmentedPicker {
                colors: pane.colors
                accessibleName: "Animation style"
                options: pane.appearance.animationOptions
                selection: pane.appearance.animationStyle
                itemWidth: 62
                onActivated: (value) => pane.appearance.setAnimationStyle(value)
            }
        }
    }
}
