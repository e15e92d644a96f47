#include "platform/QtScheduler.h"

#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <future>
#include <pthread.h>
#include <string>

using namespace valimbra;
using namespace std::chrono_literals;

// The real scheduler keeps the promise the fake makes: a block whose handle the caller dropped
// still runs (the switcher's activation did not, once), a cancelled one does not.
TEST(QtScheduler, DroppedHandlesStillRunAndCancelledItemsDoNot) {
    QtScheduler s;
    int ran = 0;
    s.postAfter(1ms, [&] { ran += 1; });
    s.postAfter(1ms, [&] { ran += 10; })->cancel();
    QEventLoop loop;
    auto done = s.postAfter(20ms, [&] { loop.quit(); });
    QTimer::singleShot(2000, &loop, &QEventLoop::quit); // a regression must not hang the suite
    loop.exec();
    EXPECT_EQ(ran, 1);
}

// A queue's thread carries its label, cut to the 15 bytes Linux keeps, for ps and debuggers.
TEST(ThreadExecutor, NamesItsThreadAfterItsLabel) {
    ThreadExecutor queue(u"app.brindlex.searchindex"_qs);
    std::promise<std::string> name;
    queue.submit([&] {
        char buffer[16] = {};
        pthread_getname_np(pthread_self(), buffer, sizeof buffer);
        name.set_value(buffer);
    });
    EXPECT_EQ(name.get_future().get(), "app.brindlex.se");
}
