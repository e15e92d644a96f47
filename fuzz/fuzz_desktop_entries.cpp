// A desktop entry installed in an applications directory, loaded through GIO as the X11 backend
// loads it, indexed, and matched against the processes that should (or must not) find it: by
// application id, launched file, WM_CLASS and executable name.

#include "FuzzSupport.h"

#include "platform/x11/DesktopEntries.h"
#include "platform/x11/IconLoader.h"

#include <QDir>

using namespace valimbra;
using namespace valimbra::x11;
using valimbra::fuzz::require;

namespace {

const QString& dataDir() {
    static const QString dir = [] {
        const QString d = QDir::cleanPath(fuzz::scratchDir() + QStringLiteral("/share"));
        QDir().mkpath(d + QStringLiteral("/applications"));
        return d;
    }();
    return dir;
}

bool same(const DesktopEntry& a, const DesktopEntry& b) {
    return a.id == b.id && a.path == b.path && a.name == b.name && a.icon == b.icon &&
           a.startupWMClass == b.startupWMClass && a.executable == b.executable &&
           a.visible == b.visible;
}

bool matches(const DesktopEntryIndex& index, const ProcessIdentity& who, const QString& id) {
    const auto e = index.match(who);
    return e && e->id == id;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::quietQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Nothing limits the size of a desktop file the backend reads; -max_len keeps runs short.
    const QString id = QStringLiteral("fuzz");
    const QString path = dataDir() + QStringLiteral("/applications/fuzz.desktop");
    if (!fuzz::writeFile(path, fuzz::bytes(data, size)))
        return 0;

    // A fresh index, as after a change in the directory: it scans once, then answers.
    const DesktopEntryIndex index({dataDir()});
    const QList<DesktopEntry> entries = index.entries();
    const auto byId = index.byId(id);
    const auto byPath = index.byPath(path);
    require(entries.size() == (byId ? 1 : 0));
    require(byId.has_value() == byPath.has_value());
    require(index.idForPath(path) == id);

    ProcessIdentity byApplicationId;
    byApplicationId.applicationId = id;
    if (!byId) {
        // What GIO refuses is no application, whichever way it is asked for.
        require(!index.match(byApplicationId));
        return 0;
    }
    const DesktopEntry& e = *byId;
    require(e.id == id && e.path == path && same(e, entries.front()) && same(e, *byPath));

    // The ways a process names its entry, in the order they are trusted.
    require(matches(index, byApplicationId, id));
    ProcessIdentity withSuffix;
    withSuffix.applicationId = id + QStringLiteral(".desktop");
    require(matches(index, withSuffix, id));
    ProcessIdentity byFile;
    byFile.applicationId = path;
    require(matches(index, byFile, id));
    ProcessIdentity launched;
    launched.launchedDesktopFile = path;
    require(matches(index, launched, id));
    if (!e.startupWMClass.isEmpty()) {
        ProcessIdentity byClass;
        byClass.wmClass = e.startupWMClass;
        require(matches(index, byClass, id));
    }
    ProcessIdentity byInstance; // the file name, ignoring case
    byInstance.wmInstance = id.toUpper();
    require(matches(index, byInstance, id));

    // An interpreter's or launcher's own entry never names the program it runs.
    ProcessIdentity byExecutable;
    byExecutable.executables = {e.executable};
    const bool namesPrograms = !e.executable.isEmpty() && !isInterpreterOrLauncher(e.executable);
    require(index.match(byExecutable).has_value() == namesPrograms);

    require(bundleIdentifierFor(e, byExecutable) == id);
    const QString name = displayNameFor(e, byInstance, QStringLiteral("title"));
    require(name == (e.name.isEmpty() ? QStringLiteral("title") : e.name));

    // The icon it names, looked up in the themes of the same data directory.
    if (!e.icon.isEmpty() && !QDir::isAbsolutePath(e.icon)) {
        const IconLoader icons({dataDir()}, QStringLiteral("hicolor"));
        (void)icons.findIconFile(e.icon);
    }
    return 0;
}
