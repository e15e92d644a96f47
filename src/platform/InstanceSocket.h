#pragma once

// Where the running Valimbra of this user and display listens for requests from a second start
// (valimbra --toggle, --quit, ...). Plain C++: the small command-line client uses it without Qt.
//
// Protocol: the client sends one line ("toggle", "quit", "activate", "settings <pane>"); the
// instance answers "ok" or "error" on one line once it has acted.

#include <cctype>
#include <cstdlib>
#include <string>

#include <unistd.h>

namespace valimbra::instance {

// "$XDG_RUNTIME_DIR/valimbra" (else "/tmp/valimbra-<uid>"), a directory only the user may enter.
inline std::string socketDirectory() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && *runtime)
        return std::string(runtime) + "/valimbra";
    return "/tmp/valimbra-" + std::to_string(getuid());
}

// One socket per display: ":0" and ":0.0" are the same display.
inline std::string socketPath() {
    std::string display;
    if (const char* d = std::getenv("DISPLAY"))
        display = d;
    const auto colon = display.rfind(':');
    if (colon != std::string::npos) {
        const auto dot = display.find('.', colon);
        if (dot != std::string::npos)
            display.erase(dot);
    }
    std::string name;
    for (char c : display)
        name += (std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_') ? c : '_';
    return socketDirectory() + "/display" + name + ".sock";
}

} // namespace valimbra::instance
