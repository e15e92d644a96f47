import QtQuick

// The one context menu of a view, made at the first right-click: the controls it is built from
// cost the switcher a few megabytes it should not carry before anyone asks for a menu.
Item {
    id: host
    property OverlayPalette colors
    property var controller
    property var handler: null

    // Shows `items` (from the model) at the pointer; `onAction(action)` runs for the chosen one.
    function open(items, onAction) {
        if (items.length === 0)
            return
        host.handler = onAction
        loader.active = true
        loader.item.items = items
        loader.item.popup()
    }

    // The panel's shape must let the menu be seen and clicked wherever it opens.
    function reportArea() {
        const menu = loader.item
        if (!host.controller || !menu)
            return
        if (!menu.visible) {
            host.controller.setPopupArea(Qt.rect(0, 0, 0, 0))
            return
        }
        const p = host.mapToItem(null, menu.x, menu.y)
        host.controller.setPopupArea(Qt.rect(p.x, p.y, menu.width, menu.height))
    }

    Loader {
        id: loader
        active: false
        source: "CardContextMenu.qml" // by URL, so its imports load only when it is made
        onLoaded: {
            item.colors = Qt.binding(() => host.colors)
            item.areaChanged.connect(host.reportArea)
            item.triggeredAction.connect((action) => {
                if (host.handler)
                    host.handler(action)
            })
        }
    }
}
