import QtQuick
import QtTest
import "../../../src/settings/qml"

// The settings controls' own rules: which segment a stored value selects, that controls ask
// for changes instead of making them, that disabled choices stay out of reach, that collapsed
// content opens again, and how the sheet and the detail column react.
Item {
    id: top
    width: 680
    height: 520

    SettingsPalette { id: theme }

    Component {
        id: pickerComponent
        KestSegmentedPicker { colors: theme; itemWidth: 50 }
    }
    Component {
        id: toggleComponent
        KestToggle { colors: theme; label: "Launch at login" }
    }
    Component {
        id: collapsibleComponent
        Collapsible {
            width: 200
            Rectangle { width: 200; height: 30 }
        }
    }
    Component {
        id: sheetComponent
        AppChooser { anchors.fill: parent; colors: theme }
    }
    Component {
        id: chooserModel
        ListModel {
            property string filter
            property int chosenCount: 0
            property int resets: 0
            property var urls: []
            function reset() { resets++ }
            function toggle(row) {}
            function browse() {}
            function chosenUrls() { return urls }
        }
    }
    Component {
        id: windowComponent
        SettingsWindow {}
    }
    // Plain objects, not temporary ones: the window reads them until it is gone.
    QtObject {
        id: nav
        property var panes: ["General", "Appearance", "Favourites", "Ignored", "About"]
        property string selectedPane: "About"
        property string displayedPane: "About"
        property real detailOpacity: 1
        property bool animateDetail: false
        function select(p) { selectedPane = p }
    }
    QtObject {
        id: general
        property string versionText: "1.2.3"
    }

    SignalSpy { id: activatedSpy; signalName: "activated" }
    SignalSpy { id: toggledSpy; signalName: "toggled" }

    TestCase {
        name: "SettingsControls"
        when: windowShown

        readonly property var delays: [{ label: "0.3s", value: 0.3 }, { label: "0.5s", value: 0.5 },
                                       { label: "0.8s", value: 0.8 }, { label: "1.0s", value: 1.0 }]
        readonly property var modes: [{ label: "Hold Key", value: "hold" }, { label: "Shortcut", value: "shortcut" }]

        function makePicker(props) {
            const picker = createTemporaryObject(pickerComponent, top, props)
            verify(picker)
            activatedSpy.clear()
            activatedSpy.target = picker
            return picker
        }
        function segmentCentre(picker, i) {
            return { x: picker.segmentX(i) + picker.widthAt(i) / 2, y: picker.height / 2 }
        }

        function test_selectedSegment_data() {
            return [
                { tag: "stored delay matches a choice", options: delays, selection: 0.5, expected: 1 },
                { tag: "delay read back with rounding noise", options: delays, selection: 0.30000000000000004, expected: 0 },
                { tag: "whole-number delay", options: delays, selection: 1, expected: 3 },
                { tag: "delay that is no choice", options: delays, selection: 0.6, expected: -1 },
                { tag: "string value", options: modes, selection: "shortcut", expected: 1 },
                { tag: "unknown string", options: modes, selection: "toggle", expected: -1 },
                { tag: "number never equals its text", options: delays, selection: "0.5", expected: -1 },
            ]
        }
        function test_selectedSegment(data) {
            const picker = makePicker({ options: data.options, selection: data.selection })
            compare(picker.selectedIndex, data.expected)
        }

        function test_clickAsksButDoesNotSelect_data() {
            return [
                { tag: "enabled segment", index: 1, disabledValue: "", signals: 1 },
                { tag: "disabled segment", index: 1, disabledValue: "shortcut", signals: 0 },
                { tag: "selected segment again", index: 0, disabledValue: "shortcut", signals: 1 },
            ]
        }
        function test_clickAsksButDoesNotSelect(data) {
            const picker = makePicker({
                options: modes, selection: "hold",
                isOptionDisabled: function(value) { return value === data.disabledValue }
            })
            const p = segmentCentre(picker, data.index)
            mouseClick(picker, p.x, p.y)
            compare(activatedSpy.count, data.signals)
            if (data.signals > 0)
                compare(activatedSpy.signalArguments[0][0], modes[data.index].value)
            compare(picker.selection, "hold", "the owner decides what is selected")
        }

        function test_arrowKeysSkipDisabledSegments_data() {
            return [
                { tag: "right over a disabled one", selection: 0.3, key: Qt.Key_Right, expected: [0.8] },
                { tag: "left at the first", selection: 0.3, key: Qt.Key_Left, expected: [] },
                { tag: "right at the last", selection: 1.0, key: Qt.Key_Right, expected: [] },
                { tag: "from no selection", selection: 0.6, key: Qt.Key_Right, expected: [0.3] },
            ]
        }
        function test_arrowKeysSkipDisabledSegments(data) {
            const picker = makePicker({
                options: delays, selection: data.selection,
                isOptionDisabled: function(value) { return Math.abs(value - 0.5) < 1e-9 }
            })
            picker.forceActiveFocus()
            keyClick(data.key)
            compare(activatedSpy.count, data.expected.length)
            for (let i = 0; i < data.expected.length; ++i)
                fuzzyCompare(activatedSpy.signalArguments[i][0], data.expected[i], 1e-9)
        }

        TextMetrics { id: metrics; font.pixelSize: 12; font.weight: Font.Medium }
        function test_fittedSegmentsHoldTheirLabels() {
            const labels = [{ label: "Alt", value: "option" }, { label: "Ctrl", value: "control" },
                            { label: "Super", value: "command" }]
            const picker = makePicker({ options: labels, selection: "control", fitLabels: true, itemWidth: 40 })
            let total = 0
            for (let i = 0; i < labels.length; ++i) {
                metrics.text = labels[i].label
                verify(picker.widthAt(i) >= metrics.advanceWidth + 16, labels[i].label + " has room")
                verify(picker.widthAt(i) >= 40)
                compare(picker.segmentX(i), picker.inset + total)
                total += picker.widthAt(i)
            }
            verify(picker.widthAt(2) > picker.widthAt(0), "a longer label gets a wider segment")
            compare(picker.implicitWidth, total + 2 * picker.inset)
        }

        function test_toggleAsksForTheOppositeState_data() {
            return [
                { tag: "off, clicked", checked: false, enabled: true, how: "click", expected: [true] },
                { tag: "on, clicked", checked: true, enabled: true, how: "click", expected: [false] },
                { tag: "off, space", checked: false, enabled: true, how: "space", expected: [true] },
                { tag: "disabled", checked: false, enabled: false, how: "click", expected: [] },
            ]
        }
        function test_toggleAsksForTheOppositeState(data) {
            const toggle = createTemporaryObject(toggleComponent, top, { checked: data.checked, enabled: data.enabled })
            toggledSpy.clear()
            toggledSpy.target = toggle
            if (data.how === "click") {
                mouseClick(toggle)
            } else {
                toggle.forceActiveFocus()
                keyClick(Qt.Key_Space)
            }
            compare(toggledSpy.count, data.expected.length)
            if (data.expected.length > 0)
                compare(toggledSpy.signalArguments[0][0], data.expected[0])
            compare(toggle.checked, data.checked, "the setting, not the switch, changes the state")
        }

        function test_collapsedContentOpensAgain() {
            const box = createTemporaryObject(collapsibleComponent, top, { open: true })
            tryCompare(box, "height", 30)
            box.open = false
            tryCompare(box, "visible", false)
            compare(box.height, 0)
            box.open = true
            verify(box.visible, "visible at once, so its content can be measured")
            tryCompare(box, "height", 30)
        }

        function test_sheetHandsBackOnlyAConfirmedChoice_data() {
            return [
                { tag: "add with a choice", chosen: 2, action: "confirm", accepted: true },
                { tag: "add with nothing chosen", chosen: 0, action: "confirm", accepted: false },
                { tag: "cancel", chosen: 2, action: "cancel", accepted: false },
                { tag: "escape", chosen: 2, action: "escape", accepted: false },
            ]
        }
        function test_sheetHandsBackOnlyAConfirmedChoice(data) {
            const model = createTemporaryObject(chooserModel, top)
            const sheet = createTemporaryObject(sheetComponent, top, { chooser: model })
            let received = null
            sheet.open(function(urls) { received = urls })
            compare(model.resets, 1, "each opening reads the applications again")
            verify(sheet.shown)
            model.chosenCount = data.chosen
            model.urls = ["file:///usr/share/applications/a.desktop", "file:///usr/share/applications/b.desktop"]
            if (data.action === "confirm")
                sheet.confirm()
            else if (data.action === "cancel")
                sheet.cancel()
            else
                keyClick(Qt.Key_Escape)
            compare(received !== null, data.accepted)
            if (data.accepted)
                compare(received.length, 2)
            compare(sheet.shown, data.chosen === 0 && data.action === "confirm")
        }

        function test_detailFadesOnlyWhenAsked() {
            const w = createTemporaryObject(windowComponent, top, {
                controller: { dark: false }, navigation: nav, general: general, appearance: null,
                favourites: null, ignored: null, chooser: null, recorder: null })
            verify(w)
            const detail = findChild(w, "detail")
            compare(detail.opacity, 1)

            nav.animateDetail = true
            nav.detailOpacity = 0
            wait(60)
            verify(detail.opacity > 0 && detail.opacity < 1, "fading out: " + detail.opacity)
            tryCompare(detail, "opacity", 0, 1000)

            nav.animateDetail = false
            nav.detailOpacity = 1
            compare(detail.opacity, 1, "a requested pane appears at once")
        }
    }
}
