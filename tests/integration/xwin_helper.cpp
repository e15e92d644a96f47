// A small X client for the integration tests: maps top-level windows with a chosen class, type
// and state, opens one more on SIGUSR2 and destroys the newest on SIGUSR1.
//
//   xwin_helper [--class NAME] [--count N] [--type normal|dialog|utility|toolbar|dock|splash]
//               [--then TYPE] [--skip-taskbar] [--storm N] [--icon-mb N]
//               [--strut-top N]
// --then gives the type of the windows opened on SIGUSR2 (a splash screen first, the main
// window later). --storm opens and destroys N more windows as fast as X allows, then exits.
// --icon-mb gives each window a _NET_WM_ICON of about N megabytes (a true one, in chunks).
// --strut-top makes each window a panel N pixels high along the top of the first 1280 pixels,
// reserving that space (the work area shrinks).
#include <xcb/xcb.h>

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
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
    int storm = 0;
    int iconMegabytes = 0;
    int strutTop = 0;
};

// A square icon of about `megabytes`, appended in 4 MB requests (below the server's limit).
void setHugeIcon(xcb_connection_t* c, xcb_window_t w, int megabytes) {
    const uint32_t side = uint32_t(std::sqrt(double(megabytes) * 1024 * 1024 / 4));
    const uint32_t header[] = {side, side};
    const xcb_atom_t icon = atom(c, "_NET_WM_ICON");
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, icon, XCB_ATOM_CARDINAL, 32, 2, header);
    const std::vector<uint32_t> chunk(1u << 20, 0xff3366cc);
    for (uint64_t left = uint64_t(side) * side; left > 0;) {
        const uint32_t n = uint32_t(std::min<uint64_t>(left, chunk.size()));
        xcb_change_property(c, XCB_PROP_MODE_APPEND, w, icon, XCB_ATOM_CARDINAL, 32, n,
                            chunk.data());
        left -= n;
    }
}

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
    const uint32_t pid = uint32_t(getpid());
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32,
                        1, &pid);
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
    if (o.iconMegabytes > 0)
        setHugeIcon(c, w, o.iconMegabytes);
    if (o.strutTop > 0) {
        const uint32_t size[] = {1280, uint32_t(o.strutTop)};
        xcb_configure_window(c, w, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
        // left, right, top, bottom, then the start and end of each along its edge
        const uint32_t strut[12] = {0, 0, uint32_t(o.strutTop), 0, 0, 0, 0, 0, 0, 1279, 0, 0};
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom(c, "_NET_WM_STRUT_PARTIAL"),
                            XCB_ATOM_CARDINAL, 32, 12, strut);
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atom(c, "_NET_WM_STRUT"),
                            XCB_ATOM_CARDINAL, 32, 4, strut);
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
        else if (a == "--storm" && i + 1 < argc)
            o.storm = atoi(argv[++i]);
        else if (a == "--icon-mb" && i + 1 < argc)
            o.iconMegabytes = atoi(argv[++i]);
        else if (a == "--strut-top" && i + 1 < argc)
            o.strutTop = atoi(argv[++i]);
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
    if (o.storm > 0) {
        for (int i = 0; i < o.storm; ++i) {
            const xcb_window_t w = openWindow(c, s, o, opened++ % 16);
            xcb_destroy_window(c, w);
        }
        free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // all done
        xcb_disconnect(c);
        return 0;
    }

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
