#pragma once

namespace valimbra {

// Dark when VALIMBRA_COLOR_SCHEME says "dark", light when it says "light", otherwise when the
// desktop palette's window colour is dark (Qt 6.4 has no colour-scheme API).
bool isDarkAppearance();

} // namespace valimbra
