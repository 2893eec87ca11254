// The program's 8-bit text as a terminal shows it.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// UTF-8, line ends as line feeds. Control characters other than the tab, and the marks that turn the
// direction of text, become "?": log lines hold text that strangers have sent, and an escape sequence in it
// must not reach the terminal.
[[nodiscard]] std::string toTerminalText(std::string_view text);

}  // namespace vornelle
