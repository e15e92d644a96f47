import QtQuick

// A symbol drawn in one colour at the pixel size it is shown at, so it stays crisp on HiDPI
// screens. The provider paints opaque colours; the colour's own alpha becomes the opacity.
Item {
    id: root
    property string name
    property color color: "black"
    property real size: 16

    implicitWidth: size
    implicitHeight: size

    function hexOf(c) {
        function channel(v) {
            const s = Math.round(Math.max(0, Math.min(1, v)) * 255).toString(16)
            return s.length < 2 ? "0" + s : s
        }
        return channel(c.r) + channel(c.g) + channel(c.b)
    }

    Image {
        anchors.centerIn: parent
        width: root.size
        height: root.size
        opacity: root.color.a
        // No '#': in a URL it would start a fragment; the provider adds it back.
        source: root.name.length > 0 ? "image://settings/symbol/" + root.name + "/" + root.hexOf(root.color) : ""
        sourceSize.width: Math.ceil(root.size * Screen.devicePixelRatio)
        sourceSize.height: Math.ceil(root.size * Screen.devicePixelRatio)
        fillMode: Image.PreserveAspectFit
        smooth: true
    }
}
