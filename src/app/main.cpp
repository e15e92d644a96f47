// Valimbra's entry point.
#include "catalogue/IconProcessor.h"
#include "catalogue/RecencyStack.h"
#include "catalogue/RunningAppsMonitor.h"
#include "catalogue/SearchIndex.h"
#include "platform/QSettingsStore.h"
#include "platform/QtScheduler.h"
#include "platform/Workspace.h"
#include "platform/x11/X11Backend.h"
#include "platform/x11/X11Workspace.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QGuiApplication>
#include <QSet>
#include <QTextStream>
#include <QTimer>

#include <cstdio>

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

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Brindlex"));
    QGuiApplication::setApplicationName(QStringLiteral("Valimbra"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Valimbra"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Application switcher"));
    parser.addHelpOption();
    const QCommandLineOption listOption(
        QStringLiteral("list-apps"),
        QStringLiteral("Print the running applications as the switcher sees them and exit."));
    parser.addOption(listOption);
    parser.process(app);

    if (parser.isSet(listOption))
        return listApps();

    std::fputs("[Valimbra] The switcher UI is not assembled yet.\n", stdout);
    return 0;
}
