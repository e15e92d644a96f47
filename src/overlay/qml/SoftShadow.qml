import QtQuick

// A soft shadow under a rounded shape, from a pre-rendered nine-patch image: identical on the
// OpenGL and the software scene graph.
BorderImage {
    id: shadow
    property Item target
    property int radius: 16
    property int blur: 12
    property real offsetY: 4

    readonly property int pad: blur * 2
    x: target ? target.x - pad : 0
    y: target ? target.y - pad + offsetY : 0
    width: target ? target.width + 2 * pad : 0
    height: target ? target.height + 2 * pad : 0
    source: "image://shadow/" + radius + "/" + blur
    border { left: pad + radius; right: pad + radius; top: pad + radius; bottom: pad + radius }
    smooth: true
    cache: true
}
