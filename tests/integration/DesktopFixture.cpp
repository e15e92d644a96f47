#include "DesktopFixture.h"

#include <QCoreApplication>

#include <xcb/xcb.h>

#ifndef XWIN_HELPER_PATH
#error "XWIN_HELPER_PATH must name the window helper"
#endif

namespace valimbra::testing {

Barrier::Barrier(XSession& s)
    : m_session(s)
    , m_atom(s.atom("_VALIMBRA_TEST_BARRIER")) {
    QCoreApplication::instance()->installNativeEventFilter(this);
}

Barrier::~Barrier() {
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool Barrier::sync() {
    const quint32 value = ++m_sent;
    xcb_change_property(m_session.xcb(), XCB_PROP_MODE_REPLACE, m_session.rootWindow(), m_atom,
                        XCB_ATOM_CARDINAL, 32, 1, &value);
    xcb_flush(m_session.xcb());
    return XSession::waitUntil([&] { return m_seen >= value; }, 5000);
}

bool Barrier::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t")
        return false;
    auto* ev = static_cast<xcb_generic_event_t*>(message);
    if ((ev->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
        auto* pn = reinterpret_cast<xcb_property_notify_event_t*>(ev);
        if (pn->atom == m_atom)
            ++m_seen; // changes arrive in order, so the count is the last value seen
    }
    return false;
}

void DesktopTest::SetUp() {
    s = &session();
    term1 = s->spawn({QStringLiteral("xterm"), QStringLiteral("-T"), QStringLiteral("term-one")});
    term2 = s->spawn({QStringLiteral("xterm"), QStringLiteral("-T"), QStringLiteral("term-two")});
    clock = s->spawn({QStringLiteral("xclock")});
    eyes = s->spawn({QStringLiteral("xeyes")});
    const auto t1 = s->waitForWindowOfPid(term1);
    const auto t2 = s->waitForWindowOfPid(term2);
    const auto c = s->waitForWindowOfPid(clock);
    const auto e = s->waitForWindowOfClass(QStringLiteral("XEyes")); // xeyes sets no pid
    ASSERT_TRUE(t1 && t2 && c && e) << "sample applications did not map their windows";
    term1Window = *t1;
    term2Window = *t2;
    clockWindow = *c;
    eyesWindow = *e;
    backend = x11::X11Backend::create();
    ASSERT_TRUE(backend) << "the test application does not run on xcb";
    barrier = std::make_unique<Barrier>(*s);
}

void DesktopTest::TearDown() {
    barrier.reset();
    backend.reset();
    for (pid_t pid : std::as_const(extra))
        s->stop(pid);
    for (pid_t pid : {eyes, clock, term2, term1})
        if (pid > 0)
            s->stop(pid);
}

pid_t DesktopTest::startHelper(const QStringList& args, xcb_window_t* firstWindow) {
    const pid_t pid = s->spawn(QStringList{QStringLiteral(XWIN_HELPER_PATH)} + args);
    extra.append(pid);
    const auto w = s->waitForWindowOfPid(pid);
    EXPECT_TRUE(w) << "the window helper did not map a window";
    if (firstWindow && w)
        *firstWindow = *w;
    return pid;
}

std::optional<QString> DesktopTest::xdotool(const QStringList& args) const {
    return s->run(QStringList{QStringLiteral("xdotool")} + args);
}

xcb_window_t DesktopTest::xdotoolActiveWindow() const {
    const auto out = xdotool({QStringLiteral("getactivewindow")});
    return out ? out->trimmed().toUInt() : 0;
}

} // namespace valimbra::testing
