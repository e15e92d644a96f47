import QtQuick

// An application's icon, decoded at the pixel size it is drawn at so it stays crisp on HiDPI
// screens; the initial on the app's colour while there is no icon.
Item {
    id: root
    property url source
    property string name
    property color tint: "#6b7b8c"
    property real size: 40

    width: size
    height: size

    Image {
        id: image
        anchors.fill: parent
        source: root.source
        sourceSize.width: Math.ceil(root.size * Screen.devicePixelRatio)
        sourceSize.height: Math.ceil(root.size * Screen.devicePixelRatio)
        fillMode: Image.PreserveAspectFit
        smooth: true
        mipmap: true
        asynchronous: false
        cache: false
    }
    Rectangle {
        visible: image.status !== Image.Ready
        anchors.fill: parent
        radius: width * 0.26
        color: Qt.darker(root.tint, 1.15)
        Text {
            anchors.centerIn: parent
            text: root.name.length > 0 ? root.name.charAt(0).toUpperCase() : "?"
            color: "white"
            font.pixelSize: root.size * 0.5
            font.weight: Font.DemiBold
        }
    }
}
