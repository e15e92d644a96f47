#pragma once

#include "platform/fake/FakeWorkspace.h"

#include <QUrl>

#include <utility>

namespace valimbra {

inline QUrl desktopFile(const QString& id) {
    return QUrl(u"file:///usr/share/applications/%1.desktop"_qs.arg(id));
}

// The installed applications most tests start from: a terminal, a file manager, a browser and a
// calculator, each with its desktop file.
inline void installSampleApps(FakeWorkspace& workspace) {
    for (const auto& [id, name] : {std::pair{u"debian-xterm"_qs, u"XTerm"_qs},
                                   {u"org.gnome.Nautilus"_qs, u"Files"_qs},
                                   {u"firefox-esr"_qs, u"Firefox ESR"_qs},
                                   {u"org.gnome.Calculator"_qs, u"Calculator"_qs}})
        workspace.install({id, name, desktopFile(id), FakeWorkspace::makeIcon(Qt::blue)});
}

} // namespace valimbra
