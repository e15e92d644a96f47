// The `valimbra` command. It links no Qt, so asking the running instance for something
// (--toggle from a window-manager key binding, --quit, --settings) costs a process start and one
// round trip on a local socket. Everything else runs the program itself, valimbra-session.
#include "platform/InstanceSocket.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr const char* kUsage = R"(Usage: valimbra [OPTION]
Valimbra, the application switcher. Hold Ctrl alone for a moment, press the recorded shortcut
or the middle mouse button, and the switcher opens around the pointer.

Without an option, starts Valimbra (or tells the running one).

Options:
  --toggle             Open or close the switcher of the running Valimbra (for a key binding
                       in the window manager).
  --settings [PANE]    Open the settings of the running Valimbra (General, Appearance,
                       Favourites, Ignored, About).
  --quit               Quit the running Valimbra.
  --list-apps          Print the running applications as the switcher sees them.
  --trace              Start Valimbra and print the time from each invocation to the
                       switcher's first frame.
  --no-tray            Start Valimbra without the tray icon.
  --version            Print the version.
  --help               Print this help.
)";

void say(const char* line) {
    std::printf("[Valimbra] %s\n", line);
    std::fflush(stdout);
}

// Sends one request to the running instance. Returns its answer ("ok", "error"), or an empty
// string when no instance listens.
std::string ask(const std::string& request) {
    const std::string path = valimbra::instance::socketPath();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return {};
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return {};
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return {};
    }
    const std::string line = request + "\n";
    if (::send(fd, line.data(), line.size(), MSG_NOSIGNAL) != ssize_t(line.size())) {
        ::close(fd);
        return {};
    }
    std::string answer;
    pollfd p{fd, POLLIN, 0};
    char buffer[64];
    // The instance answers at once; a hung one must not hang a key binding.
    while (answer.find('\n') == std::string::npos && ::poll(&p, 1, 3000) > 0) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
            break;
        answer.append(buffer, size_t(n));
    }
    ::close(fd);
    if (const auto end = answer.find('\n'); end != std::string::npos)
        answer.erase(end);
    return answer.empty() ? std::string("error") : answer;
}

// The program next to this command (a build tree), else the installed one.
std::string sessionBinary() {
    std::vector<char> self(4096);
    const ssize_t n = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    if (n > 0) {
        std::string dir(self.data(), size_t(n));
        dir.erase(dir.rfind('/'));
        const std::string sibling = dir + "/valimbra-session";
        if (::access(sibling.c_str(), X_OK) == 0)
            return sibling;
    }
    return VALIMBRA_LIBEXEC_DIR "/valimbra-session";
}

int runSession(char** argv) {
    const std::string binary = sessionBinary();
    argv[0] = const_cast<char*>("valimbra");
    ::execv(binary.c_str(), argv);
    std::printf("[Valimbra] Cannot start %s: %s\n", binary.c_str(), std::strerror(errno));
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    std::string option = argc > 1 ? argv[1] : "";
    if (option == "--help" || option == "-h") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (option == "--version" || option == "-v") {
        std::printf("valimbra %s\n", VALIMBRA_VERSION);
        return 0;
    }
    const bool known = option.empty() || option == "--toggle" || option == "--quit" ||
                       option == "--settings" || option == "--list-apps" || option == "--trace" ||
                       option == "--no-tray";
    if (!known ||
        (option != "--settings" && argc > 2 && option != "--trace" && option != "--no-tray")) {
        std::fprintf(stdout, "[Valimbra] Unknown option %s; see valimbra --help\n",
                     argc > 2 && known ? argv[2] : option.c_str());
        return 2;
    }
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display) {
        say("Valimbra needs an X11 display (DISPLAY is not set).");
        return 1;
    }

    if (option == "--toggle" || option == "--quit" || option == "--settings") {
        std::string request = option.substr(2);
        if (option == "--settings" && argc > 2)
            request += std::string(" ") + argv[2];
        const std::string answer = ask(request);
        if (answer.empty()) {
            say("Valimbra is not running.");
            return 1;
        }
        return answer == "ok" ? 0 : 1;
    }
    if (option != "--list-apps" && !ask("activate").empty()) {
        say("Valimbra is already running.");
        return 0;
    }
    return runSession(argv);
}
