import QtQuick
import QtTest
import "../../../src/overlay/qml"

// Hover counts only once the pointer has moved; opening the panel again, or placing it again
// under a resting pointer, makes the next position the new rest.
Item {
    id: top
    width: 200
    height: 200
    property bool open: false

    QtObject {
        id: controller
        signal moved()
    }
    HoverGate { id: gate; open: top.open; controller: controller }

    TestCase {
        name: "HoverGate"
        when: windowShown

        function init() { top.open = false }
        function test_rest_data() {
            return [
                { tag: "opened again", rest: function() { top.open = false; top.open = true } },
                { tag: "placed again", rest: function() { controller.moved() } },
            ]
        }
        function test_rest(data) {
            top.open = true
            mouseMove(top, 100, 100)
            mouseMove(top, 102, 101)
            verify(!gate.pointerMoved, "a jitter of a few pixels")
            mouseMove(top, 110, 100)
            verify(gate.pointerMoved)
            data.rest()
            verify(!gate.pointerMoved)
            mouseMove(top, 40, 40) // the pointer as the moved panel first sees it
            verify(!gate.pointerMoved)
            mouseMove(top, 50, 40)
            verify(gate.pointerMoved)
        }
    }
}
