import QtQuick

// The grid's and list's opening motions: "bloom" staggers the items in a wave, "iris" pops the
// whole panel. `progress` of an item runs 0 to 1.
QtObject {
    property bool open: false
    property string style: "iris"
    readonly property bool wave: style === "bloom"
    function itemProgress(base, index) {
        if (!wave)
            return 1
        return Math.max(0, Math.min(1, base * 1.6 - 0.6 * Math.min(index, 24) / 24))
    }
}
