// A small X client for the integration tests: maps top-level windows with a chosen class, type
// and state, opens one more on SIGUSR2 and destroys the newest on SIGUSR1.
//
//   xwin_helper [--class NAME] [--count N] [--type normal|dialog|utility|toolbar|dock|splash]
//               [--then TYPE] [--skip-taskbar] [--no-pid]
// --then gives the type of the windows opened on SIGUSR2 (a splash screen first, the main
// window later).
#include <xcb/xcb.h>

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

xcb_atom_t atom(xcb_connection_t* c, const char* name) {
    auto* r =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(strlen(name)), name), nullptr);
    const xcb_atom_t a = r ? r->atom : XCB_NONE;
    free(r);
    return a;
}

struct Options {
    std::string cls = "XwinHelper";
    int count = 1;
    std::string type = "normal";
    std::string then;
    bool skipTaskbar = false;
    bool setPid = true;
};

xcb_window_t openWindow(xcb_connection_t* c, xcb_screen_t* s, const Options& o, int index) {
    const xcb_window_t w = xcb_generate_id(c);
    const uint32_t values[] = {s->white_pixel};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, w, s->root, 40 * index, 40 * index, 160, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, s->root_visual, XCB_CW_BACK_PIXEL, values);
    std::string instance = o.cls;
    for (char& ch : instance)
        ch = char(tolower(ch));
    std::string wmClass = instance + '\0' + o.cls + '\0';
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        uint32_t(wmClass.size()), wmClass.data());
    const std::string title = o.cls + " " + std::to_string(index);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        uint32_t(title.size()), title.data());
    if (o.setPid) {
        const uint32_t pid = uint32_t(getpid());
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL,
                            32, 1, &pid);
    }
    std::string typeName = "_NET_WM_WINDOW_TYPE_" + o.type;
    for (char& ch : typeName)
        ch = char(toupper(ch));
    const xcb_atom_t type = atom(c, typeName.c_str());
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom(c, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM,
                        32, 1, &type);
    if (o.skipTaskbar) {
        const xcb_atom_t skip = atom(c, "_NET_WM_STATE_SKIP_TASKBAR");
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom(c, "_NET_WM_STATE"), XCB_ATOM_ATOM,
                            32, 1, &skip);
    }
    xcb_map_window(c, w);
    xcb_flush(c);
    return w;
}

} // namespace

int main(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--class" && i + 1 < argc)
            o.cls = argv[++i];
        else if (a == "--count" && i + 1 < argc)
            o.count = atoi(argv[++i]);
        else if (a == "--type" && i + 1 < argc)
            o.type = argv[++i];
        else if (a == "--then" && i + 1 < argc)
            o.then = argv[++i];
        else if (a == "--skip-taskbar")
            o.skipTaskbar = true;
        else if (a == "--no-pid")
            o.setPid = false;
    }
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR1);
    sigaddset(&mask, SIGUSR2);
    sigaddset(&mask, SIGTERM);
    sigaddset(&mask, SIGINT);
    sigprocmask(SIG_BLOCK, &mask, nullptr);
    const int sfd = signalfd(-1, &mask, SFD_CLOEXEC);

    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 2;
    xcb_screen_t* s = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    std::vector<xcb_window_t> windows;
    int opened = 0;
    for (int i = 0; i < o.count; ++i)
        windows.push_back(openWindow(c, s, o, opened++));

    pollfd fds[2] = {{sfd, POLLIN, 0}, {xcb_get_file_descriptor(c), POLLIN, 0}};
    for (;;) {
        if (poll(fds, 2, -1) < 0)
            continue;
        if (fds[1].revents & POLLIN) {
            while (xcb_generic_event_t* ev = xcb_poll_for_event(c))
                free(ev);
            if (xcb_connection_has_error(c))
                return 0;
        }
        if (fds[0].revents & POLLIN) {
            signalfd_siginfo info;
            if (read(sfd, &info, sizeof info) != sizeof info)
                continue;
            if (info.ssi_signo == SIGUSR1 && !windows.empty()) {
                xcb_destroy_window(c, windows.back());
                windows.pop_back();
                xcb_flush(c);
            } else if (info.ssi_signo == SIGUSR2) {
                Options later = o;
                if (!o.then.empty())
                    later.type = o.then;
                windows.push_back(openWindow(c, s, later, opened++));
            } else if (info.ssi_signo == SIGTERM || info.ssi_signo == SIGINT) {
                break;
            }
        }
    }
    xcb_disconnect(c);
    return 0;
}
