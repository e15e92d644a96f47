// The Valimbra program itself (the `valimbra` command starts it when no instance runs yet):
// the switcher with its tray icon, or --list-apps.
#include "catalogue/IconProcessor.h"
#include "catalogue/RecencyStack.h"
#include "catalogue/RunningAppsMonitor.h"
#include "catalogue/SearchIndex.h"
#include "core/AppDelegate.h"
#include "core/InstanceServer.h"
#include "platform/InstanceSocket.h"
#include "platform/QSettingsStore.h"
#include "platform/QtScheduler.h"
#include "platform/Workspace.h"
#include "platform/x11/X11Backend.h"
#include "platform/x11/X11Workspace.h"
#include "platform/x11/XdgAutostart.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QEventLoop>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSet>
#include <QTextStream>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <cstdlib>

Q_IMPORT_QML_PLUGIN(Valimbra_OverlayPlugin)
Q_IMPORT_QML_PLUGIN(Valimbra_CorePlugin)
Q_IMPORT_QML_PLUGIN(Valimbra_SettingsPlugin)
Q_IMPORT_QML_PLUGIN(Valimbra_OnboardingPlugin)

namespace {

QString policyName(valimbra::ActivationPolicy p) {
    switch (p) {
    case valimbra::ActivationPolicy::Regular:
        return QStringLiteral("regular");
    case valimbra::ActivationPolicy::Accessory:
        return QStringLiteral("accessory");
    case valimbra::ActivationPolicy::Prohibited:
        return QStringLiteral("prohibited");
    }
    return {};
}

// Tabs and newlines inside a field would break the table.
QString cell(QString s) {
    s.replace(QLatin1Char('\t'), QLatin1Char(' '));
    s.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return s;
}

void printRow(QTextStream& out, const valimbra::RunningApp& app) {
    out << app.pid << '\t' << cell(app.bundleID.value_or(QString())) << '\t' << cell(app.name)
        << '\t' << policyName(app.activationPolicy) << '\n';
}

// The running applications as the switcher sees them: the running apps monitor's list (regular
// applications, most recently used first, with the stored recency), then the applications the
// switcher leaves out, topmost window first.
int listApps() {
    auto backend = valimbra::x11::X11Backend::create();
    if (!backend) {
        std::fputs("[Valimbra] --list-apps needs an X11 display\n", stdout);
        return 1;
    }
    auto& workspace = static_cast<valimbra::x11::X11Workspace&>(backend->workspace());

    valimbra::QSettingsStore settings;
    valimbra::QtScheduler scheduler;
    valimbra::ThreadExecutor monitorQueue(
        QString::fromLatin1(valimbra::RunningAppsMonitor::queueLabel));
    valimbra::ThreadExecutor saveQueue(QString::fromLatin1(valimbra::RecencyStack::saveQueueLabel));
    valimbra::SearchIndex index;
    valimbra::IconProcessor icons;
    QList<valimbra::AppEntry> entries;
    {
        valimbra::RunningAppsMonitor monitor(workspace, index, settings, icons, scheduler,
                                             monitorQueue, saveQueue);
        QEventLoop loop;
        QObject::connect(&monitor, &valimbra::RunningAppsMonitor::appsChanged, &loop,
                         &QEventLoop::quit);
        QTimer::singleShot(10000, &loop, &QEventLoop::quit); // a hung queue must not hang us
        monitor.start();
        loop.exec();
        entries = monitor.apps();
    }

    QHash<qint32, valimbra::RunningApp> byPid;
    for (const valimbra::RunningApp& app : workspace.runningApplications())
        byPid.insert(app.pid, app);
    QTextStream out(stdout);
    out << "pid\tbundleID\tname\tpolicy\n";
    QSet<qint32> printed;
    for (const valimbra::AppEntry& e : std::as_const(entries)) {
        valimbra::RunningApp app = byPid.value(e.id);
        app.pid = e.id;
        app.bundleID = e.bundleID;
        app.name = e.name;
        app.activationPolicy = e.activationPolicy;
        printRow(out, app);
        printed.insert(e.id);
    }
    for (qint32 pid : workspace.stackingOrder())
        if (const auto it = byPid.constFind(pid); it != byPid.cend() && !printed.contains(pid))
            printRow(out, *it);
    out.flush();
    return 0;
}

// Qt's own messages are for developers (VALIMBRA_VERBOSE=1 shows them); a user sees only our
// few lines. The one Qt message a user needs, the X server going away, becomes one of ours.
void messageHandler(QtMsgType type, const QMessageLogContext&, const QString& message) {
    static const bool verbose = qEnvironmentVariableIntValue("VALIMBRA_VERBOSE") > 0;
    if (message.contains(u"X11 connection broke")) {
        std::fputs("[Valimbra] The X server went away; Valimbra quits.\n", stdout);
        std::fflush(stdout);
        // At once: the normal exit would tear down windows on a dead connection (Xlib then
        // prints its own fatal error, and threads may wait for replies that never come). A save
        // under way may be lost, never the value saved before it.
        std::_Exit(1);
    }
    if (verbose || type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(message));
        std::fflush(stderr);
    }
}

} // namespace

