import QtQuick

// How the switcher is invoked, Tab launch, login and version. Every control shows the model's
// value and hands changes to it; the model writes them at once.
SettingsPaneContainer {
    id: pane
    property var general
    property var recorder

    title: "General"

    function refresh() {
        if (visible && general)
            general.refreshLaunchAtLogin()
    }
    onVisibleChanged: refresh()
    Component.onCompleted: refresh()

    SectionCard {
        title: "Invoke"
        colors: pane.colors

        SettingRow {
            label: "Trigger via"
            colors: pane.colors
            KestSegmentedPicker {
                colors: pane.colors
                accessibleName: "Trigger via"
                options: [{ label: "Hold Key", value: "hold" }, { label: "Shortcut", value: "shortcut" }]
                selection: pane.general.invokeMode
                itemWidth: 76
                isOptionDisabled: function(value) {
                    return value === "shortcut" && !pane.general.shortcutAvailable
                }
                onActivated: (value) => pane.general.setInvokeMode(value)
            }
        }
        Collapsible {
            open: !pane.general.shortcutAvailable
            Item {
                width: parent.width
                height: note.implicitHeight + 6
                Text {
                    id: note
                    anchors.right: parent.right
                    anchors.bottom: parent.bottom
                    width: Math.min(implicitWidth, parent.width)
                    text: "Record a shortcut below to enable Shortcut mode"
                    font.pixelSize: 11
                    color: pane.colors.secondaryText
                    horizontalAlignment: Text.AlignRight
                    wrapMode: Text.WordWrap
                    renderType: Text.NativeRendering
                }
            }
        }

        // Holding a key: which one. The shortcut row stays under it, since only a recorded
        // shortcut makes Shortcut mode available.
        Collapsible {
            open: pane.general.invokeMode !== "shortcut"
            CardDivider { colors: pane.colors }
            SettingRow {
                label: "Hold key"
                colors: pane.colors
                KestSegmentedPicker {
                    colors: pane.colors
                    accessibleName: "Hold key"
                    options: pane.general.holdOptions
                    selection: pane.general.holdModifier
                    itemWidth: 48
                    fitLabels: true
                    onActivated: (value) => pane.general.setHoldModifier(value)
                }
            }
        }
        CardDivider { colors: pane.colors }
        SettingRow {
            label: "Shortcut"
            colors: pane.colors
            ShortcutRecorderButton {
                recorder: pane.recorder
                colors: pane.colors
            }
        }
        CardDivider { colors: pane.colors }
        SettingRow {
            label: "Middle mouse button"
            colors: pane.colors
            exposeLabel: false
            KestToggle {
                label: "Middle mouse button"
                colors: pane.colors
                checked: pane.general.middleMouseEnabled
                onToggled: (on) => pane.general.setMiddleMouseEnabled(on)
            }
        }
        CardDivider { colors: pane.colors }
        Text {
            width: parent.width
            text: pane.general.hintText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            font.pixelSize: 11
            color: pane.colors.secondaryText
            wrapMode: Text.WordWrap
            renderType: Text.NativeRendering
        }
    }

    SectionCard {
        title: "Tab Launch"
        colors: pane.colors

        SettingRow {
            label: "Launch app after Tab dwell"
            colors: pane.colors
            exposeLabel: false
            KestToggle {
                label: "Launch app after Tab dwell"
                colors: pane.colors
                checked: pane.general.tabDwellEnabled
                onToggled: (on) => pane.general.setTabDwellEnabled(on)
            }
        }
        Collapsible {
            open: pane.general.tabDwellEnabled
            CardDivider { colors: pane.colors }
            SettingRow {
                label: "Delay"
                colors: pane.colors
                KestSegmentedPicker {
                    colors: pane.colors
                    accessibleName: "Delay"
                    options: pane.general.delayOptions
                    selection: pane.general.tabDwellDelay
                    itemWidth: 46
                    onActivated: (value) => pane.general.setTabDwellDelay(value)
                }
            }
        }
    }

    SectionCard {
        title: "System"
        colors: pane.colors

        SettingRow {
            label: "Launch at login"
            colors: pane.colors
            exposeLabel: false
            KestToggle {
                label: "Launch at login"
                colors: pane.colors
                checked: pane.general.launchAtLogin
                onToggled: (on) => pane.general.setLaunchAtLogin(on)
            }
        }
    }

    SectionCard {
        title: "Updates"
        colors: pane.colors

        Column {
            width: parent.width
            spacing: 4
            Text {
                width: parent.width
                text: "Valimbra is updated by your system's package manager."
                font.pixelSize: 13
                color: pane.colors.text
                wrapMode: Text.WordWrap
                renderType: Text.NativeRendering
            }
            Text {
                width: parent.width
                text: "Version " + pane.general.versionText
                font.pixelSize: 11
                color: pane.colors.secondaryText
                renderType: Text.NativeRendering
            }
        }
    }
}
