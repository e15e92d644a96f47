// The integration suite's entry point: an X session comes up before the QGuiApplication, so
// the application (and the backend under test) connects to it.
#include "DesktopFixture.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {
valimbra::testing::XSession* g_session = nullptr;
}

valimbra::testing::XSession& valimbra::testing::session() {
    return *g_session;
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS(); // test discovery needs no display

    std::unique_ptr<valimbra::testing::XSession> session;
    try {
        valimbra::testing::XSession::Options options;
        options.xfwm4 = qgetenv("VALIMBRA_TEST_WM") == "xfwm4";
        options.trayAtTop = qgetenv("VALIMBRA_TEST_TRAY_EDGE") == "top";
        options.roomForSecondScreen = qgetenv("VALIMBRA_TEST_SCREENS") == "2";
        session = std::make_unique<valimbra::testing::XSession>(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "cannot start the X session: %s\n", e.what());
        return 1;
    }
    g_session = session.get();
    qputenv("QT_QPA_PLATFORM", "xcb");
    int result = 0;
    {
        QGuiApplication app(argc, argv);
        QGuiApplication::setApplicationDisplayName(QStringLiteral("Valimbra Tests"));
        result = RUN_ALL_TESTS();
    }
    g_session = nullptr;
    session.reset();
    return result;
}