int main(int argc, char** argv) {
    qInstallMessageHandler(messageHandler);
    // Valimbra speaks X11; under a Wayland session it runs through XWayland.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fputs("[Valimbra] Valimbra needs an X11 display (DISPLAY is not set).\n", stdout);
        return 1;
    }
    // The overlay draws rectangles, text and images: Qt Quick's software renderer shows its first
    // frame sooner than OpenGL on Mesa (6 against 10 ms) and keeps the resident size at half
    // (60 against 130 MB); QT_QUICK_BACKEND still chooses another.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // Without vsync to pace it, a window asking to be redrawn waits this long first (5 ms by
    // default): for a switcher that is a third of the time to its first frame. Animations are
    // still paced by Qt's animation timer.
    if (qEnvironmentVariableIsEmpty("QT_QPA_UPDATE_IDLE_TIME"))
        qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Brindlex"));
    QApplication::setApplicationName(QStringLiteral("Valimbra"));
    QApplication::setApplicationDisplayName(QStringLiteral("Valimbra"));
    QGuiApplication::setDesktopFileName(QStringLiteral(VALIMBRA_DESKTOP_ID));
    QApplication::setApplicationVersion(QStringLiteral(VALIMBRA_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Application switcher"));
    const QCommandLineOption listOption(
        QStringLiteral("list-apps"),
        QStringLiteral("Print the running applications as the switcher sees them and exit."));
    const QCommandLineOption traceOption(
        QStringLiteral("trace"),
        QStringLiteral("Print the time from each invocation to the switcher's first frame."));
    const QCommandLineOption noTrayOption(QStringLiteral("no-tray"),
                                          QStringLiteral("Run without the tray icon."));
    parser.addOption(listOption);
    parser.addOption(traceOption);
    parser.addOption(noTrayOption);
    parser.process(app);

    if (parser.isSet(listOption))
        return listApps();

    auto backend = valimbra::x11::X11Backend::create();
    if (!backend) {
        std::fputs("[Valimbra] Valimbra needs an X11 display.\n", stdout);
        return 1;
    }
    valimbra::InstanceServer instance;
    if (!instance.listen(QString::fromStdString(valimbra::instance::socketPath()))) {
        std::fputs("[Valimbra] Valimbra is already running.\n", stdout);
        return 0;
    }

    valimbra::QSettingsStore settings;
    valimbra::QtScheduler scheduler;
    valimbra::Platform platform;
    platform.workspace = &backend->workspace();
    platform.input = &backend->input();
    platform.hotKeys = &backend->hotKeys();
    platform.screens = &backend->screens();
    platform.effects = &backend->effects();
    platform.scheduler = &scheduler;
    platform.settings = &settings;
    // The autostart entry is named after the installed desktop entry. An installed Valimbra logs
    // in through the command on PATH, as its menu entry does; a build being run logs in as that
    // build, whose command sits beside this program.
    const QString programDir = QCoreApplication::applicationDirPath();
    const bool installed =
        programDir == QFileInfo(QStringLiteral(VALIMBRA_LIBEXEC_DIR)).canonicalFilePath();
    valimbra::x11::XdgAutostart loginItem(QStringLiteral(VALIMBRA_DESKTOP_ID),
                                          installed ? u"valimbra"_qs
                                                    : programDir + u"/valimbra"_qs);
    platform.loginItem = &loginItem;
    platform.makeExecutor = [](const QString& label) -> std::unique_ptr<valimbra::SerialExecutor> {
        return std::make_unique<valimbra::ThreadExecutor>(label);
    };

    int status = 0;
    {
        valimbra::AppDelegate delegate(platform, {.trace = parser.isSet(traceOption),
                                                  .trayIcon = !parser.isSet(noTrayOption)});
        instance.handler = [&delegate](const QString& request) {
            return delegate.handleRequest(request);
        };
        delegate.start();
        status = app.exec();
        instance.handler = nullptr;
    }
    return status;
}
