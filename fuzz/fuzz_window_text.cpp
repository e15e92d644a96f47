// What a window says about itself, as the X11 backend reads it and the catalogue uses it:
// WM_CLASS (instance and class, NUL-separated), _NET_WM_NAME, the application id properties,
// the program's name and a typed search. The properties decode to a process identity, which is
// matched against a small installed set, named, given a bundle id, indexed and searched, and
// stored as a favourite or ignored application.
//
// The input holds the pieces separated by 0x1e: WM_CLASS, _NET_WM_NAME, _GTK_APPLICATION_ID,
// _KDE_NET_WM_DESKTOP_FILE, argv[0], GIO_LAUNCHED_DESKTOP_FILE, the search query.

#include "FuzzSupport.h"

#include "catalogue/AppEntry.h"
#include "catalogue/JsonCoding.h"
#include "catalogue/RecencyStack.h"
#include "catalogue/SearchIndex.h"
#include "platform/x11/DesktopEntries.h"
#include "platform/x11/X11Connection.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

using namespace valimbra;
using namespace valimbra::x11;
using valimbra::fuzz::require;

namespace {

// The backend asks for 256 words of each text property, so the server sends 1 KiB at most:
// longer titles are cut there before anything else sees them.
constexpr qsizetype kPropertyBytes = 256 * 4;
constexpr xcb_atom_t kUtf8String = 400; // any atom but STRING reads as UTF-8

const QString& applicationsDir() {
    static const QString dir = [] {
        const QString d =
            QDir::cleanPath(fuzz::scratchDir() + QStringLiteral("/share/applications"));
        QDir().mkpath(d);
        const char* const files[][2] = {
            {"debian-xterm.desktop",
             "[Desktop Entry]\nType=Application\nName=XTerm\nExec=xterm\nIcon=mini.xterm\n"},
            {"sample-editor.desktop", "[Desktop Entry]\nType=Application\nName=Éditeur\n"
                                      "Exec=sample-editor %F\nStartupWMClass=SampleEditor\n"},
            {"python3.11.desktop", "[Desktop Entry]\nType=Application\nName=Python (v3.11)\n"
                                   "Exec=python3.11\nTerminal=true\n"},
            {"hidden-tool.desktop",
             "[Desktop Entry]\nType=Application\nName=Hidden Tool\nExec=tool\nNoDisplay=true\n"},
        };
        for (const auto& [name, content] : files)
            fuzz::writeFile(d + QStringLiteral("/") + QString::fromLatin1(name), content);
        return d;
    }();
    return dir;
}

const DesktopEntryIndex& installed() {
    static const DesktopEntryIndex index({QFileInfo(applicationsDir()).absolutePath()});
    return index;
}

// A path a window names, kept inside the applications directory above: the backend loads any
// file a window names, and the fuzzer must not wander through this machine's files.
QString confined(const QString& path) {
    if (!path.startsWith(u'/'))
        return path;
    return applicationsDir() + QStringLiteral("/") + QFileInfo(path).fileName();
}

QString textProperty(xcb_atom_t type, const QByteArray& value) {
    Property p;
    p.type = type;
    p.format = 8;
    p.value = value.left(kPropertyBytes);
    return p.text();
}

int sign(int n) {
    return (n > 0) - (n < 0);
}

void searchFor(const AppEntry& entry, const QString& query) {
    static SearchIndex index;
    QList<AppEntry> all;
    for (const char* name : {"XTerm", "Firefox ESR", "Files", "Écrans", "日本語エディタ"}) {
        AppEntry e;
        e.id = qint32(all.size() + 1);
        e.name = QString::fromUtf8(name);
        e.bundleID = QStringLiteral("fixed.") + e.name;
        e.nameLower = AppEntry::lowercased(e.name);
        all.append(e);
    }
    all.append(entry);
    index.rebuild(all);

    const QList<AppEntry> results = index.search(query);
    for (qsizetype i = 0; i < results.size(); ++i) {
        require(std::isfinite(results[i].searchScore));
        require(i == 0 || results[i - 1].searchScore >= results[i].searchScore);
    }
    // A limited search gives the full ranking's first results.
    SearchStage stage = SearchStage::None;
    const QList<AppEntry> top = index.search(query, &stage, 2);
    require(top.size() == std::min<qsizetype>(2, results.size()));
    for (qsizetype i = 0; i < top.size(); ++i)
        require(top[i].bundleID == results[i].bundleID);
    require(results.isEmpty() == (stage == SearchStage::None));

    // Typing a name as it is listed finds it.
    if (AppEntry::lowercased(entry.nameLower) == entry.nameLower) {
        const QList<AppEntry> own = index.search(entry.nameLower);
        require(std::any_of(own.cbegin(), own.cend(),
                            [&](const AppEntry& e) { return e.bundleID == entry.bundleID; }));
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::quietQt();
    (void)installed().entries(); // scan once, before the first input
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QList<QByteArray> part = fuzz::split(fuzz::bytes(data, size), '\x1e', 7);

    ProcessIdentity who;
    Property wmClass;
    wmClass.type = XCB_ATOM_STRING;
    wmClass.format = 8;
    wmClass.value = part[0].left(kPropertyBytes);
    const QStringList classes = wmClass.texts();
    who.wmInstance = classes.value(0);
    who.wmClass = classes.value(1);
    const QString title = textProperty(kUtf8String, part[1]);
    who.applicationId = textProperty(kUtf8String, part[2]);
    if (who.applicationId.isEmpty())
        who.applicationId = textProperty(kUtf8String, part[3]);
    who.applicationId = confined(who.applicationId);
    const QString program = QFileInfo(QFile::decodeName(part[4])).fileName();
    if (!program.isEmpty())
        who.executables << program;
    who.launchedDesktopFile = confined(QFile::decodeName(part[5]));
    const QString query = QString::fromUtf8(part[6]);

    const std::optional<DesktopEntry> entry = installed().match(who);
    const QString bundleID = bundleIdentifierFor(entry, who);
    const QString name = displayNameFor(entry, who, title);
    if (entry) {
        require(bundleID == entry->id);
    } else if (!who.wmClass.isEmpty() || !who.wmInstance.isEmpty()) {
        const QString cls = who.wmClass.isEmpty() ? who.wmInstance : who.wmClass;
        require(bundleID == QStringLiteral("wmclass.") + cls.toLower());
    } else {
        require(bundleID.isEmpty());
    }
    // Without both the monitor waits for the window to say more.
    if (bundleID.isEmpty() || name.isEmpty())
        return 0;

    AppEntry e;
    e.id = 4242;
    e.bundleID = bundleID;
    e.name = name;
    e.nameLower = AppEntry::lowercased(name);
    require(sign(comparePlainStrings(name, title)) == -sign(comparePlainStrings(title, name)));
    searchFor(e, query);

    // Pinned or ignored, the record is saved and reads back unchanged.
    const QList<PinnedApp> pinned{
        {bundleID, name,
         QUrl::fromLocalFile(entry ? entry->path : QStringLiteral("/nonexistent"))}};
    const auto pinnedBlob = json::encodePinnedApps(pinned);
    require(pinnedBlob && json::decodePinnedApps(*pinnedBlob) == pinned);
    const QList<IgnoredApp> ignored{{bundleID, name, std::nullopt}};
    const auto ignoredBlob = json::encodeIgnoredApps(ignored);
    require(ignoredBlob && json::decodeIgnoredApps(*ignoredBlob) == ignored);
    return 0;
}
