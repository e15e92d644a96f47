#include "core/AppSwitcherEngine.h"
#include "platform/fake/FakePlatform.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(Valimbra_CorePlugin)

using namespace valimbra;

// Views bind to the engine's published state through the Valimbra.Core module; these bindings
// must follow every change without any glue code.
TEST(EngineInQml, BindingsFollowThePublishedState) {
    FakePlatform fake;
    AppSwitcherEngine engine(fake.platform());
    engine.setReady(true);
    fake.workspace.launch(7, u"debian-xterm"_qs, u"XTerm"_qs);
    fake.scheduler.runPending();

    QQmlEngine qml;
    QQmlComponent component(&qml);
    component.setData(R"(
        import QtQml
        import Valimbra.Core
        QtObject {
            required property AppSwitcherEngine switcher
            property int shown: switcher.displayedApps.count
            property bool open: switcher.isVisible
            property int highlight: switcher.highlightIndex
        }
    )",
                      QUrl(u"qrc:/EngineBinding.qml"_qs));
    std::unique_ptr<QObject> view(
        component.createWithInitialProperties({{u"switcher"_qs, QVariant::fromValue(&engine)}}));
    ASSERT_TRUE(view) << component.errorString().toStdString();

    EXPECT_EQ(view->property("shown").toInt(), 1);
    EXPECT_FALSE(view->property("open").toBool());
    EXPECT_EQ(view->property("highlight").toInt(), -1);
    engine.show();
    engine.moveHighlight(1);
    EXPECT_TRUE(view->property("open").toBool());
    EXPECT_EQ(view->property("highlight").toInt(), 0);
    fake.workspace.launch(8, u"org.gnome.Nautilus"_qs, u"Files"_qs);
    fake.scheduler.runPending();
    EXPECT_EQ(view->property("shown").toInt(), 2);
}
